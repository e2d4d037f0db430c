#include "foundation/host/hst_file_buffer.h"

#include <poll.h>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_safe_malloc.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

constexpr long File_Buffer_Diagnostic = AdDiag_FILE_BUFFER;
constexpr int Block_Wait_Ms = 5000;

bool Diagnosing(long Bit) {
    return AdDiagnostic::m_DiagnosticFlags[File_Buffer_Diagnostic] != 0 &&
           AdDiagnostic::IsEnabled(File_Buffer_Diagnostic, Bit, 1);
}

// Widens Count bytes into Out as if they were ASCII, in one pass; false when one of
// them is not (Out then holds garbage for the caller to overwrite). Lines come by the
// million: 16 bytes go at a time, and a line's last bytes go through one more vector
// that overlaps the ones before it rather than a byte loop. (256-bit vectors measured
// slower here, in the line path between the calls around them, than these.)
bool Widen_Ascii_Bytewise(const char* Bytes, long Count, Code_Unit* Out) {
    unsigned seen = 0;
    for (long i = 0; i < Count; ++i) {
        const unsigned char byte = static_cast<unsigned char>(Bytes[i]);
        seen |= byte;
        Out[i] = byte;
    }
    return (seen & 0x80u) == 0;
}

#if defined(__SSE2__)
inline __m128i Load_16(const char* Bytes) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(Bytes));
}

// 16 bytes widened to 16 units at Out.
inline void Store_Widened(__m128i Bytes, Code_Unit* Out) {
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(Out), _mm_unpacklo_epi8(Bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(Out + 8), _mm_unpackhi_epi8(Bytes, zero));
}

// 16 bytes at Bytes widened to Out; their bits collect in Seen.
inline void Widen_16(const char* Bytes, Code_Unit* Out, __m128i& Seen) {
    const __m128i bytes = Load_16(Bytes);
    Seen = _mm_or_si128(Seen, bytes);
    Store_Widened(bytes, Out);
}

inline bool Widen_Ascii(const char* Bytes, long Count, Code_Unit* Out) {
    if (Count < 16) return Widen_Ascii_Bytewise(Bytes, Count, Out);
    __m128i seen = _mm_setzero_si128();
    long i = 0;
    for (; i + 16 <= Count; i += 16) Widen_16(Bytes + i, Out + i, seen);
    if (i < Count) Widen_16(Bytes + Count - 16, Out + Count - 16, seen);
    return _mm_movemask_epi8(seen) == 0;
}

// Looks for the newline that ends the line at Bytes while widening the bytes before it
// into Out: one pass over the line where a search and then a copy make two. It stops
// short, false, where the next 16 bytes would pass End or Room units. True with Count
// the bytes before the newline when all of them are ASCII. Lines are mostly longer than
// 32 bytes: 32 go at a time until the pair that holds the newline, which then goes again
// 16 at a time to place it.
inline bool Widen_Ascii_Line(const char* Bytes, const char* End, Code_Unit* Out, long Room,
                             long& Count) {
    const __m128i newline = _mm_set1_epi8('\n');
    __m128i seen = _mm_setzero_si128();
    const long limit = std::min(static_cast<long>(End - Bytes), Room);
    long i = 0;
    for (; i + 32 <= limit; i += 32) {
        const __m128i first = Load_16(Bytes + i);
        const __m128i second = Load_16(Bytes + i + 16);
        Store_Widened(first, Out + i);
        Store_Widened(second, Out + i + 16);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(first, newline), _mm_cmpeq_epi8(second, newline))) != 0)
            break;
        seen = _mm_or_si128(seen, _mm_or_si128(first, second));
    }
    for (; i + 16 <= limit; i += 16) {
        const __m128i bytes = Load_16(Bytes + i);
        Store_Widened(bytes, Out + i);
        const unsigned found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, newline)));
        if (found != 0) {
            const unsigned offset = static_cast<unsigned>(__builtin_ctz(found));
            const unsigned before = (1u << offset) - 1;
            Count = i + offset;
            return (static_cast<unsigned>(_mm_movemask_epi8(seen)) |
                    (static_cast<unsigned>(_mm_movemask_epi8(bytes)) & before)) == 0;
        }
        seen = _mm_or_si128(seen, bytes);
    }
    return false;
}
#else
bool Widen_Ascii(const char* Bytes, long Count, Code_Unit* Out) {
    return Widen_Ascii_Bytewise(Bytes, Count, Out);
}
#endif

// Whether ASCII bytes stand for the same units in Charset.
bool Ascii_Compatible(const AdCharset& Charset) {
    return Charset.isDefault() || Charset == AdCharset::getUTF8Charset() ||
           Charset == AdCharset::getASCIICharset();
}

// The bytes of a line through the charset's converter; false, leaving Line as it was,
// when they do not convert.
[[gnu::noinline]] bool Convert(const AdCharset& Charset, const char* Bytes, long Count,
                               Fnd_String& Line) {
    Fnd_String decoded;
    if (!AdMbcsString::cvtToTchar(Charset, Bytes, static_cast<int>(Count), decoded,
                                  AdCharset::cvt_stop))
        return false;
    Line = std::move(decoded);
    return true;
}

