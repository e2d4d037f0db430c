// One code unit as a class, and the character classes of the foundation.
#pragma once

#include <iosfwd>

#include "foundation/base/fnd_code_unit.h"

class Fnd_Char {
public:
    Code_Unit Unit;

    constexpr Fnd_Char() : Unit(0) {}
    constexpr Fnd_Char(unsigned short Value) : Unit(static_cast<Code_Unit>(Value)) {}

    constexpr operator Code_Unit() const { return Unit; }
    constexpr bool Is_Null() const { return Unit == 0; }
};

// The character classes of the generic-text layer (ICU properties), as long booleans.
struct Fnd_Ctype {
    static long Is_Alphanumeric(const Fnd_Char C);
    static long Is_Alphabetic(const Fnd_Char C);
    static long Is_Control(const Fnd_Char C);
    static long Is_Digit(const Fnd_Char C);
    static long Is_Hex_Digit(const Fnd_Char C);
    static long Is_Graphic(const Fnd_Char C);
    static long Is_Lower(const Fnd_Char C);
    static long Is_Printable(const Fnd_Char C);
    static long Is_Punctuation(const Fnd_Char C);
    static long Is_Space(const Fnd_Char C);
    static long Is_Upper(const Fnd_Char C);
    // The underscore, or alphanumeric.
    static long Is_Identifier(const Fnd_Char C);
};

// Writes C to a 16-bit stream: between apostrophes when printable, else its number.
std::basic_ostream<Code_Unit>& operator<<(std::basic_ostream<Code_Unit>& Stream, Fnd_Char C);
