#include "foundation/utilities/utl_long_array.h"

#include <algorithm>
#include <cstring>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_primitives.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

namespace {

long Default_Capacity(long Size) { return Size < 1 ? 10 : Size; }

void Move_Cells(long* To, const long* From, long Count) {
    if (Count > 0) std::memmove(To, From, static_cast<size_t>(Count) * sizeof(long));
}

int Long_Compare(const void* A, const void* B) {
    const long a = *static_cast<const long*>(A);
    const long b = *static_cast<const long*>(B);
    return a < b ? -1 : (a > b ? 1 : 0);
}

}  // namespace

// ---- Tracing

namespace {

Utl_Trace_Words No_Class_Words;  // the class has none; all stay 0
const Utl_Trace_Class Array_Class{u"Utl_Long_Array", u"long_array", No_Class_Words, 0,
                                  &Utl_Long_Array::Operation, u"empty_array"};
Fnd_String Class_Key() { return Fnd_String(u"long_array"); }

Utl_Trace_Words Words_Of(const Utl_Long_Array& Array) {
    Utl_Trace_Words words;
    words.name = Array.Name;
    return words;
}

}  // namespace

void Utl_Long_Array::Show(const Code_Unit* Label) const {
    Utl_Traced::Show(Array_Class, Words_Of(*this), this, Label,
                     [this](Fnd_String& Out) { Image(Out, 1, 1, Utl_Type_Utilities::Prefix); });
}

void Utl_Long_Array::Register_Object(const Code_Unit* New_Name, Utl_Trace_Operation Operation,
                                     void* Parent) {
    Name = New_Name;
    Registered = New_Name != nullptr;
    Utl_Tracing::Register_Object(Class_Key(), New_Name, this,
                                 Operation ? Operation : &Utl_Long_Array::Operation, 0, Parent);
}

void Utl_Long_Array::Set_Name(const Code_Unit* New_Name, void* Parent) {
    Name = New_Name;
    if (Utl_Trace_Objects) Utl_Tracing::Object_Named(Class_Key(), this, New_Name, Parent);
}

void Utl_Long_Array::Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                               const Fnd_String& Second) {
    auto* array = static_cast<Utl_Long_Array*>(Object);
    Utl_Trace_Words words = array ? Words_Of(*array) : Utl_Trace_Words();
    Utl_Traced::Operation(Array_Class, array ? &words : nullptr, array, Command, First, Second,
                          array ? array->Count : 0, array ? array->Capacity : 0,
                          [array](Fnd_String& Out) {
                              array->Image(Out, 1, 1, Utl_Type_Utilities::Prefix);
                          });
}

Utl_Long_Array::Utl_Long_Array(long Size, long Fill, long Fill_Value, Utl_Long_Image Image)
    : Elements(new long[Default_Capacity(Size)]),
      Capacity(static_cast<int32_t>(Default_Capacity(Size))),
      Fill(Fill != 0),
      Fill_Value(Fill_Value),
      Image_Function(Image) {
    if (Utl_Trace_Reports(No_Class_Words, No_Class_Words))
        Utl_Tracing::Object_Created(Class_Key(), this, &Operation, Name, 0, nullptr);
}

Utl_Long_Array::Utl_Long_Array(const Utl_Long_Array& Other)
    : Elements(new long[Other.Capacity]),
      Count(Other.Count),
      Capacity(Other.Capacity),
      Fill(Other.Fill),
      Fill_Value(Other.Fill_Value),
      Image_Function(Other.Image_Function) {
    Move_Cells(Elements, Other.Elements, Count);
}

Utl_Long_Array& Utl_Long_Array::operator=(const Utl_Long_Array& Other) {
    if (&Other == this) return *this;
    if (Capacity < Other.Count) {
        delete[] Elements;
        Elements = new long[Other.Capacity];
        Capacity = Other.Capacity;
    }
    Count = Other.Count;
    Fill = Other.Fill;
    Fill_Value = Other.Fill_Value;
    Image_Function = Other.Image_Function;
    Move_Cells(Elements, Other.Elements, Count);
    return *this;
}

Utl_Long_Array::~Utl_Long_Array() {
    if (Utl_Trace_Records != 0) {
        if (Registered && Name) Utl_Tracing::Unregister_Object(Fnd_String(Name));
        Utl_Tracing::Object_Deleted(Class_Key(), this);
    }
    delete[] Elements;
}

Utl_Long_Array& Utl_Long_Array::Null() {
    static Utl_Long_Array* const The_Null = new Utl_Long_Array(1);
    return *The_Null;
}

