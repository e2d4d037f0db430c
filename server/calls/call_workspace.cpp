// Saved queries: ZTQueryDef_Save, ZTSession_OpenQueryDef and GetQueryDefs, ZTQueryDefs,
// ZTWorkSpaceMgr and the two folders (ZTFolder), which have no subfolders. Lists are snapshots; a
// query opened from the workspace is a new query object that Save writes back.
#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "server/calls/svr_query_payloads.h"
#include "server/model/mdl_workspace.h"
#include "ztint_opcodes.h"

namespace {

struct Pl_Workspace : Svr_Payload {
    explicit Pl_Workspace(std::shared_ptr<Mdl_Session> session) : Session(std::move(session)) {}
    std::shared_ptr<Mdl_Session> Session;
};

struct Pl_Folder : Pl_Workspace {
    Pl_Folder(std::shared_ptr<Mdl_Session> session, bool is_public) : Pl_Workspace(std::move(session)), Public(is_public) {}
    bool Public;
    std::string Name() const { return Public ? Mdl_Workspace::kPublic : Mdl_Workspace::kPersonal; }
};

using Pl_Saved_List = Pl_List<Mdl_Saved_Query>;

std::shared_ptr<Mdl_Session> Session_Of(Svr_Call& call) { return call.Object<Pl_Workspace>(0).Session; }
Mdl_Workspace Workspace(Svr_Call& call) { return Mdl_Workspace(*Session_Of(call)); }

int32_t Query_Result(Svr_Call& call, const std::shared_ptr<Mdl_Session>& session, Mdl_Query query)
{
    return call.Result(std::make_shared<Pl_Query>(session, std::make_shared<Mdl_Query>(std::move(query))));
}

std::vector<std::string> Paths(const std::vector<Mdl_Saved_Query>& saved)
{
    std::vector<std::string> paths;
    for (const Mdl_Saved_Query& each : saved)
        paths.push_back(each.Path());
    return paths;
}

ZTInt_Query_List List_Kind(Svr_Call& call) { return static_cast<ZTInt_Query_List>(call.Number(1)); }

// The query of in-value index, of the caller's database.
Pl_Query& Query_Argument(Svr_Call& call, int index)
{
    Pl_Query& query = call.Object<Pl_Query>(index);
    if (&query.Session->Database() != &Session_Of(call)->Database())
        throw Mdl_Refusal("the query belongs to another database");
    return query;
}

Pl_Folder& Folder(Svr_Call& call) { return call.Object<Pl_Folder>(0); }

std::vector<Mdl_Saved_Query> Folder_Queries(Svr_Call& call)
{
    Pl_Folder& folder = Folder(call);
    return Mdl_Workspace(*folder.Session).List(folder.Public ? ZTInt_QUERIES_PUBLIC : ZTInt_QUERIES_PERSONAL);
}

int32_t Folder_Result(Svr_Call& call, const std::string& path)
{
    const bool is_public = path == Mdl_Workspace::kPublic;
    if (!is_public && path != Mdl_Workspace::kPersonal)
        throw Mdl_Refusal("no folder \"" + path + "\": the folders are \"" + Mdl_Workspace::kPublic + "\" and \"" +
                          Mdl_Workspace::kPersonal + "\"");
    return call.Result(std::make_shared<Pl_Folder>(Session_Of(call), is_public));
}

void Register_Session_And_Lists(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTSession_GetWorkSpace, [](Svr_Call& c) {
        return c.Result(std::make_shared<Pl_Workspace>(c.Object<Pl_Session>(0).Session));
    });
    d.Add(ZTInt_op_ZTSession_OpenQueryDef, [](Svr_Call& c) {
        auto session = c.Object<Pl_Session>(0).Session;
        return Query_Result(c, session, Mdl_Workspace(*session).Open(c.Text(1)));
    });
    d.Add(ZTInt_op_ZTSession_GetQueryDefs, [](Svr_Call& c) {
        auto session = c.Object<Pl_Session>(0).Session;
        return c.Result(std::make_shared<Pl_Saved_List>(session, Mdl_Workspace(*session).List(ZTInt_QUERIES_ALL)));
    });
    d.Add(ZTInt_op_ZTQueryDef_Save, [](Svr_Call& c) {
        Pl_Query& query = c.Object<Pl_Query>(0);
        if (c.Text(1).empty() && query.Query->Name.empty())
            throw Mdl_Refusal("the query was never saved: give the path to save it under");
        Mdl_Workspace(*query.Session).Save(c.Text(1).empty() ? query.Query->Name : c.Text(1), *query.Query, true);
        return c.Result_Bool(true);
    });

