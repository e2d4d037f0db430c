// Queries: ZTSession_BuildQuery and ZTSession_BuildSQLQuery, ZTQueryDef, its fields
// (ZTQueryFieldDef(s)), its filter tree (ZTQueryFilterNode, ZTFilterNode,
// ZTFieldFilter(s)), and ZTResultSet. Lists count from 0; columns, rows, positions and
// parameters from 1.
#include <algorithm>

#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "server/calls/svr_query_payloads.h"
#include "ztint_opcodes.h"

namespace {

Pl_Query& Query_Of(Svr_Call& call, int index = 0) { return call.Object<Pl_Query>(index); }
Mdl_Query& Query(Svr_Call& call) { return *Query_Of(call).Query; }
Mdl_Query_Paths Paths(Svr_Call& call) { return Mdl_Query_Paths(Query_Of(call).Session->Schema()); }

Mdl_Query& List_Query(Svr_Call& call)
{
    Mdl_Query& query = Query(call);
    if (query.Is_Sql)
        throw Mdl_Refusal("a SQL query has no fields or filters of its own");
    return query;
}

ZTInt_Comp_Op Operator(int32_t number)
{
    if (number < ZTInt_COMP_EQUAL || number > ZTInt_COMP_NOT_IN)
        throw Mdl_Refusal("no comparison operator " + std::to_string(number));
    return static_cast<ZTInt_Comp_Op>(number);
}

ZTInt_Bool_Op Bool_Operator(int32_t number)
{
    if (number != ZTInt_BOOL_AND && number != ZTInt_BOOL_OR)
        throw Mdl_Refusal("no boolean operator " + std::to_string(number) + " (1 and, 2 or)");
    return static_cast<ZTInt_Bool_Op>(number);
}

std::vector<std::string> Operator_Numbers(ZTInt_Field_Type type)
{
    std::vector<std::string> numbers;
    for (ZTInt_Comp_Op op : Mdl_Legal_Operators(type))
        numbers.push_back(std::to_string(op));
    return numbers;
}

// ---- the query and its fields ----------------------------------------------------

int32_t Query_Field_Result(Svr_Call& call, std::size_t index)
{
    return call.Result(std::make_shared<Pl_Query_Field>(Query_Of(call), index));
}

std::size_t Add_Field(Svr_Call& call, const std::string& path)
{
    Mdl_Query& query = List_Query(call);
    Paths(call).Resolve(query.Type, path);
    query.Fields.push_back({path, "", true, ZTInt_SORT_NONE, 0});
    query.Dirty = true;
    return query.Fields.size() - 1;
}

int32_t Top_Node(Svr_Call& call)
{
    Mdl_Query& query = List_Query(call);
    query.Top = std::make_shared<Mdl_Filter_Node>();
    query.Top->Op = Bool_Operator(call.Number(1));
    query.Dirty = true;
    return call.Result(std::make_shared<Pl_Filter_Node>(Query_Of(call), query.Top));
}

Mdl_Query_Field& Field(Svr_Call& call)
{
    Pl_Query_Field& field = call.Object<Pl_Query_Field>(0);
    if (field.Index >= field.Query->Fields.size())
        throw Mdl_Refusal("the field was removed from its query");
    return field.Query->Fields[field.Index];
}

template <class Change>
int32_t Change_Field(Svr_Call& call, Change change)
{
    change(Field(call));
    Query(call).Dirty = true;
    return 0;
}

std::size_t Index(Svr_Call& call, int argument, std::size_t size, const char* what)
{
    const int32_t index = call.Number(argument);
    if (index < 0 || static_cast<std::size_t>(index) >= size)
        throw Mdl_Refusal("no " + std::string(what) + " " + std::to_string(index) + " in a list of " +
                          std::to_string(size) + ", counted from 0");
    return static_cast<std::size_t>(index);
}

// ---- the filter tree ---------------------------------------------------------------

Pl_Filter_Node& Node_Of(Svr_Call& call) { return call.Object<Pl_Filter_Node>(0); }
Mdl_Filter_Node& Node(Svr_Call& call) { return *Node_Of(call).Node; }

int32_t Child_Node(Svr_Call& call)
{
    Pl_Filter_Node& parent = Node_Of(call);
    auto child = std::make_shared<Mdl_Filter_Node>();
    child->Op = Bool_Operator(call.Number(1));
    child->Parent = parent.Node;
    parent.Node->Children.push_back(child);
    parent.Query->Dirty = true;
    return call.Result(std::make_shared<Pl_Filter_Node>(parent, child));
}

// A new filter of the node, checked first: an unknown path, an operator the field's
// type does not take, or a value that does not parse is refused with the path.
std::size_t Add_Filter(Svr_Call& call, Mdl_Field_Filter filter)
{
    Pl_Filter_Node& node = Node_Of(call);
    Mdl_Query_Paths(node.Session->Schema()).Check_Filter(node.Query->Type, filter);
    node.Node->Filters.push_back(std::move(filter));
    node.Query->Dirty = true;
    return node.Node->Filters.size() - 1;
}

int32_t Field_Filter_Result(Svr_Call& call, const Pl_Filter_Node& node, std::size_t index)
{
    auto payload = std::make_shared<Pl_Field_Filter>();
    payload->Session = node.Session;
    payload->Type = node.Query->Type;
    payload->Find = [filters = node.Node, query = node.Query, index]() -> Mdl_Field_Filter& {
        if (index >= filters->Filters.size())
            throw Mdl_Refusal("the filter was removed from its node");
        query->Dirty = true;  // a caller that finds a filter may change it
        return filters->Filters[index];
    };
    return call.Result(std::move(payload));
}

Pl_Field_Filter& Filter_Of(Svr_Call& call) { return call.Object<Pl_Field_Filter>(0); }
Mdl_Field_Filter& Filter(Svr_Call& call) { return Filter_Of(call).Find(); }
Mdl_Path_Info Filter_Info(Svr_Call& call)
{
    Pl_Field_Filter& filter = Filter_Of(call);
    return Mdl_Query_Paths(filter.Session->Schema()).Resolve(filter.Type, filter.Find().Path);
}

// The filter with a change, checked as a new one would be; refused changes change nothing.
template <class Change>
int32_t Change_Filter(Svr_Call& call, Change change)
{
    Pl_Field_Filter& payload = Filter_Of(call);
    Mdl_Field_Filter changed = payload.Find();
    change(changed);
    // The number of values is checked when the query runs: operator and values
    // change one call after the other.
    Mdl_Query_Paths(payload.Session->Schema()).Check_Filter(payload.Type, changed, false);
    payload.Find() = changed;
    return 0;
}

std::string Expression(const Mdl_Field_Filter& filter)
{
    std::string text = filter.Path + " " + Mdl_Operator_Name(filter.Op);
    for (std::size_t i = 0; i < filter.Values.size(); ++i)
        text += (i == 0 ? " \"" : ", \"") + filter.Values[i] + "\"";
    return filter.Prompted && filter.Values.empty() ? text + " ?" : text;
}

// ---- result sets -----------------------------------------------------------------

Mdl_Result_Set& Set(Svr_Call& call) { return *call.Object<Pl_Result_Set>(0).Set; }

int32_t Result_Set(Svr_Call& call, const Mdl_Query& query)
{
    auto session = call.Object<Pl_Session>(0).Session;
    return call.Result(std::make_shared<Pl_Result_Set>(std::make_shared<Mdl_Result_Set>(session, query)));
}

int32_t Build_Result_Set(Svr_Call& call)
{
    const Pl_Query& query = Query_Of(call, 1);
    if (&query.Session->Database() != &call.Object<Pl_Session>(0).Session->Database())
        throw Mdl_Refusal("the query belongs to another database");
    return Result_Set(call, *query.Query);
}

int32_t Build_Query(Svr_Call& call)
{
    auto session = call.Object<Pl_Session>(0).Session;
    auto query = std::make_shared<Mdl_Query>();
    query->Type = session->Type(call.Text(1)).Name;
    return call.Result(std::make_shared<Pl_Query>(session, std::move(query)));
}

int32_t Build_Sql_Query(Svr_Call& call)
{
    Mdl_Query query;
    query.Is_Sql = true;
    query.Sql = call.Text(1);
    return Result_Set(call, query);
}

Mdl_Result_Set::Param& Param(Svr_Call& call) { return Set(call).Parameter(call.Number(1)); }

std::vector<std::string> All_Values(Svr_Call& call)
{
    Mdl_Result_Set& set = Set(call);
    const std::vector<std::string>& row = set.Row();
    if (call.Number(1) == 0)
        return row;
    std::vector<std::string> pairs;
    for (int i = 1; i <= set.Column_Count(); ++i) {
        pairs.push_back(set.Column(i).Label);
        pairs.push_back(row[static_cast<std::size_t>(i - 1)]);
    }
    return pairs;
}

int32_t Param_Filter(Svr_Call& call)
{
    Pl_Result_Set& payload = call.Object<Pl_Result_Set>(0);
    payload.Set->Parameter(call.Number(1));
    auto filter = std::make_shared<Pl_Field_Filter>();
    filter->Session = payload.Set->Session();
    filter->Type = payload.Set->Query().Type;
    filter->Find = [set = payload.Set, number = call.Number(1)]() -> Mdl_Field_Filter& {
        return set->Parameter(number).Filter;
    };
    return call.Result(std::move(filter));
}

int32_t Non_Negative(Svr_Call& call, int64_t& setting)
{
    if (call.Number(1) < 0)
        throw Mdl_Refusal("the value " + std::to_string(call.Number(1)) + " is negative");
    setting = call.Number(1);
    return 0;
}

void Register_Query_Def(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTQueryDef_GetQueryType,
          [](Svr_Call& c) { return c.Result(int64_t{Query(c).Is_Sql ? ZTInt_QUERY_SQL : ZTInt_QUERY_LIST}); });
    d.Add(ZTInt_op_ZTQueryDef_GetSQL, [](Svr_Call& c) {
        const Mdl_Query& query = Query(c);
        return c.Result(query.Is_Sql ? query.Sql : Mdl_Compile_Query(Query_Of(c).Session->Schema(), query, {}).Sql);
    });
    d.Add(ZTInt_op_ZTQueryDef_SetSQL, [](Svr_Call& c) {
        Mdl_Query& query = Query(c);
        query.Is_Sql = true;
        query.Sql = c.Text(1);
        query.Dirty = true;
        return 0;
    });
    d.Add(ZTInt_op_ZTQueryDef_GetIsDirty, [](Svr_Call& c) { return c.Result_Bool(Query(c).Dirty); });
    d.Add(ZTInt_op_ZTQueryDef_GetIsAggregated, [](Svr_Call& c) { Query(c); return c.Result_Bool(false); });
    d.Add(ZTInt_op_ZTQueryDef_GetIsMultiType, [](Svr_Call& c) { Query(c); return c.Result_Bool(false); });
    d.Add(ZTInt_op_ZTQueryDef_GetIsSQLGenerated, [](Svr_Call& c) { return c.Result_Bool(!Query(c).Is_Sql); });
    d.Add(ZTInt_op_ZTQueryDef_GetName, [](Svr_Call& c) { return c.Result(Query(c).Name); });
    d.Add(ZTInt_op_ZTQueryDef_SetName, [](Svr_Call& c) {
        Query(c).Name = c.Text(1);
        Query(c).Dirty = true;
        return 0;
    });
    d.Add(ZTInt_op_ZTQueryDef_GetPrimaryEntityDefName, [](Svr_Call& c) { return c.Result(Query(c).Type); });
    d.Add(ZTInt_op_ZTQueryDef_BuildField, [](Svr_Call& c) { Add_Field(c, c.Text(1)); return 0; });
    d.Add(ZTInt_op_ZTQueryDef_BuildQueryFieldDef, [](Svr_Call& c) { return Query_Field_Result(c, Add_Field(c, c.Text(1))); });
    d.Add(ZTInt_op_ZTQueryDef_BuildUniqueKeyField, [](Svr_Call& c) { return Query_Field_Result(c, Add_Field(c, "id")); });
    d.Add(ZTInt_op_ZTQueryDef_GetFieldByPosition, [](Svr_Call& c) {
        const int32_t position = c.Number(1);
        if (position < 1 || static_cast<std::size_t>(position) > Query(c).Fields.size())
            throw Mdl_Refusal("no field at position " + std::to_string(position) + " of " +
                              std::to_string(Query(c).Fields.size()) + ", counted from 1");
        return Query_Field_Result(c, static_cast<std::size_t>(position - 1));
    });
    d.Add(ZTInt_op_ZTQueryDef_GetQueryFieldDefs,
          [](Svr_Call& c) { return c.Result(std::make_shared<Pl_Query_Fields>(Query_Of(c))); });
    d.Add(ZTInt_op_ZTQueryDef_BuildFilterOperator, Top_Node);
    d.Add(ZTInt_op_ZTQueryDef_CreateTopNode, Top_Node);
    d.Add(ZTInt_op_ZTQueryDef_GetQueryFilter, [](Svr_Call& c) {
        if (List_Query(c).Top == nullptr)
            throw Mdl_Refusal("the query has no filter: build one with BuildFilterOperator");
        return c.Result(std::make_shared<Pl_Filter_Node>(Query_Of(c), Query(c).Top));
    });
    d.Add(ZTInt_op_ZTQueryDef_BuildUniqueKeyFilter, [](Svr_Call& c) {
        Pl_Filter_Node& node = c.Object<Pl_Filter_Node>(1);
        if (node.Query != Query_Of(c).Query)
            throw Mdl_Refusal("the filter node belongs to another query");
        Mdl_Field_Filter filter{"id", Operator(c.Number(2)), {}, false, ""};
        Mdl_Query_Paths(node.Session->Schema()).Check_Filter(node.Query->Type, filter, false);
        node.Node->Filters.push_back(filter);
        node.Query->Dirty = true;
        return Field_Filter_Result(c, node, node.Node->Filters.size() - 1);
    });
    d.Add(ZTInt_op_ZTQueryDef_IsFieldLegalForQuery,
          [](Svr_Call& c) { return c.Result_Bool(Paths(c).Is_Legal(Query(c).Type, c.Text(1))); });
    d.Add(ZTInt_op_ZTQueryDef_IsFieldLegalForFilter, [](Svr_Call& c) {
        return c.Result_Bool(Paths(c).Is_Legal(Query(c).Type, c.Text(1)) &&
                             !Mdl_Legal_Operators(Paths(c).Resolve(Query(c).Type, c.Text(1)).Type).empty());
    });
    d.Add(ZTInt_op_ZTQueryDef_GetLegalCompOpsByFieldPath,
          [](Svr_Call& c) { return c.Result(Operator_Numbers(Paths(c).Resolve(Query(c).Type, c.Text(1)).Type)); });
    d.Add(ZTInt_op_ZTQueryDef_GetChoiceListByFieldPath,
          [](Svr_Call& c) { return c.Result(Paths(c).Resolve(Query(c).Type, c.Text(1)).Choices); });
    d.Add(ZTInt_op_ZTQueryDef_GetFieldTypeByFieldPath,
          [](Svr_Call& c) { return c.Result(int64_t{Paths(c).Resolve(Query(c).Type, c.Text(1)).Type}); });
}

