#include "foundation/host/hst_timestamp.h"

#include <sys/time.h>

#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// Guards asctime_r, mktime and strftime, which read the process's time zone.
Fnd_Semaphore* timestamp_lock = nullptr;

const Code_Unit* const Date_Formats[] = {
    nullptr,      nullptr,     u"%x",       u"%b %e",    u"%B %e, %Y", u"%Y",
    u"%D",        u"%d-%h-%y", u"%y/%m/%d", u"%d_%m_%y", u"%m/%d/%Y",  u"%d-%h-%Y"};
const Code_Unit* const Date_Names[] = {
    u"No_Date", u"Cdate",          u"Locale_Date",    u"Short_Date",
    u"Expanded_Date", u"Year",     u"Month_Day_Year", u"Day_Month_Year",
    u"Year_Month_Day", u"Ada_Date", u"Month_Day_Full_Year"};
constexpr long Last_Date_Format = 11;

const Code_Unit* const Time_Formats[] = {nullptr,       nullptr, u"%X",    u"%I:%M:%S %p",
                                         u"%T",         u"%H:%M", u"%H_%M_%S"};
const Code_Unit* const Time_Names[] = {u"No_Time",       u"Ctime",         u"Locale_Time",
                                       u"Expanded_Time", u"Military_Time", u"Short_Time",
                                       u"Ada_Time"};
constexpr long Last_Time_Format = 6;

// The asctime text without its final line feed.
Fnd_String Asctime(const struct tm& Time) {
    char bytes[64];
    const char* text;
    {
        Fnd_Semaphore_Guard guard(timestamp_lock, 1, 1, 0);
        text = asctime_r(&Time, bytes);
    }
    Fnd_String result;
    if (text == nullptr ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), text, result,
                                  AdCharset::cvt_substitute))
        return Fnd_String();
    const long length = result.Get_Length();
    if (length > 0 && result[length - 1] == u'\n') result.Delete(length - 1, 1);
    return result;
}

Fnd_String Formatted(const struct tm& Time, const Code_Unit* Format) {
    Fnd_Semaphore_Guard guard(timestamp_lock, 1, 1, 0);
    return Fnd_String_Library::To_Presentation(Time, Fnd_String(Format));
}

// mktime (local) or timegm (Greenwich) of Time, under the lock.
int64_t Make_Time(struct tm& Time, long Local) {
    Time.tm_isdst = -1;
    Fnd_Semaphore_Guard guard(timestamp_lock, 1, 1, 0);
    return Local ? mktime(&Time) : timegm(&Time);
}

bool Is_Digit(Code_Unit Unit) { return Unit >= u'0' && Unit <= u'9'; }
bool Is_Space(Code_Unit Unit) {
    return Unit == u' ' || Unit == u'\t' || Unit == u'\n' || Unit == u'\r' || Unit == u'\v' ||
           Unit == u'\f';
}
Code_Unit Lower(Code_Unit Unit) {
    return (Unit >= u'A' && Unit <= u'Z') ? static_cast<Code_Unit>(Unit + 32) : Unit;
}

// A cursor over a text that reads as 0 past its end.
struct Cursor {
    const Fnd_String& Text;
    long At = 0;

    bool At_End() const { return At >= Text.Get_Length(); }
    Code_Unit Unit(long Ahead = 0) const {
        return At + Ahead < Text.Get_Length() ? Text.Data()[At + Ahead] : 0;
    }
    void Skip_Space() {
        while (!At_End() && Is_Space(Unit())) ++At;
    }
    // The decimal number at the cursor; false (and nothing passed) at a non-digit.
    // Very long digit runs saturate rather than overflow.
    bool Number(long& Value) {
        if (!Is_Digit(Unit())) return false;
        Value = 0;
        while (Is_Digit(Unit())) {
            if (Value < 100000000) Value = Value * 10 + (Unit() - u'0');
            ++At;
        }
        return true;
    }
};

// The month of a three-letter name in any case, from 0; -1 for none.
long Month_Of_Name(const Cursor& Text) {
    static const char* const names[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                        "jul", "aug", "sep", "oct", "nov", "dec"};
    for (long month = 0; month < 12; ++month) {
        bool same = true;
        for (long i = 0; i < 3 && same; ++i)
            same = Lower(Text.Unit(i)) == static_cast<Code_Unit>(names[month][i]);
        if (same) return month;
    }
    return -1;
}

// The year of a number in the text: a full year, an offset from 1900, or below 70 a
// year from 2000. As tm_year.
int Tm_Year(long Number) {
    if (Number >= 1900) return static_cast<int>(Number - 1900);
    if (Number >= 70) return static_cast<int>(Number);
    return static_cast<int>(Number + 100);
}

}  // namespace

const Code_Unit* Hst_Date_Format_Image(long Value) {
    if (Value < 0 || Value >= Last_Date_Format) return u"<Unknown_Date_Format>";
    return Date_Names[Value];
}

