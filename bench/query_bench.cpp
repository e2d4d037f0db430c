// A filtered query through the library against its floor, in the same run:
//   query:  a query of Defect with 3 columns (id, Headline, Priority) and the filter
//           Severity = 1-Critical over kRecords records, a tenth of which match,
//           executed and walked to its end with MoveNext and GetAllColumnValues
//   direct: the same SQL (ZTResultSet_GetSQL) over the same views, by direct SQLite calls
//   floor:  direct plus the same number of echo round trips through the library
// Then the server's peak memory (VmHWM) after walking 10,000 rows of a query, and after
// walking 1,000,000: a server that keeps a cursor, not the rows, stays where it was.
//
// Runs its own server (ZTT_USER of its own) on a store in a temporary directory; the
// records are written into that store by direct SQLite calls, beside the server.
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "server/model/mdl_query.h"
#include "bench/bench_calls.h"
#include "ztint.h"
#include "ztint_client/ztint_special.h"

namespace {

constexpr int kRecords = 100000;
constexpr int kSmall_Walk = 10000, kLarge_Walk = 1000000;
constexpr int kRounds = 3;
using Clock = Bench_Clock;

bool Ok(int32_t status, const char* what)
{
    return Bench_Call_Ok(status, "query_bench", what);
}

// Writes count records of type into the store, numbered from first, in one transaction;
// each has the fields given by fill(number).
template <class Fill>
bool Fill_Store(const std::string& store, const char* type, int first, int count, Fill fill)
{
    sqlite3* db = nullptr;
    sqlite3_open(store.c_str(), &db);
    sqlite3_busy_timeout(db, 10000);
    sqlite3_stmt *record = nullptr, *value = nullptr;
    sqlite3_prepare_v2(db, "INSERT INTO zt_records(dbset, database, record_type, display_id, state, version, "
                           "changed_by, changed_at) VALUES('MASTER', 'DEMO', ?, ?, ?, 1, 'zentrak', "
                           "'2026-01-01 00:00:00') RETURNING dbid", -1, &record, nullptr);
    sqlite3_prepare_v2(db, "INSERT INTO zt_values(record, field, position, value) VALUES(?, ?, 0, ?)", -1, &value,
                       nullptr);
    bool done = sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == SQLITE_OK;
    for (int i = first; done && i < first + count; ++i) {
        const std::string id = "DEMO" + std::to_string(1000000000 + i).substr(1);
        sqlite3_bind_text(record, 1, type, -1, SQLITE_STATIC);
        sqlite3_bind_text(record, 2, id.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(record, 3, std::string(type) == "Defect" ? "Submitted" : "", -1, SQLITE_STATIC);
        done = sqlite3_step(record) == SQLITE_ROW;
        const sqlite3_int64 dbid = sqlite3_column_int64(record, 0);
        sqlite3_reset(record);
        for (const auto& [field, text] : fill(i)) {
            sqlite3_bind_int64(value, 1, dbid);
            sqlite3_bind_text(value, 2, field.c_str(), -1, SQLITE_TRANSIENT);
            sqlite3_bind_text(value, 3, text.c_str(), -1, SQLITE_TRANSIENT);
            done = done && sqlite3_step(value) == SQLITE_DONE;
            sqlite3_reset(value);
        }
    }
    done = done && sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_finalize(record);
    sqlite3_finalize(value);
    sqlite3_close(db);
    return done;
}

using Fields = std::vector<std::pair<std::string, std::string>>;

Fields Defect_Fields(int i)
{
    return {{"Headline", "Headline number " + std::to_string(i) + " of the query benchmark"},
            {"Severity", i % 10 == 0 ? "1-Critical" : "3-Average"},
            {"Priority", i % 4 == 0 ? "1-Immediate" : "3-Normal"},
            {"Description", "A description\nover two lines"}};
}

Fields Customer_Fields(int i)
{
    return {{"Name", "Customer " + std::to_string(i)}};
}

// A query of type with the columns, and Severity = 1-Critical for a Defect.
ZTResultSet* Result_Set(ZTSession* session, const char* type, const std::vector<const char*>& columns,
                        bool filtered)
{
    ZTQueryDef* query = nullptr;
    ZTResultSet* set = nullptr;
    if (!Ok(ZTSession_BuildQuery(session, &query, type), "BuildQuery"))
        return nullptr;
    bool done = true;
    for (const char* column : columns)
        done = done && Ok(ZTQueryDef_BuildField(query, column), "BuildField");
    if (filtered) {
        ZTQueryFilterNode* top = nullptr;
        char critical[] = "1-Critical";
        char* values[] = {critical, nullptr};
        done = done && Ok(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), "BuildFilterOperator") &&
               Ok(ZTQueryFilterNode_BuildFilter(top, "Severity", ZTInt_COMP_EQUAL, values), "BuildFilter");
        ZTInt_QueryFilterNode_Free(top);
    }
    done = done && Ok(ZTSession_BuildResultSet(session, &set, query), "BuildResultSet");
    ZTInt_QueryDef_Free(query);
    return done ? set : nullptr;
}

// Walks a result set to its end; the rows, or -1.
long Walk(ZTResultSet* set, bool values)
{
    if (set == nullptr || !Ok(ZTResultSet_Execute(set), "Execute"))
        return -1;
    for (long rows = 0;; ++rows) {
        ZTInt_LONG status = 0;
        if (!Ok(ZTResultSet_MoveNext(set, &status), "MoveNext"))
            return -1;
        if (status != ZTInt_FETCH_ROW)
            return rows;
        if (values) {
            char** row = nullptr;
            if (!Ok(ZTResultSet_GetAllColumnValues(set, &row, 0), "GetAllColumnValues"))
                return -1;
            ZTInt_StringArray_Free(row);
        }
    }
}

double Echoes(ZTZentrak* zentrak, long count)
{
    const auto start = Clock::now();
    for (long i = 0; i < count; ++i) {
        char* echo = nullptr;
        if (ZTZentrak_EchoString(zentrak, &echo, "DEMO00000001") != 0)
            return -1;
        ZTInt_String_Free(echo);
    }
    return Bench_Seconds_Since(start);
}

// The same SQL on the same views, by direct SQLite calls: its time, and the rows in rows.
double Direct(const std::string& store, const std::string& sql, long& rows)
{
    Mdl_Database database{nullptr, "MASTER", "DEMO", Mdl_Schema::Load(ZTINT_SOURCE_DIR "/server/schemas/sample.json")};
    sqlite3* db = nullptr;
    sqlite3_open_v2(store.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    std::string views;
    for (const Sto_View& view : Mdl_Query_Views(database))
        views += "CREATE TEMP VIEW \"" + view.Name + "\" AS " + view.Select + ";";
    sqlite3_exec(db, views.c_str(), nullptr, nullptr, nullptr);
    const auto start = Clock::now();
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr) != SQLITE_OK) {
        std::fprintf(stderr, "query_bench: %s\n", sqlite3_errmsg(db));
        sqlite3_close(db);
        return -1;
    }
    sqlite3_bind_text(statement, 1, "1-Critical", -1, SQLITE_STATIC);
    std::size_t bytes = 0;
    rows = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        ++rows;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const std::string text(reinterpret_cast<const char*>(sqlite3_column_text(statement, i)),
                                   static_cast<std::size_t>(sqlite3_column_bytes(statement, i)));
            bytes += text.size();
        }
    }
    const double seconds = Bench_Seconds_Since(start);
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return bytes > 0 ? seconds : -1;
}

