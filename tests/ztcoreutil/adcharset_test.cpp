// AdCharset: the standard handles, which handles share a record, how code pages and names
// are read, what registering a converter does.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "tests/support/ztint_test_text.h"

namespace {

AdCharset Named(const Code_Unit* Name) { return AdCharset(Fnd_String(Name)); }

// Two handles stand on one record exactly when a converter given back through one
// comes out again through the other (the pool is last-in-first-out).
bool Share_Record(const AdCharset& A, const AdCharset& B) {
    UConverter* first = A.allocateConverter(AdCharset::cvt_stop);
    if (!first) return false;
    A.freeConverter(first, AdCharset::cvt_stop);
    UConverter* second = B.allocateConverter(AdCharset::cvt_stop);
    B.freeConverter(second, AdCharset::cvt_stop);
    return first == second;
}

std::string Encoded(const AdCharset& Charset, const Code_Unit* Text_,
                    AdCharset::converter_t Mode = AdCharset::cvt_stop) {
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(Charset, Text_, Mode)) return "<failed>";
    return bytes.getString();
}

TEST(AdCharset, StandardHandlesAndAliases) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    const AdCharset& ascii = AdCharset::getASCIICharset();
    EXPECT_EQ(Text(utf8.getMimeName()), u"UTF-8");
    EXPECT_EQ(Text(ascii.getMimeName()), u"US-ASCII");
    EXPECT_EQ(ascii.getWindowsCP(), 20127u);
    EXPECT_FALSE(utf8 == ascii);
    AdCharset alias = Named(u"utf8");
    EXPECT_EQ(Text(alias.getMimeName()), u"UTF-8");  // the standard name, not the caller's
    EXPECT_TRUE(alias == utf8);
}

TEST(AdCharsetRecords, PageAndNameStandOnDistinctRecords) {
    AdCharset by_page(932u);
    AdCharset by_name = Named(u"Shift_JIS");
    ASSERT_TRUE(by_page.isValid());
    ASSERT_TRUE(by_name.isValid());
    EXPECT_EQ(Text(by_page.getMimeName()), u"Shift_JIS");
    EXPECT_EQ(by_page.getWindowsCP(), 932u);
    EXPECT_EQ(by_name.getWindowsCP(), 932u);
    EXPECT_TRUE(by_page == by_name);  // equal names
    EXPECT_FALSE(Share_Record(by_page, by_name));
    // The same key finds the same record again.
    EXPECT_TRUE(Share_Record(by_page, AdCharset(932u)));
    EXPECT_TRUE(Share_Record(by_name, Named(u"Shift_JIS")));
    // Name keys are exact: another spelling is another record with the standard name.
    AdCharset lower = Named(u"shift_jis");
    EXPECT_FALSE(Share_Record(by_name, lower));
    EXPECT_EQ(Text(lower.getMimeName()), u"Shift_JIS");
    EXPECT_EQ(lower.getWindowsCP(), 932u);
    // The page key is cut to 16 bits.
    AdCharset wide(932u + 0x10000u);
    EXPECT_TRUE(Share_Record(by_page, wide));
    EXPECT_EQ(wide.getWindowsCP(), 932u);
}

TEST(AdCharsetRecords, CodePagesAndNames) {
    struct Case {
        const Code_Unit* Name;
        unsigned int Page;
        bool Valid;
    };
    const Case cases[] = {
        {u"WINDOWS-1252", 1252, true}, {u"windows-1251", 1251, true},
        {u"utf-8", 65001, true},       {u"iso-8859-15", 28605, true},
        {u"GBK", 936, true},           {u"big5", 950, true},
        {u"windows-12x", 0, false},    {u"windows-", 0, false},
        {u"windows-1252 ", 0, true},   {u"latin1", 0, true},  // ICU skips the blank
        {u"no-such-charset", 0, false},
    };
    for (const Case& c : cases) {
        AdCharset charset = Named(c.Name);
        const std::u16string name = c.Name;
        SCOPED_TRACE(std::string(name.begin(), name.end()));
        EXPECT_EQ(charset.getWindowsCP(), c.Page);
        EXPECT_EQ(charset.isValid(), c.Valid);
    }
    // By number: a table page gets its name, any other page "windows-<page>".
    EXPECT_EQ(Text(AdCharset(1252u).getMimeName()), u"windows-1252");
    EXPECT_TRUE(AdCharset(1252u).isValid());
    EXPECT_EQ(Encoded(AdCharset(1252u), u"\u20AC"), "\x80");
    EXPECT_EQ(Text(AdCharset(28591u).getMimeName()), u"ISO-8859-1");
    EXPECT_TRUE(AdCharset(65001u) == AdCharset::getUTF8Charset());
    AdCharset unknown(4242u);
    EXPECT_FALSE(unknown.isValid());
    EXPECT_EQ(Text(unknown.getMimeName()), u"windows-4242");
    EXPECT_EQ(unknown.getWindowsCP(), 4242u);
    EXPECT_EQ(unknown.allocateConverter(AdCharset::cvt_substitute), nullptr);
}

