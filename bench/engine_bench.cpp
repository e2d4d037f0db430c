// The tracking store's two engines side by side, in one run, through the library:
//   submit: BuildEntity, 5 SetFieldValue, Commit, free, for each of kRecords records
//   read:   GetEntity and 5 GetFieldStringValue for each
//   query:  Defect with 3 columns (id, Headline, Priority) and the filter
//           Severity = 1-Critical, which a tenth of the records match, executed and
//           walked with MoveNext and GetAllColumnValues; the best of kRounds
// on a SQLite file in a temporary directory and on a fresh database of the PostgreSQL
// cluster that ZTT_PG names (scripts/pg-cluster.sh, or scripts/bench-pg.sh); without
// ZTT_PG the PostgreSQL column says it was not run. Then, on PostgreSQL only, the
// aggregate submits per second of 1, 2, 4 and 8 servers on one database, each server
// with a ZTT_USER of its own and one client, all clients started together, the best of
// kScale_Rounds. The writers of one database take turns (each write transaction holds
// the store's write lock), so more servers cannot commit more than one writer at a
// time does: the figures show what taking turns costs.
//
// Each engine's run and each client runs in a child process, so that its server and
// its connection are its own; every server is stopped when its client is done.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "bench/bench_calls.h"
#include "bench/bench_pg_admin.h"
#include "foundation/host/hst_switches.h"
#include "ztint.h"
#include "ztint_values.h"
#include "ztint_client/ztint_special.h"

namespace {

constexpr int kRecords = 3000;
constexpr int kRounds = 5;
constexpr int kScale_Submits = 400;  // by each client
constexpr int kScale_Rounds = 3;
constexpr int kServer_Counts[] = {1, 2, 4, 8};
using Clock = Bench_Clock;

const char* const kFields[] = {"Headline", "Description", "Severity", "Priority", "Resolution"};

bool Ok(int32_t status, const char* what)
{
    return Bench_Call_Ok(status, "engine_bench", what);
}

// Record i's values: a tenth of the records are critical.
std::vector<std::string> Values_Of(int i)
{
    return {"Headline number " + std::to_string(i) + " of the engine benchmark", "A description\nover two lines",
            i % 10 == 0 ? "1-Critical" : "3-Average", "3-Normal", "Fixed"};
}

ZTSession* Logon()
{
    ZTZentrak* zentrak = nullptr;
    ZTSession* session = nullptr;
    const bool done = Ok(ZTZentrak_Build(&zentrak), "Build") &&
                      Ok(ZTZentrak_SessionLogon(zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 0),
                         "SessionLogon");
    ZTInt_Zentrak_Free(zentrak);
    return done ? session : nullptr;
}

// Submits record i; its id, or nothing on a failure.
std::optional<std::string> Submit(ZTSession* session, int i)
{
    ZTEntity* entity = nullptr;
    if (!Ok(ZTSession_BuildEntity(session, &entity, "Defect"), "BuildEntity"))
        return std::nullopt;
    const std::vector<std::string> values = Values_Of(i);
    bool done = true;
    for (std::size_t f = 0; done && f < values.size(); ++f) {
        char* answer = nullptr;
        done = Ok(ZTEntity_SetFieldValue(entity, &answer, kFields[f], values[f].c_str()), "SetFieldValue");
        ZTInt_String_Free(answer);
    }
    char* answer = nullptr;
    done = done && Ok(ZTEntity_Commit(entity, &answer), "Commit") && answer != nullptr && *answer == '\0';
    ZTInt_String_Free(answer);
    char* id = nullptr;
    done = done && Ok(ZTEntity_GetFieldStringValue(entity, &id, "id"), "GetFieldStringValue");
    std::optional<std::string> result;
    if (done)
        result = id;
    ZTInt_String_Free(id);
    ZTInt_Entity_Free(entity);
    return result;
}

bool Read(ZTSession* session, const std::string& id)
{
    ZTEntity* entity = nullptr;
    if (!Ok(ZTSession_GetEntity(session, &entity, "Defect", id.c_str()), "GetEntity"))
        return false;
    bool done = true;
    for (const char* field : kFields) {
        char* value = nullptr;
        done = done && Ok(ZTEntity_GetFieldStringValue(entity, &value, field), "GetFieldStringValue");
        ZTInt_String_Free(value);
    }
    ZTInt_Entity_Free(entity);
    return done;
}

// Runs the filtered query and walks it to its end; the rows, or -1.
long Query(ZTSession* session)
{
    ZTQueryDef* query = nullptr;
    ZTQueryFilterNode* top = nullptr;
    ZTResultSet* set = nullptr;
    char critical[] = "1-Critical";
    char* values[] = {critical, nullptr};
    bool done = Ok(ZTSession_BuildQuery(session, &query, "Defect"), "BuildQuery");
    for (const char* column : {"id", "Headline", "Priority"})
        done = done && Ok(ZTQueryDef_BuildField(query, column), "BuildField");
    done = done && Ok(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), "BuildFilterOperator") &&
           Ok(ZTQueryFilterNode_BuildFilter(top, "Severity", ZTInt_COMP_EQUAL, values), "BuildFilter") &&
           Ok(ZTSession_BuildResultSet(session, &set, query), "BuildResultSet") &&
           Ok(ZTResultSet_Execute(set), "Execute");
    long rows = 0;
    for (ZTInt_LONG status = ZTInt_FETCH_ROW; done;) {
        done = Ok(ZTResultSet_MoveNext(set, &status), "MoveNext");
        if (!done || status != ZTInt_FETCH_ROW)
            break;
        char** row = nullptr;
        done = Ok(ZTResultSet_GetAllColumnValues(set, &row, 0), "GetAllColumnValues");
        ZTInt_StringArray_Free(row);
        ++rows;
    }
    ZTInt_ResultSet_Free(set);
    ZTInt_QueryFilterNode_Free(top);
    ZTInt_QueryDef_Free(query);
    return done ? rows : -1;
}

