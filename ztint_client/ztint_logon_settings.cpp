#include "ztint_client/ztint_logon_settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_switches.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_settings.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/adcryptinternal.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/mxmsgexception.h"
#include "ztcoreutil/tchar.h"
#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_logon.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_text.h"

namespace {

constexpr long kDiagnosticId = AdDiag_ZTINTSVR;
constexpr long kDiagnosticLevel = 1;
constexpr Code_Unit kDiagnosticLabel[] = u"ztintsvr client";
// The version of the stored password form written into a settings file.
constexpr int kStoredFormVersion = 7;

bool Tracing()
{
    return AdDiagnostic::m_DiagnosticFlags[kDiagnosticId] != 0 &&
           AdDiagnostic::IsEnabled(kDiagnosticId, kDiagnosticLevel, 0);
}

void Report(const Fnd_String& Line)
{
    if (Tracing())
        AdDiagnostic::Report(kDiagnosticLabel, Line.Data());
}

bool Empty(const char* Text)
{
    return Text == nullptr || *Text == '\0';
}

// The process-wide parts of the settings path: product directory, version and
// default database set, and whether the server was asked for the version yet.
struct Path_Parts {
    Fnd_String Product;
    Fnd_String Version{u"unknown_version"};
    Fnd_String Dbset{u"unknown_dbset"};
    bool Asked = false;
};

Path_Parts& Parts()
{
    static Path_Parts* parts = new Path_Parts;  // lives to the end of the process
    return *parts;
}

// One failure of the stage, kept with the others for Check_Diag.
void Note(Fnd_Condition& Stage, const Fnd_String& Text)
{
    Fnd_Condition one(Utl_Text_Error{Text});
    Stage.Add_Sub(one, 1, 0);
}

// Replaces a heap value by Text in the default charset; false if it doesn't convert.
bool Store(char** Value, const Fnd_String& Text)
{
    char* narrow = ZTInt_Narrow(Text);
    if (narrow == nullptr)
        return false;
    ZTInt_String_Free(*Value);
    *Value = narrow;
    return true;
}

void Store_Empty(char** Value)
{
    ZTInt_String_Free(*Value);
    *Value = ZTInt_String_New("");
}

// The field's value if the file has it and it isn't empty.
bool Lookup(Fnd_Condition& Stage, const Fnd_String& Path, const Code_Unit* Name, Fnd_String& Value)
{
    Fnd_Condition condition;
    const Fnd_String* found = nullptr;
    const bool has = Utl_Settings::Get_Setting(condition, Path, Fnd_String(Name), found);
    if (condition.Failed())
        Stage.Add_Sub(condition, 1, 0);
    if (!has || found == nullptr || found->Is_Empty())
        return false;
    Value = *found;
    return true;
}

// Looks up Name into *Value; false (and *Value untouched) when there is nothing usable.
bool Lookup_Into(Fnd_Condition& Stage, const Fnd_String& Path, const Code_Unit* Name, char** Value)
{
    Fnd_String text;
    if (!Lookup(Stage, Path, Name, text))
        return false;
    if (Store(Value, text))
        return true;
    Note(Stage, Fnd_String(u"the field ") + Name + u" of " + Path +
                    u" does not convert to the default charset");
    return false;
}

// A password is read only from a file that nobody but this user can have written.
bool Trusted_For_Password(Fnd_Condition& Stage, const Fnd_String& Path)
{
    AdMbcsString path;
    struct stat status {};
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop) ||
        path.getData() == nullptr || stat(path.getData(), &status) != 0) {
        Note(Stage, Fnd_String(u"the settings file ") + Path + u" cannot be looked at");
        return false;
    }
    Fnd_String reason;
    if (status.st_uid != geteuid()) {
        reason = u"it is owned by user id ";
        Fnd_String_Library::To_String(reason, static_cast<long>(status.st_uid), 10, 0, 1);
        reason.Append(u", not by this user (");
        Fnd_String_Library::To_String(reason, static_cast<long>(geteuid()), 10, 0, 1);
        reason.Append(u")");
    } else if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        reason = u"its group or others may write it (mode ";
        Fnd_String_Library::To_String(reason, static_cast<long>(status.st_mode & 07777), 8, 1, 1);
        reason.Append(u")");
    } else {
        return true;
    }
    Note(Stage, Fnd_String(u"the settings file ") + Path +
                    u" is not trusted for a password, so none is taken from it: " + reason);
    return false;
}

