// The generic-text layer: C-style string, character, number, file, stream and time
// functions on Code_Unit (16-bit UTF-16 units). String and character functions map
// onto ICU; functions that reach the C library convert their text with the process's
// default charset (AdCharset::getDefaultCharset()).
//
// Format strings follow the 16-bit convention everywhere: %s and %c take Code_Unit
// text, %S and %C take byte text, and %ld/%lu/%lx take a long of this platform
// (64 bits).
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

// ---- Strings (the C functions of the same name, in code units)

Code_Unit* _tcscat(Code_Unit* Dest, const Code_Unit* Src);
// The character is masked to 16 bits. Null when it does not occur.
const Code_Unit* _tcschr(const Code_Unit* S, unsigned int C);
const Code_Unit* _tcsrchr(const Code_Unit* S, unsigned int C);
inline Code_Unit* _tcschr(Code_Unit* S, unsigned int C) {
    return const_cast<Code_Unit*>(_tcschr(static_cast<const Code_Unit*>(S), C));
}
inline Code_Unit* _tcsrchr(Code_Unit* S, unsigned int C) {
    return const_cast<Code_Unit*>(_tcsrchr(static_cast<const Code_Unit*>(S), C));
}
// Code unit order.
int _tcscmp(const Code_Unit* A, const Code_Unit* B);
int _tcsncmp(const Code_Unit* A, const Code_Unit* B, size_t Count);
// Full case folding.
int _tcsicmp(const Code_Unit* A, const Code_Unit* B);
int _tcsnicmp(const Code_Unit* A, const Code_Unit* B, size_t Count);
Code_Unit* _tcscpy(Code_Unit* Dest, const Code_Unit* Src);
Code_Unit* _tcsncpy(Code_Unit* Dest, const Code_Unit* Src, size_t Count);
Code_Unit* lstrcpyn(Code_Unit* Dest, const Code_Unit* Src, size_t Count);
size_t _tcscspn(const Code_Unit* S, const Code_Unit* Reject);
size_t _tcsspn(const Code_Unit* S, const Code_Unit* Accept);
const Code_Unit* _tcspbrk(const Code_Unit* S, const Code_Unit* Accept);
// Matches only at code point boundaries (never inside a surrogate pair).
const Code_Unit* _tcsstr(const Code_Unit* S, const Code_Unit* Sub);
inline Code_Unit* _tcspbrk(Code_Unit* S, const Code_Unit* Accept) {
    return const_cast<Code_Unit*>(_tcspbrk(static_cast<const Code_Unit*>(S), Accept));
}
inline Code_Unit* _tcsstr(Code_Unit* S, const Code_Unit* Sub) {
    return const_cast<Code_Unit*>(_tcsstr(static_cast<const Code_Unit*>(S), Sub));
}
// Length in code units.
size_t _tcslen(const Code_Unit* S);
// Length in code points.
size_t _tcsclen(const Code_Unit* S);
// A malloc'ed copy (release with free); null when out of memory.
Code_Unit* _tcsdup(const Code_Unit* S);

// ---- Code point stepping, by the surrogate ranges alone

inline bool Tchar_Is_Lead(Code_Unit U) { return (U & 0xFC00) == 0xD800; }
inline bool Tchar_Is_Trail(Code_Unit U) { return (U & 0xFC00) == 0xDC00; }

// Two units on a high surrogate (also a lone one), else one.
inline Code_Unit* _tcsinc(const Code_Unit* P) {
    return const_cast<Code_Unit*>(P + (Tchar_Is_Lead(*P) ? 2 : 1));
}
// Count steps; a Count below 1 returns P.
Code_Unit* _tcsninc(const Code_Unit* P, long Count);
// Two units back when P[-1] is a low surrogate, else one. Start is not read.
inline Code_Unit* _tcsdec(const Code_Unit* /*Start*/, const Code_Unit* P) {
    return const_cast<Code_Unit*>(P - (Tchar_Is_Trail(P[-1]) ? 2 : 1));
}
inline int _tclen(const Code_Unit* P) { return Tchar_Is_Lead(*P) ? 2 : 1; }
// Copies one code point (one or two units).
void _tccpy(Code_Unit* Dest, const Code_Unit* Src);

