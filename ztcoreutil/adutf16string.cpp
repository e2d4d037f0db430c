#include "ztcoreutil/adutf16string.h"

#include <unicode/ustring.h>

#include <cstring>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"

void AdUTF16String::assign(const Code_Unit* Data, int Length) {
    if (!Data) {
        setToBogus();
        return;
    }
    if (Length < 0) Length = u_strlen(Data);
    setTo(Data, Length);  // also clears the bogus state
}

const Code_Unit* AdUTF16String::getData() {
    if (isBogus()) return nullptr;
    return getTerminatedBuffer();
}

bool AdUTF16String::cvtToTchar(Fnd_String& Out, converter_t Mode) const {
    if (isBogus()) {
        Out.Make_Empty();
        return false;
    }
    // getBuffer() of an empty string may be null: copy by length.
    return cvtToTchar(length() ? getBuffer() : u"", length(), Out, Mode);
}

bool AdUTF16String::cvtToTchar(const Code_Unit* Data, Fnd_String& Out, converter_t Mode) {
    return cvtToTchar(Data, -1, Out, Mode);
}

bool AdUTF16String::cvtToTchar(const Code_Unit* Data, int Length, Fnd_String& Out,
                               converter_t) {
    Out.Make_Empty();
    if (!Data) return false;
    if (Length < 0) Length = u_strlen(Data);
    Out = Fnd_String(Data, Length);
    return true;
}

bool AdUTF16String::cvtFromTchar(const Fnd_String& Text, converter_t) {
    assign(Text.Data(), static_cast<int>(Text.Get_Length()));
    return true;
}

bool AdUTF16String::cvtFromTchar(const Code_Unit* Data, converter_t) {
    assign(Data, -1);
    return true;
}

bool AdUTF16String::cvtFromTchar(const Code_Unit* Data, int Length, converter_t) {
    assign(Data, Length);
    return true;
}

bool AdUTF16String::cvtFromMBCS(const AdMbcsString& Bytes, converter_t Mode) {
    return cvtFromMBCS(Bytes.getCharset(), Bytes.getData(), Bytes.getLength(), Mode);
}

bool AdUTF16String::cvtFromMBCS(const AdCharset& Charset, const char* Data, converter_t Mode) {
    return cvtFromMBCS(Charset, Data, -1, Mode);
}

bool AdUTF16String::cvtFromMBCS(const AdCharset& Charset, const char* Data, int Length,
                                converter_t Mode) {
    UConverter* converter = Data ? Charset.allocateConverter(Mode) : nullptr;
    if (!converter) {
        setToBogus();
        return false;
    }
    ucnv_setFallback(converter, true);
    if (Length < 0) Length = static_cast<int>(std::strlen(Data));
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text(Data, Length, converter, status);
    Charset.freeConverter(converter, Mode);
    if (U_FAILURE(status) || text.isBogus()) {
        setToBogus();
        return false;
    }
    icu::UnicodeString::operator=(std::move(text));
    return true;
}
