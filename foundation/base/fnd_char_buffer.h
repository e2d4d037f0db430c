// The storage under Fnd_String: a length-counted, always terminated array of code
// units that owns its memory or holds foreign memory together with a deallocator.
// Growing operations allocate exactly what they need (no growth factor); callers that
// append often reserve first with Ensure_Storage.
#pragma once

#include <cstdint>
#include <utility>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_object.h"

// Releases memory that a buffer holds on behalf of someone else. A null deallocator
// means the buffer's own allocation (array delete).
typedef void (*Fnd_Deallocator)(Code_Unit*);
// For memory that stays the caller's.
void Fnd_No_Deallocator(Code_Unit*);
// For memory from malloc.
void Fnd_Free_Deallocator(Code_Unit*);

// The order of two texts.
enum Fnd_Relation { Fnd_Less = -1, Fnd_Equal = 0, Fnd_Greater = 1 };

class Fnd_Char_Buffer : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Char_Buffer)
public:
    Fnd_Char_Buffer() noexcept;
    Fnd_Char_Buffer(const Fnd_Char_Buffer& Other);
    Fnd_Char_Buffer(Fnd_Char_Buffer&& Other) noexcept;
    // A copy with exact allocation; null or a Count below 1 gives an empty buffer.
    explicit Fnd_Char_Buffer(const Code_Unit* Text);
    Fnd_Char_Buffer(const Code_Unit* Text, const long Count);
    // Takes Text (terminated) as its own, released later by Release.
    Fnd_Char_Buffer(Code_Unit* Text, Fnd_Deallocator Release);
    ~Fnd_Char_Buffer() override;

    Fnd_Char_Buffer& operator=(const Fnd_Char_Buffer& Other);
    Fnd_Char_Buffer& operator=(Fnd_Char_Buffer&& Other) noexcept;
    Fnd_Char_Buffer& operator=(const Code_Unit* Text);

    long Get_Size() const { return static_cast<long>(Size); }
    long Get_Allocated() const { return static_cast<long>(Allocated); }
    const Code_Unit* Get_Data() const { return Data; }
    Code_Unit* Get_Data() { return Data; }
    // Whether the buffer holds no allocation (its data is the shared empty text).
    bool Is_Unallocated() const { return Data == Null_Buffer; }

    // Ownership.
    void Transfer(Fnd_Char_Buffer& Target);
    // Exchanges the storage of two buffers; neither allocates.
    void Swap(Fnd_Char_Buffer& Other) noexcept {
        std::swap(Data, Other.Data);
        std::swap(Allocated, Other.Allocated);
        std::swap(Size, Other.Size);
        std::swap(Deallocator, Other.Deallocator);
    }
    // The data, owned by the caller from now on (array delete); the buffer is empty.
    Code_Unit* Transfer();
    void Alias(Code_Unit* Text, Fnd_Deallocator Release);
    // Text[Count] must be 0 (assertion 114).
    void Alias(Code_Unit* Text, long Count, Fnd_Deallocator Release);
    void Alias(Code_Unit* Text, long Capacity, long Count, Fnd_Deallocator Release);

    // Storage. The calls that reuse the storage are inline: a text read line by line
    // makes them once a line.
    void Make_Empty() {
        Size = 0;
        Terminate();
    }
    void Deallocate();
    void FreeExtra();
    // Reallocates to N units when N >= Size and N differs from the capacity.
    void Resize_Storage(const long N);
    // Grows the capacity to N units; never shrinks.
    void Ensure_Storage(const long N);
    // Lengthens by Count unset units.
    void Extend(const long Count) {
        if (Count <= 0) return;
        const unsigned long size = Size + static_cast<unsigned long>(Count);
        if (size > Allocated) Reallocate(size);
        Size = size;
        Terminate();
    }
    // Sets the size to N <= capacity and terminates there.
    void Set_Size(const long N) {
        if (N < 0 || static_cast<unsigned long>(N) > Allocated) Size_Error(N);
        Size = static_cast<unsigned long>(N);
        Terminate();
    }

    // Changing. The source may lie inside this buffer.
    void Append_Data(const Code_Unit* Text, const long Count) {
        // Inline when the storage suffices: the usual case after Ensure_Storage.
        if (Text && Count > 0 && Size + static_cast<unsigned long>(Count) <= Allocated) {
            const unsigned long count = static_cast<unsigned long>(Count);
            Code_Unit* end = Data + Size;
            // The text may come from this buffer; it overlaps the target only if it
            // reaches into the units behind the size.
            if (Text + count <= end || Text >= end + count)
                __builtin_memcpy(end, Text, count * sizeof(Code_Unit));
            else
                __builtin_memmove(end, Text, count * sizeof(Code_Unit));
            Size += count;
            Data[Size] = 0;
            return;
        }
        Append_Growing(Text, Count);
    }
    void Insert_Data(const Code_Unit* Text, const long Count, const long At);
    void Append(const Code_Unit* Text);
    void Insert(const Code_Unit* Text, const long At);
    void Delete(const long First, const long Count);
    Fnd_Char_Buffer Get(const long First, const long Count) const;
    void Set(const long At, const Code_Unit* Text);
    void Set(const long At, const Code_Unit* Text, const long Count);
    void Set(const long At, const Fnd_Char_Buffer& Text);

    // Range failures: Fnd_Array_Range_Error(0, Size - 1, ...) through Fnd_Assert.
    [[noreturn]] void Range_Error(const long Index) const;
    [[noreturn]] void Range_Error(const long First, const long Count) const;
    // Index in 0 to Size - 1, else Range_Error.
    void Check_Index(const long Index) const {
        if (Index < 0 || Index >= static_cast<long>(Size)) Range_Error(Index);
    }
    // First to First + Count - 1 inside the buffer, else Range_Error.
    void Check_Range(const long First, const long Count) const;

    // With trace at 5 or bit 8 of specific_trace, each comparison prints both sides.
    bool operator==(const Fnd_Char_Buffer& Other) const;
    // A null pointer equals an empty buffer.
    bool operator==(const Code_Unit* Text) const;
    static inline int32_t trace = 0;
    static inline int32_t specific_trace = 0;

    // Code unit order across embedded 0 units.
    static Fnd_Relation Compare(const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B);
    // Full case folding, segment by segment.
    static Fnd_Relation Caseless_Compare(const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B);

    // The string hash: the length, combined by exclusive or with each unit shifted
    // left by 5, 6, ... 23, then 1 ... 23 again, in 32 bits; a unit that shifts to 0
    // ends it. The result is the 32-bit value, sign-extended.
    long Hash() const override;
    long Hash(long First, long Last) const;
    static long Hash(const Code_Unit* Text);
    // Units First to Last of a terminated text, up to its terminator; First must lie
    // in the text, Last may lie behind it.
    static long Hash(const Code_Unit* Text, long First, long Last);

    long Is_Equal(const Fnd_Object& Other) const override;

private:
    // The shared empty text of every unallocated buffer; never written.
    static Code_Unit Null_Buffer[1];

    unsigned long Allocated;
    unsigned long Size;
    Code_Unit* Data;
    Fnd_Deallocator Deallocator;

    void Append_Growing(const Code_Unit* Text, const long Count);
    void Release_Storage();
    void Take(Code_Unit* Text, unsigned long Capacity, unsigned long Count,
              Fnd_Deallocator Release);
    void Reallocate(unsigned long Capacity);
    [[noreturn]] void Size_Error(long N) const;
    void Terminate() {
        if (Data != Null_Buffer) Data[Size] = 0;
    }
};

Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, Code_Unit B);
Fnd_Char_Buffer operator+(Code_Unit A, const Fnd_Char_Buffer& B);
Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B);
Fnd_Char_Buffer operator+(const Fnd_Char_Buffer& A, const Code_Unit* B);
Fnd_Char_Buffer operator+(const Code_Unit* A, const Fnd_Char_Buffer& B);
