// Calls in a steady state allocate nothing but the results they hand to the
// caller: the message buffers come from the pool. The C allocator of this test
// program counts the allocations made by the calling thread (the peer's thread
// is not counted). Sanitizer builds bring their own allocator, so the count is
// only taken in plain builds.
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_utils/ztint_objects.h"
#include "ztint_base/ztint_strings.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZTINT_COUNTS_MALLOC 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTINT_COUNTS_MALLOC 0
#endif
#endif
#ifndef ZTINT_COUNTS_MALLOC
#define ZTINT_COUNTS_MALLOC 1
#endif

namespace {
thread_local bool Counting = false;
thread_local long Allocations = 0;
}  // namespace

#if ZTINT_COUNTS_MALLOC
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size)
{
    if (Counting) ++Allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    if (Counting) ++Allocations;
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size)
{
    if (Counting) ++Allocations;
    return __libc_realloc(block, size);
}
}
#endif

namespace {

// Counts the allocations of body on this thread.
template <typename Body>
long Count_Allocations(Body body)
{
    Allocations = 0;
    Counting = true;
    body();
    Counting = false;
    return Allocations;
}

}  // namespace

TEST(SteadyState, EchoCallsAllocateOnlyTheirResults)
{
    if (!ZTINT_COUNTS_MALLOC) GTEST_SKIP() << "the sanitizer's allocator is not counted";
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
    const long counted = Count_Allocations([&] {
        for (int i = 0; i < calls; ++i) echo();
    });
    EXPECT_EQ(counted, calls);  // one heap string per result, owned by the caller

    const long for_words = Count_Allocations([&] {
        ZTInt_LONG answer = 0;
        for (int i = 0; i < calls; ++i)
            EXPECT_EQ(ZTZentrak_GetSessionTimerPollInterval(zentrak, &answer), 0);  // a LONG result
    });
    EXPECT_EQ(for_words, 0);
}
