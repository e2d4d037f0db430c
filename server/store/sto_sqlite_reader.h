// The SQLite reader: a second, read-only connection to a store file, with the views of
// the queries as temporary views, and an authorizer for the SQL of users.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "server/store/sto_engine.h"

std::unique_ptr<Sto_Reader> Sto_Open_Sqlite_Reader(const std::string& path, int busy_timeout_ms,
                                                   const std::vector<Sto_View>& views);
