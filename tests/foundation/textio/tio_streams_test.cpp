// The text streams: the destination stack, the input side over a string and over a
// pipe, and golden log lines (pinned clock, UTC) of messages, external lines and
// conditions with subordinates.
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <fcntl.h>

#include "foundation/base/fnd_base_errors.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_switches.h"
#include "foundation/streams/ztconsole.h"
#include "foundation/streams/ztfstream.h"
#include "foundation/textio/tio_streams.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_text.h"

namespace {

// A destination that keeps what it is given and says when it is destroyed.
class Recorder : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Recorder, Tio_Text_Output_Base)
public:
    explicit Recorder(int* Destroyed = nullptr) : Destroyed(Destroyed) {}
    ~Recorder() override {
        if (Destroyed) ++*Destroyed;
    }
    long Do_Put(const Fnd_String& Line, long New_Line) override {
        Written += Text(Line);
        if (New_Line) Written += u"\n";
        return 1;
    }
    std::u16string Written;
    int* Destroyed;
};

TEST(Tio_Output_Stack, DefaultDestinationsAndRedirection) {
    ZTInt_Captured_Fd out(1), err(2);
    Tio_Text_Output_Stream to_out(0), to_err(1);
    EXPECT_EQ(to_out.Stack_Size(), 0);
    EXPECT_EQ(to_out.Put_Line(Fnd_String(u"o")), 1);
    EXPECT_EQ(to_err.Put_Line(Fnd_String(u"e")), 1);
    EXPECT_EQ(to_out.Is_Redirected(), 0);
    EXPECT_EQ(to_out.Stack_Size(), 0);
    EXPECT_EQ(to_err.Is_Redirected(), 1);
    EXPECT_EQ(to_err.Stack_Size(), 1);
    EXPECT_EQ(out.Bytes(), "o\n");
    EXPECT_EQ(err.Bytes(), "e\n");
}

TEST(Tio_Output_Stack, PushPopAndClose) {
    ZTInt_Captured_Fd out(1);
    int destroyed = 0;
    Tio_Text_Output_Stream stream(0);
    Recorder* first = new Recorder(&destroyed);
    stream.Set_Destination(first);
    Recorder* pushed = new Recorder(&destroyed);
    stream.Push_Destination(pushed);
    EXPECT_EQ(stream.Stack_Size(), 2);
    EXPECT_EQ(stream.Is_Redirected(), 1);
    stream << u"n=" << 42L << Fnd_Char(u'!');
    EXPECT_EQ(pushed->Written, u"n=42!");
    stream.Pop_Destination();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(stream.Get_Destination(), first);
    EXPECT_EQ(stream.Stack_Size(), 1);
    // No stack left: a pop leaves no destination; the next write makes the default.
    stream.Pop_Destination();
    EXPECT_EQ(destroyed, 2);
    EXPECT_EQ(stream.Stack_Size(), 0);
    EXPECT_EQ(stream.Is_Redirected(), 0);
    stream.Put_Line(Fnd_String(u"console"));
    EXPECT_EQ(out.Bytes(), "console\n");
    stream.Push_Destination(new Recorder(&destroyed));
    stream.Push_Destination(new Recorder(&destroyed));
    EXPECT_EQ(stream.Stack_Size(), 3);
    stream.Close_Destinations();
    EXPECT_EQ(destroyed, 4);
    EXPECT_EQ(stream.Stack_Size(), 0);
}

TEST(Tio_Output_Stack, TraceLinesAtLevelThree) {
    ZTInt_Captured_Fd out(1);
    Tio_Text_Output_Stream stream(0);
    Tio_Text_Output_Stream::trace = 3;
    stream.Push_Destination(new Recorder());
    stream.Put(Fnd_String(u"x"));
    stream.Pop_Destination();
    stream.Close_Destinations();
    Tio_Text_Output_Stream::trace = 0;
    EXPECT_EQ(out.Bytes(),
              "==> Tio_Text_Output_Stream:  Push_Destination Recorder\n"
              "==> Tio_Text_Output_Stream:  Do_Put x\n"
              "==> Tio_Text_Output_Stream:  Pop_Destination newtop: null\n"
              "==> Tio_Text_Output_Stream:  Close_Destinations\n");
}

