// The console destinations write through the 16-bit console streams.
#include <gtest/gtest.h>

#include "foundation/textio/tio_text_output.h"
#include "tests/support/ztint_captured_fd.h"

namespace {

TEST(TioTextConsole, WritesTextAndLineEndsToTheirDescriptors) {
    Tio_Text_Cout out;
    Tio_Text_Cerr err;
    ZTInt_Captured_Fd captured_out(1);
    ZTInt_Captured_Fd captured_err(2);
    EXPECT_EQ(out.Put(Fnd_String(u"one ")), 1);
    EXPECT_EQ(out.Put_Line(Fnd_String(u"two")), 1);
    EXPECT_EQ(out.New_Line(2), 1);
    EXPECT_EQ(out.New_Line(0), 0);
    EXPECT_EQ(err.Put_Line(Fnd_String(u"oops")), 1);
    EXPECT_EQ(err.Endl(), 1);
    EXPECT_EQ(captured_out.Bytes(), "one two\n\n\n");
    EXPECT_EQ(captured_err.Bytes(), "oops\n\n");
}

}  // namespace
