#include "foundation/base/fnd_string_array.h"

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string_iterator.h"
#include "foundation/base/fnd_string_library.h"

#include <algorithm>
#include <vector>

// ---- Fnd_String_Array_Store

Fnd_String_Array_Store::Fnd_String_Array_Store(long Size, long Fill_Flag, Fnd_String* Value)
    : Size(Size), Filled(Fill_Flag) {
    if (Size < 1) return;
    Strings = new Fnd_String*[static_cast<size_t>(Size)];
    if (Fill_Flag)
        for (long i = 0; i < Size; ++i) Strings[i] = Value;
}

Fnd_String_Array_Store::~Fnd_String_Array_Store() { delete[] Strings; }

// ---- Fnd_String_Array

Fnd_String_Array::Fnd_String_Array(const long Capacity) {
    if (Capacity > 0) {
        Reallocate(Capacity - 1);
        Last = -1;
    }
}

Fnd_String_Array::Fnd_String_Array(const long First, const long Last, const long Fill,
                                   const Fnd_String* Value, const Fnd_Type_Checker* Checker,
                                   const long Owned, const long Capacity) {
    Initialize(First, Last, Fill, Value, Checker, Owned);
    if (Capacity > Count()) {
        const long kept = this->Last;
        Reallocate(this->First + Capacity - 1);
        this->Last = kept;
    }
}

Fnd_String_Array::Fnd_String_Array(const Fnd_String_Array& Other)
    : Fnd_Object(Other), First(Other.First), Last(Other.First - 1), Owned(Other.Owned) {
    if (Other.Checker) Checker = Fnd_Type_Checker::Convert(Other.Checker->Clone());
    if (Other.Count() < 1) return;
    if (Other.Temporary) {
        Store = Other.Store;
        ++Store->Reference_Count;
        Data = Other.Data;
        Last = Other.Last;
        Capacity = Other.Capacity;
        // The block now has two users, so the source's end leaves the strings alive.
        const_cast<Fnd_String_Array&>(Other).Temporary = 0;
        return;
    }
    *this = Other;
}

Fnd_String_Array& Fnd_String_Array::operator=(const Fnd_String_Array& Other) {
    if (this == &Other) return *this;
    Make_Empty();
    if (Other.Count() < 1) return *this;
    Reallocate(First + Other.Count() - 1);
    for (long i = 0; i < Other.Count(); ++i) {
        Fnd_String* source = Other.Data[i];
        Data[i] = source && Owned ? new Fnd_String(*source) : source;
    }
    return *this;
}

Fnd_String_Array::~Fnd_String_Array() {
    Finalize(Owned);
    delete Checker;
}

long Fnd_String_Array::Is_Equal_Pretest(const Fnd_Object& Other_Object) const {
    const Fnd_String_Array* other = Fnd_String_Array::Convert(&Other_Object);
    if (!other || Count() != other->Count()) return 0;
    const bool both_owned = Owned && other->Owned;
    for (long i = 0; i < Count(); ++i) {
        const Fnd_String* a = Data[i];
        const Fnd_String* b = other->Data[i];
        if (a == b) continue;
        if (!both_owned || !a || !b || !(*a == *b)) return 0;
    }
    return 1;
}

long Fnd_String_Array::Is_Equal(const Fnd_Object& Other) const { return Is_Equal_Pretest(Other); }

const Fnd_String_Array& Fnd_String_Array::Nil() {
    static const Fnd_String_Array* nil = new Fnd_String_Array;
    return *nil;
}

Fnd_String* Fnd_String_Array::Get(const long Index) const {
    Check_Index(Index);
    return Slot(Index);
}

void Fnd_String_Array::Check_Index(const long Index) const {
    if (Index < First || Index > Last) Range_Error(Index);
}

void Fnd_String_Array::Range_Error(const long Index) const {
    Fnd_Assert(0, Fnd_Array_Range_Error(First, Last, Index), Fnd_String::Null);
    __builtin_unreachable();
}

void Fnd_String_Array::Initialize(const long First, const long Last, const long Fill,
                                  const Fnd_String* Value, const Fnd_Type_Checker* Checker,
                                  const long Owned) {
    this->First = First;
    this->Owned = Owned;
    if (Checker) this->Checker = Fnd_Type_Checker::Convert(Checker->Clone());
    if (First > Last) {
        this->Last = First - 1;
        return;
    }
    this->Last = First - 1;
    Reallocate(Last);
    if (Fill && Value)
        for (long i = 0; i < Count(); ++i)
            Data[i] = Owned ? new Fnd_String(*Value) : const_cast<Fnd_String*>(Value);
}

