// Fnd_String_Library: searching with iterators, search and replace, table look-up.
#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <utility>

#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/tchar.h"

namespace {

typedef Const_Fnd_String_Iterator Iterator;

Iterator Past_End(const Iterator& From) { return Iterator(From.String, From.String->Get_Length()); }

Iterator At(const Iterator& From, long Position) { return Iterator(From.String, Position); }

// The terminated-string searches run to the buffer's terminator, which lies behind
// Length while a string is truncated: a find there is no find in the text.
// Found_Count is the number of units found.
Iterator Found_Or_Past_End(const Iterator& From, const Code_Unit* Found, long Found_Count = 1) {
    const long length = From.String->Get_Length();
    const long at = Found ? Found - From.String->Data() : length;
    return at <= length - Found_Count ? At(From, at) : Past_End(From);
}

long Contains(const Fnd_String& Set, Code_Unit Unit) {
    const Code_Unit* data = Set.Data();
    for (long i = 0, n = Set.Get_Length(); i < n; ++i)
        if (data[i] == Unit) return 1;
    return 0;
}

// The first position from From upwards (Up) or downwards whose unit passes Test.
template <class Test>
Iterator Scan(const Iterator& From, bool Up, Test test) {
    const Code_Unit* data = From.String->Data();
    const long length = From.String->Get_Length();
    if (Up) {
        for (long i = From.Position; i < length; ++i)
            if (test(data[i])) return At(From, i);
    } else {
        for (long i = From.Position; i >= 0; --i)
            if (test(data[i])) return At(From, i);
    }
    return Past_End(From);
}

bool Same_Units(const Code_Unit* A, const Code_Unit* B, long Count) {
    return std::memcmp(A, B, static_cast<size_t>(Count) * sizeof(Code_Unit)) == 0;
}

}  // namespace

// ---- Forward

Iterator Fnd_String_Library::Next(const Fnd_Char Unit, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Found_Or_Past_End(From, _tcschr(static_cast<const Code_Unit*>(From), Unit));
}

Iterator Fnd_String_Library::Next(const Fnd_String& Text, const Iterator& From) {
    if (!From.Is_Valid() || Text.Is_Empty()) return From;
    return Found_Or_Past_End(From, _tcsstr(static_cast<const Code_Unit*>(From), Text.Data()),
                             static_cast<long>(_tcslen(Text.Data())));
}

Iterator Fnd_String_Library::Next(Predicate Test, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Scan(From, true, [Test](Code_Unit U) { return Test(U) != 0; });
}

Iterator Fnd_String_Library::Next_Not(Predicate Test, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Scan(From, true, [Test](Code_Unit U) { return Test(U) == 0; });
}

Iterator Fnd_String_Library::Next_One(const Fnd_String& Set, const Iterator& From) {
    if (!From.Is_Valid() || Set.Is_Empty()) return From;
    return Scan(From, true, [&Set](Code_Unit U) { return Contains(Set, U) != 0; });
}

Iterator Fnd_String_Library::Next_None(const Fnd_String& Set, const Iterator& From) {
    if (!From.Is_Valid() || Set.Is_Empty()) return From;
    return Scan(From, true, [&Set](Code_Unit U) { return Contains(Set, U) == 0; });
}

// ---- Backward, from the start position inclusive

Iterator Fnd_String_Library::Previous(const Fnd_Char Unit, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Scan(From, false, [Unit](Code_Unit U) { return U == Unit.Unit; });
}

Iterator Fnd_String_Library::Previous(const Fnd_String& Text, const Iterator& From) {
    if (!From.Is_Valid() || Text.Is_Empty()) return From;
    const Fnd_String& string = *From.String;
    const long count = Text.Get_Length();
    for (long i = std::min(From.Position, string.Get_Length() - count); i >= 0; --i)
        if (Same_Units(string.Data() + i, Text.Data(), count)) return At(From, i);
    return Past_End(From);
}

Iterator Fnd_String_Library::Previous(Predicate Test, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Scan(From, false, [Test](Code_Unit U) { return Test(U) != 0; });
}

Iterator Fnd_String_Library::Previous_Not(Predicate Test, const Iterator& From) {
    if (!From.Is_Valid()) return From;
    return Scan(From, false, [Test](Code_Unit U) { return Test(U) == 0; });
}

