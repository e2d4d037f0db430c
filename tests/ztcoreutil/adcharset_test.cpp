#include "ztcoreutil/adcharset.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

std::u16string Text(const Fnd_String& S) {
    return std::u16string(S.Data(), static_cast<size_t>(S.Get_Length()));
}

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

TEST(AdCharset, NamesResolveToStandardFormsAndBadNamesStayInvalid) {
    AdCharset alias(Fnd_String(u"utf8"));
    ASSERT_TRUE(alias.isValid());
    EXPECT_EQ(Text(alias.getMimeName()), u"UTF-8");  // the standard name, not the caller's
    EXPECT_TRUE(alias == AdCharset::getUTF8Charset());
    EXPECT_EQ(AdCharset(Fnd_String(u"windows-1252")).getWindowsCP(), 1252u);
    EXPECT_EQ(AdCharset(Fnd_String(u"WINDOWS-1252")).getWindowsCP(), 1252u);
    EXPECT_EQ(AdCharset(Fnd_String(u"latin1")).getWindowsCP(), 0u);  // not a table name

    AdCharset bad(Fnd_String(u"no-such-charset"));
    EXPECT_FALSE(bad.isValid());
    EXPECT_EQ(bad.allocateConverter(AdCharset::cvt_stop), nullptr);
    EXPECT_FALSE(AdCharset(Fnd_String(u"no-such-charset")).isValid());
    EXPECT_FALSE(AdCharset().isValid());
}

TEST(AdCharset, PooledConvertersAreSetUpForEachMode) {
    const AdCharset& ascii = AdCharset::getASCIICharset();
    AdMbcsString bytes;
    EXPECT_FALSE(bytes.cvtFromTchar(ascii, u"caf\u00E9", AdCharset::cvt_stop));
    EXPECT_FALSE(bytes.isValid());
    EXPECT_EQ(bytes.getData(), nullptr);
    EXPECT_EQ(bytes.getLength(), 0);
    // The converter that just failed in mode 0 comes back from the pool for mode 2.
    UConverter* stop = ascii.allocateConverter(AdCharset::cvt_stop);
    ascii.freeConverter(stop, AdCharset::cvt_stop);
    ASSERT_TRUE(bytes.cvtFromTchar(ascii, u"caf\u00E9", AdCharset::cvt_substitute));
    EXPECT_EQ(bytes.getString(), "caf\x1a");
    ASSERT_TRUE(bytes.cvtFromTchar(ascii, u"caf\u00E9", AdCharset::cvt_escape));
    EXPECT_EQ(bytes.getString(), "caf&#xE9;");
    EXPECT_FALSE(bytes.cvtFromTchar(ascii, u"caf\u00E9", AdCharset::cvt_stop));  // and back to 0
}

TEST(AdMbcsString, ConversionsBothWays) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    AdMbcsString bytes;
    ASSERT_TRUE(bytes.cvtFromTchar(utf8, Fnd_String(u"\u00E9\U0001F600"), AdCharset::cvt_stop));
    EXPECT_EQ(bytes.getString(), "\xC3\xA9\xF0\x9F\x98\x80");
    Fnd_String back(u"old");
    ASSERT_TRUE(bytes.cvtToTchar(back, AdCharset::cvt_stop));
    EXPECT_EQ(Text(back), u"\u00E9\U0001F600");

    // Empty converts and is valid; a null source is a failure.
    ASSERT_TRUE(bytes.cvtFromTchar(utf8, u"", AdCharset::cvt_stop));
    EXPECT_TRUE(bytes.isValid());
    EXPECT_STREQ(bytes.getData(), "");
    EXPECT_FALSE(bytes.cvtFromTchar(utf8, static_cast<const Code_Unit*>(nullptr),
                                    AdCharset::cvt_stop));
    EXPECT_FALSE(AdMbcsString::cvtToTchar(utf8, nullptr, back, AdCharset::cvt_stop));
    EXPECT_TRUE(back.Is_Empty());

    // Bytes with an embedded 0 and a length.
    EXPECT_TRUE(AdMbcsString::cvtToTchar(utf8, "a\0b", 3, back, AdCharset::cvt_stop));
    EXPECT_EQ(Text(back), std::u16string(u"a\0b", 3));
    EXPECT_TRUE(bytes.cvtFromTchar(utf8, u"xyz", 2, AdCharset::cvt_stop));
    EXPECT_EQ(bytes.getString(), "xy");

    // Broken UTF-8: mode 0 fails, mode 2 substitutes.
    EXPECT_FALSE(AdMbcsString::cvtToTchar(utf8, "a\xFF", back, AdCharset::cvt_stop));
    EXPECT_TRUE(back.Is_Empty());
    EXPECT_TRUE(AdMbcsString::cvtToTchar(utf8, "a\xFF", back, AdCharset::cvt_substitute));
    EXPECT_EQ(Text(back), u"a\uFFFD");

    AdMbcsString invalid;
    EXPECT_FALSE(invalid.isValid());
    EXPECT_FALSE(invalid.cvtToTchar(back, AdCharset::cvt_stop));
    AdMbcsString given(utf8, "abc", -1);
    EXPECT_TRUE(given.isValid());
    EXPECT_EQ(given.getLength(), 3);
    AdMbcsString none(utf8, nullptr);
    EXPECT_FALSE(none.isValid());
}

}  // namespace
