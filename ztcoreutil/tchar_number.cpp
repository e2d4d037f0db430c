// Number conversions of the generic-text layer.
//
// US-ASCII maps exactly the units below 0x80 to the same bytes and fails on every
// other unit, so the conversions to it are done inline: a strict conversion fails on
// the first unit of 0x80 or above, and an escaping one writes such a unit as "&#x...;",
// which no number continues into. Parsing the ASCII units in front of the first other
// unit therefore reads the same number and consumes the same prefix.
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "ztcoreutil/tchar.h"

namespace {

bool Is_Ascii_Space(Code_Unit Unit) {
    return Unit == u' ' || (Unit >= u'\t' && Unit <= u'\r');
}

// The units that can belong to a number of strtol or strtod: digits, letters (hex
// digits, exponents, "0x", "inf", "nan"), point, comma, signs and the parentheses of
// "nan(...)".
bool Is_Number_Unit(Code_Unit Unit) {
    if (Unit >= 0x80) return false;
    char c = static_cast<char>(Unit);
    return std::isalnum(static_cast<unsigned char>(c)) || c == '.' || c == ',' || c == '+' ||
           c == '-' || c == '(' || c == ')' || c == '_';
}

// The bytes that strtol and strtod can read from Text: leading white space, then the
// longest run of number units. Stops at the first unit that is not ASCII.
std::string Number_Prefix(const Code_Unit* Text) {
    std::string bytes;
    const Code_Unit* p = Text;
    while (Is_Ascii_Space(*p)) bytes += static_cast<char>(*p++);
    while (Is_Number_Unit(*p)) bytes += static_cast<char>(*p++);
    return bytes;
}

// The whole text as ASCII bytes, or false at the first unit that is not ASCII.
bool Strict_Ascii(const Code_Unit* Text, std::string& Bytes) {
    for (const Code_Unit* p = Text; *p; ++p) {
        if (*p >= 0x80) return false;
    }
    Bytes = Number_Prefix(Text);
    return true;
}

// Parses the number at the start of Text; *End, if End is given, is Text plus the units
// read. The end pointer starts at the first byte, so that a parser that does not set
// it counts as having read nothing. A null Text reads nothing.
template <class Parse>
auto Parse_Prefix(const Code_Unit* Text, Code_Unit** End, Parse parse) {
    decltype(parse("", nullptr)) value{};
    if (!Text) {
        if (End) *End = nullptr;
        return value;
    }
    std::string bytes = Number_Prefix(Text);
    char* end = bytes.data();
    value = parse(bytes.c_str(), &end);
    if (End) *End = const_cast<Code_Unit*>(Text) + (end - bytes.c_str());
    return value;
}

// A base the C library rejects is answered here, as glibc answers it (0, errno
// EINVAL, nothing read): what strtol leaves in its end pointer then is not the same
// under every build (a sanitizer's wrapper stores an unset pointer there).
template <class Integer, class Parse>
Integer Parse_Integer(const Code_Unit* Text, Code_Unit** End, int Base, Parse parse) {
    if (Base != 0 && (Base < 2 || Base > 36)) {
        if (End) *End = const_cast<Code_Unit*>(Text);
        errno = EINVAL;
        return 0;
    }
    return Parse_Prefix(Text, End,
                        [Base, parse](const char* p, char** e) { return parse(p, e, Base); });
}

}  // namespace

int _ttoi(const Code_Unit* S) {
    std::string bytes;
    if (!S || !Strict_Ascii(S, bytes)) return 0;
    return std::atoi(bytes.c_str());
}

long _ttol(const Code_Unit* S) {
    std::string bytes;
    if (!S || !Strict_Ascii(S, bytes)) return 0;
    return std::atol(bytes.c_str());
}

long _tcstol(const Code_Unit* S, Code_Unit** End, int Base) {
    return Parse_Integer<long>(S, End, Base, [](const char* p, char** e, int b) {
        return std::strtol(p, e, b);
    });
}

unsigned long _tcstoul(const Code_Unit* S, Code_Unit** End, int Base) {
    return Parse_Integer<unsigned long>(S, End, Base, [](const char* p, char** e, int b) {
        return std::strtoul(p, e, b);
    });
}

double _tcstod(const Code_Unit* S, Code_Unit** End) {
    return Parse_Prefix(S, End, [](const char* p, char** e) { return std::strtod(p, e); });
}

Code_Unit* _ltot(long Value, Code_Unit* Buffer, int Base) {
    if (Base < 2 || Base > 36) Base = 10;
    static constexpr char Digits[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    // Digits of the magnitude, taken unsigned so that the most negative long works.
    unsigned long magnitude = static_cast<unsigned long>(Value);
    bool negative = Base == 10 && Value < 0;
    if (negative) magnitude = 0 - magnitude;
    Code_Unit reversed[72];
    int count = 0;
    do {
        reversed[count++] = static_cast<Code_Unit>(Digits[magnitude % static_cast<unsigned>(Base)]);
        magnitude /= static_cast<unsigned>(Base);
    } while (magnitude != 0);
    Code_Unit* out = Buffer;
    if (negative) *out++ = u'-';
    while (count > 0) *out++ = reversed[--count];
    *out = 0;
    return Buffer;
}
