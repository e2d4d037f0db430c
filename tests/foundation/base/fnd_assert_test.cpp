// Assertions: the output ladder down to abort, the last-resort output, the thread layer.
#include "foundation/base/fnd_assert.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assertion_error.h"
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_thread.h"
#include "foundation/textio/tio_log_policy.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

// Before the foundation's statics are up: a constructor that runs ahead of them fails
// when the test below asks for it through the environment.
struct Early_Failure {
    Early_Failure() {
        if (std::getenv("ZT_TEST_EARLY_ASSERT") != nullptr) Fnd_Assert(0, u"early failure");
    }
};
__attribute__((init_priority(101))) Early_Failure Early;

// A message whose placeholder "x" fails at the levels from Fail_From up.
class Fragile_Message : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fragile_Message, Fnd_Message)
public:
    explicit Fragile_Message(long Fail_From) : Fail_From(Fail_From) {}
    Fragile_Message(const Fragile_Message&) = default;
    const Fnd_String& Subsystem_Name() const override {
        static const Fnd_String* name = new Fnd_String(u"Probe");
        return *name;
    }
    long Class_Number() const override { return 7; }
    long Text_Number() const override { return 1; }
    Fnd_String Info(const Fnd_String&, const Fnd_Message_Detail_Level Level) const override {
        Fnd_Assert(Level < Fail_From, u"nested failure");
        return Level == Fnd_Detail_Alternate ? Fnd_String(u"alternate") : Fnd_String(u"normal");
    }
    long Fail_From;
};

class Assert_Test : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Use_Catalogs(Shipped_Catalogs());
    }
};

long Maker_Calls = 0;
const auto Aborted = ::testing::KilledBySignal(SIGABRT);

// The one line a failed assertion leaves on standard error.
std::string Internal(const std::string& Text) {
    return "^\\*\\*\\* internal error: " + Text + "\n$";
}

// Reads a pipe to its end and closes it.
std::string Drain(int Fd) {
    std::string text;
    char buffer[512];
    for (ssize_t n; (n = read(Fd, buffer, sizeof buffer)) > 0;) text.append(buffer, n);
    close(Fd);
    return text;
}

const Fnd_Message& Make_Reason() {
    ++Maker_Calls;
    static Fnd_Array_Range_Error reason(1, 2, 3);
    return reason;
}

}  // namespace

// ---- Passing assertions

TEST_F(Assert_Test, APassingAssertionTouchesNothing) {
    Fnd_Assert(1, static_cast<const Code_Unit*>(nullptr));
    Fnd_Assert(1, Fnd_String::Null);
    Fnd_Assert(1, Fnd_Array_Range_Error(0, 1, 2), Fnd_String::Null);
    Maker_Calls = 0;
    Fnd_Assert(1, &Make_Reason, Fnd_String::Null);
    EXPECT_EQ(Maker_Calls, 0);
    Fnd_Assert_Statics_Initialized();
}

// ---- The ladder

TEST_F(Assert_Test, AFailureWritesItsTextToStandardErrorAndAborts) {
    EXPECT_EXIT(Fnd_Assert(0, Fnd_Array_Range_Error(0, 3, 7), Fnd_String::Null), Aborted,
                Internal("the index 7 is outside the range 0 to 3"));
    EXPECT_EXIT(Fnd_Assert(0, u"plain context"), Aborted, Internal("plain context"));
    EXPECT_EXIT(Fnd_Assert(0, &Make_Reason, Fnd_String::Null), Aborted,
                Internal("the index 3 is outside the range 1 to 2"));
}

TEST_F(Assert_Test, AFailureGoesToTheLogStreamBeforeStandardError) {
    // Standard output, where the log stream writes, joins standard error in the child.
    // The log line carries the time (pinned: 22:13:20 UTC), the last resort does not.
    EXPECT_EXIT(
        {
            dup2(2, 1);
            Tio_Log_Policy::Set_Clock([] { return Hst_Timestamp(1700000000); });
            Fnd_Assert(0, u"logged");
        },
        Aborted,
        "^22:13:20 \\*\\*\\* internal error: logged\n\\*\\*\\* internal error: logged\n$");
}

TEST_F(Assert_Test, WithoutCatalogAnAssertionPrintsOnlyItsKind) {
    Catalog_Directory empty;
    empty.Use();
    EXPECT_EXIT(Fnd_Assert(0, u"unseen"), Aborted, "^\\*\\*\\* \n$");
}

