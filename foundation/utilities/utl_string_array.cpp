#include "foundation/utilities/utl_string_array.h"

#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_primitives.h"
#include "foundation/utilities/utl_name_matcher.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_set.h"
#include "foundation/utilities/utl_string_utilities.h"

using Utl_Traced::Number_Text;
using Utl_Traced::Quoted;

namespace {

constexpr long Recycled_Capacities = 51;

Utl_String_Array** Free_Lists = nullptr;
Fnd_Semaphore* Free_Lists_Lock = nullptr;

long Default_Capacity(long Size) { return Size < 1 ? 10 : Size; }

const Fnd_String& Text_Of(const Fnd_String* Element) {
    return Element ? *Element : Fnd_String::Null;
}

// A heap copy for the array. The free list hands out strings at the alignment of the
// allocator; anything else means a damaged heap.
Fnd_String* Heap_Copy(const Fnd_String& Text) {
    Fnd_String* copy = Fnd_String::Get(Text);
    Fnd_Assert((reinterpret_cast<uintptr_t>(copy) & 3) == 0,
               u"Utl_String_Array::Set: Fnd_String::Get returned a value that is misaligned.");
    return copy;
}

int Caseless_Compare_Strings(const void* A, const void* B) {
    const Fnd_String* a = *static_cast<const Fnd_String* const*>(A);
    const Fnd_String* b = *static_cast<const Fnd_String* const*>(B);
    if (!a || !b) return a ? 1 : (b ? -1 : 0);
    return Fnd_Char_Buffer::Caseless_Compare(a->Get_Buffer(), b->Get_Buffer());
}

}  // namespace

// ---- Construction and recycling

// ---- Tracing

const Utl_Trace_Class Utl_String_Array::Trace_Class{
    u"Utl_String_Array", u"string_array", Class_Trace, 2247, &Operation, u"empty_array"};

void Utl_String_Array::Trace_Image(Fnd_String& Out) const {
    Image(Out, 1, 0, 1, Utl_Type_Utilities::Prefix);
}

