// Finding and starting the server, end to end.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <thread>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_special.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_opcodes.h"

namespace {

constexpr int kStartup = ZTInt_op_ZTInt_Special_Startup_Stub;
constexpr int kBuild = ZTInt_op_ZTZentrak_Build;

int Lines_Of(const std::string& path)
{
    std::ifstream file(path);
    int count = 0;
    for (std::string line; std::getline(file, line);)
        ++count;
    return count;
}

// Runs function in a child process; true if it ended with status 0.
template <typename Function>
bool In_Child(Function function)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(function() ? 0 : 1);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

using Ztint_Start_Test = Ztint_E2E;

TEST_F(Ztint_Start_Test, TheFirstCallStartsTheServerAndCarriesSequenceTwo)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    ASSERT_NE(zentrak, nullptr);
    ASSERT_EQ(Server_Pids().size(), 1u);

    std::vector<std::string> calls;
    for (const std::string& line : Trace_Lines())
        if (Ztint_Field(line, 0) == "call")
            calls.push_back(line);
    ASSERT_EQ(calls.size(), 2u);
    const std::string pid = std::to_string(getpid());
    // Each call by its name and the status answered, never its values.
    EXPECT_EQ(calls[0], "call " + pid + " 1 ZTInt_Special_Startup_Stub 0");
    EXPECT_EQ(calls[1], "call " + pid + " 2 ZTZentrak_Build 0");

    // The connected socket needs no name in /tmp, and the pipe is ours alone.
    EXPECT_NE(access(("/tmp/ZTIntSvr_USock_" + std::to_string(geteuid()) + "_" + pid).c_str(), F_OK), 0);
    struct stat facts;
    ASSERT_EQ(lstat(Pipe.c_str(), &facts), 0);
    EXPECT_TRUE(S_ISFIFO(facts.st_mode));
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
}

TEST_F(Ztint_Start_Test, ASecondProcessFindsTheRunningServer)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    EXPECT_TRUE(In_Child([] {
        // The child's copy of the connection is its parent's: start afresh.
        ZTInt_Close_Connection(ZTInt_client_Connection_Record());
        ZTZentrak* own = nullptr;
        return ZTZentrak_Build(&own) == 0 && ZTInt_Zentrak_Free(own) == 0;
    }));
    EXPECT_EQ(Server_Pids().size(), 1u);
    EXPECT_EQ(Count_Calls(kStartup), 2);
    EXPECT_EQ(Count_Calls(kBuild), 2);
}

// A child made by fork shares its parent's socket: its calls are refused, so that the
// two never read each other's replies, until it closes the connection and opens its own.
// A client that dies before it is connected leaves its socket in /tmp. The server
// sweeps such sockets once a client has gone and nothing else waits.
TEST_F(Ztint_Start_Test, TheServerSweepsLeftoverSocketsOnceAClientHasGone)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    const pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
    const std::string leftover =
        "/tmp/ZTIntSvr_USock_" + std::to_string(geteuid()) + "_" + std::to_string(ended);
    // The child ends without closing its connection, so that only the server can sweep.
    EXPECT_TRUE(In_Child([&] {
        ZTInt_Close_Connection(ZTInt_client_Connection_Record());
        std::ofstream{leftover};
        ZTZentrak* own = nullptr;
        return access(leftover.c_str(), F_OK) == 0 && ZTZentrak_Build(&own) == 0;
    }));
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (access(leftover.c_str(), F_OK) == 0 && std::chrono::steady_clock::now() < give_up)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_NE(access(leftover.c_str(), F_OK), 0) << leftover << " is still there";
    std::remove(leftover.c_str());
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
}

TEST_F(Ztint_Start_Test, AChildMadeByForkMustOpenAConnectionOfItsOwn)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    EXPECT_TRUE(In_Child([zentrak] {
        char* echo = nullptr;
        if (ZTZentrak_EchoString(zentrak, &echo, "child") != -1 || echo != nullptr)
            return false;
        const std::string expected = "ztint: process " + std::to_string(getpid()) +
                                     " inherited its connection from its parent through fork; "
                                     "close it with ZTInt_Close_Connection to open one of its own";
        if (Server_Error() != expected)
            return false;
        ZTInt_Close_Connection(ZTInt_client_Connection_Record());
        ZTZentrak* own = nullptr;
        return ZTZentrak_Build(&own) == 0 && ZTZentrak_EchoString(own, &echo, "child") == 0 &&
               std::string(echo) == "child";
    }));
    char* echo = nullptr;
    ASSERT_EQ(ZTZentrak_EchoString(zentrak, &echo, "parent"), 0) << Server_Error();
    EXPECT_STREQ(echo, "parent");
    ZTInt_String_Free(echo);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
}

