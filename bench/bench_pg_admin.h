// The benchmarks' one administrative step on a PostgreSQL cluster: running a command
// (CREATE or DROP DATABASE) in its maintenance database.
#pragma once

#include <libpq-fe.h>

#include <cstdio>
#include <string>

// Runs sql in the maintenance database of cluster (connection keywords without a
// database); says on standard error, as program, why it failed.
inline bool Bench_Pg_Admin(const char* program, const std::string& cluster, const std::string& sql)
{
    PGconn* conn = PQconnectdb((cluster + " dbname=postgres").c_str());
    PGresult* result = PQstatus(conn) == CONNECTION_OK ? PQexec(conn, sql.c_str()) : nullptr;
    const bool ok = PQresultStatus(result) == PGRES_COMMAND_OK;
    if (!ok)
        std::fprintf(stderr, "%s: %s: %s\n", program, sql.c_str(), PQerrorMessage(conn));
    PQclear(result);
    PQfinish(conn);
    return ok;
}
