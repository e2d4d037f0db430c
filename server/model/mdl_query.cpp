#include "server/model/mdl_query.h"

#include <algorithm>
#include <ctime>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "server/model/mdl_values.h"

namespace {

constexpr char kUsers[] = "users";

struct User_Column {
    const char* Name;
    const char* Column;  // in zt_users
};
constexpr User_Column kUserColumns[] = {
    {"login", "login"}, {"fullname", "full_name"}, {"email", "email"}, {"phone", "phone"}};

constexpr const char* kOperatorNames[] = {"",        "equal",       "not equal", "less",
                                          "less or equal", "greater", "greater or equal", "like",
                                          "not like", "between",   "not between", "is null",
                                          "is not null", "in",     "not in"};

std::string Quoted_Name(const std::string& name)
{
    std::string text = "\"";
    for (char c : name)
        text += c == '"' ? std::string("\"\"") : std::string(1, c);
    return text + "\"";
}

// A schema name or store name inside a view's text (never a value of a query).
std::string Quoted_Literal(const std::string& text)
{
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("''") : std::string(1, c);
    return quoted + "'";
}

std::vector<std::string> Split_Path(const std::string& path)
{
    std::vector<std::string> parts(1);
    for (char c : path)
        if (c == '.')
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

bool Is_Numeric(ZTInt_Field_Type type)
{
    return type == ZTInt_FIELD_INTEGER || type == ZTInt_FIELD_DBID;
}

// One step of a path: the table it reads (a record type, or NULL for the users) and
// the field.
struct Step {
    const Mdl_Record_Type* Table = nullptr;
    std::string Field;
    Mdl_Path_Info Info;
    std::string Target;  // what a reference field refers to: "users", a type, or ""
};

Step Field_Step(const Mdl_Record_Type* table, const std::string& field, const std::string& path)
{
    Step step{table, field, {}, ""};
    if (table == nullptr) {
        for (const User_Column& column : kUserColumns)
            if (field == column.Name)
                return step;
        throw Mdl_Refusal("field path \"" + path + "\": the users have no field \"" + field + "\"");
    }
    const Mdl_Field_Def* def = table->Field(field);
    if (def == nullptr || def->Type == ZTInt_FIELD_HISTORY)
        throw Mdl_Refusal("field path \"" + path + "\": record type " + table->Name + " has no field \"" +
                          field + "\" to query");
    step.Info.Type = def->Type;
    step.Info.Choices = def->Choices;
    if (def->Type == ZTInt_FIELD_REFERENCE)
        step.Target = def->References;
    return step;
}

// The steps of a path from type; the last names the field shown or compared.
std::vector<Step> Steps(const Mdl_Schema& schema, const std::string& type, const std::string& path)
{
    const Mdl_Record_Type* table = schema.Type(type);
    if (table == nullptr)
        throw Mdl_Refusal("no record type \"" + type + "\" to query");
    const std::vector<std::string> parts = Split_Path(path);
    std::vector<Step> steps;
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i > 0) {
            const Step& before = steps.back();
            if (before.Target.empty())
                throw Mdl_Refusal("field path \"" + path + "\": " + before.Field + " is not a reference");
            table = before.Target == kUsers ? nullptr : schema.Type(before.Target);
            if (table == nullptr && before.Target != kUsers)
                throw Mdl_Refusal("field path \"" + path + "\": no record type " + before.Target);
        }
        if (parts[i].empty())
            throw Mdl_Refusal("field path \"" + path + "\": a part of it is empty");
        steps.push_back(Field_Step(table, parts[i], path));
    }
    return steps;
}

std::string Field_Column(const Mdl_Field_Def& field)
{
    const std::string name = Quoted_Literal(field.Name);
    const std::string value = "(SELECT value FROM zt_values WHERE record = r.dbid AND field = " + name +
                              " AND position = 0)";
    switch (field.Type) {
    case ZTInt_FIELD_ID: return "r.display_id";
    case ZTInt_FIELD_DBID: return "r.dbid";
    case ZTInt_FIELD_STATE: return "r.state";
    case ZTInt_FIELD_RECORD_TYPE: return "r.record_type";
    case ZTInt_FIELD_INTEGER: return "CAST(" + value + " AS INTEGER)";
    case ZTInt_FIELD_REFERENCE_LIST:
        return "(SELECT group_concat(value, char(10)) FROM (SELECT value FROM zt_values WHERE record = r.dbid "
               "AND field = " + name + " ORDER BY position) AS v)";
    case ZTInt_FIELD_ATTACHMENT_LIST:
        return "(SELECT group_concat(file_name, char(10)) FROM (SELECT file_name FROM zt_attachments WHERE "
               "record = r.dbid AND field = " + name + " ORDER BY id) AS v)";
    default: return value;
    }
}

