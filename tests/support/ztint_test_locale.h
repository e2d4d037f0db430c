// Pins what formatted text depends on, for tests that compare exact texts: UTC,
// the C locale, ICU's default locale en_US, no ZT_LANG.
#pragma once

#include <clocale>
#include <cstdlib>
#include <ctime>

#include <unicode/uloc.h>

inline void ZTInt_Test_Pin_Locale()
{
    setenv("TZ", "UTC", 1);
    tzset();
    setenv("LC_ALL", "C", 1);
    std::setlocale(LC_ALL, "C");
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("en_US", &status);
    unsetenv("ZT_LANG");
}

#include "foundation/base/fnd_message.h"
#include "foundation/host/hst_switches.h"

// Points the catalog lookup at the catalogs this build compiled and forgets any
// catalog opened before, so that failures print their texts.
inline void ZTInt_Test_Use_Shipped_Catalogs()
{
    setenv("ZT_MESSAGES", ZTINT_BUILD_DIR "/catalogs", 1);
    Hst_Switches::Clear_Cache();
    Fnd_Message::Refresh_Databases();
}
