// The logon stages against the real server: which values reach the wire, and in how
// many calls.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_opcodes.h"

namespace {

constexpr int kLogon = ZTInt_op_ZTZentrak_SessionLogon;
constexpr int kGetError = ZTInt_op_ZTInt_GetError;

class Ztint_Logon_Test : public Ztint_E2E {
protected:
    void SetUp() override
    {
        Ztint_E2E::SetUp();
        ASSERT_EQ(ZTZentrak_Build(&Zentrak), 0) << Server_Error();
    }

    int32_t Logon(const char* user, const char* password, const char* database, const char* master,
                  ZTInt_LONG flags = 0)
    {
        return ZTZentrak_SessionLogon(Zentrak, &Session, "", user, password, database, master, flags);
    }

    ZTZentrak* Zentrak = nullptr;
    ZTSession* Session = nullptr;
};

TEST_F(Ztint_Logon_Test, DirectFlagsMakeOneWireCallWithTheValuesAsGiven)
{
    setenv("ZT_USER", "zentrak", 1);
    setenv("ZT_PASSWORD", "zentrak", 1);
    EXPECT_EQ(Logon("", "", "DEMO", "MASTER", 14), -1);
    EXPECT_EQ(Session, nullptr);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Count_Calls(kGetError), 0);
    EXPECT_EQ(Server_Error(), "ztintsvr: logon refused: no user name given");
}

TEST_F(Ztint_Logon_Test, GivenValuesThatWorkLeaveTheEnvironmentUnread)
{
    setenv("ZT_USER", "somebody", 1);
    setenv("ZT_DATABASE", "ELSEWHERE", 1);
    EXPECT_EQ(Logon("zentrak", "zentrak", "DEMO", "MASTER"), 0);
    EXPECT_NE(Session, nullptr);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(ZTInt_Session_Free(Session), 0);
}

TEST_F(Ztint_Logon_Test, TheEnvironmentCompletesMissingValues)
{
    setenv("ZT_USER", "zentrak", 1);
    setenv("ZT_PASSWORD", "zentrak", 1);
    setenv("ZT_DATABASE", "DEMO", 1);
    setenv("ZT_MASTER", "MASTER", 1);
    EXPECT_EQ(Logon("", "", "", ""), 0);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Count_Calls(kGetError), 0);
}

TEST_F(Ztint_Logon_Test, AUserFromTheEnvironmentBringsItsOwnEmptyPassword)
{
    // Had the program's password been kept, this logon would succeed.
    setenv("ZT_USER", "zentrak", 1);
    EXPECT_EQ(Logon("", "zentrak", "DEMO", "MASTER"), -1);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Count_Calls(kGetError), 1);
    EXPECT_EQ(Server_Error(), "ztintsvr: logon refused for user \"zentrak\": wrong user name or password");
}

TEST_F(Ztint_Logon_Test, AnIncompleteSetMakesOneLastTryWithAnEmptyMaster)
{
    setenv("ZT_USER", "zentrak", 1);
    setenv("ZT_PASSWORD", "zentrak", 1);
    setenv("ZT_DATABASE", "DEMO", 1);
    EXPECT_EQ(Logon("", "", "", ""), -1);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Server_Error(),
              "ztintsvr: logon refused for user \"zentrak\": no database \"DEMO\" in database set \"\"");
}

TEST_F(Ztint_Logon_Test, NothingAnywhereMakesExactlyOneCallWithEmptyValues)
{
    EXPECT_EQ(Logon("", "", "", ""), -1);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Count_Calls(kGetError), 1);
    EXPECT_EQ(Server_Error(), "ztintsvr: logon refused: no user name given");
}

TEST_F(Ztint_Logon_Test, AWrongPasswordGivenWithAllValuesIsTriedInEachStage)
{
    EXPECT_EQ(Logon("zentrak", "wrong", "DEMO", "MASTER"), -1);
    EXPECT_EQ(Count_Calls(kLogon), 2);
    EXPECT_EQ(Count_Calls(kGetError), 2);
    // Without the environment stage, once.
    EXPECT_EQ(Logon("zentrak", "wrong", "DEMO", "MASTER", 8), -1);
    EXPECT_EQ(Count_Calls(kLogon), 3);
}

}  // namespace

namespace {

int Open_Descriptors()
{
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        (void)entry;
        ++count;
    }
    return count;
}

long Resident_Kilobytes()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

using Ztint_Logon_Cycle_Test = Ztint_Logon_Test;

// A handle stays valid until it is freed, whatever happened to the session behind it:
// the free after a logoff releases the client's entry, so one process can log on more
// often than its table has entries, with flat descriptors and memory.
TEST_F(Ztint_Logon_Cycle_Test, ThirtyThousandLogonsOfOneProcess)
{
    auto cycle = [this] {
        ZTSession* session = nullptr;
        ASSERT_EQ(ZTZentrak_SessionLogon(Zentrak, &session, "", "zentrak", "zentrak", "DEMO", "MASTER", 8),
                  0) << Server_Error();
        ASSERT_EQ(ZTZentrak_SessionLogoff(Zentrak, session, 0), 0) << Server_Error();
        ASSERT_EQ(ZTInt_Session_Free(session), 0) << Server_Error();
    };
    for (int i = 0; i < 1000; ++i)
        ASSERT_NO_FATAL_FAILURE(cycle());
    const int descriptors = Open_Descriptors();
    const long resident = Resident_Kilobytes();
    for (int i = 0; i < 29000; ++i)
        ASSERT_NO_FATAL_FAILURE(cycle()) << "cycle " << i + 1000;
    EXPECT_EQ(Open_Descriptors(), descriptors);
    EXPECT_LT(Resident_Kilobytes() - resident, 1024);
}

}  // namespace