namespace {
const Utl_Trace_Op Op_Add{u" Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Set{u" Set ", Utl_Op_Set};
const Utl_Trace_Op Op_Insert{u" Insert ", Utl_Op_Insert};
const Utl_Trace_Op Op_Delete{u" Delete ", Utl_Op_Delete};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Shorten{u" Shorten ", Utl_Op_Shorten};
const Utl_Trace_Op Op_Sort{u" Sort", Utl_Op_Sort};
}  // namespace

Utl_String_Array::Utl_String_Array(long Size, long Fill)
    : Strings(new Fnd_String*[Default_Capacity(Size)]),
      Capacity(static_cast<int32_t>(Default_Capacity(Size))),
      Flags(Sorted_Flag | (Fill ? Fill_Flag : 0)) {
    Trace_Created();
}

Utl_String_Array::Utl_String_Array(const Fnd_String& Text, long Size, long Fill)
    : Utl_String_Array(Size, Fill) {
    Flags &= ~Sorted_Flag;
    add_tokens(Text);
}

Utl_String_Array::Utl_String_Array(const Code_Unit* Text, long Size, long Fill)
    : Utl_String_Array(Fnd_String(Text), Size, Fill) {}

Utl_String_Array::Utl_String_Array(const Utl_String_Map& Map, long Fill)
    : Utl_String_Array(Map.Get_Count(), Fill) {
    Add_Members(Map);
}

Utl_String_Array::Utl_String_Array(const Utl_String_Set& Set, long Fill)
    : Utl_String_Array(Set.Get_Count(), Fill) {
    Add_Members(Set);
}

Utl_String_Array::Utl_String_Array(const Utl_String_Array& Other)
    : Strings(new Fnd_String*[Other.Capacity]), Capacity(Other.Capacity), Flags(Other.Flags) {
    Copy_From(Other);
    Trace_Created();
}

Utl_String_Array& Utl_String_Array::operator=(const Utl_String_Array& Other) {
    if (&Other == this) return *this;
    Make_Empty();
    if (Capacity < Other.Count) Reallocate(Other.Capacity);
    Flags = Other.Flags;
    Copy_From(Other);
    return *this;
}

void Utl_String_Array::Copy_From(const Utl_String_Array& Other) {
    for (long i = 0; i < Other.Count; ++i) {
        if (Other.Strings[i])
            Store(i, Heap_Copy(*Other.Strings[i]), 1);
        else
            Store(i, nullptr, 0);
    }
    Count = Other.Count;
}

Utl_String_Array::~Utl_String_Array() {
    Trace_Deleted();
    Make_Empty();
    delete[] Strings;
    delete[] Owned;
}

Utl_String_Array* Utl_String_Array::Get(long Size, long Fill) {
    const long index = Size < 0 ? 1 : Size;
    if (index < Recycled_Capacities) {
        Fnd_Semaphore_Guard guard(Free_Lists_Lock, 1, 1, 1);
        if (Free_Lists && Free_Lists[index]) {
            Utl_String_Array* array = Free_Lists[index];
            Free_Lists[index] = array->Free_Link;
            array->Free_Link = nullptr;
            array->Trace.Reset();
            array->Count = 0;
            array->Flags = Sorted_Flag | (Fill ? Fill_Flag : 0);
            return array;
        }
    }
    return new Utl_String_Array(Size, Fill);
}

void Utl_String_Array::Free() {
    if (Capacity >= Recycled_Capacities) {
        delete this;
        return;
    }
    Make_Empty();
    Trace.registered = 0;
    Fnd_Semaphore_Guard guard(Free_Lists_Lock, 1, 1, 1);
    if (!Free_Lists) Free_Lists = new Utl_String_Array*[Recycled_Capacities]();
    Free_Link = Free_Lists[Capacity];
    Free_Lists[Capacity] = this;
}

long Utl_String_Array::Free_List_Length(long Capacity) {
    Fnd_Semaphore_Guard guard(Free_Lists_Lock, 1, 1, 1);
    if (!Free_Lists || Capacity < 0 || Capacity >= Recycled_Capacities) return 0;
    long length = 0;
    for (Utl_String_Array* a = Free_Lists[Capacity]; a; a = a->Free_Link) ++length;
    return length;
}

Utl_String_Array& Utl_String_Array::Null() {
    static Utl_String_Array* const The_Null = new Utl_String_Array(1, 0);
    return *The_Null;
}

void Utl_String_Array::Range_Delete(long Range) {
    if (Range) reinterpret_cast<Utl_String_Array*>(Range)->Free();
}

long Utl_String_Array::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_String_Array(*reinterpret_cast<const Utl_String_Array*>(Range)));
}

void Utl_String_Array::Set_Is_Sorted(long Value) {
    if (Value)
        Flags |= Sorted_Flag;
    else
        Flags &= ~Sorted_Flag;
}

// ---- Storage

void Utl_String_Array::Check_Index(long Index, long Last) const {
    if (Index < 0 || Index > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Last, Index), Fnd_String::Null);
}

void Utl_String_Array::Reallocate(long New_Capacity) {
    Fnd_String** strings = new Fnd_String*[New_Capacity];
    const long kept = std::min<long>(Count, New_Capacity);
    std::copy(Strings, Strings + kept, strings);
    delete[] Strings;
    Strings = strings;
    if (Owned) {
        unsigned char* owned = new unsigned char[New_Capacity]();
        std::copy(Owned, Owned + kept, owned);
        delete[] Owned;
        Owned = owned;
    }
    Capacity = static_cast<int32_t>(New_Capacity);
}

void Utl_String_Array::Grow_For_Append() {
    if (Count >= Capacity) Reallocate(std::max<long>(Capacity, 1) * 5);
}

