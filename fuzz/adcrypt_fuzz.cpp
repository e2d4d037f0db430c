// Feeds arbitrary texts to the decoder of the stored password form.
//
// Input layout: byte 0 chooses the charset (UTF-8 or ISO-8859-1); the rest are 16-bit
// units in host order, ended by the first zero unit or the end of the input. Besides
// staying inside the text, a text that decodes must encode back to itself: the stored
// form has one spelling per clear text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "ztcoreutil/adcryptinternal.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size == 0) return 0;
    const AdCharset& charset =
        Data[0] & 1 ? AdCharset::getUTF8Charset() : AdCharset(Fnd_String(u"ISO-8859-1"));
    std::vector<Code_Unit> text((Size - 1) / 2 + 1, 0);
    std::memcpy(text.data(), Data + 1, (Size - 1) / 2 * 2);
    size_t units = 0;
    while (text[units]) ++units;

    // Exactly the room the routine asks for, so that a write past it is seen.
    std::vector<unsigned char> bytes(units / 2);
    if (ConvertPrintableTextToBinary(text.data(), bytes.data()) > units / 2) abort();
    (void)AdIsReversiblyEncryptedStringInternal(text.data());

    Fnd_String clear;
    if (!AdCryptDecryptString(text.data(), charset, clear).Ok()) return 0;
    if (clear.Get_Length() < 2 || clear[clear.Get_Length() - 1] != 0) abort();
    Fnd_String again;
    if (!AdCryptEncryptReversibly(clear.Data(), charset, 0, again).Ok()) abort();
    if (static_cast<size_t>(again.Get_Length()) != units ||
        std::memcmp(again.Data(), text.data(), units * sizeof(Code_Unit)) != 0)
        abort();
    return 0;
}
