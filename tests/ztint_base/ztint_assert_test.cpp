#include "ztint_base/ztint_assert.h"

#include <gtest/gtest.h>

TEST(ZTIntAbortDeathTest, NamesExpressionBaseFileAndLineAfterThePrefix)
{
    EXPECT_DEATH(ZTInt_abort3("x != 0", "/a/b/c", 12),
                 "^\\*\\*\\* ztintsvr assertion failure: x != 0 in c at line 12\n$");
    EXPECT_DEATH(ZTInt_abort3("e", "plain.cpp", -7),
                 "^\\*\\*\\* ztintsvr assertion failure: e in plain.cpp at line -7\n$");
    EXPECT_DEATH(ZTInt_abort("heap is gone"),
                 "^\\*\\*\\* ztintsvr assertion failure: heap is gone\n$");
}
