#include "foundation/host/hst_file_info.h"

#include <grp.h>
#include <pwd.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstring>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_user.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

const Code_Unit* const Type_Names[] = {
    u"Hst_Nil_File_Type",          u"Hst_Directory_Type",     u"Hst_Regular_Type",
    u"Hst_Symbolic_Link_Type",     u"Hst_Fifo_Type",          u"Hst_Socket_Type",
    u"Hst_Character_Special_Type", u"Hst_Block_Special_Type", u"Hst_Network_Special_Type"};

Fnd_String Decimal(long Value) { return Fnd_String_Library::To_String(Value); }

Fnd_String Converted_Name(const char* Bytes) {
    Fnd_String name;
    if (Bytes == nullptr || !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Bytes, name,
                                                      AdCharset::cvt_stop))
        return Fnd_String(Hst_User::Unknown_Name);
    return name;
}

// Local date and time, then the seconds in parentheses.
void Append_Time(Fnd_String& Text, const Code_Unit* Label, time_t Seconds) {
    Text.Append(Label);
    Text.Append(Hst_Timestamp(Seconds).Image(Locale_Date, Locale_Time, 1));
    Text.Append(u" (");
    Text.Append(Decimal(static_cast<long>(Seconds)));
    Text.Append(u")");
}

}  // namespace

const Code_Unit* Hst_File_Type_Image(long Type) {
    if (Type < Hst_Nil_File_Type || Type > Hst_Network_Special_Type) return Type_Names[0];
    return Type_Names[Type];
}

Hst_File_Info::Hst_File_Info() { Make_Nil(); }

void Hst_File_Info::Make_Nil() { std::memset(&Status, 0, sizeof Status); }

long Hst_File_Info::Is_Equal(const Fnd_Object& Other) const {
    const Hst_File_Info* other = Convert(&Other);
    if (other == nullptr) return 0;
    const struct stat& a = Status;
    const struct stat& b = other->Status;
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_mode == b.st_mode &&
           a.st_nlink == b.st_nlink && a.st_uid == b.st_uid && a.st_gid == b.st_gid &&
           a.st_rdev == b.st_rdev && a.st_size == b.st_size && a.st_blksize == b.st_blksize &&
           a.st_blocks == b.st_blocks && a.st_atime == b.st_atime &&
           a.st_mtime == b.st_mtime && a.st_ctime == b.st_ctime;
}

Hst_File_Type Hst_File_Info::File_Type() const {
    switch (Status.st_mode & S_IFMT) {
        case S_IFDIR: return Hst_Directory_Type;
        case S_IFREG: return Hst_Regular_Type;
        case S_IFLNK: return Hst_Symbolic_Link_Type;
        case S_IFIFO: return Hst_Fifo_Type;
        case S_IFSOCK: return Hst_Socket_Type;
        case S_IFCHR: return Hst_Character_Special_Type;
        case S_IFBLK: return Hst_Block_Special_Type;
        default: return Hst_Nil_File_Type;
    }
}

long Hst_File_Info::Same_File(const Hst_File_Info& Other) const {
    return Status.st_dev == Other.Status.st_dev && Status.st_ino == Other.Status.st_ino;
}

long Hst_File_Info::Same_Filesystem(const Hst_File_Info& Other) const {
    return Status.st_dev == Other.Status.st_dev;
}

void Hst_File_Info::Get_Location(long& Inode, long& Device) const {
    Inode = static_cast<long>(Status.st_ino);
    Device = static_cast<long>(Status.st_dev);
}

int64_t Hst_File_Info::Blocks() const { return (Length() + 1023) / 1024; }

long Hst_File_Info::Owned(long Effective) const {
    if (!Effective) return getuid() == Status.st_uid;
    return geteuid() == Status.st_uid || geteuid() == 0;
}

long Hst_File_Info::Grouped(long Effective, long With_Supplemental) const {
    const gid_t group = Effective ? getegid() : getgid();
    if (group == Status.st_gid) return 1;
    return With_Supplemental && Hst_User::Is_Supplemental_Group(static_cast<long>(Status.st_gid));
}

long Hst_File_Info::Same_Access(const Hst_File_Info& Other) const {
    return (Status.st_mode & 0777) == (Other.Status.st_mode & 0777);
}

