// The text side of the diagnostics engine: the name=value grammar of the ZT_DIAG_*
// variables, the formatters that build report texts, and the time texts.
#include <unicode/uchar.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "foundation/host/hst_timestamp.h"
#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/addiagnostic_internal.h"

namespace {

constexpr long Context_Length = 40;

bool Is_Name_Unit(Code_Unit Unit) { return Unit == u'_' || u_isalnum(Unit); }

// Names compare without case, as the simple upper case of each unit: a full mapping can
// add marks that are no name units (U+01F0 becomes "J" and U+030C), and the name would
// no longer read back.
void Upper_Name(Fnd_String& Name) {
    std::vector<Code_Unit> units;
    units.reserve(static_cast<size_t>(Name.Get_Length()));
    for (long i = 0; i < Name.Get_Length(); ++i) {
        const UChar32 upper = u_toupper(Name[i]);
        units.push_back(upper <= 0xFFFF && Is_Name_Unit(static_cast<Code_Unit>(upper))
                            ? static_cast<Code_Unit>(upper)
                            : Name[i]);
    }
    Name = Fnd_String(units.data(), static_cast<long>(units.size()));
}
bool Is_Blank(Code_Unit Unit) { return u_isspace(Unit); }

class Name_Value_Parser {
public:
    Name_Value_Parser(const Code_Unit* Text, CMapStringToString& Map, bool Allow_Duplicates,
                      bool Allow_Name_Only)
        : Text(Text), Map(Map), Allow_Duplicates(Allow_Duplicates),
          Allow_Name_Only(Allow_Name_Only) {}

    bool Run(long& Message_Id, Fnd_String& Context);

private:
    enum State { Start, In_Name, After_Name, Value_Starts, Bare_Value, Quoted_Value };

    bool Fail(long Id, Fnd_String Text_Of_Context) {
        Error_Id = Id;
        Error_Context = std::move(Text_Of_Context);
        return false;
    }
    // Up to 40 units before At, or from At on.
    Fnd_String Before(long At) const {
        long first = At > Context_Length ? At - Context_Length : 0;
        return Fnd_String(Text + first, At - first);
    }
    Fnd_String From(long At) const {
        long count = 0;
        while (count < Context_Length && Text[At + count] != 0) ++count;
        return Fnd_String(Text + At, count);
    }
    bool Store();
    bool Name_Ends(long At, bool At_End);

    const Code_Unit* Text;
    CMapStringToString& Map;
    bool Allow_Duplicates;
    bool Allow_Name_Only;
    Fnd_String Name;
    Fnd_String Value;
    long Error_Id = AdNameValue_Internal_Error;
    Fnd_String Error_Context;
};

bool Name_Value_Parser::Store() {
    Upper_Name(Name);
    Fnd_String old;
    if (!Allow_Duplicates && Map.Lookup(Name, old)) return Fail(AdNameValue_Duplicate_Name, Name);
    Map.SetAt(Name, Value);
    Name.Make_Empty();
    Value.Make_Empty();
    return true;
}

// A name that ends without "=": a bare name where allowed.
bool Name_Value_Parser::Name_Ends(long At, bool At_End) {
    if (Allow_Name_Only) return Store();
    return Fail(At_End ? AdNameValue_Expected_Equal : AdNameValue_Bad_Name_Character, Before(At));
}

bool Name_Value_Parser::Run(long& Message_Id, Fnd_String& Context) {
    State state = Start;
    Code_Unit quote = 0;
    bool ok = true;
    long at = 0;
    for (;; ++at) {
        const Code_Unit unit = Text[at];
        const bool end = unit == 0;
        switch (state) {
        case Start:
            if (end) break;
            if (Is_Name_Unit(unit)) {
                Name.Append(Fnd_Char(unit));
                state = In_Name;
            } else if (!Is_Blank(unit) && unit != u';') {
                ok = Fail(AdNameValue_Bad_Name_Character, From(at));
            }
            break;
        case In_Name:
        case After_Name:
            if (end) {
                ok = Name_Ends(at, true);
            } else if (unit == u'=') {
                state = Value_Starts;
            } else if (Is_Blank(unit)) {
                state = After_Name;
            } else if (state == In_Name && Is_Name_Unit(unit)) {
                Name.Append(Fnd_Char(unit));
            } else if (state == In_Name && unit == u';') {
                ok = Name_Ends(at, false);
                state = Start;
            } else {
                ok = Fail(state == In_Name ? AdNameValue_Bad_Name_Character
                                           : AdNameValue_Expected_Equal,
                          Before(at));
            }
            break;
        case Value_Starts:
            if (end || unit == u';') {
                ok = Store();
                state = Start;
            } else if (unit == u'"' || unit == u'\'') {
                quote = unit;
                state = Quoted_Value;
            } else {
                Value.Append(Fnd_Char(unit));
                state = Bare_Value;
            }
            break;
        case Bare_Value:
            if (end || unit == u';') {
                ok = Store();
                state = Start;
            } else {
                Value.Append(Fnd_Char(unit));
            }
            break;
        case Quoted_Value:
            if (end) {
                ok = Fail(AdNameValue_Missing_Quote, Before(at));
            } else if (unit == quote) {
                ok = Store();
                state = Start;
            } else {
                Value.Append(Fnd_Char(unit));
            }
            break;
        }
        if (!ok || end) break;
    }
    if (ok) return true;
    Message_Id = Error_Id;
    Context = Error_Context;
    return false;
}

Fnd_String Ascii_Format(const char* Format, ...) __attribute__((format(printf, 1, 2)));
Fnd_String Ascii_Format(const char* Format, ...) {
    char bytes[128];
    va_list args;
    va_start(args, Format);
    std::vsnprintf(bytes, sizeof bytes, Format, args);
    va_end(args);
    return Ad_Ascii(bytes);
}

Fnd_String Joined(std::initializer_list<Fnd_String> Parts, const Code_Unit* Separator) {
    Fnd_String text(200L, 1L);
    bool first = true;
    for (const Fnd_String& part : Parts) {
        if (!first) text.Append(Separator);
        text.Append(part);
        first = false;
    }
    return text;
}

bool Holds(const Fnd_String& Text, Code_Unit Unit) { return Text.Find(Unit) >= 0; }

Fnd_String Quoted(const Fnd_String& Text, Code_Unit Quote) {
    Fnd_String out(static_cast<unsigned short>(Quote), 1);
    out.Append(Text);
    out.Append(Fnd_Char(Quote));
    return out;
}

}  // namespace

