// A file in memory that records the size of every write and the largest read.
#pragma once

#include <algorithm>
#include <cstring>
#include <vector>

#include "foundation/mfc/carchive.h"

class Memory_File : public CFile {
public:
    std::vector<unsigned char> Bytes;
    std::vector<unsigned> Writes;
    size_t At = 0;
    unsigned Largest_Read = 0;

    unsigned Read(void* Buffer, unsigned Count) override {
        Largest_Read = std::max(Largest_Read, Count);
        const size_t n = std::min<size_t>(Count, Bytes.size() - At);
        if (n) std::memcpy(Buffer, Bytes.data() + At, n);
        At += n;
        return static_cast<unsigned>(n);
    }
    void Write(const void* Buffer, unsigned Count) override {
        const auto* bytes = static_cast<const unsigned char*>(Buffer);
        Bytes.insert(Bytes.end(), bytes, bytes + Count);
        Writes.push_back(Count);
    }
};
