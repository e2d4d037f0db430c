#include "ztint_utils/ztint_private_files.h"

#include <limits.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// The longest suffix added to the pipe's name for files beside it (".status.new").
constexpr std::size_t kLongestSuffix = 11;

const char* Kind_Of(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFREG: return "a file";
    case S_IFDIR: return "a directory";
    case S_IFLNK: return "a symbolic link";
    case S_IFIFO: return "a named pipe";
    case S_IFSOCK: return "a socket";
    default: return "a special file";
    }
}

}  // namespace

std::string ZTInt_User_Name(unsigned uid)
{
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr)
        return found->pw_name;
    return std::to_string(uid);
}

std::string ZTInt_Server_User_Problem()
{
    const char* user = std::getenv("ZTT_USER");
    if (user == nullptr)
        return "";
    if (std::strchr(user, '/') != nullptr)
        return std::string("ztintsvr: ZTT_USER may not contain \"/\" (it is \"") + user + "\")";
    const std::string name = "ZTIntSvr_" + std::to_string(geteuid()) + user;
    if (name.size() + kLongestSuffix > NAME_MAX)
        return "ztintsvr: ZTT_USER is too long: the pipe's name would have " +
               std::to_string(name.size()) + " characters, more than " +
               std::to_string(NAME_MAX - kLongestSuffix);
    return "";
}

std::string ZTInt_Private_File_Problem(const std::string& path, unsigned file_type,
                                       const char* what)
{
    struct stat facts;
    if (lstat(path.c_str(), &facts) != 0)
        return "";
    const bool ours = facts.st_uid == geteuid();
    if ((facts.st_mode & S_IFMT) == file_type && ours && (facts.st_mode & 077) == 0)
        return "";
    std::string problem = "ztintsvr: " + path + ", the " + what + ", is " +
                          Kind_Of(facts.st_mode) + " of user " + ZTInt_User_Name(facts.st_uid);
    if ((facts.st_mode & S_IFMT) == file_type && ours) {
        char mode[8];
        std::snprintf(mode, sizeof mode, "%03o", static_cast<unsigned>(facts.st_mode & 0777));
        problem += std::string(" that others may use (mode ") + mode + ")";
    }
    return problem + "; remove it, or set ZTT_USER to use other names";
}