Fnd_String Hst_File_Info::Owner_Name() const {
    if (Is_Nil()) return Fnd_String(Hst_User::Unknown_Name);
    const passwd* entry = getpwuid(Status.st_uid);
    return Converted_Name(entry != nullptr ? entry->pw_name : nullptr);
}

Fnd_String Hst_File_Info::Group_Name() const {
    if (Is_Nil()) return Fnd_String(Hst_User::Unknown_Name);
    const group* entry = getgrgid(Status.st_gid);
    return Converted_Name(entry != nullptr ? entry->gr_name : nullptr);
}

long Hst_File_Info::Access(unsigned long Owner_Bit) const {
    unsigned long bit = Owner_Bit >> 6;  // the others' bit
    if (geteuid() == Status.st_uid)
        bit = Owner_Bit;
    else if (getegid() == Status.st_gid ||
             Hst_User::Is_Supplemental_Group(static_cast<long>(Status.st_gid)))
        bit = Owner_Bit >> 3;
    return (Status.st_mode & bit) != 0;
}

long Hst_File_Info::Is_Readable() const { return Access(S_IRUSR); }

long Hst_File_Info::Is_Writable() const { return Access(S_IWUSR); }

long Hst_File_Info::Is_Executable() const { return Is_File() && Access(S_IXUSR); }

long Hst_File_Info::Is_Searchable() const { return Is_Directory() && Access(S_IXUSR); }

long Hst_File_Info::Newer(const Hst_File_Info& Other) const {
    return Status.st_mtime > Other.Status.st_mtime;
}

long Hst_File_Info::Unchanged(const Hst_File_Info& Other) const {
    return Status.st_mtime == Other.Status.st_mtime && Status.st_size == Other.Status.st_size;
}

void Hst_File_Info::Image(Fnd_String& Text, long Full, long One_Line) const {
    Text.Append(Hst_File_Type_Image(File_Type()));
    Text.Append(u"; inode ");
    Text.Append(Decimal(static_cast<long>(Status.st_ino)));
    if (Full) {
        Text.Append(u"; refs ");
        Text.Append(Decimal(static_cast<long>(Status.st_nlink)));
        // The platform's own split of the device number.
        Text.Append(u"; dev (");
        Text.Append(Decimal(static_cast<long>(major(Status.st_dev))));
        Text.Append(u",");
        Text.Append(Decimal(static_cast<long>(minor(Status.st_dev))));
        Text.Append(u")");
    }
    Text.Append(u"; uid ");
    Text.Append(Decimal(Owner()));
    if (Full) {
        Text.Append(u"; gid ");
        Text.Append(Decimal(Group()));
    }
    Text.Append(u"; mode ");
    Text.Append(Fnd_String_Library::To_String(static_cast<long>(Status.st_mode), 8));
    Text.Append(u"; size ");
    Text.Append(Decimal(static_cast<long>(Length())));
    if (!Full) return;
    Text.Append(One_Line ? u"; " : u"\n");
    Append_Time(Text, u"acc ", Status.st_atime);
    Append_Time(Text, u"; mod ", Status.st_mtime);
    Append_Time(Text, u"; chg ", Status.st_ctime);
}

void Hst_File_Info::Permissions_Image(Fnd_String& Text) const {
    Text = Permissions_Image(static_cast<unsigned long>(Status.st_mode));
}

Fnd_String Hst_File_Info::Permissions_Image(unsigned long Mode) {
    static constexpr unsigned long Bits[9] = {S_IRUSR, S_IWUSR, S_IXUSR, S_IRGRP, S_IWGRP,
                                              S_IXGRP, S_IROTH, S_IWOTH, S_IXOTH};
    static constexpr Code_Unit Letters[] = u"rwxrwxrwx";
    Code_Unit image[9];
    for (int i = 0; i < 9; ++i) image[i] = (Mode & Bits[i]) ? Letters[i] : u'-';
    if (Mode & S_ISUID) image[2] = (Mode & S_IXUSR) ? u's' : u'S';
    if (Mode & S_ISGID) image[5] = (Mode & S_IXGRP) ? u's' : u'S';
    return Fnd_String(image, 9);
}
