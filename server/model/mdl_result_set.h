// Mdl_Result_Set: a query run against the store. It walks its result with a cursor of
// its own (a reader of the store, see Sto_Reader), one row in memory at a time, so a
// result of any size costs the server the same; the cursor reads one snapshot from its
// first row to its last, and lets go of it at the end, so that an open result set
// does not hold back other sessions' writes. Each call on a result set may make its
// cursor work for ZT_SERVER_QUERY_SECONDS (default 60) at most; a query stopped there
// is refused, so that no query stalls the other clients of the server. Rows count from
// 1, columns from 1.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/model/mdl_query.h"

class Mdl_Result_Set {
public:
    // A result set of a query (copied). A SQL query is checked at once: SQL that is
    // not a single read of the views is refused here (Mdl_Refusal).
    Mdl_Result_Set(std::shared_ptr<Mdl_Session> session, const Mdl_Query& query);

    // A parameter: a prompted filter and the values given for it.
    struct Param {
        Mdl_Field_Filter Filter;  // path, operator and values given
        Mdl_Path_Info Info;
    };

    const Mdl_Query& Query() const { return Source; }
    std::shared_ptr<Mdl_Session> Session() const { return Owner; }

    void Execute();
    // Counts the rows (up to the row limit), then executes.
    int64_t Execute_And_Count();
    void Enable_Record_Count() { Count_On_Execute = true; }
    // The row count of the last execution; refused when it was not counted.
    int64_t Record_Count() const;

    [[nodiscard]] ZTInt_Fetch_Status Move_Next();
    // Moves to row (from 1); back means running the query again from its start.
    [[nodiscard]] ZTInt_Fetch_Status Move_Absolute(int64_t row);

    int Column_Count() const { return static_cast<int>(Columns.size()); }
    const Mdl_Column& Column(int number) const;
    const std::string& Value(int number) const;
    const std::vector<std::string>& Row() const;
    // The SQL the query runs (the user's for a SQL query).
    std::string Sql() const;

    std::vector<Param>& Params() { return Parameters; }
    Param& Parameter(int number);

    int64_t Max_Rows = 0;        // 0: no limit
    int64_t Max_Multiline = 0;   // 0: multi-line values whole; else cut to this many characters
    // Kept for the caller; the server holds one row at a time whatever they say.
    int64_t Buffer_Size = 1, Rows_In_Memory = 1;
    bool Convert_To_Local_Time = false;  // dates stay UTC, as stored
    bool Prefetch_All = false;           // rows are read as they are asked for
    bool Limited() const { return Was_Limited; }

private:
    void Limit_Time();
    ZTInt_Fetch_Status Step();
    void Start();
    int64_t Count_Rows();
    void Open_Cursor();
    Sto_Reader& Reader();
    void Close_Cursor();

    std::shared_ptr<Mdl_Session> Owner;
    Mdl_Query Source;
    std::vector<Param> Parameters;
    std::vector<Mdl_Column> Columns;
    std::unique_ptr<Sto_Reader> Store_Reader;
    std::unique_ptr<Sto_Cursor> Cursor;  // NULL once the rows are done
    std::vector<std::string> Current;
    int64_t Position = 0;  // the row stood on, 0 before the first
    int64_t Count = -1;
    bool Executed = false, On_Row = false, Count_On_Execute = false, Was_Limited = false;
};
