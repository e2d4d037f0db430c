// The current process: ids, signals, its end, reaping children and the environment.
#include "foundation/host/hst_process.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>

#include <csignal>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/host/hst_errors.h"
#include "foundation/textio/tio_streams.h"
#include "tests/foundation/host/hst_process_test_support.h"

using namespace process_test;
using message_test::Narrow;

extern "C" char** environ;

namespace {

class Hst_Processes_Test : public Host_Test {};

// A child that waits until its pipe closes, or is killed.
struct Sleeper {
    Test_Pipe Hold{O_CLOEXEC};
    long Pid = 0;
    explicit Sleeper(long New_Group = 0) {
        const Code_Unit* argv[] = {u"/bin/sh", u"-c", u"read x", nullptr};
        int status = 0;
        Fnd_Condition cond;
        Hst_Process::Run(argv, nullptr, nullptr, Pid, status, cond, Hold.Read.Get(), -1, -1, 0,
                         nullptr, nullptr, New_Group, 1);
        EXPECT_GT(Pid, 0) << Text_Of(cond);
    }
    // The signal the child ended by, or -1 when it exited.
    int Reap() {
        int status = 0, signaled = 0;
        Fnd_Condition cond;
        Hst_Process::Wait(Pid, status, signaled, cond);
        return signaled ? status : -1;
    }
};

// Starts Count children that end at once, and waits until all have ended, unreaped.
std::vector<long> Ended_Children(int Count) {
    std::vector<long> pids;
    const Code_Unit* argv[] = {u"/bin/true", nullptr};
    for (int i = 0; i < Count; ++i) {
        long pid = 0;
        int status = 0;
        Fnd_Condition cond;
        Hst_Process::Run(argv, nullptr, nullptr, pid, status, cond, -1, -1, -1, 0, nullptr,
                         nullptr, 0, 1);
        pids.push_back(pid);
    }
    for (long pid : pids) {
        siginfo_t info{};
        ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    }
    return pids;
}

long seen_status = -1;
void Veto(int Status, long* Keep_Alive) {
    seen_status = Status;
    *Keep_Alive = 1;
}
void Allow(int Status, long*) { seen_status = Status; }

}  // namespace

TEST_F(Hst_Processes_Test, IdsAndMachineFactsAreThoseOfTheSystem) {
    EXPECT_EQ(Hst_Processes::Process_Id(), getpid());
    EXPECT_EQ(Hst_Processes::Parent_Process_Id(), getppid());
    EXPECT_EQ(Hst_Processes::Process_Group_Id(), getpgrp());
    EXPECT_EQ(Hst_Processes::Process_Group_Id(getpid()), getpgrp());
    utsname system;
    ASSERT_EQ(uname(&system), 0);
    EXPECT_EQ(Narrow(Hst_Processes::Machine_Name()), system.nodename);
    Fnd_String name;
    Hst_Processes::Get_Machine_Name(name);
    EXPECT_EQ(Narrow(name), system.nodename);
    EXPECT_EQ(Hst_Processes::Get_Number_Of_CPUs(), sysconf(_SC_NPROCESSORS_CONF));
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(Hst_Processes::Descriptor_Table_Size(), static_cast<long>(limit.rlim_cur));
}

