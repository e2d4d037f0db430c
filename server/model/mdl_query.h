// Queries of a user database: what a query is (a record type, the fields it shows, and
// a tree of filters over field paths such as "Owner.fullname"), the views the queries
// read, and how a query becomes SQL over those views with every value bound, never
// pasted into the text.
//
// The views: one per record type, named as the type, with the columns dbid, id, State,
// record_type and one per field of the type (a list field's values one per line, a
// journal's whole text, an attachment field's file names); and "users" with login,
// fullname, email and phone. SQL queries read these views and nothing else.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/model/mdl_session.h"
#include "server/store/sto_engine.h"

struct Mdl_Query_Field {
    std::string Path;
    std::string Label;  // the column's heading; the path when empty
    bool Shown = true;
    ZTInt_Sort_Type Sort = ZTInt_SORT_NONE;
    int32_t Sort_Order = 0;  // fields with a sort are sorted by this, then by position

    const std::string& Heading() const { return Label.empty() ? Path : Label; }
};

struct Mdl_Field_Filter {
    std::string Path;
    ZTInt_Comp_Op Op = ZTInt_COMP_EQUAL;
    std::vector<std::string> Values;
    bool Prompted = false;  // the values come from the result set's parameters
    std::string Prompt;
};

struct Mdl_Filter_Node {
    ZTInt_Bool_Op Op = ZTInt_BOOL_AND;
    std::vector<Mdl_Field_Filter> Filters;
    std::vector<std::shared_ptr<Mdl_Filter_Node>> Children;
    std::weak_ptr<Mdl_Filter_Node> Parent;
};

struct Mdl_Query {
    std::string Name;   // where it was saved or opened from; "" if never
    std::string Type;   // the primary record type; "" for a SQL query
    std::string Sql;    // a SQL query's text
    bool Is_Sql = false;
    bool Dirty = false;  // changed since built, saved or opened
    std::vector<Mdl_Query_Field> Fields;
    std::shared_ptr<Mdl_Filter_Node> Top;  // NULL: no filter

    // A deep copy: result sets and saved forms keep their own.
    Mdl_Query Copy() const;
};

// What a field path names.
struct Mdl_Path_Info {
    ZTInt_Field_Type Type = ZTInt_FIELD_SHORT_STRING;
    std::vector<std::string> Choices;
    bool Filterable = true;
};

// Field paths of one database's record types; each refusal names the path.
class Mdl_Query_Paths {
public:
    explicit Mdl_Query_Paths(const Mdl_Schema& schema) : Schema(schema) {}

    // Throws Mdl_Refusal for a path that names no field.
    Mdl_Path_Info Resolve(const std::string& type, const std::string& path) const;
    bool Is_Legal(const std::string& type, const std::string& path) const;
    // Throws Mdl_Refusal unless the filter's operator suits the field and its values
    // parse for the field's type (whole numbers, dates); whole: and the number of
    // values suits the operator (a prompted filter's values come later).
    void Check_Filter(const std::string& type, const Mdl_Field_Filter& filter, bool whole = true) const;

private:
    const Mdl_Schema& Schema;
};

// The operators legal for a field type, and their names ("equal", "like", ...).
std::vector<ZTInt_Comp_Op> Mdl_Legal_Operators(ZTInt_Field_Type type);
const char* Mdl_Operator_Name(int op);

// The views of a database's queries.
std::vector<Sto_View> Mdl_Query_Views(const Mdl_Database& database);

// A query made SQL: the statement, its values in order, the columns' headings and
// types. The values of prompted filters come from prompted, in the order of the
// filters in the tree (depth first, a node's filters before its children).
struct Mdl_Bound_Value {
    bool Is_Number = false;
    int64_t Number = 0;
    std::string Text;
};
struct Mdl_Column {
    std::string Label;
    ZTInt_Field_Type Type = ZTInt_FIELD_SHORT_STRING;
};
struct Mdl_Compiled_Query {
    std::string Sql;
    std::vector<Mdl_Bound_Value> Values;
    std::vector<Mdl_Column> Columns;
};
Mdl_Compiled_Query Mdl_Compile_Query(const Mdl_Schema& schema, const Mdl_Query& query,
                                     const std::vector<const Mdl_Field_Filter*>& prompted);

// The prompted filters of a query, in the order Mdl_Compile_Query takes their values.
std::vector<Mdl_Field_Filter*> Mdl_Prompted_Filters(const Mdl_Query& query);

// The text form of a query, for saving, and back; Parse throws Mdl_Refusal.
std::string Mdl_Query_Text(const Mdl_Query& query);
Mdl_Query Mdl_Parse_Query(const std::string& text);
