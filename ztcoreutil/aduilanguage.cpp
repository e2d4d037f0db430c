#include "ztcoreutil/aduilanguage.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/ccollections.h"
#include "ztcoreutil/admbcsstring.h"

AdUILanguage* AdUILanguage::m_default = nullptr;

AdUILanguage::AdUILanguage() : icu::Locale(icu::Locale::getDefault()) {
    const char* requested = std::getenv("ZT_LANG");
    if (requested != nullptr && *requested != '\0') {
        // The name must be plain ASCII; a bad value is ignored.
        bool ascii = true;
        for (const char* p = requested; *p; ++p)
            if (static_cast<unsigned char>(*p) > 0x7f) ascii = false;
        if (ascii) {
            icu::Locale chosen = icu::Locale::createCanonical(requested);
            if (!chosen.isBogus()) icu::Locale::operator=(chosen);
        }
    }
    canonicalizeScript(*this);
}

AdUILanguage::AdUILanguage(const Fnd_String& Name) {
    AdMbcsString ascii;
    if (!ascii.cvtFromTchar(AdCharset::getASCIICharset(), Name, AdCharset::cvt_stop)) {
        setToBogus();
        return;
    }
    icu::Locale::operator=(icu::Locale::createCanonical(ascii.getData()));
    canonicalizeScript(*this);
}

const AdUILanguage& AdUILanguage::getDefault() {
    if (m_default == nullptr) m_default = new AdUILanguage();
    return *m_default;
}

void AdUILanguage::setDefault(const AdUILanguage& Language) {
    if (m_default == nullptr)
        m_default = new AdUILanguage(Language);
    else
        *m_default = Language;
}

const char* AdUILanguage::getICULocale() const {
    if (std::strcmp(getLanguage(), "en") == 0) return "root";
    return getName();
}

void AdUILanguage::canonicalizeScript(icu::Locale& Locale) {
    if (*Locale.getScript() != '\0' || std::strcmp(Locale.getLanguage(), "zh") != 0) return;
    std::string country = Locale.getCountry();
    std::string name;
    if (country == "TW" || country == "HK")
        name = "zh_Hant_" + country;
    else if (country.empty())
        name = "zh_Hans";
    else
        name = "zh_Hans_" + country;
    Locale = icu::Locale(name.c_str());
}

namespace {

void Add_Name(CStringArray& Out, const std::string& Name) {
    Fnd_String text;
    for (char c : Name) text += static_cast<unsigned short>(static_cast<unsigned char>(c));
    Out.Add(text);
}

}  // namespace

void AdUILanguage::getSearchList(CStringArray& Out) const {
    Out.Make_Empty();
    if (isBogus()) return;
    const std::string language = getLanguage();
    const std::string script = getScript();
    const std::string country = getCountry();
    if (!script.empty()) {
        if (!country.empty()) Add_Name(Out, language + "_" + script + "_" + country);
        Add_Name(Out, language + "_" + script);
    }
    if (!country.empty()) {
        Add_Name(Out, language + "_" + country);
        Add_Name(Out, language + "-" + country);
    }
    Add_Name(Out, language);
}
