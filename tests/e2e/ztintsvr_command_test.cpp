// The commands of ztintsvr as a user runs them: help, status, stop and run, with their
// output and exit codes, and the trace of a client's connect, calls and disconnect.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_private_files.h"
#include "foundation/host/hst_switches.h"

namespace {

struct Outcome {
    int Exit;
    std::string Out, Err;
    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Outcome& outcome)
{
    return stream << "exit " << outcome.Exit << ", out \"" << outcome.Out << "\", err \""
                  << outcome.Err << "\"";
}

std::string Contents(const std::string& path)
{
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

class Ztintsvr_Command_Test : public Ztint_E2E {
protected:
    Outcome Run(const std::string& arguments)
    {
        const std::string out = Dir + "/out", err = Dir + "/err";
        const int status =
            std::system((Home + "/bin/ztintsvr " + arguments + " >" + out + " 2>" + err).c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Contents(out), Contents(err)};
    }

    // Waits for a trace line that starts with prefix.
    bool Traced(const std::string& prefix)
    {
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (std::chrono::steady_clock::now() < give_up) {
            for (const std::string& line : Trace_Lines())
                if (line.rfind(prefix, 0) == 0)
                    return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    // `status` until its output holds text, for at most 10 s; the last answer.
    Outcome Status_Showing(const std::string& text)
    {
        const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        Outcome status = Run("status");
        while (status.Out.find(text) == std::string::npos && std::chrono::steady_clock::now() < give_up) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            status = Run("status");
        }
        return status;
    }
};

TEST_F(Ztintsvr_Command_Test, HelpAndUsage)
{
    const Outcome help = Run("--help");
    EXPECT_EQ(help.Exit, 0);
    EXPECT_EQ(help.Out.rfind("usage: ztintsvr start | run | stop | status | init-store | --help\n", 0), 0u);
    EXPECT_NE(help.Out.find("  status   say whether a server runs"), std::string::npos);
    EXPECT_NE(help.Out.find("  init-store  make the tables"), std::string::npos);
    EXPECT_EQ(help.Err, "");
    for (const char* wrong : {"", "begin", "start now"}) {
        const Outcome usage = Run(wrong);
        EXPECT_EQ(usage.Exit, 2) << wrong;
        EXPECT_EQ(usage.Out, "") << wrong;
        EXPECT_EQ(usage.Err, help.Out) << wrong;
    }
}

TEST_F(Ztintsvr_Command_Test, StatusAndStopWithoutAServer)
{
    EXPECT_EQ(Run("status"), (Outcome{1, "ztintsvr: not running\npipe: " + Pipe + "\n", ""}));
    EXPECT_EQ(Run("stop"), (Outcome{1, "", "ztintsvr: no server is running (pipe " + Pipe + ")\n"}));
}

TEST_F(Ztintsvr_Command_Test, StatusCountsClientsAndStopEndsTheServer)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    ASSERT_EQ(Server_Pids().size(), 1u);
    const int server = Server_Pids()[0];
    const std::string pid = std::to_string(server);

    // The server publishes its status once its loop is quiet: ask until it shows the client.
    const Outcome status = Status_Showing("\nclients: 1\n");
    EXPECT_EQ(status.Exit, 0);
    const std::string head =
        "ztintsvr: running\npipe: " + Pipe + "\npid: " + pid + "\nclients: 1\nuptime: ";
    EXPECT_EQ(status.Out.rfind(head, 0), 0u) << status.Out;
    EXPECT_EQ(status.Out.substr(status.Out.size() - 3), " s\n");

    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    ASSERT_TRUE(Traced("disconnect 1 " + std::to_string(getpid())));
    const Outcome after = Status_Showing("\nclients: 0\n");
    EXPECT_NE(after.Out.find("\nclients: 0\n"), std::string::npos) << after.Out;

    EXPECT_EQ(Run("stop"), (Outcome{0, "ztintsvr: stopped the server (pid " + pid + ")\n", ""}));
    EXPECT_TRUE(Ztint_Ends_Soon(server));
    EXPECT_EQ(Run("status").Exit, 1);
    EXPECT_NE(access((Pipe + ".status").c_str(), F_OK), 0);
}

TEST_F(Ztintsvr_Command_Test, TheTraceNamesCallsAndClientsButNoValues)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    ZTSession* session = nullptr;
    EXPECT_EQ(ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "not-the-password", "DEMO",
                                     "MASTER", 8),
              -1);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    const std::string me = std::to_string(getpid());
    ASSERT_TRUE(Traced("disconnect 1 " + me));

