// The diagnostics engine driven by its environment: the name=value grammar, the
// evaluation of the three tables, the destinations, golden report lines with a pinned
// clock, the output file with its limit and rollover, and the resets.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_text.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

// ---- The grammar
struct Parse_Case {
    const char16_t* Text;
    bool Allow_Duplicates;
    long Ok;
    const char16_t* Pairs;  // the map written back, sorted; or the error context
    long Message_Id;
};

const Parse_Case Parse_Cases[] = {
    {u"process", true, 1, u"PROCESS=", 0},
    {u"SQL=0x10;NOSUCH", true, 1, u"NOSUCH=;SQL=0x10", 0},
    {u"SQL ", true, 1, u"SQL=", 0},
    {u"A='x;y';B=2", true, 1, u"A='x;y';B=2", 0},
    {u"a=\"it's\"", true, 1, u"A=\"it's\"", 0},
    {u" ;; x = Mixed Case ;y=", true, 1, u"X= Mixed Case ;Y=", 0},
    {u"a=1;A=2", true, 1, u"A=2", 0},
    // Names take each unit's simple upper case: a full mapping of U+01F0 would add a
    // combining mark, and the name would not read back.
    {u"\u01F0\uF931\u31F9", true, 1, u"\u01F0\uF931\u31F9=", 0},
    {u"\u03B0a=1", true, 1, u"\u03B0A=1", 0},
    {u"", true, 1, u"", 0},
    {u"SQL x", true, 0, u"SQL ", AdNameValue_Expected_Equal},
    {u"SQL ;", true, 0, u"SQL ", AdNameValue_Expected_Equal},
    {u"A='x;y", true, 0, u"A='x;y", AdNameValue_Missing_Quote},
    {u"-A=1", true, 0, u"-A=1", AdNameValue_Bad_Name_Character},
    {u"AB-C", true, 0, u"AB", AdNameValue_Bad_Name_Character},
    {u"a=1;A=2", false, 0, u"A", AdNameValue_Duplicate_Name},
    {u"NAME_THAT_IS_FAR_LONGER_THAN_FORTY_CHARACTERS_IN_ALL-", true, 0,
     u"_FAR_LONGER_THAN_FORTY_CHARACTERS_IN_ALL", AdNameValue_Bad_Name_Character},
    {u"= and after it there is more than forty characters of text", true, 0,
     u"= and after it there is more than forty ", AdNameValue_Bad_Name_Character},
};

TEST(AdDiagnostic_Grammar, PairsErrorsAndContexts) {
    for (const Parse_Case& c : Parse_Cases) {
        CMapStringToString map;
        long id = -1;
        Fnd_String context(u"stale");
        const long ok =
            AdDiagnosticParseNameValueString(c.Text, map, id, context, c.Allow_Duplicates, true);
        EXPECT_EQ(ok, c.Ok) << std::string(c.Text, c.Text + std::char_traits<char16_t>::length(c.Text));
        if (ok) {
            Fnd_String pairs;
            AdDiagnosticMakeNameValueString(map, pairs, true);
            EXPECT_EQ(Text(pairs), c.Pairs);
            EXPECT_EQ(Text(context), u"");
        } else {
            EXPECT_EQ(id, c.Message_Id) << Text(context).size();
            EXPECT_EQ(Text(context), c.Pairs);
        }
    }
}

TEST(AdDiagnostic_Grammar, NameOnlyNeedsPermissionAndNullIsEmpty) {
    CMapStringToString map;
    long id = -1;
    Fnd_String context;
    EXPECT_EQ(AdDiagnosticParseNameValueString(u"A=1;SQL", map, id, context, true, false), 0);
    EXPECT_EQ(id, AdNameValue_Expected_Equal);
    EXPECT_EQ(AdDiagnosticParseNameValueString(u"SQL;A=1", map, id, context, true, false), 0);
    EXPECT_EQ(id, AdNameValue_Bad_Name_Character);
    map.SetAt(u"OLD", u"1");
    EXPECT_EQ(AdDiagnosticParseNameValueString(nullptr, map, id, context, true, true), 1);
    EXPECT_EQ(map.GetCount(), 0);
}

