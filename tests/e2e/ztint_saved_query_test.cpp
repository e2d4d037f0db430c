// Saved queries: saved, listed, reopened and run again with the same rows; renamed and
// deleted through the workspace; bad names and folders refused.
#include <cstdio>

#include "tests/e2e/ztint_query_support.h"

namespace {

using Ztint_Saved_Query_Test = Ztint_Query_Test;

// The text a call gives through its result address, or "(failed)".
template <class Call>
std::string Text_Of(Call call)
{
    char* text = nullptr;
    const int32_t status = call(&text);
    std::string value = Ztint_Take(text);
    return status == 0 ? value : "(failed)";
}

TEST_F(Ztint_Saved_Query_Test, AQuerySavedAndReopenedRunsWithTheSameRows)
{
    ZTQueryDef* query = Build({"Headline", "Severity", "Owner.fullname"});
    ZTQueryFilterNode *top = nullptr, *either = nullptr;
    ASSERT_EQ(ZTQueryDef_BuildFilterOperator(query, &top, ZTInt_BOOL_AND), 0);
    ASSERT_EQ(ZTQueryFilterNode_BuildFilterOperator(top, &either, ZTInt_BOOL_OR), 0);
    ASSERT_EQ(Ztint_Filter(either, "Headline", ZTInt_COMP_LIKE, {"%"}), 0);
    ASSERT_EQ(Ztint_Filter(either, "Severity", ZTInt_COMP_IN, {"4-Minor", "1-Critical"}), 0);
    ASSERT_EQ(Ztint_Filter(top, "State", ZTInt_COMP_EQUAL, {"Submitted"}), 0);
    ZTQueryFieldDef* severity = nullptr;
    ASSERT_EQ(ZTQueryDef_GetFieldByPosition(query, &severity, 2), 0);
    ASSERT_EQ(ZTQueryFieldDef_SetSortType(severity, ZTInt_SORT_DESCENDING), 0);
    ASSERT_EQ(ZTQueryFieldDef_SetLabel(severity, "How bad"), 0);
    const Ztint_Rows rows = Run(query);
    EXPECT_EQ(Letters(rows), "DBA");

    ZTInt_BOOL flag = 0;
    EXPECT_EQ(ZTQueryDef_GetIsDirty(query, &flag), 0);
    EXPECT_EQ(flag, 1);
    ASSERT_EQ(ZTQueryDef_Save(query, &flag, "Personal Queries/Urgent or odd"), 0) << Server_Error();
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(ZTQueryDef_GetIsDirty(query, &flag), 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(Text_Of([&](char** text) { return ZTQueryDef_GetName(query, text); }), "Personal Queries/Urgent or odd");

    ZTQueryDef* reopened = nullptr;
    ASSERT_EQ(ZTSession_OpenQueryDef(Session, &reopened, "Urgent or odd"), 0) << Server_Error();
    EXPECT_EQ(Run(reopened), rows);
    ZTResultSet* set = nullptr;
    ASSERT_EQ(ZTSession_BuildResultSet(Session, &set, reopened), 0);
    EXPECT_EQ(Text_Of([&](char** text) { return ZTResultSet_GetColumnLabel(set, text, 2); }), "How bad");
    ZTInt_ResultSet_Free(set);

    // A change saved under the same path replaces it.
    ZTFilterNode* filter = nullptr;
    ASSERT_EQ(ZTQueryDef_GetQueryFilter(reopened, &filter), 0);
    ASSERT_EQ(ZTFilterNode_DeleteChildByIndex(filter, 0), 0);
    ASSERT_EQ(ZTQueryDef_Save(reopened, &flag, ""), 0) << Server_Error();  // where it came from
    ZTQueryDef* again = nullptr;
    ASSERT_EQ(ZTSession_OpenQueryDef(Session, &again, "Personal Queries/Urgent or odd"), 0);
    EXPECT_EQ(Letters(again), "DCBA");
    for (auto* each : {query, reopened, again})
        ZTInt_QueryDef_Free(each);
    ZTInt_FilterNode_Free(filter);
    ZTInt_QueryFieldDef_Free(severity);
    ZTInt_QueryFilterNode_Free(either);
    ZTInt_QueryFilterNode_Free(top);
}

TEST_F(Ztint_Saved_Query_Test, TheWorkspaceListsRenamesAndDeletes)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTInt_BOOL flag = 0;
    ASSERT_EQ(ZTQueryDef_Save(query, &flag, "Public Queries/All defects"), 0) << Server_Error();
    ASSERT_EQ(ZTQueryDef_Save(query, &flag, "Mine"), 0);
    ZTWorkSpaceMgr* workspace = nullptr;
    ASSERT_EQ(ZTSession_GetWorkSpace(Session, &workspace), 0);
    char** names = nullptr;
    ASSERT_EQ(ZTWorkSpaceMgr_GetQueryList(workspace, &names, ZTInt_QUERIES_ALL), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"Public Queries/All defects", "Personal Queries/Mine"}));
    ASSERT_EQ(ZTWorkSpaceMgr_GetQueryList(workspace, &names, ZTInt_QUERIES_PERSONAL), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"Personal Queries/Mine"});

    ZTQueryDefs* list = nullptr;
    ZTInt_LONG number = 0;
    ASSERT_EQ(ZTSession_GetQueryDefs(Session, &list), 0);
    EXPECT_EQ(ZTQueryDefs_Count(list, &number), 0);
    EXPECT_EQ(number, 2);
    ZTQueryDef* item = nullptr;
    ASSERT_EQ(ZTQueryDefs_ItemByName(list, &item, "Public Queries/All defects"), 0);
    EXPECT_EQ(Letters(item), "ABCD");
    ZTInt_QueryDef_Free(item);

    EXPECT_EQ(ZTWorkSpaceMgr_RenameWorkspaceItem(workspace, &flag, "Personal Queries/Mine", "Still mine"), 0)
        << Server_Error();
    EXPECT_EQ(ZTSession_OpenQueryDef(Session, &item, "Mine"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_OpenQueryDef: no saved query \"Mine\"");
    ASSERT_EQ(ZTWorkSpaceMgr_GetQueryDbId(workspace, &number, "Still mine"), 0);
    char* text = nullptr;
    ASSERT_EQ(ZTWorkSpaceMgr_GetWorkspaceItemName(workspace, &text, number, 0), 0);
    EXPECT_EQ(Ztint_Take(text), "Still mine");
    ASSERT_EQ(ZTWorkSpaceMgr_DeleteWorkspaceItemByDbId(workspace, &flag, number), 0);
    ASSERT_EQ(ZTWorkSpaceMgr_GetAllQueriesList(workspace, &names), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"Public Queries/All defects"});

    ZTFolder* folder = nullptr;
    ASSERT_EQ(ZTWorkSpaceMgr_GetPublicFolder(workspace, &folder), 0);
    ASSERT_EQ(ZTFolder_GetChildNames(folder, &names, 0, 0, 0), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"All defects"});
    ZTInt_Folder_Free(folder);

    // Removing from the list deletes the saved query.
    ASSERT_EQ(ZTQueryDefs_Remove(list, &flag, 0), 0);
    ASSERT_EQ(ZTWorkSpaceMgr_GetAllQueriesList(workspace, &names), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{});
    ZTInt_QueryDefs_Free(list);
    ZTInt_WorkSpaceMgr_Free(workspace);
    ZTInt_QueryDef_Free(query);
}