const Code_Unit* Hst_Time_Format_Image(long Value) {
    if (Value < 0 || Value > Last_Time_Format) return u"<Unknown_Time_Format>";
    return Time_Names[Value];
}

Hst_Timestamp::Hst_Timestamp(long Year, long Month, long Day, long Hour, long Minute,
                             long Second) {
    if (Year < 1900) {
        Seconds = 0;
        return;
    }
    struct tm time {};
    time.tm_year = static_cast<int>(Year - 1900);
    time.tm_mon = static_cast<int>(Month);
    time.tm_mday = static_cast<int>(Day);
    time.tm_hour = static_cast<int>(Hour);
    time.tm_min = static_cast<int>(Minute);
    time.tm_sec = static_cast<int>(Second);
    Seconds = Make_Time(time, 1);
    if (Seconds == -1) Seconds = 0;
}

long Hst_Timestamp::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Timestamp* other = Convert(&Other);
    return other != nullptr && other->Seconds == Seconds;
}

Hst_Timestamp Hst_Timestamp::Current_Time() { return Hst_Timestamp(time(nullptr)); }

void Hst_Timestamp::Get_Current_Millisecond_Time(long& Seconds, long& Milliseconds) {
    struct timeval now {};
    gettimeofday(&now, nullptr);
    Seconds = now.tv_sec;
    Milliseconds = now.tv_usec / 1000;
}

struct tm Hst_Timestamp::Broken_Down(long Local) const {
    struct tm time {};
    const time_t seconds = static_cast<time_t>(Seconds);
    if (Local)
        localtime_r(&seconds, &time);
    else
        gmtime_r(&seconds, &time);
    return time;
}

Fnd_String Hst_Timestamp::Image(long Date_Format, long Time_Format, long Local) const {
    const struct tm time = Broken_Down(Local);
    if (Date_Format == Cdate || Time_Format == Ctime) return Asctime(time);
    Fnd_String text;
    if (Date_Format > No_Date && Date_Format <= Last_Date_Format)
        text = Formatted(time, Date_Formats[Date_Format]);
    if (Date_Format != No_Date && Time_Format != No_Time)
        text.Append(Fnd_Char(Date_Format == Last_Date_Format && Time_Format == Military_Time
                                 ? u'.'
                                 : u' '));
    if (Time_Format > No_Time && Time_Format <= Last_Time_Format)
        text.Append(Formatted(time, Time_Formats[Time_Format]));
    return text;
}

void Hst_Timestamp::Image(Fnd_String& Text, const Fnd_String& Format, long Local) const {
    const struct tm time = Broken_Down(Local);
    Fnd_Semaphore_Guard guard(timestamp_lock, 1, 1, 0);
    Text = Fnd_String_Library::To_Presentation(time, Format);
}

Fnd_String Hst_Timestamp::Day_Image(long Abbreviated, long Local) const {
    return Formatted(Broken_Down(Local), Abbreviated ? u"%a" : u"%A");
}

void Hst_Timestamp::Split(long& Year, long& Month, long& Day, long& Hour, long& Minute,
                          long& Second, long& Weekday, long& Yearday, long Local) const {
    const struct tm time = Broken_Down(Local);
    Year = time.tm_year + 1900L;
    Month = time.tm_mon;
    Day = time.tm_mday;
    Hour = time.tm_hour;
    Minute = time.tm_min;
    Second = time.tm_sec;
    Weekday = time.tm_wday;
    Yearday = time.tm_yday;
}

