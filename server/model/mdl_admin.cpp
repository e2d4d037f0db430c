#include "server/model/mdl_admin.h"

#include <algorithm>
#include <cctype>

#include "server/model/mdl_session.h"

namespace {

constexpr char kAdminTables[] = R"SQL(
CREATE TABLE IF NOT EXISTS zt_user_flags(
  dbset TEXT NOT NULL, login TEXT NOT NULL, flag TEXT NOT NULL,
  PRIMARY KEY(dbset, login, flag), FOREIGN KEY(dbset, login) REFERENCES zt_users(dbset, login));
CREATE TABLE IF NOT EXISTS zt_groups(
  dbset TEXT NOT NULL REFERENCES zt_dbsets(name), name TEXT NOT NULL,
  active INTEGER NOT NULL DEFAULT 1, all_databases INTEGER NOT NULL DEFAULT 0,
  PRIMARY KEY(dbset, name));
CREATE TABLE IF NOT EXISTS zt_group_groups(
  dbset TEXT NOT NULL, group_name TEXT NOT NULL, member TEXT NOT NULL,
  PRIMARY KEY(dbset, group_name, member),
  FOREIGN KEY(dbset, group_name) REFERENCES zt_groups(dbset, name) ON UPDATE CASCADE,
  FOREIGN KEY(dbset, member) REFERENCES zt_groups(dbset, name) ON UPDATE CASCADE);
CREATE TABLE IF NOT EXISTS zt_group_subscriptions(
  dbset TEXT NOT NULL, group_name TEXT NOT NULL, database TEXT NOT NULL,
  PRIMARY KEY(dbset, group_name, database),
  FOREIGN KEY(dbset, group_name) REFERENCES zt_groups(dbset, name) ON UPDATE CASCADE,
  FOREIGN KEY(dbset, database) REFERENCES zt_databases(dbset, name));
CREATE TABLE IF NOT EXISTS zt_database_descriptions(
  dbset TEXT NOT NULL, database TEXT NOT NULL, description TEXT NOT NULL,
  PRIMARY KEY(dbset, database), FOREIGN KEY(dbset, database) REFERENCES zt_databases(dbset, name));
)SQL";

// The active groups a user belongs to: "everyone", the groups naming the user, and
// every active group holding one of those.
constexpr char kMemberOf[] = R"SQL(
WITH RECURSIVE p(dbset, login) AS (SELECT ?, ?),
member_of(name) AS (
  SELECT g.name FROM zt_groups g, p WHERE g.dbset = p.dbset AND g.active = 1 AND
    (g.name = 'everyone' OR EXISTS (SELECT 1 FROM zt_group_members m
                                    WHERE m.dbset = p.dbset AND m.group_name = g.name AND m.login = p.login))
  UNION
  SELECT g.name FROM member_of, zt_group_groups n, zt_groups g, p
  WHERE n.dbset = p.dbset AND n.member = member_of.name AND g.dbset = p.dbset AND g.name = n.group_name
    AND g.active = 1)
)SQL";

constexpr char kAccessible[] = R"SQL(
SELECT d.name FROM zt_databases d, p WHERE d.dbset = p.dbset AND (
  EXISTS (SELECT 1 FROM zt_subscriptions s WHERE s.dbset = p.dbset AND s.login = p.login AND s.database = d.name)
  OR EXISTS (SELECT 1 FROM zt_user_flags f WHERE f.dbset = p.dbset AND f.login = p.login
             AND f.flag = 'all_databases')
  OR EXISTS (SELECT 1 FROM member_of m, zt_groups g WHERE g.dbset = p.dbset AND g.name = m.name
             AND g.all_databases = 1)
  OR EXISTS (SELECT 1 FROM member_of m, zt_group_subscriptions s WHERE s.dbset = p.dbset
             AND s.group_name = m.name AND s.database = d.name))
ORDER BY d.name
)SQL";

