// Starting programs and functions in children, by fork and by vfork.
#include "foundation/host/hst_process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <set>
#include <sstream>
#include <vector>

#include "foundation/host/hst_socket.h"
#include "tests/foundation/host/hst_process_test_support.h"
#include "tests/support/ztint_captured_fd.h"

using namespace process_test;
using message_test::Narrow;
using message_test::Wide;

namespace {

class Hst_Process_Test : public Host_Test {};

// The result of one Run.
struct Outcome {
    long Ok = -1;
    long Pid = -1;
    int Exit_Status = -1;
    Fnd_Condition Condition;
};

struct Options {
    const Code_Unit* const* Envp = nullptr;
    const Code_Unit* Work_Dir = nullptr;
    int In = -1, Out = -1, Err = -1;
    long Wait = 1;
    Hst_Pre_Exec_Function Pre_Exec = nullptr;
    void* Data = nullptr;
    long New_Group = 0;
    long Use_Vfork = 0;
    long Limit = Hst_Process::No_Wait_Limit;
};

Outcome Start(const Code_Unit* const* Argv, const Options& With = Options()) {
    Outcome outcome;
    outcome.Ok = Hst_Process::Run(Argv, With.Envp, With.Work_Dir, outcome.Pid,
                                  outcome.Exit_Status, outcome.Condition, With.In, With.Out,
                                  With.Err, With.Wait, With.Pre_Exec, With.Data, With.New_Group,
                                  With.Use_Vfork, With.Limit);
    return outcome;
}

// What Run gave back but the pid: "ok 1 status 3", and " failed" when the condition did.
std::string Brief(const Outcome& Result) {
    return "ok " + std::to_string(Result.Ok) + " status " + std::to_string(Result.Exit_Status) +
           (Result.Condition.Failed() ? " failed" : "");
}

// Runs Argv with the child's output (and error, unless Err is given) into a pipe, and
// gives back what came out.
std::string Output_Of(const Code_Unit* const* Argv, Options With, Outcome* Result = nullptr) {
    Test_Pipe pipe(O_CLOEXEC);
    With.Out = pipe.Write.Get();
    if (With.Err == -1) With.Err = pipe.Write.Get();
    Outcome outcome = Start(Argv, With);
    pipe.Write.Reset();
    if (Result) *Result = outcome;
    return Read_All(pipe.Read.Get());
}

// Runs /bin/sh -c Script.
Outcome Shell(const char* Script, const Options& With = Options()) {
    const Fnd_String script = Wide(Script);
    const Code_Unit* argv[] = {u"/bin/sh", u"-c", script.Data(), nullptr};
    return Start(argv, With);
}

std::string Shell_Output(const char* Script, Options With, Outcome* Result = nullptr) {
    const Fnd_String script = Wide(Script);
    const Code_Unit* argv[] = {u"/bin/sh", u"-c", script.Data(), nullptr};
    return Output_Of(argv, With, Result);
}

// Calls Done every millisecond until it is true or 20 seconds have passed.
template <class Check>
void Poll(Check Done) {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!Done() && std::chrono::steady_clock::now() < give_up) ::usleep(1000);
}

// The descriptors above 2 that the shell running the test script holds, found without
// opening any: test -e on its own /proc entries.
const char* const List_Descriptors =
    "for n in 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24 25 26 27 28 29 30;"
    " do [ -e /proc/$$/fd/$n ] && echo $n; done; true";

std::set<int> Numbers(const std::string& Text) {
    std::set<int> numbers;
    std::istringstream in(Text);
    int n;
    while (in >> n) numbers.insert(n);
    return numbers;
}

std::set<int> Inheritable_Descriptors() {
    std::set<int> open;
    for (int fd = 3; fd <= 30; ++fd) {
        const int flags = ::fcntl(fd, F_GETFD);
        if (flags >= 0 && !(flags & FD_CLOEXEC)) open.insert(fd);
    }
    return open;
}

void Failing_Hook(void*, Fnd_Condition& Condition) {
    Condition.Set_Error(Hst_Sys_Call_Error(21, ENOENT, Fnd_String(u"/hook/dir"),
                                           Fnd_String::Null, Hst_Filesystem::Hst_Open_None),
                        1);
}

void Exporting_Hook(void* Data, Fnd_Condition& Condition) {
    Condition.Clear();
    ::setenv("HOOKED", static_cast<const char*>(Data), 1);
}

