// Time functions of the generic-text layer.
#include <algorithm>
#include <cstring>
#include <string>
#include <ctime>
#include <memory>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztcoreutil/tchar.h"

namespace {

const Code_Unit* Converted(const char* Bytes, Fnd_String& Slot) {
    if (!Bytes ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Bytes, Slot, AdCharset::cvt_stop))
        return nullptr;
    return Slot.Data();
}

}  // namespace

const Code_Unit* _tasctime(const struct tm* Time) {
    static Fnd_String* text = new Fnd_String();
    char bytes[64];
    return Time ? Converted(asctime_r(Time, bytes), *text) : nullptr;
}

const Code_Unit* _tctime(const time_t* Time) {
    static Fnd_String* text = new Fnd_String();
    char bytes[64];
    return Time ? Converted(ctime_r(Time, bytes), *text) : nullptr;
}

namespace {

// The largest byte buffer _tcsftime tries, whatever capacity the caller claims.
constexpr size_t Max_Time_Bytes = size_t{1} << 24;

// strftime into a byte buffer that grows from a small size up to Limit, so that a
// caller's large capacity never becomes one huge allocation. Empty when the text
// does not fit into Limit bytes (or is really empty).
std::string Formatted_Time(const char* Format, const struct tm* Time, size_t Limit) {
    for (size_t size = std::min<size_t>(Limit, 256);; size = std::min(size * 4, Limit)) {
        std::string bytes(size, '\0');
        size_t length = std::strftime(bytes.data(), size, Format, Time);
        if (length > 0) {
            bytes.resize(length);
            return bytes;
        }
        if (size == Limit) return std::string();
    }
}

}  // namespace

size_t _tcsftime(Code_Unit* Buffer, size_t Size, const Code_Unit* Format, const struct tm* Time) {
    if (!Buffer || Size == 0 || !Format || !Time) return 0;
    AdMbcsString format;
    if (!format.cvtFromTchar(AdCharset::getDefaultCharset(), Format, AdCharset::cvt_stop))
        return 0;
    // A unit of the result comes from at least one byte, so Size bytes always suffice.
    const std::string bytes =
        Formatted_Time(format.getData(), Time, std::min(Size, Max_Time_Bytes));
    if (bytes.empty()) return 0;
    Fnd_String text;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes.data(),
                                  static_cast<int>(bytes.size()), text, AdCharset::cvt_escape))
        return 0;
    // A result that does not fit (with its terminator) counts as too small, as in strftime.
    size_t units = static_cast<size_t>(text.Get_Length());
    if (units >= Size) return 0;
    std::memcpy(Buffer, text.Data(), (units + 1) * sizeof(Code_Unit));
    return units;
}