// Stores an element in a cell below the capacity, with its ownership.
void Utl_String_Array::Store(long Index, Fnd_String* Element, long Own) {
    Strings[Index] = Element;
    if (Own && !Owned) Owned = new unsigned char[Capacity]();
    if (Owned) Owned[Index] = Own != 0;
}

void Utl_String_Array::Release(long Index) {
    if (Strings[Index] && Owned && Owned[Index]) Strings[Index]->Free();
    Strings[Index] = nullptr;
    if (Owned) Owned[Index] = 0;
}

// Makes Index a cell in use; skipped cells are null and not owned (their contents are
// undefined without the fill flag, and a null is the safe undefined).
void Utl_String_Array::Extend_To(long Index) {
    if (Index >= Capacity) Reallocate(Index + 1);
    for (long i = Count; i <= Index; ++i) Store(i, nullptr, 0);
    Count = static_cast<int32_t>(Index + 1);
}

void Utl_String_Array::Open_Gap(long Index, long Width) {
    if (Count + Width > Capacity) Reallocate(Count + Width);
    std::copy_backward(Strings + Index, Strings + Count, Strings + Count + Width);
    if (Owned) std::copy_backward(Owned + Index, Owned + Count, Owned + Count + Width);
    Count = static_cast<int32_t>(Count + Width);
}

void Utl_String_Array::Set_Element(long Index, Fnd_String* Element, long Own) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index < Count)
        Release(Index);
    else
        Extend_To(Index);
    Store(Index, Element, Own);
    Flags &= ~Sorted_Flag;
}

void Utl_String_Array::Insert_Element(long Index, Fnd_String* Element, long Own) {
    Check_Index(Index, Count);
    Grow_For_Append();
    Open_Gap(Index, 1);
    Store(Index, Element, Own);
    Flags &= ~Sorted_Flag;
}

// ---- Elements

void Utl_String_Array::Add(const Fnd_String* Element) {
    const auto detail = [Element] { return Element ? Quoted(*Element) : Fnd_String(u"null"); };
    return Traced(Op_Add, detail,
                  [this, Element] { Insert_Element(Count, const_cast<Fnd_String*>(Element), 0); });
}

void Utl_String_Array::Add(const Fnd_String& Element) {
    const auto detail = [&] { return Quoted(Element); };
    return Traced(Op_Add, detail,
                  [this, &Element] { Insert_Element(Count, Heap_Copy(Element), 1); });
}

void Utl_String_Array::Add(const Code_Unit* Element) { Add(Fnd_String(Element)); }

void Utl_String_Array::Transfer_Add(const Fnd_String* Element) {
    Insert_Element(Count, const_cast<Fnd_String*>(Element), 1);
}

void Utl_String_Array::Add_Lines(const Fnd_String& Text) {
    const Code_Unit* text = Text.Data();
    long start = 0;
    for (long i = 0; i <= Text.Get_Length(); ++i) {
        if (i < Text.Get_Length() && text[i] != u'\n') continue;
        Add(Text.Get(start, i - start));
        start = i + 1;
    }
}

void Utl_String_Array::Add_Members(const Utl_String_Map& Map) {
    for (Utl_String_Map_Iterator it(Map); !it.Done(); it.Next()) Add(it.Get_Domain());
}

void Utl_String_Array::Add_Members(const Utl_String_Set& Set) {
    for (Utl_String_Set_Iterator it(Set); !it.Done(); it.Next()) Add(it.Get());
}

void Utl_String_Array::add_tokens(const Fnd_String& Text) {
    Fnd_String token;
    long pos = -1;
    while (Utl_String_Utilities::Token_Get(token, Text, pos, 1)) Add(token);
}

void Utl_String_Array::Add_Values(const Fnd_String& Text) { add_tokens(Text); }

void Utl_String_Array::Recreate(const Fnd_String& Text) {
    Make_Empty();
    add_tokens(Text);
}

void Utl_String_Array::Set(long Index, const Fnd_String* Element) {
    Set_Element(Index, const_cast<Fnd_String*>(Element), 0);
}

