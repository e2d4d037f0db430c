// File streams: byte-order marks read and written, lines, closing on destruction, and how
// files are opened. Conversion itself is shared with the string streams and tested there.
#include "foundation/streams/ztfstream.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/foundation/streams/zt_stream_test_support.h"
#include "tests/support/ztint_temp_dir.h"

using namespace stream_test;

namespace {

constexpr int In = std::ios_base::in;
constexpr int Out = std::ios_base::out;

class ZtFileStream : public Default_Charset_Test {
protected:
    std::string Path(const char* Name) const { return Dir.Path + "/" + Name; }
    static std::u16string Name(const std::string& Path) {
        return std::u16string(Path.begin(), Path.end());
    }
    static void Write_Bytes(const std::string& Path, const std::string& Bytes) {
        std::ofstream(Path, std::ios_base::binary) << Bytes;
    }
    static std::string Bytes_Of(const std::string& Path) {
        std::ifstream file(Path, std::ios_base::binary);
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    ZTInt_Temp_Dir Dir;
};

TEST_F(ZtFileStream, AMarkerAtTheStartSetsTheCharsetAndIsConsumed) {
    // The reader's own charset, from the default, holds wherever no marker stands.
    Use_Default(u"ISO-8859-1");
    struct Case {
        std::string Bytes;
        const char16_t* Charset_After;
        std::u16string Units;
    } const cases[] = {
        {"\xEF\xBB\xBF" "caf\xC3\xA9", u"UTF-8", u"caf\u00E9"},
        {"\xFF\xFE", u"UTF-16LE", u""},
        {std::string("\xFF\xFE\x00\x41", 4), u"UTF-16LE", u"\u4100"},
        {std::string("\xFF\xFE\x00\x00\x41\x00\x00\x00", 8), u"UTF-32LE", u"A"},
        {std::string("\xFE\xFF\x00\x41", 4), u"UTF-16BE", u"A"},
        {std::string("\x00\x00\xFE\xFF\x00\x00\x00\x41", 8), u"UTF-32BE", u"A"},
        {std::string("\x00\x41", 2), u"ISO-8859-1", std::u16string(u"\0A", 2)},
        {"\xEF\xBB\x41", u"ISO-8859-1", u"\u00EF\u00BB" u"A"},
        {"\xFF", u"ISO-8859-1", u"\u00FF"},
        {"", u"ISO-8859-1", u""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.Bytes));
        Write_Bytes(Path("marked"), c.Bytes);
        ztifstream in(Name(Path("marked")).c_str(), In);
        ASSERT_TRUE(in.is_open());
        EXPECT_TRUE(in.readUTFMarker());
        EXPECT_EQ(Text(in.getcharset().getMimeName()), c.Charset_After);
        EXPECT_EQ(Read_All(in), c.Units);
        EXPECT_FALSE(in.bad());
    }
}

TEST_F(ZtFileStream, WritesTheMarkerOfAUnicodeCharsetBeforeTheText) {
    const struct {
        const char16_t* Charset;
        std::string Bytes;
    } cases[] = {
        {u"UTF-8", "\xEF\xBB\xBF" "A"},
        {u"UTF-16LE", std::string("\xFF\xFE" "A\0", 4)},
        {u"UTF-16BE", std::string("\xFE\xFF\0A", 4)},
        {u"UTF-32LE", std::string("\xFF\xFE\0\0" "A\0\0\0", 8)},
        {u"UTF-32BE", std::string("\0\0\xFE\xFF\0\0\0A", 8)},
        {u"ISO-8859-1", "A"},  // no marker, and no failure
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.Bytes));
        ztofstream out(Name(Path("out")).c_str(), Out);
        out.setcharset(Charset(c.Charset));
        EXPECT_TRUE(out.writeUTFMarker());
        out << u"A";
        out.close();
        EXPECT_TRUE(out.good());
        EXPECT_EQ(Bytes_Of(Path("out")), c.Bytes);
    }
}

