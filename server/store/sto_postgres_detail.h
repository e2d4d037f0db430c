// What the PostgreSQL store connection and its readers share: owned results, opening
// a connection, a failure's text and reading a row's values.
#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/store/sto_postgres.h"

struct Pg_Result_Free {
    void operator()(PGresult* result) const { PQclear(result); }
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

// A reader (sto_postgres_reader.cpp) on a connection of its own.
[[nodiscard]] std::unique_ptr<Sto_Reader> Sto_Open_Postgres_Reader(const std::string& conninfo,
                                                                   const Sto_Postgres_Options& options,
                                                                   const std::vector<Sto_View>& views);
