// The environment in 16 bits. Values and settings are kept for the life of the
// process: a pointer handed out by _tgetenv, or given to putenv, must stay valid.
#include <cerrno>
#include <cstdlib>
#include <string>
#include <unordered_map>

#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/tchar.h"

namespace {

Fnd_Semaphore* l_mapLock = nullptr;

// From the bytes of a value (as getenv returned them) to its 16-bit copy.
std::unordered_map<std::string, Fnd_String*>& l_pCachedValues() {
    static auto* map = new std::unordered_map<std::string, Fnd_String*>();
    return *map;
}

// From a 16-bit "NAME=value" to the bytes given to putenv.
std::unordered_map<std::u16string, std::string*>& Put_Settings() {
    static auto* map = new std::unordered_map<std::u16string, std::string*>();
    return *map;
}

}  // namespace

const Code_Unit* CacheGetenvValues(const char* Value) {
    if (!Value) return nullptr;
    Fnd_Semaphore_Guard guard(l_mapLock, 1, 1, 0);
    auto& map = l_pCachedValues();
    auto found = map.find(Value);
    if (found != map.end()) return found->second->Data();
    auto* text = new Fnd_String();
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Value, *text,
                                  AdCharset::cvt_stop)) {
        delete text;
        return nullptr;
    }
    map.emplace(Value, text);
    return text->Data();
}

const Code_Unit* _tgetenv(const Code_Unit* Name) {
    if (!Name) return nullptr;
    AdMbcsString name;
    if (!name.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop))
        return nullptr;
    return CacheGetenvValues(std::getenv(name.getData()));
}

int _tputenv(const Code_Unit* Setting) {
    AdMbcsString bytes;
    if (!Setting ||
        !bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Setting, AdCharset::cvt_stop)) {
        errno = EINVAL;  // putenv(nullptr) would crash
        return -1;
    }
    std::string* stored;
    {
        Fnd_Semaphore_Guard guard(l_mapLock, 1, 1, 0);
        auto& map = Put_Settings();
        auto found = map.find(Setting);
        if (found != map.end()) {
            stored = found->second;
        } else {
            stored = new std::string(bytes.getString());
            map.emplace(Setting, stored);
        }
    }
    return putenv(stored->data());
}
