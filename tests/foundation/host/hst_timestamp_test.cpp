// Timestamps: images in a pinned zone, building from fields, and the parser.
#include "foundation/host/hst_timestamp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <vector>

#include "tests/foundation/base/message_test_support.h"

using namespace message_test;

namespace {

// Tuesday, 14 November 2023, 22:13:20 UTC.
constexpr int64_t Instant = 1700000000;

// The process's zone for one test: UTC unless a test asks for another.
void Pin_Zone(const char* Zone = "UTC") {
    setenv("TZ", Zone, 1);
    tzset();
}

std::string Image(long Date, long Time, long Local = 0) {
    return Narrow(Hst_Timestamp(Instant).Image(Date, Time, Local));
}

// Parses Text by Format from Instant (Greenwich time); the seconds, or -2 on a failure.
int64_t Parsed(const char* Text, const char* Format, long Clear_Time = 0) {
    Hst_Timestamp time(Instant);
    if (!time.Set_Time(Wide(Text), Wide(Format), Clear_Time, 0)) return -2;
    return time.Seconds;
}

int64_t Utc(int Year, int Month, int Day, int Hour = 0, int Minute = 0, int Second = 0) {
    struct tm time {};
    time.tm_year = Year - 1900, time.tm_mon = Month - 1, time.tm_mday = Day;
    time.tm_hour = Hour, time.tm_min = Minute, time.tm_sec = Second;
    return timegm(&time);
}

class Hst_Timestamp_Test : public ::testing::Test {
protected:
    void SetUp() override { Pin_Zone(); }
};

}  // namespace

TEST_F(Hst_Timestamp_Test, DefaultIsNilComparesBySecondsAndTheCurrentTime) {
    Hst_Timestamp nil;
    EXPECT_EQ(nil.Is_Nil(), 1);
    EXPECT_EQ(nil.Seconds, -1);
    Hst_Timestamp early(10), late(20);
    EXPECT_TRUE(early < late);
    EXPECT_TRUE(late > early);
    EXPECT_FALSE(early > late);
    EXPECT_TRUE(nil < early);  // signed: nil sorts first
    EXPECT_EQ(early == Hst_Timestamp(10), 1);
    EXPECT_EQ(early == late, 0);

    Fnd_Object* copy = early.Clone();
    EXPECT_EQ(Hst_Timestamp::Convert(copy)->Seconds, 10);
    delete copy;

    const time_t before = time(nullptr);
    const Hst_Timestamp now = Hst_Timestamp::Current_Time();
    EXPECT_GE(now.Seconds, before);
    EXPECT_LE(now.Seconds, time(nullptr));
    long seconds = -1, milliseconds = -1;
    Hst_Timestamp::Get_Current_Millisecond_Time(seconds, milliseconds);
    EXPECT_GE(seconds, before);
    EXPECT_GE(milliseconds, 0);
    EXPECT_LE(milliseconds, 999);
}

TEST_F(Hst_Timestamp_Test, EveryDateAndTimeFormatInGreenwichTimeAndTheSeparatorRules) {
    struct Case {
        long Date, Time;
        const char* Expected;
    };
    const char* const asctime = "Tue Nov 14 22:13:20 2023";
    const Case cases[] = {
        {Locale_Date, No_Time, "11/14/23"}, {Short_Date, No_Time, "Nov 14"},
        {Expanded_Date, No_Time, "November 14, 2023"}, {Year, No_Time, "2023"},
        {Month_Day_Year, No_Time, "11/14/23"}, {Day_Month_Year, No_Time, "14-Nov-23"},
        {Year_Month_Day, No_Time, "23/11/14"}, {Ada_Date, No_Time, "14_11_23"},
        {Month_Day_Full_Year, No_Time, "11/14/2023"}, {11, No_Time, "14-Nov-2023"},
        {12, No_Time, ""}, {No_Date, No_Time, ""},
        {No_Date, Locale_Time, "22:13:20"}, {No_Date, Expanded_Time, "10:13:20 PM"},
        {No_Date, Military_Time, "22:13:20"}, {No_Date, Short_Time, "22:13"},
        {No_Date, Ada_Time, "22_13_20"}, {No_Date, 7, ""},
        // Only the unnamed date format with military time is joined by a dot.
        {11, Military_Time, "14-Nov-2023.22:13:20"},
        {Month_Day_Full_Year, Military_Time, "11/14/2023 22:13:20"},
        {11, Short_Time, "14-Nov-2023 22:13"}, {Ada_Date, Ada_Time, "14_11_23 22_13_20"},
        // The asctime formats stand alone.
        {Cdate, No_Time, asctime}, {Cdate, Short_Time, asctime},
        {Year, Ctime, asctime}, {No_Date, Ctime, asctime}};
    for (const Case& c : cases)
        EXPECT_EQ(Image(c.Date, c.Time), c.Expected) << c.Date << " " << c.Time;
}

