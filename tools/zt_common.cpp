#include "tools/zt_common.h"

#include <cstdlib>

namespace zt_common {

std::string Server_Error()
{
    char* text = nullptr;
    ZTInt_GetError(&text);
    std::string result = text != nullptr ? text : "the server gave no reason";
    ZTInt_String_Free(text);
    return result;
}

void Check(int32_t status)
{
    if (status != 0)
        throw Refused(Server_Error());
}

std::string Take(char* text)
{
    std::string result = text != nullptr ? text : "";
    ZTInt_String_Free(text);
    return result;
}

std::vector<std::string> Take(char** array)
{
    std::vector<std::string> texts;
    for (long i = 0; i < ZTInt_StringArray_Size(array); ++i)
        texts.emplace_back(ZTInt_StringArray_At_Ref(array, i));
    ZTInt_StringArray_Free(array);
    return texts;
}

std::string Environment(const char* name, const char* otherwise)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : otherwise;
}

Logon::Logon()
{
    const bool own_user = !Environment("ZT_USER", "").empty();
    User = Environment("ZT_USER", "zentrak");
    Password = Environment("ZT_PASSWORD", own_user ? "" : "zentrak");
    Database = Environment("ZT_DATABASE", "DEMO");
    Set = Environment("ZT_MASTER", "MASTER");
}

}  // namespace zt_common
