// AdMbcsString's conversions against ICU's ucnv_fromUChars and ucnv_toUChars called
// directly on the same text: 1 MiB of UTF-16 (ASCII words, Japanese, Greek and
// Cyrillic, all of which Shift_JIS can hold) to and from UTF-8 and Shift_JIS.
//
// The direct calls are the floor: one converter opened before the loop and an output
// buffer allocated once. AdMbcsString pays on top for taking a pooled converter,
// sizing and allocating its result and owning it. After the run a table gives each
// conversion's time as a ratio to the direct call.
#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <cstdio>
#include <string>
#include <vector>

#include "bench/bench_text.h"
#include "bench/bench_times.h"
#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// ---- Toward bytes

void FromTchar_Direct(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    UConverter* converter = Bench_Open_Converter(which);
    const std::u16string& text = Bench_Mixed_Text();
    std::vector<char> out((text.size() + 10) * static_cast<size_t>(ucnv_getMaxCharSize(converter)));
    for (auto _ : State) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = ucnv_fromUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                         text.data(), static_cast<int32_t>(text.size()), &status);
        if (U_FAILURE(status)) State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(length);
    }
    ucnv_close(converter);
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * text.size() * 2));
}

void FromTchar_Mbcs(benchmark::State& State) {
    const AdCharset& charset = Bench_Charset(static_cast<int>(State.range(0)));
    const Fnd_String text(Bench_Mixed_Text().data(), static_cast<long>(Bench_Mixed_Text().size()));
    for (auto _ : State) {
        AdMbcsString bytes;
        if (!bytes.cvtFromTchar(charset, text, AdCharset::cvt_stop))
            State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(bytes.getData());
    }
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * Bench_Mixed_Text().size() * 2));
}

// ---- Toward 16 bits

void ToTchar_Direct(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    UConverter* converter = Bench_Open_Converter(which);
    const std::string& bytes = Bench_Text_Bytes(which);
    std::vector<char16_t> out(2 * bytes.size() + 1);
    for (auto _ : State) {
        UErrorCode status = U_ZERO_ERROR;
        int32_t length = ucnv_toUChars(converter, out.data(), static_cast<int32_t>(out.size()),
                                       bytes.data(), static_cast<int32_t>(bytes.size()), &status);
        if (U_FAILURE(status)) State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(length);
    }
    ucnv_close(converter);
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * Bench_Mixed_Text().size() * 2));
}

void ToTchar_Mbcs(benchmark::State& State) {
    const int which = static_cast<int>(State.range(0));
    const AdMbcsString bytes(Bench_Charset(which), Bench_Text_Bytes(which));
    for (auto _ : State) {
        Fnd_String out;
        if (!bytes.cvtToTchar(out, AdCharset::cvt_stop)) State.SkipWithError("conversion failed");
        benchmark::DoNotOptimize(out.Data());
    }
    State.SetBytesProcessed(static_cast<int64_t>(State.iterations() * Bench_Mixed_Text().size() * 2));
}

BENCHMARK(FromTchar_Direct)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(FromTchar_Mbcs)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(ToTchar_Direct)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(ToTchar_Mbcs)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// ---- The table of ratios

class Ratio_Reporter : public Bench_Times_Reporter {
public:
    void Print_Ratios() const {
        Bench_Print_Charset_Ratios(
            *this, "AdMbcsString time as a ratio to direct ICU (goal: at most 1.20; times in us)",
            {"FromTchar", "ToTchar"}, "Direct", "Mbcs");
    }
};

}  // namespace

int main(int argc, char** argv) { return Bench_Main<Ratio_Reporter>(argc, argv); }
