// ZTAdminSession, ZTUser(s), ZTGroup(s), ZTDatabase(s): the administration of a
// database set, and the session calls that list users, groups and the databases a
// user may use. A user, group or database object names its user, group or database;
// each call reads or writes the store at once. Lists are snapshots of names.
#include <algorithm>

#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "server/model/mdl_admin.h"
#include "ztint_opcodes.h"

namespace {

// An administration session: NULL until its logon holds.
struct Pl_Admin : Svr_Payload {
    std::shared_ptr<Mdl_Admin> Admin;
};

enum class Kind { User, Group, Database };

template <Kind K>
struct Pl_Named : Svr_Payload {
    Pl_Named(std::shared_ptr<Mdl_Admin> admin, std::string name) : Admin(std::move(admin)), Name(std::move(name)) {}
    std::shared_ptr<Mdl_Admin> Admin;
    std::string Name;
};

template <Kind K>
struct Pl_Names : Svr_Payload {
    Pl_Names(std::shared_ptr<Mdl_Admin> admin, std::vector<std::string> names)
        : Admin(std::move(admin)), Names(std::move(names))
    {
    }
    std::shared_ptr<Mdl_Admin> Admin;
    std::vector<std::string> Names;
};

using Pl_User = Pl_Named<Kind::User>;
using Pl_Group = Pl_Named<Kind::Group>;
using Pl_Database = Pl_Named<Kind::Database>;

std::shared_ptr<Mdl_Admin> Shared_Admin(Svr_Call& call)
{
    std::shared_ptr<Mdl_Admin> admin = call.Object<Pl_Admin>(0).Admin;
    if (admin == nullptr)
        throw Mdl_Refusal("the administration session is not logged on");
    return admin;
}

Mdl_Admin& Admin(Svr_Call& call)
{
    return *Shared_Admin(call);
}

template <Kind K>
Pl_Named<K>& Named(Svr_Call& call, int index = 0)
{
    return call.Object<Pl_Named<K>>(index);
}

template <Kind K>
int32_t Name_Result(Svr_Call& call, std::shared_ptr<Mdl_Admin> admin, std::string name)
{
    return call.Result(std::make_shared<Pl_Named<K>>(std::move(admin), std::move(name)));
}

template <Kind K>
int32_t Names_Result(Svr_Call& call, std::shared_ptr<Mdl_Admin> admin, std::vector<std::string> names)
{
    return call.Result(std::make_shared<Pl_Names<K>>(std::move(admin), std::move(names)));
}

// ---- lists ----------------------------------------------------------------------------

template <Kind K>
void Add_List(Svr_Dispatcher& d, ZTInt_opcode count, ZTInt_opcode item, ZTInt_opcode by_name)
{
    d.Add(count, [](Svr_Call& c) {
        return c.Result(static_cast<int64_t>(c.Object<Pl_Names<K>>(0).Names.size()));
    });
    d.Add(item, [](Svr_Call& c) {
        const Pl_Names<K>& list = c.Object<Pl_Names<K>>(0);
        const int32_t index = c.Number(1);
        if (index < 0 || static_cast<std::size_t>(index) >= list.Names.size())
            throw Mdl_Refusal("no item " + std::to_string(index) + " in a list of " +
                              std::to_string(list.Names.size()));
        return Name_Result<K>(c, list.Admin, list.Names[static_cast<std::size_t>(index)]);
    });
    d.Add(by_name, [](Svr_Call& c) {
        const Pl_Names<K>& list = c.Object<Pl_Names<K>>(0);
        if (std::find(list.Names.begin(), list.Names.end(), c.Text(1)) == list.Names.end())
            throw Mdl_Refusal("no item named \"" + c.Text(1) + "\" in the list");
        return Name_Result<K>(c, list.Admin, c.Text(1));
    });
}

// ---- the administration session ---------------------------------------------------------

int32_t Admin_Logon(Svr_Call& call)
{
    Pl_Admin& session = call.Object<Pl_Admin>(0);
    std::string refusal;
    std::shared_ptr<Mdl_Admin> admin = call.Model().Admin_Logon({call.Text(1), call.Text(2), "", call.Text(3)}, refusal);
    if (admin == nullptr)
        throw Mdl_Refusal(refusal);
    session.Admin = std::move(admin);
    return 0;
}

// Whose databases in which set a session asks for: "" is the session's own.
struct Access_Question {
    std::string Set, Login;
};

Access_Question Question_Of(Svr_Call& call)
{
    const Mdl_Session& session = *call.Object<Pl_Session>(0).Session;
    Access_Question question{call.Text(1).empty() ? session.Database().Set : call.Text(1),
                             call.Text(2).empty() ? session.Current_User().Login : call.Text(2)};
    if (question.Login != session.Current_User().Login && !session.Current_User().Super_User)
        throw Mdl_Refusal("only a superuser asks for the databases of another user");
    const std::vector<std::string> sets = session.Database_Sets();
    if (std::find(sets.begin(), sets.end(), question.Set) == sets.end())
        throw Mdl_Refusal("no database set \"" + question.Set + "\"");
    return question;
}

// In-values: set, user, database name ("" for all); the Ex form adds a server and
// whether test databases count, which change nothing here.
int32_t Accessible_Databases(Svr_Call& call)
{
    const std::shared_ptr<Mdl_Session> session = call.Object<Pl_Session>(0).Session;
    const Access_Question question = Question_Of(call);
    std::vector<Database_Desc> descs;
    for (const std::string& name : Mdl_Accessible_Databases(*session->Database().Store, question.Set, question.Login))
        if (call.Text(3).empty() || name == call.Text(3))
            descs.push_back({name, question.Set, question.Login});
    return call.Result(std::make_shared<Pl_List<Database_Desc>>(session, std::move(descs)));
}

void Add_Desc_List(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTDatabaseDescs_Count, [](Svr_Call& c) {
        return c.Result(static_cast<int64_t>(c.Object<Pl_List<Database_Desc>>(0).Items.size()));
    });
    d.Add(ZTInt_op_ZTDatabaseDescs_Item, [](Svr_Call& c) {
        const auto& list = c.Object<Pl_List<Database_Desc>>(0);
        const int32_t index = c.Number(1);
        if (index < 0 || static_cast<std::size_t>(index) >= list.Items.size())
            throw Mdl_Refusal("no item " + std::to_string(index) + " in a list of " +
                              std::to_string(list.Items.size()));
        return c.Result(std::make_shared<Pl_Item<Database_Desc>>(list.Session, list.Items[static_cast<std::size_t>(index)]));
    });
    d.Add(ZTInt_op_ZTDatabaseDescs_ItemByName, [](Svr_Call& c) {
        const auto& list = c.Object<Pl_List<Database_Desc>>(0);
        for (const Database_Desc& desc : list.Items)
            if (desc.Name == c.Text(1))
                return c.Result(std::make_shared<Pl_Item<Database_Desc>>(list.Session, desc));
        throw Mdl_Refusal("no item named \"" + c.Text(1) + "\" in the list");
    });
}