void Utl_Long_Array::Reallocate(long New_Capacity) {
    long* cells = new long[New_Capacity];
    Move_Cells(cells, Elements, std::min<long>(Count, New_Capacity));
    delete[] Elements;
    Elements = cells;
    Capacity = static_cast<int32_t>(New_Capacity);
}

void Utl_Long_Array::Check_Index(long Index, long Last) const {
    if (Index < 0 || Index > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Last, Index), Fnd_String::Null);
}

void Utl_Long_Array::Extend_To(long Index, long Element) {
    if (Index >= Capacity) Reallocate(Index + 1);
    if (Fill)
        for (long i = Count; i < Index; ++i) Elements[i] = Fill_Value;
    Elements[Index] = Element;
    Count = static_cast<int32_t>(Index + 1);
}

void Utl_Long_Array::Add(long Element) {
    if (Count >= Capacity) Reallocate(std::max<long>(Capacity, 1) * 5);
    Elements[Count++] = Element;
}

void Utl_Long_Array::Set(long Index, long Element) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index < Count)
        Elements[Index] = Element;
    else
        Extend_To(Index, Element);
}

long& Utl_Long_Array::Subscript(long Index) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index >= Count) Extend_To(Index, 0);
    return Elements[Index];
}

long Utl_Long_Array::Index(long Element) const {
    for (long i = 0; i < Count; ++i)
        if (Elements[i] == Element) return i;
    return -1;
}

void Utl_Long_Array::Sort() { Sort(Long_Compare); }

void Utl_Long_Array::Sort(int (*Compare)(const void*, const void*)) {
    if (Count > 1) Hst_qsort(Elements, static_cast<size_t>(Count), sizeof(long), Compare);
}

void Utl_Long_Array::Delete(long Index) { Delete(Index, Index); }

void Utl_Long_Array::Delete(long From, long To) {
    Check_Index(From, Count - 1);
    Check_Index(To, Count - 1);
    if (To < From) return;
    Move_Cells(Elements + From, Elements + To + 1, Count - To - 1);
    Count = static_cast<int32_t>(Count - (To - From + 1));
}

void Utl_Long_Array::Insert(long Index, long Element) {
    Check_Index(Index, Count);
    if (Count >= Capacity) Reallocate(std::max<long>(Capacity, 1) * 5);
    Move_Cells(Elements + Index + 1, Elements + Index, Count - Index);
    Elements[Index] = Element;
    ++Count;
}

void Utl_Long_Array::Insert(long Index, const Utl_Long_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return;
    Check_Index(Index, Count);
    if (&Other == this) {
        Utl_Long_Array copy(*this);
        Insert(Index, copy);
        return;
    }
    if (Count + n > Capacity) Reallocate(Count + n);
    Move_Cells(Elements + Index + n, Elements + Index, Count - Index);
    Move_Cells(Elements + Index, Other.Elements, n);
    Count = static_cast<int32_t>(Count + n);
}

void Utl_Long_Array::Replace(long Index, const Utl_Long_Array& Other) {
    const long n = Other.Count;
    if (n == 0) return Delete(Index);
    if (n == 1) return Set(Index, Other.Elements[0]);
    Check_Index(Index, Count - 1);
    if (&Other == this) {
        Utl_Long_Array copy(*this);
        Replace(Index, copy);
        return;
    }
    if (Count + n - 1 > Capacity) Reallocate(Count + n - 1);
    Move_Cells(Elements + Index + n, Elements + Index + 1, Count - Index - 1);
    Move_Cells(Elements + Index, Other.Elements, n);
    Count = static_cast<int32_t>(Count + n - 1);
}

void Utl_Long_Array::Shorten(long N) {
    // A negative N would expose cells that hold nothing: it changes nothing.
    if (N > 0) Count = static_cast<int32_t>(N >= Count ? 0 : Count - N);
}

bool Utl_Long_Array::operator==(const Utl_Long_Array& Other) const {
    return Count == Other.Count && std::equal(Elements, Elements + Count, Other.Elements);
}

void Utl_Long_Array::Image(Fnd_String& Out, long Multiline, long Append,
                           const Code_Unit* Prefix) const {
    if (!Append) Out.Make_Empty();
    for (long i = 0; i < Count; ++i) {
        if (i > 0) Out.Append(Multiline ? u"\n" : u" ");
        if (Multiline && Prefix) Out.Append(Prefix);
        if (Image_Function)
            Image_Function(Out, *this, i, Elements[i], Multiline, Prefix);
        else
            Utl_Tracing_Utilities::Value(Out, Elements[i], 0);
    }
}

const Fnd_String& Utl_Long_Array::Image(long Multiline, const Code_Unit* Prefix) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Multiline, 0, Prefix);
    return *Shared;
}
