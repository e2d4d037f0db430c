// Queries and result sets through the public C interface against the real server: each
// operator, and/or trees, reference paths, sort, limits, counts, parameters, and the
// refusals of bad paths, operators and values.
#include <filesystem>

#include "tests/e2e/ztint_query_support.h"

namespace {

// The letters a one-condition filter on a query of Headline finds.
struct Case {
    const char* Path;
    ZTInt_LONG Op;
    std::vector<std::string> Values;
    std::string Expected;
};

TEST_F(Ztint_Query_Test, EachOperatorFindsTheRecordsItShould)
{
    const std::string b = std::to_string(Dbid("B")), c = std::to_string(Dbid("C"));
    const Case cases[] = {
        {"Severity", ZTInt_COMP_EQUAL, {"2-Major"}, "B"},
        {"Severity", ZTInt_COMP_NOT_EQUAL, {"2-Major"}, "ACD"},
        {"Severity", ZTInt_COMP_LESS, {"3-Average"}, "AB"},
        {"Severity", ZTInt_COMP_LESS_OR_EQUAL, {"3-Average"}, "ABC"},
        {"Severity", ZTInt_COMP_GREATER, {"3-Average"}, "D"},
        {"Severity", ZTInt_COMP_GREATER_OR_EQUAL, {"3-Average"}, "CD"},
        {"Headline", ZTInt_COMP_LIKE, {"%"}, "B"},  // literal: not "anything"
        {"Headline", ZTInt_COMP_LIKE, {"_"}, "CD"},  // "zt_records" and "under_score"
        {"Headline", ZTInt_COMP_LIKE, {"'"}, "C"},
        {"Headline", ZTInt_COMP_LIKE, {"; drop table"}, "C"},  // case-insensitive
        {"Headline", ZTInt_COMP_LIKE, {"\\"}, ""},
        {"Headline", ZTInt_COMP_NOT_LIKE, {"_"}, "AB"},
        {"Headline", ZTInt_COMP_EQUAL, {"Don't quote; DROP TABLE zt_records"}, "C"},
        {"Priority", ZTInt_COMP_IS_NULL, {}, "BC"},
        {"Priority", ZTInt_COMP_IS_NOT_NULL, {}, "AD"},
        {"Priority", ZTInt_COMP_NOT_EQUAL, {"1-Immediate"}, "BCD"},  // no value is "not equal"
        {"Severity", ZTInt_COMP_IN, {"1-Critical", "4-Minor"}, "AD"},
        {"Severity", ZTInt_COMP_NOT_IN, {"1-Critical", "4-Minor"}, "BC"},
        {"Severity", ZTInt_COMP_BETWEEN, {"2-Major", "3-Average"}, "BC"},
        {"Severity", ZTInt_COMP_NOT_BETWEEN, {"2-Major", "3-Average"}, "AD"},
        {"dbid", ZTInt_COMP_BETWEEN, {b, c}, "BC"},
        {"dbid", ZTInt_COMP_GREATER, {c}, "D"},
        {"Description", ZTInt_COMP_LIKE, {"line2"}, "C"},
        {"Submit_Date", ZTInt_COMP_GREATER, {"2000-01-01"}, "ABCD"},
        {"Submit_Date", ZTInt_COMP_LESS, {"2000-01-01 00:00:00"}, ""},
        {"State", ZTInt_COMP_EQUAL, {"Submitted"}, "ABCD"},
        {"Owner.fullname", ZTInt_COMP_EQUAL, {"zentrak"}, "BD"},
        {"Project.Name", ZTInt_COMP_EQUAL, {"Gemini"}, "B"},
        {"Project.Name", ZTInt_COMP_IS_NULL, {}, "CD"},
        {"id", ZTInt_COMP_EQUAL, {Ids["A"]}, "A"},
    };
    for (const Case& each : cases) {
        ZTQueryDef* query = Build({"Headline"});
        ZTQueryFilterNode* top = nullptr;
        ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), 0) << Server_Error();
        ASSERT_EQ(Ztint_Filter(top, each.Path, each.Op, each.Values), 0) << each.Path << ": " << Server_Error();
        EXPECT_EQ(Letters(query), each.Expected) << each.Path << " operator " << each.Op;
        ZTInt_QueryFilterNode_Free(top);
        ZTInt_QueryDef_Free(query);
    }
}