void Register_Admin_Session(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTZentrak_CreateAdminSession, [](Svr_Call& c) {
        c.Any_Object(0);
        return c.Result(std::make_shared<Pl_Admin>());
    });
    d.Add(ZTInt_op_ZTAdminSession_Build, [](Svr_Call& c) { return c.Result(std::make_shared<Pl_Admin>()); });
    // Unbuild logs off; the handle stays until it is freed.
    d.Add(ZTInt_op_ZTAdminSession_Unbuild, [](Svr_Call& c) {
        c.Object<Pl_Admin>(0).Admin.reset();
        return 0;
    });
    d.Add(ZTInt_op_ZTAdminSession_Logon, Admin_Logon);
    d.Add(ZTInt_op_ZTAdminSession_GetUserLoginName, [](Svr_Call& c) { return c.Result(Admin(c).Login_Name()); });
    d.Add(ZTInt_op_ZTAdminSession_ValidateUserCredentials,
          [](Svr_Call& c) { return c.Result(Admin(c).Credentials_Problem(c.Text(1), c.Text(2))); });
    d.Add(ZTInt_op_ZTAdminSession_GetEveryoneGroupName, [](Svr_Call& c) {
        Admin(c);
        return c.Result(std::string(kMdl_Everyone));
    });
    d.Add(ZTInt_op_ZTAdminSession_GetUsers,
          [](Svr_Call& c) { return Names_Result<Kind::User>(c, Shared_Admin(c), Admin(c).User_Names(true)); });
    d.Add(ZTInt_op_ZTAdminSession_GetGroups,
          [](Svr_Call& c) { return Names_Result<Kind::Group>(c, Shared_Admin(c), Admin(c).Group_Names(true)); });
    d.Add(ZTInt_op_ZTAdminSession_GetDatabases,
          [](Svr_Call& c) { return Names_Result<Kind::Database>(c, Shared_Admin(c), Admin(c).Database_Names()); });
    d.Add(ZTInt_op_ZTAdminSession_GetUser, [](Svr_Call& c) {
        Admin(c).User(c.Text(1));
        return Name_Result<Kind::User>(c, Shared_Admin(c), c.Text(1));
    });
    d.Add(ZTInt_op_ZTAdminSession_GetGroup, [](Svr_Call& c) {
        Admin(c).Group(c.Text(1));
        return Name_Result<Kind::Group>(c, Shared_Admin(c), c.Text(1));
    });
    d.Add(ZTInt_op_ZTAdminSession_GetDatabase, [](Svr_Call& c) {
        Admin(c).Check_Database(c.Text(1));
        return Name_Result<Kind::Database>(c, Shared_Admin(c), c.Text(1));
    });
    d.Add(ZTInt_op_ZTAdminSession_CreateUser, [](Svr_Call& c) {
        Admin(c).Create_User(c.Text(1));
        return Name_Result<Kind::User>(c, Shared_Admin(c), c.Text(1));
    });
    d.Add(ZTInt_op_ZTAdminSession_CreateGroup, [](Svr_Call& c) {
        Admin(c).Create_Group(c.Text(1));
        return Name_Result<Kind::Group>(c, Shared_Admin(c), c.Text(1));
    });
    // In-values: set ("" or the session's), vendor, server, database name, owner login and
    // password, connect options. The new user database lives in the session's own store
    // with the sample schema; it has no separate server, owner or options.
    d.Add(ZTInt_op_ZTAdminSession_InstallAddDbSetEx, [](Svr_Call& c) {
        Mdl_Admin& admin = Admin(c);
        if (!c.Text(1).empty() && c.Text(1) != admin.Set_Name())
            throw Mdl_Refusal("a database is added to the session's own database set \"" + admin.Set_Name() + "\"");
        for (int index : {3, 5, 6, 7})
            if (!c.Text(index).empty())
                throw Mdl_Refusal("a user database here has no server, owner or connect options of its own");
        if (!c.Text(2).empty() && c.Text(2) != "SQLite")
            throw Mdl_Refusal("no database vendor \"" + c.Text(2) + "\" here");
        admin.Create_Database(c.Text(4), "");
        return c.Result(c.Text(4));
    });
    for (ZTInt_opcode opcode : {ZTInt_op_ZTAdminSession_IsReplicated, ZTInt_op_ZTAdminSession_IsReplisiteActivated})
        d.Add(opcode, [](Svr_Call& c) { Admin(c); return c.Result_Bool(false); });
    d.Add(ZTInt_op_ZTAdminSession_IsSiteWorkingMaster, [](Svr_Call& c) { Admin(c); return c.Result_Bool(true); });
    d.Add(ZTInt_op_ZTAdminSession_GetLocalReplicaName, [](Svr_Call& c) { Admin(c); return c.Result(std::string()); });
    d.Add(ZTInt_op_ZTAdminSession_GetReplicaNames,
          [](Svr_Call& c) { Admin(c); return c.Result(std::vector<std::string>()); });
}