// ---- The engine in a configured environment
const char* const Variables[] = {"ZT_DIAG_TRACE", "ZT_DIAG_REPORT", "ZT_DIAG_BEHAVIOR",
                                 "ZT_DIAG_NAME",  "ZT_DIAG_OUTPUT", "ZT_DIAG_RESET"};

std::deque<std::pair<long, long>> Clock_Readings;
void Pinned_Clock(long& Seconds, long& Milliseconds) {
    if (Clock_Readings.empty()) {
        Seconds = 1700000000;
        Milliseconds = 0;
        return;
    }
    Seconds = Clock_Readings.front().first;
    Milliseconds = Clock_Readings.front().second;
    if (Clock_Readings.size() > 1) Clock_Readings.pop_front();
}

class AdDiagnostic_Engine : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        AdDiagnostic::Set_Clock(Pinned_Clock);
        Clock_Readings.clear();
        ASSERT_EQ(chdir(Dir.Path.c_str()), 0);
    }
    void TearDown() override {
        Configure({});
        AdDiagnostic::Set_Clock(nullptr);
        ASSERT_EQ(chdir("/"), 0);
    }
    // Sets exactly the given variables and evaluates again without a banner.
    static void Configure(const std::map<std::string, std::string>& Settings) {
        for (const char* name : Variables) unsetenv(name);
        for (const auto& [name, value] : Settings) setenv(name.c_str(), value.c_str(), 1);
        AdDiagnostic::ResetDiagnosticFlags(0);
    }
    std::string File(const std::string& Name) const { return Read(Dir.Path + "/" + Name); }
    static std::string Read(const std::string& Path) {
        std::ifstream in(Path, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        return text.str();
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Dir.Path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    ZTInt_Temp_Dir Dir;
};

TEST_F(AdDiagnostic_Engine, NothingSetMeansNilAndNothingCounted) {
    Configure({});
    const long before = AdDiagnostic::m_nDiagnosticsReported;
    EXPECT_EQ(AdDiagnostic::GetDestinationKind(), AdDest_Nil);
    AdDiagnostic::Report(u"label", u"text");
    EXPECT_EQ(AdDiagnostic::m_nDiagnosticsReported, before);
    for (long id : {1L, 14L, 49L, 88L, 90L, 98L, 125L, 234L, 235L})
        EXPECT_EQ(AdDiagnostic::IsEnabled(id, 1, 0), 0) << id;
}

TEST_F(AdDiagnostic_Engine, ValuesByKind) {
    Configure({{"ZT_DIAG_TRACE", "process;SQL=0x10;DEBUG=-1;SESSION=-2;HOOKS=010;TIMER=yes;"
                                 "EMAIL=TRUE;MAILREAD=2;XMLPARSER=7"},
               {"ZT_DIAG_REPORT", "PREFIX;OUTPUT_LIMIT"},
               {"ZT_DIAG_BEHAVIOR", "ALLOW_CLOBS;GLOBAL_PERL_CLONE_ENABLE=perl5;QUERY_TIMEOUT=0x7fffffff"},
               {"ZT_DIAG_OUTPUT", "diag.log"}});
    const std::pair<long, long> expected[] = {
        {49, 1}, {5, 16}, {1, -1}, {6, 0}, {8, 8}, {7, 0}, {11, 1}, {12, 1},
        {47, 7}, {61, 0}, {98, 10000}, {125, 1}, {157, 0x7fffffff}};
    for (const auto& [id, value] : expected)
        EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[id], value) << "id " << id;
    EXPECT_EQ(Text(AdDiagnostic::GetDiagnosticString(90)), u"*");
    EXPECT_EQ(AdDiagnostic::IsEnabled(5, 0x10, 1), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(5, 0x20, 1), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(5, 16, 0), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(5, 17, 0), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(1, 1, 0), 0);  // -1 is below 1 as a signed level
    EXPECT_EQ(AdDiagnostic::GetDiagnosticIdLevel(5), 16);
    EXPECT_EQ(AdDiagnostic::GetDiagnosticIdLevel(182), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(182, u"use perl5 here"), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(182, u"perl"), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(182, u"*"), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(183, u"perl5"), 0);
}

