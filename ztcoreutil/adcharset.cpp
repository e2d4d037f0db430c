#include "ztcoreutil/adcharset.h"

#include <unicode/unistr.h>

#include <clocale>
#include <string>
#include <unordered_map>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/tchar.h"

// One record per encoding name known to the process. Records are never destroyed:
// handles point at them for the life of the process.
class CsCache {
public:
    unsigned int Code_Page = 0;
    Fnd_String Mime_Name;
    UConverter* Master = nullptr;          // null: the encoding is unusable
    std::vector<UConverter*> Pool;         // idle clones of Master, newest last

    ~CsCache() {
        if (Master) ucnv_close(Master);
    }

    void init(unsigned int Page, const Fnd_String& Name);
};

namespace {

struct Code_Page_Row {
    unsigned int Code_Page;
    const Code_Unit* Mime_Name;
};

constexpr Code_Page_Row cpMap[] = {
    {932, u"Shift_JIS"},       {936, u"GBK"},        {950, u"Big5"},
    {20127, u"US-ASCII"},      {65001, u"UTF-8"},    {28591, u"ISO-8859-1"},
    {28605, u"ISO-8859-15"},   {0, nullptr},
};

// The Windows code page of a name: a row of the table, or "windows-<number>".
unsigned int MimeNameToCp(const Fnd_String& Name) {
    for (const Code_Page_Row* row = cpMap; row->Mime_Name; ++row)
        if (_tcsicmp(Name.Data(), row->Mime_Name) == 0) return row->Code_Page;
    if (Name.Get_Length() > 8 && _tcsnicmp(Name.Data(), u"windows-", 8) == 0) {
        Code_Unit* end = nullptr;
        unsigned long page = _tcstoul(Name.Data() + 8, &end, 10);
        if (end == Name.Data() + Name.Get_Length()) return static_cast<unsigned int>(page);
    }
    return 0;
}

// The name of an ICU converter for display: the MIME standard name, else the IANA
// one, else ICU's own.
Fnd_String Standard_Name(UConverter* Converter) {
    UErrorCode status = U_ZERO_ERROR;
    const char* internal = ucnv_getName(Converter, &status);
    if (U_FAILURE(status) || !internal) return Fnd_String();
    const char* name = nullptr;
    for (const char* standard : {"MIME", "IANA"}) {
        status = U_ZERO_ERROR;
        name = ucnv_getStandardName(internal, standard, &status);
        if (U_SUCCESS(status) && name) break;
        name = nullptr;
    }
    if (!name) name = internal;
    icu::UnicodeString text(name, -1, US_INV);
    return Fnd_String(text.getBuffer(), text.length());
}

// The records by the name the caller gave. Made on first use, never shrinks.
std::unordered_map<std::u16string, CsCache*>& pMimeMap() {
    static auto* map = new std::unordered_map<std::u16string, CsCache*>();
    return *map;
}

std::u16string Key(const Fnd_String& Name) {
    return std::u16string(Name.Data(), static_cast<size_t>(Name.Get_Length()));
}

}  // namespace

void CsCache::init(unsigned int Page, const Fnd_String& Name) {
    Code_Page = Page;
    Mime_Name = Name;
    if (Master) ucnv_close(Master);
    Master = nullptr;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_openU(Name.Data(), &status);
    if (U_FAILURE(status) || !converter) return;
    Master = converter;
    Fnd_String standard = Standard_Name(converter);
    if (!standard.Is_Empty()) Mime_Name = standard;
}

AdCharset::AdCharset(const Fnd_String& Mime_Name) : Cache(nullptr) {
    auto& map = pMimeMap();
    auto found = map.find(Key(Mime_Name));
    if (found != map.end()) {
        Cache = found->second;
        return;
    }
    // Opening may be slow: the record is made before the map is touched again.
    auto* record = new CsCache();
    record->init(MimeNameToCp(Mime_Name), Mime_Name);
    auto inserted = map.emplace(Key(Mime_Name), record);
    if (!inserted.second) delete record;  // the name appeared meanwhile
    Cache = inserted.first->second;
}

bool AdCharset::operator==(const AdCharset& Other) const {
    if (Cache == Other.Cache) return true;
    if (!Cache || !Other.Cache) return false;
    return Cache->Mime_Name == Other.Cache->Mime_Name;
}

bool AdCharset::isValid() const { return Cache && Cache->Master; }

bool AdCharset::isDefault() const {
    return Cache && Cache->Mime_Name == getDefaultCharset().getMimeName();
}

unsigned int AdCharset::getWindowsCP() const { return Cache->Code_Page; }

Fnd_String AdCharset::getMimeName() const { return Cache->Mime_Name; }

const AdCharset& AdCharset::getDefaultCharset() {
    static const AdCharset* charset = [] {
        std::setlocale(LC_ALL, "");
        icu::UnicodeString name(ucnv_getDefaultName(), -1, US_INV);
        return new AdCharset(Fnd_String(name.getBuffer(), name.length()));
    }();
    return *charset;
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
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter;
    if (!Cache->Pool.empty()) {
        converter = Cache->Pool.back();
        Cache->Pool.pop_back();
        ucnv_reset(converter);
    } else {
        converter = ucnv_clone(Cache->Master, &status);
        if (U_FAILURE(status) || !converter) return nullptr;
    }
    // Set up anew whatever the converter's history, so one pool serves all modes.
    switch (Mode) {
        case cvt_stop:
            ucnv_setFallback(converter, false);
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr,
                                  nullptr, &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                                &status);
            break;
        case cvt_escape:
            ucnv_setFallback(converter, true);
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX,
                                  nullptr, nullptr, &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_HEX,
                                nullptr, nullptr, &status);
            break;
        case cvt_substitute:
            ucnv_setFallback(converter, true);
            ucnv_setFromUCallBack(converter, UCNV_FROM_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                                  nullptr, &status);
            ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_SUBSTITUTE, nullptr, nullptr,
                                nullptr, &status);
            break;
    }
    if (U_FAILURE(status)) {
        ucnv_close(converter);
        return nullptr;
    }
    return converter;
}

void AdCharset::freeConverter(UConverter* Converter, converter_t) const {
    if (Converter && Cache) Cache->Pool.push_back(Converter);
}
