#include "ztint_utils/ztint_text.h"

#include <cstring>
#include <string>

#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_string.h"

namespace {

// Every character set a locale can name reads ASCII bytes as the same characters:
// the library's own texts (socket and pipe paths, names) then convert without the
// default character set, whose first use sets up the process's locale.
bool Is_Ascii(const char* text, std::size_t length)
{
    for (std::size_t i = 0; i < length; ++i)
        if (static_cast<unsigned char>(text[i]) >= 0x80)
            return false;
    return true;
}

bool Is_Ascii(const Fnd_String& text)
{
    for (long i = 0; i < text.Get_Length(); ++i)
        if (text[i] >= 0x80)
            return false;
    return true;
}

}  // namespace

Fnd_String ZTInt_Wide(const char* text)
{
    Fnd_String wide;
    if (text == nullptr)
        return wide;
    const std::size_t length = std::strlen(text);
    if (!Is_Ascii(text, length)) {
        AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), text, wide, AdCharset::cvt_stop);
        return wide;
    }
    std::u16string units(text, text + length);
    return Fnd_String(units.data(), static_cast<long>(length));
}

char* ZTInt_Narrow(const Fnd_String& text)
{
    if (Is_Ascii(text)) {
        char* narrow = ZTInt_String_Alloc(text.Get_Length());
        if (narrow == nullptr)
            return nullptr;
        for (long i = 0; i < text.Get_Length(); ++i)
            narrow[i] = static_cast<char>(text[i]);
        narrow[text.Get_Length()] = '\0';
        return narrow;
    }
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), text, AdCharset::cvt_stop))
        return nullptr;
    return ZTInt_String_New(bytes.getData() != nullptr ? bytes.getData() : "");
}
