// The number functions of the generic-text layer and of the string library against
// the C library, on generated inputs with a fixed starting value. Each test prints how many
// inputs it compared.
#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_iterator.h"
#include "foundation/base/fnd_string_library.h"
#include "tests/support/ztint_test_locale.h"
#include "ztcoreutil/tchar.h"

namespace {

using Lib = Fnd_String_Library;

// The starting value of every generator here: a failure can be replayed exactly.
constexpr unsigned Generator_Start = 20261125;

std::u16string Widened(const std::string& Bytes) {
    return std::u16string(Bytes.begin(), Bytes.end());
}

std::string Narrowed(const Code_Unit* Units) {
    std::string bytes;
    for (; *Units; ++Units) bytes += *Units < 0x80 ? static_cast<char>(*Units) : '?';
    return bytes;
}

class Generator {
public:
    explicit Generator(unsigned Salt) : Engine(Generator_Start + Salt) {}

    size_t Below(size_t Bound) {
        return std::uniform_int_distribution<size_t>(0, Bound - 1)(Engine);
    }
    template <class T>
    const T& Pick(const std::vector<T>& Items) {
        return Items[Below(Items.size())];
    }

    // Text a number parser may meet: white space, signs, prefixes, digits and letters
    // of all bases, points and exponents, words such as "inf" and "nan(...)", and now
    // and then a character that is not ASCII, which ends any number.
    std::u16string Number_Text() {
        static const std::vector<std::string> pieces = {" ",
                                                        "\t",
                                                        "\n",
                                                        "+",
                                                        "-",
                                                        "0",
                                                        "0x",
                                                        "0X",
                                                        "1",
                                                        "7",
                                                        "8",
                                                        "9",
                                                        "19",
                                                        "255",
                                                        "4294967296",
                                                        "9223372036854775807",
                                                        "9223372036854775808",
                                                        "18446744073709551615",
                                                        "18446744073709551616",
                                                        "99999999999999999999999",
                                                        "a",
                                                        "f",
                                                        "F",
                                                        "z",
                                                        "Z",
                                                        "g",
                                                        ".",
                                                        "e",
                                                        "E",
                                                        "e+",
                                                        "e-308",
                                                        "e309",
                                                        "p3",
                                                        "inf",
                                                        "INFINITY",
                                                        "nan",
                                                        "nan(12)",
                                                        "_",
                                                        ",",
                                                        "(",
                                                        ")",
                                                        "0b1"};
        std::u16string text;
        for (size_t count = Below(6); count > 0; --count) text += Widened(Pick(pieces));
        if (Below(8) == 0) text += Below(2) ? u"\u00E9" : u"\u4E2D1";
        return text;
    }

    long Long_Value() {
        switch (Below(6)) {
            case 0:
                return Pick(std::vector<long>{0, 1, -1, LONG_MIN, LONG_MAX, INT_MIN, INT_MAX});
            case 1:
                return static_cast<long>(Engine());  // any 64 bits
            default: {
                // Magnitudes of every size, so that short and long digit strings both occur.
                const unsigned bits = static_cast<unsigned>(Below(63));
                long value = static_cast<long>(Engine() >> (64 - bits - 1) >> 1);
                return Below(2) ? value : -value;
            }
        }
    }