std::string Type_View(const Mdl_Database& database, const Mdl_Record_Type& type)
{
    std::string columns;
    for (const Mdl_Field_Def& field : type.Fields)
        if (field.Type != ZTInt_FIELD_HISTORY)
            columns += (columns.empty() ? "" : ", ") + Field_Column(field) + " AS " + Quoted_Name(field.Name);
    return "SELECT " + columns + " FROM zt_records AS r WHERE r.dbset = " + Quoted_Literal(database.Set) +
           " AND r.database = " + Quoted_Literal(database.Name) + " AND r.record_type = " +
           Quoted_Literal(type.Name);
}

std::string Users_View(const Mdl_Database& database)
{
    std::string columns;
    for (const User_Column& column : kUserColumns)
        columns += std::string(columns.empty() ? "" : ", ") + column.Column + " AS " + column.Name;
    return "SELECT " + columns + " FROM zt_users WHERE dbset = " + Quoted_Literal(database.Set);
}

// A value of a filter, checked against the field's type and bound as the view holds it.
Mdl_Bound_Value Bound(const std::string& path, ZTInt_Field_Type type, const std::string& value)
{
    if (Is_Numeric(type)) {
        if (!Mdl_Is_Integer(value))
            throw Mdl_Refusal("field path \"" + path + "\": \"" + value + "\" is not a whole number");
        return {true, std::stoll(value), ""};
    }
    if (type == ZTInt_FIELD_DATE_TIME) {
        const std::string date = Mdl_Normal_Date_Time(value);
        if (date.empty())
            throw Mdl_Refusal("field path \"" + path + "\": \"" + value +
                              "\" is not a date and time (YYYY-MM-DD HH:MM:SS)");
        return {false, 0, date};
    }
    return {false, 0, value};
}

// "like" finds the value anywhere, literally: the pattern's own characters are escaped.
std::string Contains_Pattern(const std::string& value)
{
    std::string pattern = "%";
    for (char c : value) {
        if (c == '%' || c == '_' || c == '\\')
            pattern += '\\';
        pattern += c;
    }
    return pattern + "%";
}

void Check_Value_Count(const std::string& path, ZTInt_Comp_Op op, std::size_t count)
{
    const char* name = Mdl_Operator_Name(op);
    switch (op) {
    case ZTInt_COMP_IS_NULL:
    case ZTInt_COMP_IS_NOT_NULL:
        if (count != 0)
            throw Mdl_Refusal("field path \"" + path + "\": \"" + name + "\" takes no values");
        return;
    case ZTInt_COMP_BETWEEN:
    case ZTInt_COMP_NOT_BETWEEN:
        if (count != 2)
            throw Mdl_Refusal("field path \"" + path + "\": \"" + name + "\" takes two values, not " +
                              std::to_string(count));
        return;
    case ZTInt_COMP_IN:
    case ZTInt_COMP_NOT_IN:
        if (count == 0)
            throw Mdl_Refusal("field path \"" + path + "\": \"" + name + "\" takes one value or more");
        return;
    default:
        if (count != 1)
            throw Mdl_Refusal("field path \"" + path + "\": \"" + name + "\" takes one value, not " +
                              std::to_string(count));
    }
}

class Compiler {
public:
    Compiler(const Mdl_Schema& schema, const Mdl_Query& query, const std::vector<const Mdl_Field_Filter*>& prompted)
        : Schema(schema), Query(query), Prompted(prompted)
    {
    }