Fnd_String Ad_Ascii(const char* Bytes) {
    Fnd_String text;
    for (; *Bytes; ++Bytes) text.Append(Fnd_Char(static_cast<unsigned char>(*Bytes)));
    return text;
}

long AdDiagnosticParseNameValueString(const Code_Unit* Text, CMapStringToString& Map,
                                      long& Message_Id, Fnd_String& Context,
                                      bool Allow_Duplicates, bool Allow_Name_Only) {
    Map.RemoveAll();
    Context.Make_Empty();
    if (Text == nullptr) return 1;
    Name_Value_Parser parser(Text, Map, Allow_Duplicates, Allow_Name_Only);
    return parser.Run(Message_Id, Context) ? 1 : 0;
}

void AdDiagnosticMakeNameValueString(const CMapStringToString& Map, Fnd_String& Out,
                                     bool Sorted) {
    CStringArray names;
    for (POSITION at = Map.GetStartPosition(); at;) {
        Fnd_String name, value;
        Map.GetNextAssoc(at, name, value);
        names.Add(name);
    }
    if (Sorted) AdDiagnosticSortStrings(names, false, true, false);
    Out.Make_Empty();
    for (long i = 0; i < names.Get_Count(); ++i) {
        const Fnd_String& name = *names[i];
        Fnd_String value;
        (void)Map.Lookup(name, value);
        if (i > 0) Out.Append(u";");
        Out.Append(name);
        Out.Append(u"=");
        if (Holds(value, u'\''))
            Out.Append(Quoted(value, u'"'));
        else if (Holds(value, u'"') || Holds(value, u';'))
            Out.Append(Quoted(value, u'\''));
        else
            Out.Append(value);
    }
}

// ---- Sorting through pointers to the elements
namespace {
const Fnd_String& Element(const void* Cell) {
    const Fnd_String* text = *static_cast<const Fnd_String* const*>(Cell);
    return text ? *text : Fnd_String::Null;
}
}  // namespace

extern "C" {
int AdSortStrings_Ascending(const void* A, const void* B) {
    return Element(A).CompareNoCase(Element(B).Data());
}
int AdSortStrings_Case_Ascending(const void* A, const void* B) {
    return Element(A).Compare(Element(B).Data());
}
int AdSortStrings_Descending(const void* A, const void* B) { return -AdSortStrings_Ascending(A, B); }
int AdSortStrings_Case_Descending(const void* A, const void* B) {
    return -AdSortStrings_Case_Ascending(A, B);
}
int AdSortStrings_Collate_Ascending(const void* A, const void* B) {
    return Element(A).Collate(Element(B).Data());
}
int AdSortStrings_Collate_Descending(const void* A, const void* B) {
    return -AdSortStrings_Collate_Ascending(A, B);
}
}

void AdDiagnosticSortStrings(CStringArray& Array, bool Case_Sensitive, bool Ascending,
                             bool Collate) {
    int (*compare)(const void*, const void*) = nullptr;
    if (Collate)
        compare = Ascending ? AdSortStrings_Collate_Ascending : AdSortStrings_Collate_Descending;
    else if (Case_Sensitive)
        compare = Ascending ? AdSortStrings_Case_Ascending : AdSortStrings_Case_Descending;
    else
        compare = Ascending ? AdSortStrings_Ascending : AdSortStrings_Descending;
    Array.Sort(compare);
}

// ---- Time texts
void AdDiagnosticGetCurrentTime(long& Seconds, long& Milliseconds) {
    Ad_Read_Clock(Seconds, Milliseconds);
}

namespace {
Hst_Timestamp Now() {
    long seconds = 0, milliseconds = 0;
    Ad_Read_Clock(seconds, milliseconds);
    return Hst_Timestamp(seconds);
}
}  // namespace