TEST_F(Ztint_Saved_Query_Test, BadNamesFoldersAndOverwritesAreRefused)
{
    ZTQueryDef* query = Build({"Headline"});
    ZTWorkSpaceMgr* workspace = nullptr;
    ASSERT_EQ(ZTSession_GetWorkSpace(Session, &workspace), 0);
    ZTInt_BOOL flag = 0;
    const struct {
        const char* Path;
        std::string Error;
    } refusals[] = {
        {"Shared/x", "no query folder \"Shared\": the folders are \"Public Queries\" and \"Personal Queries\""},
        {"Personal Queries/a/b", "the name \"a/b\" holds a \"/\" or a control character"},
        {"Personal Queries/", "a saved query needs a name"},
        {"", "the query was never saved: give the path to save it under"},
    };
    for (const auto& each : refusals) {
        EXPECT_EQ(ZTQueryDef_Save(query, &flag, each.Path), -1) << each.Path;
        EXPECT_EQ(Server_Error(), "ZTQueryDef_Save: " + each.Error);
    }
    ASSERT_EQ(ZTWorkSpaceMgr_SaveQueryDef(workspace, "Once", "Personal Queries", query, 0), 0) << Server_Error();
    EXPECT_EQ(ZTWorkSpaceMgr_SaveQueryDef(workspace, "Once", "Personal Queries", query, 0), -1);
    EXPECT_EQ(Server_Error(), "ZTWorkSpaceMgr_SaveQueryDef: a saved query \"Personal Queries/Once\" exists already");
    EXPECT_EQ(ZTWorkSpaceMgr_SaveQueryDef(workspace, "Once", "Personal Queries", query, 1), 0);
    EXPECT_EQ(ZTWorkSpaceMgr_ValidateQueryDefName(workspace, std::string(101, 'x').c_str(), "Public Queries"), -1);
    EXPECT_EQ(ZTWorkSpaceMgr_ValidateQueryDefName(workspace, "Fine name", "Public Queries"), 0);
    ZTInt_WorkSpaceMgr_Free(workspace);
    ZTInt_QueryDef_Free(query);
}

