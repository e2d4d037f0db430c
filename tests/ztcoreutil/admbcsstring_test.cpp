// Conversions of AdMbcsString and AdUTF16String in each failure mode.
#include "ztcoreutil/admbcsstring.h"

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adutf16string.h"
#include "tests/support/ztint_test_text.h"

namespace {

using ::Text;
std::u16string Text(const icu::UnicodeString& S) {
    return std::u16string(S.getBuffer(), static_cast<size_t>(S.length()));
}

const AdCharset& Sjis() {
    static const AdCharset charset(Fnd_String(u"Shift_JIS"));
    return charset;
}

// The 16-bit text of Bytes in Charset and Mode, or "<failed>" (Out must then be empty).
std::u16string Decoded(const AdCharset& Charset, const std::string& Bytes,
                       AdCharset::converter_t Mode) {
    Fnd_String out(u"previous");
    if (!AdMbcsString::cvtToTchar(Charset, Bytes.data(), static_cast<int>(Bytes.size()), out,
                                  Mode))
        return out.Is_Empty() ? u"<failed>" : u"<failed, output left>";
    return Text(out);
}

std::string Encoded(const AdCharset& Charset, const std::u16string& Units,
                    AdCharset::converter_t Mode) {
    AdMbcsString bytes(Charset, "previous");
    if (!bytes.cvtFromTchar(Charset, Units.data(), static_cast<int>(Units.size()), Mode)) {
        if (bytes.isValid() || bytes.getLength() != 0 || bytes.getData()) return "<bad state>";
        return "<failed>";
    }
    return bytes.getString();
}

TEST(AdMbcsStringModes, UnmappableCharactersTowardBytes) {
    const AdCharset& ascii = AdCharset::getASCIICharset();
    EXPECT_EQ(Encoded(ascii, u"caf\u00E9", AdCharset::cvt_stop), "<failed>");
    EXPECT_EQ(Encoded(ascii, u"caf\u00E9", AdCharset::cvt_escape), "caf&#xE9;");
    EXPECT_EQ(Encoded(ascii, u"caf\u00E9", AdCharset::cvt_substitute), "caf\x1a");
    // A character outside the basic plane is one escape, not two.
    EXPECT_EQ(Encoded(ascii, u"\U0001F600", AdCharset::cvt_escape), "&#x1F600;");
    EXPECT_EQ(Encoded(Sjis(), u"\u3042\u00E9", AdCharset::cvt_stop), "<failed>");
    EXPECT_EQ(Encoded(Sjis(), u"\u3042", AdCharset::cvt_stop), "\x82\xA0");
    EXPECT_EQ(Encoded(Sjis(), u"\u3042\u0101", AdCharset::cvt_escape), "\x82\xA0&#x101;");
    // A lone surrogate is no character in any encoding.
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    EXPECT_EQ(Encoded(utf8, std::u16string(1, u'\xD800'), AdCharset::cvt_stop), "<failed>");
    EXPECT_EQ(Encoded(utf8, std::u16string(u"a") + u'\xDC00', AdCharset::cvt_substitute),
              "a\xEF\xBF\xBD");
}

TEST(AdMbcsStringModes, BadBytesToward16Bits) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    EXPECT_EQ(Decoded(utf8, "a\xFF" "b", AdCharset::cvt_stop), u"<failed>");
    EXPECT_EQ(Decoded(utf8, "a\xFF" "b", AdCharset::cvt_escape), u"a&#xFF;b");
    EXPECT_EQ(Decoded(utf8, "a\xFF" "b", AdCharset::cvt_substitute), u"a\uFFFDb");
    // A sequence cut off at the end of the bytes.
    EXPECT_EQ(Decoded(utf8, "a\xE3\x81", AdCharset::cvt_stop), u"<failed>");
    EXPECT_EQ(Decoded(Sjis(), "\x82\xA0x", AdCharset::cvt_stop), u"\u3042x");
    EXPECT_EQ(Decoded(Sjis(), "x\x82", AdCharset::cvt_stop), u"<failed>");
    EXPECT_EQ(Decoded(Sjis(), "x\x82", AdCharset::cvt_substitute).substr(0, 1), u"x");
    EXPECT_EQ(Decoded(Sjis(), "x\x82", AdCharset::cvt_substitute).size(), 2u);
    // US-ASCII knows no byte above 0x7F.
    EXPECT_EQ(Decoded(AdCharset::getASCIICharset(), "\xC3\xA9", AdCharset::cvt_stop),
              u"<failed>");
}

