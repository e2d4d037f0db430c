// The text the conversion benchmarks share: 1 MiB of UTF-16 (ASCII words with line
// ends, Japanese, Greek and Cyrillic, all of which Shift_JIS can hold), its charsets,
// its bytes in each, and a directly opened ICU converter as the baseline.
#pragma once

#include <unicode/ucnv.h>

#include <cstdio>
#include <initializer_list>
#include <map>
#include <string>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"

constexpr size_t Bench_Text_Units = 512 * 1024;

inline const std::u16string& Bench_Mixed_Text() {
    static const std::u16string text = [] {
        static const char16_t* const Words[] = {
            u"record ",         u"\u6587\u5B57\u5217 ",  u"field=value; ",
            u"\u3072\u3089\u304C\u306A ", u"\u03B1\u03B2\u03B3 ", u"query\n",
            u"\u30AB\u30BF\u30AB\u30CA ", u"\u0434\u0430\u043D\u043D\u044B\u0435 ",
            u"id 12345 ",       u"\u8868\u793A "};
        std::u16string out;
        for (size_t i = 0; out.size() < Bench_Text_Units; ++i) out += Words[(i * 7 + i / 3) % 10];
        out.resize(Bench_Text_Units);
        if ((out.back() & 0xFC00) == 0xD800) out.back() = u' ';
        return out;
    }();
    return text;
}

// 0: UTF-8, 1: Shift_JIS.
inline const char* Bench_Charset_Name(int Which) { return Which == 0 ? "UTF-8" : "Shift_JIS"; }

inline const AdCharset& Bench_Charset(int Which) {
    static const AdCharset sjis(Fnd_String(u"Shift_JIS"));
    return Which == 0 ? AdCharset::getUTF8Charset() : sjis;
}

// The text's bytes in a charset, for the conversions toward 16 bits.
inline const std::string& Bench_Text_Bytes(int Which) {
    static std::map<int, std::string> bytes;
    auto found = bytes.find(Which);
    if (found != bytes.end()) return found->second;
    AdMbcsString converted;
    if (!converted.cvtFromTchar(Bench_Charset(Which), Bench_Mixed_Text().data(),
                                static_cast<int>(Bench_Mixed_Text().size()), AdCharset::cvt_stop))
        std::fprintf(stderr, "the bench text does not convert to %s\n", Bench_Charset_Name(Which));
    return bytes[Which] = converted.getString();
}

// A converter of its own that stops at the first failure, as the baseline's.
inline UConverter* Bench_Open_Converter(int Which) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(Bench_Charset_Name(Which), &status);
    if (U_FAILURE(status)) return nullptr;
    ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &status);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    return converter;
}

// The table at the end of a conversion benchmark: for each way (a name prefix such as
// "Write") and each charset, the times of <way>_<Baseline>/<charset> and
// <way>_<Subject>/<charset> in microseconds and their ratio.
template <class Times>
void Bench_Print_Charset_Ratios(const Times& Reporter, const char* Title,
                                std::initializer_list<const char*> Ways, const char* Baseline,
                                const char* Subject) {
    std::printf("\n%s\n%-12s %-10s %12s %12s %8s\n", Title, "way", "charset", Baseline, Subject,
                "ratio");
    for (const char* way : Ways) {
        for (int which = 0; which < 2; ++which) {
            const std::string arg = "/" + std::to_string(which);
            const double base = Reporter.Get(std::string(way) + "_" + Baseline + arg);
            const double subject = Reporter.Get(std::string(way) + "_" + Subject + arg);
            if (base <= 0 || subject <= 0) continue;
            std::printf("%-12s %-10s %12.1f %12.1f %8.2f\n", way, Bench_Charset_Name(which), base,
                        subject, subject / base);
        }
    }
}
