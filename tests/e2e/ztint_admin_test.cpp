// Administration through the public C interface against the real server: users,
// privileges, groups, subscriptions and user databases.
#include <string>
#include <vector>

#include "tests/e2e/ztint_tracker.h"

namespace {

class Ztint_Admin_Test : public Ztint_Tracker_Test {
protected:
    void SetUp() override
    {
        Ztint_Tracker_Test::SetUp();
        Admin = Admin_Logon("zentrak", "zentrak");
        ASSERT_NE(Admin, nullptr) << Server_Error();
    }
    void TearDown() override
    {
        ZTInt_AdminSession_Free(Admin);
        Ztint_Tracker_Test::TearDown();
    }

    // An administration session of user, or NULL.
    ZTAdminSession* Admin_Logon(const char* user, const char* password)
    {
        ZTAdminSession* admin = nullptr;
        EXPECT_EQ(ZTZentrak_CreateAdminSession(Zentrak, &admin), 0) << Server_Error();
        if (ZTAdminSession_Logon(admin, user, password, "MASTER") == 0)
            return admin;
        ZTInt_AdminSession_Free(admin);
        return nullptr;
    }

    // "" when user logs on to database, else the server's refusal.
    static std::string Logon_Refusal(const char* user, const char* password, const char* database = "DEMO")
    {
        ZTZentrak* zentrak = nullptr;
        ZTSession* session = nullptr;
        EXPECT_EQ(ZTZentrak_Build(&zentrak), 0);
        const int32_t status =
            ZTZentrak_SessionLogon(zentrak, &session, "", user, password, database, "MASTER", 14);
        ZTInt_Session_Free(session);
        ZTInt_Zentrak_Free(zentrak);
        return status == 0 ? "" : Server_Error();
    }

    // A new user with a password, or NULL with a failure recorded.
    ZTUser* New_User(const char* login, const char* password = "pw")
    {
        ZTUser* user = nullptr;
        EXPECT_EQ(ZTAdminSession_CreateUser(Admin, &user, login), 0) << Server_Error();
        EXPECT_EQ(ZTUser_SetPassword(user, password), 0) << Server_Error();
        return user;
    }
    ZTGroup* New_Group(const char* name)
    {
        ZTGroup* group = nullptr;
        EXPECT_EQ(ZTAdminSession_CreateGroup(Admin, &group, name), 0) << Server_Error();
        return group;
    }
    ZTDatabase* Database(const char* name)
    {
        ZTDatabase* database = nullptr;
        EXPECT_EQ(ZTAdminSession_GetDatabase(Admin, &database, name), 0) << Server_Error();
        return database;
    }

    // "" when the call succeeded, else the server's text.
    static std::string Outcome(int32_t status) { return status == 0 ? "" : Server_Error(); }

    // A new user database: its name, or "refused: " and the server's text.
    static std::string Create_Database(ZTAdminSession* admin, const char* name)
    {
        char* made = nullptr;
        const int32_t status = ZTAdminSession_InstallAddDbSetEx(admin, &made, "", "", "", name, "", "", "");
        const std::string text = Ztint_Take(made);  // a refusal too may bring an empty text
        return status == 0 ? text : "refused: " + Server_Error();
    }

    template <class H>
    static std::string Text(int32_t (*get)(H*, char**), H* handle)
    {
        char* text = nullptr;
        EXPECT_EQ(get(handle, &text), 0) << Server_Error();
        return Ztint_Take(text);
    }
    template <class H>
    static bool Flag(int32_t (*get)(H*, ZTInt_BOOL*), H* handle)
    {
        ZTInt_BOOL value = -1;
        EXPECT_EQ(get(handle, &value), 0) << Server_Error();
        return value != 0;
    }

