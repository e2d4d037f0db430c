// Child processes with piped streams: lines and blocks on output and error, a flood on
// both streams with the input still open, input and its end, signals, a missing program,
// bounded waits, shared handles, and the parent's descriptors before and after.
#include "foundation/host/hst_child_process.h"

#include <dirent.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/host/hst_file_buffer.h"
#include "tests/support/ztint_temp_dir.h"
#include "ztcoreutil/addiagnostic.h"
#include "tests/foundation/host/hst_process_test_support.h"

namespace {

using process_test::Narrow;
using process_test::Text_Of;

int Open_Descriptors() {
    int count = 0;
    DIR* dir = ::opendir("/proc/self/fd");
    while (dirent* entry = ::readdir(dir))
        if (entry->d_name[0] != '.') ++count;
    ::closedir(dir);
    return count - 1;  // the directory's own descriptor
}

struct Lines {
    std::vector<std::string> Output, Error;
};

// Every line of both streams, read as they come.
Lines Read_All_Lines(Hst_Child_Process& Child) {
    Lines lines;
    Fnd_Condition cond;
    Fnd_String line;
    while (Child.Wait_For_Data(cond, 1)) {
        while (Child.Get_Output_Line(line, cond)) lines.Output.push_back(Narrow(line));
        while (Child.Get_Error_Line(line, cond)) lines.Error.push_back(Narrow(line));
    }
    EXPECT_FALSE(cond.Failed()) << Text_Of(cond);
    return lines;
}

Hst_Child_Process Shell(const char16_t* Script) {
    const Code_Unit* argv[] = {u"/bin/sh", u"-c", Script, nullptr};
    return Hst_Child_Process(argv, 0);
}

TEST(HstChildProcess, LinesOfOutputAndError) {
    const int before = Open_Descriptors();
    {
        Hst_Child_Process child = Shell(u"printf 'a\\r\\nb\\n\\nlast'; printf 'e1\\ne2\\n' >&2");
        child.Start(0, -1, 0, nullptr, nullptr);
        ASSERT_FALSE(child.Failed()) << Text_Of(child.Get_Condition());
        const Lines lines = Read_All_Lines(child);
        EXPECT_EQ(lines.Output, (std::vector<std::string>{"a\r", "b", "", "last"}));
        EXPECT_EQ(lines.Error, (std::vector<std::string>{"e1", "e2"}));
        Fnd_String line(u"kept");
        Fnd_Condition cond;
        EXPECT_EQ(child.Get_Output_Line(line, cond), 0);
        EXPECT_EQ(child.Output_Eof(), 1);
        EXPECT_EQ(child.Error_Eof(), 1);
        child.Finish();
        EXPECT_EQ(child.Get_Status(), 0);
        EXPECT_EQ(child.Process_Id(), 0);
    }
    EXPECT_EQ(Open_Descriptors(), before);
}

TEST(HstChildProcess, LongLinesGrowTheBuffer) {
    Hst_Child_Process child = Shell(u"head -c 5000 /dev/zero | tr '\\0' x; echo; echo short");
    child.Start(0, -1, 0, nullptr, nullptr);
    const Lines lines = Read_All_Lines(child);
    ASSERT_EQ(lines.Output.size(), 2u);
    EXPECT_EQ(lines.Output[0], std::string(5000, 'x'));
    EXPECT_EQ(lines.Output[1], "short");
}

TEST(HstChildProcess, BlocksReadEverything) {
    Hst_Child_Process child = Shell(u"head -c 300000 /dev/zero; printf abc >&2");
    child.Start(0, -1, 0, nullptr, nullptr);
    Fnd_Condition cond;
    std::vector<char> block(70000);
    long total = 0;
    while (!child.Output_Eof()) total += child.Get_Output_Block(block.data(), 70000, cond);
    EXPECT_EQ(total, 300000);
    char error[8] = {};
    long count = 0;
    while (!child.Error_Eof()) count += child.Get_Error_Block(error + count, 8 - count, cond);
    EXPECT_EQ(std::string(error, static_cast<size_t>(count)), "abc");
    EXPECT_EQ(child.Get_Output_Block(block.data(), 10, cond), 0);
    EXPECT_EQ(child.Get_Output_Block(nullptr, 10, cond), 0);
}

// Writes Megabytes of lines to output and error in turns, without reading its input.
int Flood(void* Data) {
    const long megabytes = *static_cast<long*>(Data);
    std::string line(99, 'o');
    line += '\n';
    std::string chunk;
    for (int i = 0; i < 160; ++i) chunk += line;  // 16000 bytes
    for (long written = 0; written < megabytes * 1000000; written += static_cast<long>(chunk.size())) {
        for (int fd : {1, 2}) {
            size_t done = 0;
            while (done < chunk.size()) {
                const ssize_t n = ::write(fd, chunk.data() + done, chunk.size() - done);
                if (n <= 0) return 3;
                done += static_cast<size_t>(n);
            }
        }
    }
    return 0;
}

TEST(HstChildProcess, FloodOnBothStreamsWithInputOpenDoesNotDeadlock) {
    const int before = Open_Descriptors();
    {
        long megabytes = 6;
        Hst_Child_Process child;
        child.Set_Wait_For_Termination(0);
        child.Start(Flood, &megabytes, nullptr, 0, -1, 1);
        ASSERT_FALSE(child.Failed()) << Text_Of(child.Get_Condition());
        const Lines lines = Read_All_Lines(child);
        EXPECT_EQ(lines.Output.size(), 60000u);
        EXPECT_EQ(lines.Error.size(), 60000u);
        child.Wait();
        EXPECT_EQ(child.Get_Status(), 0);
    }
    EXPECT_EQ(Open_Descriptors(), before);
}

// About 3 MB of lines of many lengths: short ones around the vector widths, some of
// thousands of bytes, now and then one with a character beyond ASCII or that does not
// decode, and a last one without a newline. Written in odd-sized pieces, so that lines
// straddle the pipe's and the buffer's refills at every place.
std::vector<std::string> Varied_Lines() {
    std::vector<std::string> lines;
    unsigned state = 12345;  // a fixed start: every run writes the same lines
    for (size_t total = 0; total < 3000000;) {
        state = state * 1103515245u + 12345u;
        const unsigned draw = state >> 8;
        const size_t length = draw % (draw % 9 == 0 ? 5000 : 130);
        std::string line;
        for (size_t i = 0; i < length; ++i) line += static_cast<char>('a' + (i + lines.size()) % 26);
        if (length > 0 && draw % 13 == 0) line.replace(length / 2, 1, "\xc3\xa9");
        if (length > 0 && draw % 29 == 0) line.replace(length / 3, 1, "\xff");
        total += line.size() + 1;
        lines.push_back(line);
    }
    lines.push_back("no newline at the end");
    return lines;
}

int Write_Varied_Lines(void*) {
    std::string text;
    for (const std::string& line : Varied_Lines()) text += line + '\n';
    text.pop_back();
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(1, text.data() + done, std::min<size_t>(7919, text.size() - done));
        if (n <= 0) return 3;
        done += static_cast<size_t>(n);
    }
    return 0;
}

