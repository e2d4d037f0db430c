// ZTSession: the user, the record types, and records found or made by type and id.
#include <algorithm>

#include "server/calls/svr_call.h"
#include "server/model/mdl_admin.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "ztint_opcodes.h"

namespace {

Mdl_Session& Session(Svr_Call& call)
{
    return *call.Object<Pl_Session>(0).Session;
}

std::shared_ptr<Mdl_Session> Shared_Session(Svr_Call& call)
{
    return call.Object<Pl_Session>(0).Session;
}

Pl_Entity& Entity(Svr_Call& call, int index)
{
    Pl_Entity& entity = call.Object<Pl_Entity>(index);
    if (entity.Session->Database().Store != Session(call).Database().Store ||
        &entity.Session->Database() != &Session(call).Database())
        throw Mdl_Refusal("the record belongs to another database");
    return entity;
}

int32_t Entity_Result(Svr_Call& call, std::shared_ptr<Mdl_Record> record)
{
    return call.Result(std::make_shared<Pl_Entity>(Shared_Session(call), std::move(record)));
}

// The names of the record types for which keep says yes.
template <class Keep>
std::vector<std::string> Type_Names(Svr_Call& call, Keep keep)
{
    std::vector<std::string> names;
    for (const Mdl_Record_Type& type : Session(call).Schema().Types())
        if (keep(type))
            names.push_back(type.Name);
    return names;
}

bool Any(const Mdl_Record_Type&) { return true; }
bool Stateful(const Mdl_Record_Type& type) { return type.Stateful; }
bool Stateless(const Mdl_Record_Type& type) { return !type.Stateful; }

int32_t Entity_Def_Result(Svr_Call& call, const std::string& name)
{
    return call.Result(std::make_shared<Pl_Item<Record_Type_Ref>>(Shared_Session(call),
                                                                  &Session(call).Type(name)));
}

int32_t Get_Entity(Svr_Call& call)
{
    return Entity_Result(call, Session(call).Load(call.Text(1), call.Text(2)));
}

int32_t Get_Entity_By_Dbid(Svr_Call& call)
{
    return Entity_Result(call, Session(call).Load(call.Text(1), int64_t{call.Number(2)}));
}

int32_t Is_True(Svr_Call& call) { Session(call); return call.Result_Bool(true); }
int32_t Is_False(Svr_Call& call) { Session(call); return call.Result_Bool(false); }

// The members of an existing list.
std::vector<std::string> Members(Svr_Call& call, const std::string& name)
{
    std::vector<std::string> members = Session(call).List_Members(name);
    if (members.empty())
        throw Mdl_Refusal("no list \"" + name + "\"");
    return members;
}

int32_t Change_List(Svr_Call& call, bool add)
{
    const std::string name = call.Text(1), member = call.Text(2);
    std::vector<std::string> members = Session(call).List_Members(name);
    const auto found = std::find(members.begin(), members.end(), member);
    if (add && found != members.end())
        throw Mdl_Refusal("list \"" + name + "\" has the member \"" + member + "\" already");
    if (!add && found == members.end())
        throw Mdl_Refusal("list \"" + name + "\" has no member \"" + member + "\"");
    if (add)
        members.push_back(member);
    else
        members.erase(found);
    Session(call).Set_List_Members(name, members);
    return 0;
}

}  // namespace

std::shared_ptr<Svr_Payload> Svr_Session_Payload(std::shared_ptr<Mdl_Session> session)
{
    return session != nullptr ? std::make_shared<Pl_Session>(std::move(session)) : nullptr;
}

