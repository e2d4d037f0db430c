#include "foundation/utilities/utl_pointer_array.h"

#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

#include <algorithm>
#include <cstring>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_primitives.h"
#include "foundation/utilities/utl_tracing_utilities.h"

using Utl_Traced::Address_Text;
using Utl_Traced::Number_Text;

namespace {

constexpr long Recycled_Capacities = 51;  // lists for the capacities 0 to 50

// The lists of free heap arrays by capacity, made on the first Free.
Utl_Pointer_Array** Free_Lists = nullptr;
Fnd_Semaphore* Free_Lists_Lock = nullptr;

long Default_Capacity(long Size) { return Size < 1 ? 10 : Size; }

void Copy_Cells(void** To, void* const* From, long Count) {
    if (Count > 0) std::memcpy(To, From, static_cast<size_t>(Count) * sizeof(void*));
}

void Move_Cells(void** To, void* const* From, long Count) {
    if (Count > 0) std::memmove(To, From, static_cast<size_t>(Count) * sizeof(void*));
}

}  // namespace

// ---- Tracing

const Utl_Trace_Class Utl_Pointer_Array::Trace_Class{
    u"Utl_Pointer_Array", u"pointer_array", Class_Trace, 2247, &Operation, u"empty_array"};

void Utl_Pointer_Array::Trace_Image(Fnd_String& Out) const {
    Image(Out, Fnd_String::Null, 1, 1, Utl_Type_Utilities::Prefix);
}

