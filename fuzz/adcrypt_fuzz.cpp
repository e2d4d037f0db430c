// Feeds arbitrary texts to the decoder of the stored password form.
//
// Input layout: bit 0 of byte 0 chooses the charset (UTF-8 or ISO-8859-1). With bit 1
// clear the rest are 16-bit units in host order, ended by the first zero unit or the
// end of the input; with bit 1 set each further byte is one character, a lower-case
// hex digit (its low nibble) below 0xF0, else a unit of its own, so that most inputs
// have the stored form's shape and reach the decoding. Besides
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
    std::vector<Code_Unit> text;
    if (Data[0] & 2) {
        for (size_t i = 1; i < Size; ++i)
            text.push_back(Data[i] < 0xF0 ? u"0123456789abcdef"[Data[i] & 15]
                                          : static_cast<Code_Unit>(0xD7F0 + Data[i]));
        text.push_back(0);
    } else {
        text.assign((Size - 1) / 2 + 1, 0);
        std::memcpy(text.data(), Data + 1, (Size - 1) / 2 * 2);
    }
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
