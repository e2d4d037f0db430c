// Mdl_Admin: an administrator's logon to a database set, and the administration of its
// users, groups, subscriptions and user databases.
//
// Access: a user may log on to a user database when subscribed to it directly, when
// subscribed to all databases, or through an active group that is (the "everyone"
// group holds every user; a group inside another passes the outer group's
// subscriptions on to its members). Every change is one transaction; every name is
// bound as a value, so a name with quotes or SQL text is stored as given.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "server/model/mdl_store.h"
#include "ztint_values.h"

// The group every user of a set belongs to without being added.
inline constexpr char kMdl_Everyone[] = "everyone";

struct Mdl_Group {
    std::string Name;
    bool Active = true;
    bool All_Databases = false;
};

// Who a subscription is for: a user or a group.
struct Mdl_Member {
    enum class Kind { User, Group };
    Kind Is;
    std::string Name;
};

// The user fields an administrator sets as text.
enum class Mdl_User_Text { Full_Name, Email, Phone, Misc };

class Mdl_Admin {
public:
    Mdl_Admin(Mdl_Server& server, std::shared_ptr<Sto_Connection> store, std::string set, std::string login)
        : Server(server), Store(std::move(store)), Set(std::move(set)), Login(std::move(login))
    {
    }

    const std::string& Set_Name() const { return Set; }
    const std::string& Login_Name() const { return Login; }
    // The administrator as stored now; refused unless still an active superuser or
    // user maintainer (rights taken away end the administration at once).
    Mdl_User Administrator() const;

    // Users. Each refuses with an Mdl_Refusal when the user does not exist.
    std::vector<std::string> User_Names(bool include_inactive) const;
    Mdl_User User(const std::string& login) const;
    void Create_User(const std::string& login);
    void Set_User_Text(const std::string& login, Mdl_User_Text which, const std::string& value);
    void Set_Password(const std::string& login, const std::string& password);
    void Set_Active(const std::string& login, bool active);
    bool Privilege(const std::string& login, ZTInt_Privilege privilege) const;
    void Set_Privilege(const std::string& login, ZTInt_Privilege privilege, bool granted);
    std::vector<std::string> Groups_Of(const std::string& login) const;
    // "" when login is an active user whose password is password, else why not.
    std::string Credentials_Problem(const std::string& login, const std::string& password) const;
    // Every user database login may log on to, however subscribed.
    std::vector<std::string> Accessible(const std::string& login) const;

    // Groups.
    std::vector<std::string> Group_Names(bool include_inactive) const;
    Mdl_Group Group(const std::string& name) const;
    void Create_Group(const std::string& name);
    void Rename_Group(const std::string& name, const std::string& new_name);
    void Set_Group_Active(const std::string& name, bool active);
    std::vector<std::string> Group_Users(const std::string& name) const;
    std::vector<std::string> Group_Groups(const std::string& name) const;
    void Add_User(const std::string& group, const std::string& login);
    void Remove_User(const std::string& group, const std::string& login);
    // Refused when it would make a cycle (a group inside itself).
    void Add_Group(const std::string& group, const std::string& member);
    void Remove_Group(const std::string& group, const std::string& member);

    // Subscriptions of a user or a group.
    std::vector<std::string> Subscriptions(const Mdl_Member& member) const;
    void Subscribe(const Mdl_Member& member, const std::string& database, bool subscribed);
    void Unsubscribe_All(const Mdl_Member& member);
    bool All_Databases(const Mdl_Member& member) const;
    void Set_All_Databases(const Mdl_Member& member, bool all);
    // Every database a group's members reach through it (its own and its outer groups').
    std::vector<std::string> Group_Databases(const std::string& name) const;

    // User databases.
    std::vector<std::string> Database_Names() const;
    void Check_Database(const std::string& name) const;
    std::string Description(const std::string& database) const;
    void Set_Description(const std::string& database, const std::string& description);
    std::vector<std::string> Subscribed_Users(const std::string& database) const;
    std::vector<std::string> Subscribed_Groups(const std::string& database) const;
    // Every user who may log on to the database.
    std::vector<std::string> Database_Users(const std::string& database, bool include_inactive) const;
    // A new user database of the sample schema; superusers only.
    void Create_Database(const std::string& name, const std::string& description);

private:
    void Check_User(const std::string& login) const;
    void Check_Group(const std::string& name) const;
    void Check_Superuser_Right(const char* what) const;
    // Refused when taking login's superuser power would leave no active superuser.
    void Keep_A_Superuser(const std::string& login) const;
    // The first column of sql's rows; its parameters are the set, then key.
    std::vector<std::string> Names(const std::string& sql) const;
    std::vector<std::string> Names(const std::string& sql, const std::string& key) const;

    Mdl_Server& Server;
    std::shared_ptr<Sto_Connection> Store;
    std::string Set, Login;
};

// The tables of administration, made when missing.
void Mdl_Create_Admin_Tables(Sto_Connection& store);
// The user databases login may log on to, by name.
std::vector<std::string> Mdl_Accessible_Databases(Sto_Connection& store, const std::string& set,
                                                  const std::string& login);
// The active groups login belongs to, by name: "everyone", the groups it was added to,
// and every active group holding one of those, at any depth.
std::vector<std::string> Mdl_Member_Of(Sto_Connection& store, const std::string& set, const std::string& login);
[[nodiscard]] bool Mdl_May_Use(Sto_Connection& store, const std::string& set, const std::string& login,
                               const std::string& database);
// The users (or groups) of a set, active ones only unless include_inactive.
std::vector<std::string> Mdl_User_Names(Sto_Connection& store, const std::string& set, bool include_inactive);
std::vector<std::string> Mdl_Group_Names(Sto_Connection& store, const std::string& set, bool include_inactive);
// The description of a user database, "" when it has none.
std::string Mdl_Database_Description(Sto_Connection& store, const std::string& set, const std::string& database);
