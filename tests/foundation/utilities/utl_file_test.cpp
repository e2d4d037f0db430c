// Utl_File and Utl_Io_Interface: whole-file reads and writes with their failure texts,
// the buffer of the interface, and the crash-safe replacement of a file.
#include "foundation/utilities/utl_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;

namespace {

std::string Text_Of(const Fnd_Condition& Condition) {
    return Narrow(Condition.Image(Fnd_Detail_Default, 0, 0, 1, 0, Fnd_String(u"|")));
}

std::string Contents(const std::string& Path) {
    std::ifstream file(Path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

class File_Objects : public ::testing::Test {
protected:
    std::string Write(const std::string& Name, const std::string& Bytes) const {
        std::ofstream(Dir + "/" + Name, std::ios::binary) << Bytes;
        return Dir + "/" + Name;
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

TEST_F(File_Objects, FailureTextsNameTheFile) {
    const std::string path = Write("a.txt", "abc");
    Utl_File file(Wide(path));
    Fnd_Condition condition;

    file.Close(condition);
    EXPECT_EQ(Text_Of(condition), "attempt to close utl file object before open");

    file.Open(static_cast<Utl_File::Open_Mode>(7), condition, false);
    EXPECT_EQ(Text_Of(condition), "invalid mode on utl file object open");

    file.Open(Utl_File::Read_Mode, condition, false);
    ASSERT_FALSE(condition.Failed()) << Text_Of(condition);
    file.Open(Utl_File::Write_Mode, condition, false);
    EXPECT_EQ(Text_Of(condition), "current utl file object has been used for file " + path);
    // The stream is the first one still: reading works, and nothing was emptied.
    Fnd_String text;
    file.Read(text, condition);
    EXPECT_EQ(text, Fnd_String(u"abc"));
    file.Close(condition);
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(file.Get_Mode(), Utl_File::Closed_Mode);

    Utl_File missing(Wide(Dir + "/none/x"));
    missing.Open(Utl_File::Read_Mode, condition, false);
    EXPECT_EQ(Text_Of(condition), "error in opening file " + Dir + "/none/x");
    missing.Truncate(condition);
    EXPECT_EQ(Text_Of(condition), "error in truncate file " + Dir + "/none/x");
}

TEST_F(File_Objects, ReadConvertsUpToAZeroByteAndLeavesTextForAnEmptyFile) {
    struct Row { std::string bytes; bool utf8; const char16_t* text; const char* failure; };
    const Row rows[] = {
        {"", false, u"before", ""},
        {std::string("ab\0cd", 5), false, u"ab", ""},
        {"gr\xC3\xBC\xC3\x9F", true, u"gr\u00FC\u00DF", ""},
        {"bad \xFF\xFE byte", true, u"before", "encoding conversion failed"},
    };
    for (const Row& row : rows) {
        Utl_File file(Wide(Write("r.txt", row.bytes)));
        Fnd_Condition condition;
        file.Open(Utl_File::Read_Mode, condition, row.utf8);
        ASSERT_FALSE(condition.Failed());
        Fnd_String text(u"before");
        file.Read(text, condition);
        EXPECT_EQ(Narrow(text), Narrow(Fnd_String(row.text))) << row.bytes;
        EXPECT_EQ(Text_Of(condition), row.failure) << row.bytes;
        file.Close(condition);
    }
}

TEST_F(File_Objects, WriteAppendsAtThePositionAndSaveReplaces) {
    const std::string path = Dir + "/w.txt";
    Utl_File file(Wide(path));
    Fnd_Condition condition;
    file.Open(Utl_File::Write_Mode, condition, true);
    file.Write(Fnd_String(u"one "), condition);
    file.Write(Fnd_String(u"tw\u00F6"), condition);
    EXPECT_EQ(Contents(path), "one tw\xC3\xB6");
    file.Save(Fnd_String(u"new"), condition);
    EXPECT_FALSE(condition.Failed());
    file.Close(condition);
    EXPECT_EQ(Contents(path), "new");

    // A read-only stream refuses writes with the file's name.
    Utl_File reader(Wide(path));
    reader.Open(Utl_File::Read_Mode, condition, false);
    reader.Write(Fnd_String(u"x"), condition);
    EXPECT_EQ(Text_Of(condition), "error in writing to file " + path);
    reader.Delete(condition);
    EXPECT_FALSE(condition.Failed());
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(File_Objects, ReplaceBufferOverwritesAndGrowsAtTheEnd) {
    struct Row { const char16_t* buffer; const char16_t* text; long position; const char16_t* result; };
    const Row rows[] = {
        {u"abc", u"xy", 0, u"xyc"},  {u"abc", u"xy", 2, u"abxy"}, {u"abc", u"xy", 3, u"abcxy"},
        {u"", u"xy", 0, u"xy"},      {u"abc", u"", 1, u"abc"},    {u"abcdef", u"XY", 2, u"abXYef"},
    };
    for (const Row& row : rows) {
        Fnd_String buffer(row.buffer);
        Utl_Io_Interface::replace_buffer(buffer, Fnd_String(row.text), row.position);
        EXPECT_EQ(buffer, Fnd_String(row.result)) << Narrow(Fnd_String(row.buffer)) << " at " << row.position;
    }
}

TEST_F(File_Objects, InterfaceReadsNumbersAndCharactersAndSavesItsBufferAtClose) {
    const std::string path = Write("io.txt", "007 0x1f -5 z");
    Utl_Io_Interface io;
    EXPECT_TRUE(io.Get_Name().Is_Empty());
    Fnd_Condition condition;
    io.Open(Wide(path), Utl_File::Read_Write_Mode, condition, false);
    ASSERT_FALSE(condition.Failed()) << Text_Of(condition);
    EXPECT_EQ(Narrow(io.Get_Name()), path);
    long a = 0, b = 0, c = 0;
    io >> a >> b >> c;
    EXPECT_EQ(a, 7);  // not octal
    EXPECT_EQ(b, 31);
    EXPECT_EQ(c, -5);
    Code_Unit blank = 0, letter = 0, after = u'?';
    io >> blank >> letter >> after;
    EXPECT_EQ(letter, u'z');
    EXPECT_EQ(after, u'?') << "nothing behind the buffer's end";

    io << Fnd_String(u"ABC") << 42L;
    EXPECT_TRUE(io.Is_Dirty());
    EXPECT_EQ(io.Get_Write_Position(), 5);
    EXPECT_EQ(io.Get_Buffer(), Fnd_String(u"ABC42x1f -5 z"));
    io.Close(condition);
    EXPECT_FALSE(condition.Failed()) << Text_Of(condition);
    EXPECT_EQ(Contents(path), "ABC42x1f -5 z");
    EXPECT_TRUE(io.Get_Buffer().Is_Empty());
    EXPECT_EQ(io.Get_Mode(), Utl_File::Closed_Mode);
}

TEST_F(File_Objects, ReplaceContentsGivesAWholeNewFileOfMode0600) {
    const std::string path = Write("s.txt", "old");
    chmod(path.c_str(), 0644);
    Fnd_Condition condition;
    Utl_Replace_Options options;
    options.Use_UTF8 = true;
    ASSERT_TRUE(Utl_File::Replace_Contents(Wide(path), Fnd_String(u"new \u00E9"), options, condition))
        << Text_Of(condition);
    EXPECT_EQ(Contents(path), "new \xC3\xA9");
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    int entries = 0;
    for (const auto& entry : std::filesystem::directory_iterator(Dir)) entries += entry.exists();
    EXPECT_EQ(entries, 1) << "no temporary file is left";

    EXPECT_FALSE(Utl_File::Replace_Contents(Wide(Dir + "/none/s.txt"), Fnd_String(u"x"), options,
                                            condition));
    EXPECT_EQ(Text_Of(condition).rfind("cannot save " + Dir + "/none/s.txt: cannot make a temporary file: ", 0),
              0u) << Text_Of(condition);
}

}  // namespace