void Register_Query_Fields(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTQueryFieldDefs_Count, [](Svr_Call& c) { return c.Result(static_cast<int64_t>(Query(c).Fields.size())); });
    d.Add(ZTInt_op_ZTQueryFieldDefs_Item,
          [](Svr_Call& c) { return Query_Field_Result(c, Index(c, 1, Query(c).Fields.size(), "field")); });
    d.Add(ZTInt_op_ZTQueryFieldDefs_ItemByName, [](Svr_Call& c) {
        const std::vector<Mdl_Query_Field>& fields = Query(c).Fields;
        for (std::size_t i = 0; i < fields.size(); ++i)
            if (fields[i].Path == c.Text(1))
                return Query_Field_Result(c, i);
        throw Mdl_Refusal("the query has no field \"" + c.Text(1) + "\"");
    });
    d.Add(ZTInt_op_ZTQueryFieldDefs_AddByFieldPath, [](Svr_Call& c) { return Query_Field_Result(c, Add_Field(c, c.Text(1))); });
    d.Add(ZTInt_op_ZTQueryFieldDefs_AddUniqueKey, [](Svr_Call& c) { return Query_Field_Result(c, Add_Field(c, "id")); });
    d.Add(ZTInt_op_ZTQueryFieldDefs_Remove, [](Svr_Call& c) {
        Mdl_Query& query = Query(c);
        query.Fields.erase(query.Fields.begin() + static_cast<std::ptrdiff_t>(Index(c, 1, query.Fields.size(), "field")));
        query.Dirty = true;
        return c.Result_Bool(true);
    });

    d.Add(ZTInt_op_ZTQueryFieldDef_GetFieldPathName, [](Svr_Call& c) { return c.Result(Field(c).Path); });
    d.Add(ZTInt_op_ZTQueryFieldDef_SetFieldPathName, [](Svr_Call& c) {
        Paths(c).Resolve(Query(c).Type, c.Text(1));
        return Change_Field(c, [&](Mdl_Query_Field& f) { f.Path = c.Text(1); });
    });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetDataType,
          [](Svr_Call& c) { return c.Result(int64_t{Paths(c).Resolve(Query(c).Type, Field(c).Path).Type}); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetFieldType,
          [](Svr_Call& c) { return c.Result(int64_t{Paths(c).Resolve(Query(c).Type, Field(c).Path).Type}); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetChoiceList,
          [](Svr_Call& c) { return c.Result(Paths(c).Resolve(Query(c).Type, Field(c).Path).Choices); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetIsLegalForFilter, [](Svr_Call& c) {
        return c.Result_Bool(!Mdl_Legal_Operators(Paths(c).Resolve(Query(c).Type, Field(c).Path).Type).empty());
    });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetDescription, [](Svr_Call& c) {
        const Mdl_Record_Type* type = Query_Of(c).Session->Schema().Type(Query(c).Type);
        const std::string& path = Field(c).Path;
        const Mdl_Field_Def* field = type != nullptr && path.find('.') == std::string::npos ? type->Field(path) : nullptr;
        return c.Result(field != nullptr ? field->Help : std::string());
    });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetIsShown, [](Svr_Call& c) { return c.Result_Bool(Field(c).Shown); });
    d.Add(ZTInt_op_ZTQueryFieldDef_SetIsShown,
          [](Svr_Call& c) { return Change_Field(c, [&](Mdl_Query_Field& f) { f.Shown = c.Number(1) != 0; }); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetLabel, [](Svr_Call& c) { return c.Result(Field(c).Heading()); });
    d.Add(ZTInt_op_ZTQueryFieldDef_SetLabel,
          [](Svr_Call& c) { return Change_Field(c, [&](Mdl_Query_Field& f) { f.Label = c.Text(1); }); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetSortType, [](Svr_Call& c) { return c.Result(int64_t{Field(c).Sort}); });
    d.Add(ZTInt_op_ZTQueryFieldDef_SetSortType, [](Svr_Call& c) {
        const int32_t sort = c.Number(1);
        if (sort < ZTInt_SORT_NONE || sort > ZTInt_SORT_DESCENDING)
            throw Mdl_Refusal("no sort type " + std::to_string(sort) + " (0 none, 1 ascending, 2 descending)");
        return Change_Field(c, [&](Mdl_Query_Field& f) { f.Sort = static_cast<ZTInt_Sort_Type>(sort); });
    });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetSortOrder, [](Svr_Call& c) { return c.Result(int64_t{Field(c).Sort_Order}); });
    d.Add(ZTInt_op_ZTQueryFieldDef_SetSortOrder,
          [](Svr_Call& c) { return Change_Field(c, [&](Mdl_Query_Field& f) { f.Sort_Order = c.Number(1); }); });
    d.Add(ZTInt_op_ZTQueryFieldDef_GetIsGroupBy, [](Svr_Call& c) { Field(c); return c.Result_Bool(false); });
}

