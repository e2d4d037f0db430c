// The store engine: what the tracking model asks of a database. The model writes
// portable SQL with "?" placeholders and binds every value; an engine (SQLite today,
// PostgreSQL later) runs it. Failures of the engine are thrown as Sto_Error: the
// model lets them pass, an open Sto_Transaction rolls back, and the server's call
// boundary turns the text into the call's failure.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class Sto_Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Another writer holds the store longer than the busy timeout.
class Sto_Busy : public Sto_Error {
public:
    using Sto_Error::Sto_Error;
};

// One prepared statement. Parameters count from 1, columns from 0.
class Sto_Statement {
public:
    virtual ~Sto_Statement() = default;

    virtual Sto_Statement& Bind(int index, std::string_view text) = 0;
    virtual Sto_Statement& Bind(int index, int64_t number) = 0;
    virtual Sto_Statement& Bind_Blob(int index, const std::vector<unsigned char>& bytes) = 0;
    virtual Sto_Statement& Bind_Null(int index) = 0;

    // Moves to the next row: true while there is one.
    [[nodiscard]] virtual bool Next() = 0;
    // Runs a statement that returns no rows.
    void Run()
    {
        while (Next()) {
        }
    }

    virtual bool Is_Null(int column) = 0;
    virtual std::string Text(int column) = 0;
    virtual int64_t Number(int column) = 0;
    virtual std::vector<unsigned char> Blob(int column) = 0;
};

// A statement of a reader: a cursor of its own over one result, which can say what its
// columns are called.
class Sto_Cursor : public Sto_Statement {
public:
    virtual int Column_Count() = 0;
    virtual std::string Column_Name(int column) = 0;
};

// SQL given by a user that a reader will not run (it writes, or reads outside the views).
class Sto_Refused : public Sto_Error {
public:
    using Sto_Error::Sto_Error;
};

// A view of the data that queries read: its name and the SELECT that makes it.
struct Sto_View {
    std::string Name;
    std::string Select;
};

// A read-only connection of its own, for walking results while the store's connection
// goes on writing: each cursor reads one snapshot of the store from its first row to
// its end, whatever is committed meanwhile. It knows the views it was opened with.
class Sto_Reader {
public:
    virtual ~Sto_Reader() = default;
    // The model's own SQL over the views, its values bound by "?".
    virtual std::unique_ptr<Sto_Cursor> Open(const std::string& sql) = 0;
    // SQL from a user: one statement that only reads the views and calls no function
    // with side effects; anything else throws Sto_Refused with the reason.
    virtual std::unique_ptr<Sto_Cursor> Open_Restricted(const std::string& sql) = 0;
    // The views a restricted statement may read.
    virtual std::vector<std::string> View_Names() const = 0;
    // From now on, the cursors' work may take seconds (0: no limit); a statement that
    // runs past it fails with Sto_Error, so that one query cannot stall the server.
    virtual void Set_Time_Limit(int seconds) = 0;
};

class Sto_Connection {
public:
    Sto_Connection() = default;
    virtual ~Sto_Connection();
    Sto_Connection(const Sto_Connection&) = delete;
    Sto_Connection& operator=(const Sto_Connection&) = delete;

    // A statement ready to bind and run, its earlier bindings and rows gone. The
    // connection keeps it prepared for the next use of the same text.
    virtual Sto_Statement& Prepare(const std::string& sql) = 0;
    // Ends every statement's reading, so that no read snapshot outlives the request
    // that took it (a later read would not see other writers' commits).
    virtual void Finish_Reads() = 0;
    // Runs statements without parameters (schema creation).
    virtual void Execute_Script(const std::string& sql) = 0;

    // A write transaction: taken at once, so that two writers never deadlock on an
    // upgrade; waits up to the busy timeout for a writer of another process. A Begin
    // inside an open transaction opens a nested one (a savepoint), which its own
    // Commit or Rollback ends without ending the outer one.
    void Begin();
    void Commit();
    void Rollback() noexcept;
    bool In_Transaction() const { return Depth > 0; }

    // A second connection to the same store, for a transaction that lasts over many
    // requests while this connection goes on serving others. The process is
    // single-threaded, so one of its connections waiting for another's write lock
    // would wait for ever: while one connection of the family holds a transaction,
    // a Begin on any other fails at once with Sto_Busy.
    [[nodiscard]] std::unique_ptr<Sto_Connection> Open_Sibling();

    // A reader over the same store with the views given (SQLite: a second, read-only
    // connection whose temporary views these are, behind an authorizer). The reader
    // must not outlive the connection.
    virtual std::unique_ptr<Sto_Reader> Open_Reader(const std::vector<Sto_View>& views) = 0;

    // The engine's name for messages ("SQLite").
    virtual std::string Engine_Name() const = 0;

protected:
    // The outermost transaction, as the engine takes and ends it.
    virtual void Begin_Outer() = 0;
    virtual void Commit_Outer() = 0;
    virtual void Rollback_Outer() noexcept = 0;
    // A new connection to the store this one is open on.
    virtual std::unique_ptr<Sto_Connection> Open_Again() const = 0;

private:
    // What the connections opened from one another share.
    struct Family {
        const Sto_Connection* Writer = nullptr;  // the one holding a transaction
    };

    void Release_Writer() noexcept;
    std::string Savepoint() const { return "sto_nested_" + std::to_string(Depth); }

    std::shared_ptr<Family> Kin = std::make_shared<Family>();
    int Depth = 0;  // open transactions, the outer one included
};

// The one transaction of a commit: rolled back unless Commit was reached.
class Sto_Transaction {
public:
    explicit Sto_Transaction(Sto_Connection& connection) : Connection(connection)
    {
        Connection.Begin();
    }
    ~Sto_Transaction()
    {
        if (!Done)
            Connection.Rollback();
    }
    Sto_Transaction(const Sto_Transaction&) = delete;
    Sto_Transaction& operator=(const Sto_Transaction&) = delete;

    void Commit()
    {
        Connection.Commit();
        Done = true;
    }

private:
    Sto_Connection& Connection;
    bool Done = false;
};

// Opens the store a location names: a PostgreSQL connection string (see
// sto_postgres.h) or else a SQLite file path, a new file created with mode 0600;
// throws Sto_Error.
std::unique_ptr<Sto_Connection> Sto_Open(const std::string& location);
