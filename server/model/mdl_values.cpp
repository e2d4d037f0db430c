#include "server/model/mdl_values.h"

#include <charconv>
#include <cstdint>
#include <ctime>

bool Mdl_Is_Integer(const std::string& text)
{
    // Whole numbers are kept as 64-bit integers: a longer one is no number here.
    int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return !text.empty() && error == std::errc() && stop == end;
}

std::string Mdl_Normal_Date_Time(const std::string& text)
{
    std::tm parts{};
    const char* end = strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &parts);
    if (end == nullptr || *end != '\0') {
        parts = {};
        end = strptime(text.c_str(), "%Y-%m-%d", &parts);
        if (end == nullptr || *end != '\0')
            return "";
    }
    std::tm check = parts;
    const time_t seconds = timegm(&check);
    if (check.tm_mday != parts.tm_mday || check.tm_mon != parts.tm_mon)
        return "";  // 2026-02-30 and the like
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", gmtime_r(&seconds, &check));
    return buffer;
}
