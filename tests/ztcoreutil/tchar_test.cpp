#include "ztcoreutil/tchar.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <tuple>
#include <utility>

#include "foundation/base/fnd_string.h"
#include "tests/support/ztint_guarded_text.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_locale.h"
#include "ztcoreutil/prepformat.h"

namespace {

std::u16string Prepared(const Code_Unit* Format) {
    PrepFormat format(Format);
    return std::u16string(format.Data(), static_cast<size_t>(format.Get_Length()));
}

class Tchar : public ::testing::Test {
protected:
    void SetUp() override { ZTInt_Test_Pin_Locale(); }

    std::u16string Path(const char* Name) const {
        std::string path = Dir + "/" + Name;
        return std::u16string(path.begin(), path.end());
    }

    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

TEST_F(Tchar, PrepFormatSwapsTheTextConversionsAndWidensLongIntegers) {
    const std::pair<const Code_Unit*, std::u16string> cases[] = {
        {u"%%s", u"%%s"},
        {u"%5.2s", u"%5.2S"},
        {u"%-*S", u"%-*s"},
        {u"%c and %C", u"%C and %c"},
        {u"%ls", u"%ls"},
        {u"50%", u"50%"},
        {u"%# 08.3f %d", u"%# 08.3f %d"},
        {nullptr, u""},
        {u"%ld %lu %#lX %lo %li", u"%lld %llu %#llX %llo %lli"},
        {u"%lld %lf", u"%lld %lf"},
    };
    for (const auto& [format, expected] : cases) EXPECT_EQ(Prepared(format), expected);
}

TEST_F(Tchar, PrintfIntoBuffers) {
    Code_Unit buffer[64];
    EXPECT_EQ(_sntprintf(buffer, 64, u"%s|%S|%ld", u"wide", "narrow", LONG_MIN), 32);
    EXPECT_EQ(std::u16string(buffer), u"wide|narrow|-9223372036854775808");
    // Too small: the result is the needed length, which is not less than the size.
    EXPECT_EQ(_sntprintf(buffer, 4, u"%s", u"abcdef"), 6);
    int number = 0;
    long big = 0;
    Code_Unit word[16] = {0};
    EXPECT_EQ(_stscanf(u"12 w\u00F6rd 5000000000", u"%d %s %ld", &number, word, &big), 3);
    EXPECT_EQ(number, 12);
    EXPECT_EQ(std::u16string(word), u"w\u00F6rd");
    EXPECT_EQ(big, 5000000000L);
}

// A count is a size_t; ICU takes 32 bits. A count above that range reaches the
// terminator first, as in the C library, and must not wrap to "compare nothing".
TEST_F(Tchar, CountsAboveThe32BitRangeActLikeUnlimitedOnes) {
    for (size_t count : {size_t{1} << 32, (size_t{1} << 32) + 1, SIZE_MAX}) {
        SCOPED_TRACE(count);
        EXPECT_LT(_tcsncmp(u"ab", u"ac", count), 0);
        EXPECT_GT(_tcsnicmp(u"AC", u"ab", count), 0);
        EXPECT_EQ(_tcsnicmp(u"AB", u"ab", count), 0);
        Code_Unit copy[4] = {u'#', u'#', u'#', u'#'};
        EXPECT_EQ(std::u16string(_tcsncpy(copy, u"xy", count)), u"xy");
        EXPECT_EQ(std::u16string(lstrcpyn(copy, u"z", count)), u"z");
    }
}

// A negative size must not let the formatter write without a limit.
TEST_F(Tchar, FormattingIntoABadBufferWritesNothing) {
    Code_Unit buffer[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', 0};
    EXPECT_EQ(_sntprintf(buffer, -1, u"%s", u"abc"), -1);
    EXPECT_EQ(_sntprintf(buffer, INT_MIN, u"x"), -1);
    EXPECT_EQ(_sntprintf(nullptr, 4, u"x"), -1);
    EXPECT_EQ(std::u16string(buffer), u"#######");
    EXPECT_EQ(_sntprintf(nullptr, 0, u"%d", 1234), 4);  // measuring only
    int number = 0;
    EXPECT_EQ(_stscanf(nullptr, u"%d", &number), EOF);
}

// A format whose end cuts a conversion short prints that specification literally and
// is never read past its terminator (the text ends in front of an inaccessible page).
TEST_F(Tchar, FormatsCutShortAreReadOnlyUpToTheirEnd) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"50%", u"50%"},     {u"a%5", u"a%5"},   {u"a%-08.", u"a%-08."},
        {u"a%5.2", u"a%5.2"}, {u"a%*", u"a%*"},   {u"a%l", u"a%l"},
        {u"a%ll", u"a%ll"},   {u"a%h", u"a%h"},   {u"a%L", u"a%L"},
        {u"%d%", u"7%"},      {u"%%%", u"%%"},    {u"a%(", u"a"},
    };
    for (const auto& [format, expected] : cases) {
        SCOPED_TRACE(std::string(format.begin(), format.end()));
        ZTInt_Guarded_Text guarded(format + u'\0');
        ASSERT_NE(guarded.Data(), nullptr);
        Code_Unit buffer[32];
        int length = _sntprintf(buffer, 32, guarded.Data(), 7);
        if (format != u"a%(") {
            EXPECT_EQ(length, static_cast<int>(expected.size()));
            EXPECT_EQ(std::u16string(buffer), expected);
        }
        int number = 0;
        (void)_stscanf(u"a 12", guarded.Data(), &number);
    }
}

