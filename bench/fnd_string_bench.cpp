// Fnd_String against std::u16string and ICU's UnicodeString on the same data: append,
// find, compare and hash. After the run a table gives each operation's time as a
// ratio to the fastest of the three.
#include <benchmark/benchmark.h>
#include <unicode/unistr.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "bench/bench_times.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"

namespace {

// ---- The data: words of mixed length with a few non-ASCII units.

std::u16string Make_Text(size_t Units) {
    static const char16_t* const Words[] = {u"record", u"field", u"\u00E9tat", u"query",
                                            u"result", u"session", u"d\u00E4ta", u"id"};
    std::u16string text;
    for (size_t i = 0; text.size() < Units; ++i) {
        text += Words[(i * 7 + i / 3) % 8];
        text += u' ';
    }
    text.resize(Units);
    return text;
}

const std::u16string& Haystack() {
    static const std::u16string text = Make_Text(4096) + u"needle in here";
    return text;
}
const char16_t* const Needle = u"needle";

const std::vector<std::u16string>& Pieces() {
    static const std::vector<std::u16string> pieces = [] {
        std::vector<std::u16string> out;
        const std::u16string text = Make_Text(4096);
        for (size_t at = 0; at + 16 <= text.size(); at += 16) out.push_back(text.substr(at, 16));
        return out;
    }();
    return pieces;
}

size_t Total_Piece_Units() { return Pieces().size() * 16; }

// Two texts equal up to their last unit.
const std::u16string& Left_Text() {
    static const std::u16string text = Make_Text(4096) + u'a';
    return text;
}
const std::u16string& Right_Text() {
    static const std::u16string text = Make_Text(4096) + u'b';
    return text;
}

int32_t Length(const std::u16string& S) { return static_cast<int32_t>(S.size()); }

// ---- Append: 256 pieces of 16 units into a string reserved for them. The length
// of a piece is a run-time value, as it is for real callers.

void Append_Fnd(benchmark::State& State) {
    for (auto _ : State) {
        Fnd_String out(static_cast<long>(Total_Piece_Units()), 1L);
        for (const auto& piece : Pieces())
            out.Append_Data(piece.data(), static_cast<long>(piece.size()));
        benchmark::DoNotOptimize(out.Data());
    }
}
BENCHMARK(Append_Fnd);

void Append_Std(benchmark::State& State) {
    for (auto _ : State) {
        std::u16string out;
        out.reserve(Total_Piece_Units());
        for (const auto& piece : Pieces()) out.append(piece.data(), piece.size());
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(Append_Std);

void Append_Icu(benchmark::State& State) {
    for (auto _ : State) {
        icu::UnicodeString out(static_cast<int32_t>(Total_Piece_Units()), 0, 0);
        for (const auto& piece : Pieces()) out.append(piece.data(), Length(piece));
        benchmark::DoNotOptimize(out.getBuffer());
    }
}
BENCHMARK(Append_Icu);

// Without reserving: Fnd_String grows exactly, by design, so this one is quadratic.
// Shown for information; the collections reserve before they append.
void Append_Unreserved_Fnd(benchmark::State& State) {
    for (auto _ : State) {
        Fnd_String out;
        for (const auto& piece : Pieces())
            out.Append_Data(piece.data(), static_cast<long>(piece.size()));
        benchmark::DoNotOptimize(out.Data());
    }
}
BENCHMARK(Append_Unreserved_Fnd);

void Append_Unreserved_Std(benchmark::State& State) {
    for (auto _ : State) {
        std::u16string out;
        for (const auto& piece : Pieces()) out.append(piece.data(), piece.size());
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(Append_Unreserved_Std);

// ---- Find: a word at the end of 4 KiB of text.

void Find_Fnd(benchmark::State& State) {
    const Fnd_String text(Haystack().c_str());
    for (auto _ : State) benchmark::DoNotOptimize(text.Find(Needle));
}
BENCHMARK(Find_Fnd);

void Find_Std(benchmark::State& State) {
    const std::u16string text = Haystack();
    for (auto _ : State) benchmark::DoNotOptimize(text.find(Needle));
}
BENCHMARK(Find_Std);

void Find_Icu(benchmark::State& State) {
    const icu::UnicodeString text(Haystack().data(), Length(Haystack()));
    const icu::UnicodeString needle(Needle);
    for (auto _ : State) benchmark::DoNotOptimize(text.indexOf(needle));
}
BENCHMARK(Find_Icu);

// ---- Compare: 4 KiB texts that differ in the last unit.

void Compare_Fnd(benchmark::State& State) {
    const Fnd_String a(Left_Text().c_str()), b(Right_Text().c_str());
    for (auto _ : State) benchmark::DoNotOptimize(Fnd_String_Library::Compare(a, b));
}
BENCHMARK(Compare_Fnd);

void Compare_Std(benchmark::State& State) {
    const std::u16string a = Left_Text(), b = Right_Text();
    for (auto _ : State) benchmark::DoNotOptimize(a.compare(b));
}
BENCHMARK(Compare_Std);

void Compare_Icu(benchmark::State& State) {
    const icu::UnicodeString a(Left_Text().data(), Length(Left_Text()));
    const icu::UnicodeString b(Right_Text().data(), Length(Right_Text()));
    for (auto _ : State) benchmark::DoNotOptimize(a.compare(b));
}
BENCHMARK(Compare_Icu);

// ---- Hash: 4 KiB of text. ICU's hashCode reads a sample of at most about 32 units
// of a long text, so it is no match for a hash that reads every unit; the fair
// comparison for Fnd_String's hash is std::hash.

void Hash_Fnd(benchmark::State& State) {
    const Fnd_String text(Left_Text().c_str());
    for (auto _ : State) benchmark::DoNotOptimize(text.Hash());
}
BENCHMARK(Hash_Fnd);

void Hash_Std(benchmark::State& State) {
    const std::u16string text = Left_Text();
    const std::hash<std::u16string> hash;
    for (auto _ : State) benchmark::DoNotOptimize(hash(text));
}
BENCHMARK(Hash_Std);

void Hash_Icu(benchmark::State& State) {
    const icu::UnicodeString text(Left_Text().data(), Length(Left_Text()));
    for (auto _ : State) {
        // hashCode caches nothing, but the string could: a fresh alias each time.
        const icu::UnicodeString alias(false, text.getBuffer(), text.length());
        benchmark::DoNotOptimize(alias.hashCode());
    }
}
BENCHMARK(Hash_Icu);

// ---- The table of ratios

class Ratio_Reporter : public Bench_Times_Reporter {
public:
    void Print_Ratios() const {
        std::printf("\nTime as a ratio to the fastest of each operation (1.00 = fastest)\n");
        std::printf("%-20s %10s %10s %10s\n", "operation", "Fnd", "std", "ICU");
        for (const char* operation :
             {"Append", "Append_Unreserved", "Find", "Compare", "Hash"}) {
            const std::string name = operation;
            const double fnd = Get(name + "_Fnd"), std_time = Get(name + "_Std"),
                         icu = Get(name + "_Icu");
            double fastest = 0;
            for (double t : {fnd, std_time, icu})
                if (t > 0 && (fastest == 0 || t < fastest)) fastest = t;
            if (fastest == 0) continue;
            std::printf("%-20s %10s %10s %10s\n", operation, Ratio(fnd, fastest).c_str(),
                        Ratio(std_time, fastest).c_str(), Ratio(icu, fastest).c_str());
        }
    }

private:
    static std::string Ratio(double Time, double Fastest) {
        if (Time <= 0) return "-";
        char text[32];
        std::snprintf(text, sizeof text, "%.2f", Time / Fastest);
        return text;
    }
};

}  // namespace

int main(int argc, char** argv) { return Bench_Main<Ratio_Reporter>(argc, argv); }
