#include "tools/zt_admin.h"

#include <cstdlib>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/zt_common.h"
#include "ztint.h"
#include "ztint_values.h"

namespace {

using namespace zt_common;

using Owned_User = Owned<ZTUser, ZTInt_User_Free>;
using Owned_Group = Owned<ZTGroup, ZTInt_Group_Free>;
using Owned_Database = Owned<ZTDatabase, ZTInt_Database_Free>;

// The object a call makes, owned; the call's failure is thrown.
template <class Result, class Call>
Result Made(Call call)
{
    typename Result::pointer made = nullptr;
    Check(call(&made));
    return Result(made);
}

// A failed call may still hand back an empty text: it is freed before the failure is thrown.
template <class H>
std::string Text(int32_t (*get)(H*, char**), H* handle)
{
    char* text = nullptr;
    const int32_t status = get(handle, &text);
    std::string result = Take(text);
    Check(status);
    return result;
}

template <class H>
bool Flag(int32_t (*get)(H*, ZTInt_BOOL*), H* handle)
{
    ZTInt_BOOL value = 0;
    Check(get(handle, &value));
    return value != 0;
}

// The names in a list of users, groups or databases.
template <class List, class Item, class Fetch>
std::vector<std::string> Names(Fetch fetch, int32_t (*count)(List*, ZTInt_LONG*),
                               int32_t (*item)(List*, Item**, ZTInt_LONG), int32_t (*name)(Item*, char**),
                               int32_t (*free_item)(Item*), int32_t (*free_list)(List*))
{
    List* list = nullptr;
    Check(fetch(&list));
    std::unique_ptr<List, int32_t (*)(List*)> owner(list, free_list);
    ZTInt_LONG size = 0;
    Check(count(list, &size));
    std::vector<std::string> names;
    for (ZTInt_LONG i = 0; i < size; ++i) {
        Item* each = nullptr;
        Check(item(list, &each, i));
        std::unique_ptr<Item, int32_t (*)(Item*)> held(each, free_item);
        names.push_back(Text(name, each));
    }
    return names;
}

template <class Fetch>
std::vector<std::string> User_Names(Fetch fetch)
{
    return Names<ZTUsers, ZTUser>(fetch, ZTUsers_Count, ZTUsers_Item, ZTUser_GetName, ZTInt_User_Free,
                                  ZTInt_Users_Free);
}
template <class Fetch>
std::vector<std::string> Group_Names(Fetch fetch)
{
    return Names<ZTGroups, ZTGroup>(fetch, ZTGroups_Count, ZTGroups_Item, ZTGroup_GetName, ZTInt_Group_Free,
                                    ZTInt_Groups_Free);
}
template <class Fetch>
std::vector<std::string> Database_Names(Fetch fetch)
{
    return Names<ZTDatabases, ZTDatabase>(fetch, ZTDatabases_Count, ZTDatabases_Item, ZTDatabase_GetName,
                                          ZTInt_Database_Free, ZTInt_Databases_Free);
}

std::string Joined(const std::vector<std::string>& names)
{
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

const char* Yes_No(bool value)
{
    return value ? "yes" : "no";
}

bool Parse_Yes_No(const std::string& field, const std::string& value)
{
    if (value == "yes" || value == "true" || value == "1")
        return true;
    if (value == "no" || value == "false" || value == "0")
        return false;
    throw Usage(field + ": expected yes or no, got \"" + value + "\"");
}

std::pair<std::string, std::string> Split(const std::string& pair)
{
    const std::size_t equals = pair.find('=');
    return {pair.substr(0, equals), pair.substr(equals + 1)};
}

// One line from standard input, without its newline: a password never on the command line.
std::string Read_Password()
{
    std::string line;
    if (!std::getline(std::cin, line))
        throw Usage("expected the password as a line on standard input");
    return line;
}

// An administration session of the database set.
class Admin {
public:
    Admin()
    {
        const Logon logon;
        Check(ZTZentrak_Build(&Zentrak));
        Check(ZTZentrak_CreateAdminSession(Zentrak, &Session));
        Check(ZTAdminSession_Logon(Session, logon.User.c_str(), logon.Password.c_str(), logon.Set.c_str()));
    }
    ~Admin()
    {
        ZTInt_AdminSession_Free(Session);
        ZTInt_Zentrak_Free(Zentrak);
    }
    Admin(const Admin&) = delete;
    Admin& operator=(const Admin&) = delete;

    Owned_User Get_User(const std::string& login)
    {
        return Made<Owned_User>([&](ZTUser** user) { return ZTAdminSession_GetUser(Session, user, login.c_str()); });
    }
    Owned_Group Get_Group(const std::string& name)
    {
        return Made<Owned_Group>([&](ZTGroup** group) { return ZTAdminSession_GetGroup(Session, group, name.c_str()); });
    }
    Owned_Database Get_Database(const std::string& name)
    {
        return Made<Owned_Database>(
            [&](ZTDatabase** database) { return ZTAdminSession_GetDatabase(Session, database, name.c_str()); });
    }

    ZTAdminSession* Session = nullptr;

private:
    ZTZentrak* Zentrak = nullptr;
};

// ---- users ----------------------------------------------------------------------------

const std::map<std::string, int32_t (*)(ZTUser*, const char*)> kUser_Texts = {
    {"full_name", ZTUser_SetFullName}, {"email", ZTUser_SetEmail},
    {"phone", ZTUser_SetPhone},        {"misc", ZTUser_SetMiscInfo}};
const std::map<std::string, int32_t (*)(ZTUser*, ZTInt_BOOL)> kUser_Flags = {
    {"active", ZTUser_SetActive},
    {"superuser", ZTUser_SetSuperUser},
    {"user_maintainer", ZTUser_SetUserMaintainer},
    {"app_builder", ZTUser_SetAppBuilder},
    {"all_databases", ZTUser_SetSubscribedToAllDatabases}};

// Every field=value pair is checked before the first is set: a wrong one changes nothing.
void Check_User_Pairs(const std::vector<std::string>& pairs)
{
    for (const std::string& pair : pairs) {
        const auto [field, value] = Split(pair);
        if (kUser_Flags.count(field) != 0)
            (void)Parse_Yes_No(field, value);
        else if (kUser_Texts.count(field) == 0)
            throw Usage("no user field \"" + field +
                        "\": full_name, email, phone, misc, active, superuser, user_maintainer, app_builder, "
                        "all_databases");
    }
}

void Set_User_Fields(ZTUser* user, const std::vector<std::string>& pairs)
{
    for (const std::string& pair : pairs) {
        const auto [field, value] = Split(pair);
        if (const auto text = kUser_Texts.find(field); text != kUser_Texts.end())
            Check(text->second(user, value.c_str()));
        else
            Check(kUser_Flags.at(field)(user, Parse_Yes_No(field, value) ? 1 : 0));
    }
}

void Check_Group_Pairs(const std::vector<std::string>& pairs)
{
    for (const std::string& pair : pairs) {
        const auto [field, value] = Split(pair);
        if (field == "active" || field == "all_databases")
            (void)Parse_Yes_No(field, value);
        else if (field != "name")
            throw Usage("no group field \"" + field + "\": name, active, all_databases");
    }
}

void Show_User(Admin& admin, const std::string& login)
{
    Owned_User user = admin.Get_User(login);
    ZTUser* u = user.get();
    std::vector<std::string> privileges;
    if (Flag(ZTUser_GetSuperUser, u))
        privileges.emplace_back("superuser");
    if (Flag(ZTUser_GetUserMaintainer, u))
        privileges.emplace_back("user_maintainer");
    if (Flag(ZTUser_GetAppBuilder, u))
        privileges.emplace_back("app_builder");
    std::cout << "login: " << Text(ZTUser_GetName, u) << "\n"
              << "full_name: " << Text(ZTUser_GetFullName, u) << "\n"
              << "email: " << Text(ZTUser_GetEmail, u) << "\n"
              << "phone: " << Text(ZTUser_GetPhone, u) << "\n"
              << "misc: " << Text(ZTUser_GetMiscInfo, u) << "\n"
              << "active: " << Yes_No(Flag(ZTUser_GetActive, u)) << "\n"
              << "privileges: " << Joined(privileges) << "\n"
              << "groups: " << Joined(Group_Names([&](ZTGroups** g) { return ZTUser_GetGroups(u, g); })) << "\n"
              << "subscribed: "
              << Joined(Database_Names([&](ZTDatabases** d) { return ZTUser_GetSubscribedDatabases(u, d); })) << "\n"
              << "all_databases: " << Yes_No(Flag(ZTUser_IsSubscribedToAllDatabases, u)) << "\n"
              << "databases: "
              << Joined(Database_Names([&](ZTDatabases** d) { return ZTUser_GetAllSubscribedDatabases(u, d); }))
              << "\n";
}

}  // namespace

// ---- the command line -----------------------------------------------------------------

struct Zt_Admin_Commands::Options {
    CLI::App *User_Cmd = nullptr, *Group_Cmd = nullptr, *Db_Cmd = nullptr;
    CLI::App *User_List = nullptr, *User_Show = nullptr, *User_Create = nullptr, *User_Set = nullptr,
             *User_Password = nullptr, *User_Subscribe = nullptr;
    CLI::App *Group_List = nullptr, *Group_Show = nullptr, *Group_Create = nullptr, *Group_Set = nullptr,
             *Group_Add = nullptr, *Group_Remove = nullptr, *Group_Subscribe = nullptr;
    CLI::App *Db_List = nullptr, *Db_Show = nullptr, *Db_Create = nullptr;