    Mdl_Compiled_Query Run()
    {
        std::vector<std::string> shown;
        std::vector<Mdl_Query_Field> fields = Query.Fields;
        if (fields.empty())
            fields.push_back({"id", "", true, ZTInt_SORT_NONE, 0});
        for (const Mdl_Query_Field& field : fields) {
            const auto [column, type] = Column_Of(field.Path);
            if (field.Shown) {
                shown.push_back(column);
                Result.Columns.push_back({field.Heading(), type});
            }
        }
        std::string where;
        if (Query.Top != nullptr)
            where = Node(*Query.Top);
        if (Next_Prompted != Prompted.size())
            throw Mdl_Refusal("the query has fewer prompted filters than parameters");
        std::string sql = "SELECT ";
        for (std::size_t i = 0; i < shown.size(); ++i)
            sql += (i == 0 ? "" : ", ") + shown[i];
        sql += " FROM " + Quoted_Name(Query.Type) + " AS t0" + Joins;
        if (!where.empty())
            sql += " WHERE " + where;
        Result.Sql = sql + " ORDER BY " + Order(fields) + "t0.dbid";
        return std::move(Result);
    }

private:
    // The expression of a path, joining the views it passes through.
    std::pair<std::string, ZTInt_Field_Type> Column_Of(const std::string& path)
    {
        const std::vector<Step> steps = Steps(Schema, Query.Type, path);
        std::string alias = "t0", prefix;
        for (std::size_t i = 0; i + 1 < steps.size(); ++i) {
            prefix += steps[i].Field + ".";
            std::string& joined = Aliases[prefix];
            if (joined.empty()) {
                joined = "t" + std::to_string(Aliases.size());
                const bool users = steps[i].Target == kUsers;
                Joins += " LEFT JOIN " + Quoted_Name(steps[i].Target) + " AS " + joined + " ON " + joined + "." +
                         (users ? "login" : "id") + " = " + alias + "." + Quoted_Name(steps[i].Field);
            }
            alias = joined;
        }
        return {alias + "." + Quoted_Name(steps.back().Field), steps.back().Info.Type};
    }

    std::string Order(const std::vector<Mdl_Query_Field>& fields)
    {
        std::vector<std::size_t> sorted;
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (fields[i].Sort != ZTInt_SORT_NONE)
                sorted.push_back(i);
        std::stable_sort(sorted.begin(), sorted.end(),
                         [&](std::size_t a, std::size_t b) { return fields[a].Sort_Order < fields[b].Sort_Order; });
        std::string order;
        for (std::size_t i : sorted)
            order += Column_Of(fields[i].Path).first + (fields[i].Sort == ZTInt_SORT_DESCENDING ? " DESC, " : ", ");
        return order;
    }

    std::string Node(const Mdl_Filter_Node& node)
    {
        std::vector<std::string> terms;
        for (const Mdl_Field_Filter& filter : node.Filters)
            terms.push_back(Condition(filter));
        for (const auto& child : node.Children) {
            std::string term = Node(*child);
            if (!term.empty())
                terms.push_back(term);
        }
        std::string text;
        for (const std::string& term : terms)
            text += (text.empty() ? "" : node.Op == ZTInt_BOOL_OR ? " OR " : " AND ") + term;
        return terms.size() > 1 ? "(" + text + ")" : text;
    }

    std::string Placeholders(std::size_t count) const
    {
        std::string text;
        for (std::size_t i = 0; i < count; ++i)
            text += i == 0 ? "?" : ", ?";
        return text;
    }

    std::string Condition(const Mdl_Field_Filter& filter)
    {
        const Mdl_Field_Filter& given = filter.Prompted ? Prompted_Value(filter) : filter;
        Mdl_Query_Paths(Schema).Check_Filter(Query.Type, given);
        const auto [e, type] = Column_Of(filter.Path);
        for (const std::string& value : given.Values) {
            Mdl_Bound_Value bound = Bound(filter.Path, type, value);
            if (given.Op == ZTInt_COMP_LIKE || given.Op == ZTInt_COMP_NOT_LIKE)
                bound.Text = Contains_Pattern(bound.Text);
            Result.Values.push_back(std::move(bound));
        }
        switch (given.Op) {
        case ZTInt_COMP_EQUAL: return e + " = ?";
        case ZTInt_COMP_NOT_EQUAL: return e + " IS DISTINCT FROM ?";  // null-safe, in both engines
        case ZTInt_COMP_LESS: return e + " < ?";
        case ZTInt_COMP_LESS_OR_EQUAL: return e + " <= ?";
        case ZTInt_COMP_GREATER: return e + " > ?";
        case ZTInt_COMP_GREATER_OR_EQUAL: return e + " >= ?";
        case ZTInt_COMP_LIKE: return e + " LIKE ? ESCAPE '\\'";
        case ZTInt_COMP_NOT_LIKE: return "(" + e + " IS NULL OR " + e + " NOT LIKE ? ESCAPE '\\')";
        case ZTInt_COMP_BETWEEN: return e + " BETWEEN ? AND ?";
        case ZTInt_COMP_NOT_BETWEEN: return "(" + e + " IS NULL OR " + e + " NOT BETWEEN ? AND ?)";
        case ZTInt_COMP_IS_NULL: return "(" + e + " IS NULL OR " + e + " = '')";
        case ZTInt_COMP_IS_NOT_NULL: return "(" + e + " IS NOT NULL AND " + e + " <> '')";
        case ZTInt_COMP_IN: return e + " IN (" + Placeholders(given.Values.size()) + ")";
        case ZTInt_COMP_NOT_IN:
            return "(" + e + " IS NULL OR " + e + " NOT IN (" + Placeholders(given.Values.size()) + "))";
        }
        throw Mdl_Refusal("field path \"" + filter.Path + "\": no operator " + std::to_string(given.Op));
    }

