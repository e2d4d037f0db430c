// Users and groups: ids and names both ways, groups, homes and shells.
#include "foundation/host/hst_user.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/host/hst_switches.h"
#include "tests/foundation/base/message_test_support.h"

using namespace message_test;

namespace {

const passwd& Me() {
    const passwd* entry = getpwuid(geteuid());
    EXPECT_NE(entry, nullptr);
    return *entry;
}

long Unused_User_Id() {
    long id = 4000000;
    while (getpwuid(static_cast<uid_t>(id))) ++id;
    return id;
}

long Unused_Group_Id() {
    long id = 4000000;
    while (getgrgid(static_cast<gid_t>(id))) ++id;
    return id;
}

const Fnd_String Unconvertible(u"\xD800");

}  // namespace

TEST(Hst_User, UserAndGroupIdsAndNamesBothWays) {
    EXPECT_EQ(Hst_User::User_Id(), static_cast<long>(geteuid()));
    EXPECT_EQ(Narrow(Hst_User::Name()), Me().pw_name);
    EXPECT_EQ(Hst_User::User_Id(Hst_User::Name()), static_cast<long>(geteuid()));
    EXPECT_EQ(Hst_User::User_Id(Wide("no_such_user_zt")), -1);
    EXPECT_EQ(Hst_User::User_Id(Unconvertible), -1);

    Fnd_String name;
    Hst_User::Name(-1, name);
    EXPECT_EQ(Narrow(name), "<invalid>");
    const long unused = Unused_User_Id();
    Hst_User::Name(unused, name);
    EXPECT_EQ(Narrow(name), "uid_" + std::to_string(unused));

    const group* mine = getgrgid(getegid());
    ASSERT_NE(mine, nullptr);
    EXPECT_EQ(Hst_User::Group_Id(), static_cast<long>(getegid()));
    EXPECT_EQ(Narrow(Hst_User::Group()), mine->gr_name);
    EXPECT_EQ(Hst_User::Group_Id(Hst_User::Group()), static_cast<long>(getegid()));
    EXPECT_EQ(Hst_User::Group_Id(Wide("no_such_group_zt")), -1);

    const long unused_group = Unused_Group_Id();
    Hst_User::Group(unused_group, name);
    EXPECT_EQ(Narrow(name), "gid_" + std::to_string(unused_group));
    Hst_User::Group(-1, name);
    EXPECT_EQ(Narrow(name), "<invalid>");

    Hst_User::Group_Name(Wide(Me().pw_name), name);
    const group* primary = getgrgid(Me().pw_gid);
    ASSERT_NE(primary, nullptr);
    EXPECT_EQ(Narrow(name), primary->gr_name);
    Hst_User::Group_Name(Wide("no_such_user_zt"), name);
    EXPECT_EQ(Narrow(name), "<unknown>");
}

TEST(Hst_User, MembershipFollowsTheProcessGroups) {
    EXPECT_EQ(Hst_User::Is_Primary(static_cast<long>(getegid())), 1);
    EXPECT_EQ(Hst_User::Is_Member(static_cast<long>(getegid())), 1);
    const long unused = Unused_Group_Id();
    EXPECT_EQ(Hst_User::Is_Primary(unused), 0);
    EXPECT_EQ(Hst_User::Is_Member(unused), 0);

    std::vector<gid_t> expected(static_cast<size_t>(getgroups(0, nullptr)));
    expected.resize(static_cast<size_t>(getgroups(static_cast<int>(expected.size()), expected.data())));
    long* ids = nullptr;
    long count = -1;
    Hst_User::Groups(ids, count);
    ASSERT_EQ(count, static_cast<long>(expected.size()));
    for (long i = 0; i < count; ++i) {
        EXPECT_EQ(ids[i], static_cast<long>(expected[static_cast<size_t>(i)]));
        EXPECT_EQ(Hst_User::Is_Supplemental_Group(ids[i]), 1);
    }
    delete[] ids;
    EXPECT_EQ(Hst_User::Is_Supplemental_Group(unused), 0);
    EXPECT_EQ(Hst_User::Set_Current_Groups(), 0);
}

TEST(Hst_User, FullNamesHomesAndLoginShells) {
    const std::string comment = Me().pw_gecos;
    const std::string first = comment.substr(0, comment.find(','));
    Fnd_String name;
    Hst_User::Full_Name(Wide(Me().pw_name), name);
    EXPECT_EQ(Narrow(name), first);
    Hst_User::Full_Name(Wide("no_such_user_zt"), name);
    EXPECT_EQ(Narrow(name), "<unknown>");
    Hst_User::Full_Name(Unconvertible, name);
    EXPECT_EQ(Narrow(name), "<unknown>");

    EXPECT_EQ(Narrow(Hst_User::Login_Shell()), Me().pw_shell);
    Fnd_String shell(u"stale");
    Hst_User::Login_Shell(Unused_User_Id(), shell);
    EXPECT_TRUE(shell.Is_Empty());
    Hst_User::Login_Shell(-1, shell);
    EXPECT_TRUE(shell.Is_Empty());

    // Home directories.
    setenv("HOME", "/somewhere/else", 1);
    Hst_Switches::Clear_Cache();
    EXPECT_EQ(Narrow(Hst_User::Home_Directory(Fnd_String())), "/somewhere/else");
    EXPECT_EQ(Narrow(Hst_User::Home_Directory(Wide(Me().pw_name))), Me().pw_dir);
    EXPECT_EQ(Narrow(Hst_User::Home_Directory(Wide("no_such_user_zt"))), "");

    // Without HOME the user database answers.
    unsetenv("HOME");
    Hst_Switches::Clear_Cache();
    EXPECT_EQ(Narrow(Hst_User::Home_Directory(Fnd_String())), Me().pw_dir);
}
