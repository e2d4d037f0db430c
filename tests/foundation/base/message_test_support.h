// Helpers for message tests: private catalogs compiled with genrb, the build's shipped
// catalogs, and a message whose placeholders the test controls.
#pragma once

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unicode/uloc.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_switches.h"
#include "tests/support/ztint_temp_dir.h"

extern char** environ;

namespace message_test {

inline std::string Narrow(const Fnd_String& Text) {
    std::string out;
    for (long i = 0; i < Text.Get_Length(); ++i)
        out += Text[i] < 0x80 ? static_cast<char>(Text[i]) : '?';
    return out;
}

inline Fnd_String Wide(const std::string& Text) {
    Fnd_String out;
    for (char c : Text) out.Append(Fnd_Char(static_cast<unsigned char>(c)));
    return out;
}

// Pins the language of the catalogs: ICU's default locale, and no ZT_LANG.
inline void Pin_Language(const char* Locale = "en_US") {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault(Locale, &status);
    ASSERT_FALSE(U_FAILURE(status));
    unsetenv("ZT_LANG");
}

// Points the MESSAGES switch at Directory and forgets what was open.
inline void Use_Catalogs(const std::string& Directory) {
    setenv("ZT_MESSAGES", Directory.c_str(), 1);
    Hst_Switches::Clear_Cache();
    Fnd_Message::Refresh_Databases();
}

inline std::string Shipped_Catalogs() { return std::string(ZTINT_BUILD_DIR) + "/catalogs"; }

// A fresh catalog directory, removed at the end of the test.
class Catalog_Directory : public ZTInt_Temp_Dir {
public:
    // Compiles "Locale { Body }" into <Path>/<Catalog>/<Locale>.res.
    void Add(const std::string& Catalog, const std::string& Locale, const std::string& Body) {
        const std::string target = Path + "/" + Catalog;
        std::filesystem::create_directories(target);
        std::filesystem::create_directories(Path + "/sources");
        const std::string source = Path + "/sources/" + Catalog + "_" + Locale + ".txt";
        std::ofstream(source) << Locale << " {\n" << Body << "\n}\n";
        const char* argv[] = {"genrb", "-q", "-e", "UTF-8", "-d", target.c_str(),
                              source.c_str(), nullptr};
        pid_t child = 0;
        ASSERT_EQ(posix_spawnp(&child, "genrb", nullptr, nullptr, const_cast<char**>(argv),
                               environ),
                  0);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "genrb failed on " << source;
    }

    void Use() const { Use_Catalogs(Path); }
};

// A message of a subsystem chosen by the test, class 7, whose placeholders "file" and
// "level" answer from its fields; at level 2 any other name gives "probe-info".
class Probe_Message : public Fnd_Message {
    FND_OBJECT_MEMBERS(Probe_Message, Fnd_Message)
public:
    Probe_Message(const Code_Unit* Subsystem, long Number, const Code_Unit* File = u"")
        : Subsystem(Subsystem), Number(Number), File(File) {}
    Probe_Message(const Probe_Message&) = default;

    const Fnd_String& Subsystem_Name() const override { return Subsystem; }
    long Class_Number() const override { return 7; }
    long Text_Number() const override { return Number; }
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override {
        if (Name == u"file") return File;
        if (Name == u"level") return Fnd_String_Library::To_String(Level);
        if (Level == Fnd_Detail_Default) return Fnd_String(u"probe-info");
        return Fnd_String();
    }

    Fnd_String Subsystem;
    long Number;
    Fnd_String File;
};

}  // namespace message_test