// Fork stand-ins that fail as the list says, then fork for real.
std::vector<int> fork_errors;
std::vector<long> sleeps;
pid_t Scripted_Fork() {
    if (fork_errors.empty()) return ::fork();
    errno = fork_errors.front();
    fork_errors.erase(fork_errors.begin());
    return -1;
}
void Recorded_Sleep(long Seconds) { sleeps.push_back(Seconds); }

struct Fork_Hooks {
    Fork_Hooks(std::vector<int> Errors) {
        fork_errors = std::move(Errors);
        sleeps.clear();
        Hst_Process::Set_Fork_Hooks(Scripted_Fork, Recorded_Sleep);
    }
    ~Fork_Hooks() { Hst_Process::Set_Fork_Hooks(nullptr, nullptr); }
};

}  // namespace

// ---- Ends of a program

TEST_F(Hst_Process_Test, AnExitCodeIsTheStatusASignalOrNoProgramAFailure) {
    for (long vfork : {0L, 1L}) {
        Outcome outcome = Shell("exit 3", {.Use_Vfork = vfork});
        EXPECT_EQ(Brief(outcome), "ok 1 status 3") << Text_Of(outcome.Condition);
        EXPECT_EQ(outcome.Pid, 0);
    }
    // PATH is searched for a bare name.
    const Code_Unit* bare[] = {u"sh", u"-c", u"exit 0", nullptr};
    Outcome outcome = Start(bare);
    EXPECT_EQ(Brief(outcome), "ok 1 status 0");

    outcome = Shell("kill -9 $$");
    EXPECT_EQ(Brief(outcome), "ok 0 status 9 failed");
    EXPECT_EQ(outcome.Pid, 0);
    const Hst_Process_Error* top = Hst_Process_Error::Convert(outcome.Condition.Get_Error());
    ASSERT_NE(top, nullptr) << Text_Of(outcome.Condition);
    EXPECT_EQ(top->Text_Number(), 5);
    EXPECT_EQ(Text_Of(outcome.Condition),
              "the program /bin/sh failed\nthe child process ended by signal 9");

    outcome = Start(nullptr);
    EXPECT_EQ(outcome.Ok, 0);
    top = Hst_Process_Error::Convert(outcome.Condition.Get_Error());
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->Text_Number(), 1);
    EXPECT_EQ(Text_Of(outcome.Condition), "no program was given to run");
}

TEST_F(Hst_Process_Test, AMissingProgramEndsTheChildWithErrnoAfterVforkTheParentHears) {
    const Code_Unit* argv[] = {u"/no/such/program", nullptr};
    const std::string text =
        "cannot run the program /no/such/program: " + std::string(strerror(ENOENT));
    // After fork the parent learns it from the exit status alone; the child writes one line
    // through the log stream, with the prefix of an error, and the condition on its error stream.
    Outcome outcome;
    const std::string said = Output_Of(argv, Options(), &outcome);
    EXPECT_EQ(Brief(outcome), "ok 1 status " + std::to_string(ENOENT))
        << Text_Of(outcome.Condition);
    EXPECT_NE(said.find("*** " + text + "\n"), std::string::npos) << said;
    EXPECT_NE(said.find("\n" + text + "\n"), std::string::npos) << said;

    Options with{.Use_Vfork = 1};
    outcome = Start(argv, with);
    EXPECT_EQ(Brief(outcome), "ok 0 status " + std::to_string(ENOENT) + " failed");
    EXPECT_EQ(Sys_Error(outcome.Condition), Sys(161, ENOENT));
    EXPECT_EQ(Text_Of(outcome.Condition), "the program /no/such/program failed\n" + text);

    // Without a wait the failure is there all the same, and no child is left.
    with.Wait = 0;
    outcome = Start(argv, with);
    EXPECT_EQ(outcome.Ok, 0);
    ASSERT_NE(Sys_Call_Error_In(outcome.Condition), nullptr);
    EXPECT_GT(outcome.Pid, 0);
    int status = -1, signaled = -1;
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Process::Wait(outcome.Pid, status, signaled, cond), 1);
    EXPECT_EQ(status, ENOENT);
}

