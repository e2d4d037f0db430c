// Readers of the PostgreSQL store. A reader is a connection of its own on which the
// query views are temporary views. Each cursor reads in a READ ONLY transaction at
// REPEATABLE READ, so it sees one snapshot from its first row to its last, and steps
// a server-side cursor in batches, so that a long result never sits in memory whole.
//
// SQL from a user runs as the role kQuery_Role, which may only SELECT the reader's
// views (the views read the tables with their owner's rights), in a READ ONLY
// transaction that is rolled back at its end, so settings it changes do not outlive
// it. Before that, the text must be one reading statement that calls only functions
// of a list without side effects: a function such as set_config could otherwise take
// the role back inside the statement.
#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstring>
#include <regex>
#include <set>

#include "server/store/sto_postgres_detail.h"

namespace {

constexpr int kBatch_Rows = 256;
constexpr char kQuery_Canceled[] = "57014";
constexpr char kIndeterminate_Type[] = "42P18";
constexpr char kQuery_Role[] = "ztint_query";

std::string Quoted_Name(const std::string& name)
{
    std::string text = "\"";
    for (char c : name)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + "\"";
}

// The views' SQL is written for both engines save a few SQLite functions.
std::string Postgres_View_Select(const std::string& select)
{
    static const std::regex group_concat(R"(\bgroup_concat\s*\()", std::regex::icase);
    static const std::regex newline(R"(\bchar\s*\(\s*10\s*\))", std::regex::icase);
    static const std::regex as_integer(R"(\bAS\s+INTEGER\s*\))", std::regex::icase);
    std::string out = std::regex_replace(select, group_concat, "string_agg(");
    out = std::regex_replace(out, newline, "chr(10)");
    return std::regex_replace(out, as_integer, "AS BIGINT)");
}

// The model's queries: its "like" ignores case, as SQLite's does for ASCII.
std::string Postgres_Query_Sql(const std::string& sql)
{
    static const std::regex like_parameter(R"(\bLIKE(\s+\?))");
    return std::regex_replace(sql, like_parameter, "ILIKE$1");
}

bool Has_State(const PGresult* result, const char* state)
{
    const char* found = result != nullptr ? Pq().PQresultErrorField(result, PG_DIAG_SQLSTATE) : nullptr;
    return found != nullptr && std::strcmp(found, state) == 0;
}

std::string Lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

// Functions a user's SQL may call: no side effects, no access to files, settings,
// locks, other sessions or SQL given as text.
const std::set<std::string> kPure_Functions = {
    "abs", "array_agg", "avg", "bool_and", "bool_or", "btrim", "ceil", "ceiling", "char_length", "coalesce",
    "concat", "concat_ws", "count", "date_part", "date_trunc", "dense_rank", "every", "extract", "first_value",
    "floor", "greatest", "initcap", "lag", "last_value", "lead", "least", "left", "length", "lower", "lpad",
    "ltrim", "max", "min", "mod", "nullif", "position", "rank", "regexp_match", "regexp_replace", "replace",
    "reverse", "right", "round", "row_number", "rpad", "rtrim", "sign", "split_part", "string_agg", "strpos",
    "substr", "substring", "sum", "to_char", "trim", "trunc", "upper"};

// Words of the grammar and type names that may stand before a parenthesis.
const std::set<std::string> kKeywords_Before_Paren = {
    "bit", "char", "character", "decimal", "interval", "numeric", "time", "timestamp", "varchar",
    "all", "and", "any", "array", "as", "between", "by", "case", "cast", "distinct", "else", "escape",
    "except", "exists", "filter", "from", "having", "ilike", "in", "intersect", "is", "join", "lateral",
    "like", "limit", "not", "offset", "on", "or", "over", "row", "select", "some", "then", "union",
    "using", "values", "when", "where", "with", "within"};

const std::set<std::string> kReading_Starts = {"select", "with", "values", "table", "("};

// The text split into words, quoted names, strings and single characters, without
// blanks and comments. Whatever is not sure to be a string or a comment is scanned
// as SQL, so that a doubt refuses rather than lets pass.
struct Token {
    std::string Text;
    bool Word = false;  // a name, quoted or not
};

std::vector<Token> Tokens(const std::string& sql)
{
    std::vector<Token> tokens;
    for (std::size_t i = 0; i < sql.size();) {
        const unsigned char c = static_cast<unsigned char>(sql[i]);
        if (std::isspace(c) != 0) {
            ++i;
        } else if (sql.compare(i, 2, "--") == 0) {
            i = std::min(sql.find('\n', i), sql.size());
        } else if (sql.compare(i, 2, "/*") == 0) {
            const std::size_t end = sql.find("*/", i + 2);
            i = end == std::string::npos ? sql.size() : end + 2;
        } else if (c == '\'' || c == '"') {
            std::size_t end = i + 1;
            std::string text;
            while (end < sql.size()) {
                if (sql[end] == static_cast<char>(c) && (end + 1 >= sql.size() || sql[end + 1] != static_cast<char>(c)))
                    break;
                if (sql[end] == static_cast<char>(c))
                    ++end;
                text += sql[end++];
            }
            tokens.push_back({c == '"' ? text : "'", c == '"'});
            i = std::min(end + 1, sql.size());
        } else if (std::isalpha(c) != 0 || c == '_' || c >= 0x80) {
            std::size_t end = i;
            while (end < sql.size() && (std::isalnum(static_cast<unsigned char>(sql[end])) != 0 || sql[end] == '_' ||
                                        sql[end] == '$' || static_cast<unsigned char>(sql[end]) >= 0x80))
                ++end;
            tokens.push_back({Lower(sql.substr(i, end - i)), true});
            i = end;
        } else {
            tokens.push_back({std::string(1, static_cast<char>(c)), false});
            ++i;
        }
    }
    return tokens;
}

// "" when the text is one reading statement calling only pure functions; else why not.
std::string Restricted_Refusal(const std::string& sql)
{
    std::vector<Token> tokens = Tokens(sql);
    while (!tokens.empty() && tokens.back().Text == ";" && !tokens.back().Word)
        tokens.pop_back();
    if (tokens.empty())
        return "there is no statement";
    const std::string& first = tokens.front().Text;
    if (first == "pragma")
        return "PRAGMA is not allowed";
    if (first == "attach" || first == "detach")
        return "ATTACH and DETACH are not allowed";
    if (kReading_Starts.count(first) == 0)
        return "only reading is allowed";
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const Token& token = tokens[i];
        if (!token.Word) {
            if (token.Text == ";")
                return "only one statement is allowed";
            continue;
        }
        if (token.Text == "recursive")
            return "recursive queries are not allowed";
        if (token.Text == "into")
            return "only reading is allowed";
        const bool call = i + 1 < tokens.size() && tokens[i + 1].Text == "(" && !tokens[i + 1].Word;
        if (call && kKeywords_Before_Paren.count(token.Text) == 0 && kPure_Functions.count(token.Text) == 0)
            return "the function " + token.Text + " is not allowed";
    }
    return "";
}

