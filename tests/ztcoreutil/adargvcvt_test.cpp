// Argument vectors and duplicated strings, and everything else that converts with the
// default charset, under the locale's charset and under a stand-in one.
#include "ztcoreutil/adargvcvt.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_locale.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/tchar.h"

namespace {

class DefaultCharset : public ::testing::Test {
protected:
    void SetUp() override { ZTInt_Test_Pin_Locale(); }
    void TearDown() override { AdCharset::overrideDefaultCharset(AdCharset()); }

    static void Use(const Code_Unit* Name) {
        AdCharset charset{Fnd_String(Name)};
        ASSERT_TRUE(charset.isValid());
        AdCharset::overrideDefaultCharset(charset);
    }
};

// The entries of a vector up to its terminating null.
template <class Char>
std::vector<std::basic_string<Char>> Entries(Char** Vector) {
    std::vector<std::basic_string<Char>> out;
    while (*Vector) out.emplace_back(*Vector++);
    return out;
}
using Units = std::vector<std::u16string>;
using Bytes = std::vector<std::string>;

TEST_F(DefaultCharset, StandInIsSeenThroughEarlierReferences) {
    const AdCharset& fallback = AdCharset::getDefaultCharset();
    ASSERT_TRUE(fallback == AdCharset::getUTF8Charset());
    Use(u"ISO-8859-1");
    EXPECT_EQ(&fallback, &AdCharset::getDefaultCharset());
    EXPECT_TRUE(fallback == AdCharset(28591u));
    EXPECT_TRUE(AdCharset(Fnd_String(u"latin1")).isDefault());
    EXPECT_FALSE(AdCharset::getUTF8Charset().isDefault());
    AdCharset::overrideDefaultCharset(AdCharset());
    EXPECT_TRUE(fallback == AdCharset::getUTF8Charset());
    EXPECT_TRUE(AdCharset::getUTF8Charset().isDefault());
}

TEST_F(DefaultCharset, ByteToWideVectors) {
    const char* argv[] = {"prog", "caf\xC3\xA9", "", nullptr};
    atargvcvt wide(argv);
    ASSERT_TRUE(wide.valid());
    EXPECT_EQ(Entries(wide.cvt()), (Units{u"prog", u"caf\u00E9", u""}));

    // A failed string leaves an empty place and the rest goes on.
    const char* broken[] = {"a", "b\xFF", "c", nullptr};
    atargvcvt partly(broken);
    EXPECT_FALSE(partly.valid());
    EXPECT_EQ(Entries(partly.cvt()), (Units{u"a", u"", u"c"}));

    // Under Latin-1 every byte converts.
    Use(u"ISO-8859-1");
    atargvcvt latin(broken);
    EXPECT_TRUE(latin.valid());
    EXPECT_EQ(std::u16string(latin.cvt()[1]), u"b\u00FF");

    atargvcvt none(nullptr);
    EXPECT_FALSE(none.valid());
    EXPECT_EQ(none.cvt()[0], nullptr);
}

TEST_F(DefaultCharset, WideToByteVectors) {
    const Code_Unit* argv[] = {u"prog", u"\u00E9\u4E2D", nullptr};
    taargvcvt bytes(argv);
    ASSERT_TRUE(bytes.valid());
    EXPECT_EQ(Entries(bytes.cvt()), (Bytes{"prog", "\xC3\xA9\xE4\xB8\xAD"}));

    // Latin-1 has no U+4E2D: the vector ends before the failed string.
    Use(u"ISO-8859-1");
    const Code_Unit* mixed[] = {u"\u00E9", u"\u4E2D", u"c", nullptr};
    taargvcvt cut(mixed);
    EXPECT_FALSE(cut.valid());
    EXPECT_EQ(Entries(cut.cvt()), (Bytes{"\xE9"}));

    const Code_Unit* empty[] = {nullptr};
    taargvcvt nothing(empty);
    EXPECT_TRUE(nothing.valid());
    EXPECT_EQ(nothing.cvt()[0], nullptr);
}

TEST_F(DefaultCharset, DuplicatedStrings) {
    char* bytes = Hst_tastrdup(u"x\u00E9");
    ASSERT_NE(bytes, nullptr);
    EXPECT_STREQ(bytes, "x\xC3\xA9");
    Code_Unit* units = Hst_atstrdup(bytes);
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(std::u16string(units), u"x\u00E9");
    Hst_strfree(bytes);
    Hst_strfree(units);
    EXPECT_EQ(Hst_tastrdup(nullptr), nullptr);
    EXPECT_EQ(Hst_atstrdup(nullptr), nullptr);
    EXPECT_EQ(Hst_atstrdup("\xC3"), nullptr);
    const Code_Unit lone[] = {u'a', 0xD800, 0};
    EXPECT_EQ(Hst_tastrdup(lone), nullptr);

    Use(u"Shift_JIS");
    bytes = Hst_tastrdup(u"\u3042");
    ASSERT_NE(bytes, nullptr);
    EXPECT_STREQ(bytes, "\x82\xA0");
    Hst_strfree(bytes);
    EXPECT_EQ(Hst_tastrdup(u"\u00E9"), nullptr);  // no such character in Shift_JIS
}

TEST_F(DefaultCharset, CharacterFunctionsFollowTheStandIn) {
    Use(u"ISO-8859-1");
    // The environment, both ways.
    ASSERT_EQ(_tputenv(u"ADCHARSET_TEST_PUT=\u00E9"), 0);
    EXPECT_STREQ(getenv("ADCHARSET_TEST_PUT"), "\xE9");
    EXPECT_EQ(_tputenv(u"ADCHARSET_TEST_BAD=\u4E2D"), -1);
    EXPECT_EQ(getenv("ADCHARSET_TEST_BAD"), nullptr);
    setenv("ADCHARSET_TEST_GET", "\xFC", 1);
    const Code_Unit* value = _tgetenv(u"ADCHARSET_TEST_GET");
    ASSERT_NE(value, nullptr);
    EXPECT_EQ(std::u16string(value), u"\u00FC");

    // A path that does not convert makes no system call.
    const ZTInt_Temp_Dir temp;
    const std::string& dir = temp.Path;
    const std::u16string wide_dir(dir.begin(), dir.end());
    EXPECT_EQ(_tfopen((wide_dir + u"/\u4E2D").c_str(), u"w"), nullptr);
    FILE* file = _tfopen((wide_dir + u"/\u00E9").c_str(), u"w");
    ASSERT_NE(file, nullptr);
    // Streams write the stand-in's bytes too.
    EXPECT_EQ(_fputts(u"\u00E9!", file), 2);
    std::fclose(file);
    struct stat info;
    ASSERT_EQ(stat((dir + "/\xE9").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 2);
    EXPECT_EQ(_tunlink((wide_dir + u"/\u00E9").c_str()), 0);

    // Time texts: the format goes out and comes back in the stand-in.
    struct tm noon = {};
    noon.tm_year = 100;
    noon.tm_mday = 1;
    noon.tm_hour = 12;
    Code_Unit buffer[32];
    EXPECT_EQ(_tcsftime(buffer, 32, u"%H\u00B0", &noon), 3u);
    EXPECT_EQ(std::u16string(buffer), u"12\u00B0");
    EXPECT_EQ(_tcsftime(buffer, 32, u"%H\u4E2D", &noon), 0u);
}

}  // namespace
