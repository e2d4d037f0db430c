#include "server/model/mdl_values.h"

#include <algorithm>
#include <cstddef>
#include <ctime>

bool Mdl_Is_Integer(const std::string& text)
{
    if (text.empty() || text.size() > 19)
        return false;
    const std::size_t start = text[0] == '-' ? 1 : 0;
    return start < text.size() &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(start), text.end(),
                       [](char c) { return c >= '0' && c <= '9'; });
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