// What each line should read as: UTF-8 decoded, and a line that does not decode leaves
// the line before it in place.
std::vector<std::u16string> Expected_Lines(const std::vector<std::string>& Lines) {
    std::vector<std::u16string> expected;
    std::u16string previous;
    for (const std::string& line : Lines) {
        if (line.find('\xff') == std::string::npos) {
            previous.clear();
            for (size_t i = 0; i < line.size(); ++i) {
                if (line[i] == '\xc3') {
                    previous += u'\u00e9';
                    ++i;
                } else {
                    previous += static_cast<char16_t>(line[i]);
                }
            }
        }
        expected.push_back(previous);
    }
    return expected;
}

std::vector<std::u16string> Read_Output_Lines(Hst_Child_Process& Child) {
    std::vector<std::u16string> lines;
    Fnd_Condition cond;
    Fnd_String line;
    while (Child.Wait_For_Output(cond, 1))
        while (Child.Get_Output_Line(line, cond))
            lines.emplace_back(line.Data(), static_cast<size_t>(line.Get_Length()));
    EXPECT_FALSE(cond.Failed()) << Text_Of(cond);
    return lines;
}

TEST(HstChildProcess, LinesOfEveryLengthComeWholeAndInOrder) {
    Hst_Child_Process child;
    child.Set_Wait_For_Termination(0);
    child.Start(Write_Varied_Lines, nullptr, nullptr, 0, -1, 0);
    ASSERT_FALSE(child.Failed()) << Text_Of(child.Get_Condition());
    const std::vector<std::u16string> lines = Read_Output_Lines(child);
    const std::vector<std::u16string> expected = Expected_Lines(Varied_Lines());
    ASSERT_EQ(lines.size(), expected.size());
    for (size_t i = 0; i < lines.size(); ++i) ASSERT_EQ(lines[i], expected[i]) << "line " << i;
    child.Finish();
    EXPECT_EQ(child.Get_Status(), 0);
}

