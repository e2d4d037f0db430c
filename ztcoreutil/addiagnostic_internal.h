// Helpers shared by the sources of the diagnostics engine.
#pragma once

#include <string>

#include "foundation/base/fnd_string.h"

// The texts of the engine, made on first use and destroyed at exit.
struct Ad_Engine_Texts {
    Fnd_String Trace, Report, Behavior;
    Fnd_String Trace_Left, Trace_Right, Report_Left, Report_Right, Behavior_Left,
        Behavior_Right;
    Fnd_String Diag_Name, Output;
    Fnd_String Aux_File_Root, Aux_File;
};
Ad_Engine_Texts& Ad_Texts();
// The kind of an id's value (0 for ids outside the tables).
long Ad_Kind_Of(long Id);

// An ASCII text as a string.
Fnd_String Ad_Ascii(const char* Bytes);
// The engine's clock: the real one, or the one a test has set.
void Ad_Read_Clock(long& Seconds, long& Milliseconds);
// UTF-8 bytes of a text (ill-formed units become U+FFFD).
std::string Ad_UTF8(const Fnd_String& Text);
// Whether the base time of the line format is set.
extern bool Ad_Clock_Started;
