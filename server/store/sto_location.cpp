#include "server/store/sto_location.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string Home_Directory()
{
    std::string home = Environment("HOME");
    if (!home.empty())
        return home;
    const passwd* entry = getpwuid(geteuid());
    return entry != nullptr && entry->pw_dir != nullptr ? entry->pw_dir : "";
}

// Makes each missing directory of path, the last one 0700, the others 0755 less umask.
bool Make_Directories(const std::string& path, std::string& error)
{
    for (std::size_t slash = path.find('/', 1); ; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        const bool last = slash == std::string::npos;
        if (mkdir(part.c_str(), last ? 0700 : 0755) != 0 && errno != EEXIST) {
            error = "ztintsvr: cannot make the store directory " + part + ": " + std::strerror(errno);
            return false;
        }
        if (last)
            return true;
    }
}

// A set name becomes a file name: letters, digits, '_' and '-' only.
bool Plain_Name(const std::string& name)
{
    if (name.empty() || name.size() > 64)
        return false;
    for (char c : name)
        if (!(std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-'))
            return false;
    return true;
}

}  // namespace

std::string Sto_Location(const std::string& database_set, std::string& error)
{
    const std::string named = Environment("ZT_SERVER_STORE");
    if (!named.empty())
        return named;
    if (!Plain_Name(database_set)) {
        error = "ztintsvr: no database set \"" + database_set + "\"";
        return "";
    }
    std::string data = Environment("XDG_DATA_HOME");
    if (data.empty() || data[0] != '/') {
        const std::string home = Home_Directory();
        if (home.empty()) {
            error = "ztintsvr: no home directory to keep the store in; set ZT_SERVER_STORE";
            return "";
        }
        data = home + "/.local/share";
    }
    const std::string directory = data + "/ztintsvr";
    if (!Make_Directories(directory, error))
        return "";
    return directory + "/" + database_set + ".db";
}
