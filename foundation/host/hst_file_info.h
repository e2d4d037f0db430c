// Hst_File_Info: what the system knows of one file, a complete status record with
// questions on it. Hst_Filesystem fills it; a default record is nil (all zero).
#pragma once

#include <sys/stat.h>

#include <cstdint>

#include "foundation/base/fnd_object.h"
#include "foundation/host/hst_timestamp.h"

class Fnd_String;

enum Hst_File_Type {
    Hst_Nil_File_Type = 0,
    Hst_Directory_Type = 1,
    Hst_Regular_Type = 2,
    Hst_Symbolic_Link_Type = 3,
    Hst_Fifo_Type = 4,
    Hst_Socket_Type = 5,
    Hst_Character_Special_Type = 6,
    Hst_Block_Special_Type = 7,
    Hst_Network_Special_Type = 8
};

// "Hst_Nil_File_Type" ... "Hst_Network_Special_Type"; the nil name for another value.
const Code_Unit* Hst_File_Type_Image(long Type);

class Hst_File_Info : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_File_Info)
public:
    Hst_File_Info();
    explicit Hst_File_Info(const struct stat& Status) : Status(Status) {}
    Hst_File_Info(const Hst_File_Info&) = default;
    Hst_File_Info& operator=(const Hst_File_Info&) = default;

    // Device, inode, mode, links, owner, group, special device, size, block size,
    // blocks and the three times.
    long Is_Equal(const Fnd_Object& Other) const override;

    long Is_Nil() const { return File_Type() == Hst_Nil_File_Type; }
    void Make_Nil();
    Hst_File_Type File_Type() const;
    long Is_File() const { return File_Type() == Hst_Regular_Type; }
    long Is_Directory() const { return File_Type() == Hst_Directory_Type; }

    long Same_File(const Hst_File_Info& Other) const;
    long Same_Filesystem(const Hst_File_Info& Other) const;
    void Get_Location(long& Inode, long& Device) const;

    long Owner() const { return static_cast<long>(Status.st_uid); }
    long Group() const { return static_cast<long>(Status.st_gid); }
    long References() const { return static_cast<long>(Status.st_nlink); }
    int64_t Length() const { return static_cast<int64_t>(Status.st_size); }
    // The size in units of 1024 bytes, rounded up.
    int64_t Blocks() const;

    // Without Effective: the real user owns it. With it: the effective user owns it or
    // is the superuser.
    long Owned(long Effective) const;
    // The real or effective group is the file's; or With_Supplemental and the file's
    // group is a supplementary group of the process.
    long Grouped(long Effective, long With_Supplemental) const;
    long Same_Owner(const Hst_File_Info& Other) const { return Owner() == Other.Owner(); }
    long Same_Group(const Hst_File_Info& Other) const { return Group() == Other.Group(); }
    long Same_Access(const Hst_File_Info& Other) const;
    // "<unknown>" for a nil record, an id with no entry, or a name that doesn't convert.
    Fnd_String Owner_Name() const;
    Fnd_String Group_Name() const;

    // For the effective identity: the owner's, the group's or the others' bits. The
    // superuser gets no exemption. Executable only for a regular file, searchable only
    // for a directory.
    long Is_Readable() const;
    long Is_Writable() const;
    long Is_Executable() const;
    long Is_Searchable() const;

    long Newer(const Hst_File_Info& Other) const;
    // Same modification time and size.
    long Unchanged(const Hst_File_Info& Other) const;
    Hst_Timestamp Timestamp() const { return Last_Modified(); }
    Hst_Timestamp Last_Modified() const { return Hst_Timestamp(Status.st_mtime); }
    Hst_Timestamp Last_Accessed() const { return Hst_Timestamp(Status.st_atime); }
    Hst_Timestamp Last_Changed() const { return Hst_Timestamp(Status.st_ctime); }

    void Set_Info(const struct stat& Info) { Status = Info; }
    const struct stat& Get_Status() const { return Status; }
    struct stat& Get_Status() { return Status; }

    // Appends "<type>; inode N", with Full "; refs N; dev (major,minor)", "; uid N",
    // with Full "; gid N", "; mode <octal>; size N", and with Full the three times,
    // behind "; " (One_Line) or a newline.
    void Image(Fnd_String& Text, long Full, long One_Line) const;

    void Permissions_Image(Fnd_String& Text) const;
    // Nine characters in the manner of a directory listing ("rwxr-x---"), "-" for a
    // bit that is not set, and "s" (with execute) or "S" (without) in the execute place
    // of user and group for the set-id bits.
    static Fnd_String Permissions_Image(unsigned long Mode);

private:
    struct stat Status;

    // The bit of Owner_Bit's kind (0400, 0200 or 0100) that applies to the effective
    // identity.
    long Access(unsigned long Owner_Bit) const;
};
