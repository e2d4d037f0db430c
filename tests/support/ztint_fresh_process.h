// Checks of state that lives as long as the process (the message buffer pool, caches
// read once) need a process that has none of it yet, whatever ran before in the same
// test program. ZTInt_In_Fresh_Process runs Body in a freshly started copy of the
// program; the test fails unless every check in Body passed there.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

template <class Body>
void ZTInt_In_Fresh_Process(Body body)
{
    // "threadsafe" death tests start the program anew and re-run the test there.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            body();
            std::exit(::testing::Test::HasFailure() ? 1 : 0);
        },
        ::testing::ExitedWithCode(0), "");
}