// Two users of one database: personal queries are each user's own; a public query is
// changed only by the user who saved it or by a superuser.
class Ztint_Saved_Query_Users_Test : public Ztint_E2E {
protected:
    void SetUp() override
    {
        Ztint_E2E::SetUp();
        const std::string users = Dir + "/users";
        FILE* file = std::fopen(users.c_str(), "w");
        ASSERT_NE(file, nullptr);
        std::fputs("alice alice-pw DEMO MASTER\nbob bob-pw DEMO MASTER\n", file);  // alice: superuser
        std::fclose(file);
        setenv("ZT_SERVER_USERS", users.c_str(), 1);
        ASSERT_EQ(ZTZentrak_Build(&Zentrak), 0);
        ZTZentrak_SessionLogon(Zentrak, &Alice, "", "alice", "alice-pw", "DEMO", "MASTER", 0);
        ZTZentrak_SessionLogon(Zentrak, &Bob, "", "bob", "bob-pw", "DEMO", "MASTER", 0);
        ASSERT_NE(Alice, nullptr) << Server_Error();
        ASSERT_NE(Bob, nullptr) << Server_Error();
    }
    void TearDown() override
    {
        ZTInt_Session_Free(Alice);
        ZTInt_Session_Free(Bob);
        ZTInt_Zentrak_Free(Zentrak);
        unsetenv("ZT_SERVER_USERS");
        Ztint_E2E::TearDown();
    }

    // Saves a query of Defect for session under path: the call's status.
    static int32_t Save(ZTSession* session, const char* path)
    {
        ZTQueryDef* query = nullptr;
        if (ZTSession_BuildQuery(session, &query, "Defect") != 0)
            return -2;
        ZTInt_BOOL saved = 0;
        const int32_t status = ZTQueryDef_Save(query, &saved, path);
        ZTInt_QueryDef_Free(query);
        return status;
    }
    static std::vector<std::string> Listed(ZTSession* session)
    {
        ZTWorkSpaceMgr* workspace = nullptr;
        char** names = nullptr;
        EXPECT_EQ(ZTSession_GetWorkSpace(session, &workspace), 0);
        EXPECT_EQ(ZTWorkSpaceMgr_GetAllQueriesList(workspace, &names), 0);
        ZTInt_WorkSpaceMgr_Free(workspace);
        return Ztint_Take(names);
    }
    static ZTInt_LONG Id_Of(ZTSession* session, const char* path)
    {
        ZTWorkSpaceMgr* workspace = nullptr;
        ZTInt_LONG id = 0;
        EXPECT_EQ(ZTSession_GetWorkSpace(session, &workspace), 0);
        EXPECT_EQ(ZTWorkSpaceMgr_GetQueryDbId(workspace, &id, path), 0) << Server_Error();
        ZTInt_WorkSpaceMgr_Free(workspace);
        return id;
    }