void Svr_Register_Session_Calls(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTSession_GetUserLoginName, [](Svr_Call& c) { return c.Result(Session(c).Current_User().Login); });
    d.Add(ZTInt_op_ZTSession_GetUserFullName, [](Svr_Call& c) { return c.Result(Session(c).Current_User().Full_Name); });
    d.Add(ZTInt_op_ZTSession_GetUserEmail, [](Svr_Call& c) { return c.Result(Session(c).Current_User().Email); });
    d.Add(ZTInt_op_ZTSession_GetUserPhone, [](Svr_Call& c) { return c.Result(Session(c).Current_User().Phone); });
    d.Add(ZTInt_op_ZTSession_GetUserMiscInfo, [](Svr_Call& c) { return c.Result(Session(c).Current_User().Misc); });
    d.Add(ZTInt_op_ZTSession_GetUserEncryptedPassword,
          [](Svr_Call& c) { return c.Result(Session(c).Current_User().Password_Hash); });
    d.Add(ZTInt_op_ZTSession_GetUserGroups, [](Svr_Call& c) { return c.Result(Session(c).User_Groups()); });
    d.Add(ZTInt_op_ZTSession_IsUserSuperUser,
          [](Svr_Call& c) { return c.Result_Bool(Session(c).Current_User().Super_User); });
    d.Add(ZTInt_op_ZTSession_GetInstalledDbSets, [](Svr_Call& c) { return c.Result(Session(c).Database_Sets()); });
    d.Add(ZTInt_op_ZTSession_GetInstalledMasterDbs, [](Svr_Call& c) { return c.Result(Session(c).Database_Sets()); });
    d.Add(ZTInt_op_ZTSession_IsUnix, Is_True);
    d.Add(ZTInt_op_ZTSession_IsWindows, Is_False);
    d.Add(ZTInt_op_ZTSession_CheckHeartbeat, Is_True);
    d.Add(ZTInt_op_ZTSession_IsMetadataReadonly, Is_True);

    d.Add(ZTInt_op_ZTSession_GetEntityDefNames, [](Svr_Call& c) { return c.Result(Type_Names(c, Any)); });
    d.Add(ZTInt_op_ZTSession_GetSubmitEntityDefNames, [](Svr_Call& c) { return c.Result(Type_Names(c, Any)); });
    d.Add(ZTInt_op_ZTSession_GetEntityDefNamesForSubmit, [](Svr_Call& c) { return c.Result(Type_Names(c, Any)); });
    d.Add(ZTInt_op_ZTSession_GetQueryEntityDefNames, [](Svr_Call& c) { return c.Result(Type_Names(c, Any)); });
    d.Add(ZTInt_op_ZTSession_GetReqEntityDefNames, [](Svr_Call& c) { return c.Result(Type_Names(c, Stateful)); });
    d.Add(ZTInt_op_ZTSession_GetAuxEntityDefNames, [](Svr_Call& c) { return c.Result(Type_Names(c, Stateless)); });
    d.Add(ZTInt_op_ZTSession_CanSubmit,
          [](Svr_Call& c) { return c.Result_Bool(Session(c).Schema().Type(c.Text(1)) != nullptr); });
    d.Add(ZTInt_op_ZTSession_GetEntityDef, [](Svr_Call& c) { return Entity_Def_Result(c, c.Text(1)); });
    d.Add(ZTInt_op_ZTSession_GetEntityDefOrFamily, [](Svr_Call& c) { return Entity_Def_Result(c, c.Text(1)); });
    d.Add(ZTInt_op_ZTSession_GetDefaultEntityDef, [](Svr_Call& c) {
        const std::vector<std::string> stateful = Type_Names(c, Stateful);
        return stateful.empty() ? c.Result(std::shared_ptr<Svr_Payload>()) : Entity_Def_Result(c, stateful[0]);
    });

    d.Add(ZTInt_op_ZTSession_BuildEntity, [](Svr_Call& c) { return Entity_Result(c, Session(c).Build(c.Text(1))); });
    d.Add(ZTInt_op_ZTSession_GetEntity, Get_Entity);
    d.Add(ZTInt_op_ZTSession_LoadEntity, Get_Entity);
    d.Add(ZTInt_op_ZTSession_GetEntityByDbId, Get_Entity_By_Dbid);
    d.Add(ZTInt_op_ZTSession_LoadEntityByDbId, Get_Entity_By_Dbid);
    d.Add(ZTInt_op_ZTSession_EntityExists,
          [](Svr_Call& c) { return c.Result_Bool(Session(c).Exists(c.Text(1), c.Text(2))); });
    d.Add(ZTInt_op_ZTSession_EntityExistsByDbId,
          [](Svr_Call& c) { return c.Result_Bool(Session(c).Exists(c.Text(1), int64_t{c.Number(2)})); });
    d.Add(ZTInt_op_ZTSession_StringIdToDbId, [](Svr_Call& c) { return c.Result(Session(c).Dbid_Of(c.Text(1))); });
    d.Add(ZTInt_op_ZTSession_DbIdToStringId,
          [](Svr_Call& c) { return c.Result(Session(c).Display_Id_Of(c.Number(1))); });
    d.Add(ZTInt_op_ZTSession_EditEntity, [](Svr_Call& c) {
        Session(c).Edit(*Entity(c, 1).Record, c.Text(2));
        return 0;
    });
    d.Add(ZTInt_op_ZTSession_DeleteEntity,
          [](Svr_Call& c) { return c.Result(Session(c).Delete(*Entity(c, 1).Record, c.Text(2))); });
    d.Add(ZTInt_op_ZTSession_MarkEntityAsDuplicate, [](Svr_Call& c) {
        const std::string refusal = Session(c).Mark_Duplicate(*Entity(c, 1).Record, *Entity(c, 2).Record, c.Text(3));
        if (!refusal.empty())
            throw Mdl_Refusal(refusal);
        return 0;
    });
    d.Add(ZTInt_op_ZTSession_UnmarkEntityAsDuplicate, [](Svr_Call& c) {
        const std::string refusal = Session(c).Unmark_Duplicate(*Entity(c, 1).Record, c.Text(2));
        if (!refusal.empty())
            throw Mdl_Refusal(refusal);
        return 0;
    });

    d.Add(ZTInt_op_ZTSession_BeginTransaction, [](Svr_Call& c) {
        Session(c).Begin_Transaction();
        return 0;
    });
    d.Add(ZTInt_op_ZTSession_EndTransaction, [](Svr_Call& c) {
        Session(c).End_Transaction(c.Number(1) != 0);  // commit, or roll back
        return 0;
    });

    d.Add(ZTInt_op_ZTSession_GetListDefNames, [](Svr_Call& c) { return c.Result(Session(c).List_Names()); });
    d.Add(ZTInt_op_ZTSession_GetListMembers, [](Svr_Call& c) { return c.Result(Members(c, c.Text(1))); });
    d.Add(ZTInt_op_ZTSession_SetListMembers, [](Svr_Call& c) {
        Session(c).Set_List_Members(c.Text(1), c.Texts(2));
        return 0;
    });
    d.Add(ZTInt_op_ZTSession_AddListMember, [](Svr_Call& c) { return Change_List(c, true); });
    d.Add(ZTInt_op_ZTSession_DeleteListMember, [](Svr_Call& c) { return Change_List(c, false); });
    d.Add(ZTInt_op_ZTSession_GetSessionDatabase, [](Svr_Call& c) {
        const Mdl_Session& session = Session(c);
        return c.Result(std::make_shared<Pl_Item<Database_Desc>>(
            Shared_Session(c),
            Database_Desc{session.Database().Name, session.Database().Set, session.Current_User().Login}));
    });
    d.Add(ZTInt_op_ZTDatabaseDesc_GetDatabaseName,
          [](Svr_Call& c) { return c.Result(c.Object<Pl_Item<Database_Desc>>(0).Item.Name); });
    d.Add(ZTInt_op_ZTDatabaseDesc_GetDatabaseSetName,
          [](Svr_Call& c) { return c.Result(c.Object<Pl_Item<Database_Desc>>(0).Item.Set); });
    d.Add(ZTInt_op_ZTDatabaseDesc_GetLogin,
          [](Svr_Call& c) { return c.Result(c.Object<Pl_Item<Database_Desc>>(0).Item.Login); });
    d.Add(ZTInt_op_ZTDatabaseDesc_GetIsMaster,
          [](Svr_Call& c) { c.Object<Pl_Item<Database_Desc>>(0); return c.Result_Bool(false); });
    d.Add(ZTInt_op_ZTDatabaseDesc_GetDescription,
          [](Svr_Call& c) {
              const auto& desc = c.Object<Pl_Item<Database_Desc>>(0);
              return c.Result(Mdl_Database_Description(*desc.Session->Database().Store, desc.Item.Set, desc.Item.Name));
          });

    d.Add(ZTInt_op_ZTSession_HasValue,
          [](Svr_Call& c) { return c.Result_Bool(Session(c).Name_Values.count(c.Text(1)) != 0); });
    d.Add(ZTInt_op_ZTSession_GetNameValue, [](Svr_Call& c) {
        const auto& values = Session(c).Name_Values;
        const auto found = values.find(c.Text(1));
        return c.Result(found != values.end() ? found->second : std::string());
    });
    d.Add(ZTInt_op_ZTSession_SetNameValue, [](Svr_Call& c) {
        Session(c).Name_Values[c.Text(1)] = c.Text(2);
        return 0;
    });
    d.Add(ZTInt_op_ZTSession_ClearNameValues, [](Svr_Call& c) {
        Session(c).Name_Values.clear();
        return 0;
    });
}