TEST(AdMbcsStringModes, OutputLongerThanTheFirstGuessIsRetried) {
    // Escapes grow each bad byte into six units, beyond two units a byte.
    std::string bad(300, '\xFF');
    std::u16string expected;
    for (int i = 0; i < 300; ++i) expected += u"&#xFF;";
    EXPECT_EQ(Decoded(AdCharset::getUTF8Charset(), bad, AdCharset::cvt_escape), expected);
    // And each unmappable unit into six bytes, beyond ten spare characters.
    std::u16string accents(300, u'\u00E9');
    std::string escaped;
    for (int i = 0; i < 300; ++i) escaped += "&#xE9;";
    EXPECT_EQ(Encoded(AdCharset::getASCIICharset(), accents, AdCharset::cvt_escape), escaped);
}

TEST(AdMbcsString, ConversionsBothWaysAndLengths) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    const std::string bytes = "\xC3\xA9\xF0\x9F\x98\x80";
    EXPECT_EQ(Encoded(utf8, u"\u00E9\U0001F600", AdCharset::cvt_stop), bytes);
    EXPECT_EQ(Decoded(utf8, bytes, AdCharset::cvt_stop), u"\u00E9\U0001F600");
    Fnd_String back(u"old");
    EXPECT_FALSE(AdMbcsString::cvtToTchar(utf8, nullptr, back, AdCharset::cvt_stop));
    EXPECT_TRUE(back.Is_Empty());
    // A length counts units or bytes, not to the terminator; -1 runs to the terminator.
    AdMbcsString given(utf8, "abc", -1);
    EXPECT_EQ(given.getLength(), 3);
    EXPECT_TRUE(given.cvtFromTchar(utf8, u"xyz", 2, AdCharset::cvt_stop));
    EXPECT_EQ(given.getString(), "xy");
    EXPECT_FALSE(AdMbcsString(utf8, nullptr).isValid());
}

TEST(AdMbcsString, ValidityFollowsTheLastAssignmentOrConversion) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    AdMbcsString bytes;
    EXPECT_FALSE(bytes.isValid());
    EXPECT_EQ(bytes.getData(), nullptr);
    Fnd_String none(u"x");
    EXPECT_FALSE(bytes.cvtToTchar(none, AdCharset::cvt_stop));
    // Length 0 is a valid empty result, unlike a null source.
    ASSERT_TRUE(bytes.cvtFromTchar(utf8, Fnd_String(), AdCharset::cvt_stop));
    EXPECT_TRUE(bytes.isValid());
    EXPECT_STREQ(bytes.getData(), "");
    EXPECT_TRUE(bytes.getCharset() == utf8);
    EXPECT_FALSE(bytes.cvtFromUTF16(utf8, static_cast<const Code_Unit*>(nullptr),
                                    AdCharset::cvt_stop));
    EXPECT_FALSE(bytes.isValid());
    Fnd_String out(u"x");
    EXPECT_TRUE(AdMbcsString::cvtToTchar(utf8, "", out, AdCharset::cvt_stop));
    EXPECT_TRUE(out.Is_Empty());

    // Bytes with a 0 inside, copied with their validity.
    AdMbcsString zero(utf8, "a\0b", 3);
    AdMbcsString copy(zero);
    EXPECT_TRUE(copy.isValid());
    EXPECT_EQ(copy.getLength(), 3);
    ASSERT_TRUE(copy.cvtToTchar(out, AdCharset::cvt_stop));
    EXPECT_EQ(Text(out), std::u16string(u"a\0b", 3));
    copy.assign(utf8, nullptr, 5);
    EXPECT_FALSE(copy.isValid());
    EXPECT_EQ(copy.getLength(), 0);
    copy = zero;
    EXPECT_TRUE(copy.isValid());
    AdMbcsString from_std(Sjis(), std::string("\x82\xA0"));
    ASSERT_TRUE(from_std.cvtToTchar(out, AdCharset::cvt_stop));
    EXPECT_EQ(Text(out), u"\u3042");
}

