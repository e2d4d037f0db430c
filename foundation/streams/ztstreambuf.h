// ztstreambuf: a buffer of 16-bit code units over a byte buffer. Units written are
// converted to the bytes of Charset on their way out; bytes read are converted to units.
// The byte buffer is not owned. A strict buffer stops at a character that does not
// convert; a lenient one writes it as an XML hexadecimal escape.
//
//   std::stringbuf bytes;
//   ztstreambuf units(&bytes, true);
//   ztostream out(&units);
//   out << Fnd_String(u"na\u00EFve") << std::flush;   // bytes holds UTF-8 or the default
//
// Buffers of 1024 units are allocated by the direction used; the converter comes from
// Charset's pool at the first read or write and goes back with setcharset, setstrict or
// the destructor.
#pragma once

#include <streambuf>

#include "foundation/base/fnd_code_unit.h"
#include "ztcoreutil/adcharset.h"

class Fnd_String;

class ztstreambuf : public std::basic_streambuf<Code_Unit> {
public:
    static constexpr int Buffer_Units = 1024;

    ztstreambuf(std::basic_streambuf<char>* Bytes, bool Strict);
    ~ztstreambuf() override;
    ztstreambuf(const ztstreambuf&) = delete;
    ztstreambuf& operator=(const ztstreambuf&) = delete;

    // Both send pending output in the old setting and give the converter back, so the
    // next read or write converts with the new one. Units already read stay as they are.
    void setcharset(const AdCharset& Charset);
    const AdCharset& getcharset() const { return Charset; }
    void setstrict(bool Strict);
    bool getstrict() const { return Strict; }

    // Appends to Line the units of the get area up to Delimiter and consumes them, and
    // the delimiter too when it is there (Found). The number of units consumed. Reads
    // nothing from the byte side: a caller refills the get area with sgetc.
    long take_until(Code_Unit Delimiter, Fnd_String& Line, bool& Found);

protected:
    int_type underflow() override;
    int_type overflow(int_type C) override;
    int sync() override;
    void imbue(const std::locale& Locale) override;

    std::basic_streambuf<char>* bytes() const { return Bytes; }
    void set_bytes(std::basic_streambuf<char>* New_Bytes) { Bytes = New_Bytes; }
    // Converts the put area to bytes; Flush also ends a stateful encoding's shift state.
    // On a failure the put area is dropped and the converter reset.
    bool send_output(bool Flush);
    // Forgets the units of both areas, as when the byte side is replaced.
    void discard_areas();

private:
    AdCharset::converter_t Mode() const;
    bool Ensure_Converter();
    void Release_Converter();
    // One block of bytes into Input_Buffer; the number of units, or -1 at the end.
    long Fill_Input();

    AdCharset Charset;
    bool Strict;
    std::basic_streambuf<char>* Bytes;
    UConverter* Converter = nullptr;
    Code_Unit* Input_Buffer = nullptr;
    Code_Unit* Output_Buffer = nullptr;
};