TEST_F(Hst_Processes_Test, SignalsEndAProcessOrAGroupAndAGoneOneIsQuietOnRequest) {
    Sleeper sleeper;
    EXPECT_TRUE(Hst_Processes::Exists(sleeper.Pid));
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Processes::Terminate_Process(sleeper.Pid, cond, SIGTERM, 0), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(sleeper.Reap(), SIGTERM);
    EXPECT_FALSE(Hst_Processes::Exists(sleeper.Pid));

    EXPECT_EQ(Hst_Processes::Terminate_Process(sleeper.Pid, cond, SIGTERM, 1), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(Hst_Processes::Terminate_Process(sleeper.Pid, cond, SIGTERM, 0), 0);
    EXPECT_EQ(Sys_Error(cond), Sys(166, ESRCH));
    EXPECT_EQ(Text_Of(cond), "cannot send a signal to process " + std::to_string(sleeper.Pid) +
                                 ": " + strerror(ESRCH));

    // A group is signalled as a whole.
    Sleeper leader(1);
    EXPECT_EQ(Hst_Processes::Process_Group_Id(leader.Pid), leader.Pid);
    EXPECT_EQ(Hst_Processes::Terminate_Group(leader.Pid, cond, SIGKILL, 0), 1);
    EXPECT_EQ(leader.Reap(), SIGKILL);
    EXPECT_EQ(Hst_Processes::Terminate_Group(leader.Pid, cond, SIGKILL, 1), 1);
    EXPECT_EQ(Hst_Processes::Terminate_Group(leader.Pid, cond, SIGKILL, 0), 0);
    EXPECT_TRUE(Hst_Sys_Call_Error::Is_Errno(cond, ESRCH));
    // A negative group does nothing; this process is unharmed.
    cond.Set_Error(Hst_Sys_Call_Error(166, 1), 1);
    EXPECT_EQ(Hst_Processes::Terminate_Group(-1, cond, SIGKILL, 0), 1);
    EXPECT_FALSE(cond.Failed());
}

TEST_F(Hst_Processes_Test, PrioritiesAreReadAndSet) {
    Sleeper sleeper;
    Fnd_Condition cond;
    const long before = Hst_Processes::Get_Priority(sleeper.Pid);
    EXPECT_EQ(Hst_Processes::Set_Priority(sleeper.Pid, before + 1, cond), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(Hst_Processes::Get_Priority(sleeper.Pid), before + 1);
    sleeper.Hold.Write.Reset();
    sleeper.Reap();
    EXPECT_EQ(Hst_Processes::Set_Priority(sleeper.Pid, 1, cond), 0);
    EXPECT_EQ(Sys_Error(cond), Sys(168, ESRCH));
}

TEST_F(Hst_Processes_Test, TerminateAsksTheHookWhichMayVeto) {
    Tio_Text_Output_Base* out = Tio_Out.Get_Destination();
    Tio_Text_Output_Base* err = Tio_Err.Get_Destination();
    Hst_Processes::pre_terminate = Veto;
    Hst_Processes::Terminate(3);
    Hst_Processes::pre_terminate = nullptr;
    EXPECT_EQ(seen_status, 3);
    // Nothing was closed.
    EXPECT_EQ(Tio_Out.Get_Destination(), out);
    EXPECT_EQ(Tio_Err.Get_Destination(), err);

    EXPECT_EXIT(
        {
            Hst_Processes::pre_terminate = Allow;
            Hst_Processes::Terminate(5);
        },
        ::testing::ExitedWithCode(5), "");
    EXPECT_EXIT(Hst_Processes::Terminate(6), ::testing::ExitedWithCode(6), "");
}

TEST_F(Hst_Processes_Test, ReapingTakesAtMostFiveChildrenAPass) {
    ASSERT_EQ(Hst_Processes::Wait_For_Any_Children(), 0);  // no children: ECHILD
    Ended_Children(7);
    EXPECT_EQ(Hst_Processes::Wait_For_Any_Children(), 5);
    EXPECT_EQ(Hst_Processes::Wait_For_Any_Children(), 2);
    EXPECT_EQ(Hst_Processes::Wait_For_Any_Children(), 0);

    // A child still running stops the pass without a wait.
    Sleeper sleeper;
    Ended_Children(1);
    EXPECT_EQ(Hst_Processes::Wait_For_Any_Children(), 1);
    EXPECT_TRUE(Hst_Processes::Exists(sleeper.Pid));
    sleeper.Hold.Write.Reset();
    EXPECT_EQ(sleeper.Reap(), -1);
}

TEST_F(Hst_Processes_Test, SwappingTheEnvironmentGivesBackThePreviousOne) {
    ::setenv("ZT_SWAP_PROBE", "before", 1);
    const Code_Unit* fresh[] = {u"ZT_SWAP_PROBE=after", u"ONLY_HERE=1", nullptr};
    const Code_Unit* const* previous = Hst_Processes::Swap_Environment(fresh);
    EXPECT_STREQ(getenv("ZT_SWAP_PROBE"), "after");
    EXPECT_STREQ(getenv("ONLY_HERE"), "1");
    EXPECT_EQ(getenv("PATH"), nullptr);
    bool had_probe = false, had_path = false;
    std::vector<Fnd_String> kept;
    for (const Code_Unit* const* entry = previous; *entry; ++entry) {
        const std::string text = Narrow(Fnd_String(*entry));
        had_probe |= text == "ZT_SWAP_PROBE=before";
        had_path |= text.rfind("PATH=", 0) == 0;
        kept.emplace_back(*entry);
    }
    EXPECT_TRUE(had_probe);
    EXPECT_TRUE(had_path);

    // The environment set can still be changed the usual way.
    ::setenv("ADDED", "yes", 1);
    EXPECT_STREQ(getenv("ADDED"), "yes");

    // A vector with a text that has no 8-bit form changes nothing.
    const Code_Unit broken[] = {u'A', u'=', 0xdc00, 0};
    const Code_Unit* bad[] = {broken, nullptr};
    const Code_Unit* const* current = Hst_Processes::Swap_Environment(bad);
    EXPECT_STREQ(getenv("ZT_SWAP_PROBE"), "after");
    long count = 0;
    for (const Code_Unit* const* entry = current; *entry; ++entry) ++count;
    EXPECT_EQ(count, 3);

    // Back to the start.
    std::vector<const Code_Unit*> back;
    for (const Fnd_String& text : kept) back.push_back(text.Data());
    back.push_back(nullptr);
    Hst_Processes::Swap_Environment(back.data());
    EXPECT_STREQ(getenv("ZT_SWAP_PROBE"), "before");
    EXPECT_NE(getenv("PATH"), nullptr);
    EXPECT_EQ(getenv("ONLY_HERE"), nullptr);
    // Null only reads.
    const Code_Unit* const* now = Hst_Processes::Swap_Environment(nullptr);
    EXPECT_NE(now[0], nullptr);
    EXPECT_STREQ(getenv("ZT_SWAP_PROBE"), "before");
}
