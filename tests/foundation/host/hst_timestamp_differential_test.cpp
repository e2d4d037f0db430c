// Hst_Timestamp's images and broken-down times against the C library (strftime,
// localtime_r, asctime_r, mktime) under several time zones, on generated instants with
// a fixed starting value and on the instants around each daylight-saving change. The test prints
// how many instants and comparisons it covered.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_timestamp.h"
#include "tests/support/ztint_test_locale.h"

namespace {

constexpr unsigned Generator_Start = 20261125;

// UTC, two northern and one southern zone with daylight saving, a half-hour change
// (Lord Howe) and a zone without any.
const char* const Zones[] = {"UTC", "America/New_York", "Europe/Berlin", "America/Sao_Paulo",
                             "Australia/Lord_Howe", "Asia/Kolkata"};

// Conversions of every kind that the images use, in one format.
constexpr char All_Conversions[] =
    "%Y-%m-%d %H:%M:%S %Z %z|%a %A %b %B %h|%j %U %W %u %w %e %I %p %y %C %G %g %V|%D %T %R "
    "%x %X %c|%s %%";

void Use_Zone(const char* Zone) {
    setenv("TZ", Zone, 1);
    tzset();
}

std::string Strftime(const struct tm& Time, const char* Format) {
    char bytes[512];
    const size_t length = std::strftime(bytes, sizeof bytes, Format, &Time);
    return std::string(bytes, length);
}

std::string Bytes_Of(const Fnd_String& Text) {
    std::string bytes;
    for (long i = 0; i < Text.Get_Length(); ++i)
        bytes += Text.Data()[i] < 0x80 ? static_cast<char>(Text.Data()[i]) : '?';
    return bytes;
}

Fnd_String Wide(const char* Bytes) {
    const std::u16string units(Bytes, Bytes + std::char_traits<char>::length(Bytes));
    return Fnd_String(units.c_str());
}

// The instants where the zone's offset changes between 1970 and 2040, found day by day
// and then bisected to the second.
std::vector<time_t> Offset_Changes() {
    std::vector<time_t> changes;
    auto offset = [](time_t At) {
        struct tm local;
        localtime_r(&At, &local);
        return local.tm_gmtoff;
    };
    constexpr time_t Day = 86400;
    for (time_t day = 0; day < 70 * 365 * Day; day += Day) {
        if (offset(day) == offset(day + Day)) continue;
        time_t low = day, high = day + Day;  // offset(low) differs from offset(high)
        while (high - low > 1) {
            const time_t middle = low + (high - low) / 2;
            (offset(middle) == offset(low) ? low : high) = middle;
        }
        changes.push_back(high);
    }
    return changes;
}

// The instants to compare in the current zone: those around each offset change, and
// Random_Count more between 1901 and 2100.
std::vector<time_t> Instants(std::mt19937_64& Engine, int Random_Count) {
    std::vector<time_t> instants;
    for (time_t change : Offset_Changes())
        for (time_t delta : {-3601, -3600, -1800, -61, -1, 0, 1, 59, 1800, 3599, 3600})
            instants.push_back(change + delta);
    std::uniform_int_distribution<time_t> any(-2177452800L, 4102444800L);
    for (int i = 0; i < Random_Count; ++i) instants.push_back(any(Engine));
    return instants;
}

// One instant: every image against its C library counterpart. Returns the number of
// comparisons made.
long Compare_Instant(time_t Seconds) {
    const Hst_Timestamp stamp(static_cast<int64_t>(Seconds));
    long compared = 0;
    for (long local : {1L, 0L}) {
        struct tm want;
        local ? localtime_r(&Seconds, &want) : gmtime_r(&Seconds, &want);

        long year, month, day, hour, minute, second, weekday, yearday;
        stamp.Split(year, month, day, hour, minute, second, weekday, yearday, local);
        EXPECT_EQ(year, want.tm_year + 1900L);
        EXPECT_EQ(month, want.tm_mon);
        EXPECT_EQ(day, want.tm_mday);
        EXPECT_EQ(hour, want.tm_hour);
        EXPECT_EQ(minute, want.tm_min);
        EXPECT_EQ(second, want.tm_sec);
        EXPECT_EQ(weekday, want.tm_wday);
        EXPECT_EQ(yearday, want.tm_yday);

        Fnd_String text;
        stamp.Image(text, Wide(All_Conversions), local);
        EXPECT_EQ(Bytes_Of(text), Strftime(want, All_Conversions));

        char asctime_bytes[64];
        std::string asctime_text = asctime_r(&want, asctime_bytes);
        asctime_text.pop_back();  // the line feed
        EXPECT_EQ(Bytes_Of(stamp.Image(Cdate, No_Time, local)), asctime_text);
        EXPECT_EQ(Bytes_Of(stamp.Image(Month_Day_Full_Year, Military_Time, local)),
                  Strftime(want, "%m/%d/%Y %T"));
        EXPECT_EQ(Bytes_Of(stamp.Image(11, Military_Time, local)), Strftime(want, "%d-%h-%Y.%T"));
        EXPECT_EQ(Bytes_Of(stamp.Day_Image(0, local)), Strftime(want, "%A"));

        // The date(1) form stands in for "%C", which in the C library is the century.
        EXPECT_EQ(Bytes_Of(Fnd_String_Library::To_Presentation(want)),
                  Strftime(want, "%a %b %e %H:%M:%S %Z %Y"));
        compared += 14;
    }

    // The text read back gives the instant that mktime gives for the same fields.
    Fnd_String text;
    stamp.Image(text, Fnd_String(u"%Y-%m-%d %H:%M:%S"), 1);
    Hst_Timestamp parsed(static_cast<int64_t>(0));
    EXPECT_EQ(parsed.Set_Time(text, Fnd_String(u"%Y-%m-%d %H:%M:%S"), 0, 1), 1);
    struct tm fields;
    localtime_r(&Seconds, &fields);
    fields.tm_isdst = -1;
    EXPECT_EQ(parsed.Seconds, static_cast<int64_t>(mktime(&fields))) << Bytes_Of(text);
    const std::string c_ctime = [&] {
        char bytes[64];
        std::string line = ctime_r(&Seconds, bytes);
        line.pop_back();
        return line;
    }();
    EXPECT_EQ(Bytes_Of(Fnd_String_Library::To_Ctime(static_cast<long>(Seconds))), c_ctime);
    return compared + 2;
}

TEST(TimestampDifferential, ImagesAgreeWithStrftimeInSixZonesAroundEveryChange_20000Instants) {
    ZTInt_Test_Pin_Locale();
    std::mt19937_64 engine(Generator_Start);
    const char* saved = std::getenv("TZ");
    const std::string saved_zone = saved ? saved : "";
    long instants = 0;
    long compared = 0;
    for (const char* zone : Zones) {
        SCOPED_TRACE(zone);
        Use_Zone(zone);
        const std::vector<time_t> zone_instants = Instants(engine, 2600);
        for (time_t seconds : zone_instants) {
            SCOPED_TRACE(static_cast<long>(seconds));
            compared += Compare_Instant(seconds);
            if (HasFailure()) break;
        }
        instants += static_cast<long>(zone_instants.size());
        if (HasFailure()) break;
    }
    saved ? setenv("TZ", saved_zone.c_str(), 1) : unsetenv("TZ");
    tzset();
    std::cout << "instants: " << instants << " in " << std::size(Zones)
              << " zones, comparisons: " << compared << "\n";
    EXPECT_GE(instants, 20000);
}

}  // namespace
