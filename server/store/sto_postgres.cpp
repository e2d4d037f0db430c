#include "server/store/sto_postgres.h"

#include "server/store/sto_postgres_detail.h"

#include <cstdlib>
#include <cstring>
#include <regex>
#include <unordered_map>

namespace {

// A write transaction and the advisory lock every writer of a database takes (its
// key spells "ztint").
constexpr char kBeginAndLock[] = "BEGIN; SELECT pg_advisory_xact_lock(525939076724)";  // 0x7A74696E74

// SQLSTATEs that mean "another writer was in the way; try again".
bool Is_Busy_State(const char* state)
{
    return state != nullptr && (std::strcmp(state, "40001") == 0 ||   // serialization failure
                                std::strcmp(state, "40P01") == 0 ||   // deadlock
                                std::strcmp(state, "55P03") == 0);    // lock not available
}

bool Is_Indeterminate_Type(const PGresult* result)
{
    const char* state = Pq().PQresultErrorField(result, PG_DIAG_SQLSTATE);
    return state != nullptr && std::strcmp(state, "42P18") == 0;
}

using Result = Pg_Result;

class Pg_Connection;

class Pg_Statement final : public Pg_Values<Sto_Statement> {
public:
    Pg_Statement(Pg_Connection& owner, std::string name, const std::string& sql)
        : Pg_Values(0), Owner(owner), Name(std::move(name)), Sql(Sto_Postgres_Placeholders(sql, Count))
    {
        Params.resize(static_cast<std::size_t>(Count));
    }

    void Restart()
    {
        for (Pg_Param& param : Params)
            param = Pg_Param{};
        Clear_Rows();
    }
    void Clear_Rows()
    {
        Rows.reset();
        Row = -1;
    }

    bool Next() override
    {
        if (Rows == nullptr)
            Execute();
        return ++Row < Pq().PQntuples(Rows.get());
    }

private:
    // Rows read with the old values go when a new value is bound.
    void Before_Bind() override { Clear_Rows(); }
    void Execute();
    void Prepare_On_Server();
    Result Try_Prepare(bool typed_text);

    Pg_Connection& Owner;
    std::string Name;
    int Count = 0;  // before Sql: rewriting the placeholders counts them
    std::string Sql;
    uint64_t Prepared_In = 0;  // the connection generation it was prepared in; 0: never
};

class Pg_Connection final : public Sto_Connection {
public:
    Pg_Connection(std::string conninfo, const Sto_Postgres_Options& options)
        : Conninfo(std::move(conninfo)), Options(options)
    {
        Connect();
        Make_Query_Role();
    }
    ~Pg_Connection() override
    {
        Statements.clear();
        Pq().PQfinish(Conn);
    }
    Pg_Connection(const Pg_Connection&) = delete;
    Pg_Connection& operator=(const Pg_Connection&) = delete;

    Sto_Statement& Prepare(const std::string& sql) override
    {
        auto found = Statements.find(sql);
        if (found == Statements.end()) {
            auto statement = std::make_unique<Pg_Statement>(*this, "zt" + std::to_string(Statements.size() + 1), sql);
            found = Statements.emplace(sql, std::move(statement)).first;
        }
        found->second->Restart();
        return *found->second;
    }

    void Finish_Reads() override
    {
        for (auto& [sql, statement] : Statements)
            statement->Clear_Rows();
    }

    void Execute_Script(const std::string& sql) override
    {
        const std::string script = Sto_Postgres_Ddl(sql);
        if (Tx_Open) {
            Check(Run_Simple(script.c_str()), "the store refused a statement");
            return;
        }
        // Two servers creating the same tables at once would collide in the catalog.
        Sto_Transaction transaction(*this);
        Check(Run_Simple(script.c_str()), "the store refused a statement");
        transaction.Commit();
    }

    std::unique_ptr<Sto_Reader> Open_Reader(const std::vector<Sto_View>& views) override
    {
        return Sto_Open_Postgres_Reader(Conninfo, Options, views);
    }

    std::string Engine_Name() const override { return "PostgreSQL"; }

    PGconn* Handle() { return Conn; }
    uint64_t Generation() const { return Connection_Generation; }

    // Reconnects a connection that was lost; prepared statements are then gone.
    void Ensure_Open()
    {
        if (Pq().PQstatus(Conn) == CONNECTION_OK)
            return;
        Tx_Open = false;
        Pq().PQfinish(Conn);
        Conn = nullptr;
        Connect();
    }

