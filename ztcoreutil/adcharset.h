// AdCharset: a cheap handle to an encoding. Behind each handle stands one cached record
// (CsCache) that lives for the rest of the process and pools ICU converters, since
// opening a converter is expensive and a converter serves one caller at a time.
#pragma once

#include <unicode/ucnv.h>

class Fnd_String;
class CsCache;

class AdCharset {
public:
    // The failure policy of a converter.
    enum converter_t {
        cvt_stop = 0,        // an unconvertible character stops the conversion; no fallbacks
        cvt_escape = 1,      // written as an XML hexadecimal escape, both ways; fallbacks
        cvt_substitute = 2   // the encoding's substitution character; fallbacks
    };

    // The null handle.
    AdCharset() : Cache(nullptr) {}
    // The encoding of that name (MIME name or ICU alias). An unknown name gives an
    // invalid handle, and asking for it again opens nothing.
    explicit AdCharset(const Fnd_String& Mime_Name);
    AdCharset(const AdCharset&) = default;
    AdCharset& operator=(const AdCharset&) = default;

    // Compares the MIME names exactly.
    bool operator==(const AdCharset& Other) const;
    bool isValid() const;
    bool isDefault() const;
    // Not for the null handle.
    unsigned int getWindowsCP() const;
    Fnd_String getMimeName() const;

    // The process's charset (from the locale at the first call), "UTF-8", "US-ASCII".
    static const AdCharset& getDefaultCharset();
    static const AdCharset& getUTF8Charset();
    static const AdCharset& getASCIICharset();

    // A converter set up for Mode, or null. Give it back with freeConverter.
    UConverter* allocateConverter(converter_t Mode) const;
    void freeConverter(UConverter* Converter, converter_t Mode) const;

private:
    CsCache* Cache;
};
