// The settings stage of a logon against the real server: values from the login
// settings file below the test's own home, the exact calls that takes, a plain
// password turned into its stored form, the temporary cache file of flag bit 16, and
// files that are wrong, broken or not to be trusted; and the file's name by client.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_settings.h"
#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/adcryptinternal.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztint.h"
#include "ztint_client/ztint_logon_settings.h"
#include "ztint_opcodes.h"
#include "ztint_utils/ztint_text.h"

namespace {

namespace fs = std::filesystem;

constexpr int kLogon = ZTInt_op_ZTZentrak_SessionLogon;
constexpr int kGetError = ZTInt_op_ZTInt_GetError;
const std::string kRefused = "ztintsvr: logon refused for user \"zentrak\": wrong user name or password";

std::string Stored(const char16_t* password)
{
    char* narrow = ZTInt_Narrow(AdEncryptStringReversiblyInternal(password, AdCharset::getUTF8Charset(), 7));
    std::string text = narrow;
    ZTInt_String_Free(narrow);
    return text;
}

std::string Contents(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

class Ztint_Logon_Settings_Test : public Ztint_E2E {
protected:
    void SetUp() override
    {
        Ztint_E2E::SetUp();
        Diagnostics = Dir + "/diag.log";
        setenv("ZT_DIAG_TRACE", "ZTINTSVR", 1);
        setenv("ZT_DIAG_OUTPUT", Diagnostics.c_str(), 1);
        AdDiagnostic::ResetDiagnosticFlags(0);
        ZTInt_Forget_Settings_Paths();
        Utl_Settings::Forget_All();
        ASSERT_EQ(ZTZentrak_Build(&Zentrak), 0) << Server_Error();
        Version = Server_Version();
        ASSERT_FALSE(Version.empty());
        Settings_Dir = UserHome + "/.Morvane/.Registry/Zentrak/" + Version + "/ZTIntSvr";
        Settings_File = Settings_Dir + "/Login-ZTIntSvr";
    }
    void TearDown() override
    {
        Ztint_E2E::TearDown();
        unsetenv("ZT_DIAG_TRACE");
        unsetenv("ZT_DIAG_OUTPUT");
        AdDiagnostic::ResetDiagnosticFlags(0);
    }

    static std::string Server_Version()
    {
        ZTProductInfo* info = nullptr;
        char* version = nullptr;
        ZTZentrak* zentrak = nullptr;
        EXPECT_EQ(ZTZentrak_Build(&zentrak), 0);
        EXPECT_EQ(ZTZentrak_CreateProductInfo(zentrak, &info), 0);
        EXPECT_EQ(ZTProductInfo_GetProductVersion(info, &version), 0);
        std::string text = version != nullptr ? version : "";
        ZTInt_String_Free(version);
        ZTInt_ProductInfo_Free(info);
        ZTInt_Zentrak_Free(zentrak);
        return text;
    }

    void Write_Settings(const std::string& text, const std::string& file = "")
    {
        fs::create_directories(Settings_Dir);
        const std::string path = file.empty() ? Settings_File : file;
        std::ofstream(path, std::ios::binary) << text;
        chmod(path.c_str(), 0600);
    }

    int32_t Logon(ZTInt_LONG flags = 0, const char* client_id = "")
    {
        return ZTZentrak_SessionLogon(Zentrak, &Session, client_id, "", "", "", "", flags);
    }

    // The procedures called since the mark, by name, from the server's trace.
    std::vector<std::string> Calls_Since(std::size_t mark) const
    {
        std::vector<std::string> calls;
        for (const std::string& line : Trace_Lines())
            if (Ztint_Field(line, 0) == "call")
                calls.push_back(Ztint_Field(line, 3));
        return std::vector<std::string>(calls.begin() + static_cast<long>(std::min(mark, calls.size())),
                                        calls.end());
    }
    std::size_t Mark() const { return Calls_Since(0).size(); }

    std::string Diagnostic_Text() const { return Contents(Diagnostics); }

    ZTZentrak* Zentrak = nullptr;
    ZTSession* Session = nullptr;
    std::string Version;
    std::string Settings_Dir;
    std::string Settings_File;
    std::string Diagnostics;
};

TEST_F(Ztint_Logon_Settings_Test, NothingGivenLogsOnFromTheSettingsFileInSixCalls)
{
    Write_Settings("user: zentrak\nepassword: " + Stored(u"zentrak") + "\ndatabase: DEMO\nmaster: MASTER\n");
    const std::size_t mark = Mark();
    ASSERT_EQ(Logon(), 0) << Server_Error();
    EXPECT_NE(Session, nullptr);
    const std::vector<std::string> expected = {
        "ZTZentrak_Build",         "ZTZentrak_CreateProductInfo", "ZTProductInfo_GetProductVersion",
        "ZTInt_ProductInfo_Free",  "ZTInt_Zentrak_Free",          "ZTZentrak_SessionLogon"};
    EXPECT_EQ(Calls_Since(mark), expected);
    EXPECT_NE(Diagnostic_Text().find("Settings_Path=" + Settings_File), std::string::npos);
    EXPECT_NE(Diagnostic_Text().find("Default_Dbset=" + Version), std::string::npos);
    EXPECT_EQ(ZTInt_Session_Free(Session), 0);
}

TEST_F(Ztint_Logon_Settings_Test, APlainPasswordIsStoredAfterTheFirstLogonAndStillWorks)
{
    Write_Settings("user: zentrak\npassword: zentrak\ndatabase: DEMO\nmaster: MASTER\n");
    ASSERT_EQ(Logon(), 0) << Server_Error();
    EXPECT_EQ(ZTInt_Session_Free(Session), 0);

    const std::string text = Contents(Settings_File);
    EXPECT_EQ(text, "database: DEMO\nepassword: " + Stored(u"zentrak") + "\nmaster: MASTER\nuser: zentrak\n");
    struct stat status {};
    ASSERT_EQ(stat(Settings_File.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    // The second logon reads the stored form; the version is not asked again.
    const std::size_t mark = Mark();
    Session = nullptr;
    ASSERT_EQ(Logon(), 0) << Server_Error();
    EXPECT_EQ(Calls_Since(mark), std::vector<std::string>{"ZTZentrak_SessionLogon"});
    EXPECT_EQ(Contents(Settings_File), text);
    EXPECT_EQ(ZTInt_Session_Free(Session), 0);
}

TEST_F(Ztint_Logon_Settings_Test, TheStoredPasswordWinsAndAPlainOneBesideItStays)
{
    const std::string text = "epassword: " + Stored(u"zentrak") +
                             "\npassword: wrong\nuser: zentrak\ndatabase: DEMO\nmaster: MASTER\n";
    Write_Settings(text);
    ASSERT_EQ(Logon(), 0) << Server_Error();
    EXPECT_EQ(Contents(Settings_File), text);
    EXPECT_EQ(ZTInt_Session_Free(Session), 0);
}

TEST_F(Ztint_Logon_Settings_Test, AWrongPasswordInTheFileIsOneRefusedTry)
{
    const std::string text = "user: zentrak\nepassword: " + Stored(u"wrong") + "\ndatabase: DEMO\nmaster: MASTER\n";
    Write_Settings(text);
    EXPECT_EQ(Logon(), -1);
    EXPECT_EQ(Session, nullptr);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Count_Calls(kGetError), 1);
    EXPECT_EQ(Server_Error(), kRefused);
    EXPECT_EQ(Contents(Settings_File), text);
}

TEST_F(Ztint_Logon_Settings_Test, FlagBit16RemovesTheCacheFileWhateverTheOutcome)
{
    const std::string cache = Pipe + "_Login-ZTIntSvr";
    struct Row { const char16_t* password; int32_t status; };
    for (const Row& row : {Row{u"zentrak", 0}, Row{u"wrong", -1}}) {
        Write_Settings("user: zentrak\nepassword: " + Stored(row.password) + "\ndatabase: DEMO\nmaster: MASTER\n");
        std::ofstream(cache) << "cached\n";
        Session = nullptr;
        EXPECT_EQ(Logon(16), row.status);
        EXPECT_FALSE(fs::exists(cache)) << row.status;
        EXPECT_TRUE(fs::exists(Settings_File)) << "the settings file itself stays";
        if (Session != nullptr) {
            EXPECT_EQ(ZTInt_Session_Free(Session), 0);
        }
    }
}

TEST_F(Ztint_Logon_Settings_Test, AFileOthersCouldHaveWrittenGivesNoPassword)
{
    Write_Settings("user: zentrak\npassword: zentrak\ndatabase: DEMO\nmaster: MASTER\n");
    chmod(Settings_File.c_str(), 0666);
    EXPECT_EQ(Logon(), -1);
    EXPECT_EQ(Server_Error(), kRefused) << "the user came from the file, the password did not";
    EXPECT_NE(Diagnostic_Text().find("error: the settings file " + Settings_File +
                                     " is not trusted for a password, so none is taken from it: "
                                     "its group or others may write it (mode 0666)"),
              std::string::npos)
        << Diagnostic_Text();
    EXPECT_NE(Contents(Settings_File).find("password: zentrak"), std::string::npos)
        << "an untrusted file is not rewritten";

    if (geteuid() != 0)
        return;  // giving the file away needs root
    chmod(Settings_File.c_str(), 0600);
    ASSERT_EQ(chown(Settings_File.c_str(), 65534, 65534), 0);
    EXPECT_EQ(Logon(), -1);
    EXPECT_NE(Diagnostic_Text().find("it is owned by user id 65534, not by this user (0)"), std::string::npos);
}

TEST_F(Ztint_Logon_Settings_Test, ABrokenFileLeavesTheServersOwnRefusal)
{
    std::string garbage = "{user:\n";
    for (int i = 0; i < 20000; ++i)
        garbage += static_cast<char>((i * 37) % 256);
    Write_Settings(garbage);
    EXPECT_EQ(Logon(), -1);
    EXPECT_EQ(Count_Calls(kLogon), 1);
    EXPECT_EQ(Server_Error(), "ztintsvr: logon refused: no user name given");
    EXPECT_NE(Diagnostic_Text().find("error: the multi-line field user of " + Settings_File), std::string::npos);
}

TEST(Ztint_Logon_Client_Path, NamesTheFileAfterTheClient)
{
    struct Row { const char* client_id; const char* variable; const char* path; };
    const Row rows[] = {
        {"abc", "xyz", "Login-abc"},
        {"", "xyz", "Login-xyz"},
        {"", "", "Login-ZTIntSvr"},
        {"", nullptr, "Login-ZTIntSvr"},
    };
    for (const Row& row : rows) {
        if (row.variable != nullptr)
            setenv("ZT_CLIENTID", row.variable, 1);
        else
            unsetenv("ZT_CLIENTID");
        Fnd_String path;
        Get_Client_Path(path, row.client_id);
        char* narrow = ZTInt_Narrow(path);
        EXPECT_STREQ(narrow, row.path);
        ZTInt_String_Free(narrow);
    }
    unsetenv("ZT_CLIENTID");
}

}  // namespace
