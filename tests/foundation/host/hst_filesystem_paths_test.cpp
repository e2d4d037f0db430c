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
using Fs = Hst_Filesystem;

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

std::string Sys(int Text, int Error) {
    return "sys " + std::to_string(Text) + " errno " + std::to_string(Error);
}

// A condition that has failed, to show that each operation clears what it is given.
Fnd_Condition Dirty() { return Fnd_Condition(Hst_Sys_Call_Error(1, 1)); }

// The error that Call leaves on `condition`, a failed one before it.
#define AFTER(Call) \
    ([&] { Fnd_Condition condition = Dirty(); Call; return Error_Of(condition); }())

class Filesystem : public ::testing::Test {
protected:
    Fnd_String Path(const std::string& Name) const { return Wide(Dir + "/" + Name); }
    std::string Make(const std::string& Name, const std::string& Content = "") const {
        std::ofstream(Dir + "/" + Name) << Content;
        return Dir + "/" + Name;
    }
    unsigned Mode(const std::string& Name) const {
        struct stat status {};
        EXPECT_EQ(stat((Dir + "/" + Name).c_str(), &status), 0) << Name;
        return status.st_mode & 07777;
    }

    // Runs each step of one operation; a null name stands for the empty path.
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
            EXPECT_EQ(AFTER(Do(step.Name ? Path(step.Name) : Fnd_String(), condition,
                               step.Flag)),
                      step.Expected);
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
        const char *General, *Directory, *File;
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
        Fs::General_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.General) << row.Error;
        Fs::Directory_Write_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.Directory) << row.Error;
        Fs::File_Fail(condition, path, 99, row.Error);
        EXPECT_EQ(Error_Of(condition), row.File) << row.Error;
        EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(condition, row.Error) +
                      Hst_Sys_Call_Error::Is_Errno(condition, row.Error),
                  1);
    }
}

TEST_F(Filesystem, MakeDirectoryNewExistingAndOnAFile) {
    Make("file");
    Run(Fs::Make_Directory, {{"d", 0, "ok"}, {"d", 1, "ok"}, {"d", 0, "fs 10"},
                             {"file", 1, "fs 10"}, {"missing/d", 1, "fs 102"},
                             {"file/d", 1, "fs 101"}});
    EXPECT_TRUE(fs::is_directory(Dir + "/d"));
    Fnd_Condition condition;
    Fs::Make_Directory(Path("file"), condition, 1);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(condition, EEXIST), 1);
}

TEST_F(Filesystem, WithoutPermissionMakingADirectoryOrOpeningAFileFails) {
    if (Is_Root()) GTEST_SKIP() << "the superuser passes every permission check";
    Make("secret", "x");
    chmod((Dir + "/secret").c_str(), 0);
    int fd = -1;
    Fnd_Condition condition;
    Fs::Open_File(Path("secret"), Fs::Hst_Open_Read_Write, condition, fd, 0);
    EXPECT_EQ(Error_Of(condition), "fs 16");
    EXPECT_EQ(Hst_Filesystem_Error::Convert(condition.Get_Error())->Mode, Fs::Hst_Open_Read_Write);

    fs::create_directories(Dir + "/locked/inner");
    chmod((Dir + "/locked/inner").c_str(), 0555);
    // The parent can be searched but not written: the name isn't there.
    EXPECT_EQ(AFTER(Fs::Make_Directory(Path("locked/inner/new"), condition, 0)), "fs 31");
    // The parent cannot even be searched.
    chmod((Dir + "/locked").c_str(), 0);
    EXPECT_EQ(AFTER(Fs::Make_Directory(Path("locked/inner/new"), condition, 0)), "fs 32");
    chmod((Dir + "/locked").c_str(), 0755);
    chmod((Dir + "/locked/inner").c_str(), 0755);
}

