#include "foundation/host/hst_user.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// Name in the default charset; false when it does not convert.
bool To_Bytes(const Fnd_String& Name, AdMbcsString& Bytes) {
    return Bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop);
}

bool From_Bytes(const char* Bytes, Fnd_String& Out) {
    return Bytes != nullptr && AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Bytes,
                                                         Out, AdCharset::cvt_stop);
}

const passwd* User_Entry(const Fnd_String& Name) {
    AdMbcsString name;
    if (!To_Bytes(Name, name)) return nullptr;
    return getpwnam(name.getData());
}

const passwd* User_Entry(long Id) {
    if (Id < 0) return nullptr;
    return getpwuid(static_cast<uid_t>(Id));
}

// The process's supplementary groups, however many there are.
std::vector<gid_t> Supplementary_Groups() {
    for (;;) {
        const int count = getgroups(0, nullptr);
        if (count < 1) return {};
        std::vector<gid_t> groups(static_cast<size_t>(count));
        const int got = getgroups(count, groups.data());
        if (got >= 0) {
            groups.resize(static_cast<size_t>(got));
            return groups;
        }
        // The set grew between the two calls: ask again.
    }
}

// Name_Of of an entry's name, or the prefix and the decimal id with no entry.
void Id_Name(long Id, const char* Entry_Name, bool Found, const Code_Unit* Prefix,
             Fnd_String& Out) {
    if (Id == -1) {
        Out = Hst_User::Invalid_Name;
    } else if (Found) {
        if (!From_Bytes(Entry_Name, Out)) Out = Hst_User::Invalid_Name;
    } else {
        Out = Prefix;
        Fnd_String_Library::To_String(Out, Id, 10, 0, 1);
    }
}

}  // namespace

const Code_Unit* const Hst_User::Invalid_Name = u"<invalid>";
const Code_Unit* const Hst_User::Unknown_Name = u"<unknown>";

long Hst_User::User_Id() { return static_cast<long>(geteuid()); }

long Hst_User::User_Id(const Fnd_String& Name) {
    const passwd* entry = User_Entry(Name);
    return entry != nullptr ? static_cast<long>(entry->pw_uid) : -1;
}

Fnd_String Hst_User::Name() {
    Fnd_String name;
    Name(name);
    return name;
}

void Hst_User::Name(Fnd_String& Out) { Name(User_Id(), Out); }

void Hst_User::Name(long Id, Fnd_String& Out) {
    const passwd* entry = User_Entry(Id);
    Id_Name(Id, entry != nullptr ? entry->pw_name : nullptr, entry != nullptr, u"uid_", Out);
}

void Hst_User::Full_Name(const Fnd_String& User, Fnd_String& Out) {
    const passwd* entry = User_Entry(User);
    Fnd_String comment;
    if (entry == nullptr || !From_Bytes(entry->pw_gecos, comment)) {
        Out = Unknown_Name;
        return;
    }
    Const_Fnd_String_Iterator at(&comment);
    Fnd_String_Library::Get_Token(at, Fnd_String(u","), 0, Out);
}

void Hst_User::Group_Name(const Fnd_String& User, Fnd_String& Out) {
    const passwd* entry = User_Entry(User);
    if (entry == nullptr) {
        Out = Unknown_Name;
        return;
    }
    Group(static_cast<long>(entry->pw_gid), Out);
}

long Hst_User::Group_Id() { return static_cast<long>(getegid()); }

long Hst_User::Group_Id(const Fnd_String& Name) {
    AdMbcsString name;
    if (!To_Bytes(Name, name)) return -1;
    const group* entry = getgrnam(name.getData());
    return entry != nullptr ? static_cast<long>(entry->gr_gid) : -1;
}

long Hst_User::Is_Primary(long Id) { return Id == Group_Id(); }

long Hst_User::Is_Member(long Id) { return Is_Primary(Id) || Is_Supplemental_Group(Id); }

long Hst_User::Is_Supplemental_Group(long Id) {
    for (gid_t group : Supplementary_Groups())
        if (!Hst_Ignore_Group(static_cast<long>(group)) && static_cast<long>(group) == Id)
            return 1;
    return 0;
}

void Hst_User::Groups(long*& Array, long& Count) {
    const std::vector<gid_t> groups = Supplementary_Groups();
    Count = static_cast<long>(groups.size());
    Array = new long[groups.size()];
    for (size_t i = 0; i < groups.size(); ++i) Array[i] = static_cast<long>(groups[i]);
}

long Hst_User::Set_Current_Groups() { return 0; }

Fnd_String Hst_User::Group() {
    Fnd_String name;
    Group(name);
    return name;
}

void Hst_User::Group(Fnd_String& Out) { Group(Group_Id(), Out); }

void Hst_User::Group(long Id, Fnd_String& Out) {
    const group* entry = Id < 0 ? nullptr : getgrgid(static_cast<gid_t>(Id));
    Id_Name(Id, entry != nullptr ? entry->gr_name : nullptr, entry != nullptr, u"gid_", Out);
}

const Fnd_String& Hst_User::Home_Directory(const Fnd_String& User) {
    if (!User.Is_Empty()) {
        static Fnd_String* named = new Fnd_String();
        const passwd* entry = User_Entry(User);
        if (entry == nullptr || !From_Bytes(entry->pw_dir, *named)) named->Make_Empty();
        return *named;
    }
    const Fnd_String& home = Hst_Switches::Env_Home_Switch_Value();
    if (!home.Is_Empty()) return home;
    static Fnd_String* own = nullptr;
    if (own == nullptr) {
        own = new Fnd_String();
        const passwd* entry = User_Entry(User_Id());
        if (entry == nullptr || !From_Bytes(entry->pw_dir, *own)) own->Make_Empty();
    }
    return *own;
}

Fnd_String Hst_User::Login_Shell() {
    Fnd_String shell;
    Login_Shell(shell);
    return shell;
}

void Hst_User::Login_Shell(Fnd_String& Out) { Login_Shell(User_Id(), Out); }

void Hst_User::Login_Shell(long Id, Fnd_String& Out) {
    const passwd* entry = User_Entry(Id);
    if (entry == nullptr || !From_Bytes(entry->pw_shell, Out)) Out.Make_Empty();
}
