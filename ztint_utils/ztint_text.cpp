#include "ztint_utils/ztint_text.h"

#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_string.h"

Fnd_String ZTInt_Wide(const char* text)
{
    Fnd_String wide;
    if (text != nullptr)
        AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), text, wide, AdCharset::cvt_stop);
    return wide;
}

char* ZTInt_Narrow(const Fnd_String& text)
{
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), text, AdCharset::cvt_stop))
        return nullptr;
    return ZTInt_String_New(bytes.getData() != nullptr ? bytes.getData() : "");
}
