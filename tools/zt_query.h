// The query commands of zt: query, sql and save-query, on the public C interface.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "ztint.h"

struct Zt_Query_Options {
    std::string Type;
    std::vector<std::string> Where;  // conditions, all of which must hold
    std::string Columns;             // comma-separated field paths
    std::string Sort;                // a field path; "-" in front sorts descending
    int Limit = 0;                   // 0: every row
    std::string Format = "table";    // table, csv or json
    std::string Saved;               // the saved query to run
    std::string Name;                // where save-query saves
    bool Public = false;             // save-query into the public folder
    std::string Sql;
};

struct Zt_Query_Commands {
    CLI::App* Query = nullptr;
    CLI::App* Sql = nullptr;
    CLI::App* Save = nullptr;
    Zt_Query_Options Options;
};

// Adds the commands to app; commands must stay where it is until Zt_Run_Query.
void Zt_Add_Query_Commands(CLI::App& app, Zt_Query_Commands& commands);
// Runs the query command that was parsed, printing its result or its refusal: the exit
// status (0 done, 1 refused), or -1 when none of them was parsed.
int Zt_Run_Query(ZTSession* session, const Zt_Query_Commands& commands);
