// The SQLite engine of the store.
#pragma once

#include <memory>
#include <string>

#include "server/store/sto_engine.h"

struct Sto_Sqlite_Options {
    int Busy_Timeout_Ms = 10000;  // how long a writer waits for another
};

std::unique_ptr<Sto_Connection> Sto_Open_Sqlite(const std::string& path,
                                                const Sto_Sqlite_Options& options = {});