TEST_F(Hst_Process_Test, AHookRunsInTheChildBeforeExecAndAFailingOneEndsItWith255) {
    Options with{.Pre_Exec = Exporting_Hook, .Data = const_cast<char*>("from the hook")};
    Outcome outcome;
    EXPECT_EQ(Shell_Output("echo \"$HOOKED\"", with, &outcome), "from the hook\n");
    EXPECT_FALSE(outcome.Condition.Failed());
    EXPECT_EQ(getenv("HOOKED"), nullptr);

    with = {.Pre_Exec = Failing_Hook, .Use_Vfork = 1};  // the hook rules vfork out
    const std::string said = Shell_Output("echo ran", with, &outcome);
    EXPECT_EQ(Brief(outcome), "ok 1 status 255");
    EXPECT_EQ(said.find("ran"), std::string::npos);
    EXPECT_NE(said.find("cannot change the working directory to /hook/dir"), std::string::npos)
        << said;
}

// ---- The child's setting

TEST_F(Hst_Process_Test, TheStandardDescriptorsAreRedirected) {
    for (long vfork : {0L, 1L}) {
        SCOPED_TRACE(vfork);
        Test_Pipe out(O_CLOEXEC), err(O_CLOEXEC), in(O_CLOEXEC);
        ASSERT_EQ(::write(in.Write.Get(), "hello\n", 6), 6);
        in.Write.Reset();
        Outcome outcome = Shell("read x; echo out:$x; echo err:$x >&2",
                                {.In = in.Read.Get(), .Out = out.Write.Get(),
                                 .Err = err.Write.Get(), .Use_Vfork = vfork});
        EXPECT_EQ(Brief(outcome), "ok 1 status 0") << Text_Of(outcome.Condition);
        out.Write.Reset();
        err.Write.Reset();
        EXPECT_EQ(Read_All(out.Read.Get()), "out:hello\n");
        EXPECT_EQ(Read_All(err.Read.Get()), "err:hello\n");
        // The parent's descriptors are its own still.
        EXPECT_GE(::fcntl(in.Read.Get(), F_GETFD), 0);
        // One descriptor for output and error serves both.
        EXPECT_EQ(Shell_Output("echo a; echo b >&2; echo c", {.Use_Vfork = vfork}), "a\nb\nc\n");
    }
}

TEST_F(Hst_Process_Test, StandardDescriptorsLeftAloneSurviveExecEvenWhenCloseOnExec) {
    Outcome fork_outcome, vfork_outcome;
    bool parent_flag = false;
    std::string written;
    {
        ZTInt_Captured_Fd out(1);
        ASSERT_EQ(::fcntl(1, F_SETFD, FD_CLOEXEC), 0);
        fork_outcome = Shell("echo inherited");
        vfork_outcome = Shell("echo inherited", {.Use_Vfork = 1});
        // The parent's own flag is untouched: only the child cleared it.
        parent_flag = Close_On_Exec(1);
        written = out.Bytes();
    }
    EXPECT_TRUE(parent_flag);
    EXPECT_EQ(fork_outcome.Exit_Status, 0);
    EXPECT_EQ(vfork_outcome.Exit_Status, 0);
    EXPECT_EQ(written, "inherited\ninherited\n");
}

