#include "tests/e2e/ztint_query_support.h"

namespace {

const std::map<std::string, std::string> kHeadlines = {
    {"A", "Crash on start"}, {"B", "50% slower"}, {"C", "Don't quote; DROP TABLE zt_records"}, {"D", "under_score"}};

}  // namespace

int32_t Ztint_Filter(ZTQueryFilterNode* node, const std::string& path, ZTInt_LONG op,
                     const std::vector<std::string>& values)
{
    std::vector<char*> pointers;
    for (const std::string& value : values)
        pointers.push_back(const_cast<char*>(value.c_str()));
    pointers.push_back(nullptr);
    return ZTQueryFilterNode_BuildFilter(node, path.c_str(), op, pointers.data());
}

void Ztint_Query_Test::SetUp()
{
    Ztint_Tracker_Test::SetUp();
    if (HasFatalFailure())
        return;
    const std::string apollo = Submit({{"Name", "Apollo"}}, "Project");
    const std::string gemini = Submit({{"Name", "Gemini"}}, "Project");
    Ids["A"] = Submit({{"Headline", kHeadlines.at("A")}, {"Severity", "1-Critical"}, {"Priority", "1-Immediate"},
                       {"Project", apollo}});
    Ids["B"] = Submit({{"Headline", kHeadlines.at("B")}, {"Severity", "2-Major"}, {"Project", gemini},
                       {"Owner", "zentrak"}});
    Ids["C"] = Submit({{"Headline", kHeadlines.at("C")}, {"Description", "line1\nline2"}});
    Ids["D"] = Submit({{"Headline", kHeadlines.at("D")}, {"Severity", "4-Minor"}, {"Priority", "4-Low"},
                       {"Owner", "zentrak"}});
}

ZTQueryDef* Ztint_Query_Test::Build(const std::vector<std::string>& paths, const char* type)
{
    ZTQueryDef* query = nullptr;
    EXPECT_EQ(ZTSession_BuildQuery(Session, &query, type), 0) << Server_Error();
    for (const std::string& path : paths)
        EXPECT_EQ(ZTQueryDef_BuildField(query, path.c_str()), 0) << path << ": " << Server_Error();
    return query;
}

Ztint_Rows Ztint_Query_Test::Rows(ZTResultSet* set, bool execute)
{
    Ztint_Rows rows;
    if (execute && ZTResultSet_Execute(set) != 0) {
        ADD_FAILURE() << Server_Error();
        return rows;
    }
    for (;;) {
        ZTInt_LONG status = 0;
        if (ZTResultSet_MoveNext(set, &status) != 0) {
            ADD_FAILURE() << Server_Error();
            return rows;
        }
        if (status != ZTInt_FETCH_ROW)
            return rows;
        char** values = nullptr;
        EXPECT_EQ(ZTResultSet_GetAllColumnValues(set, &values, 0), 0) << Server_Error();
        rows.push_back(Ztint_Take(values));
    }
}

Ztint_Rows Ztint_Query_Test::Run(ZTQueryDef* query)
{
    ZTResultSet* set = nullptr;
    if (ZTSession_BuildResultSet(Session, &set, query) != 0) {
        ADD_FAILURE() << Server_Error();
        return {};
    }
    Ztint_Rows rows = Rows(set);
    ZTInt_ResultSet_Free(set);
    return rows;
}

std::string Ztint_Query_Test::Letters(const Ztint_Rows& rows) const
{
    std::string letters;
    for (const auto& row : rows) {
        std::string letter = "?";
        for (const auto& [each, headline] : kHeadlines)
            if (!row.empty() && row[0] == headline)
                letter = each;
        letters += letter;
    }
    return letters;
}

std::string Ztint_Query_Test::Letters(ZTQueryDef* query)
{
    return Letters(Run(query));
}

ZTInt_LONG Ztint_Query_Test::Dbid(const std::string& letter)
{
    ZTInt_LONG dbid = 0;
    EXPECT_EQ(ZTSession_StringIdToDbId(Session, &dbid, Ids.at(letter).c_str()), 0) << Server_Error();
    return dbid;
}
