// Diagnostics end to end: a client with ZT_DIAG_TRACE set for the call frame makes a
// real call against ztintsvr, and the file named by ZT_DIAG_OUTPUT holds the frame's
// lines in order; with an output limit the lines roll over into new files.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztint.h"

namespace {

namespace fs = std::filesystem;

const std::string Frame = "[ZT] ztintsvr client: ";

// The first call opens the connection with the startup call first; then the call
// itself and the free of its result, each with its four lines.
const std::vector<std::string> Expected_Frame_Lines = {
    Frame + "call ZTInt_Special_1 (1)", Frame + "call sent", Frame + "rply wait",
    Frame + "rply received",
    Frame + "call ZTZentrak_4 (7172)",  Frame + "call sent", Frame + "rply wait",
    Frame + "rply received",
    Frame + "call ZTZentrak_1 (7169)",  Frame + "call sent", Frame + "rply wait",
    Frame + "rply received",
};

std::vector<std::string> Lines_Of(const std::string& Path) {
    std::ifstream file(Path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

std::vector<std::string> Frame_Lines(const std::vector<std::string>& Lines) {
    std::vector<std::string> frame;
    for (const std::string& line : Lines)
        if (line.rfind(Frame, 0) == 0) frame.push_back(line);
    return frame;
}

class Ztint_Diagnostic_Test : public Ztint_E2E {
protected:
    void SetUp() override {
        Ztint_E2E::SetUp();
        setenv("ZT_DIAG_TRACE", "ZTINTSVR", 1);
        unsetenv("ZT_DIAG_RESET");
        unsetenv("ZT_DIAG_REPORT");
    }
    void TearDown() override {
        Ztint_E2E::TearDown();
        for (const char* name : {"ZT_DIAG_TRACE", "ZT_DIAG_OUTPUT", "ZT_DIAG_REPORT"})
            unsetenv(name);
        AdDiagnostic::Set_Clock(nullptr);
        AdDiagnostic::ResetDiagnosticFlags(0);
    }
    static void Call() {
        ZTZentrak* zentrak = nullptr;
        ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
        ZTInt_Zentrak_Free(zentrak);
    }
};

TEST_F(Ztint_Diagnostic_Test, TheFrameLinesOfOneCallInOrder) {
    const std::string output = Dir + "/diag.log";
    setenv("ZT_DIAG_OUTPUT", output.c_str(), 1);
    setenv("ZT_DIAG_TRACE", "ZTINTSVR;PROCESS=1", 1);
    AdDiagnostic::ResetDiagnosticFlags(1);
    Call();
    const std::vector<std::string> lines = Lines_Of(output);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].rfind("[ZT] Diagnostic start time is ", 0), 0u) << lines[0];
    EXPECT_NE(std::find(lines.begin(), lines.end(), "[ZT]    ZT_DIAG_TRACE = ZTINTSVR;PROCESS=1"),
              lines.end());
    // The server start runs the start command through the process layer, before the
    // startup call.
    const auto run = std::find(lines.begin(), lines.end(),
                               "[ZT] Hst_Process::Run: " + Home + "/bin/ztintsvr start");
    ASSERT_NE(run, lines.end());
    EXPECT_EQ(*(run + 1), "[ZT] Hst_Process::Run: Exit_Status: 0");
    EXPECT_EQ(*(run + 2), Expected_Frame_Lines[0]);
    EXPECT_NE(std::find_if(lines.begin(), lines.end(),
                           [](const std::string& line) {
                               return line.rfind("[ZT] ztintsvr: connection name: ", 0) == 0;
                           }),
              lines.end());
    EXPECT_EQ(Frame_Lines(lines), Expected_Frame_Lines);
}

// Each reading of the clock is one second later, so every rollover opens a new file.
long Clock_Seconds = 1700000000;
void Advancing_Clock(long& Seconds, long& Milliseconds) {
    Seconds = Clock_Seconds++;
    Milliseconds = 0;
}

TEST_F(Ztint_Diagnostic_Test, ALimitOfThreeRollsTheLinesIntoNewFiles) {
    const std::string output = Dir + "/roll.log";
    setenv("ZT_DIAG_OUTPUT", output.c_str(), 1);
    setenv("ZT_DIAG_REPORT", "OUTPUT_LIMIT=3", 1);
    AdDiagnostic::Set_Clock(Advancing_Clock);
    AdDiagnostic::ResetDiagnosticFlags(0);
    const long start = AdDiagnostic::m_nDiagnosticsReported;
    Call();
    std::vector<std::string> files;
    for (const auto& entry : fs::directory_iterator(Dir))
        if (entry.path().filename().string().rfind("roll.log.", 0) == 0)
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    const long reported = AdDiagnostic::m_nDiagnosticsReported - start;
    ASSERT_GE(reported, static_cast<long>(Expected_Frame_Lines.size()));
    // The first file takes the lines up to the next multiple of three; then three each.
    const long first = 3 - start % 3;
    EXPECT_EQ(static_cast<long>(files.size()), 1 + (reported - first + 2) / 3);
    std::vector<std::string> all;
    for (size_t i = 0; i < files.size(); ++i) {
        const std::vector<std::string> lines = Lines_Of(files[i]);
        EXPECT_LE(lines.size(), 3u) << files[i];
        EXPECT_GE(lines.size(), 1u) << files[i];
        all.insert(all.end(), lines.begin(), lines.end());
    }
    EXPECT_EQ(static_cast<long>(all.size()), reported);
    EXPECT_EQ(Frame_Lines(all), Expected_Frame_Lines);
}

}  // namespace