    std::mt19937_64 Engine;
};

// strtol or strtoul's answer for the same text as bytes: the non-ASCII characters
// become UTF-8, whose bytes never continue a number, so the offsets agree in units.
struct C_Answer {
    long long Value;
    long End;
    int Error;
};

std::string As_Bytes(const std::u16string& Text) {
    std::string bytes;
    for (char16_t unit : Text) {
        if (unit < 0x80) {
            bytes += static_cast<char>(unit);
        } else {
            bytes += static_cast<char>(0xE0 | (unit >> 12));
            bytes += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
            bytes += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
    return bytes;
}

template <class Parse>
C_Answer C_Parse(const std::u16string& Text, Parse parse) {
    const std::string bytes = As_Bytes(Text);
    char* end = const_cast<char*>(bytes.c_str());
    errno = 0;
    const long long value = parse(bytes.c_str(), &end);
    // EINVAL (an unsupported base) reads nothing; the end pointer is then not to be
    // trusted (a sanitizer's wrapper of strtol stores an unset one).
    if (errno == EINVAL) end = const_cast<char*>(bytes.c_str());
    return C_Answer{value, static_cast<long>(end - bytes.c_str()), errno};
}

TEST(TcharDifferential, IntegerParsingAgreesWithStrtolAndStrtoul_172800Conversions) {
    Generator gen(1);
    const std::vector<int> bases = {0, 2, 8, 10, 16, 36, -1, 1, 37, 64};
    long compared = 0;
    for (int round = 0; round < 4800; ++round) {
        const std::u16string text = gen.Number_Text();
        std::vector<int> round_bases = bases;
        round_bases.push_back(static_cast<int>(2 + gen.Below(35)));
        round_bases.push_back(static_cast<int>(gen.Below(80)) - 10);
        for (int base : round_bases) {
            SCOPED_TRACE(testing::Message() << "text \"" << As_Bytes(text) << "\" base " << base);
            const C_Answer want_signed =
                C_Parse(text, [base](const char* p, char** e) { return std::strtol(p, e, base); });
            Code_Unit* end = nullptr;
            errno = 0;
            EXPECT_EQ(_tcstol(text.c_str(), &end, base), want_signed.Value);
            EXPECT_EQ(errno, want_signed.Error);
            EXPECT_EQ(end - text.c_str(), want_signed.End);

            const C_Answer want_unsigned = C_Parse(text, [base](const char* p, char** e) {
                return static_cast<long long>(std::strtoul(p, e, base));
            });
            errno = 0;
            EXPECT_EQ(static_cast<long long>(_tcstoul(text.c_str(), &end, base)),
                      want_unsigned.Value);
            EXPECT_EQ(errno, want_unsigned.Error);
            EXPECT_EQ(end - text.c_str(), want_unsigned.End);

            // The library's parser from a position inside a string, the end as an iterator.
            const Fnd_String string(text.c_str());
            const long from = static_cast<long>(gen.Below(text.size() + 1));
            const C_Answer want_from =
                C_Parse(text.substr(static_cast<size_t>(from)),
                        [base](const char* p, char** e) { return std::strtol(p, e, base); });
            const Const_Fnd_String_Iterator start(&string, from);
            Const_Fnd_String_Iterator stop;
            const long value = Lib::To_Long(start, &stop, base);
            if (start.Is_Valid()) {
                EXPECT_EQ(value, want_from.Value);
                EXPECT_EQ(stop.Position - from, want_from.End);
            } else {
                EXPECT_EQ(value, 0);
                EXPECT_EQ(stop, start);
            }
            compared += 3;
            if (HasFailure()) return;
        }
    }
    std::cout << "integer conversions compared: " << compared << "\n";
    EXPECT_EQ(compared, 172800);
}

bool Same_Double(double A, double B) {
    if (std::isnan(A) || std::isnan(B)) return std::isnan(A) && std::isnan(B);
    return std::memcmp(&A, &B, sizeof A) == 0;
}

TEST(TcharDifferential, FloatParsingAgreesWithStrtod_20000Texts) {
    Generator gen(2);
    long compared = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::u16string text = gen.Number_Text();
        SCOPED_TRACE(As_Bytes(text));
        const std::string bytes = As_Bytes(text);
        char* c_end = nullptr;
        errno = 0;
        const double want = std::strtod(bytes.c_str(), &c_end);
        const int want_error = errno;
        Code_Unit* end = nullptr;
        errno = 0;
        const double got = _tcstod(text.c_str(), &end);
        EXPECT_TRUE(Same_Double(got, want)) << got << " against " << want;
        EXPECT_EQ(errno, want_error);
        EXPECT_EQ(end - text.c_str(), c_end - bytes.c_str());
        ++compared;
        if (HasFailure()) return;
    }
    std::cout << "floating conversions compared: " << compared << "\n";
}

// printf conversions of integers where the 16-bit formatter means to agree with the
// C library: "l" stands for this platform's 64-bit long.
TEST(TcharDifferential, IntegerFormattingAgreesWithSnprintf_1000ValuesIn29Formats) {
    Generator gen(3);
    const std::vector<std::string> long_formats = {
        "%ld",  "%li",     "%lx",    "%lX",   "%lo",      "%#lx",     "%#lX",   "%#lo", "%+ld",
        "% ld", "%-22ld|", "%022ld", "%.5ld", "%24.20lX", "%-#30lo|", "[%8lx]", "%lu"};
    const std::vector<std::string> int_formats = {"%d", "%i", "%5d", "%-5d|", "%05d", "%x",
                                                  "%X", "%o", "%#x", "%+d",   "%.3d", "%u"};
    long compared = 0;
    for (int round = 0; round < 1000; ++round) {
        const long value = gen.Long_Value();
        for (const std::string& format : long_formats) {
            // Two known differences of ICU's formatter are left out: it puts the zeros
            // of the "0" flag in front of the sign, and it prints "%lu" of a value
            // above LONG_MAX as negative.
            const bool zero_flag = format.find("%0") != std::string::npos;
            if (value < 0 && (zero_flag || format == "%lu")) continue;
            char want[128];
            std::snprintf(want, sizeof want, format.c_str(), value);
            Code_Unit got[128];
            const int length = _sntprintf(got, 128, Widened(format).c_str(), value);
            EXPECT_EQ(Narrowed(got), want) << format << " of " << value;
            EXPECT_EQ(length, static_cast<int>(std::strlen(want)));
            ++compared;
        }
        const int small = static_cast<int>(value);
        for (const std::string& format : int_formats) {
            if (small < 0 && format == "%05d") continue;  // zeros in front of the sign
            char want[64];
            std::snprintf(want, sizeof want, format.c_str(), small);
            Code_Unit got[64];
            _sntprintf(got, 64, Widened(format).c_str(), small);
            EXPECT_EQ(Narrowed(got), want) << format << " of " << small;
            ++compared;
        }
        if (HasFailure()) return;
    }
    std::cout << "integer formats compared: " << compared << "\n";
}

// _ltot and To_String against snprintf in bases 8, 10 and 16, and against strtoul
// (reading the digits back) in every other base.
TEST(TcharDifferential, LongToTextAgreesWithSnprintfAndStrtoul_43000Conversions) {
    Generator gen(4);
    long compared = 0;
    for (int round = 0; round < 1000; ++round) {
        const long value = gen.Long_Value();
        for (int base = 0; base <= 38; ++base) {
            Code_Unit digits[72];
            const std::string got = Narrowed(_ltot(value, digits, base));
            const int effective = base < 2 || base > 36 ? 10 : base;
            char want[72];
            if (effective == 10) {
                std::snprintf(want, sizeof want, "%ld", value);
                EXPECT_EQ(got, want);
            } else if (effective == 16 || effective == 8) {
                std::snprintf(want, sizeof want, effective == 16 ? "%lX" : "%lo", value);
                EXPECT_EQ(got, want);
            } else {
                char* end = nullptr;
                EXPECT_EQ(std::strtoul(got.c_str(), &end, effective),
                          static_cast<unsigned long>(value));
                EXPECT_EQ(*end, 0);
            }
            ++compared;
        }
        for (const auto& [base, format] : {std::pair{10, "%ld"}, std::pair{16, "%#lX"},
                                           std::pair{8, "%#lo"}, std::pair{7, "%ld"}}) {
            char want[72];
            std::snprintf(want, sizeof want, format, value);
            EXPECT_EQ(Narrowed(Lib::To_String(value, base, 1).Data()), want);
            ++compared;
        }
        if (HasFailure()) return;
    }
    std::cout << "long-to-text conversions compared: " << compared << "\n";
}

// Fixed-point conversions of the formatter against snprintf, and the library's
// presentation of a double ("%f") likewise. They agree where the text has at most 15
// significant digits, the precision ICU's formatter carries; the exponent forms
// differ by design (ICU writes three exponent digits and switches %g differently)
// and are not compared, nor is the "0" flag, whose zeros ICU puts in front of the sign.
TEST(TcharDifferential, FixedPointFormattingAgreesWithSnprintf_7000Conversions) {
    Generator gen(5);
    const std::vector<std::string> formats = {"%f", "%.3f", "%10.4f", "%-12.1f|", "%.0f", "%+f"};
    std::uniform_real_distribution<double> mantissa(-10.0, 10.0);
    long compared = 0;
    for (int round = 0; round < 1000; ++round) {
        // Below 1e8 in magnitude: eight digits in front of the point, six behind.
        const double value =
            mantissa(gen.Engine) * std::pow(10.0, static_cast<double>(gen.Below(27)) - 20);
        for (const std::string& format : formats) {
            char want[128];
            std::snprintf(want, sizeof want, format.c_str(), value);
            Code_Unit got[128];
            const int length = _sntprintf(got, 128, Widened(format).c_str(), value);
            EXPECT_EQ(Narrowed(got), want) << format << " of " << value;
            EXPECT_EQ(length, static_cast<int>(std::strlen(want)));
            ++compared;
        }
        char want[128];
        std::snprintf(want, sizeof want, "%f", value);
        EXPECT_EQ(Narrowed(Lib::To_Presentation(value).Data()), want);
        ++compared;
        if (HasFailure()) return;
    }
    std::cout << "fixed-point formats compared: " << compared << "\n";
}

}  // namespace