// Starts body in a child process with a server of its own (ZTT_USER user) on store.
// The child's standard output goes into a pipe whose reading end is returned in from;
// the child stops its server when body returns and exits 0 when body returned true.
pid_t Start_Child(const std::string& user, const std::string& store, int& from, const std::function<bool(FILE*)>& body)
{
    int lines[2];
    if (pipe2(lines, O_CLOEXEC) != 0)
        return -1;
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        close(lines[0]);
        setenv("ZTT_USER", user.c_str(), 1);
        setenv("ZT_SERVER_STORE", store.c_str(), 1);
        Hst_Switches::Clear_Cache();
        FILE* out = fdopen(lines[1], "w");
        const bool done = out != nullptr && body(out);
        ZTInt_Special_Shutdown_Stub();
        const bool written = out != nullptr && std::fclose(out) == 0;
        _exit(done && written ? 0 : 1);
    }
    close(lines[1]);
    from = lines[0];
    return child;
}

// True when child exited 0.
bool Finished(pid_t child)
{
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

struct Engine_Times {
    double Submit = 0, Read = 0, Query = 0;  // seconds
    long Rows = 0;                           // of the query
};

// Submit, read and query on store, in a child of its own; nothing on a failure.
std::optional<Engine_Times> Measure_Engine(const std::string& user, const std::string& store)
{
    int from = -1;
    const pid_t child = Start_Child(user, store, from, [](FILE* out) {
        ZTSession* session = Logon();
        std::vector<std::string> ids;
        Engine_Times times;
        auto start = Clock::now();
        for (int i = 0; session != nullptr && i < kRecords; ++i)
            if (std::optional<std::string> id = Submit(session, i))
                ids.push_back(*id);
            else
                break;
        times.Submit = Bench_Seconds_Since(start);
        start = Clock::now();
        bool done = ids.size() == kRecords &&
                    std::all_of(ids.begin(), ids.end(), [&](const std::string& id) { return Read(session, id); });
        times.Read = Bench_Seconds_Since(start);
        times.Query = 1e9;
        for (int round = 0; done && round < kRounds; ++round) {
            start = Clock::now();
            times.Rows = Query(session);
            times.Query = std::min(times.Query, Bench_Seconds_Since(start));
            done = times.Rows == (kRecords + 9) / 10;
        }
        ZTInt_Session_Free(session);
        std::fprintf(out, "%.9f %.9f %.9f %ld\n", times.Submit, times.Read, times.Query, times.Rows);
        return done;
    });
    if (child < 0)
        return std::nullopt;
    FILE* in = fdopen(from, "r");
    Engine_Times times;
    const bool read = in != nullptr &&
                      std::fscanf(in, "%lf %lf %lf %ld", &times.Submit, &times.Read, &times.Query, &times.Rows) == 4;
    if (in != nullptr)
        std::fclose(in);
    else
        close(from);
    if (!Finished(child) || !read)
        return std::nullopt;
    return times;
}

// The aggregate submits per second of servers servers on store, each with one client
// that submits kScale_Submits records; all clients log on first and then start
// together. Nothing on a failure.
std::optional<double> Measure_Servers(int servers, const std::string& store, const std::string& user_prefix)
{
    int go[2];
    if (pipe2(go, O_CLOEXEC) != 0)
        return std::nullopt;
    std::vector<pid_t> children;
    std::vector<FILE*> from;
    for (int n = 0; n < servers; ++n) {
        int fd = -1;
        const int go_read = go[0];
        const pid_t child = Start_Child(user_prefix + std::to_string(n), store, fd, [go_read, n](FILE* out) {
            ZTSession* session = Logon();
            char signal = 0;
            bool done = session != nullptr && std::fputs("ready\n", out) >= 0 && std::fflush(out) == 0 &&
                        read(go_read, &signal, 1) == 1;
            for (int i = 0; done && i < kScale_Submits; ++i)
                done = Submit(session, 1000000 * (n + 1) + i).has_value();
            ZTInt_Session_Free(session);
            return done && std::fputs("done\n", out) >= 0;
        });
        if (child < 0)
            break;
        children.push_back(child);
        from.push_back(fdopen(fd, "r"));
    }
    close(go[0]);
    char line[64];
    bool done = children.size() == static_cast<std::size_t>(servers);
    for (FILE* in : from)
        done = done && in != nullptr && std::fgets(line, sizeof line, in) != nullptr && line == std::string("ready\n");
    const auto start = Clock::now();
    done = done && write(go[1], std::string(static_cast<std::size_t>(servers), 'g').data(),
                         static_cast<std::size_t>(servers)) == servers;
    close(go[1]);  // a child still waiting gets end of file
    for (FILE* in : from)
        done = done && std::fgets(line, sizeof line, in) != nullptr && line == std::string("done\n");
    const double seconds = Bench_Seconds_Since(start);
    for (FILE* in : from)
        if (in != nullptr)
            std::fclose(in);
    for (pid_t child : children)
        done = Finished(child) && done;
    if (!done)
        return std::nullopt;
    return servers * kScale_Submits / seconds;
}

// One row of the side-by-side table: a figure for each engine, or the reason it has none.
void Print_Row(const char* what, const char* unit, const std::optional<Engine_Times>& sqlite,
               const std::optional<Engine_Times>& postgres, const std::string& missing,
               double (*figure)(const Engine_Times&))
{
    const auto cell = [&](const std::optional<Engine_Times>& times) {
        char text[64];
        std::snprintf(text, sizeof text, "%.1f", times ? figure(*times) : 0.0);
        return times ? std::string(text) : missing;
    };
    std::printf("%-7s %-10s %14s  %s\n", what, unit, cell(sqlite).c_str(), cell(postgres).c_str());
}

}  // namespace