Iterator Fnd_String_Library::Previous_One(const Fnd_String& Set, const Iterator& From) {
    if (!From.Is_Valid() || Set.Is_Empty()) return From;
    return Scan(From, false, [&Set](Code_Unit U) { return Contains(Set, U) != 0; });
}

Iterator Fnd_String_Library::Previous_None(const Fnd_String& Set, const Iterator& From) {
    if (!From.Is_Valid() || Set.Is_Empty()) return From;
    return Scan(From, false, [&Set](Code_Unit U) { return Contains(Set, U) == 0; });
}

// ---- Search and replace

long Fnd_String_Library::Search(const Fnd_String& S, const long From, const Fnd_String& Text,
                                long& At) {
    const long length = S.Get_Length();
    const long count = Text.Get_Length();
    if (count > 0) {
        const Code_Unit* data = S.Data();
        for (long i = From < 0 ? 0 : From; i <= length - count; ++i) {
            if (data[i] == Text.Data()[0] && Same_Units(data + i, Text.Data(), count)) {
                At = i;
                return 1;
            }
        }
    }
    At = length + 1;
    return 0;
}

void Fnd_String_Library::Replace(Fnd_String& S, long& Next, const Fnd_String& From,
                                 const long At, const Fnd_String& To) {
    const long count = From.Get_Length();
    if (At < 0 || At > S.Get_Length() - count) {
        Next = At;
        return;
    }
    Fnd_String result(S.Get_Length() - count + To.Get_Length(), 1L);
    result.Append_Data(S.Data(), At);
    result.Append(To);
    result.Append_Data(S.Data() + At + count, S.Get_Length() - At - count);
    S = std::move(result);
    Next = At + To.Get_Length();
}

void Fnd_String_Library::Replace(const Fnd_Char Old, const Fnd_Char New, Fnd_String& S) {
    for (long i = 0, n = S.Get_Length(); i < n; ++i)
        if (S[i] == Old.Unit) S[i] = New.Unit;
}

// ---- Tables

long Fnd_String_Library::Linear_Search(const Code_Unit* Key, const long Count,
                                       const Code_Unit* const* Table, const long Ignore_Case) {
    if (!Key || !Table) return -1;
    for (long i = 0; i < Count; ++i) {
        if (!Table[i]) continue;
        int order = Ignore_Case ? _tcsicmp(Key, Table[i]) : _tcscmp(Key, Table[i]);
        if (order == 0) return i;
    }
    return -1;
}

namespace {

// Bisection over a table sorted by Order; Order(i) is the order of the key against
// entry i, and false from Order stops the search.
template <class Compare>
long Bisect(const long Count, Compare Order) {
    int order = 0;
    if (Count <= 2) {
        for (long i = 0; i < Count; ++i) {
            if (!Order(i, order)) return -1;
            if (order == 0) return i;
        }
        return -1;
    }
    long low = 0;
    long high = Count - 1;
    while (low + 1 < high) {
        long middle = (high - low) / 2 + low;
        if (!Order(middle, order)) return -1;
        if (order == 0) return middle;
        if (order > 0)
            low = middle;
        else
            high = middle;
    }
    for (long i : {low, high}) {
        if (!Order(i, order)) return -1;
        if (order == 0) return i;
    }
    return -1;
}

}  // namespace

long Fnd_String_Library::Binary_Search(const Code_Unit* Key, const long Count,
                                       const Code_Unit* const* Table) {
    if (!Key || !Table || Count <= 0) return -1;
    // A null entry has no place in the order: the search ends with -1.
    return Bisect(Count, [Key, Table](long I, int& Order) {
        if (!Table[I]) return false;
        Order = _tcscmp(Key, Table[I]);
        return true;
    });
}

long Fnd_String_Library::Binary_Search(const Code_Unit* Key, const long Count,
                                       const Code_Unit* const* Table, Compare_Function Compare) {
    if (!Key || !Table || Count <= 0 || !Compare) return -1;
    return Bisect(Count, [Key, Table, Compare](long I, int& Order) {
        long status = 0;
        Order = Compare(Key, Table, I, status);
        return status == 0;
    });
}