// Why the server refused a user's statement, in the words of the SQLite engine's
// refusals where they mean the same.
std::string Refusal_Of(const PGresult* result, PGconn* conn)
{
    const char* primary = result != nullptr ? Pq().PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : nullptr;
    const std::string message = primary != nullptr ? primary : Pg_Trimmed(Pq().PQerrorMessage(conn));
    static const std::regex denied(R"(^permission denied for (table|view|sequence|schema) (.*)$)");
    std::smatch match;
    if (Has_State(result, "42501") && std::regex_match(message, match, denied))  // insufficient privilege
        return "\"" + match[2].str() + "\" is not one of the views";
    if (Has_State(result, "42501"))
        return "only the views may be read (" + message + ")";
    if (Has_State(result, "25006"))  // read-only transaction
        return "only reading is allowed";
    return message;
}

// How long the cursors of a reader may work, from the last Set_Time_Limit.
struct Time_Limit {
    int Seconds = 0;  // 0: no limit
    std::chrono::steady_clock::time_point Deadline;

    // Milliseconds left for a statement (at least 1); 0 for no limit.
    int64_t Remaining_Ms() const
    {
        if (Seconds <= 0)
            return 0;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            Deadline - std::chrono::steady_clock::now());
        return std::max<int64_t>(1, left.count());
    }
    std::string Stopped() const
    {
        return "the query ran longer than " + std::to_string(Seconds) + " s and was stopped";
    }
};

