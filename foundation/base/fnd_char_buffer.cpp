#include "foundation/base/fnd_char_buffer.h"

#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"

Code_Unit Fnd_Char_Buffer::Null_Buffer[1] = {0};

void Fnd_No_Deallocator(Code_Unit*) {}

void Fnd_Free_Deallocator(Code_Unit* Text) { std::free(Text); }

namespace {

void Copy_Units(Code_Unit* Dest, const Code_Unit* Src, unsigned long Count) {
    if (Count) std::memmove(Dest, Src, Count * sizeof(Code_Unit));
}

unsigned long Terminated_Length(const Code_Unit* Text) {
    return static_cast<unsigned long>(u_strlen(Text));
}

}  // namespace

// ---- Construction and ownership

Fnd_Char_Buffer::Fnd_Char_Buffer() noexcept
    : Allocated(0), Size(0), Data(Null_Buffer), Deallocator(nullptr) {}

Fnd_Char_Buffer::Fnd_Char_Buffer(const Fnd_Char_Buffer& Other) : Fnd_Char_Buffer() {
    Append_Data(Other.Data, static_cast<long>(Other.Size));
}

Fnd_Char_Buffer::Fnd_Char_Buffer(Fnd_Char_Buffer&& Other) noexcept : Fnd_Char_Buffer() {
    Other.Transfer(*this);
}

Fnd_Char_Buffer::Fnd_Char_Buffer(const Code_Unit* Text) : Fnd_Char_Buffer() {
    if (Text) Append_Data(Text, static_cast<long>(Terminated_Length(Text)));
}

Fnd_Char_Buffer::Fnd_Char_Buffer(const Code_Unit* Text, const long Count) : Fnd_Char_Buffer() {
    if (Text && Count > 0) Append_Data(Text, Count);
}

Fnd_Char_Buffer::Fnd_Char_Buffer(Code_Unit* Text, Fnd_Deallocator Release) : Fnd_Char_Buffer() {
    Alias(Text, Release);
}

Fnd_Char_Buffer::~Fnd_Char_Buffer() { Release_Storage(); }

Fnd_Char_Buffer& Fnd_Char_Buffer::operator=(const Fnd_Char_Buffer& Other) {
    if (this == &Other) return *this;
    if (Other.Size <= Allocated && Data != Null_Buffer) {
        Copy_Units(Data, Other.Data, Other.Size);
        Size = Other.Size;
        Terminate();
    } else {
        Release_Storage();
        Append_Data(Other.Data, static_cast<long>(Other.Size));
    }
    return *this;
}

Fnd_Char_Buffer& Fnd_Char_Buffer::operator=(Fnd_Char_Buffer&& Other) noexcept {
    if (this != &Other) Other.Transfer(*this);
    return *this;
}

Fnd_Char_Buffer& Fnd_Char_Buffer::operator=(const Code_Unit* Text) {
    if (!Text) {
        Make_Empty();
        return *this;
    }
    if (Text == Data) return *this;
    unsigned long count = Terminated_Length(Text);
    if (count <= Allocated && Data != Null_Buffer) {
        Copy_Units(Data, Text, count);  // memmove: Text may lie in this buffer
        Size = count;
        Terminate();
    } else {
        Fnd_Char_Buffer copy(Text, static_cast<long>(count));
        copy.Transfer(*this);
    }
    return *this;
}

void Fnd_Char_Buffer::Release_Storage() {
    if (Data != Null_Buffer) {
        if (Deallocator)
            Deallocator(Data);
        else
            delete[] Data;
    }
    Data = Null_Buffer;
    Allocated = Size = 0;
    Deallocator = nullptr;
}

void Fnd_Char_Buffer::Take(Code_Unit* Text, unsigned long Capacity, unsigned long Count,
                           Fnd_Deallocator Release) {
    Release_Storage();
    if (!Text) return;
    Data = Text;
    Allocated = Capacity;
    Size = Count;
    Deallocator = Release;
}

void Fnd_Char_Buffer::Transfer(Fnd_Char_Buffer& Target) {
    if (this == &Target) return;
    Target.Release_Storage();
    Target.Data = Data;
    Target.Allocated = Allocated;
    Target.Size = Size;
    Target.Deallocator = Deallocator;
    Data = Null_Buffer;
    Allocated = Size = 0;
    Deallocator = nullptr;
}

