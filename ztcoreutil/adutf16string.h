// AdUTF16String: UTF-16 text as an ICU UnicodeString that can say it is not valid. The
// bogus state is the invalid state; a default-constructed string is bogus, and so is
// one whose conversion from bytes failed.
//
//   AdUTF16String text;
//   if (text.cvtFromMBCS(AdCharset::getUTF8Charset(), bytes, AdCharset::cvt_stop))
//       use(text.getData());
#pragma once

#include <unicode/unistr.h>

#include "foundation/base/fnd_code_unit.h"
#include "ztcoreutil/adcharset.h"

class AdMbcsString;
class Fnd_String;

class AdUTF16String : public icu::UnicodeString {
public:
    typedef AdCharset::converter_t converter_t;

    // Bogus.
    AdUTF16String() { setToBogus(); }
    // As assign.
    AdUTF16String(const Code_Unit* Data, int Length) { assign(Data, Length); }
    AdUTF16String(const AdUTF16String&) = default;
    explicit AdUTF16String(const icu::UnicodeString& Text) : icu::UnicodeString(Text) {}
    AdUTF16String& operator=(const AdUTF16String&) = default;

    // A null Data makes the string bogus; else it holds Length units of Data (-1: up to
    // the terminator) and is valid.
    void assign(const Code_Unit* Data, int Length);

    bool isValid() const { return !isBogus(); }
    int getLength() const { return length(); }
    const icu::UnicodeString& getString() const { return *this; }
    // Terminated UTF-16, or null while bogus. A read-only alias or a shared buffer is
    // copied first so that the terminator can be stored; a failed copy gives null.
    const Code_Unit* getData();

    // Copies into Out; false, with Out empty, for a bogus string. Both sides are UTF-16:
    // Mode plays no part and no converter is used.
    bool cvtToTchar(Fnd_String& Out, converter_t Mode) const;
    static bool cvtToTchar(const Code_Unit* Data, Fnd_String& Out, converter_t Mode);
    // Length -1 means up to the terminator.
    static bool cvtToTchar(const Code_Unit* Data, int Length, Fnd_String& Out, converter_t Mode);

    // assign; always true, also for a null Data (which leaves the string bogus).
    bool cvtFromTchar(const Fnd_String& Text, converter_t Mode);
    bool cvtFromTchar(const Code_Unit* Data, converter_t Mode);
    bool cvtFromTchar(const Code_Unit* Data, int Length, converter_t Mode);

    // From bytes in a charset. False, with the string bogus, for null or invalid bytes,
    // an unusable charset or a failed conversion.
    bool cvtFromMBCS(const AdMbcsString& Bytes, converter_t Mode);
    bool cvtFromMBCS(const AdCharset& Charset, const char* Data, converter_t Mode);
    // Length -1 means strlen.
    bool cvtFromMBCS(const AdCharset& Charset, const char* Data, int Length, converter_t Mode);
};
