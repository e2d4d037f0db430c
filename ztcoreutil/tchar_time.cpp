// Time functions of the generic-text layer.
#include <cstring>
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

size_t _tcsftime(Code_Unit* Buffer, size_t Size, const Code_Unit* Format, const struct tm* Time) {
    if (!Buffer || Size == 0 || !Format || !Time) return 0;
    AdMbcsString format;
    if (!format.cvtFromTchar(AdCharset::getDefaultCharset(), Format, AdCharset::cvt_stop))
        return 0;
    std::unique_ptr<char[]> bytes(new char[Size]);
    size_t length = std::strftime(bytes.get(), Size, format.getData(), Time);
    if (length == 0) return 0;
    Fnd_String text;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes.get(),
                                  static_cast<int>(length), text, AdCharset::cvt_escape))
        return 0;
    // A result that does not fit (with its terminator) counts as too small, as in strftime.
    size_t units = static_cast<size_t>(text.Get_Length());
    if (units >= Size) return 0;
    std::memcpy(Buffer, text.Data(), (units + 1) * sizeof(Code_Unit));
    return units;
}
