// Utl_Pathname: string work on names, tests on files, qualifying, the product's files
// and search paths, contents, temporary files, and expansion without a shell.
#include "foundation/utilities/utl_pathname.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_array.h"
#include "foundation/host/hst_switches.h"
#include "foundation/utilities/utl_errors.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;
namespace fs = std::filesystem;
using P = Utl_Pathname;

namespace {

std::vector<std::string> Items(const Fnd_String_Array& Array) {
    std::vector<std::string> items;
    for (long i = Array.Get_First(); i <= Array.Get_Last(); ++i) items.push_back(Narrow(*Array[i]));
    return items;
}

std::string Error_Text(const Fnd_Condition& Condition) {
    const Utl_Text_Error* error = Utl_Text_Error::Convert(Condition.Get_Error());
    return error ? Narrow(error->First) : "<no text error>";
}

class Pathname : public ::testing::Test {
protected:
    Fnd_String Path(const std::string& Name) const { return Wide(Dir + "/" + Name); }
    void Write(const std::string& Name, const std::string& Text) const {
        fs::create_directories(fs::path(Dir + "/" + Name).parent_path());
        std::ofstream(Dir + "/" + Name) << Text;
    }
    ZTInt_Temp_Dir Temp;
    const std::string Dir = Temp.Path;
};

}  // namespace

TEST(PathnameText, NamesTakenApart) {
    struct Row { const char* path; const char* dir; const char* dir2; const char* base;
                 const char* ext; const char* unext; };
    const Row rows[] = {
        {"/a/b/c.txt", "/a/b", "/a", "c.txt", "txt", "/a/b/c"},
        {"/top", "/", "", "top", "", "/top"},
        {"bare", "", "", "bare", "", "bare"},
        {"/a/b/", "/a", "/", "b/", "", "/a/b/"},
        {"dir.d/file", "dir.d", "", "file", "", "dir.d/file"},
        {"x/a.b.c", "x", "", "a.b.c", "c", "x/a.b"},
        {".bashrc", "", "", ".bashrc", "bashrc", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.path);
        Fnd_String out;
        P::Dirname(Wide(row.path), out);
        EXPECT_EQ(Narrow(out), row.dir);
        P::Dirname(Wide(row.path), out, 2);
        EXPECT_EQ(Narrow(out), row.dir2);
        P::Basename(Wide(row.path), out);
        EXPECT_EQ(Narrow(out), row.base);
        P::Extension(Wide(row.path), out);
        EXPECT_EQ(Narrow(out), row.ext);
        P::Unextended(Wide(row.path), out);
        EXPECT_EQ(Narrow(out), row.unext);
    }
    Fnd_String name(u"file");
    P::Add_Extension(name, Fnd_String(u"c"));
    EXPECT_EQ(Narrow(name), "file.c");
    EXPECT_EQ(P::Is_Qualified(Fnd_String(u"/x")), 1);
    EXPECT_EQ(P::Is_Qualified(Fnd_String(u"")), 0);
    EXPECT_EQ(P::Is_Simple_Name(Fnd_String(u"x")), 1);
    EXPECT_EQ(P::Is_Simple_Name(Fnd_String(u"a/x")), 0);
}

TEST(PathnameText, SplitAppendCombineAndLists) {
    struct Row { const char* path; long count; const char* head; const char* tail; };
    const Row rows[] = {{"/a/b/c", 1, "/a", "b/c"}, {"/a/b/c", 2, "/a/b", "c"},
                        {"/a/b/c", 3, "/a/b/c", ""}, {"a:b", 1, "a:b", ""}};
    for (const Row& row : rows) {
        Fnd_String head, tail;
        P::Split_Head(Wide(row.path), head, tail, row.count, u'/');
        EXPECT_EQ(Narrow(head) + "|" + Narrow(tail), std::string(row.head) + "|" + row.tail)
            << row.path << " " << row.count;
    }
    struct Join { const char* dir; const char* element; const char* appended; const char* combined; };
    const Join joins[] = {{"", "x", "x", "x"}, {"/", "x", "/x", "/x"}, {"/a", "x", "/a/x", "/a/x"},
                          {"/a/", "x", "/a/x", "/a/x"}, {"/a", "", "/a", "/a"}};
    for (const Join& join : joins) {
        Fnd_String path = Wide(join.dir);
        P::Append(path, Wide(join.element));
        EXPECT_EQ(Narrow(path), join.appended);
        P::Combine(Wide(join.dir), Wide(join.element), path);
        EXPECT_EQ(Narrow(path), join.combined);
    }
    Fnd_String_Array array;
    P::Split_Path_List(Fnd_String(u":/a::/b:"), array);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"/a", "/b"}));
    P::Split_Path_List(Fnd_String(u"/c"), array, 1);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"/a", "/b", "/c"}));
    P::Split_Path_List(Fnd_String(u"/d"), array);
    EXPECT_EQ(Items(array), (std::vector<std::string>{"/d"}));
}

