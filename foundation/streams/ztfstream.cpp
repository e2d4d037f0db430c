#include "foundation/streams/ztfstream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "ztcoreutil/admbcsstring.h"

namespace {

using Bytes_File = __gnu_cxx::stdio_filebuf<char>;
constexpr int End_Of_File = std::char_traits<char>::eof();

// open(2) flags of a stream open mode, as fopen reads its mode letters; -1 for a mode
// that names no file access.
int Open_Flags(std::ios_base::openmode Mode) {
    using std::ios_base;
    const ios_base::openmode access =
        Mode & (ios_base::in | ios_base::out | ios_base::trunc | ios_base::app);
    if (access == ios_base::in) return O_RDONLY;
    if (access == ios_base::out || access == (ios_base::out | ios_base::trunc))
        return O_WRONLY | O_CREAT | O_TRUNC;
    if (access == ios_base::app || access == (ios_base::out | ios_base::app))
        return O_WRONLY | O_CREAT | O_APPEND;
    if (access == (ios_base::in | ios_base::out)) return O_RDWR;
    if (access == (ios_base::in | ios_base::out | ios_base::trunc))
        return O_RDWR | O_CREAT | O_TRUNC;
    if (access == (ios_base::in | ios_base::app) ||
        access == (ios_base::in | ios_base::out | ios_base::app))
        return O_RDWR | O_CREAT | O_APPEND;
    return -1;
}

int Open_Descriptor(const char* Path, int Flags) {
    int fd;
    do fd = ::open(Path, Flags | O_CLOEXEC, 0666);
    while (fd < 0 && errno == EINTR);
    return fd;
}

struct Utf_Marker {
    const char16_t* Mime_Name;
    const char* Bytes;
    int Length;
};

constexpr Utf_Marker Utf_Markers[] = {
    {u"UTF-8", "\xEF\xBB\xBF", 3},        {u"UTF-16LE", "\xFF\xFE", 2},
    {u"UTF-16BE", "\xFE\xFF", 2},         {u"UTF-32LE", "\xFF\xFE\x00\x00", 4},
    {u"UTF-32BE", "\x00\x00\xFE\xFF", 4},
};

// Reads bytes of a file one at a time and can put them all back.
class Byte_Peeker {
public:
    explicit Byte_Peeker(Bytes_File& File) : File(File) {}

    // The next byte, or -1 at the end of the file.
    int Next() {
        const int byte = File.sbumpc();
        if (byte == End_Of_File) return -1;
        Seen[Count++] = static_cast<unsigned char>(byte);
        return byte;
    }
    // Puts back the bytes after the first Keep; false when the file refuses one.
    bool Keep(int Keep_Count) {
        while (Count > Keep_Count)
            if (File.sputbackc(static_cast<char>(Seen[--Count])) == End_Of_File) return false;
        return true;
    }

private:
    Bytes_File& File;
    unsigned char Seen[4] = {};
    int Count = 0;
};

// The charset named by the mark at the start of File, which is consumed; an empty name
// when there is none. Sets Put_Back_Failed when looked-at bytes could not be put back.
const char16_t* Take_Utf_Marker(Bytes_File& File, bool& Put_Back_Failed) {
    Byte_Peeker peek(File);
    const char16_t* found = nullptr;
    int length = 0;
    switch (peek.Next()) {
    case 0xFF:
        if (peek.Next() != 0xFE) break;
        found = u"UTF-16LE", length = 2;
        if (peek.Next() == 0x00 && peek.Next() == 0x00) found = u"UTF-32LE", length = 4;
        break;
    case 0xFE:
        if (peek.Next() == 0xFF) found = u"UTF-16BE", length = 2;
        break;
    case 0x00:
        if (peek.Next() == 0x00 && peek.Next() == 0xFE && peek.Next() == 0xFF)
            found = u"UTF-32BE", length = 4;
        break;
    case 0xEF:
        if (peek.Next() == 0xBB && peek.Next() == 0xBF) found = u"UTF-8", length = 3;
        break;
    default:
        break;
    }
    Put_Back_Failed = !peek.Keep(length);
    return found;
}

}  // namespace

ztfilebuf::ztfilebuf() : ztstreambuf(nullptr, true) {}

ztfilebuf::~ztfilebuf() {
    if (is_open()) close();
}

ztfilebuf* ztfilebuf::open(const Code_Unit* Name, int Mode) {
    if (is_open() || !Name) return nullptr;
    AdMbcsString path;
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop))
        return nullptr;
    const auto mode = static_cast<std::ios_base::openmode>(Mode) | std::ios_base::binary;
    const int flags = Open_Flags(mode);
    if (flags < 0) return nullptr;
    const int fd = Open_Descriptor(path.getString().c_str(), flags);
    if (fd < 0) return nullptr;
    auto file = std::make_unique<Bytes_File>(fd, mode);
    if (!file->is_open()) {
        ::close(fd);
        return nullptr;
    }
    // Writing-only append starts at the end, so that the position tells the truth.
    const bool to_end = (mode & std::ios_base::ate) ||
                        ((flags & O_APPEND) && !(mode & std::ios_base::in));
    if (to_end && file->pubseekoff(0, std::ios_base::end) == std::streampos(-1)) return nullptr;
    File = std::move(file);
    set_bytes(File.get());
    discard_areas();
    return this;
}

ztfilebuf* ztfilebuf::close() {
    if (!is_open()) return nullptr;
    const bool synced = sync() == 0;
    const bool closed = File->close() != nullptr;
    File.reset();
    set_bytes(nullptr);
    discard_areas();
    return synced && closed ? this : nullptr;
}

bool ztfilebuf::writeUTFMarker() {
    if (!is_open() || pbase() != pptr()) return false;
    if (File->pubseekoff(0, std::ios_base::cur, std::ios_base::out) != std::streampos(0))
        return false;
    const Fnd_String name = getcharset().getMimeName();
    for (const Utf_Marker& marker : Utf_Markers) {
        if (name != marker.Mime_Name) continue;
        return File->sputn(marker.Bytes, marker.Length) == marker.Length;
    }
    return true;
}

bool ztfilebuf::readUTFMarker() {
    if (!is_open() || gptr() != egptr()) return true;
    bool put_back_failed = false;
    const char16_t* name = Take_Utf_Marker(*File, put_back_failed);
    if (put_back_failed) return false;
    if (!name) return true;
    const Fnd_String mime_name(name);
    setcharset(mime_name == u"UTF-8" ? AdCharset::getUTF8Charset() : AdCharset(mime_name));
    return true;
}
