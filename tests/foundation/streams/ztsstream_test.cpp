// String streams: conversion both ways, strict and lenient conversion, a charset changed
// in the middle of the input, and text longer than the unit buffers and input blocks.
#include "foundation/streams/ztsstream.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tests/foundation/streams/zt_stream_test_support.h"

using namespace stream_test;

namespace {

constexpr int In = std::ios_base::in;
constexpr int Out = std::ios_base::out;

// The bytes Units become in a fresh output stream of the named charset, flushed.
std::string Written(const char16_t* Charset_Name, const std::u16string& Units) {
    ztostringstream out(Out);
    out.setcharset(Charset(Charset_Name));
    out.write(Units.data(), static_cast<std::streamsize>(Units.size()));
    out.flush();
    EXPECT_TRUE(out.good());
    return out.str().getString();
}

// The units Bytes give in a fresh input stream of the named charset, read to the end.
std::u16string Read(const char16_t* Charset_Name, const std::string& Bytes, bool Strict = true) {
    ztistringstream in(AdMbcsString(AdCharset::getUTF8Charset(), Bytes), In);
    in.setcharset(Charset(Charset_Name));
    in.setstrict(Strict);
    const std::u16string units = Read_All(in);
    EXPECT_TRUE(in.eof());
    EXPECT_FALSE(in.bad());
    return units;
}

// Lets a test call the buffer's protected overflow directly.
class Exposed_Buffer : public ztstreambuf {
public:
    using ztstreambuf::overflow;
    using ztstreambuf::ztstreambuf;
};

TEST(ZtStringStream, ConvertsUnitsToTheBytesOfItsCharsetAndBack) {
    const std::u16string text = u"caf\u00E9 \U0001F600";
    const std::string utf8 = "caf\xC3\xA9 \xF0\x9F\x98\x80";
    const std::string utf16be("\0c\0a\0f\0\xE9\0 \xD8\x3D\xDE\x00", 14);
    EXPECT_EQ(Written(u"UTF-8", text), utf8);
    EXPECT_EQ(Written(u"UTF-16BE", text), utf16be);
    EXPECT_EQ(Written(u"ISO-8859-1", u"caf\u00E9"), "caf\xE9");
    EXPECT_EQ(Read(u"UTF-8", utf8), text);
    EXPECT_EQ(Read(u"UTF-16BE", utf16be), text);
    EXPECT_EQ(Read(u"ISO-8859-1", "caf\xE9"), u"caf\u00E9");
}

class ZtStringStreamDefault : public Default_Charset_Test {};

TEST_F(ZtStringStreamDefault, StartsInTheDefaultCharsetAndLabelsItsBytesWithIt) {
    Use_Default(u"ISO-8859-1");
    const AdCharset latin1 = Charset(u"ISO-8859-1");
    // Initial bytes are read in the stream's charset, not in the one they are labelled with.
    ztistringstream in(AdMbcsString(AdCharset::getUTF8Charset(), "\xC3\xA9"), In);
    EXPECT_TRUE(in.getcharset() == latin1);
    EXPECT_EQ(Read_All(in), u"\u00C3\u00A9");

    ztostringstream out(Out);
    out << u"\u00E9";
    const AdMbcsString pending = out.str();  // units not yet flushed belong to the text
    EXPECT_EQ(pending.getString(), "\xE9");
    EXPECT_TRUE(pending.getCharset() == latin1);

    out.str(AdMbcsString(AdCharset::getUTF8Charset(), "xyz"));
    EXPECT_TRUE(out.str().getCharset() == latin1);
    out << u"\u00E0" << std::flush;  // writes over the new text from its start
    EXPECT_TRUE(out.good());
    EXPECT_EQ(out.str().getString(), "\xE0yz");
}

TEST(ZtStringStream, ReadsBackWhatItWroteLineByLine) {
    ztstringstream both;
    both.setcharset(AdCharset::getUTF8Charset());
    both << u"one\ntwo \u00E9";  // no flush: a read sends what was written first
    Fnd_String line(u"old");
    EXPECT_TRUE(both.getline(line));
    EXPECT_EQ(Text(line), u"one");
    EXPECT_TRUE(both.getline(line));  // the last line needs no line end
    EXPECT_EQ(Text(line), u"two \u00E9");
    EXPECT_TRUE(both.eof());
    EXPECT_FALSE(both.getline(line));
    EXPECT_EQ(both.str().getString(), "one\ntwo \xC3\xA9");
}

TEST(ZtStringStream, StrictWriteFailsAtTheFlushAndLenientWriteEscapes) {
    ztostringstream out(Out);
    out.setcharset(AdCharset::getASCIICharset());
    ASSERT_TRUE(out.getstrict());
    out << u"ab\u00E9cd";
    EXPECT_TRUE(out.good());  // nothing converted yet
    out.flush();
    EXPECT_TRUE(out.bad());
    // What came before the character went out; the character and the rest did not.
    EXPECT_EQ(out.str().getString(), "ab");

    out.clear();
    out << u"ok" << std::flush;
    EXPECT_TRUE(out.good());
    out.setstrict(false);
    EXPECT_FALSE(out.getstrict());
    out << u"\u00E9\U0001F600!" << std::flush;
    EXPECT_TRUE(out.good());
    EXPECT_EQ(out.str().getString(), "abok&#xE9;&#x1F600;!");
}

TEST(ZtStringStream, StrictReadOfABadByteFailsAndLenientReadEscapesIt) {
    const AdCharset utf8 = AdCharset::getUTF8Charset();
    ztistringstream in(AdMbcsString(utf8, "a\xFF" "b"), In);
    in.setcharset(utf8);
    Code_Unit unit;
    EXPECT_FALSE(in.get(unit));
    EXPECT_TRUE(in.bad());
    ztistringstream lines(AdMbcsString(utf8, "a\xFF\nb"), In);
    lines.setcharset(utf8);
    Fnd_String line;
    EXPECT_FALSE(lines.getline(line));
    EXPECT_TRUE(lines.bad());

    ztistringstream throwing(AdMbcsString(utf8, "a\xC3"), In);  // cut short at the end
    throwing.setcharset(utf8);
    throwing.exceptions(std::ios_base::badbit);
    try {
        Read_All(throwing);
        ADD_FAILURE() << "no exception";
    } catch (const std::ios_base::failure& failure) {
        EXPECT_NE(std::string(failure.what()).find("ztstreambuf::underflow: Conversion error."),
                  std::string::npos)
            << failure.what();
    }

    EXPECT_EQ(Read(u"UTF-8", "a\xFF" "b", false), u"a&#xFF;b");
    EXPECT_EQ(Read(u"UTF-8", "a\xC3", false), u"a&#xC3;");
    // Each bad byte of a long run becomes a six-unit escape: one input block gives more
    // than a unit buffer.
    std::u16string escapes;
    for (int i = 0; i < 300; ++i) escapes += u"&#xFF;";
    EXPECT_EQ(Read(u"UTF-8", std::string(300, '\xFF') + "ok", false), escapes + u"ok");
}

TEST(ZtStringStream, ACharsetChangeAppliesOnlyToBytesNotYetConverted) {
    // The first input block, 256 bytes, is converted at the first read.
    std::string bytes(255, 'x');
    bytes += "\xE9" "\xC3\xA9";
    ztistringstream in(AdMbcsString(AdCharset::getUTF8Charset(), bytes), In);
    in.setcharset(Charset(u"ISO-8859-1"));
    Code_Unit first;
    ASSERT_TRUE(in.get(first));
    in.setcharset(AdCharset::getUTF8Charset());
    EXPECT_EQ(Read_All(in), std::u16string(254, u'x') + u"\u00E9\u00E9");
}

TEST(ZtStringStream, LongTextCrossesUnitBuffersAndInputBlocksWhole) {
    // A surrogate pair straddles each multiple of the 1024-unit buffer; in UTF-8 its four
    // bytes straddle a 256-byte input block as well.
    std::u16string units;
    std::string bytes;
    while (units.size() < 3500) {
        if (units.size() % 1024 == 1023) {
            units += u"\U0001F600";
            bytes += "\xF0\x9F\x98\x80";
        } else {
            units += u'\u00E9';
            bytes += "\xC3\xA9";
        }
    }
    EXPECT_EQ(Written(u"UTF-8", units), bytes);
    EXPECT_EQ(Read(u"UTF-8", bytes), units);

    // Sequences cut by the end of the first input block.
    EXPECT_EQ(Read(u"UTF-8", std::string(255, 'a') + "\xC3\xA9z"),
              std::u16string(255, u'a') + u"\u00E9z");
    EXPECT_EQ(Read(u"UTF-8", std::string(254, 'a') + "\xE2\x82\xACz"),
              std::u16string(254, u'a') + u"\u20ACz");
    std::string utf16le;
    for (int i = 0; i < 127; ++i) utf16le += std::string("a\0", 2);
    utf16le += std::string("\x3D\xD8\x00\xDEz\0", 6);
    EXPECT_EQ(Read(u"UTF-16LE", utf16le), std::u16string(127, u'a') + u"\U0001F600z");
}

TEST(ZtStringStream, AFlushEndsTheShiftStateOfAStatefulCharset) {
    ztostringstream out(Out);
    out.setcharset(Charset(u"ISO-2022-JP"));
    out << u"\u65E5" << std::flush;
    EXPECT_EQ(out.str().getString(), "\x1B$BF|\x1B(B");
    out << u"a\u65E5" << std::flush;
    EXPECT_EQ(out.str().getString(), "\x1B$BF|\x1B(Ba\x1B$BF|\x1B(B");
}

TEST(ZtStreamBuf, OverflowWithEndOfFileWritesNothingAndGivesZero) {
    using Traits = std::char_traits<Code_Unit>;
    std::stringbuf bytes;
    Exposed_Buffer units(&bytes, true);
    units.setcharset(AdCharset::getUTF8Charset());
    EXPECT_EQ(units.overflow(Traits::eof()), 0);
    EXPECT_EQ(units.sputc(u'\u00E9'), Traits::to_int_type(u'\u00E9'));
    EXPECT_EQ(units.overflow(Traits::eof()), 0);
    EXPECT_EQ(bytes.str(), "");  // the pending unit is not sent either
    EXPECT_EQ(units.pubsync(), 0);
    EXPECT_EQ(bytes.str(), "\xC3\xA9");
}

TEST(ZtStream, ImbuePassesTheLocaleOnToTheByteBuffer) {
    std::stringbuf bytes;
    ztstreambuf units(&bytes, true);
    ztistream in(&units);
    EXPECT_TRUE(std::has_facet<std::ctype<Code_Unit>>(in.getloc()));
    auto* marker = new std::numpunct<char>;
    in.imbue(std::locale(std::locale::classic(), marker));
    EXPECT_EQ(&std::use_facet<std::numpunct<char>>(bytes.getloc()), marker);
    EXPECT_TRUE(std::has_facet<std::ctype<Code_Unit>>(in.getloc()));
}

TEST(ZtTStringStream, KeepsUnitsAsTheyAreWithoutConversion) {
    // A lone surrogate would not convert to any charset; here it passes untouched.
    const std::u16string units(u"a\xD800" u"b\U0001F600", 5);
    ztTostringstream out;
    out << u"x";
    out.write(units.data(), static_cast<std::streamsize>(units.size()));
    EXPECT_EQ(Text(out.str()), u"x" + units);

    ztTistringstream in(out.str());
    EXPECT_EQ(Read_All(in), u"x" + units);
    in.clear();
    in.str(Fnd_String(u"new"));
    EXPECT_EQ(Read_All(in), u"new");
}

}  // namespace
