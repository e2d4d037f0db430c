// Shared by the fuzz targets that read files: a scratch directory of their own, writing
// the input into a file, and counting open descriptors to catch a leaked one.
#pragma once

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

// A scratch directory that goes, with what is in it, when the run ends.
class Fuzz_Scratch_Directory {
public:
    explicit Fuzz_Scratch_Directory(const char* Pattern) : Path(Pattern) {
        if (mkdtemp(Path.data()) == nullptr) abort();
    }
    ~Fuzz_Scratch_Directory() {
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    Fuzz_Scratch_Directory(const Fuzz_Scratch_Directory&) = delete;
    Fuzz_Scratch_Directory& operator=(const Fuzz_Scratch_Directory&) = delete;
    std::string Path;
};

// A directory made once for the run, from the first call's Pattern (ending in XXXXXX).
// Standard output goes to /dev/null from then on: the code under test logs bad input there.
inline const std::string& Fuzz_Directory(const char* Pattern) {
    static const Fuzz_Scratch_Directory dir(Pattern);
    static const bool quiet = [] {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null >= 0) dup2(null, 1);
        return null >= 0;
    }();
    (void)quiet;
    return dir.Path;
}

// Path holds exactly the Size bytes at Data; anything else ends the run.
inline void Fuzz_Write(const std::string& Path, const uint8_t* Data, size_t Size) {
    const int fd = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) abort();
    if (Size > 0 && write(fd, Data, Size) != static_cast<ssize_t>(Size)) abort();
    close(fd);
}

inline long Fuzz_Open_Descriptors() {
    long count = 0;
    for (int fd = 0; fd < 1024; ++fd) count += fcntl(fd, F_GETFD) >= 0;
    return count;
}