// The server's pid, from "ztintsvr status".
long Server_Pid()
{
    FILE* status = popen(ZTINT_BUILD_DIR "/home/bin/ztintsvr status", "r");
    if (status == nullptr)
        return -1;
    char line[256];
    long pid = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        if (std::sscanf(line, "pid: %ld", &pid) == 1)
            break;
    pclose(status);
    return pid;
}

// A line of /proc/<pid>/status in kB ("VmHWM", "VmRSS"), or -1.
long Memory_Kb(long pid, const std::string& key)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(key + ":", 0) == 0)
            return std::atol(line.c_str() + key.size() + 1);
    return -1;
}

}  // namespace

int main()
{
    char directory[] = "/tmp/query_bench_XXXXXX";
    if (mkdtemp(directory) == nullptr)
        return 1;
    const std::string dir = directory, store = dir + "/store.db";
    setenv("ZT_HOME", ZTINT_BUILD_DIR "/home", 1);
    setenv("ZTT_USER", ("_qbench_" + std::to_string(getpid())).c_str(), 1);
    setenv("ZT_SERVER_STORE", store.c_str(), 1);
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    bool done = Ok(ZTZentrak_Build(&zentrak), "Build") &&
                Ok(ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 0),
                   "SessionLogon") &&
                Fill_Store(store, "Defect", 1, kRecords, Defect_Fields);

    // The best of kRounds rounds of each, taken in turn, so that a busy machine
    // weighs on all three alike.
    double library = 1e9, echoes = 1e9, direct = 1e9;
    long rows = -1, direct_rows = -1;
    std::string text;
    for (int round = 0; done && round < kRounds; ++round) {
        ZTResultSet* set = Result_Set(session, "Defect", {"id", "Headline", "Priority"}, true);
        const auto start = Clock::now();
        rows = Walk(set, true);
        library = std::min(library, Bench_Seconds_Since(start));
        char* sql = nullptr;
        done = rows > 0 && Ok(ZTResultSet_GetSQL(set, &sql), "GetSQL");
        text = sql != nullptr ? sql : "";
        ZTInt_String_Free(sql);
        ZTInt_ResultSet_Free(set);
        const double echo = done ? Echoes(zentrak, rows * 2 + 2) : -1;
        const double sqlite = done ? Direct(store, text, direct_rows) : -1;
        done = done && echo >= 0 && sqlite >= 0 && direct_rows == rows;
        echoes = std::min(echoes, echo);
        direct = std::min(direct, sqlite);
    }

    // Peak memory: 10,000 rows walked, then 1,000,000.
    done = done && Fill_Store(store, "Customer", kRecords + 1, kLarge_Walk, Customer_Fields);
    const long pid = Server_Pid();
    long small = -1, large = -1, small_hwm = -1, large_hwm = -1, small_rss = -1, large_rss = -1;
    double large_seconds = 0;
    if (done && pid > 0) {
        ZTResultSet* few = Result_Set(session, "Customer", {"id", "Name"}, false);
        done = few != nullptr && Ok(ZTResultSet_SetMaxResultSetRows(few, kSmall_Walk), "SetMaxResultSetRows");
        small = done ? Walk(few, false) : -1;
        ZTInt_ResultSet_Free(few);
        small_hwm = Memory_Kb(pid, "VmHWM");
        small_rss = Memory_Kb(pid, "VmRSS");
        ZTResultSet* many = Result_Set(session, "Customer", {"id", "Name"}, false);
        const auto start = Clock::now();
        large = Walk(many, false);
        large_seconds = Bench_Seconds_Since(start);
        ZTInt_ResultSet_Free(many);
        large_hwm = Memory_Kb(pid, "VmHWM");
        large_rss = Memory_Kb(pid, "VmRSS");
    }
    ZTInt_Session_Free(session);
    ZTInt_Zentrak_Free(zentrak);
    ZTInt_Special_Shutdown_Stub();
    std::filesystem::remove_all(dir);
    if (!done || small != kSmall_Walk || large != kLarge_Walk || small_hwm <= 0 || large_hwm <= 0) {
        std::fprintf(stderr, "query_bench: a step failed\n");
        return 1;
    }
    const double floor = echoes + direct;
    std::printf("%d Defect records, %ld match Severity = 1-Critical; 3 columns walked with MoveNext and "
                "GetAllColumnValues; best of %d rounds\n", kRecords, rows, kRounds);
    std::printf("query   library %6.3f s (%5.1f us/row)  floor %6.3f s = echoes %6.3f s (%ld) + SQLite %6.3f s"
                "  ratio %.2f\n",
                library, library / static_cast<double>(rows) * 1e6, floor, echoes, rows * 2 + 2, direct,
                library / floor);
    // The peak includes the slow password hash of the logon (64 MiB of libsodium's
    // interactive limit); the resident size shows the walk's own share.
    std::printf("memory  server VmHWM after %d rows %ld kB, after %d rows %ld kB (%.1f s)  ratio %.3f;"
                "  VmRSS %ld kB, %ld kB\n",
                kSmall_Walk, small_hwm, kLarge_Walk, large_hwm, large_seconds,
                static_cast<double>(large_hwm) / static_cast<double>(small_hwm), small_rss, large_rss);
    return 0;
}
