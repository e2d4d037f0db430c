// AdMbcsString's conversions against direct ICU calls, on generated texts with a fixed
// starting value: every charset below, both directions, all three modes. The reference sets up
// its own converter the way the modes are defined (fallbacks off only for stop, and
// always on towards 16 bits), so any difference is one of the pooled, reused
// converters. The test prints how many conversions it compared.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <cstring>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "tests/support/ztint_test_locale.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

constexpr unsigned Generator_Start = 20261125;

const char* const Charsets[] = {
    "UTF-8",        "UTF-16BE",     "UTF-16LE",     "UTF-32BE",     "UTF-7",        "CESU-8",
    "SCSU",         "BOCU-1",       "US-ASCII",     "ISO-8859-1",   "ISO-8859-2",   "ISO-8859-3",
    "ISO-8859-4",   "ISO-8859-5",   "ISO-8859-6",   "ISO-8859-7",   "ISO-8859-8",   "ISO-8859-9",
    "ISO-8859-10",  "ISO-8859-13",  "ISO-8859-14",  "ISO-8859-15",  "windows-1250", "windows-1251",
    "windows-1252", "windows-1253", "windows-1254", "windows-1255", "windows-1256", "windows-1257",
    "windows-1258", "windows-874",  "KOI8-R",       "KOI8-U",       "IBM437",       "IBM850",
    "IBM866",       "IBM037",       "macintosh",    "Shift_JIS",    "EUC-JP",       "ISO-2022-JP",
    "GBK",          "GB18030",      "Big5",         "EUC-KR"};
static_assert(std::size(Charsets) == 46, "the test name counts the charsets");

const AdCharset::converter_t Modes[] = {AdCharset::cvt_stop, AdCharset::cvt_escape,
                                        AdCharset::cvt_substitute};

// A converter configured as Mode is defined, towards bytes (From_Unicode) or 16 bits.
UConverter* Reference_Converter(const char* Name, AdCharset::converter_t Mode, bool From_Unicode) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(Name, &status);
    if (U_FAILURE(status)) return nullptr;
    ucnv_setFallback(converter, !From_Unicode || Mode != AdCharset::cvt_stop);
    switch (Mode) {
        case AdCharset::cvt_stop:
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                  &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                &status);
            break;
        case AdCharset::cvt_escape:
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX,
                                  nullptr, nullptr, &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX, nullptr,
                                nullptr, &status);
            break;
        case AdCharset::cvt_substitute:
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                                  nullptr, &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr, nullptr,
                                &status);
            break;
    }
    return converter;
}

struct Outcome {
    bool Ok;
    std::string Bytes;
    std::u16string Units;
};

Outcome Reference_From(const char* Name, AdCharset::converter_t Mode, const std::u16string& Text) {
    UConverter* converter = Reference_Converter(Name, Mode, true);
    if (!converter) return {false, {}, {}};
    std::string bytes(Text.size() * 16 + 32, '\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = ucnv_fromUChars(converter, bytes.data(), static_cast<int32_t>(bytes.size()),
                                     Text.data(), static_cast<int32_t>(Text.size()), &status);
    ucnv_close(converter);
    if (U_FAILURE(status)) return {false, {}, {}};
    bytes.resize(static_cast<size_t>(length));
    return {true, bytes, {}};
}