// The clear text of a stored password; false if it isn't one.
bool Decrypt(Fnd_Condition& Stage, const Fnd_String& Path, const Fnd_String& Stored, Fnd_String& Clear)
{
    try {
        // The result ends in a zero unit behind the text: take the text alone.
        const Fnd_String decoded = AdDecryptStringInternal(Stored.Data(), AdCharset::getUTF8Charset());
        Clear = Fnd_String(decoded.Data());
        return true;
    } catch (MxMsgException* failure) {
        failure->Delete();
    }
    Note(Stage, Fnd_String(u"the field epassword of ") + Path + u" is not a stored password");
    return false;
}

// A plain password is replaced in the file by its stored form.
void Convert_Plain_Password(Fnd_Condition& Stage, const Fnd_String& Path, const Fnd_String& Plain)
{
    Fnd_String stored;
    try {
        stored = AdEncryptStringReversiblyInternal(Plain.Data(), AdCharset::getUTF8Charset(),
                                                   kStoredFormVersion);
    } catch (MxMsgException* failure) {
        failure->Delete();
        Note(Stage, Fnd_String(u"the password of ") + Path + u" cannot be put in its stored form");
        return;
    }
    Fnd_Condition condition;
    if (!Utl_Settings::Add_Setting(condition, Path, Fnd_String(u"epassword"), stored) ||
        !Utl_Settings::Remove_Setting(condition, Path, Fnd_String(u"password")))
        Stage.Add_Sub(condition, 1, 0);
}

// The password that goes with the user of the file: stored form first, then plain.
void Take_Password(Fnd_Condition& Stage, const Fnd_String& Path, char** Password)
{
    Store_Empty(Password);
    if (!Trusted_For_Password(Stage, Path))
        return;
    Fnd_String text;
    if (Lookup(Stage, Path, u"epassword", text)) {
        Fnd_String clear;
        if (Decrypt(Stage, Path, text, clear) && !Store(Password, clear))
            Note(Stage, Fnd_String(u"the password of ") + Path + u" does not convert to the default charset");
        return;
    }
    if (!Lookup(Stage, Path, u"password", text))
        return;
    if (!Store(Password, text)) {
        Note(Stage, Fnd_String(u"the password of ") + Path + u" does not convert to the default charset");
        return;
    }
    Convert_Plain_Password(Stage, Path, text);
}

// The version through ZTZentrak_Build, CreateProductInfo and GetProductVersion. A
// heap string, or NULL with *failure the reason (a heap string).
char* Version_From_Server(char** Failure)
{
    auto fail = [Failure](const char* fallback) -> char* {
        ZTInt_GetError(Failure);
        if (*Failure == nullptr)
            *Failure = ZTInt_String_New(fallback);
        return nullptr;
    };
    ZTZentrak* zentrak = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0 || zentrak == nullptr)
        return fail("the server's product version could not be asked for");
    ZTProductInfo* info = nullptr;
    char* version = nullptr;
    char* result = nullptr;
    if (ZTZentrak_CreateProductInfo(zentrak, &info) != 0 || info == nullptr) {
        fail("the server gave no product information");
    } else if (ZTProductInfo_GetProductVersion(info, &version) != 0 || version == nullptr) {
        fail("the server gave no product version");
    } else {
        result = version;
        version = nullptr;
    }
    ZTInt_String_Free(version);
    if (info != nullptr)
        ZTInt_ProductInfo_Free(info);
    ZTInt_Zentrak_Free(zentrak);
    return result;
}

// The version becomes a directory name: it must be one plain path element.
bool Usable_Version(const Fnd_String& Version)
{
    return !Version.Is_Empty() && Version.Find(u'/') < 0 && !(Version == u".") && !(Version == u"..");
}

}  // namespace