// ---- users ------------------------------------------------------------------------------

Mdl_User User_Of(Svr_Call& c)
{
    const Pl_User& user = Named<Kind::User>(c);
    return user.Admin->User(user.Name);
}

template <Mdl_User_Text Which>
int32_t Set_Text(Svr_Call& c)
{
    const Pl_User& user = Named<Kind::User>(c);
    user.Admin->Set_User_Text(user.Name, Which, c.Text(1));
    return 0;
}

template <ZTInt_Privilege P>
void Add_Privilege(Svr_Dispatcher& d, ZTInt_opcode get, ZTInt_opcode set)
{
    d.Add(get, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        user.Admin->User(user.Name);
        return c.Result_Bool(user.Admin->Privilege(user.Name, P));
    });
    d.Add(set, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        user.Admin->Set_Privilege(user.Name, P, c.Number(1) != 0);
        return 0;
    });
}

ZTInt_Privilege Privilege_Argument(Svr_Call& c)
{
    const int32_t number = c.Number(1);
    if (number != ZTInt_PRIV_SUPER_USER && number != ZTInt_PRIV_USER_MAINTAINER && number != ZTInt_PRIV_APP_BUILDER)
        throw Mdl_Refusal("no privilege " + std::to_string(number));
    return static_cast<ZTInt_Privilege>(number);
}