TEST(PathnameText, QualifyingNames) {
    setenv("HOME", "/home/me", 1);
    Hst_Switches::Clear_Cache();
    struct Row { const char* name; const char* full; };
    const Row rows[] = {
        {"", "/a/b"},          {"x", "/a/b/x"},       {"/abs/y", "/abs/y"},
        {".", "/a/b"},         {"./n", "/a/b/n"},     {"..", "/a"},
        {"../..", "/"},        {"../../n", "/n"},     {"../n", "/a/n"},
        {"../../../../n", "/n"}, {".hidden", "/a/b/.hidden"}, {"..x", "/a/b/..x"},
        {"x/../y", "/a/b/x/../y"}, {"~", "/home/me"}, {"~/", "/home/me"},
        {"~/doc/f", "/home/me/doc/f"}, {"~root", "/root"}, {"~root/f", "/root/f"},
    };
    for (const Row& row : rows) {
        Fnd_String full;
        P::Qualify_Name(Wide(row.name), full, Fnd_String(u"/a/b"));
        EXPECT_EQ(Narrow(full), row.full) << "name \"" << row.name << "\"";
    }
    Fnd_String full;
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    P::Qualify_Name(Fnd_String(u"n"), full, Fnd_String());
    EXPECT_EQ(Narrow(full), std::string(cwd) + "/n");
}

TEST_F(Pathname, TestsOnFiles) {
    Write("file", "12345");
    fs::create_directory(Dir + "/dir");
    fs::create_symlink("file", Dir + "/link");
    fs::create_symlink("nowhere", Dir + "/dangling");
    chmod((Dir + "/file").c_str(), 0700);
    struct Row { const char* name; long exists, file, dir, link, exec; };
    const Row rows[] = {{"file", 1, 1, 0, 0, 1}, {"dir", 1, 0, 1, 0, 0}, {"link", 1, 1, 0, 1, 1},
                        {"dangling", 0, 0, 0, 1, 0}, {"missing", 0, 0, 0, 0, 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(P::Exists(Path(row.name)), row.exists);
        EXPECT_EQ(P::Is_File(Path(row.name)), row.file);
        EXPECT_EQ(P::Is_Directory(Path(row.name)), row.dir);
        EXPECT_EQ(P::Is_Link(Path(row.name)), row.link);
        EXPECT_EQ(P::Is_Executable(Path(row.name)), row.exec);
    }
    EXPECT_EQ(P::Byte_Size(Path("file")), 5);
    EXPECT_EQ(P::Byte_Size(Path("link")), 4) << "the link's own size";
    EXPECT_EQ(P::Byte_Size(Path("missing")), 0);
    EXPECT_GT(P::Update_Time(Path("file")), 0);
    EXPECT_EQ(P::Update_Time(Path("missing")), 0);
    EXPECT_EQ(P::Is_Readable(Path("file")), 1);
    EXPECT_EQ(P::Is_Writable(Path("missing")), 0);
}

TEST_F(Pathname, CreatePathEntriesAndContents) {
    Fnd_Condition condition;
    P::Create_Path(condition, Path("x/y/z"));
    EXPECT_FALSE(condition.Failed());
    EXPECT_TRUE(fs::is_directory(Dir + "/x/y/z"));
    P::Create_Path(condition, Path("x/y/z"));
    EXPECT_FALSE(condition.Failed()) << "an existing path is no failure";
    Write("x/plain", "");
    P::Create_Path(condition, Path("x/plain/sub"));
    EXPECT_TRUE(condition.Failed()) << "a file in the way stops the walk";

    Fnd_String_Array entries;
    P::Directory_Entries(condition, Path("x"), entries);
    EXPECT_FALSE(condition.Failed());
    std::vector<std::string> names = Items(entries);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{Dir + "/x/.", Dir + "/x/..", Dir + "/x/plain",
                                               Dir + "/x/y"}));
    P::Directory_Entries(condition, Path("none"), entries);
    EXPECT_TRUE(condition.Failed());

    Write("text", "line one\nzwei \xC3\xA4\n");
    Fnd_String text(u">");
    EXPECT_EQ(P::Get_File_Contents(condition, Path("text"), text), 1);
    EXPECT_EQ(text, Fnd_String(u">line one\nzwei \u00E4\n"));
    text.Make_Empty();
    EXPECT_EQ(P::Get_File_Contents(condition, Path("text"), text, 4), 1);
    EXPECT_EQ(Narrow(text), "line");
    EXPECT_EQ(P::Get_File_Contents(condition, Path("missing"), text), 0);
    EXPECT_EQ(Error_Text(condition), "Can't open " + Dir + "/missing");
    EXPECT_EQ(P::Get_File_Contents(condition, Path("x"), text), 0);
    EXPECT_EQ(Error_Text(condition), "Can't read " + Dir + "/x");
    Write("binary", std::string("ok\xFF\xFE", 4));
    EXPECT_EQ(P::Get_File_Contents(condition, Path("binary"), text), 0);
    EXPECT_EQ(Error_Text(condition), "Can't read " + Dir + "/binary");
}