TEST_F(Hst_Timestamp_Test, LocalImagesAndParsingFollowTheZone) {
    Pin_Zone("XYZ-3");  // three hours east, no daylight saving
    EXPECT_EQ(Image(Month_Day_Full_Year, Military_Time, 1), "11/15/2023 01:13:20");
    EXPECT_EQ(Image(Month_Day_Full_Year, Military_Time, 0), "11/14/2023 22:13:20");
    EXPECT_EQ(Narrow(Hst_Timestamp(Instant).Day_Image(1, 1)), "Wed");
    EXPECT_EQ(Narrow(Hst_Timestamp(Instant).Day_Image(0, 0)), "Tuesday");
    Fnd_String text;
    Hst_Timestamp(Instant).Image(text, Wide("%H.%M"), 1);
    EXPECT_EQ(Narrow(text), "01.13");

    // Local parsing uses the zone; Greenwich parsing leaves TZ alone.
    Hst_Timestamp time;
    ASSERT_EQ(time.Set_Time(Wide("01/01/2000 00:00"), Wide("%m/%d/%Y %H:%M"), 1, 1), 1);
    EXPECT_EQ(time.Seconds, Utc(2000, 1, 1) - 3 * 3600);
    ASSERT_EQ(time.Set_Time(Wide("01/01/2000 00:00"), Wide("%m/%d/%Y %H:%M"), 1, 0), 1);
    EXPECT_EQ(time.Seconds, Utc(2000, 1, 1));
    EXPECT_STREQ(getenv("TZ"), "XYZ-3");
    unsetenv("TZ");
    tzset();
    ASSERT_EQ(time.Set_Time(Wide("12/25/2020"), Wide("%m/%d/%Y"), 1, 0), 1);
    EXPECT_EQ(time.Seconds, Utc(2020, 12, 25));
    EXPECT_EQ(getenv("TZ"), nullptr);
}

TEST_F(Hst_Timestamp_Test, FormatNamesTheDebugImageAndFormatsFromSamples) {
    EXPECT_EQ(Narrow(Hst_Date_Format_Image(Cdate)), "Cdate");
    EXPECT_EQ(Narrow(Hst_Date_Format_Image(Month_Day_Full_Year)), "Month_Day_Full_Year");
    EXPECT_EQ(Narrow(Hst_Date_Format_Image(11)), "<Unknown_Date_Format>");
    EXPECT_EQ(Narrow(Hst_Date_Format_Image(-1)), "<Unknown_Date_Format>");
    EXPECT_EQ(Narrow(Hst_Time_Format_Image(Ada_Time)), "Ada_Time");
    EXPECT_EQ(Narrow(Hst_Time_Format_Image(7)), "<Unknown_Time_Format>");
    // Nil, or decimal, hexadecimal and asctime.
    EXPECT_EQ(Narrow(Hst_Timestamp_Debug_Image(Hst_Timestamp())), "Nil");
    EXPECT_EQ(Narrow(Hst_Timestamp_Debug_Image(Hst_Timestamp(Instant))),
              "1700000000 => 6553F100 => Tue Nov 14 22:13:20 2023");
    // Beyond 2038 the seconds need more than 32 bits.
    EXPECT_EQ(Narrow(Hst_Timestamp_Debug_Image(Hst_Timestamp(3000000000LL))),
              "3000000000 => B2D05E00 => Sat Jan 24 05:20:00 2065");

    // The format of a sample.
    auto Format = [](const char* Sample) {
        Fnd_String format;
        Hst_Timestamp::Parse_Morvane_Time(Wide(Sample), format);
        return Narrow(format);
    };
    EXPECT_EQ(Format("10:30:15"), "%H:%M:%S");
    EXPECT_EQ(Format("10:30"), "%H:%M");
    EXPECT_EQ(Format("1/2/2003"), "%m/%d/%Y");
    EXPECT_EQ(Format("10"), "%H");
    EXPECT_EQ(Format("10 pm"), "%H pm");
    EXPECT_EQ(Format("at 5"), "at %H");
    EXPECT_EQ(Format("1/2/2003 10:30"), "%m/%d/%Y %H:%M");
    EXPECT_EQ(Format("10:"), "%H:");
    EXPECT_EQ(Format(""), "");
    // The format made from a sample parses that sample.
    const char* sample = "1/2/2003 10:30:15";
    EXPECT_EQ(Parsed(sample, Format(sample).c_str()), Utc(2003, 1, 2, 10, 30, 15));
}