TEST_F(AdDiagnostic_Engine, OutputLimitOfOneMeansTenThousand) {
    Configure({{"ZT_DIAG_REPORT", "OUTPUT_LIMIT=1"}});
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[98], 10000);
}

TEST_F(AdDiagnostic_Engine, BehaviorsCountWithoutOutputTracesDoNot) {
    Configure({{"ZT_DIAG_TRACE", "PROCESS"}, {"ZT_DIAG_BEHAVIOR", "ALLOW_CLOBS"}});
    EXPECT_EQ(AdDiagnostic::GetDestinationKind(), AdDest_Nil);
    EXPECT_EQ(AdDiagnostic::IsEnabled(125), 1);
    EXPECT_EQ(AdDiagnostic::IsDiagnosticIdValid(125), 1);
    EXPECT_EQ(AdDiagnostic::IsEnabled(49), 0);
    EXPECT_EQ(AdDiagnostic::IsDiagnosticIdValid(49), 0);
}

TEST_F(AdDiagnostic_Engine, DestinationWords) {
    const std::pair<const char*, AdDestinationKind> cases[] = {
        {"ODS", AdDest_Out},       {"Out", AdDest_Out},         {"ERR", AdDest_Err},
        {"cout", AdDest_Cout},     {"cerr", AdDest_Cerr},       {"tio_out", AdDest_Tio_Out},
        {"TIO_ERR", AdDest_Tio_Err}, {"tio_log", AdDest_Tio_Log}, {"nil", AdDest_File},
        {"Mixed.Case", AdDest_File}, {"", AdDest_Nil},          {"no/such/dir/x", AdDest_Nil}};
    for (const auto& [word, kind] : cases) {
        Configure({{"ZT_DIAG_OUTPUT", word}});
        EXPECT_EQ(AdDiagnostic::GetDestinationKind(), kind) << word;
    }
    EXPECT_EQ(Files(), (std::vector<std::string>{"Mixed.Case", "nil"}));
    Configure({{"ZT_DIAG_OUTPUT", "Out"}});
    EXPECT_EQ(AdDiagnostic::m_DestinationFile, 1);
    EXPECT_EQ(Text(AdDiagnostic::GetDestinationDesc()), u"out");
}

TEST_F(AdDiagnostic_Engine, OutputFileIsPrivateCloseOnExecAndAppended) {
    {
        std::ofstream old(Dir.Path + "/d.log");
        old << "old line\n";
    }
    Configure({{"ZT_DIAG_OUTPUT", Dir.Path + "/new.log"}});
    struct stat info {};
    ASSERT_EQ(stat((Dir.Path + "/new.log").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
    const int descriptor = AdDiagnostic::GetDestinationFile();
    ASSERT_GE(descriptor, 0);
    EXPECT_TRUE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC);
    Configure({{"ZT_DIAG_OUTPUT", "d.log"}, {"ZT_DIAG_TRACE", "SQL=0x10;NOSUCH"}});
    AdDiagnostic::Report(u"after");
    EXPECT_EQ(File("d.log"), "old line\n[ZT] Unrecognized diagnostic id: NOSUCH\n[ZT] after\n");
}

TEST_F(AdDiagnostic_Engine, FifoWithoutReaderFallsBackToNil) {
    ASSERT_EQ(mkfifo((Dir.Path + "/fifo").c_str(), 0600), 0);
    Configure({{"ZT_DIAG_OUTPUT", "fifo"}, {"ZT_DIAG_TRACE", "SQL"}});
    EXPECT_EQ(AdDiagnostic::GetDestinationKind(), AdDest_Nil);
    EXPECT_EQ(AdDiagnostic::IsEnabled(5), 0);
}

TEST_F(AdDiagnostic_Engine, ParseErrorsAreReportedAndLeaveTheTableOff) {
    Configure({{"ZT_DIAG_OUTPUT", "e.log"}, {"ZT_DIAG_TRACE", "SQL x"},
               {"ZT_DIAG_BEHAVIOR", "A='open"}, {"ZT_DIAG_REPORT", "PREFIX=p"}});
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 0);
    EXPECT_EQ(File("e.log"),
              "[ZT] An error occured during parsing of environment variable ZT_DIAG_TRACE: SQL \n"
              "p [ZT] An error occured during parsing of environment variable ZT_DIAG_BEHAVIOR: "
              "A='open\n");
}

