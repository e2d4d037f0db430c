// The foundation's collections against the standard library on the same data, in one
// run. Each family ("StringMapLookup", ...) has a baseline variant "std" and one or more
// variants of the project's class; after the run a table gives each variant's time per
// item divided by the baseline's. The maps run with the default 37 buckets and with a
// table as large as the key count, since a map's bucket count is fixed for its life:
// the counters avg_chain and max_chain show what a lookup walks.
//
//   bench_collections_bench [--benchmark_filter=StringMap] [--benchmark_repetitions=3]
//
// With repetitions the table uses the median of each benchmark.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"

namespace {

const long Sizes[] = {100, 1000, 10000, 100000};

std::u16string Key_Text(long I) {
    const std::string narrow = "item_" + std::to_string(I * 7919) + "_key";
    return std::u16string(narrow.begin(), narrow.end());
}

// N keys, and N queries of which 80% are keys and 20% are misses, in a mixed order.
struct Key_Set {
    std::vector<std::u16string> Keys;
    std::vector<std::u16string> Queries;
    std::vector<Fnd_String> Fnd_Keys;
    std::vector<Fnd_String> Fnd_Queries;
};

const Key_Set& Keys_For(long N) {
    static std::map<long, std::unique_ptr<Key_Set>> cache;
    std::unique_ptr<Key_Set>& set = cache[N];
    if (set) return *set;
    set = std::make_unique<Key_Set>();
    for (long i = 0; i < N; ++i) set->Keys.push_back(Key_Text(i));
    for (long i = 0; i < N; ++i) {
        const long pick = (i * 48271L) % N;
        set->Queries.push_back(i % 5 == 4 ? u"miss_" + Key_Text(pick) : set->Keys[pick]);
    }
    for (const auto& k : set->Keys) set->Fnd_Keys.emplace_back(k.c_str());
    for (const auto& q : set->Queries) set->Fnd_Queries.emplace_back(q.c_str());
    return *set;
}

template <class Map>
void Chain_Counters(benchmark::State& State, const Map& M) {
    long longest = 0;
    for (long b = 0; b < M.Get_Size(); ++b) longest = std::max(longest, M.Chain_Length(b));
    State.counters["avg_chain"] = static_cast<double>(M.Get_Count()) / M.Get_Size();
    State.counters["max_chain"] = static_cast<double>(longest);
}

long Table_Size(long Buckets, long N) { return Buckets ? Buckets : N; }

// ---- Utl_String_Map

void String_Map_Bind(benchmark::State& State, long Buckets, long N) {
    const Key_Set& keys = Keys_For(N);
    Utl_String_Map map(Utl_Range_Long, Table_Size(Buckets, N), 0, Utl_Case_Unchanged, nullptr);
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) map.Bind(keys.Fnd_Keys[static_cast<size_t>(i)], i);
        State.PauseTiming();
        Chain_Counters(State, map);
        map.Make_Empty();
        State.ResumeTiming();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Std_String_Bind(benchmark::State& State, long N) {
    const Key_Set& keys = Keys_For(N);
    std::unordered_map<std::u16string, long> map;
    for (auto _ : State) {
        for (long i = 0; i < N; ++i) map[keys.Keys[static_cast<size_t>(i)]] = i;
        State.PauseTiming();
        map.clear();
        State.ResumeTiming();
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void String_Map_Lookup(benchmark::State& State, long Buckets, long N) {
    const Key_Set& keys = Keys_For(N);
    Utl_String_Map map(Utl_Range_Long, Table_Size(Buckets, N), -1, Utl_Case_Unchanged, nullptr);
    for (long i = 0; i < N; ++i) map.Bind(keys.Fnd_Keys[static_cast<size_t>(i)], i);
    Chain_Counters(State, map);
    for (auto _ : State) {
        long hits = 0;
        for (const Fnd_String& q : keys.Fnd_Queries) hits += map.Get_Range(q) >= 0;
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Std_String_Lookup(benchmark::State& State, long N) {
    const Key_Set& keys = Keys_For(N);
    std::unordered_map<std::u16string, long> map;
    for (long i = 0; i < N; ++i) map[keys.Keys[static_cast<size_t>(i)]] = i;
    for (auto _ : State) {
        long hits = 0;
        for (const std::u16string& q : keys.Queries) hits += map.find(q) != map.end();
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

// ---- Utl_Pointer_Map: keys are addresses of 32-byte objects in one array, as a map of
// live objects sees them; every other one is bound, its neighbour is the miss.

struct Object_32 {
    char Bytes[32];
};

std::vector<void*> Addresses(long N, std::vector<Object_32>& Storage, long Stride) {
    Storage.assign(static_cast<size_t>(N * Stride), Object_32{});
    std::vector<void*> out;
    for (long i = 0; i < N; ++i) out.push_back(&Storage[static_cast<size_t>(i * Stride)]);
    return out;
}

void Pointer_Map_Lookup(benchmark::State& State, long Buckets, long Stride, long N) {
    std::vector<Object_32> storage;
    const std::vector<void*> keys = Addresses(2 * N, storage, Stride);
    Utl_Pointer_Map map(Utl_Domain_Pointer, Utl_Range_Pointer, Table_Size(Buckets, N));
    for (long i = 0; i < N; ++i) map.Bind(keys[static_cast<size_t>(2 * i)], keys[0]);
    Chain_Counters(State, map);
    for (auto _ : State) {
        long hits = 0;
        for (long i = 0; i < N; ++i) {  // 80% bound keys, 20% unbound neighbours
            const long pick = (i * 48271L) % N;
            hits += map.Is_Bound(keys[static_cast<size_t>(2 * pick + (i % 5 == 4))]);
        }
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Std_Pointer_Lookup(benchmark::State& State, long Stride, long N) {
    std::vector<Object_32> storage;
    const std::vector<void*> keys = Addresses(2 * N, storage, Stride);
    std::unordered_map<void*, void*> map;
    for (long i = 0; i < N; ++i) map[keys[static_cast<size_t>(2 * i)]] = keys[0];
    for (auto _ : State) {
        long hits = 0;
        for (long i = 0; i < N; ++i) {
            const long pick = (i * 48271L) % N;
            hits += map.count(keys[static_cast<size_t>(2 * pick + (i % 5 == 4))]);
        }
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

// ---- Utl_Pointer_Array append

void Pointer_Array_Append(benchmark::State& State, long N) {
    for (auto _ : State) {
        Utl_Pointer_Array array(10);
        for (long i = 0; i < N; ++i) array.Add(reinterpret_cast<void*>(i));
        benchmark::DoNotOptimize(array.Get_Elements());
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Std_Vector_Append(benchmark::State& State, long N) {
    for (auto _ : State) {
        std::vector<void*> array;
        for (long i = 0; i < N; ++i) array.push_back(reinterpret_cast<void*>(i));
        benchmark::DoNotOptimize(array.data());
    }
    State.SetItemsProcessed(State.iterations() * N);
}

// ---- Utl_String_Array sorted lookup

void String_Array_Lookup(benchmark::State& State, long N) {
    const Key_Set& keys = Keys_For(N);
    Utl_String_Array array(N, 0);
    for (const Fnd_String& k : keys.Fnd_Keys) array.Add(&k);
    array.Sort();
    for (auto _ : State) {
        long hits = 0;
        for (const Fnd_String& q : keys.Fnd_Queries) hits += array.Index(q) >= 0;
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

void Std_Sorted_Lookup(benchmark::State& State, long N) {
    const Key_Set& keys = Keys_For(N);
    std::vector<std::u16string> sorted(keys.Keys);
    std::sort(sorted.begin(), sorted.end());
    for (auto _ : State) {
        long hits = 0;
        for (const std::u16string& q : keys.Queries) {
            auto at = std::lower_bound(sorted.begin(), sorted.end(), q);
            hits += at != sorted.end() && *at == q;
        }
        benchmark::DoNotOptimize(hits);
    }
    State.SetItemsProcessed(State.iterations() * N);
}

// ---- Registration: "<Family>:<Variant>/<N>", with "std" the baseline of a family.

template <class Function, class... Arguments>
void Register(const std::string& Family, const std::string& Variant, long N, Function F,
              Arguments... Args) {
    benchmark::RegisterBenchmark((Family + ":" + Variant + "/" + std::to_string(N)).c_str(),
                                 [=](benchmark::State& State) { F(State, Args..., N); })
        ->Unit(benchmark::kMicrosecond);
}

void Register_All() {
    for (long n : Sizes) {
        Register("StringMapBind", "std", n, Std_String_Bind);
        Register("StringMapBind", "utl37", n, String_Map_Bind, 37L);
        Register("StringMapBind", "utlN", n, String_Map_Bind, 0L);
        Register("StringMapLookup", "std", n, Std_String_Lookup);
        Register("StringMapLookup", "utl37", n, String_Map_Lookup, 37L);
        Register("StringMapLookup", "utlN", n, String_Map_Lookup, 0L);
        // Bound pointer keys 64 bytes apart (4 to a 256-byte block) and 512 bytes apart.
        Register("PointerMapLookup64", "std", n, Std_Pointer_Lookup, 1L);
        Register("PointerMapLookup64", "utl37", n, Pointer_Map_Lookup, 37L, 1L);
        Register("PointerMapLookup64", "utlN", n, Pointer_Map_Lookup, 0L, 1L);
        Register("PointerMapLookup512", "std", n, Std_Pointer_Lookup, 8L);
        Register("PointerMapLookup512", "utlN", n, Pointer_Map_Lookup, 0L, 8L);
        Register("PointerArrayAppend", "std", n, Std_Vector_Append);
        Register("PointerArrayAppend", "utl", n, Pointer_Array_Append);
        Register("StringArraySortedLookup", "std", n, Std_Sorted_Lookup);
        Register("StringArraySortedLookup", "utl", n, String_Array_Lookup);
    }
}

// The console report, then a table of each variant's time per item over the baseline's.
class Ratio_Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& Runs) override {
        ConsoleReporter::ReportRuns(Runs);
        for (const Run& run : Runs) {
            // With repetitions the median stands for the benchmark; it comes last.
            const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if (run.error_occurred || (run.run_type != Run::RT_Iteration && !median)) continue;
            std::string name = run.benchmark_name();
            if (median) name = name.substr(0, name.rfind("_median"));
            const size_t colon = name.find(':');
            const size_t slash = name.find('/', colon);
            if (colon == std::string::npos || slash == std::string::npos) continue;
            const std::string group = name.substr(0, colon) + name.substr(slash);
            const std::string variant = name.substr(colon + 1, slash - colon - 1);
            Times[group][variant] = run.GetAdjustedRealTime();
            auto chain = run.counters.find("avg_chain");
            if (chain != run.counters.end()) Chains[group][variant] = chain->second.value;
            auto longest = run.counters.find("max_chain");
            if (longest != run.counters.end()) Longest[group][variant] = longest->second.value;
        }
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-34s %-8s %10s %10s %10s\n", "family/N", "variant", "x std", "avg chain",
                    "max chain");
        for (const auto& [group, variants] : Times) {
            const auto baseline = variants.find("std");
            if (baseline == variants.end()) continue;
            for (const auto& [variant, time] : variants) {
                if (variant == "std") continue;
                const auto chain = Chains[group].find(variant);
                const auto longest = Longest[group].find(variant);
                std::printf("%-34s %-8s %10.2f %10.1f %10.0f\n", group.c_str(), variant.c_str(),
                            time / baseline->second,
                            chain == Chains[group].end() ? 0.0 : chain->second,
                            longest == Longest[group].end() ? 0.0 : longest->second);
            }
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> Times;
    std::map<std::string, std::map<std::string, double>> Chains;
    std::map<std::string, std::map<std::string, double>> Longest;
};

}  // namespace

int main(int argc, char** argv) {
    Register_All();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Ratio_Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
