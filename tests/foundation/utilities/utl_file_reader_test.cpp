// Utl_File_Reader: lines, comments, continuation, the directives with their messages
// and line numbers, includes and their limits, tokens and variables.
#include "foundation/utilities/utl_file_reader.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>

#include "foundation/base/fnd_string.h"
#include "foundation/textio/tio_text_output.h"
#include "foundation/utilities/utl_string_array.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;

namespace {

// Every line the reader gives, each behind its line number: "3:text|".
std::string Read_All(Utl_File_Reader& Reader) {
    std::string lines;
    while (Reader.Getline())
        lines += std::to_string(Reader.Get_Line_Number()) + ":" + Narrow(Reader.Get_Line()) + "|";
    return lines;
}

class File_Reader : public ::testing::Test {
protected:
    std::string Write(const std::string& Name, const std::string& Text) const {
        std::ofstream(Dir + "/" + Name) << Text;
        return Dir + "/" + Name;
    }
    // Reads a file of Text with Options; Log gets what went to the log.
    std::string Read_File(const std::string& Text, long Options, std::string* Log = nullptr) {
        const std::string path = Write("main.cfg", Text);
        ZTInt_Captured_Fd out(1);
        ZTInt_Captured_Fd err(2);
        Utl_File_Reader reader(Wide(path), Options);
        const std::string lines = Read_All(reader);
        if (Log) *Log = out.Bytes() + err.Bytes();
        return lines;
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

}  // namespace

TEST_F(File_Reader, LinesCommentsAndContinuation) {
    struct Row { const char* text; long options; const char* lines; };
    const Row rows[] = {
        {"#x\na\n\n  \nb", 0, "1:#x|2:a|3:|4:  |5:b|"},
        {"#x\n  # c\na # not\n# define X\n#unknown\n", 2, "3:a # not|"},
        {"# define X\n#unknown\n#define X\n", 0, "1:# define X|2:#unknown|3:#define X|"},
        {"one \\\ntwo\nlast\\", 4, "2:one two|3:last|"},
        {"one \\\ntwo", 0, "1:one \\|2:two|"},
        {"#define X\ndata", 16, "2:data|"},
        {"#include nothing\ndata", 0, "1:#include nothing|2:data|"},
        {"0123456789abcdefghijklmnopqrstuv\n", 0, "1:0123456789abcdefghijklmnopqrstuv|"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Read_File(row.text, row.options), row.lines) << row.text;

    // Non-ASCII bytes behind a long ASCII run are converted, in the charset chosen.
    Write("mixed.cfg", "0123456789abcdefghij\xC3\xBC\n\xFC");
    Utl_File_Reader mixed(Wide(Dir + "/mixed.cfg"), 0, true);
    ASSERT_EQ(mixed.Getline(), 1);
    EXPECT_EQ(mixed.Get_Line(), Fnd_String(u"0123456789abcdefghij\u00FC"));
    ASSERT_EQ(mixed.Getline(), 1);
    EXPECT_EQ(mixed.Get_Line(), Fnd_String(u"\uFFFD")) << "a bad byte is substituted";

    // Lines longer than the reader's blocks, and lines across their borders.
    std::string big;
    for (int i = 0; i < 3000; ++i) big += std::string(i % 50, 'z') + "\n";
    big += std::string(100000, 'a') + "\n\xC3\xBC\n" + std::string(70000, 'c');
    Write("big.cfg", big);
    Utl_File_Reader large(Wide(Dir + "/big.cfg"), 0);
    long count = 0;
    bool lengths_right = true;
    while (large.Getline() && count < 3000) lengths_right = lengths_right && large.Get_Line().Get_Length() == count++ % 50;
    EXPECT_TRUE(lengths_right);
    EXPECT_EQ(large.Get_Line().Get_Length(), 100000);
    ASSERT_EQ(large.Getline(), 1);
    EXPECT_EQ(large.Get_Line(), Fnd_String(u"\u00FC"));
    ASSERT_EQ(large.Getline(), 1);
    EXPECT_EQ(large.Get_Line().Get_Length(), 70000);
    EXPECT_EQ(large.Getline(), 0);

    Utl_File_Reader text(Fnd_String(u"a\\\n#c\nb"), Utl_Reader_Text);
    EXPECT_EQ(Read_All(text), "1:a\\|3:b|") << "no continuation outside files";
    Fnd_String source(u"first\nsecond");
    text.Transfer_Line(source, Utl_Reader_String);
    EXPECT_TRUE(source.Is_Empty());
    EXPECT_EQ(Narrow(text.Get_Original_String()), "first\nsecond");
    Fnd_String token;
    EXPECT_EQ(text.Next_Token(token, 0), 1);
    EXPECT_EQ(Narrow(token), "first");
    EXPECT_EQ(text.Next_Token(token, 0), 0) << "a newline ends the string's first line";
    EXPECT_EQ(Read_All(text), "1:second|");

    Utl_String_Array array(10, 0);
    array.Add(Fnd_String(u"x"));
    array.Add(Fnd_String(u"#y"));
    Utl_File_Reader lines(&array, Utl_Reader_Lines);
    EXPECT_EQ(Read_All(lines), "1:x|");
    Utl_File_Reader missing(Wide(Dir + "/none"));
    EXPECT_TRUE(missing.Is_Open_Failed());
    EXPECT_EQ(Read_All(missing), "");
    EXPECT_TRUE(missing.Is_At_End());
}

TEST_F(File_Reader, ConditionsAndDefines) {
    setenv("ZT_FR_ONE", "1", 1);
    setenv("ZT_FR_FALSE", "false", 1);
    struct Row { const char* text; const char* lines; };
    const Row rows[] = {
        {"#define A 1\n#ifdef A\nyes\n#else\nno\n#endif\nend", "3:yes|7:end|"},
        {"#ifndef A\nyes\n#else\nno\n#endif", "2:yes|"},
        {"#ifdef B || ZT_FR_ONE\nenv\n#endif", "2:env|"},
        {"#ifdef ZT_FR_FALSE\nno\n#else\nfalse is off\n#endif", "4:false is off|"},
        {"#define V abc\n#if V == abc\nyes\n#endif\n#if V != abc\nno\n#endif", "3:yes|"},
        {"#if $ZT_FR_ONE == 2 || ZT_FR_ONE == 1\nor\n#endif", "2:or|"},
        {"#if b < c\nless\n#endif\n#if b >= c\nno\n#endif", "2:less|"},
        // An empty quoted name is a symbol with no value, not an index past its end.
        {"#if \"\" == b || \"\" != b\nempty\n#endif", "2:empty|"},
        {"#ifdef NO\n#ifdef A\nx\n#else\ny\n#endif\nz\n#else\nouter\n#endif", "9:outer|"},
        {"#define D\n#ifdef D\n#undef D\n#endif\n#ifdef D\nno\n#endif\nend", "8:end|"},
        {"#define F x.cfg\n#define G $F+$H\n#if G == x.cfg+\nno\n#endif", ""},
    };
    for (const Row& row : rows) EXPECT_EQ(Read_File(row.text, 15), row.lines) << row.text;
}

TEST_F(File_Reader, DirectiveErrorsWithLineNumbers) {
    const std::string file = Dir + "/main.cfg";
    struct Row { const char* text; const char* lines; const char* message; };
    const Row rows[] = {
        {"a\n#else\nb", "1:a|3:b|", ":2 Unexpected else"},
        {"#ifdef NO\n#else\nx\n#else\ny\n#endif", "3:x|5:y|", ":4 Unexpected else"},
        {"#endif", "", ":1 Unexpected endif"},
        {"#define\nx", "2:x|", ":1 No symbol given in define directive"},
        {"#undef\nx", "2:x|", ":1 No symbol given in undef directive"},
        {"#if\nx", "2:x|", ":1 No symbol given in if directive"},
        {"#ifdef\nx", "2:x|", ":1 No symbol given in directive"},
        {"#if A\nx\n#endif\ny", "4:y|", ":1 Missing operator after A"},
        {"#if A ==\nx\n#endif", "", ":1 Missing argument after =="},
        {"#if A ~ b\nx\n#endif", "", ":1 Unexpected operator \"~\""},
        {"#if A == b && c\nx\n#endif", "", ":1 Unexpected item \"&&\" in directive"},
        {"#include\nx", "2:x|", ":1 No filename given in include directive"},
        {"#include none.cfg\nx", "2:x|", ":1 Can't open \"none.cfg\""},
    };
    for (const Row& row : rows) {
        std::string log;
        EXPECT_EQ(Read_File(row.text, 15, &log), row.lines) << row.text;
        std::string message = row.message;
        const std::size_t space = message.find(' ');
        const std::string expected =
            file + ": Error on line " + message.substr(1, space - 1) + " - " + message.substr(space + 1);
        EXPECT_NE(log.find(expected), std::string::npos) << row.text << "\nlog: " << log;
    }
}

TEST_F(File_Reader, IncludesNestAndEndInErrorsNotExhaustion) {
    Write("inc.cfg", "i1\n#define N 7\ni3\n");
    std::string log;
    EXPECT_EQ(Read_File("a\n#include inc.cfg", 15), "1:a|1:i1|3:i3|") << "include on a last line";
    EXPECT_EQ(Read_File("#define F inc\n#include \"$F.cfg\"\nafter", 15), "1:i1|3:i3|3:after|");

    Write("self.cfg", "s\n#include self.cfg\nt\n");
    ZTInt_Captured_Fd err(1);
    Utl_File_Reader self(Wide(Dir + "/self.cfg"));
    EXPECT_EQ(Read_All(self), "1:s|3:t|");
    EXPECT_NE(err.Bytes().find(Dir + "/self.cfg: Error on line 2 - Recursive include of \"" + Dir +
                               "/self.cfg\""),
              std::string::npos)
        << err.Bytes();

    // A chain deeper than the limit stops at the limit with one message.
    for (int i = 0; i < 40; ++i)
        Write("c" + std::to_string(i) + ".cfg",
              "#include c" + std::to_string(i + 1) + ".cfg\nline" + std::to_string(i) + "\n");
    Utl_File_Reader chain(Wide(Dir + "/c0.cfg"));
    long lines = 0, deepest = 0;
    while (chain.Getline()) {
        ++lines;
        deepest = std::max(deepest, chain.Get_Include_Level());
    }
    EXPECT_EQ(deepest, Utl_File_Reader::Max_Include_Depth - 1);
    EXPECT_EQ(lines, Utl_File_Reader::Max_Include_Depth);
    EXPECT_NE(err.Bytes().find("Include nesting too deep at"), std::string::npos);
    EXPECT_EQ(chain.Get_Include_Level(), 0);
    EXPECT_EQ(Narrow(chain.Get_Outermost_Filename()), Dir + "/c0.cfg");
}

namespace {

// Collects what is written to it, a line per line.
class Collected_Output : public Tio_Text_Output_Base {
public:
    std::string Text;
    long Do_Put(const Fnd_String& Line, long New_Line) override {
        Text += Narrow(Line) + (New_Line ? "\n" : "");
        return 1;
    }
};

}  // namespace

TEST_F(File_Reader, CommentsDirectivesAndSkippedLinesAreCopied) {
    const std::string path = Write("copy.cfg", "#c\n  # d\n#define X 1\n#ifdef Y\nskipped\n#endif\ndata\n");
    Collected_Output copy;
    Utl_File_Reader reader(Wide(path));
    reader.Set_Copy_Stream(&copy);
    EXPECT_EQ(Read_All(reader), "7:data|");
    EXPECT_EQ(copy.Text, "#c\n  # d\n#define X 1\n#ifdef Y\nskipped\n#endif\n");
}

TEST(File_Reader_Tokens, TokensRestOfLineAndGoto) {
    Utl_File_Reader reader(Fnd_String(u"a  \"b \"\"c\"\" d\" e\n\nf # g\n  h \\\ni j\n \"k\" rest  \"\nlast"),
                           Utl_Reader_Text);
    Fnd_String token;
    std::string tokens;
    ASSERT_EQ(reader.Getline(), 1);
    while (reader.Next_Token(token, 0)) tokens += Narrow(token) + (reader.Is_Quoted() ? "'|" : "|");
    EXPECT_EQ(tokens, "a|b \"c\" d'|e|");
    tokens.clear();
    while (reader.Get_Token(token, 1, 1)) {
        tokens += Narrow(token) + "|";
        if (token == u"j") break;
    }
    EXPECT_EQ(tokens, "f|h|i|j|") << "a comment ends its line; a lone backslash joins";
    ASSERT_EQ(reader.Getline(), 1);
    ASSERT_EQ(reader.Next_Token(token, 0), 1);
    Fnd_String rest;
    reader.Rest_Of_Line(rest);
    EXPECT_EQ(Narrow(rest), "rest  \"");
    EXPECT_EQ(reader.Goto_Line(3), 0);
    EXPECT_EQ(reader.Goto_Line(7), 1);
    EXPECT_EQ(Narrow(reader.Get_Line()), "last");
    EXPECT_EQ(reader.Goto_Line(9), 0);

    Utl_String_Array array(10, 0);
    array.Add(Fnd_String(u"one two"));
    Utl_File_Reader tokens_reader(&array, Utl_Reader_Tokens);
    EXPECT_EQ(tokens_reader.Next_Token(token, 1), 1);
    EXPECT_EQ(Narrow(token), "one two");
    EXPECT_EQ(tokens_reader.Next_Token(token, 1), 0);
}

TEST(File_Reader_Tokens, ReplacingVariables) {
    Utl_File_Reader reader;
    Fnd_String text(u"$A");
    reader.Replace_Variables(text, 0);
    EXPECT_EQ(Narrow(text), "$A") << "no defines: nothing happens";
    reader.Define_Variable(Fnd_String(u"A"), Fnd_String(u"x$B"));
    reader.Define_Variable(Fnd_String(u"B"), Fnd_String(u"2"));
    struct Row { const char* text; long keep; const char* result; };
    const Row rows[] = {{"$A", 0, "x$B"},       {"$Z", 0, ""},          {"$Z", 1, "$Z"},
                        {"<$A>$B/", 0, "<x$B>2/"}, {"a$Z.b", 0, "a.b"}, {"a$Z.b", 1, "a$Z.b"},
                        {"$", 0, ""},            {"$$B", 1, "$2"}};
    for (const Row& row : rows) {
        text = Wide(row.text);
        reader.Replace_Variables(text, row.keep);
        EXPECT_EQ(Narrow(text), row.result) << row.text << " keep " << row.keep;
    }
    text = u"$B";
    EXPECT_EQ(reader.Variable_Value(text, 1), 1);
    EXPECT_EQ(Narrow(text), "2");
    EXPECT_EQ(Utl_File_Reader::Is_Variable(Fnd_String(u"$x")), 1);
    Utl_File_Reader other;
    other.Copy_Defines(reader);
    ASSERT_NE(other.Get_Variable(Fnd_String(u"B")), nullptr);
    other.Undefine_Variable(Fnd_String(u"B"));
    EXPECT_EQ(other.Get_Variable(Fnd_String(u"B")), nullptr);
}