TEST_F(AdDiagnostic_Engine, GoldenLinesWithPinnedClock) {
    Configure({{"ZT_DIAG_OUTPUT", "g.log"},
               {"ZT_DIAG_REPORT", "PREFIX=app;MESSAGE_INFO=0x1502"}});
    Clock_Readings = {{1700000000, 0}, {1700000012, 345}};
    AdDiagnostic::Report(u"first");
    AdDiagnostic::Report(u"Call", u"two\nlines\n");
    const std::string pid = std::to_string(getpid());
    EXPECT_EQ(File("g.log"), "app [ZT 0.000 secs, 22:13:20, PID " + pid + "] first\n" +
                                 "app [ZT 12.345 secs, 22:13:32, PID " + pid + "] Call: two\n" +
                                 "app [ZT 12.345 secs, 22:13:32, PID " + pid + "] lines\n");
}

TEST_F(AdDiagnostic_Engine, ElapsedAndDeltaBorrowMilliseconds) {
    Configure({{"ZT_DIAG_OUTPUT", "t.log"}, {"ZT_DIAG_REPORT", "MESSAGE_INFO=0x1E01"}});
    Clock_Readings = {{3, 950}, {5, 900}, {6, 0}};
    const long count = AdDiagnostic::m_nDiagnosticsReported;
    AdDiagnostic::Report(u"a");
    AdDiagnostic::Report(u"b");
    AdDiagnostic::Report(u"c");
    const auto msgs = [&](long n) { return std::to_string(count + n) + " msgs] "; };
    EXPECT_EQ(File("t.log"), "[ZT 0.000 secs, +0.000 secs, 70/01/01, " + msgs(1) + "a\n" +
                                 "[ZT 1.950 secs, +1.950 secs, 70/01/01, " + msgs(2) + "b\n" +
                                 "[ZT 2.050 secs, +0.100 secs, 70/01/01, " + msgs(3) + "c\n");
}

TEST_F(AdDiagnostic_Engine, LimitRollsOverIntoTimeStampedFiles) {
    Clock_Readings = {{1700000000, 0}};
    Configure({{"ZT_DIAG_OUTPUT", "r.log"}, {"ZT_DIAG_REPORT", "OUTPUT_LIMIT=3"}});
    const long start = AdDiagnostic::m_nDiagnosticsReported;
    // Keep the count aligned to the limit whatever ran before in this process.
    Clock_Readings = {{1700000001, 0}};
    for (long i = 0; (start + i) % 3 != 0; ++i) AdDiagnostic::Report(u"pad");
    const std::string first = start % 3 == 0 ? "r.log.20231114_221320" : "r.log.20231114_221321";
    AdDiagnostic::Report(u"1");
    AdDiagnostic::Report(u"2");
    Clock_Readings = {{1700000003, 0}};
    AdDiagnostic::Report(u"3");  // last in its file; the rollover opens the next
    AdDiagnostic::Report(u"4");
    AdDiagnostic::Report(u"5");
    AdDiagnostic::Report(u"6");  // a second rollover in the same second: same file
    AdDiagnostic::Report(u"7");
    EXPECT_EQ(File(first).substr(File(first).size() - 21), "[ZT] 1\n[ZT] 2\n[ZT] 3\n");
    EXPECT_EQ(File("r.log.20231114_221323"), "[ZT] 4\n[ZT] 5\n[ZT] 6\n[ZT] 7\n");
}

TEST_F(AdDiagnostic_Engine, ResetSettingKeepsOneFileWithoutTimeStamp) {
    Configure({{"ZT_DIAG_OUTPUT", "k.log"}, {"ZT_DIAG_REPORT", "OUTPUT_LIMIT=2"},
               {"ZT_DIAG_RESET", "1"}});
    for (const char16_t* line : {u"a", u"b", u"c", u"d", u"e"}) AdDiagnostic::Report(line);
    EXPECT_EQ(Files(), std::vector<std::string>{"k.log"});
    EXPECT_EQ(File("k.log"), "[ZT] a\n[ZT] b\n[ZT] c\n[ZT] d\n[ZT] e\n");
}

