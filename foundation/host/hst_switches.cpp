#include "foundation/host/hst_switches.h"

#include <cstring>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// A session switch: its word, and its full name and value once looked up.
struct Session_Switch {
    const Code_Unit* Word;
    Fnd_String* Name;
    Fnd_String* Value;
};

Session_Switch Messages_Switch = {u"MESSAGES", nullptr, nullptr};
Session_Switch Product_Home_Switch = {u"HOME", nullptr, nullptr};
Session_Switch Architecture_Switch = {u"ARCH", nullptr, nullptr};

Session_Switch* const Session_Switches[] = {&Messages_Switch, &Product_Home_Switch,
                                            &Architecture_Switch};

constexpr Code_Unit Default_Prefix[] = u"ZT_";
constexpr Code_Unit Default_Product_Home[] = u"/opt/morvane/zentrak";

Fnd_String* envvar_prefix = nullptr;
Fnd_String* Scratch = nullptr;

const Fnd_String& Switch_Name(Session_Switch& Switch) {
    if (Switch.Name == nullptr)
        Switch.Name = new Fnd_String(Hst_Switches::Normalize_Session_Switch(Switch.Word));
    return *Switch.Name;
}

// The cached value; an empty variable takes Default, which goes to the environment
// when Write_Back is set.
const Fnd_String& Switch_Value(Session_Switch& Switch, const Code_Unit* Default,
                               bool Write_Back) {
    if (Switch.Value == nullptr) {
        Switch.Value = new Fnd_String();
        Fnd_String_Library::Get_Environment(Switch_Name(Switch), *Switch.Value);
        if (Switch.Value->Is_Empty() && Default != nullptr) {
            *Switch.Value = Default;
            if (Write_Back) Fnd_String_Library::Set_Environment(*Switch.Name, *Switch.Value);
        }
    }
    return *Switch.Value;
}

}  // namespace

// The last row is this platform.
const Code_Unit* const platform_names[4] = {u"rs6k", u"hppa", u"x86", u"x86_64"};
const Code_Unit* const base_arch_names[4] = {u"rs6k_aix43", u"hppa_hpux", u"x86_redhat62",
                                             u"x86_64_linux"};
const Code_Unit* const arch_names[4] = {u"aix4_power", u"hp11_pa", u"linux_x86",
                                        u"linux_x86_64"};

const Code_Unit* const Hst_Product_Dir_Table[12] = {
    u"bin", u"doc",    u"gui",       u"icons",   u"man",   u"messages",
    u"C",   u"resources", u"scripts", u"shlib", u"tools", u"widgets"};

const Fnd_String& Hst_Switches::Messages_Switch_Name() { return Switch_Name(Messages_Switch); }

const Fnd_String& Hst_Switches::Messages_Switch_Value() {
    return Switch_Value(Messages_Switch, nullptr, false);
}

const Fnd_String& Hst_Switches::Product_Home_Switch_Name() {
    return Switch_Name(Product_Home_Switch);
}

const Fnd_String& Hst_Switches::Product_Home_Switch_Value() {
    return Switch_Value(Product_Home_Switch, Default_Product_Home, false);
}

const Fnd_String& Hst_Switches::Architecture_Switch_Name() {
    return Switch_Name(Architecture_Switch);
}

const Fnd_String& Hst_Switches::Architecture_Switch_Value() {
    return Switch_Value(Architecture_Switch, arch_names[3], true);
}

void Hst_Switches::Set_Product_Prefix(const Fnd_String& Prefix) {
    if (envvar_prefix == nullptr)
        envvar_prefix = new Fnd_String(Prefix);
    else
        *envvar_prefix = Prefix;
}

const Fnd_String* Hst_Switches::Get_Product_Prefix() { return envvar_prefix; }

const Fnd_String& Hst_Switches::Normalize_Session_Switch(const Fnd_String& Word) {
    if (Scratch == nullptr) Scratch = new Fnd_String(32L, 1L);
    *Scratch = envvar_prefix != nullptr ? *envvar_prefix : Fnd_String(Default_Prefix);
    Scratch->Append(Word);
    return *Scratch;
}

void Hst_Switches::Clear_Cache() {
    for (Session_Switch* one : Session_Switches) {
        delete one->Value;
        one->Value = nullptr;
    }
}

const Code_Unit* Hst_Switches::Any_Platform() { return u"any"; }

const Code_Unit* Hst_Switches::Arch_Platform() { return u"<arch>"; }

const Code_Unit* Hst_Switches::This_Platform() { return platform_names[3]; }

const Code_Unit* Hst_Switches::Base_Arch_Name() { return base_arch_names[3]; }

long Hst_Switches::Is_Platform_Name(const Fnd_String& Name) {
    for (const Code_Unit* platform : platform_names)
        if (Name == platform) return 1;
    return 0;
}

Fnd_String Hst_Strerror(int Number) {
    Fnd_String text;
    char buffer[256];
    // The GNU strerror_r returns the text, which need not lie in the buffer.
    const char* bytes = strerror_r(Number, buffer, sizeof buffer);
    if (bytes == nullptr ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes, text,
                                  AdCharset::cvt_substitute))
        text.Make_Empty();
    return text;
}
