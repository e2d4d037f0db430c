// Checks of the text forms that records and query filters share for integers and dates.
#pragma once

#include <string>

// Decimal digits, with a "-" in front or not, of a number a 64-bit integer holds.
[[nodiscard]] bool Mdl_Is_Integer(const std::string& text);

// "YYYY-MM-DD HH:MM:SS" or "YYYY-MM-DD" (midnight) naming a real date, in the full form
// the store keeps dates in; "" for anything else.
[[nodiscard]] std::string Mdl_Normal_Date_Time(const std::string& text);
