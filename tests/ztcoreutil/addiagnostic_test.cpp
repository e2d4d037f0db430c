// The diagnostics switchboard: flags that read "unevaluated" before any code runs, one
// evaluation on first use, and the join helpers.
#include "ztcoreutil/addiagnostic.h"

#include <gtest/gtest.h>

#include <string>

#include "foundation/base/fnd_string.h"

namespace {

std::string Narrow(const Fnd_String& Text) {
    std::string out;
    for (long i = 0; i < Text.Get_Length(); ++i) out += static_cast<char>(Text[i]);
    return out;
}

// What the flags held when the first static constructor of this program ran.
long Flag_Seen_At_Start_Up = 0;
long State_Seen_At_Start_Up = 99;
struct Start_Up_Probe {
    Start_Up_Probe() {
        Flag_Seen_At_Start_Up = AdDiagnostic::m_DiagnosticFlags[14];
        State_Seen_At_Start_Up = AdDiagnostic::m_bFlagsInitialized;
    }
};
__attribute__((init_priority(101))) Start_Up_Probe Probe;

}  // namespace

TEST(AdDiagnostic_Flags, ReadAsUnevaluatedBeforeAnyConstructorRuns) {
    EXPECT_EQ(Flag_Seen_At_Start_Up, -1);
    EXPECT_EQ(State_Seen_At_Start_Up, 0);
    EXPECT_EQ(AdDiagnostic::DiagnosticFlagsPtr, AdDiagnostic::m_DiagnosticFlags.data());
}

TEST(AdDiagnostic_Flags, TheFirstCheckTurnsEveryDiagnosticOff) {
    // The cheap test lets the first check through to the engine ...
    ASSERT_NE(AdDiagnostic::m_DiagnosticFlags[46], 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(46, 1, 1), 0);
    EXPECT_EQ(AdDiagnostic::m_bFlagsInitialized, 1);
    // ... which leaves every flag at 0, so later checks stop at the flag word.
    for (long id = 0; id < AdDiagnostic::Flag_Count; ++id)
        EXPECT_EQ(AdDiagnostic::m_DiagnosticFlags[id], 0) << "id " << id;
    EXPECT_EQ(AdDiagnostic::IsEnabled(14), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(14, 1, 0), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(235, 1, 1), 0);
    EXPECT_EQ(AdDiagnostic::IsEnabled(-1), 0);
}

TEST(AdDiagnostic_Join, TextsAndNumbersJoinedByOneBlank) {
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(u"read", u"header")), "read header");
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(u"a", u"", u"c")), "a  c");
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(u"1", u"2", u"3", u"4")), "1 2 3 4");
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(u"bytes", 32L)), "bytes 32");
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(-7L, u"left")), "-7 left");
    Fnd_String same(u"x");
    EXPECT_EQ(Narrow(AdDiagnostic::Join_With_Space(same, same)), "x x");
}