// ---- Character classes (argument masked to 16 bits; the ICU property)

int _istalpha(unsigned int C);
int _istcntrl(unsigned int C);
int _istalnum(unsigned int C);
int _istdigit(unsigned int C);
int _istgraph(unsigned int C);
int _istspace(unsigned int C);
int _istprint(unsigned int C);
int _istpunct(unsigned int C);
int _istlower(unsigned int C);
int _istupper(unsigned int C);
int _istxdigit(unsigned int C);

// ---- Files and processes. A path that does not convert to the default charset
// fails the call without a system call.

int _tunlink(const Code_Unit* Path);
int _taccess(const Code_Unit* Path, int Mode);
int _trename(const Code_Unit* Old_Path, const Code_Unit* New_Path);
int _tsystem(const Code_Unit* Command);
// Mode as for fopen; the stream is close-on-exec.
FILE* _tfopen(const Code_Unit* Path, const Code_Unit* Mode);
// Replaces the trailing "XXXXXX" of Template by a name that does not exist yet.
// Null (Template unchanged) on failure.
Code_Unit* _tmktemp(Code_Unit* Template);
// A malloc'ed name for a new file in Dir (or the temporary directory) starting with
// Prefix; either may be null. Null on failure.
Code_Unit* _ttempnam(const Code_Unit* Dir, const Code_Unit* Prefix);

// ---- Environment

// The value of Name, or null. The pointer stays valid for the life of the process;
// equal values share one pointer.
const Code_Unit* _tgetenv(const Code_Unit* Name);
// The 16-bit copy of a byte value from getenv, kept for the life of the process.
const Code_Unit* CacheGetenvValues(const char* Value);
// putenv of "NAME=value". The bytes stay valid for the life of the process. A null or
// unconvertible text gives -1 (errno EINVAL).
int _tputenv(const Code_Unit* Setting);

// ---- Numbers

int _ttoi(const Code_Unit* S);
long _ttol(const Code_Unit* S);
long _tcstol(const Code_Unit* S, Code_Unit** End, int Base);
unsigned long _tcstoul(const Code_Unit* S, Code_Unit** End, int Base);
double _tcstod(const Code_Unit* S, Code_Unit** End);
// Value in Base (2 to 36, else 10) with upper-case digits. Buffer needs 66 units.
Code_Unit* _ltot(long Value, Code_Unit* Buffer, int Base);

// ---- Streams (default charset)

// The end-of-file result of the reading functions (masked to 16 bits, as ICU's).
constexpr unsigned int TCHAR_EOF = 0xFFFF;

unsigned int _gettchar();
unsigned int _gettc(FILE* File);
unsigned int _puttc(unsigned int C, FILE* File);
int _fputts(const Code_Unit* S, FILE* File);
// Reads up to Size - 1 units, through the first newline. Null at end of file when
// nothing was read.
Code_Unit* _fgetts(Code_Unit* Buffer, int Size, FILE* File);
int _tprintf(const Code_Unit* Format, ...);
int _ftprintf(FILE* File, const Code_Unit* Format, ...);

// ---- Formatting. Size counts units. The result is the length the whole text needs:
// a result that is negative or not less than Size means the buffer was too small.

int _sntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, ...);
int _vsntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, va_list Args);
int _stscanf(const Code_Unit* Text, const Code_Unit* Format, ...);

// ---- Time

// asctime/ctime converted; valid until the next call of the same function.
const Code_Unit* _tasctime(const struct tm* Time);
const Code_Unit* _tctime(const time_t* Time);
// strftime; Size is the capacity of Buffer in units, terminator included. 0 when the
// format does not convert or the result does not fit.
size_t _tcsftime(Code_Unit* Buffer, size_t Size, const Code_Unit* Format,
                 const struct tm* Time);

// ---- Debug output

// Reports Text under the label "ODS" when diagnostic 2 is on; otherwise nothing.
void OutputDebugString(const Code_Unit* Text);
void OutputDebugString(const Fnd_String& Text);
