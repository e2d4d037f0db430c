// Fatal assertions of the RPC core. Both functions write one line to descriptor 2
// with a single writev, use no heap, and end the process with abort().
#pragma once

#include "ztint_export.h"

extern "C" {
ZTINT_EXPORT ZTINT_NORETURN void ZTInt_abort(const char* text);
ZTINT_EXPORT ZTINT_NORETURN void ZTInt_abort3(const char* expression, const char* file, int line);
}