TEST_F(Tchar, StringFunctions) {
    Code_Unit buffer[32];
    _tcscpy(buffer, u"abc");
    _tcscat(buffer, u"def");
    EXPECT_EQ(_tcslen(buffer), 6u);
    EXPECT_EQ(_tcschr(buffer, 0x10000 + u'd') - buffer, 3);  // masked to 16 bits
    const Code_Unit* abca = u"abca";
    EXPECT_EQ(_tcsrchr(abca, u'a'), abca + 3);
    EXPECT_EQ(_tcschr(abca, u'z'), nullptr);
    EXPECT_EQ(_tcsstr(buffer, u"cd") - buffer, 2);
    EXPECT_EQ(_tcspbrk(buffer, u"xe") - buffer, 4);
    EXPECT_EQ(_tcsspn(buffer, u"ab"), 2u);
    EXPECT_EQ(_tcscspn(buffer, u"d"), 3u);
    EXPECT_EQ(_tcsicmp(u"ABC", u"abc"), 0);
    EXPECT_LT(_tcsncmp(u"abX", u"abY", 3), 0);
    EXPECT_EQ(_tcsnicmp(u"abX", u"ABY", 2), 0);
    EXPECT_EQ(_tcsclen(u"a\U0001F600b"), 3u);
    Code_Unit* copy = _tcsdup(u"dup");
    EXPECT_EQ(std::u16string(copy), u"dup");
    free(copy);
}

TEST_F(Tchar, SteppingBySurrogates) {
    const Code_Unit pair[] = u"\U0001F600x";
    EXPECT_EQ(_tcsinc(pair), pair + 2);
    EXPECT_EQ(_tclen(pair), 2);
    EXPECT_EQ(_tcsdec(pair, pair + 2), pair);
    EXPECT_EQ(_tcsdec(pair, pair + 3), pair + 2);
    const Code_Unit lone[] = {0xD800, u'a', u'b', 0};
    EXPECT_EQ(_tcsinc(lone), lone + 2);  // a lone high surrogate still steps two
    EXPECT_EQ(_tcsninc(pair, 2), pair + 3);
    EXPECT_EQ(_tcsninc(pair, 0), pair);
    EXPECT_EQ(_tcsninc(pair, -3), pair);
    Code_Unit out[3] = {0, 0, 0};
    _tccpy(out, pair);
    EXPECT_EQ(out[1], pair[1]);
    EXPECT_TRUE(_istspace(0x10000 + u' '));
    EXPECT_TRUE(_istalpha(u'\u00E9'));
    EXPECT_FALSE(_istdigit(u'x'));
}

