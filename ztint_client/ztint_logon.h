// The client's part of a logon. ZTZentrak_SessionLogon offers every call to
// ZTInt_client_SessionLogon first and goes on the wire itself only when that
// returns 0.
#pragma once

#include <cstdint>

#include "ztint.h"

// The flag bits that mark a logon whose values are final: a call of
// ZTZentrak_SessionLogon with all of them set goes straight to the server.
constexpr ZTInt_LONG ZTInt_Logon_Direct_Flags = 14;

// Returns 0 when flags hold all of ZTInt_Logon_Direct_Flags: the caller makes the wire
// call. Otherwise carries out the logon through ZTZentrak_SessionLogon with the direct
// flags set, stores its status in *status and its session in *session, and returns 1.
int ZTInt_client_SessionLogon(int32_t* status, ZTZentrak* zentrak, ZTSession** session,
                              const char* client_id, const char* user, const char* password,
                              const char* database, const char* master, ZTInt_LONG flags);
