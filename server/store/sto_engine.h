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

class Sto_Connection {
public:
    virtual ~Sto_Connection() = default;

    // A statement ready to bind and run, its earlier bindings and rows gone. The
    // connection keeps it prepared for the next use of the same text.
    virtual Sto_Statement& Prepare(const std::string& sql) = 0;
    // Ends every statement's reading, so that no read snapshot outlives the request
    // that took it (a later read would not see other writers' commits).
    virtual void Finish_Reads() = 0;
    // Runs statements without parameters (schema creation).
    virtual void Execute_Script(const std::string& sql) = 0;

    // A write transaction: taken at once, so that two writers never deadlock on an
    // upgrade; waits up to the busy timeout for another writer.
    virtual void Begin() = 0;
    virtual void Commit() = 0;
    virtual void Rollback() noexcept = 0;

    // The engine's name for messages ("SQLite").
    virtual std::string Engine_Name() const = 0;
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
