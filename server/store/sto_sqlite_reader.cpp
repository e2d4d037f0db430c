#include "server/store/sto_sqlite_reader.h"

#include "server/store/sto_sqlite_values.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <random>
#include <set>

namespace {

std::string Quoted_Name(const std::string& name)
{
    std::string text = "\"";
    for (char c : name)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + "\"";
}

// The pure functions a user's SQL may call: no side effects, no access to files or to
// other databases, nothing that loads code.
const std::set<std::string> kPureFunctions = {
    "abs", "avg", "char", "coalesce", "count", "date", "datetime", "format", "glob", "group_concat",
    "hex", "ifnull", "iif", "instr", "julianday", "length", "like", "lower", "ltrim", "max", "min",
    "nullif", "printf", "quote", "replace", "round", "rtrim", "sign", "string_agg", "strftime",
    "substr", "substring", "sum", "time", "total", "trim", "typeof", "unicode", "upper", "unixepoch"};

// What a restricted statement may do, and why the first refusal came.
struct Authority {
    std::set<std::string> Public;    // the views users name
    std::set<std::string> Internal;  // the views behind them, under names users do not know
    bool Restricted = false;
    std::string Refusal;
};

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

bool Allowed_Read(const Authority& authority, const char* table, const char* database, const char* inner)
{
    const std::string name = table != nullptr ? table : "";
    const bool temp = database != nullptr && std::string(database) == "temp";
    if (temp && (authority.Public.count(name) != 0 || authority.Internal.count(name) != 0))
        return true;
    // The store's tables are read only inside the hidden views: a common table
    // expression may take a view's public name, never a hidden one.
    return inner != nullptr && authority.Internal.count(inner) != 0;
}

int Authorize(void* context, int action, const char* first, const char* second, const char* database,
              const char* inner)
{
    auto& authority = *static_cast<Authority*>(context);
    if (!authority.Restricted)
        return SQLITE_OK;
    std::string refusal;
    switch (action) {
    case SQLITE_SELECT:
        return SQLITE_OK;
    case SQLITE_READ:
        if (Allowed_Read(authority, first, database, inner))
            return SQLITE_OK;
        refusal = std::string("\"") + (first != nullptr ? first : "") + "\" is not one of the views";
        break;
    case SQLITE_FUNCTION:
        if (second != nullptr && kPureFunctions.count(Lower(second)) != 0)
            return SQLITE_OK;
        refusal = std::string("the function ") + (second != nullptr ? second : "?") + " is not allowed";
        break;
    case SQLITE_PRAGMA:
        refusal = "PRAGMA is not allowed";
        break;
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
        refusal = "ATTACH and DETACH are not allowed";
        break;
    case SQLITE_RECURSIVE:
        refusal = "recursive queries are not allowed";
        break;
    default:
        refusal = "only reading is allowed";
        break;
    }
    if (authority.Refusal.empty())
        authority.Refusal = refusal;
    return SQLITE_DENY;
}

// How long the cursors of a reader may work before they are stopped.
struct Time_Limit {
    int Seconds = 0;  // 0: no limit
    std::chrono::steady_clock::time_point Deadline;

    bool Passed() const { return Seconds > 0 && std::chrono::steady_clock::now() > Deadline; }
};

int Check_Time(void* context)
{
    return static_cast<const Time_Limit*>(context)->Passed() ? 1 : 0;
}

class Sqlite_Cursor final : public Sto_Sqlite_Values<Sto_Cursor> {
public:
    Sqlite_Cursor(sqlite3* db, sqlite3_stmt* handle, const Time_Limit& limit) : Sto_Sqlite_Values(db, handle), Limit(limit) {}
    ~Sqlite_Cursor() override { sqlite3_finalize(Handle); }
    Sqlite_Cursor(const Sqlite_Cursor&) = delete;
    Sqlite_Cursor& operator=(const Sqlite_Cursor&) = delete;