    std::string Name, Description;
    std::vector<std::string> Pairs, Databases, Users, Groups;
    bool All = false, Remove = false, Password_Stdin = false;

    int Run_User();
    int Run_Group();
    int Run_Db();
};

namespace {

const auto kPair = CLI::Validator(
    [](std::string& text) {
        return text.find('=') == std::string::npos || text[0] == '=' ? "expected field=value, got " + text
                                                                     : std::string();
    },
    "FIELD=VALUE");

// What the subcommands of one kind of object work on, and where their arguments go.
struct Object_Kind {
    CLI::App* Parent;
    const char* Label;  // the name argument's placeholder, e.g. "LOGIN"
    const char* About;  // the name argument's help, e.g. "login name"
    Zt_Admin_Commands::Options& Into;
};

// A subcommand whose first argument is the name of the object it works on.
CLI::App* Named(const Object_Kind& kind, const char* verb, const std::string& about)
{
    CLI::App* command = kind.Parent->add_subcommand(verb, about);
    command->add_option(kind.Label, kind.Into.Name, kind.About)->required();
    return command;
}

CLI::App* List(const Object_Kind& kind, const char* about, const char* all_about)
{
    CLI::App* command = kind.Parent->add_subcommand("list", about);
    command->add_flag("--all", kind.Into.All, all_about);
    return command;
}

CLI::App* Setting(const Object_Kind& kind, const char* verb, const std::string& about, bool required)
{
    CLI::App* command = Named(kind, verb, about);
    CLI::Option* pairs = command->add_option("VALUES", kind.Into.Pairs, "field=value ...")->check(kPair);
    if (required)
        pairs->required();
    return command;
}

CLI::App* Subscribing(const Object_Kind& kind, const std::string& about)
{
    CLI::App* command = Named(kind, "subscribe", about);
    command->add_option("DATABASES", kind.Into.Databases, "database names")->required();
    command->add_flag("--remove", kind.Into.Remove, "unsubscribe instead");
    return command;
}

CLI::App* Membership(const Object_Kind& kind, const char* verb, const std::string& about)
{
    CLI::App* command = Named(kind, verb, about);
    command->add_option("USERS", kind.Into.Users, "login names");
    command->add_option("--group", kind.Into.Groups, "a group member (repeatable)");
    return command;
}

}  // namespace

Zt_Admin_Commands::Zt_Admin_Commands(CLI::App& app) : My(std::make_unique<Options>())
{
    Options& o = *My;
    o.User_Cmd = app.add_subcommand("user", "Administer users (superusers and user maintainers)");
    o.User_Cmd->require_subcommand(1);
    const Object_Kind user{o.User_Cmd, "LOGIN", "login name", o};
    o.User_List = List(user, "List the users: login and whether active", "inactive users too");
    o.User_Show = Named(user, "show", "Show a user's fields, privileges, groups and databases");
    o.User_Create = Setting(user, "create", "Create a user, setting fields", false);
    o.User_Create->add_flag("--password-stdin", o.Password_Stdin, "read the password as a line on standard input");
    o.User_Set = Setting(user, "set",
                         "Set fields: full_name, email, phone, misc; yes/no: active, superuser, user_maintainer, "
                         "app_builder, all_databases",
                         true);
    o.User_Password = Named(user, "password", "Set a user's password, read as a line on standard input");
    o.User_Subscribe = Subscribing(user, "Subscribe a user to databases (or --remove)");

    o.Group_Cmd = app.add_subcommand("group", "Administer groups (superusers and user maintainers)");
    o.Group_Cmd->require_subcommand(1);
    const Object_Kind group{o.Group_Cmd, "NAME", "group name", o};
    o.Group_List = List(group, "List the groups: name and whether active", "inactive groups too");
    o.Group_Show = Named(group, "show", "Show a group's users, groups and databases");
    o.Group_Create = Named(group, "create", "Create a group");
    o.Group_Set = Setting(group, "set", "Set fields: name; yes/no: active, all_databases", true);
    o.Group_Add = Membership(group, "add", "Add users and groups as members of a group");
    o.Group_Remove = Membership(group, "remove", "Remove users and groups as members of a group");
    o.Group_Subscribe = Subscribing(group, "Subscribe a group to databases (or --remove)");

    o.Db_Cmd = app.add_subcommand("db", "List, show and create user databases");
    o.Db_Cmd->require_subcommand(1);
    const Object_Kind database{o.Db_Cmd, "NAME", "database name", o};
    o.Db_List = List(database, "List the databases you may log on to, with their descriptions",
                     "every database of the set (administrators)");
    o.Db_Show = Named(database, "show", "Show a database's description and users (administrators)");
    o.Db_Create = Named(database, "create", "Create a user database of the sample schema (superusers)");
    o.Db_Create->add_option("--description", o.Description, "what the database is for");
}

Zt_Admin_Commands::~Zt_Admin_Commands() = default;

bool Zt_Admin_Commands::Chosen() const
{
    return My->User_Cmd->parsed() || My->Group_Cmd->parsed() || My->Db_Cmd->parsed();
}

int Zt_Admin_Commands::Run()
{
    try {
        if (My->User_Cmd->parsed())
            return My->Run_User();
        if (My->Group_Cmd->parsed())
            return My->Run_Group();
        return My->Run_Db();
    } catch (const Usage& wrong) {
        std::cerr << "zt: " << wrong.what() << "\n";
        return 2;
    } catch (const Refused& refusal) {
        std::cerr << refusal.what() << "\n";
        return 1;
    }
}

int Zt_Admin_Commands::Options::Run_User()
{
    // The password is read before the logon, so that a missing one is a usage error.
    const std::string password = User_Password->parsed() || Password_Stdin ? Read_Password() : "";
    Check_User_Pairs(Pairs);
    Admin admin;
    if (User_List->parsed()) {
        for (const std::string& login :
             User_Names([&](ZTUsers** users) { return ZTAdminSession_GetUsers(admin.Session, users); })) {
            const bool active = Flag(ZTUser_GetActive, admin.Get_User(login).get());
            if (active || All)
                std::cout << login << "\t" << (active ? "active" : "inactive") << "\n";
        }
    } else if (User_Show->parsed()) {
        Show_User(admin, Name);
    } else if (User_Create->parsed()) {
        Owned_User user = Made<Owned_User>(
            [&](ZTUser** made) { return ZTAdminSession_CreateUser(admin.Session, made, Name.c_str()); });
        if (Password_Stdin)
            Check(ZTUser_SetPassword(user.get(), password.c_str()));
        Set_User_Fields(user.get(), Pairs);
    } else if (User_Set->parsed()) {
        Owned_User user = admin.Get_User(Name);
        Set_User_Fields(user.get(), Pairs);
    } else if (User_Password->parsed()) {
        Check(ZTUser_SetPassword(admin.Get_User(Name).get(), password.c_str()));
    } else if (User_Subscribe->parsed()) {
        Owned_User user = admin.Get_User(Name);
        for (const std::string& name : Databases) {
            Owned_Database database = admin.Get_Database(name);
            Check(Remove ? ZTUser_UnsubscribeDatabase(user.get(), database.get())
                         : ZTUser_SubscribeDatabase(user.get(), database.get()));
        }
    }
    return 0;
}

int Zt_Admin_Commands::Options::Run_Group()
{
    Check_Group_Pairs(Pairs);
    Admin admin;
    if (Group_List->parsed()) {
        for (const std::string& name :
             Group_Names([&](ZTGroups** groups) { return ZTAdminSession_GetGroups(admin.Session, groups); })) {
            const bool active = Flag(ZTGroup_GetActive, admin.Get_Group(name).get());
            if (active || All)
                std::cout << name << "\t" << (active ? "active" : "inactive") << "\n";
        }
    } else if (Group_Show->parsed()) {
        Owned_Group group = admin.Get_Group(Name);
        ZTGroup* g = group.get();
        std::cout << "name: " << Text(ZTGroup_GetName, g) << "\n"
                  << "active: " << Yes_No(Flag(ZTGroup_GetActive, g)) << "\n"
                  << "users: " << Joined(User_Names([&](ZTUsers** u) { return ZTGroup_GetUsers(g, u); })) << "\n"
                  << "groups: " << Joined(Group_Names([&](ZTGroups** l) { return ZTGroup_GetGroups(g, l); })) << "\n"
                  << "subscribed: "
                  << Joined(Database_Names([&](ZTDatabases** d) { return ZTGroup_GetSubscribedDatabases(g, d); }))
                  << "\n"
                  << "all_databases: " << Yes_No(Flag(ZTGroup_IsSubscribedToAllDatabases, g)) << "\n"
                  << "databases: "
                  << Joined(Database_Names([&](ZTDatabases** d) { return ZTGroup_GetAllSubscribedDatabases(g, d); }))
                  << "\n";
    } else if (Group_Create->parsed()) {
        Made<Owned_Group>([&](ZTGroup** made) { return ZTAdminSession_CreateGroup(admin.Session, made, Name.c_str()); });
    } else if (Group_Set->parsed()) {
        Owned_Group group = admin.Get_Group(Name);
        for (const std::string& pair : Pairs) {
            const auto [field, value] = Split(pair);
            if (field == "name")
                Check(ZTGroup_SetName(group.get(), value.c_str()));
            else if (field == "active")
                Check(ZTGroup_SetActive(group.get(), Parse_Yes_No(field, value) ? 1 : 0));
            else
                Check(ZTGroup_SetSubscribedToAllDatabases(group.get(), Parse_Yes_No(field, value) ? 1 : 0));
        }
    } else if (Group_Add->parsed() || Group_Remove->parsed()) {
        if (Users.empty() && Groups.empty())
            throw Usage("name the users or --group members");
        const bool add = Group_Add->parsed();
        Owned_Group group = admin.Get_Group(Name);
        for (const std::string& login : Users)
            Check(add ? ZTGroup_AddUser(group.get(), admin.Get_User(login).get())
                      : ZTGroup_RemoveUser(group.get(), admin.Get_User(login).get()));
        for (const std::string& name : Groups)
            Check(add ? ZTGroup_AddGroup(group.get(), admin.Get_Group(name).get())
                      : ZTGroup_RemoveGroup(group.get(), admin.Get_Group(name).get()));
    } else if (Group_Subscribe->parsed()) {
        Owned_Group group = admin.Get_Group(Name);
        for (const std::string& name : Databases) {
            Owned_Database database = admin.Get_Database(name);
            Check(Remove ? ZTGroup_UnsubscribeDatabase(group.get(), database.get())
                         : ZTGroup_SubscribeDatabase(group.get(), database.get()));
        }
    }
    return 0;
}

int Zt_Admin_Commands::Options::Run_Db()
{
    if (Db_List->parsed() && !All) {
        // Any user may see the databases open to them.
        const Logon logon;
        ZTZentrak* zentrak = nullptr;
        Check(ZTZentrak_Build(&zentrak));
        Owned<ZTZentrak, ZTInt_Zentrak_Free> held_zentrak(zentrak);
        ZTSession* made = nullptr;
        Check(ZTZentrak_SessionLogon(zentrak, &made, "", logon.User.c_str(), logon.Password.c_str(),
                                     logon.Database.c_str(), logon.Set.c_str(), 0));
        Owned<ZTSession, ZTInt_Session_Free> session(made);
        ZTDatabaseDescs* listed = nullptr;
        Check(ZTSession_GetAccessibleDatabases(session.get(), &listed, "", "", ""));
        Owned<ZTDatabaseDescs, ZTInt_DatabaseDescs_Free> descs(listed);
        ZTInt_LONG count = 0;
        Check(ZTDatabaseDescs_Count(descs.get(), &count));
        for (ZTInt_LONG i = 0; i < count; ++i) {
            ZTDatabaseDesc* item = nullptr;
            Check(ZTDatabaseDescs_Item(descs.get(), &item, i));
            Owned<ZTDatabaseDesc, ZTInt_DatabaseDesc_Free> desc(item);
            std::cout << Text(ZTDatabaseDesc_GetDatabaseName, item) << "\t"
                      << Text(ZTDatabaseDesc_GetDescription, item) << "\n";
        }
        return 0;
    }
    Admin admin;
    if (Db_List->parsed()) {
        for (const std::string& name : Database_Names(
                 [&](ZTDatabases** databases) { return ZTAdminSession_GetDatabases(admin.Session, databases); }))
            std::cout << name << "\t" << Text(ZTDatabase_GetDescription, admin.Get_Database(name).get()) << "\n";
    } else if (Db_Show->parsed()) {
        Owned_Database database = admin.Get_Database(Name);
        ZTDatabase* d = database.get();
        std::cout << "name: " << Text(ZTDatabase_GetName, d) << "\n"
                  << "description: " << Text(ZTDatabase_GetDescription, d) << "\n"
                  << "subscribed_users: "
                  << Joined(User_Names([&](ZTUsers** u) { return ZTDatabase_GetSubscribedUsers(d, u); })) << "\n"
                  << "subscribed_groups: "
                  << Joined(Group_Names([&](ZTGroups** g) { return ZTDatabase_GetSubscribedGroups(d, g); })) << "\n"
                  << "users: " << Joined(User_Names([&](ZTUsers** u) { return ZTDatabase_GetAllUsers(d, u, 0); }))
                  << "\n";
    } else if (Db_Create->parsed()) {
        char* made = nullptr;
        const int32_t status =
            ZTAdminSession_InstallAddDbSetEx(admin.Session, &made, "", "", "", Name.c_str(), "", "", "");
        const std::string name = Take(made);
        Check(status);
        std::cout << name << "\n";
        if (!Description.empty())
            Check(ZTDatabase_SetDescription(admin.Get_Database(Name).get(), Description.c_str()));
    }
    return 0;
}