TEST_F(Ztint_Query_Test, AndOrTreesNestAndEmptyNodesFilterNothing)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTQueryFilterNode *top = nullptr, *either = nullptr;
    ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), 0);
    EXPECT_EQ(Letters(query), "ABCD");  // an empty node keeps every row
    ASSERT_EQ(ZTQueryFilterNode_BuildFilterOperator(top, &either, ZTInt_BOOL_OR), 0);
    ASSERT_EQ(Ztint_Filter(either, "Severity", ZTInt_COMP_EQUAL, {"1-Critical"}), 0);
    ASSERT_EQ(Ztint_Filter(either, "Severity", ZTInt_COMP_EQUAL, {"4-Minor"}), 0);
    EXPECT_EQ(Letters(query), "AD");
    ASSERT_EQ(Ztint_Filter(top, "Headline", ZTInt_COMP_LIKE, {"_"}), 0);
    EXPECT_EQ(Letters(query), "D");

    // The tree reads back through ZTFilterNode.
    ZTFilterNode *filter = nullptr, *child = nullptr, *parent = nullptr;
    ZTInt_LONG number = 0;
    ASSERT_EQ(ZTQueryDef_GetQueryFilter(query, &filter), 0);
    EXPECT_EQ(ZTFilterNode_GetChildCount(filter, &number), 0);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(ZTFilterNode_GetChild(filter, &child, 0), 0);
    EXPECT_EQ(ZTFilterNode_GetBoolOp(child, &number), 0);
    EXPECT_EQ(number, ZTInt_BOOL_OR);
    ASSERT_EQ(ZTFilterNode_GetParent(child, &parent), 0);
    EXPECT_EQ(ZTFilterNode_GetParent(filter, &parent), -1);
    EXPECT_EQ(Server_Error(), "ZTFilterNode_GetParent: the node is the top of its filter");
    ZTFieldFilters* filters = nullptr;
    ZTFieldFilter* one = nullptr;
    char* text = nullptr;
    ASSERT_EQ(ZTFilterNode_GetFieldFilters(child, &filters), 0);
    ASSERT_EQ(ZTFieldFilters_Item(filters, &one, 1), 0);
    ASSERT_EQ(ZTFieldFilter_GetStringExpression(one, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "Severity equal \"4-Minor\"");
    // Changing the or-node to and: no defect is both critical and minor.
    ASSERT_EQ(ZTFilterNode_SetBoolOp(child, ZTInt_BOOL_AND), 0);
    EXPECT_EQ(Letters(query), "");
    ASSERT_EQ(ZTFilterNode_DeleteChildByIndex(filter, 0), 0);
    EXPECT_EQ(Letters(query), "CD");
    for (auto* handle : {filter, child, parent})
        ZTInt_FilterNode_Free(handle);
    ZTInt_FieldFilter_Free(one);
    ZTInt_FieldFilters_Free(filters);
    ZTInt_QueryFilterNode_Free(either);
    ZTInt_QueryFilterNode_Free(top);
    ZTInt_QueryDef_Free(query);
}

TEST_F(Ztint_Query_Test, ColumnsFollowReferencesAndSortLabelAndType)
{
    ZTQueryDef* query = Build({"Headline", "Severity", "Owner.fullname", "Project.Name", "dbid"});
    ZTQueryFieldDef* severity = nullptr;
    ASSERT_EQ(ZTQueryDef_GetFieldByPosition(query, &severity, 2), 0) << Server_Error();
    ASSERT_EQ(ZTQueryFieldDef_SetSortType(severity, ZTInt_SORT_DESCENDING), 0);
    ASSERT_EQ(ZTQueryFieldDef_SetLabel(severity, "How bad"), 0);
    const Ztint_Rows rows = Run(query);
    EXPECT_EQ(Letters(rows), "DCBA");
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[2], (std::vector<std::string>{"50% slower", "2-Major", "zentrak", "Gemini", std::to_string(Dbid("B"))}));
    EXPECT_EQ(rows[1][2], "");  // no owner: an empty value

    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &set, query), 0);
    ZTInt_LONG number = 0;
    char* text = nullptr;
    EXPECT_EQ(ZTResultSet_GetNumberOfColumns(set, &number), 0);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(ZTResultSet_GetColumnLabel(set, &text, 2), 0);
    EXPECT_EQ(Ztint_Take(text), "How bad");
    EXPECT_EQ(ZTResultSet_GetColumnType(set, &number, 5), 0);
    EXPECT_EQ(number, ZTInt_FIELD_DBID);
    EXPECT_EQ(ZTResultSet_GetColumnType(set, &number, 3), 0);
    EXPECT_EQ(number, ZTInt_FIELD_SHORT_STRING);
    EXPECT_EQ(ZTResultSet_GetColumnLabel(set, &text, 6), -1);
    Ztint_Take(text);  // a refused call's answer is an empty string, the caller's too
    EXPECT_EQ(Server_Error(), "ZTResultSet_GetColumnLabel: no column 6: the result has 5 columns, counted from 1");
    EXPECT_EQ(ZTResultSet_GetColumnValue(set, &text, 1), -1);  // not executed
    Ztint_Take(text);
    ASSERT_EQ(ZTResultSet_Execute(set), 0);
    EXPECT_EQ(ZTResultSet_GetColumnValue(set, &text, 1), -1);  // before the first row
    Ztint_Take(text);
    EXPECT_EQ(Server_Error(), "ZTResultSet_GetColumnValue: the result set stands on no row: call MoveNext first");
    EXPECT_EQ(ZTResultSet_MoveNext(set, &number), 0);
    EXPECT_EQ(ZTResultSet_GetColumnValue(set, &text, 1), 0);
    EXPECT_EQ(Ztint_Take(text), "under_score");
    char** values = nullptr;
    EXPECT_EQ(ZTResultSet_GetAllColumnValues(set, &values, 1), 0);
    const std::vector<std::string> labelled = Ztint_Take(values);
    ASSERT_EQ(labelled.size(), 10u);
    EXPECT_EQ(labelled[2], "How bad");
    EXPECT_EQ(labelled[3], "4-Minor");
    ZTInt_ResultSet_Free(set);
    ZTInt_QueryFieldDef_Free(severity);
    ZTInt_QueryDef_Free(query);
}

