// Shared by the benchmarks that drive the library's C interface: wall-clock times, and
// a failed call reported with the server's reason.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>

#include "ztint.h"

using Bench_Clock = std::chrono::steady_clock;

inline double Bench_Seconds_Since(Bench_Clock::time_point start)
{
    return std::chrono::duration<double>(Bench_Clock::now() - start).count();
}

// True when the call succeeded; else prints "<program>: <what> failed: <reason>" on
// standard error.
[[nodiscard]] inline bool Bench_Call_Ok(int32_t status, const char* program, const char* what)
{
    if (status == 0)
        return true;
    char* text = nullptr;
    ZTInt_GetError(&text);
    std::fprintf(stderr, "%s: %s failed: %s\n", program, what, text != nullptr ? text : "");
    ZTInt_String_Free(text);
    return false;
}