void Utl_String_Array::Set(long Index, const Fnd_String& Element) {
    const auto detail = [Index, &Element] { return Number_Text(Index) + u" " + Quoted(Element); };
    return Traced(Op_Set, detail,
                  [this, Index, &Element] { Set_Element(Index, Heap_Copy(Element), 1); });
}

void Utl_String_Array::Set(long Index, const Code_Unit* Element) {
    Set(Index, Fnd_String(Element));
}

Fnd_String& Utl_String_Array::Subscript(long Index) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index >= Count) Extend_To(Index);
    if (!Strings[Index]) Store(Index, Heap_Copy(Fnd_String::Null), 1);
    Fnd_Assert((reinterpret_cast<uintptr_t>(Strings[Index]) & 3) == 0,
               u"Utl_String_Array::Subscript: An array entry is misaligned.");
    return *Strings[Index];
}

// ---- Order and search

void Utl_String_Array::Sort() {
    const auto detail = [] { return Fnd_String(); };
    return Traced(Op_Sort, detail, [this] {
        Sort(Utl_String_Utilities::Compare_Strings);
        Flags |= Sorted_Flag;
    });
}

void Utl_String_Array::Caseless_Sort() {
    const long sorted = Flags & Sorted_Flag;
    Sort(Caseless_Compare_Strings);
    Flags = (Flags & ~Sorted_Flag) | sorted;
}

void Utl_String_Array::Sort(int (*Compare)(const void*, const void*)) {
    if (Count < 2) return;
    if (!Owned) {
        Hst_qsort(Strings, static_cast<size_t>(Count), sizeof(Fnd_String*), Compare);
        return;
    }
    // The owned flags travel with their strings. Compare receives the address of a
    // string pointer, which is the address of the cell that starts with it.
    struct Cell {
        Fnd_String* String;
        unsigned char Owned;
    };
    std::vector<Cell> cells(static_cast<size_t>(Count));
    for (long i = 0; i < Count; ++i) cells[static_cast<size_t>(i)] = {Strings[i], Owned[i]};
    Hst_qsort(cells.data(), cells.size(), sizeof(Cell), Compare);
    for (long i = 0; i < Count; ++i) {
        Strings[i] = cells[static_cast<size_t>(i)].String;
        Owned[i] = cells[static_cast<size_t>(i)].Owned;
    }
}

long Utl_String_Array::find(const Fnd_String& Key) const {
    if (!Is_Sorted()) {
        for (long i = 0; i < Count; ++i)
            if (Text_Of(Strings[i]) == Key) return i;
        return -1;
    }
    if (Count == 0) return -1;
    if (Count <= 2) {
        for (long i = 0; i < Count; ++i)
            if (Text_Of(Strings[i]) == Key) return i;
        return -1;
    }
    long low = 0;
    long high = Count - 1;
    while (low < high) {
        const long middle = low + (high - low) / 2;
        const Fnd_Relation order = Fnd_String_Library::Collate(Key, Text_Of(Strings[middle]));
        if (order == Fnd_Equal) return middle;
        if (order == Fnd_Greater) {
            if (middle == high - 1)
                return high == Count - 1 && Text_Of(Strings[high]) == Key ? high : -1;
            low = middle;
        } else {
            high = middle;
            if (high == low + 1) return low == 0 && Text_Of(Strings[low]) == Key ? low : -1;
        }
    }
    return -1;
}

long Utl_String_Array::insert_pos(const Fnd_String& Key, long& Found) const {
    long low = 0;
    long high = Count;
    while (low < high) {
        const long middle = low + (high - low) / 2;
        if (Fnd_String_Library::Collate(Text_Of(Strings[middle]), Key) == Fnd_Less)
            low = middle + 1;
        else
            high = middle;
    }
    Found = low < Count && Text_Of(Strings[low]) == Key;
    return low;
}

