// A PostgreSQL database of one test's own, in the throwaway cluster that
// scripts/pg-cluster.sh starts and names in ZTT_PG ("host=<dir> user=<name>").
// Made when constructed, dropped (with any connection still on it) when destroyed.
// Without ZTT_PG, Available() is false and the test skips; with ZTT_PG, a cluster
// that cannot be reached fails the test. Links libpq.
#pragma once

#include <gtest/gtest.h>
#include <libpq-fe.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <vector>

class ZTInt_Pg_Database {
public:
    ZTInt_Pg_Database()
    {
        const char* cluster = std::getenv("ZTT_PG");
        if (cluster == nullptr || *cluster == '\0')
            return;
        Cluster = cluster;
        static std::atomic<int> counter{0};
        Name = "zt_test_" + std::to_string(getpid()) + "_" + std::to_string(counter++);
        Admin("DROP DATABASE IF EXISTS " + Name);
        Made = Admin("CREATE DATABASE " + Name);
    }
    ~ZTInt_Pg_Database()
    {
        if (Made)
            Admin("DROP DATABASE IF EXISTS " + Name + " WITH (FORCE)");
    }
    ZTInt_Pg_Database(const ZTInt_Pg_Database&) = delete;
    ZTInt_Pg_Database& operator=(const ZTInt_Pg_Database&) = delete;

    bool Available() const { return !Cluster.empty(); }
    bool Made_Ok() const { return Made; }
    // The connection string of the test's database.
    std::string Conninfo() const { return Cluster + " dbname=" + Name; }

    // Runs sql in the maintenance database; false (and a test failure) on an error.
    bool Admin(const std::string& sql) const { return Run(Cluster + " dbname=postgres", sql); }
    // Runs sql in the test's database; its first value, or "" (and a test failure).
    std::string Value(const std::string& sql) const
    {
        std::vector<std::vector<std::string>> rows;
        Run(Conninfo(), sql, &rows);
        return rows.empty() || rows[0].empty() ? "" : rows[0][0];
    }
    // Runs sql in the test's database; all its rows as text (a null as ""), or none
    // (and a test failure).
    std::vector<std::vector<std::string>> Rows(const std::string& sql) const
    {
        std::vector<std::vector<std::string>> rows;
        Run(Conninfo(), sql, &rows);
        return rows;
    }

private:
    static bool Run(const std::string& conninfo, const std::string& sql,
                    std::vector<std::vector<std::string>>* rows = nullptr)
    {
        PGconn* conn = PQconnectdb(conninfo.c_str());
        if (PQstatus(conn) != CONNECTION_OK) {
            ADD_FAILURE() << "cannot reach the test cluster (" << conninfo << "): " << PQerrorMessage(conn);
            PQfinish(conn);
            return false;
        }
        PQsetNoticeProcessor(conn, [](void*, const char*) {}, nullptr);
        PGresult* result = PQexec(conn, sql.c_str());
        const ExecStatusType status = PQresultStatus(result);
        const bool ok = status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK;
        if (!ok)
            ADD_FAILURE() << sql << ": " << PQresultErrorMessage(result);
        else if (rows != nullptr)
            for (int row = 0; row < PQntuples(result); ++row) {
                rows->emplace_back();
                for (int column = 0; column < PQnfields(result); ++column)
                    rows->back().emplace_back(PQgetvalue(result, row, column));
            }
        PQclear(result);
        PQfinish(conn);
        return ok;
    }

    std::string Cluster;
    std::string Name;
    bool Made = false;
};