    d.Add(ZTInt_op_ZTQueryDefs_Count, [](Svr_Call& c) {
        return c.Result(static_cast<int64_t>(c.Object<Pl_Saved_List>(0).Items.size()));
    });
    d.Add(ZTInt_op_ZTQueryDefs_Item, [](Svr_Call& c) {
        const Pl_Saved_List& list = c.Object<Pl_Saved_List>(0);
        const int32_t index = c.Number(1);
        if (index < 0 || static_cast<std::size_t>(index) >= list.Items.size())
            throw Mdl_Refusal("no item " + std::to_string(index) + " in a list of " + std::to_string(list.Items.size()));
        return Query_Result(c, list.Session, Mdl_Workspace(*list.Session).Open(list.Items[static_cast<std::size_t>(index)].Id));
    });
    d.Add(ZTInt_op_ZTQueryDefs_ItemByName, [](Svr_Call& c) {
        const Pl_Saved_List& list = c.Object<Pl_Saved_List>(0);
        for (const Mdl_Saved_Query& saved : list.Items)
            if (saved.Path() == c.Text(1) || (!saved.Public && saved.Name == c.Text(1)))
                return Query_Result(c, list.Session, Mdl_Workspace(*list.Session).Open(saved.Id));
        throw Mdl_Refusal("no item named \"" + c.Text(1) + "\" in the list");
    });
    d.Add(ZTInt_op_ZTQueryDefs_Load, [](Svr_Call& c) {
        const Pl_Saved_List& list = c.Object<Pl_Saved_List>(0);
        return Query_Result(c, list.Session, Mdl_Workspace(*list.Session).Open(c.Text(1)));
    });
    d.Add(ZTInt_op_ZTQueryDefs_AddQueryDef, [](Svr_Call& c) {
        const Pl_Saved_List& list = c.Object<Pl_Saved_List>(0);
        Mdl_Query query;
        query.Type = list.Session->Type(c.Text(1)).Name;
        return Query_Result(c, list.Session, std::move(query));
    });
    // Removing an item deletes the saved query it stands for.
    d.Add(ZTInt_op_ZTQueryDefs_Remove, [](Svr_Call& c) {
        Pl_Saved_List& list = c.Object<Pl_Saved_List>(0);
        const int32_t index = c.Number(1);
        if (index < 0 || static_cast<std::size_t>(index) >= list.Items.size())
            throw Mdl_Refusal("no item " + std::to_string(index) + " in a list of " + std::to_string(list.Items.size()));
        Mdl_Workspace(*list.Session).Remove(list.Items[static_cast<std::size_t>(index)]);
        list.Items.erase(list.Items.begin() + index);
        return c.Result_Bool(true);
    });
}