class Pg_Cursor final : public Pg_Values<Sto_Cursor> {
public:
    struct Setup {
        PGconn* Conn;
        const Time_Limit& Limit;
        std::string Name;      // the server-side cursor's
        std::string Sql;       // with $n placeholders
        int Count;             // of parameters
        bool Restricted;       // a user's SQL: run as the query role
    };

    explicit Pg_Cursor(Setup setup) : Pg_Values(setup.Count), S(std::move(setup)) {}
    ~Pg_Cursor() override { End(); }
    Pg_Cursor(const Pg_Cursor&) = delete;
    Pg_Cursor& operator=(const Pg_Cursor&) = delete;

    bool Next() override
    {
        if (Finished)
            return false;
        if (!Started)
            Start();
        if (Rows == nullptr || ++Row >= Pq().PQntuples(Rows.get())) {
            if (Rows != nullptr && Pq().PQntuples(Rows.get()) < kBatch_Rows)
                return Finish();
            Fetch();
            if (Pq().PQntuples(Rows.get()) == 0)
                return Finish();
        }
        return true;
    }

    int Column_Count() override { return Pq().PQnfields(Description().get()); }
    std::string Column_Name(int column) override
    {
        const char* name = Pq().PQfname(Description().get(), column);
        return name != nullptr ? name : "";
    }

private:
    void Before_Bind() override
    {
        if (Started)
            throw Sto_Error("cannot bind a value: the query has already run");
    }

    [[noreturn]] void Fail(const PGresult* result, const std::string& what)
    {
        const bool stopped = Has_State(result, kQuery_Canceled);
        const std::string message =
            Pg_Trimmed(result != nullptr ? Pq().PQresultErrorMessage(result) : Pq().PQerrorMessage(S.Conn));
        End();
        if (stopped)
            throw Sto_Error(S.Limit.Stopped());
        if (Pq().PQstatus(S.Conn) != CONNECTION_OK)
            throw Sto_Error(what + ": the connection to the PostgreSQL store was lost (" + message + ")");
        throw Sto_Error(what + ": " + message);
    }

    Pg_Result Run(const std::string& sql) { return Pg_Result(Pq().PQexec(S.Conn, sql.c_str())); }
    void Check(const Pg_Result& result, const std::string& what)
    {
        if (result == nullptr || !Pg_Succeeded(result.get()))
            Fail(result.get(), what);
    }

    // The transaction of the cursor's snapshot and the cursor on the server.
public:
    // Begins the read; for a user's statement, its refusal is Sto_Refused.
    void Start()
    {
        Started = true;
        Begin_Read();
        Pg_Result declared = Declare(false);
        if (Has_State(declared.get(), kIndeterminate_Type)) {
            // "SELECT ?" leaves the server nothing to type the text by: it is TEXT then.
            Pq().PQclear(Pq().PQexec(S.Conn, "ROLLBACK"));
            Begin_Read();
            declared = Declare(true);
        }
        if (S.Restricted && declared != nullptr && !Pg_Succeeded(declared.get()) &&
            Pq().PQstatus(S.Conn) == CONNECTION_OK) {
            const std::string refusal = Refusal_Of(declared.get(), S.Conn);
            End();
            throw Sto_Refused(refusal);
        }
        Check(declared, "the store refused a query");
    }

private:
    void Begin_Read()
    {
        std::string begin = "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY";
        if (S.Restricted)
            begin += std::string("; SET LOCAL ROLE ") + kQuery_Role;
        Check(Run(begin), "cannot begin a read of the store");
    }

