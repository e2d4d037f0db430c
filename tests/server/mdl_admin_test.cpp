// The administration model on its own: access through groups nested several deep, and
// cycles found however long.
#include <gtest/gtest.h>

#include <cstdlib>

#include "server/model/mdl_admin.h"
#include "server/model/mdl_session.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_store.h"

namespace {

class Mdl_Admin_Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(Store.Location.empty())
            << "ZTT_E2E_STORE=postgresql needs the cluster of scripts/pg-cluster.sh (ZTT_PG)";
        setenv("ZT_SERVER_STORE", Store.Location.c_str(), 1);
        Admin = Server.Admin_Logon({"zentrak", "zentrak", "", "MASTER"}, Refusal);
        ASSERT_NE(Admin, nullptr) << Refusal;
        Admin->Create_User("ann");
        for (const char* group : {"a", "b", "c", "d"})
            Admin->Create_Group(group);
    }

    bool Ann_May_Use_Demo() { return Admin->Accessible("ann") == std::vector<std::string>{"DEMO"}; }

    std::string Refusal_Of(const std::string& group, const std::string& member)
    {
        try {
            Admin->Add_Group(group, member);
        } catch (const Mdl_Refusal& refusal) {
            return refusal.what();
        }
        return "";
    }

    ZTInt_Temp_Dir Temp;
    ZTInt_Test_Store Store{Temp.Path};
    Mdl_Server Server{{Svr_Users::Default_Store(), ZTINT_SOURCE_DIR "/server/schemas/sample.json"}};
    std::shared_ptr<Mdl_Admin> Admin;
    std::string Refusal;
};

TEST_F(Mdl_Admin_Test, SubscriptionsReachMembersThroughEveryActiveLevel)
{
    // ann in a, a in b, b in c, c in d; d subscribed.
    Admin->Add_User("a", "ann");
    Admin->Add_Group("b", "a");
    Admin->Add_Group("c", "b");
    Admin->Add_Group("d", "c");
    EXPECT_FALSE(Ann_May_Use_Demo());
    Admin->Subscribe({Mdl_Member::Kind::Group, "d"}, "DEMO", true);
    EXPECT_TRUE(Ann_May_Use_Demo());
    EXPECT_EQ(Admin->Database_Users("DEMO", false), (std::vector<std::string>{"ann", "zentrak"}));

    // Any inactive level in between cuts the way, and so does a removed link.
    for (const char* group : {"a", "b", "c", "d"}) {
        Admin->Set_Group_Active(group, false);
        EXPECT_FALSE(Ann_May_Use_Demo()) << group;
        Admin->Set_Group_Active(group, true);
    }
    EXPECT_TRUE(Ann_May_Use_Demo());
    Admin->Remove_Group("c", "b");
    EXPECT_FALSE(Ann_May_Use_Demo());

    // An inactive user keeps the subscription but cannot log on.
    Admin->Add_Group("c", "b");
    Admin->Set_Password("ann", "pw");
    Admin->Set_Active("ann", false);
    std::string refusal;
    EXPECT_EQ(Server.Logon({"ann", "pw", "DEMO", "MASTER"}, refusal), nullptr);
    EXPECT_EQ(refusal, "ztintsvr: logon refused for user \"ann\": the user is inactive");
    Admin->Set_Active("ann", true);
    EXPECT_NE(Server.Logon({"ann", "pw", "DEMO", "MASTER"}, refusal), nullptr) << refusal;
}

TEST_F(Mdl_Admin_Test, CyclesOfAnyLengthAreRefusedAndNothingChanges)
{
    Admin->Add_Group("b", "a");
    Admin->Add_Group("c", "b");
    Admin->Add_Group("d", "c");
    const struct {
        const char* Group;
        const char* Member;
        std::string Refusal;
    } cases[] = {
        {"a", "d", "group \"d\" cannot go into group \"a\": \"a\" is inside \"d\" already"},
        {"a", "b", "group \"b\" cannot go into group \"a\": \"a\" is inside \"b\" already"},
        {"c", "c", "group \"c\" cannot go into group \"c\": \"c\" is that group itself"},
        {"b", "a", "group \"a\" is in group \"b\" already"},
        {"a", "everyone", "the group \"everyone\" goes into no other group"},
        {"a", "nowhere", "no group \"nowhere\" in database set \"MASTER\""},
        {"d", "a", ""},  // a shortcut, no cycle
    };
    for (const auto& c : cases)
        EXPECT_EQ(Refusal_Of(c.Group, c.Member), c.Refusal) << c.Group << " " << c.Member;
    EXPECT_EQ(Admin->Group_Groups("a"), std::vector<std::string>{});
    EXPECT_EQ(Admin->Group_Groups("d"), (std::vector<std::string>{"a", "c"}));
}

}  // namespace
