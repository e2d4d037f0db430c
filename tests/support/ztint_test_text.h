// The units of an Fnd_String as a standard string, so that comparisons in the tests
// print readably and see embedded 0 units.
#pragma once

#include <string>

#include "foundation/base/fnd_string.h"

inline std::u16string Text(const Fnd_String& S) {
    return std::u16string(S.Data(), static_cast<size_t>(S.Get_Length()));
}
