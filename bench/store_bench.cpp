// The tracking store through the library against its floor, in the same run:
//   submit: BuildEntity, 5 SetFieldValue, Commit, free, for each of kRecords records
//   read:   GetEntity and 5 GetFieldStringValue for each
// The floor of each is the same number of echo round trips through the library plus
// the same rows written (or read) by direct SQLite calls with the server's settings
// (WAL, synchronous=FULL, one transaction per record). Prints absolute times, the
// floor and the ratio.
//
// The three are measured in turns of kChunk records (library, then echoes and SQLite,
// and the other way round in the next turn), so that a disk or processor that other
// work slows for a while weighs on all three alike instead of on whichever ran then.
//
// Runs its own server (ZTT_USER of its own) on a store in a temporary directory. With
// ZTT_PG naming a PostgreSQL cluster (scripts/pg-cluster.sh), it first runs the same
// submit and read on a fresh database there.
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "server/model/mdl_store.h"
#include "bench/bench_calls.h"
#include "bench/bench_pg_admin.h"
#include "ztint.h"
#include "ztint_client/ztint_special.h"

namespace {

constexpr int kRecords = 10000;
constexpr int kChunk = 500;
using Clock = Bench_Clock;

const char* const kFields[] = {"Headline", "Description", "Severity", "Priority", "Resolution"};
const char* const kValues[] = {"A headline of some sixty characters, as headlines go today",
                               "A description\nover two lines", "2-Major", "3-Normal", "Fixed"};

bool Ok(int32_t status, const char* what)
{
    return Bench_Call_Ok(status, "store_bench", what);
}

// Submits records first to first + count - 1 (from 0).
bool Submit(ZTSession* session, int first, int count, std::vector<std::string>& ids)
{
    for (int i = first; i < first + count; ++i) {
        ZTEntity* entity = nullptr;
        if (!Ok(ZTSession_BuildEntity(session, &entity, "Defect"), "BuildEntity"))
            return false;
        for (int f = 0; f < 5; ++f) {
            char* answer = nullptr;
            if (!Ok(ZTEntity_SetFieldValue(entity, &answer, kFields[f], kValues[f]), "SetFieldValue"))
                return false;
            ZTInt_String_Free(answer);
        }
        char* answer = nullptr;
        if (!Ok(ZTEntity_Commit(entity, &answer), "Commit") || answer == nullptr || *answer != '\0')
            return false;
        ZTInt_String_Free(answer);
        ids.push_back("DEMO" + std::string(8 - std::to_string(i + 1).size(), '0') + std::to_string(i + 1));
        ZTInt_Entity_Free(entity);
    }
    return true;
}

bool Read(ZTSession* session, const std::vector<std::string>& ids, int first, int count)
{
    for (int i = first; i < first + count; ++i) {
        const std::string& id = ids[static_cast<std::size_t>(i)];
        ZTEntity* entity = nullptr;
        if (!Ok(ZTSession_GetEntity(session, &entity, "Defect", id.c_str()), "GetEntity"))
            return false;
        for (const char* field : kFields) {
            char* value = nullptr;
            if (!Ok(ZTEntity_GetFieldStringValue(entity, &value, field), "GetFieldStringValue"))
                return false;
            ZTInt_String_Free(value);
        }
        ZTInt_Entity_Free(entity);
    }
    return true;
}

double Echoes(ZTZentrak* zentrak, int count)
{
    const auto start = Clock::now();
    for (int i = 0; i < count; ++i) {
        char* echo = nullptr;
        if (ZTZentrak_EchoString(zentrak, &echo, kValues[0]) != 0)
            return -1;
        ZTInt_String_Free(echo);
    }
    return Bench_Seconds_Since(start);
}

// The rows a submit writes, by direct SQLite calls: the record, its 8 values (the 5
// set, the submitter, the date and the default severity's place taken by the set one),
// its history entry and a change per value, in one transaction per record.
class Direct_Store {
public:
    explicit Direct_Store(const std::string& path)
    {
        Mdl_Create_Tables(*Sto_Open(path));  // the same tables, made through the engine
        sqlite3_open(path.c_str(), &Db);
        sqlite3_busy_timeout(Db, 10000);
        sqlite3_exec(Db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;"
                         "INSERT INTO zt_dbsets VALUES('MASTER');"
                         "INSERT INTO zt_databases VALUES('MASTER', 'DEMO', '{}');",
                     nullptr, nullptr, nullptr);
    }
    ~Direct_Store()
    {
        for (sqlite3_stmt* statement : {Insert_Record, Set_Id, Insert_Value, Insert_History, Insert_Change,
                                        Read_Record, Read_Values})
            sqlite3_finalize(statement);
        sqlite3_close(Db);
    }

