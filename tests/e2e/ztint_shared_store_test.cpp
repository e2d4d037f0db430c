// Several servers on one store, as a team shares one: competing edits of one record
// lose nothing, and (on PostgreSQL) a connection the database drops fails one call
// clearly and is opened again for the next. init-store makes a shared store ready.
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
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
constexpr int kClientsPerServer = 4;
constexpr int kClients = kServers * kClientsPerServer;
constexpr int kRecordsPerClient = 3;

constexpr int kIncrements = 1000;  // by all clients together

// Client n's share of the increments: 63 for some, 62 for the others.
int Share_Of(int n)
{
    return kIncrements / kClients + (n < kIncrements % kClients ? 1 : 0);
}

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

// Removes what the server of ZTT_USER user left in /tmp.
void Forget_Server(const std::string& user)
{
    for (const char* suffix : {"", ".status", ".lock"})
        unlink(("/tmp/ZTIntSvr_" + std::to_string(geteuid()) + user + suffix).c_str());
}

// One competing client: a process of its own, connected to the server of ZTT_USER
// user, which three other clients share.
class Competing_Client {
public:
    Competing_Client(int number, const std::string& user, int fd) : Number(number), Fd(fd)
    {
        ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
        setenv("ZTT_USER", user.c_str(), 1);
        Hst_Switches::Clear_Cache();
        Session = Ztint_Tracker_Test::Logon_Default();
    }
    ~Competing_Client() { ZTInt_Session_Free(Session); }