    // Throws the error of a failed result: Sto_Busy for a conflict with another
    // writer, a clear text for a lost connection.
    void Check(Result result, const std::string& what)
    {
        if (result != nullptr && Pg_Succeeded(result.get()))
            return;
        const std::string message = Pg_Trimmed(result != nullptr ? Pq().PQresultErrorMessage(result.get())
                                                               : Pq().PQerrorMessage(Conn));
        if (Pq().PQstatus(Conn) != CONNECTION_OK) {
            Tx_Open = false;
            throw Sto_Error(what + ": the connection to the PostgreSQL store was lost (" + message +
                            "); nothing of this call was stored, and the next call connects again");
        }
        const char* state = result != nullptr ? Pq().PQresultErrorField(result.get(), PG_DIAG_SQLSTATE) : nullptr;
        if (Is_Busy_State(state))
            throw Sto_Busy(what + ": " + message);
        throw Sto_Error(what + ": " + message);
    }

    bool Inside_Transaction() const { return Tx_Open; }

    Result Run_Simple(const char* sql) { return Result(Pq().PQexec(Conn, sql)); }

protected:
    void Begin_Outer() override
    {
        Ensure_Open();
        Finish_Reads();
        // One round trip: the lock is taken by the transaction's first statement.
        Tx_Open = true;
        try {
            Check(Run_Simple(kBeginAndLock), "cannot begin a write transaction in the store");
        } catch (...) {
            Rollback_Outer();
            throw;
        }
    }

    void Commit_Outer() override
    {
        Result result = Run_Simple("COMMIT");
        Tx_Open = false;
        // COMMIT of a transaction that met an error reports "ROLLBACK", not an error.
        const bool rolled_back = result != nullptr && std::strcmp(Pq().PQcmdStatus(result.get()), "ROLLBACK") == 0;
        Check(std::move(result), "cannot commit to the store");
        if (rolled_back)
            throw Sto_Error("cannot commit to the store: the transaction had failed and was rolled back");
    }

    void Rollback_Outer() noexcept override
    {
        if (Tx_Open && Pq().PQstatus(Conn) == CONNECTION_OK)
            Pq().PQclear(Pq().PQexec(Conn, "ROLLBACK"));
        Tx_Open = false;
    }

