#include "foundation/utilities/utl_bit_array.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"

namespace {

constexpr long Bits = 32;

uint32_t Mask(long Index) { return uint32_t{1} << (Index % Bits); }

// The decimal number at Text[At...]; At moves behind it. Stops before overflowing 32 bits.
uint32_t Read_Number(const Code_Unit* Text, long Length, long& At) {
    uint64_t value = 0;
    while (At < Length && Text[At] >= u'0' && Text[At] <= u'9') {
        value = value * 10 + static_cast<uint64_t>(Text[At] - u'0');
        if (value > UINT32_MAX) value = UINT32_MAX;
        ++At;
    }
    return static_cast<uint32_t>(value);
}

}  // namespace

Utl_Bit_Array::Utl_Bit_Array(long Size, long Fill)
    : Word_Count(static_cast<int32_t>(std::max<long>(Size / Bits, 1))), Fill(Fill != 0) {
    Words = new uint32_t[Word_Count]();
}

Utl_Bit_Array::Utl_Bit_Array(const Fnd_String& Archive) : Fill(1) {
    const Code_Unit* text = Archive.Data();
    const long length = Archive.Get_Length();
    long words = 0;
    for (long i = 0; i < length; ++i)
        if (text[i] == u'_') ++words;
    Word_Count = static_cast<int32_t>(std::max<long>(words, 1));
    Words = new uint32_t[Word_Count]();
    if (length == 0) return;
    Fill = text[0] != u'0';
    long at = 1;
    const long count = Read_Number(text, length, at);
    for (long w = 0; w < words; ++w) {
        while (at < length && text[at] != u'_') ++at;  // skips what isn't a number
        ++at;
        Words[w] = Read_Number(text, length, at);
    }
    Bit_Count = static_cast<int32_t>(std::min<long>(count, Word_Count * Bits));
}

Utl_Bit_Array::Utl_Bit_Array(const Utl_Bit_Array& Other)
    : Words(new uint32_t[Other.Word_Count]),
      Bit_Count(Other.Bit_Count),
      Word_Count(Other.Word_Count),
      Fill(Other.Fill) {
    std::memcpy(Words, Other.Words, sizeof(uint32_t) * static_cast<size_t>(Word_Count));
}

Utl_Bit_Array& Utl_Bit_Array::operator=(const Utl_Bit_Array& Other) {
    if (&Other == this) return *this;
    if (Word_Count < Other.Word_Count) {
        delete[] Words;
        Words = new uint32_t[Other.Word_Count]();
        Word_Count = Other.Word_Count;
    }
    std::memcpy(Words, Other.Words, sizeof(uint32_t) * static_cast<size_t>(Other.Word_Count));
    std::fill(Words + Other.Word_Count, Words + Word_Count, 0u);
    Bit_Count = Other.Bit_Count;
    return *this;
}

Utl_Bit_Array::~Utl_Bit_Array() { delete[] Words; }

Utl_Bit_Array& Utl_Bit_Array::Null() {
    static Utl_Bit_Array* const The_Null = new Utl_Bit_Array(1, 1);
    return *The_Null;
}

void Utl_Bit_Array::Check_Index(long Index, long Last) const {
    if (Index < 0 || Index > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Last, Index), Fnd_String::Null);
}

void Utl_Bit_Array::Ensure_Words(long Count) {
    if (Count <= Word_Count) return;
    uint32_t* words = new uint32_t[Count]();
    std::memcpy(words, Words, sizeof(uint32_t) * static_cast<size_t>(Word_Count));
    delete[] Words;
    Words = words;
    Word_Count = static_cast<int32_t>(Count);
}

void Utl_Bit_Array::Put(long Index, long Bit) {
    if (Bit)
        Words[Index / Bits] |= Mask(Index);
    else
        Words[Index / Bits] &= ~Mask(Index);
}

long Utl_Bit_Array::Get(long Index) const {
    if (Index < 0 || Index >= Bit_Count) return 0;
    return (Words[Index / Bits] & Mask(Index)) != 0;
}

void Utl_Bit_Array::Add(long Bit) {
    // The table grows by one word when the next bit wouldn't fit.
    if (Bit_Count + 1 >= Word_Count * Bits) Ensure_Words(Word_Count + 1);
    Put(Bit_Count++, Bit);
}