TEST_F(AdDiagnostic_Engine, DescriptorDestinationWritesWholeLines) {
    ZTInt_Captured_Fd captured(2);
    Configure({{"ZT_DIAG_OUTPUT", "err"}, {"ZT_DIAG_REPORT", "PREFIX=p"}});
    AdDiagnostic::Report(u"x", u"y");
    AdDiagnostic::Report(u"L", u"");
    AdDiagnostic::Report(u"L", u"d", u"detail");
    AdDiagnostic::PutLine(u"plain");
    AdDiagnostic::PutText(u"bare\n");
    AdDiagnostic::PutSeparator(false, 3);
    EXPECT_EQ(captured.Bytes(), "p [ZT] x: y\np [ZT] L\np [ZT] L: d (detail)\npplain\nbare\n" +
                                    std::string(64, '-') + "\n");
}

// A destination of the text streams that keeps what it gets.
class Kept_Lines : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Kept_Lines, Tio_Text_Output_Base)
public:
    explicit Kept_Lines(std::u16string& Into) : Into(Into) {}
    long Do_Put(const Fnd_String& Line, long New_Line) override {
        Into += Text(Line) + (New_Line ? u"\n" : u"");
        return 1;
    }
    std::u16string& Into;
};

TEST_F(AdDiagnostic_Engine, TextStreamDestinations) {
    std::u16string kept;
    Tio_Out.Push_Destination(new Kept_Lines(kept));
    Configure({{"ZT_DIAG_OUTPUT", "tio_out"}});
    AdDiagnostic::Report(u"to", u"Tio_Out");
    EXPECT_EQ(kept, u"[ZT] to: Tio_Out\n");
    // The log stream writes a line of kind 3 (debug), which its policy must let out.
    kept.clear();
    const Tio_Log_Policy saved = Tio_Log.Policy();
    Tio_Log_Policy policy(0, 0);
    policy.Set_Output_Filter(Fnd_Debug_Msg, 1);
    Tio_Log.Set_Policy(policy);
    Configure({{"ZT_DIAG_OUTPUT", "tio_log"}});
    AdDiagnostic::Report(u"to", u"Tio_Log");
    EXPECT_EQ(kept, u"[ZT] to: Tio_Log\n");
    Tio_Log.Set_Policy(saved);
    Tio_Out.Pop_Destination();
}

TEST_F(AdDiagnostic_Engine, AFullPipeDoesNotHoldTheHost) {
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
    std::string block(4096, 'x');
    while (write(ends[1], block.data(), block.size()) > 0) {
    }
    fcntl(ends[1], F_SETFL, 0);  // blocking again, as a host's standard output would be
    const int saved = dup(1);
    ASSERT_EQ(dup2(ends[1], 1), 1);
    Configure({{"ZT_DIAG_OUTPUT", "out"}});
    const auto start = std::chrono::steady_clock::now();
    AdDiagnostic::Report(u"dropped");
    const auto waited = std::chrono::steady_clock::now() - start;
    dup2(saved, 1);
    for (int fd : {saved, ends[0], ends[1]}) close(fd);
    EXPECT_LT(waited, std::chrono::seconds(10));
}

TEST_F(AdDiagnostic_Engine, RuntimeResetFollowsTheEnvironment) {
    Configure({{"ZT_DIAG_OUTPUT", "rt.log"}, {"ZT_DIAG_TRACE", "SQL=1"}, {"ZT_DIAG_RESET", "1"}});
    AdDiagnostic::RuntimeReset();  // nothing changed: no report
    EXPECT_EQ(File("rt.log"), "");
    setenv("ZT_DIAG_TRACE", "SQL=2", 1);
    AdDiagnostic::RuntimeReset();
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 2);
    const std::string text = File("rt.log");
    EXPECT_EQ(text.rfind("[ZT] RuntimeReset: new diagnostic setting are in effect\n", 0), 0u) << text;
    EXPECT_NE(text.find("[ZT]    ZT_DIAG_OUTPUT = rt.log\n"), std::string::npos) << text;
    // Reset switched off: one more reset, then no further reading.
    unsetenv("ZT_DIAG_RESET");
    setenv("ZT_DIAG_TRACE", "SQL=3", 1);
    AdDiagnostic::RuntimeReset();
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 3);
    setenv("ZT_DIAG_TRACE", "SQL=4", 1);
    AdDiagnostic::RuntimeReset();
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 3);
}