template <Kind K>
Mdl_Member Member_Of(Svr_Call& c)
{
    return {K == Kind::User ? Mdl_Member::Kind::User : Mdl_Member::Kind::Group, Named<K>(c).Name};
}

// The subscription calls, the same for users and groups.
template <Kind K>
void Add_Subscriptions(Svr_Dispatcher& d, ZTInt_opcode subscribed, ZTInt_opcode subscribe, ZTInt_opcode unsubscribe,
                       ZTInt_opcode unsubscribe_all, ZTInt_opcode is_all, ZTInt_opcode set_all)
{
    d.Add(subscribed, [](Svr_Call& c) {
        return Names_Result<Kind::Database>(c, Named<K>(c).Admin, Named<K>(c).Admin->Subscriptions(Member_Of<K>(c)));
    });
    d.Add(subscribe, [](Svr_Call& c) {
        Named<K>(c).Admin->Subscribe(Member_Of<K>(c), Named<Kind::Database>(c, 1).Name, true);
        return 0;
    });
    d.Add(unsubscribe, [](Svr_Call& c) {
        Named<K>(c).Admin->Subscribe(Member_Of<K>(c), Named<Kind::Database>(c, 1).Name, false);
        return 0;
    });
    d.Add(unsubscribe_all, [](Svr_Call& c) {
        Named<K>(c).Admin->Unsubscribe_All(Member_Of<K>(c));
        return 0;
    });
    d.Add(is_all, [](Svr_Call& c) { return c.Result_Bool(Named<K>(c).Admin->All_Databases(Member_Of<K>(c))); });
    d.Add(set_all, [](Svr_Call& c) {
        Named<K>(c).Admin->Set_All_Databases(Member_Of<K>(c), c.Number(1) != 0);
        return 0;
    });
}

void Register_User(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTUser_GetName, [](Svr_Call& c) { return c.Result(User_Of(c).Login); });
    d.Add(ZTInt_op_ZTUser_GetFullName, [](Svr_Call& c) { return c.Result(User_Of(c).Full_Name); });
    d.Add(ZTInt_op_ZTUser_GetEmail, [](Svr_Call& c) { return c.Result(User_Of(c).Email); });
    d.Add(ZTInt_op_ZTUser_GetPhone, [](Svr_Call& c) { return c.Result(User_Of(c).Phone); });
    d.Add(ZTInt_op_ZTUser_GetMiscInfo, [](Svr_Call& c) { return c.Result(User_Of(c).Misc); });
    d.Add(ZTInt_op_ZTUser_GetPassword, [](Svr_Call& c) { return c.Result(User_Of(c).Password_Hash); });
    d.Add(ZTInt_op_ZTUser_GetActive, [](Svr_Call& c) { return c.Result_Bool(User_Of(c).Active); });
    d.Add(ZTInt_op_ZTUser_SetFullName, Set_Text<Mdl_User_Text::Full_Name>);
    d.Add(ZTInt_op_ZTUser_SetEmail, Set_Text<Mdl_User_Text::Email>);
    d.Add(ZTInt_op_ZTUser_SetPhone, Set_Text<Mdl_User_Text::Phone>);
    d.Add(ZTInt_op_ZTUser_SetMiscInfo, Set_Text<Mdl_User_Text::Misc>);
    for (ZTInt_opcode opcode : {ZTInt_op_ZTUser_SetPassword, ZTInt_op_ZTUser_SetZTAuthentication})
        d.Add(opcode, [](Svr_Call& c) {
            const Pl_User& user = Named<Kind::User>(c);
            user.Admin->Set_Password(user.Name, c.Text(1));
            return 0;
        });
    d.Add(ZTInt_op_ZTUser_SetActive, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        user.Admin->Set_Active(user.Name, c.Number(1) != 0);
        return 0;
    });
    Add_Privilege<ZTInt_PRIV_SUPER_USER>(d, ZTInt_op_ZTUser_GetSuperUser, ZTInt_op_ZTUser_SetSuperUser);
    Add_Privilege<ZTInt_PRIV_USER_MAINTAINER>(d, ZTInt_op_ZTUser_GetUserMaintainer, ZTInt_op_ZTUser_SetUserMaintainer);
    Add_Privilege<ZTInt_PRIV_APP_BUILDER>(d, ZTInt_op_ZTUser_GetAppBuilder, ZTInt_op_ZTUser_SetAppBuilder);
    d.Add(ZTInt_op_ZTUser_GetUserPrivilege, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        user.Admin->User(user.Name);
        return c.Result_Bool(user.Admin->Privilege(user.Name, Privilege_Argument(c)));
    });
    d.Add(ZTInt_op_ZTUser_SetUserPrivilege, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        user.Admin->Set_Privilege(user.Name, Privilege_Argument(c), c.Number(2) != 0);
        return 0;
    });
    d.Add(ZTInt_op_ZTUser_GetGroups, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        return Names_Result<Kind::Group>(c, user.Admin, user.Admin->Groups_Of(user.Name));
    });
    d.Add(ZTInt_op_ZTUser_GetAllSubscribedDatabases, [](Svr_Call& c) {
        const Pl_User& user = Named<Kind::User>(c);
        return Names_Result<Kind::Database>(c, user.Admin, user.Admin->Accessible(user.Name));
    });
    Add_Subscriptions<Kind::User>(d, ZTInt_op_ZTUser_GetSubscribedDatabases, ZTInt_op_ZTUser_SubscribeDatabase,
                                  ZTInt_op_ZTUser_UnsubscribeDatabase, ZTInt_op_ZTUser_UnsubscribeAllDatabases,
                                  ZTInt_op_ZTUser_IsSubscribedToAllDatabases,
                                  ZTInt_op_ZTUser_SetSubscribedToAllDatabases);
    d.Add(ZTInt_op_ZTUser_SiteHasMastership, [](Svr_Call& c) { User_Of(c); return c.Result_Bool(true); });
}