TEST_F(Pathname, TemporaryNamesAndTheDeleteSet) {
    Hst_Switches::Set_Base_Dir(Wide(Dir));
    setenv("ZT_USER_DIR", (Dir + "/user").c_str(), 1);
    unsetenv("TMPDIR");
    Hst_Switches::Clear_Cache();
    Fnd_String temp_dir;
    P::Get_Temp_Dir(temp_dir);
    EXPECT_EQ(Narrow(temp_dir), Dir + "/user/tmp");
    EXPECT_TRUE(fs::is_directory(Dir + "/user/tmp"));

    Fnd_String first, second;
    P::Get_Temp_Name(Fnd_String(u"abc"), first);
    P::Get_Temp_Name(Fnd_String(u"abc"), second, Path("other"));
    EXPECT_EQ(Narrow(first).rfind(Dir + "/user/tmp/abc", 0), 0u) << Narrow(first);
    EXPECT_EQ(Narrow(second).rfind(Dir + "/other/abc", 0), 0u) << Narrow(second);
    EXPECT_NE(first, second);

    Write("user/tmp/t1", "1");
    P::Add_Temp_File_To_Delete_Set(Path("user/tmp/t1"));
    P::Add_Temp_File_To_Delete_Set(Path("never_made"));
    P::Delete_Temp_Files();
    EXPECT_FALSE(fs::exists(Dir + "/user/tmp/t1"));
    Write("user/tmp/t1", "again");
    P::Delete_Temp_Files();
    EXPECT_FALSE(fs::exists(Dir + "/user/tmp/t1")) << "the set is kept";
}

