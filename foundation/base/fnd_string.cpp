// Fnd_String: construction, assignment, reading and the foundation's changing
// operations.
#include "foundation/base/fnd_string.h"

#include <unicode/ustring.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"

// Made before ordinary static constructors run, since any of them may fail an
// assertion, which takes this string as its context.
Fnd_String Fnd_String::Null __attribute__((init_priority(101)));

namespace {

[[noreturn]] void Range_Check_Failure(const long Last_Valid, const long Index) {
    Fnd_Assert(0, Fnd_Array_Range_Error(0, Last_Valid, Index), Fnd_String::Null);
    __builtin_unreachable();
}

// The index reported for a range that ends out of reach; huge arguments must not
// overflow on the way to the report.
long Saturated_Sum(long A, long B) {
    long sum = 0;
    return __builtin_add_overflow(A, B, &sum) ? (B > 0 ? LONG_MAX : LONG_MIN) : sum;
}

bool Same_Units(const Code_Unit* A, const Code_Unit* B, long Count) {
    return Count <= 0 || std::memcmp(A, B, static_cast<size_t>(Count) * sizeof(Code_Unit)) == 0;
}

bool Same_Caseless(const Code_Unit* A, const Code_Unit* B, long Count) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t order = u_strCaseCompare(A, static_cast<int32_t>(Count), B,
                                     static_cast<int32_t>(Count), 0, &status);
    return U_SUCCESS(status) && order == 0;
}

}  // namespace

// ---- Construction and assignment

Fnd_String::Fnd_String(const Code_Unit* Text) : Buffer(Text), Length(0), Next(nullptr) {
    Sync_Length();
}

Fnd_String::Fnd_String(const Code_Unit* Text, const long Count)
    : Buffer(Text, Count), Length(0), Next(nullptr) {
    Sync_Length();
}

Fnd_String::Fnd_String(const Fnd_String& Other)
    : Fnd_Object(), Buffer(Other.Buffer), Length(Other.Length), Next(nullptr) {}

Fnd_String::Fnd_String(Fnd_String&& Other) noexcept
    : Fnd_Object(), Buffer(std::move(Other.Buffer)), Length(Other.Length), Next(nullptr) {
    Other.Length = 0;
}

Fnd_String::Fnd_String(const long Size, const long Reserve) : Length(0), Next(nullptr) {
    if (Size < 1) return;
    if (Reserve) {
        Buffer.Ensure_Storage(Size);
    } else {
        Buffer.Extend(Size);
        Sync_Length();
    }
}

Fnd_String::Fnd_String(const long Count, const Fnd_Char Fill, const long Do_Fill)
    : Length(0), Next(nullptr) {
    if (Count < 1) return;
    Buffer.Extend(Count);
    if (Do_Fill) {
        Code_Unit* data = Buffer.Get_Data();
        for (long i = 0; i < Count; ++i) data[i] = Fill;
    }
    Sync_Length();
}

Fnd_String::Fnd_String(unsigned short Unit, int Repeat) : Fnd_String(Repeat, Fnd_Char(Unit), 1) {}

Fnd_String::~Fnd_String() = default;

Fnd_String& Fnd_String::operator=(const Fnd_String& Other) {
    if (this != &Other) {
        Buffer = Other.Buffer;
        Length = Other.Length;
    }
    return *this;
}

Fnd_String& Fnd_String::operator=(Fnd_String&& Other) noexcept {
    if (this != &Other) {
        Buffer = std::move(Other.Buffer);
        Length = Other.Length;
        Other.Length = 0;
    }
    return *this;
}

Fnd_String& Fnd_String::operator=(const Code_Unit* Text) {
    Buffer = Text;
    Sync_Length();
    return *this;
}

void Fnd_String::Ensure_Storage(const long N) { Buffer.Ensure_Storage(N); }

// ---- Reading

void Fnd_String::Get(Fnd_String& Out, const long First, const long Count) const {
    if (&Out == this) {
        Fnd_String part = Get(First, Count);
        Out = std::move(part);
        return;
    }
    Out.Make_Empty();
    if (Count <= 0) return;
    if (First < 0) Range_Check_Failure(Length - 1, First);
    // Count > Length - First rather than First + Count > Length, which can overflow.
    if (Count > Length - First)
        Range_Check_Failure(Length - 1, Saturated_Sum(First, Count - 1));
    Out.Append_Data(Data() + First, Count);
}

Fnd_String Fnd_String::Get(const long First, const long Count) const {
    Fnd_String result;
    Get(result, First, Count);
    return result;
}