    std::unique_ptr<Sto_Connection> Open_Again() const override
    {
        return std::make_unique<Pg_Connection>(Conninfo, Options);
    }

private:
    // The role users' SQL queries run as (sto_postgres_reader.cpp): it logs in nowhere
    // and owns nothing; readers grant it their views. Roles belong to the cluster, so
    // servers of other databases may make it at the same time. Without the right to
    // make it, the store still works and users' SQL is refused with the reason.
    void Make_Query_Role() noexcept
    {
        Pq().PQclear(Pq().PQexec(Conn, R"(DO $$BEGIN
  IF NOT EXISTS (SELECT 1 FROM pg_roles WHERE rolname = 'ztint_query') THEN
    CREATE ROLE ztint_query NOLOGIN;
  END IF;
  IF NOT pg_has_role(current_user, 'ztint_query', 'MEMBER') THEN
    EXECUTE 'GRANT ztint_query TO ' || quote_ident(current_user);
  END IF;
EXCEPTION WHEN duplicate_object OR unique_violation THEN NULL;
END$$)"));
    }

    void Connect()
    {
        Conn = Pg_Connect(Conninfo, Options);
        ++Connection_Generation;
    }

    std::string Conninfo;
    Sto_Postgres_Options Options;
    PGconn* Conn = nullptr;
    uint64_t Connection_Generation = 0;
    bool Tx_Open = false;  // BEGIN sent and not yet ended
    std::unordered_map<std::string, std::unique_ptr<Pg_Statement>> Statements;
};

Result Pg_Statement::Try_Prepare(bool typed_text)
{
    const Pg_Wire_Params wire = Pg_On_The_Wire(Params, typed_text);
    return Result(Pq().PQprepare(Owner.Handle(), Name.c_str(), Sql.c_str(), Count, wire.Types.data()));
}

void Pg_Statement::Prepare_On_Server()
{
    // A failed PREPARE inside a transaction would end it: a savepoint keeps it.
    const bool guard = Owner.Inside_Transaction();
    if (guard)
        Owner.Check(Owner.Run_Simple("SAVEPOINT zt_prepare"), "cannot prepare a statement of the store");
    Result result = Try_Prepare(false);
    if (result != nullptr && Is_Indeterminate_Type(result.get())) {
        if (guard)
            Owner.Check(Owner.Run_Simple("ROLLBACK TO SAVEPOINT zt_prepare"), "cannot prepare a statement of the store");
        result = Try_Prepare(true);
    }
    Owner.Check(std::move(result), "cannot prepare a statement of the store");
    if (guard)
        Owner.Check(Owner.Run_Simple("RELEASE SAVEPOINT zt_prepare"), "cannot prepare a statement of the store");
    Prepared_In = Owner.Generation();
}

void Pg_Statement::Execute()
{
    Owner.Ensure_Open();
    if (Prepared_In != Owner.Generation())
        Prepare_On_Server();
    const Pg_Wire_Params wire = Pg_On_The_Wire(Params, false);
    Result result(Pq().PQexecPrepared(Owner.Handle(), Name.c_str(), Count, wire.Values.data(), wire.Lengths.data(),
                                 wire.Formats.data(), 0));
    if (result == nullptr || !Pg_Succeeded(result.get()))
        Owner.Check(std::move(result), "the store refused a statement");
    Rows = std::move(result);
    Row = -1;
}

// Skips a quoted text or identifier starting at sql[at]; returns the index after it.
std::size_t Skip_Quoted(const std::string& sql, std::size_t at)
{
    const char quote = sql[at];
    for (std::size_t i = at + 1; i < sql.size(); ++i) {
        if (sql[i] != quote)
            continue;
        if (i + 1 < sql.size() && sql[i + 1] == quote) {  // a doubled quote
            ++i;
            continue;
        }
        return i + 1;
    }
    return sql.size();
}

// Notices ("relation ... already exists, skipping") are not the caller's business;
// libpq would print them on standard error.
void Ignore_Notice(void*, const char*) {}

}  // namespace

Pg_Wire_Params Pg_On_The_Wire(const std::vector<Pg_Param>& params, bool typed_text)
{
    Pg_Wire_Params wire;
    for (const Pg_Param& param : params) {
        Oid type = 0;  // the server's choice
        if (param.Kind == Pg_Param_Kind::Blob)
            type = 17;  // BYTEA
        else if (param.Kind == Pg_Param_Kind::Number)
            type = 20;  // INT8: "? + 1" would otherwise be a 32-bit integer
        else if (typed_text && param.Kind == Pg_Param_Kind::Text)
            type = 25;  // TEXT
        wire.Types.push_back(type);
        wire.Values.push_back(param.Kind == Pg_Param_Kind::Null ? nullptr : param.Bytes.data());
        wire.Lengths.push_back(static_cast<int>(param.Bytes.size()));
        wire.Formats.push_back(param.Kind == Pg_Param_Kind::Blob ? 1 : 0);
    }
    return wire;
}

bool Pg_Succeeded(const PGresult* result)
{
    const ExecStatusType status = Pq().PQresultStatus(result);
    return status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
}

std::string Pg_Trimmed(const char* text)
{
    std::string line = text != nullptr ? text : "";
    while (!line.empty() && (line.back() == '\n' || line.back() == ' '))
        line.pop_back();
    return line;
}

PGconn* Pg_Connect(const std::string& conninfo, const Sto_Postgres_Options& options)
{
    const std::string timeout = std::to_string(options.Connect_Timeout_Seconds);
    // Values in the connection string come last and win.
    const char* keys[] = {"connect_timeout", "application_name", "client_encoding", "dbname", nullptr};
    const char* values[] = {timeout.c_str(), "ztintsvr", "UTF8", conninfo.c_str(), nullptr};
    PGconn* conn = Pq().PQconnectdbParams(keys, values, 1);
    if (conn == nullptr)
        throw Sto_Error("cannot open the PostgreSQL store: out of memory");
    if (Pq().PQstatus(conn) != CONNECTION_OK) {
        const std::string message = Pg_Trimmed(Pq().PQerrorMessage(conn));
        Pq().PQfinish(conn);
        throw Sto_Error("cannot open the PostgreSQL store: " + message);
    }
    Pq().PQsetNoticeProcessor(conn, Ignore_Notice, nullptr);
    const std::string setup = "SET lock_timeout = " + std::to_string(options.Lock_Timeout_Ms);
    const Pg_Result result(Pq().PQexec(conn, setup.c_str()));
    if (result == nullptr || !Pg_Succeeded(result.get())) {
        const std::string message = Pg_Trimmed(Pq().PQerrorMessage(conn));
        Pq().PQfinish(conn);
        throw Sto_Error("cannot set up the PostgreSQL store: " + message);
    }
    return conn;
}

std::string Pg_Text(const PGresult* rows, int row, int column)
{
    return std::string(Pq().PQgetvalue(rows, row, column), static_cast<std::size_t>(Pq().PQgetlength(rows, row, column)));
}

int64_t Pg_Number(const PGresult* rows, int row, int column)
{
    const char* value = Pq().PQgetvalue(rows, row, column);
    if (std::strcmp(value, "t") == 0)  // a boolean expression
        return 1;
    return std::strtoll(value, nullptr, 10);
}

std::vector<unsigned char> Pg_Blob(const PGresult* rows, int row, int column)
{
    const auto* value = reinterpret_cast<const unsigned char*>(Pq().PQgetvalue(rows, row, column));
    if (Pq().PQftype(rows, column) != 17)  // not BYTEA: the text's bytes
        return std::vector<unsigned char>(value, value + Pq().PQgetlength(rows, row, column));
    std::size_t size = 0;
    unsigned char* bytes = Pq().PQunescapeBytea(value, &size);
    if (bytes == nullptr)
        throw Sto_Error("cannot read a blob of the store: out of memory");
    std::vector<unsigned char> copy(bytes, bytes + size);
    Pq().PQfreemem(bytes);
    return copy;
}

bool Sto_Is_Postgres_Location(const std::string& location)
{
    if (location.rfind("postgresql://", 0) == 0 || location.rfind("postgres://", 0) == 0)
        return true;
    static const std::regex keyword_value(R"(^\s*(host|hostaddr|dbname|user|port|service)\s*=)");
    return std::regex_search(location, keyword_value);
}

std::string Sto_Postgres_Placeholders(const std::string& sql, int& count)
{
    std::string out;
    out.reserve(sql.size() + 16);
    count = 0;
    for (std::size_t i = 0; i < sql.size();) {
        const char c = sql[i];
        if (c == '\'' || c == '"') {
            const std::size_t end = Skip_Quoted(sql, i);
            out.append(sql, i, end - i);
            i = end;
        } else if (c == '-' && i + 1 < sql.size() && sql[i + 1] == '-') {
            const std::size_t end = std::min(sql.find('\n', i), sql.size());
            out.append(sql, i, end - i);
            i = end;
        } else if (c == '?') {
            out += '$' + std::to_string(++count);
            ++i;
        } else {
            out += c;
            ++i;
        }
    }
    return out;
}

std::string Sto_Postgres_Ddl(const std::string& sql)
{
    static const std::regex autoincrement(R"(\bINTEGER\s+PRIMARY\s+KEY\s+AUTOINCREMENT\b)", std::regex::icase);
    static const std::regex integer(R"(\bINTEGER\b)", std::regex::icase);
    static const std::regex blob(R"(\bBLOB\b)", std::regex::icase);
    static const std::regex without_rowid(R"(\s*WITHOUT\s+ROWID\b)", std::regex::icase);
    static const std::regex view_if_missing(R"(\bCREATE\s+VIEW\s+IF\s+NOT\s+EXISTS\b)", std::regex::icase);
    static const std::regex pragma(R"(\bPRAGMA\b[^;]*;?)", std::regex::icase);
    // SQLite gives every table a rowid in insertion order, which the model orders by.
    static const std::regex create_table(R"((\bCREATE\s+TABLE\s+(IF\s+NOT\s+EXISTS\s+)?\w+\s*\())",
                                         std::regex::icase);
    std::string out = std::regex_replace(sql, create_table, "$1rowid BIGINT GENERATED ALWAYS AS IDENTITY, ");
    out = std::regex_replace(out, autoincrement, "BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY");
    out = std::regex_replace(out, integer, "BIGINT");
    out = std::regex_replace(out, blob, "BYTEA");
    out = std::regex_replace(out, without_rowid, "");
    out = std::regex_replace(out, view_if_missing, "CREATE OR REPLACE VIEW");
    return std::regex_replace(out, pragma, "");
}

std::unique_ptr<Sto_Connection> Sto_Open_Postgres(const std::string& conninfo, const Sto_Postgres_Options& options)
{
    return std::make_unique<Pg_Connection>(conninfo, options);
}
