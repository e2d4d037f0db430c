// The stored password forms against golden values computed outside the library
// (tests/data/adcrypt/reference.py from the committed tables), round trips, and the
// failures of damaged or foreign texts.
#include "ztcoreutil/adcryptinternal.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/mxmessage.h"
#include "ztcoreutil/mxmsgexception.h"
#include "tests/support/ztint_test_text.h"

namespace {

const AdCharset& Named(const std::string& Name) {
    static std::vector<std::pair<std::string, AdCharset>> cache;
    for (auto& entry : cache)
        if (entry.first == Name) return entry.second;
    cache.emplace_back(Name, AdCharset(Fnd_String(std::u16string(Name.begin(), Name.end()).c_str())));
    return cache.back().second;
}

std::u16string From_Hex_Units(const std::string& Hex) {
    std::u16string units;
    if (Hex == "-") return units;
    for (size_t at = 0; at + 4 <= Hex.size(); at += 4)
        units.push_back(static_cast<char16_t>(std::stoul(Hex.substr(at, 4), nullptr, 16)));
    return units;
}

using namespace std::string_literals;

std::u16string Ascii(const std::string& S) { return std::u16string(S.begin(), S.end()); }

// A trace label: ASCII units as they are, others as \uXXXX.
std::string Label(const std::u16string& S) {
    std::string out;
    for (char16_t u : S.substr(0, 24)) {
        char buffer[8];
        std::snprintf(buffer, sizeof buffer, u >= 0x20 && u < 0x7F ? "%c" : "\\u%04x", unsigned(u));
        out += buffer;
    }
    return out;
}

struct Golden {
    std::string Kind, Charset, Mode, First, Second, Expected;
};

std::vector<Golden> Golden_Cases() {
    std::ifstream in(ZTINT_TEST_DATA_DIR "/adcrypt/golden.txt");
    std::vector<Golden> cases;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        Golden g;
        fields >> g.Kind >> g.Charset >> g.Mode >> g.First >> g.Second >> g.Expected;
        cases.push_back(g);
    }
    return cases;
}

std::u16string Reversible(const std::u16string& Text, const AdCharset& Charset, int Version) {
    Fnd_String out;
    const AdCryptStatus status = AdCryptEncryptReversibly(Text.c_str(), Charset, Version, out);
    return status.Ok() ? ::Text(out) : u"<failed: " + std::u16string(status.Failed_Expr) + u">";
}

std::u16string Decrypted(const std::u16string& Stored, const AdCharset& Charset) {
    Fnd_String out(u"previous");
    const AdCryptStatus status = AdCryptDecryptString(Stored.c_str(), Charset, out);
    if (!status.Ok()) {
        EXPECT_TRUE(out.Is_Empty());
        return u"<failed: " + std::u16string(status.Failed_Expr) + u">";
    }
    return Text(out);
}

// The stored form of raw clear bytes (any bytes, terminator included by the caller).
std::u16string Stored_Bytes(std::vector<unsigned char> Bytes) {
    EncryptUsingOneTimePad(static_cast<unsigned>(Bytes.size()), Bytes.data());
    return Text(ConvertBinaryToPrintableText(static_cast<unsigned>(Bytes.size()), Bytes.data()));
}

TEST(AdCryptInternal, MatchesTheIndependentReference) {
    const std::vector<Golden> cases = Golden_Cases();
    ASSERT_EQ(cases.size(), 29u);
    int checked = 0;
    for (const Golden& g : cases) {
        SCOPED_TRACE(g.Kind + " " + g.Charset + " " + g.Mode + " " + g.First.substr(0, 40));
        const std::u16string first = From_Hex_Units(g.First);
        const std::u16string second = From_Hex_Units(g.Second);
        std::u16string actual;
        if (g.Kind == "chars") {
            char digits[9];
            std::snprintf(digits, sizeof digits, "%08lx",
                          AdEncodeChars(first.c_str(), static_cast<long>(first.size())));
            actual = Ascii(digits);
        } else if (g.Kind == "password") {
            Fnd_String out;
            ASSERT_TRUE(AdCryptEncryptPassword(first.c_str(), second.c_str(), Named(g.Charset),
                                               std::stoi(g.Mode), out)
                            .Ok());
            actual = Text(out);
        } else {
            ASSERT_EQ(g.Kind, "reverse");
            actual = Reversible(first, Named(g.Charset), std::stoi(g.Mode));
        }
        EXPECT_EQ(actual, Ascii(g.Expected));
        ++checked;
    }
    EXPECT_EQ(checked, 29);
}

