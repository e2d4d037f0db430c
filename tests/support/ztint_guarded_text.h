// Text placed right in front of an inaccessible page, so that a function that reads
// one unit past the end of the text dies with SIGSEGV in any build, not only under a
// sanitizer.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "foundation/base/fnd_code_unit.h"

class ZTInt_Guarded_Text {
public:
    // Units is copied so that its last unit is the last readable one.
    explicit ZTInt_Guarded_Text(const std::u16string& Units) {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t bytes = Units.size() * sizeof(Code_Unit);
        Size = (bytes + page - 1) / page * page + page;
        void* map = mmap(nullptr, Size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        Base = static_cast<char*>(map == MAP_FAILED ? nullptr : map);
        if (!Base) return;
        mprotect(Base + Size - page, page, PROT_NONE);
        Start = reinterpret_cast<Code_Unit*>(Base + Size - page - bytes);
        if (bytes) std::memcpy(Start, Units.data(), bytes);
    }
    ~ZTInt_Guarded_Text() {
        if (Base) munmap(Base, Size);
    }
    ZTInt_Guarded_Text(const ZTInt_Guarded_Text&) = delete;
    ZTInt_Guarded_Text& operator=(const ZTInt_Guarded_Text&) = delete;

    // The first unit; null if the mapping failed.
    Code_Unit* Data() const { return Start; }

private:
    char* Base = nullptr;
    size_t Size = 0;
    Code_Unit* Start = nullptr;
};
