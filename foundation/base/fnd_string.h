// Fnd_String: the text type of the foundation, in 16-bit code units with value
// semantics (every copy is a deep copy). Two interfaces over one representation:
//  - the foundation's own (Append, Get, Insert, Set, Delete, Replace) with long
//    indices; a bad index ends the process through Fnd_Assert;
//  - the compatibility interface of code written against CString (Mid, Left, Find,
//    Format, GetBuffer, ...), with int positions that clamp and -1 for "not found".
//
// The data is always terminated at the buffer's length, so Data() can go to anything
// that takes a terminated string. Embedded 0 units are legal; the functions built on
// terminated-string search (Find, ReverseFind, FindOneOf, Compare(const Code_Unit*))
// stop at the first of them. The empty string allocates nothing.
#pragma once

#include <cstdarg>
#include <iosfwd>
#include <utility>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_char_buffer.h"
#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_object.h"

class Fnd_String;

// A view of String's units First to Last (inclusive). Owns nothing.
struct Fnd_Substring {
    const Fnd_String* String = nullptr;
    long First = 0;
    long Last = -1;

    long Get_Length() const { return Last - First + 1; }
    // Debug print on the console: " [address,length,text]".
    Fnd_String Show_Text() const;
    void Show() const;
};

// A view of Text's units First to Last (inclusive). Owns nothing.
struct Fnd_Sub_C_String {
    const Code_Unit* Text = nullptr;
    long First = 0;
    long Last = -1;

    long Get_Length() const { return Last - First + 1; }
    // Debug print on the console: " [address,length,text]".
    Fnd_String Show_Text() const;
    void Show() const;
};