Outcome Reference_To(const char* Name, AdCharset::converter_t Mode, const std::string& Bytes) {
    UConverter* converter = Reference_Converter(Name, Mode, false);
    if (!converter) return {false, {}, {}};
    std::u16string units(Bytes.size() * 16 + 32, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = ucnv_toUChars(converter, units.data(), static_cast<int32_t>(units.size()),
                                   Bytes.data(), static_cast<int32_t>(Bytes.size()), &status);
    ucnv_close(converter);
    if (U_FAILURE(status)) return {false, {}, {}};
    units.resize(static_cast<size_t>(length));
    return {true, {}, units};
}

class Text_Generator {
public:
    Text_Generator() : Engine(Generator_Start) {}

    size_t Below(size_t Bound) {
        return std::uniform_int_distribution<size_t>(0, Bound - 1)(Engine);
    }

    // Characters from many scripts, some outside the basic plane, now and then a lone
    // surrogate: every charset meets characters it has and characters it lacks.
    std::u16string Text() {
        static const std::vector<std::pair<char16_t, char16_t>> ranges = {
            {0x20, 0x7E},     {0xA0, 0xFF},     {0x100, 0x17F},  {0x391, 0x3C9},   {0x410, 0x44F},
            {0x5D0, 0x5EA},   {0x621, 0x64A},   {0xE01, 0xE3A},  {0x3041, 0x3093}, {0x4E00, 0x4FFF},
            {0xAC00, 0xAD00}, {0x2010, 0x20AC}, {0xFF01, 0xFF5E}};
        std::u16string text;
        for (size_t count = Below(12); count > 0; --count) {
            switch (Below(10)) {
                case 0:  // a pair outside the basic plane
                    text += static_cast<char16_t>(0xD800 + Below(0x400));
                    text += static_cast<char16_t>(0xDC00 + Below(0x400));
                    break;
                case 1:
                    if (Below(4) == 0) {  // a lone surrogate
                        text += static_cast<char16_t>(0xD800 + Below(0x800));
                        break;
                    }
                    [[fallthrough]];
                default: {
                    const auto& [low, high] = ranges[Below(ranges.size())];
                    text += static_cast<char16_t>(low + Below(static_cast<size_t>(high - low + 1)));
                }
            }
        }
        return text;
    }

    // Bytes of every value, valid for the charset or not.
    std::string Bytes() {
        std::string bytes;
        for (size_t count = Below(16); count > 0; --count)
            bytes += static_cast<char>(Below(4) == 0 ? 0x20 + Below(0x5F) : 1 + Below(255));
        return bytes;
    }

    std::mt19937_64 Engine;
};

std::u16string Units_Of(const Fnd_String& Text) {
    return std::u16string(Text.Data(), static_cast<size_t>(Text.Get_Length()));
}

TEST(CharsetDifferential, ConversionsAgreeWithDirectIcuCalls_46CharsetsBothWaysThreeModes) {
    ZTInt_Test_Pin_Locale();
    Text_Generator gen;
    constexpr int Texts_Per_Charset = 200;
    long compared = 0;
    long failures = 0;  // conversions that both sides refused
    for (const char* name : Charsets) {
        SCOPED_TRACE(name);
        const std::u16string wide_name(name, name + std::strlen(name));
        const AdCharset charset(Fnd_String(wide_name.c_str()));
        ASSERT_TRUE(charset.isValid());
        for (int round = 0; round < Texts_Per_Charset; ++round) {
            const std::u16string text = gen.Text();
            // Bytes at random, and bytes of a text the charset can hold in full.
            const std::string random_bytes = gen.Bytes();
            const Outcome encoded = Reference_From(name, AdCharset::cvt_substitute, text);
            for (AdCharset::converter_t mode : Modes) {
                SCOPED_TRACE(testing::Message() << "mode " << mode << ", round " << round);
                const Outcome want_bytes = Reference_From(name, mode, text);
                AdMbcsString bytes;
                EXPECT_EQ(
                    bytes.cvtFromTchar(charset, text.data(), static_cast<int>(text.size()), mode),
                    want_bytes.Ok);
                if (want_bytes.Ok) {
                    EXPECT_EQ(bytes.getString(), want_bytes.Bytes);
                } else {
                    ++failures;
                }
                for (const std::string& input : {random_bytes, encoded.Bytes}) {
                    const Outcome want_units = Reference_To(name, mode, input);
                    Fnd_String units;
                    EXPECT_EQ(AdMbcsString::cvtToTchar(charset, input.data(),
                                                       static_cast<int>(input.size()), units, mode),
                              want_units.Ok);
                    if (want_units.Ok) {
                        EXPECT_EQ(Units_Of(units), want_units.Units);
                    } else {
                        ++failures;
                    }
                }
                compared += 3;
            }
            if (HasFailure()) return;
        }
    }
    std::cout << "charset conversions compared: " << compared << " (46 charsets, "
              << Texts_Per_Charset << " texts each), refused by both: " << failures << "\n";
    // Both outcomes must have been met, or the texts test too little.
    EXPECT_GT(failures, compared / 20);
    EXPECT_LT(failures, compared / 2);
}

}  // namespace