long Fnd_String::Compare(const long First, const long Count, const Fnd_String& Other,
                         const long Ignore_Case) const {
    if (First < 0 || Count < 0 || Count > Length - First || First >= Length) return 0;
    if (Count != Other.Length) return 0;
    const Code_Unit* mine = Data() + First;
    return Ignore_Case ? Same_Caseless(mine, Other.Data(), Count)
                       : Same_Units(mine, Other.Data(), Count);
}

long Fnd_String::Compare(const long First, const long Count, const Code_Unit* Other,
                         const long Ignore_Case) const {
    if (!Other || First < 0 || Count < 0 || Count > Length - First || First >= Length) return 0;
    // Other must hold exactly Count units before its terminator.
    for (long i = 0; i < Count; ++i)
        if (Other[i] == 0) return 0;
    if (Other[Count] != 0) return 0;
    const Code_Unit* mine = Data() + First;
    return Ignore_Case ? Same_Caseless(mine, Other, Count) : Same_Units(mine, Other, Count);
}

bool Fnd_String::operator==(const Fnd_Substring& Other) const {
    if (!Other.String) return Length == 0;
    // A view that reaches outside its string equals nothing.
    if (Other.First < 0 || Other.Last >= Other.String->Length) return false;
    return Length == Other.Get_Length() &&
           Same_Units(Data(), Other.String->Data() + Other.First, Length);
}

bool Fnd_String::operator==(const Fnd_Sub_C_String& Other) const {
    if (!Other.Text) return Length == 0;
    return Length == Other.Get_Length() && Same_Units(Data(), Other.Text + Other.First, Length);
}

long Fnd_String::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_String* other = Convert(&Other);
    if (!other) return 0;
    return other == this || Buffer == other->Buffer;
}

Fnd_Char_Buffer Fnd_String::Encode() const { return Fnd_Char_Buffer(Data(), Length); }

void Fnd_String::Encode(Fnd_Char_Buffer& Out) const {
    Fnd_Char_Buffer copy(Data(), Length);
    copy.Transfer(Out);
}

long Fnd_String::Byte_To_Char(const Code_Unit* Pointer) const {
    auto offset = static_cast<intptr_t>(reinterpret_cast<uintptr_t>(Pointer) -
                                        reinterpret_cast<uintptr_t>(Data()));
    long index = static_cast<long>(offset / static_cast<intptr_t>(sizeof(Code_Unit)));
    if (offset < 0 || index > Length)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Length, index), Fnd_String::Null);
    return index;
}

// ---- Changing. A string whose buffer runs past Length (after Truncate or
// Extend_Buffer) drops that tail before it changes.

void Fnd_String::Append(const Fnd_String& Text) { Append_Data(Text.Data(), Text.Length); }

void Fnd_String::Append(const Code_Unit* Text) {
    if (Text) Append_Data(Text, static_cast<long>(std::char_traits<Code_Unit>::length(Text)));
}

void Fnd_String::Append(const Fnd_Char Unit) { Append_Data(&Unit.Unit, 1); }

Fnd_String& Fnd_String::operator+=(unsigned short Unit) {
    Append(Fnd_Char(Unit));
    return *this;
}

Fnd_String& Fnd_String::operator+=(const Fnd_String& Text) {
    Append(Text);
    return *this;
}

Fnd_String& Fnd_String::operator+=(const Code_Unit* Text) {
    Append(Text);
    return *this;
}

void Fnd_String::Insert(const Fnd_String& Text, const long At) {
    if (Text.Length == 0) return;
    if (At == Length) {
        Append(Text);
        return;
    }
    if (At < 0 || At > Length - 1) Range_Check_Failure(Length - 1, At);
    if (Length != Buffer.Get_Size()) Expunge();
    Buffer.Insert_Data(Text.Data(), Text.Length, At);
    Sync_Length();
}

void Fnd_String::Insert(const Fnd_Char Unit, const long At) {
    if (At == Length) {
        Append(Unit);
        return;
    }
    if (At < 0 || At > Length - 1) Range_Check_Failure(Length - 1, At);
    if (Length != Buffer.Get_Size()) Expunge();
    Buffer.Insert_Data(&Unit.Unit, 1, At);
    Sync_Length();
}

void Fnd_String::Insert(const Fnd_String& Text) { Insert(Text, 0); }

void Fnd_String::Insert(const Fnd_Char Unit) { Insert(Unit, 0); }

void Fnd_String::Set(const long At, const Fnd_Char Unit) { (*this)[At] = Unit; }

