// File and process functions of the generic-text layer. Each converts its text with
// the default charset, strictly: a text that does not convert fails the call before
// any system call.
//
// Temporary names are made here rather than by mktemp and tempnam, which the linker
// flags as unsafe: the same rule (random letters in place of "XXXXXX", a name that
// does not exist yet, the directory tempnam would choose), with no linker warning.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/tchar.h"

namespace {

bool To_Bytes(const Code_Unit* Text, AdMbcsString& Bytes) {
    if (Text && Bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Text, AdCharset::cvt_stop))
        return true;
    errno = EINVAL;
    return false;
}

bool Exists(const std::string& Path) {
    struct stat info;
    return lstat(Path.c_str(), &info) == 0 || errno != ENOENT;
}

// Letters for generated names.
char Random_Letter() {
    static constexpr char Letters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    static std::mt19937 engine{std::random_device{}()};
    return Letters[engine() % (sizeof(Letters) - 1)];
}

// Replaces the last Count bytes of Name by random letters until no file has that
// name. False when every try found a file (or an error other than "no such file").
bool Fill_Unique(std::string& Name, size_t Count) {
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (size_t i = Name.size() - Count; i < Name.size(); ++i) Name[i] = Random_Letter();
        if (!Exists(Name)) return true;
    }
    errno = EEXIST;
    return false;
}

bool Is_Writable_Directory(const char* Path) {
    struct stat info;
    return Path && *Path && stat(Path, &info) == 0 && S_ISDIR(info.st_mode) &&
           access(Path, W_OK | X_OK) == 0;
}

}  // namespace

int _tunlink(const Code_Unit* Path) {
    AdMbcsString path;
    return To_Bytes(Path, path) ? unlink(path.getData()) : -1;
}

int _taccess(const Code_Unit* Path, int Mode) {
    AdMbcsString path;
    return To_Bytes(Path, path) ? access(path.getData(), Mode) : -1;
}

int _trename(const Code_Unit* Old_Path, const Code_Unit* New_Path) {
    AdMbcsString old_path, new_path;
    if (!To_Bytes(Old_Path, old_path) || !To_Bytes(New_Path, new_path)) return -1;
    return std::rename(old_path.getData(), new_path.getData());
}

int _tsystem(const Code_Unit* Command) {
    AdMbcsString command;
    return To_Bytes(Command, command) ? std::system(command.getData()) : -1;
}

FILE* _tfopen(const Code_Unit* Path, const Code_Unit* Mode) {
    AdMbcsString path, mode;
    if (!To_Bytes(Path, path) || !To_Bytes(Mode, mode)) return nullptr;
    std::string flags = mode.getString();
    if (flags.find('e') == std::string::npos) flags += 'e';  // close-on-exec
    return fopen64(path.getData(), flags.c_str());
}

Code_Unit* _tmktemp(Code_Unit* Template) {
    AdMbcsString bytes;
    if (!To_Bytes(Template, bytes)) return nullptr;
    std::string name = bytes.getString();
    const size_t x_count = 6;
    if (name.size() < x_count || name.compare(name.size() - x_count, x_count, "XXXXXX") != 0) {
        errno = EINVAL;
        return nullptr;
    }
    if (!Fill_Unique(name, x_count)) return nullptr;
    // The new name must take exactly the template's units, since it is written over it.
    Fnd_String result;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), name.c_str(), result,
                                  AdCharset::cvt_stop) ||
        static_cast<size_t>(result.Get_Length()) != _tcslen(Template)) {
        errno = EINVAL;
        return nullptr;
    }
    return _tcscpy(Template, result.Data());
}

Code_Unit* _ttempnam(const Code_Unit* Dir, const Code_Unit* Prefix) {
    AdMbcsString dir, prefix;
    if ((Dir && !To_Bytes(Dir, dir)) || (Prefix && !To_Bytes(Prefix, prefix))) return nullptr;
    // The directory as tempnam chooses it: TMPDIR, the argument, P_tmpdir, "/tmp".
    const char* chosen = nullptr;
    const char* candidates[] = {std::getenv("TMPDIR"), dir.getData(), P_tmpdir, "/tmp"};
    for (const char* candidate : candidates) {
        if (Is_Writable_Directory(candidate)) {
            chosen = candidate;
            break;
        }
    }
    if (!chosen) {
        errno = ENOENT;
        return nullptr;
    }
    std::string name = chosen;
    if (name.back() != '/') name += '/';
    name += prefix.isValid() ? prefix.getString().substr(0, 5) : "file";
    name += "XXXXXX";
    if (!Fill_Unique(name, 6)) return nullptr;
    Fnd_String result;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), name.c_str(), result,
                                  AdCharset::cvt_stop))
        return nullptr;
    return _tcsdup(result.Data());
}
