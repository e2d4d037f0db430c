#include "server/model/mdl_store.h"

#include <sodium.h>
#include <unistd.h>

#include <set>

#include "server/model/mdl_admin.h"
#include "server/model/mdl_session.h"
#include "server/store/sto_location.h"
#include "server/store/sto_postgres.h"

namespace {

constexpr char kTables[] = R"SQL(
CREATE TABLE IF NOT EXISTS zt_dbsets(name TEXT PRIMARY KEY);
CREATE TABLE IF NOT EXISTS zt_users(
  dbset TEXT NOT NULL REFERENCES zt_dbsets(name), login TEXT NOT NULL,
  password_hash TEXT NOT NULL, full_name TEXT NOT NULL DEFAULT '',
  email TEXT NOT NULL DEFAULT '', phone TEXT NOT NULL DEFAULT '', misc TEXT NOT NULL DEFAULT '',
  active INTEGER NOT NULL DEFAULT 1, superuser INTEGER NOT NULL DEFAULT 0,
  PRIMARY KEY(dbset, login));
CREATE TABLE IF NOT EXISTS zt_group_members(
  dbset TEXT NOT NULL, group_name TEXT NOT NULL, login TEXT NOT NULL,
  PRIMARY KEY(dbset, group_name, login), FOREIGN KEY(dbset, login) REFERENCES zt_users(dbset, login));
CREATE TABLE IF NOT EXISTS zt_databases(
  dbset TEXT NOT NULL REFERENCES zt_dbsets(name), name TEXT NOT NULL, schema_text TEXT NOT NULL,
  PRIMARY KEY(dbset, name));
CREATE TABLE IF NOT EXISTS zt_subscriptions(
  dbset TEXT NOT NULL, login TEXT NOT NULL, database TEXT NOT NULL,
  PRIMARY KEY(dbset, login, database),
  FOREIGN KEY(dbset, login) REFERENCES zt_users(dbset, login),
  FOREIGN KEY(dbset, database) REFERENCES zt_databases(dbset, name));
CREATE TABLE IF NOT EXISTS zt_records(
  dbid INTEGER PRIMARY KEY AUTOINCREMENT, dbset TEXT NOT NULL, database TEXT NOT NULL,
  record_type TEXT NOT NULL, display_id TEXT NOT NULL, state TEXT NOT NULL,
  version INTEGER NOT NULL, changed_by TEXT NOT NULL, changed_at TEXT NOT NULL,
  FOREIGN KEY(dbset, database) REFERENCES zt_databases(dbset, name),
  UNIQUE(dbset, database, display_id));
CREATE TABLE IF NOT EXISTS zt_values(
  record INTEGER NOT NULL REFERENCES zt_records(dbid) ON DELETE CASCADE,
  field TEXT NOT NULL, position INTEGER NOT NULL, value TEXT NOT NULL,
  PRIMARY KEY(record, field, position)) WITHOUT ROWID;
CREATE TABLE IF NOT EXISTS zt_history(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  record INTEGER NOT NULL REFERENCES zt_records(dbid) ON DELETE CASCADE,
  at TEXT NOT NULL, "user" TEXT NOT NULL, action TEXT NOT NULL,
  old_state TEXT NOT NULL, new_state TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS zt_history_record ON zt_history(record);
CREATE TABLE IF NOT EXISTS zt_history_changes(
  history INTEGER NOT NULL REFERENCES zt_history(id) ON DELETE CASCADE,
  field TEXT NOT NULL, old_value TEXT NOT NULL, new_value TEXT NOT NULL);
CREATE INDEX IF NOT EXISTS zt_history_changes_history ON zt_history_changes(history);
CREATE TABLE IF NOT EXISTS zt_attachments(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  record INTEGER NOT NULL REFERENCES zt_records(dbid) ON DELETE CASCADE,
  field TEXT NOT NULL, file_name TEXT NOT NULL, description TEXT NOT NULL,
  size INTEGER NOT NULL, data BLOB NOT NULL);
CREATE INDEX IF NOT EXISTS zt_attachments_record ON zt_attachments(record);
CREATE TABLE IF NOT EXISTS zt_lists(
  dbset TEXT NOT NULL, database TEXT NOT NULL, name TEXT NOT NULL,
  position INTEGER NOT NULL, member TEXT NOT NULL,
  PRIMARY KEY(dbset, database, name, position),
  FOREIGN KEY(dbset, database) REFERENCES zt_databases(dbset, name));
CREATE TABLE IF NOT EXISTS zt_duplicates(
  duplicate INTEGER PRIMARY KEY REFERENCES zt_records(dbid) ON DELETE CASCADE,
  original INTEGER NOT NULL REFERENCES zt_records(dbid) ON DELETE CASCADE);
)SQL";

std::string Refused(const Mdl_Logon& logon, const std::string& why)
{
    return "ztintsvr: logon refused for user \"" + logon.User + "\": " + why;
}

std::string No_Database(const Mdl_Logon& logon)
{
    return Refused(logon, "no database \"" + logon.Database + "\" in database set \"" + logon.Set + "\"");
}

}  // namespace