// The bytes of a line as text; false, leaving Line as it was, when they do not convert.
// ASCII lines (most, by far) are widened into Scratch, which then changes places with
// Line, so that neither allocates once both have grown to the longest line. This runs
// once a line, inline, and the converter only for what is not ASCII. The storage gets 16
// units more than the line: the one-pass way's last vector may reach past the newline.
[[gnu::always_inline]] inline bool Decode(const AdCharset& Charset, bool Ascii_Fast, const char* Bytes, long Count,
                                       Fnd_String& Line, Fnd_String& Scratch) {
    if (Ascii_Fast) {
        Scratch.Make_Empty();
        Scratch.Ensure_Storage(Count + 16);
        Scratch.Extend(Count);
        if (Count == 0 || Widen_Ascii(Bytes, Count, &Scratch[0])) [[likely]] {
            Line.Swap(Scratch);
            return true;
        }
    }
    return Convert(Charset, Bytes, Count, Line);
}

// Clears Condition; a clean one, as it is for nearly every line, needs no call.
inline void Clear(Fnd_Condition& Condition) {
    if (Condition.Failed() || Condition.Get_Subordinate() != nullptr) Condition.Clear();
}

}  // namespace

Hst_File_Buffer::Hst_File_Buffer(int Fd, long Capacity) : Fd(Fd), Capacity(std::max(Capacity, 1L)) {
    Buffer = static_cast<char*>(Hst_Safe_Malloc(static_cast<size_t>(this->Capacity) + 1));
    Buffer[0] = 0;
    Buffer[this->Capacity] = 0;
    Data_Start = Data_End = Line_Scan = Buffer;
}

Hst_File_Buffer::~Hst_File_Buffer() { std::free(Buffer); }

long Hst_File_Buffer::Is_Equal(const Fnd_Object&) const {
    Fnd_Assert(0, Fnd_Assertion_Message(206, My_Type), Fnd_String::Null);
    return 0;
}

bool Hst_File_Buffer::Have_Line() {
    if (Data_Start == Data_End || Line_Scan == Data_End) return false;
    if (Line_Scan < Data_Start) Line_Scan = Data_Start;
    if (*Line_Scan == '\n') return true;
    void* newline = std::memchr(Line_Scan, '\n', static_cast<size_t>(Data_End - Line_Scan));
    Line_Scan = newline ? static_cast<char*>(newline) : Data_End;
    return newline != nullptr;
}

