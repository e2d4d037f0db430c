// The tracking store of one test: a SQLite file in the test's directory, or, with
// ZTT_E2E_STORE=postgresql, a database of its own in the throwaway cluster that
// scripts/pg-cluster.sh names in ZTT_PG (dropped with the object).
#pragma once

#include <cstdlib>
#include <memory>
#include <string>

#include "tests/support/ztint_pg_database.h"

class ZTInt_Test_Store {
public:
    explicit ZTInt_Test_Store(const std::string& dir)
    {
        if (!On_Postgres()) {
            Location = dir + "/store.db";
            return;
        }
        Pg = std::make_unique<ZTInt_Pg_Database>();
        if (Pg->Available() && Pg->Made_Ok())
            Location = Pg->Conninfo();
    }

    // True when the store tests run on PostgreSQL.
    static bool On_Postgres()
    {
        const char* engine = std::getenv("ZTT_E2E_STORE");
        return engine != nullptr && std::string(engine) == "postgresql";
    }

    // The store's location for ZT_SERVER_STORE; empty when the PostgreSQL database
    // could not be made (no ZTT_PG, or a cluster out of reach).
    std::string Location;
    std::unique_ptr<ZTInt_Pg_Database> Pg;
};