TEST(AdCryptInternal, HandWorkedValues) {
    // The empty text adds only R[0]; one unit adds R[unit] and R[1].
    EXPECT_EQ(AdEncodeChars(u"", 0), AdRandomNumbers[0]);
    EXPECT_EQ(AdEncodeChars(nullptr, -3), AdRandomNumbers[0]);
    EXPECT_EQ(AdEncodeChars(u"\u0801", 1),
              (AdRandomNumbers[1] + AdRandomNumbers[1]) & 0xFFFFFFFFu);  // 0x801 wraps to 1
    const unsigned char byte = 0xAB;
    EXPECT_EQ(Text(ConvertBinaryToPrintableText(1, &byte)), u"ba");
    unsigned char back[2] = {0, 0x77};
    EXPECT_EQ(ConvertPrintableTextToBinary(u"ba", back), 1u);
    EXPECT_EQ(back[0], 0xAB);
    EXPECT_EQ(back[1], 0x77);
    // "a" is 0x61 and the zero byte, each xored with the pad, low nibble first.
    const unsigned char first = 0x61 ^ AdCryptPad[0], second = AdCryptPad[1];
    const char* d = "0123456789abcdef";
    const std::u16string expected = {char16_t(d[first & 15]), char16_t(d[first >> 4]),
                                     char16_t(d[second & 15]), char16_t(d[second >> 4])};
    EXPECT_EQ(Reversible(u"a", AdCharset::getASCIICharset(), 0), expected);
}

TEST(AdCryptInternal, ReversibleFormRoundTrips) {
    const AdCharset& latin1 = Named("ISO-8859-1");
    const struct {
        std::u16string Text;
        const AdCharset* Charset;
        int Version;
    } cases[] = {
        {u"a", &AdCharset::getASCIICharset(), 0},
        {u"Grüße", &latin1, 6},
        {u"Grüße", &AdCharset::getUTF8Charset(), 7},
        {u"日本語のパスワード", &AdCharset::getUTF8Charset(), 9},
        {u"\U0001F512key\U00020B9F", &AdCharset::getUTF8Charset(), 7},
        {std::u16string(6000, u'é'), &AdCharset::getUTF8Charset(), 7},
    };
    for (const auto& c : cases) {
        const std::u16string stored = Reversible(c.Text, *c.Charset, c.Version);
        const std::string bytes = [&] {
            AdMbcsString m;
            EXPECT_TRUE(m.cvtFromTchar(*c.Charset, c.Text.c_str(), AdCharset::cvt_stop));
            return m.getString();
        }();
        EXPECT_EQ(stored.size(), 2 * (bytes.size() + 1));
        EXPECT_EQ(AdIsReversiblyEncryptedStringInternal(stored.c_str()), 1);
        EXPECT_EQ(Decrypted(stored, *c.Charset), c.Text + u'\0');
    }
    Fnd_String sha1;
    ASSERT_TRUE(AdCryptEncryptSHA1(u"Grüße", latin1, sha1).Ok());
    EXPECT_EQ(Text(sha1), Reversible(u"Grüße", latin1, 7));
}

TEST(AdCryptInternal, PadIsItsOwnInverseBeyondItsLength) {
    std::vector<unsigned char> data(3 * AdPad_Count + 7);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<unsigned char>(i * 31);
    std::vector<unsigned char> masked = data;
    EncryptUsingOneTimePad(static_cast<unsigned>(masked.size()), masked.data());
    EXPECT_NE(masked, data);
    EXPECT_EQ(masked[AdPad_Count + 5] ^ data[AdPad_Count + 5], AdCryptPad[5]);
    EncryptUsingOneTimePad(static_cast<unsigned>(masked.size()), masked.data());
    EXPECT_EQ(masked, data);
}