    Pg_Result Declare(bool typed_text)
    {
        const Pg_Wire_Params wire = Pg_On_The_Wire(Params, typed_text);
        const std::string sql = "DECLARE " + S.Name + " NO SCROLL CURSOR FOR " + S.Sql;
        return Pg_Result(Pq().PQexecParams(S.Conn, sql.c_str(), S.Count, wire.Types.data(), wire.Values.data(),
                                      wire.Lengths.data(), wire.Formats.data(), 0));
    }

    // The next batch, in one round trip with the time the statement may take.
    void Fetch()
    {
        const int64_t remaining = S.Limit.Remaining_Ms();
        if (S.Limit.Seconds > 0 && std::chrono::steady_clock::now() > S.Limit.Deadline) {
            End();
            throw Sto_Error(S.Limit.Stopped());
        }
        Rows = Run("SET LOCAL statement_timeout = " + std::to_string(remaining) + "; FETCH FORWARD " +
                   std::to_string(kBatch_Rows) + " FROM " + S.Name);
        Row = 0;
        if (Rows == nullptr || Pq().PQresultStatus(Rows.get()) != PGRES_TUPLES_OK) {
            Pg_Result failed = std::move(Rows);
            Fail(failed.get(), "the store refused a query");
        }
    }

    // The snapshot goes with the last row.
    bool Finish()
    {
        End();
        Finished = true;
        return false;
    }

    void End() noexcept
    {
        if (Started && !Ended && Pq().PQstatus(S.Conn) == CONNECTION_OK)
            Pq().PQclear(Pq().PQexec(S.Conn, "ROLLBACK"));
        Ended = Started;
    }

    // The columns, known before the first row from the cursor's description.
    const Pg_Result& Description()
    {
        if (Rows != nullptr)
            return Rows;
        if (Described == nullptr) {
            if (!Started)
                Start();
            Described = Pg_Result(Pq().PQdescribePortal(S.Conn, S.Name.c_str()));
            Check(Described, "cannot describe a query");
        }
        return Described;
    }

    Setup S;
    Pg_Result Described;
    bool Started = false, Ended = false, Finished = false;
};

class Pg_Reader final : public Sto_Reader {
public:
    Pg_Reader(const std::string& conninfo, const Sto_Postgres_Options& options, const std::vector<Sto_View>& views)
        : Conn(Pg_Connect(conninfo, options))
    {
        try {
            Make_Views(views);
        } catch (...) {
            Pq().PQfinish(Conn);
            throw;
        }
    }
    ~Pg_Reader() override { Pq().PQfinish(Conn); }
    Pg_Reader(const Pg_Reader&) = delete;
    Pg_Reader& operator=(const Pg_Reader&) = delete;

    std::unique_ptr<Sto_Cursor> Open(const std::string& sql) override
    {
        int count = 0;
        std::string converted = Sto_Postgres_Placeholders(Postgres_Query_Sql(sql), count);
        return std::make_unique<Pg_Cursor>(Pg_Cursor::Setup{Conn, Limit, Next_Name(), std::move(converted), count, false});
    }

    // The statement is checked and declared at once, so that a refusal comes here.
    std::unique_ptr<Sto_Cursor> Open_Restricted(const std::string& sql) override
    {
        const std::string refusal = Restricted_Refusal(sql);
        if (!refusal.empty())
            throw Sto_Refused(refusal);
        if (!Role_Error.empty())
            throw Sto_Error("SQL queries need the role " + std::string(kQuery_Role) +
                            " in the PostgreSQL store's cluster: " + Role_Error);
        auto cursor = std::make_unique<Pg_Cursor>(Pg_Cursor::Setup{Conn, Limit, Next_Name(), Without_Final_Semicolon(sql), 0, true});
        cursor->Start();
        return cursor;
    }

    std::vector<std::string> View_Names() const override { return Names; }

    void Set_Time_Limit(int seconds) override
    {
        Limit.Seconds = seconds;
        Limit.Deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    }

private:
    std::string Next_Name() { return "zt_cursor_" + std::to_string(++Cursors); }

    static std::string Without_Final_Semicolon(std::string sql)
    {
        while (!sql.empty() && (sql.back() == ';' || std::isspace(static_cast<unsigned char>(sql.back())) != 0))
            sql.pop_back();
        return sql;
    }