// A group and the active groups that hold it, outwards.
constexpr char kGroupAndOuter[] = R"SQL(
WITH RECURSIVE p(dbset, start) AS (SELECT ?, ?),
member_of(name) AS (
  SELECT g.name FROM zt_groups g, p WHERE g.dbset = p.dbset AND g.name = p.start AND g.active = 1
  UNION
  SELECT g.name FROM member_of, zt_group_groups n, zt_groups g, p
  WHERE n.dbset = p.dbset AND n.member = member_of.name AND g.dbset = p.dbset AND g.name = n.group_name
    AND g.active = 1)
SELECT d.name FROM zt_databases d, p WHERE d.dbset = p.dbset AND (
  EXISTS (SELECT 1 FROM member_of m, zt_groups g WHERE g.dbset = p.dbset AND g.name = m.name
          AND g.all_databases = 1)
  OR EXISTS (SELECT 1 FROM member_of m, zt_group_subscriptions s WHERE s.dbset = p.dbset
             AND s.group_name = m.name AND s.database = d.name))
ORDER BY d.name
)SQL";

// The groups inside a group, at any depth, the group itself included.
constexpr char kGroupAndInner[] = R"SQL(
WITH RECURSIVE p(dbset, start) AS (SELECT ?, ?),
inner_group(name) AS (
  SELECT p.start FROM p
  UNION
  SELECT n.member FROM inner_group, zt_group_groups n, p
  WHERE n.dbset = p.dbset AND n.group_name = inner_group.name)
SELECT name FROM inner_group ORDER BY name
)SQL";

const char* Flag_Name(ZTInt_Privilege privilege)
{
    switch (privilege) {
    case ZTInt_PRIV_USER_MAINTAINER: return "user_maintainer";
    case ZTInt_PRIV_APP_BUILDER: return "app_builder";
    case ZTInt_PRIV_SUPER_USER: break;
    }
    throw Mdl_Refusal("no privilege " + std::to_string(static_cast<int>(privilege)));
}

constexpr char kAllDatabases[] = "all_databases";

const char* Column_Of(Mdl_User_Text which)
{
    switch (which) {
    case Mdl_User_Text::Full_Name: return "full_name";
    case Mdl_User_Text::Email: return "email";
    case Mdl_User_Text::Phone: return "phone";
    case Mdl_User_Text::Misc: return "misc";
    }
    return "misc";
}

std::string Quoted(const std::string& name)
{
    return "\"" + name + "\"";
}

// A user or group name: any text of 1 to 128 bytes without control characters.
void Check_Name(const std::string& name, const char* what)
{
    if (name.empty() || name.size() > 128)
        throw Mdl_Refusal(std::string("a ") + what + " name has 1 to 128 characters");
    for (char c : name)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
            throw Mdl_Refusal(std::string("a ") + what + " name has no control characters");
}

// A database name begins the display ids of its records: a letter, then up to 15
// letters, digits or '_'.
void Check_Database_Name(const std::string& name)
{
    const bool plain = !name.empty() && name.size() <= 16 && std::isalpha(static_cast<unsigned char>(name[0])) &&
                       std::all_of(name.begin(), name.end(), [](char c) {
                           return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
                       });
    if (!plain)
        throw Mdl_Refusal("database name " + Quoted(name) +
                          ": a letter, then up to 15 letters, digits or underscores");
}

std::vector<std::string> Column(Sto_Statement& query)
{
    std::vector<std::string> names;
    while (query.Next())
        names.push_back(query.Text(0));
    return names;
}

}  // namespace

void Mdl_Create_Admin_Tables(Sto_Connection& store)
{
    store.Execute_Script(kAdminTables);
}

std::vector<std::string> Mdl_Accessible_Databases(Sto_Connection& store, const std::string& set,
                                                  const std::string& login)
{
    Sto_Statement& query = store.Prepare(std::string(kMemberOf) + kAccessible);
    query.Bind(1, set).Bind(2, login);
    return Column(query);
}

std::vector<std::string> Mdl_Member_Of(Sto_Connection& store, const std::string& set, const std::string& login)
{
    Sto_Statement& query = store.Prepare(std::string(kMemberOf) + "SELECT name FROM member_of ORDER BY name");
    query.Bind(1, set).Bind(2, login);
    return Column(query);
}