namespace {
const Utl_Trace_Op Op_Add{u" Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Remove{u" Remove ", Utl_Op_Remove};
const Utl_Trace_Op Op_Set{u" Set ", Utl_Op_Set};
const Utl_Trace_Op Op_Insert{u" Insert ", Utl_Op_Insert};
const Utl_Trace_Op Op_Delete{u" Delete ", Utl_Op_Delete};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Shorten{u" Shorten ", Utl_Op_Shorten};
const Utl_Trace_Op Op_Sort{u" Sort", Utl_Op_Sort};
}  // namespace

Utl_Pointer_Array::Utl_Pointer_Array(long Size, long Options, Utl_Element_Deleter Deleter,
                                     Utl_Element_Replacer Replacer, Utl_Element_Image Image,
                                     Utl_Element_Copier Copier)
    : Elements(new void*[Default_Capacity(Size)]),
      Deleter(Deleter),
      Replacer(Replacer),
      Image_Function(Image),
      Copier(Copier),
      Capacity(static_cast<int32_t>(Default_Capacity(Size))),
      Options(static_cast<int32_t>(Options)) {
    Trace_Created();
}

Utl_Pointer_Array::Utl_Pointer_Array(const Utl_Pointer_Array& Other)
    : Elements(new void*[Other.Capacity]),
      Count(Other.Count),
      Deleter(Other.Deleter),
      Replacer(Other.Replacer),
      Image_Function(Other.Image_Function),
      Copier(Other.Copier),
      Capacity(Other.Capacity),
      Options(Other.Options) {
    for (long i = 0; i < Count; ++i)
        Elements[i] = Copier && Other.Elements[i] ? Copier(Other.Elements[i]) : Other.Elements[i];
    Trace_Created();
}

Utl_Pointer_Array& Utl_Pointer_Array::operator=(const Utl_Pointer_Array& Other) {
    if (&Other == this) return *this;
    if (Capacity < Other.Count) {
        delete[] Elements;
        Elements = new void*[Other.Capacity];
        Capacity = Other.Capacity;
    }
    Set_Up(Other.Options, Other.Deleter, Other.Replacer, Other.Image_Function, Other.Copier);
    Count = Other.Count;
    for (long i = 0; i < Count; ++i)
        Elements[i] = Copier && Other.Elements[i] ? Copier(Other.Elements[i]) : Other.Elements[i];
    return *this;
}

Utl_Pointer_Array::~Utl_Pointer_Array() {
    Trace_Deleted();
    Make_Empty();
    delete[] Elements;
}

void Utl_Pointer_Array::Set_Up(long New_Options, Utl_Element_Deleter New_Deleter,
                               Utl_Element_Replacer New_Replacer, Utl_Element_Image New_Image,
                               Utl_Element_Copier New_Copier) {
    Options = static_cast<int32_t>(New_Options);
    Deleter = New_Deleter;
    Replacer = New_Replacer;
    Image_Function = New_Image;
    Copier = New_Copier;
}

// ---- Recycling

Utl_Pointer_Array* Utl_Pointer_Array::Get(long Size, long Options, Utl_Element_Deleter Deleter,
                                          Utl_Element_Replacer Replacer, Utl_Element_Image Image,
                                          Utl_Element_Copier Copier) {
    const long index = Size < 0 ? 1 : Size;
    Utl_Pointer_Array* array = nullptr;
    if (index < Recycled_Capacities) {
        Fnd_Semaphore_Guard guard(Free_Lists_Lock, 1, 1, 1);
        if (Free_Lists && Free_Lists[index]) {
            array = Free_Lists[index];
            Free_Lists[index] = array->Free_Link;
            array->Free_Link = nullptr;
        }
    }
    if (!array) return new Utl_Pointer_Array(Size, Options, Deleter, Replacer, Image, Copier);
    array->Trace.Reset();
    array->Count = 0;
    array->Set_Up(Options, Deleter, Replacer, Image, Copier);
    array->Trace_Reused();
    return array;
}

void Utl_Pointer_Array::Free() {
    if (Capacity >= Recycled_Capacities) {
        delete this;
        return;
    }
    Make_Empty();
    Trace_Freed();
    Trace.registered = 0;
    Fnd_Semaphore_Guard guard(Free_Lists_Lock, 1, 1, 1);
    if (!Free_Lists) Free_Lists = new Utl_Pointer_Array*[Recycled_Capacities]();
    Free_Link = Free_Lists[Capacity];
    Free_Lists[Capacity] = this;
}

long Utl_Pointer_Array::Free_List_Length(long Capacity) {
    if (!Free_Lists || Capacity < 0 || Capacity >= Recycled_Capacities) return 0;
    long length = 0;
    for (Utl_Pointer_Array* a = Free_Lists[Capacity]; a; a = a->Free_Link) ++length;
    return length;
}

Utl_Pointer_Array& Utl_Pointer_Array::Null() {
    static Utl_Pointer_Array* const The_Null = new Utl_Pointer_Array(1);
    return *The_Null;
}

void Utl_Pointer_Array::Range_Delete(long Range) {
    if (Range) reinterpret_cast<Utl_Pointer_Array*>(Range)->Free();
}

long Utl_Pointer_Array::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_Pointer_Array(*reinterpret_cast<const Utl_Pointer_Array*>(Range)));
}

// ---- Storage

void Utl_Pointer_Array::Reallocate(long New_Capacity) {
    void** cells = new void*[New_Capacity];
    Copy_Cells(cells, Elements, std::min<long>(Count, New_Capacity));
    delete[] Elements;
    Elements = cells;
    Capacity = static_cast<int32_t>(New_Capacity);
}

void Utl_Pointer_Array::Grow_For_Append() {
    if (Count >= Capacity) Reallocate(std::max<long>(Capacity, 1) * 5);
}

void Utl_Pointer_Array::Grow(long Index, long Fill) {
    Reallocate(Index + 1);
    if (Fill)
        for (long i = Count; i < Index; ++i) Elements[i] = nullptr;
}

void Utl_Pointer_Array::Extend_To(long Index, void* Element) {
    const long fill = Options & Fill_Option;
    if (Index >= Capacity) {
        Grow(Index, fill);
    } else if (fill) {
        for (long i = Count; i < Index; ++i) Elements[i] = nullptr;
    }
    Elements[Index] = Element;
    Count = static_cast<int32_t>(Index + 1);
}

