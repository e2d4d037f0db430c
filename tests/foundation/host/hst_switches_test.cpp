// Switches: names, defaults, the cache, derived directories; small host functions.
#include "foundation/host/hst_switches.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_fresh_process.h"
#include "tests/support/ztint_temp_dir.h"

using namespace message_test;

namespace {

std::string Env(const char* Name) {
    const char* value = getenv(Name);
    return value != nullptr ? value : "<unset>";
}

// Sets each variable (unsets it for a null value), then empties the cache.
void Fresh(std::initializer_list<std::pair<const char*, const char*>> Vars) {
    for (const auto& [name, value] : Vars)
        value ? setenv(name, value, 1) : unsetenv(name);
    Hst_Switches::Clear_Cache();
}

using Temp_Dir = ZTInt_Temp_Dir;

}  // namespace



// A product prefix, once set, stays for the life of the process, and so does a switch's
// name once made; the database switches are read once per process. So these run fresh.
TEST(Hst_Switches, SessionNamesTakeThePrefixOnceAndKeepIt) {
    ZTInt_In_Fresh_Process([] {
        EXPECT_EQ(Hst_Switches::Get_Product_Prefix(), nullptr);
        EXPECT_EQ(Narrow(Hst_Switches::Normalize_Session_Switch(Wide("HOME"))), "ZT_HOME");
        EXPECT_EQ(Narrow(Hst_Switches::Messages_Switch_Name()), "ZT_MESSAGES");
        Hst_Switches::Set_Product_Prefix(Wide("AB_"));
        EXPECT_EQ(Narrow(*Hst_Switches::Get_Product_Prefix()), "AB_");
        EXPECT_EQ(Narrow(Hst_Switches::Normalize_Session_Switch(Wide("HOME"))), "AB_HOME");
        // MESSAGES keeps the name made before the prefix; HOME of the user has none.
        EXPECT_EQ(Narrow(Hst_Switches::Messages_Switch_Name()), "ZT_MESSAGES");
        EXPECT_EQ(Narrow(Hst_Switches::Ui_Path_Switch_Name()), "AB_UI_PATH");
        EXPECT_EQ(Narrow(Hst_Switches::Env_Home_Switch_Name()), "HOME");
    });
}

TEST(Hst_Switches, AValueStaysUntilTheCacheIsClearedButDatabaseSwitchesSurvive) {
    ZTInt_In_Fresh_Process([] {
        Fresh({{"EDITOR", "vi"}, {"ZT_DATABASES", "one"}, {"ZT_DB_VENDOR", "v1"}});
        const auto seen = [] {
            return Narrow(Hst_Switches::Env_Editor_Switch_Value()) + " " +
                   Narrow(Hst_Switches::Databases_Switch_Value()) + " " +
                   Narrow(Hst_Switches::Db_Vendor_Switch_Value());
        };
        EXPECT_EQ(seen(), "vi one v1");
        setenv("EDITOR", "emacs", 1);
        EXPECT_EQ(seen(), "vi one v1");
        Fresh({{"ZT_DATABASES", "two"}, {"ZT_DB_VENDOR", "v2"}});
        EXPECT_EQ(seen(), "emacs one v1");
    });
}