Code_Unit* Fnd_Char_Buffer::Transfer() {
    Code_Unit* result = Data;
    if (result == Null_Buffer) result = new Code_Unit[1]{0};  // the caller may delete it
    Data = Null_Buffer;
    Allocated = Size = 0;
    Deallocator = nullptr;
    return result;
}

void Fnd_Char_Buffer::Alias(Code_Unit* Text, Fnd_Deallocator Release) {
    unsigned long count = Text ? Terminated_Length(Text) : 0;
    Take(Text, count, count, Release);
}

void Fnd_Char_Buffer::Alias(Code_Unit* Text, long Count, Fnd_Deallocator Release) {
    Alias(Text, Count, Count, Release);
}

void Fnd_Char_Buffer::Alias(Code_Unit* Text, long Capacity, long Count,
                            Fnd_Deallocator Release) {
    if (Text && (Count < 0 || Capacity < Count || Text[Count] != 0))
        Fnd_Assert(0, Fnd_Assertion_Message(114), Fnd_String::Null);
    Take(Text, static_cast<unsigned long>(Capacity), static_cast<unsigned long>(Count),
         Release);
}

// ---- Storage

void Fnd_Char_Buffer::Make_Empty() {
    Size = 0;
    Terminate();
}

void Fnd_Char_Buffer::Deallocate() { Release_Storage(); }

void Fnd_Char_Buffer::Reallocate(unsigned long Capacity) {
    if (Capacity == 0) {
        Release_Storage();
        return;
    }
    auto* fresh = new Code_Unit[Capacity + 1];
    unsigned long keep = Size < Capacity ? Size : Capacity;
    Copy_Units(fresh, Data, keep);
    fresh[keep] = 0;
    Release_Storage();
    Data = fresh;
    Allocated = Capacity;
    Size = keep;
}

void Fnd_Char_Buffer::FreeExtra() {
    if (Size != Allocated) Reallocate(Size);
}

void Fnd_Char_Buffer::Resize_Storage(const long N) {
    if (N >= static_cast<long>(Size) && static_cast<unsigned long>(N) != Allocated)
        Reallocate(static_cast<unsigned long>(N));
}

void Fnd_Char_Buffer::Ensure_Storage(const long N) {
    if (N > static_cast<long>(Allocated)) Reallocate(static_cast<unsigned long>(N));
}

void Fnd_Char_Buffer::Extend(const long Count) {
    if (Count <= 0) return;
    Ensure_Storage(static_cast<long>(Size) + Count);
    Size += static_cast<unsigned long>(Count);
    Terminate();
}

void Fnd_Char_Buffer::Set_Size(const long N) {
    if (N < 0 || static_cast<unsigned long>(N) > Allocated)
        Fnd_Assert(0, Fnd_Array_Constraint_Error(static_cast<long>(Allocated), N),
                   Fnd_String::Null);
    Size = static_cast<unsigned long>(N);
    Terminate();
}

// ---- Changing

void Fnd_Char_Buffer::Append_Data(const Code_Unit* Text, const long Count) {
    if (!Text || Count <= 0) return;
    unsigned long need = Size + static_cast<unsigned long>(Count);
    if (need > Allocated) {
        // Exact growth. The old storage is released only after the copy, so Text may
        // point into it.
        auto* fresh = new Code_Unit[need + 1];
        Copy_Units(fresh, Data, Size);
        Copy_Units(fresh + Size, Text, static_cast<unsigned long>(Count));
        unsigned long size = Size;
        Release_Storage();
        Data = fresh;
        Allocated = need;
        Size = size;
    } else {
        Copy_Units(Data + Size, Text, static_cast<unsigned long>(Count));
    }
    Size = need;
    Data[Size] = 0;
}

