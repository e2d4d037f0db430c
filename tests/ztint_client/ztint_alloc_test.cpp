// Calls in a steady state allocate nothing but the results they hand to the
// caller: the message buffers come from the pool. The C allocator of this test
// program counts the allocations made by the calling thread (the peer's thread
// is not counted). Sanitizer builds bring their own allocator, so the count is
// only taken in plain builds.
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/ztint_test_peer.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_client.h"

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

int32_t Call(int32_t opcode, const void* const* in, void* const* out)
{
    const ZTInt_call_entry* entry = ZTInt_call_Find(opcode);
    ZTInt_Connection* connection = nullptr;
    ZTInt_msg_struct* message = nullptr;
    if (ZTInt_client_Call(&connection, &message, opcode, entry->In_Count, entry->Types_In, in))
        ZTInt_client_Result(connection, message, opcode, entry->Out_Count, entry->Types_Out, out);
    else
        ZTInt_client_Error(connection, message, entry->Out_Count, entry->Types_Out, out);
    ZTInt_msg_Free(message);
    return *static_cast<int32_t*>(out[0]);
}

}  // namespace

TEST(SteadyState, EchoCallsAllocateOnlyTheirResults)
{
    if (!ZTINT_COUNTS_MALLOC) GTEST_SKIP() << "the sanitizer's allocator is not counted";
    ZTInt_Test_Peer peer;
    peer.Install();
    ZTInt_obj_struct handle{27, 0, 1, 1};
    const char* text = "steady state";
    auto echo = [&] {
        int32_t status = -1;
        char* result = nullptr;
        const void* const in[] = {&handle, &text};
        void* const out[] = {&status, &result};
        EXPECT_EQ(Call(7187, in, out), 0);
        ZTInt_String_Free(result);
    };
    echo();  // opens the pool's slots
    const int calls = 10000;
    const long counted = Count_Allocations([&] {
        for (int i = 0; i < calls; ++i) echo();
    });
    EXPECT_EQ(counted, calls);  // one heap string per result, owned by the caller

    const long for_words = Count_Allocations([&] {
        for (int i = 0; i < calls; ++i) {
            int32_t status = -1;
            int32_t answer = 0;
            const void* const in[] = {&handle};
            void* const out[] = {&status, &answer};
            EXPECT_EQ(Call(7182, in, out), 0);  // a LONG result
        }
    });
    EXPECT_EQ(for_words, 0);
}