void Utl_Pointer_Array::Grow_Storage(long N) {
    if (N >= 1) Reallocate(Capacity + N + 1);
}

void Utl_Pointer_Array::Ensure_Storage(long N) {
    if (Capacity < N) Reallocate(N + 1);
}

void** Utl_Pointer_Array::Transfer_Strorage() {
    void** storage = Elements;
    Elements = new void*[1];
    Capacity = 1;
    Count = 0;
    return storage;
}

// ---- Elements

void Utl_Pointer_Array::Dispose(void* Element) const {
    if (Deleter && Element) Deleter(Element);
}

void Utl_Pointer_Array::Check_Index(long Index, long Last) const {
    if (Index < 0 || Index > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Last, Index), Fnd_String::Null);
}

void Utl_Pointer_Array::Add(void* Element) {
    const auto detail = [Element] { return Address_Text(Element); };
    return Traced(Op_Add, detail, [this, Element] {
        Grow_For_Append();
        Elements[Count++] = Element;
    });
}

void Utl_Pointer_Array::Add_To_Set(void* Element) {
    if (!Contains(Element)) Add(Element);
}

void Utl_Pointer_Array::Remove(void* Element) {
    const auto detail = [Element] { return Address_Text(Element); };
    return Traced(Op_Remove, detail, [this, Element] {
        const long at = Index(Element);
        if (at < 0) return;
        Dispose(Elements[at]);
        Move_Cells(Elements + at, Elements + at + 1, Count - at - 1);
        --Count;
    });
}

void Utl_Pointer_Array::Replace_Element(long Index, void* Element) {
    void* old = Elements[Index];
    if (Replacer)
        Replacer(Index, old, Element);
    else if ((Options & Fill_Option) && old != Element)
        Dispose(old);
    Elements[Index] = Element;
}

void Utl_Pointer_Array::Set(long Index, void* Element) {
    const auto detail = [Index, Element] {
        return Number_Text(Index) + u" " + Address_Text(Element);
    };
    return Traced(Op_Set, detail, [this, Index, Element] {
        Check_Index(Index, INT32_MAX - 1);
        if (Index < Count)
            Replace_Element(Index, Element);
        else
            Extend_To(Index, Element);
    });
}

void*& Utl_Pointer_Array::Subscript(long Index) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index >= Count) Extend_To(Index, nullptr);
    return Elements[Index];
}

long Utl_Pointer_Array::Index(void* Element) const {
    for (long i = 0; i < Count; ++i)
        if (Elements[i] == Element) return i;
    return -1;
}

void Utl_Pointer_Array::Sort(int (*Compare)(const void*, const void*)) {
    const auto detail = [] { return Fnd_String(); };
    return Traced(Op_Sort, detail, [this, Compare] {
        if (Count > 1) Hst_qsort(Elements, static_cast<size_t>(Count), sizeof(void*), Compare);
    });
}

void Utl_Pointer_Array::Delete(long Index) { Delete(Index, Index); }

void Utl_Pointer_Array::Delete(long From, long To) {
    const auto detail = [From, To] { return Number_Text(From) + u" " + Number_Text(To); };
    return Traced(Op_Delete, detail, [this, From, To] {
        Check_Index(From, Count - 1);
        Check_Index(To, Count - 1);
        if (To < From) return;
        for (long i = From; i <= To; ++i) Dispose(Elements[i]);
        Move_Cells(Elements + From, Elements + To + 1, Count - To - 1);
        Count = static_cast<int32_t>(Count - (To - From + 1));
    });
}

void Utl_Pointer_Array::Insert(long Index, void* Element) {
    const auto detail = [Index, Element] {
        return Number_Text(Index) + u" " + Address_Text(Element);
    };
    return Traced(Op_Insert, detail, [this, Index, Element] {
        Check_Index(Index, Count);
        Grow_For_Append();
        Move_Cells(Elements + Index + 1, Elements + Index, Count - Index);
        Elements[Index] = Element;
        ++Count;
    });
}