TEST_F(AdDiagnostic_Engine, AddedFlagsAreOverriddenByTheVariable) {
    Configure({{"ZT_DIAG_OUTPUT", "a.log"}, {"ZT_DIAG_TRACE", "SQL=2"}});
    AdDiagnostic::AddFlags(true, true, {.Trace = u"SQL=1;PROCESS=5"});
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 2);
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[49], 5);
    AdDiagnostic::AddFlags(false, false, {.Trace = u"SQL=7"});
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[5], 7);
    AdDiagnostic::AddFlags(true, false, {});
    EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[49], 0);
}

TEST_F(AdDiagnostic_Engine, BannerShowsVariablesAndValues) {
    Configure({{"ZT_DIAG_OUTPUT", "b.log"}, {"ZT_DIAG_TRACE", "SQL=0x10"}});
    AdDiagnostic::ShowDiagnosticFlags(16 | 4, false);
    const std::string text = File("b.log");
    EXPECT_EQ(text.rfind("[ZT] Diagnostic start time is ", 0), 0u) << text;
    for (const char* line :
         {"[ZT] Diagnostic Variables\n", "[ZT]    ZT_DIAG_OUTPUT = b.log\n",
          "[ZT]    ZT_DIAG_BEHAVIOR (not set)\n", "[ZT]    ZT_DIAG_TRACE = SQL=0x10\n",
          "[ZT]    ZT_DIAG_NAME (not set)\n", "[ZT] Diagnostic Traces\n",
          "[ZT]    SQL (5) => 16 = 0x10\n", "[ZT]    TIMER (7) => FALSE\n",
          "[ZT]    TRC_UNUSED_01 (84) => FALSE\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line;
    EXPECT_EQ(text.find("Diagnostic Behaviors"), std::string::npos);
}

TEST(AdDiagnostic_Formatters, Texts) {
    const char16_t* items[] = {u"a", nullptr, u""};
    const std::pair<Fnd_String, const char16_t*> cases[] = {
        {AdDiagnostic::Join(u"a", u"b", u"c"), u"abc"},
        {AdDiagnostic::Join(u"n=", 42L), u"n=42"},
        {AdDiagnostic::Join_With_Comma({u"a", u"b", u"c"}), u"a, b, c"},
        {AdDiagnostic::Join_With_Comma(-3L, u"x"), u"-3, x"},
        {AdDiagnostic::Join_With_ColonColon(u"C", u"m"), u"C::m"},
        {AdDiagnostic::Join_With_Parentheses(u"p"), u"(p)"},
        {AdDiagnostic::To_Bool(2), u"True"},
        {AdDiagnostic::To_Hex(255), u"0xff"},
        {AdDiagnostic::To_Obj(nullptr), u"NULL"},
        {AdDiagnostic::To_Str(nullptr, false), u"<NULL>"},
        {AdDiagnostic::To_Str(u"", false), u"\"\""},
        {AdDiagnostic::To_Str(u"x", true), u"\"x\""},
        {AdDiagnostic::To_Str(3, items, false), u"a <NULL> \"\""},
        {AdDiagnostic::To_String_Array(nullptr), u"NULL"},
    };
    for (const auto& [got, expected] : cases) EXPECT_EQ(Text(got), expected);
    CStringArray array;
    array.Add(u"b");
    array.Add(u"A");
    AdDiagnosticSortStrings(array, false, true, false);
    EXPECT_EQ(Text(AdDiagnostic::To_String_Array(&array)), u"{2}[\"A\", \"b\"]");
}

}  // namespace
