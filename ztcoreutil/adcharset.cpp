#include "ztcoreutil/adcharset.h"

#include <unicode/unistr.h>

#include <clocale>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/cmap.h"
#include "ztcoreutil/tchar.h"

// One record per encoding name or page number known to the process. Records are never
// destroyed: handles point at them for the life of the process.
class CsCache {
public:
    unsigned int Code_Page = 0;
    Fnd_String Mime_Name;
    UConverter* Master = nullptr;          // null: the encoding is unusable
    std::vector<UConverter*> Pool;         // idle clones of Master, newest last
    bool Pending = false;                  // Master not opened yet (see defer)
    bool Keeps_Ascii = false;              // ASCII bytes read as the same characters

    CsCache() = default;
    CsCache(const CsCache&) = delete;
    CsCache& operator=(const CsCache&) = delete;
    ~CsCache() {
        Close_Pool();
        if (Master) ucnv_close(Master);
    }

    // Opens the encoding of Name, or clones Existing when given.
    void init(unsigned int Page, const Fnd_String& Name, const UConverter* Existing);
    // Records Name and leaves the opening to the first use that needs the converter or
    // its standard name: a process that converts only ASCII never opens one.
    void defer(unsigned int Page, const Fnd_String& Name);
    // Opens a deferred encoding; then the record is what init would have made.
    void open() {
        if (!Pending) return;
        Pending = false;
        init(Code_Page, Mime_Name, nullptr);
    }

private:
    void Close_Pool() {
        for (UConverter* idle : Pool) ucnv_close(idle);
        Pool.clear();
    }
};