TEST_F(Assert_Test, AFailureWhileReportingFallsBackOnTheAlternateText) {
    Catalog_Directory catalogs;
    catalogs.Add("Base", "root", R"("1_0" { :int { 9 }, "failed: <r>", "alt failed: <r>" })");
    catalogs.Add("Probe", "root", R"("7_1" { :int { 9 }, "<x>", "<x>" })");
    catalogs.Use();
    // The streams and the direct normal text both fail; the alternate text goes out.
    EXPECT_EXIT(Fnd_Assert(0, Fragile_Message(Fnd_Detail_Normal), Fnd_String::Null), Aborted,
                "^\\*\\*\\* alt failed: alternate\n$");
    // When the alternate text fails too, the bare key is what remains.
    EXPECT_EXIT(Fnd_Assert(0, Fragile_Message(Fnd_Detail_Alternate), Fnd_String::Null), Aborted,
                "^\\*\\*\\* Base.Fnd_Assertion_Error.0\n$");
}

TEST_F(Assert_Test, AFailureBeforeTheStaticsAreUpWritesOneLineAndNothingElse) {
    int out[2], err[2];
    ASSERT_EQ(pipe(out), 0);
    ASSERT_EQ(pipe(err), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    posix_spawn_file_actions_adddup2(&actions, err[1], 2);
    setenv("ZT_TEST_EARLY_ASSERT", "1", 1);
    char program[] = "/proc/self/exe";
    char* argv[] = {program, nullptr};
    pid_t child = 0;
    ASSERT_EQ(posix_spawn(&child, program, &actions, nullptr, argv, environ), 0);
    unsetenv("ZT_TEST_EARLY_ASSERT");
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    const std::string standard_output = Drain(out[0]);
    const std::string standard_error = Drain(err[0]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    EXPECT_EQ(standard_error, "*** internal error: early failure\n");
    EXPECT_EQ(standard_output, "");
}

TEST_F(Assert_Test, OutOfRangeKindsAreAssertions) {
    Fnd_Message_Kind::Check_Kind(Fnd_Result_Msg);
    EXPECT_EXIT(Fnd_Message_Kind::Check_Kind(Fnd_Message_Kinds_Last), Aborted,
                Internal("a message kind is out of range"));
}

// ---- The last-resort output

namespace {

// What Emit_Assertion writes to descriptor 2.
std::string Emitted(const Fnd_String& Text) {
    int captured[2];
    EXPECT_EQ(pipe(captured), 0);
    const int saved = dup(2);
    dup2(captured[1], 2);
    Emit_Assertion(Text);
    dup2(saved, 2);
    close(saved);
    close(captured[1]);
    return Drain(captured[0]);
}

}  // namespace

TEST(Emit_Assertion, WritesTheTextAndANewlineEvenWhenTheTextCannotConvert) {
    EXPECT_EQ(Emitted(u"plain \u00e9"), "plain \xc3\xa9\n");
    const Code_Unit lone_surrogate[] = {u'a', 0xD800, u'b', 0};
    EXPECT_EQ(Emitted(lone_surrogate), "\n");
    EXPECT_EQ(Emitted(Fnd_String()), "\n");
}

// ---- Threads and locks of the single-threaded configuration

namespace {
void* Unused_Thread(void*) { return nullptr; }
}  // namespace

TEST(Thread_Layer, ThreadsDoNotRunAndLocksDoNotWait) {
    int argument = 0;
    Fnd_Thread thread(&Unused_Thread, &argument);
    EXPECT_EQ(thread.Run(), -1);
    EXPECT_EQ(thread.Is_Thread_Alive(), 0);
    EXPECT_EQ(Fnd_Thread::Get_Current_ThreadId(), 0);
    EXPECT_EQ(Fnd_Thread::Get_Stack_Used(), -1);

    Fnd_Semaphore semaphore(0, 1, 0);
    EXPECT_EQ(semaphore.Wait_With_Timeout(1000000), 0);
    Fnd_Recursive_Semaphore recursive(0);
    EXPECT_EQ(recursive.Wait_With_Timeout(1000000), 0);

    static Fnd_Recursive_Semaphore* slot = nullptr;
    {
        Fnd_Recursive_Semaphore_Guard outer(slot, 0);
        ASSERT_NE(slot, nullptr);
        Fnd_Recursive_Semaphore* first = slot;
        Fnd_Recursive_Semaphore_Guard inner(slot, 0);
        EXPECT_EQ(slot, first);
    }
    static Fnd_Semaphore* plain = nullptr;
    { Fnd_Semaphore_Guard guard(plain, 1, 1, 0); }
    EXPECT_NE(plain, nullptr);
}

TEST_F(Assert_Test, AThreadWithoutFunctionIsAnAssertion) {
    EXPECT_EXIT(Fnd_Thread(), Aborted, Internal("FND_NO_THREADS"));
}