TEST_F(Hst_Process_Test, AChildInheritsNoDescriptorOfTheLibrary) {
    Fnd_Condition cond;
    Fd socket(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    int ends[2];
    ASSERT_EQ(Hst_Process::Create_Pipe(ends, cond), 1);
    Fd read_end(ends[0]), write_end(ends[1]);
    const std::set<int> library = {socket.Get(), ends[0], ends[1]};
    ASSERT_LT(*library.rbegin(), 30);

    for (long vfork : {0L, 1L}) {
        SCOPED_TRACE(vfork);
        const std::set<int> allowed = Inheritable_Descriptors();
        Outcome outcome;
        const std::set<int> held =
            Numbers(Shell_Output(List_Descriptors, {.Use_Vfork = vfork}, &outcome));
        EXPECT_EQ(outcome.Exit_Status, 0);
        for (int fd : held) {
            EXPECT_TRUE(allowed.count(fd)) << "the child holds descriptor " << fd;
            EXPECT_FALSE(library.count(fd)) << "the child holds descriptor " << fd;
        }
    }
}

TEST_F(Hst_Process_Test, EnvironmentAndWorkingDirectoryAreTheChildsOwnAndMustExist) {
    Temp_Dir dir;
    const Fnd_String work_dir = Wide(dir.Path);
    const Code_Unit* envp[] = {u"ZT_PROBE=in the child", u"PATH=/bin:/usr/bin", nullptr};
    Options with{.Envp = envp, .Work_Dir = work_dir.Data()};
    Outcome outcome;
    EXPECT_EQ(Shell_Output("echo \"$ZT_PROBE\"; pwd; echo \"${HOME-unset}\"", with, &outcome),
              "in the child\n" + dir.Path + "\nunset\n");
    EXPECT_FALSE(outcome.Condition.Failed());
    EXPECT_EQ(getenv("ZT_PROBE"), nullptr);
    // The same directory with vfork.
    EXPECT_EQ(Shell_Output("pwd", {.Work_Dir = work_dir.Data(), .Use_Vfork = 1}), dir.Path + "\n");

    // A missing directory stops the child before its descriptors are redirected: it reports
    // on the streams it inherited, here files that stand in for the test's own.
    const Fnd_String missing = Wide("/no/such/dir");
    with = {.Work_Dir = missing.Data()};
    std::string said, reported;
    {
        ZTInt_Captured_Fd out(1), err(2);
        said = Shell_Output("echo ran", with, &outcome);
        reported = out.Bytes() + err.Bytes();
    }
    EXPECT_EQ(Brief(outcome), "ok 1 status 255");
    EXPECT_EQ(said, "");
    EXPECT_NE(reported.find("cannot change the working directory to /no/such/dir: " +
                            std::string(strerror(ENOENT))),
              std::string::npos)
        << reported;

    // After vfork the parent hears of it.
    with.Use_Vfork = 1;
    Shell_Output("echo ran", with, &outcome);
    EXPECT_EQ(outcome.Exit_Status, 255);
    EXPECT_EQ(Sys_Error(outcome.Condition), Sys(21, ENOENT));
}

TEST_F(Hst_Process_Test, ANewGroupIsLedByTheChild) {
    Options with{.New_Group = 1};
    const char* script = "read a b c d e rest < /proc/$$/stat; [ \"$e\" = $$ ] && echo leader";
    EXPECT_EQ(Shell_Output(script, with), "leader\n");
    with.Use_Vfork = 1;
    EXPECT_EQ(Shell_Output(script, with), "leader\n");
    with.New_Group = 0;
    EXPECT_EQ(Shell_Output(script, with), "");
}

TEST_F(Hst_Process_Test, AnArgumentWithoutAFormInTheCharsetEndsTheChildByAssertion) {
    const Code_Unit broken[] = {u'/', u'b', 0xd800, 0};
    const Code_Unit* argv[] = {broken, nullptr};
    Outcome outcome;
    EXPECT_NE(Output_Of(argv, {.Use_Vfork = 1}, &outcome).find("Could not argv[0] cvtFromTchar:"),
              std::string::npos);
    ASSERT_TRUE(outcome.Condition.Failed());
    EXPECT_NE(Text_Of(outcome.Condition).find("ended by signal " + std::to_string(SIGABRT)),
              std::string::npos)
        << Text_Of(outcome.Condition);
}

// ---- Fork attempts

TEST_F(Hst_Process_Test, ShortagesAreRetriedWithGrowingSleepsInterruptionsAtOnceOthersNot) {
    {
        Fork_Hooks hooks(std::vector<int>(20, EAGAIN));
        const Code_Unit* argv[] = {u"/bin/true", nullptr};
        Outcome outcome = Start(argv);
        EXPECT_EQ(outcome.Ok, 0);
        EXPECT_EQ(outcome.Pid, 0);
        EXPECT_EQ(sleeps, (std::vector<long>{1, 1, 1, 2, 2, 2, 3, 3, 3}));
        EXPECT_EQ(fork_errors.size(), 10u);  // ten attempts in all
        EXPECT_EQ(Sys_Error(outcome.Condition), Sys(162, EAGAIN));
        EXPECT_EQ(Text_Of(outcome.Condition),
                  "the program /bin/true failed\ncannot start a process: " +
                      std::string(strerror(EAGAIN)));
    }
    {
        Fork_Hooks hooks({EINTR, EINTR, ENOMEM, EINTR});
        Outcome outcome = Shell("exit 4");
        EXPECT_EQ(Brief(outcome), "ok 1 status 4") << Text_Of(outcome.Condition);
        EXPECT_EQ(sleeps, (std::vector<long>{1}));
    }
    {
        Fork_Hooks hooks({EPERM});
        Outcome outcome = Shell("exit 4");
        EXPECT_TRUE(sleeps.empty());
        EXPECT_EQ(Sys_Error(outcome.Condition), Sys(162, EPERM));
    }
}

// ---- Waiting

TEST_F(Hst_Process_Test, WithoutWaitingTheCallerGetsThePidAndWaitsForItOrAnyChild) {
    Test_Pipe in(O_CLOEXEC);
    Outcome outcome = Shell("read x; exit 5", {.In = in.Read.Get(), .Wait = 0});
    EXPECT_EQ(Brief(outcome), "ok 1 status 0");
    ASSERT_GT(outcome.Pid, 0);

    // Still running: nothing is reported and nothing is changed.
    long pid = outcome.Pid;
    int status = 77, signaled = 77;
    EXPECT_EQ(Hst_Process::Process_Finished(pid, WNOHANG, status, signaled), 0);
    EXPECT_EQ(status, 77);
    EXPECT_EQ(signaled, 77);
    EXPECT_EQ(Hst_Process::Terminated(outcome.Pid, status, signaled), 0);
    long any = -1;
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Process::Wait(any, status, signaled, cond), 0);
    EXPECT_EQ(any, -1);

    in.Write.Reset();  // the child reads its end and exits
    EXPECT_EQ(Hst_Process::Wait(pid, status, signaled, cond), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(status, 5);
    EXPECT_EQ(signaled, 0);
    // Reaped: a second wait fails.
    EXPECT_EQ(Hst_Process::Wait(pid, status, signaled, cond), 0);
    EXPECT_EQ(Sys_Error(cond), Sys(163, ECHILD));

    // Any child is found by waiting for -1.
    outcome = Shell("kill -TERM $$", {.Wait = 0});
    ASSERT_GT(outcome.Pid, 0);
    Poll([&] { return Hst_Process::Wait(any, status, signaled, cond); });
    EXPECT_EQ(any, outcome.Pid);
    EXPECT_EQ(signaled, 1);
    EXPECT_EQ(status, SIGTERM);
}

TEST_F(Hst_Process_Test, AWaitWithALimitKillsAChildThatOutlivesIt) {
    Outcome outcome = Shell("exec sleep 300", {.Limit = 100});
    EXPECT_EQ(outcome.Ok, 0);
    EXPECT_EQ(outcome.Pid, 0);
    EXPECT_EQ(Sys_Error(outcome.Condition), Sys(163, ETIMEDOUT));
    // Killed and reaped: no child is left to wait for.
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);

    // A child that ends in time is waited for as usual.
    EXPECT_EQ(Brief(Shell("exit 6", {.Limit = 10000})), "ok 1 status 6");
}