TEST_F(Filesystem, DeletingFilesLinksAndDirectories) {
    Make("file");
    Make("plain");
    fs::create_directories(Dir + "/sub/inner");
    Run(Fs::Delete_File,
        {{"file", 0, "ok"}, {"file", 1, "ok"}, {"no/such/file", 1, "ok"}, {"file", 0, "fs 201"},
         {nullptr, 1, "ok"}, {nullptr, 0, "fs 201"}, {"plain/below", 1, "ok"},
         {"plain/below", 0, "fs 101"}, {"sub", 0, Sys(105, EISDIR)}});
    EXPECT_FALSE(fs::exists(Dir + "/file"));
    Run(Fs::Delete_Directory,
        {{"sub", 0, "fs 103"}, {"sub/inner", 0, "ok"}, {"sub/inner", 1, "ok"},
         {"sub/inner", 0, "fs 102"}, {nullptr, 0, "fs 102"}, {"plain", 0, "fs 101"}});

    symlink("nowhere", (Dir + "/link").c_str());
    EXPECT_EQ(AFTER(Fs::Delete_Symbolic_Link(Path("link"), condition, 0)), "ok");
    EXPECT_FALSE(fs::is_symlink(Dir + "/link"));
}

TEST_F(Filesystem, ExistsAndWhenInDoubt) {
    Make("file");
    EXPECT_EQ(Fs::Exists(Path("file"), 0, 0), 1);
    EXPECT_EQ(Fs::Exists(Path("missing"), 0, 1), 0);
    EXPECT_EQ(Fs::Exists(Path("file/below"), 0, 1), 0);
    symlink("nowhere", (Dir + "/dangling").c_str());
    EXPECT_EQ(Fs::Exists(Path("dangling"), 0, 0), 0);
    EXPECT_EQ(Fs::Exists(Path("dangling"), 1, 0), 1);
    EXPECT_EQ(Fs::Exists(Unconvertible, 0, 1), 0);
    if (Is_Root()) GTEST_SKIP() << "the superuser can search every directory";
    fs::create_directory(Dir + "/closed");
    Make("closed/inside");
    chmod((Dir + "/closed").c_str(), 0);
    EXPECT_EQ(Fs::Exists(Path("closed/inside"), 0, 0), 0);
    EXPECT_EQ(Fs::Exists(Path("closed/inside"), 0, 1), 1);
}

TEST_F(Filesystem, OpeningDescriptorsCloseOnExec) {
    int fd = 5;
    EXPECT_EQ(AFTER(Fs::Open_File(Path("new"), Fs::Hst_Open_None, condition, fd, 0)), "ok");
    EXPECT_EQ(fd, -1);

    Fnd_Condition condition;
    Fs::Open_File(Path("missing"), Fs::Hst_Open_Read, condition, fd, 0);
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(Error_Of(condition), "sys 2 errno 2");
    EXPECT_EQ(Hst_Sys_Call_Error::Convert(condition.Get_Error())->Mode, Fs::Hst_Open_Read);

    EXPECT_EQ(AFTER(Fs::Open_File(Path("new"), Fs::Hst_Open_Write, condition, fd,
                                  Fs::Hst_Open_Create | Fs::Hst_Open_Truncate)),
              "ok");
    ASSERT_GE(fd, 0);
    EXPECT_TRUE(Close_On_Exec(fd));
    EXPECT_EQ(Fs::Write(fd, "abc", 3, condition), 3);
    EXPECT_EQ(AFTER(Fs::Close_File(fd, condition)), "ok");
    EXPECT_EQ(AFTER(Fs::Close_File(fd, condition)), Sys(5, EBADF));

    EXPECT_EQ(AFTER(Fs::Open_File(Path("new"), Fs::Hst_Open_Write, condition, fd,
                                  Fs::Hst_Open_Create | Fs::Hst_Open_Exclusive)),
              Sys(2, EEXIST));
    Fs::Open_File(Path("new"), Fs::Hst_Open_Write, condition, fd, Fs::Hst_Open_Append);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Fs::Write(fd, "de", 2, condition), 2);
    Fs::Close_File(fd, condition);
    std::string content;
    std::ifstream(Dir + "/new") >> content;
    EXPECT_EQ(content, "abcde");
}

