// Stream functions of the generic-text layer, in the default charset.
//
// Output wraps the FILE* in an ICU UFILE for the one call and closes the wrapper,
// which leaves the FILE* open. Input cannot do that: a fresh UFILE reads ahead and
// the bytes it buffered are lost when it closes. So input reads bytes with getc and
// converts them one character at a time. A character outside the basic plane gives
// two units; the second waits for the next read of the same FILE* at the same
// position (a stream closed in between, whose address is reused, does not get it).
#include <unicode/ucnv.h>
#include <unicode/ustdio.h>
#include <unicode/ustring.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <unordered_map>

#include "foundation/base/fnd_string.h"

#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/prepformat.h"
#include "ztcoreutil/tchar.h"

namespace {

// The second unit of a surrogate pair, by stream, with the stream's position behind
// the pair (-1 for a stream without positions).
struct Pending_Unit {
    Code_Unit Unit;
    long Position;
};

std::unordered_map<FILE*, Pending_Unit>& Pending_Units() {
    static auto* pending = new std::unordered_map<FILE*, Pending_Unit>();
    return *pending;
}

// Reads bytes until they form one character; up to two units into Units. The count
// of units, 0 at the end of the file. A byte sequence that breaks off at the end of
// the file gives the substitution character.
int Read_Character(FILE* File, Code_Unit Units[2]) {
    const AdCharset& charset = AdCharset::getDefaultCharset();
    UConverter* converter = charset.allocateConverter(AdCharset::cvt_substitute);
    if (!converter) return 0;
    int count = 0;
    while (count == 0) {
        int byte = std::getc(File);
        char input = static_cast<char>(byte);
        const char* source = &input;
        const char* source_end = byte == EOF ? source : source + 1;
        UChar* target = Units;
        UErrorCode status = U_ZERO_ERROR;
        ucnv_toUnicode(converter, &target, Units + 2, &source, source_end, nullptr,
                       byte == EOF, &status);
        count = static_cast<int>(target - Units);
        if (byte == EOF || U_FAILURE(status)) break;
    }
    charset.freeConverter(converter, AdCharset::cvt_substitute);
    return count;
}

// The name of the default charset for ICU's file wrapper: the same encoding as every
// other conversion of this layer, also when a test stands in another default.
std::string Default_Codepage() {
    Fnd_String name = AdCharset::getDefaultCharset().getMimeName();
    std::string bytes;
    for (long i = 0; i < name.Get_Length(); ++i) bytes += static_cast<char>(name.Data()[i]);
    return bytes;
}

// Runs Write on a UFILE wrapping File for this one call.
template <class Write>
auto With_Ufile(FILE* File, Write write) -> decltype(write(static_cast<UFILE*>(nullptr))) {
    if (!File) return -1;
    UFILE* ufile = u_finit(File, nullptr, Default_Codepage().c_str());
    if (!ufile) return -1;
    auto result = write(ufile);
    u_fclose(ufile);
    return result;
}

}  // namespace

unsigned int _gettc(FILE* File) {
    if (!File) return TCHAR_EOF;
    auto& pending = Pending_Units();
    auto found = pending.find(File);
    if (found != pending.end()) {
        const Pending_Unit waiting = found->second;
        pending.erase(found);
        if (waiting.Position == std::ftell(File)) return waiting.Unit;
    }
    Code_Unit units[2];
    int count = Read_Character(File, units);
    if (count == 0) return TCHAR_EOF;
    if (count == 2) pending[File] = Pending_Unit{units[1], std::ftell(File)};
    return units[0];
}

unsigned int _gettchar() { return _gettc(stdin); }

Code_Unit* _fgetts(Code_Unit* Buffer, int Size, FILE* File) {
    if (!Buffer || Size <= 0) return nullptr;
    int length = 0;
    while (length < Size - 1) {
        unsigned int unit = _gettc(File);
        if (unit == TCHAR_EOF) break;
        Buffer[length++] = static_cast<Code_Unit>(unit);
        if (unit == u'\n') break;
    }
    Buffer[length] = 0;
    return length == 0 ? nullptr : Buffer;
}

unsigned int _puttc(unsigned int C, FILE* File) {
    int result = With_Ufile(File, [C](UFILE* ufile) {
        return static_cast<int>(u_fputc(static_cast<UChar32>(C & 0xFFFF), ufile));
    });
    return static_cast<unsigned int>(result) & 0xFFFF;
}

// Writes the text without adding a newline; a negative result on failure.
int _fputts(const Code_Unit* S, FILE* File) {
    if (!S) return -1;
    int32_t length = u_strlen(S);
    int written = With_Ufile(File, [S, length](UFILE* ufile) {
        return static_cast<int>(u_file_write(S, length, ufile));
    });
    return written == length ? written : -1;
}

int _ftprintf(FILE* File, const Code_Unit* Format, ...) {
    PrepFormat format(Format);
    va_list args;
    va_start(args, Format);
    int result = With_Ufile(File, [&format, &args](UFILE* ufile) {
        return static_cast<int>(u_vfprintf_u(ufile, format.Icu_Format(), args));
    });
    va_end(args);
    return result;
}

int _tprintf(const Code_Unit* Format, ...) {
    PrepFormat format(Format);
    va_list args;
    va_start(args, Format);
    int result = With_Ufile(stdout, [&format, &args](UFILE* ufile) {
        return static_cast<int>(u_vfprintf_u(ufile, format.Icu_Format(), args));
    });
    va_end(args);
    return result;
}