TEST(AdCharsetRecords, BadNamesStayInvalidAndNullHandlesCompare) {
    AdCharset first = Named(u"x-not-an-encoding");
    AdCharset again = Named(u"x-not-an-encoding");
    EXPECT_FALSE(first.isValid());
    EXPECT_FALSE(again.isValid());
    EXPECT_EQ(Text(again.getMimeName()), u"x-not-an-encoding");  // the caller's name stays
    EXPECT_TRUE(first == again);
    EXPECT_TRUE(AdCharset() == AdCharset());
    EXPECT_FALSE(AdCharset().isValid());
    EXPECT_FALSE(AdCharset() == AdCharset::getUTF8Charset());
    EXPECT_FALSE(AdCharset().isDefault());
    AdMbcsString bytes;
    EXPECT_FALSE(bytes.cvtFromTchar(first, u"abc", AdCharset::cvt_substitute));
    EXPECT_FALSE(bytes.isValid());
    Fnd_String out(u"old");
    EXPECT_FALSE(AdMbcsString::cvtToTchar(first, "abc", out, AdCharset::cvt_substitute));
    EXPECT_TRUE(out.Is_Empty());
}

TEST(AdCharsetRecords, OnePoolServesEveryMode) {
    const AdCharset& ascii = AdCharset::getASCIICharset();
    UConverter* converter = ascii.allocateConverter(AdCharset::cvt_stop);
    ASSERT_NE(converter, nullptr);
    ascii.freeConverter(converter, AdCharset::cvt_stop);
    // Taken again in mode 2 it is the same converter, now substituting.
    UConverter* again = ascii.allocateConverter(AdCharset::cvt_substitute);
    EXPECT_EQ(again, converter);
    char out[8];
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = ucnv_fromUChars(again, out, sizeof out, u"a\u00E9", 2, &status);
    EXPECT_FALSE(U_FAILURE(status));
    EXPECT_EQ(std::string(out, static_cast<size_t>(length)), "a\x1a");
    ascii.freeConverter(again, AdCharset::cvt_substitute);
    // And back in mode 0 it stops again.
    UConverter* strict = ascii.allocateConverter(AdCharset::cvt_stop);
    status = U_ZERO_ERROR;
    ucnv_fromUChars(strict, out, sizeof out, u"a\u00E9", 2, &status);
    EXPECT_EQ(status, U_INVALID_CHAR_FOUND);
    ascii.freeConverter(strict, AdCharset::cvt_stop);
    // Converters in use at once are distinct clones.
    UConverter* one = ascii.allocateConverter(AdCharset::cvt_stop);
    UConverter* two = ascii.allocateConverter(AdCharset::cvt_stop);
    EXPECT_NE(one, two);
    ascii.freeConverter(one, AdCharset::cvt_stop);
    ascii.freeConverter(two, AdCharset::cvt_stop);
}

TEST(AdCharsetRecords, RegisteredConvertersServeBothKeys) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* greek = ucnv_open("ISO-8859-7", &status);
    ASSERT_FALSE(U_FAILURE(status));
    AdCharset::registerConverter(7777, Fnd_String(u"x-test-local"), greek);
    ucnv_close(greek);  // the records keep their own clones

    AdCharset by_page(7777u);
    AdCharset by_name = Named(u"x-test-local");
    ASSERT_TRUE(by_page.isValid());
    ASSERT_TRUE(by_name.isValid());
    EXPECT_EQ(Text(by_page.getMimeName()), u"x-test-local");
    EXPECT_EQ(by_name.getWindowsCP(), 7777u);
    EXPECT_FALSE(Share_Record(by_page, by_name));
    EXPECT_EQ(Encoded(by_page, u"\u03B1\u03B2"), "\xE1\xE2");
    EXPECT_EQ(Encoded(by_name, u"\u03B1\u03B2"), "\xE1\xE2");

    // Registering again under the name changes the record that handles already hold;
    // its idle converters of the old encoding are gone.
    status = U_ZERO_ERROR;
    UConverter* cyrillic = ucnv_open("ISO-8859-5", &status);
    ASSERT_FALSE(U_FAILURE(status));
    AdCharset::registerConverter(7778, Fnd_String(u"x-test-local"), cyrillic);
    ucnv_close(cyrillic);
    EXPECT_EQ(by_name.getWindowsCP(), 7778u);
    EXPECT_EQ(Encoded(by_name, u"\u0430"), "\xD0");
    EXPECT_EQ(Encoded(by_name, u"\u03B1"), "<failed>");
    EXPECT_EQ(Encoded(by_page, u"\u03B1"), "\xE1");  // page 7777 is untouched
    EXPECT_EQ(Encoded(AdCharset(7778u), u"\u0430"), "\xD0");
}

}  // namespace

// ICU's default charset is fixed when ICU is built here: making it must not change the
// host program's locale (nor load the locale's data), whatever the environment says.
TEST(AdCharsetDefault, MakingTheDefaultLeavesTheProcessLocaleAlone) {
    if (!U_CHARSET_IS_UTF8) GTEST_SKIP() << "this ICU asks the locale for its default";
    setenv("LC_ALL", "C.UTF-8", 1);
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(AdCharset::getDefaultCharset().getMimeName(), Fnd_String(u"UTF-8"));
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}