void Fnd_String_Array::Reallocate(const long New_Last) {
    if (New_Last - First < Capacity) {
        if (New_Last > Last) Last = New_Last;
        return;
    }
    const long size = New_Last - First + 11;
    auto* block = new Fnd_String_Array_Store(size, 0, nullptr);
    const long present = Count();
    const bool shared = Store && Store->Reference_Count > 1;
    for (long i = 0; i < present; ++i) {
        Fnd_String* string = Store && Store->Filled ? Data[i] : nullptr;
        // Another array still sees the old block: it keeps those strings.
        block->Strings[i] = string && Owned && shared ? new Fnd_String(*string) : string;
    }
    for (long i = present; i < size; ++i) block->Strings[i] = nullptr;
    Finalize(0);
    block->Reference_Count = 1;
    block->Filled = 1;
    Store = block;
    Data = block->Strings;
    Capacity = size;
    if (New_Last > Last) Last = New_Last;
}

void Fnd_String_Array::Finalize(const long With_Strings) {
    if (!Store) return;
    if (--Store->Reference_Count == 0) {
        if (With_Strings && Store->Filled)
            for (long i = 0; i < Store->Size; ++i) delete Store->Strings[i];
        delete Store;
    }
    Store = nullptr;
    Data = nullptr;
    Capacity = 0;
}

void Fnd_String_Array::Make_Empty() { Shorten(Count()); }

void Fnd_String_Array::Ensure_Storage(const long Index) {
    const long kept = Last;
    Reallocate(Index);
    Last = kept;
}

void Fnd_String_Array::Set(const long Index, Fnd_String* Adopted) {
    Check_Index(Index);
    if (Checker && !Checker->Type_Check(Adopted)) return;
    Fnd_String*& slot = Slot(Index);
    if (Owned && slot != Adopted) delete slot;
    slot = Adopted;
}

void Fnd_String_Array::Set(const long Index, const Fnd_String& Text) {
    Check_Index(Index);
    Set(Index, new Fnd_String(Text));
}

Fnd_String* Fnd_String_Array::Remove(const long Index) {
    Check_Index(Index);
    Fnd_String* string = Slot(Index);
    Slot(Index) = nullptr;
    return string;
}

void Fnd_String_Array::Add(Fnd_String* Adopted) { Insert(Last + 1, Adopted); }

void Fnd_String_Array::Add(const Fnd_String& Text) { Insert(Last + 1, Text); }

void Fnd_String_Array::Insert(const long Index, Fnd_String* Adopted) {
    if (Index < First || Index > Last + 1) Range_Error(Index);
    Reallocate(Last + 1);
    for (long i = Last; i > Index; --i) Slot(i) = Slot(i - 1);
    Slot(Index) = nullptr;
    Set(Index, Adopted);
}

void Fnd_String_Array::Insert(const long Index, const Fnd_String& Text) {
    Insert(Index, Owned ? new Fnd_String(Text) : const_cast<Fnd_String*>(&Text));
}

void Fnd_String_Array::Insert_Strings(const long Index, Fnd_String_Array& Other, const long Transfer) {
    if (Index < First || Index > Last + 1) Range_Error(Index);
    const long count = Other.Count();
    if (count < 1) return;
    // Copy the pointers first: Other may be this array.
    std::vector<Fnd_String*> strings(Other.Data, Other.Data + count);
    if (Transfer)
        for (long i = 0; i < count; ++i) Other.Data[i] = nullptr;
    const long old_last = Last;
    Reallocate(Last + count);
    for (long i = old_last; i >= Index; --i) Slot(i + count) = Slot(i);
    for (long i = 0; i < count; ++i) {
        Fnd_String* string = strings[static_cast<size_t>(i)];
        Slot(Index + i) = string && Owned && !Transfer ? new Fnd_String(*string) : string;
    }
}

void Fnd_String_Array::Insert(const long Index, const Fnd_String_Array& Other) {
    Insert_Strings(Index, const_cast<Fnd_String_Array&>(Other), 0);
}

void Fnd_String_Array::Insert(const long Index, Fnd_String_Array& Other, const long Transfer) {
    Insert_Strings(Index, Other, Transfer);
}

void Fnd_String_Array::Replace(const long Index, const Fnd_String_Array& Other) {
    Replace(Index, const_cast<Fnd_String_Array&>(Other), 0);
}

