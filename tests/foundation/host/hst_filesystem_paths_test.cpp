// The file system interface on real files in a fresh directory.
#include "foundation/host/hst_filesystem.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem_calls.h"
#include "foundation/host/hst_timestamp.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;
namespace fs = std::filesystem;

namespace {

const Fnd_String Unconvertible(u"/tmp/\xD800");

// The class and number of a condition's error: "fs 201", "sys 41 errno 2", "ok".
std::string Error_Of(const Fnd_Condition& Condition) {
    if (!Condition.Failed()) return "ok";
    if (const auto* error = Hst_Filesystem_Error::Convert(Condition.Get_Error()))
        return "fs " + std::to_string(error->Number);
    if (const auto* error = Hst_Sys_Call_Error::Convert(Condition.Get_Error()))
        return "sys " + std::to_string(error->Text) + " errno " + std::to_string(error->Errno);
    return "other";
}

// A condition that has failed, to show that each operation clears what it is given.
Fnd_Condition Dirty() { return Fnd_Condition(Hst_Sys_Call_Error(1, 1)); }

class Filesystem : public ::testing::Test {
protected:
    Fnd_String Path(const std::string& Name) const { return Wide(Dir + "/" + Name); }
    std::string Make(const std::string& Name, const std::string& Content = "") const {
        std::ofstream(Dir + "/" + Name) << Content;
        return Dir + "/" + Name;
    }

    // Runs each step of one operation on a condition that has failed before, to show that
    // each call clears it; a null name stands for the empty path.
    struct Step {
        const char* Name;
        long Flag;
        std::string Expected;
    };
    using Operation = void (*)(const Fnd_String&, Fnd_Condition&, long);
    void Run(Operation Do, std::initializer_list<Step> Steps) const {
        for (const Step& step : Steps) {
            SCOPED_TRACE(std::string(step.Name ? step.Name : "<empty>") + " " +
                         std::to_string(step.Flag));
            Fnd_Condition condition = Dirty();
            Do(step.Name ? Path(step.Name) : Fnd_String(), condition, step.Flag);
            EXPECT_EQ(Error_Of(condition), step.Expected);
        }
    }

    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

bool Close_On_Exec(int Fd) { return (fcntl(Fd, F_GETFD) & FD_CLOEXEC) != 0; }

bool Is_Root() { return geteuid() == 0; }

}  // namespace

TEST(Hst_Filesystem_Retry, InterruptsRepeatWithoutLimitTimeoutsFiftyTimesAgainOnlyForReads) {
    // (errno, failures before success, again-is-retried) -> (result, calls made)
    struct Case {
        int Error, Failures;
        bool Again;
        int Result, Calls;
    };
    const Case cases[] = {{EINTR, 1000, false, 7, 1001}, {ETIMEDOUT, 1000, false, -1, 50},
                          {ETIMEDOUT, 49, false, 7, 50}, {EAGAIN, 300, true, 7, 301},
                          {EAGAIN, 300, false, -1, 1},   {ENOENT, 300, true, -1, 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.Error) + " x" + std::to_string(c.Failures));
        int calls = 0;
        auto call = [&] {
            if (++calls <= c.Failures) {
                errno = c.Error;
                return -1;
            }
            return 7;
        };
        EXPECT_EQ(hst_filesystem_detail::Retry(call, c.Again), c.Result);
        EXPECT_EQ(calls, c.Calls);
        if (c.Result == -1) {
            EXPECT_EQ(errno, c.Error);
        }
    }
}