int main()
{
    char directory[] = "/tmp/engine_bench_XXXXXX";
    if (mkdtemp(directory) == nullptr)
        return 1;
    setenv("ZT_HOME", ZTINT_BUILD_DIR "/home", 1);
    const std::string user = "_ebench_" + std::to_string(getpid());
    const std::optional<Engine_Times> sqlite = Measure_Engine(user + "_l", std::string(directory) + "/store.db");
    std::error_code ignored;
    std::filesystem::remove_all(directory, ignored);

    const char* cluster_value = std::getenv("ZTT_PG");
    const std::string cluster = cluster_value != nullptr ? cluster_value : "";
    const std::string database = "zt_engine_bench_" + std::to_string(getpid());
    const bool on_postgres =
        !cluster.empty() && Bench_Pg_Admin("engine_bench", cluster, "CREATE DATABASE " + database);
    const std::string store = cluster + " dbname=" + database;
    const std::optional<Engine_Times> postgres =
        on_postgres ? Measure_Engine(user + "_p", store) : std::nullopt;
    std::vector<std::optional<double>> rates;
    // The best of kScale_Rounds for each number of servers: a busy machine only ever slows.
    for (int servers : kServer_Counts) {
        std::optional<double> best;
        for (int round = 0; postgres && round < kScale_Rounds; ++round) {
            const std::string prefix = user + "_s" + std::to_string(servers) + "r" + std::to_string(round) + "_";
            const std::optional<double> rate = Measure_Servers(servers, store, prefix);
            if (!rate) {
                best.reset();
                break;
            }
            best = std::max(best.value_or(0), *rate);
        }
        if (postgres)
            rates.push_back(best);
    }
    const bool dropped =
        !on_postgres || Bench_Pg_Admin("engine_bench", cluster, "DROP DATABASE " + database + " WITH (FORCE)");

    std::printf("%d records of 5 fields submitted and read one by one; a query of 3 columns over %ld matching "
                "rows, best of %d. Wall-clock times on a shared machine: other work weighs on them.\n",
                kRecords, sqlite ? sqlite->Rows : 0L, kRounds);
    std::printf("%-7s %-10s %14s  %s\n", "", "", "SQLite", "PostgreSQL");
    const std::string missing = cluster.empty() ? "not run (no ZTT_PG)" : "failed";
    Print_Row("submit", "us/record", sqlite, postgres, missing,
              [](const Engine_Times& t) { return t.Submit / kRecords * 1e6; });
    Print_Row("", "records/s", sqlite, postgres, missing, [](const Engine_Times& t) { return kRecords / t.Submit; });
    Print_Row("read", "us/record", sqlite, postgres, missing,
              [](const Engine_Times& t) { return t.Read / kRecords * 1e6; });
    Print_Row("query", "us/row", sqlite, postgres, missing,
              [](const Engine_Times& t) { return t.Query / static_cast<double>(t.Rows) * 1e6; });
    if (postgres) {
        std::printf("PostgreSQL, one database, one client per server, %d submits each, started together; "
                    "best of %d:\n", kScale_Submits, kScale_Rounds);
        std::printf("servers  submits/s\n");
        for (std::size_t i = 0; i < rates.size(); ++i)
            if (rates[i])
                std::printf("%7d  %9.1f\n", kServer_Counts[i], *rates[i]);
            else
                std::printf("%7d  failed\n", kServer_Counts[i]);
    }
    const bool all_ran = sqlite && (cluster.empty() || postgres) &&
                         std::all_of(rates.begin(), rates.end(), [](const auto& rate) { return rate.has_value(); });
    if (!all_ran || !dropped) {
        std::fprintf(stderr, "engine_bench: a step failed\n");
        return 1;
    }
    return 0;
}