namespace {

// One lock over both maps. A one-byte object that is 1 while it exists; in the
// single-threaded configuration locking does nothing.
class CharsetMutex {
public:
    constexpr CharsetMutex() : Alive(1) {}
    ~CharsetMutex() { Alive = 0; }
    void Lock() {}
    void Unlock() {}

private:
    unsigned char Alive;
};

class CharsetMutexGuard {
public:
    explicit CharsetMutexGuard(CharsetMutex& Mutex) : Mutex(&Mutex) { this->Mutex->Lock(); }
    ~CharsetMutexGuard() { Mutex->Unlock(); }
    CharsetMutexGuard(const CharsetMutexGuard&) = delete;
    CharsetMutexGuard& operator=(const CharsetMutexGuard&) = delete;

private:
    CharsetMutex* Mutex;
};

constinit CharsetMutex Maps_Mutex;

struct Code_Page_Row {
    unsigned int Code_Page;
    const Code_Unit* Mime_Name;
};

constexpr Code_Page_Row cpMap[] = {
    {932, u"Shift_JIS"},       {936, u"GBK"},        {950, u"Big5"},
    {20127, u"US-ASCII"},      {65001, u"UTF-8"},    {28591, u"ISO-8859-1"},
    {28605, u"ISO-8859-15"},   {0, nullptr},
};

constexpr Code_Unit Windows_Prefix[] = u"windows-";
constexpr long Windows_Prefix_Length = 8;

bool Is_Ascii(const Fnd_String& Text) {
    for (long i = 0; i < Text.Get_Length(); ++i)
        if (Text[i] >= 0x80) return false;
    return true;
}

Code_Unit Ascii_Lower(Code_Unit Unit) {
    return Unit >= u'A' && Unit <= u'Z' ? static_cast<Code_Unit>(Unit - u'A' + u'a') : Unit;
}

// Case-blind equality of an ASCII text with an ASCII name: what case folding gives for
// such texts, without loading the case tables.
bool Ascii_Equal_Ignoring_Case(const Fnd_String& Text, const Code_Unit* Name) {
    long i = 0;
    for (; i < Text.Get_Length() && Name[i] != 0; ++i)
        if (Ascii_Lower(Text[i]) != Ascii_Lower(Name[i])) return false;
    return i == Text.Get_Length() && Name[i] == 0;
}

// Encodings that read every ASCII byte as the same character and write it back as that
// byte, in every state: texts of ASCII alone convert without a converter.
constexpr const Code_Unit* Ascii_Keeping_Names[] = {u"UTF-8", u"US-ASCII", u"ISO-8859-1",
                                                   u"ISO-8859-15"};

bool Name_Keeps_Ascii(const Fnd_String& Name) {
    if (!Is_Ascii(Name)) return false;
    for (const Code_Unit* known : Ascii_Keeping_Names)
        if (Ascii_Equal_Ignoring_Case(Name, known)) return true;
    return false;
}

// Case-blind equality of a name with a row's (ASCII) name.
bool Same_Name(const Fnd_String& Name, const Code_Unit* Row_Name) {
    if (Is_Ascii(Name)) return Ascii_Equal_Ignoring_Case(Name, Row_Name);
    return _tcsicmp(Name.Data(), Row_Name) == 0;
}

// The Windows code page of a name: a row of the table, or "windows-<number>" to its end.
unsigned int MimeNameToCp(const Fnd_String& Name) {
    for (const Code_Page_Row* row = cpMap; row->Mime_Name; ++row)
        if (Same_Name(Name, row->Mime_Name)) return row->Code_Page;
    if (Name.Get_Length() > Windows_Prefix_Length &&
        _tcsnicmp(Name.Data(), Windows_Prefix, Windows_Prefix_Length) == 0) {
        const Code_Unit* digits = Name.Data() + Windows_Prefix_Length;
        Code_Unit* end = nullptr;
        unsigned long page = _tcstoul(digits, &end, 10);
        if (end != digits && end == Name.Data() + Name.Get_Length())
            return static_cast<unsigned int>(page);
    }
    return 0;
}

// The name of a code page: 0 has none, a row of the table gives its name, any other
// page "windows-<page>".
Fnd_String CpToMimeName(unsigned int Code_Page) {
    if (Code_Page == 0) return Fnd_String();
    for (const Code_Page_Row* row = cpMap; row->Mime_Name; ++row)
        if (row->Code_Page == Code_Page) return Fnd_String(row->Mime_Name);
    Code_Unit digits[72];
    Fnd_String name(Windows_Prefix);
    name += _ltot(static_cast<long>(Code_Page), digits, 10);
    return name;
}

Fnd_String From_Invariant(const char* Text) {
    icu::UnicodeString text(Text, -1, US_INV);
    return Fnd_String(text.getBuffer(), text.length());
}

// The name of a converter for display: the MIME standard name, else the IANA one, else
// ICU's own. Empty when ICU gives no name at all.
Fnd_String Standard_Name(const UConverter* Converter) {
    UErrorCode status = U_ZERO_ERROR;
    const char* internal = ucnv_getName(Converter, &status);
    if (U_FAILURE(status) || !internal) return Fnd_String();
    for (const char* standard : {"MIME", "IANA"}) {
        status = U_ZERO_ERROR;
        const char* name = ucnv_getStandardName(internal, standard, &status);
        if (U_SUCCESS(status) && name && *name) return From_Invariant(name);
    }
    return From_Invariant(internal);
}

// The records by the name the caller gave, and by code page cut to 16 bits. Made on
// first use; neither ever shrinks.
CMapStringToPtr& pMimeMap() {
    static CMapStringToPtr* map = new CMapStringToPtr(37);
    return *map;
}

CMapWordToPtr& pWindowsMap() {
    static CMapWordToPtr* map = new CMapWordToPtr(37);
    return *map;
}

long Page_Key(unsigned int Code_Page) { return static_cast<long>(Code_Page & 0xFFFF); }

CsCache* Find_By_Name(const Fnd_String& Name) {
    void* record = nullptr;
    pMimeMap().Lookup(Name, record);
    return static_cast<CsCache*>(record);
}

CsCache* Find_By_Page(unsigned int Code_Page) {
    long record = 0;
    pWindowsMap().Get_Range(Page_Key(Code_Page), record);
    return reinterpret_cast<CsCache*>(record);
}

// Enters Record under Name unless a record appeared there meanwhile; the one in the map
// is the result, and a record that lost the race is destroyed.
CsCache* Enter_By_Name(const Fnd_String& Name, CsCache* Record) {
    CharsetMutexGuard guard(Maps_Mutex);
    if (CsCache* present = Find_By_Name(Name)) {
        delete Record;
        return present;
    }
    pMimeMap()[Name] = Record;
    return Record;
}

CsCache* Enter_By_Page(unsigned int Code_Page, CsCache* Record) {
    CharsetMutexGuard guard(Maps_Mutex);
    if (CsCache* present = Find_By_Page(Code_Page)) {
        delete Record;
        return present;
    }
    pWindowsMap().Bind(Page_Key(Code_Page), reinterpret_cast<long>(Record));
    return Record;
}

// The record of the locale's charset, made once. Where ICU's default converter is fixed
// when ICU is built (U_CHARSET_IS_UTF8, as on Linux) no locale changes the answer: the
// process's locale is then left as the host program set it, and the first conversion
// does not load the locale's data. The record stays outside the maps, so a process
// that converts only ASCII never makes them.
CsCache* Locale_Record() {
    static CsCache* record = [] {
        auto* made = new CsCache();
#if U_CHARSET_IS_UTF8
        made->defer(65001, Fnd_String(u"UTF-8"));  // ICU's own answer, known without asking
#else
        std::setlocale(LC_ALL, "");
        const Fnd_String name = From_Invariant(ucnv_getDefaultName());
        made->defer(MimeNameToCp(name), name);
#endif
        return made;
    }();
    return record;
}


bool Configure(UConverter* Converter, AdCharset::converter_t Mode) {
    UErrorCode status = U_ZERO_ERROR;
    switch (Mode) {
        case AdCharset::cvt_stop:
            ucnv_setFallback(Converter, false);
            ucnv_setFromUCallBack(Converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                                  nullptr, &status);
            ucnv_setToUCallBack(Converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                &status);
            break;
        case AdCharset::cvt_escape:
            ucnv_setFallback(Converter, true);
            ucnv_setFromUCallBack(Converter, UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX,
                                  nullptr, nullptr, &status);
            ucnv_setToUCallBack(Converter, UCNV_TO_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX,
                                nullptr, nullptr, &status);
            break;
        case AdCharset::cvt_substitute:
            ucnv_setFallback(Converter, true);
            ucnv_setFromUCallBack(Converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                                  nullptr, &status);
            ucnv_setToUCallBack(Converter, UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                                nullptr, &status);
            break;
    }
    return U_SUCCESS(status);
}

}  // namespace