TEST(Hst_Filesystem_Rules, EachErrnoMapsToItsMessage) {
    struct Row {
        int Error;
        const char* General;
        const char* Directory;
        const char* File;
    };
    const Row rows[] = {
        {EACCES, "fs 4", "fs 4", "fs 4"},
        {EPERM, "fs 5", "fs 5", "fs 5"},
        {ELOOP, "fs 6", "fs 6", "fs 6"},
        {ENAMETOOLONG, "fs 7", "fs 7", "fs 7"},
        {EIO, "fs 8", "fs 8", "fs 8"},
        {EROFS, "sys 99 errno 30", "fs 9", "sys 99 errno 30"},
        {ENOSPC, "sys 99 errno 28", "fs 11", "sys 99 errno 28"},
        {ENOTDIR, "sys 99 errno 20", "fs 101", "fs 101"},
        {ENOENT, "sys 99 errno 2", "fs 102", "fs 201"},
        {EBUSY, "sys 99 errno 16", "sys 99 errno 16", "sys 99 errno 16"},
    };
    const Fnd_String path = Wide("/p");
    for (const Row& row : rows) {
        Fnd_Condition condition;
        Hst_Filesystem::General_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.General) << row.Error;
        Hst_Filesystem::Directory_Write_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.Directory) << row.Error;
        Hst_Filesystem::File_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.File) << row.Error;
        EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(condition, row.Error) +
                      Hst_Sys_Call_Error::Is_Errno(condition, row.Error),
                  1);
    }
}

TEST_F(Filesystem, MakeDirectoryNewExistingAndOnAFile) {
    Make("file");
    Run(Hst_Filesystem::Make_Directory,
        {{"d", 0, "ok"}, {"d", 1, "ok"}, {"d", 0, "fs 10"}, {"file", 1, "fs 10"},
         {"missing/d", 1, "fs 102"}, {"file/d", 1, "fs 101"}});
    EXPECT_TRUE(fs::is_directory(Dir + "/d"));
    Fnd_Condition condition;
    Hst_Filesystem::Make_Directory(Path("file"), condition, 1);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(condition, EEXIST), 1);
}

TEST_F(Filesystem, MakeDirectoryWithoutPermission) {
    if (Is_Root()) GTEST_SKIP() << "the superuser passes every permission check";
    fs::create_directories(Dir + "/locked/inner");
    chmod((Dir + "/locked/inner").c_str(), 0555);
    Fnd_Condition condition;
    // The parent can be searched but not written: the name isn't there.
    Hst_Filesystem::Make_Directory(Path("locked/inner/new"), condition, 0);
    EXPECT_EQ(Error_Of(condition), "fs 31");
    // The parent cannot even be searched.
    chmod((Dir + "/locked").c_str(), 0);
    Hst_Filesystem::Make_Directory(Path("locked/inner/new"), condition, 0);
    EXPECT_EQ(Error_Of(condition), "fs 32");
    chmod((Dir + "/locked").c_str(), 0755);
    chmod((Dir + "/locked/inner").c_str(), 0755);
}

TEST_F(Filesystem, DeletingFilesWithAndWithoutIgnoringMissingOnes) {
    Make("file");
    Make("plain");
    fs::create_directory(Dir + "/sub");
    Run(Hst_Filesystem::Delete_File,
        {{"file", 0, "ok"}, {"file", 1, "ok"}, {"no/such/file", 1, "ok"}, {"file", 0, "fs 201"},
         {nullptr, 1, "ok"}, {nullptr, 0, "fs 201"}, {"plain/below", 1, "ok"},
         {"plain/below", 0, "fs 101"}, {"sub", 0, "sys 105 errno " + std::to_string(EISDIR)}});
    EXPECT_FALSE(fs::exists(Dir + "/file"));

    symlink("nowhere", (Dir + "/link").c_str());
    Fnd_Condition condition = Dirty();
    Hst_Filesystem::Delete_Symbolic_Link(Path("link"), condition, 0);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_FALSE(fs::is_symlink(Dir + "/link"));
}

TEST_F(Filesystem, DeletingDirectories) {
    fs::create_directories(Dir + "/full/inner");
    Make("file");
    Run(Hst_Filesystem::Delete_Directory,
        {{"full", 0, "fs 103"}, {"full/inner", 0, "ok"}, {"full/inner", 1, "ok"},
         {"full/inner", 0, "fs 102"}, {nullptr, 0, "fs 102"}, {"file", 0, "fs 101"}});
}

