// The 16-bit string streams against direct ICU calls on the same text: 1 MiB of UTF-16
// written through a ztostringstream in pieces of 80 units, and read back line by line
// through a ztistringstream, in UTF-8 and Shift_JIS.
//
// The baselines are the floor: one converter opened before the loop converts the whole
// text at once into a buffer allocated once; reading then cuts the result into lines.
// The streams pay for converting in blocks of 1024 units and 256 bytes, for the stream
// machinery and for owning their bytes. After the run a table gives each stream's time
// as a ratio to its baseline.
#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "bench/bench_text.h"
#include "bench/bench_times.h"
#include "foundation/streams/ztsstream.h"

namespace {

constexpr size_t Piece_Units = 80;

void Set_Processed(benchmark::State& State) {
    State.SetBytesProcessed(
        static_cast<int64_t>(State.iterations() * Bench_Mixed_Text().size() * 2));
}

void Write_Direct(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    UConverter* converter = Bench_Open_Converter(which);
    const std::u16string& text = Bench_Mixed_Text();
    std::vector<char> out((text.size() + 10) * static_cast<size_t>(ucnv_getMaxCharSize(converter)));
    for (auto _ : State) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length =
            ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()), text.data(),
                            static_cast<int32_t>(text.size()), &status);
        if (U_FAILURE(status)) State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(length);
    }
    ucnv_close(converter);
    Set_Processed(State);
}

void Write_Stream(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    const std::u16string& text = Bench_Mixed_Text();
    for (auto _ : State) {
        ztostringstream out;
        out.setcharset(Bench_Charset(which));
        for (size_t at = 0; at < text.size(); at += Piece_Units)
            out.write(text.data() + at,
                      static_cast<std::streamsize>(std::min(Piece_Units, text.size() - at)));
        const AdMbcsString bytes = out.str();
        if (!out || bytes.getString().size() != Bench_Text_Bytes(which).size())
            State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(bytes.getString().data());
    }
    Set_Processed(State);
}

void Read_Direct(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    UConverter* converter = Bench_Open_Converter(which);
    const std::string& bytes = Bench_Text_Bytes(which);
    std::vector<char16_t> units(2 * bytes.size() + 1);
    for (auto _ : State) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length =
            ucnv_toUChars(converter, units.data(), static_cast<int32_t>(units.size()),
                          bytes.data(), static_cast<int32_t>(bytes.size()), &status);
        if (U_FAILURE(status)) State.SkipWithError("conversion failed");
        long lines = 0;
        const char16_t* const end = units.data() + length;
        for (const char16_t* start = units.data(); start < end; ++lines) {
            const char16_t* stop = std::find(start, end, u'\n');
            const Fnd_String line(start, static_cast<long>(stop - start));
            benchmark::DoNotOptimize(line.Data());
            start = stop + 1;
        }
        benchmark::DoNotOptimize(lines);
    }
    ucnv_close(converter);
    Set_Processed(State);
}

void Read_Stream(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    const AdMbcsString bytes(Bench_Charset(which), Bench_Text_Bytes(which));
    for (auto _ : State) {
        ztistringstream in(bytes);
        in.setcharset(Bench_Charset(which));
        Fnd_String line;
        long lines = 0;
        while (in.getline(line)) ++lines;
        if (in.bad()) State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(lines);
    }
    Set_Processed(State);
}

BENCHMARK(Write_Direct)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(Write_Stream)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(Read_Direct)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(Read_Stream)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

class Ratio_Reporter : public Bench_Times_Reporter {
public:
    void Print_Ratios() const {
        Bench_Print_Charset_Ratios(*this, "Stream time as a ratio to direct ICU (times in us)",
                                   {"Write", "Read"}, "Direct", "Stream");
    }
};

}  // namespace

int main(int argc, char** argv) { return Bench_Main<Ratio_Reporter>(argc, argv); }