    bool Next() override
    {
        const int code = sqlite3_step(Handle);
        if (code == SQLITE_ROW)
            return true;
        sqlite3_reset(Handle);  // the snapshot goes with the last row
        if (code == SQLITE_DONE)
            return false;
        if (code == SQLITE_INTERRUPT)
            throw Sto_Error("the query ran longer than " + std::to_string(Limit.Seconds) + " s and was stopped");
        Sto_Sqlite_Throw(Db, code, "the store refused a query");
    }
    int Column_Count() override { return sqlite3_column_count(Handle); }
    std::string Column_Name(int column) override
    {
        const char* name = sqlite3_column_name(Handle, column);
        return name != nullptr ? name : "";
    }

private:
    const Time_Limit& Limit;
};

std::string Random_Tag()
{
    std::random_device device;
    std::string tag;
    for (int i = 0; i < 4; ++i) {
        char part[9];
        std::snprintf(part, sizeof part, "%08x", device());
        tag += part;
    }
    return tag;
}

class Sqlite_Reader final : public Sto_Reader {
public:
    Sqlite_Reader(const std::string& path, int busy_timeout_ms, const std::vector<Sto_View>& views)
    {
        const int code = sqlite3_open_v2(path.c_str(), &Db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr);
        if (code != SQLITE_OK) {
            sqlite3_close(Db);
            Db = nullptr;
            Sto_Sqlite_Throw(nullptr, code, "cannot open a reader of the store " + path);
        }
        sqlite3_busy_timeout(Db, busy_timeout_ms);
        sqlite3_limit(Db, SQLITE_LIMIT_ATTACHED, 0);
        sqlite3_limit(Db, SQLITE_LIMIT_LENGTH, kMax_Value_Bytes);  // printf('%.*c', ...) and the like
        sqlite3_progress_handler(Db, 10000, Check_Time, &Limit);
        sqlite3_db_config(Db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(Db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 0, nullptr);
        Make_Views(views);
        sqlite3_set_authorizer(Db, Authorize, &Rules);
    }
    ~Sqlite_Reader() override { sqlite3_close(Db); }
    Sqlite_Reader(const Sqlite_Reader&) = delete;
    Sqlite_Reader& operator=(const Sqlite_Reader&) = delete;

    std::unique_ptr<Sto_Cursor> Open(const std::string& sql) override
    {
        sqlite3_stmt* handle = nullptr;
        const int code = sqlite3_prepare_v2(Db, sql.c_str(), static_cast<int>(sql.size()), &handle, nullptr);
        if (code != SQLITE_OK)
            Sto_Sqlite_Throw(Db, code, "cannot prepare a query");
        return std::make_unique<Sqlite_Cursor>(Db, handle, Limit);
    }

    std::unique_ptr<Sto_Cursor> Open_Restricted(const std::string& sql) override
    {
        Rules.Restricted = true;
        Rules.Refusal.clear();
        sqlite3_stmt* handle = nullptr;
        const char* tail = nullptr;
        int code = sqlite3_prepare_v2(Db, sql.c_str(), static_cast<int>(sql.size()), &handle, &tail);
        std::unique_ptr<Sqlite_Cursor> cursor(handle != nullptr ? new Sqlite_Cursor(Db, handle, Limit) : nullptr);
        std::string refusal = Rules.Refusal;
        if (code == SQLITE_OK && refusal.empty())
            refusal = Check_Statement(handle, tail);
        else if (refusal.empty())
            refusal = sqlite3_errmsg(Db);
        Rules.Restricted = false;
        if (!refusal.empty())
            throw Sto_Refused(refusal);
        return cursor;
    }

    std::vector<std::string> View_Names() const override
    {
        return {Rules.Public.begin(), Rules.Public.end()};
    }

    void Set_Time_Limit(int seconds) override
    {
        Limit.Seconds = seconds;
        Limit.Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    }

private:
    // Each view is two: a hidden one with a random name that reads the store's tables,
    // and the public one that reads only the hidden one.
    void Make_Views(const std::vector<Sto_View>& views)
    {
        const std::string tag = Random_Tag();
        std::string script;
        for (const Sto_View& view : views) {
            const std::string hidden = "zt_" + tag + "_" + view.Name;
            script += "CREATE TEMP VIEW " + Quoted_Name(hidden) + " AS " + view.Select + ";\n";
            script += "CREATE TEMP VIEW " + Quoted_Name(view.Name) + " AS SELECT * FROM temp." +
                      Quoted_Name(hidden) + ";\n";
            Rules.Public.insert(view.Name);
            Rules.Internal.insert(hidden);
        }
        char* message = nullptr;
        const int code = sqlite3_exec(Db, script.c_str(), nullptr, nullptr, &message);
        if (code != SQLITE_OK) {
            const std::string text = message != nullptr ? message : sqlite3_errstr(code);
            sqlite3_free(message);
            throw Sto_Error("cannot make the views of the queries: " + text);
        }
    }

    // "" when the one statement only reads; else why it is refused.
    std::string Check_Statement(sqlite3_stmt* handle, const char* tail)
    {
        if (handle == nullptr)
            return "there is no statement";
        if (sqlite3_stmt_isexplain(handle) != 0)
            return "EXPLAIN is not allowed";
        if (sqlite3_stmt_readonly(handle) == 0)
            return "only reading is allowed";
        // What follows the statement may be blanks and comments, not a second statement.
        sqlite3_stmt* next = nullptr;
        const int code = sqlite3_prepare_v2(Db, tail, -1, &next, nullptr);
        const bool more = code != SQLITE_OK || next != nullptr;
        sqlite3_finalize(next);
        return more ? "only one statement is allowed" : "";
    }

    static constexpr int kMax_Value_Bytes = 64 * 1024 * 1024;

    sqlite3* Db = nullptr;
    Authority Rules;
    Time_Limit Limit;
};

}  // namespace

std::unique_ptr<Sto_Reader> Sto_Open_Sqlite_Reader(const std::string& path, int busy_timeout_ms,
                                                   const std::vector<Sto_View>& views)
{
    return std::make_unique<Sqlite_Reader>(path, busy_timeout_ms, views);
}
