// String, stepping and character-class functions of the generic-text layer, on ICU.
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>

#include "ztcoreutil/tchar.h"

namespace {

// A count for ICU's 32-bit length parameters. A count above INT32_MAX cannot be
// reached before a terminator anyway; a plain cast would turn it negative, which ICU
// takes as "nothing to do" (and _tcsncmp would call different texts equal).
int32_t Icu_Count(size_t Count) {
    return Count > static_cast<size_t>(INT32_MAX) ? INT32_MAX : static_cast<int32_t>(Count);
}

}  // namespace

Code_Unit* _tcscat(Code_Unit* Dest, const Code_Unit* Src) { return u_strcat(Dest, Src); }

const Code_Unit* _tcschr(const Code_Unit* S, unsigned int C) {
    return u_strchr(S, static_cast<Code_Unit>(C & 0xFFFF));
}

const Code_Unit* _tcsrchr(const Code_Unit* S, unsigned int C) {
    return u_strrchr(S, static_cast<Code_Unit>(C & 0xFFFF));
}

int _tcscmp(const Code_Unit* A, const Code_Unit* B) { return u_strcmp(A, B); }

int _tcsncmp(const Code_Unit* A, const Code_Unit* B, size_t Count) {
    return u_strncmp(A, B, Icu_Count(Count));
}

int _tcsicmp(const Code_Unit* A, const Code_Unit* B) { return u_strcasecmp(A, B, 0); }

int _tcsnicmp(const Code_Unit* A, const Code_Unit* B, size_t Count) {
    return u_strncasecmp(A, B, Icu_Count(Count), 0);
}

Code_Unit* _tcscpy(Code_Unit* Dest, const Code_Unit* Src) { return u_strcpy(Dest, Src); }

Code_Unit* _tcsncpy(Code_Unit* Dest, const Code_Unit* Src, size_t Count) {
    return u_strncpy(Dest, Src, Icu_Count(Count));
}

Code_Unit* lstrcpyn(Code_Unit* Dest, const Code_Unit* Src, size_t Count) {
    return u_strncpy(Dest, Src, Icu_Count(Count));
}

size_t _tcscspn(const Code_Unit* S, const Code_Unit* Reject) {
    return static_cast<size_t>(u_strcspn(S, Reject));
}

size_t _tcsspn(const Code_Unit* S, const Code_Unit* Accept) {
    return static_cast<size_t>(u_strspn(S, Accept));
}

const Code_Unit* _tcspbrk(const Code_Unit* S, const Code_Unit* Accept) {
    return u_strpbrk(S, Accept);
}

const Code_Unit* _tcsstr(const Code_Unit* S, const Code_Unit* Sub) { return u_strstr(S, Sub); }

size_t _tcslen(const Code_Unit* S) { return static_cast<size_t>(u_strlen(S)); }

size_t _tcsclen(const Code_Unit* S) { return static_cast<size_t>(u_countChar32(S, -1)); }

Code_Unit* _tcsdup(const Code_Unit* S) {
    int32_t length = u_strlen(S);
    auto* copy = static_cast<Code_Unit*>(std::malloc((static_cast<size_t>(length) + 1) * 2));
    if (copy) u_memcpy(copy, S, length + 1);
    return copy;
}

Code_Unit* _tcsninc(const Code_Unit* P, long Count) {
    for (long i = 0; i < Count; ++i) P = _tcsinc(P);
    return const_cast<Code_Unit*>(P);
}

void _tccpy(Code_Unit* Dest, const Code_Unit* Src) {
    Dest[0] = Src[0];
    if (Tchar_Is_Lead(Src[0])) Dest[1] = Src[1];
}

namespace {
inline UChar32 Unit(unsigned int C) { return static_cast<UChar32>(C & 0xFFFF); }
}  // namespace

int _istalpha(unsigned int C) { return u_isalpha(Unit(C)); }
int _istcntrl(unsigned int C) { return u_iscntrl(Unit(C)); }
int _istalnum(unsigned int C) { return u_isalnum(Unit(C)); }
int _istdigit(unsigned int C) { return u_isdigit(Unit(C)); }
int _istgraph(unsigned int C) { return u_isgraph(Unit(C)); }
int _istspace(unsigned int C) { return u_isspace(Unit(C)); }
int _istprint(unsigned int C) { return u_isprint(Unit(C)); }
int _istpunct(unsigned int C) { return u_ispunct(Unit(C)); }
int _istlower(unsigned int C) { return u_islower(Unit(C)); }
int _istupper(unsigned int C) { return u_isupper(Unit(C)); }
int _istxdigit(unsigned int C) { return u_isxdigit(Unit(C)); }