TEST_F(Hst_Process_Test, AnIgnoredSigchldDoesNotLoseTheExitStatus) {
    struct sigaction ignore {}, host {};
    ignore.sa_handler = SIG_IGN;
    ASSERT_EQ(sigaction(SIGCHLD, &ignore, &host), 0);
    struct Restore {
        struct sigaction Old;
        ~Restore() { sigaction(SIGCHLD, &Old, nullptr); }
    } restore{host};

    Outcome outcome = Shell("exit 3");
    EXPECT_EQ(Brief(outcome), "ok 1 status 3") << Text_Of(outcome.Condition);

    // The program inherits the host's choice: SIGCHLD among its ignored signals.
    const Code_Unit* show[] = {u"grep", u"SigIgn", u"/proc/self/status", nullptr};
    const std::string ignored = Output_Of(show, Options(), &outcome);
    EXPECT_EQ(outcome.Exit_Status, 0);
    ASSERT_EQ(ignored.rfind("SigIgn:\t", 0), 0u) << ignored;
    EXPECT_NE(std::stoull(ignored.substr(8), nullptr, 16) & (1ULL << (SIGCHLD - 1)), 0u)
        << ignored;
    struct sigaction after {};
    sigaction(SIGCHLD, nullptr, &after);
    EXPECT_EQ(after.sa_handler, SIG_IGN);

    // Children reaped by the system count as ended, so polling comes to an end.
    outcome = Shell("exit 0", {.Wait = 0});
    ASSERT_GT(outcome.Pid, 0);
    int status = -1, signaled = -1;
    Poll([&] { return Hst_Process::Terminated(outcome.Pid, status, signaled); });
    EXPECT_EQ(status, 0);
    EXPECT_EQ(signaled, 0);
}

// ---- Functions in a child