void Check_Diag(const Fnd_Condition& Condition)
{
    if (!Condition.Failed() || !Tracing())
        return;
    Fnd_String line(u"error: ");
    line.Append(Condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1, Fnd_Message::Default_Message_Separator()));
    AdDiagnostic::Report(kDiagnosticLabel, line.Data());
}

void Get_Client_Path(Fnd_String& Path, const char* Client_Id)
{
    Path = u"Login-";
    if (!Empty(Client_Id)) {
        Path.Append(ZTInt_Wide(Client_Id));
        return;
    }
    const Code_Unit* variable = _tgetenv(u"ZT_CLIENTID");
    Path.Append(variable != nullptr && *variable != 0 ? variable : u"ZTIntSvr");
}

int Get_Settings_Paths(const char* Client_Id, Fnd_String& Settings_Path, Fnd_String& Dbset)
{
    Path_Parts& parts = Parts();
    if (!parts.Asked) {
        parts.Asked = true;
        parts.Product = Hst_Dir_Table[2];
        char* failure = nullptr;
        char* version = Version_From_Server(&failure);
        const bool answered = version != nullptr;
        const Fnd_String wide = ZTInt_Wide(version);
        ZTInt_String_Free(version);
        if (answered && !Usable_Version(wide))
            failure = ZTInt_String_New("the server's product version cannot name a directory");
        if (failure != nullptr) {
            ZTInt_Set_Client_Error(failure);
            ZTInt_String_Free(failure);
            return 0;
        }
        parts.Version = wide;
        parts.Dbset = wide;
    }
    Fnd_String client;
    Get_Client_Path(client, Client_Id);
    Utl_Settings_Location where;
    where.Product = parts.Product;
    where.Version = parts.Version;
    where.File = client;
    where.Subdir = Utl_Settings::name_Settings_Parent;
    Utl_Settings::Get_Pathname(Settings_Path, where);
    Dbset = parts.Dbset;
    Report(Fnd_String(u"Settings_Path=") + Settings_Path);
    Report(Fnd_String(u"Default_Dbset=") + Dbset);
    return 1;
}

void ZTInt_Forget_Settings_Paths()
{
    Parts() = Path_Parts();
}

void Setup_For_Cache_Access(const char* Client_Id, ZTInt_LONG& Flags, Fnd_String& Settings_Path,
                            Fnd_String& Cache_Path)
{
    if ((Flags & ZTInt_Logon_No_Settings) == 0) {
        Fnd_String dbset;
        if (!Get_Settings_Paths(Client_Id, Settings_Path, dbset))
            Flags |= ZTInt_Logon_No_Settings;
        if ((Flags & (ZTInt_Logon_No_Settings | ZTInt_Logon_Temporary_Cache)) == 0) {
            Cache_Path = Settings_Path;
            return;
        }
    }
    char* pipe = nullptr;
    ZTInt_Server_Connection_Name(&pipe);
    Cache_Path = ZTInt_Wide(pipe);
    ZTInt_String_Free(pipe);
    Cache_Path.Append(u"_");
    Fnd_String client;
    Get_Client_Path(client, Client_Id);
    Cache_Path.Append(client);
}

void Get_Logon_Params_From_Settings(const Fnd_String& Path, long All, long* Found, char** User,
                                    char** Password, char** Database, char** Master)
{
    *Found = 0;
    Utl_Settings::Refresh(Path);
    Fnd_Condition stage;
    if ((All || Empty(*User)) && Lookup_Into(stage, Path, u"user", User)) {
        *Found = 1;
        Take_Password(stage, Path, Password);
    }
    Check_Diag(stage);

    stage.Clear();
    if (All || Empty(*Database)) {
        if (Lookup_Into(stage, Path, u"database", Database)) {
            *Found = 1;
            if (!Lookup_Into(stage, Path, u"master", Master))
                Store_Empty(Master);
        }
    } else if (Empty(*Master) && Lookup_Into(stage, Path, u"master", Master)) {
        *Found = 1;
    }
    Check_Diag(stage);
}
