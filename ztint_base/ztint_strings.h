// 8-bit heap strings of the RPC core: the exported helpers and the library's own
// formatting into a new heap string.
#pragma once

#include <cstdarg>

#include "ztint_string.h"

extern "C" {
// printf into a new heap string owned by the caller (free with ZTInt_String_Free).
char* ZTInt_String_Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
char* ZTInt_String_VFormat(const char* format, va_list arguments)
    __attribute__((format(printf, 1, 0)));
}
