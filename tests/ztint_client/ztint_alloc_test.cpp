// Calls in a steady state allocate nothing but the results they hand to the
// caller: the message buffers come from the pool. The C allocator of this test
// program counts the allocations made by the calling thread (the peer's thread
// is not counted). Sanitizer builds bring their own allocator, so the count is
// only taken in plain builds.
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/ztint_alloc_count.h"
#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_utils/ztint_objects.h"
#include "ztint_base/ztint_strings.h"

TEST(SteadyState, EchoCallsAllocateOnlyTheirResults)
{
    if (!Ztint_Counts_Allocations) GTEST_SKIP() << "the sanitizer's allocator is not counted";
    ZTInt_Test_Peer peer;
    peer.Install();
    const ZTInt_obj_struct record{27, 0, 1, 1};
    ZTZentrak* zentrak = reinterpret_cast<ZTZentrak*>(ZTInt_obj_New(&record));
    auto echo = [&] {
        char* result = nullptr;
        EXPECT_EQ(ZTZentrak_EchoString(zentrak, &result, "steady state"), 0);
        ZTInt_String_Free(result);
    };
    echo();  // opens the pool's slots
    const int calls = 10000;
    const long counted = Ztint_Count_Allocations([&] {
        for (int i = 0; i < calls; ++i) echo();
    });
    EXPECT_EQ(counted, calls);  // one heap string per result, owned by the caller

    const long for_words = Ztint_Count_Allocations([&] {
        ZTInt_LONG answer = 0;
        for (int i = 0; i < calls; ++i)
            EXPECT_EQ(ZTZentrak_GetSessionTimerPollInterval(zentrak, &answer), 0);  // a LONG result
    });
    EXPECT_EQ(for_words, 0);
}