void Fnd_String_Array::Replace(const long Index, Fnd_String_Array& Other, const long Transfer) {
    if (Index < First || Index > Last + 1) Range_Error(Index);
    const long count = std::min(Other.Count(), Last - Index + 1);
    if (&Other == this) {
        Fnd_String_Array copy(Other);
        Delete(Index, count);
        Insert_Strings(Index, copy, 1);
        return;
    }
    Delete(Index, count);
    Insert_Strings(Index, Other, Transfer);
}

void Fnd_String_Array::Delete(const long Index, const long Count) {
    if (Count < 1) return;
    Check_Index(Index);
    Check_Index(Index + Count - 1);
    if (Owned)
        for (long i = Index; i < Index + Count; ++i) delete Slot(i);
    for (long i = Index; i + Count <= Last; ++i) Slot(i) = Slot(i + Count);
    for (long i = Last - Count + 1; i <= Last; ++i) Slot(i) = nullptr;
    Last -= Count;
}

void Fnd_String_Array::Shorten(const long Count) {
    if (Count < 1) return;
    Delete(Last - Count + 1, Count);
}

long Fnd_String_Array::Index_Of(const Fnd_String* S) const {
    for (long i = First; i <= Last; ++i) {
        const Fnd_String* string = Slot(i);
        if (string == S || (Owned && string && S && *string == *S)) return i;
    }
    return First - 1;
}

long Fnd_String_Array::Index_Of(const Fnd_String& S) const { return Index_Of(&S); }

Fnd_String_Array_Slice Fnd_String_Array::Slice(const long First, const long Last) const {
    return Fnd_String_Array_Slice(*this, First, Last);
}

Fnd_String_Array Fnd_String_Array::operator+(const Fnd_String_Array& Other) const {
    Fnd_String_Array result(*this);
    result.Insert(result.Last + 1, Other);
    result.Temporary = 1;
    return result;
}

Fnd_String_Array Fnd_String_Array::operator+(Fnd_String* Adopted) const {
    Fnd_String_Array result(*this);
    result.Add(Adopted);
    result.Temporary = 1;
    return result;
}

Fnd_String_Array operator+(Fnd_String* Adopted, const Fnd_String_Array& Array) {
    Fnd_String_Array result(Array);
    result.Insert(result.First, Adopted);
    result.Temporary = 1;
    return result;
}

void Fnd_String_Array::Add_Tokens(const Fnd_String& Text) {
    Const_Fnd_String_Iterator it(&Text);
    for (;;) {
        Fnd_String token;
        Fnd_String_Library::Get_Token(it, token);
        if (token.Is_Empty()) return;
        Add(token);
    }
}

// ---- Fnd_String_Array_Slice

Fnd_String_Array_Slice::Fnd_String_Array_Slice(const Fnd_String_Array_Slice& Other)
    : Fnd_Object(Other), Fnd_String_Array() {
    Share(Other, Other.First, Other.Last);
}

Fnd_String_Array_Slice::Fnd_String_Array_Slice(const Fnd_String_Array& Array) {
    Share(Array, Array.First, Array.Last);
}

Fnd_String_Array_Slice::Fnd_String_Array_Slice(const Fnd_String_Array& Array, const long First,
                                               const long Last) {
    Share(Array, First, Last);
}

void Fnd_String_Array_Slice::Share(const Fnd_String_Array& Array, const long First, const long Last) {
    Owned = Array.Owned;
    if (Array.Checker) Checker = Fnd_Type_Checker::Convert(Array.Checker->Clone());
    this->First = First;
    if (Last < First) {
        this->Last = First - 1;
        return;
    }
    if (First < Array.First || First > Array.Last) Array.Range_Error(First);
    if (Last < Array.First || Last > Array.Last) Array.Range_Error(Last);
    Store = Array.Store;
    ++Store->Reference_Count;
    Data = Array.Data + (First - Array.First);
    Capacity = Array.Capacity - (First - Array.First);
    this->Last = Last;
}

// ---- Image

void Fnd_String_Array_Image(Fnd_String& Out, const Fnd_String_Array& Array, const long Lines,
                            const long Printable, const long Append, const Fnd_String* Prefix) {
    if (!Append) Out.Make_Empty();
    Fnd_String work;
    if (Printable) work.Ensure_Storage(50);
    for (long i = Array.Get_First(); i <= Array.Get_Last(); ++i) {
        if (i > Array.Get_First()) Out.Append(Lines ? u"\n" : u" ");
        if (Lines && Prefix) Out.Append(*Prefix);
        const Fnd_String* element = Array.Get(i);
        if (!element) {
            Out.Append(u"<NULL>");
        } else if (Printable) {
            work = *element;
            Fnd_String_Library::Make_Printable(work, 0);
            Out.Append(work);
        } else {
            Out.Append(*element);
        }
    }
}
