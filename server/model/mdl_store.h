// Mdl_Server: the tracking model's root. It opens the store of each database set
// (see sto_location.h), creates a new one with its tables, the users of the flat user
// file (passwords as salted slow hashes) and a user database per database named
// there, loaded with the sample schema; and it checks logons against those users.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/model/mdl_schema.h"
#include "server/store/sto_engine.h"
#include "server/svr_users.h"

// A user database: its place in the store and its schema.
struct Mdl_Database {
    std::shared_ptr<Sto_Connection> Store;
    std::string Set, Name;
    Mdl_Schema Schema;
};

struct Mdl_User {
    std::string Login, Full_Name, Email, Phone, Misc, Password_Hash;
    bool Active = true;
    bool Super_User = false;
};

struct Mdl_Server_Options {
    Svr_Users First_Users = Svr_Users::Default_Store();  // the users of a new database set
    std::string Schema_Path;                      // the schema of a new user database
};

struct Mdl_Logon {
    std::string User, Password, Database, Set;
};

class Mdl_Session;
class Mdl_Admin;

// The passwords this process has verified, each kept as a digest under a random key of
// the process (keyed BLAKE2b), never as text: a client that logs on and off in a loop
// pays the slow hash once. An entry holds only while the stored hash is the one it was
// verified against; a wrong password always takes the slow way.
class Mdl_Verified_Passwords {
public:
    Mdl_Verified_Passwords();
    [[nodiscard]] bool Matches(const std::string& who, const std::string& hash, const std::string& password);
    // Drops who's entry: a changed password is checked the slow way again.
    void Forget(const std::string& who) { Verified.erase(who); }

private:
    std::string Digest(const std::string& password) const;

    std::string Key;
    std::map<std::string, std::pair<std::string, std::string>> Verified;  // who -> hash, digest
};

class Mdl_Server {
public:
    explicit Mdl_Server(Mdl_Server_Options options) : Options(std::move(options)) {}

    // A session for the logon, or NULL with the refusal text in refusal.
    [[nodiscard]] std::shared_ptr<Mdl_Session> Logon(const Mdl_Logon& logon, std::string& refusal);
    // An administrator's logon to a database set (logon.Database is not used): superusers
    // and user maintainers only. NULL with the refusal text in refusal.
    [[nodiscard]] std::shared_ptr<Mdl_Admin> Admin_Logon(const Mdl_Logon& logon, std::string& refusal);
    // A user's password changed: the verified one is forgotten.
    void Forget_Password(const std::string& set, const std::string& login);
    const std::string& Schema_Path() const { return Options.Schema_Path; }
    // The end of a request: every store lets go of what it read.
    void Finish_Request();
    // Makes the tables of every database set the flat user file names and fills in the
    // sets not there yet (a shared PostgreSQL database before its first server).
    // Safe to run again: a set that exists is left alone. One line a set says what
    // was done; throws Sto_Error when the store cannot be reached.
    [[nodiscard]] std::vector<std::string> Initialise_Stores();

private:
    // The store of the logon's set once its user and password hold, with the user;
    // NULL with the refusal text otherwise.
    std::shared_ptr<Sto_Connection> Authenticate(const Mdl_Logon& logon, Mdl_User& user, std::string& refusal);
    std::shared_ptr<Sto_Connection> Store_Of(const std::string& set, std::string& error);
    bool Names_First_Users(const std::string& set) const;
    bool Set_Exists(Sto_Connection& store, const std::string& set);
    bool Populate_Set(Sto_Connection& store, const std::string& set, std::string& error);
    std::shared_ptr<const Mdl_Database> Database(const std::shared_ptr<Sto_Connection>& store,
                                                 const std::string& set, const std::string& name);

    Mdl_Server_Options Options;
    Mdl_Verified_Passwords Passwords;
    std::map<std::string, std::shared_ptr<Sto_Connection>> Stores;  // by location
    std::map<std::string, std::shared_ptr<const Mdl_Database>> Databases;  // by set/name
};

// Password hashes (libsodium crypto_pwhash): a salted, slow, self-describing text.
[[nodiscard]] std::string Mdl_Hash_Password(const std::string& password);
[[nodiscard]] bool Mdl_Password_Matches(const std::string& hash, const std::string& password);

// The tables of a store, made when missing.
void Mdl_Create_Tables(Sto_Connection& store);
// Reads one user of a set.
std::optional<Mdl_User> Mdl_Read_User(Sto_Connection& store, const std::string& set,
                                      const std::string& login);