void Register_Filters(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTQueryFilterNode_BuildFilterOperator, Child_Node);
    d.Add(ZTInt_op_ZTQueryFilterNode_BuildFilter, [](Svr_Call& c) {
        Add_Filter(c, {c.Text(1), Operator(c.Number(2)), c.Texts(3), false, ""});
        return 0;
    });
    d.Add(ZTInt_op_ZTFilterNode_GetBoolOp, [](Svr_Call& c) { return c.Result(int64_t{Node(c).Op}); });
    d.Add(ZTInt_op_ZTFilterNode_SetBoolOp, [](Svr_Call& c) {
        Node(c).Op = Bool_Operator(c.Number(1));
        Node_Of(c).Query->Dirty = true;
        return 0;
    });
    d.Add(ZTInt_op_ZTFilterNode_GetParent, [](Svr_Call& c) {
        auto parent = Node(c).Parent.lock();
        if (parent == nullptr)
            throw Mdl_Refusal("the node is the top of its filter");
        return c.Result(std::make_shared<Pl_Filter_Node>(Node_Of(c), parent));
    });
    d.Add(ZTInt_op_ZTFilterNode_GetChildCount, [](Svr_Call& c) { return c.Result(static_cast<int64_t>(Node(c).Children.size())); });
    d.Add(ZTInt_op_ZTFilterNode_AddChild, Child_Node);
    d.Add(ZTInt_op_ZTFilterNode_GetChild, [](Svr_Call& c) {
        const std::size_t index = Index(c, 1, Node(c).Children.size(), "child");
        return c.Result(std::make_shared<Pl_Filter_Node>(Node_Of(c), Node(c).Children[index]));
    });
    d.Add(ZTInt_op_ZTFilterNode_DeleteChildByIndex, [](Svr_Call& c) {
        auto& children = Node(c).Children;
        children.erase(children.begin() + static_cast<std::ptrdiff_t>(Index(c, 1, children.size(), "child")));
        Node_Of(c).Query->Dirty = true;
        return 0;
    });
    d.Add(ZTInt_op_ZTFilterNode_GetFieldFilters,
          [](Svr_Call& c) { return c.Result(std::make_shared<Pl_Field_Filters>(Node_Of(c), Node_Of(c).Node)); });

    d.Add(ZTInt_op_ZTFieldFilters_Count, [](Svr_Call& c) { return c.Result(static_cast<int64_t>(Node(c).Filters.size())); });
    d.Add(ZTInt_op_ZTFieldFilters_Item,
          [](Svr_Call& c) { return Field_Filter_Result(c, Node_Of(c), Index(c, 1, Node(c).Filters.size(), "filter")); });
    d.Add(ZTInt_op_ZTFieldFilters_ItemByName, [](Svr_Call& c) {
        for (std::size_t i = 0; i < Node(c).Filters.size(); ++i)
            if (Node(c).Filters[i].Path == c.Text(1))
                return Field_Filter_Result(c, Node_Of(c), i);
        throw Mdl_Refusal("the node has no filter on \"" + c.Text(1) + "\"");
    });
    d.Add(ZTInt_op_ZTFieldFilters_AddFieldFilter, [](Svr_Call& c) {
        const std::size_t index = Add_Filter(c, {c.Text(1), Operator(c.Number(2)), c.Texts(3), c.Number(4) != 0, ""});
        return Field_Filter_Result(c, Node_Of(c), index);
    });
    d.Add(ZTInt_op_ZTFieldFilters_Remove, [](Svr_Call& c) {
        auto& filters = Node(c).Filters;
        filters.erase(filters.begin() + static_cast<std::ptrdiff_t>(Index(c, 1, filters.size(), "filter")));
        Node_Of(c).Query->Dirty = true;
        return c.Result_Bool(true);
    });

    d.Add(ZTInt_op_ZTFieldFilter_GetFieldPath, [](Svr_Call& c) { return c.Result(Filter(c).Path); });
    d.Add(ZTInt_op_ZTFieldFilter_GetCompOp, [](Svr_Call& c) { return c.Result(int64_t{Filter(c).Op}); });
    d.Add(ZTInt_op_ZTFieldFilter_SetCompOp, [](Svr_Call& c) {
        const ZTInt_Comp_Op op = Operator(c.Number(1));
        return Change_Filter(c, [op](Mdl_Field_Filter& f) { f.Op = op; });
    });
    d.Add(ZTInt_op_ZTFieldFilter_GetValues, [](Svr_Call& c) { return c.Result(Filter(c).Values); });
    d.Add(ZTInt_op_ZTFieldFilter_SetValues, [](Svr_Call& c) {
        const std::vector<std::string> values = c.Texts(1);
        return Change_Filter(c, [&values](Mdl_Field_Filter& f) { f.Values = values; });
    });
    d.Add(ZTInt_op_ZTFieldFilter_GetStringExpression, [](Svr_Call& c) { return c.Result(Expression(Filter(c))); });
    d.Add(ZTInt_op_ZTFieldFilter_GetPrompt, [](Svr_Call& c) { return c.Result(Filter(c).Prompt); });
    d.Add(ZTInt_op_ZTFieldFilter_SetPrompt, [](Svr_Call& c) {
        Filter(c).Prompt = c.Text(1);
        return 0;
    });
    d.Add(ZTInt_op_ZTFieldFilter_GetFieldType, [](Svr_Call& c) { return c.Result(int64_t{Filter_Info(c).Type}); });
    d.Add(ZTInt_op_ZTFieldFilter_GetChoiceList, [](Svr_Call& c) { return c.Result(Filter_Info(c).Choices); });
    d.Add(ZTInt_op_ZTFieldFilter_GetLegalCompOps, [](Svr_Call& c) { return c.Result(Operator_Numbers(Filter_Info(c).Type)); });
    d.Add(ZTInt_op_ZTFieldFilter_IsLegalCompOp, [](Svr_Call& c) {
        const std::vector<ZTInt_Comp_Op> legal = Mdl_Legal_Operators(Filter_Info(c).Type);
        return c.Result_Bool(std::find(legal.begin(), legal.end(), c.Number(1)) != legal.end());
    });
}