namespace {
int Seven(void* Data) {
    const char* text = static_cast<const char*>(Data);
    ssize_t ignored = ::write(1, text, strlen(text));
    (void)ignored;
    return 7;
}
int Die(void*) {
    ::raise(SIGKILL);
    return 0;
}
}  // namespace

TEST_F(Hst_Process_Test, AFunctionRunsInAChildWithRedirectedOutput) {
    Test_Pipe out(O_CLOEXEC);
    int status = -1;
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Process::Call(Seven, const_cast<char*>("called\n"), status, cond, -1,
                                out.Write.Get(), -1, 1, 0),
              1);
    out.Write.Reset();
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(status, 7);
    EXPECT_EQ(Read_All(out.Read.Get()), "called\n");

    EXPECT_EQ(Hst_Process::Call(Die, nullptr, status, cond, -1, -1, -1, 0, 0), 0);
    EXPECT_EQ(status, SIGKILL);
    ASSERT_TRUE(cond.Failed());
    EXPECT_EQ(Text_Of(cond), "the program  failed\nthe child process ended by signal 9");

    long pid = 0;
    EXPECT_EQ(Hst_Process::Call(Seven, const_cast<char*>(""), status, pid, cond, -1, -1, -1, 0,
                                0, 0),
              1);
    ASSERT_GT(pid, 0);
    int signaled = -1;
    EXPECT_EQ(Hst_Process::Wait(pid, status, signaled, cond), 1) << Text_Of(cond);
    EXPECT_EQ(status, 7);
}

// ---- Descriptors

TEST_F(Hst_Process_Test, PipesAreCloseOnExecAndRedirectMovesADescriptorOrClearsItsFlag) {
    int ends[2] = {-1, -1};
    Fnd_Condition cond;
    ASSERT_EQ(Hst_Process::Create_Pipe(ends, cond), 1);
    Fd read_end(ends[0]), write_end(ends[1]);
    EXPECT_TRUE(Close_On_Exec(ends[0]));
    EXPECT_TRUE(Close_On_Exec(ends[1]));
    EXPECT_EQ(Hst_Process::Clear_Exec(ends[0], cond), 1);
    EXPECT_FALSE(Close_On_Exec(ends[0]));
    EXPECT_EQ(Hst_Process::Set_Exec(ends[0], cond), 1);
    EXPECT_TRUE(Close_On_Exec(ends[0]));
    // A closed descriptor is no failure here.
    EXPECT_EQ(Hst_Process::Set_Exec(-1, cond), 1);
    EXPECT_FALSE(cond.Failed());

    // Redirect moves a descriptor or clears its flag.
    Fd target(::dup(ends[1]));
    Test_Pipe other(O_CLOEXEC);
    // other's write end becomes target; the original is closed.
    const int moved = other.Write.Get();
    EXPECT_EQ(Hst_Process::Redirect(target.Get(), moved, cond, 1), 1);
    EXPECT_EQ(::fcntl(moved, F_GETFD), -1);
    ASSERT_EQ(::write(target.Get(), "x", 1), 1);
    char c = 0;
    ASSERT_EQ(::read(other.Read.Get(), &c, 1), 1);
    EXPECT_EQ(c, 'x');
    (void)other.Write.Reset();  // already closed by Redirect; the close fails harmlessly

    ASSERT_EQ(::fcntl(target.Get(), F_SETFD, FD_CLOEXEC), 0);
    EXPECT_EQ(Hst_Process::Redirect(target.Get(), -1, cond, 1), 1);
    EXPECT_FALSE(Close_On_Exec(target.Get()));

    EXPECT_EQ(Hst_Process::Redirect(target.Get(), 1000, cond, 0), 0);
    EXPECT_EQ(Text_Of(cond), "cannot redirect descriptor 1000 to " +
                                 std::to_string(target.Get()) + ": " + strerror(EBADF));
}

TEST_F(Hst_Process_Test, ExecuteProcessReplacesTheProcessOrReportsWhyNot) {
    const Code_Unit* missing[] = {u"/no/such/program", nullptr};
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Process::Execute_Process(cond, missing), 0);
    EXPECT_EQ(Sys_Error(cond), Sys(161, ENOENT));

    const Code_Unit* argv[] = {u"sh", u"-c", u"exit 4", nullptr};
    EXPECT_EXIT(
        {
            Fnd_Condition inner;
            Hst_Process::Execute_Process(inner, argv);
            _exit(99);
        },
        ::testing::ExitedWithCode(4), "");
}
