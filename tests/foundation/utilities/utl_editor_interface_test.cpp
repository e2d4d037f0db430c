// The editor and script couplings: the defaults, the program couplings run without a
// shell (a stub editor records its arguments), "#if (expression)" in the file reader,
// and the reader's messages to the editor.
#include "foundation/utilities/utl_editor_interface.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_reader.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;

namespace {

std::string Read_Text(const std::string& Path) {
    std::ifstream in(Path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Waits up to five seconds for Path to hold a complete record (a last line "end").
std::string Wait_For_Record(const std::string& Path) {
    for (int i = 0; i < 500; ++i) {
        const std::string text = Read_Text(Path);
        if (text.size() >= 4 && text.compare(text.size() - 4, 4, "end\n") == 0) return text;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return Read_Text(Path);
}

class Couplings : public ::testing::Test {
protected:
    void TearDown() override {
        Utl_Editor_Interface::Set(nullptr);
        Utl_Script_Interface::Set(nullptr);
    }
    // A stub editor: each argument on a line of its own in Record, then "end".
    std::string Stub_Editor() const {
        const std::string path = Dir + "/editor.sh";
        std::ofstream(path) << "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\"; done > '"
                            << Record << ".tmp'\necho end >> '" << Record << ".tmp'\nmv '"
                            << Record << ".tmp' '" << Record << "'\n";
        chmod(path.c_str(), 0755);
        return path;
    }
    std::string Read_File(const std::string& Text, long Options, std::string& Log) {
        const std::string path = Dir + "/main.cfg";
        std::ofstream(path) << Text;
        ZTInt_Captured_Fd out(1);
        ZTInt_Captured_Fd err(2);
        Utl_File_Reader reader(Wide(path), Options);
        std::string lines;
        while (reader.Getline())
            lines += std::to_string(reader.Get_Line_Number()) + ":" + Narrow(reader.Get_Line()) + "|";
        Log = out.Bytes() + err.Bytes();
        return lines;
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
    const std::string Record = Dir + "/record";
};

// Records what the reader hands to the editor.
class Recording_Editor : public Utl_Editor_Interface {
public:
    explicit Recording_Editor(std::vector<std::string>& Calls) : Calls(Calls) {}
    long Visit_File(Fnd_Condition& Condition, const Fnd_String& File, long Line, long) override {
        Condition.Clear();
        Calls.push_back("visit " + Narrow(File) + ":" + std::to_string(Line));
        return 1;
    }
    void Highlight(Fnd_Condition& Condition, const Fnd_String& File, long Line,
                   const Fnd_String& Text, const Fnd_String&, long, long, long, long,
                   Utl_Display_Mode, unsigned) override {
        Condition.Clear();
        Calls.push_back("highlight " + Narrow(File) + ":" + std::to_string(Line) + " " +
                        Narrow(Text));
    }

private:
    std::vector<std::string>& Calls;
};

}  // namespace

TEST_F(Couplings, TheDefaultsDoAlmostNothing) {
    Utl_Editor_Interface editor;
    Utl_Script_Interface script;
    Fnd_Condition condition;
    Fnd_String tty, name, value(u"kept");
    long pid = 0, number = 0, result = 7;
    EXPECT_EQ(editor.Visit_File(condition, Fnd_String(u"f"), 1, 1), 0);
    EXPECT_EQ(editor.Ensure_Terminal(condition, Fnd_String(u"t"), tty, pid, number, name, 0), 1);
    EXPECT_EQ(script.Process_Test(condition, Fnd_String(u"1 )"), result), 0);
    EXPECT_EQ(script.Process_Expr(condition, Fnd_String(u"1 + 1"), value), 0);
    EXPECT_EQ(result, 7);
    EXPECT_FALSE(condition.Failed());
    testing::internal::CaptureStdout();
    editor.Message_Box(Fnd_String(u"hello"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Message_Box: hello\n");
}

TEST_F(Couplings, TheEditorGetsFileAndLineAsSeparateArgumentsWithoutAShell) {
    const std::string editor = Stub_Editor();
    // A file name a shell would act on: the stub must see it as it is.
    const std::string file = Dir + "/odd name; touch " + Dir + "/pwned $(id).cfg";
    Utl_Program_Editor coupling(Wide(editor + " +%l %n"));
    Fnd_Condition condition;
    ASSERT_EQ(coupling.Visit_File(condition, Wide(file), 12, 0), 1);
    EXPECT_EQ(Wait_For_Record(Record), "+12\n" + file + "\nend\n");
    EXPECT_NE(access((Dir + "/pwned").c_str(), F_OK), 0);
}

TEST_F(Couplings, TheEditorSwitchIsUsedWithoutACommand) {
    const std::string editor = Stub_Editor();
    setenv("EDITOR", editor.c_str(), 1);
    Utl_Program_Editor coupling;
    Fnd_Condition condition;
    ASSERT_EQ(coupling.Visit_File(condition, Fnd_String(u"notes.txt"), 1, 0), 1);
    EXPECT_EQ(Wait_For_Record(Record), "notes.txt\nend\n");
    unsetenv("EDITOR");
}

TEST_F(Couplings, ProgramScriptAnswersTestsAndExpressions) {
    Utl_Program_Script script;
    Fnd_Condition condition;
    long result = -1;
    struct Row { const char16_t* text; long answered; long result; };
    const Row rows[] = {
        {u"abc = abc )", 1, 1},
        {u"abc = \"a b\" )", 1, 0},
        {u"-n \"\" )", 1, 0},
        {u"3 -lt 10 -a x != y )", 1, 1},
        {u"$(reboot) )", 1, 1},  // one word, never a command
        {u"3 -lt )", 0, 0},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(script.Process_Test(condition, Fnd_String(row.text), result), row.answered)
            << Narrow(Fnd_String(row.text));
        EXPECT_EQ(result, row.result) << Narrow(Fnd_String(row.text));
        EXPECT_EQ(condition.Failed(), row.answered == 0);
    }
    Fnd_String value;
    EXPECT_EQ(script.Process_Expr(condition, Fnd_String(u"6 * 7"), value), 1);
    EXPECT_EQ(Narrow(value), "42");
    EXPECT_EQ(script.Process_Expr(condition, Fnd_String(u"6 +"), value), 0);
    EXPECT_TRUE(condition.Failed());
    const Code_Unit* const arguments[] = {u"a b", u"c", nullptr};
    script.Call_Function(value, Fnd_String(u"echo"), arguments);
    EXPECT_EQ(Narrow(value), "a b c");
    script.Call_Function(value, Fnd_String(u"no-such-program-here"), arguments);
    EXPECT_EQ(Narrow(value), "");
}

TEST_F(Couplings, IfExpressionsInTheFileReader) {
    struct Row { const char* text; const char* lines; const char* log; };
    const Row rows[] = {
        {"#if (a = a)\nyes\n#else\nno\n#endif\nafter", "2:yes|6:after|", ""},
        {"#if (a = b)\nyes\n#else\nno\n#endif", "4:no|", ""},
        {"#if (1 -eq 1)\n#if (x = y)\ninner\n#else\nother\n#endif\nouter\n#endif", "5:other|7:outer|", ""},
        {"#if (2 -lt 10 -o a = b )\nyes\n#endif", "2:yes|", ""},
        {"x\n#if (3 -lt)\nyes\n#endif\nz", "1:x|5:z|",
         ": Error on line 2 - Invalid test: (3 -lt)"},
    };
    for (const Row& row : rows) {
        std::string log;
        EXPECT_EQ(Read_File(row.text, 15, log), row.lines) << row.text;
        if (*row.log)
            EXPECT_NE(log.find(Dir + "/main.cfg" + row.log), std::string::npos)
                << row.text << "\nlog: " << log;
        else
            EXPECT_EQ(log, "") << row.text;
    }
}

TEST_F(Couplings, AScriptWithoutAnAnswerMakesTheBlockFalseSilently) {
    Utl_Script_Interface::Set(std::make_unique<Utl_Script_Interface>());
    std::string log;
    EXPECT_EQ(Read_File("#if (a = a)\nyes\n#else\nno\n#endif", 15, log), "4:no|");
    EXPECT_EQ(log, "");
}

TEST_F(Couplings, ReaderMessagesGoToTheEditorWithOptions32And64) {
    std::vector<std::string> calls;
    Utl_Editor_Interface::Set(std::make_unique<Recording_Editor>(calls));
    std::string log;
    (void)Read_File("a\n#endif\n", 15 | 32 | 64, log);
    const std::string file = Dir + "/main.cfg";
    EXPECT_EQ(calls, (std::vector<std::string>{"highlight " + file + ":2 Unexpected endif",
                                               "visit " + file + ":2"}));
    calls.clear();
    (void)Read_File("#endif\n", 15, log);
    EXPECT_TRUE(calls.empty());
}

TEST(Highlight, RecordsArePooled) {
    const long before = Utl_Highlight::Free_Count();
    Utl_Pointer_Array lines(4, 0, Utl_Highlight::Deleter);
    lines.Add(Utl_Highlight::Get(1, 2, 3, Fnd_String(u"t"), Fnd_String(u"o")));
    lines.Add(nullptr);
    EXPECT_EQ(static_cast<Utl_Highlight*>(lines[0])->Third, 3);
    EXPECT_EQ(Narrow(static_cast<Utl_Highlight*>(lines[0])->Other_Text), "o");
    lines.Make_Empty();
    EXPECT_EQ(Utl_Highlight::Free_Count(), before + 1);
    Utl_Highlight* again = Utl_Highlight::Get(4, 5, 6, Fnd_String(), Fnd_String());
    EXPECT_EQ(Utl_Highlight::Free_Count(), before);
    EXPECT_EQ(again->First, 4);
    again->Free();
}
