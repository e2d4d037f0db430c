#include "ztcoreutil/adcharset.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"
#include "tests/support/ztint_test_text.h"

namespace {

TEST(AdCharset, StandardHandles) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    ASSERT_TRUE(utf8.isValid());
    EXPECT_EQ(Text(utf8.getMimeName()), u"UTF-8");
    EXPECT_EQ(utf8.getWindowsCP(), 65001u);
    const AdCharset& ascii = AdCharset::getASCIICharset();
    ASSERT_TRUE(ascii.isValid());
    EXPECT_EQ(Text(ascii.getMimeName()), u"US-ASCII");
    EXPECT_EQ(ascii.getWindowsCP(), 20127u);
    EXPECT_FALSE(utf8 == ascii);

    // ICU names UTF-8 as the default on this platform, in the C locale too.
    const AdCharset& first = AdCharset::getDefaultCharset();
    EXPECT_EQ(&first, &AdCharset::getDefaultCharset());
    EXPECT_TRUE(first == utf8);
    EXPECT_TRUE(utf8.isDefault());
    EXPECT_FALSE(ascii.isDefault());
}

TEST(AdCharset, AnAliasResolvesToTheStandardName) {
    AdCharset alias(Fnd_String(u"utf8"));
    ASSERT_TRUE(alias.isValid());
    EXPECT_EQ(Text(alias.getMimeName()), u"UTF-8");  // the standard name, not the caller's
    EXPECT_TRUE(alias == AdCharset::getUTF8Charset());
    EXPECT_FALSE(AdCharset().isValid());
}

// The failure modes and validity rules are in admbcsstring_test.cpp.
TEST(AdMbcsString, ConversionsBothWays) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    AdMbcsString bytes;
    ASSERT_TRUE(bytes.cvtFromTchar(utf8, Fnd_String(u"\u00E9\U0001F600"), AdCharset::cvt_stop));
    EXPECT_EQ(bytes.getString(), "\xC3\xA9\xF0\x9F\x98\x80");
    Fnd_String back(u"old");
    ASSERT_TRUE(bytes.cvtToTchar(back, AdCharset::cvt_stop));
    EXPECT_EQ(Text(back), u"\u00E9\U0001F600");
    EXPECT_FALSE(AdMbcsString::cvtToTchar(utf8, nullptr, back, AdCharset::cvt_stop));
    EXPECT_TRUE(back.Is_Empty());
    // A length counts units, not to the terminator.
    EXPECT_TRUE(bytes.cvtFromTchar(utf8, u"xyz", 2, AdCharset::cvt_stop));
    EXPECT_EQ(bytes.getString(), "xy");

    EXPECT_FALSE(AdMbcsString().cvtToTchar(back, AdCharset::cvt_stop));
    AdMbcsString given(utf8, "abc", -1);
    EXPECT_TRUE(given.isValid());
    EXPECT_EQ(given.getLength(), 3);
    EXPECT_FALSE(AdMbcsString(utf8, nullptr).isValid());
}

}  // namespace
