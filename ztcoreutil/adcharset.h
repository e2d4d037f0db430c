// AdCharset: a cheap handle to an encoding, found by MIME name (or any ICU alias) or by
// Windows code page number. Behind each handle stands one cached record (CsCache) that
// lives for the rest of the process and pools ICU converters, since opening a converter
// is expensive and a converter serves one caller at a time. A record opens its
// encoding at the first use that needs it, not when the handle is made.
//
//   const AdCharset& charset = AdCharset::getDefaultCharset();
//   UConverter* converter = charset.allocateConverter(AdCharset::cvt_stop);
//   if (converter) {
//       ... ucnv_fromUChars(converter, ...) ...
//       charset.freeConverter(converter, AdCharset::cvt_stop);
//   }
//
// A record asked for by name and a record asked for by number are distinct, even for
// the same encoding; each map keeps the key its caller gave.
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
    // The encoding of a Windows code page: a page of the known table by its MIME name,
    // any other page as "windows-<page>". The record is keyed by the page cut to 16 bits.
    explicit AdCharset(unsigned int Code_Page);
    // The encoding of that name (MIME name or ICU alias). An unknown name gives an
    // invalid handle, and asking for it again opens nothing.
    explicit AdCharset(const Fnd_String& Mime_Name);
    AdCharset(const AdCharset&) = default;
    AdCharset& operator=(const AdCharset&) = default;
    ~AdCharset() = default;

    // Compares the MIME names exactly (case-sensitive). Two null handles are equal. The
    // usual case, two handles on one record, is decided inline.
    bool operator==(const AdCharset& Other) const { return Cache == Other.Cache || sameName(Other); }
    bool isValid() const;
    bool isDefault() const;
    // True when the encoding reads ASCII bytes as the same characters and writes them
    // back as those bytes (UTF-8, US-ASCII, ISO-8859-1, ISO-8859-15 by name): such texts
    // convert without opening a converter. False for the null handle and for encodings
    // installed by registerConverter.
    bool keepsAscii() const;
    // Not for the null handle.
    unsigned int getWindowsCP() const;
    Fnd_String getMimeName() const;

    // The process's charset (from the locale at the first call), "UTF-8", "US-ASCII".
    // Each is made on first use and lives as long as the process.
    static const AdCharset& getDefaultCharset();
    static const AdCharset& getUTF8Charset();
    static const AdCharset& getASCIICharset();

    // Stands Charset in for the process's default charset, seen also through references
    // obtained earlier; a null handle puts back the charset of the locale. For tests:
    // ICU names UTF-8 as the default on this platform whatever the locale. Values that
    // other layers converted and cached before the change keep their old conversion.
    static void overrideDefaultCharset(const AdCharset& Charset);

    // A converter set up for Mode, or null. Give it back with freeConverter.
    UConverter* allocateConverter(converter_t Mode) const;
    // Back to the pool; Mode plays no part, allocateConverter sets a converter anew.
    void freeConverter(UConverter* Converter, converter_t Mode) const;

    // Installs an encoding from a converter opened by the caller, under Code_Page and
    // under Mime_Name. The records keep clones: the caller still owns Converter. An
    // existing record of that page or name is set up anew and its idle converters closed.
    static void registerConverter(unsigned int Code_Page, const Fnd_String& Mime_Name,
                                  UConverter* Converter);

private:
    explicit AdCharset(CsCache* Record) : Cache(Record) {}
    // Two handles on different records: whether their MIME names are the same.
    bool sameName(const AdCharset& Other) const;
    // The charset of the locale, made once, on a record of its own outside the maps.
    static const AdCharset& localeCharset();
    // The default charset as handed out: the locale's unless a test stood in another.
    static AdCharset& defaultSlot();

    CsCache* Cache;
};
