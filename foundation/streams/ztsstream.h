// 16-bit string streams. ztstringbuf keeps bytes in memory, in the buffer's charset
// (strict, the default charset to begin with); the zt*stringstream classes sit on it.
// ztTistringstream and ztTostringstream keep 16-bit text and convert nothing.
//
//   ztostringstream out(std::ios_base::out);
//   out.setcharset(AdCharset::getUTF8Charset());
//   out << Fnd_String(u"caf\u00E9");
//   AdMbcsString bytes = out.str();      // "caf\xC3\xA9", labelled UTF-8
#pragma once

#include <sstream>

#include "foundation/streams/ztstream.h"
#include "ztcoreutil/admbcsstring.h"

class ztstringbuf : public ztstreambuf {
public:
    explicit ztstringbuf(int Mode);
    ztstringbuf(const AdMbcsString& Init, int Mode);

    // The bytes so far, pending units included, labelled with this buffer's charset.
    AdMbcsString str() const;
    // Replaces the bytes; Text's own charset is not taken over. Units not yet read or
    // written are dropped.
    void str(const AdMbcsString& Text);

private:
    std::basic_stringbuf<char> Text;
};

// The string stream over Base, with its default mode.
template <class Base, std::ios_base::openmode Default_Mode>
class ztstring_stream : public Base {
public:
    explicit ztstring_stream(int Mode = Default_Mode) : Buffer(Mode) { Base::rdbuf(&Buffer); }
    ztstring_stream(const AdMbcsString& Init, int Mode = Default_Mode) : Buffer(Init, Mode) {
        Base::rdbuf(&Buffer);
    }

    ztstringbuf* rdbuf() const { return const_cast<ztstringbuf*>(&Buffer); }
    AdMbcsString str() const { return Buffer.str(); }
    void str(const AdMbcsString& Text) { Buffer.str(Text); }

private:
    ztstringbuf Buffer;
};

using ztistringstream = ztstring_stream<ztistream, std::ios_base::in>;
using ztostringstream = ztstring_stream<ztostream, std::ios_base::out>;
using ztstringstream = ztstring_stream<ztiostream, std::ios_base::in | std::ios_base::out>;

// A standard 16-bit string stream that reads from or gives an Fnd_String.
template <class Std_Stream, std::ios_base::openmode Default_Mode>
class ztTstring_stream : public Std_Stream {
public:
    explicit ztTstring_stream(int Mode = Default_Mode)
        : Std_Stream(static_cast<std::ios_base::openmode>(Mode)) {
        ztinitfacets(*this);
    }
    ztTstring_stream(const Fnd_String& Init, int Mode = Default_Mode)
        : Std_Stream(std::u16string(Init.Data(), Init.Get_Length()),
                     static_cast<std::ios_base::openmode>(Mode)) {
        ztinitfacets(*this);
    }

    std::locale imbue(const std::locale& Locale) { return Std_Stream::imbue(ztlocale(Locale)); }
    Fnd_String str() const {
        const std::u16string text = Std_Stream::str();
        return Fnd_String(text.data(), static_cast<long>(text.size()));
    }
    void str(const Fnd_String& Text) {
        Std_Stream::str(std::u16string(Text.Data(), Text.Get_Length()));
    }
};

using ztTistringstream = ztTstring_stream<std::basic_istringstream<Code_Unit>, std::ios_base::in>;
using ztTostringstream =
    ztTstring_stream<std::basic_ostringstream<Code_Unit>, std::ios_base::out>;