    const std::string trace = Contents(Trace);
    EXPECT_NE(trace.find("\nconnect 1 " + me + "\ncall " + me + " 1 ZTInt_Special_Startup_Stub 0\n"
                         "call " + me + " 2 ZTZentrak_Build 0\n"),
              std::string::npos) << trace;
    EXPECT_NE(trace.find("call " + me + " 3 ZTZentrak_SessionLogon -1\n"), std::string::npos)
        << trace;
    EXPECT_EQ(trace.find("not-the-password"), std::string::npos);
}

TEST_F(Ztintsvr_Command_Test, RunReportsConnectsAndDisconnects)
{
    const std::string err = Dir + "/run.err";
    const pid_t server = fork();
    if (server == 0) {
        const std::string path = Home + "/bin/ztintsvr";
        if (freopen(err.c_str(), "w", stderr) == nullptr)
            _exit(126);
        execl(path.c_str(), path.c_str(), "run", static_cast<char*>(nullptr));
        _exit(127);
    }
    ASSERT_TRUE(Traced("start " + std::to_string(server)));
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    EXPECT_EQ(Server_Pids(), std::vector<int>{server});
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    ASSERT_TRUE(Traced("disconnect 1 "));
    EXPECT_EQ(Run("stop").Exit, 0);
    int status = 0;
    ASSERT_EQ(waitpid(server, &status, 0), server);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    // The stop command is client 2; it is let go as the server ends.
    const std::string me = std::to_string(getpid());
    const std::string report = Contents(err);
    EXPECT_EQ(report.rfind("ztintsvr: client 1 (pid " + me + ") connected\n"
                           "ztintsvr: client 1 (pid " + me + ") disconnected\n"
                           "ztintsvr: client 2 (pid ", 0), 0u) << report;
    EXPECT_NE(report.find(") disconnected\nztintsvr: shut down by a client\n"), std::string::npos)
        << report;
}

// A ZTT_USER that would move the pipe out of /tmp, or make its name too long, is refused
// by client and server alike, and nothing is made or replaced.
TEST_F(Ztintsvr_Command_Test, AServerUserThatLeavesTmpOrIsTooLongIsRefused)
{
    const std::string outside = Dir + "/victim";
    std::ofstream(outside) << "keep me";
    const std::string escaping = "x/../.." + outside;
    const std::string long_user(300, 'u');
    const std::string uid = std::to_string(geteuid());
    const struct {
        std::string user, text;
    } cases[] = {
        {escaping, "ztintsvr: ZTT_USER may not contain \"/\" (it is \"" + escaping + "\")"},
        {long_user, "ztintsvr: ZTT_USER is too long: the pipe's name would have " +
                        std::to_string(9 + uid.size() + 300) + " characters, more than 244"},
    };
    for (const auto& c : cases) {
        setenv("ZTT_USER", c.user.c_str(), 1);
        EXPECT_EQ(Run("start"), (Outcome{1, "", c.text + "\n"}));
        ZTInt_Close_Connection(ZTInt_client_Connection_Record());
        ZTZentrak* zentrak = nullptr;
        EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
        EXPECT_EQ(Server_Error(), c.text);
    }
    EXPECT_EQ(Contents(outside), "keep me");
    EXPECT_TRUE(Server_Pids().empty());
}

// A start lock or client socket path that another user put there first fails at once
// with a text that names the path and its owner.
TEST_F(Ztintsvr_Command_Test, SquattedPathsAreRefusedAtOnceNamingTheirOwner)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "making a file of another user needs root";
    const std::string lock = Pipe + ".lock";
    std::ofstream(lock) << "";
    ASSERT_EQ(chmod(lock.c_str(), 0666), 0);
    ASSERT_EQ(chown(lock.c_str(), 65534, 65534), 0);
    const std::string text = "ztintsvr: " + lock + ", the start lock, is a file of user " +
                             ZTInt_User_Name(65534) + "; remove it, or set ZTT_USER to use other names";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Run("start"), (Outcome{1, "", text + "\n"}));
    ZTZentrak* zentrak = nullptr;
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_NE(Server_Error().find("(" + text + ")"), std::string::npos) << Server_Error();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    std::filesystem::remove(lock);

    // The client's socket path is a directory of another user.
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    Hst_Switches::Clear_Cache();
    const std::string socket = "/tmp/ZTIntSvr_USock_" + std::to_string(geteuid()) + "_" +
                               std::to_string(getpid());
    ASSERT_EQ(mkdir(socket.c_str(), 0777), 0);
    ASSERT_EQ(chown(socket.c_str(), 65534, 65534), 0);
    EXPECT_EQ(ZTZentrak_Build(&zentrak), -1);
    EXPECT_EQ(Server_Error(), "ztintsvr: " + socket + ", the client's socket, is a directory of user " +
                                  ZTInt_User_Name(65534) +
                                  "; remove it, or set ZTT_USER to use other names");
    rmdir(socket.c_str());
}

}  // namespace
