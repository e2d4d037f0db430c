#include "foundation/host/hst_safe_malloc.h"

#include <cstdlib>
#include <unistd.h>

void* Hst_Safe_Malloc(std::size_t size)
{
    void* block = std::malloc(size);
    if (block == nullptr && size > 0) {
        static const char text[] = "*** memory allocation failed; terminating process\n";
        // Nothing can be done about a failed write on the way to abort.
        [[maybe_unused]] ssize_t written = ::write(2, text, sizeof text - 1);
        std::abort();
    }
    return block;
}

void* Hst_Unchecked_Malloc(std::size_t size) { return std::malloc(size); }

void* Hst_malloc(std::size_t size) { return std::malloc(size); }

void* Hst_realloc(void* block, std::size_t size) { return std::realloc(block, size); }

void Hst_free(void* block) { std::free(block); }