void Fnd_String::Set(const long At, const Fnd_String& Text) {
    Buffer.Set(At, Text.Data(), Text.Length);
}

long Fnd_String::Delete(const long First, const long Count) {
    if (Count <= 0) return Length;
    if (Length != Buffer.Get_Size()) Expunge();
    Buffer.Delete(First, Count);
    Sync_Length();
    return Length;
}

namespace {

// The index of the first occurrence of Pattern (Count units) in Text at or after
// From, comparing units (embedded 0 units take part); -1 if there is none.
long Find_Units(const Code_Unit* Text, long Length, long From, const Code_Unit* Pattern,
                long Count) {
    if (Count <= 0 || Count > Length) return -1;
    const Code_Unit first = Pattern[0];
    for (long i = From; i + Count <= Length; ++i) {
        if (Text[i] == first && Same_Units(Text + i + 1, Pattern + 1, Count - 1)) return i;
    }
    return -1;
}

}  // namespace

void Fnd_String::Replace(const Fnd_String& From, const Fnd_String& To) {
    if (From.Length == 0) return;
    // From and To may be this string: work on copies of their units.
    const Fnd_Char_Buffer from(From.Data(), From.Length);
    const Fnd_Char_Buffer to(To.Data(), To.Length);
    long at = Find_Units(Data(), Length, 0, from.Get_Data(), from.Get_Size());
    if (at < 0) return;
    Fnd_String result;
    long done = 0;
    while (at >= 0) {
        result.Append_Data(Data() + done, at - done);
        result.Append_Data(to.Get_Data(), to.Get_Size());
        done = at + from.Get_Size();
        at = Find_Units(Data(), Length, done, from.Get_Data(), from.Get_Size());
    }
    result.Append_Data(Data() + done, Length - done);
    *this = std::move(result);
}

void Fnd_String::Extend(const long Count, const Fnd_Char Fill) {
    if (Count < 1) return;
    long old = Length;
    Extend(Count);
    Code_Unit* data = Buffer.Get_Data();
    for (long i = old; i < Length; ++i) data[i] = Fill;
}

void Fnd_String::Extend_Buffer(const long Count) {
    long need = Length + Count;
    if (need > Buffer.Get_Size()) Buffer.Extend(need - Buffer.Get_Size());
}

void Fnd_String::Truncate_Failure(const long New_Length) const {
    Range_Check_Failure(Buffer.Get_Size(), New_Length);
}

void Fnd_String::Transfer(Fnd_String& Target) {
    if (&Target == this) return;
    Buffer.Transfer(Target.Buffer);
    Target.Sync_Length();
    Length = 0;
}

Code_Unit* Fnd_String::Transfer() {
    Length = 0;
    return Buffer.Transfer();
}

void Fnd_String::Alias(Code_Unit* Text, Fnd_Deallocator Release) {
    Buffer.Alias(Text, Release);
    Sync_Length();
}

void Fnd_String::Alias(Code_Unit* Text, const long Count, Fnd_Deallocator Release) {
    Buffer.Alias(Text, Count, Release);
    Sync_Length();
}

// ---- Concatenation: the sum of the lengths is reserved first.

namespace {

Fnd_String Joined(const Code_Unit* A, long A_Count, const Code_Unit* B, long B_Count) {
    Fnd_String result(A_Count + B_Count, 1L);
    result.Append_Data(A, A_Count);
    result.Append_Data(B, B_Count);
    return result;
}

}  // namespace

Fnd_String operator+(const Fnd_String& A, const Fnd_Char B) {
    return Joined(A.Data(), A.Get_Length(), &B.Unit, 1);
}

Fnd_String operator+(const Fnd_String& A, unsigned short B) { return A + Fnd_Char(B); }

Fnd_String operator+(const Fnd_Char A, const Fnd_String& B) {
    return Joined(&A.Unit, 1, B.Data(), B.Get_Length());
}

Fnd_String operator+(unsigned short A, const Fnd_String& B) { return Fnd_Char(A) + B; }

Fnd_String operator+(const Fnd_String& A, const Fnd_String& B) {
    return Joined(A.Data(), A.Get_Length(), B.Data(), B.Get_Length());
}

Fnd_String operator+(const Fnd_String& A, const Code_Unit* B) {
    return Joined(A.Data(), A.Get_Length(), B, B ? u_strlen(B) : 0);
}

Fnd_String operator+(const Code_Unit* A, const Fnd_String& B) {
    return Joined(A, A ? u_strlen(A) : 0, B.Data(), B.Get_Length());
}