TEST_F(Ztint_Query_Test, LimitsCountsAndMovesToARow)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &set, query), 0);
    ZTInt_LONG number = 0;
    EXPECT_EQ(ZTResultSet_GetRecordCount(set, &number), -1);  // nothing counted yet
    ASSERT_EQ(ZTResultSet_ExecuteAndCountRecords(set, &number), 0) << Server_Error();
    EXPECT_EQ(number, 4);
    EXPECT_EQ(Letters(Rows(set, false)), "ABCD");  // counting kept every row for the walk
    ASSERT_EQ(ZTResultSet_MoveAbsolute(set, &number, 3), 0);
    EXPECT_EQ(number, ZTInt_FETCH_ROW);
    char* text = nullptr;
    EXPECT_EQ(ZTResultSet_GetColumnValue(set, &text, 1), 0);
    EXPECT_EQ(Ztint_Take(text), "Don't quote; DROP TABLE zt_records");
    ASSERT_EQ(ZTResultSet_MoveAbsolute(set, &number, 1), 0);  // backwards
    EXPECT_EQ(ZTResultSet_GetColumnValue(set, &text, 1), 0);
    EXPECT_EQ(Ztint_Take(text), "Crash on start");
    ASSERT_EQ(ZTResultSet_MoveAbsolute(set, &number, 9), 0);
    EXPECT_EQ(number, ZTInt_FETCH_NO_MORE_ROWS);
    EXPECT_EQ(ZTResultSet_MoveAbsolute(set, &number, 0), -1);

    ASSERT_EQ(ZTResultSet_SetMaxResultSetRows(set, 2), 0);
    EXPECT_EQ(Letters(Rows(set)), "AB");
    EXPECT_EQ(ZTResultSet_ResultSetIsLimited(set, &number), 0);
    EXPECT_EQ(number, 1);
    ASSERT_EQ(ZTResultSet_ExecuteAndCountRecords(set, &number), 0);
    EXPECT_EQ(number, 2);
    ASSERT_EQ(ZTResultSet_SetMaxResultSetRows(set, 4), 0);
    EXPECT_EQ(Letters(Rows(set)), "ABCD");
    EXPECT_EQ(ZTResultSet_ResultSetIsLimited(set, &number), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(ZTResultSet_SetMaxResultSetRows(set, -1), -1);
    ZTInt_ResultSet_Free(set);
    ZTInt_QueryDef_Free(query);
}

