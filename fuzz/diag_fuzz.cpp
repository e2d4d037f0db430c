// Feeds arbitrary ZT_DIAG_* settings to the diagnostics engine.
//
// Input layout: byte 0 chooses what to do; the rest is the text. Bit 0 set: the text is
// read as 16-bit units (little-endian) and goes to the name=value parser alone, whose
// result, when it parsed, must survive a round trip through the writer (unless a value
// holds both kinds of quote, which no quoting can carry). Bit 0 clear: the text is split
// at the first two 0x01 bytes into trace, report and behavior settings, put into the
// environment and evaluated, with the output off or on /dev/null (bit 1), so that
// reports of bad settings are written too.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/mfc/cmap.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

Fnd_String Units(const uint8_t* Data, size_t Size) {
    std::vector<Code_Unit> units;
    for (size_t i = 0; i + 1 < Size; i += 2) {
        const Code_Unit unit = static_cast<Code_Unit>(Data[i] | Data[i + 1] << 8);
        if (unit == 0) break;
        units.push_back(unit);
    }
    return Fnd_String(units.data(), static_cast<long>(units.size()));
}

bool Same(const CMapStringToString& A, const CMapStringToString& B) {
    if (A.GetCount() != B.GetCount()) return false;
    for (POSITION at = A.GetStartPosition(); at;) {
        Fnd_String name, value, other;
        A.GetNextAssoc(at, name, value);
        if (!B.Lookup(name, other) || !(other == value)) return false;
    }
    return true;
}

bool Both_Quotes(const CMapStringToString& Map) {
    for (POSITION at = Map.GetStartPosition(); at;) {
        Fnd_String name, value;
        Map.GetNextAssoc(at, name, value);
        if (value.Find(u'\'') >= 0 && value.Find(u'"') >= 0) return true;
    }
    return false;
}

void Parse_Round_Trip(const Fnd_String& Text, bool Allow_Duplicates) {
    CMapStringToString map;
    long id = -1;
    Fnd_String context;
    if (!AdDiagnosticParseNameValueString(Text.Data(), map, id, context, Allow_Duplicates, true)) {
        if (id < 0 || id > 4 || context.Get_Length() > 40) std::abort();
        return;
    }
    if (Both_Quotes(map)) return;
    Fnd_String written;
    AdDiagnosticMakeNameValueString(map, written, true);
    CMapStringToString again;
    if (!AdDiagnosticParseNameValueString(written.Data(), again, id, context, true, true) ||
        !Same(map, again))
        std::abort();
}

std::string Lower(std::string Text) {
    for (char& byte : Text)
        if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
    return Text;
}

void Evaluate(const std::string& Text, bool Output_On) {
    std::string parts[3];
    int part = 0;
    for (char byte : Text) {
        if (byte == '\x01' && part < 2)
            ++part;
        else if (byte != '\0')
            parts[part] += byte;
    }
    // A wait for a debugger would stop the run: no report name may hold "WAIT".
    for (size_t at = 0; (at = Lower(parts[1]).find("wait", at)) != std::string::npos;)
        parts[1].erase(at, 4);
    setenv("ZT_DIAG_TRACE", parts[0].c_str(), 1);
    setenv("ZT_DIAG_REPORT", parts[1].c_str(), 1);
    setenv("ZT_DIAG_BEHAVIOR", parts[2].c_str(), 1);
    setenv("ZT_DIAG_OUTPUT", Output_On ? "/dev/null" : "", 1);
    // Set, so that a rollover reopens /dev/null rather than a new time-stamped name.
    setenv("ZT_DIAG_RESET", "1", 1);
    unsetenv("ZT_DIAG_NAME");
    AdDiagnostic::ResetDiagnosticFlags(0);
    AdDiagnostic::Report(u"fuzz", u"line\nwith two parts\n");
    for (long id = 0; id <= AdDiagnostic::Last_Id + 1; ++id) {
        (void)AdDiagnostic::IsEnabled(id, 1, 1);
        (void)AdDiagnostic::IsEnabled(id, u"name");
        (void)AdDiagnostic::GetDiagnosticString(id);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size == 0) return 0;
    const uint8_t mode = Data[0];
    if (mode & 1) {
        const Fnd_String text = Units(Data + 1, Size - 1);
        Parse_Round_Trip(text, (mode & 2) != 0);
    } else {
        Evaluate(std::string(reinterpret_cast<const char*>(Data + 1), Size - 1), (mode & 2) != 0);
    }
    return 0;
}