    // Security barriers: a user's condition is not tried on rows the view leaves out.
    void Make_Views(const std::vector<Sto_View>& views)
    {
        std::string script, grants;
        for (const Sto_View& view : views) {
            script += "CREATE TEMP VIEW " + Quoted_Name(view.Name) + " WITH (security_barrier) AS " +
                      Postgres_View_Select(view.Select) + ";\n";
            grants += "GRANT SELECT ON " + Quoted_Name(view.Name) + " TO " + kQuery_Role + ";\n";
            Names.push_back(view.Name);
        }
        if (script.empty())
            return;
        Run_Script(script);
        grants += Make_Folded_Views();
        // Without the role, the model's queries still run; users' SQL is refused.
        const Pg_Result granted(Pq().PQexec(Conn, grants.c_str()));
        if (granted == nullptr || !Pg_Succeeded(granted.get()))
            Role_Error = Pg_Trimmed(granted != nullptr ? Pq().PQresultErrorMessage(granted.get()) : Pq().PQerrorMessage(Conn));
    }

    void Run_Script(const std::string& script)
    {
        const Pg_Result result(Pq().PQexec(Conn, script.c_str()));
        if (result == nullptr || !Pg_Succeeded(result.get()))
            throw Sto_Error("cannot make the views of the queries: " +
                            Pg_Trimmed(result != nullptr ? Pq().PQresultErrorMessage(result.get()) : Pq().PQerrorMessage(Conn)));
    }

    // Users write names as in any SQL, unquoted, which PostgreSQL folds to lower case:
    // a view whose name or columns have capitals gets a twin in lower case. Returns
    // the grants of the twins.
    std::string Make_Folded_Views()
    {
        const Pg_Result columns(Pq().PQexec(Conn, "SELECT c.relname, a.attname FROM pg_attribute AS a JOIN pg_class AS c "
                                             "ON c.oid = a.attrelid WHERE c.relnamespace = pg_my_temp_schema() "
                                             "AND a.attnum > 0 AND NOT a.attisdropped ORDER BY c.relname, a.attnum"));
        if (columns == nullptr || Pq().PQresultStatus(columns.get()) != PGRES_TUPLES_OK)
            throw Sto_Error("cannot make the views of the queries: " + Pg_Trimmed(Pq().PQerrorMessage(Conn)));
        std::set<std::string> taken(Names.begin(), Names.end());
        std::string script, grants;
        for (int row = 0; row < Pq().PQntuples(columns.get());) {
            const std::string view = Pq().PQgetvalue(columns.get(), row, 0);
            std::string list;
            bool folds = Lower(view) != view;
            std::set<std::string> seen;
            for (; row < Pq().PQntuples(columns.get()) && view == Pq().PQgetvalue(columns.get(), row, 0); ++row) {
                const std::string column = Pq().PQgetvalue(columns.get(), row, 1);
                folds = folds || Lower(column) != column;
                if (seen.insert(Lower(column)).second)
                    list += (list.empty() ? "" : ", ") + Quoted_Name(column) + " AS " + Quoted_Name(Lower(column));
            }
            const std::string twin = Lower(view);
            if (!folds || twin == view || !taken.insert(twin).second)
                continue;
            script += "CREATE TEMP VIEW " + Quoted_Name(twin) + " AS SELECT " + list + " FROM " + Quoted_Name(view) + ";\n";
            grants += "GRANT SELECT ON " + Quoted_Name(twin) + " TO " + kQuery_Role + ";\n";
        }
        if (!script.empty())
            Run_Script(script);
        return grants;
    }

    PGconn* Conn;
    std::vector<std::string> Names;
    Time_Limit Limit;
    int Cursors = 0;
    std::string Role_Error;  // why the views could not be granted to the query role
};

}  // namespace

std::unique_ptr<Sto_Reader> Sto_Open_Postgres_Reader(const std::string& conninfo, const Sto_Postgres_Options& options,
                                                     const std::vector<Sto_View>& views)
{
    return std::make_unique<Pg_Reader>(conninfo, options, views);
}
