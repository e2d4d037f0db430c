// Fnd_String_Library: comparison, case, regular expressions and the environment.
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_trace.h"

#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <cstdlib>
#include <cstring>
#include <utility>

#include <unistd.h>

#include "foundation/host/hst_primitives.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/tchar.h"

const Code_Unit* const Fnd_String_Library::True_Images[] = {u"true", u"on", u"yes", nullptr};
const Code_Unit* const Fnd_String_Library::False_Images[] = {u"false", u"off", u"no", nullptr};

// ---- Comparison

Fnd_Relation Fnd_String_Library::Compare(const Fnd_String& A, const Fnd_String& B) {
    // A string between Truncate and Expunge compares by its Length units.
    bool a_whole = A.Get_Length() == A.Get_Buffer().Get_Size();
    bool b_whole = B.Get_Length() == B.Get_Buffer().Get_Size();
    if (a_whole && b_whole) return Fnd_Char_Buffer::Compare(A.Get_Buffer(), B.Get_Buffer());
    return Fnd_Char_Buffer::Compare(a_whole ? A.Get_Buffer() : A.Encode(),
                                    b_whole ? B.Get_Buffer() : B.Encode());
}

Fnd_Relation Fnd_String_Library::Collate(const Fnd_String& A, const Fnd_String& B) {
    return Fnd_Char_Buffer::Compare(A.Get_Buffer(), B.Get_Buffer());
}

// ---- Case

namespace {

typedef int32_t (*Case_Mapper)(UChar* Dest, int32_t Capacity, const UChar* Src,
                               int32_t Length, const char* Locale, UErrorCode* Status);

// Maps Text through ICU. The first try uses Text's length; when the mapping needs
// more (U+0130 lowers to two units) the needed length from that try sizes the second.
void Map_Case(Fnd_String& Text, Case_Mapper Mapper) {
    if (Text.Is_Empty()) return;
    const int32_t length = static_cast<int32_t>(Text.Get_Length());
    Fnd_String result;
    int32_t capacity = length;
    UErrorCode status = U_ZERO_ERROR;
    int32_t needed = Mapper(result.GetBuffer(capacity), capacity, Text.Data(), length, nullptr, &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        capacity = needed;
        status = U_ZERO_ERROR;
        needed = Mapper(result.GetBuffer(capacity), capacity, Text.Data(), length, nullptr, &status);
    }
    if (U_FAILURE(status)) return;
    result.ReleaseBuffer(needed);
    Text = std::move(result);
}

int32_t Title_Mapper(UChar* Dest, int32_t Capacity, const UChar* Src, int32_t Length,
                     const char* Locale, UErrorCode* Status) {
    return u_strToTitle(Dest, Capacity, Src, Length, nullptr, Locale, Status);
}

}  // namespace

void Fnd_String_Library::To_Lower(Fnd_String& Text) { Map_Case(Text, u_strToLower); }

void Fnd_String_Library::To_Upper(Fnd_String& Text) { Map_Case(Text, u_strToUpper); }

void Fnd_String_Library::To_Ignore_Case(Fnd_String& Text) { To_Lower(Text); }

Fnd_String Fnd_String_Library::To_Lower(const Fnd_String& Text) {
    Fnd_String result(Text);
    To_Lower(result);
    return result;
}

Fnd_String Fnd_String_Library::To_Upper(const Fnd_String& Text) {
    Fnd_String result(Text);
    To_Upper(result);
    return result;
}

Fnd_String Fnd_String_Library::Ignore_Case(const Fnd_String& Text) { return To_Lower(Text); }

void Fnd_String_Library::Capitalize(Fnd_String& Text) { Map_Case(Text, Title_Mapper); }

long Fnd_String_Library::Match(const Fnd_String& Pattern, const Fnd_String& Text) {
    if (Text.Is_Empty()) return 0;
    UErrorCode status = U_ZERO_ERROR;
    URegularExpression* regex = uregex_open(Pattern.Data(),
                                            static_cast<int32_t>(Pattern.Get_Length()), 0,
                                            nullptr, &status);
    if (U_FAILURE(status)) return 0;
    uregex_setText(regex, Text.Data(), static_cast<int32_t>(Text.Get_Length()), &status);
    UBool matched = uregex_matches(regex, 0, &status);
    uregex_close(regex);
    return U_SUCCESS(status) && matched;
}

// ---- Environment

long Fnd_String_Library::Get_Environment(const Fnd_String& Name, Fnd_String& Value) {
    const Code_Unit* value = _tgetenv(Name.Data());
    if (trace >= 3)
        Fnd_Trace_Line(u"Fnd_String_Library",
                       u"Get_Environment " + Name + u" result: " + (value ? value : u"null"));
    if (!value) return 0;
    Value = value;
    return 1;
}

long Fnd_String_Library::Set_Environment(const Fnd_String& Setting) {
    if (trace >= 3) Fnd_Trace_Line(u"Fnd_String_Library", u"Set_Environment " + Setting);
    return _tputenv(Setting.Data()) == 0;
}

long Fnd_String_Library::Set_Environment(const Fnd_String& Name, const Fnd_String& Value) {
    Fnd_String setting(Name.Get_Length() + 1 + Value.Get_Length(), 1L);
    setting.Append(Name);
    setting.Append(Fnd_Char(u'='));
    setting.Append(Value);
    return Set_Environment(setting);
}

void Fnd_String_Library::Unset_Variable(const Code_Unit* Name) {
    if (!Name || !Name[0]) return;
    AdMbcsString name;
    if (!name.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop)) return;
    const size_t length = static_cast<size_t>(name.getLength());
    char** kept = environ;
    for (char** entry = environ; entry && *entry; ++entry) {
        bool match = std::strncmp(*entry, name.getData(), length) == 0 && (*entry)[length] == '=';
        if (!match) *kept++ = *entry;
    }
    if (kept) *kept = nullptr;
}

namespace {

const Fnd_String& Variable_Name(const Fnd_String& Name, const long Session) {
    return Session ? Hst_Switches::Normalize_Session_Switch(Name) : Name;
}

}  // namespace

long Fnd_String_Library::Get_Variable(const Fnd_String& Name, Fnd_String& Value,
                                      const long Session) {
    return Get_Environment(Variable_Name(Name, Session), Value);
}

long Fnd_String_Library::Set_Variable(const Fnd_String& Name, const Fnd_String& Value,
                                      const long Session) {
    return Set_Environment(Variable_Name(Name, Session), Value);
}

void Fnd_String_Library::Unset_Variable(const Fnd_String& Name, const long Session) {
    Unset_Variable(Variable_Name(Name, Session).Data());
}

long Fnd_String_Library::Get_Boolean_Variable(const Fnd_String& Name, const long Session) {
    Fnd_String value;
    if (!Get_Variable(Name, value, Session)) return 0;
    if (value.Is_Empty()) return 1;
    long result = 0;
    long valid = 0;
    Get_Boolean(value, result, valid);
    return result;
}

Fnd_String Fnd_String_Library::Error_Message(const int Error_Number) {
    return Hst_strerror(Error_Number);
}