TEST_F(Filesystem, MakeFileGivesTheOwnerWhatTheModeNeeds) {
    const mode_t saved = umask(0);
    int fd = 3;
    EXPECT_EQ(AFTER(Fs::Make_File(Path("none"), nullptr, Fs::Hst_Open_None, condition, fd,
                                  Fs::Hst_Open_Create)),
              "sys 4 errno 0");
    EXPECT_EQ(fd, -1);
    EXPECT_FALSE(fs::exists(Dir + "/none"));

    // Permissions from a model, without its execute bits, plus what writing needs.
    Hst_File_Info model;
    model.Get_Status().st_mode = S_IFREG | 0045;
    for (const auto& [name, from, mode] :
         {std::tuple("plain", (Hst_File_Info*)nullptr, 0666u), {"modelled", &model, 0244u}}) {
        Fnd_Condition condition;
        Fs::Make_File(Path(name), from, Fs::Hst_Open_Write, condition, fd, Fs::Hst_Open_Create);
        ASSERT_GE(fd, 0);
        EXPECT_TRUE(Close_On_Exec(fd));
        close(fd);
        EXPECT_EQ(Mode(name), mode) << name;
    }
    umask(saved);

    EXPECT_EQ(AFTER(Fs::Create_File(Path("created"), condition)), "ok");
    EXPECT_TRUE(fs::exists(Dir + "/created"));
    EXPECT_EQ(AFTER(Fs::Create_File(Path("created"), condition)), Sys(2, EEXIST));
}

