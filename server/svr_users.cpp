#include "server/svr_users.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

Svr_Users Svr_Users::Default_Store()
{
    Svr_Users store;
    store.Store.push_back({"zentrak", "zentrak", "DEMO", "MASTER"});
    return store;
}

bool Svr_Users::Load(const std::string& path, Svr_Users& store, std::string& error)
{
    std::ifstream file(path);
    if (!file) {
        if (errno == ENOENT) {
            store = Default_Store();
            return true;
        }
        error = "ztintsvr: cannot read the user store " + path + ": " + std::strerror(errno);
        return false;
    }
    Svr_Users loaded;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        std::istringstream fields(line);
        Entry entry;
        if (!(fields >> entry.User) || entry.User[0] == '#')
            continue;
        std::string extra;
        if (!(fields >> entry.Password >> entry.Database >> entry.Master) || (fields >> extra)) {
            error = "ztintsvr: " + path + ":" + std::to_string(number) +
                    ": an entry has four fields: user, password, database, database set";
            return false;
        }
        loaded.Store.push_back(std::move(entry));
    }
    store = std::move(loaded);
    return true;
}

std::string Svr_Users::Check(const std::string& user, const std::string& password,
                             const std::string& database, const std::string& master) const
{
    if (user.empty())
        return "ztintsvr: logon refused: no user name given";
    bool known = false;
    for (const Entry& entry : Store) {
        if (entry.User != user || entry.Password != password)
            continue;
        known = true;
        if (entry.Database == database && entry.Master == master)
            return "";
    }
    if (!known)
        return "ztintsvr: logon refused for user \"" + user + "\": wrong user name or password";
    return "ztintsvr: logon refused for user \"" + user + "\": no database \"" + database +
           "\" in database set \"" + master + "\"";
}
