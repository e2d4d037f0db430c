// Trace lines of the foundation classes on the console output stream, each
// "==> <class>: <text>". A class traces an event when its level word reaches the
// event's level or the event's bit is set in its specific word.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"

inline bool Fnd_Tracing(int32_t Level, int32_t Threshold, int32_t Specific, int32_t Bit) {
    return Level >= Threshold || (Specific & Bit) != 0;
}

// Prints one trace line and flushes. A trace line asked for while one is being printed
// (the printing itself compares strings, say) is dropped.
void Fnd_Trace_Line(const Code_Unit* Class_Name, const Fnd_String& Text);