TEST_F(Filesystem, DescriptorPositionsSizesAndFlags) {
    const std::string file = Make("data", "0123456789");
    int fd = -1;
    Fnd_Condition condition;
    Fs::Open_File(Path("data"), Fs::Hst_Open_Read_Write, condition, fd, 0);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(Fs::End_Of_File(fd), 0);
    EXPECT_EQ(Fs::Reposition_File(fd, -2, Fs::Hst_From_End, condition), 8);
    char buffer[4] = {};
    EXPECT_EQ(Fs::Read(fd, buffer, 4, condition), 2);
    EXPECT_EQ(std::string(buffer, 2), "89");
    EXPECT_EQ(Fs::End_Of_File(fd), 1);
    EXPECT_EQ(Fs::Reposition_File(fd, -1, Fs::Hst_From_Start, condition), -1);
    EXPECT_EQ(Error_Of(condition), Sys(151, EINVAL));

    EXPECT_EQ(AFTER(Fs::Truncate_File(fd, 4, condition)), "ok");
    EXPECT_EQ(fs::file_size(file), 4u);
    Fs::Truncate_File(fd, 0, condition);
    EXPECT_EQ(Fs::End_Of_File(fd), 1);
    EXPECT_EQ(AFTER(Fs::Synchronize(fd, condition)), "ok");

    Fs::Set_Non_Blocking(fd, 1, condition);
    EXPECT_NE(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    Fs::Set_Non_Blocking(fd, 0, condition);
    EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
    Fs::Close_File(fd, condition);

    EXPECT_EQ(AFTER(Fs::Set_Non_Blocking(fd, 1, condition)), Sys(124, EBADF));
    EXPECT_EQ(AFTER(Fs::Synchronize(fd, condition)), Sys(152, EBADF));
    EXPECT_EQ(AFTER(Fs::Truncate_File(fd, 0, condition)), Sys(148, EBADF));
    EXPECT_EQ(Fs::End_Of_File(fd), 0);
}

TEST_F(Filesystem, StreamsLinesCountsAndEndOfFile) {
    FILE* stream = reinterpret_cast<FILE*>(1);
    EXPECT_EQ(AFTER(Fs::Open_File(Path("s"), Fs::Hst_Open_None, condition, stream)), "ok");
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(Fs::File_Descriptor(nullptr), -1);

    Fnd_Condition condition;
    Fs::Open_File(Path("s"), Fs::Hst_Open_Write, condition, stream);
    ASSERT_NE(stream, nullptr);
    EXPECT_TRUE(Close_On_Exec(Fs::File_Descriptor(stream)));
    Fs::Write_String(stream, "one\ntwo\n", condition);
    EXPECT_EQ(Fs::Write(stream, "xyz", 3, condition), 3);
    EXPECT_EQ(Fs::Write(stream, "", 0, condition), 0);
    EXPECT_EQ(Error_Of(condition), "ok");
    Fs::Flush_File(stream, condition);
    EXPECT_EQ(AFTER(Fs::Close_File(stream, condition)), "ok");

    Fs::Open_File(Path("s"), Fs::Hst_Open_Read, condition, stream);
    ASSERT_NE(stream, nullptr);
    char line[16];
    EXPECT_EQ(Fs::Read_String(stream, line, sizeof line, condition), line);
    EXPECT_STREQ(line, "one\n");
    EXPECT_EQ(Fs::End_Of_File(stream), 0);
    EXPECT_EQ(Fs::Reposition_File(stream, 4, Fs::Hst_From_Start, condition), 4);
    char bytes[16] = {};
    EXPECT_EQ(Fs::Read(stream, bytes, sizeof bytes, condition), 7);
    EXPECT_EQ(Error_Of(condition), "ok");  // end of file is no failure
    EXPECT_EQ(std::string(bytes, 7), "two\nxyz");
    EXPECT_EQ(Fs::End_Of_File(stream), 1);
    const char* got = line;
    EXPECT_EQ(AFTER(got = Fs::Read_String(stream, line, sizeof line, condition)), "ok");
    EXPECT_EQ(got, nullptr);
    EXPECT_STREQ(line, "");
    EXPECT_EQ(Fs::Reposition_File(stream, -100, Fs::Hst_From_Start, condition), -1);
    EXPECT_EQ(Error_Of(condition), Sys(150, EINVAL));
    Fs::Close_File(stream, condition);

    Fs::Open_File(Path("missing"), Fs::Hst_Open_Read, condition, stream);
    EXPECT_EQ(stream, nullptr);
    EXPECT_EQ(Error_Of(condition), "sys 3 errno 2");
    EXPECT_EQ(AFTER(Fs::Open_File(-1, Fs::Hst_Open_Read, condition, stream)), Sys(3, EBADF));
}

TEST_F(Filesystem, StatusOfPathsLinksAndDescriptors) {
    Make("file", "12345");
    symlink("file", (Dir + "/link").c_str());
    Hst_File_Info info;
    EXPECT_EQ(AFTER(Fs::Get_Info(Path("link"), info, condition)), "ok");
    EXPECT_EQ(info.File_Type(), Hst_Regular_Type);
    EXPECT_EQ(info.Length(), 5);
    Fnd_Condition condition;
    Fs::Get_Symbolic_Link_Info(Path("link"), info, condition);
    EXPECT_EQ(info.File_Type(), Hst_Symbolic_Link_Type);

    EXPECT_EQ(AFTER(Fs::Get_Info(Path("missing"), info, condition)), "fs 201");
    EXPECT_EQ(info.Is_Nil(), 1);
    EXPECT_EQ(AFTER(Fs::Get_Symbolic_Link_Info(Path("file/below"), info, condition)), "fs 101");

    const int fd = open((Dir + "/file").c_str(), O_RDONLY | O_CLOEXEC);
    Fs::Get_Info(fd, info, condition);
    EXPECT_EQ(info.Length(), 5);
    close(fd);
    EXPECT_EQ(AFTER(Fs::Get_Info(fd, info, condition)), Sys(43, EBADF));
    EXPECT_EQ(info.Is_Nil(), 1);

    const struct stat* shared = Fs::Get_Stat(Path("file"), nullptr, condition);
    ASSERT_NE(shared, nullptr);
    EXPECT_EQ(shared->st_size, 5);
    EXPECT_EQ(Fs::Get_Stat(Path("file"), &info, condition), &info.Get_Status());
    EXPECT_EQ(Fs::Get_Stat(Path("missing"), nullptr, condition), nullptr);
    EXPECT_EQ(Error_Of(condition), "fs 201");
}

TEST_F(Filesystem, SymbolicLinksAliasesAndRenaming) {
    Make("file", "x");
    EXPECT_EQ(AFTER(Fs::Make_Symbolic_Link(Wide("file"), Path("link"), condition)), "ok");
    Fnd_String target = Wide("stale");
    Fnd_Condition condition;
    Fs::Read_Symbolic_Link(Path("link"), target, condition);
    EXPECT_EQ(Narrow(target), "file");
    EXPECT_EQ(AFTER(Fs::Read_Symbolic_Link(Path("missing"), target, condition)), "fs 301");
    EXPECT_TRUE(target.Is_Empty());
    EXPECT_EQ(AFTER(Fs::Read_Symbolic_Link(Path("file"), target, condition)), "fs 302");
    EXPECT_EQ(AFTER(Fs::Make_Symbolic_Link(Fnd_String(), Path("empty"), condition)),
              "sys 102 errno 2");

    EXPECT_EQ(AFTER(Fs::Rename_Symbolic_Link(Path("link"), Path("moved"), condition)), "ok");
    EXPECT_FALSE(fs::is_symlink(Dir + "/link"));
    EXPECT_EQ(fs::read_symlink(Dir + "/moved"), "file");
    // A rename onto a name that exists fails and puts the old link back.
    Make("taken");
    EXPECT_EQ(AFTER(Fs::Rename_Symbolic_Link(Path("moved"), Path("taken"), condition)),
              Sys(102, EEXIST));
    EXPECT_EQ(fs::read_symlink(Dir + "/moved"), "file");

    EXPECT_EQ(AFTER(Fs::Make_Alias(Path("alias"), Path("file"), condition)), "ok");
    EXPECT_EQ(fs::hard_link_count(Dir + "/file"), 2u);
    EXPECT_EQ(AFTER(Fs::Make_Alias(Path("alias2"), Path("missing"), condition)), "sys 103 errno 2");

    EXPECT_EQ(AFTER(Fs::Rename_File(Path("alias"), Path("renamed"), condition)), "ok");
    EXPECT_TRUE(fs::exists(Dir + "/renamed"));
    Fs::Rename_File(Path("alias"), Path("again"), condition);
    EXPECT_EQ(Error_Of(condition), "sys 84 errno 2");
    const auto* error = Hst_Sys_Call_Error::Convert(condition.Get_Error());
    EXPECT_EQ(Narrow(error->Str), Dir + "/alias");
    EXPECT_EQ(Narrow(error->Str1), Dir + "/again");
    fs::create_directory(Dir + "/d1");
    Fs::Rename_Directory(Path("d1"), Path("d2"), condition);
    EXPECT_TRUE(fs::is_directory(Dir + "/d2"));
    EXPECT_EQ(AFTER(Fs::Rename_Directory(Path("d1"), Path("d3"), condition)), "sys 83 errno 2");

    EXPECT_EQ(AFTER(Fs::Make_Named_Pipe(Path("fifo"), condition)), "ok");
    EXPECT_TRUE(fs::is_fifo(Dir + "/fifo"));
    EXPECT_EQ(AFTER(Fs::Make_Named_Pipe(Path("fifo"), condition)), Sys(7, EEXIST));
}

TEST_F(Filesystem, TimestampsReadOnlyModesAndTheCreationMask) {
    Make("file");
    EXPECT_EQ(AFTER(Fs::Set_Timestamp(Path("file"), Hst_Timestamp(1000000000), condition)), "ok");
    Hst_File_Info info;
    Fnd_Condition condition;
    Fs::Get_Info(Path("file"), info, condition);
    EXPECT_EQ(info.Last_Modified().Seconds, 1000000000);
    EXPECT_EQ(info.Last_Accessed().Seconds, 1000000000);
    Fs::Set_Timestamp(Path("file"), Hst_Timestamp(), condition);
    Fs::Get_Info(Path("file"), info, condition);
    EXPECT_GE(info.Last_Modified().Seconds, time(nullptr) - 5);
    EXPECT_EQ(AFTER(Fs::Set_Timestamp(Path("missing"), Hst_Timestamp(), condition)), "fs 201");

    // Write bits and a file's set-group-id bit go; read and execute bits stay.
    chmod((Dir + "/file").c_str(), 02775);
    EXPECT_EQ(AFTER(Fs::Make_Read_Only(Path("file"), nullptr, condition)), "ok");
    EXPECT_EQ(Mode("file"), 0555u);
    fs::create_directory(Dir + "/dir");
    chmod((Dir + "/dir").c_str(), 02775);
    Fs::Make_File_Read_Only(Path("dir"), condition, nullptr);
    EXPECT_EQ(Mode("dir"), 02555u);
    EXPECT_EQ(AFTER(Fs::Make_Read_Only(Path("missing"), nullptr, condition)), "fs 201");

    unsigned long keep, mask;
    Fs::Read_Only_Mode(1, keep, mask, 1);
    EXPECT_EQ(std::pair(keep, mask), std::pair(02777ul, 0777ul));
    Fs::Executable_Mode(0, keep, mask, 0);
    EXPECT_EQ(std::pair(keep, mask), std::pair(0111ul, 0111ul));

    const mode_t saved = umask(022);
    long user, group, others;
    Fs::Get_File_Creation_Mode(user, group, others, condition);
    EXPECT_EQ(std::tuple(user, group, others), std::tuple(7L, 5L, 5L));
    Fs::Set_File_Creation_Mode(6, 4, 0, condition);
    EXPECT_EQ(umask(saved), 0137);
}

TEST_F(Filesystem, TemporaryNamesCutThePrefixAndHaveNoDots) {
    unsetenv("TMPDIR");
    std::set<std::string> names;
    Fnd_String name;
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(AFTER(Fs::Make_Temp_Name(Wide(Dir), Wide("abcdefg"), name, condition)), "ok");
        const std::string text = Narrow(name);
        ASSERT_EQ(text.rfind(Dir + "/abcde", 0), 0u) << text;
        const std::string generated = text.substr(Dir.size() + 6);
        EXPECT_EQ(generated.size(), 6u);
        EXPECT_EQ(generated.find('.'), std::string::npos) << text;
        EXPECT_FALSE(fs::exists(text));
        names.insert(text);
    }
    EXPECT_GT(names.size(), 190u);

    Fnd_Condition condition;
    Fs::Make_Temp_Name(Fnd_String(), Wide("p"), name, condition);
    EXPECT_EQ(Narrow(name).rfind("/tmp/p", 0), 0u);
    setenv("TMPDIR", Dir.c_str(), 1);
    Fs::Make_Temp_Name(Wide("/no/such/dir"), Wide("q"), name, condition);
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
    Visit visit, dots, stopping, none;
    stopping.Stop_After = 1;
    EXPECT_EQ(AFTER(Fs::Traverse_Directory(Wide(Dir), Collect, &visit, condition, 0, 0, 0)), "ok");
    EXPECT_EQ(visit.Names, (std::set<std::string>{"a", "b", "c"}));
    Fnd_Condition condition;
    Fs::Traverse_Directory(Wide(Dir), Collect, &dots, condition, 1, 0, 0);
    EXPECT_EQ(dots.Names, (std::set<std::string>{".", "..", "a", "b", "c"}));
    Fs::Traverse_Directory(Wide(Dir), Collect, &stopping, condition, 0, 0, 0);
    EXPECT_TRUE(condition.Failed());
    EXPECT_EQ(stopping.Names.size(), 1u);

    Fs::Traverse_Directory(Path("missing"), Collect, &none, condition, 0, 0, 1);
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_NE(condition.Get_Information(), nullptr);
    EXPECT_EQ(AFTER(Fs::Traverse_Directory(Path("a"), Collect, &none, condition, 0, 0, 1)), "ok");
    EXPECT_EQ(AFTER(Fs::Traverse_Directory(Path("missing"), Collect, &none, condition, 0, 0, 0)),
              "sys 1 errno 2");
    EXPECT_TRUE(none.Names.empty());
}