void Register_Workspace(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTWorkSpaceMgr_SetSession, [](Svr_Call& c) {
        c.Object<Pl_Workspace>(0).Session = c.Object<Pl_Session>(1).Session;
        return c.Result_Bool(true);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetPublicFolderName, [](Svr_Call& c) { Session_Of(c); return c.Result(std::string(Mdl_Workspace::kPublic)); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetPersonalFolderName, [](Svr_Call& c) { Session_Of(c); return c.Result(std::string(Mdl_Workspace::kPersonal)); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetQueryList, [](Svr_Call& c) { return c.Result(Paths(Workspace(c).List(List_Kind(c)))); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetAllQueriesList, [](Svr_Call& c) { return c.Result(Paths(Workspace(c).List(ZTInt_QUERIES_ALL))); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetQueryDbIdList, [](Svr_Call& c) {
        std::vector<std::string> ids;
        for (const Mdl_Saved_Query& saved : Workspace(c).List(List_Kind(c)))
            ids.push_back(std::to_string(saved.Id));
        return c.Result(ids);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetQueryDef, [](Svr_Call& c) { return Query_Result(c, Session_Of(c), Workspace(c).Open(c.Text(1))); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetQueryDefByDbId,
          [](Svr_Call& c) { return Query_Result(c, Session_Of(c), Workspace(c).Open(int64_t{c.Number(1)})); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetQueryDbId, [](Svr_Call& c) { return c.Result(Workspace(c).Find(c.Text(1)).Id); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_ValidateQueryDefName, [](Svr_Call& c) {
        const std::string problem = Workspace(c).Name_Problem(c.Text(1), c.Text(2));
        if (!problem.empty())
            throw Mdl_Refusal(problem);
        return 0;
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_SaveQueryDef, [](Svr_Call& c) {
        Pl_Query& query = Query_Argument(c, 3);
        Workspace(c).Save(c.Text(2) + "/" + c.Text(1), *query.Query, c.Number(4) != 0);
        return 0;
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_UpdateQueryDef, [](Svr_Call& c) {
        Mdl_Workspace workspace = Workspace(c);
        workspace.Save(workspace.Find(int64_t{c.Number(1)}).Path(), *Query_Argument(c, 2).Query, true);
        return 0;
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_RenameWorkspaceItem, [](Svr_Call& c) {
        Mdl_Workspace workspace = Workspace(c);
        workspace.Rename(workspace.Find(c.Text(1)), c.Text(2));
        return c.Result_Bool(true);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_RenameWorkspaceItemByDbId, [](Svr_Call& c) {
        Mdl_Workspace workspace = Workspace(c);
        workspace.Rename(workspace.Find(int64_t{c.Number(1)}), c.Text(2));
        return c.Result_Bool(true);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_DeleteWorkspaceItemByDbId, [](Svr_Call& c) {
        Mdl_Workspace workspace = Workspace(c);
        workspace.Remove(workspace.Find(int64_t{c.Number(1)}));
        return c.Result_Bool(true);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_CanUpdateOrDeleteWorkSpaceItem, [](Svr_Call& c) {
        Mdl_Workspace workspace = Workspace(c);
        return c.Result_Bool(workspace.May_Change(workspace.Find(int64_t{c.Number(1)})));
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetWorkspaceItemName,
          [](Svr_Call& c) { return c.Result(Workspace(c).Find(int64_t{c.Number(1)}).Name); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetWorkspaceItemPathName, [](Svr_Call& c) {
        const Mdl_Saved_Query saved = Workspace(c).Find(int64_t{c.Number(1)});
        return c.Result(std::vector<std::string>{saved.Public ? Mdl_Workspace::kPublic : Mdl_Workspace::kPersonal, saved.Name});
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetWorkspaceItemParentDbId, [](Svr_Call& c) {
        return c.Result(Workspace(c).Find(int64_t{c.Number(1)}).Public ? Mdl_Workspace::kPublic_Id : Mdl_Workspace::kPersonal_Id);
    });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetIsRefreshOnGet, [](Svr_Call& c) { Session_Of(c); return c.Result_Bool(true); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_Refresh, [](Svr_Call& c) { Session_Of(c); return 0; });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetPublicFolder, [](Svr_Call& c) { return Folder_Result(c, Mdl_Workspace::kPublic); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetPersonalFolder, [](Svr_Call& c) { return Folder_Result(c, Mdl_Workspace::kPersonal); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetFolder, [](Svr_Call& c) { return Folder_Result(c, c.Text(1)); });
    d.Add(ZTInt_op_ZTWorkSpaceMgr_GetFolderByDbId, [](Svr_Call& c) {
        const int32_t id = c.Number(1);
        if (id != Mdl_Workspace::kPublic_Id && id != Mdl_Workspace::kPersonal_Id)
            throw Mdl_Refusal("no folder with id " + std::to_string(id));
        return Folder_Result(c, id == Mdl_Workspace::kPublic_Id ? Mdl_Workspace::kPublic : Mdl_Workspace::kPersonal);
    });
}

void Register_Folders(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTFolder_GetName, [](Svr_Call& c) { return c.Result(Folder(c).Name()); });
    d.Add(ZTInt_op_ZTFolder_GetPathname, [](Svr_Call& c) { return c.Result(Folder(c).Name()); });
    d.Add(ZTInt_op_ZTFolder_GetDbId,
          [](Svr_Call& c) { return c.Result(Folder(c).Public ? Mdl_Workspace::kPublic_Id : Mdl_Workspace::kPersonal_Id); });
    d.Add(ZTInt_op_ZTFolder_GetChildNames, [](Svr_Call& c) {
        std::vector<std::string> names;
        for (const Mdl_Saved_Query& saved : Folder_Queries(c))
            names.push_back(saved.Name);
        return c.Result(names);
    });
    d.Add(ZTInt_op_ZTFolder_GetChildDbIds, [](Svr_Call& c) {
        std::vector<std::string> ids;
        for (const Mdl_Saved_Query& saved : Folder_Queries(c))
            ids.push_back(std::to_string(saved.Id));
        return c.Result(ids);
    });
    d.Add(ZTInt_op_ZTFolder_IsReadable, [](Svr_Call& c) { Folder(c); return c.Result_Bool(true); });
    d.Add(ZTInt_op_ZTFolder_IsWritable, [](Svr_Call& c) { Folder(c); return c.Result_Bool(true); });
    d.Add(ZTInt_op_ZTFolder_Refresh, [](Svr_Call& c) { Folder(c); return 0; });
}

}  // namespace

void Svr_Register_Workspace_Calls(Svr_Dispatcher& d)
{
    Register_Session_And_Lists(d);
    Register_Workspace(d);
    Register_Folders(d);
}