    ZTZentrak* Zentrak = nullptr;
    ZTSession *Alice = nullptr, *Bob = nullptr;
};

TEST_F(Ztint_Saved_Query_Users_Test, PersonalQueriesAreOwnAndPublicOnesChangeOnlyByTheirSaverOrASuperuser)
{
    ASSERT_EQ(Save(Alice, "Mine"), 0) << Server_Error();
    ASSERT_EQ(Save(Bob, "Mine"), 0) << Server_Error();
    ASSERT_EQ(Save(Alice, "Public Queries/Team"), 0);
    ASSERT_EQ(Save(Bob, "Public Queries/Bob's"), 0);
    EXPECT_EQ(Listed(Bob), (std::vector<std::string>{"Public Queries/Bob's", "Public Queries/Team", "Personal Queries/Mine"}));

    // Bob cannot reach Alice's personal query, not even by its id.
    const ZTInt_LONG alices = Id_Of(Alice, "Personal Queries/Mine");
    ZTWorkSpaceMgr* workspace = nullptr;
    ZTQueryDef* query = nullptr;
    ZTInt_BOOL done = 0;
    ASSERT_EQ(ZTSession_GetWorkSpace(Bob, &workspace), 0);
    EXPECT_EQ(ZTWorkSpaceMgr_GetQueryDefByDbId(workspace, &query, alices), -1);
    EXPECT_EQ(Server_Error(), "ZTWorkSpaceMgr_GetQueryDefByDbId: no saved query with id " + std::to_string(alices));
    EXPECT_EQ(ZTWorkSpaceMgr_DeleteWorkspaceItemByDbId(workspace, &done, alices), -1);

    // Bob's changes of Alice's public query are refused; his own he changes.
    const std::string refusal = "the public query \"Team\" was saved by alice; only that user or a superuser changes it";
    EXPECT_EQ(Save(Bob, "Public Queries/Team"), -1);
    EXPECT_EQ(Server_Error(), "ZTQueryDef_Save: " + refusal);
    EXPECT_EQ(ZTWorkSpaceMgr_RenameWorkspaceItem(workspace, &done, "Public Queries/Team", "Ours"), -1);
    EXPECT_EQ(Server_Error(), "ZTWorkSpaceMgr_RenameWorkspaceItem: " + refusal);
    EXPECT_EQ(ZTWorkSpaceMgr_DeleteWorkspaceItemByDbId(workspace, &done, Id_Of(Bob, "Public Queries/Team")), -1);
    EXPECT_EQ(ZTWorkSpaceMgr_RenameWorkspaceItem(workspace, &done, "Public Queries/Bob's", "Bob's own"), 0);
    ZTInt_WorkSpaceMgr_Free(workspace);

    // Alice, a superuser, may delete Bob's public query.
    ASSERT_EQ(ZTSession_GetWorkSpace(Alice, &workspace), 0);
    EXPECT_EQ(ZTWorkSpaceMgr_DeleteWorkspaceItemByDbId(workspace, &done, Id_Of(Alice, "Public Queries/Bob's own")), 0)
        << Server_Error();
    ZTInt_WorkSpaceMgr_Free(workspace);
    EXPECT_EQ(Listed(Alice), (std::vector<std::string>{"Public Queries/Team", "Personal Queries/Mine"}));
    EXPECT_EQ(Listed(Bob), (std::vector<std::string>{"Public Queries/Team", "Personal Queries/Mine"}));
}

}  // namespace
