// The PostgreSQL engine of the store: the servers of many users on many hosts share
// one tracking database through it. Statements are prepared once per connection and
// run with bound parameters. Writers take one lock per database for the length of
// their transaction, as SQLite's single writer does, so a check and the write that
// follows it see the same data; records carry row versions that the model checks.
// A serialization failure, a deadlock or a lock wait past the timeout is Sto_Busy.
// A lost connection fails the call that met it and is opened again by the next one.
#pragma once

#include <memory>
#include <string>

#include "server/store/sto_engine.h"

struct Sto_Postgres_Options {
    int Lock_Timeout_Ms = 10000;     // how long a writer waits for another
    int Connect_Timeout_Seconds = 10;
};

// True for a location that names a PostgreSQL database: a URI ("postgresql://",
// "postgres://") or a keyword/value connection string ("host=... dbname=...").
[[nodiscard]] bool Sto_Is_Postgres_Location(const std::string& location);

std::unique_ptr<Sto_Connection> Sto_Open_Postgres(const std::string& conninfo,
                                                  const Sto_Postgres_Options& options = {});

// The model's portable SQL in PostgreSQL's dialect, exposed for tests.
// Placeholders: each "?" outside quotes and comments becomes $1, $2, ...; the count
// of parameters is stored in count.
[[nodiscard]] std::string Sto_Postgres_Placeholders(const std::string& sql, int& count);
// Table definitions: 64-bit integers, identity keys, BYTEA for blobs, a rowid
// column in insertion order as SQLite's; SQLite-only clauses (WITHOUT ROWID, PRAGMA)
// dropped.
[[nodiscard]] std::string Sto_Postgres_Ddl(const std::string& sql);