TEST_F(Hst_Timestamp_Test, SplitAndBuildGiveFullYearsAndMonthsFromZero) {
    std::vector<long> f(8);
    Hst_Timestamp(Instant).Split(f[0], f[1], f[2], f[3], f[4], f[5], f[6], f[7], 0);
    // year, month from 0, day, hour, minute, second, weekday, day of the year
    EXPECT_EQ(f, (std::vector<long>{2023, 10, 14, 22, 13, 20, 2, 317}));

    // Building from fields counts months from zero there, and from one in Set_Time.
    EXPECT_EQ(Hst_Timestamp(2023, 10, 14, 22, 13, 20).Seconds, Instant);
    EXPECT_EQ(Hst_Timestamp(1899, 10, 14, 22, 13, 20).Seconds, 0);

    Hst_Timestamp time(5);
    time.Set_Time(11, 14, 22, 13, 20, 2023);
    EXPECT_EQ(time.Seconds, Instant);
    time.Set_Time(1, 2, 3, 4, 5, 1899);  // a year before 1900 changes nothing
    EXPECT_EQ(time.Seconds, Instant);
    time.Set_Time(1, 2, 3, 4, 5, 0);  // year 0 keeps the present year
    EXPECT_EQ(time.Seconds, Utc(2023, 1, 2, 3, 4, 5));
}

TEST_F(Hst_Timestamp_Test, ParsingATimeAloneLeavesTheDateAtTheEpochAndYearsOfAnyLength) {
    EXPECT_EQ(Parsed("10:30:15", "%H:%M:%S"), 10 * 3600 + 30 * 60 + 15);
    EXPECT_EQ(Parsed("7", "%k"), 7 * 3600 + 13 * 60 + 20);  // minute and second stay
    EXPECT_EQ(Parsed("7", "%k", 1), 7 * 3600);
    // Years of two, three and four digits.
    EXPECT_EQ(Parsed("1/2/69", "%m/%d/%y"), Utc(2069, 1, 2, 22, 13, 20));
    EXPECT_EQ(Parsed("1/2/70", "%m/%d/%y"), Utc(1970, 1, 2, 22, 13, 20));
    EXPECT_EQ(Parsed("1/2/0", "%m/%d/%Y"), Utc(2000, 1, 2, 22, 13, 20));
    EXPECT_EQ(Parsed("1/2/150", "%m/%d/%Y"), Utc(2050, 1, 2, 22, 13, 20));
    EXPECT_EQ(Parsed("1/2/1999", "%m/%d/%Y", 1), Utc(1999, 1, 2));
}

TEST_F(Hst_Timestamp_Test, ParsingMonthsDaysNamesAndTheCurrentYear) {
    EXPECT_EQ(Parsed("13/2/2000", "%m/%d/%Y"), -2);
    EXPECT_EQ(Parsed("0/2/2000", "%m/%d/%Y"), -2);
    EXPECT_EQ(Parsed("1/32/2000", "%m/%d/%Y"), -2);
    // A number for %b is not range-tested: month 13 rolls into the next year.
    EXPECT_EQ(Parsed("13 2 2000", "%b %d %Y", 1), Utc(2001, 1, 2));
    EXPECT_EQ(Parsed("Nov 14 2023", "%b %d %Y", 1), Utc(2023, 11, 14));
    EXPECT_EQ(Parsed("dEc 1 2023", "%b %e %Y", 1), Utc(2023, 12, 1));
    EXPECT_EQ(Parsed("Xyz 1 2023", "%b %e %Y"), -2);
    // A month and day without a year take the current year.
    const time_t now = time(nullptr);
    struct tm today {};
    gmtime_r(&now, &today);
    EXPECT_EQ(Parsed("3/4", "%m/%d", 1), Utc(today.tm_year + 1900, 3, 4));
}

TEST_F(Hst_Timestamp_Test, ParsingHoursWithAmAndPmTextAndFormatLengthsAndLiterals) {
    EXPECT_EQ(Parsed("11 pm", "%H %p", 1), 23 * 3600);
    EXPECT_EQ(Parsed("11 PM", "%H %p", 1), 23 * 3600);
    EXPECT_EQ(Parsed("12 pm", "%H %p", 1), 12 * 3600);
    EXPECT_EQ(Parsed("12 am", "%H %p", 1), 12 * 3600);
    EXPECT_EQ(Parsed("9 am", "%H %p", 1), 9 * 3600);
    EXPECT_EQ(Parsed("9 xm", "%H %p", 1), -2);
    EXPECT_EQ(Parsed("at", "%H"), -2);  // an hour must be a number

    EXPECT_EQ(Parsed("10:30", "%H:%M:%S"), -2);             // text shorter than the format
    EXPECT_EQ(Parsed("10:30:15 extra", "%H:%M", 1), 10 * 3600 + 30 * 60);  // longer: fine
    EXPECT_EQ(Parsed("10-30", "%H:%M"), -2);                // a literal that does not agree
    EXPECT_EQ(Parsed("50% 10", "50%% %H", 1), 10 * 3600);   // "%%" is one percent sign
    EXPECT_EQ(Parsed("  10 :  30", "%H : %M", 1), 10 * 3600 + 30 * 60);  // blanks on both sides
    EXPECT_EQ(Parsed("10 x", "%H %q"), -2);                 // unknown letter
    // A missing minute must face a blank, and the minute stays.
    EXPECT_EQ(Parsed("10: x", "%H:%M", 0), 10 * 3600 + 13 * 60 + 20);
    EXPECT_EQ(Parsed("10:x", "%H:%M", 0), -2);
}
