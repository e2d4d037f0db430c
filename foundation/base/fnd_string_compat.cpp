// Fnd_String: the compatibility interface of code written against CString. Positions
// clamp instead of failing, and -1 means "not found".
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdarg>
#include <utility>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/tchar.h"

namespace {

const Code_Unit* Or_Empty(const Code_Unit* Text) { return Text ? Text : u""; }

// The index of Count units found at Found in a text of Length units at Start, or -1.
// The terminated-string functions run to the buffer's terminator, which lies behind
// Length while a string is truncated: a find there is no find in the text.
int Index_Or_None(const Code_Unit* Found, const Code_Unit* Start, long Length, long Count = 1) {
    if (!Found || Found - Start > Length - Count) return -1;
    return static_cast<int>(Found - Start);
}

// A copy of the Length units of a string whose buffer runs on behind Length, for the
// terminated-string functions that would otherwise read that tail.
Fnd_String Terminated_At_Length(const Fnd_String& Text) {
    return Fnd_String(Text.Data(), Text.Get_Length());
}

}  // namespace

Fnd_String Fnd_String::Mid(int First, int Count) const {
    First = std::max(First, 0);
    Count = std::max(Count, 0);
    if (First >= Length) return Fnd_String();
    long end = std::min<long>(static_cast<long>(First) + Count, Length);
    return Fnd_String(Data() + First, end - First);
}

Fnd_String Fnd_String::Mid(int First) const {
    First = std::max(First, 0);
    if (First >= Length) return Fnd_String();
    return Fnd_String(Data() + First, Length - First);
}

Fnd_String Fnd_String::Left(int Count) const {
    long count = std::clamp<long>(Count, 0, Length);
    return Fnd_String(Data(), count);
}

Fnd_String Fnd_String::Right(int Count) const {
    long count = std::clamp<long>(Count, 0, Length);
    return Fnd_String(Data() + Length - count, count);
}

int Fnd_String::Compare(const Code_Unit* Other) const {
    if (Length != Buffer.Get_Size()) return Terminated_At_Length(*this).Compare(Other);
    return _tcscmp(Data(), Or_Empty(Other));
}

int Fnd_String::CompareNoCase(const Code_Unit* Other) const {
    if (Length != Buffer.Get_Size()) return Terminated_At_Length(*this).CompareNoCase(Other);
    return _tcsicmp(Data(), Or_Empty(Other));
}

int Fnd_String::Collate(const Code_Unit* Other) const {
    return Fnd_String_Library::Collate(*this, Fnd_String(Other));
}

int Fnd_String::Find(Code_Unit Unit) const {
    if (Unit == 0) return -1;
    return Index_Or_None(_tcschr(Data(), Unit), Data(), Length);
}

int Fnd_String::Find(const Code_Unit* Text) const { return Find(Text, 0); }

int Fnd_String::Find(const Code_Unit* Text, int Start) const {
    if (!Text || !Text[0]) return -1;
    Start = std::max(Start, 0);
    if (Start >= Length) return -1;
    return Index_Or_None(_tcsstr(Data() + Start, Text), Data(), Length,
                         static_cast<long>(_tcslen(Text)));
}

int Fnd_String::ReverseFind(Code_Unit Unit) const {
    if (Unit == 0) return -1;
    if (Length != Buffer.Get_Size()) return Terminated_At_Length(*this).ReverseFind(Unit);
    return Index_Or_None(_tcsrchr(Data(), Unit), Data(), Length);
}

int Fnd_String::FindOneOf(const Code_Unit* Set) const {
    if (!Set || !Set[0]) return -1;
    return Index_Or_None(_tcspbrk(Data(), Set), Data(), Length);
}

Fnd_String Fnd_String::SpanIncluding(const Code_Unit* Set) const {
    return Left(static_cast<int>(_tcsspn(Data(), Or_Empty(Set))));
}

Fnd_String Fnd_String::SpanExcluding(const Code_Unit* Set) const {
    return Left(static_cast<int>(_tcscspn(Data(), Or_Empty(Set))));
}

void Fnd_String::TrimLeft() {
    long first = 0;
    while (first < Length && Fnd_Ctype::Is_Space(Data()[first])) ++first;
    if (first > 0) Delete(0, first);
}

void Fnd_String::TrimRight() {
    long end = Length;
    while (end > 0 && Fnd_Ctype::Is_Space(Data()[end - 1])) --end;
    if (end < Length) {
        Length = end;
        Expunge();
    }
}

void Fnd_String::MakeLower() { Fnd_String_Library::To_Lower(*this); }

void Fnd_String::MakeUpper() { Fnd_String_Library::To_Upper(*this); }

void Fnd_String::MakeReverse() {
    if (Length != Buffer.Get_Size()) Expunge();
    std::reverse(Buffer.Get_Data(), Buffer.Get_Data() + Length);
}

// ---- Formatting

void Fnd_String::Format(const Code_Unit* Format, ...) {
    va_list args;
    va_start(args, Format);
    Format_Varargs(Format, args);
    va_end(args);
}

void Fnd_String::FormatV(const Code_Unit* Format, va_list Args) { Format_Varargs(Format, Args); }

// Tries 128 units, then four times as many while the size tried is below 1,000,000.
void Fnd_String::Format_Varargs(const Code_Unit* Format, va_list Args) {
    // A format taken from this string's own storage would be overwritten.
    const Code_Unit* data = Data();
    if (Format >= data && Format <= data + Buffer.Get_Allocated()) {
        Fnd_String copy(Format);
        Format_Varargs(copy.Data(), Args);
        return;
    }
    Make_Empty();
    for (long size = 128;; size *= 4) {
        Buffer.Ensure_Storage(size);
        va_list args;
        va_copy(args, Args);
        int result = _vsntprintf(Buffer.Get_Data(), static_cast<int>(size), Format, args);
        va_end(args);
        if (result >= 0 && result < size) {
            Buffer.Set_Size(result);
            Length = result;
            return;
        }
        if (size >= 1000000) break;
    }
    Fnd_Assert(0, u"CString::Format buffer overflow");
}

// ---- Direct access to the storage

Code_Unit* Fnd_String::GetBuffer(int Minimum) {
    Buffer.Ensure_Storage(std::max<long>(Minimum, Length));
    return Buffer.Get_Data();
}

void Fnd_String::ReleaseBuffer(int New_Length) {
    long length = New_Length;
    if (length < 0) {
        // The terminated length, never past the storage.
        const Code_Unit* data = Buffer.Get_Data();
        long limit = Buffer.Get_Allocated();
        length = 0;
        while (length < limit && data[length] != 0) ++length;
    }
    if (length > Length) {
        // Units past the capacity were never written: the string grows with zeros there.
        const long capacity = Buffer.Get_Allocated();
        Buffer.Set_Size(length < capacity ? length : capacity);
        Length = Buffer.Get_Size();
        Extend(length - Length, Fnd_Char(0));
    } else {
        // Also from length 0: units written through GetBuffer must not stay visible
        // behind a missing terminator.
        Truncate(length);
        Expunge();
    }
}

void Fnd_String::FreeExtra() {
    if (Length != Buffer.Get_Size()) Expunge();
    Buffer.FreeExtra();
}

int Fnd_String::GetAllocLength() const { return static_cast<int>(Buffer.Get_Allocated()); }
