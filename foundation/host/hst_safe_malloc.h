// Allocation for the host layer.
#pragma once

#include <cstddef>

// malloc that never returns null for a positive size: on failure it writes one
// line to descriptor 2 and aborts. A size of 0 may give null.
void* Hst_Safe_Malloc(std::size_t size);

// The C library's allocation, without a check.
void* Hst_Unchecked_Malloc(std::size_t size);
void* Hst_malloc(std::size_t size);
void* Hst_realloc(void* block, std::size_t size);
void Hst_free(void* block);
