// The diagnostics switchboard: flags that read "unevaluated" before any code runs, one
// evaluation on first use, and the join helpers.
#include "ztcoreutil/addiagnostic.h"

#include <gtest/gtest.h>

#include "foundation/base/fnd_string.h"
#include "tests/support/ztint_test_text.h"

namespace {

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
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(u"read", u"header")), u"read header");
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(u"a", u"", u"c")), u"a  c");
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(u"1", u"2", u"3", u"4")), u"1 2 3 4");
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(u"bytes", 32L)), u"bytes 32");
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(-7L, u"left")), u"-7 left");
    Fnd_String same(u"x");
    EXPECT_EQ(Text(AdDiagnostic::Join_With_Space(same, same)), u"x x");
}