TEST_F(Ztint_Start_Test, AFailingStartCommandIsAnExecFailureWithItsStatus)
{
    const std::string runs = Dir + "/runs";
    Install_Script("echo run >> " + runs + "\nexit 3");
    ZTZentrak* zentrak = nullptr;
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_EQ(zentrak, nullptr);
    EXPECT_EQ(Lines_Of(runs), 1);
    char* text = nullptr;
    ZTInt_GetError(&text);
    ASSERT_NE(text, nullptr);
    const std::string error = text;
    ZTInt_String_Free(text);
    // The exit status stands in the place of errno: 3 reads as ESRCH's text.
    EXPECT_EQ(error, "doing: starting server " + Home + "/bin/ztintsvr, \nsyscall: exec\nerrno: " +
                         std::strerror(3));
    // The failure stays for the process: no second start.
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_EQ(Lines_Of(runs), 1);
}

TEST_F(Ztint_Start_Test, AStartWithoutAReaderGivesUpAfterThreeStarts)
{
    const std::string runs = Dir + "/runs";
    Install_Script("echo run >> " + runs + "\nexit 0");
    ZTZentrak* zentrak = nullptr;
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_EQ(Lines_Of(runs), 3);
    EXPECT_EQ(Server_Error(), "ztintsvr: unable to communicate with server after startup");
    EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Error);
}

TEST_F(Ztint_Start_Test, AServerThatNeverConnectsBackFailsWithinTheBound)
{
    // A "server" that holds the pipe open for reading and never reads it.
    const std::string holder = Dir + "/holder";
    Install_Script("mkfifo -m 600 " + Pipe + "\n(exec 3<>" + Pipe + "; echo $$ > " + holder +
                   "; exec sleep 30) </dev/null >/dev/null 2>&1 &\n"
                   "while [ ! -s " + holder + " ]; do sleep 0.01; done\nexit 0");
    ZTInt_Set_Accept_Timeout_Milliseconds(1000);
    const auto started = std::chrono::steady_clock::now();
    ZTZentrak* zentrak = nullptr;
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    const auto waited = std::chrono::steady_clock::now() - started;
    EXPECT_LT(waited, std::chrono::seconds(5));
    EXPECT_EQ(Server_Error(), "ztintsvr: the server did not connect within 1 seconds");
    std::ifstream pid_file(holder);
    int pid = 0;
    if (pid_file >> pid && pid > 0)
        kill(pid, SIGKILL);
}

TEST_F(Ztint_Start_Test, ARefusedStartupClosesAndTheNextCallOpensAnew)
{
    setenv("ZT_SERVER_MAX_CLIENTS", "1", 1);
    int to_child[2], to_parent[2];
    ASSERT_EQ(pipe(to_child), 0);
    ASSERT_EQ(pipe(to_parent), 0);
    const pid_t holder = fork();
    if (holder == 0) {
        // Takes the one place and keeps it until told, or until the test ends.
        close(to_child[1]);
        ZTZentrak* zentrak = nullptr;
        const char ready = ZTZentrak_Build(&zentrak) == 0 ? 'y' : 'n';
        if (write(to_parent[1], &ready, 1) != 1)
            _exit(2);
        char go;
        if (read(to_child[0], &go, 1) != 1)
            _exit(3);
        _exit(0);
    }
    close(to_child[0]);
    close(to_parent[1]);
    char ready = 0;
    ASSERT_EQ(read(to_parent[0], &ready, 1), 1);
    ASSERT_EQ(ready, 'y');

    ZTZentrak* zentrak = nullptr;
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Nil);
    EXPECT_EQ(Server_Error(), "ztintsvr: the server refused this client (startup status -1): it "
                              "serves as many clients at once as ZT_SERVER_MAX_CLIENTS allows");

    ASSERT_EQ(write(to_child[1], "x", 1), 1);
    int status = 0;
    waitpid(holder, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    // The server notices the holder's end when it reads its socket: try until then.
    int result = -1;
    for (int attempt = 0; attempt < 100 && result != 0; ++attempt) {
        result = ZTZentrak_Build(&zentrak);
        if (result != 0)
            usleep(20 * 1000);
    }
    EXPECT_EQ(result, 0) << Server_Error();
    EXPECT_EQ(Server_Pids().size(), 1u);
    close(to_child[1]);
    close(to_parent[0]);
}

