#include "ztint_client/ztint_logon.h"

int ZTInt_client_SessionLogon(int32_t* status, ZTZentrak* zentrak, ZTSession** session,
                              const char* client_id, const char* user, const char* password,
                              const char* database, const char* master, ZTInt_LONG flags)
{
    if ((flags & ZTInt_Logon_Direct_Flags) == ZTInt_Logon_Direct_Flags) return 0;
    // The values are taken as they were given; the server checks them.
    *status = ZTZentrak_SessionLogon(zentrak, session, client_id, user, password, database,
                                     master, flags | ZTInt_Logon_Direct_Flags);
    return 1;
}
