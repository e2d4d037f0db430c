// What the trace tests of the containers cost while no trace word is set. This source
// is built twice: bench_trace_cost_bench with the tests in the containers, and
// bench_trace_cost_off with the containers compiled with ZTINT_NO_TRACING. The first
// runs the second with the same arguments and then its own benchmarks, three times
// over, and prints for each operation its least CPU time with tracing built in, with
// tracing compiled out, and their ratio, then the geometric mean of the traced
// operations' ratios. Both programs compile the containers alike; still, where the
// linker puts the code they call moves a single figure by several percent either way,
// which the one operation without a trace test shows. Pin it to one core for steady
// figures:
//
//   taskset -c 1 bench_trace_cost_bench [--benchmark_filter=String_Map] [--benchmark_min_time=0.5]
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_set.h"

namespace {

constexpr long N = 1000;
constexpr long Buckets = 1009;

const std::vector<Fnd_String>& Keys() {
    static const std::vector<Fnd_String> keys = [] {
        std::vector<Fnd_String> out;
        for (long i = 0; i < N; ++i) {
            const std::string narrow = "item_" + std::to_string(i * 7919) + "_key";
            out.emplace_back(std::u16string(narrow.begin(), narrow.end()).c_str());
        }
        return out;
    }();
    return keys;
}

void String_Map_Bind(benchmark::State& State) {
    Utl_String_Map map(Utl_Range_Long, Buckets);
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) map.Bind(Keys()[static_cast<size_t>(i)], i);
        map.Make_Empty();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void String_Map_Lookup(benchmark::State& State) {
    Utl_String_Map map(Utl_Range_Long, Buckets, -1);
    for (long i = 0; i < N; i += 2) map.Bind(Keys()[static_cast<size_t>(i)], i);
    for (auto _ : State) {
        long hits = 0;
        for (const Fnd_String& key : Keys()) hits += map.Get_Range(key) >= 0;
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void String_Map_Unbind(benchmark::State& State) {
    Utl_String_Map map(Utl_Range_Long, Buckets);
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) map.Bind(Keys()[static_cast<size_t>(i)], i);
        for (const Fnd_String& key : Keys()) benchmark::DoNotOptimize(map.Unbind(key));
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void String_Set_Contains(benchmark::State& State) {
    Utl_String_Set set(Buckets);
    for (long i = 0; i < N; i += 2) set.Add(Keys()[static_cast<size_t>(i)]);
    for (auto _ : State) {
        long hits = 0;
        for (const Fnd_String& key : Keys()) hits += set.Contains(key);
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Pointer_Map_Bind_Lookup(benchmark::State& State) {
    Utl_Pointer_Map map(Utl_Domain_Long, Utl_Range_Long, Buckets);
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) map.Bind(i * 8, i);
        long sum = 0;
        for (long i = 0; i < N; ++i) sum += map.Get_Range(i * 8 + (i & 8));
        benchmark::DoNotOptimize(sum);
        map.Make_Empty();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Pointer_Array_Add(benchmark::State& State) {
    Utl_Pointer_Array array(N);
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) array.Add(reinterpret_cast<void*>(i));
        array.Make_Empty();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void String_Array_Add(benchmark::State& State) {
    Utl_String_Array array(N);
    for (auto _ : State) {
        for (const Fnd_String& key : Keys()) array.Add(&key);
        array.Make_Empty();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

// A sorted array searched by bisection, as in the collections benchmark. The search has
// no trace test: its machine code is the same in both builds, and its ratio shows what
// the placement of the code alone does to a figure.
constexpr const char* Control_Name = "String_Array_Index";

void String_Array_Index(benchmark::State& State) {
    Utl_String_Array array(N);
    for (long i = 0; i < N; i += 2) array.Add(&Keys()[static_cast<size_t>(i)]);
    array.Sort();
    for (auto _ : State) {
        long hits = 0;
        for (const Fnd_String& key : Keys()) hits += array.Index(key) >= 0;
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

BENCHMARK(String_Map_Bind);
BENCHMARK(String_Map_Lookup);
BENCHMARK(String_Map_Unbind);
BENCHMARK(String_Set_Contains);
BENCHMARK(Pointer_Map_Bind_Lookup);
BENCHMARK(Pointer_Array_Add);
BENCHMARK(String_Array_Add);
BENCHMARK(String_Array_Index);

// Keeps the least CPU time of each benchmark over all its runs: the machine may be
// shared, and the least time is the one least disturbed.
class Least_Times_Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& Runs) override {
        ConsoleReporter::ReportRuns(Runs);
        for (const Run& run : Runs) {
            if (run.run_type == Run::RT_Aggregate) continue;
            const std::string name = run.run_name.str();
            const double time = run.GetAdjustedCPUTime();
            const auto found = Times.find(name);
            if (found == Times.end() || time < found->second) Times[name] = time;
        }
    }
    std::map<std::string, double> Times;
};

#ifndef ZTINT_NO_TRACING

// Runs the compiled-out build with these arguments and takes its least times into Times.
void Compiled_Out_Times(const std::string& Self, int argc, char** argv,
                        std::map<std::string, double>& Times) {
    const size_t slash = Self.rfind('/');
    std::string command =
        (slash == std::string::npos ? std::string("./") : Self.substr(0, slash + 1)) +
        "bench_trace_cost_off";
    for (int i = 1; i < argc; ++i) command += std::string(" '") + argv[i] + "'";
    command += " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return;
    char line[512];
    while (std::fgets(line, sizeof line, pipe)) {
        char name[256];
        double time = 0;
        // The console reporter's colour codes may stand in front of the first line.
        const char* record = std::strstr(line, "TIME ");
        if (!record || std::sscanf(record, "TIME %255s %lf", name, &time) != 2) continue;
        const auto found = Times.find(name);
        if (found == Times.end() || time < found->second) Times[name] = time;
    }
    pclose(pipe);
}

#endif

}  // namespace

int main(int argc, char** argv) {
#ifdef ZTINT_NO_TRACING
    benchmark::Initialize(&argc, argv);
    Least_Times_Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    for (const auto& [name, time] : reporter.Times) std::printf("TIME %s %.6f\n", name.c_str(), time);
#else
    // Three rounds, each the compiled-out build and then this one, so that a change in
    // the machine's load falls on both.
    std::map<std::string, double> off;
    Least_Times_Reporter reporter;
    std::vector<char*> arguments(argv, argv + argc);
    int count = argc;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    for (int round = 0; round < 3; ++round) {
        Compiled_Out_Times(argv[0], argc, argv, off);
        benchmark::RunSpecifiedBenchmarks(&reporter);
    }
    // Each benchmark repeats one operation N times per iteration: the table gives the
    // CPU time per item both ways and their ratio.
    std::printf("\n%-28s %12s %12s %8s\n", "benchmark (CPU ns / item)", "traced", "compiled out",
                "ratio");
    double log_sum = 0;
    int traced = 0;
    for (const auto& [name, time] : reporter.Times) {
        const auto other = off.find(name);
        if (other == off.end() || other->second <= 0) continue;
        const double ratio = time / other->second;
        const bool control = name == Control_Name;
        std::printf("%-28s %12.2f %12.2f %8.3f%s\n", name.c_str(), time / N, other->second / N,
                    ratio, control ? "   (no trace test: placement alone)" : "");
        if (!control) {
            log_sum += std::log(ratio);
            ++traced;
        }
    }
    if (traced > 0)
        std::printf("%-28s %12s %12s %8.3f\n", "traced operations, geo. mean", "", "",
                    std::exp(log_sum / traced));
    if (off.empty()) std::printf("bench_trace_cost_off did not run: no ratios\n");
#endif
    benchmark::Shutdown();
    return 0;
}