void Fnd_Char_Buffer::Insert_Data(const Code_Unit* Text, const long Count, const long At) {
    if (At == static_cast<long>(Size)) {
        Append_Data(Text, Count);
        return;
    }
    if (At < 0 || At > static_cast<long>(Size))
        Fnd_Assert(0, Fnd_Array_Constraint_Error(static_cast<long>(Size), At), Fnd_String::Null);
    if (!Text || Count <= 0) return;
    unsigned long count = static_cast<unsigned long>(Count);
    unsigned long at = static_cast<unsigned long>(At);
    unsigned long need = Size + count;
    if (need > Allocated) {
        auto* fresh = new Code_Unit[need + 1];
        Copy_Units(fresh, Data, at);
        Copy_Units(fresh + at, Text, count);
        Copy_Units(fresh + at + count, Data + at, Size - at);
        Release_Storage();
        Data = fresh;
        Allocated = need;
    } else {
        // In place: a source inside this buffer would move with the tail.
        std::unique_ptr<Code_Unit[]> aside;
        if (Text >= Data && Text <= Data + Allocated) {
            aside.reset(new Code_Unit[count]);
            Copy_Units(aside.get(), Text, count);
            Text = aside.get();
        }
        Copy_Units(Data + at + count, Data + at, Size - at);
        Copy_Units(Data + at, Text, count);
    }
    Size = need;
    Data[Size] = 0;
}

void Fnd_Char_Buffer::Append(const Code_Unit* Text) {
    if (Text) Append_Data(Text, static_cast<long>(Terminated_Length(Text)));
}

void Fnd_Char_Buffer::Insert(const Code_Unit* Text, const long At) {
    if (Text) Insert_Data(Text, static_cast<long>(Terminated_Length(Text)), At);
}

void Fnd_Char_Buffer::Delete(const long First, const long Count) {
    if (Count <= 0) return;
    if (First < 0)
        Fnd_Assert(0, Fnd_Array_Constraint_Error(0, First), Fnd_String::Null);
    if (First + Count > static_cast<long>(Size))
        Fnd_Assert(0, Fnd_Array_Constraint_Error(static_cast<long>(Size), First + Count),
                   Fnd_String::Null);
    unsigned long first = static_cast<unsigned long>(First);
    unsigned long count = static_cast<unsigned long>(Count);
    Copy_Units(Data + first, Data + first + count, Size - first - count);
    Size -= count;
    Terminate();
}

Fnd_Char_Buffer Fnd_Char_Buffer::Get(const long First, const long Count) const {
    if (Count <= 0) return Fnd_Char_Buffer();
    Check_Range(First, Count);
    return Fnd_Char_Buffer(Data + First, Count);
}

void Fnd_Char_Buffer::Set(const long At, const Code_Unit* Text) {
    if (Text) Set(At, Text, static_cast<long>(Terminated_Length(Text)));
}

void Fnd_Char_Buffer::Set(const long At, const Code_Unit* Text, const long Count) {
    if (!Text || Count <= 0) return;
    Check_Range(At, Count);
    Copy_Units(Data + At, Text, static_cast<unsigned long>(Count));
}

void Fnd_Char_Buffer::Set(const long At, const Fnd_Char_Buffer& Text) {
    Set(At, Text.Data, static_cast<long>(Text.Size));
}

// ---- Range failures

void Fnd_Char_Buffer::Range_Error(const long Index) const {
    Fnd_Assert(0, Fnd_Array_Range_Error(0, static_cast<long>(Size) - 1, Index),
               Fnd_String::Null);
    std::abort();  // not reached: a failed assertion ends the process
}

void Fnd_Char_Buffer::Range_Error(const long First, const long Count) const {
    Range_Error(First < 0 || First >= static_cast<long>(Size) ? First : First + Count - 1);
}

void Fnd_Char_Buffer::Check_Range(const long First, const long Count) const {
    if (First < 0 || First >= static_cast<long>(Size) || Count > static_cast<long>(Size) - First)
        Range_Error(First, Count);
}

// ---- Equality and order

bool Fnd_Char_Buffer::operator==(const Fnd_Char_Buffer& Other) const {
    return Size == Other.Size && std::memcmp(Data, Other.Data, Size * sizeof(Code_Unit)) == 0;
}

bool Fnd_Char_Buffer::operator==(const Code_Unit* Text) const {
    if (!Text) return Size == 0;
    for (unsigned long i = 0; i < Size; ++i)
        if (Text[i] != Data[i] || Text[i] == 0) return false;
    return Text[Size] == 0;
}

long Fnd_Char_Buffer::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Char_Buffer* other = Convert(&Other);
    if (!other) return 0;
    return other == this || *this == *other;
}

