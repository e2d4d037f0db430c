// AdMbcsString: bytes together with their charset, and the conversions between them
// and 16-bit text. A failed conversion shows as an invalid string (getData() null).
//
// At a system call: cvtFromTchar with AdCharset::getDefaultCharset() and cvt_stop,
// test the result, pass getData().
#pragma once

#include <string>

#include "foundation/base/fnd_code_unit.h"
#include "ztcoreutil/adcharset.h"

class AdUTF16String;
class Fnd_String;

class AdMbcsString {
public:
    typedef AdCharset::converter_t converter_t;

    // Invalid, null charset, empty.
    AdMbcsString() = default;
    // Length -1 means strlen.
    AdMbcsString(const AdCharset& Charset, const char* Data, int Length = -1);
    AdMbcsString(const AdCharset& Charset, const std::string& Text);
    AdMbcsString(const AdMbcsString&) = default;
    AdMbcsString& operator=(const AdMbcsString&) = default;

    // A null Data empties the text and makes it invalid. Length -1 means strlen.
    void assign(const AdCharset& Charset, const char* Data, int Length = -1);
    void assign(const AdCharset& Charset, const std::string& Text);

    bool isValid() const { return Valid; }
    const AdCharset& getCharset() const { return Charset; }
    int getLength() const { return static_cast<int>(Text.size()); }
    const std::string& getString() const { return Text; }
    // The terminated bytes; null while invalid.
    const char* getData() const { return Valid ? Text.c_str() : nullptr; }

    // To 16 bits. Out is emptied first; false on failure.
    bool cvtToTchar(Fnd_String& Out, converter_t Mode) const;
    static bool cvtToTchar(const AdCharset& Charset, const char* Data, Fnd_String& Out,
                           converter_t Mode);
    // Length -1 means strlen.
    static bool cvtToTchar(const AdCharset& Charset, const char* Data, int Length,
                           Fnd_String& Out, converter_t Mode);

    // From 16 bits into this string; the result is the validity.
    bool cvtFromTchar(const AdCharset& Charset, const Fnd_String& Text, converter_t Mode);
    bool cvtFromTchar(const AdCharset& Charset, const Code_Unit* Text, converter_t Mode);
    bool cvtFromTchar(const AdCharset& Charset, const Code_Unit* Text, int Length,
                      converter_t Mode);
    // A bogus Text fails like a null one.
    bool cvtFromUTF16(const AdCharset& Charset, const AdUTF16String& Text, converter_t Mode);
    bool cvtFromUTF16(const AdCharset& Charset, const Code_Unit* Text, converter_t Mode);
    // Length -1 means a terminated Text.
    bool cvtFromUTF16(const AdCharset& Charset, const Code_Unit* Text, int Length,
                      converter_t Mode);

private:
    bool Valid = false;
    AdCharset Charset;
    std::string Text;
};
