// What the PostgreSQL store connection and its readers share: owned results, opening
// a connection, a failure's text and reading a row's values.
#pragma once

#include "server/store/sto_libpq.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "server/store/sto_engine.h"
#include "server/store/sto_postgres.h"

struct Pg_Result_Free {
    void operator()(PGresult* result) const { Pq().PQclear(result); }
};
using Pg_Result = std::unique_ptr<PGresult, Pg_Result_Free>;

[[nodiscard]] bool Pg_Succeeded(const PGresult* result);
// The message of libpq without its trailing newline.
[[nodiscard]] std::string Pg_Trimmed(const char* text);
// A connection as every one of the store's is set up (application name, UTF-8, lock
// timeout, notices kept off standard error); throws Sto_Error with what it was for.
[[nodiscard]] PGconn* Pg_Connect(const std::string& conninfo, const Sto_Postgres_Options& options);

// Values of a row of a result.
[[nodiscard]] std::string Pg_Text(const PGresult* rows, int row, int column);
[[nodiscard]] int64_t Pg_Number(const PGresult* rows, int row, int column);
[[nodiscard]] std::vector<unsigned char> Pg_Blob(const PGresult* rows, int row, int column);

// A bound parameter: its kind types it on the server; Bytes are its text, or a blob's bytes.
enum class Pg_Param_Kind { Text, Number, Blob, Null };
struct Pg_Param {
    Pg_Param_Kind Kind = Pg_Param_Kind::Null;
    std::string Bytes;
};

// Parameters as libpq takes them. Numbers are 64-bit and blobs bytes; texts are left
// for the server to type from their use (a text bound to an integer column is a
// number) unless typed_text gives them the type TEXT, for where nothing types them
// (SELECT ?). Values point into params, which must outlive the call.
struct Pg_Wire_Params {
    std::vector<Oid> Types;
    std::vector<const char*> Values;
    std::vector<int> Lengths, Formats;
};
[[nodiscard]] Pg_Wire_Params Pg_On_The_Wire(const std::vector<Pg_Param>& params, bool typed_text);

// Binding the parameters and reading the rows of one statement: what the store's
// statements and the readers' cursors share. Interface is Sto_Statement or derived.
template <class Interface>
class Pg_Values : public Interface {
public:
    Sto_Statement& Bind(int index, std::string_view text) override
    {
        Slot(index) = {Pg_Param_Kind::Text, std::string(text)};
        return *this;
    }
    Sto_Statement& Bind(int index, int64_t number) override
    {
        Slot(index) = {Pg_Param_Kind::Number, std::to_string(number)};
        return *this;
    }
    Sto_Statement& Bind_Blob(int index, const std::vector<unsigned char>& bytes) override
    {
        Slot(index) = {Pg_Param_Kind::Blob, std::string(bytes.begin(), bytes.end())};
        return *this;
    }
    Sto_Statement& Bind_Null(int index) override
    {
        Slot(index) = Pg_Param{};
        return *this;
    }

    bool Is_Null(int column) override { return Pq().PQgetisnull(Rows.get(), Current(), column) != 0; }
    std::string Text(int column) override { return Pg_Text(Rows.get(), Current(), column); }
    int64_t Number(int column) override { return Pg_Number(Rows.get(), Current(), column); }
    std::vector<unsigned char> Blob(int column) override { return Pg_Blob(Rows.get(), Current(), column); }

protected:
    explicit Pg_Values(int count) : Params(static_cast<std::size_t>(count)) {}

    // Before a value is bound: may refuse it, or drop rows read with the old values.
    virtual void Before_Bind() = 0;

    Pg_Param& Slot(int index)
    {
        Before_Bind();
        if (index < 1 || static_cast<std::size_t>(index) > Params.size())
            throw Sto_Error("cannot bind a value: parameter " + std::to_string(index) + " of " +
                            std::to_string(Params.size()));
        return Params[static_cast<std::size_t>(index - 1)];
    }
    int Current() const
    {
        if (Rows == nullptr || Row < 0 || Row >= Pq().PQntuples(Rows.get()))
            throw Sto_Error("the store has no current row to read");
        return Row;
    }

    std::vector<Pg_Param> Params;
    Pg_Result Rows;
    int Row = -1;
};

// A reader (sto_postgres_reader.cpp) on a connection of its own.
[[nodiscard]] std::unique_ptr<Sto_Reader> Sto_Open_Postgres_Reader(const std::string& conninfo,
                                                                   const Sto_Postgres_Options& options,
                                                                   const std::vector<Sto_View>& views);