// A child that is waited for at Start has nobody reading its output until it ends: what
// it writes must fit into the pipe. The output pipe is grown to 256 KiB where the
// system allows, so 200 KB of output, three times the system's pipe, no longer blocks
// the child.
int Write_200_Kilobytes(void*) {
    std::string line(99, 'm');
    line += '\n';
    for (int i = 0; i < 2000; ++i)
        for (size_t done = 0; done < line.size();) {
            const ssize_t n = ::write(1, line.data() + done, line.size() - done);
            if (n <= 0) return 3;
            done += static_cast<size_t>(n);
        }
    return 0;
}

TEST(HstChildProcess, OutputThreeTimesTheSystemsPipeFitsIntoTheOutputPipeOfAWaitedChild) {
    std::ifstream limit_file("/proc/sys/fs/pipe-max-size");
    long limit = 0;
    limit_file >> limit;
    if (limit < 256 * 1024) GTEST_SKIP() << "pipes here hold at most " << limit << " bytes";
    Hst_Child_Process child;
    child.Set_Wait_Limit(10000);  // a child blocked on a full pipe is killed, not waited for
    child.Start(Write_200_Kilobytes, nullptr, nullptr, 0, -1, 0);
    ASSERT_FALSE(child.Failed()) << Text_Of(child.Get_Condition());
    EXPECT_EQ(child.Process_Id(), 0);
    EXPECT_EQ(child.Get_Status(), 0);
    const std::vector<std::u16string> lines = Read_Output_Lines(child);
    EXPECT_EQ(lines.size(), 2000u);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), std::u16string(99, u'm')), 2000);
}

TEST(HstChildProcess, InputAndItsEnd) {
    const Code_Unit* argv[] = {u"cat", nullptr};
    Hst_Child_Process child(argv, 0);
    child.Start(0, -1, 1, nullptr, nullptr);
    Fnd_Condition cond;
    EXPECT_EQ(child.Put_Input_Block("hello\nwor", 9, cond), 9);
    EXPECT_EQ(child.Put_Input_Block("ld\n", 3, cond), 3);
    EXPECT_FALSE(cond.Failed());
    child.Put_Input_Eof();
    EXPECT_EQ(child.Put_Input_Block("x", 1, cond), -1);
    EXPECT_TRUE(cond.Failed());
    EXPECT_EQ(Read_All_Lines(child).Output, (std::vector<std::string>{"hello", "world"}));
}

TEST(HstChildProcess, WritingToAChildThatIsGoneFailsWithoutSigpipe) {
    const Code_Unit* argv[] = {u"true", nullptr};
    Hst_Child_Process child(argv, 0);
    child.Start(0, -1, 1, nullptr, nullptr);
    child.Wait();
    Fnd_Condition cond;
    std::string data(100000, 'z');
    EXPECT_EQ(child.Put_Input_Block(data.data(), static_cast<long>(data.size()), cond), -1);
    ASSERT_NE(process_test::Sys_Call_Error_In(cond), nullptr);
    EXPECT_EQ(process_test::Sys_Call_Error_In(cond)->Get_Errno(), EPIPE);
}

TEST(HstChildProcess, ChildKilledBySignal) {
    Hst_Child_Process child = Shell(u"echo before; kill -TERM $$; echo after");
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(Read_All_Lines(child).Output, std::vector<std::string>{"before"});
    child.Wait();
    EXPECT_EQ(child.Failed(), 1);
    EXPECT_EQ(child.Get_Status(), SIGTERM);
    EXPECT_NE(Text_Of(child.Get_Condition()).find("signal 15"), std::string::npos)
        << Text_Of(child.Get_Condition());
}