TEST_F(Filesystem, TheWorkingDirectoryIsCachedAndFollowsChanges) {
    // The tests after this one run where this one started.
    struct Back_Home {
        std::string Path = fs::current_path().string();
        ~Back_Home() {
            Fnd_Condition ignored;
            Fs::Set_Working_Directory(Wide(Path), ignored);
        }
    } back_home;
    EXPECT_EQ(Narrow(Fs::Working_Directory()), fs::current_path().string());
    EXPECT_EQ(AFTER(Fs::Set_Working_Directory(Wide(Dir), condition)), "ok");
    EXPECT_EQ(Narrow(Fs::Working_Directory()), Dir);
    Fnd_String copy;
    Fs::Working_Directory(copy);
    EXPECT_EQ(Narrow(copy), Dir);
    EXPECT_EQ(AFTER(Fs::Set_Working_Directory(Path("missing"), condition)), "sys 21 errno 2");
    EXPECT_EQ(Narrow(Fs::Working_Directory()), Dir);

    // A directory removed under the process: the cache empties and the log hears of it.
    fs::create_directory(Dir + "/gone");
    Fnd_Condition condition;
    Fs::Set_Working_Directory(Path("gone"), condition);
    ASSERT_EQ(rmdir((Dir + "/gone").c_str()), 0);
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Fs::Set_Working_Directory(Wide("."), condition);
    std::string log = testing::internal::GetCapturedStderr();
    log += testing::internal::GetCapturedStdout();
    EXPECT_EQ(Error_Of(condition), "ok");
    EXPECT_TRUE(Fs::Working_Directory().Is_Empty());
    EXPECT_NE(log.find("the working directory cannot be read"), std::string::npos) << log;
    EXPECT_NE(log.find("cannot read the working directory: No such file or directory"),
              std::string::npos)
        << log;
}

