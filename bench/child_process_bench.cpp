// Reading 100 MB of a child's output line by line through Hst_Child_Process against the
// floor: the same child on a plain pipe, read(2) into a 64 KiB buffer and cut into lines
// with memchr. Both children are forked functions writing the same 100-byte lines from
// memory, so the child's side costs the same in both. The library also decodes each line
// into a Fnd_String, which the plain baseline does not; a second baseline does that too.
// The library grows its output pipe to 256 KiB; a third baseline does the same, to show
// what is left once both take turns with the child as rarely.
// After the run the library's time is printed as a ratio to each baseline's.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "bench/bench_times.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_child_process.h"

namespace {

constexpr long Total_Bytes = 100L * 1000 * 1000;
constexpr long Line_Bytes = 100;
constexpr long Line_Count = Total_Bytes / Line_Bytes;

// The child: 100 MB of numbered-looking ASCII lines on standard output.
int Write_Lines(void*) {
    std::string chunk;
    for (int i = 0; i < 640; ++i) {
        std::string line(Line_Bytes - 1, static_cast<char>('a' + i % 26));
        chunk += line + '\n';
    }
    for (long written = 0; written < Total_Bytes;) {
        const size_t want = static_cast<size_t>(std::min<long>(static_cast<long>(chunk.size()), Total_Bytes - written));
        size_t done = 0;
        while (done < want) {
            const ssize_t n = ::write(1, chunk.data() + done, want - done);
            if (n <= 0) return 3;
            done += static_cast<size_t>(n);
        }
        written += static_cast<long>(want);
    }
    return 0;
}

// How the baseline reads.
struct Plain_Options {
    // Each line also becomes a Fnd_String (ASCII widened by a plain loop), which is the
    // work the library does on top of splitting.
    bool Decode = false;
    // The pipe grown to this size (and the buffer with it) as the library grows its
    // output pipe; 0: the system's pipe and a 64 KiB buffer.
    int Pipe_Size = 0;
};

void Read_Pipe(benchmark::State& State, Plain_Options Options) {
    Fnd_String text;
    for (auto _ : State) {
        int ends[2];
        if (::pipe(ends) != 0) State.SkipWithError("pipe");
        size_t buffer_size = 65536;
        if (Options.Pipe_Size > 0) {
            if (::fcntl(ends[1], F_SETPIPE_SZ, Options.Pipe_Size) < 0) State.SkipWithError("pipe size");
            buffer_size = static_cast<size_t>(std::max(::fcntl(ends[1], F_GETPIPE_SZ), 65536));
        }
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::dup2(ends[1], 1);
            ::close(ends[0]);
            ::close(ends[1]);
            ::_exit(Write_Lines(nullptr));
        }
        ::close(ends[1]);
        std::string buffer(buffer_size, 0);
        size_t held = 0;
        long lines = 0;
        for (;;) {
            const ssize_t n = ::read(ends[0], buffer.data() + held, buffer.size() - held);
            if (n <= 0) break;
            held += static_cast<size_t>(n);
            const char* start = buffer.data();
            const char* end = buffer.data() + held;
            while (const void* newline = std::memchr(start, '\n', static_cast<size_t>(end - start))) {
                benchmark::DoNotOptimize(start);
                if (Options.Decode) {
                    const long count = static_cast<const char*>(newline) - start;
                    text.Make_Empty();
                    text.Extend(count);
                    for (long i = 0; i < count; ++i) text[i] = static_cast<unsigned char>(start[i]);
                    benchmark::DoNotOptimize(text.Data());
                }
                ++lines;
                start = static_cast<const char*>(newline) + 1;
            }
            held = static_cast<size_t>(end - start);
            std::memmove(buffer.data(), start, held);
        }
        ::close(ends[0]);
        int status = 0;
        ::waitpid(pid, &status, 0);
        if (lines != Line_Count) State.SkipWithError("wrong line count");
    }
    State.SetBytesProcessed(State.iterations() * Total_Bytes);
}

void Plain_Read(benchmark::State& State) { Read_Pipe(State, {}); }
void Plain_Read_Decoded(benchmark::State& State) { Read_Pipe(State, {.Decode = true}); }
void Plain_Read_Large_Pipe(benchmark::State& State) { Read_Pipe(State, {.Pipe_Size = 256 * 1024}); }

void Child_Process_Lines(benchmark::State& State) {
    for (auto _ : State) {
        Hst_Child_Process child;
        child.Set_Wait_For_Termination(0);
        child.Start(Write_Lines, nullptr, nullptr, 0, -1, 0);
        Fnd_Condition cond;
        Fnd_String line;
        long lines = 0;
        while (child.Wait_For_Output(cond, 1))
            while (child.Get_Output_Line(line, cond)) {
                benchmark::DoNotOptimize(line.Data());
                ++lines;
            }
        child.Finish();
        if (lines != Line_Count || child.Get_Status() != 0) State.SkipWithError("wrong line count");
    }
    State.SetBytesProcessed(State.iterations() * Total_Bytes);
}

BENCHMARK(Plain_Read)->Unit(benchmark::kMillisecond)->MinTime(0.5)->Repetitions(7);
BENCHMARK(Plain_Read_Decoded)->Unit(benchmark::kMillisecond)->MinTime(0.5)->Repetitions(7);
BENCHMARK(Plain_Read_Large_Pipe)->Unit(benchmark::kMillisecond)->MinTime(0.5)->Repetitions(7);
BENCHMARK(Child_Process_Lines)->Unit(benchmark::kMillisecond)->MinTime(0.5)->Repetitions(7);

class Ratio_Reporter : public Bench_Times_Reporter {
public:
    void Print_Ratios() const {
        const double base = Get("Plain_Read/min_time:0.500/repeats:7");
        const double decoded = Get("Plain_Read_Decoded/min_time:0.500/repeats:7");
        const double large = Get("Plain_Read_Large_Pipe/min_time:0.500/repeats:7");
        const double lines = Get("Child_Process_Lines/min_time:0.500/repeats:7");
        std::printf("\n100 MB of lines from a child (median of 7 runs, times in ms)\n%-26s %10s %10s %8s\n",
                    "library against", "baseline", "library", "ratio");
        if (base > 0 && lines > 0)
            std::printf("%-26s %10.1f %10.1f %8.2f\n", "read(2), split", base, lines, lines / base);
        if (decoded > 0 && lines > 0)
            std::printf("%-26s %10.1f %10.1f %8.2f\n", "read(2), split, decode", decoded, lines,
                        lines / decoded);
        if (large > 0 && lines > 0)
            std::printf("%-26s %10.1f %10.1f %8.2f\n", "read(2), 256K pipe, split", large, lines,
                        lines / large);
    }
};

}  // namespace

int main(int argc, char** argv) { return Bench_Main<Ratio_Reporter>(argc, argv); }