TEST_F(Filesystem, ExistsAndWhenInDoubt) {
    Make("file");
    EXPECT_EQ(Hst_Filesystem::Exists(Path("file"), 0, 0), 1);
    EXPECT_EQ(Hst_Filesystem::Exists(Path("missing"), 0, 1), 0);
    EXPECT_EQ(Hst_Filesystem::Exists(Path("file/below"), 0, 1), 0);
    symlink("nowhere", (Dir + "/dangling").c_str());
    EXPECT_EQ(Hst_Filesystem::Exists(Path("dangling"), 0, 0), 0);
    EXPECT_EQ(Hst_Filesystem::Exists(Path("dangling"), 1, 0), 1);
    EXPECT_EQ(Hst_Filesystem::Exists(Unconvertible, 0, 1), 0);
    if (Is_Root()) GTEST_SKIP() << "the superuser can search every directory";
    fs::create_directory(Dir + "/closed");
    Make("closed/inside");
    chmod((Dir + "/closed").c_str(), 0);
    EXPECT_EQ(Hst_Filesystem::Exists(Path("closed/inside"), 0, 0), 0);
    EXPECT_EQ(Hst_Filesystem::Exists(Path("closed/inside"), 0, 1), 1);
}

TEST_F(Filesystem, OpeningDescriptorsCloseOnExec) {
    int fd = 5;
    Fnd_Condition condition = Dirty();
    Hst_Filesystem::Open_File(Path("new"), Hst_Filesystem::Hst_Open_None, condition, fd, 0);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(Error_Of(condition), "ok");

    Hst_Filesystem::Open_File(Path("missing"), Hst_Filesystem::Hst_Open_Read, condition, fd, 0);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(Error_Of(condition), "sys 2 errno 2");
    EXPECT_EQ(Hst_Sys_Call_Error::Convert(condition.Get_Error())->Mode,
              Hst_Filesystem::Hst_Open_Read);

    Hst_Filesystem::Open_File(Path("new"), Hst_Filesystem::Hst_Open_Write, condition, fd,
                              Hst_Filesystem::Hst_Open_Create | Hst_Filesystem::Hst_Open_Truncate);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_TRUE(Close_On_Exec(fd));
    EXPECT_EQ(Hst_Filesystem::Write(fd, "abc", 3, condition), 3);
    Hst_Filesystem::Close_File(fd, condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    Hst_Filesystem::Close_File(fd, condition);
    EXPECT_EQ(Error_Of(condition), "sys 5 errno " + std::to_string(EBADF));

    Hst_Filesystem::Open_File(Path("new"), Hst_Filesystem::Hst_Open_Write, condition, fd,
                              Hst_Filesystem::Hst_Open_Create | Hst_Filesystem::Hst_Open_Exclusive);
    EXPECT_EQ(Error_Of(condition), "sys 2 errno " + std::to_string(EEXIST));
    Hst_Filesystem::Open_File(Path("new"), Hst_Filesystem::Hst_Open_Write, condition, fd,
                              Hst_Filesystem::Hst_Open_Append);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Hst_Filesystem::Write(fd, "de", 2, condition), 2);
    Hst_Filesystem::Close_File(fd, condition);
    std::ifstream in(Dir + "/new");
    std::string content;
    in >> content;
    EXPECT_EQ(content, "abcde");
}

TEST_F(Filesystem, OpeningWithoutPermissionTellsTheMode) {
    if (Is_Root()) GTEST_SKIP() << "the superuser may open every file";
    Make("secret", "x");
    chmod((Dir + "/secret").c_str(), 0);
    int fd = -1;
    Fnd_Condition condition;
    Hst_Filesystem::Open_File(Path("secret"), Hst_Filesystem::Hst_Open_Read_Write, condition, fd, 0);
    EXPECT_EQ(Error_Of(condition), "fs 16");
    EXPECT_EQ(Hst_Filesystem_Error::Convert(condition.Get_Error())->Mode,
              Hst_Filesystem::Hst_Open_Read_Write);
}

