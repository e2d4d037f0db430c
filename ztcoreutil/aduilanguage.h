// AdUILanguage: the language of the user interface, which picks the message catalogs.
// A locale; a bogus locale is an invalid language. The process-wide language starts
// from ICU's default locale, replaced by the variable ZT_LANG when that holds a valid
// locale name.
#pragma once

#include <unicode/locid.h>

class CStringArray;
class Fnd_String;

class AdUILanguage : public icu::Locale {
public:
    // ICU's default locale, or ZT_LANG when set to a valid name.
    AdUILanguage();
    // The name in US-ASCII, canonicalised; a name that does not convert gives a bogus
    // locale.
    explicit AdUILanguage(const Fnd_String& Name);
    AdUILanguage(const AdUILanguage&) = default;
    AdUILanguage& operator=(const AdUILanguage&) = default;

    bool isValid() const { return !isBogus(); }

    // The process-wide language, made on first use. setDefault assigns into the
    // existing object, so references obtained earlier see the change.
    static const AdUILanguage& getDefault();
    static void setDefault(const AdUILanguage& Language);

    // The locale's full name; "root" for English, whose texts live in the root bundle
    // of a catalog.
    const char* getICULocale() const;

    // The bundle names to try for this language, most specific first: with language L,
    // script S and country C, "L_S_C", "L_S" (with a script), "L_C", "L-C" (with a
    // country), "L". Empty for a bogus locale.
    void getSearchList(CStringArray& Out) const;

    // Chinese without a script gets one (Hant for Taiwan and Hong Kong, else Hans).
    static void canonicalizeScript(icu::Locale& Locale);

private:
    static AdUILanguage* m_default;
};