TEST_F(ZtFileStream, NoMarkerIsWrittenAfterTheStart) {
    Write_Bytes(Path("log"), "old\n");
    ztofstream out(Name(Path("log")).c_str(), std::ios_base::app);
    out.setcharset(AdCharset::getUTF8Charset());
    EXPECT_FALSE(out.writeUTFMarker());
    EXPECT_TRUE(out.fail());
    out.clear();
    out << u"new\n";
    out.close();
    EXPECT_EQ(Bytes_Of(Path("log")), "old\nnew\n");

    // Appending to an empty file starts at the start.
    ztofstream empty(Name(Path("empty")).c_str(), std::ios_base::app);
    empty.setcharset(AdCharset::getUTF8Charset());
    EXPECT_TRUE(empty.writeUTFMarker());
    empty << u"x";
    EXPECT_FALSE(empty.writeUTFMarker());  // units already written come first
    empty.close();
    EXPECT_EQ(Bytes_Of(Path("empty")), "\xEF\xBB\xBFx");
}

TEST_F(ZtFileStream, GetlineDeliversTheLastLineWithoutALineEnd) {
    // The third line is longer than the unit buffer.
    Write_Bytes(Path("lines"), "one\n\n" + std::string(3000, 'x') + "\ntw\xC3\xB6");
    ztifstream in(Name(Path("lines")).c_str(), 0);  // the input flag comes from the stream
    in.setcharset(AdCharset::getUTF8Charset());
    Fnd_String line;
    std::u16string lines;
    while (in.getline(line)) lines += Text(line) + u"|";
    EXPECT_EQ(lines, u"one||" + std::u16string(3000, u'x') + u"|tw\u00F6|");
    EXPECT_TRUE(in.eof());
    EXPECT_FALSE(in.bad());
}

TEST_F(ZtFileStream, DestroyingAnOpenFileSendsThePendingUnits) {
    {
        ztofstream out(Name(Path("stream")).c_str(), Out);
        out.setcharset(AdCharset::getUTF8Charset());
        out << u"caf\u00E9";
        EXPECT_EQ(Bytes_Of(Path("stream")), "");
    }
    EXPECT_EQ(Bytes_Of(Path("stream")), "caf\xC3\xA9");
    {
        ztfilebuf buffer;
        ASSERT_EQ(buffer.open(Name(Path("buffer")).c_str(), Out), &buffer);
        buffer.setcharset(Charset(u"UTF-16BE"));
        EXPECT_EQ(buffer.sputn(u"xy", 2), 2);
    }
    EXPECT_EQ(Bytes_Of(Path("buffer")), std::string("\0x\0y", 4));
}

TEST_F(ZtFileStream, OpenFailuresSetFailbitAndAClosedStreamOpensAgain) {
    ztofstream out(Name(Path("missing/file")).c_str(), Out);
    EXPECT_TRUE(out.fail());
    EXPECT_FALSE(out.is_open());
    out.open(u"\xD800", Out);  // a name that does not convert
    EXPECT_FALSE(out.is_open());

    out.open(Name(Path("first")).c_str(), Out);
    ASSERT_TRUE(out.is_open());
    EXPECT_TRUE(out.good());  // the earlier failure is cleared
    EXPECT_EQ(out.rdbuf()->open(Name(Path("second")).c_str(), Out), nullptr);  // already open
    out.setcharset(AdCharset::getUTF8Charset());
    out << u"1";
    out.close();
    EXPECT_TRUE(out.good());
    out.close();  // nothing open
    EXPECT_TRUE(out.fail());
    out.open(Name(Path("second")).c_str(), Out);
    out << u"2";
    out.close();
    EXPECT_TRUE(out.good());
    EXPECT_EQ(Bytes_Of(Path("first")), "1");
    EXPECT_EQ(Bytes_Of(Path("second")), "2");

    const mode_t mask = umask(022);
    umask(mask);
    EXPECT_EQ(std::filesystem::status(Path("first")).permissions(),
              static_cast<std::filesystem::perms>(0666 & ~mask));
}

TEST_F(ZtFileStream, TheDescriptorIsCloseOnExec) {
    for (const int mode : {In, Out | static_cast<int>(std::ios_base::app)}) {
        Write_Bytes(Path("file"), "x");
        ztfstream file(Name(Path("file")).c_str(), mode);
        ASSERT_TRUE(file.is_open());
        int checked = 0;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code error;
            if (std::filesystem::read_symlink(entry.path(), error) != Path("file")) continue;
            const int fd = std::stoi(entry.path().filename().string());
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
            ++checked;
        }
        EXPECT_EQ(checked, 1);
    }
}

}  // namespace