TEST_F(Filesystem, MakeFileGivesTheOwnerWhatTheModeNeeds) {
    const mode_t saved = umask(0);
    int fd = 3;
    Fnd_Condition condition;
    Hst_Filesystem::Make_File(Path("none"), nullptr, Hst_Filesystem::Hst_Open_None, condition, fd,
                              Hst_Filesystem::Hst_Open_Create);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(Error_Of(condition), "sys 4 errno 0");
    EXPECT_FALSE(fs::exists(Dir + "/none"));

    Hst_Filesystem::Make_File(Path("plain"), nullptr, Hst_Filesystem::Hst_Open_Write, condition,
                              fd, Hst_Filesystem::Hst_Open_Create);
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(Close_On_Exec(fd));
    close(fd);
    struct stat status {};
    ASSERT_EQ(stat((Dir + "/plain").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666u);

    // Permissions from a model, without its execute bits, plus what writing needs.
    Hst_File_Info model;
    model.Get_Status().st_mode = S_IFREG | 0045;
    Hst_Filesystem::Make_File(Path("modelled"), &model, Hst_Filesystem::Hst_Open_Write, condition,
                              fd, Hst_Filesystem::Hst_Open_Create);
    ASSERT_GE(fd, 0);
    close(fd);
    ASSERT_EQ(stat((Dir + "/modelled").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0244u);
    umask(saved);

    Hst_Filesystem::Create_File(Path("created"), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_TRUE(fs::exists(Dir + "/created"));
    Hst_Filesystem::Create_File(Path("created"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 2 errno " + std::to_string(EEXIST));
}

TEST_F(Filesystem, DescriptorPositionsSizesAndFlags) {
    const std::string file = Make("data", "0123456789");
    int fd = -1;
    Fnd_Condition condition;
    Hst_Filesystem::Open_File(Path("data"), Hst_Filesystem::Hst_Open_Read_Write, condition, fd, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Hst_Filesystem::End_Of_File(fd), 0);
    EXPECT_EQ(Hst_Filesystem::Reposition_File(fd, -2, Hst_Filesystem::Hst_From_End, condition), 8);
    char buffer[4] = {};
    EXPECT_EQ(Hst_Filesystem::Read(fd, buffer, 4, condition), 2);
    EXPECT_EQ(std::string(buffer, 2), "89");
    EXPECT_EQ(Hst_Filesystem::End_Of_File(fd), 1);
    EXPECT_EQ(Hst_Filesystem::Reposition_File(fd, -1, Hst_Filesystem::Hst_From_Start, condition), -1);
    EXPECT_EQ(Error_Of(condition), "sys 151 errno " + std::to_string(EINVAL));

    Hst_Filesystem::Truncate_File(fd, 4, condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(fs::file_size(file), 4u);
    Hst_Filesystem::Truncate_File(fd, 0, condition);
    EXPECT_EQ(Hst_Filesystem::End_Of_File(fd), 1);
    Hst_Filesystem::Synchronize(fd, condition);
    EXPECT_EQ(Error_Of(condition), "ok");

    Hst_Filesystem::Set_Non_Blocking(fd, 1, condition);
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    Hst_Filesystem::Set_Non_Blocking(fd, 0, condition);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    Hst_Filesystem::Close_File(fd, condition);

    Hst_Filesystem::Set_Non_Blocking(fd, 1, condition);
    EXPECT_EQ(Error_Of(condition), "sys 124 errno " + std::to_string(EBADF));
    Hst_Filesystem::Synchronize(fd, condition);
    EXPECT_EQ(Error_Of(condition), "sys 152 errno " + std::to_string(EBADF));
    Hst_Filesystem::Truncate_File(fd, 0, condition);
    EXPECT_EQ(Error_Of(condition), "sys 148 errno " + std::to_string(EBADF));
    EXPECT_EQ(Hst_Filesystem::End_Of_File(fd), 0);
}

TEST_F(Filesystem, StreamsLinesCountsAndEndOfFile) {
    FILE* stream = reinterpret_cast<FILE*>(1);
    Fnd_Condition condition = Dirty();
    Hst_Filesystem::Open_File(Path("s"), Hst_Filesystem::Hst_Open_None, condition, stream);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(Hst_Filesystem::File_Descriptor(nullptr), -1);

    Hst_Filesystem::Open_File(Path("s"), Hst_Filesystem::Hst_Open_Write, condition, stream);
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(Close_On_Exec(Hst_Filesystem::File_Descriptor(stream)));
    Hst_Filesystem::Write_String(stream, "one\ntwo\n", condition);
    EXPECT_EQ(Hst_Filesystem::Write(stream, "xyz", 3, condition), 3);
    EXPECT_EQ(Hst_Filesystem::Write(stream, "", 0, condition), 0);
    EXPECT_EQ(Error_Of(condition), "ok");
    Hst_Filesystem::Flush_File(stream, condition);
    Hst_Filesystem::Close_File(stream, condition);
    EXPECT_EQ(Error_Of(condition), "ok");

    Hst_Filesystem::Open_File(Path("s"), Hst_Filesystem::Hst_Open_Read, condition, stream);
    ASSERT_NE(stream, nullptr);
    char line[16];
    EXPECT_EQ(Hst_Filesystem::Read_String(stream, line, sizeof line, condition), line);
    EXPECT_STREQ(line, "one\n");
    EXPECT_EQ(Hst_Filesystem::End_Of_File(stream), 0);
    EXPECT_EQ(Hst_Filesystem::Reposition_File(stream, 4, Hst_Filesystem::Hst_From_Start, condition), 4);
    char bytes[16] = {};
    EXPECT_EQ(Hst_Filesystem::Read(stream, bytes, sizeof bytes, condition), 7);
    EXPECT_EQ(Error_Of(condition), "ok");  // end of file is no failure
    EXPECT_EQ(std::string(bytes, 7), "two\nxyz");
    EXPECT_EQ(Hst_Filesystem::End_Of_File(stream), 1);
    condition = Dirty();
    EXPECT_EQ(Hst_Filesystem::Read_String(stream, line, sizeof line, condition), nullptr);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(Hst_Filesystem::Reposition_File(stream, -100, Hst_Filesystem::Hst_From_Start, condition), -1);
    EXPECT_EQ(Error_Of(condition), "sys 150 errno " + std::to_string(EINVAL));
    Hst_Filesystem::Close_File(stream, condition);

    Hst_Filesystem::Open_File(Path("missing"), Hst_Filesystem::Hst_Open_Read, condition, stream);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(Error_Of(condition), "sys 3 errno 2");
    Hst_Filesystem::Open_File(-1, Hst_Filesystem::Hst_Open_Read, condition, stream);
    EXPECT_EQ(Error_Of(condition), "sys 3 errno " + std::to_string(EBADF));
}

TEST_F(Filesystem, StatusOfPathsLinksAndDescriptors) {
    Make("file", "12345");
    symlink("file", (Dir + "/link").c_str());
    Hst_File_Info info;
    Fnd_Condition condition = Dirty();
    Hst_Filesystem::Get_Info(Path("link"), info, condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(info.File_Type(), Hst_Regular_Type);
    EXPECT_EQ(info.Length(), 5);
    Hst_Filesystem::Get_Symbolic_Link_Info(Path("link"), info, condition);
    EXPECT_EQ(info.File_Type(), Hst_Symbolic_Link_Type);

    Hst_Filesystem::Get_Info(Path("missing"), info, condition);
    EXPECT_EQ(Error_Of(condition), "fs 201");
    EXPECT_EQ(info.Is_Nil(), 1);
    Hst_Filesystem::Get_Symbolic_Link_Info(Path("file/below"), info, condition);
    EXPECT_EQ(Error_Of(condition), "fs 101");

    const int fd = open((Dir + "/file").c_str(), O_RDONLY | O_CLOEXEC);
    Hst_Filesystem::Get_Info(fd, info, condition);
    EXPECT_EQ(info.Length(), 5);
    close(fd);
    Hst_Filesystem::Get_Info(fd, info, condition);
    EXPECT_EQ(Error_Of(condition), "sys 43 errno " + std::to_string(EBADF));
    EXPECT_EQ(info.Is_Nil(), 1);

    const struct stat* shared = Hst_Filesystem::Get_Stat(Path("file"), nullptr, condition);
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared->st_size, 5);
    EXPECT_EQ(Hst_Filesystem::Get_Stat(Path("file"), &info, condition), &info.Get_Status());
    EXPECT_EQ(Hst_Filesystem::Get_Stat(Path("missing"), nullptr, condition), nullptr);
    EXPECT_EQ(Error_Of(condition), "fs 201");
}

TEST_F(Filesystem, SymbolicLinksAliasesAndRenaming) {
    Make("file", "x");
    Fnd_Condition condition;
    Hst_Filesystem::Make_Symbolic_Link(Wide("file"), Path("link"), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    Fnd_String target = Wide("stale");
    Hst_Filesystem::Read_Symbolic_Link(Path("link"), target, condition);
    EXPECT_EQ(Narrow(target), "file");
    Hst_Filesystem::Read_Symbolic_Link(Path("missing"), target, condition);
    EXPECT_EQ(Error_Of(condition), "fs 301");
    EXPECT_TRUE(target.Is_Empty());
    Hst_Filesystem::Read_Symbolic_Link(Path("file"), target, condition);
    EXPECT_EQ(Error_Of(condition), "fs 302");
    Hst_Filesystem::Make_Symbolic_Link(Fnd_String(), Path("empty"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 102 errno 2");

    Hst_Filesystem::Rename_Symbolic_Link(Path("link"), Path("moved"), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_FALSE(fs::is_symlink(Dir + "/link"));
    EXPECT_EQ(fs::read_symlink(Dir + "/moved"), "file");
    // A rename onto a name that exists fails and puts the old link back.
    Make("taken");
    Hst_Filesystem::Rename_Symbolic_Link(Path("moved"), Path("taken"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 102 errno " + std::to_string(EEXIST));
    EXPECT_EQ(fs::read_symlink(Dir + "/moved"), "file");

    Hst_Filesystem::Make_Alias(Path("alias"), Path("file"), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(fs::hard_link_count(Dir + "/file"), 2u);
    Hst_Filesystem::Make_Alias(Path("alias2"), Path("missing"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 103 errno 2");

    Hst_Filesystem::Rename_File(Path("alias"), Path("renamed"), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_TRUE(fs::exists(Dir + "/renamed"));
    Hst_Filesystem::Rename_File(Path("alias"), Path("again"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 84 errno 2");
    const auto* error = Hst_Sys_Call_Error::Convert(condition.Get_Error());
    EXPECT_EQ(Narrow(error->Str), Dir + "/alias");
    EXPECT_EQ(Narrow(error->Str1), Dir + "/again");
    fs::create_directory(Dir + "/d1");
    Hst_Filesystem::Rename_Directory(Path("d1"), Path("d2"), condition);
    EXPECT_TRUE(fs::is_directory(Dir + "/d2"));
    Hst_Filesystem::Rename_Directory(Path("d1"), Path("d3"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 83 errno 2");

    Hst_Filesystem::Make_Named_Pipe(Path("fifo"), condition);
    EXPECT_TRUE(fs::is_fifo(Dir + "/fifo"));
    Hst_Filesystem::Make_Named_Pipe(Path("fifo"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 7 errno " + std::to_string(EEXIST));
}

TEST_F(Filesystem, TimestampsReadOnlyModesAndTheCreationMask) {
    Make("file");
    Fnd_Condition condition;
    Hst_Filesystem::Set_Timestamp(Path("file"), Hst_Timestamp(1000000000), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    Hst_File_Info info;
    Hst_Filesystem::Get_Info(Path("file"), info, condition);
    EXPECT_EQ(info.Last_Modified().Seconds, 1000000000);
    EXPECT_EQ(info.Last_Accessed().Seconds, 1000000000);
    Hst_Filesystem::Set_Timestamp(Path("file"), Hst_Timestamp(), condition);
    Hst_Filesystem::Get_Info(Path("file"), info, condition);
    EXPECT_GE(info.Last_Modified().Seconds, time(nullptr) - 5);
    Hst_Filesystem::Set_Timestamp(Path("missing"), Hst_Timestamp(), condition);
    EXPECT_EQ(Error_Of(condition), "fs 201");

    // Write bits and a file's set-group-id bit go; read and execute bits stay.
    chmod((Dir + "/file").c_str(), 02775);
    Hst_Filesystem::Make_Read_Only(Path("file"), nullptr, condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(fs::status(Dir + "/file").permissions(), fs::perms(0555));
    fs::create_directory(Dir + "/dir");
    chmod((Dir + "/dir").c_str(), 02775);
    Hst_Filesystem::Make_File_Read_Only(Path("dir"), condition, nullptr);
    struct stat status {};
    stat((Dir + "/dir").c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 02555u);
    Hst_Filesystem::Make_Read_Only(Path("missing"), nullptr, condition);
    EXPECT_EQ(Error_Of(condition), "fs 201");

    unsigned long keep, mask;
    Hst_Filesystem::Read_Only_Mode(1, keep, mask, 1);
    EXPECT_EQ(keep, 02777u);
    EXPECT_EQ(mask, 0777u);
    Hst_Filesystem::Executable_Mode(0, keep, mask, 0);
    EXPECT_EQ(keep, 0111u);
    EXPECT_EQ(mask, 0111u);

    const mode_t saved = umask(022);
    long user, group, others;
    Hst_Filesystem::Get_File_Creation_Mode(user, group, others, condition);
    EXPECT_EQ(user, 7);
    EXPECT_EQ(group, 5);
    EXPECT_EQ(others, 5);
    Hst_Filesystem::Set_File_Creation_Mode(6, 4, 0, condition);
    EXPECT_EQ(umask(saved), 0137);
}

TEST_F(Filesystem, TemporaryNamesCutThePrefixAndHaveNoDots) {
    unsetenv("TMPDIR");
    Fnd_Condition condition = Dirty();
    std::set<std::string> names;
    for (int i = 0; i < 200; ++i) {
        Fnd_String name;
        Hst_Filesystem::Make_Temp_Name(Wide(Dir), Wide("abcdefg"), name, condition);
        EXPECT_EQ(Error_Of(condition), "ok");
        const std::string text = Narrow(name);
        ASSERT_EQ(text.rfind(Dir + "/abcde", 0), 0u) << text;
        const std::string generated = text.substr(Dir.size() + 6);
        EXPECT_EQ(generated.size(), 6u);
        EXPECT_EQ(generated.find('.'), std::string::npos) << text;
        EXPECT_FALSE(fs::exists(text));
        names.insert(text);
    }
    EXPECT_GT(names.size(), 190u);

    Fnd_String name;
    Hst_Filesystem::Make_Temp_Name(Fnd_String(), Wide("p"), name, condition);
    EXPECT_EQ(Narrow(name).rfind("/tmp/p", 0), 0u);
    setenv("TMPDIR", Dir.c_str(), 1);
    Hst_Filesystem::Make_Temp_Name(Wide("/no/such/dir"), Wide("q"), name, condition);
    EXPECT_EQ(Narrow(name).rfind(Dir + "/q", 0), 0u);
}

namespace {

struct Visit {
    std::set<std::string> Names;
    int Stop_After = 1000;
};

void Collect(const Fnd_String& Name, void* Object, Fnd_Condition& Condition) {
    auto* visit = static_cast<Visit*>(Object);
    visit->Names.insert(Narrow(Name));
    if (static_cast<int>(visit->Names.size()) >= visit->Stop_After)
        Condition.Set_Error(Hst_Sys_Call_Error(1, 0), 1);
}

}  // namespace

TEST_F(Filesystem, TraversingADirectory) {
    Make("a");
    Make("b");
    fs::create_directory(Dir + "/c");
    Visit visit;
    Fnd_Condition condition = Dirty();
    Hst_Filesystem::Traverse_Directory(Wide(Dir), Collect, &visit, condition, 0, 0, 0);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(visit.Names, (std::set<std::string>{"a", "b", "c"}));

    Visit dots;
    Hst_Filesystem::Traverse_Directory(Wide(Dir), Collect, &dots, condition, 1, 0, 0);
    EXPECT_EQ(dots.Names, (std::set<std::string>{".", "..", "a", "b", "c"}));

    Visit stopping;
    stopping.Stop_After = 1;
    Hst_Filesystem::Traverse_Directory(Wide(Dir), Collect, &stopping, condition, 0, 0, 0);
    EXPECT_TRUE(condition.Failed());
    EXPECT_EQ(stopping.Names.size(), 1u);

    Visit none;
    Hst_Filesystem::Traverse_Directory(Path("missing"), Collect, &none, condition, 0, 0, 1);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_NE(condition.Get_Information(), nullptr);
    Hst_Filesystem::Traverse_Directory(Path("a"), Collect, &none, condition, 0, 0, 1);
    EXPECT_EQ(Error_Of(condition), "ok");
    Hst_Filesystem::Traverse_Directory(Path("missing"), Collect, &none, condition, 0, 0, 0);
    EXPECT_EQ(Error_Of(condition), "sys 1 errno 2");
    EXPECT_TRUE(none.Names.empty());
}

TEST_F(Filesystem, TheWorkingDirectoryIsCachedAndFollowsChanges) {
    // The tests after this one run where this one started.
    struct Back_Home {
        std::string Path = fs::current_path().string();
        ~Back_Home() {
            Fnd_Condition ignored;
            Hst_Filesystem::Set_Working_Directory(Wide(Path), ignored);
        }
    } back_home;
    EXPECT_EQ(Narrow(Hst_Filesystem::Working_Directory()), fs::current_path().string());
    Fnd_Condition condition;
    Hst_Filesystem::Set_Working_Directory(Wide(Dir), condition);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_EQ(Narrow(Hst_Filesystem::Working_Directory()), Dir);
    Fnd_String copy;
    Hst_Filesystem::Working_Directory(copy);
    EXPECT_EQ(Narrow(copy), Dir);
    Hst_Filesystem::Set_Working_Directory(Path("missing"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 21 errno 2");
    EXPECT_EQ(Narrow(Hst_Filesystem::Working_Directory()), Dir);

    // A directory removed under the process: the cache empties and the log hears of it.
    fs::create_directory(Dir + "/gone");
    Hst_Filesystem::Set_Working_Directory(Path("gone"), condition);
    ASSERT_EQ(rmdir((Dir + "/gone").c_str()), 0);
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Hst_Filesystem::Set_Working_Directory(Wide("."), condition);
    std::string log = testing::internal::GetCapturedStderr();
    log += testing::internal::GetCapturedStdout();
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_TRUE(Hst_Filesystem::Working_Directory().Is_Empty());
    EXPECT_NE(log.find("the working directory cannot be read"), std::string::npos) << log;
    EXPECT_NE(log.find("cannot read the working directory: No such file or directory"), std::string::npos) << log;
}

TEST_F(Filesystem, APathThatDoesNotConvertFailsTheOperation) {
    Fnd_Condition condition;
    Hst_File_Info info;
    Hst_Filesystem::Get_Info(Unconvertible, info, condition);
    EXPECT_EQ(Error_Of(condition), "sys 41 errno " + std::to_string(EILSEQ));
    int fd = 0;
    Hst_Filesystem::Open_File(Unconvertible, Hst_Filesystem::Hst_Open_Read, condition, fd, 0);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(Error_Of(condition), "sys 2 errno " + std::to_string(EILSEQ));
    Hst_Filesystem::Make_Directory(Unconvertible, condition, 1);
    EXPECT_EQ(Error_Of(condition), "sys 22 errno " + std::to_string(EILSEQ));
    Hst_Filesystem::Set_Timestamp(Unconvertible, Hst_Timestamp(), condition);
    EXPECT_EQ(Error_Of(condition), "sys 44 errno " + std::to_string(EINVAL));
    Hst_Filesystem::Delete_File(Unconvertible, condition, 0);
    EXPECT_EQ(Error_Of(condition), "fs 201");
    Hst_Filesystem::Delete_File(Unconvertible, condition, 1);
    EXPECT_EQ(Error_Of(condition), "ok");
    Hst_Filesystem::Rename_File(Unconvertible, Path("x"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 84 errno " + std::to_string(EILSEQ));
}

TEST_F(Filesystem, FailureTextsFromTheCatalog) {
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    auto Text = [](const Fnd_Condition& Condition) {
        return Narrow(Condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                      Fnd_Message::Default_Message_Separator()));
    };
    Make("file");
    Fnd_Condition condition;
    Hst_Filesystem::Make_Directory(Path("file"), condition, 1);
    EXPECT_EQ(Text(condition), "cannot make the directory " + Dir + "/file: the name exists");
    int fd;
    Hst_Filesystem::Open_File(Path("missing"), Hst_Filesystem::Hst_Open_Read, condition, fd, 0);
    EXPECT_EQ(Text(condition),
              "cannot open " + Dir + "/missing for read: No such file or directory");
    Hst_Filesystem::Delete_File(Path("missing"), condition, 0);
    EXPECT_EQ(Text(condition), "the file " + Dir + "/missing does not exist");
    Hst_File_Info info;
    Hst_Filesystem::Get_Info(Path("file/below"), info, condition);
    EXPECT_EQ(Text(condition), "a part of " + Dir + "/file/below is not a directory");
}