TEST(AdCryptInternal, PasswordChecksumForms) {
    const AdCharset& latin1 = Named("ISO-8859-1");
    Fnd_String joined, separate, alone, empty_separate;
    ASSERT_TRUE(AdCryptEncryptPassword(u"admin", u"s3cret", latin1, 0, joined).Ok());
    ASSERT_TRUE(AdCryptEncryptPassword(u"admin", u"s3cret", latin1, 1, separate).Ok());
    EXPECT_EQ(Text(joined), Text(separate));
    ASSERT_TRUE(AdCryptEncryptPassword(u"admin", u"", latin1, 1, empty_separate).Ok());
    ASSERT_TRUE(AdCryptEncryptPassword(u"admin", nullptr, latin1, 0, alone).Ok());
    EXPECT_EQ(Text(empty_separate), Text(alone));
    EXPECT_EQ(alone.Get_Length(), 8);
    // A CJK password counts by its units when separate, by its UTF-8 bytes when joined.
    Fnd_String cjk_joined, cjk_separate;
    ASSERT_TRUE(AdCryptEncryptPassword(u"u", u"日本", AdCharset::getUTF8Charset(), 0, cjk_joined).Ok());
    ASSERT_TRUE(AdCryptEncryptPassword(u"u", u"日本", AdCharset::getUTF8Charset(), 1, cjk_separate).Ok());
    EXPECT_NE(Text(cjk_joined), Text(cjk_separate));
}

TEST(AdCryptInternal, ShapeOfAStoredText) {
    const struct {
        const char16_t* Text;
        int Expected;
    } cases[] = {
        {nullptr, 0},   {u"", 0},        {u"0a1b", 1},        {u"0A1B", 0},
        {u"abc", 0},    {u"g0", 0},      {u"FIPS", 1},        {u"FIPS\xD800", 1},
        {u"FIP", 0},    {u"ab\xD800", 0}, {u"a\xD83D\xDD12", 0}, {u"0123456789abcdef", 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Text ? Label(c.Text) : "<null>");
        EXPECT_EQ(AdIsReversiblyEncryptedStringInternal(c.Text), c.Expected);
    }
    EXPECT_EQ(AdIsEncryptStringFIPSCompliant(u"FIPSx"), 1);
    EXPECT_EQ(AdIsEncryptStringFIPSCompliant(u"fips"), 0);
    EXPECT_EQ(AdIsEncryptStringFIPSCompliant(nullptr), 0);
}

TEST(AdCryptInternal, DamagedStoredTextsFail) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    std::u16string damaged_end = Reversible(u"secret", utf8, 7);
    damaged_end[damaged_end.size() - 1] = damaged_end.back() == u'0' ? u'1' : u'0';
    const struct {
        std::u16string Stored;
        std::u16string Failure;
    } cases[] = {
        {u"", u"AdCryptIsNonEmpty(reversible_str)"},
        {u"0A1B", u"AdIsReversiblyEncryptedStringInternal(reversible_str)"},
        {u"0a1", u"AdIsReversiblyEncryptedStringInternal(reversible_str)"},
        {u"zz00", u"AdIsReversiblyEncryptedStringInternal(reversible_str)"},
        {u"FIPS0a", u"!AdIsEncryptStringFIPSCompliant(reversible_str)"},
        {u"FIPS0", u"!AdIsEncryptStringFIPSCompliant(reversible_str)"},
        {Stored_Bytes({0}), u"count >= 2"},
        {damaged_end, u"clear_bytes[count - 1] == 0"},
        {Stored_Bytes({'a', 0, 'b', 0}), u"clear_bytes[i] != 0"},
        {Stored_Bytes({0xC3, 0x28, 0}), u"cvtToTchar(clear_bytes)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Label(c.Stored));
        EXPECT_EQ(Decrypted(c.Stored, utf8), u"<failed: " + c.Failure + u">");
    }
    Fnd_String out;
    EXPECT_EQ(std::u16string(AdCryptDecryptString(nullptr, utf8, out).Failed_Expr),
              u"AdCryptIsNonEmpty(reversible_str)");
    // Bytes that are valid Latin-1 read back there.
    EXPECT_EQ(Decrypted(Stored_Bytes({0xC3, 0x28, 0}), Named("ISO-8859-1")), u"\u00C3(\0"s);
}

