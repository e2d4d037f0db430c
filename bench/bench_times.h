// A console reporter that also keeps each benchmark's time, so that a program can
// print its ratios against a baseline of the same run at the end.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

class Bench_Times_Reporter : public benchmark::ConsoleReporter {
public:
    // With repetitions the median stands for a benchmark, else its one run.
    void ReportRuns(const std::vector<Run>& Runs) override {
        ConsoleReporter::ReportRuns(Runs);
        for (const Run& run : Runs) {
            const std::string name = run.run_name.str();
            if (run.run_type == Run::RT_Aggregate) {
                if (run.aggregate_name == "median") Times[name] = run.GetAdjustedRealTime();
            } else if (!Times.count(name) || run.repetitions <= 1) {
                Times[name] = run.GetAdjustedRealTime();
            }
        }
    }

    // The time of the benchmark called Name, 0 if it did not run.
    double Get(const std::string& Name) const {
        auto found = Times.find(Name);
        return found == Times.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> Times;
};

// The whole main of a benchmark program: runs the benchmarks through a Reporter,
// a Bench_Times_Reporter with a Print_Ratios, and prints its ratios at the end.
template <class Reporter>
int Bench_Main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.Print_Ratios();
    benchmark::Shutdown();
    return 0;
}