TEST_F(Filesystem, APathThatDoesNotConvertFailsTheOperation) {
    Hst_File_Info info;
    int fd = 0;
    EXPECT_EQ(AFTER(Fs::Get_Info(Unconvertible, info, condition)), Sys(41, EILSEQ));
    EXPECT_EQ(AFTER(Fs::Open_File(Unconvertible, Fs::Hst_Open_Read, condition, fd, 0)),
              Sys(2, EILSEQ));
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(AFTER(Fs::Make_Directory(Unconvertible, condition, 1)), Sys(22, EILSEQ));
    EXPECT_EQ(AFTER(Fs::Set_Timestamp(Unconvertible, Hst_Timestamp(), condition)), Sys(44, EINVAL));
    EXPECT_EQ(AFTER(Fs::Delete_File(Unconvertible, condition, 0)), "fs 201");
    EXPECT_EQ(AFTER(Fs::Delete_File(Unconvertible, condition, 1)), "ok");
    EXPECT_EQ(AFTER(Fs::Rename_File(Unconvertible, Path("x"), condition)), Sys(84, EILSEQ));
}

TEST_F(Filesystem, FailureTextsFromTheCatalog) {
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    Fnd_Condition condition;
    auto Text = [&] {
        return Narrow(condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                      Fnd_Message::Default_Message_Separator()));
    };
    Make("file");
    Fs::Make_Directory(Path("file"), condition, 1);
    EXPECT_EQ(Text(), "cannot make the directory " + Dir + "/file: the name exists");
    int fd;
    Fs::Open_File(Path("missing"), Fs::Hst_Open_Read, condition, fd, 0);
    EXPECT_EQ(Text(), "cannot open " + Dir + "/missing for read: No such file or directory");
    Fs::Delete_File(Path("missing"), condition, 0);
    EXPECT_EQ(Text(), "the file " + Dir + "/missing does not exist");
    Hst_File_Info info;
    Fs::Get_Info(Path("file/below"), info, condition);
    EXPECT_EQ(Text(), "a part of " + Dir + "/file/below is not a directory");
}