// ---- groups -----------------------------------------------------------------------------

void Register_Group(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTGroup_GetName, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return c.Result(group.Admin->Group(group.Name).Name);
    });
    d.Add(ZTInt_op_ZTGroup_SetName, [](Svr_Call& c) {
        Pl_Group& group = Named<Kind::Group>(c);
        group.Admin->Rename_Group(group.Name, c.Text(1));
        group.Name = c.Text(1);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_GetActive, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return c.Result_Bool(group.Admin->Group(group.Name).Active);
    });
    d.Add(ZTInt_op_ZTGroup_SetActive, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        group.Admin->Set_Group_Active(group.Name, c.Number(1) != 0);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_GetUsers, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return Names_Result<Kind::User>(c, group.Admin, group.Admin->Group_Users(group.Name));
    });
    d.Add(ZTInt_op_ZTGroup_GetGroups, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return Names_Result<Kind::Group>(c, group.Admin, group.Admin->Group_Groups(group.Name));
    });
    d.Add(ZTInt_op_ZTGroup_AddUser, [](Svr_Call& c) {
        Named<Kind::Group>(c).Admin->Add_User(Named<Kind::Group>(c).Name, Named<Kind::User>(c, 1).Name);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_RemoveUser, [](Svr_Call& c) {
        Named<Kind::Group>(c).Admin->Remove_User(Named<Kind::Group>(c).Name, Named<Kind::User>(c, 1).Name);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_AddGroup, [](Svr_Call& c) {
        Named<Kind::Group>(c).Admin->Add_Group(Named<Kind::Group>(c).Name, Named<Kind::Group>(c, 1).Name);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_RemoveGroup, [](Svr_Call& c) {
        Named<Kind::Group>(c).Admin->Remove_Group(Named<Kind::Group>(c).Name, Named<Kind::Group>(c, 1).Name);
        return 0;
    });
    d.Add(ZTInt_op_ZTGroup_GetAllSubscribedDatabases, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return Names_Result<Kind::Database>(c, group.Admin, group.Admin->Group_Databases(group.Name));
    });
    Add_Subscriptions<Kind::Group>(d, ZTInt_op_ZTGroup_GetSubscribedDatabases, ZTInt_op_ZTGroup_SubscribeDatabase,
                                   ZTInt_op_ZTGroup_UnsubscribeDatabase, ZTInt_op_ZTGroup_UnsubscribeAllDatabases,
                                   ZTInt_op_ZTGroup_IsSubscribedToAllDatabases,
                                   ZTInt_op_ZTGroup_SetSubscribedToAllDatabases);
    d.Add(ZTInt_op_ZTGroup_GetDatabases, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        return Names_Result<Kind::Database>(
            c, group.Admin, group.Admin->Subscriptions({Mdl_Member::Kind::Group, group.Name}));
    });
    d.Add(ZTInt_op_ZTGroup_SiteHasMastership, [](Svr_Call& c) {
        const Pl_Group& group = Named<Kind::Group>(c);
        group.Admin->Group(group.Name);
        return c.Result_Bool(true);
    });
}

