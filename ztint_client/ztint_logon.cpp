#include "ztint_client/ztint_logon.h"

#include <unistd.h>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/tchar.h"
#include "ztint_client/ztint_logon_settings.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_text.h"

namespace {

// The variable's value in the default character set, or NULL when it is unset,
// empty or can't be converted.
char* Environment_Value(const char16_t* name)
{
    const Code_Unit* value = _tgetenv(name);
    if (value == nullptr || *value == 0)
        return nullptr;
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), value, AdCharset::cvt_stop) ||
        bytes.getData() == nullptr)
        return nullptr;
    return ZTInt_String_New(bytes.getData());
}

bool Empty(const char* text)
{
    return text == nullptr || *text == '\0';
}

// The client's working copies of the logon values.
class Logon_Values {
public:
    Logon_Values(const char* client_id, const char* user, const char* password,
                 const char* database, const char* master)
        : Client_Id(ZTInt_String_New(client_id != nullptr ? client_id : "")),
          User(ZTInt_String_New(user != nullptr ? user : "")),
          Password(ZTInt_String_New(password != nullptr ? password : "")),
          Database(ZTInt_String_New(database != nullptr ? database : "")),
          Master(ZTInt_String_New(master != nullptr ? master : ""))
    {
    }
    ~Logon_Values()
    {
        for (char* value : {Client_Id, User, Password, Database, Master})
            ZTInt_String_Free(value);
    }
    Logon_Values(const Logon_Values&) = delete;
    Logon_Values& operator=(const Logon_Values&) = delete;

    bool Complete() const { return !Empty(User) && !Empty(Database) && !Empty(Master); }

    void Complete_From_Environment()
    {
        Get_Logon_Params_From_Environment(&User, u"ZT_USER", &Password, u"ZT_PASSWORD");
        Get_Logon_Params_From_Environment(&Database, u"ZT_DATABASE", nullptr, nullptr);
        Get_Logon_Params_From_Environment(&Master, u"ZT_MASTER", nullptr, nullptr);
    }

    char* Client_Id;
    char* User;
    char* Password;
    char* Database;
    char* Master;
};

// One wire logon. A failed try fetches the server's text, which is dropped: it
// stays with the server for the caller's own ZTInt_GetError.
bool Try(int32_t* status, ZTZentrak* zentrak, ZTSession** session, const Logon_Values& values,
         ZTInt_LONG flags)
{
    *status = ZTZentrak_SessionLogon(zentrak, session, values.Client_Id, values.User,
                                     values.Password, values.Database, values.Master,
                                     flags | ZTInt_Logon_Direct_Flags);
    if (*status == 0)
        return true;
    char* text = nullptr;
    ZTInt_GetError(&text);
    ZTInt_String_Free(text);
    return false;
}

}  // namespace

void Get_Logon_Params_From_Environment(char** value, const char16_t* name, char** value_2,
                                       const char16_t* name_2)
{
    if (!Empty(*value))
        return;
    char* found = Environment_Value(name);
    if (found == nullptr)
        return;
    ZTInt_String_Free(*value);
    *value = found;
    if (value_2 == nullptr)
        return;
    char* found_2 = Environment_Value(name_2);
    ZTInt_String_Free(*value_2);
    *value_2 = found_2 != nullptr ? found_2 : ZTInt_String_New("");
}

namespace {

// Removes the file of the temporary cache path; a file that isn't there is no failure.
void Remove_Cache_File(const Fnd_String& cache_path)
{
    char* path = ZTInt_Narrow(cache_path);
    if (path != nullptr && *path != '\0')
        unlink(path);
    ZTInt_String_Free(path);
}

}  // namespace

int ZTInt_client_SessionLogon(int32_t* status, ZTZentrak* zentrak, ZTSession** session,
                              const char* client_id, const char* user, const char* password,
                              const char* database, const char* master, ZTInt_LONG flags)
{
    if ((flags & ZTInt_Logon_Direct_Flags) == ZTInt_Logon_Direct_Flags)
        return 0;
    Logon_Values values(client_id, user, password, database, master);
    Fnd_String cache_path;
    const auto finish = [&] {
        if ((flags & ZTInt_Logon_Temporary_Cache) != 0)
            Remove_Cache_File(cache_path);
        return 1;
    };
    bool tried = false;
    if (values.Complete()) {
        tried = true;
        if (Try(status, zentrak, session, values, flags))
            return finish();
    }
    if ((flags & ZTInt_Logon_No_Environment) == 0) {
        values.Complete_From_Environment();
        if (values.Complete()) {
            tried = true;
            if (Try(status, zentrak, session, values, flags))
                return finish();
        }
    }
    Fnd_String settings_path;
    Setup_For_Cache_Access(values.Client_Id, flags, settings_path, cache_path);
    if ((flags & ZTInt_Logon_No_Settings) == 0) {
        long found = 0;
        Get_Logon_Params_From_Settings(settings_path, 0, &found, &values.User, &values.Password,
                                       &values.Database, &values.Master);
        if (found != 0 && values.Complete()) {
            tried = true;
            if (Try(status, zentrak, session, values, flags))
                return finish();
        }
    }
    if (!tried)
        Try(status, zentrak, session, values, flags);
    return finish();
}
