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