void Utl_Bit_Array::Set(long Index, long Bit) {
    Check_Index(Index, INT32_MAX - 1);
    if (Index >= Bit_Count) {
        Ensure_Words(Index / Bits + 1);
        if (Fill) {
            // The bits above the count in the last word in use, then the words behind it
            // up to Index.
            const long last_in_use = Bit_Count > 0 ? (Bit_Count - 1) / Bits : -1;
            for (long i = Bit_Count; i < (last_in_use + 1) * Bits; ++i) Put(i, 0);
            for (long w = last_in_use + 1; w <= Index / Bits; ++w) Words[w] = 0;
        }
        Bit_Count = static_cast<int32_t>(Index + 1);
    }
    Put(Index, Bit);
}

void Utl_Bit_Array::Delete(long Index) { Delete(Index, Index); }

void Utl_Bit_Array::Delete(long From, long To) {
    Check_Index(From, Bit_Count - 1);
    Check_Index(To, Bit_Count - 1);
    if (To < From) return;
    const long gap = To - From + 1;
    for (long i = To + 1; i < Bit_Count; ++i) Put(i - gap, Get(i));
    Bit_Count = static_cast<int32_t>(Bit_Count - gap);
}

void Utl_Bit_Array::Insert(long Index, long Bit) {
    Check_Index(Index, Bit_Count);
    Ensure_Words((Bit_Count + 1 + Bits - 1) / Bits);
    for (long i = Bit_Count; i > Index; --i) Put(i, Get(i - 1));
    ++Bit_Count;
    Put(Index, Bit);
}

void Utl_Bit_Array::Insert(long Index, const Utl_Bit_Array& Other) {
    const long n = Other.Bit_Count;
    if (n == 0) return;
    Check_Index(Index, Bit_Count);
    std::vector<long> bits(static_cast<size_t>(n));  // Other may be this array
    for (long i = 0; i < n; ++i) bits[static_cast<size_t>(i)] = Other.Get(i);
    Ensure_Words((Bit_Count + n + Bits - 1) / Bits);
    const long old_count = Bit_Count;
    Bit_Count = static_cast<int32_t>(old_count + n);
    for (long i = old_count - 1; i >= Index; --i) Put(i + n, Get(i));
    for (long i = 0; i < n; ++i) Put(Index + i, bits[static_cast<size_t>(i)]);
}

void Utl_Bit_Array::Replace(long Index, const Utl_Bit_Array& Other) {
    const long n = Other.Bit_Count;
    if (n == 0) return Delete(Index);
    if (n == 1) return Set(Index, Other.Get(0));
    Check_Index(Index, Bit_Count);
    std::vector<long> bits(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i) bits[static_cast<size_t>(i)] = Other.Get(i);
    if (Index + n > Bit_Count) {
        Ensure_Words((Index + n + Bits - 1) / Bits);
        Bit_Count = static_cast<int32_t>(Index + n);
    }
    for (long i = 0; i < n; ++i) Put(Index + i, bits[static_cast<size_t>(i)]);
}

void Utl_Bit_Array::Shorten(long N) {
    if (N > 0) Bit_Count = static_cast<int32_t>(N >= Bit_Count ? 0 : Bit_Count - N);
}

long Utl_Bit_Array::Is_Zero() const {
    for (long i = 0; i < Bit_Count; ++i)
        if (Get(i)) return 0;
    return 1;
}

long Utl_Bit_Array::Is_Ones() const {
    for (long i = 0; i < Bit_Count; ++i)
        if (!Get(i)) return 0;
    return 1;
}

long Utl_Bit_Array::Single_Bit_Set(long Index) const {
    if (Bit_Count == 0) return 1;
    if (!Get(Index)) return 0;
    for (long i = 0; i < Bit_Count; ++i)
        if (i != Index && Get(i)) return 0;
    return 1;
}

void Utl_Bit_Array::Archive(Fnd_String& Out) const {
    Out = Fill ? u"1" : u"0";
    Fnd_String_Library::To_String(Out, static_cast<long>(Bit_Count), 10, 0, 1);
    for (long w = 0; w < Word_Count; ++w) {
        Out.Append(u"_");
        Fnd_String_Library::To_String(Out, static_cast<long>(Words[w]), 10, 0, 1);
    }
}