TEST_F(Ztint_Query_Test, PromptedFiltersTakeTheirValuesFromParameters)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTQueryFilterNode* top = nullptr;
    ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), 0);
    ZTFilterNode* node = nullptr;
    ZTFieldFilters* filters = nullptr;
    ZTFieldFilter* filter = nullptr;
    ASSERT_EQ(ZTQueryDef_GetQueryFilter(query, &node), 0);
    ASSERT_EQ(ZTFilterNode_GetFieldFilters(node, &filters), 0);
    char* none[] = {nullptr};
    ASSERT_EQ(ZTFieldFilters_AddFieldFilter(filters, &filter, "Severity", ZTInt_COMP_EQUAL, none, 1), 0)
        << Server_Error();
    ASSERT_EQ(ZTFieldFilter_SetPrompt(filter, "How bad?"), 0);

    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &set, query), 0);
    ZTInt_LONG number = 0;
    char* text = nullptr;
    EXPECT_EQ(ZTResultSet_GetNumberOfParams(set, &number), 0);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(ZTResultSet_GetParamPrompt(set, &text, 1), 0);
    EXPECT_EQ(Ztint_Take(text), "How bad?");
    char** choices = nullptr;
    EXPECT_EQ(ZTResultSet_GetParamChoiceList(set, &choices, 1), 0);
    EXPECT_EQ(Ztint_Take(choices).size(), 5u);
    EXPECT_EQ(ZTResultSet_Execute(set), -1);
    EXPECT_EQ(Server_Error(), "ZTResultSet_Execute: field path \"Severity\": \"equal\" takes one value, not 0");
    ASSERT_EQ(ZTResultSet_AddParamValue(set, 1, "2-Major"), 0);
    EXPECT_EQ(Letters(Rows(set)), "B");
    ASSERT_EQ(ZTResultSet_AddParamValue(set, 1, "4-Minor"), 0);
    ASSERT_EQ(ZTResultSet_SetParamComparisonOperator(set, 1, ZTInt_COMP_IN), 0);
    EXPECT_EQ(Letters(Rows(set)), "BD");
    ASSERT_EQ(ZTResultSet_ClearParamValues(set, 1), 0);
    ASSERT_EQ(ZTResultSet_AddParamValue(set, 1, "1-Critical"), 0);
    EXPECT_EQ(Letters(Rows(set)), "A");
    EXPECT_EQ(ZTResultSet_AddParamValue(set, 2, "x"), -1);
    EXPECT_EQ(Server_Error(), "ZTResultSet_AddParamValue: no parameter 2: the query has 1, counted from 1");
    ZTInt_ResultSet_Free(set);
    ZTInt_FieldFilter_Free(filter);
    ZTInt_FieldFilters_Free(filters);
    ZTInt_FilterNode_Free(node);
    ZTInt_QueryFilterNode_Free(top);
    ZTInt_QueryDef_Free(query);
}

TEST_F(Ztint_Query_Test, BadPathsOperatorsAndValuesAreRefusedWithTheFieldsName)
{
    ZTQueryDef* query = Build({});
    EXPECT_EQ(ZTQueryDef_BuildField(query, "Nonsense"), -1);
    EXPECT_EQ(Server_Error(), "ZTQueryDef_BuildField: field path \"Nonsense\": record type Defect has no field "
                              "\"Nonsense\" to query");
    EXPECT_EQ(ZTQueryDef_BuildField(query, "Headline.Name"), -1);
    EXPECT_EQ(Server_Error(), "ZTQueryDef_BuildField: field path \"Headline.Name\": Headline is not a reference");
    EXPECT_EQ(ZTQueryDef_BuildField(query, "Owner.password_hash"), -1);
    EXPECT_EQ(Server_Error(), "ZTQueryDef_BuildField: field path \"Owner.password_hash\": the users have no "
                              "field \"password_hash\"");
    ZTQueryFilterNode* top = nullptr;
    ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), 0);
    const struct {
        const char* Path;
        ZTInt_LONG Op;
        std::vector<std::string> Values;
        std::string Error;
    } refusals[] = {
        {"dbid", ZTInt_COMP_LIKE, {"1"}, "field path \"dbid\": the operator \"like\" is not legal for a field of type dbid"},
        {"dbid", ZTInt_COMP_EQUAL, {"1; DROP TABLE zt_records"}, "field path \"dbid\": \"1; DROP TABLE zt_records\" is not a whole number"},
        {"Submit_Date", ZTInt_COMP_GREATER, {"yesterday"}, "field path \"Submit_Date\": \"yesterday\" is not a date and time (YYYY-MM-DD HH:MM:SS)"},
        {"Severity", ZTInt_COMP_BETWEEN, {"1-Critical"}, "field path \"Severity\": \"between\" takes two values, not 1"},
        {"Severity", ZTInt_COMP_IS_NULL, {"x"}, "field path \"Severity\": \"is null\" takes no values"},
        {"Severity", ZTInt_COMP_IN, {}, "field path \"Severity\": \"in\" takes one value or more"},
        {"Related", ZTInt_COMP_EQUAL, {"DEMO00000001"}, "field path \"Related\": the operator \"equal\" is not legal for a field of type reference_list"},
        {"history", ZTInt_COMP_EQUAL, {"x"}, "field path \"history\": record type Defect has no field \"history\" to query"},
        {"Severity", 99, {"x"}, "no comparison operator 99"},
    };
    for (const auto& each : refusals) {
        EXPECT_EQ(Ztint_Filter(top, each.Path, each.Op, each.Values), -1) << each.Path;
        EXPECT_EQ(Server_Error(), "ZTQueryFilterNode_BuildFilter: " + each.Error);
    }
    // The refused filters were not kept; a query without fields shows the ids.
    EXPECT_EQ(Run(query), (Ztint_Rows{{Ids["A"]}, {Ids["B"]}, {Ids["C"]}, {Ids["D"]}}));
    ZTInt_LONG type = 0;
    EXPECT_EQ(ZTQueryDef_GetFieldTypeByFieldPath(query, &type, "Owner.email"), 0);
    EXPECT_EQ(type, ZTInt_FIELD_SHORT_STRING);
    char** ops = nullptr;
    EXPECT_EQ(ZTQueryDef_GetLegalCompOpsByFieldPath(query, &ops, "Related"), 0);
    EXPECT_EQ(Ztint_Take(ops), (std::vector<std::string>{"7", "8", "11", "12"}));
    ZTInt_BOOL legal = 1;
    EXPECT_EQ(ZTQueryDef_IsFieldLegalForQuery(query, &legal, "Project.Customer.Name"), 0);
    EXPECT_EQ(legal, 1);
    EXPECT_EQ(ZTQueryDef_IsFieldLegalForQuery(query, &legal, "Project.Nope"), 0);
    EXPECT_EQ(legal, 0);
    ZTResultSet* set = nullptr;
    EXPECT_EQ(ZTSession_BuildQuery(Session, &query, "Bug"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_BuildQuery: no record type \"Bug\" in database DEMO");
    ZTInt_QueryFilterNode_Free(top);
    ZTInt_QueryDef_Free(query);
    (void)set;
}