Fnd_String AdDiagnosticGetYearMonthDay() { return Now().Image(Year_Month_Day, No_Time, 1); }
Fnd_String AdDiagnosticGetMilitaryTime() { return Now().Image(No_Date, Military_Time, 1); }
Fnd_String AdDiagnosticGetAscTime() { return Now().Image(Cdate, Ctime, 1); }
Fnd_String AdDiagnosticGetYearMonthDayAndMilitaryTime() {
    Fnd_String text;
    Now().Image(text, Fnd_String(u"%Y%m%d_%H%M%S"), 1);
    return text;
}

Fnd_String AdDiagnosticCStringArrayToCString(const CStringArray& Array) {
    Fnd_String items;
    for (long i = 0; i < Array.Get_Count(); ++i) {
        if (i > 0) items.Append(u", ");
        items.Append(Quoted(Array[i] ? *Array[i] : Fnd_String::Null, u'"'));
    }
    Fnd_String text = Ascii_Format("{%ld}[", Array.Get_Count());
    text.Append(items);
    text.Append(u"]");
    return text;
}

Fnd_String AdDiagnosticGetMemoryDiagnostics() { return Fnd_String(); }

// ---- Formatters
Fnd_String AdDiagnostic::Join(const Fnd_String& A, const Fnd_String& B) {
    return Joined({A, B}, u"");
}
Fnd_String AdDiagnostic::Join(const Fnd_String& A, const Fnd_String& B, const Fnd_String& C) {
    return Joined({A, B, C}, u"");
}
Fnd_String AdDiagnostic::Join(const Fnd_String& A, const Fnd_String& B, const Fnd_String& C,
                              const Fnd_String& D) {
    return Joined({A, B, C, D}, u"");
}
Fnd_String AdDiagnostic::Join(const Fnd_String& A, long B) { return Joined({A, To_Dec(B)}, u""); }
Fnd_String AdDiagnostic::Join(long A, const Fnd_String& B) { return Joined({To_Dec(A), B}, u""); }

Fnd_String AdDiagnostic::Join_With_Comma(std::initializer_list<Fnd_String> Texts) {
    return Joined(Texts, u", ");
}
Fnd_String AdDiagnostic::Join_With_Comma(const Fnd_String& A, long B) {
    return Joined({A, To_Dec(B)}, u", ");
}
Fnd_String AdDiagnostic::Join_With_Comma(long A, const Fnd_String& B) {
    return Joined({To_Dec(A), B}, u", ");
}

Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B) {
    return Joined({A, B}, u" ");
}
Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                         const Fnd_String& C) {
    return Joined({A, B, C}, u" ");
}
Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                         const Fnd_String& C, const Fnd_String& D) {
    return Joined({A, B, C, D}, u" ");
}
Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, long B) {
    return Joined({A, To_Dec(B)}, u" ");
}
Fnd_String AdDiagnostic::Join_With_Space(long A, const Fnd_String& B) {
    return Joined({To_Dec(A), B}, u" ");
}

Fnd_String AdDiagnostic::Join_With_Colon(const Fnd_String& A, const Fnd_String& B) {
    return Joined({A, B}, u":");
}
Fnd_String AdDiagnostic::Join_With_ColonColon(const Fnd_String& A, const Fnd_String& B) {
    return Joined({A, B}, u"::");
}
Fnd_String AdDiagnostic::Join_With_Parentheses(const Fnd_String& A) {
    return Joined({Fnd_String(u"("), A, Fnd_String(u")")}, u"");
}

Fnd_String AdDiagnostic::To_Bool(long Value) { return Fnd_String(Value ? u"True" : u"False"); }
Fnd_String AdDiagnostic::To_Dec(long Value) { return Ascii_Format("%ld", Value); }
Fnd_String AdDiagnostic::To_Unsigned(unsigned long Value) { return Ascii_Format("%lu", Value); }
Fnd_String AdDiagnostic::To_Hex(long Value) { return Ascii_Format("%#lx", Value); }
Fnd_String AdDiagnostic::To_Obj(const void* Pointer) {
    if (Pointer == nullptr) return Fnd_String(u"NULL");
    return Ascii_Format("%0lX", reinterpret_cast<unsigned long>(Pointer));
}

Fnd_String AdDiagnostic::To_Str(const Code_Unit* Text, bool Force_Quotes) {
    if (Text == nullptr) return Fnd_String(u"<NULL>");
    Fnd_String text(Text);
    if (!text.Is_Empty() && !Force_Quotes) return text;
    return Quoted(text, u'"');
}

Fnd_String AdDiagnostic::To_Str(long Count, const Code_Unit* const* Texts, bool Force_Quotes) {
    Fnd_String out;
    for (long i = 0; i < Count; ++i) {
        if (i > 0) out.Append(u" ");
        out.Append(To_Str(Texts[i], Force_Quotes));
    }
    return out;
}

Fnd_String AdDiagnostic::To_String_Array(const CStringArray* Array) {
    if (Array == nullptr) return Fnd_String(u"NULL");
    return AdDiagnosticCStringArrayToCString(*Array);
}