TEST(Hst_Switches, DefaultsWhichOfThemAreWrittenBackAndSetters) {
    Fresh({{"ZT_HOME", nullptr}, {"ZT_ARCH", nullptr}, {"ZT_XTERM", nullptr},
           {"TMPDIR", nullptr}, {"ZT_DATABASES", nullptr}});
    EXPECT_EQ(Narrow(Hst_Switches::Product_Home_Switch_Value()), "/opt/morvane/zentrak");
    EXPECT_EQ(Env("ZT_HOME"), "<unset>");
    EXPECT_EQ(Narrow(Hst_Switches::Architecture_Switch_Value()), Narrow(arch_names[3]));
    EXPECT_EQ(Env("ZT_ARCH"), Narrow(arch_names[3]));
    EXPECT_EQ(Narrow(Hst_Switches::Xterm_Switch_Value()), "xterm");
    EXPECT_EQ(Env("ZT_XTERM"), "<unset>");
    EXPECT_EQ(Narrow(Hst_Switches::Env_Tmpdir_Switch_Value()), "/tmp");
    EXPECT_EQ(Env("TMPDIR"), "<unset>");
    EXPECT_EQ(Narrow(Hst_Switches::Databases_Switch_Value()), "");
    const char* messages = getenv("ZT_MESSAGES");
    EXPECT_EQ(Narrow(Hst_Switches::Messages_Switch_Value()), messages != nullptr ? messages : "");

    // Setters change the cache and the environment.
    const std::tuple<void (*)(const Fnd_String&), const char*, const char*> setters[] = {
        {Hst_Switches::Set_Env_Path, "PATH", "/a:/b"},
        {Hst_Switches::Set_Script_Path, "ZT_SCRIPT_PATH", "/s"},
        {Hst_Switches::Set_Product_Home, "ZT_HOME", "/prod"},
        {Hst_Switches::Set_Databases, "ZT_DATABASES", "db"},
        {Hst_Switches::Set_Base_Dir, "ZT_BASE_DIR", "/base"}};
    for (const auto& [set, name, value] : setters) {
        set(Wide(value));
        EXPECT_EQ(Env(name), value);
    }
    EXPECT_EQ(Narrow(Hst_Switches::Env_Path_Switch_Value()), "/a:/b");
    EXPECT_EQ(Narrow(Hst_Switches::Script_Path_Switch_Value()), "/s");
    EXPECT_EQ(Narrow(Hst_Switches::Base_Dir_Switch_Value()), "/base");
}

TEST(Hst_Switches, DerivedDirectoriesAndTheDriverOfADatabaseVendor) {
    Fresh({{"ZT_HOME", "/prod"}, {"ZT_ARCH", "arch1"}, {"ZT_DB_DRIVER", nullptr},
           {"ZT_DB_VENDOR", nullptr}});
    EXPECT_EQ(Narrow(Hst_Switches::Get_Product_Bin_Dir()), "/prod/bin");
    EXPECT_EQ(Narrow(Hst_Switches::Get_Product_Arch_Bin_Dir()), "/prod/arch1/bin");
    EXPECT_EQ(Narrow(Hst_Switches::Get_Db_Driver(Wide("ora"))), "/prod/arch1/shlib/db_ora");
    EXPECT_EQ(Env("ZT_DB_DRIVER"), "/prod/arch1/shlib/db_ora");
    EXPECT_EQ(Env("ZT_DB_VENDOR"), "ora");
    // The same vendor keeps its driver, even one set by hand.
    Hst_Switches::Set_Db_Driver(Wide("/custom/ora.so"));
    EXPECT_EQ(Narrow(Hst_Switches::Get_Db_Driver(Wide("ora"))), "/custom/ora.so");
    // A new vendor replaces the driver of the old one.
    EXPECT_EQ(Narrow(Hst_Switches::Get_Db_Driver(Wide("sql"))), "/prod/arch1/shlib/db_sql");
    EXPECT_EQ(Narrow(Hst_Switches::Db_Vendor_Switch_Value()), "sql");
    // A driver that belongs to no vendor yet is claimed by the first one asked for.
    Hst_Switches::Set_Db_Vendor(Wide(""));
    Hst_Switches::Set_Db_Driver(Wide("/given.so"));
    EXPECT_EQ(Narrow(Hst_Switches::Get_Db_Driver(Wide("pg"))), "/given.so");
    EXPECT_EQ(Env("ZT_DB_VENDOR"), "pg");
}