bool Hst_File_Buffer::Have_Data(bool By_Line) {
    return By_Line ? Have_Line() : Data_Start != Data_End;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Get_Data() {
    if (Eof) return Read_Eof;
    if (Data_Start != Data_End) {
        if (Data_Start != Buffer) {
            const long count = Data_End - Data_Start;
            const long scanned = Line_Scan - Data_Start;
            std::memmove(Buffer, Data_Start, static_cast<size_t>(count));
            Data_Start = Buffer;
            Data_End = Buffer + count;
            Line_Scan = Buffer + scanned;
            *Data_End = 0;
        } else if (Data_End - Buffer == Capacity) {
            Enlarge_Buffer();
        }
    } else {
        Data_Start = Data_End = Line_Scan = Buffer;
    }
    return Fill_Buffer();
}

void Hst_File_Buffer::Enlarge_Buffer() {
    const long count = Data_End - Data_Start;
    const long scanned = Line_Scan - Data_Start;
    char* larger = static_cast<char*>(Hst_Safe_Malloc(static_cast<size_t>(Capacity) * 2 + 1));
    std::memcpy(larger, Data_Start, static_cast<size_t>(count));
    std::free(Buffer);
    Buffer = larger;
    Capacity *= 2;
    Data_Start = Buffer;
    Data_End = Buffer + count;
    Line_Scan = Buffer + scanned;
    *Data_End = 0;
    Buffer[Capacity] = 0;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Fill_Buffer() {
    const size_t room = static_cast<size_t>(Buffer + Capacity - Data_End);
    ssize_t count;
    do {
        count = ::read(Fd, Data_End, room);
    } while (count < 0 && errno == EINTR);
    if (count < 0) return errno == EAGAIN || errno == EWOULDBLOCK ? Read_No_Data : Read_Error;
    if (Diagnosing(1)) {
        Fnd_String text = AdDiagnostic::Join_With_Space(u"count", static_cast<long>(count));
        if (Diagnosing(32)) {
            Fnd_String bytes;
            (void)AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Data_End,
                                           static_cast<int>(count), bytes,
                                           AdCharset::cvt_substitute);
            text.Append(u" [ ");
            text.Append(bytes);
            text.Append(u" ]");
        }
        AdDiagnostic::Report(u"Hst_File_Buffer::Fill_Buffer", text.Data());
    }
    if (count == 0) {
        Eof = 1;
        return Read_Eof;
    }
    Data_End += count;
    *Data_End = 0;
    return Read_Ok;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Read_Failed(Fnd_Condition& Condition, int Error) {
    Condition.Set_Error(Hst_Sys_Call_Error(141, Error, static_cast<long>(Fd), 0), 1);
    Condition.Push_Error(Hst_Process_Error(3, 0, Fnd_String::Null), 1);
    return Read_Error;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Data_Status(bool By_Line, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Have_Data(By_Line)) return Read_Ok;
    Read_Status status = Get_Data();
    if (status == Read_Ok && By_Line && !Have_Line()) status = Read_Partial;
    if (status == Read_Eof && By_Line && Data_Start != Data_End) status = Read_Ok;
    if (status == Read_Error) return Read_Failed(Condition, errno);
    return status;
}

void Hst_File_Buffer::Take_Bytes(long Count) {
    Data_Start += Count;
    if (Line_Scan < Data_Start) Line_Scan = Data_Start;
    if (Data_Start == Data_End) Data_Start = Data_End = Line_Scan = Buffer;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Get_Line(const AdCharset& Charset, Fnd_String& Line,
                                                       Fnd_Condition& Condition) {
    if (!(Charset == Decoded_Charset)) {
        Decoded_Charset = Charset;
        Ascii_Fast = Ascii_Compatible(Charset);
    }
    // A buffered line needs no read (the common case, by far): its newline is looked for
    // here rather than through Have_Line, which saves a call per line. An ASCII line that
    // fits the storage of the last lines is found and widened in one pass; any other goes
    // the general way below.
#if defined(__SSE2__)
    if (const long room = Widened.Get_Buffer().Get_Allocated(); Ascii_Fast && room > 0) {
        Widened.Make_Empty();
        Widened.Extend(room);
        long count = 0;
        if (Widen_Ascii_Line(Data_Start, Data_End, &Widened[0], room, count)) [[likely]] {
            Widened.Truncate(count);
            Widened.Expunge();
            Line.Swap(Widened);
            Clear(Condition);
            Take_Bytes(count + 1);
            return Read_Ok;
        }
    }
#endif
    if (Line_Scan < Data_Start) Line_Scan = Data_Start;
    if (Line_Scan < Data_End) {
        if (const void* newline = std::memchr(Line_Scan, '\n', static_cast<size_t>(Data_End - Line_Scan))) {
            Clear(Condition);
            const long count = static_cast<const char*>(newline) - Data_Start;
            (void)Decode(Charset, Ascii_Fast, Data_Start, count, Line, Widened);
            Take_Bytes(count + 1);
            return Read_Ok;
        }
        Line_Scan = Data_End;
    }
    Read_Status status;
    do {
        status = Data_Status(true, Condition);
    } while (status == Read_Partial);
    if (status != Read_Ok) return status;
    const bool whole = Have_Line();
    const long count = (whole ? Line_Scan : Data_End) - Data_Start;
    (void)Decode(Charset, Ascii_Fast, Data_Start, count, Line, Widened);
    Take_Bytes(whole ? count + 1 : count);
    return Read_Ok;
}

Hst_File_Buffer::Read_Status Hst_File_Buffer::Get_Block(char* Block, long& Size,
                                                        Fnd_Condition& Condition) {
    Condition.Clear();
    const long wanted = Size;
    const long buffered = std::min(Unread_Count(), wanted);
    std::memcpy(Block, Data_Start, static_cast<size_t>(std::max(buffered, 0L)));
    Take_Bytes(std::max(buffered, 0L));
    Size = std::max(buffered, 0L);
    while (Size < wanted) {
        if (Eof) return Size == 0 ? Read_Eof : Read_Ok;
        pollfd ready = {Fd, POLLIN, 0};
        int polled;
        do {
            polled = ::poll(&ready, 1, Block_Wait_Ms);
        } while (polled < 0 && errno == EINTR);
        if (polled < 0) return Read_Failed(Condition, errno);
        if (polled == 0) return Read_Ok;
        ssize_t count;
        do {
            count = ::read(Fd, Block + Size, static_cast<size_t>(wanted - Size));
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            if (errno == EAGAIN || errno == EWOULDBLOCK) return Size == 0 ? Read_No_Data : Read_Ok;
            return Read_Failed(Condition, errno);
        }
        if (count == 0) {
            Eof = 1;
            return Size == 0 ? Read_Eof : Read_Ok;
        }
        Size += count;
    }
    return Read_Ok;
}

long Hst_File_Buffer::Block_Until_Is_Readable(const int* Fds) {
    std::vector<pollfd> watched;
    for (const int* fd = Fds; *fd >= 1; ++fd) watched.push_back({*fd, POLLIN, 0});
    if (watched.empty()) {
        errno = EINVAL;
        return -1;
    }
    for (;;) {
        const int polled = ::poll(watched.data(), static_cast<nfds_t>(watched.size()), -1);
        if (polled < 0 && errno == EINTR) continue;
        if (polled < 0) return -1;
        for (size_t i = 0; i < watched.size(); ++i) {
            if (watched[i].revents & POLLNVAL) {
                errno = EBADF;
                return -1;
            }
            // A closed writer shows as POLLHUP: reading then gives the end of file.
            if (watched[i].revents & (POLLIN | POLLHUP | POLLERR)) return static_cast<long>(i);
        }
    }
}