// An open result set holds its own snapshot on a reader of its own: other writes go on,
// and a new execution sees them.
TEST_F(Ztint_Query_Test, AnOpenCursorDoesNotHoldBackWrites)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &set, query), 0);
    ASSERT_EQ(ZTResultSet_Execute(set), 0);
    ZTInt_LONG status = 0;
    ASSERT_EQ(ZTResultSet_MoveNext(set, &status), 0);
    const std::string e = Submit({{"Headline", "Written while a cursor is open"}});
    EXPECT_FALSE(e.empty());
    EXPECT_EQ(Rows(set, false).size(), 3u);  // the rest of the snapshot taken at Execute
    EXPECT_EQ(Rows(set).size(), 5u);
    ZTInt_ResultSet_Free(set);
    ZTInt_QueryDef_Free(query);
}

// A result set holds a store connection only while its cursor is open: result sets that
// a client keeps after walking them cost the server no descriptors.
TEST_F(Ztint_Query_Test, FinishedResultSetsHoldNoStoreConnection)
{
    const std::vector<int> pids = Server_Pids();
    ASSERT_EQ(pids.size(), 1u);
    const auto descriptors = [&] {
        int count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/" + std::to_string(pids[0]) + "/fd"))
            ++count;
        return count;
    };
    ZTQueryDef* query = Build({"Headline"});
    std::vector<ZTResultSet*> sets(40, nullptr);
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &sets[0], query), 0);
    EXPECT_EQ(Rows(sets[0]).size(), 4u);
    const int before = descriptors();
    for (std::size_t i = 1; i < sets.size(); ++i) {
        ASSERT_EQ(i % 2 == 0 ? ZTSession_BuildResultSet(Session, &sets[i], query)
                             : ZTSession_BuildSQLQuery(Session, &sets[i], "SELECT id FROM Defect"),
                  0);
        EXPECT_EQ(Rows(sets[i]).size(), 4u);
    }
    EXPECT_EQ(descriptors(), before);
    ZTInt_LONG status = 0;
    ASSERT_EQ(ZTResultSet_Execute(sets[1]), 0);  // an open cursor has its connection
    ASSERT_EQ(ZTResultSet_MoveNext(sets[1], &status), 0);
    EXPECT_GT(descriptors(), before);
    for (ZTResultSet* set : sets)
        ZTInt_ResultSet_Free(set);
    EXPECT_EQ(descriptors(), before);
    ZTInt_QueryDef_Free(query);
}

}  // namespace