    // The names of a list of users, groups or databases, which is freed.
    template <class List, class Item>
    static std::vector<std::string> Names(List* list, int32_t (*count)(List*, ZTInt_LONG*),
                                          int32_t (*item)(List*, Item**, ZTInt_LONG),
                                          int32_t (*name)(Item*, char**), int32_t (*free_item)(Item*),
                                          int32_t (*free_list)(List*))
    {
        std::vector<std::string> names;
        ZTInt_LONG size = 0;
        EXPECT_EQ(count(list, &size), 0) << Server_Error();
        for (ZTInt_LONG i = 0; i < size; ++i) {
            Item* each = nullptr;
            EXPECT_EQ(item(list, &each, i), 0) << Server_Error();
            names.push_back(Text(name, each));
            free_item(each);
        }
        free_list(list);
        return names;
    }
    static std::vector<std::string> Names(ZTUsers* users)
    {
        return Names(users, ZTUsers_Count, ZTUsers_Item, ZTUser_GetName, ZTInt_User_Free, ZTInt_Users_Free);
    }
    static std::vector<std::string> Names(ZTGroups* groups)
    {
        return Names(groups, ZTGroups_Count, ZTGroups_Item, ZTGroup_GetName, ZTInt_Group_Free, ZTInt_Groups_Free);
    }
    static std::vector<std::string> Names(ZTDatabases* databases)
    {
        return Names(databases, ZTDatabases_Count, ZTDatabases_Item, ZTDatabase_GetName, ZTInt_Database_Free,
                     ZTInt_Databases_Free);
    }