TEST_F(Pathname, ProductFilesLocalDirsAndSearchPaths) {
    const std::string home = Dir + "/inst/prod/home";
    fs::create_directories(home);
    fs::create_directories(Dir + "/inst/Local_Dir");
    Hst_Switches::Set_Product_Home(Wide(home));
    setenv("ZT_USER_DIR", (Dir + "/user").c_str(), 1);
    setenv("ZT_LOCAL_DIRS", "/l1::/l2", 1);
    setenv("ZT_SCRIPT_DIRS", "/from_switch", 1);
    unsetenv("ZT_SCRIPT_PATH");
    Hst_Switches::Clear_Cache();
    Hst_Switches::Set_Product_Home(Wide(home));
    Write("inst/prod/home/.local_dirs", "# comment\n  /l3  \n\n");
    Write("inst/prod/home/.script_dirs", "/from_file\n");
    Write("inst/prod/home/.version", "  7.1  \nsecond\n");

    Fnd_String line;
    EXPECT_EQ(P::Product_File_Line(Fnd_String(u".version"), line), 1);
    EXPECT_EQ(Narrow(line), "7.1");
    EXPECT_EQ(P::Product_File_Line(Fnd_String(u".nothing"), line), 0);

    Fnd_String_Array locals;
    EXPECT_EQ(P::Get_Local_Dirs(locals), 1);
    EXPECT_EQ(Items(locals), (std::vector<std::string>{"/l1", "/l2", "/l3", Dir + "/inst/Local_Dir"}));

    Fnd_String_Array array;
    P::Get_Script_Path(array);
    const std::vector<std::string> expected = {
        home + "/scripts", "/l1/scripts", "/l2/scripts", "/l3/scripts",
        Dir + "/inst/Local_Dir/scripts", "/from_switch", "/from_file", Dir + "/user/scripts"};
    EXPECT_EQ(Items(array), expected);
    EXPECT_EQ(Narrow(Hst_Switches::Script_Path_Switch_Value()),
              home + "/scripts:/l1/scripts:/l2/scripts:/l3/scripts:" + Dir +
                  "/inst/Local_Dir/scripts:/from_switch:/from_file:" + Dir + "/user/scripts")
        << "the path is stored in the switch";

    Fnd_String list;
    P::Default_Path(array, list, 10, nullptr, 1);
    EXPECT_EQ(Narrow(*array[array.Get_First() + 1]),
              home + "/" + Narrow(Hst_Switches::Architecture_Switch_Value()) + "/tools");
    EXPECT_EQ(array.Count(), 12);

    // Looking along the path: hits in the home and the user directory.
    Write("inst/prod/home/scripts/s.sh", "");
    Write("user/scripts/s.sh", "");
    fs::create_directories(Dir + "/user/scripts/d.sh");
    Fnd_String_Array files;
    P::Get_Script_Files(files, Fnd_String(u"s.sh"), 0);
    EXPECT_EQ(Items(files), (std::vector<std::string>{home + "/scripts/s.sh",
                                                      Dir + "/user/scripts/s.sh"}));
    Fnd_String name(u"s.sh");
    EXPECT_EQ(P::Get_Script_File(name, 1), 1);
    EXPECT_EQ(Narrow(name), Dir + "/user/scripts/s.sh");
    name = u"d.sh";
    EXPECT_EQ(P::Get_Script_File(name, 0), 0) << "a directory is no hit";
    EXPECT_EQ(P::Get_Path_File(name, Fnd_String(u"s.sh"), Hst_Switches::Script_Path_Switch_Value(), 0), 1);
    EXPECT_EQ(Narrow(name), home + "/scripts/s.sh");
}

TEST_F(Pathname, ProgramsAndTheProductHome) {
    const std::string arch = Narrow(Hst_Switches::Architecture_Switch_Value());
    Write("home/" + arch + "/bin/prog", "#!/bin/sh\n");
    chmod((Dir + "/home/" + arch + "/bin/prog").c_str(), 0755);
    Write("other/bin2/tool", "");
    chmod((Dir + "/other/bin2/tool").c_str(), 0755);
    fs::create_directories(Dir + "/elsewhere");
    Write("other/bin2/.ZT_HOME", Dir + "/elsewhere\n");
    fs::create_directories(Dir + "/links");
    fs::create_symlink(Dir + "/home/" + arch + "/bin/prog", Dir + "/links/prog");
    struct Restore_Path {
        std::string Saved = getenv("PATH") ? getenv("PATH") : "";
        ~Restore_Path() {
            setenv("PATH", Saved.c_str(), 1);
            Hst_Switches::Clear_Cache();
        }
    } restore;
    setenv("PATH", (Dir + "/links:" + Dir + "/other/bin2").c_str(), 1);
    Hst_Switches::Clear_Cache();

    Fnd_String path;
    EXPECT_EQ(P::Program_Pathname(Fnd_String(), Fnd_String(u"tool"), path, 1), 1);
    EXPECT_EQ(Narrow(path), Dir + "/other/bin2/tool");
    EXPECT_EQ(P::Program_Pathname(Fnd_String(), Fnd_String(u"nothing"), path, 0), 0);
    EXPECT_EQ(P::Program_Pathname(Fnd_String(u"/base"), Fnd_String(u"./x/y"), path, 1), 1);
    EXPECT_EQ(Narrow(path), "/base/x/y");

    Fnd_String home;
    EXPECT_EQ(P::Compute_Home(Fnd_String(u"tool"), home), 1);
    EXPECT_EQ(Narrow(home), Dir + "/elsewhere") << "the marker file";
    EXPECT_EQ(P::Compute_Home(Fnd_String(u"prog"), home), 1);
    EXPECT_EQ(Narrow(home), Dir + "/home") << "home/arch/bin through the link";
    EXPECT_EQ(P::Compute_Home(Fnd_String(u"nothing"), home), 0);
}