void CsCache::defer(unsigned int Page, const Fnd_String& Name) {
    Code_Page = Page;
    Mime_Name = Name;
    Pending = true;
    Keeps_Ascii = Name_Keeps_Ascii(Name);
}

void CsCache::init(unsigned int Page, const Fnd_String& Name, const UConverter* Existing) {
    Code_Page = Page;
    Mime_Name = Name;
    Pending = false;
    // A converter handed in may be anything: only encodings opened by name are trusted.
    Keeps_Ascii = !Existing && Name_Keeps_Ascii(Name);
    // Idle converters are clones of the old master: they must not serve the new one.
    Close_Pool();
    if (Master) ucnv_close(Master);
    Master = nullptr;
    UErrorCode status = U_ZERO_ERROR;
    if (Existing) {
        UConverter* clone = ucnv_clone(Existing, &status);
        if (U_FAILURE(status) || !clone) return;
        ucnv_reset(clone);
        Master = clone;
        return;
    }
    UConverter* converter = ucnv_openU(Name.Data(), &status);
    if (U_FAILURE(status) || !converter) return;
    Master = converter;
    // Asked for by an alias, the record reports the standard form of the name.
    Fnd_String standard = Standard_Name(converter);
    if (!standard.Is_Empty()) Mime_Name = standard;
}

