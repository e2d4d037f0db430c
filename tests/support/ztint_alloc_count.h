// Counts the C allocations (malloc, calloc, realloc) that code makes on the calling
// thread; other threads are not counted. Linking this in replaces the program's C
// allocator with a counting front to the C library's. Sanitizer builds bring their own
// allocator, which is not counted: there the count stays 0 (Ztint_Counts_Allocations).
#pragma once

#include "tests/support/ztint_sanitizer.h"

constexpr bool Ztint_Counts_Allocations = !ZTInt_Test_Under_Asan;

namespace ztint_alloc_count_detail {
void Set_Counting(bool on);
[[nodiscard]] long Counted();
}  // namespace ztint_alloc_count_detail

// The number of allocations body made on this thread.
template <class Body>
[[nodiscard]] long Ztint_Count_Allocations(Body&& body)
{
    const long before = ztint_alloc_count_detail::Counted();
    ztint_alloc_count_detail::Set_Counting(true);
    body();
    ztint_alloc_count_detail::Set_Counting(false);
    return ztint_alloc_count_detail::Counted() - before;
}