TEST_F(Pathname, ExpandingNeverRunsACommand) {
    Write("g/a.c", "");
    Write("g/b.c", "");
    Write("g/c.h", "");
    setenv("ZT_TEST_VALUE", "worth", 1);
    const std::string marker = Dir + "/ran";
    Fnd_Condition condition;
    Fnd_String text;
    struct Row { std::string pattern; std::string dir; std::string expanded; };
    const Row good[] = {
        {"plain text", "", "plain text"},
        {Dir + "/g/*.c", "", Dir + "/g/a.c " + Dir + "/g/b.c"},
        {"*.h", Dir + "/g", Dir + "/g/c.h"},
        {"$ZT_TEST_VALUE/x", "", "worth/x"},
        {Dir + "/g/?.h", "", Dir + "/g/c.h"},
    };
    // Text with nothing to expand is copied, whatever it holds: no shell ever sees it.
    P::Expand(condition, Wide("`touch " + marker + "`; x"), text, Fnd_String());
    EXPECT_EQ(Narrow(text), "`touch " + marker + "`; x");
    for (const Row& row : good) {
        P::Expand(condition, Wide(row.pattern), text, Wide(row.dir));
        EXPECT_FALSE(condition.Failed()) << row.pattern;
        EXPECT_EQ(Narrow(text), row.expanded) << row.pattern;
    }
    const std::string bad[] = {"*; touch " + marker,    "$(touch " + marker + ")",
                               "*`touch " + marker + "`", "*' ; touch " + marker + " '",
                               "* | touch " + marker,   "$ZT_NOT_SET_ANYWHERE",
                               "*\ntouch " + marker,    "{a,b}*"};
    for (const std::string& pattern : bad) {
        P::Expand(condition, Wide(pattern), text, Fnd_String());
        EXPECT_TRUE(condition.Failed()) << pattern;
        EXPECT_EQ(Error_Text(condition), "Can't expand " + pattern);
    }
    EXPECT_FALSE(fs::exists(marker)) << "a command ran";
}

TEST_F(Pathname, ManPagesAndHelpLines) {
    Hst_Switches::Set_Product_Home(Wide(Dir));
    setenv("LANG", "de_DE", 1);
    Hst_Switches::Clear_Cache();
    Hst_Switches::Set_Product_Home(Wide(Dir));
    Write("doc/C/man/man1/ztool.1",
          "NAME\n\n   ztool - does things  \nSYNOPSIS\n\n      ztool [-v]   file\n"
          "  ztool -h\n\n\tkept tab\nDESCRIPTION\n   not part\n");
    Write("doc/de_DE/man/man1/other.1", "NAME\nother - german\n");
    Fnd_Condition condition;
    Fnd_String path;
    EXPECT_EQ(P::Find_Man_Page(condition, Fnd_String(u"ztool"), Fnd_String(u"1"), path), 1);
    EXPECT_EQ(Narrow(path), Dir + "/doc/C/man/man1/ztool.1") << "a missing language falls back";
    EXPECT_EQ(P::Find_Man_Page(condition, Fnd_String(u"other"), Fnd_String(u"1"), path), 1);
    EXPECT_EQ(Narrow(path), Dir + "/doc/de_DE/man/man1/other.1");
    EXPECT_EQ(P::Find_Man_Page(condition, Fnd_String(u"none"), Fnd_String(u"3"), path), 0);
    EXPECT_EQ(Error_Text(condition), "Can't find man page for: none");

    Fnd_String title, synopsis;
    EXPECT_EQ(P::Man_Help_Info(condition, Fnd_String(u"ztool"), title, synopsis, Fnd_String(u"1")), 1);
    EXPECT_EQ(Narrow(title), "ztool - does things");
    EXPECT_EQ(Narrow(synopsis), "  ztool [-v]   file\nztool -h\n\n\tkept tab\n");
    EXPECT_EQ(P::Get_Man_Help_Info(Path("missing"), title, synopsis), 0);

    std::string printed;
    {
        ZTInt_Captured_Fd out(1);
        P::Output_Help_Lines(Fnd_String(u"one\n\ntwo\n"));
        EXPECT_EQ(P::Show_Man_Page(condition, Fnd_String(u"other"), Fnd_String(u"1")), 1);
        printed = out.Bytes();
    }
    EXPECT_EQ(printed, "  one\n  \n  two\nNAME\nother - german\n");
}