std::string Mdl_Hash_Password(const std::string& password)
{
    char hash[crypto_pwhash_STRBYTES];
    if (sodium_init() < 0 ||
        crypto_pwhash_str(hash, password.data(), password.size(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                          crypto_pwhash_MEMLIMIT_INTERACTIVE) != 0)
        throw Sto_Error("cannot hash a password (out of memory)");
    return hash;
}

bool Mdl_Password_Matches(const std::string& hash, const std::string& password)
{
    return sodium_init() >= 0 &&
           crypto_pwhash_str_verify(hash.c_str(), password.data(), password.size()) == 0;
}

Mdl_Verified_Passwords::Mdl_Verified_Passwords() : Key(crypto_generichash_KEYBYTES, '\0')
{
    if (sodium_init() < 0)
        throw Sto_Error("cannot start libsodium");
    randombytes_buf(Key.data(), Key.size());
}

std::string Mdl_Verified_Passwords::Digest(const std::string& password) const
{
    std::string digest(crypto_generichash_BYTES, '\0');
    crypto_generichash(reinterpret_cast<unsigned char*>(digest.data()), digest.size(),
                       reinterpret_cast<const unsigned char*>(password.data()), password.size(),
                       reinterpret_cast<const unsigned char*>(Key.data()), Key.size());
    return digest;
}

bool Mdl_Verified_Passwords::Matches(const std::string& who, const std::string& hash,
                                     const std::string& password)
{
    const std::string digest = Digest(password);
    const auto known = Verified.find(who);
    if (known != Verified.end() && known->second.first == hash &&
        sodium_memcmp(known->second.second.data(), digest.data(), digest.size()) == 0)
        return true;
    if (!Mdl_Password_Matches(hash, password))
        return false;
    Verified[who] = {hash, digest};
    return true;
}

void Mdl_Create_Tables(Sto_Connection& store)
{
    store.Execute_Script(kTables);
    Mdl_Create_Admin_Tables(store);
}

std::optional<Mdl_User> Mdl_Read_User(Sto_Connection& store, const std::string& set,
                                      const std::string& login)
{
    Sto_Statement& query = store.Prepare(
        "SELECT password_hash, full_name, email, phone, misc, active, superuser FROM zt_users "
        "WHERE dbset = ? AND login = ?");
    query.Bind(1, set).Bind(2, login);
    if (!query.Next())
        return std::nullopt;
    return Mdl_User{login, query.Text(1), query.Text(2), query.Text(3), query.Text(4), query.Text(0),
                    query.Number(5) != 0, query.Number(6) != 0};
}

std::shared_ptr<Sto_Connection> Mdl_Server::Store_Of(const std::string& set, std::string& error)
{
    const std::string location = Sto_Location(set, error);
    if (location.empty())
        return nullptr;
    auto& store = Stores[location];
    const bool missing_file = !Sto_Is_Postgres_Location(location) && access(location.c_str(), F_OK) != 0;
    if (store == nullptr && missing_file && !Names_First_Users(set)) {
        Stores.erase(location);
        return nullptr;  // no file is made for a set that nothing names
    }
    if (store == nullptr) {
        store = Sto_Open(location);
        Mdl_Create_Tables(*store);
    }
    return store;
}

bool Mdl_Server::Names_First_Users(const std::string& set) const
{
    for (const Svr_Users::Entry& entry : Options.First_Users.Entries())
        if (entry.Master == set)
            return true;
    return false;
}

bool Mdl_Server::Set_Exists(Sto_Connection& store, const std::string& set)
{
    Sto_Statement& query = store.Prepare("SELECT 1 FROM zt_dbsets WHERE name = ?");
    query.Bind(1, set);
    return query.Next();
}

// The users and databases the flat user file names for set, in one transaction.
bool Mdl_Server::Populate_Set(Sto_Connection& store, const std::string& set, std::string& error)
{
    std::vector<const Svr_Users::Entry*> entries;
    for (const Svr_Users::Entry& entry : Options.First_Users.Entries())
        if (entry.Master == set)
            entries.push_back(&entry);
    if (entries.empty())
        return false;
    const Mdl_Schema schema = Mdl_Schema::Load(Options.Schema_Path);
    std::map<std::string, std::string> hashes;  // hashing is slow: before the transaction
    for (const Svr_Users::Entry* entry : entries)
        if (hashes.count(entry->User) == 0)
            hashes[entry->User] = Mdl_Hash_Password(entry->Password);
    Sto_Transaction transaction(store);
    if (Set_Exists(store, set))
        return true;  // another server populated it meanwhile
    store.Prepare("INSERT INTO zt_dbsets(name) VALUES(?)").Bind(1, set).Run();
    store.Prepare("INSERT INTO zt_groups(dbset, name) VALUES(?, ?)").Bind(1, set).Bind(2, kMdl_Everyone).Run();
    std::set<std::string> users, databases;
    for (const Svr_Users::Entry* entry : entries) {
        if (users.insert(entry->User).second)
            store.Prepare("INSERT INTO zt_users(dbset, login, password_hash, full_name, superuser) "
                          "VALUES(?, ?, ?, ?, ?)")
                .Bind(1, set).Bind(2, entry->User).Bind(3, hashes[entry->User])
                .Bind(4, entry->User).Bind(5, int64_t{users.size() == 1})
                .Run();
        if (databases.insert(entry->Database).second)
            store.Prepare("INSERT INTO zt_databases(dbset, name, schema_text) VALUES(?, ?, ?)")
                .Bind(1, set).Bind(2, entry->Database).Bind(3, schema.Text())
                .Run();
        store.Prepare("INSERT INTO zt_subscriptions(dbset, login, database) VALUES(?, ?, ?) ON CONFLICT DO NOTHING")
            .Bind(1, set).Bind(2, entry->User).Bind(3, entry->Database)
            .Run();
    }
    transaction.Commit();
    (void)error;
    return true;
}

std::shared_ptr<const Mdl_Database> Mdl_Server::Database(const std::shared_ptr<Sto_Connection>& store,
                                                         const std::string& set,
                                                         const std::string& name)
{
    auto& database = Databases[set + "/" + name];
    if (database != nullptr)
        return database;
    Sto_Statement& query =
        store->Prepare("SELECT schema_text FROM zt_databases WHERE dbset = ? AND name = ?");
    query.Bind(1, set).Bind(2, name);
    if (!query.Next())
        return nullptr;
    const std::string text = query.Text(0);
    database = std::make_shared<const Mdl_Database>(Mdl_Database{store, set, name, Mdl_Schema::Parse(text)});
    return database;
}

std::vector<std::string> Mdl_Server::Initialise_Stores()
{
    std::set<std::string> sets;
    for (const Svr_Users::Entry& entry : Options.First_Users.Entries())
        sets.insert(entry.Master);
    std::vector<std::string> report;
    for (const std::string& set : sets) {
        std::string error;
        const std::shared_ptr<Sto_Connection> store = Store_Of(set, error);
        if (store == nullptr)
            throw Sto_Error(error);
        const std::string where = "database set \"" + set + "\" in the " + store->Engine_Name() + " store";
        if (Set_Exists(*store, set))
            report.push_back(where + " exists already: left as it is");
        else if (Populate_Set(*store, set, error))
            report.push_back(where + " made with its users and databases");
    }
    return report;
}

void Mdl_Server::Finish_Request()
{
    for (auto& [location, store] : Stores)
        store->Finish_Reads();
}

std::shared_ptr<Sto_Connection> Mdl_Server::Authenticate(const Mdl_Logon& logon, Mdl_User& user,
                                                         std::string& refusal)
{
    if (logon.User.empty()) {
        refusal = "ztintsvr: logon refused: no user name given";
        return nullptr;
    }
    Finish_Request();  // read what others have written since
    std::string error;
    std::shared_ptr<Sto_Connection> store = Store_Of(logon.Set, error);
    if (store == nullptr || (!Set_Exists(*store, logon.Set) && !Populate_Set(*store, logon.Set, error))) {
        // A set name that cannot name a file is no set either.
        refusal = error.empty() || error.rfind("ztintsvr: no database set", 0) == 0 ? No_Database(logon)
                                                                                     : error;
        return nullptr;
    }
    const std::optional<Mdl_User> found = Mdl_Read_User(*store, logon.Set, logon.User);
    if (!found || !Passwords.Matches(logon.Set + "\n" + logon.User, found->Password_Hash, logon.Password)) {
        refusal = Refused(logon, "wrong user name or password");
        return nullptr;
    }
    if (!found->Active) {
        refusal = Refused(logon, "the user is inactive");
        return nullptr;
    }
    user = *found;
    return store;
}

void Mdl_Server::Forget_Password(const std::string& set, const std::string& login)
{
    Passwords.Forget(set + "\n" + login);
}

std::shared_ptr<Mdl_Session> Mdl_Server::Logon(const Mdl_Logon& logon, std::string& refusal)
{
    Mdl_User user;
    const std::shared_ptr<Sto_Connection> store = Authenticate(logon, user, refusal);
    if (store == nullptr)
        return nullptr;
    const std::shared_ptr<const Mdl_Database> database = Database(store, logon.Set, logon.Database);
    if (database == nullptr) {
        refusal = No_Database(logon);
        return nullptr;
    }
    if (!Mdl_May_Use(*store, logon.Set, logon.User, logon.Database)) {
        refusal = Refused(logon, "not subscribed to database \"" + logon.Database + "\"");
        return nullptr;
    }
    return std::make_shared<Mdl_Session>(database, user);
}