TEST_F(Tchar, NumbersStopAtTheFirstForeignUnit) {
    const Code_Unit* text = u"  123\u00E9";
    Code_Unit* end = nullptr;
    EXPECT_EQ(_tcstol(text, &end, 10), 123);
    EXPECT_EQ(end, text + 5);
    EXPECT_EQ(_ttoi(text), 0);  // the strict conversion fails on the foreign unit
    EXPECT_EQ(_ttol(u" -77x"), -77);
    EXPECT_EQ(_tcstoul(u"ff", &end, 16), 255u);
    const Code_Unit* real = u"1.5e3x";
    EXPECT_DOUBLE_EQ(_tcstod(real, &end), 1500.0);
    EXPECT_EQ(end, real + 5);
    const Code_Unit* none = u"x1";
    EXPECT_EQ(_tcstol(none, &end, 10), 0);
    EXPECT_EQ(end, none);
    errno = 0;
    EXPECT_EQ(_tcstol(u"99999999999999999999", nullptr, 10), LONG_MAX);
    EXPECT_EQ(errno, ERANGE);
}

// A base the C library rejects reads nothing: the end is the text itself, the value 0
// and errno EINVAL, as strtol gives them.
TEST_F(Tchar, UnsupportedBasesReadNothing) {
    const std::u16string texts[] = {u"", u"12", u"  -7z", u"0x1F"};
    for (int base : {-1, 1, 37, 64, INT_MIN, INT_MAX}) {
        for (const std::u16string& text : texts) {
            SCOPED_TRACE(testing::Message() << "base " << base << ", length " << text.size());
            Code_Unit* end = reinterpret_cast<Code_Unit*>(0x10);  // must be overwritten
            errno = 0;
            EXPECT_EQ(_tcstol(text.c_str(), &end, base), 0);
            EXPECT_EQ(end, text.c_str());
            EXPECT_EQ(errno, EINVAL);
            end = reinterpret_cast<Code_Unit*>(0x10);
            EXPECT_EQ(_tcstoul(text.c_str(), &end, base), 0u);
            EXPECT_EQ(end, text.c_str());
        }
    }
    Code_Unit* end = reinterpret_cast<Code_Unit*>(0x10);
    EXPECT_EQ(_tcstol(nullptr, &end, 10), 0);
    EXPECT_EQ(end, nullptr);
    EXPECT_EQ(_tcstod(nullptr, nullptr), 0.0);
}

TEST_F(Tchar, LongToText) {
    const std::tuple<long, int, std::u16string> cases[] = {
        {-255, 10, u"-255"}, {255, 16, u"FF"}, {5, 2, u"101"},   {35, 36, u"Z"},
        {42, 99, u"42"},  // a bad base counts as 10
        {0, 8, u"0"},        {LONG_MIN, 10, u"-9223372036854775808"}};
    Code_Unit buffer[80];
    for (const auto& [value, base, expected] : cases)
        EXPECT_EQ(std::u16string(_ltot(value, buffer, base)), expected) << value << " " << base;
}

TEST_F(Tchar, EnvironmentValuesAreSharedAndKept) {
    unsetenv("TCHAR_TEST_UNSET");
    EXPECT_EQ(_tgetenv(u"TCHAR_TEST_UNSET"), nullptr);
    setenv("TCHAR_TEST_A", "v\xC3\xA4lue", 1);
    setenv("TCHAR_TEST_B", "v\xC3\xA4lue", 1);
    const Code_Unit* a = _tgetenv(u"TCHAR_TEST_A");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(std::u16string(a), u"v\u00E4lue");
    EXPECT_EQ(_tgetenv(u"TCHAR_TEST_B"), a);
    setenv("TCHAR_TEST_A", "other", 1);
    EXPECT_EQ(std::u16string(a), u"v\u00E4lue");  // the old pointer stays good

    EXPECT_EQ(_tputenv(u"TCHAR_TEST_C=\u00E9t\u00E9"), 0);
    EXPECT_STREQ(getenv("TCHAR_TEST_C"), "\xC3\xA9t\xC3\xA9");
    EXPECT_EQ(_tputenv(nullptr), -1);
    const Code_Unit lone[] = {u'X', u'=', 0xDC00, 0};
    EXPECT_EQ(_tputenv(lone), -1);
    EXPECT_EQ(getenv("X"), nullptr);
}