TEST(HstChildProcess, MissingProgramFailsWithItsText) {
    const int before = Open_Descriptors();
    {
        const Code_Unit* argv[] = {u"/nonexistent/ztint-no-such-program", u"x", nullptr};
        Hst_Child_Process child(argv, 0);
        child.Start(0, -1, 1, nullptr, nullptr);
        EXPECT_EQ(child.Failed(), 1);
        EXPECT_EQ(child.Process_Id(), 0);
        EXPECT_EQ(child.Output_Eof(), 1);
        const std::string text = Text_Of(child.Get_Condition());
        EXPECT_NE(text.find("/nonexistent/ztint-no-such-program"), std::string::npos) << text;
        EXPECT_NE(text.find("No such file"), std::string::npos) << text;
    }
    EXPECT_EQ(Open_Descriptors(), before);
}

TEST(HstChildProcess, NoCommandAndNoFunction) {
    Hst_Child_Process child;
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(child.Failed(), 1);
    EXPECT_EQ(child.Executed(), 1);
    const Fnd_Condition condition = child.Get_Condition();
    const auto* error = Hst_Process_Error::Convert(condition.Get_Error());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->Text_Number(), 1);
    const Code_Unit* empty[] = {nullptr};
    Hst_Child_Process none(empty, 0);
    EXPECT_EQ(none.Command(), nullptr);
}

TEST(HstChildProcess, ANeverEndingChildIsWaitedForOnlyAsLongAsAllowed) {
    const Code_Unit* argv[] = {u"sleep", u"1000", nullptr};
    Hst_Child_Process child(argv, 0);
    child.Set_Wait_Limit(200);
    child.Start(0, -1, 0, nullptr, nullptr);
    const long pid = child.Process_Id();
    ASSERT_GT(pid, 0);
    EXPECT_FALSE(child.Terminated());
    const auto start = std::chrono::steady_clock::now();
    child.Wait();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(child.Process_Id(), 0);
    EXPECT_TRUE(child.Get_Condition().Failed());
    EXPECT_EQ(::kill(static_cast<pid_t>(pid), 0), -1);  // killed and reaped: no zombie
}

TEST(HstChildProcess, DetachLeavesTheChildRunning) {
    const int before = Open_Descriptors();
    long pid = 0;
    {
        const Code_Unit* argv[] = {u"sleep", u"1000", nullptr};
        Hst_Child_Process child(argv, 0);
        child.Start(0, -1, 1, nullptr, nullptr);
        pid = child.Process_Id();
        child.Detach();
        EXPECT_EQ(child.Process_Id(), 0);
        const Fnd_Condition condition = child.Get_Condition();
    const auto* error = Hst_Process_Error::Convert(condition.Get_Error());
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->Text_Number(), 6);
    }
    EXPECT_EQ(Open_Descriptors(), before);
    EXPECT_EQ(::kill(static_cast<pid_t>(pid), 0), 0);
    ::kill(static_cast<pid_t>(pid), SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(static_cast<pid_t>(pid), &status, 0), pid);
}

TEST(HstChildProcess, CopiesShareOneChildAndTheLastFinishesIt) {
    const int before = Open_Descriptors();
    long pid = 0;
    {
        Hst_Child_Process outer = Shell(u"read x; echo got $x");
        {
            Hst_Child_Process copy = outer;
            copy.Start(0, -1, 1, nullptr, nullptr);
            pid = copy.Process_Id();
            EXPECT_TRUE(copy.Is_Equal(outer));
        }
        EXPECT_EQ(outer.Process_Id(), pid);
        Fnd_Condition cond;
        EXPECT_EQ(outer.Put_Input_Block("1\n", 2, cond), 2);
        Fnd_String line;
        ASSERT_EQ(outer.Wait_For_Output(cond, 1), 1);
        ASSERT_EQ(outer.Get_Output_Line(line, cond), 1);
        EXPECT_EQ(Narrow(line), "got 1");
    }
    int status = 0;
    EXPECT_EQ(::waitpid(static_cast<pid_t>(pid), &status, WNOHANG), -1);  // reaped already
    EXPECT_EQ(errno, ECHILD);
    EXPECT_EQ(Open_Descriptors(), before);
}

