#include "tests/e2e/ztint_e2e_fixture.h"

#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "foundation/host/hst_switches.h"
#include "ztint.h"
#include "tests/support/ztint_pg_database.h"
#include "tests/support/ztint_test_store.h"
#include "tests/support/ztint_test_locale.h"
#include "ztint_client/ztint_call_table.h"

namespace fs = std::filesystem;

// True while pid runs; a zombie waiting for a reaper has ended.
bool Ztint_Process_Runs(int pid)
{
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    if (!std::getline(stat, line))
        return false;
    const std::size_t after_name = line.rfind(')');
    return after_name == std::string::npos || line.compare(after_name, 3, ") Z") != 0;
}

std::string Ztint_Field(const std::string& line, int n)
{
    std::istringstream fields(line);
    std::string field;
    for (int i = 0; i <= n; ++i)
        if (!(fields >> field))
            return "";
    return field;
}

bool Ztint_E2E_On_Postgres()
{
    return ZTInt_Test_Store::On_Postgres();
}

Ztint_E2E::Ztint_E2E() = default;
Ztint_E2E::~Ztint_E2E() = default;

void Ztint_E2E::SetUp()
{
    Dir = Temp.Path;
    Home = Dir + "/home";
    fs::create_directories(Home + "/bin");
    fs::create_symlink(ZTINT_BUILD_DIR "/home/bin/ztintsvr", Home + "/bin/ztintsvr");
    fs::create_directories(Home + "/linux_x86_64");
    fs::create_symlink(ZTINT_BUILD_DIR "/catalogs", Home + "/linux_x86_64/messages");
    fs::create_directories(Home + "/etc");
    fs::create_symlink(ZTINT_BUILD_DIR "/home/etc/schemas", Home + "/etc/schemas");
    User = "_e2e_" + std::to_string(getpid());
    Trace = Dir + "/trace";
    Pipe = "/tmp/ZTIntSvr_" + std::to_string(geteuid()) + User;
    setenv("ZT_HOME", Home.c_str(), 1);
    setenv("ZTT_USER", User.c_str(), 1);
    setenv("ZT_SERVER_TRACE", Trace.c_str(), 1);
    setenv("ZT_SERVER_IDLE_SECONDS", "60", 1);
    Store = Dir + "/store.db";
    if (Ztint_E2E_On_Postgres()) {
        Pg = std::make_unique<ZTInt_Pg_Database>();
        ASSERT_TRUE(Pg->Available()) << "ZTT_E2E_STORE=postgresql needs the cluster of scripts/pg-cluster.sh (ZTT_PG)";
        ASSERT_TRUE(Pg->Made_Ok());
        Store = Pg->Conninfo();
    }
    setenv("ZT_SERVER_STORE", Store.c_str(), 1);
    for (const char* name : {"ZT_USER", "ZT_PASSWORD", "ZT_DATABASE", "ZT_MASTER", "ZT_MESSAGES",
                             "ZT_SERVER_USERS", "ZT_SERVER_MAX_CLIENTS", "ZT_CLIENTID",
                             "ZT_MORVANE_DIR"})
        unsetenv(name);
    // A home of the test's own: the logon reads its settings below it.
    UserHome = Dir + "/user";
    fs::create_directories(UserHome);
    setenv("HOME", UserHome.c_str(), 1);
    Hst_Switches::Clear_Cache();
    ZTInt_Test_Pin_Locale();
}

void Ztint_E2E::TearDown()
{
    // The next test, in this process or not, starts with no connection and without
    // this test's client error text, which would otherwise stand in front of the
    // server's texts for the next test's failed calls.
    ZTInt_Close_Connection(ZTInt_client_Connection_Record());
    ZTInt_Set_Client_Error(nullptr);
    const std::vector<int> servers = Server_Pids();
    for (int pid : servers)
        kill(pid, SIGTERM);
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (int pid : servers)
        while (Ztint_Process_Runs(pid) && std::chrono::steady_clock::now() < give_up)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::error_code ignored;
    fs::remove(Pipe, ignored);
    fs::remove(Pipe + ".lock", ignored);
    fs::remove(Pipe + ".status", ignored);
    Pg.reset();  // its database goes, with whatever connection is still on it
}

void Ztint_E2E::Install_Script(const std::string& body)
{
    const std::string path = Home + "/bin/ztintsvr";
    fs::remove(path);
    std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
    chmod(path.c_str(), 0755);
}

std::vector<std::string> Ztint_E2E::Trace_Lines() const
{
    std::vector<std::string> lines;
    std::ifstream file(Trace);
    for (std::string line; std::getline(file, line);)
        lines.push_back(line);
    return lines;
}

int Ztint_E2E::Count_Calls(int procedure) const
{
    int count = 0;
    for (const std::string& line : Trace_Lines())
        if (Ztint_Field(line, 0) == "call" && Ztint_Field(line, 3) == ZTInt_call_Find(procedure)->Name)
            ++count;
    return count;
}

std::vector<int> Ztint_E2E::Server_Pids() const
{
    std::vector<int> pids;
    for (const std::string& line : Trace_Lines())
        if (Ztint_Field(line, 0) == "start")
            pids.push_back(std::stoi(Ztint_Field(line, 1)));
    return pids;
}

std::string Ztint_E2E::Server_Error()
{
    char* text = nullptr;
    ZTInt_GetError(&text);
    std::string result = text != nullptr ? text : "(null)";
    ZTInt_String_Free(text);
    return result;
}

bool Ztint_Ends_Soon(int pid)
{
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (Ztint_Process_Runs(pid)) {
        if (std::chrono::steady_clock::now() > give_up)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}
