// 16-bit file streams: ztfilebuf converts between units and the bytes of a file, strict
// by default, and reads and writes the byte-order marks of the Unicode encodings.
//
//   ztifstream in(u"notes.txt", std::ios_base::in);
//   in.setcharset(AdCharset::getDefaultCharset());
//   in.readUTFMarker();                  // a mark at the start overrides the charset
//   Fnd_String line;
//   while (in.getline(line)) ...
//
// Open modes are the standard library's (std::ios_base::openmode as an int); binary is
// always added. The file is opened close-on-exec and created with 0666 less the umask.
#pragma once

#include <ext/stdio_filebuf.h>
#include <memory>

#include "foundation/streams/ztstream.h"

class ztfilebuf : public ztstreambuf {
public:
    ztfilebuf();
    // Closes an open file, sending the units not yet written.
    ~ztfilebuf() override;

    // Name is converted to the default charset; a name that does not convert, a mode
    // that names no file access, or a failed open give null. An open buffer gives null.
    ztfilebuf* open(const Code_Unit* Name, int Mode);
    // Sends pending output and closes the file; null when either fails or none is open.
    ztfilebuf* close();
    bool is_open() const { return File != nullptr; }
    // The descriptor of the open file; -1 when none is open.
    int fd() const { return File ? File->fd() : -1; }

    // At the start of the file: takes a byte-order mark, if any, and sets the charset
    // from it. False only when bytes that were looked at could not be put back.
    bool readUTFMarker();
    // At the start of the file: writes the byte-order mark of a Unicode charset. False
    // when the file is not at its start or the mark did not go out whole.
    bool writeUTFMarker();

private:
    std::unique_ptr<__gnu_cxx::stdio_filebuf<char>> File;
};

// The file stream over Base (ztistream, ztostream or ztiostream); open adds Direction.
template <class Base, std::ios_base::openmode Direction>
class ztfile_stream : public Base {
public:
    ztfile_stream() { Base::rdbuf(&Buffer); }
    ztfile_stream(const Code_Unit* Name, int Mode) : ztfile_stream() { open(Name, Mode); }

    // Success clears the state; failure sets failbit.
    void open(const Code_Unit* Name, int Mode) {
        if (Buffer.open(Name, Mode | static_cast<int>(Direction)))
            this->clear();
        else
            this->setstate(std::ios_base::failbit);
    }
    void close() {
        if (!Buffer.close()) this->setstate(std::ios_base::failbit);
    }
    bool is_open() const { return Buffer.is_open(); }
    ztfilebuf* rdbuf() const { return const_cast<ztfilebuf*>(&Buffer); }

    // Both set failbit on a false result, and return it.
    bool readUTFMarker()
        requires(Direction != std::ios_base::out)
    {
        return Checked(Buffer.readUTFMarker());
    }
    bool writeUTFMarker()
        requires(Direction != std::ios_base::in)
    {
        return Checked(Buffer.writeUTFMarker());
    }

private:
    bool Checked(bool Result) {
        if (!Result) this->setstate(std::ios_base::failbit);
        return Result;
    }

    ztfilebuf Buffer;
};

using ztifstream = ztfile_stream<ztistream, std::ios_base::in>;
using ztofstream = ztfile_stream<ztostream, std::ios_base::out>;
using ztfstream = ztfile_stream<ztiostream, std::ios_base::openmode{}>;