TEST(Hst_Switches, TheMorvaneUserAndTemporaryDirectories) {
    struct Case {
        const char* Home;
        const char* Given;
        const char* Expected;
    };
    const Case cases[] = {{"/home/u", nullptr, "/home/u/.Morvane"},
                          {"/", nullptr, "/.Morvane"},
                          {nullptr, nullptr, ".Morvane"},
                          {nullptr, "/given", "/given"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Expected);
        Fresh({{"HOME", c.Home}, {"ZT_MORVANE_DIR", c.Given}});
        EXPECT_EQ(Narrow(Hst_Switches::Morvane_Dir_Switch_Value()), c.Expected);
        EXPECT_EQ(Env("ZT_MORVANE_DIR"), c.Expected);
    }

    // The user directory is the Morvane one, or the product directory of the user in it.
    const std::pair<const char*, const char*> users[] = {
        {nullptr, "/m"}, {"proj", "/m/proj"}, {"/abs/proj", "/abs/proj"}};
    for (const auto& [product, expected] : users) {
        SCOPED_TRACE(expected);
        if (product) Hst_Switches::Set_User_Product_Dir(Wide(product));
        Fresh({{"ZT_MORVANE_DIR", "/m"}, {"ZT_USER_DIR", nullptr}});
        EXPECT_EQ(Narrow(Hst_Switches::User_Dir_Switch_Value()), expected);
        EXPECT_EQ(Env("ZT_USER_DIR"), expected);
    }

    // The temporary directory is made on first use.
    Temp_Dir base;
    Fresh({{"ZT_USER_DIR", base.Path.c_str()}, {"ZT_TEMP_DIR", nullptr}});
    EXPECT_EQ(Narrow(Hst_Switches::Temp_Dir_Switch_Value()), base.Path + "/tmp");
    EXPECT_EQ(Env("ZT_TEMP_DIR"), base.Path + "/tmp");
    EXPECT_TRUE(std::filesystem::is_directory(base.Path + "/tmp"));

    // A given directory is made too; one that cannot be made is still the answer.
    Fresh({{"ZT_TEMP_DIR", (base.Path + "/given").c_str()}});
    EXPECT_EQ(Narrow(Hst_Switches::Temp_Dir_Switch_Value()), base.Path + "/given");
    EXPECT_TRUE(std::filesystem::is_directory(base.Path + "/given"));
    Fresh({{"ZT_TEMP_DIR", (base.Path + "/no/such/parent").c_str()}});
    EXPECT_EQ(Narrow(Hst_Switches::Temp_Dir_Switch_Value()), base.Path + "/no/such/parent");
}

TEST(Hst_Switches, PlatformsAndAccessCategories) {
    EXPECT_EQ(Hst_Switches::Is_Platform_Name(Wide("hppa")), 1);
    EXPECT_EQ(Hst_Switches::Is_Platform_Name(Fnd_String(Hst_Switches::This_Platform())), 1);
    EXPECT_EQ(Hst_Switches::Is_Platform_Name(Wide("any")), 0);
    EXPECT_EQ(Narrow(Hst_Switches::Any_Platform()), "any");
    EXPECT_EQ(Narrow(Hst_Switches::Arch_Platform()), "<arch>");

    EXPECT_EQ(Narrow(Hst_Access_Category_Image(0)), "nil_access");
    EXPECT_EQ(Narrow(Hst_Access_Category_Image(7)), "group_public");
    EXPECT_EQ(Narrow(Hst_Access_Category_Image(9)), "<unknown>");
    EXPECT_EQ(Hst_Access_Category_Value(Wide("PRIVATE")), Hst_User_Only);
    EXPECT_EQ(Hst_Access_Category_Value(Wide("View")), Hst_Group_Public);
    EXPECT_EQ(Hst_Access_Category_Value(Wide("other")), Hst_Unknown_Access);
    for (long value = 0; value <= 8; ++value)
        EXPECT_EQ(Hst_Access_Category_Value(Fnd_String(Hst_Access_Category_Image(value))), value);
    for (long value : {2L, 3L, 8L, 9L})
        EXPECT_EQ(Hst_Category_Is_Managed(value), value == 3 || value == 8) << value;
}