bool Mdl_May_Use(Sto_Connection& store, const std::string& set, const std::string& login,
                 const std::string& database)
{
    const std::vector<std::string> names = Mdl_Accessible_Databases(store, set, login);
    return std::find(names.begin(), names.end(), database) != names.end();
}

std::vector<std::string> Mdl_User_Names(Sto_Connection& store, const std::string& set, bool include_inactive)
{
    Sto_Statement& query = store.Prepare(
        "SELECT login FROM zt_users WHERE dbset = ? AND (active = 1 OR ? = 1) ORDER BY login");
    query.Bind(1, set).Bind(2, int64_t{include_inactive});
    return Column(query);
}

std::vector<std::string> Mdl_Group_Names(Sto_Connection& store, const std::string& set, bool include_inactive)
{
    Sto_Statement& query = store.Prepare(
        "SELECT name FROM zt_groups WHERE dbset = ? AND (active = 1 OR ? = 1) ORDER BY name");
    query.Bind(1, set).Bind(2, int64_t{include_inactive});
    return Column(query);
}

std::string Mdl_Database_Description(Sto_Connection& store, const std::string& set, const std::string& database)
{
    Sto_Statement& query =
        store.Prepare("SELECT description FROM zt_database_descriptions WHERE dbset = ? AND database = ?");
    query.Bind(1, set).Bind(2, database);
    return query.Next() ? query.Text(0) : "";
}

// ---- the administrator ------------------------------------------------------------

Mdl_User Mdl_Admin::Administrator() const
{
    std::optional<Mdl_User> admin = Mdl_Read_User(*Store, Set, Login);
    if (!admin || !admin->Active)
        throw Mdl_Refusal("user " + Quoted(Login) + " may no longer administer: inactive or removed");
    if (!admin->Super_User && !Privilege(Login, ZTInt_PRIV_USER_MAINTAINER))
        throw Mdl_Refusal("user " + Quoted(Login) + " may not administer: neither superuser nor user maintainer");
    return *admin;
}

void Mdl_Admin::Check_Superuser_Right(const char* what) const
{
    if (!Administrator().Super_User)
        throw Mdl_Refusal(std::string("only a superuser ") + what);
}

std::vector<std::string> Mdl_Admin::Names(const std::string& sql) const
{
    Administrator();
    Sto_Statement& query = Store->Prepare(sql);
    query.Bind(1, Set);
    return Column(query);
}

std::vector<std::string> Mdl_Admin::Names(const std::string& sql, const std::string& key) const
{
    Administrator();
    Sto_Statement& query = Store->Prepare(sql);
    query.Bind(1, Set).Bind(2, key);
    return Column(query);
}

// ---- users --------------------------------------------------------------------------

std::vector<std::string> Mdl_Admin::User_Names(bool include_inactive) const
{
    Administrator();
    return Mdl_User_Names(*Store, Set, include_inactive);
}

void Mdl_Admin::Check_User(const std::string& login) const
{
    if (!Mdl_Read_User(*Store, Set, login))
        throw Mdl_Refusal("no user " + Quoted(login) + " in database set " + Quoted(Set));
}

Mdl_User Mdl_Admin::User(const std::string& login) const
{
    Administrator();
    std::optional<Mdl_User> user = Mdl_Read_User(*Store, Set, login);
    if (!user)
        throw Mdl_Refusal("no user " + Quoted(login) + " in database set " + Quoted(Set));
    return *user;
}

