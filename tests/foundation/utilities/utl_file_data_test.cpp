// Utl_File_Data: own and link-target modes, access for the effective user, the image.
#include "foundation/utilities/utl_file_data.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "foundation/base/fnd_string.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;
namespace fs = std::filesystem;

namespace {

class File_Data : public ::testing::Test {
protected:
    Fnd_String Path(const std::string& Name) const { return Wide(Dir + "/" + Name); }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

}  // namespace

TEST_F(File_Data, AFileItsFieldsAndAMissingPath) {
    std::ofstream(Dir + "/file") << "12345";
    chmod((Dir + "/file").c_str(), 0640);
    struct stat status {};
    ASSERT_EQ(stat((Dir + "/file").c_str(), &status), 0);
    Utl_File_Data data(Path("file"), 1);
    EXPECT_EQ(data.Is_Nil(), 0);
    EXPECT_EQ(data.Mode, static_cast<unsigned long>(S_IFREG | 0640));
    EXPECT_EQ(data.Size, 5);
    EXPECT_EQ(data.Owner, static_cast<long>(status.st_uid));
    EXPECT_EQ(data.Group, static_cast<long>(status.st_gid));
    EXPECT_EQ(data.Modified, static_cast<long>(status.st_mtime));
    EXPECT_EQ(data.Is_Link, 0);
    EXPECT_EQ(data.Is_Directory(), 0);

    data.Reuse(Path("missing"), 1);
    EXPECT_EQ(data.Is_Nil(), 1);
    EXPECT_EQ(data.Size, 0);
    data.Initialize(Fnd_String(u"\xD800"), 1);
    EXPECT_EQ(data.Is_Nil(), 1);
    data.Initialize(Wide(Dir), 0);
    EXPECT_EQ(data.Is_Directory(), 1);
    data.Make_Nil();
    EXPECT_EQ(data.Is_Nil(), 1);
}

TEST_F(File_Data, LinksWithAndWithoutFollowing) {
    fs::create_directory(Dir + "/dir");
    chmod((Dir + "/dir").c_str(), 0750);
    fs::create_directory_symlink("dir", Dir + "/to_dir");
    fs::create_symlink("nowhere", Dir + "/dangling");

    Utl_File_Data to_dir(Path("to_dir"), 1);
    EXPECT_EQ(to_dir.Is_Link, 1);
    EXPECT_TRUE(S_ISLNK(to_dir.Mode));
    EXPECT_EQ(to_dir.Link_Mode, static_cast<unsigned long>(S_IFDIR | 0750));
    EXPECT_EQ(to_dir.Is_Directory(), 1);

    Utl_File_Data dangling(Path("dangling"), 1);
    EXPECT_EQ(dangling.Is_Link, 1);
    EXPECT_EQ(dangling.Link_Mode, 0u);
    EXPECT_EQ(dangling.Is_Directory(), 0);
    Utl_File_Data unfollowed(Path("dangling"), 0);
    EXPECT_EQ(unfollowed.Is_Link, 1);
    EXPECT_EQ(unfollowed.Link_Mode, 0u);
    EXPECT_EQ(unfollowed.Is_Directory(), 1);
}

TEST_F(File_Data, AccessAndBitsOfTheChosenMode) {
    std::ofstream(Dir + "/file") << "x";
    chmod((Dir + "/file").c_str(), 0451);
    fs::create_symlink("file", Dir + "/link");
    Utl_File_Data link(Path("link"), 1);
    // A link is judged by its target: read for the owner, nothing else.
    EXPECT_EQ(link.Is_Readable(), 1);
    EXPECT_EQ(link.Is_Writable(), 0);
    EXPECT_EQ(link.Is_Executable(), 0);
    EXPECT_EQ(link.Check_Access(0600), 0);
    // Each bit of the target's mode, or of the link's own (0777), and the same as text.
    using Bit = long (Utl_File_Data::*)(long) const;
    const Bit bits[] = {&Utl_File_Data::User_Reads,     &Utl_File_Data::User_Writes,
                        &Utl_File_Data::User_Executes,  &Utl_File_Data::Group_Reads,
                        &Utl_File_Data::Group_Writes,   &Utl_File_Data::Group_Executes,
                        &Utl_File_Data::Others_Reads,   &Utl_File_Data::Others_Writes,
                        &Utl_File_Data::Others_Executes};
    for (long own : {0, 1}) {
        std::string set, image_text = own ? "rwxrwxrwx" : "r--r-x--x";
        for (Bit bit : bits) set += (link.*bit)(own) ? 'x' : '-';
        EXPECT_EQ(set, own ? "xxxxxxxxx" : "x--x-x--x");
        Fnd_String image;
        link.Acl_Image(image, own);
        EXPECT_EQ(Narrow(image), image_text);
    }

    // Another owner: the group's bits for our real group, else the others'.
    Utl_File_Data other;
    other.Mode = S_IFREG | 0046;
    other.Owner = static_cast<long>(geteuid()) + 1;
    other.Group = static_cast<long>(getgid());
    EXPECT_EQ(other.Is_Readable(), 1);
    EXPECT_EQ(other.Is_Writable(), 0);
    other.Group = static_cast<long>(getgid()) + 1;
    EXPECT_EQ(other.Is_Writable(), 1);
    EXPECT_EQ(other.Check_Access(0600), 1);
}

TEST_F(File_Data, TracingTellsEachReading) {
    Utl_File_Data::Set_Trace(2);
    testing::internal::CaptureStdout();
    Utl_File_Data first(Path("a"), 0);
    Utl_File_Data second(Path("b"), 1);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "==> Utl_File_Data::Initialize " + Dir + "/a, stop_at_link\n"
                   "==> Utl_File_Data::Initialize " + Dir + "/b\n");
    Utl_File_Data::Set_Trace(1);
    testing::internal::CaptureStdout();
    Utl_File_Data quiet(Path("c"), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
