// The client's part of a logon. ZTZentrak_SessionLogon offers every call to
// ZTInt_client_SessionLogon first and goes on the wire itself only when that
// returns 0.
//
// A logon needs a user, a password, a database and a database set (master); a program
// may leave any of them empty. The client then tries, in order: the values as given
// (if user, database and master are all there), the values completed from the
// environment (ZT_USER with ZT_PASSWORD, ZT_DATABASE, ZT_MASTER), the values completed
// from the per-user login settings file (ztint_logon_settings.h), and, if no try has
// been made, one last try with whatever there is, so that the server answers with its
// own refusal. Flag bit 2 skips the settings file, bit 8 the environment; with bit 16
// the file of the temporary cache path is removed at the end, whatever the outcome.
#pragma once

#include <cstdint>

#include "ztint.h"

// The flag bits that mark a logon whose values are final: a call of
// ZTZentrak_SessionLogon with all of them set goes straight to the server.
constexpr ZTInt_LONG ZTInt_Logon_Direct_Flags = 14;
// Flag bits of a logon.
constexpr ZTInt_LONG ZTInt_Logon_No_Settings = 2;
constexpr ZTInt_LONG ZTInt_Logon_No_Environment = 8;

// Returns 0 when flags hold all of ZTInt_Logon_Direct_Flags: the caller makes the wire
// call. Otherwise carries out the logon through ZTZentrak_SessionLogon with the direct
// flags set, stores the status of its last try in *status and its session in
// *session, and returns 1. The caller's strings are never changed.
int ZTInt_client_SessionLogon(int32_t* status, ZTZentrak* zentrak, ZTSession** session,
                              const char* client_id, const char* user, const char* password,
                              const char* database, const char* master, ZTInt_LONG flags);

// One look-up in the environment. If *value is empty and the variable name is set and
// not empty, *value (a heap string, freed here) becomes its value in the default
// character set; then, if value_2 is given, *value_2 becomes the value of name_2, or
// "" when that is unset or empty. A value the program gave wins.
void Get_Logon_Params_From_Environment(char** value, const char16_t* name, char** value_2,
                                       const char16_t* name_2);
