#include "tools/zt_query.h"

#include <unistd.h>

#include <cctype>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "tools/zt_common.h"
#include "ztint_values.h"

namespace {

using namespace zt_common;

using Query_Def = Owned<ZTQueryDef, ZTInt_QueryDef_Free>;
using Result_Set = Owned<ZTResultSet, ZTInt_ResultSet_Free>;
using Filter_Node = Owned<ZTQueryFilterNode, ZTInt_QueryFilterNode_Free>;
using Field_Def = Owned<ZTQueryFieldDef, ZTInt_QueryFieldDef_Free>;
using Entity_Def = Owned<ZTEntityDef, ZTInt_EntityDef_Free>;

std::vector<std::string> Split(const std::string& text, char separator)
{
    std::vector<std::string> parts(1);
    for (char c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

// ---- --where ---------------------------------------------------------------------

struct Condition {
    std::string Path;
    ZTInt_LONG Op = ZTInt_COMP_EQUAL;
    std::vector<std::string> Values;
};

struct Operator_Word {
    const char* Text;
    ZTInt_Comp_Op Op;
    bool Word;  // needs a blank or the end after it
};

// Longest first, so that "<=" is not read as "<".
constexpr Operator_Word kOperators[] = {
    {"is-not-null", ZTInt_COMP_IS_NOT_NULL, true}, {"not-between", ZTInt_COMP_NOT_BETWEEN, true},
    {"not-like", ZTInt_COMP_NOT_LIKE, true},       {"is-null", ZTInt_COMP_IS_NULL, true},
    {"between", ZTInt_COMP_BETWEEN, true},         {"not-in", ZTInt_COMP_NOT_IN, true},
    {"like", ZTInt_COMP_LIKE, true},               {"in", ZTInt_COMP_IN, true},
    {"!=", ZTInt_COMP_NOT_EQUAL, false},           {"<=", ZTInt_COMP_LESS_OR_EQUAL, false},
    {">=", ZTInt_COMP_GREATER_OR_EQUAL, false},    {"!~", ZTInt_COMP_NOT_LIKE, false},
    {"=", ZTInt_COMP_EQUAL, false},                {"<", ZTInt_COMP_LESS, false},
    {">", ZTInt_COMP_GREATER, false},              {"~", ZTInt_COMP_LIKE, false},
};

bool Is_Path_Character(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '.';
}

Condition Parse_Where(const std::string& text)
{
    std::size_t at = text.find_first_not_of(' ');
    const std::size_t start = at == std::string::npos ? text.size() : at;
    for (at = start; at < text.size() && Is_Path_Character(text[at]); ++at) {
    }
    Condition condition;
    condition.Path = text.substr(start, at - start);
    at = std::min(text.find_first_not_of(' ', at), text.size());
    for (const Operator_Word& op : kOperators) {
        const std::string word = op.Text;
        const std::size_t end = at + word.size();
        if (text.compare(at, word.size(), word) != 0 || (op.Word && end < text.size() && text[end] != ' '))
            continue;
        if (condition.Path.empty())
            break;
        condition.Op = op.Op;
        const std::size_t value = std::min(text.find_first_not_of(' ', end), text.size());
        const std::string rest = text.substr(value);
        if (op.Op == ZTInt_COMP_IS_NULL || op.Op == ZTInt_COMP_IS_NOT_NULL) {
            if (!rest.empty())
                throw Usage("zt: --where " + text + ": " + word + " takes no value");
        } else if (op.Op == ZTInt_COMP_IN || op.Op == ZTInt_COMP_NOT_IN || op.Op == ZTInt_COMP_BETWEEN ||
                   op.Op == ZTInt_COMP_NOT_BETWEEN) {
            condition.Values = Split(rest, ',');
        } else {
            condition.Values = {rest};
        }
        return condition;
    }
    throw Usage("zt: --where " + text + ": expected FIELD OPERATOR VALUE, the operator one of = != < <= > >= "
                "~ (like) !~ like not-like in not-in between not-between is-null is-not-null");
}

// ---- building a query ------------------------------------------------------------

std::vector<std::string> Default_Columns(ZTSession* session, const std::string& type)
{
    ZTEntityDef* made = nullptr;
    Check(ZTSession_GetEntityDef(session, &made, type.c_str()));
    Entity_Def def(made);
    char** names = nullptr;
    Check(ZTEntityDef_GetFieldDefNames(def.get(), &names));
    std::vector<std::string> columns = {"id"};
    for (const std::string& name : Take(names)) {
        ZTInt_LONG field_type = 0;
        Check(ZTEntityDef_GetFieldDefType(def.get(), &field_type, name.c_str()));
        if (field_type == ZTInt_FIELD_STATE)
            columns.push_back(name);
        if (field_type == ZTInt_FIELD_SHORT_STRING) {
            columns.push_back(name);
            break;
        }
    }
    return columns;
}

Query_Def Build_Query(ZTSession* session, const Zt_Query_Options& options)
{
    ZTQueryDef* made = nullptr;
    Check(ZTSession_BuildQuery(session, &made, options.Type.c_str()));
    Query_Def query(made);
    const std::vector<std::string> columns =
        options.Columns.empty() ? Default_Columns(session, options.Type) : Split(options.Columns, ',');
    for (const std::string& column : columns)
        Check(ZTQueryDef_BuildField(query.get(), column.c_str()));
    if (!options.Sort.empty()) {
        const bool descending = options.Sort[0] == '-';
        const std::string path = descending ? options.Sort.substr(1) : options.Sort;
        ZTQueryFieldDef* field = nullptr;
        std::size_t position = 0;
        while (position < columns.size() && columns[position] != path)
            ++position;
        if (position < columns.size()) {
            Check(ZTQueryDef_GetFieldByPosition(query.get(), &field, static_cast<ZTInt_LONG>(position + 1)));
        } else {
            Check(ZTQueryDef_BuildQueryFieldDef(query.get(), &field, path.c_str()));
            Check(ZTQueryFieldDef_SetIsShown(field, 0));
        }
        Field_Def owned(field);
        Check(ZTQueryFieldDef_SetSortType(owned.get(), descending ? ZTInt_SORT_DESCENDING : ZTInt_SORT_ASCENDING));
    }
    if (!options.Where.empty()) {
        ZTQueryFilterNode* top = nullptr;
        Check(ZTQueryDef_BuildFilterOperator(query.get(), &top, ZTInt_BOOL_AND));
        Filter_Node node(top);
        for (const std::string& where : options.Where) {
            const Condition condition = Parse_Where(where);
            std::vector<char*> values;
            for (const std::string& value : condition.Values)
                values.push_back(const_cast<char*>(value.c_str()));
            values.push_back(nullptr);
            Check(ZTQueryFilterNode_BuildFilter(node.get(), condition.Path.c_str(), condition.Op, values.data()));
        }
    }
    return query;
}

// ---- printing --------------------------------------------------------------------

// East Asian wide characters take two columns of a terminal.
bool Is_Wide(char32_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
           (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE4F) || (c >= 0xFF00 && c <= 0xFF60) ||
           (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x20000 && c <= 0x3FFFD);
}

// The columns UTF-8 text takes on a terminal.
std::size_t Width(const std::string& text)
{
    std::size_t columns = 0;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
        char32_t c = length == 1 ? lead : lead & (0x7F >> length);
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k)
            c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
        columns += Is_Wide(c) ? 2 : 1;
        i += length;
    }
    return columns;
}

// One line per row in a table: line breaks and tabs show as \n and \t.
std::string One_Line(const std::string& value)
{
    std::string line;
    for (char c : value)
        line += c == '\n' ? std::string("\\n") : c == '\t' ? std::string("\\t") : c == '\r' ? std::string("\\r")
                                                                                             : std::string(1, c);
    return line;
}

std::string Csv_Field(const std::string& value)
{
    if (value.find_first_of(",\"\r\n") == std::string::npos)
        return value;
    std::string quoted = "\"";
    for (char c : value)
        quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

class Printer {
public:
    Printer(std::string format, std::vector<std::string> labels) : Format(std::move(format)), Labels(std::move(labels))
    {
        if (Format == "csv")
            Csv_Row(Labels);
        else if (Format == "json")
            std::cout << "[";
    }

    void Row(std::vector<std::string> values)
    {
        if (Format == "csv")
            Csv_Row(values);
        else if (Format == "json")
            Json_Row(values);
        else
            Table.push_back(std::move(values));  // widths need every row
        ++Rows;
    }

    void Finish()
    {
        if (Format == "json")
            std::cout << (Rows == 0 ? "]\n" : "\n]\n");
        else if (Format == "table")
            Print_Table();
        std::cout.flush();
    }

private:
    void Csv_Row(const std::vector<std::string>& values)
    {
        for (std::size_t i = 0; i < values.size(); ++i)
            std::cout << (i == 0 ? "" : ",") << Csv_Field(values[i]);
        std::cout << "\r\n";
    }

    void Json_Row(const std::vector<std::string>& values)
    {
        nlohmann::ordered_json object;
        for (std::size_t i = 0; i < values.size() && i < Labels.size(); ++i)
            object[Labels[i]] = values[i];
        std::cout << (Rows == 0 ? "\n  " : ",\n  ")
                  << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }

    void Print_Table()
    {
        std::vector<std::size_t> widths;
        for (const std::string& label : Labels)
            widths.push_back(Width(label));
        for (const auto& row : Table)
            for (std::size_t i = 0; i < row.size() && i < widths.size(); ++i)
                widths[i] = std::max(widths[i], Width(One_Line(row[i])));
        Table_Line(Labels, widths);
        std::vector<std::string> rules;
        for (std::size_t width : widths)
            rules.emplace_back(width, '-');
        Table_Line(rules, widths);
        for (const auto& row : Table)
            Table_Line(row, widths);
    }

    static void Table_Line(const std::vector<std::string>& values, const std::vector<std::size_t>& widths)
    {
        std::string line;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::string cell = One_Line(values[i]);
            line += cell;
            if (i + 1 < values.size())
                line += std::string(widths[i] - Width(cell) + 2, ' ');
        }
        std::cout << line << "\n";
    }

    std::string Format;
    std::vector<std::string> Labels;
    std::vector<std::vector<std::string>> Table;
    long Rows = 0;
};

// "N rows" on standard error while a long query runs, when both output streams are a
// terminal; nothing when the output goes to a pipe or a file.
class Progress {
public:
    Progress() : Shown(isatty(STDOUT_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {}
    ~Progress() { Clear(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Row(long rows)
    {
        if (!Shown || rows % 1000 != 0)
            return;
        if (std::chrono::steady_clock::now() - Start < std::chrono::milliseconds(500))
            return;
        std::cerr << "\r" << rows << " rows" << std::flush;
        Drawn = true;
    }

    // Takes the line away again, before the output takes its place.
    void Clear()
    {
        if (Drawn)
            std::cerr << "\r\033[K" << std::flush;
        Drawn = false;
    }

private:
    bool Shown, Drawn = false;
    std::chrono::steady_clock::time_point Start = std::chrono::steady_clock::now();
};

void Print(ZTResultSet* set, const std::string& format, int limit)
{
    if (limit > 0)
        Check(ZTResultSet_SetMaxResultSetRows(set, limit));
    ZTInt_LONG columns = 0;
    Check(ZTResultSet_GetNumberOfColumns(set, &columns));
    std::vector<std::string> labels;
    for (ZTInt_LONG i = 1; i <= columns; ++i) {
        char* label = nullptr;
        Check(ZTResultSet_GetColumnLabel(set, &label, i));
        labels.push_back(Take(label));
    }
    Check(ZTResultSet_Execute(set));
    std::vector<std::vector<std::string>> rows;
    Progress progress;
    // On a terminal the rows come first and then the output, so the two do not mix.
    const bool buffered = isatty(STDOUT_FILENO) != 0;
    Printer printer(format, labels);
    for (long count = 1;; ++count) {
        ZTInt_LONG status = 0;
        Check(ZTResultSet_MoveNext(set, &status));
        if (status != ZTInt_FETCH_ROW)
            break;
        char** values = nullptr;
        Check(ZTResultSet_GetAllColumnValues(set, &values, 0));
        if (buffered)
            rows.push_back(Take(values));
        else
            printer.Row(Take(values));
        progress.Row(count);
    }
    progress.Clear();
    for (auto& row : rows)
        printer.Row(std::move(row));
    printer.Finish();
}

std::string Saved_Path(const Zt_Query_Options& options)
{
    if (options.Name.find('/') != std::string::npos)
        return options.Name;
    return std::string(options.Public ? "Public Queries/" : "Personal Queries/") + options.Name;
}

void Run(ZTSession* session, const Zt_Query_Commands& commands)
{
    const Zt_Query_Options& options = commands.Options;
    ZTResultSet* made = nullptr;
    if (commands.Sql->parsed()) {
        Check(ZTSession_BuildSQLQuery(session, &made, options.Sql.c_str()));
        Print(Result_Set(made).get(), options.Format, options.Limit);
        return;
    }
    if (commands.Save->parsed()) {
        Query_Def query = Build_Query(session, options);
        ZTInt_BOOL saved = 0;
        Check(ZTQueryDef_Save(query.get(), &saved, Saved_Path(options).c_str()));
        std::cout << Saved_Path(options) << "\n";
        return;
    }
    Query_Def query;
    if (!options.Saved.empty()) {
        if (!options.Type.empty() || !options.Where.empty() || !options.Columns.empty() || !options.Sort.empty())
            throw Usage("zt: --saved runs a saved query as it is: no TYPE, --where, --columns or --sort with it");
        ZTQueryDef* opened = nullptr;
        Zt_Query_Options saved = options;
        saved.Name = options.Saved;
        Check(ZTSession_OpenQueryDef(session, &opened, Saved_Path(saved).c_str()));
        query.reset(opened);
    } else if (options.Type.empty()) {
        throw Usage("zt: query needs a record TYPE, or --saved NAME");
    } else {
        query = Build_Query(session, options);
    }
    Check(ZTSession_BuildResultSet(session, &made, query.get()));
    Print(Result_Set(made).get(), options.Format, options.Limit);
}

void Add_Query_Options(CLI::App* command, Zt_Query_Options& options)
{
    command->add_option("--where", options.Where,
                        "FIELD OP VALUE; OP: = != < <= > >= ~ !~ like not-like in not-in between not-between "
                        "is-null is-not-null; lists and ranges comma-separated; all must hold");
    command->add_option("--columns", options.Columns, "field paths to show, comma-separated (Owner.fullname)");
    command->add_option("--sort", options.Sort, "field path to sort by; -FIELD sorts descending");
}

void Add_Output_Options(CLI::App* command, Zt_Query_Options& options)
{
    command->add_option("--limit", options.Limit, "at most this many rows")->check(CLI::NonNegativeNumber);
    command->add_option("--format", options.Format, "table, csv (RFC 4180) or json")
        ->check(CLI::IsMember({"table", "csv", "json"}));
}

}  // namespace

void Zt_Add_Query_Commands(CLI::App& app, Zt_Query_Commands& commands)
{
    Zt_Query_Options& options = commands.Options;
    commands.Query = app.add_subcommand("query", "List the records of a type that match conditions");
    commands.Query->add_option("TYPE", options.Type, "record type");
    Add_Query_Options(commands.Query, options);
    commands.Query->add_option("--saved", options.Saved, "run a saved query (a name in your personal folder, or a path)");
    Add_Output_Options(commands.Query, options);

    commands.Sql = app.add_subcommand("sql", "Run a read-only SQL query over the views of the record types");
    commands.Sql->add_option("SQL", options.Sql, "one SELECT statement")->required();
    Add_Output_Options(commands.Sql, options);

    commands.Save = app.add_subcommand("save-query", "Save a query under a name");
    commands.Save->add_option("NAME", options.Name, "name, or Public Queries/NAME, Personal Queries/NAME")->required();
    commands.Save->add_option("TYPE", options.Type, "record type")->required();
    Add_Query_Options(commands.Save, options);
    commands.Save->add_flag("--public", options.Public, "save into the public folder");
}

int Zt_Run_Query(ZTSession* session, const Zt_Query_Commands& commands)
{
    if (!commands.Query->parsed() && !commands.Sql->parsed() && !commands.Save->parsed())
        return -1;
    try {
        Run(session, commands);
        return 0;
    } catch (const Usage& usage) {
        std::cerr << usage.what() << "\n";
        return 2;
    } catch (const Refused& refusal) {
        std::cout.flush();
        std::cerr << refusal.what() << "\n";
        return 1;
    }
}
