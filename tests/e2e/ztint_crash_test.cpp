// The server killed with SIGKILL in the middle of commits, 20 times: after each restart
// every commit that returned "" is there whole, and the store holds no half record.
// The store is read directly afterwards, by SQLite or by libpq, whichever the server
// used.
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>
#include <thread>

#include "tests/e2e/ztint_tracker.h"
#include "tests/support/ztint_pg_database.h"

namespace {

constexpr int kRounds = 20;

// A client process: submits records until a call fails, writing "<id> <headline>" for
// each commit that returned "".
[[noreturn]] void Commit_Until_Killed(int round, int fd)
{
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0 ||
        ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 0) != 0)
        _exit(1);
    if (write(fd, "ready\n", 6) != 6)
        _exit(1);
    for (int i = 0;; ++i) {
        const std::string headline = "round " + std::to_string(round) + " record " + std::to_string(i);
        ZTEntity* entity = nullptr;
        char* answer = nullptr;
        if (ZTSession_BuildEntity(session, &entity, "Defect") != 0 ||
            ZTEntity_SetFieldValue(entity, &answer, "Headline", headline.c_str()) != 0)
            _exit(0);
        ZTInt_String_Free(answer);
        if (ZTEntity_Commit(entity, &answer) != 0)
            _exit(0);
        const bool stored = answer != nullptr && *answer == '\0';
        ZTInt_String_Free(answer);
        char* id = nullptr;
        if (stored && ZTEntity_GetFieldStringValue(entity, &id, "id") == 0) {
            const std::string line = Ztint_Take(id) + " " + headline + "\n";
            if (write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
                _exit(1);
        }
    }
}

// The rows of sql on the test's store, each value as text, through the engine the
// server uses; a failure is recorded and gives no rows.
std::vector<std::vector<std::string>> Store_Rows(const std::string& store, const ZTInt_Pg_Database* pg,
                                                 const std::string& sql)
{
    if (pg != nullptr)
        return pg->Rows(sql);
    std::vector<std::vector<std::string>> rows;
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(store.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
    } else {
        while (sqlite3_step(statement) == SQLITE_ROW) {
            rows.emplace_back();
            for (int column = 0; column < sqlite3_column_count(statement); ++column) {
                const unsigned char* text = sqlite3_column_text(statement, column);
                rows.back().emplace_back(text != nullptr ? reinterpret_cast<const char*>(text) : "");
            }
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return rows;
}

// The first value of the first row, or "(no row)".
std::string Store_Value(const std::string& store, const ZTInt_Pg_Database* pg, const std::string& sql)
{
    const auto rows = Store_Rows(store, pg, sql);
    return rows.empty() || rows[0].empty() ? "(no row)" : rows[0][0];
}

using Ztint_Crash_Test = Ztint_E2E;

TEST_F(Ztint_Crash_Test, KilledServersLoseNoCommitAndLeaveNoHalfRecord)
{
    std::mt19937 random(42);
    std::map<std::string, std::string> committed;  // id -> headline
    for (int round = 0; round < kRounds; ++round) {
        int lines[2];
        ASSERT_EQ(pipe(lines), 0);
        const pid_t child = fork();
        if (child == 0) {
            close(lines[0]);
            Commit_Until_Killed(round, lines[1]);
        }
        close(lines[1]);
        FILE* from_child = fdopen(lines[0], "r");
        char line[256];
        ASSERT_NE(fgets(line, sizeof line, from_child), nullptr) << "round " << round << ": no logon";
        std::this_thread::sleep_for(std::chrono::milliseconds(50 + random() % 400));
        const std::vector<int> servers = Server_Pids();
        ASSERT_FALSE(servers.empty());
        kill(servers.back(), SIGKILL);
        while (fgets(line, sizeof line, from_child) != nullptr) {
            std::istringstream fields(line);
            std::string id, headline;
            fields >> id;
            std::getline(fields >> std::ws, headline);
            committed[id] = headline;
        }
        fclose(from_child);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "round " << round;
        while (Ztint_Process_Runs(servers.back()))
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ASSERT_GT(committed.size(), std::size_t{kRounds});

    // A SQLite file must be whole; PostgreSQL enforces its keys itself.
    if (!Pg) {
        EXPECT_EQ(Store_Value(Store, nullptr, "PRAGMA integrity_check"), "ok");
        EXPECT_EQ(Store_Value(Store, nullptr, "PRAGMA foreign_key_check"), "(no row)");
    }
    // Every record has its submit entry, its values and nothing dangles.
    EXPECT_EQ(Store_Value(Store, Pg.get(),
                          "SELECT count(*) FROM zt_records WHERE dbid NOT IN (SELECT record FROM zt_history)"
                          " OR dbid NOT IN (SELECT record FROM zt_values WHERE field = 'Headline')"
                          " OR display_id LIKE 'new:%'"),
              "0");
    EXPECT_EQ(Store_Value(Store, Pg.get(),
                          "SELECT count(*) FROM zt_history WHERE id NOT IN (SELECT history FROM zt_history_changes)"),
              "0");
    // Every commit that returned "" is there with its headline.
    std::map<std::string, std::string> stored;
    for (const auto& row : Store_Rows(Store, Pg.get(),
                                      "SELECT display_id, value FROM zt_values JOIN zt_records ON record = dbid "
                                      "WHERE field = 'Headline'"))
        stored[row.at(0)] = row.at(1);
    for (const auto& [id, headline] : committed) {
        const auto found = stored.find(id);
        EXPECT_TRUE(found != stored.end() && found->second == headline) << id << " " << headline;
    }
}

}  // namespace
