// Reads arbitrary bytes from a pipe line by line through Hst_File_Buffer and checks
// every line against a plain split of the same bytes: an ASCII line widened unit for
// unit, any other through the converter, and a line that does not convert leaving the
// one before it in place.
//
// Input layout: byte 0 is the buffer's capacity (1 to 256 bytes, so that lines cross
// reads and the buffer grows); bit 0 of byte 1 picks the charset (UTF-8, else ASCII);
// the rest goes into the pipe.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_file_buffer.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// What Get_Line must leave in Line for the bytes of one line.
void Expect_Line(const AdCharset& Charset, std::string_view Bytes, Fnd_String& Expected) {
    bool ascii = true;
    for (const char byte : Bytes) ascii = ascii && static_cast<unsigned char>(byte) < 0x80;
    if (ascii) {
        Expected.Make_Empty();
        for (const char byte : Bytes) Expected.Append(static_cast<Code_Unit>(byte));
        return;
    }
    Fnd_String decoded;
    if (AdMbcsString::cvtToTchar(Charset, Bytes.data(), static_cast<int>(Bytes.size()), decoded,
                                 AdCharset::cvt_stop))
        Expected = decoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    // A pipe holds 64 KiB: the whole input goes in before the reading starts.
    if (Size < 2 || Size > 60000) return 0;
    const long capacity = Data[0] + 1;
    const AdCharset& charset = Data[1] & 1 ? AdCharset::getUTF8Charset() : AdCharset::getASCIICharset();
    const std::string_view text(reinterpret_cast<const char*>(Data + 2), Size - 2);
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) abort();
    if (write(ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) abort();
    close(ends[1]);
    {
        Hst_File_Buffer buffer(ends[0], capacity);
        Fnd_Condition condition;
        Fnd_String line, expected;
        std::size_t start = 0;
        while (start < text.size()) {
            const std::size_t newline = text.find('\n', start);
            const std::size_t end = newline == std::string_view::npos ? text.size() : newline;
            Expect_Line(charset, text.substr(start, end - start), expected);
            if (buffer.Get_Line(charset, line, condition) != Hst_File_Buffer::Read_Ok) abort();
            if (!(line == expected) || line.Data()[line.Get_Length()] != 0) abort();
            start = end + 1;
        }
        if (buffer.Get_Line(charset, line, condition) != Hst_File_Buffer::Read_Eof) abort();
    }
    close(ends[0]);
    return 0;
}