long Utl_String_Array::Caseless_Contains(const Fnd_String& Text) const {
    for (long i = 0; i < Count; ++i)
        if (Strings[i] &&
            Fnd_Char_Buffer::Caseless_Compare(Strings[i]->Get_Buffer(), Text.Get_Buffer()) ==
                Fnd_Equal)
            return 1;
    return 0;
}

long Utl_String_Array::Contain_Duplicate() const {
    for (long i = 0; i < Count; ++i)
        for (long j = i + 1; j < Count; ++j)
            if (Text_Of(Strings[i]) == Text_Of(Strings[j])) return 1;
    return 0;
}

// ---- Removing and inserting

void Utl_String_Array::Delete(long Index) { Delete(Index, Index); }

void Utl_String_Array::Delete(long From, long To) {
    const auto detail = [From, To] { return Number_Text(From) + u" " + Number_Text(To); };
    return Traced(Op_Delete, detail, [this, From, To] {
        Check_Index(From, Count - 1);
        Check_Index(To, Count - 1);
        if (To < From) return;
        for (long i = From; i <= To; ++i) Release(i);
        std::copy(Strings + To + 1, Strings + Count, Strings + From);
        if (Owned) std::copy(Owned + To + 1, Owned + Count, Owned + From);
        Count = static_cast<int32_t>(Count - (To - From + 1));
    });
}

Fnd_String* Utl_String_Array::Transfer_Delete(long Index) {
    Check_Index(Index, Count - 1);
    Fnd_String* element = Strings[Index];
    Strings[Index] = nullptr;
    if (Owned) Owned[Index] = 0;
    Delete(Index);
    return element;
}

void Utl_String_Array::Delete_Matching(const Fnd_String& Pattern, long Kind) {
    Utl_Name_Matcher matcher(Pattern, Kind, 1, 1);
    for (long i = Count - 1; i >= 0; --i)
        if (matcher.Match(Text_Of(Strings[i]))) Delete(i);
}

void Utl_String_Array::Retain_Matching(const Fnd_String& Pattern, long Kind) {
    Utl_Name_Matcher matcher(Pattern, Kind, 1, 1);
    for (long i = Count - 1; i >= 0; --i)
        if (!matcher.Match(Text_Of(Strings[i]))) Delete(i);
}

void Utl_String_Array::Insert(long Index, const Fnd_String* Element) {
    Insert_Element(Index, const_cast<Fnd_String*>(Element), 0);
}

void Utl_String_Array::Insert(long Index, const Fnd_String& Element) {
    const auto detail = [Index, &Element] { return Number_Text(Index) + u" " + Quoted(Element); };
    return Traced(Op_Insert, detail,
                  [this, Index, &Element] { Insert_Element(Index, Heap_Copy(Element), 1); });
}

void Utl_String_Array::Insert(long Index, const Code_Unit* Element) {
    Insert(Index, Fnd_String(Element));
}

void Utl_String_Array::Transfer_Insert(long Index, const Fnd_String* Element) {
    Insert_Element(Index, const_cast<Fnd_String*>(Element), 1);
}

void Utl_String_Array::Insert(long Index, const Utl_String_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return;
    Check_Index(Index, Count);
    if (&Other == this) {
        const Utl_String_Array copy(*this);
        Insert(Index, copy);
        return;
    }
    Open_Gap(Index, n);
    for (long i = 0; i < n; ++i) {
        const long own = Other.Is_Owned(i);
        Fnd_String* element = Other.Strings[i];
        Store(Index + i, own && element ? Heap_Copy(*element) : element, own);
    }
    Flags &= ~Sorted_Flag;
}

void Utl_String_Array::Replace(long Index, const Utl_String_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return Delete(Index);
    if (&Other == this) {
        const Utl_String_Array copy(*this);
        Replace(Index, copy);
        return;
    }
    auto element_of = [&Other](long I) {
        Fnd_String* element = Other.Strings[I];
        return Other.Is_Owned(I) && element ? Heap_Copy(*element) : element;
    };
    if (n == 1) return Set_Element(Index, element_of(0), Other.Is_Owned(0));
    Check_Index(Index, Count - 1);
    Release(Index);
    Open_Gap(Index + 1, n - 1);
    for (long i = 0; i < n; ++i) Store(Index + i, element_of(i), Other.Is_Owned(i));
    Flags &= ~Sorted_Flag;
}