// Encodings that keep ASCII convert ASCII texts without a converter; every text must
// come out as a converter opened under an alias (which takes no shortcut) gives it.
TEST(AdMbcsString, AsciiShortcutAgreesWithTheConverter) {
    const struct {
        const Code_Unit* name;   // takes the shortcut
        const Code_Unit* alias;  // the same encoding through ICU
    } pairs[] = {{u"UTF-8", u"utf8"},
                 {u"us-ascii", u"ascii"},
                 {u"ISO-8859-1", u"latin1"},
                 {u"ISO-8859-15", u"latin9"}};
    const std::string byte_texts[] = {"", "plain /tmp/ZTIntSvr_USock_0_42", std::string("a\0b\x7F", 4),
                                      "caf\xC3\xA9", "\xE9t\xE9", "\x80"};
    const std::u16string unit_texts[] = {u"", u"host:/tmp/s", std::u16string(u"a\0b\x7F", 4),
                                         u"caf\u00E9", u"\u20AC", u"\U0001F600"};
    for (const auto& pair : pairs) {
        const AdCharset fast{Fnd_String(pair.name)};
        const AdCharset slow{Fnd_String(pair.alias)};
        ASSERT_TRUE(fast.keepsAscii()) << "pair " << &pair - pairs;
        ASSERT_FALSE(slow.keepsAscii());
        for (const auto mode : {AdCharset::cvt_stop, AdCharset::cvt_substitute}) {
            for (const std::string& bytes : byte_texts)
                EXPECT_EQ(Decoded(fast, bytes, mode), Decoded(slow, bytes, mode)) << bytes;
            for (const std::u16string& units : unit_texts)
                EXPECT_EQ(Encoded(fast, units, mode), Encoded(slow, units, mode));
        }
    }
}

// Only encodings known by name to keep ASCII take the shortcut: not those that give
// ASCII bytes other meanings or widths, nor converters handed in by the caller.
TEST(AdMbcsString, AsciiShortcutOnlyForKnownEncodings) {
    EXPECT_FALSE(AdCharset().keepsAscii());
    EXPECT_TRUE(AdCharset(65001u).keepsAscii());
    EXPECT_TRUE(AdCharset(20127u).keepsAscii());
    for (const Code_Unit* name : {u"UTF-16", u"UTF-7", u"HZ", u"ibm-037", u"Shift_JIS", u"no-such"})
        EXPECT_FALSE(AdCharset(Fnd_String(name)).keepsAscii()) << static_cast<int>(name[0]);
    // UTF-7 reads "+-" as "+": the converter, not a copy, must see it.
    EXPECT_EQ(Decoded(AdCharset(Fnd_String(u"UTF-7")), "1+-1", AdCharset::cvt_stop), u"1+1");
    EXPECT_EQ(Decoded(AdCharset(Fnd_String(u"UTF-16LE")), std::string("A\0", 2), AdCharset::cvt_stop),
              u"A");

    UErrorCode status = U_ZERO_ERROR;
    UConverter* ebcdic = ucnv_open("ibm-037", &status);
    ASSERT_FALSE(U_FAILURE(status));
    AdCharset::registerConverter(7779, Fnd_String(u"US-ASCII-like"), ebcdic);
    AdCharset::registerConverter(7780, Fnd_String(u"ISO-8859-15"), ebcdic);
    ucnv_close(ebcdic);
    const AdCharset registered{Fnd_String(u"ISO-8859-15")};
    EXPECT_FALSE(registered.keepsAscii());
    EXPECT_EQ(Encoded(registered, u"A", AdCharset::cvt_stop), "\xC1");  // EBCDIC 'A'
}