void Utl_Pointer_Array::Insert(long Index, const Utl_Pointer_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return;
    Check_Index(Index, Count);
    if (&Other == this) {  // the words must be read before they move
        Utl_Pointer_Array copy(n);
        for (long i = 0; i < n; ++i) copy.Add(Elements[i]);
        Insert(Index, copy);
        return;
    }
    if (Count + n > Capacity) Reallocate(Count + n);
    Move_Cells(Elements + Index + n, Elements + Index, Count - Index);
    Copy_Cells(Elements + Index, Other.Elements, n);
    Count = static_cast<int32_t>(Count + n);
}

void Utl_Pointer_Array::Replace(long Index, const Utl_Pointer_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return Delete(Index);
    if (n == 1) return Set(Index, Other.Elements[0]);
    Check_Index(Index, Count - 1);
    if (&Other == this) {
        Utl_Pointer_Array copy(n);
        for (long i = 0; i < n; ++i) copy.Add(Elements[i]);
        Replace(Index, copy);
        return;
    }
    // Room for n - 1 more behind Index, then overwrite.
    const long behind = Count - Index - 1;
    if (Count + n - 1 > Capacity) Reallocate(Count + n - 1);
    Move_Cells(Elements + Index + n, Elements + Index + 1, behind);
    Copy_Cells(Elements + Index, Other.Elements, n);
    Count = static_cast<int32_t>(Count + n - 1);
}

void Utl_Pointer_Array::Transfer(Utl_Pointer_Array& Destination, long From, long To) {
    Check_Index(From, Count - 1);
    Check_Index(To, Count - 1);
    if (To < From || &Destination == this) return;
    for (long i = From; i <= To; ++i) Destination.Add(Elements[i]);
    Move_Cells(Elements + From, Elements + To + 1, Count - To - 1);
    Count = static_cast<int32_t>(Count - (To - From + 1));
}

void Utl_Pointer_Array::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        for (long i = 0; i < Count; ++i) Dispose(Elements[i]);
        Count = 0;
    });
}

void Utl_Pointer_Array::Shorten(long N) {
    const auto detail = [N] { return Number_Text(N); };
    return Traced(Op_Shorten, detail, [this, N] {
        if (N < 1) return;
        const long keep = N >= Count ? 0 : Count - N;
        for (long i = keep; i < Count; ++i) Dispose(Elements[i]);
        Count = static_cast<int32_t>(keep);
    });
}

bool Utl_Pointer_Array::operator==(const Utl_Pointer_Array& Other) const {
    if (Count != Other.Count) return false;
    for (long i = 0; i < Count; ++i)
        if (Elements[i] != Other.Elements[i]) return false;
    return true;
}

// ---- Image

void Utl_Pointer_Array::Image(Fnd_String& Out, const Fnd_String& Image_Options, long Multiline,
                              long Append, const Code_Unit* Prefix) const {
    Utl_Trace_Silencer quiet(Class_Trace);
    if (!Append) Out.Make_Empty();
    for (long i = 0; i < Count; ++i) {
        if (i > 0) Out.Append(Multiline ? u"\n" : u" ");
        if (Multiline && Prefix) Out.Append(Prefix);
        if (!Elements[i])
            Utl_Tracing_Utilities::Null_Value(Out, 0);
        else if (Image_Function)
            Image_Function(Out, Image_Options, *this, i, Elements[i], Multiline, Prefix);
        else
            Utl_Tracing_Utilities::Value(Out, static_cast<const void*>(Elements[i]), 0);
    }
}

const Fnd_String& Utl_Pointer_Array::Image(const Fnd_String& Image_Options, long Multiline,
                                           const Code_Unit* Prefix) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Image_Options, Multiline, 0, Prefix);
    return *Shared;
}
