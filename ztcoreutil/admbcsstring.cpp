#include "ztcoreutil/admbcsstring.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstring>
#include <memory>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adutf16string.h"

AdMbcsString::AdMbcsString(const AdCharset& Charset, const char* Data, int Length) {
    assign(Charset, Data, Length);
}

AdMbcsString::AdMbcsString(const AdCharset& Charset, const std::string& Text) {
    assign(Charset, Text);
}

void AdMbcsString::assign(const AdCharset& New_Charset, const char* Data, int Length) {
    Charset = New_Charset;
    if (!Data) {
        Text.clear();
        Valid = false;
        return;
    }
    if (Length < 0) Length = static_cast<int>(std::strlen(Data));
    Text.assign(Data, static_cast<size_t>(Length));
    Valid = true;
}

void AdMbcsString::assign(const AdCharset& New_Charset, const std::string& New_Text) {
    Charset = New_Charset;
    Text = New_Text;
    Valid = true;
}

namespace {

bool Is_Ascii(const char* Data, int Length) {
    for (int i = 0; i < Length; ++i)
        if (static_cast<unsigned char>(Data[i]) >= 0x80) return false;
    return true;
}

bool Is_Ascii(const Code_Unit* Units, int Length) {
    for (int i = 0; i < Length; ++i)
        if (Units[i] >= 0x80) return false;
    return true;
}

}  // namespace

// ---- To 16 bits

bool AdMbcsString::cvtToTchar(Fnd_String& Out, converter_t Mode) const {
    if (!Valid) {
        Out.Make_Empty();
        return false;
    }
    return cvtToTchar(Charset, Text.data(), getLength(), Out, Mode);
}

bool AdMbcsString::cvtToTchar(const AdCharset& Charset, const char* Data, Fnd_String& Out,
                              converter_t Mode) {
    return cvtToTchar(Charset, Data, -1, Out, Mode);
}

bool AdMbcsString::cvtToTchar(const AdCharset& Charset, const char* Data, int Length,
                              Fnd_String& Out, converter_t Mode) {
    Out.Make_Empty();
    if (!Data) return false;
    if (Length < 0) Length = static_cast<int>(std::strlen(Data));
    if (Charset.keepsAscii() && Is_Ascii(Data, Length)) {
        Code_Unit* units = Out.GetBuffer(Length + 1);
        for (int i = 0; i < Length; ++i) units[i] = static_cast<unsigned char>(Data[i]);
        Out.ReleaseBuffer(Length);
        return true;
    }
    UConverter* converter = Charset.allocateConverter(Mode);
    if (!converter) return false;
    ucnv_setFallback(converter, true);
    // Two units per byte nearly always suffice; the exact need is known after one try.
    int capacity = 2 * Length + 1;
    UErrorCode status = U_ZERO_ERROR;
    int32_t result = ucnv_toUChars(converter, Out.GetBuffer(capacity), capacity, Data, Length,
                                   &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = result + 1;
        status = U_ZERO_ERROR;
        ucnv_reset(converter);
        result = ucnv_toUChars(converter, Out.GetBuffer(capacity), capacity, Data, Length,
                               &status);
    }
    Charset.freeConverter(converter, Mode);
    if (U_FAILURE(status)) {
        Out.ReleaseBuffer(0);
        return false;
    }
    Out.ReleaseBuffer(result);
    return true;
}

// ---- From 16 bits

bool AdMbcsString::cvtFromTchar(const AdCharset& Charset, const Fnd_String& Text,
                                converter_t Mode) {
    return cvtFromUTF16(Charset, Text.Data(), static_cast<int>(Text.Get_Length()), Mode);
}

bool AdMbcsString::cvtFromTchar(const AdCharset& Charset, const Code_Unit* Text,
                                converter_t Mode) {
    return cvtFromUTF16(Charset, Text, -1, Mode);
}

bool AdMbcsString::cvtFromTchar(const AdCharset& Charset, const Code_Unit* Text, int Length,
                                converter_t Mode) {
    return cvtFromUTF16(Charset, Text, Length, Mode);
}

bool AdMbcsString::cvtFromUTF16(const AdCharset& Charset, const AdUTF16String& Text,
                                converter_t Mode) {
    if (Text.isBogus()) return cvtFromUTF16(Charset, nullptr, 0, Mode);
    return cvtFromUTF16(Charset, Text.length() ? Text.getBuffer() : u"", Text.length(), Mode);
}

bool AdMbcsString::cvtFromUTF16(const AdCharset& Charset, const Code_Unit* Text,
                                converter_t Mode) {
    return cvtFromUTF16(Charset, Text, -1, Mode);
}

bool AdMbcsString::cvtFromUTF16(const AdCharset& New_Charset, const Code_Unit* Source,
                                int Length, converter_t Mode) {
    Valid = false;
    Text.clear();
    if (!Source) return false;
    if (Length < 0) Length = u_strlen(Source);
    if (New_Charset.keepsAscii() && Is_Ascii(Source, Length)) {
        Charset = New_Charset;
        Text.assign(Source, Source + Length);  // each unit below 0x80 is its byte
        Valid = true;
        return true;
    }
    UConverter* converter = New_Charset.allocateConverter(Mode);
    if (!converter) return false;
    int32_t capacity = (Length + 10) * ucnv_getMaxCharSize(converter) + 1;
    std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(capacity)]);
    UErrorCode status = U_ZERO_ERROR;
    int32_t result = ucnv_fromUChars(converter, buffer.get(), capacity, Source, Length, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = result + 1;
        buffer.reset(new char[static_cast<size_t>(capacity)]);
        status = U_ZERO_ERROR;
        ucnv_reset(converter);
        result = ucnv_fromUChars(converter, buffer.get(), capacity, Source, Length, &status);
    }
    New_Charset.freeConverter(converter, Mode);
    if (U_SUCCESS(status)) assign(New_Charset, buffer.get(), result);
    return Valid;
}
