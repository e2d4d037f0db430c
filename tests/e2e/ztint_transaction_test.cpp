// A session's transaction through the public C interface: its commits are seen by
// others only at its end, and nothing of it stays after a rollback, a logoff or its
// client's disconnect; writers of other sessions are refused at once meanwhile.
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <thread>

#include "tests/e2e/ztint_tracker.h"
#include "tests/support/ztint_pg_database.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"

namespace {

using Clock = std::chrono::steady_clock;

class Ztint_Transaction_Test : public Ztint_Tracker_Test {
protected:
    static bool Exists(ZTSession* session, const std::string& id)
    {
        ZTInt_BOOL exists = -1;
        EXPECT_EQ(ZTSession_EntityExists(session, &exists, "Defect", id.c_str()), 0) << Server_Error();
        return exists == 1;
    }
    // A new Defect built in session with its headline set, not committed.
    static ZTEntity* Built(ZTSession* session, const std::string& headline)
    {
        ZTEntity* entity = nullptr;
        EXPECT_EQ(ZTSession_BuildEntity(session, &entity, "Defect"), 0) << Server_Error();
        EXPECT_EQ(Set(entity, "Headline", headline), "");
        return entity;
    }
    static std::string End(ZTSession* session, bool commit)
    {
        return ZTSession_EndTransaction(session, commit ? 1 : 0) == 0 ? "" : Server_Error();
    }
};

TEST_F(Ztint_Transaction_Test, SeveralCommitsAreSeenByOthersOnlyAtTheEnd)
{
    ZTSession* other = Logon();
    ASSERT_NE(other, nullptr);
    ASSERT_EQ(ZTSession_BeginTransaction(Session), 0) << Server_Error();
    std::vector<std::string> ids;
    for (const char* headline : {"one", "two", "three"})
        ids.push_back(Submit({{"Headline", headline}}));
    ASSERT_EQ(ids.size(), 3u);
    for (const std::string& id : ids) {
        EXPECT_TRUE(Exists(Session, id)) << id;  // the session sees its own commits
        EXPECT_FALSE(Exists(other, id)) << id;
        ZTEntity* entity = nullptr;
        EXPECT_EQ(ZTSession_GetEntity(other, &entity, "Defect", id.c_str()), -1) << id;
    }
    ASSERT_EQ(End(Session, true), "");
    const char* const headlines[] = {"one", "two", "three"};
    for (std::size_t i = 0; i < ids.size(); ++i) {
        ZTEntity* entity = nullptr;
        ASSERT_EQ(ZTSession_GetEntity(other, &entity, "Defect", ids[i].c_str()), 0) << Server_Error();
        EXPECT_EQ(Value(entity, "Headline"), headlines[i]);
        EXPECT_EQ(History(entity).size(), 1u);
        ZTInt_Entity_Free(entity);
    }
    ZTInt_Session_Free(other);
}

TEST_F(Ztint_Transaction_Test, RollbackLeavesNothingAndReturnsTheRecordsToTheirEdit)
{
    const std::string before = Submit({{"Headline", "before"}});
    ZTEntity* old = Get(before);
    ASSERT_EQ(ZTSession_BeginTransaction(Session), 0) << Server_Error();
    ZTEntity* added = Built(Session, "added");
    ASSERT_EQ(Commit(added), "");
    const std::string id = Value(added, "id");
    ASSERT_EQ(Edit(old, "Modify"), "");
    EXPECT_EQ(Set(old, "Headline", "changed"), "");
    EXPECT_EQ(Commit(old), "");
    ASSERT_EQ(End(Session, false), "");

    EXPECT_FALSE(Exists(Session, id));
    ZTEntity* fresh = Get(before);
    EXPECT_EQ(Value(fresh, "Headline"), "before");
    EXPECT_EQ(History(fresh).size(), 1u);
    // Both records are back in the edit they were in, and commit outside it.
    for (ZTEntity* entity : {added, old}) {
        ZTInt_BOOL editable = 0;
        EXPECT_EQ(ZTEntity_IsEditable(entity, &editable), 0);
        EXPECT_EQ(editable, 1);
    }
    EXPECT_EQ(Value(added, "id"), "");
    EXPECT_EQ(Commit(old), "");
    EXPECT_EQ(Commit(added), "");
    EXPECT_TRUE(Exists(Session, Value(added, "id")));
    ASSERT_EQ(ZTEntity_Reload(fresh), 0);
    EXPECT_EQ(Value(fresh, "Headline"), "changed");
    for (ZTEntity* entity : {added, old, fresh})
        ZTInt_Entity_Free(entity);
}

TEST_F(Ztint_Transaction_Test, BeginAndEndRefuseWhatTheyCannotDo)
{
    struct Case {
        const char* What;
        std::function<int32_t()> Call;
        const char* Error;  // "" when the call succeeds
    };
    const Case cases[] = {
        {"end without begin", [&] { return ZTSession_EndTransaction(Session, 1); },
         "ZTSession_EndTransaction: no transaction is open in this session"},
        {"begin", [&] { return ZTSession_BeginTransaction(Session); }, ""},
        {"nested begin", [&] { return ZTSession_BeginTransaction(Session); },
         "ZTSession_BeginTransaction: a transaction is open already in this session; transactions do not nest"},
        {"rollback", [&] { return ZTSession_EndTransaction(Session, 0); }, ""},
        {"second end", [&] { return ZTSession_EndTransaction(Session, 0); },
         "ZTSession_EndTransaction: no transaction is open in this session"},
    };
    for (const Case& c : cases) {
        const int32_t status = c.Call();
        EXPECT_EQ(status, *c.Error == '\0' ? 0 : -1) << c.What;
        if (*c.Error != '\0') {
            EXPECT_EQ(Server_Error(), c.Error) << c.What;
        }
    }
}

TEST_F(Ztint_Transaction_Test, OthersWritesAreRefusedAtOnceAndSucceedAfterTheEnd)
{
    ZTSession* other = Logon();
    ASSERT_NE(other, nullptr);
    ZTEntity* theirs = Built(other, "theirs");
    ASSERT_EQ(ZTSession_BeginTransaction(Session), 0) << Server_Error();
    const std::string mine = Submit({{"Headline", "mine"}});

    const auto start = Clock::now();
    const std::string refusal = Commit(theirs);
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));  // not the busy timeout
    EXPECT_EQ(refusal, "the store is busy; nothing was stored: another session of this server holds a "
                       "transaction on the store; try again when it has ended");
    EXPECT_EQ(ZTSession_BeginTransaction(other), -1);
    EXPECT_NE(Server_Error().find("another session of this server holds a transaction"), std::string::npos);
    char* const members[] = {const_cast<char*>("x"), nullptr};
    EXPECT_EQ(ZTSession_SetListMembers(other, "Platforms", members), -1);

    ASSERT_EQ(End(Session, true), "");
    EXPECT_EQ(Commit(theirs), "");
    EXPECT_TRUE(Exists(other, mine));
    EXPECT_TRUE(Exists(Session, Value(theirs, "id")));
    ZTInt_Entity_Free(theirs);
    ZTInt_Session_Free(other);
}