class Fnd_String : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_String)
public:
    // The shared empty string: what Fnd_Assert receives where no context is given.
    static Fnd_String Null;

    // ---- Construction
    Fnd_String() noexcept : Length(0), Next(nullptr) {}
    // A null pointer gives the empty string.
    Fnd_String(const Code_Unit* Text);
    // Count units; a Count below 1 gives the empty string.
    Fnd_String(const Code_Unit* Text, const long Count);
    Fnd_String(const Fnd_String& Other);
    Fnd_String(Fnd_String&& Other) noexcept;
    // Size < 1: empty. Reserve non-zero: capacity for Size units, length 0. Reserve 0:
    // length Size with the units unset.
    Fnd_String(const long Size, const long Reserve);
    // Count units, each set to Fill when Do_Fill is non-zero.
    Fnd_String(const long Count, const Fnd_Char Fill, const long Do_Fill);
    // Repeat copies of Unit.
    Fnd_String(unsigned short Unit, int Repeat);
    ~Fnd_String() override;

    // The capacity is reused when it suffices.
    Fnd_String& operator=(const Fnd_String& Other);
    Fnd_String& operator=(Fnd_String&& Other) noexcept;
    // A null pointer empties.
    Fnd_String& operator=(const Code_Unit* Text);

    // ---- Accessors
    long Get_Length() const { return Length; }
    const Code_Unit* Data() const { return Buffer.Get_Data(); }
    bool Is_Empty() const { return Length == 0; }
    const Fnd_Char_Buffer& Get_Buffer() const { return Buffer; }

    // The unit at Index, checked against the buffer's length.
    Code_Unit operator[](long Index) const {
        Buffer.Check_Index(Index);
        return Buffer.Get_Data()[Index];
    }
    Code_Unit& operator[](long Index) {
        Buffer.Check_Index(Index);
        return Buffer.Get_Data()[Index];
    }

    // ---- Free list: recycled string objects for the collections
    // A string from the free list (or new), empty or holding the given text.
    static Fnd_String* Get();
    static Fnd_String* Get(const Fnd_String& Text);
    static Fnd_String* Get(const Code_Unit* Text);
    // Gives this heap-allocated string back to the free list. Storage above 1000
    // units is released first.
    void Free();
    // The number of strings on the free list.
    static long Free_List_Count();

    // Debug prints on the console. Show: " [address,length,capacity,text]", the
    // capacity only where it differs from the length, the text only where there is one.
    // Show_State: the strings on the free list and their count.
    Fnd_String Show_Text() const;
    void Show() const;
    static Fnd_String Show_State_Text();
    static void Show_State();

    // Length 0; the capacity stays.
    void Make_Empty() {
        Buffer.Make_Empty();
        Length = 0;
    }
    // Capacity for at least N units.
    void Ensure_Storage(const long N);

    // ---- Reading
    // Out receives Count units from First. Count <= 0: Out empty without a check.
    void Get(Fnd_String& Out, const long First, const long Count) const;
    Fnd_String Get(const long First, const long Count) const;
    // 1 when Count units from First equal all of Other.
    long Compare(const long First, const long Count, const Fnd_String& Other,
                 const long Ignore_Case) const;
    long Compare(const long First, const long Count, const Code_Unit* Other,
                 const long Ignore_Case) const;
    bool operator==(const Fnd_Substring& Other) const;
    bool operator==(const Fnd_Sub_C_String& Other) const;
    // Buffer equality: length, then units.
    bool operator==(const Fnd_String& Other) const { return Buffer == Other.Buffer; }
    bool operator==(const Code_Unit* Other) const { return Buffer == Other; }
    using Fnd_Object::operator==;

    long Hash() const override { return Buffer.Hash(); }
    long Is_Equal(const Fnd_Object& Other) const override;

    // A buffer holding Length units.
    Fnd_Char_Buffer Encode() const;
    void Encode(Fnd_Char_Buffer& Out) const;
    // The index of Pointer in the data; must lie in 0 to Length.
    long Byte_To_Char(const Code_Unit* Pointer) const;

    // ---- Changing (foundation interface)
    void Append(const Fnd_String& Text);
    void Append(const Code_Unit* Text);
    void Append(const Fnd_Char Unit);
    void Append_Data(const Code_Unit* Text, const long Count) {
        if (Length != Buffer.Get_Size()) Expunge();  // drop a stale tail first
        Buffer.Append_Data(Text, Count);
        Length = Buffer.Get_Size();
    }
    Fnd_String& operator+=(unsigned short Unit);
    Fnd_String& operator+=(const Fnd_String& Text);
    Fnd_String& operator+=(const Code_Unit* Text);
    // At == Length appends; At outside 0 to Length - 1 otherwise is a range failure.
    void Insert(const Fnd_String& Text, const long At);
    void Insert(const Fnd_Char Unit, const long At);
    void Insert(const Fnd_String& Text);
    void Insert(const Fnd_Char Unit);
    void Set(const long At, const Fnd_Char Unit);
    void Set(const long At, const Fnd_String& Text);
    // Removes Count units from First; returns the new length.
    long Delete(const long First, const long Count);
    // Every occurrence of From, left to right; inserted text is not scanned again.
    void Replace(const Fnd_String& From, const Fnd_String& To);
    void Extend(const long Count) {
        if (Count < 1) return;
        if (Length != Buffer.Get_Size()) Expunge();
        Buffer.Extend(Count);
        Sync_Length();
    }
    void Extend(const long Count, const Fnd_Char Fill);
    // The buffer's length reaches Length + Count; Length stays.
    void Extend_Buffer(const long Count);
    // Sets Length only; the units stay until Expunge.
    void Truncate(const long New_Length) {
        if (New_Length < 0 || New_Length > Buffer.Get_Size()) Truncate_Failure(New_Length);
        Length = New_Length;
    }
    // Drops the units behind Length.
    void Expunge() { Buffer.Set_Size(Length); }
    void Transfer(Fnd_String& Target);
    // Exchanges the text of two strings without copying or allocating.
    void Swap(Fnd_String& Other) noexcept {
        Buffer.Swap(Other.Buffer);
        std::swap(Length, Other.Length);
    }
    // The raw data, owned by the caller (array delete); this string is empty.
    Code_Unit* Transfer();
    void Alias(Code_Unit* Text, Fnd_Deallocator Release);
    void Alias(Code_Unit* Text, const long Count, Fnd_Deallocator Release);

    // ---- Compatibility interface: int positions, clamping, no assertions
    Fnd_String Mid(int First, int Count) const;
    Fnd_String Mid(int First) const;
    Fnd_String Left(int Count) const;
    Fnd_String Right(int Count) const;
    int Compare(const Code_Unit* Other) const;
    int CompareNoCase(const Code_Unit* Other) const;
    int Collate(const Code_Unit* Other) const;
    int Find(Code_Unit Unit) const;
    int Find(const Code_Unit* Text) const;
    int Find(const Code_Unit* Text, int Start) const;
    int ReverseFind(Code_Unit Unit) const;
    int FindOneOf(const Code_Unit* Set) const;
    Fnd_String SpanIncluding(const Code_Unit* Set) const;
    Fnd_String SpanExcluding(const Code_Unit* Set) const;
    void TrimLeft();
    void TrimRight();
    void MakeLower();
    void MakeUpper();
    void MakeReverse();
    void Format(const Code_Unit* Format, ...);
    void FormatV(const Code_Unit* Format, va_list Args);
    void Format(unsigned int Id, ...);
    // The message Id of subsystem "Zentrak_core", class 1. Non-zero when found.
    int LoadString(unsigned int Id);
    // Capacity for Minimum units; the data for writing.
    Code_Unit* GetBuffer(int Minimum);
    // New_Length < 0: the terminated length of the data.
    void ReleaseBuffer(int New_Length = -1);
    void FreeExtra();
    int GetAllocLength() const;