void Register_Result_Set(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTResultSet_Execute, [](Svr_Call& c) { Set(c).Execute(); return 0; });
    d.Add(ZTInt_op_ZTResultSet_ExecuteAndCountRecords, [](Svr_Call& c) { return c.Result(Set(c).Execute_And_Count()); });
    d.Add(ZTInt_op_ZTResultSet_EnableRecordCount, [](Svr_Call& c) { Set(c).Enable_Record_Count(); return 0; });
    d.Add(ZTInt_op_ZTResultSet_GetRecordCount, [](Svr_Call& c) { return c.Result(Set(c).Record_Count()); });
    d.Add(ZTInt_op_ZTResultSet_MoveNext, [](Svr_Call& c) { return c.Result(int64_t{Set(c).Move_Next()}); });
    d.Add(ZTInt_op_ZTResultSet_MoveAbsolute,
          [](Svr_Call& c) { return c.Result(int64_t{Set(c).Move_Absolute(c.Number(1))}); });
    d.Add(ZTInt_op_ZTResultSet_GetNumberOfColumns, [](Svr_Call& c) { return c.Result(int64_t{Set(c).Column_Count()}); });
    d.Add(ZTInt_op_ZTResultSet_GetColumnLabel, [](Svr_Call& c) { return c.Result(Set(c).Column(c.Number(1)).Label); });
    d.Add(ZTInt_op_ZTResultSet_GetColumnType,
          [](Svr_Call& c) { return c.Result(int64_t{Set(c).Column(c.Number(1)).Type}); });
    d.Add(ZTInt_op_ZTResultSet_GetColumnValue, [](Svr_Call& c) { return c.Result(Set(c).Value(c.Number(1))); });
    d.Add(ZTInt_op_ZTResultSet_GetAllColumnValues, [](Svr_Call& c) { return c.Result(All_Values(c)); });
    d.Add(ZTInt_op_ZTResultSet_GetSQL, [](Svr_Call& c) { return c.Result(Set(c).Sql()); });
    d.Add(ZTInt_op_ZTResultSet_LookupPrimaryEntityDefName, [](Svr_Call& c) { return c.Result(Set(c).Query().Type); });
    d.Add(ZTInt_op_ZTResultSet_GetRowEntityDefName, [](Svr_Call& c) { return c.Result(Set(c).Query().Type); });
    d.Add(ZTInt_op_ZTResultSet_GetQueryDef, [](Svr_Call& c) {
        Mdl_Result_Set& set = Set(c);
        return c.Result(std::make_shared<Pl_Query>(set.Session(), std::make_shared<Mdl_Query>(set.Query().Copy())));
    });

    d.Add(ZTInt_op_ZTResultSet_GetNumberOfParams, [](Svr_Call& c) { return c.Result(static_cast<int64_t>(Set(c).Params().size())); });
    d.Add(ZTInt_op_ZTResultSet_GetParamPrompt, [](Svr_Call& c) { return c.Result(Param(c).Filter.Prompt); });
    d.Add(ZTInt_op_ZTResultSet_GetParamLabel, [](Svr_Call& c) { return c.Result(Param(c).Filter.Path); });
    d.Add(ZTInt_op_ZTResultSet_GetParamFieldType, [](Svr_Call& c) { return c.Result(int64_t{Param(c).Info.Type}); });
    d.Add(ZTInt_op_ZTResultSet_GetParamChoiceList, [](Svr_Call& c) { return c.Result(Param(c).Info.Choices); });
    d.Add(ZTInt_op_ZTResultSet_GetParamComparisonOperator, [](Svr_Call& c) { return c.Result(int64_t{Param(c).Filter.Op}); });
    d.Add(ZTInt_op_ZTResultSet_SetParamComparisonOperator, [](Svr_Call& c) {
        Mdl_Result_Set::Param& param = Param(c);
        const ZTInt_Comp_Op op = Operator(c.Number(2));
        const std::vector<ZTInt_Comp_Op> legal = Mdl_Legal_Operators(param.Info.Type);
        if (std::find(legal.begin(), legal.end(), op) == legal.end())
            throw Mdl_Refusal("field path \"" + param.Filter.Path + "\": the operator \"" + Mdl_Operator_Name(op) +
                              "\" is not legal for a field of type " + Mdl_Type_Name(param.Info.Type));
        param.Filter.Op = op;
        return 0;
    });
    d.Add(ZTInt_op_ZTResultSet_AddParamValue, [](Svr_Call& c) {
        Mdl_Result_Set& set = Set(c);
        Mdl_Field_Filter values = set.Parameter(c.Number(1)).Filter;
        values.Values = {c.Text(2)};  // the value alone; the number of values, at Execute
        Mdl_Query_Paths(set.Session()->Schema()).Check_Filter(set.Query().Type, values, false);
        set.Parameter(c.Number(1)).Filter.Values.push_back(c.Text(2));
        return 0;
    });
    d.Add(ZTInt_op_ZTResultSet_ClearParamValues, [](Svr_Call& c) { Param(c).Filter.Values.clear(); return 0; });
    d.Add(ZTInt_op_ZTResultSet_GetParamFieldFilter, Param_Filter);

    d.Add(ZTInt_op_ZTResultSet_GetMaxResultSetRows, [](Svr_Call& c) { return c.Result(Set(c).Max_Rows); });
    d.Add(ZTInt_op_ZTResultSet_SetMaxResultSetRows, [](Svr_Call& c) { return Non_Negative(c, Set(c).Max_Rows); });
    d.Add(ZTInt_op_ZTResultSet_GetQueryLimit, [](Svr_Call& c) { return c.Result(Set(c).Max_Rows); });
    d.Add(ZTInt_op_ZTResultSet_ResultSetIsLimited, [](Svr_Call& c) { return c.Result(int64_t{Set(c).Limited()}); });
    d.Add(ZTInt_op_ZTResultSet_GetMaxRowsInMemory, [](Svr_Call& c) { return c.Result(Set(c).Rows_In_Memory); });
    // The server holds one row at a time whatever these say: they are taken and kept.
    d.Add(ZTInt_op_ZTResultSet_SetMaxRowsInMemory, [](Svr_Call& c) { return Non_Negative(c, Set(c).Rows_In_Memory); });
    d.Add(ZTInt_op_ZTResultSet_GetBufferSize, [](Svr_Call& c) { return c.Result(Set(c).Buffer_Size); });
    d.Add(ZTInt_op_ZTResultSet_SetBufferSize, [](Svr_Call& c) { return Non_Negative(c, Set(c).Buffer_Size); });
    d.Add(ZTInt_op_ZTResultSet_GetMaxMultiLineTextLength, [](Svr_Call& c) { return c.Result(Set(c).Max_Multiline); });
    d.Add(ZTInt_op_ZTResultSet_SetMaxMultiLineTextLength, [](Svr_Call& c) { return Non_Negative(c, Set(c).Max_Multiline); });
    d.Add(ZTInt_op_ZTResultSet_GetConvertToLocalTime, [](Svr_Call& c) { return c.Result_Bool(Set(c).Convert_To_Local_Time); });
    d.Add(ZTInt_op_ZTResultSet_SetConvertToLocalTime, [](Svr_Call& c) {
        if (c.Number(1) != 0)
            throw Mdl_Refusal("dates are given in UTC, as stored; the client converts them");
        Set(c).Convert_To_Local_Time = false;
        return 0;
    });
    d.Add(ZTInt_op_ZTResultSet_GetPreFetchAll, [](Svr_Call& c) { return c.Result_Bool(Set(c).Prefetch_All); });
    d.Add(ZTInt_op_ZTResultSet_SetPreFetchAll, [](Svr_Call& c) { Set(c).Prefetch_All = c.Number(1) != 0; return 0; });
}

}  // namespace

void Svr_Register_Query_Calls(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTSession_BuildQuery, Build_Query);
    d.Add(ZTInt_op_ZTSession_BuildResultSet, Build_Result_Set);
    d.Add(ZTInt_op_ZTSession_BuildSQLQuery, Build_Sql_Query);
    Register_Query_Def(d);
    Register_Query_Fields(d);
    Register_Filters(d);
    Register_Result_Set(d);
}
