// Fnd_String_Library: scanning with iterators, and slices.
#include <algorithm>
#include <utility>

#include "foundation/base/fnd_string_library.h"

namespace {

long Contains(const Fnd_String& Set, Code_Unit Unit) {
    const Code_Unit* data = Set.Data();
    for (long i = 0, n = Set.Get_Length(); i < n; ++i)
        if (data[i] == Unit) return 1;
    return 0;
}

bool Is_Separator(Code_Unit Unit, const Fnd_String& Set, const long With_Space) {
    return Contains(Set, Unit) || (With_Space && Fnd_Ctype::Is_Space(Unit));
}

// Out becomes the units of It's string from First up to, not including, Stop.
void Take(const Const_Fnd_String_Iterator& It, long First, long Stop, Fnd_String& Out) {
    if (Stop > First)
        Out = Fnd_String(It.String->Data() + First, Stop - First);
    else
        Out.Make_Empty();
}

long End_Of(const Const_Fnd_String_Iterator& It) { return It.String->Get_Length(); }

}  // namespace

void Fnd_String_Library::Skip_Whitespace(Const_Fnd_String_Iterator& It) {
    while (It.Is_Valid() && Fnd_Ctype::Is_Space(*It)) ++It;
}

void Fnd_String_Library::Skip_Separators(Const_Fnd_String_Iterator& It, const Fnd_String& Set,
                                         const long With_Space) {
    while (It.Is_Valid() && Is_Separator(*It, Set, With_Space)) ++It;
}

void Fnd_String_Library::Get_Token(Const_Fnd_String_Iterator& It, Fnd_String& Out) {
    Out.Make_Empty();
    Skip_Whitespace(It);
    if (!It.Is_Valid()) return;
    long first = It.Position;
    while (It.Is_Valid() && !Fnd_Ctype::Is_Space(*It)) ++It;
    Take(It, first, It.Position, Out);
}

void Fnd_String_Library::Get_Token(Const_Fnd_String_Iterator& It, const Fnd_String& Set,
                                   const long With_Space, Fnd_String& Out) {
    Out.Make_Empty();
    Skip_Separators(It, Set, With_Space);
    if (!It.Is_Valid()) return;
    long first = It.Position;
    while (It.Is_Valid() && !Is_Separator(*It, Set, With_Space)) ++It;
    Take(It, first, It.Position, Out);
}

void Fnd_String_Library::Get_Quoted_Token(Const_Fnd_String_Iterator& It, Fnd_String& Out,
                                          const long Escapes) {
    Out.Make_Empty();
    Skip_Whitespace(It);
    if (!It.Is_Valid()) return;
    long first = It.Position;
    bool quoted = false;
    bool keep_closing_quote = false;
    if (*It == u'"') {
        ++It;
        first = It.Position;
        quoted = true;
    }
    const long end = End_Of(It);
    while (It.Is_Valid()) {
        const Code_Unit unit = *It;
        if (Escapes && unit == u'\\') {
            It.Position = std::min(It.Position + 2, end);
            continue;
        }
        if (unit == u'"') {
            if (quoted) {
                Take(It, first, It.Position + (keep_closing_quote ? 1 : 0), Out);
                ++It;
                return;
            }
            quoted = true;  // a quoted part inside the token keeps its quotes
            keep_closing_quote = true;
        } else if (!quoted && Fnd_Ctype::Is_Space(unit)) {
            Take(It, first, It.Position, Out);
            return;
        }
        ++It;
    }
    Take(It, first, end, Out);
}

void Fnd_String_Library::Get_Id(Const_Fnd_String_Iterator& It, Fnd_String& Out,
                                const Fnd_String* Extra) {
    Out.Make_Empty();
    Skip_Whitespace(It);
    if (!It.Is_Valid() || !Fnd_Ctype::Is_Alphabetic(*It)) return;
    long first = It.Position;
    const long extra = Extra ? Extra->Get_Length() : 0;
    for (++It; It.Is_Valid(); ++It) {
        const Code_Unit unit = *It;
        bool part = Fnd_Ctype::Is_Alphanumeric(unit) || unit == u'_' ||
                    (extra == 1 && unit == (*Extra)[0]) || (extra > 1 && Contains(*Extra, unit));
        if (!part) break;
    }
    Take(It, first, It.Position, Out);
    Skip_Whitespace(It);
}

void Fnd_String_Library::Get_Line(Const_Fnd_String_Iterator& It, Fnd_String& Out) {
    Out.Make_Empty();
    if (!It.Is_Valid()) return;
    long first = It.Position;
    while (It.Is_Valid() && *It != u'\n') ++It;
    Take(It, first, It.Position, Out);
    if (It.Is_Valid()) ++It;  // behind the newline
}

Fnd_String Fnd_String_Library::Tail(const Const_Fnd_String_Iterator& It) {
    Fnd_String result;
    Get_Tail(It, result);
    return result;
}

void Fnd_String_Library::Get_Tail(const Const_Fnd_String_Iterator& It, Fnd_String& Out) {
    Out.Make_Empty();
    if (It.Is_Valid()) Take(It, It.Position, End_Of(It), Out);
}

Fnd_String Fnd_String_Library::Slice(const Fnd_String& Text, const long First, const long Last) {
    Fnd_String result;
    Get_Slice(Text, First, Last, result);
    return result;
}

// Clamped to the string, so that a slice never fails.
void Fnd_String_Library::Get_Slice(const Fnd_String& Text, const long First, const long Last,
                                   Fnd_String& Out) {
    long first = std::max(First, 0L);
    long last = std::min(Last, Text.Get_Length() - 1);
    if (last < first) {
        Out.Make_Empty();
        return;
    }
    Fnd_String part(Text.Data() + first, last - first + 1);
    Out = std::move(part);
}

Fnd_String Fnd_String_Library::Slice(const Const_Fnd_String_Iterator& First,
                                     const Const_Fnd_String_Iterator& Last) {
    Fnd_String result;
    Get_Slice(First, Last, result);
    return result;
}

void Fnd_String_Library::Get_Slice(const Const_Fnd_String_Iterator& First,
                                   const Const_Fnd_String_Iterator& Last, Fnd_String& Out) {
    if (!First.String || First.String != Last.String) {
        Out.Make_Empty();
        return;
    }
    Get_Slice(*First.String, First.Position, Last.Position, Out);
}

void Fnd_String_Library::Strip_Leading(Fnd_String& Text) { Text.TrimLeft(); }

void Fnd_String_Library::Strip_Trailing(Fnd_String& Text) { Text.TrimRight(); }

void Fnd_String_Library::Strip(Fnd_String& Text) {
    Text.TrimRight();
    Text.TrimLeft();
}