TEST(PathnameEditor, VisitArguments) {
    setenv("ZT_XTERM", "myterm", 1);
    Hst_Switches::Clear_Cache();
    struct Row { const char* command; long line; long plain; const char* args; };
    const Row rows[] = {
        {"vi", 7, 0, "myterm|-e|vi|-c|7|f.c"},
        {"/usr/bin/vi", 1, 0, "myterm|-e|/usr/bin/vi|f.c"},
        {"emacs -nw", 12, 0, "emacs|-nw|+12|f.c"},
        {"xemacs", 12, 1, "xemacs|f.c"},
        {"ed +%l %n -s", 5, 0, "ed|+5|f.c|-s"},
        {"ed +%l", 5, 1, "ed|+%l|f.c"},
        {"nano", 9, 0, "nano|f.c"},
    };
    for (const Row& row : rows) {
        Fnd_String_Array args;
        P::Visit_Arguments(Wide(row.command), Fnd_String(u"f.c"), row.line, row.plain, args);
        std::string joined;
        for (const std::string& item : Items(args)) joined += (joined.empty() ? "" : "|") + item;
        EXPECT_EQ(joined, row.args) << row.command;
    }
}

TEST_F(Pathname, RunningCommands) {
    Fnd_Condition condition;
    int status = -1;
    Fnd_String_Array args;
    for (const char* word : {"/bin/sh", "-c", "/usr/bin/tr a-z A-Z; echo oops >&2; printf 'last'; exit 3"})
        args.Add(Wide(word));
    const Fnd_String input(u"one\ntwo\n");
    Fnd_String output(u"> ");
    Utl_Run_Options options;
    options.Arguments = &args;
    options.Input = &input;
    options.Output = &output;
    EXPECT_EQ(P::Run_Command(condition, status, options), 1);
    EXPECT_EQ(status, 3);
    EXPECT_EQ(Narrow(output), "> ONE\nTWO\nlast\n") << "error lines are dropped";
    output.Make_Empty();
    options.Separate_Lines = false;
    EXPECT_EQ(P::Run_Command(condition, status, options), 1);
    EXPECT_EQ(Narrow(output), "ONE TWO last");

    // A large input to a child that writes all it reads: no deadlock on pipes.
    const Fnd_String big(300000, Fnd_Char(u'x'), 1);
    Fnd_String_Array cat;
    cat.Add(Fnd_String(u"/bin/cat"));
    options.Arguments = &cat;
    options.Input = &big;
    output.Make_Empty();
    EXPECT_EQ(P::Run_Command(condition, status, options), 1);
    EXPECT_EQ(output.Get_Length(), 300000);

    // Without capture: the program runs as it is, here into a file.
    const int fd = open((Dir + "/out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    Fnd_String_Array echo;
    for (const char* word : {"/bin/echo", "a;b", "$HOME"}) echo.Add(Wide(word));
    Utl_Run_Options plain;
    plain.Arguments = &echo;
    plain.Out_Fd = fd;
    EXPECT_EQ(P::Run_Command(condition, status, plain), 1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(fcntl(fd, F_GETFD), -1) << "the given descriptor is closed";
    std::ifstream in(Dir + "/out");
    std::string got((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(got, "a;b $HOME\n") << "arguments reach the program untouched";

    Fnd_String_Array missing;
    missing.Add(Fnd_String(u"/no/such/program"));
    plain.Arguments = &missing;
    plain.Out_Fd = -1;
    options.Arguments = &missing;
    EXPECT_EQ(P::Run_Command(condition, status, options), 0);
    EXPECT_TRUE(condition.Failed());
    Utl_Run_Options empty;
    EXPECT_EQ(P::Run_Command(condition, status, empty), 0);
    EXPECT_EQ(Error_Text(condition), "No command to run");
}

TEST_F(Pathname, RedirectingStandardOutput) {
    // In a child, so that this process keeps its own descriptors.
    const std::string file = Dir + "/log";
    std::ofstream(file) << "before\n";
    const pid_t pid = fork();
    if (pid == 0) {
        Fnd_Condition condition;
        if (!P::Redirect_Io(condition, Wide(file), 1, 0, 1, 1)) _exit(2);
        if (write(1, "out\n", 4) != 4 || write(2, "err\n", 4) != 4) _exit(3);
        if (P::Redirect_Io(condition, Wide(Dir + "/none/x"), 0, 0, 1, 0)) _exit(4);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    std::ifstream in(file);
    std::string got((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(got, "before\nout\nerr\n");
}

TEST(PathnameTime, TimeValues) {
    const int64_t now = time(nullptr);
    struct Row { const char* text; int64_t offset; };
    const Row rows[] = {{"", 0}, {"+1:30", 5400}, {"+2", 7200}, {"+abc", 0}, {"+1:", 0}, {"+1x", 0}};
    for (const Row& row : rows) {
        const int64_t value = P::Time_Value(Wide(row.text));
        EXPECT_NEAR(static_cast<double>(value - now), static_cast<double>(row.offset), 2.0) << row.text;
    }
    struct tm local {};
    const time_t today = static_cast<time_t>(P::Time_Value(Fnd_String(u"today")));
    localtime_r(&today, &local);
    EXPECT_EQ(local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec, 0);
    EXPECT_LE(now - today, 86400);
    const time_t noon = static_cast<time_t>(P::Time_Value(Fnd_String(u"12:15")));
    localtime_r(&noon, &local);
    EXPECT_EQ(local.tm_hour * 100 + local.tm_min, 1215);
    EXPECT_LE(std::llabs(static_cast<long long>(noon - now)), 86400) << "on today's date";
}

// In a child, since these move the standard descriptors; the child's exit code says
// which check failed.
TEST_F(Pathname, TerminalsOfTheirOwnAndServerOutput) {
    Write("xterm.sh", "#!/bin/sh\necho \"$@\" > " + Dir + "/args\n"
                      "printf '" + Dir + "/tty\\nterm7\\n0x1f\\n' > \"$5.part\" && mv \"$5.part\" \"$5\"\n");
    chmod((Dir + "/xterm.sh").c_str(), 0755);
    Write("tty", "");  // appended to: the device must exist
    Write("server", "");
    setenv("ZT_XTERM", (Dir + "/xterm.sh").c_str(), 1);
    setenv("ZT_USER_DIR", (Dir + "/user").c_str(), 1);
    setenv("ZT_HOME", "/inst", 1);
    Hst_Switches::Clear_Cache();
    const pid_t pid = fork();
    if (pid == 0) {
        Fnd_Condition condition;
        Fnd_String tty, name;
        long child = 0, number = 0;
        if (!P::Redirect_To_Xterm(condition, Fnd_String(u"My Title"), tty, child, number, name, 0, 0))
            _exit(2);
        if (!(Narrow(tty) == Dir + "/tty") || !(name == u"term7") || number != 31 || child <= 0)
            _exit(3);
        if (write(1, "to tty\n", 7) != 7) _exit(4);
        if (!P::Redirect_Server_Output(condition, Wide("1 " + Dir + "/server"), Fnd_String(u"t")))
            _exit(5);
        if (write(2, "appended\n", 9) != 9) _exit(6);
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_EQ(WEXITSTATUS(status), 0);
    auto Contents = [](const std::string& File) {
        std::ifstream in(File);
        return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    };
    const std::string arch = Narrow(Hst_Switches::Architecture_Switch_Value());
    EXPECT_EQ(Contents(Dir + "/tty"), "to tty\n");
    EXPECT_EQ(Contents(Dir + "/server"), "appended\n");
    const std::string args = Contents(Dir + "/args");
    EXPECT_EQ(args.rfind("-title My Title -e /inst/" + arch + "/bin/ztxterm " + Dir + "/user/tmp/xtrm", 0), 0u)
        << args;
}