    // Adds one to the counter record's Description increments times, editing again
    // whenever a commit is refused because another got there first, and submits
    // kRecordsPerClient records of its own on the way, each edited once after its
    // submit; writes "<id> <headline>" for each, and at the end "refused <count>".
    // True when all of it was done.
    bool Run(const std::string& counter, int increments)
    {
        int done = 0, records = 0;
        for (int attempts = 0; Session != nullptr && done < increments && attempts < 100 * increments; ++attempts) {
            if (Increment(counter))
                ++done;
            else
                ++Refused;
            if (records < kRecordsPerClient && done * kRecordsPerClient >= records * increments) {
                if (!Submit_And_Edit(records))
                    return false;
                ++records;
            }
        }
        while (Session != nullptr && records < kRecordsPerClient)
            if (!Submit_And_Edit(records++))
                return false;
        const std::string line = "refused " + std::to_string(Refused) + "\n";
        return done == increments && records == kRecordsPerClient &&
               write(Fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    }

private:
    // One read-modify-write of the counter; false when refused or failed.
    bool Increment(const std::string& counter)
    {
        ZTEntity* entity = nullptr;
        bool stored = false;
        if (ZTSession_GetEntity(Session, &entity, "Defect", counter.c_str()) == 0 &&
            ZTSession_EditEntity(Session, entity, "Modify") == 0) {
            const std::string value = Ztint_Take(Field(entity, "Description"));
            char* end = nullptr;
            const long number = std::strtol(value.c_str(), &end, 10);
            stored = !value.empty() && *end == '\0' && Set(entity, "Description", std::to_string(number + 1)) &&
                     Commit(entity);
        }
        ZTInt_Entity_Free(entity);
        return stored;
    }

    bool Submit_And_Edit(int record)
    {
        const std::string headline = "client " + std::to_string(Number) + " record " + std::to_string(record);
        ZTEntity* entity = nullptr;
        bool done = ZTSession_BuildEntity(Session, &entity, "Defect") == 0 && Set(entity, "Headline", headline) &&
                    Commit(entity);
        const std::string id = done ? Ztint_Take(Field(entity, "id")) : "";
        ZTInt_Entity_Free(entity);
        entity = nullptr;
        done = done && ZTSession_GetEntity(Session, &entity, "Defect", id.c_str()) == 0 &&
               ZTSession_EditEntity(Session, entity, "Modify") == 0 && Set(entity, "Description", "edited") &&
               Commit(entity);
        ZTInt_Entity_Free(entity);
        const std::string line = id + " " + headline + "\n";
        return done && write(Fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    }

    static char* Field(ZTEntity* entity, const char* name)
    {
        char* text = nullptr;
        return ZTEntity_GetFieldStringValue(entity, &text, name) == 0 ? text : nullptr;
    }
    static bool Set(ZTEntity* entity, const char* field, const std::string& value)
    {
        char* answer = nullptr;
        return ZTEntity_SetFieldValue(entity, &answer, field, value.c_str()) == 0 && Ztint_Take(answer).empty();
    }
    static bool Commit(ZTEntity* entity)
    {
        char* answer = nullptr;
        return ZTEntity_Commit(entity, &answer) == 0 && Ztint_Take(answer).empty();
    }

    int Number;
    int Fd;
    ZTSession* Session = nullptr;
    int Refused = 0;  // increments that lost the race and were done again
};

// Sixteen client processes, four on each of four servers (each server with its own
// ZTT_USER, as on another host), increment one counter field by competing edits and
// submit and edit records of their own. The counter ends exact, with one history
// entry for each increment, and every record is there with both its entries.
TEST_F(Ztint_Shared_Store_Test, ACounterIncrementedByCompetingServersEndsExact)
{
    const std::string id = Submit({{"Headline", "counter"}, {"Description", "0"}});
    ASSERT_FALSE(id.empty());
    int lines[2];
    // Close-on-exec: a server a client starts must not hold the pipe open.
    ASSERT_EQ(pipe2(lines, O_CLOEXEC), 0);
    std::vector<pid_t> children;
    for (int n = 0; n < kClients; ++n) {
        const pid_t child = fork();
        if (child != 0) {
            children.push_back(child);
            continue;
        }
        close(lines[0]);
        const bool done = [&] {
            Competing_Client client(n, User + "_" + std::to_string(n % kServers), lines[1]);
            return client.Run(id, Share_Of(n));
        }();
        _exit(done ? 0 : 1);
    }
    close(lines[1]);
    std::map<std::string, std::string> records;  // id -> headline
    int refused = 0;
    FILE* from_children = fdopen(lines[0], "r");
    char line[256];
    while (fgets(line, sizeof line, from_children) != nullptr) {
        std::istringstream fields(line);
        std::string first, rest;
        fields >> first;
        std::getline(fields >> std::ws, rest);
        if (first == "refused")
            refused += std::stoi(rest);
        else
            records[first] = rest;
    }
    fclose(from_children);
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    // The clients' servers end before their files in /tmp go, or they leave some behind.
    const std::vector<int> servers = Server_Pids();
    for (std::size_t i = 1; i < servers.size(); ++i) {
        kill(servers[i], SIGTERM);
        EXPECT_TRUE(Ztint_Ends_Soon(servers[i])) << servers[i];
    }
    for (int n = 0; n < kServers; ++n)
        Forget_Server(User + "_" + std::to_string(n));

    ZTEntity* counter = Get(id);
    EXPECT_EQ(Value(counter, "Description"), std::to_string(kIncrements));
    EXPECT_EQ(History(counter).size(), std::size_t{kIncrements + 1});
    ZTInt_Entity_Free(counter);
    // The edits did compete: some commits were refused and done again.
    EXPECT_GT(refused, 0);
    RecordProperty("refused_commits", refused);
    EXPECT_EQ(records.size(), std::size_t{kClients * kRecordsPerClient});
    for (const auto& [record, headline] : records) {
        ZTEntity* entity = Get(record);
        EXPECT_EQ(Value(entity, "Headline"), headline) << record;
        EXPECT_EQ(Value(entity, "Description"), "edited") << record;
        EXPECT_EQ(History(entity).size(), 2u) << record;
        ZTInt_Entity_Free(entity);
    }
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

// PostgreSQL's client library is loaded only for a store on PostgreSQL: a server on
// SQLite starts where it can't be loaded, and one on PostgreSQL says why it can't open.
TEST_F(Ztint_Init_Store_Test, OnlyAStoreOnPostgresqlNeedsItsClientLibrary)
{
    const std::string broken = Dir + "/broken-libs";
    ASSERT_EQ(mkdir(broken.c_str(), 0700), 0);
    FILE* fake = std::fopen((broken + "/libpq.so.5").c_str(), "w");
    ASSERT_NE(fake, nullptr);
    std::fputs("not a library\n", fake);
    std::fclose(fake);
    const std::string server = "LD_LIBRARY_PATH=" + broken + " " + Home + "/bin/ztintsvr init-store";

    const Command_Result on_sqlite = Run_Command("ZT_SERVER_STORE=" + Dir + "/other.db " + server);
    EXPECT_EQ(on_sqlite.Status, 0) << on_sqlite.Output;

    const Command_Result on_postgres =
        Run_Command("ZT_SERVER_STORE='host=/nonexistent/zt dbname=zt' " + server);
    EXPECT_EQ(on_postgres.Status, 1);
    const std::string why = "ztintsvr: cannot initialise the store: PostgreSQL's client library can't be loaded: " +
                            broken + "/libpq.so.5: ";
    EXPECT_EQ(on_postgres.Output.rfind(why, 0), 0u) << on_postgres.Output;
}

}  // namespace
