// Several servers on one store, as a team shares one: competing edits of one record
// lose nothing, and (on PostgreSQL) a connection the database drops fails one call
// clearly and is opened again for the next. init-store makes a shared store ready.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/host/hst_switches.h"
#include "tests/e2e/ztint_tracker.h"
#include "tests/support/ztint_pg_database.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"

namespace {

using Ztint_Shared_Store_Test = Ztint_Tracker_Test;

constexpr int kServers = 4;
constexpr int kIncrements = 50;

struct Command_Result {
    int Status = -1;
    std::string Output;  // standard output and error
};

Command_Result Run_Command(const std::string& command)
{
    Command_Result result;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (pipe == nullptr)
        return result;
    char buffer[512];
    for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        result.Output.append(buffer, got);
    const int status = pclose(pipe);
    result.Status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// Removes what the server of ZTT_USER user keeps in /tmp: it outlives the test.
void Forget_Server(const std::string& user)
{
    for (const char* suffix : {"", ".status", ".lock"})
        unlink(("/tmp/ZTIntSvr_" + std::to_string(geteuid()) + user + suffix).c_str());
}

// Each of four processes, with a server of its own (its own ZTT_USER, as on another
// host), adds one to a counter field fifty times, editing again whenever its commit
// is refused because another got there first. The counter ends exact.
TEST_F(Ztint_Shared_Store_Test, ACounterIncrementedByCompetingServersEndsExact)
{
    const std::string id = Submit({{"Headline", "counter"}, {"Description", "0"}});
    ASSERT_FALSE(id.empty());
    std::vector<pid_t> children;
    for (int n = 0; n < kServers; ++n) {
        const pid_t child = fork();
        if (child != 0) {
            children.push_back(child);
            continue;
        }
        ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
        setenv("ZTT_USER", (User + "_" + std::to_string(n)).c_str(), 1);
        Hst_Switches::Clear_Cache();
        ZTSession* session = Logon_Default();
        int done = 0, attempts = 0;
        while (session != nullptr && done < kIncrements && ++attempts < 100 * kIncrements) {
            ZTEntity* entity = nullptr;
            if (ZTSession_GetEntity(session, &entity, "Defect", id.c_str()) == 0 &&
                ZTSession_EditEntity(session, entity, "Modify") == 0) {
                const int counter = std::stoi(Value(entity, "Description"));
                if (Set(entity, "Description", std::to_string(counter + 1)).empty() && Commit(entity).empty())
                    ++done;
            }
            ZTInt_Entity_Free(entity);
        }
        ZTInt_Session_Free(session);
        _exit(done == kIncrements ? 0 : 1);
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    for (int n = 0; n < kServers; ++n)
        Forget_Server(User + "_" + std::to_string(n));
    ZTEntity* counter = Get(id);
    EXPECT_EQ(Value(counter, "Description"), std::to_string(kServers * kIncrements));
    EXPECT_EQ(History(counter).size(), std::size_t{kServers * kIncrements + 1});
    ZTInt_Entity_Free(counter);
}

// The database ends the server's connection, as a restart of PostgreSQL does.
TEST_F(Ztint_Shared_Store_Test, ADroppedConnectionFailsOneCallAndTheNextReconnects)
{
    if (!Ztint_E2E_On_Postgres())
        GTEST_SKIP() << "a PostgreSQL store only";
    const std::string id = Submit({{"Headline", "before the drop"}});
    ASSERT_FALSE(id.empty());
    ASSERT_EQ(Pg->Admin("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                        Pg->Conninfo().substr(Pg->Conninfo().rfind('=') + 1) + "'"),
              true);
    ZTEntity* entity = nullptr;
    EXPECT_NE(ZTSession_GetEntity(Session, &entity, "Defect", id.c_str()), 0);
    EXPECT_NE(Server_Error().find("the connection to the PostgreSQL store was lost"), std::string::npos)
        << Server_Error();
    ZTInt_Entity_Free(entity);
    // The same session goes on.
    ZTEntity* again = Get(id);
    EXPECT_EQ(Value(again, "Headline"), "before the drop");
    ZTInt_Entity_Free(again);
    const std::string after = Submit({{"Headline", "after the drop"}});
    EXPECT_FALSE(after.empty());
    EXPECT_NE(after, id);
}

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

// A real restart of the cluster drops every connection in it, other tests' too: the
// test runs only when asked to (ZTT_PG_RESTART=1), alone.
using Ztint_Pg_Restart_Test = Ztint_Tracker_Test;

TEST_F(Ztint_Pg_Restart_Test, ARestartFailsACallClearlyAndTheServerReconnects)
{
    if (!Ztint_E2E_On_Postgres() || Environment("ZTT_PG_RESTART") != "1")
        GTEST_SKIP() << "restarts the cluster of scripts/pg-cluster.sh: run alone with ZTT_PG_RESTART=1";
    const std::string id = Submit({{"Headline", "before the restart"}});
    ASSERT_FALSE(id.empty());
    const std::string data = Environment("ZTT_PG_DIR");
    const std::string restart = Environment("PG_CTL_AS") + " " + Environment("PG_BIN") + "/pg_ctl -D " + data +
                                "/data -l " + data + "/server.log -m fast -w restart";
    const Command_Result restarted = Run_Command(restart);
    ASSERT_EQ(restarted.Status, 0) << restart << ": " << restarted.Output;
    ZTEntity* entity = nullptr;
    EXPECT_NE(ZTSession_GetEntity(Session, &entity, "Defect", id.c_str()), 0);
    EXPECT_NE(Server_Error().find("the connection to the PostgreSQL store was lost"), std::string::npos)
        << Server_Error();
    ZTInt_Entity_Free(entity);
    ZTEntity* again = Get(id);
    EXPECT_EQ(Value(again, "Headline"), "before the restart");
    ZTInt_Entity_Free(again);
    EXPECT_FALSE(Submit({{"Headline", "after the restart"}}).empty());
}

// A fixture with no session of its own: init-store comes before any server.
using Ztint_Init_Store_Test = Ztint_E2E;

TEST_F(Ztint_Init_Store_Test, InitStoreSeedsANewStoreOnceAndIsSafeToRunAgain)
{
    const std::string command = Home + "/bin/ztintsvr init-store";
    const Command_Result first = Run_Command(command);
    EXPECT_EQ(first.Status, 0) << first.Output;
    EXPECT_NE(first.Output.find("database set \"MASTER\" in the "), std::string::npos) << first.Output;
    EXPECT_NE(first.Output.find("made with its users and databases"), std::string::npos) << first.Output;
    const Command_Result second = Run_Command(command);
    EXPECT_EQ(second.Status, 0) << second.Output;
    EXPECT_NE(second.Output.find("exists already: left as it is"), std::string::npos) << second.Output;
    // The default user logs on and is the superuser of the set.
    ZTSession* session = Ztint_Tracker_Test::Logon_Default();
    ASSERT_NE(session, nullptr) << Server_Error();
    ZTInt_BOOL super = 0;
    EXPECT_EQ(ZTSession_IsUserSuperUser(session, &super), 0);
    EXPECT_EQ(super, 1);
    ZTInt_Session_Free(session);
}

TEST_F(Ztint_Init_Store_Test, InitStoreOnAStoreOutOfReachSaysWhy)
{
    const Command_Result result =
        Run_Command("ZT_SERVER_STORE='host=/nonexistent/zt dbname=zt' " + Home + "/bin/ztintsvr init-store");
    EXPECT_EQ(result.Status, 1);
    EXPECT_EQ(result.Output.rfind("ztintsvr: cannot initialise the store: cannot open the PostgreSQL store: ", 0),
              0u) << result.Output;
}

}  // namespace
