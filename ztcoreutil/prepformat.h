// PrepFormat: a format written for the 16-bit convention, made fit for ICU's
// formatted input and output.
//
// In the foundation's formats %s and %c take Code_Unit text and %S and %C byte text;
// in ICU it is the other way about, so the case of these two conversions is swapped.
// A single l before an integer conversion (d i o u x X) becomes ll, since a long has
// 64 bits on this platform while ICU reads an l-sized value as 32 bits.
#pragma once

#include "foundation/base/fnd_string.h"

class PrepFormat : public Fnd_String {
    FND_OBJECT_MEMBERS(PrepFormat, Fnd_String)
public:
    explicit PrepFormat(const Code_Unit* Format);

    // Makes this string the prepared copy of Format; a null Format gives "".
    void preprocessFormat(const Code_Unit* Format);
    // A flag of a conversion: blank, '#', '+', '-', '0'.
    static bool isFlags(Code_Unit Unit);

    // The prepared format as ICU is to receive it. A specification that the format's
    // end cuts short ("50%", "%5", "%ll") is made literal text by doubling its '%':
    // ICU would take the terminator for its conversion and read on behind it. Zero
    // units behind the terminator keep any other reading past it inside this string.
    const Code_Unit* Icu_Format();

private:
    // The position of a '%' whose specification the end of the format cuts short,
    // or -1.
    long Unfinished = -1;

    long Index = 0;     // the scan position
    long Percent = 0;   // the position of the '%' being read
    long Length = 0;    // the format's length
    Code_Unit Current = 0;  // the unit just read

    // Reads the unit at Index into Current and steps on; false at the end.
    bool Read_Next();
};
