// File information: types, sizes, ownership and access (no exemption for the superuser).
#include "foundation/host/hst_file_info.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_user.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;
namespace fs = std::filesystem;

namespace {

class File_Info : public ::testing::Test {
protected:
    Hst_File_Info Info(const std::string& Path, bool Link = false) const {
        Hst_File_Info info;
        Fnd_Condition condition;
        if (Link)
            Hst_Filesystem::Get_Symbolic_Link_Info(Wide(Path), info, condition);
        else
            Hst_Filesystem::Get_Info(Wide(Path), info, condition);
        EXPECT_FALSE(condition.Failed()) << Path;
        return info;
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

// A record of a file owned as the arguments say, with Mode's permission bits.
Hst_File_Info Synthetic(uid_t Owner, gid_t Group, mode_t Mode) {
    Hst_File_Info info;
    info.Get_Status().st_uid = Owner;
    info.Get_Status().st_gid = Group;
    info.Get_Status().st_mode = Mode;
    return info;
}

gid_t Foreign_Group() {
    gid_t group = getegid() + 1;
    while (Hst_User::Is_Supplemental_Group(static_cast<long>(group)) || group == getgid()) ++group;
    return group;
}

}  // namespace

TEST_F(File_Info, ANilRecordHasNoTypeAndNoNamesAndBlocksAreKilobytesRoundedUp) {
    Hst_File_Info info;
    EXPECT_EQ(info.Is_Nil(), 1);
    EXPECT_EQ(info.File_Type(), Hst_Nil_File_Type);
    EXPECT_EQ(Narrow(info.Owner_Name()), "<unknown>");
    EXPECT_EQ(Narrow(info.Group_Name()), "<unknown>");
    Hst_File_Info real = Info(Dir);
    EXPECT_EQ(real.Is_Nil(), 0);
    real.Make_Nil();
    EXPECT_EQ(real.Is_Nil(), 1);
    EXPECT_EQ(real == Hst_File_Info(), 1);
    // Blocks are kilobytes rounded up.
    const std::pair<off_t, int64_t> sizes[] = {{0, 0}, {1, 1}, {1024, 1}, {1025, 2}, {4096, 4}};
    for (const auto& [size, blocks] : sizes) {
        info.Get_Status().st_size = size;
        EXPECT_EQ(info.Blocks(), blocks) << size;
    }
}

TEST_F(File_Info, TypesOfTheFilesOfASystem) {
    std::ofstream(Dir + "/file") << "x";
    fs::create_symlink("file", Dir + "/link");
    mkfifo((Dir + "/fifo").c_str(), 0600);
    ASSERT_EQ(mknod((Dir + "/sock").c_str(), S_IFSOCK | 0600, 0), 0);
    EXPECT_EQ(Info(Dir).File_Type(), Hst_Directory_Type);
    EXPECT_EQ(Info(Dir).Is_Directory(), 1);
    EXPECT_EQ(Info(Dir + "/file").File_Type(), Hst_Regular_Type);
    EXPECT_EQ(Info(Dir + "/file").Is_File(), 1);
    EXPECT_EQ(Info(Dir + "/link", true).File_Type(), Hst_Symbolic_Link_Type);
    EXPECT_EQ(Info(Dir + "/link").File_Type(), Hst_Regular_Type);
    EXPECT_EQ(Info(Dir + "/fifo").File_Type(), Hst_Fifo_Type);
    EXPECT_EQ(Info(Dir + "/sock").File_Type(), Hst_Socket_Type);
    EXPECT_EQ(Info("/dev/null").File_Type(), Hst_Character_Special_Type);

    EXPECT_EQ(Narrow(Hst_File_Type_Image(Hst_Block_Special_Type)), "Hst_Block_Special_Type");
    EXPECT_EQ(Narrow(Hst_File_Type_Image(Hst_Network_Special_Type)), "Hst_Network_Special_Type");
    EXPECT_EQ(Narrow(Hst_File_Type_Image(9)), "Hst_Nil_File_Type");
}

TEST_F(File_Info, AccessUsesTheOwnerTheGroupOrTheOthersBitsAndTheFileType) {
    const uid_t me = geteuid(), other = geteuid() + 1;
    // Owner: only the owner's bits count, for the superuser too.
    EXPECT_EQ(Synthetic(me, Foreign_Group(), S_IFREG | 0077).Is_Readable(), 0);
    EXPECT_EQ(Synthetic(me, Foreign_Group(), S_IFREG | 0400).Is_Readable(), 1);
    EXPECT_EQ(Synthetic(me, Foreign_Group(), S_IFREG | 0400).Is_Writable(), 0);
    // Group: another owner, our group.
    EXPECT_EQ(Synthetic(other, getegid(), S_IFREG | 0020).Is_Writable(), 1);
    EXPECT_EQ(Synthetic(other, getegid(), S_IFREG | 0707).Is_Writable(), 0);
    // Others: neither.
    EXPECT_EQ(Synthetic(other, Foreign_Group(), S_IFREG | 0004).Is_Readable(), 1);
    EXPECT_EQ(Synthetic(other, Foreign_Group(), S_IFREG | 0770).Is_Readable(), 0);

    // Executable is for files, searchable for directories.
    const Hst_File_Info dir = Synthetic(geteuid(), getegid(), S_IFDIR | 0700);
    EXPECT_EQ(dir.Is_Executable(), 0);
    EXPECT_EQ(dir.Is_Searchable(), 1);
    const Hst_File_Info file = Synthetic(geteuid(), getegid(), S_IFREG | 0700);
    EXPECT_EQ(file.Is_Executable(), 1);
    EXPECT_EQ(file.Is_Searchable(), 0);
    EXPECT_EQ(Synthetic(geteuid(), getegid(), S_IFREG | 0600).Is_Executable(), 0);

    // A real file without read bits is not readable, whoever we are.
    std::ofstream(Dir + "/closed") << "x";
    chmod((Dir + "/closed").c_str(), 0);
    EXPECT_EQ(Info(Dir + "/closed").Is_Readable(), 0);
}

TEST_F(File_Info, OwnershipAndGroups) {
    const Hst_File_Info mine = Synthetic(getuid(), getgid(), S_IFREG);
    EXPECT_EQ(mine.Owned(0), 1);
    EXPECT_EQ(mine.Grouped(0, 0), 1);
    const Hst_File_Info theirs = Synthetic(getuid() + 1, Foreign_Group(), S_IFREG);
    EXPECT_EQ(theirs.Owned(0), 0);
    EXPECT_EQ(theirs.Owned(1), geteuid() == 0 ? 1 : 0);
    EXPECT_EQ(theirs.Grouped(1, 1), 0);
    EXPECT_EQ(mine.Same_Owner(theirs), 0);
    EXPECT_EQ(mine.Same_Group(Synthetic(5, getgid(), 0)), 1);

    const Hst_File_Info real = Info(Dir);
    const passwd* entry = getpwuid(geteuid());
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(Narrow(real.Owner_Name()), entry->pw_name);
    EXPECT_NE(Narrow(real.Group_Name()), "<unknown>");
}

TEST_F(File_Info, ComparingRecords) {
    std::ofstream(Dir + "/a") << "12345";
    std::ofstream(Dir + "/b") << "12345";
    fs::create_hard_link(Dir + "/a", Dir + "/alias");
    chmod((Dir + "/a").c_str(), 0640);
    chmod((Dir + "/b").c_str(), 0640);
    Hst_File_Info a = Info(Dir + "/a"), b = Info(Dir + "/b"), alias = Info(Dir + "/alias");
    EXPECT_EQ(a.Same_File(alias), 1);
    EXPECT_EQ(a.Same_File(b), 0);
    EXPECT_EQ(a.Same_Filesystem(b), 1);
    EXPECT_EQ(a.Same_Access(b), 1);
    EXPECT_EQ(a == alias, 1);
    EXPECT_EQ(a == b, 0);
    EXPECT_EQ(a.References(), 2);
    long inode = 0, device = 0;
    a.Get_Location(inode, device);
    EXPECT_EQ(inode, static_cast<long>(a.Get_Status().st_ino));

    b.Get_Status().st_mtime = a.Get_Status().st_mtime + 10;
    EXPECT_EQ(b.Newer(a), 1);
    EXPECT_EQ(a.Newer(b), 0);
    EXPECT_EQ(a.Unchanged(b), 0);
    b.Get_Status().st_mtime = a.Get_Status().st_mtime;
    EXPECT_EQ(a.Unchanged(b), 1);
    b.Get_Status().st_size = 6;
    EXPECT_EQ(a.Unchanged(b), 0);
    EXPECT_EQ(a.Timestamp().Seconds, static_cast<int64_t>(a.Get_Status().st_mtime));

    Fnd_Object* copy = a.Clone();
    EXPECT_EQ(*copy == a, 1);
    delete copy;
}

TEST_F(File_Info, ImageShortFullAndOnOneLine) {
    setenv("TZ", "UTC", 1);
    tzset();
    Hst_File_Info info;
    struct stat& status = info.Get_Status();
    status.st_ino = 42;
    status.st_nlink = 3;
    status.st_dev = makedev(8, 1);
    status.st_uid = 1000;
    status.st_gid = 100;
    status.st_mode = S_IFREG | 0644;
    status.st_size = 1234;
    status.st_atime = 0;
    status.st_mtime = 60;
    status.st_ctime = 120;

    Fnd_String text(u"> ");
    info.Image(text, 0, 1);
    EXPECT_EQ(Narrow(text), "> Hst_Regular_Type; inode 42; uid 1000; mode 100644; size 1234");
    text.Make_Empty();
    info.Image(text, 1, 1);
    EXPECT_EQ(Narrow(text),
              "Hst_Regular_Type; inode 42; refs 3; dev (8,1); uid 1000; gid 100; mode 100644; "
              "size 1234; acc 01/01/70 00:00:00 (0); mod 01/01/70 00:01:00 (60); "
              "chg 01/01/70 00:02:00 (120)");
    text.Make_Empty();
    info.Image(text, 1, 0);
    EXPECT_NE(Narrow(text).find("size 1234\nacc 01/01/70"), std::string::npos) << Narrow(text);

    info.Permissions_Image(text);
    EXPECT_EQ(Narrow(text), "rw-r--r--");
    EXPECT_EQ(Narrow(Hst_File_Info::Permissions_Image(06750)), "rwsr-s---");
    EXPECT_EQ(Narrow(Hst_File_Info::Permissions_Image(06640)), "rwSr-S---");
    EXPECT_EQ(Narrow(Hst_File_Info::Permissions_Image(0754)), "rwxr-xr--");
    EXPECT_EQ(Narrow(Hst_File_Info::Permissions_Image(06711)), "rws--s--x");
}
