// The file reader against std::getline on a std::ifstream: the same 50 MB text file
// read line by line, with no directives in it, in the same run. The reader is asked
// for its default options (comments, continuation, includes and conditions looked
// for), so that the test of every line for a directive is paid; the baseline only
// splits bytes. After the run the reader's time is printed as a ratio to the baseline.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "bench/bench_times.h"
#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_reader.h"

namespace {

constexpr size_t File_Bytes = 50u << 20;

// A text file of lines of varied length, about one in eight with a non-ASCII word;
// made once and removed at exit.
const std::string& Bench_File() {
    static const std::string path = [] {
        std::string name = "/tmp/zt_bench_reader_" + std::to_string(getpid()) + ".txt";
        std::ofstream out(name, std::ios::binary);
        size_t written = 0;
        for (unsigned line = 0; written < File_Bytes; ++line) {
            std::string text = "key_" + std::to_string(line) + " = value of line " +
                               std::to_string(line * 7919u % 100000u);
            text.append(line % 37, 'x');
            if (line % 8 == 0) text += " gr\xC3\xBC\xC3\x9F" "e";
            text += '\n';
            out << text;
            written += text.size();
        }
        std::atexit([] { std::remove(Bench_File().c_str()); });
        return name;
    }();
    return path;
}

void Ifstream_Getline(benchmark::State& State) {
    for (auto _ : State) {
        std::ifstream in(Bench_File());
        std::string line;
        size_t lines = 0;
        while (std::getline(in, line)) ++lines;
        benchmark::DoNotOptimize(lines);
    }
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * File_Bytes));
}

void Reader_Getline(benchmark::State& State) {
    const Fnd_String path(std::u16string(Bench_File().begin(), Bench_File().end()).c_str());
    for (auto _ : State) {
        Utl_File_Reader reader(path, Utl_Read_Default, true);
        size_t lines = 0;
        while (reader.Getline()) ++lines;
        benchmark::DoNotOptimize(lines);
    }
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * File_Bytes));
}

BENCHMARK(Ifstream_Getline)->Unit(benchmark::kMillisecond)->Repetitions(3);
BENCHMARK(Reader_Getline)->Unit(benchmark::kMillisecond)->Repetitions(3);

class Ratio_Reporter : public Bench_Times_Reporter {
public:
    double Time_Of(const std::string& Name) const {
        const double repeated = Get(Name + "/repeats:3");
        return repeated > 0 ? repeated : Get(Name);
    }
    void Print_Ratios() const {
        const double base = Time_Of("Ifstream_Getline");
        const double reader = Time_Of("Reader_Getline");
        if (base > 0 && reader > 0)
            std::printf("\nUtl_File_Reader::Getline / std::getline on 50 MB: %.2f\n", reader / base);
    }
};

}  // namespace

int main(int argc, char** argv) { return Bench_Main<Ratio_Reporter>(argc, argv); }