// Comparing the terminated segments one after the other with _tcscmp, stepping over
// each embedded 0, orders exactly as comparing the units over both sizes in code unit
// order: a 0 unit sorts below every other unit and a shorter text below its
// extensions. One pass over the units gives that order without measuring segments.
Fnd_Relation Fnd_Char_Buffer::Compare(const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B) {
    const Code_Unit* a = A.Data;
    const Code_Unit* b = B.Data;
    unsigned long common = A.Size < B.Size ? A.Size : B.Size;
    for (unsigned long i = 0; i < common; ++i) {
        if (a[i] != b[i]) return a[i] < b[i] ? Fnd_Less : Fnd_Greater;
    }
    if (A.Size == B.Size) return Fnd_Equal;
    return A.Size < B.Size ? Fnd_Less : Fnd_Greater;
}

Fnd_Relation Fnd_Char_Buffer::Caseless_Compare(const Fnd_Char_Buffer& A,
                                               const Fnd_Char_Buffer& B) {
    unsigned long a = 0;
    unsigned long b = 0;
    for (;;) {
        int order = u_strcasecmp(A.Data + a, B.Data + b, 0);
        if (order < 0) return Fnd_Less;
        if (order > 0) return Fnd_Greater;
        // Equal under folding; the segments may differ in length ("ß" and "ss").
        a += Terminated_Length(A.Data + a);
        b += Terminated_Length(B.Data + b);
        bool a_done = a >= A.Size;
        bool b_done = b >= B.Size;
        if (a_done) return b_done ? Fnd_Equal : Fnd_Less;
        if (b_done) return Fnd_Greater;
        ++a;
        ++b;
    }
}

// ---- Hash

namespace {

long Hash_Units(const Code_Unit* Text, unsigned long Count, uint32_t Start) {
    uint32_t hash = Start;
    unsigned shift = 5;
    for (unsigned long i = 0; i < Count; ++i) {
        uint32_t shifted = static_cast<uint32_t>(Text[i]) << shift;
        if (shifted == 0) break;
        hash ^= shifted;
        shift = shift == 23 ? 1 : shift + 1;
    }
    return static_cast<int32_t>(hash);
}

}  // namespace

long Fnd_Char_Buffer::Hash() const {
    return Hash_Units(Data, Size, static_cast<uint32_t>(Size));
}

long Fnd_Char_Buffer::Hash(long First, long Last) const {
    if (First < 0) First = 0;
    long stop = Last < static_cast<long>(Size) ? Last : static_cast<long>(Size) - 1;
    unsigned long count = stop >= First ? static_cast<unsigned long>(stop - First + 1) : 0;
    return Hash_Units(Data + (count ? First : 0), count,
                      static_cast<uint32_t>(Last - First + 1));
}

long Fnd_Char_Buffer::Hash(const Code_Unit* Text) {
    if (!Text) return 0;
    unsigned long count = Terminated_Length(Text);
    return Hash_Units(Text, count, static_cast<uint32_t>(count));
}

long Fnd_Char_Buffer::Hash(const Code_Unit* Text, long First, long Last) {
    if (First < 0) First = 0;
    if (!Text || Last < First) return static_cast<int32_t>(static_cast<uint32_t>(Last - First + 1));
    // A 0 unit ends the hash, so the units behind the terminator are never read.
    return Hash_Units(Text + First, static_cast<unsigned long>(Last - First + 1),
                      static_cast<uint32_t>(Last - First + 1));
}

// ---- Concatenation

namespace {

Fnd_Char_Buffer Joined(const Code_Unit* A, long A_Count, const Code_Unit* B, long B_Count) {
    Fnd_Char_Buffer result;
    result.Ensure_Storage(A_Count + B_Count);
    result.Append_Data(A, A_Count);
    result.Append_Data(B, B_Count);
    return result;
}

}  // namespace

Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, Code_Unit B) {
    return Joined(A.Get_Data(), A.Get_Size(), &B, 1);
}

Fnd_Char_Buffer operator+(Code_Unit A, const Fnd_Char_Buffer& B) {
    return Joined(&A, 1, B.Get_Data(), B.Get_Size());
}

Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B) {
    return Joined(A.Get_Data(), A.Get_Size(), B.Get_Data(), B.Get_Size());
}

Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, const Code_Unit* B) {
    return Joined(A.Get_Data(), A.Get_Size(), B, B ? u_strlen(B) : 0);
}

Fnd_Char_Buffer operator+(const Code_Unit* A, const Fnd_Char_Buffer& B) {
    return Joined(A, A ? u_strlen(A) : 0, B.Get_Data(), B.Get_Size());
}