TEST(Hst_Host_Functions, ErrorTextsDirectoriesAndProcesses) {
    EXPECT_EQ(Narrow(Hst_Strerror(ENOENT)), "No such file or directory");

    Code_Unit buffer[1025];
    ASSERT_NE(Hst_Getcwd(buffer, 1025), nullptr);
    EXPECT_EQ(Narrow(Fnd_String(buffer)), std::filesystem::current_path().string());
    EXPECT_EQ(Hst_Getcwd(buffer, 1), nullptr);  // does not fit

    Fnd_String resolved;
    ASSERT_NE(Hst_Realpath(Wide("/tmp/../tmp/."), resolved), nullptr);
    EXPECT_EQ(Narrow(resolved), std::filesystem::canonical("/tmp").string());
    EXPECT_EQ(Hst_Realpath(Wide("/no/such/path"), resolved), nullptr);
    EXPECT_EQ(Hst_Lchown(Fnd_String(u"\xD800"), 0, 0), -1);

    EXPECT_EQ(Hst_Process_Exists(getpid()), 1);
    const pid_t child = fork();
    if (child == 0) _exit(0);
    ASSERT_GT(child, 0);
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_EQ(Hst_Process_Exists(child), 0);

    ASSERT_EQ(Hst_Ignore_Signal(SIGUSR2), 0);
    EXPECT_EQ(raise(SIGUSR2), 0);  // still alive
    struct rlimit limit {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(Hst_Max_Open_Files(), static_cast<long>(limit.rlim_cur));
}

TEST(Hst_Host_Functions, BinaryExecutablesOfThisPlatform) {
    Temp_Dir dir;
    EXPECT_EQ(Hst_Is_Binary_Executable(Wide("/proc/self/exe"), -1), 1);
    const std::string script = dir.Path + "/script";
    std::ofstream(script) << "#!/bin/sh\nexit 0\n";
    chmod(script.c_str(), 0755);
    EXPECT_EQ(Hst_Is_Binary_Executable(Wide(script), -1), 0);
    // A copy of this program without execute bits is no executable.
    const std::string copy = dir.Path + "/copy";
    std::filesystem::copy_file("/proc/self/exe", copy);
    chmod(copy.c_str(), 0644);
    EXPECT_EQ(Hst_Is_Binary_Executable(Wide(copy), -1), 0);
    chmod(copy.c_str(), 0700);
    // A given descriptor stays open and where it was.
    const int fd = open(copy.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(lseek(fd, 10, SEEK_SET), 10);
    EXPECT_EQ(Hst_Is_Binary_Executable(Fnd_String(), fd), 1);
    EXPECT_EQ(lseek(fd, 0, SEEK_CUR), 10);
    close(fd);
    EXPECT_EQ(Hst_Is_Binary_Executable(Wide(dir.Path + "/missing"), -1), 0);
}

TEST(Hst_Host_Functions, CatalogFilesAndRunningOutOfDescriptors) {
    Temp_Dir dir;
    const std::string empty = dir.Path + "/empty", full = dir.Path + "/full";
    std::ofstream{empty};
    std::ofstream(full) << "data";
    long too_many = -1;
    EXPECT_EQ(Hst_Pre_Catalog_Open(Wide(full), too_many), 1);
    EXPECT_EQ(Hst_Pre_Catalog_Open(Wide(empty), too_many), 0);
    EXPECT_EQ(Hst_Pre_Catalog_Open(Wide(dir.Path + "/missing"), too_many), 0);
    EXPECT_EQ(too_many, 0);

    // With the soft limit at the lowest free descriptor, the next open runs out.
    const int lowest = dup(0);
    ASSERT_GE(lowest, 0);
    close(lowest);
    struct rlimit saved {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
    struct rlimit low = saved;
    low.rlim_cur = static_cast<rlim_t>(lowest);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    const long opened = Hst_Pre_Catalog_Open(Wide(full), too_many);
    setrlimit(RLIMIT_NOFILE, &saved);
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(too_many, 1);
}