TEST(AdCryptInternal, EncodingFailures) {
    Fnd_String out(u"previous");
    AdCryptStatus status = AdCryptEncryptPassword(u"", u"pw", AdCharset::getUTF8Charset(), 1, out);
    EXPECT_EQ(std::u16string(status.Failed_Expr), u"AdCryptIsNonEmpty(username)");
    EXPECT_TRUE(out.Is_Empty());
    status = AdCryptEncryptPassword(nullptr, u"pw", AdCharset::getUTF8Charset(), 0, out);
    EXPECT_EQ(std::u16string(status.Failed_Expr), u"AdCryptIsNonEmpty(username)");
    EXPECT_EQ(Reversible(u"", AdCharset::getUTF8Charset(), 7), u"<failed: AdCryptIsNonEmpty(the_string)>");
    // A text the charset cannot hold is refused rather than stored incompletely.
    EXPECT_EQ(Reversible(u"日本", AdCharset::getASCIICharset(), 0), u"<failed: cvtFromTchar(the_string)>");
    EXPECT_FALSE(AdCryptEncryptPassword(u"日本", u"", AdCharset::getASCIICharset(), 0, out).Ok());
    const Code_Unit* digit = u"x";
    EXPECT_EQ(std::u16string(AdCryptEncodeHex(16, digit).Failed_Expr), u"digit < 16");
    EXPECT_EQ(digit, nullptr);
    for (unsigned long d = 0; d < 16; ++d) {
        ASSERT_TRUE(AdCryptEncodeHex(d, digit).Ok());
        EXPECT_EQ(digit[0], u"0123456789abcdef"[d]);
        EXPECT_EQ(digit[1], 0);
    }
}

TEST(AdCryptInternal, DigitsToBytesStaysInsideTheText) {
    unsigned char data[4] = {0x11, 0x22, 0x33, 0x44};
    EXPECT_EQ(ConvertPrintableTextToBinary(u"", data), 0u);
    EXPECT_EQ(ConvertPrintableTextToBinary(nullptr, data), 0u);
    EXPECT_EQ(ConvertPrintableTextToBinary(u"f", data), 0u);
    EXPECT_EQ(data[0], 0x11);
    // Other characters count as 0; a lone last character is not read as half a byte.
    EXPECT_EQ(ConvertPrintableTextToBinary(u"Fzf1c", data), 2u);
    EXPECT_EQ(data[0], 0x00);
    EXPECT_EQ(data[1], 0x1f);
    EXPECT_EQ(data[2], 0x33);
    // A surrogate pair is one character.
    EXPECT_EQ(ConvertPrintableTextToBinary(u"\U0001F5127", data), 1u);
    EXPECT_EQ(data[0], 0x70);
}