    const Mdl_Field_Filter& Prompted_Value(const Mdl_Field_Filter& filter)
    {
        if (Next_Prompted >= Prompted.size())
            throw Mdl_Refusal("field path \"" + filter.Path + "\": the prompted filter has no parameter");
        return *Prompted[Next_Prompted++];
    }

    const Mdl_Schema& Schema;
    const Mdl_Query& Query;
    const std::vector<const Mdl_Field_Filter*>& Prompted;
    std::size_t Next_Prompted = 0;
    std::map<std::string, std::string> Aliases;  // path prefix "Owner." -> alias
    std::string Joins;
    Mdl_Compiled_Query Result;
};

using json = nlohmann::json;

json Node_Json(const Mdl_Filter_Node& node)
{
    json filters = json::array(), children = json::array();
    for (const Mdl_Field_Filter& filter : node.Filters)
        filters.push_back({{"path", filter.Path}, {"op", static_cast<int>(filter.Op)}, {"values", filter.Values},
                           {"prompted", filter.Prompted}, {"prompt", filter.Prompt}});
    for (const auto& child : node.Children)
        children.push_back(Node_Json(*child));
    return {{"op", static_cast<int>(node.Op)}, {"filters", filters}, {"children", children}};
}

std::shared_ptr<Mdl_Filter_Node> Node_Of(const json& object, const std::shared_ptr<Mdl_Filter_Node>& parent)
{
    auto node = std::make_shared<Mdl_Filter_Node>();
    node->Op = static_cast<ZTInt_Bool_Op>(object.at("op").get<int>());
    node->Parent = parent;
    for (const json& filter : object.at("filters"))
        node->Filters.push_back({filter.at("path").get<std::string>(),
                                 static_cast<ZTInt_Comp_Op>(filter.at("op").get<int>()),
                                 filter.at("values").get<std::vector<std::string>>(), filter.at("prompted").get<bool>(),
                                 filter.at("prompt").get<std::string>()});
    for (const json& child : object.at("children"))
        node->Children.push_back(Node_Of(child, node));
    return node;
}

std::shared_ptr<Mdl_Filter_Node> Copy_Node(const Mdl_Filter_Node& node, const std::shared_ptr<Mdl_Filter_Node>& parent)
{
    auto copy = std::make_shared<Mdl_Filter_Node>();
    copy->Op = node.Op;
    copy->Filters = node.Filters;
    copy->Parent = parent;
    for (const auto& child : node.Children)
        copy->Children.push_back(Copy_Node(*child, copy));
    return copy;
}

void Collect_Prompted(Mdl_Filter_Node& node, std::vector<Mdl_Field_Filter*>& found)
{
    for (Mdl_Field_Filter& filter : node.Filters)
        if (filter.Prompted)
            found.push_back(&filter);
    for (const auto& child : node.Children)
        Collect_Prompted(*child, found);
}

}  // namespace

const char* Mdl_Operator_Name(int op)
{
    return op >= ZTInt_COMP_EQUAL && op <= ZTInt_COMP_NOT_IN ? kOperatorNames[op] : "unknown";
}

std::vector<ZTInt_Comp_Op> Mdl_Legal_Operators(ZTInt_Field_Type type)
{
    std::vector<ZTInt_Comp_Op> all;
    for (int op = ZTInt_COMP_EQUAL; op <= ZTInt_COMP_NOT_IN; ++op)
        all.push_back(static_cast<ZTInt_Comp_Op>(op));
    switch (type) {
    case ZTInt_FIELD_INTEGER:
    case ZTInt_FIELD_DBID:
    case ZTInt_FIELD_DATE_TIME:
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [](ZTInt_Comp_Op op) { return op == ZTInt_COMP_LIKE || op == ZTInt_COMP_NOT_LIKE; }),
                  all.end());
        return all;
    case ZTInt_FIELD_MULTILINE_STRING:
    case ZTInt_FIELD_JOURNAL:
        return {ZTInt_COMP_EQUAL, ZTInt_COMP_NOT_EQUAL, ZTInt_COMP_LIKE, ZTInt_COMP_NOT_LIKE,
                ZTInt_COMP_IS_NULL, ZTInt_COMP_IS_NOT_NULL};
    case ZTInt_FIELD_REFERENCE_LIST:
    case ZTInt_FIELD_ATTACHMENT_LIST:
        return {ZTInt_COMP_LIKE, ZTInt_COMP_NOT_LIKE, ZTInt_COMP_IS_NULL, ZTInt_COMP_IS_NOT_NULL};
    case ZTInt_FIELD_HISTORY:
        return {};
    default:
        return all;
    }
}