TEST_F(Ztint_Transaction_Test, LogoffAndTheSessionsEndRollBack)
{
    for (const bool logoff : {true, false}) {
        ZTSession* other = Logon();
        ASSERT_NE(other, nullptr);
        ASSERT_EQ(ZTSession_BeginTransaction(other), 0) << Server_Error();
        ZTEntity* entity = Built(other, "left open");
        ASSERT_EQ(Commit(entity), "");
        const std::string id = Value(entity, "id");
        ZTInt_Entity_Free(entity);
        if (logoff) {
            EXPECT_EQ(ZTZentrak_SessionLogoff(Zentrak, other, 0), 0) << Server_Error();
        }
        ZTInt_Session_Free(other);
        EXPECT_FALSE(Exists(Session, id)) << (logoff ? "logoff" : "free");
        EXPECT_NE(Submit({{"Headline", "after"}}), "");  // the write lock is free again
    }
}

// How many records of the store (read directly) have the headline (free of quotes).
int Stored_Headlines(const std::string& store, const ZTInt_Pg_Database* pg, const std::string& headline)
{
    if (pg != nullptr)
        return std::stoi(pg->Value("SELECT count(*) FROM zt_values WHERE field = 'Headline' AND value = '" +
                                   headline + "'"));
    sqlite3* db = nullptr;
    sqlite3_stmt* query = nullptr;
    int count = -1;
    if (sqlite3_open_v2(store.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(db, "SELECT count(*) FROM zt_values WHERE field = 'Headline' AND value = ?", -1,
                           &query, nullptr) == SQLITE_OK) {
        sqlite3_bind_text(query, 1, headline.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(query) == SQLITE_ROW)
            count = sqlite3_column_int(query, 0);
    }
    sqlite3_finalize(query);
    sqlite3_close(db);
    return count;
}

// One line from fd, without its newline; "" at the end.
std::string Read_Line(int fd)
{
    std::string line;
    for (char c; read(fd, &c, 1) == 1 && c != '\n';)
        line += c;
    return line;
}

// A second client process of the same server: its write meanwhile is refused; when it
// disconnects in the middle of its own transaction, nothing of it stays.
TEST_F(Ztint_Transaction_Test, AnotherClientIsRefusedAndItsDisconnectLeavesNothing)
{
    int to_child[2], from_child[2];
    ASSERT_EQ(pipe(to_child), 0);
    ASSERT_EQ(pipe(from_child), 0);
    ASSERT_EQ(ZTSession_BeginTransaction(Session), 0) << Server_Error();
    const std::string mine = Submit({{"Headline", "mine"}});
    const pid_t child = fork();
    if (child == 0) {
        ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
        close(to_child[1]);
        close(from_child[0]);
        ZTSession* session = Logon();
        ZTEntity* entity = session != nullptr ? Built(session, "child") : nullptr;
        std::string report = (entity != nullptr ? Commit(entity) : "(no session)") + "\n";
        (void)!write(from_child[1], report.data(), report.size());
        char go = 0;
        report = "(failed)\n";
        if (read(to_child[0], &go, 1) == 1 && ZTSession_BeginTransaction(session) == 0 &&
            Commit(entity) == "")
            report = Value(entity, "id") + "\n";
        (void)!write(from_child[1], report.data(), report.size());
        (void)!read(to_child[0], &go, 1);
        _exit(0);  // the transaction open, the session not freed
    }
    close(to_child[0]);
    close(from_child[1]);
    EXPECT_EQ(Read_Line(from_child[0]), "the store is busy; nothing was stored: another session of this server "
                                        "holds a transaction on the store; try again when it has ended");
    ASSERT_EQ(End(Session, true), "");
    ASSERT_EQ(write(to_child[1], "g", 1), 1);
    const std::string id = Read_Line(from_child[0]);
    EXPECT_EQ(id.rfind("DEMO", 0), 0u) << id;
    EXPECT_FALSE(Exists(Session, id));
    ASSERT_EQ(write(to_child[1], "x", 1), 1);
    close(to_child[1]);
    close(from_child[0]);
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(Exists(Session, mine));

    // The server drops the client when it sees the hangup; then the write lock is free.
    std::string refusal = "(none yet)";
    for (const auto start = Clock::now(); !refusal.empty() && Clock::now() - start < std::chrono::seconds(5);) {
        ZTEntity* entity = Built(Session, "after the child");
        refusal = Commit(entity);
        ZTInt_Entity_Free(entity);
        if (!refusal.empty())
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(refusal, "");
    EXPECT_EQ(Stored_Headlines(Store, Pg.get(), "child"), 0);
    EXPECT_EQ(Stored_Headlines(Store, Pg.get(), "after the child"), 1);
}

}  // namespace
