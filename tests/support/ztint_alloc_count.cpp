#include "tests/support/ztint_alloc_count.h"

#include <cstddef>

namespace {
thread_local bool Counting = false;
thread_local long Allocations = 0;
}  // namespace

namespace ztint_alloc_count_detail {

void Set_Counting(bool on)
{
    Counting = on;
}

long Counted()
{
    return Allocations;
}

}  // namespace ztint_alloc_count_detail

#if !ZTINT_TEST_UNDER_ASAN
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