TEST(AdUTF16String, BogusIsInvalid) {
    AdUTF16String text;
    EXPECT_FALSE(text.isValid());
    EXPECT_EQ(text.getData(), nullptr);
    Fnd_String out(u"x");
    EXPECT_FALSE(text.cvtToTchar(out, AdCharset::cvt_stop));
    EXPECT_TRUE(out.Is_Empty());
    AdMbcsString bytes;
    EXPECT_FALSE(bytes.cvtFromUTF16(AdCharset::getUTF8Charset(), text, AdCharset::cvt_stop));

    text.assign(u"ab", -1);
    EXPECT_TRUE(text.isValid());
    EXPECT_EQ(text.getLength(), 2);
    text.assign(nullptr, 3);
    EXPECT_FALSE(text.isValid());
    // Converting from 16 bits is an assignment and reports true even for null.
    EXPECT_TRUE(text.cvtFromTchar(static_cast<const Code_Unit*>(nullptr), AdCharset::cvt_stop));
    EXPECT_FALSE(text.isValid());
    EXPECT_TRUE(text.cvtFromTchar(Fnd_String(), AdCharset::cvt_stop));
    EXPECT_TRUE(text.isValid());
    EXPECT_EQ(text.getLength(), 0);
    ASSERT_TRUE(text.cvtToTchar(out, AdCharset::cvt_stop));
    EXPECT_TRUE(out.Is_Empty());
    EXPECT_FALSE(AdUTF16String::cvtToTchar(nullptr, out, AdCharset::cvt_stop));
    EXPECT_TRUE(AdUTF16String::cvtToTchar(u"xyz", 2, out, AdCharset::cvt_stop));
    EXPECT_EQ(Text(out), u"xy");
}

TEST(AdUTF16String, FromBytes) {
    AdUTF16String text;
    ASSERT_TRUE(text.cvtFromMBCS(Sjis(), "\x82\xA0\x82\xA2", AdCharset::cvt_stop));
    EXPECT_EQ(Text(text.getString()), u"\u3042\u3044");
    ASSERT_TRUE(text.cvtFromMBCS(AdCharset::getUTF8Charset(), "ab\0c", 4, AdCharset::cvt_stop));
    EXPECT_EQ(Text(text), std::u16string(u"ab\0c", 4));
    // A failure leaves it bogus, in strict mode only.
    EXPECT_FALSE(text.cvtFromMBCS(AdCharset::getUTF8Charset(), "a\xFF", AdCharset::cvt_stop));
    EXPECT_FALSE(text.isValid());
    ASSERT_TRUE(text.cvtFromMBCS(AdCharset::getUTF8Charset(), "a\xFF", AdCharset::cvt_escape));
    EXPECT_EQ(Text(text), u"a&#xFF;");
    EXPECT_FALSE(text.cvtFromMBCS(AdCharset::getUTF8Charset(), nullptr, AdCharset::cvt_stop));
    EXPECT_FALSE(text.isValid());
    EXPECT_FALSE(text.cvtFromMBCS(AdCharset(Fnd_String(u"no-such-charset")), "a",
                                  AdCharset::cvt_substitute));
    EXPECT_FALSE(text.isValid());
    // From an AdMbcsString, invalid or not, and back.
    EXPECT_FALSE(text.cvtFromMBCS(AdMbcsString(), AdCharset::cvt_stop));
    AdMbcsString bytes(Sjis(), "\x82\xA0");
    ASSERT_TRUE(text.cvtFromMBCS(bytes, AdCharset::cvt_stop));
    AdMbcsString back;
    ASSERT_TRUE(back.cvtFromUTF16(AdCharset::getUTF8Charset(), text, AdCharset::cvt_stop));
    EXPECT_EQ(back.getString(), "\xE3\x81\x82");
}

TEST(AdUTF16String, DataOfAnAliasIsTerminatedCopy) {
    // A read-only alias of a buffer without room for the terminator.
    const Code_Unit full[3] = {u'a', u'b', u'c'};
    AdUTF16String alias;
    alias.setTo(false, full, 3);
    ASSERT_TRUE(alias.isValid());
    const Code_Unit* data = alias.getData();
    ASSERT_NE(data, nullptr);
    EXPECT_NE(data, full);
    EXPECT_EQ(std::u16string(data), u"abc");
    // A writable alias filled to its capacity.
    Code_Unit writable[2] = {u'x', u'y'};
    AdUTF16String filled;
    filled.setTo(writable, 2, 2);
    data = filled.getData();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::u16string(data), u"xy");
    EXPECT_EQ(writable[0], u'x');
    EXPECT_EQ(writable[1], u'y');
    // Copies are independent of their source.
    AdUTF16String copy(alias);
    alias.assign(u"zz", -1);
    EXPECT_EQ(std::u16string(copy.getData()), u"abc");
    AdUTF16String from_icu(icu::UnicodeString(u"q"));
    EXPECT_EQ(std::u16string(from_icu.getData()), u"q");
}

}  // namespace
