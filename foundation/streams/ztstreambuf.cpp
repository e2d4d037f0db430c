#include "foundation/streams/ztstreambuf.h"

#include <algorithm>
#include <ios>

#include "foundation/base/fnd_string.h"

namespace {

constexpr long Input_Block_Bytes = 256;
// A byte that does not convert is escaped as six units ("&#xHH;"): a lenient buffer reads
// blocks that fit its buffer even then.
constexpr long Lenient_Block_Bytes = ztstreambuf::Buffer_Units / 6;
constexpr long Output_Block_Bytes = 1024;

[[noreturn]] void Fail_Underflow(const char* What) {
    throw std::ios_base::failure(std::string("ztstreambuf::underflow: ") + What);
}

}  // namespace

ztstreambuf::ztstreambuf(std::basic_streambuf<char>* Bytes, bool Strict)
    : Charset(AdCharset::getDefaultCharset()), Strict(Strict), Bytes(Bytes) {}

ztstreambuf::~ztstreambuf() {
    Release_Converter();
    delete[] Input_Buffer;
    delete[] Output_Buffer;
}

void ztstreambuf::setcharset(const AdCharset& New_Charset) {
    send_output(false);
    Release_Converter();
    Charset = New_Charset;
}

void ztstreambuf::setstrict(bool New_Strict) {
    send_output(false);
    Release_Converter();
    Strict = New_Strict;
}

AdCharset::converter_t ztstreambuf::Mode() const {
    return Strict ? AdCharset::cvt_stop : AdCharset::cvt_escape;
}

bool ztstreambuf::Ensure_Converter() {
    if (!Converter && Charset.isValid()) Converter = Charset.allocateConverter(Mode());
    return Converter != nullptr;
}

void ztstreambuf::Release_Converter() {
    if (!Converter) return;
    Charset.freeConverter(Converter, Mode());
    Converter = nullptr;
}

void ztstreambuf::discard_areas() {
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
}

long ztstreambuf::Fill_Input() {
    Code_Unit* target = Input_Buffer;
    Code_Unit* const limit = Input_Buffer + Buffer_Units;
    for (;;) {
        char block[Input_Block_Bytes];
        const long block_bytes = Strict ? Input_Block_Bytes : Lenient_Block_Bytes;
        long count = 0;
        bool at_end = false;
        const std::streamsize available = Bytes->in_avail();
        if (available > 1) {
            count = Bytes->sgetn(block, std::min<std::streamsize>(available, block_bytes));
            at_end = count <= 0;
        } else {
            const int byte = Bytes->sbumpc();
            at_end = byte == std::char_traits<char>::eof();
            if (!at_end) block[count++] = static_cast<char>(byte);
        }
        const char* source = block;
        UErrorCode status = U_ZERO_ERROR;
        ucnv_toUnicode(Converter, &target, limit, &source, block + count, nullptr, at_end,
                       &status);
        if (status == U_BUFFER_OVERFLOW_ERROR) {
            // The buffer filled before the block was used up. The converter keeps the
            // units that did not fit and hands them out first next time; the bytes it
            // did not take go back to be read again.
            for (const char* back = block + count; back > source;)
                if (Bytes->sputbackc(*--back) == std::char_traits<char>::eof())
                    Fail_Underflow("Conversion error.");
        } else if (U_FAILURE(status)) {
            Fail_Underflow("Conversion error.");
        }
        if (target > Input_Buffer) return target - Input_Buffer;
        if (at_end) return -1;
    }
}

long ztstreambuf::take_until(Code_Unit Delimiter, Fnd_String& Line, bool& Found) {
    const Code_Unit* const start = gptr();
    const Code_Unit* const stop = std::find(start, static_cast<const Code_Unit*>(egptr()), Delimiter);
    Line.Append_Data(start, stop - start);
    Found = stop != egptr();
    const long consumed = (stop - start) + (Found ? 1 : 0);
    gbump(static_cast<int>(consumed));
    return consumed;
}

ztstreambuf::int_type ztstreambuf::underflow() {
    if (!Ensure_Converter()) Fail_Underflow("Can't allocate converter.");
    if (!Input_Buffer) Input_Buffer = new Code_Unit[Buffer_Units];
    if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
    if (!Bytes) return traits_type::eof();
    // What was written before is there to be read, as in a standard string stream.
    send_output(false);
    const long produced = Fill_Input();
    if (produced <= 0) {
        setg(Input_Buffer, Input_Buffer, Input_Buffer);
        return traits_type::eof();
    }
    setg(Input_Buffer, Input_Buffer, Input_Buffer + produced);
    return traits_type::to_int_type(*gptr());
}

ztstreambuf::int_type ztstreambuf::overflow(int_type C) {
    if (traits_type::eq_int_type(C, traits_type::eof())) return 0;
    if (!Bytes || !send_output(false)) return traits_type::eof();
    if (!Output_Buffer) Output_Buffer = new Code_Unit[Buffer_Units];
    // discard_areas leaves the buffer allocated but no put area.
    if (!pptr()) setp(Output_Buffer, Output_Buffer + Buffer_Units);
    *pptr() = traits_type::to_char_type(C);
    pbump(1);
    return C;
}

bool ztstreambuf::send_output(bool Flush) {
    if (pbase() == pptr()) return true;
    if (!Bytes || !Ensure_Converter()) return false;
    const Code_Unit* source = pbase();
    const Code_Unit* const end = pptr();
    bool sent = true;
    for (;;) {
        char block[Output_Block_Bytes];
        char* target = block;
        UErrorCode status = U_ZERO_ERROR;
        ucnv_fromUnicode(Converter, &target, block + Output_Block_Bytes, &source, end, nullptr,
                         Flush, &status);
        if (target > block) Bytes->sputn(block, target - block);
        if (status == U_BUFFER_OVERFLOW_ERROR) continue;
        if (U_FAILURE(status)) {
            ucnv_resetFromUnicode(Converter);
            sent = false;
            break;
        }
        if (source == end) break;
    }
    setp(Output_Buffer, Output_Buffer + Buffer_Units);
    return sent;
}

int ztstreambuf::sync() {
    if (!send_output(true)) return -1;
    return Bytes ? Bytes->pubsync() : 0;
}

void ztstreambuf::imbue(const std::locale& Locale) {
    if (Bytes) Bytes->pubimbue(Locale);
}