TEST_F(Ztint_Start_Test, AServerKilledMidSessionIsAProtocolErrorNotASignal)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    ASSERT_EQ(Server_Pids().size(), 1u);
    const int server = Server_Pids()[0];
    ASSERT_EQ(kill(server, SIGKILL), 0);
    ASSERT_TRUE(Ztint_Ends_Soon(server));
    // The default action of SIGPIPE would end this test program.
    signal(SIGPIPE, SIG_DFL);
    char* echo = nullptr;
    EXPECT_EQ(ZTZentrak_EchoString(zentrak, &echo, "anyone there?"), -1);
    EXPECT_EQ(echo, nullptr);
    const std::string error = Server_Error();
    // The text comes from the catalogs of the product home.
    EXPECT_EQ(error, "ztintsvr RPC protocol error: writing 63 bytes failed: Broken pipe");
}

TEST_F(Ztint_Start_Test, TheShutdownCallEndsTheServerAndLeavesNoPipeOrLock)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    const std::vector<int> servers = Server_Pids();
    ASSERT_EQ(servers.size(), 1u);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    EXPECT_EQ(ZTInt_Special_Shutdown_Stub(), 0);
    ASSERT_TRUE(Ztint_Ends_Soon(servers[0]));
    EXPECT_NE(access(Pipe.c_str(), F_OK), 0);
    EXPECT_NE(access((Pipe + ".lock").c_str(), F_OK), 0);
    EXPECT_EQ(Trace_Lines().back().rfind("end ", 0), 0u) << Trace_Lines().back();
}

// A server whose pipe and status someone removed while it ran writes its status
// again when a client goes, and takes that file away when it ends.
TEST_F(Ztint_Start_Test, AServerWhosePipeWasRemovedLeavesNoStatusBehind)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    const std::vector<int> servers = Server_Pids();
    ASSERT_EQ(servers.size(), 1u);
    const std::string status = Pipe + ".status";
    for (const std::string& file : {Pipe, status, Pipe + ".lock"})
        unlink(file.c_str());
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    for (int wait = 0; wait < 200 && access(status.c_str(), F_OK) != 0; ++wait)
        usleep(10 * 1000);
    ASSERT_EQ(access(status.c_str(), F_OK), 0) << "the server did not write its status again";
    ASSERT_EQ(kill(servers[0], SIGTERM), 0);
    ASSERT_TRUE(Ztint_Ends_Soon(servers[0]));
    EXPECT_NE(access(status.c_str(), F_OK), 0);
}

TEST_F(Ztint_Start_Test, AServerWithoutClientsEndsAfterItsIdleTime)
{
    setenv("ZT_SERVER_IDLE_SECONDS", "1", 1);
    EXPECT_TRUE(In_Child([] {
        ZTInt_Close_Connection(ZTInt_client_Connection_Record());
        ZTZentrak* own = nullptr;
        return ZTZentrak_Build(&own) == 0 && ZTInt_Zentrak_Free(own) == 0;
    }));
    const std::vector<int> servers = Server_Pids();
    ASSERT_EQ(servers.size(), 1u);
    ASSERT_TRUE(Ztint_Ends_Soon(servers[0]));
    EXPECT_NE(access(Pipe.c_str(), F_OK), 0);
    EXPECT_NE(access((Pipe + ".lock").c_str(), F_OK), 0);
}

TEST_F(Ztint_Start_Test, StartsThatRaceLeaveOneServerAndAllSucceed)
{
    const std::string server = Home + "/bin/ztintsvr";
    std::vector<pid_t> starts;
    for (int i = 0; i < 4; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            execl(server.c_str(), server.c_str(), "start", static_cast<char*>(nullptr));
            _exit(127);
        }
        starts.push_back(child);
    }
    for (pid_t child : starts) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
    EXPECT_EQ(Server_Pids().size(), 1u);
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    EXPECT_EQ(Count_Calls(kStartup), 1);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
}

}  // namespace
