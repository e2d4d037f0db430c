// Hst_Timestamp: a point in time as seconds since the epoch (-1 is nil), with fixed
// named date and time formats and a parser driven by a format text.
//
// "local" arguments choose the system's local time (non-zero) or Greenwich time (0).
// Greenwich conversions use timegm, so the process's TZ is never touched.
#pragma once

#include <cstdint>
#include <ctime>

#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"

enum Hst_Date_Format {
    No_Date = 0,
    Cdate = 1,  // the asctime text; the time format is ignored
    Locale_Date = 2,
    Short_Date = 3,
    Expanded_Date = 4,
    Year = 5,
    Month_Day_Year = 6,
    Day_Month_Year = 7,
    Year_Month_Day = 8,
    Ada_Date = 9,
    Month_Day_Full_Year = 10
    // 11, unnamed: "%d-%h-%Y"; with Military_Time joined by "."
};

enum Hst_Time_Format {
    No_Time = 0,
    Ctime = 1,  // the asctime text alone, in place of any date
    Locale_Time = 2,
    Expanded_Time = 3,
    Military_Time = 4,
    Short_Time = 5,
    Ada_Time = 6
};

// The names above; "<Unknown_Date_Format>" / "<Unknown_Time_Format>" otherwise (11 too).
const Code_Unit* Hst_Date_Format_Image(long Value);
const Code_Unit* Hst_Time_Format_Image(long Value);

class Hst_Timestamp : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_Timestamp)
public:
    int64_t Seconds = -1;

    Hst_Timestamp() = default;
    Hst_Timestamp(int64_t Seconds) : Seconds(Seconds) {}
    Hst_Timestamp(const Hst_Timestamp&) = default;
    // Local time; Month counts from 0. A year below 1900, or a time mktime cannot
    // represent, gives 0.
    Hst_Timestamp(long Year, long Month, long Day, long Hour, long Minute, long Second);
    Hst_Timestamp& operator=(const Hst_Timestamp&) = default;

    operator int64_t() const { return Seconds; }
    void Make_Nil() { Seconds = -1; }
    long Is_Nil() const { return Seconds == -1; }
    bool operator<(const Hst_Timestamp& Other) const { return Seconds < Other.Seconds; }
    bool operator>(const Hst_Timestamp& Other) const { return Seconds > Other.Seconds; }

    long Is_Equal(const Fnd_Object& Other) const override;

    static Hst_Timestamp Current_Time();
    static void Get_Current_Millisecond_Time(long& Seconds, long& Milliseconds);

    // Date text, separator, time text, as the two formats say.
    Fnd_String Image(long Date_Format, long Time_Format, long Local) const;
    // The time through strftime with Format.
    void Image(Fnd_String& Text, const Fnd_String& Format, long Local) const;
    // "%a" or "%A".
    Fnd_String Day_Image(long Abbreviated, long Local) const;
    // The broken-down time; Year in full, Month from 0.
    void Split(long& Year, long& Month, long& Day, long& Hour, long& Minute, long& Second,
               long& Weekday, long& Yearday, long Local) const;

    // Parses Text by Format (%H %k %M %S %Y %y %b %d %e %m %p, "%%" for a percent sign).
    // Fields the text does not give keep their present value (the clock fields become 0
    // with Clear_Time); a time alone lies on 1 January 1970; a month and day without
    // a year take the current year. 1 on success, 0 on a mismatch or an invalid time.
    long Set_Time(const Fnd_String& Text, const Fnd_String& Format, long Clear_Time, long Local);
    // Local time, Month from 1. Year 0 keeps the present year; 1 to 1899 changes nothing.
    void Set_Time(long Month, long Day, long Hour, long Minute, long Second, long Year);

    // A Set_Time format from a sample: digit groups joined by ":" become %H:%M:%S, by "/"
    // %m/%d/%Y, a lone group %H; every other character stands for itself.
    static void Parse_Morvane_Time(const Fnd_String& Text, Fnd_String& Format);

    // Local (non-zero) or Greenwich broken-down form of Seconds.
    struct tm Broken_Down(long Local) const;
};

// "Nil", or "<decimal> => <hexadecimal> => <asctime text>".
Fnd_String Hst_Timestamp_Debug_Image(const Hst_Timestamp& Time);