    void Prepare_Write()
    {
        Prepare(Insert_Record, "INSERT INTO zt_records(dbset, database, record_type, display_id, state, version, "
                               "changed_by, changed_at) VALUES('MASTER', 'DEMO', 'Defect', ?, 'Submitted', 1, "
                               "'zentrak', '2026-01-01 00:00:00') RETURNING dbid");
        Prepare(Set_Id, "UPDATE zt_records SET display_id = ? WHERE dbid = ?");
        Prepare(Insert_Value, "INSERT INTO zt_values(record, field, position, value) VALUES(?, ?, 0, ?)");
        Prepare(Insert_History, "INSERT INTO zt_history(record, at, user, action, old_state, new_state) "
                                "VALUES(?, '2026-01-01 00:00:00', 'zentrak', 'Submit', '', 'Submitted') RETURNING id");
        Prepare(Insert_Change, "INSERT INTO zt_history_changes(history, field, old_value, new_value) VALUES(?, ?, '', ?)");
    }

    double Write(int first, int count)
    {
        const auto start = Clock::now();
        int failures = 0;
        for (int i = first; i < first + count; ++i) {
            failures += sqlite3_exec(Db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) != SQLITE_OK;
            const std::string placeholder = "new:" + std::to_string(i);
            sqlite3_bind_text(Insert_Record, 1, placeholder.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_step(Insert_Record);
            const sqlite3_int64 dbid = sqlite3_column_int64(Insert_Record, 0);
            sqlite3_reset(Insert_Record);
            const std::string id = "DEMO" + std::to_string(100000000 + dbid).substr(1);
            sqlite3_bind_text(Set_Id, 1, id.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_int64(Set_Id, 2, dbid);
            Step(Set_Id);
            sqlite3_bind_int64(Insert_History, 1, dbid);
            sqlite3_step(Insert_History);
            const sqlite3_int64 history = sqlite3_column_int64(Insert_History, 0);
            sqlite3_reset(Insert_History);
            for (int f = 0; f < 7; ++f) {
                const char* field = f < 5 ? kFields[f] : f == 5 ? "Submitter" : "Submit_Date";
                const char* value = f < 5 ? kValues[f] : f == 5 ? "zentrak" : "2026-01-01 00:00:00";
                sqlite3_bind_int64(Insert_Value, 1, dbid);
                sqlite3_bind_text(Insert_Value, 2, field, -1, SQLITE_STATIC);
                sqlite3_bind_text(Insert_Value, 3, value, -1, SQLITE_STATIC);
                Step(Insert_Value);
                sqlite3_bind_int64(Insert_Change, 1, history);
                sqlite3_bind_text(Insert_Change, 2, field, -1, SQLITE_STATIC);
                sqlite3_bind_text(Insert_Change, 3, value, -1, SQLITE_STATIC);
                Step(Insert_Change);
            }
            failures += sqlite3_exec(Db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK;
        }
        return failures == 0 ? Bench_Seconds_Since(start) : -1;
    }

    void Prepare_Read()
    {
        Prepare(Read_Record, "SELECT dbid, state, version FROM zt_records WHERE dbset = 'MASTER' AND "
                             "database = 'DEMO' AND record_type = 'Defect' AND display_id = ?");
        Prepare(Read_Values, "SELECT field, value FROM zt_values WHERE record = ? ORDER BY field, position");
    }

    // Reads records first to first + count - 1 (from 0).
    double Read(int first, int count)
    {
        const auto start = Clock::now();
        std::size_t bytes = 0;
        for (int i = first + 1; i <= first + count; ++i) {
            const std::string id = "DEMO" + std::to_string(100000000 + i).substr(1);
            sqlite3_bind_text(Read_Record, 1, id.c_str(), -1, SQLITE_TRANSIENT);
            if (sqlite3_step(Read_Record) != SQLITE_ROW)
                return -1;
            sqlite3_bind_int64(Read_Values, 1, sqlite3_column_int64(Read_Record, 0));
            sqlite3_reset(Read_Record);
            while (sqlite3_step(Read_Values) == SQLITE_ROW)
                bytes += static_cast<std::size_t>(sqlite3_column_bytes(Read_Values, 1));
            sqlite3_reset(Read_Values);
        }
        return bytes > 0 ? Bench_Seconds_Since(start) : -1;
    }

private:
    void Prepare(sqlite3_stmt*& statement, const char* sql)
    {
        sqlite3_prepare_v2(Db, sql, -1, &statement, nullptr);
    }
    static void Step(sqlite3_stmt* statement)
    {
        sqlite3_step(statement);
        sqlite3_reset(statement);
    }

    sqlite3* Db = nullptr;
    sqlite3_stmt *Insert_Record = nullptr, *Set_Id = nullptr, *Insert_Value = nullptr, *Insert_History = nullptr,
                 *Insert_Change = nullptr, *Read_Record = nullptr, *Read_Values = nullptr;
};

void Report(const char* what, double library, double echoes, double direct)
{
    const double floor = echoes + direct;
    std::printf("%-7s library %7.2f s (%6.1f us/record)  floor %7.2f s = echoes %6.2f s + SQLite %6.2f s"
                "  ratio %.2f\n",
                what, library, library / kRecords * 1e6, floor, echoes, direct, library / floor);
}

// Submits and reads kRecords records through a server on store; false on a failure.
bool Run_Library(const std::string& store, double& submit, double& read)
{
    setenv("ZT_SERVER_STORE", store.c_str(), 1);
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    std::vector<std::string> ids;
    bool done = Ok(ZTZentrak_Build(&zentrak), "Build") &&
                Ok(ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 0),
                   "SessionLogon");
    auto start = Clock::now();
    done = done && Submit(session, 0, kRecords, ids);
    submit = Bench_Seconds_Since(start);
    start = Clock::now();
    done = done && Read(session, ids, 0, kRecords);
    read = Bench_Seconds_Since(start);
    ZTInt_Session_Free(session);
    ZTInt_Zentrak_Free(zentrak);
    ZTInt_Special_Shutdown_Stub();
    return done;
}

// With a PostgreSQL cluster named (ZTT_PG, see scripts/pg-cluster.sh), the same submit
// and read through a server of its own on a fresh database, in a child process, so
// that its server and connection are its own. Prints its line; false on a failure.
bool Run_On_Postgres(const std::string& cluster)
{
    const std::string database = "zt_bench_" + std::to_string(getpid());
    if (!Bench_Pg_Admin("store_bench", cluster, "CREATE DATABASE " + database))
        return false;
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        setenv("ZTT_USER", ("_bench_pg_" + std::to_string(getpid())).c_str(), 1);
        double submit = 0, read = 0;
        if (!Run_Library(cluster + " dbname=" + database, submit, read))
            _exit(1);
        std::printf("PostgreSQL 15 (one transaction per record, fsync as the cluster is set):\n"
                    "submit  library %7.2f s (%6.1f us/record)\n"
                    "read    library %7.2f s (%6.1f us/record)\n",
                    submit, submit / kRecords * 1e6, read, read / kRecords * 1e6);
        std::fflush(stdout);
        _exit(0);
    }
    int status = 0;
    const bool ok = child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
                    WEXITSTATUS(status) == 0;
    return Bench_Pg_Admin("store_bench", cluster, "DROP DATABASE " + database + " WITH (FORCE)") && ok;
}

}  // namespace

// The seconds of each of the three, summed over the chunks.
struct Times {
    double Library = 0, Echoes = 0, Direct = 0;
};

// The library's chunk goes first in one turn and last in the next, so that neither
// side always follows the other's writes.
template <class Library, class Echo, class Direct>
bool Measure(Times& times, Library library, Echo echo, Direct direct)
{
    for (int first = 0; first < kRecords; first += kChunk) {
        const bool library_first = first / kChunk % 2 == 0;
        double echoes = 0, sqlite = 0;
        if (!library_first && ((echoes = echo()) < 0 || (sqlite = direct(first, kChunk)) < 0))
            return false;
        const auto start = Clock::now();
        if (!library(first, kChunk))
            return false;
        times.Library += Bench_Seconds_Since(start);
        if (library_first && ((echoes = echo()) < 0 || (sqlite = direct(first, kChunk)) < 0))
            return false;
        times.Echoes += echoes;
        times.Direct += sqlite;
    }
    return true;
}

int main()
{
    char directory[] = "/tmp/store_bench_XXXXXX";
    if (mkdtemp(directory) == nullptr)
        return 1;
    const std::string dir = directory;
    setenv("ZT_HOME", ZTINT_BUILD_DIR "/home", 1);
    setenv("ZTT_USER", ("_bench_" + std::to_string(getpid())).c_str(), 1);
    const char* cluster = std::getenv("ZTT_PG");
    const bool postgres_ok = cluster == nullptr || *cluster == '\0' || Run_On_Postgres(cluster);
    setenv("ZT_SERVER_STORE", (dir + "/library.db").c_str(), 1);
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    std::vector<std::string> ids;
    Times submit, read;
    bool done = Ok(ZTZentrak_Build(&zentrak), "Build") &&
                Ok(ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 0),
                   "SessionLogon");
    if (done) {
        Direct_Store direct(dir + "/direct.db");
        direct.Prepare_Write();
        // Submit: build, 5 sets, commit, free; read: get, 5 reads, free.
        done = Measure(
            submit, [&](int first, int count) { return Submit(session, first, count, ids); },
            [&] { return Echoes(zentrak, kChunk * 8); },
            [&](int first, int count) { return direct.Write(first, count); });
        direct.Prepare_Read();
        done = done && Measure(
                           read, [&](int first, int count) { return Read(session, ids, first, count); },
                           [&] { return Echoes(zentrak, kChunk * 7); },
                           [&](int first, int count) { return direct.Read(first, count); });
    }
    ZTInt_Session_Free(session);
    ZTInt_Zentrak_Free(zentrak);
    ZTInt_Special_Shutdown_Stub();
    // The server may still be closing its store files, which takes some away.
    std::error_code error;
    for (int tries = 0; std::filesystem::remove_all(dir, error), error && tries < 100; ++tries)
        usleep(20000);
    if (!done || !postgres_ok) {
        std::fprintf(stderr, "store_bench: a step failed\n");
        return 1;
    }
    std::printf("%d records, 5 fields each; WAL, synchronous=FULL, one transaction per record; "
                "in turns of %d\n", kRecords, kChunk);
    Report("submit", submit.Library, submit.Echoes, submit.Direct);
    Report("read", read.Library, read.Echoes, read.Direct);
    return 0;
}