TEST(HstChildProcess, MergedErrorGoesToOutput) {
    Hst_Child_Process child = Shell(u"echo out; echo err >&2");
    child.Start(1, -1, 0, nullptr, nullptr);
    EXPECT_EQ(child.Error_Eof(), 1);
    Fnd_Condition cond;
    Fnd_String line;
    EXPECT_EQ(child.Get_Error_Line(line, cond), 0);
    EXPECT_EQ(Read_All_Lines(child).Output, (std::vector<std::string>{"out", "err"}));
}

TEST(HstChildProcess, CommandLineKeepsQuotedWordsTogether) {
    Hst_Child_Process child(Fnd_String(u"printf  \"%s|\"   \"two  words\" last"), 1);
    const Code_Unit* const* command = child.Command();
    ASSERT_NE(command, nullptr);
    std::vector<std::string> words;
    for (long i = 0; command[i]; ++i) words.push_back(Narrow(Fnd_String(command[i])));
    EXPECT_EQ(words, (std::vector<std::string>{"printf", "\"%s|\"", "\"two words\"", "last"}));
    EXPECT_EQ(Hst_Child_Process(Fnd_String(u"  "), 1).Command(), nullptr);
    EXPECT_EQ(Hst_Child_Process(Fnd_String(u"  "), 1).Argv().Count(), 0);
    const Fnd_String_Array args = child.Argv();
    ASSERT_EQ(args.Count(), 4);
    EXPECT_EQ(Narrow(*args.Get(2)), "\"two words\"");
}

TEST(HstChildProcess, StartsFromAStringArray) {
    Fnd_String_Array args;
    args.Add_Tokens(u"/bin/echo from array");
    Hst_Child_Process child(args, 0);
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(Read_All_Lines(child).Output, std::vector<std::string>{"from array"});
    Fnd_String_Array other;
    other.Add_Tokens(u"/bin/echo second");
    child.Set_New_Command(other);
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(Read_All_Lines(child).Output, std::vector<std::string>{"second"});
}

TEST(HstChildProcess, StartWaitsByDefaultAndStartsAgain) {
    const Code_Unit* argv[] = {u"/bin/sh", u"-c", u"exit 7", nullptr};
    Hst_Child_Process child(argv, 1);
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(child.Process_Id(), 0);
    EXPECT_EQ(child.Get_Status(), 7);
    const Code_Unit* other[] = {u"/bin/sh", u"-c", u"echo again", nullptr};
    child.Set_New_Command(other);
    EXPECT_EQ(child.Executed(), 0);
    child.Start(0, -1, 0, nullptr, nullptr);
    EXPECT_EQ(child.Executed(), 1);
    EXPECT_EQ(child.Get_Status(), 0);
    // Its output was read into the pipe before the end: it is still there.
    EXPECT_EQ(Read_All_Lines(child).Output, std::vector<std::string>{"again"});
}

TEST(HstChildProcess, DiagnosticsOfStartAndReads) {
    ZTInt_Temp_Dir dir;
    const std::string log = dir.Path + "/diag.log";
    setenv("ZT_DIAG_TRACE", "CHILD_PROCESS=1;FILE_BUFFER=33", 1);
    setenv("ZT_DIAG_OUTPUT", log.c_str(), 1);
    AdDiagnostic::ResetDiagnosticFlags(0);
    {
        Hst_Child_Process child = Shell(u"echo abc");
        child.Start(0, -1, 0, nullptr, nullptr);
        EXPECT_EQ(Read_All_Lines(child).Output, std::vector<std::string>{"abc"});
        child.Finish();
    }
    unsetenv("ZT_DIAG_TRACE");
    unsetenv("ZT_DIAG_OUTPUT");
    AdDiagnostic::ResetDiagnosticFlags(0);
    std::ifstream in(log);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find("Hst_Child_Process::Start: /bin/sh"), std::string::npos) << text;
    EXPECT_NE(text.find("Hst_File_Buffer::Fill_Buffer: count 4 [ abc"), std::string::npos) << text;
    EXPECT_NE(text.find("Hst_Child_Process::Wait: Status: 0"), std::string::npos) << text;
}

