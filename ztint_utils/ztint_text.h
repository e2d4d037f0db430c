// Between the RPC core's 8-bit texts and the foundation's 16-bit strings: both
// directions in the process's default character set.
#pragma once

#include "foundation/base/fnd_string.h"

// text converted, stopping at the first unconvertible byte; empty for NULL.
Fnd_String ZTInt_Wide(const char* text);
// A new heap string (free with ZTInt_String_Free), or NULL if text can't be converted.
char* ZTInt_Narrow(const Fnd_String& text);