long Utl_String_Array::Ordered_Insert(const Fnd_String* Element) {
    long found = 0;
    const long at = insert_pos(Text_Of(Element), found);
    if (found) return at;
    const long sorted = Flags & Sorted_Flag;
    Insert(at, Element);
    Flags |= sorted;
    return at;
}

long Utl_String_Array::Ordered_Insert(const Fnd_String& Element) {
    long found = 0;
    const long at = insert_pos(Element, found);
    if (found) return at;
    const long sorted = Flags & Sorted_Flag;
    Insert(at, Element);
    Flags |= sorted;
    return at;
}

long Utl_String_Array::Ordered_Insert(const Code_Unit* Element) {
    return Ordered_Insert(Fnd_String(Element));
}

void Utl_String_Array::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        for (long i = 0; i < Count; ++i) Release(i);
        Count = 0;
    });
}

void Utl_String_Array::Shorten(long N) {
    const auto detail = [N] { return Number_Text(N); };
    return Traced(Op_Shorten, detail, [this, N] {
        if (N <= 0) return;
        const long keep = N >= Count ? 0 : Count - N;
        for (long i = keep; i < Count; ++i) Release(i);
        Count = static_cast<int32_t>(keep);
    });
}

bool Utl_String_Array::operator==(const Utl_String_Array& Other) const {
    if (Count != Other.Count) return false;
    for (long i = 0; i < Count; ++i) {
        const Fnd_String* a = Strings[i];
        const Fnd_String* b = Other.Strings[i];
        if (!a || !b ? a != b : !(*a == *b)) return false;
    }
    return true;
}

// ---- Images

void Utl_String_Array::Image(Fnd_String& Out, long Multiline, long Printable, long Append,
                             const Code_Unit* Prefix) const {
    Utl_Trace_Silencer quiet(Class_Trace);
    if (!Append) Out.Make_Empty();
    Fnd_String work;
    for (long i = 0; i < Count; ++i) {
        if (i > 0) Out.Append(Multiline ? u"\n" : u" ");
        if (Multiline && Prefix) Out.Append(Prefix);
        if (!Printable) {
            if (Strings[i]) Out.Append(*Strings[i]);
            continue;
        }
        work = Text_Of(Strings[i]);
        Fnd_String_Library::Make_Printable(work, 0);
        Out.Append(work);
    }
}

const Fnd_String& Utl_String_Array::Image(long Multiline, long Printable,
                                          const Code_Unit* Prefix) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Multiline, Printable, 0, Prefix);
    return *Shared;
}

void Utl_String_Array::Table_Image(Fnd_String& Out, long Columns, const Code_Unit* Prefix) const {
    Out.Make_Empty();
    if (Columns < 1 || Count == 0) return;
    const long rows = (Count + Columns - 1) / Columns;
    std::vector<long> width(static_cast<size_t>(Columns));
    for (long i = 0; i < Count; ++i)
        width[static_cast<size_t>(i / rows)] =
            std::max(width[static_cast<size_t>(i / rows)], Text_Of(Strings[i]).Get_Length());
    for (long r = 0; r < rows; ++r) {
        if (Prefix) Out.Append(Prefix);
        for (long c = 0; c < Columns; ++c) {
            const long i = c * rows + r;
            if (i >= Count) break;
            const Fnd_String& text = Text_Of(Strings[i]);
            Out.Append(text);
            for (long pad = text.Get_Length(); pad < width[static_cast<size_t>(c)]; ++pad)
                Out.Append(u" ");
            Out.Append(u" ");
        }
        Out.Append(u"\n");
    }
}
