// The settings stage of a logon: missing logon values come from the per-user login
// settings file
//
//   <Morvane directory>/.Registry/Zentrak/<version>/ZTIntSvr/Login-<client>
//
// where <version> is the server's product version and <client> the client id given to
// the logon, else the value of ZT_CLIENTID, else "ZTIntSvr". Its fields are "user",
// "epassword" (the stored form of the password), "password" (a plain one, which is
// replaced by its stored form the first time it is read), "database" and "master".
//
// A password is taken only from a file that the effective user owns and that neither
// its group nor others can write. No failure here reaches the caller of the logon: it
// leaves values empty and is reported to the diagnostic "ZTINTSVR" (level 1).
#pragma once

#include "foundation/base/fnd_string.h"
#include "ztint.h"

class Fnd_Condition;

// Flag bit of a logon: the settings go through a temporary cache path, whose file is
// removed when the logon ends.
constexpr ZTInt_LONG ZTInt_Logon_Temporary_Cache = 16;

// Completes the values from the settings file at Path: with All, or for each value
// that is empty, "user" (bringing its password along, and so dropping the one there
// was), "database" (bringing "master" along) or else "master" alone. *found becomes 1
// when the file gave a user, a database or a database set. The values are heap strings
// of ZTInt_String_New, replaced here.
void Get_Logon_Params_From_Settings(const Fnd_String& Path, long All, long* Found, char** User,
                                    char** Password, char** Database, char** Master);

// Fixes the settings path and the cache path. Without bit 2 in Flags, the settings
// path is looked for; when it can't be had, bit 2 is added. With neither bit 2 nor bit
// 16 the cache path is the settings path; else it is "<server pipe>_Login-<client>".
void Setup_For_Cache_Access(const char* Client_Id, ZTInt_LONG& Flags, Fnd_String& Settings_Path,
                            Fnd_String& Cache_Path);

// The settings path and the default database set. The first call of the process asks
// the server for its product version (opening the connection); when that fails, the
// reason goes into the client error slot and the result is 0, and later calls use
// "unknown_version" without asking again.
[[nodiscard]] int Get_Settings_Paths(const char* Client_Id, Fnd_String& Settings_Path,
                                     Fnd_String& Dbset);

// "Login-" and the client id, or the value of ZT_CLIENTID, or "ZTIntSvr".
void Get_Client_Path(Fnd_String& Path, const char* Client_Id);

// A failed condition, to the diagnostic "ZTINTSVR" as "error: <image>".
void Check_Diag(const Fnd_Condition& Condition);

// For tests: forgets the version asked of the server, as in a new process.
void ZTInt_Forget_Settings_Paths();