private:
    Fnd_Char_Buffer Buffer;
    long Length;
    Fnd_String* Next;

    friend class Fnd_String_Free_List;
    void Sync_Length() { Length = Buffer.Get_Size(); }
    [[noreturn]] void Truncate_Failure(long New_Length) const;
    void Format_Varargs(const Code_Unit* Format, va_list Args);
};

// Code written against CString names the type so.
using CString = Fnd_String;

Fnd_String operator+(const Fnd_String& A, const Fnd_Char B);
Fnd_String operator+(const Fnd_String& A, unsigned short B);
Fnd_String operator+(const Fnd_Char A, const Fnd_String& B);
Fnd_String operator+(unsigned short A, const Fnd_String& B);
Fnd_String operator+(const Fnd_String& A, const Fnd_String& B);
Fnd_String operator+(const Fnd_String& A, const Code_Unit* B);
Fnd_String operator+(const Code_Unit* A, const Fnd_String& B);

// Writes the string's units to a 16-bit stream.
std::basic_ostream<Code_Unit>& operator<<(std::basic_ostream<Code_Unit>& Stream,
                                          const Fnd_String& Text);

// Constant texts.
inline constexpr const Code_Unit* Fnd_Null_String = u"";
inline constexpr const Code_Unit* Fnd_Space_String = u" ";
inline constexpr const Code_Unit* Fnd_Two_Space_String = u"  ";
inline constexpr const Code_Unit* Fnd_Three_Space_String = u"   ";
inline constexpr const Code_Unit* Fnd_Four_Space_String = u"    ";
inline constexpr const Code_Unit* Fnd_Zero_String = u"0";
inline constexpr const Code_Unit* Fnd_One_String = u"1";
inline constexpr const Code_Unit* Fnd_Star_String = u"*";
inline constexpr const Code_Unit* Fnd_Equal_String = u"=";
inline constexpr const Code_Unit* Fnd_Pound_String = u"#";
inline constexpr const Code_Unit* Fnd_Slash_String = u"/";
inline constexpr const Code_Unit* Fnd_Dot_String = u".";
