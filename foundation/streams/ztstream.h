// The 16-bit streams over a ztstreambuf: ztistream, ztostream and ztiostream. Each has
// the standard stream's interface plus the buffer's charset and strictness, and the
// input streams read whole lines into an Fnd_String.
//
//   ztfilebuf file;                      // or any ztstreambuf
//   ztistream in(&file);
//   Fnd_String line;
//   while (in.getline(line)) ...
#pragma once

#include <concepts>
#include <istream>
#include <ostream>

#include "foundation/base/fnd_string.h"
#include "foundation/streams/ztfacets.h"
#include "foundation/streams/ztstreambuf.h"

// The members the three stream classes share, over the standard stream Std_Stream.
template <class Std_Stream>
class ztstream_base : public Std_Stream {
public:
    ztstream_base() : Std_Stream(nullptr) { ztinitfacets(*this); }
    explicit ztstream_base(ztstreambuf* Buffer) : Std_Stream(Buffer) { ztinitfacets(*this); }

    ztstreambuf* rdbuf() const { return static_cast<ztstreambuf*>(Std_Stream::rdbuf()); }
    // Connects Buffer and clears the state (badbit for a null Buffer).
    void rdbuf(ztstreambuf* Buffer) { Std_Stream::rdbuf(Buffer); }

    // The locale goes to the stream and to the byte buffer, with the 16-bit facets kept.
    std::locale imbue(const std::locale& Locale) { return Std_Stream::imbue(ztlocale(Locale)); }

    // Without a buffer these do nothing; getcharset then gives the null handle.
    void setcharset(const AdCharset& Charset) {
        if (ztstreambuf* buffer = rdbuf()) buffer->setcharset(Charset);
    }
    AdCharset getcharset() const { return rdbuf() ? rdbuf()->getcharset() : AdCharset(); }
    void setstrict(bool Strict) {
        if (ztstreambuf* buffer = rdbuf()) buffer->setstrict(Strict);
    }
    bool getstrict() const { return rdbuf() && rdbuf()->getstrict(); }

    // One line without its line end; the last line of the input needs none. As
    // std::getline: eofbit at the end of the input, failbit when nothing was taken.
    ztstream_base& getline(Fnd_String& Line)
        requires std::derived_from<Std_Stream, std::basic_istream<Code_Unit>>
    {
        Line.Make_Empty();
        // Named through basic_istream: basic_iostream inherits a sentry from both sides.
        const std::basic_istream<Code_Unit>::sentry ready(*this, true);
        if (!ready) return *this;
        std::ios_base::iostate state = std::ios_base::goodbit;
        try {
            state = Take_Line(this->widen('\n'), Line);
        } catch (...) {
            Set_Bad_And_Rethrow_If_Asked();
        }
        if (state != std::ios_base::goodbit) this->setstate(state);
        return *this;
    }

private:
    std::ios_base::iostate Take_Line(Code_Unit Delimiter, Fnd_String& Line) {
        ztstreambuf* const buffer = rdbuf();
        long taken = 0;
        bool found = false;
        while (!found) {
            if (std::char_traits<Code_Unit>::eq_int_type(buffer->sgetc(),
                                                       std::char_traits<Code_Unit>::eof()))
                return taken == 0 ? std::ios_base::eofbit | std::ios_base::failbit
                                  : std::ios_base::eofbit;
            taken += buffer->take_until(Delimiter, Line, found);
        }
        return std::ios_base::goodbit;
    }

    void Set_Bad_And_Rethrow_If_Asked() {
        try {
            this->setstate(std::ios_base::badbit);
        } catch (const std::ios_base::failure&) {
        }
        if (this->exceptions() & std::ios_base::badbit) throw;
    }
};

class ztistream : public ztstream_base<std::basic_istream<Code_Unit>> {
public:
    using ztstream_base::ztstream_base;
};

class ztostream : public ztstream_base<std::basic_ostream<Code_Unit>> {
public:
    using ztstream_base::ztstream_base;
};

class ztiostream : public ztstream_base<std::basic_iostream<Code_Unit>> {
public:
    using ztstream_base::ztstream_base;
};