TEST(HstFileBuffer, SilentWriterGivesAnEmptyBlockAfterFiveSeconds) {
    process_test::Test_Pipe pipe;
    Hst_File_Buffer buffer(pipe.Read.Get(), 16);
    char block[4];
    long size = 4;
    Fnd_Condition cond;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(buffer.Get_Block(block, size, cond), Hst_File_Buffer::Read_Ok);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(4900));
    EXPECT_EQ(size, 0);
}

TEST(HstFileBuffer, LineScanAndStatuses) {
    process_test::Test_Pipe pipe(O_NONBLOCK);
    Hst_File_Buffer buffer(pipe.Read.Get(), 4);
    Fnd_Condition cond;
    Fnd_String line(u"old");
    EXPECT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_No_Data);
    ASSERT_EQ(::write(pipe.Write.Get(), "abcdefghij", 10), 10);
    EXPECT_EQ(buffer.Data_Status(true, cond), Hst_File_Buffer::Read_Partial);
    EXPECT_FALSE(buffer.Have_Line());
    ASSERT_EQ(::write(pipe.Write.Get(), "\n\xff\nend", 6), 6);
    EXPECT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
    EXPECT_EQ(Narrow(line), "abcdefghij");
    EXPECT_GE(buffer.Get_Capacity(), 11);
    // A line that does not decode leaves the old value; the buffer moves on.
    EXPECT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
    EXPECT_EQ(Narrow(line), "abcdefghij");
    pipe.Write.Reset();
    EXPECT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
    EXPECT_EQ(Narrow(line), "end");
    EXPECT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Eof);
    const int none[] = {0};
    EXPECT_EQ(Hst_File_Buffer::Block_Until_Is_Readable(none), -1);
}

// Lines of every length around the vector widths, each with its one non-ASCII character
// (valid or not) at every place: the widening of ASCII and the converter must agree, and
// a line that does not decode must leave the previous one untouched. The same line
// object reads them all, as a reader in a loop does: after the first lines, ASCII goes
// the one-pass way, whose last vector also holds bytes of the next line.
TEST(HstFileBuffer, WideningAgreesWithTheConverterAtEveryLengthAndPlace) {
    const std::string tail(40, 't');
    for (const bool valid : {true, false}) {
        for (size_t length = 1; length <= 70; ++length) {
            for (size_t at = 0; at < length; ++at) {
                std::string ascii(length, 'x');
                for (size_t i = 0; i < length; ++i) ascii[i] = static_cast<char>('a' + i % 26);
                std::string mixed = ascii;
                mixed.replace(at, 1, valid ? "\xc3\xa9" : "\xff");
                std::u16string expected(ascii.begin(), ascii.end());
                if (valid) expected[at] = u'\u00e9';
                process_test::Test_Pipe pipe(O_NONBLOCK);
                Hst_File_Buffer buffer(pipe.Read.Get(), 512);
                const std::string all = ascii + "\n" + ascii + "\n" + ascii + "\n" + mixed + "\n" + ascii + "\n" + tail + "\n";
                ASSERT_EQ(::write(pipe.Write.Get(), all.data(), all.size()), static_cast<ssize_t>(all.size()));
                Fnd_Condition cond;
                Fnd_String line;
                for (int i = 0; i < 3; ++i) {
                    ASSERT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
                    ASSERT_EQ(Narrow(line), ascii);
                    ASSERT_EQ(line.Data()[line.Get_Length()], 0);  // terminated at its length
                }
                ASSERT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
                ASSERT_EQ(std::u16string(line.Data(), static_cast<size_t>(line.Get_Length())), expected)
                    << length << " " << at;
                ASSERT_EQ(line.Data()[line.Get_Length()], 0);
                ASSERT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
                ASSERT_EQ(Narrow(line), ascii);
                ASSERT_EQ(line.Data()[line.Get_Length()], 0);
                ASSERT_EQ(buffer.Get_Line(AdCharset::getUTF8Charset(), line, cond), Hst_File_Buffer::Read_Ok);
                ASSERT_EQ(Narrow(line), tail);
            }
        }
    }
}

}  // namespace