TEST_F(Tchar, FileFunctionsConvertPaths) {
    std::u16string file = Path("f\u00FCr.txt");
    FILE* out = _tfopen(file.c_str(), u"w");
    ASSERT_NE(out, nullptr);
    fclose(out);
    EXPECT_EQ(_taccess(file.c_str(), F_OK), 0);
    std::u16string renamed = Path("renamed");
    EXPECT_EQ(_trename(file.c_str(), renamed.c_str()), 0);
    EXPECT_EQ(_taccess(file.c_str(), F_OK), -1);
    EXPECT_EQ(_tunlink(renamed.c_str()), 0);
    EXPECT_EQ(_tunlink(renamed.c_str()), -1);

    const Code_Unit lone[] = {u'/', u't', 0xD800, 0};
    errno = 0;
    EXPECT_EQ(_tunlink(lone), -1);
    EXPECT_EQ(errno, EINVAL);  // no system call was made
    EXPECT_EQ(_tfopen(lone, u"r"), nullptr);
    EXPECT_EQ(_tsystem(lone), -1);
}

TEST_F(Tchar, TemporaryNames) {
    std::u16string pattern = Path("tmpXXXXXX");
    Code_Unit buffer[256];
    _tcscpy(buffer, pattern.c_str());
    ASSERT_EQ(_tmktemp(buffer), buffer);
    std::u16string made(buffer);
    EXPECT_EQ(made.size(), pattern.size());
    EXPECT_EQ(made.substr(0, made.size() - 6), pattern.substr(0, pattern.size() - 6));
    EXPECT_NE(made, pattern);
    EXPECT_EQ(_taccess(buffer, F_OK), -1);  // named, not created

    _tcscpy(buffer, u"no-placeholder");
    EXPECT_EQ(_tmktemp(buffer), nullptr);
    EXPECT_EQ(std::u16string(buffer), u"no-placeholder");

    unsetenv("TMPDIR");
    std::u16string dir(Dir.begin(), Dir.end());
    Code_Unit* name = _ttempnam(dir.c_str(), u"pfx");
    ASSERT_NE(name, nullptr);
    EXPECT_EQ(std::u16string(name).rfind(dir + u"/pfx", 0), 0u);
    free(name);
}

TEST_F(Tchar, StreamsWriteAndReadWithoutLosingInput) {
    std::u16string file = Path("stream.txt");
    FILE* out = _tfopen(file.c_str(), u"w");
    ASSERT_NE(out, nullptr);
    EXPECT_GE(_fputts(u"h\u00E9llo ", out), 0);
    EXPECT_EQ(_puttc(u'\u20AC', out), u'\u20AC');
    EXPECT_GT(_ftprintf(out, u" %s %d\n", u"\U0001F600", 7), 0);
    EXPECT_GE(_fputts(u"second line\nthird", out), 0);
    fclose(out);

    FILE* in = _tfopen(file.c_str(), u"r");
    ASSERT_NE(in, nullptr);
    EXPECT_EQ(_gettc(in), u'h');
    EXPECT_EQ(_gettc(in), u'\u00E9');  // two bytes, one unit
    Code_Unit line[64];
    ASSERT_NE(_fgetts(line, 64, in), nullptr);
    EXPECT_EQ(std::u16string(line), u"llo \u20AC \U0001F600 7\n");
    // The buffer's size limits a read; the rest comes with the next one.
    ASSERT_NE(_fgetts(line, 7, in), nullptr);
    EXPECT_EQ(std::u16string(line), u"second");
    ASSERT_NE(_fgetts(line, 64, in), nullptr);
    EXPECT_EQ(std::u16string(line), u" line\n");
    ASSERT_NE(_fgetts(line, 64, in), nullptr);
    EXPECT_EQ(std::u16string(line), u"third");
    EXPECT_EQ(_fgetts(line, 64, in), nullptr);
    EXPECT_EQ(_gettc(in), TCHAR_EOF);
    fclose(in);
}