Mdl_Path_Info Mdl_Query_Paths::Resolve(const std::string& type, const std::string& path) const
{
    return Steps(Schema, type, path).back().Info;
}

bool Mdl_Query_Paths::Is_Legal(const std::string& type, const std::string& path) const
{
    try {
        Resolve(type, path);
        return true;
    } catch (const Mdl_Refusal&) {
        return false;
    }
}

void Mdl_Query_Paths::Check_Filter(const std::string& type, const Mdl_Field_Filter& filter, bool whole) const
{
    const Mdl_Path_Info info = Resolve(type, filter.Path);
    const std::vector<ZTInt_Comp_Op> legal = Mdl_Legal_Operators(info.Type);
    if (std::find(legal.begin(), legal.end(), filter.Op) == legal.end())
        throw Mdl_Refusal("field path \"" + filter.Path + "\": the operator \"" + Mdl_Operator_Name(filter.Op) +
                          "\" is not legal for a field of type " + Mdl_Type_Name(info.Type));
    if (whole && !(filter.Prompted && filter.Values.empty()))
        Check_Value_Count(filter.Path, filter.Op, filter.Values.size());
    for (const std::string& value : filter.Values)
        Bound(filter.Path, info.Type, value);
}

std::vector<Sto_View> Mdl_Query_Views(const Mdl_Database& database)
{
    std::vector<Sto_View> views;
    for (const Mdl_Record_Type& type : database.Schema.Types())
        views.push_back({type.Name, Type_View(database, type)});
    views.push_back({kUsers, Users_View(database)});
    return views;
}

Mdl_Compiled_Query Mdl_Compile_Query(const Mdl_Schema& schema, const Mdl_Query& query,
                                     const std::vector<const Mdl_Field_Filter*>& prompted)
{
    return Compiler(schema, query, prompted).Run();
}

std::vector<Mdl_Field_Filter*> Mdl_Prompted_Filters(const Mdl_Query& query)
{
    std::vector<Mdl_Field_Filter*> found;
    if (query.Top != nullptr)
        Collect_Prompted(*query.Top, found);
    return found;
}

Mdl_Query Mdl_Query::Copy() const
{
    Mdl_Query copy;
    copy.Name = Name;
    copy.Type = Type;
    copy.Sql = Sql;
    copy.Is_Sql = Is_Sql;
    copy.Dirty = Dirty;
    copy.Fields = Fields;
    if (Top != nullptr)
        copy.Top = Copy_Node(*Top, nullptr);
    return copy;
}

std::string Mdl_Query_Text(const Mdl_Query& query)
{
    json fields = json::array();
    for (const Mdl_Query_Field& field : query.Fields)
        fields.push_back({{"path", field.Path}, {"label", field.Label}, {"shown", field.Shown},
                          {"sort", static_cast<int>(field.Sort)}, {"sort_order", field.Sort_Order}});
    json object = {{"format", 1}, {"type", query.Type}, {"sql", query.Sql}, {"is_sql", query.Is_Sql},
                   {"fields", fields}};
    if (query.Top != nullptr)
        object["filter"] = Node_Json(*query.Top);
    return object.dump();
}

Mdl_Query Mdl_Parse_Query(const std::string& text)
{
    try {
        const json object = json::parse(text);
        Mdl_Query query;
        query.Type = object.at("type").get<std::string>();
        query.Sql = object.at("sql").get<std::string>();
        query.Is_Sql = object.at("is_sql").get<bool>();
        for (const json& field : object.at("fields"))
            query.Fields.push_back({field.at("path").get<std::string>(), field.at("label").get<std::string>(),
                                    field.at("shown").get<bool>(), static_cast<ZTInt_Sort_Type>(field.at("sort").get<int>()),
                                    field.at("sort_order").get<int32_t>()});
        if (object.contains("filter"))
            query.Top = Node_Of(object.at("filter"), nullptr);
        return query;
    } catch (const json::exception& error) {
        throw Mdl_Refusal(std::string("the saved query cannot be read: ") + error.what());
    }
}
