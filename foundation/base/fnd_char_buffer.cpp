#include "foundation/base/fnd_char_buffer.h"

#include <unicode/ustring.h>

#include <climits>
#include <cstdint>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_trace.h"

Code_Unit Fnd_Char_Buffer::Null_Buffer[1] = {0};

void Fnd_No_Deallocator(Code_Unit*) {}

void Fnd_Free_Deallocator(Code_Unit* Text) { std::free(Text); }

namespace {

void Copy_Units(Code_Unit* Dest, const Code_Unit* Src, unsigned long Count) {
    if (Count) std::memmove(Dest, Src, Count * sizeof(Code_Unit));
}

// The index reported for a range that ends out of reach; huge arguments must not
// overflow on the way to the report.
long Saturated_Sum(long A, long B) {
    long sum = 0;
    return __builtin_add_overflow(A, B, &sum) ? (B > 0 ? LONG_MAX : LONG_MIN) : sum;
}

// Counted here rather than by ICU: a process that handles only its own texts then
// never touches ICU's code.
unsigned long Terminated_Length(const Code_Unit* Text) {
    return static_cast<unsigned long>(std::char_traits<Code_Unit>::length(Text));
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

void Fnd_Char_Buffer::Size_Error(const long N) const {
    Fnd_Assert(0, Fnd_Array_Constraint_Error(static_cast<long>(Allocated), N), Fnd_String::Null);
    std::abort();  // not reached: a failed assertion ends the process
}

// ---- Changing

void Fnd_Char_Buffer::Append_Growing(const Code_Unit* Text, const long Count) {
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
    // Count > Size - First rather than First + Count > Size, which can overflow.
    if (Count > static_cast<long>(Size) - First)
        Fnd_Assert(0,
                   Fnd_Array_Constraint_Error(static_cast<long>(Size), Saturated_Sum(First, Count)),
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
    const bool first_outside = First < 0 || First >= static_cast<long>(Size);
    Range_Error(first_outside ? First : Saturated_Sum(First, Count - 1));
}

void Fnd_Char_Buffer::Check_Range(const long First, const long Count) const {
    if (First < 0 || First >= static_cast<long>(Size) || Count > static_cast<long>(Size) - First)
        Range_Error(First, Count);
}

// ---- Equality and order

namespace {

bool Tracing_Equals() {
    return Fnd_Tracing(Fnd_Char_Buffer::trace, 5, Fnd_Char_Buffer::specific_trace, 8);
}

// "equals" and both sides in double quotes.
void Trace_Equals(const Code_Unit* Left, long Left_Length, const Code_Unit* Right,
                  long Right_Length) {
    Fnd_String text(u"equals \"");
    text.Append_Data(Left, Left_Length);
    text.Append(u"\" \"");
    text.Append_Data(Right, Right_Length);
    text.Append(u"\"");
    Fnd_Trace_Line(u"Fnd_Char_Buffer", text);
}

}  // namespace

bool Fnd_Char_Buffer::operator==(const Fnd_Char_Buffer& Other) const {
    if (Tracing_Equals()) [[unlikely]]
        Trace_Equals(Data, Get_Size(), Other.Data, Other.Get_Size());
    return Size == Other.Size && std::memcmp(Data, Other.Data, Size * sizeof(Code_Unit)) == 0;
}

bool Fnd_Char_Buffer::operator==(const Code_Unit* Text) const {
    if (Tracing_Equals()) [[unlikely]]
        Trace_Equals(Data, Get_Size(), Text ? Text : u"", Text ? u_strlen(Text) : 0);
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

// One unit at a time: the rule itself, used where a block may hold a unit that
// shifts to 0. Returns false when it met one.
bool Hash_Slowly(const Code_Unit* Text, unsigned long Count, unsigned Shift, uint32_t& Hash) {
    for (unsigned long i = 0; i < Count; ++i) {
        uint32_t shifted = static_cast<uint32_t>(Text[i]) << Shift;
        if (shifted == 0) return false;
        Hash ^= shifted;
        Shift = Shift == 23 ? 1 : Shift + 1;
    }
    return true;
}

// A block of units with the shifts First, First + 1, ...: all shifts are constants,
// the units are independent, and one test covers the whole block. Returns false when
// a unit shifts to 0, leaving Hash for the slow path to redo the block.
template <unsigned First, size_t... I>
inline bool Hash_Block(const Code_Unit* Text, uint32_t& Hash, std::index_sequence<I...>) {
    const uint32_t shifted[] = {(static_cast<uint32_t>(Text[I]) << (First + I))...};
    if (((shifted[I] == 0) | ...)) return false;
    Hash ^= (shifted[I] ^ ...);
    return true;
}

#if defined(__SSE2__)

// Eight units at a time. A 32-bit value u << s is built from two 16-bit halves with
// the multiplications SSE2 has: for s <= 15 the low half is the low product u * 2^s and
// the high half the high product; for s >= 16 the low half is 0 and the high half the
// low product u * 2^(s - 16). Exclusive or works lane by lane, so each half is
// accumulated apart and the lanes are folded at the end. The shifts repeat every 23
// units and the lanes every 8: a super-block of 184 units takes 23 vectors, each
// with its own multipliers.
constexpr unsigned long Super_Block = 184;

struct Lane_Multipliers {
    alignas(16) uint16_t Low[23][8];   // 2^s for s <= 15, else 0
    alignas(16) uint16_t High[23][8];  // 2^(s - 16) for s >= 16, else 0
};

constexpr Lane_Multipliers Make_Lane_Multipliers() {
    Lane_Multipliers table{};
    for (unsigned vector = 0; vector < 23; ++vector) {
        for (unsigned lane = 0; lane < 8; ++lane) {
            unsigned shift = (vector * 8 + lane) % 23 + 1;
            table.Low[vector][lane] = shift <= 15 ? static_cast<uint16_t>(1u << shift) : 0;
            table.High[vector][lane] = shift >= 16 ? static_cast<uint16_t>(1u << (shift - 16)) : 0;
        }
    }
    return table;
}

constexpr Lane_Multipliers Multipliers = Make_Lane_Multipliers();

uint32_t Fold_Lanes(__m128i Low, __m128i High) {
    alignas(16) uint16_t low[8], high[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(low), Low);
    _mm_store_si128(reinterpret_cast<__m128i*>(high), High);
    uint32_t folded = 0;
    for (int lane = 0; lane < 8; ++lane)
        folded ^= static_cast<uint32_t>(high[lane]) << 16 | low[lane];
    return folded;
}

// Hashes the whole super-blocks of Text, which start at shift 1, into Hash. Done is
// the number of units hashed. False when a super-block holds a unit that shifts to 0:
// that block is left out, for the slow path.
bool Hash_Super_Blocks(const Code_Unit* Text, unsigned long Count, uint32_t& Hash,
                       unsigned long& Done) {
    const __m128i zero = _mm_setzero_si128();
    __m128i low = zero, high = zero;
    bool clean = true;
    for (Done = 0; Done + Super_Block <= Count; Done += Super_Block) {
        __m128i block_low = zero, block_high = zero, zeros = zero;
        for (unsigned vector = 0; vector < 23; ++vector) {
            const __m128i units =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(Text + Done + vector * 8));
            const __m128i by_low =
                _mm_load_si128(reinterpret_cast<const __m128i*>(Multipliers.Low[vector]));
            const __m128i by_high =
                _mm_load_si128(reinterpret_cast<const __m128i*>(Multipliers.High[vector]));
            const __m128i part_low = _mm_mullo_epi16(units, by_low);
            const __m128i part_high =
                _mm_or_si128(_mm_mulhi_epu16(units, by_low), _mm_mullo_epi16(units, by_high));
            block_low = _mm_xor_si128(block_low, part_low);
            block_high = _mm_xor_si128(block_high, part_high);
            zeros = _mm_or_si128(zeros, _mm_cmpeq_epi16(_mm_or_si128(part_low, part_high), zero));
        }
        if (_mm_movemask_epi8(zeros)) {
            clean = false;
            break;
        }
        low = _mm_xor_si128(low, block_low);
        high = _mm_xor_si128(high, block_high);
    }
    Hash ^= Fold_Lanes(low, high);
    return clean;
}

#endif

// The running value starts as Start; unit k is shifted by 5, 6, ... 23, then 1 ... 23
// again, in 32 bits; a shifted unit of 0 ends the hash.
long Hash_Units(const Code_Unit* Text, unsigned long Count, uint32_t Start) {
    uint32_t hash = Start;
    // The first 19 units (shifts 5 to 23), then blocks of 23 (shifts 1 to 23).
    constexpr unsigned long Head = 19;
    constexpr unsigned long Period = 23;
    if (Count < Head) {
        Hash_Slowly(Text, Count, 5, hash);
        return static_cast<int32_t>(hash);
    }
    if (!Hash_Block<5>(Text, hash, std::make_index_sequence<Head>())) {
        Hash_Slowly(Text, Head, 5, hash);
        return static_cast<int32_t>(hash);
    }
    unsigned long at = Head;
#if defined(__SSE2__)
    unsigned long done = 0;
    if (!Hash_Super_Blocks(Text + at, Count - at, hash, done)) {
        Hash_Slowly(Text + at + done, Super_Block, 1, hash);
        return static_cast<int32_t>(hash);
    }
    at += done;
#endif
    for (; at + Period <= Count; at += Period) {
        if (!Hash_Block<1>(Text + at, hash, std::make_index_sequence<Period>())) {
            Hash_Slowly(Text + at, Period, 1, hash);
            return static_cast<int32_t>(hash);
        }
    }
    Hash_Slowly(Text + at, Count - at, 1, hash);
    return static_cast<int32_t>(hash);
}

}  // namespace

namespace {

// The start value of a range's hash, Last - First + 1 in 32 bits, computed without
// overflow for any Last.
uint32_t Range_Start(long First, long Last) {
    return static_cast<uint32_t>(static_cast<unsigned long>(Last) -
                                 static_cast<unsigned long>(First) + 1);
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
                      Range_Start(First, Last));
}

long Fnd_Char_Buffer::Hash(const Code_Unit* Text) {
    if (!Text) return 0;
    unsigned long count = Terminated_Length(Text);
    return Hash_Units(Text, count, static_cast<uint32_t>(count));
}

// A 0 unit ends the hash, so only the units in front of the terminator count. They
// are measured first: the block-wise hash reads a whole block before it tests for a
// 0, which would read behind the terminator of a text shorter than Last. First must
// lie in the text (its terminator included).
long Fnd_Char_Buffer::Hash(const Code_Unit* Text, long First, long Last) {
    if (First < 0) First = 0;
    const uint32_t start = Range_Start(First, Last);
    if (!Text || Last < First) return static_cast<int32_t>(start);
    long end = First;  // the terminator, or Last + 1 if that comes first
    while (end <= Last && Text[end] != 0) ++end;
    return Hash_Units(Text + First, static_cast<unsigned long>(end - First), start);
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