// A destination that says on standard error that it was destroyed.
class Loud : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Loud, Tio_Text_Output_Base)
public:
    ~Loud() override { (void)!write(2, "closed\n", 7); }
    long Do_Put(const Fnd_String&, long) override { return 1; }
};

TEST(Tio_Output_Stack, TerminateClosesEveryDestination) {
    // The exit handler runs before the static streams are destroyed: the destinations
    // must be gone before it.
    EXPECT_EXIT(
        {
            std::atexit([] { (void)!write(2, "exit\n", 5); });
            Tio_Err.Push_Destination(new Loud());
            Tio_Err.Push_Destination(new Loud());
            Tio_In.Set_Source(new Tio_Text_String_Input(u"x"));
            Hst_Processes::Terminate(3);
        },
        ::testing::ExitedWithCode(3), "^closed\nclosed\nexit\n$");
}

TEST(Tio_Output_Stack, NewLineCounts) {
    Recorder recorder;
    EXPECT_EQ(recorder.New_Line(0), 0);
    EXPECT_EQ(recorder.Written, u"");
    EXPECT_EQ(recorder.New_Line(3), 1);
    EXPECT_EQ(recorder.Written, u"\n\n\n");
}

TEST(Tio_Input, StringSource) {
    Tio_Text_Input_Stream in;
    in.Set_Source(new Tio_Text_String_Input(u"first\n\nabc"));
    EXPECT_EQ(Text(in.Get_Line()), u"first");
    Fnd_String line(u"stale");
    EXPECT_EQ(in.Get_Line(line), 1);
    EXPECT_EQ(Text(line), u"");
    EXPECT_EQ(in.Get().Unit, u'a');
    Fnd_String two(u"..");
    in >> two;
    EXPECT_EQ(Text(two), u"bc");
    Fnd_Char none(u'x');
    EXPECT_EQ(in.Get(none), 0);
    EXPECT_EQ(none.Unit, 0);
    EXPECT_EQ(in.Get_Line(line), 0);
}

TEST(Tio_Input, PipeSourceDecodesUtf8) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string bytes = "h\xC3\xA9llo\nw\xC3\xB6rld \xF0\x9D\x84\x9E\xFF!";
    ASSERT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(ends[1]);
    Tio_In.Set_Source(new Tio_Text_Descriptor_Input(ends[0]));
    EXPECT_EQ(Text(Tio_In.Get_Line()), u"h\u00e9llo");
    EXPECT_EQ(Text(Tio_In.Get(8)), u"w\u00f6rld \U0001D11E");
    EXPECT_EQ(Text(Tio_In.Get_Line()), u"\uFFFD!");
    EXPECT_EQ(Tio_In.Get().Unit, 0);
    Fnd_Condition condition;
    Tio_In.Transfer_Input_Condition(condition);
    EXPECT_FALSE(condition.Failed());
    Tio_In.Set_Source(nullptr);
    close(ends[0]);
}

TEST(Tio_Input, ReadFailureIsACondition) {
    Tio_Text_Descriptor_Input in(-1);
    Fnd_String text;
    EXPECT_EQ(in.Get_Line(text), 0);
    EXPECT_TRUE(in.Input_Condition.Failed());
}

TEST(Hst_Stream_Descriptor, OnlyFileStreamsHaveOne) {
    ZTInt_Temp_Dir dir;
    const std::u16string name(dir.Path.begin(), dir.Path.end());
    ztofstream out((name + u"/f").c_str(), std::ios_base::out);
    ASSERT_TRUE(out.is_open());
    const int descriptor = Hst_Get_File_Descriptor_From_OStream(out);
    EXPECT_GT(descriptor, 2);
    EXPECT_EQ(fcntl(descriptor, F_GETFD) >= 0, true);
    ztifstream in((name + u"/f").c_str(), std::ios_base::in);
    EXPECT_GT(Hst_Get_File_Descriptor_From_IStream(in), 2);
    EXPECT_EQ(Hst_Get_File_Descriptor_From_OStream(get_ztcout()), -1);
    out.close();
    EXPECT_EQ(Hst_Get_File_Descriptor_From_OStream(out), -1);
}