TEST_F(Tchar, SurrogatePairsReadUnitByUnit) {
    std::u16string file = Path("pair.txt");
    FILE* out = _tfopen(file.c_str(), u"w");
    ASSERT_NE(out, nullptr);
    // a, U+1F600 twice, '!', then a sequence that breaks off at the end
    fputs("a\xF0\x9F\x98\x80\xF0\x9F\x98\x80!\xC3", out);
    fclose(out);
    FILE* in = _tfopen(file.c_str(), u"r");
    ASSERT_NE(in, nullptr);
    Code_Unit split[3];
    ASSERT_NE(_fgetts(split, 3, in), nullptr);  // room for the first unit of the pair only
    EXPECT_EQ(std::u16string(split), u"a\xD83D");
    EXPECT_EQ(_gettc(in), 0xDE00u);  // its second unit was kept for the next read
    EXPECT_EQ(_gettc(in), 0xD83Du);
    EXPECT_EQ(_gettc(in), 0xDE00u);
    EXPECT_EQ(_gettc(in), static_cast<unsigned>(u'!'));
    EXPECT_EQ(_gettc(in), 0xFFFDu);  // substituted
    EXPECT_EQ(_gettc(in), TCHAR_EOF);
    fclose(in);
}

TEST_F(Tchar, DebugOutputIsSilentWhileItsDiagnosticIsOff) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    OutputDebugString(u"not shown");
    OutputDebugString(Fnd_String(u"not shown"));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

// The capacity a caller claims bounds the result, not the work buffer: a huge one
// must not become one allocation (which failed and ended the process).
TEST_F(Tchar, TimeTextsWithAHugeCapacity) {
    const time_t when = 86400 * 365;
    struct tm broken;
    gmtime_r(&when, &broken);
    Code_Unit buffer[32];
    for (size_t size : {SIZE_MAX, SIZE_MAX / 2, size_t{1} << 40}) {
        EXPECT_EQ(_tcsftime(buffer, size, u"%Y-%m-%d", &broken), 10u);
        EXPECT_EQ(std::u16string(buffer), u"1971-01-01");
    }
    // A result longer than the first try still arrives whole.
    std::u16string longer;
    for (int i = 0; i < 100; ++i) longer += u"%Y";
    std::u16string big(401, u'#');
    EXPECT_EQ(_tcsftime(big.data(), big.size(), longer.c_str(), &broken), 400u);
    EXPECT_EQ(big.substr(0, 8), u"19711971");
}

// A null stream is a failed call, not a crash.
TEST_F(Tchar, NullStreamsFail) {
    EXPECT_EQ(_gettc(nullptr), TCHAR_EOF);
    Code_Unit buffer[4];
    EXPECT_EQ(_fgetts(buffer, 4, nullptr), nullptr);
    EXPECT_LT(_fputts(u"x", nullptr), 0);
    EXPECT_LT(_ftprintf(nullptr, u"x"), 0);
}

TEST_F(Tchar, TimeTexts) {
    const time_t when = 0;
    EXPECT_EQ(std::u16string(_tctime(&when)), u"Thu Jan  1 00:00:00 1970\n");
    struct tm broken;
    gmtime_r(&when, &broken);
    EXPECT_EQ(std::u16string(_tasctime(&broken)), u"Thu Jan  1 00:00:00 1970\n");
    Code_Unit buffer[32];
    EXPECT_EQ(_tcsftime(buffer, 32, u"%Y-%m-%d \u00E9", &broken), 12u);
    EXPECT_EQ(std::u16string(buffer), u"1970-01-01 \u00E9");
    EXPECT_EQ(_tcsftime(buffer, 5, u"%Y-%m-%d", &broken), 0u);  // does not fit
    const Code_Unit lone[] = {u'%', u'Y', 0xD800, 0};
    EXPECT_EQ(_tcsftime(buffer, 32, lone, &broken), 0u);
}

}  // namespace