TEST(AdCryptInternal, CharacterHelpers) {
    const struct {
        const char16_t* A;
        const char16_t* B;
        int Same;
    } cases[] = {
        {nullptr, nullptr, 1}, {u"a", nullptr, 0},       {nullptr, u"a", 0},
        {u"", u"", 1},         {u"", u"a", 0},           {u"ab", u"ax", 1},
        {u"a", u"b", 0},       {u"\U0001F512", u"\U0001F513", 0},
        {u"\U0001F512x", u"\U0001F512y", 1}, {u"\xD83D", u"\xD83D", 1},
    };
    for (const auto& c : cases) EXPECT_EQ(AdCryptIsSameChar(c.A, c.B), c.Same);
    EXPECT_EQ(AdCryptIsNonEmpty(nullptr), 0);
    EXPECT_EQ(AdCryptIsNonEmpty(u""), 0);
    EXPECT_EQ(AdCryptIsNonEmpty(u"x"), 1);
    int found = 7;
    EXPECT_EQ(std::u16string(AdCryptOccursIn(nullptr, u"ab", found).Failed_Expr), u"a_char != 0");
    EXPECT_EQ(std::u16string(AdCryptOccursIn(u"", u"ab", found).Failed_Expr),
              u"!AdCryptIsCharNul(a_char)");
    ASSERT_TRUE(AdCryptOccursIn(u"b", u"", found).Ok());
    EXPECT_EQ(found, 0);
    ASSERT_TRUE(AdCryptOccursIn(u"\U0001F513", u"a\U0001F512\U0001F513", found).Ok());
    EXPECT_EQ(found, 1);
    ASSERT_TRUE(AdCryptOccursIn(u"\xDD12", u"\U0001F512", found).Ok());
    EXPECT_EQ(found, 0);
}

// The expression and message number of the failure that Action throws.
template <class Action>
std::u16string Thrown(Action&& Do) {
    try {
        Do();
    } catch (MxMsgException* e) {
        MxMessage* message = e->Messages.First();
        std::u16string result = u"<no message>";
        if (message) {
            Fnd_String expression, location;
            EXPECT_TRUE(message->GetParam(u"failed_expr", expression));
            EXPECT_TRUE(message->GetParam(u"failure_location", location));
            result = Text(expression);
            EXPECT_EQ(message->ID(), 18019);
            EXPECT_NE(Text(location).find(u"adcryptinternal.cpp:"), std::u16string::npos);
        }
        e->Delete();
        return result;
    }
    return u"<nothing thrown>";
}

TEST(AdCryptInternal, FailuresAreNumberedMessageExceptions) {
    const AdCharset& utf8 = AdCharset::getUTF8Charset();
    EXPECT_EQ(Thrown([&] { (void)AdEncryptPasswordInternal(u"", u"pw", utf8, 1); }),
              u"AdCryptIsNonEmpty(username)");
    EXPECT_EQ(Thrown([&] { (void)AdEncryptStringReversiblyInternal(u"", utf8, 7); }),
              u"AdCryptIsNonEmpty(the_string)");
    EXPECT_EQ(Thrown([&] { (void)AdDecryptStringInternal(u"0A", utf8); }),
              u"AdIsReversiblyEncryptedStringInternal(reversible_str)");
    EXPECT_EQ(Thrown([&] { (void)EncodeHex(16); }), u"digit < 16");
    EXPECT_EQ(Thrown([&] { (void)AdCryptOccursIn(nullptr, u"a"); }), u"a_char != 0");
    try {
        (void)AdDecryptStringInternal(u"0A", utf8);
        ADD_FAILURE() << "nothing thrown";
    } catch (MxMsgException* e) {
        int found = 0;
        const std::u16string text = Text(e->GetErrorMessageString(&found, 0));
        e->Delete();
        EXPECT_NE(text.find(u"the stored password could not be read: "
                            u"AdIsReversiblyEncryptedStringInternal(reversible_str) failed at "
                            u"password encoding:adcryptinternal.cpp:"),
                  std::u16string::npos);
    }
    // The good paths give what the status forms give.
    const Fnd_String stored = AdEncryptStringReversiblyInternal(u"pw", utf8, 7);
    EXPECT_EQ(Text(AdDecryptStringInternal(stored.Data(), utf8)), u"pw"s + u'\0');
    EXPECT_EQ(Text(AdEncryptSHA1Internal(u"pw", utf8)), Text(stored));
    EXPECT_EQ(EncodeHex(11)[0], u'b');
    EXPECT_EQ(AdCryptOccursIn(u"c", u"abc"), 1);
    EXPECT_EQ(AdEncodeCharsInternal(u"", 0, utf8, nullptr), AdRandomNumbers[0]);
}

}  // namespace
