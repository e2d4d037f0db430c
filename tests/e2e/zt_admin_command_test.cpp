// zt user, zt group and zt db against the real server: output, exit codes and help.
#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "tests/e2e/zt_command_support.h"
#include "tests/e2e/ztint_e2e_fixture.h"

namespace {

using Outcome = Zt_Outcome;

class Zt_Admin_Command_Test : public Ztint_E2E {
protected:
    // Runs zt with the arguments, input as its standard input.
    Outcome Zt(const std::vector<std::string>& arguments, const std::string& input = "")
    {
        return Zt_Run(arguments, {.Err_Path = Dir + "/zt.err", .Input = input});
    }

    struct Step {
        std::vector<std::string> Arguments;
        int Exit;
        std::string Out, Err;
        std::string Input = "";
    };
    void Run(const std::vector<Step>& steps)
    {
        for (const Step& step : steps) {
            const Outcome outcome = Zt(step.Arguments, step.Input);
            std::string named;
            for (const std::string& argument : step.Arguments)
                named += argument + " ";
            EXPECT_EQ(outcome.Exit, step.Exit) << named << outcome.Err;
            EXPECT_EQ(outcome.Out, step.Out) << named;
            EXPECT_EQ(outcome.Err, step.Err) << named;
        }
    }

    // Runs zt as another user.
    void As(const char* user, const char* password)
    {
        setenv("ZT_USER", user, 1);
        setenv("ZT_PASSWORD", password, 1);
    }
};

TEST_F(Zt_Admin_Command_Test, UsersAreCreatedSetSubscribedAndShown)
{
    Run({
        {{"user", "create", "ann", "full_name=Ann Lee", "email=ann@example.org", "--password-stdin"}, 0, "", "", "pw\n"},
        {{"user", "create", "ann"}, 1, "", "ZTAdminSession_CreateUser: a user \"ann\" exists already\n"},
        {{"user", "subscribe", "ann", "DEMO"}, 0, "", ""},
        {{"user", "set", "ann", "user_maintainer=yes", "phone=555"}, 0, "", ""},
        {{"user", "set", "ann", "phone=666", "active=maybe"}, 2, "", "zt: active: expected yes or no, got \"maybe\"\n"},
        {{"user", "set", "ann", "colour=red"}, 2, "",
         "zt: no user field \"colour\": full_name, email, phone, misc, active, superuser, user_maintainer, "
         "app_builder, all_databases\n"},
        {{"user", "show", "ann"}, 0,
         "login: ann\nfull_name: Ann Lee\nemail: ann@example.org\nphone: 555\nmisc: \nactive: yes\n"
         "privileges: user_maintainer\ngroups: \nsubscribed: DEMO\nall_databases: no\ndatabases: DEMO\n",
         ""},
        {{"user", "show", "nobody"}, 1, "", "ZTAdminSession_GetUser: no user \"nobody\" in database set \"MASTER\"\n"},
        {{"user", "set", "zentrak", "active=no"}, 1, "",
         "ZTUser_SetActive: user \"zentrak\" is the last active superuser of database set \"MASTER\"\n"},
        {{"user", "set", "ann", "active=no"}, 0, "", ""},
        {{"user", "list"}, 0, "zentrak\tactive\n", ""},
        {{"user", "list", "--all"}, 0, "ann\tinactive\nzentrak\tactive\n", ""},
        {{"user", "password", "ann"}, 2, "", "zt: expected the password as a line on standard input\n"},
    });
}

TEST_F(Zt_Admin_Command_Test, PlainUsersAreRefusedAndPasswordsChange)
{
    Run({
        {{"user", "create", "pat", "--password-stdin"}, 0, "", "", "first\n"},
        {{"user", "subscribe", "pat", "DEMO"}, 0, "", ""},
    });
    As("pat", "first");
    Run({
        {{"db", "list"}, 0, "DEMO\t\n", ""},
        {{"user", "list"}, 1, "",
         "ZTAdminSession_Logon: ztintsvr: administration refused for user \"pat\": user \"pat\" may not "
         "administer: neither superuser nor user maintainer\n"},
        {{"group", "create", "mine"}, 1, "",
         "ZTAdminSession_Logon: ztintsvr: administration refused for user \"pat\": user \"pat\" may not "
         "administer: neither superuser nor user maintainer\n"},
    });
    As("zentrak", "zentrak");
    Run({{{"user", "password", "pat"}, 0, "", "", "second\n"}});
    As("pat", "first");
    EXPECT_EQ(Zt({"db", "list"}).Exit, 1);
    As("pat", "second");
    EXPECT_EQ(Zt({"db", "list"}).Out, "DEMO\t\n");
}

TEST_F(Zt_Admin_Command_Test, GroupsGiveAccessAndRefuseCycles)
{
    Run({
        {{"user", "create", "ann", "--password-stdin"}, 0, "", "", "pw\n"},
        {{"group", "create", "dev"}, 0, "", ""},
        {{"group", "create", "qa; DROP TABLE zt_groups"}, 0, "", ""},
        {{"group", "add", "dev", "ann"}, 0, "", ""},
        {{"group", "add", "qa; DROP TABLE zt_groups", "--group", "dev"}, 0, "", ""},
        {{"group", "add", "dev", "--group", "qa; DROP TABLE zt_groups"}, 1, "",
         "ZTGroup_AddGroup: group \"qa; DROP TABLE zt_groups\" cannot go into group \"dev\": \"dev\" is inside "
         "\"qa; DROP TABLE zt_groups\" already\n"},
        {{"group", "add", "dev"}, 2, "", "zt: name the users or --group members\n"},
        {{"group", "subscribe", "qa; DROP TABLE zt_groups", "DEMO"}, 0, "", ""},
        {{"group", "show", "dev"}, 0,
         "name: dev\nactive: yes\nusers: ann\ngroups: \nsubscribed: \nall_databases: no\ndatabases: DEMO\n", ""},
        {{"group", "list"}, 0, "dev\tactive\neveryone\tactive\nqa; DROP TABLE zt_groups\tactive\n", ""},
        {{"group", "set", "dev", "active=no"}, 0, "", ""},
        {{"group", "list"}, 0, "everyone\tactive\nqa; DROP TABLE zt_groups\tactive\n", ""},
        {{"group", "set", "dev", "active=yes", "name=developers"}, 0, "", ""},
        {{"group", "remove", "developers", "ann"}, 0, "", ""},
        {{"group", "remove", "developers", "ann"}, 1, "",
         "ZTGroup_RemoveUser: user \"ann\" is not in group \"developers\"\n"},
        {{"group", "add", "developers", "ann"}, 0, "", ""},
    });
    As("ann", "pw");
    Run({{{"db", "list"}, 0, "DEMO\t\n", ""}});
}

TEST_F(Zt_Admin_Command_Test, DatabasesAreCreatedListedAndShown)
{
    Run({
        {{"db", "create", "PROJ2", "--description", "The second project"}, 0, "PROJ2\n", ""},
        {{"db", "create", "PROJ2"}, 1, "", "ZTAdminSession_InstallAddDbSetEx: a database \"PROJ2\" exists already\n"},
        {{"db", "list"}, 0, "DEMO\t\n", ""},
        {{"db", "list", "--all"}, 0, "DEMO\t\nPROJ2\tThe second project\n", ""},
        {{"user", "subscribe", "zentrak", "PROJ2"}, 0, "", ""},
        {{"db", "list"}, 0, "DEMO\t\nPROJ2\tThe second project\n", ""},
        {{"db", "show", "PROJ2"}, 0,
         "name: PROJ2\ndescription: The second project\nsubscribed_users: zentrak\nsubscribed_groups: \n"
         "users: zentrak\n",
         ""},
        {{"db", "show", "NOPE"}, 1, "", "ZTAdminSession_GetDatabase: no database \"NOPE\" in database set \"MASTER\"\n"},
    });
    setenv("ZT_DATABASE", "PROJ2", 1);
    Run({{{"submit", "Defect", "Headline=in the new database"}, 0, "PROJ200000001\n", ""}});
}

TEST_F(Zt_Admin_Command_Test, UsageErrorsExitWithTwoAndHelpWithZero)
{
    const std::vector<std::vector<std::string>> wrong = {
        {"user"}, {"user", "bogus"}, {"user", "show"}, {"user", "set", "ann"}, {"user", "set", "ann", "novalue"},
        {"group"}, {"group", "subscribe", "dev"}, {"db"}, {"db", "create"},
    };
    for (const auto& arguments : wrong) {
        const Outcome outcome = Zt(arguments);
        EXPECT_EQ(outcome.Exit, 2) << arguments.size();
        EXPECT_NE(outcome.Err, "");
    }
    const std::vector<std::vector<std::string>> helped = {
        {"user"}, {"user", "list"}, {"user", "show"}, {"user", "create"}, {"user", "set"}, {"user", "password"},
        {"user", "subscribe"}, {"group"}, {"group", "list"}, {"group", "show"}, {"group", "create"},
        {"group", "set"}, {"group", "add"}, {"group", "remove"}, {"group", "subscribe"}, {"db"}, {"db", "list"},
        {"db", "show"}, {"db", "create"},
    };
    for (std::vector<std::string> arguments : helped) {
        arguments.push_back("--help");
        const Outcome outcome = Zt(arguments);
        EXPECT_EQ(outcome.Exit, 0) << arguments[0] << " " << arguments[1];
        EXPECT_NE(outcome.Out.find("Usage:"), std::string::npos) << arguments[0] << " " << arguments[1];
    }
}

}  // namespace