    ZTAdminSession* Admin = nullptr;
};

using Strings = std::vector<std::string>;

TEST_F(Ztint_Admin_Test, TheLifeOfAUser)
{
    ZTUser* pat = New_User("pat", "first");
    ASSERT_NE(pat, nullptr);
    const struct {
        int32_t (*Set)(ZTUser*, const char*);
        int32_t (*Get)(ZTUser*, char**);
        const char* Value;
    } fields[] = {
        {ZTUser_SetFullName, ZTUser_GetFullName, "Pat O'Hara"},
        {ZTUser_SetEmail, ZTUser_GetEmail, "pat@example.org"},
        {ZTUser_SetPhone, ZTUser_GetPhone, "+1 555 0100"},
        {ZTUser_SetMiscInfo, ZTUser_GetMiscInfo, "line 1\nline 2; DROP TABLE zt_users"},
    };
    for (const auto& field : fields) {
        EXPECT_EQ(field.Set(pat, field.Value), 0) << Server_Error();
        EXPECT_EQ(Text(field.Get, pat), field.Value);
    }
    EXPECT_EQ(Text(ZTUser_GetName, pat), "pat");
    EXPECT_TRUE(Flag(ZTUser_GetActive, pat));
    EXPECT_FALSE(Flag(ZTUser_GetSuperUser, pat));
    const std::string hash = Text(ZTUser_GetPassword, pat);
    EXPECT_EQ(hash.rfind("$argon2id$", 0), 0u) << hash;
    EXPECT_EQ(hash.find("first"), std::string::npos);

    // Not subscribed: no logon; subscribed: logon, with the fields set.
    EXPECT_EQ(Logon_Refusal("pat", "first"),
              "ztintsvr: logon refused for user \"pat\": not subscribed to database \"DEMO\"");
    ZTDatabase* demo = Database("DEMO");
    EXPECT_EQ(Outcome(ZTUser_SubscribeDatabase(pat, demo)), "");
    EXPECT_EQ(Outcome(ZTUser_SubscribeDatabase(pat, demo)),
              "ZTUser_SubscribeDatabase: user \"pat\" is subscribed to database \"DEMO\" already");
    EXPECT_EQ(Names([&] { ZTDatabases* d = nullptr; ZTUser_GetSubscribedDatabases(pat, &d); return d; }()),
              Strings{"DEMO"});
    ZTSession* session = Logon("pat", "first");
    ASSERT_NE(session, nullptr) << Server_Error();
    EXPECT_EQ(Text(ZTSession_GetUserFullName, session), "Pat O'Hara");
    ZTDatabaseDescs* others = nullptr;
    EXPECT_EQ(Outcome(ZTSession_GetAccessibleDatabases(session, &others, "", "zentrak", "")),
              "ZTSession_GetAccessibleDatabases: only a superuser asks for the databases of another user");
    ZTInt_Session_Free(session);

    // A new password: the old one is refused at once, though it was verified before.
    EXPECT_EQ(Outcome(ZTUser_SetPassword(pat, "second")), "");
    EXPECT_EQ(Logon_Refusal("pat", "first"), "ztintsvr: logon refused for user \"pat\": wrong user name or password");
    EXPECT_EQ(Logon_Refusal("pat", "second"), "");

    for (const auto& [password, problem] : {std::pair{"second", ""}, std::pair{"first", "wrong user name or password"}}) {
        char* answer = nullptr;
        EXPECT_EQ(ZTAdminSession_ValidateUserCredentials(Admin, &answer, "pat", password), 0);
        EXPECT_EQ(Ztint_Take(answer), problem) << password;
    }

    EXPECT_EQ(Outcome(ZTUser_SetActive(pat, 0)), "");
    EXPECT_FALSE(Flag(ZTUser_GetActive, pat));
    EXPECT_EQ(Logon_Refusal("pat", "second"), "ztintsvr: logon refused for user \"pat\": the user is inactive");
    EXPECT_EQ(Ztint_Take([&] { char** a = nullptr; ZTSession_GetAllUsers(Session, &a, 0); return a; }()),
              Strings{"zentrak"});
    EXPECT_EQ(Ztint_Take([&] {
                  char** a = nullptr;
                  ZTSession_GetAllUsers(Session, &a, ZTInt_LIST_INCLUDE_INACTIVE);
                  return a;
              }()),
              (Strings{"pat", "zentrak"}));

    EXPECT_EQ(Outcome(ZTUser_UnsubscribeDatabase(pat, demo)), "");
    EXPECT_EQ(Outcome(ZTUser_SetActive(pat, 1)), "");
    EXPECT_EQ(Logon_Refusal("pat", "second"),
              "ztintsvr: logon refused for user \"pat\": not subscribed to database \"DEMO\"");
    ZTInt_Database_Free(demo);
    ZTInt_User_Free(pat);
}

TEST_F(Ztint_Admin_Test, NamesAreStoredAsGivenAndDuplicatesRefused)
{
    const char* odd = "o'brien\"; DROP TABLE zt_users; --";
    ZTUser* user = New_User(odd);
    ZTInt_User_Free(user);
    ZTGroup* group = New_Group(odd);
    ZTInt_Group_Free(group);
    EXPECT_EQ(Names([&] { ZTUsers* u = nullptr; ZTAdminSession_GetUsers(Admin, &u); return u; }()),
              (Strings{odd, "zentrak"}));
    EXPECT_EQ(Names([&] { ZTGroups* g = nullptr; ZTAdminSession_GetGroups(Admin, &g); return g; }()),
              (Strings{"everyone", odd}));

    const struct {
        std::string Refusal, Expected;
    } cases[] = {
        {Outcome(ZTAdminSession_CreateUser(Admin, &user, odd)),
         std::string("ZTAdminSession_CreateUser: a user \"") + odd + "\" exists already"},
        {Outcome(ZTAdminSession_CreateUser(Admin, &user, "zentrak")),
         "ZTAdminSession_CreateUser: a user \"zentrak\" exists already"},
        {Outcome(ZTAdminSession_CreateUser(Admin, &user, "")),
         "ZTAdminSession_CreateUser: a user name has 1 to 128 characters"},
        {Outcome(ZTAdminSession_CreateUser(Admin, &user, "tab\there")),
         "ZTAdminSession_CreateUser: a user name has no control characters"},
        {Outcome(ZTAdminSession_CreateGroup(Admin, &group, "everyone")),
         "ZTAdminSession_CreateGroup: a group \"everyone\" exists already"},
        {Outcome(ZTAdminSession_GetUser(Admin, &user, "nobody")),
         "ZTAdminSession_GetUser: no user \"nobody\" in database set \"MASTER\""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.Refusal, c.Expected);
    EXPECT_EQ(user, nullptr);
}

TEST_F(Ztint_Admin_Test, OnlySuperusersAndUserMaintainersAdminister)
{
    ZTUser* plain = New_User("plain", "pw");
    EXPECT_EQ(Admin_Logon("plain", "pw"), nullptr);
    EXPECT_EQ(Server_Error(), "ZTAdminSession_Logon: ztintsvr: administration refused for user \"plain\": "
                              "user \"plain\" may not administer: neither superuser nor user maintainer");
    EXPECT_EQ(Admin_Logon("plain", "wrong"), nullptr);
    EXPECT_EQ(Server_Error(),
              "ZTAdminSession_Logon: ztintsvr: logon refused for user \"plain\": wrong user name or password");
    ZTAdminSession* never = nullptr;
    ASSERT_EQ(ZTZentrak_CreateAdminSession(Zentrak, &never), 0);
    ZTUser* unmade = nullptr;
    EXPECT_EQ(Outcome(ZTAdminSession_CreateUser(never, &unmade, "x")),
              "ZTAdminSession_CreateUser: the administration session is not logged on");
    ZTInt_AdminSession_Free(never);

    EXPECT_EQ(Outcome(ZTUser_SetUserPrivilege(plain, ZTInt_PRIV_USER_MAINTAINER, 1)), "");
    EXPECT_TRUE(Flag(ZTUser_GetUserMaintainer, plain));
    ZTAdminSession* maintainer = Admin_Logon("plain", "pw");
    ASSERT_NE(maintainer, nullptr) << Server_Error();
    ZTUser* made = nullptr;
    EXPECT_EQ(Outcome(ZTAdminSession_CreateUser(maintainer, &made, "made")), "");
    ZTUser* root = nullptr;
    ASSERT_EQ(ZTAdminSession_GetUser(maintainer, &root, "zentrak"), 0);
    const struct {
        std::string Refusal, Expected;
    } refused[] = {
        {Outcome(ZTUser_SetSuperUser(made, 1)),
         "ZTUser_SetSuperUser: only a superuser grants or takes the superuser privilege"},
        {Outcome(ZTUser_SetPassword(root, "mine")), "ZTUser_SetPassword: only a superuser changes a superuser's password"},
        {Outcome(ZTUser_SetEmail(root, "x@y")), "ZTUser_SetEmail: only a superuser changes a superuser"},
        {Create_Database(maintainer, "MINE"), "refused: ZTAdminSession_InstallAddDbSetEx: only a superuser creates databases"},
        {Outcome(ZTUser_SetUserPrivilege(made, 99, 1)), "ZTUser_SetUserPrivilege: no privilege 99"},
    };
    for (const auto& c : refused)
        EXPECT_EQ(c.Refusal, c.Expected);
    EXPECT_FALSE(Flag(ZTUser_GetSuperUser, made));

    // Rights taken away end the administration at the next call.
    EXPECT_EQ(Outcome(ZTUser_SetUserMaintainer(plain, 0)), "");
    EXPECT_EQ(Outcome(ZTAdminSession_CreateUser(maintainer, &unmade, "more")),
              "ZTAdminSession_CreateUser: user \"plain\" may not administer: neither superuser nor user maintainer");
    ZTInt_User_Free(root);
    ZTInt_User_Free(made);
    ZTInt_AdminSession_Free(maintainer);
    ZTInt_User_Free(plain);
}

TEST_F(Ztint_Admin_Test, TheLastActiveSuperuserStays)
{
    ZTUser* root = nullptr;
    ASSERT_EQ(ZTAdminSession_GetUser(Admin, &root, "zentrak"), 0);
    const std::string last = "the last active superuser of database set \"MASTER\"";
    EXPECT_EQ(Outcome(ZTUser_SetActive(root, 0)), "ZTUser_SetActive: user \"zentrak\" is " + last);
    EXPECT_EQ(Outcome(ZTUser_SetSuperUser(root, 0)), "ZTUser_SetSuperUser: user \"zentrak\" is " + last);
    EXPECT_EQ(Outcome(ZTUser_SetUserPrivilege(root, ZTInt_PRIV_SUPER_USER, 0)),
              "ZTUser_SetUserPrivilege: user \"zentrak\" is " + last);
    EXPECT_TRUE(Flag(ZTUser_GetSuperUser, root));

    // An inactive superuser does not count; an active second one does.
    ZTUser* second = New_User("second");
    EXPECT_EQ(Outcome(ZTUser_SetSuperUser(second, 1)), "");
    EXPECT_EQ(Outcome(ZTUser_SetActive(second, 0)), "");
    EXPECT_EQ(Outcome(ZTUser_SetSuperUser(root, 0)), "ZTUser_SetSuperUser: user \"zentrak\" is " + last);
    EXPECT_EQ(Outcome(ZTUser_SetActive(second, 1)), "");
    EXPECT_EQ(Outcome(ZTUser_SetSuperUser(root, 0)), "");
    // zentrak, no longer a superuser, administers no more.
    EXPECT_EQ(Outcome(ZTUser_SetActive(second, 0)),
              "ZTUser_SetActive: user \"zentrak\" may not administer: neither superuser nor user maintainer");
    ZTInt_User_Free(second);
    ZTInt_User_Free(root);
}

TEST_F(Ztint_Admin_Test, GroupsNestAndPassTheirSubscriptionsOn)
{
    ZTUser* ann = New_User("ann");
    ZTGroup* dev = New_Group("dev");
    ZTGroup* qa = New_Group("qa");
    ZTDatabase* demo = Database("DEMO");
    EXPECT_EQ(Outcome(ZTGroup_AddUser(dev, ann)), "");
    EXPECT_EQ(Outcome(ZTGroup_AddUser(dev, ann)), "ZTGroup_AddUser: user \"ann\" is in group \"dev\" already");
    EXPECT_EQ(Outcome(ZTGroup_SubscribeDatabase(qa, demo)), "");
    EXPECT_NE(Logon_Refusal("ann", "pw"), "");

    // ann is in dev, dev in qa, qa subscribed to DEMO.
    EXPECT_EQ(Outcome(ZTGroup_AddGroup(qa, dev)), "");
    EXPECT_EQ(Logon_Refusal("ann", "pw"), "");
    // Her session counts her in every group that holds her, however deep.
    ZTSession* session = Logon("ann", "pw");
    ASSERT_NE(session, nullptr) << Server_Error();
    EXPECT_EQ(Ztint_Take([&] { char** a = nullptr; ZTSession_GetUserGroups(session, &a); return a; }()),
              (Strings{"dev", "everyone", "qa"}));
    ZTInt_Session_Free(session);
    EXPECT_EQ(Outcome(ZTGroup_AddGroup(dev, qa)),
              "ZTGroup_AddGroup: group \"qa\" cannot go into group \"dev\": \"dev\" is inside \"qa\" already");
    EXPECT_EQ(Outcome(ZTGroup_AddGroup(dev, dev)),
              "ZTGroup_AddGroup: group \"dev\" cannot go into group \"dev\": \"dev\" is that group itself");
    EXPECT_EQ(Names([&] { ZTUsers* u = nullptr; ZTGroup_GetUsers(dev, &u); return u; }()), Strings{"ann"});
    EXPECT_EQ(Names([&] { ZTGroups* g = nullptr; ZTGroup_GetGroups(qa, &g); return g; }()), Strings{"dev"});
    EXPECT_EQ(Names([&] { ZTGroups* g = nullptr; ZTUser_GetGroups(ann, &g); return g; }()), Strings{"dev"});
    EXPECT_EQ(Names([&] { ZTDatabases* d = nullptr; ZTGroup_GetSubscribedDatabases(dev, &d); return d; }()),
              Strings{});
    EXPECT_EQ(Names([&] { ZTDatabases* d = nullptr; ZTGroup_GetAllSubscribedDatabases(dev, &d); return d; }()),
              Strings{"DEMO"});
    EXPECT_EQ(Names([&] { ZTDatabases* d = nullptr; ZTUser_GetAllSubscribedDatabases(ann, &d); return d; }()),
              Strings{"DEMO"});
    EXPECT_EQ(Names([&] { ZTGroups* g = nullptr; ZTDatabase_GetSubscribedGroups(demo, &g); return g; }()),
              Strings{"qa"});
    EXPECT_EQ(Names([&] { ZTUsers* u = nullptr; ZTDatabase_GetAllUsers(demo, &u, 0); return u; }()),
              (Strings{"ann", "zentrak"}));

    // An inactive group passes nothing on; removing the link does the same.
    EXPECT_EQ(Outcome(ZTGroup_SetActive(qa, 0)), "");
    EXPECT_EQ(Logon_Refusal("ann", "pw"), "ztintsvr: logon refused for user \"ann\": not subscribed to database \"DEMO\"");
    EXPECT_EQ(Ztint_Take([&] { char** a = nullptr; ZTSession_GetAllGroups(Session, &a, 0); return a; }()),
              (Strings{"dev", "everyone"}));
    EXPECT_EQ(Outcome(ZTGroup_SetActive(qa, 1)), "");
    EXPECT_EQ(Logon_Refusal("ann", "pw"), "");
    EXPECT_EQ(Outcome(ZTGroup_RemoveGroup(qa, dev)), "");
    EXPECT_NE(Logon_Refusal("ann", "pw"), "");

    // Renamed, the group keeps its members.
    EXPECT_EQ(Outcome(ZTGroup_SetName(dev, "developers")), "");
    EXPECT_EQ(Text(ZTGroup_GetName, dev), "developers");
    EXPECT_EQ(Names([&] { ZTGroups* g = nullptr; ZTUser_GetGroups(ann, &g); return g; }()), Strings{"developers"});
    EXPECT_EQ(Outcome(ZTGroup_SetName(dev, "qa")), "ZTGroup_SetName: a group \"qa\" exists already");
    EXPECT_EQ(Outcome(ZTGroup_RemoveUser(dev, ann)), "");
    EXPECT_EQ(Outcome(ZTGroup_RemoveUser(dev, ann)), "ZTGroup_RemoveUser: user \"ann\" is not in group \"developers\"");

    ZTInt_Database_Free(demo);
    ZTInt_Group_Free(qa);
    ZTInt_Group_Free(dev);
    ZTInt_User_Free(ann);
}

TEST_F(Ztint_Admin_Test, EveryoneAndAllDatabasesReachEveryUser)
{
    ZTUser* bob = New_User("bob");
    EXPECT_NE(Logon_Refusal("bob", "pw"), "");
    char* name = nullptr;
    ASSERT_EQ(ZTAdminSession_GetEveryoneGroupName(Admin, &name), 0);
    EXPECT_EQ(Ztint_Take(name), "everyone");
    ZTGroup* everyone = nullptr;
    ASSERT_EQ(ZTAdminSession_GetGroup(Admin, &everyone, "everyone"), 0) << Server_Error();
    EXPECT_EQ(Outcome(ZTGroup_AddUser(everyone, bob)),
              "ZTGroup_AddUser: every user belongs to the group \"everyone\" without being added");
    EXPECT_EQ(Names([&] { ZTUsers* u = nullptr; ZTGroup_GetUsers(everyone, &u); return u; }()),
              (Strings{"bob", "zentrak"}));
    EXPECT_EQ(Outcome(ZTGroup_SetSubscribedToAllDatabases(everyone, 1)), "");
    EXPECT_TRUE(Flag(ZTGroup_IsSubscribedToAllDatabases, everyone));
    EXPECT_EQ(Logon_Refusal("bob", "pw"), "");
    EXPECT_EQ(Outcome(ZTGroup_UnsubscribeAllDatabases(everyone)), "");
    EXPECT_NE(Logon_Refusal("bob", "pw"), "");

    EXPECT_EQ(Outcome(ZTUser_SetSubscribedToAllDatabases(bob, 1)), "");
    EXPECT_TRUE(Flag(ZTUser_IsSubscribedToAllDatabases, bob));
    EXPECT_EQ(Logon_Refusal("bob", "pw"), "");
    ZTInt_Group_Free(everyone);
    ZTInt_User_Free(bob);
}

TEST_F(Ztint_Admin_Test, ANewUserDatabaseIsCreatedAndLoggedOnTo)
{
    ASSERT_EQ(Create_Database(Admin, "NEWDB"), "NEWDB");
    const struct {
        const char* Name;
        std::string Expected;
    } refused[] = {
        {"NEWDB", "a database \"NEWDB\" exists already"},
        {"bad;name", "database name \"bad;name\": a letter, then up to 15 letters, digits or underscores"},
        {"", "database name \"\": a letter, then up to 15 letters, digits or underscores"},
    };
    for (const auto& c : refused)
        EXPECT_EQ(Create_Database(Admin, c.Name), "refused: ZTAdminSession_InstallAddDbSetEx: " + c.Expected);
    EXPECT_EQ(Names([&] { ZTDatabases* d = nullptr; ZTAdminSession_GetDatabases(Admin, &d); return d; }()),
              (Strings{"DEMO", "NEWDB"}));

    ZTDatabase* fresh = Database("NEWDB");
    EXPECT_EQ(Outcome(ZTDatabase_SetDescription(fresh, "Second project's defects")), "");
    EXPECT_EQ(Text(ZTDatabase_GetDescription, fresh), "Second project's defects");
    EXPECT_EQ(Logon_Refusal("zentrak", "zentrak", "NEWDB"),
              "ztintsvr: logon refused for user \"zentrak\": not subscribed to database \"NEWDB\"");
    ZTUser* root = nullptr;
    ASSERT_EQ(ZTAdminSession_GetUser(Admin, &root, "zentrak"), 0);
    EXPECT_EQ(Outcome(ZTUser_SubscribeDatabase(root, fresh)), "");

    // The session lists both databases, with their descriptions.
    ZTDatabaseDescs* descs = nullptr;
    ASSERT_EQ(ZTSession_GetAccessibleDatabases(Session, &descs, "", "", ""), 0) << Server_Error();
    ZTInt_LONG count = 0;
    EXPECT_EQ(ZTDatabaseDescs_Count(descs, &count), 0);
    EXPECT_EQ(count, 2);
    ZTDatabaseDesc* desc = nullptr;
    ASSERT_EQ(ZTDatabaseDescs_ItemByName(descs, &desc, "NEWDB"), 0) << Server_Error();
    EXPECT_EQ(Text(ZTDatabaseDesc_GetDescription, desc), "Second project's defects");
    EXPECT_EQ(Text(ZTDatabaseDesc_GetDatabaseSetName, desc), "MASTER");
    ZTInt_DatabaseDesc_Free(desc);
    ZTInt_DatabaseDescs_Free(descs);
    ASSERT_EQ(ZTSession_GetAccessibleDatabases(Session, &descs, "MASTER", "zentrak", "DEMO"), 0) << Server_Error();
    EXPECT_EQ(ZTDatabaseDescs_Count(descs, &count), 0);
    EXPECT_EQ(count, 1);
    ZTInt_DatabaseDescs_Free(descs);
    EXPECT_EQ(Outcome(ZTSession_GetAccessibleDatabases(Session, &descs, "NOSET", "", "")),
              "ZTSession_GetAccessibleDatabases: no database set \"NOSET\"");
    EXPECT_EQ(Ztint_Take([&] { char** a = nullptr; ZTSession_GetInstalledDbSets(Session, &a); return a; }()),
              Strings{"MASTER"});

    // Records of the new database carry its name.
    ZTInt_Session_Free(Session);
    ASSERT_EQ(ZTZentrak_SessionLogon(Zentrak, &Session, "", "zentrak", "zentrak", "NEWDB", "MASTER", 14), 0);
    EXPECT_EQ(Submit({{"Headline", "first in NEWDB"}}), "NEWDB00000001");
    ZTInt_User_Free(root);
    ZTInt_Database_Free(fresh);
}

}  // namespace