// A new user is active, has no privileges, no subscriptions and a password that no
// text matches (an empty hash) until one is set.
void Mdl_Admin::Create_User(const std::string& login)
{
    Check_Name(login, "user");
    Sto_Transaction transaction(*Store);
    Administrator();
    if (Mdl_Read_User(*Store, Set, login))
        throw Mdl_Refusal("a user " + Quoted(login) + " exists already");
    Store->Prepare("INSERT INTO zt_users(dbset, login, password_hash, full_name) VALUES(?, ?, '', ?)")
        .Bind(1, Set).Bind(2, login).Bind(3, login)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Set_User_Text(const std::string& login, Mdl_User_Text which, const std::string& value)
{
    Sto_Transaction transaction(*Store);
    if (User(login).Super_User)
        Check_Superuser_Right("changes a superuser");
    Store->Prepare(std::string("UPDATE zt_users SET ") + Column_Of(which) + " = ? WHERE dbset = ? AND login = ?")
        .Bind(1, value).Bind(2, Set).Bind(3, login)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Set_Password(const std::string& login, const std::string& password)
{
    const std::string hash = Mdl_Hash_Password(password);  // slow: before the transaction
    Sto_Transaction transaction(*Store);
    if (User(login).Super_User)
        Check_Superuser_Right("changes a superuser's password");
    Store->Prepare("UPDATE zt_users SET password_hash = ? WHERE dbset = ? AND login = ?")
        .Bind(1, hash).Bind(2, Set).Bind(3, login)
        .Run();
    transaction.Commit();
    Server.Forget_Password(Set, login);
}

void Mdl_Admin::Keep_A_Superuser(const std::string& login) const
{
    const Mdl_User user = User(login);
    if (!user.Super_User || !user.Active)
        return;
    Sto_Statement& others = Store->Prepare(
        "SELECT count(*) FROM zt_users WHERE dbset = ? AND superuser = 1 AND active = 1 AND login <> ?");
    others.Bind(1, Set).Bind(2, login);
    if (!others.Next() || others.Number(0) == 0)
        throw Mdl_Refusal("user " + Quoted(login) + " is the last active superuser of database set " +
                          Quoted(Set));
}

void Mdl_Admin::Set_Active(const std::string& login, bool active)
{
    Sto_Transaction transaction(*Store);
    if (User(login).Super_User)
        Check_Superuser_Right("changes a superuser");
    if (!active)
        Keep_A_Superuser(login);
    Store->Prepare("UPDATE zt_users SET active = ? WHERE dbset = ? AND login = ?")
        .Bind(1, int64_t{active}).Bind(2, Set).Bind(3, login)
        .Run();
    transaction.Commit();
}

bool Mdl_Admin::Privilege(const std::string& login, ZTInt_Privilege privilege) const
{
    const std::optional<Mdl_User> user = Mdl_Read_User(*Store, Set, login);
    if (!user)
        throw Mdl_Refusal("no user " + Quoted(login) + " in database set " + Quoted(Set));
    if (privilege == ZTInt_PRIV_SUPER_USER)
        return user->Super_User;
    Sto_Statement& query =
        Store->Prepare("SELECT 1 FROM zt_user_flags WHERE dbset = ? AND login = ? AND flag = ?");
    query.Bind(1, Set).Bind(2, login).Bind(3, Flag_Name(privilege));
    return query.Next();
}

void Mdl_Admin::Set_Privilege(const std::string& login, ZTInt_Privilege privilege, bool granted)
{
    Sto_Transaction transaction(*Store);
    const Mdl_User user = User(login);
    if (privilege == ZTInt_PRIV_SUPER_USER || user.Super_User)
        Check_Superuser_Right(privilege == ZTInt_PRIV_SUPER_USER ? "grants or takes the superuser privilege"
                                                                 : "changes a superuser");
    if (privilege == ZTInt_PRIV_SUPER_USER) {
        if (!granted)
            Keep_A_Superuser(login);
        Store->Prepare("UPDATE zt_users SET superuser = ? WHERE dbset = ? AND login = ?")
            .Bind(1, int64_t{granted}).Bind(2, Set).Bind(3, login)
            .Run();
    } else {
        Store->Prepare(granted ? "INSERT INTO zt_user_flags(dbset, login, flag) VALUES(?, ?, ?) ON CONFLICT DO NOTHING"
                               : "DELETE FROM zt_user_flags WHERE dbset = ? AND login = ? AND flag = ?")
            .Bind(1, Set).Bind(2, login).Bind(3, Flag_Name(privilege))
            .Run();
    }
    transaction.Commit();
}

std::vector<std::string> Mdl_Admin::Groups_Of(const std::string& login) const
{
    User(login);
    return Names("SELECT group_name FROM zt_group_members WHERE dbset = ? AND login = ? ORDER BY group_name", login);
}

std::string Mdl_Admin::Credentials_Problem(const std::string& login, const std::string& password) const
{
    Administrator();
    const std::optional<Mdl_User> user = Mdl_Read_User(*Store, Set, login);
    if (!user || !Mdl_Password_Matches(user->Password_Hash, password))
        return "wrong user name or password";
    return user->Active ? "" : "the user is inactive";
}

std::vector<std::string> Mdl_Admin::Accessible(const std::string& login) const
{
    User(login);
    return Mdl_Accessible_Databases(*Store, Set, login);
}

// ---- groups -------------------------------------------------------------------------

std::vector<std::string> Mdl_Admin::Group_Names(bool include_inactive) const
{
    Administrator();
    return Mdl_Group_Names(*Store, Set, include_inactive);
}

Mdl_Group Mdl_Admin::Group(const std::string& name) const
{
    Administrator();
    Sto_Statement& query =
        Store->Prepare("SELECT active, all_databases FROM zt_groups WHERE dbset = ? AND name = ?");
    query.Bind(1, Set).Bind(2, name);
    if (!query.Next())
        throw Mdl_Refusal("no group " + Quoted(name) + " in database set " + Quoted(Set));
    return Mdl_Group{name, query.Number(0) != 0, query.Number(1) != 0};
}

void Mdl_Admin::Check_Group(const std::string& name) const
{
    Group(name);
}

void Mdl_Admin::Create_Group(const std::string& name)
{
    Check_Name(name, "group");
    Sto_Transaction transaction(*Store);
    Administrator();
    Sto_Statement& exists = Store->Prepare("SELECT 1 FROM zt_groups WHERE dbset = ? AND name = ?");
    exists.Bind(1, Set).Bind(2, name);
    if (exists.Next())
        throw Mdl_Refusal("a group " + Quoted(name) + " exists already");
    Store->Prepare("INSERT INTO zt_groups(dbset, name) VALUES(?, ?)").Bind(1, Set).Bind(2, name).Run();
    transaction.Commit();
}

void Mdl_Admin::Rename_Group(const std::string& name, const std::string& new_name)
{
    Check_Name(new_name, "group");
    Sto_Transaction transaction(*Store);
    Check_Group(name);
    if (name == kMdl_Everyone)
        throw Mdl_Refusal("the group \"everyone\" keeps its name");
    Sto_Statement& exists = Store->Prepare("SELECT 1 FROM zt_groups WHERE dbset = ? AND name = ?");
    exists.Bind(1, Set).Bind(2, new_name);
    if (exists.Next())
        throw Mdl_Refusal("a group " + Quoted(new_name) + " exists already");
    Store->Prepare("UPDATE zt_groups SET name = ? WHERE dbset = ? AND name = ?")
        .Bind(1, new_name).Bind(2, Set).Bind(3, name)
        .Run();
    Store->Prepare("UPDATE zt_group_members SET group_name = ? WHERE dbset = ? AND group_name = ?")
        .Bind(1, new_name).Bind(2, Set).Bind(3, name)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Set_Group_Active(const std::string& name, bool active)
{
    Sto_Transaction transaction(*Store);
    Check_Group(name);
    Store->Prepare("UPDATE zt_groups SET active = ? WHERE dbset = ? AND name = ?")
        .Bind(1, int64_t{active}).Bind(2, Set).Bind(3, name)
        .Run();
    transaction.Commit();
}

std::vector<std::string> Mdl_Admin::Group_Users(const std::string& name) const
{
    Check_Group(name);
    if (name == kMdl_Everyone)
        return Mdl_User_Names(*Store, Set, true);
    return Names("SELECT login FROM zt_group_members WHERE dbset = ? AND group_name = ? ORDER BY login", name);
}

std::vector<std::string> Mdl_Admin::Group_Groups(const std::string& name) const
{
    Check_Group(name);
    return Names("SELECT member FROM zt_group_groups WHERE dbset = ? AND group_name = ? ORDER BY member", name);
}

void Mdl_Admin::Add_User(const std::string& group, const std::string& login)
{
    Sto_Transaction transaction(*Store);
    Check_Group(group);
    Check_User(login);
    if (group == kMdl_Everyone)
        throw Mdl_Refusal("every user belongs to the group \"everyone\" without being added");
    Sto_Statement& member =
        Store->Prepare("SELECT 1 FROM zt_group_members WHERE dbset = ? AND group_name = ? AND login = ?");
    member.Bind(1, Set).Bind(2, group).Bind(3, login);
    if (member.Next())
        throw Mdl_Refusal("user " + Quoted(login) + " is in group " + Quoted(group) + " already");
    Store->Prepare("INSERT INTO zt_group_members(dbset, group_name, login) VALUES(?, ?, ?)")
        .Bind(1, Set).Bind(2, group).Bind(3, login)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Remove_User(const std::string& group, const std::string& login)
{
    Sto_Transaction transaction(*Store);
    Check_Group(group);
    Check_User(login);
    Sto_Statement& member =
        Store->Prepare("SELECT 1 FROM zt_group_members WHERE dbset = ? AND group_name = ? AND login = ?");
    member.Bind(1, Set).Bind(2, group).Bind(3, login);
    if (!member.Next())
        throw Mdl_Refusal("user " + Quoted(login) + " is not in group " + Quoted(group));
    Store->Prepare("DELETE FROM zt_group_members WHERE dbset = ? AND group_name = ? AND login = ?")
        .Bind(1, Set).Bind(2, group).Bind(3, login)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Add_Group(const std::string& group, const std::string& member)
{
    Sto_Transaction transaction(*Store);
    Check_Group(group);
    Check_Group(member);
    if (member == kMdl_Everyone)
        throw Mdl_Refusal("the group \"everyone\" goes into no other group");
    // group inside member (at any depth), or member itself: a cycle.
    Sto_Statement& inner = Store->Prepare(kGroupAndInner);
    inner.Bind(1, Set).Bind(2, member);
    for (const std::string& name : Column(inner))
        if (name == group)
            throw Mdl_Refusal("group " + Quoted(member) + " cannot go into group " + Quoted(group) + ": " +
                              Quoted(group) + " is " +
                              (group == member ? "that group itself" : "inside " + Quoted(member) + " already"));
    Sto_Statement& exists =
        Store->Prepare("SELECT 1 FROM zt_group_groups WHERE dbset = ? AND group_name = ? AND member = ?");
    exists.Bind(1, Set).Bind(2, group).Bind(3, member);
    if (exists.Next())
        throw Mdl_Refusal("group " + Quoted(member) + " is in group " + Quoted(group) + " already");
    Store->Prepare("INSERT INTO zt_group_groups(dbset, group_name, member) VALUES(?, ?, ?)")
        .Bind(1, Set).Bind(2, group).Bind(3, member)
        .Run();
    transaction.Commit();
}

void Mdl_Admin::Remove_Group(const std::string& group, const std::string& member)
{
    Sto_Transaction transaction(*Store);
    Check_Group(group);
    Sto_Statement& exists =
        Store->Prepare("SELECT 1 FROM zt_group_groups WHERE dbset = ? AND group_name = ? AND member = ?");
    exists.Bind(1, Set).Bind(2, group).Bind(3, member);
    if (!exists.Next())
        throw Mdl_Refusal("group " + Quoted(member) + " is not in group " + Quoted(group));
    Store->Prepare("DELETE FROM zt_group_groups WHERE dbset = ? AND group_name = ? AND member = ?")
        .Bind(1, Set).Bind(2, group).Bind(3, member)
        .Run();
    transaction.Commit();
}

// ---- subscriptions --------------------------------------------------------------------

std::vector<std::string> Mdl_Admin::Subscriptions(const Mdl_Member& member) const
{
    if (member.Is == Mdl_Member::Kind::User) {
        User(member.Name);
        return Names("SELECT database FROM zt_subscriptions WHERE dbset = ? AND login = ? ORDER BY database",
                     member.Name);
    }
    Check_Group(member.Name);
    return Names("SELECT database FROM zt_group_subscriptions WHERE dbset = ? AND group_name = ? ORDER BY database",
                 member.Name);
}

void Mdl_Admin::Subscribe(const Mdl_Member& member, const std::string& database, bool subscribed)
{
    Sto_Transaction transaction(*Store);
    const std::vector<std::string> now = Subscriptions(member);
    Check_Database(database);
    const bool is = std::find(now.begin(), now.end(), database) != now.end();
    const std::string who = (member.Is == Mdl_Member::Kind::User ? "user " : "group ") + Quoted(member.Name);
    if (is == subscribed)
        throw Mdl_Refusal(who + (is ? " is subscribed to database " : " is not subscribed to database ") +
                          Quoted(database) + (is ? " already" : ""));
    const bool user = member.Is == Mdl_Member::Kind::User;
    const char* sql = subscribed ? (user ? "INSERT INTO zt_subscriptions(dbset, login, database) VALUES(?, ?, ?)"
                                         : "INSERT INTO zt_group_subscriptions(dbset, group_name, database) "
                                           "VALUES(?, ?, ?)")
                                 : (user ? "DELETE FROM zt_subscriptions WHERE dbset = ? AND login = ? AND database = ?"
                                         : "DELETE FROM zt_group_subscriptions WHERE dbset = ? AND group_name = ? "
                                           "AND database = ?");
    Store->Prepare(sql).Bind(1, Set).Bind(2, member.Name).Bind(3, database).Run();
    transaction.Commit();
}

void Mdl_Admin::Unsubscribe_All(const Mdl_Member& member)
{
    Sto_Transaction transaction(*Store);
    Subscriptions(member);  // the member exists
    const bool user = member.Is == Mdl_Member::Kind::User;
    Store->Prepare(user ? "DELETE FROM zt_subscriptions WHERE dbset = ? AND login = ?"
                        : "DELETE FROM zt_group_subscriptions WHERE dbset = ? AND group_name = ?")
        .Bind(1, Set).Bind(2, member.Name)
        .Run();
    transaction.Commit();
    Set_All_Databases(member, false);
}

bool Mdl_Admin::All_Databases(const Mdl_Member& member) const
{
    if (member.Is == Mdl_Member::Kind::Group)
        return Group(member.Name).All_Databases;
    User(member.Name);
    Sto_Statement& query =
        Store->Prepare("SELECT 1 FROM zt_user_flags WHERE dbset = ? AND login = ? AND flag = ?");
    query.Bind(1, Set).Bind(2, member.Name).Bind(3, kAllDatabases);
    return query.Next();
}

void Mdl_Admin::Set_All_Databases(const Mdl_Member& member, bool all)
{
    Sto_Transaction transaction(*Store);
    All_Databases(member);  // the member exists
    if (member.Is == Mdl_Member::Kind::Group)
        Store->Prepare("UPDATE zt_groups SET all_databases = ? WHERE dbset = ? AND name = ?")
            .Bind(1, int64_t{all}).Bind(2, Set).Bind(3, member.Name)
            .Run();
    else
        Store->Prepare(all ? "INSERT INTO zt_user_flags(dbset, login, flag) VALUES(?, ?, ?) ON CONFLICT DO NOTHING"
                           : "DELETE FROM zt_user_flags WHERE dbset = ? AND login = ? AND flag = ?")
            .Bind(1, Set).Bind(2, member.Name).Bind(3, kAllDatabases)
            .Run();
    transaction.Commit();
}

std::vector<std::string> Mdl_Admin::Group_Databases(const std::string& name) const
{
    Check_Group(name);
    return Names(kGroupAndOuter, name);
}

// ---- databases ------------------------------------------------------------------------

std::vector<std::string> Mdl_Admin::Database_Names() const
{
    return Names("SELECT name FROM zt_databases WHERE dbset = ? ORDER BY name");
}

void Mdl_Admin::Check_Database(const std::string& name) const
{
    const std::vector<std::string> names = Database_Names();
    if (std::find(names.begin(), names.end(), name) == names.end())
        throw Mdl_Refusal("no database " + Quoted(name) + " in database set " + Quoted(Set));
}

std::string Mdl_Admin::Description(const std::string& database) const
{
    Check_Database(database);
    return Mdl_Database_Description(*Store, Set, database);
}

void Mdl_Admin::Set_Description(const std::string& database, const std::string& description)
{
    Sto_Transaction transaction(*Store);
    Check_Database(database);
    Store->Prepare("DELETE FROM zt_database_descriptions WHERE dbset = ? AND database = ?")
        .Bind(1, Set).Bind(2, database)
        .Run();
    Store->Prepare("INSERT INTO zt_database_descriptions(dbset, database, description) VALUES(?, ?, ?)")
        .Bind(1, Set).Bind(2, database).Bind(3, description)
        .Run();
    transaction.Commit();
}

std::vector<std::string> Mdl_Admin::Subscribed_Users(const std::string& database) const
{
    Check_Database(database);
    return Names("SELECT login FROM zt_subscriptions WHERE dbset = ? AND database = ? ORDER BY login", database);
}

std::vector<std::string> Mdl_Admin::Subscribed_Groups(const std::string& database) const
{
    Check_Database(database);
    return Names("SELECT group_name FROM zt_group_subscriptions WHERE dbset = ? AND database = ? ORDER BY group_name",
                 database);
}

std::vector<std::string> Mdl_Admin::Database_Users(const std::string& database, bool include_inactive) const
{
    Check_Database(database);
    std::vector<std::string> users;
    for (const std::string& login : Mdl_User_Names(*Store, Set, include_inactive))
        if (Mdl_May_Use(*Store, Set, login, database))
            users.push_back(login);
    return users;
}

void Mdl_Admin::Create_Database(const std::string& name, const std::string& description)
{
    Check_Database_Name(name);
    Check_Superuser_Right("creates databases");
    const Mdl_Schema schema = Mdl_Schema::Load(Server.Schema_Path());
    Sto_Transaction transaction(*Store);
    const std::vector<std::string> names = Database_Names();
    if (std::find(names.begin(), names.end(), name) != names.end())
        throw Mdl_Refusal("a database " + Quoted(name) + " exists already");
    Store->Prepare("INSERT INTO zt_databases(dbset, name, schema_text) VALUES(?, ?, ?)")
        .Bind(1, Set).Bind(2, name).Bind(3, schema.Text())
        .Run();
    Store->Prepare("INSERT INTO zt_database_descriptions(dbset, database, description) VALUES(?, ?, ?)")
        .Bind(1, Set).Bind(2, name).Bind(3, description)
        .Run();
    transaction.Commit();
}

// ---- the logon ------------------------------------------------------------------------

std::shared_ptr<Mdl_Admin> Mdl_Server::Admin_Logon(const Mdl_Logon& logon, std::string& refusal)
{
    Mdl_User user;
    const std::shared_ptr<Sto_Connection> store = Authenticate(logon, user, refusal);
    if (store == nullptr)
        return nullptr;
    auto admin = std::make_shared<Mdl_Admin>(*this, store, logon.Set, logon.User);
    try {
        admin->Administrator();
    } catch (const Mdl_Refusal& why) {
        refusal = "ztintsvr: administration refused for user \"" + logon.User + "\": " + why.what();
        return nullptr;
    }
    Sto_Transaction transaction(*store);
    store->Prepare("INSERT INTO zt_groups(dbset, name) VALUES(?, ?) ON CONFLICT DO NOTHING")
        .Bind(1, logon.Set).Bind(2, kMdl_Everyone)
        .Run();
    transaction.Commit();
    return admin;
}
