// The open message catalogs: ICU resource bundles, at most four at a time, kept in
// order of most recent use. A catalog is found under the message directory (the
// MESSAGES switch, else <product home>/<architecture>/messages) as <directory>/<name>
// and opened for the user's interface language.
#pragma once

#include "foundation/base/fnd_semaphore.h"

class Fnd_String;
struct UResourceBundle;

// One open catalog; owns its name and its bundle.
struct Fnd_Catalog_Info {
    Fnd_String* Name;
    UResourceBundle* Bundle = nullptr;

    Fnd_Catalog_Info();
    ~Fnd_Catalog_Info();
    Fnd_Catalog_Info(const Fnd_Catalog_Info&) = delete;
    Fnd_Catalog_Info& operator=(const Fnd_Catalog_Info&) = delete;

    void Close();
};

class Fnd_Message_Catalogs {
public:
    static constexpr long Max_Cats = 4;

    // The bundle of the catalog Name, opened if need be; null when it cannot be opened
    // (also for an empty name). The catalog becomes the most recently used. The bundle
    // stays the store's.
    static UResourceBundle* Open_Catalog(const Fnd_String& Name);
    static void Close_Catalogs();

    // The same inside Catalog_Lock, which the caller holds.
    static UResourceBundle* Open_Catalog_Internal(const Fnd_String& Name);
    static void Close_Catalogs_Internal();

    // The directory under which catalogs are looked for; empty when there is none.
    static Fnd_String Message_Directory();

    // The names of the open catalogs, most recently used first (for tests and reports).
    static long Open_Count();
    static const Fnd_String& Open_Name(long Index);

    // Guards Cats and the bundles; recursive, since the message code holds it around
    // Open_Catalog_Internal.
    static Fnd_Recursive_Semaphore* Catalog_Lock;

private:
    static Fnd_Catalog_Info** Cats;
    static long Open;
};