// ---- databases --------------------------------------------------------------------------

void Register_Database(Svr_Dispatcher& d)
{
    for (ZTInt_opcode opcode : {ZTInt_op_ZTDatabase_GetName, ZTInt_op_ZTDatabase_GetDatabaseName})
        d.Add(opcode, [](Svr_Call& c) {
            const Pl_Database& database = Named<Kind::Database>(c);
            database.Admin->Check_Database(database.Name);
            return c.Result(database.Name);
        });
    d.Add(ZTInt_op_ZTDatabase_GetDescription, [](Svr_Call& c) {
        const Pl_Database& database = Named<Kind::Database>(c);
        return c.Result(database.Admin->Description(database.Name));
    });
    d.Add(ZTInt_op_ZTDatabase_SetDescription, [](Svr_Call& c) {
        const Pl_Database& database = Named<Kind::Database>(c);
        database.Admin->Set_Description(database.Name, c.Text(1));
        return 0;
    });
    d.Add(ZTInt_op_ZTDatabase_GetSubscribedUsers, [](Svr_Call& c) {
        const Pl_Database& database = Named<Kind::Database>(c);
        return Names_Result<Kind::User>(c, database.Admin, database.Admin->Subscribed_Users(database.Name));
    });
    d.Add(ZTInt_op_ZTDatabase_GetSubscribedGroups, [](Svr_Call& c) {
        const Pl_Database& database = Named<Kind::Database>(c);
        return Names_Result<Kind::Group>(c, database.Admin, database.Admin->Subscribed_Groups(database.Name));
    });
    d.Add(ZTInt_op_ZTDatabase_GetAllUsers, [](Svr_Call& c) {
        const Pl_Database& database = Named<Kind::Database>(c);
        return Names_Result<Kind::User>(c, database.Admin,
                                        database.Admin->Database_Users(database.Name, c.Number(1) != 0));
    });
    for (ZTInt_opcode opcode : {ZTInt_op_ZTDatabase_IsMaster, ZTInt_op_ZTDatabase_IsTestDatabase})
        d.Add(opcode, [](Svr_Call& c) {
            const Pl_Database& database = Named<Kind::Database>(c);
            database.Admin->Check_Database(database.Name);
            return c.Result_Bool(false);
        });
}

}  // namespace

void Svr_Register_Admin_Calls(Svr_Dispatcher& d)
{
    Register_Admin_Session(d);
    Register_User(d);
    Register_Group(d);
    Register_Database(d);
    Add_List<Kind::User>(d, ZTInt_op_ZTUsers_Count, ZTInt_op_ZTUsers_Item, ZTInt_op_ZTUsers_ItemByName);
    Add_List<Kind::Group>(d, ZTInt_op_ZTGroups_Count, ZTInt_op_ZTGroups_Item, ZTInt_op_ZTGroups_ItemByName);
    Add_List<Kind::Database>(d, ZTInt_op_ZTDatabases_Count, ZTInt_op_ZTDatabases_Item,
                             ZTInt_op_ZTDatabases_ItemByName);

    Add_Desc_List(d);
    d.Add(ZTInt_op_ZTSession_GetAccessibleDatabases, Accessible_Databases);
    d.Add(ZTInt_op_ZTSession_GetAccessibleDatabasesEx, Accessible_Databases);
    d.Add(ZTInt_op_ZTSession_GetAllUsers, [](Svr_Call& c) {
        const Mdl_Session& session = *c.Object<Pl_Session>(0).Session;
        return c.Result(Mdl_User_Names(*session.Database().Store, session.Database().Set,
                                       (c.Number(1) & ZTInt_LIST_INCLUDE_INACTIVE) != 0));
    });
    d.Add(ZTInt_op_ZTSession_GetAllGroups, [](Svr_Call& c) {
        const Mdl_Session& session = *c.Object<Pl_Session>(0).Session;
        return c.Result(Mdl_Group_Names(*session.Database().Store, session.Database().Set,
                                        (c.Number(1) & ZTInt_LIST_INCLUDE_INACTIVE) != 0));
    });
}