// ---- The log stream
Hst_Timestamp Pinned_Clock() { return Hst_Timestamp(1700000000); }  // 22:13:20 UTC

class Tio_Log_Test : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        Tio_Log_Policy::Set_Clock(Pinned_Clock);
        Saved = new Tio_Log_Policy(Tio_Log.Policy());
        Tio_Out.Push_Destination(Output = new Recorder());
    }
    void TearDown() override {
        Tio_Out.Pop_Destination();
        Tio_Log.Set_Policy(*Saved);
        delete Saved;
        Tio_Log_Policy::Set_Clock(nullptr);
    }
    Recorder* Output = nullptr;
    Tio_Log_Policy* Saved = nullptr;
};

TEST_F(Tio_Log_Test, SeveralLinesGetAFullPrefixThenSubPrefixes) {
    Tio_Log.Put_Line(Fnd_Error_Msg, Fnd_String(u"first\nsecond"));
    const std::u16string continuation =
        Text(Fnd_Message_Kind::Kind_Image(Fnd_Continuation_Msg));
    EXPECT_EQ(Output->Written, u"22:13:20 *** first\n22:13:20" +
                                   (continuation.empty() ? u"" : u" " + continuation) +
                                   u" second\n");
}

TEST_F(Tio_Log_Test, ExternalLineTakesItsCanonicalKind) {
    Fnd_Message_Kinds found = Fnd_Unknown_Kind_Msg;
    const Fnd_String line = Fnd_Message_Kind::Canonical_Kind_Image(Fnd_Error_Msg) + u" boom";
    Tio_Log.Put_External(line, Fnd_Note_Msg, found);
    EXPECT_EQ(found, Fnd_Error_Msg);
    Tio_Log.Put_External(Fnd_String(u"plain"), Fnd_Text_Msg, found);
    EXPECT_EQ(found, Fnd_Text_Msg);
    EXPECT_EQ(Output->Written, u"22:13:20 *** boom\nplain\n");
}

TEST_F(Tio_Log_Test, ConditionWithoutErrorPrintsItsSubordinatesUnindented) {
    Fnd_Condition deeper(Fnd_Assertion_Message(206, u"B"));
    Fnd_Condition first(Fnd_Assertion_Message(206, u"A"));
    first.Add_Subordinate(deeper, 0, 0);
    Fnd_Condition top;
    top.Add_Subordinate(first, 0, 0);
    Tio_Log.Put_Condition(top, Fnd_Detail_Normal, 0);
    EXPECT_EQ(Output->Written,
              u"22:13:20 *** objects of class A cannot be compared\n"
              u"22:13:20 ***         objects of class B cannot be compared\n");
    Output->Written.clear();
    Tio_Log.Put_Condition(Fnd_Condition(), Fnd_Detail_Normal, 1);
    EXPECT_EQ(Output->Written, u"");
}

TEST_F(Tio_Log_Test, AKindWithoutFilterCostsNoTime) {
    int reads = 0;
    static int* counter = nullptr;
    counter = &reads;
    Tio_Log_Policy::Set_Clock([] {
        ++*counter;
        return Hst_Timestamp(0);
    });
    Tio_Log_Policy policy(1, 0);
    policy.Set_Filter(Fnd_Warning_Msg, 0, 0, 0);
    Tio_Log.Set_Policy(policy);
    Tio_Log.Put_Line(Fnd_Warning_Msg, Fnd_String(u"dropped"));
    EXPECT_EQ(reads, 0);
    EXPECT_EQ(Output->Written, u"");
}

TEST_F(Tio_Log_Test, ReactionLogsItsMessageOnce) {
    Tio_Log_Policy policy(1, 0);
    policy.Set_Reaction(Fnd_Error_Msg, Reaction_Cancel);
    Tio_Log.Set_Policy(policy);
    Tio_Log.Put_Line(Fnd_Error_Msg, Fnd_String(u"bad"));
    // The line, then the cancel message (which, an error itself, does not react again).
    ASSERT_EQ(Output->Written.rfind(u"22:13:20 *** bad\n", 0), 0u);
    const std::u16string rest = Output->Written.substr(17);
    EXPECT_FALSE(rest.empty());
    EXPECT_EQ(std::count(rest.begin(), rest.end(), u'\n'), 1);
}

}  // namespace