AdCharset::AdCharset(const Fnd_String& Mime_Name) : Cache(Find_By_Name(Mime_Name)) {
    if (Cache) return;
    // Opening may be slow: the record is made outside the lock.
    auto* record = new CsCache();
    record->defer(MimeNameToCp(Mime_Name), Mime_Name);
    Cache = Enter_By_Name(Mime_Name, record);
}

AdCharset::AdCharset(unsigned int Code_Page) : Cache(Find_By_Page(Code_Page)) {
    if (Cache) return;
    auto* record = new CsCache();
    record->defer(Code_Page, CpToMimeName(Code_Page));
    Cache = Enter_By_Page(Code_Page, record);
}

void AdCharset::registerConverter(unsigned int Code_Page, const Fnd_String& Mime_Name,
                                  UConverter* Converter) {
    CsCache* by_page = Find_By_Page(Code_Page);
    if (!by_page) by_page = Enter_By_Page(Code_Page, new CsCache());
    by_page->init(Code_Page, Mime_Name, Converter);
    CsCache* by_name = Find_By_Name(Mime_Name);
    if (!by_name) by_name = Enter_By_Name(Mime_Name, new CsCache());
    by_name->init(Code_Page, Mime_Name, Converter);
    // The locale's record answers to its name as a record of the map would.
    CsCache* locale = Locale_Record();
    if (locale->Mime_Name == Mime_Name) locale->init(Code_Page, Mime_Name, Converter);
}

bool AdCharset::sameName(const AdCharset& Other) const {
    if (!Cache || !Other.Cache) return false;
    Cache->open();
    Other.Cache->open();
    return Cache->Mime_Name == Other.Cache->Mime_Name;
}

bool AdCharset::isValid() const {
    if (!Cache) return false;
    Cache->open();
    return Cache->Master != nullptr;
}

bool AdCharset::keepsAscii() const { return Cache && Cache->Keeps_Ascii; }

bool AdCharset::isDefault() const {
    const AdCharset& fallback = getDefaultCharset();
    if (!Cache || !fallback.Cache) return false;
    Cache->open();
    fallback.Cache->open();
    return Cache->Mime_Name == fallback.Cache->Mime_Name;
}

unsigned int AdCharset::getWindowsCP() const { return Cache->Code_Page; }

Fnd_String AdCharset::getMimeName() const {
    Cache->open();
    return Cache->Mime_Name;
}

const AdCharset& AdCharset::localeCharset() {
    static const AdCharset* charset = new AdCharset(Locale_Record());
    return *charset;
}

AdCharset& AdCharset::defaultSlot() {
    static AdCharset* charset = new AdCharset(localeCharset());
    return *charset;
}

const AdCharset& AdCharset::getDefaultCharset() { return defaultSlot(); }

void AdCharset::overrideDefaultCharset(const AdCharset& Charset) {
    defaultSlot() = Charset.Cache ? Charset : localeCharset();
}

const AdCharset& AdCharset::getUTF8Charset() {
    static const AdCharset* charset = new AdCharset(Fnd_String(u"UTF-8"));
    return *charset;
}

const AdCharset& AdCharset::getASCIICharset() {
    static const AdCharset* charset = new AdCharset(Fnd_String(u"US-ASCII"));
    return *charset;
}

UConverter* AdCharset::allocateConverter(converter_t Mode) const {
    if (!isValid()) return nullptr;
    UConverter* converter;
    if (!Cache->Pool.empty()) {
        converter = Cache->Pool.back();
        Cache->Pool.pop_back();
        ucnv_reset(converter);
    } else {
        UErrorCode status = U_ZERO_ERROR;
        converter = ucnv_clone(Cache->Master, &status);
        if (U_FAILURE(status) || !converter) return nullptr;
    }
    // Set up anew whatever the converter's history, so one pool serves all modes.
    if (!Configure(converter, Mode)) {
        ucnv_close(converter);
        return nullptr;
    }
    return converter;
}

void AdCharset::freeConverter(UConverter* Converter, converter_t) const {
    if (!Converter) return;
    if (Cache)
        Cache->Pool.push_back(Converter);
    else
        ucnv_close(Converter);
}