long Hst_Timestamp::Set_Time(const Fnd_String& Text, const Fnd_String& Format, long Clear_Time,
                             long Local) {
    struct tm time = Broken_Down(Local);
    if (Clear_Time) time.tm_hour = time.tm_min = time.tm_sec = 0;
    bool have_month = false, have_day = false, have_year = false, have_hour = false;

    Cursor text{Text};
    Cursor format{Format};
    while (!text.At_End() && !format.At_End()) {
        text.Skip_Space();
        format.Skip_Space();
        if (text.At_End() || format.At_End()) break;

        // Literal characters that agree; "%%" in the format stands for one "%".
        while (!text.At_End() && text.Unit() == format.Unit() && !Is_Space(text.Unit())) {
            if (text.Unit() == u'%') {
                if (format.Unit(1) != u'%') return 0;
                ++format.At;
            }
            ++text.At;
            ++format.At;
        }
        if (format.At_End()) break;
        if (Is_Space(format.Unit())) continue;
        if (format.Unit() != u'%') {
            // A literal the text lacks is passed over only where the text has a blank.
            if (!Is_Space(text.Unit())) return 0;
            while (!format.At_End() && format.Unit() != u'%' && !Is_Space(format.Unit()))
                ++format.At;
            continue;
        }

        const Code_Unit letter = format.Unit(1);
        long number = 0;
        const bool present = text.Number(number);
        // A clock field that the text leaves out must face a blank, which is passed.
        auto Blank_Instead = [&text]() {
            if (!Is_Space(text.Unit())) return false;
            ++text.At;
            return true;
        };
        switch (letter) {
            case u'H':
            case u'k':
                if (!present) return 0;
                time.tm_hour = static_cast<int>(number);
                have_hour = true;
                break;
            case u'M':
                if (present)
                    time.tm_min = static_cast<int>(number);
                else if (!Blank_Instead())
                    return 0;
                break;
            case u'S':
                if (present)
                    time.tm_sec = static_cast<int>(number);
                else if (!Blank_Instead())
                    return 0;
                break;
            case u'Y':
            case u'y':
                if (present)
                    time.tm_year = Tm_Year(number);
                else if (!Blank_Instead())
                    return 0;
                have_year = true;
                break;
            case u'b':
                if (present) {
                    time.tm_mon = static_cast<int>(number - 1);
                } else {
                    const long month = Month_Of_Name(text);
                    if (month < 0) return 0;
                    time.tm_mon = static_cast<int>(month);
                    text.At += 3;
                }
                have_month = true;
                break;
            case u'd':
            case u'e':
                if (!present || number > 31) return 0;
                time.tm_mday = static_cast<int>(number);
                have_day = true;
                break;
            case u'm':
                if (!present || number < 1 || number > 12) return 0;
                time.tm_mon = static_cast<int>(number - 1);
                have_month = true;
                break;
            case u'p':
                if (!present) {
                    const Code_Unit first = Lower(text.Unit());
                    if ((first != u'a' && first != u'p') || Lower(text.Unit(1)) != u'm') return 0;
                    if (first == u'p' && have_hour && time.tm_hour < 12) time.tm_hour += 12;
                    text.At += 2;
                }
                break;
            default:
                return 0;
        }
        format.At += 2;
    }
    if (!format.At_End()) return 0;

    if (have_month && have_day && !have_year) {
        time.tm_year = Hst_Timestamp(static_cast<int64_t>(::time(nullptr))).Broken_Down(Local).tm_year;
    } else if (!have_month && !have_day && !have_year) {
        time.tm_year = 70;
        time.tm_mon = 0;
        time.tm_mday = 1;
    }
    Seconds = Make_Time(time, Local);
    return Seconds == -1 ? 0 : 1;
}

void Hst_Timestamp::Set_Time(long Month, long Day, long Hour, long Minute, long Second,
                             long Year) {
    if (Year >= 1 && Year <= 1899) return;
    struct tm time {};
    if (Year == 0)
        time = Broken_Down(1);
    else
        time.tm_year = static_cast<int>(Year - 1900);
    time.tm_mon = static_cast<int>(Month - 1);
    time.tm_mday = static_cast<int>(Day);
    time.tm_hour = static_cast<int>(Hour);
    time.tm_min = static_cast<int>(Minute);
    time.tm_sec = static_cast<int>(Second);
    Seconds = Make_Time(time, 1);
}

void Hst_Timestamp::Parse_Morvane_Time(const Fnd_String& Text, Fnd_String& Format) {
    Format = Fnd_String(Text.Get_Length(), 1L);
    Cursor text{Text};
    auto Pass_Digits = [&text]() {
        while (Is_Digit(text.Unit())) ++text.At;
    };
    // After the first group: the separator, then the second field, then the third for
    // every further separator.
    auto Groups = [&](Code_Unit Separator, const Code_Unit* First, const Code_Unit* Second,
                      const Code_Unit* Rest) {
        Format.Append(First);
        Format.Append(Fnd_Char(Separator));
        ++text.At;
        if (Is_Digit(text.Unit())) {
            Format.Append(Second);
            Pass_Digits();
        }
        while (text.Unit() == Separator && !text.At_End()) {
            Format.Append(Fnd_Char(Separator));
            ++text.At;
            if (Is_Digit(text.Unit())) {
                Format.Append(Rest);
                Pass_Digits();
            }
        }
    };
    while (!text.At_End()) {
        if (Is_Digit(text.Unit())) {
            Pass_Digits();
            if (text.At_End()) {
                Format.Append(u"%H");
                return;
            }
            if (text.Unit() == u':')
                Groups(u':', u"%H", u"%M", u"%S");
            else if (text.Unit() == u'/')
                Groups(u'/', u"%m", u"%d", u"%Y");
            else
                Format.Append(u"%H");
        }
        if (text.At_End()) return;
        Format.Append(Fnd_Char(text.Unit()));
        ++text.At;
    }
}

Fnd_String Hst_Timestamp_Debug_Image(const Hst_Timestamp& Time) {
    if (Time.Is_Nil()) return Fnd_String(u"Nil");
    Fnd_String text = Fnd_String_Library::To_String(static_cast<long>(Time.Seconds));
    text.Append(u" => ");
    text.Append(Fnd_String_Library::To_String(static_cast<long>(Time.Seconds), 16));
    text.Append(u" => ");
    text.Append(Time.Image(Cdate, Ctime, 1));
    return text;
}
