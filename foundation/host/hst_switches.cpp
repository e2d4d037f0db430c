#include "foundation/host/hst_switches.h"

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_filesystem.h"

namespace {

// One switch: its word (the whole name for an environment switch), and its full name
// and value once looked up.
struct Switch {
    const Code_Unit* Word;
    bool Session;
    bool Survives_Clear;
    Fnd_String* Name;
    Fnd_String* Value;
};

constexpr bool Env = false;
constexpr bool Session = true;

Switch Display_Switch = {u"DISPLAY", Env, false, nullptr, nullptr};
Switch Env_Editor_Switch = {u"EDITOR", Env, false, nullptr, nullptr};
Switch Home_Switch = {u"HOME", Env, false, nullptr, nullptr};
Switch Lang_Switch = {u"LANG", Env, false, nullptr, nullptr};
Switch Library_Path_Switch = {u"LD_LIBRARY_PATH", Env, false, nullptr, nullptr};
Switch Path_Switch = {u"PATH", Env, false, nullptr, nullptr};
Switch Tmpdir_Switch = {u"TMPDIR", Env, false, nullptr, nullptr};
Switch User_Switch = {u"USER", Env, false, nullptr, nullptr};

Switch Architecture_Switch = {u"ARCH", Session, false, nullptr, nullptr};
Switch Base_Dir_Switch = {u"BASE_DIR", Session, false, nullptr, nullptr};
Switch Call_Timeout_Switch = {u"CALL_TIMEOUT", Session, false, nullptr, nullptr};
Switch Databases_Switch = {u"DATABASES", Session, true, nullptr, nullptr};
Switch Db_Driver_Switch = {u"DB_DRIVER", Session, true, nullptr, nullptr};
Switch Db_Vendor_Switch = {u"DB_VENDOR", Session, true, nullptr, nullptr};
Switch Editor_Switch = {u"EDITOR", Session, false, nullptr, nullptr};
Switch Local_Dirs_Switch = {u"LOCAL_DIRS", Session, false, nullptr, nullptr};
Switch Messages_Switch = {u"MESSAGES", Session, false, nullptr, nullptr};
Switch Product_Home_Switch = {u"HOME", Session, false, nullptr, nullptr};
Switch Morvane_Dir_Switch = {u"MORVANE_DIR", Session, false, nullptr, nullptr};
Switch Script_Path_Switch = {u"SCRIPT_PATH", Session, false, nullptr, nullptr};
Switch Temp_Dir_Switch = {u"TEMP_DIR", Session, false, nullptr, nullptr};
Switch Tool_Path_Switch = {u"TOOL_PATH", Session, false, nullptr, nullptr};
Switch Ui_Path_Switch = {u"UI_PATH", Session, false, nullptr, nullptr};
Switch User_Dir_Switch = {u"USER_DIR", Session, false, nullptr, nullptr};
Switch Xterm_Switch = {u"XTERM", Session, false, nullptr, nullptr};

Switch* const All_Switches[] = {
    &Display_Switch,      &Env_Editor_Switch, &Home_Switch,         &Lang_Switch,
    &Library_Path_Switch, &Path_Switch,       &Tmpdir_Switch,       &User_Switch,
    &Architecture_Switch, &Base_Dir_Switch,   &Databases_Switch,    &Db_Driver_Switch,
    &Db_Vendor_Switch,    &Editor_Switch,     &Local_Dirs_Switch,   &Messages_Switch,
    &Product_Home_Switch, &Morvane_Dir_Switch, &Script_Path_Switch, &Temp_Dir_Switch,
    &Tool_Path_Switch,    &Ui_Path_Switch,    &User_Dir_Switch,     &Xterm_Switch,
    &Call_Timeout_Switch};

constexpr Code_Unit Default_Prefix[] = u"ZT_";
// The build gives the default home (ZTINT_DEFAULT_PRODUCT_HOME in the top CMakeLists.txt),
// so that a default install and the library agree.
constexpr Code_Unit Default_Product_Home[] = u"" ZTINT_DEFAULT_PRODUCT_HOME;

Fnd_String* envvar_prefix = nullptr;
Fnd_String* user_dir = nullptr;
Fnd_String* Scratch = nullptr;

const Fnd_String& Name_Of(Switch& One) {
    if (One.Name == nullptr)
        One.Name = new Fnd_String(One.Session ? Hst_Switches::Normalize_Session_Switch(One.Word)
                                              : Fnd_String(One.Word));
    return *One.Name;
}

// Reads the variable into a new cache slot; true when it was there and not empty.
bool Load(Switch& One) {
    One.Value = new Fnd_String();
    Fnd_String_Library::Get_Environment(Name_Of(One), *One.Value);
    return !One.Value->Is_Empty();
}

void Write_Back(Switch& One) { Fnd_String_Library::Set_Environment(Name_Of(One), *One.Value); }

// The cached value; an empty variable takes Default (if any), which goes to the
// environment when Written is set.
const Fnd_String& Value_Of(Switch& One, const Code_Unit* Default = nullptr,
                           bool Written = false) {
    if (One.Value == nullptr && !Load(One) && Default != nullptr) {
        *One.Value = Default;
        if (Written) Write_Back(One);
    }
    return *One.Value;
}

void Set_Value(Switch& One, const Fnd_String& Value) {
    if (One.Value == nullptr)
        One.Value = new Fnd_String(Value);
    else
        *One.Value = Value;
    Write_Back(One);
}

// Appends Element to Path with one "/" between them (none after an empty path).
void Append_Element(Fnd_String& Path, const Fnd_String& Element) {
    if (!Path.Is_Empty() && Path[Path.Get_Length() - 1] != u'/') Path.Append(Fnd_Char(u'/'));
    Path.Append(Element);
}

}  // namespace

// The last row is this platform.
const Code_Unit* const platform_names[4] = {u"rs6k", u"hppa", u"x86", u"x86_64"};
const Code_Unit* const base_arch_names[4] = {u"rs6k_aix43", u"hppa_hpux", u"x86_redhat62",
                                             u"x86_64_linux"};
const Code_Unit* const arch_names[4] = {u"aix4_power", u"hp11_pa", u"linux_x86",
                                        u"linux_x86_64"};

const Code_Unit* const Hst_Dir_Table[7] = {u"base",      u"cots",     u"Zentrak", u".Morvane",
                                           u".Registry", u"/usr/lib", u"/tmp"};
const Code_Unit* const Hst_Product_Dir_Table[12] = {
    u"bin", u"doc",       u"gui",     u"icons", u"man",   u"messages",
    u"C",   u"resources", u"scripts", u"shlib", u"tools", u"widgets"};
const Code_Unit* const Hst_Extension_Table[10] = {u"dlg",     u"ext", u"links", u"man",
                                                  u"package", u"qry", u"rui",   u"so",
                                                  u"type",    u"wnd"};
const Code_Unit* const Hst_Cmd_Table[4] = {u"/bin/csh", u"emacs", u"vi", u"xterm"};
const Code_Unit* const Hst_Opt_Table[5] = {u"-client", u"-context", u"-e", u"-options",
                                           u"-title"};

// ---- Environment switches

#define HST_SWITCH_NAME(Function, Slot) \
    const Fnd_String& Hst_Switches::Function() { return Name_Of(Slot); }
#define HST_SWITCH_VALUE(Function, Slot) \
    const Fnd_String& Hst_Switches::Function() { return Value_Of(Slot); }

HST_SWITCH_NAME(Env_Display_Switch_Name, Display_Switch)
HST_SWITCH_VALUE(Env_Display_Switch_Value, Display_Switch)
HST_SWITCH_NAME(Env_Editor_Switch_Name, Env_Editor_Switch)
HST_SWITCH_VALUE(Env_Editor_Switch_Value, Env_Editor_Switch)
HST_SWITCH_NAME(Env_Home_Switch_Name, Home_Switch)
HST_SWITCH_VALUE(Env_Home_Switch_Value, Home_Switch)
HST_SWITCH_NAME(Env_Lang_Switch_Name, Lang_Switch)
HST_SWITCH_VALUE(Env_Lang_Switch_Value, Lang_Switch)
HST_SWITCH_NAME(Env_Library_Path_Switch_Name, Library_Path_Switch)
HST_SWITCH_VALUE(Env_Library_Path_Switch_Value, Library_Path_Switch)
HST_SWITCH_NAME(Env_Path_Switch_Name, Path_Switch)
HST_SWITCH_VALUE(Env_Path_Switch_Value, Path_Switch)
HST_SWITCH_NAME(Env_Tmpdir_Switch_Name, Tmpdir_Switch)
HST_SWITCH_NAME(Env_User_Switch_Name, User_Switch)
HST_SWITCH_VALUE(Env_User_Switch_Value, User_Switch)

const Fnd_String& Hst_Switches::Env_Tmpdir_Switch_Value() {
    return Value_Of(Tmpdir_Switch, u"/tmp", false);
}

// ---- Session switches

HST_SWITCH_NAME(Architecture_Switch_Name, Architecture_Switch)
HST_SWITCH_VALUE(Base_Dir_Switch_Value, Base_Dir_Switch)
HST_SWITCH_NAME(Databases_Switch_Name, Databases_Switch)
HST_SWITCH_VALUE(Databases_Switch_Value, Databases_Switch)
HST_SWITCH_NAME(Db_Driver_Switch_Name, Db_Driver_Switch)
HST_SWITCH_VALUE(Db_Driver_Switch_Value, Db_Driver_Switch)
HST_SWITCH_NAME(Db_Vendor_Switch_Name, Db_Vendor_Switch)
HST_SWITCH_VALUE(Db_Vendor_Switch_Value, Db_Vendor_Switch)
HST_SWITCH_VALUE(Editor_Switch_Value, Editor_Switch)
HST_SWITCH_VALUE(Local_Dirs_Switch_Value, Local_Dirs_Switch)
HST_SWITCH_NAME(Call_Timeout_Switch_Name, Call_Timeout_Switch)
HST_SWITCH_VALUE(Call_Timeout_Switch_Value, Call_Timeout_Switch)
HST_SWITCH_NAME(Messages_Switch_Name, Messages_Switch)
HST_SWITCH_VALUE(Messages_Switch_Value, Messages_Switch)
HST_SWITCH_NAME(Product_Home_Switch_Name, Product_Home_Switch)
HST_SWITCH_VALUE(Script_Path_Switch_Value, Script_Path_Switch)
HST_SWITCH_VALUE(Tool_Path_Switch_Value, Tool_Path_Switch)
HST_SWITCH_NAME(Ui_Path_Switch_Name, Ui_Path_Switch)
HST_SWITCH_VALUE(Ui_Path_Switch_Value, Ui_Path_Switch)

#undef HST_SWITCH_NAME
#undef HST_SWITCH_VALUE

const Fnd_String& Hst_Switches::Architecture_Switch_Value() {
    return Value_Of(Architecture_Switch, arch_names[3], true);
}

const Fnd_String& Hst_Switches::Product_Home_Switch_Value() {
    return Value_Of(Product_Home_Switch, Default_Product_Home, false);
}

const Fnd_String& Hst_Switches::Xterm_Switch_Value() {
    return Value_Of(Xterm_Switch, u"xterm", false);
}

const Fnd_String& Hst_Switches::Morvane_Dir_Switch_Value() {
    if (Morvane_Dir_Switch.Value == nullptr && !Load(Morvane_Dir_Switch)) {
        *Morvane_Dir_Switch.Value = Env_Home_Switch_Value();
        Append_Element(*Morvane_Dir_Switch.Value, Fnd_String(Hst_Dir_Table[3]));
        Write_Back(Morvane_Dir_Switch);
    }
    return *Morvane_Dir_Switch.Value;
}

const Fnd_String& Hst_Switches::User_Dir_Switch_Value() {
    if (User_Dir_Switch.Value == nullptr && !Load(User_Dir_Switch)) {
        Fnd_String& value = *User_Dir_Switch.Value;
        if (user_dir != nullptr && !user_dir->Is_Empty() && (*user_dir)[0] == u'/') {
            value = *user_dir;
        } else {
            value = Morvane_Dir_Switch_Value();
            if (user_dir != nullptr) Append_Element(value, *user_dir);
        }
        Write_Back(User_Dir_Switch);
    }
    return *User_Dir_Switch.Value;
}

const Fnd_String& Hst_Switches::Temp_Dir_Switch_Value() {
    if (Temp_Dir_Switch.Value != nullptr) return *Temp_Dir_Switch.Value;
    if (!Load(Temp_Dir_Switch)) {
        Fnd_String& value = *Temp_Dir_Switch.Value;
        value = User_Dir_Switch_Value();
        if (!value.Is_Empty()) {
            Append_Element(value, Fnd_String(u"tmp"));
        } else {
            value = Env_Tmpdir_Switch_Value();
            if (!Env_User_Switch_Value().Is_Empty())
                Append_Element(value, Env_User_Switch_Value());
        }
        Write_Back(Temp_Dir_Switch);
    }
    // The directory is wanted at once; a failure shows when it is used.
    Fnd_Condition ignored;
    Hst_Filesystem::Make_Directory(*Temp_Dir_Switch.Value, ignored, 1);
    return *Temp_Dir_Switch.Value;
}

// ---- The product prefix

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

void Hst_Switches::Set_User_Product_Dir(const Fnd_String& Directory) {
    if (user_dir == nullptr)
        user_dir = new Fnd_String(Directory);
    else
        *user_dir = Directory;
}

// ---- Setters

void Hst_Switches::Set_Env_Path(const Fnd_String& Value) { Set_Value(Path_Switch, Value); }
void Hst_Switches::Set_Env_Library_Path(const Fnd_String& Value) {
    Set_Value(Library_Path_Switch, Value);
}
void Hst_Switches::Set_Script_Path(const Fnd_String& Value) {
    Set_Value(Script_Path_Switch, Value);
}
void Hst_Switches::Set_Tool_Path(const Fnd_String& Value) { Set_Value(Tool_Path_Switch, Value); }
void Hst_Switches::Set_Ui_Path(const Fnd_String& Value) { Set_Value(Ui_Path_Switch, Value); }
void Hst_Switches::Set_Base_Dir(const Fnd_String& Value) { Set_Value(Base_Dir_Switch, Value); }
void Hst_Switches::Set_Product_Home(const Fnd_String& Value) {
    Set_Value(Product_Home_Switch, Value);
}
void Hst_Switches::Set_Db_Vendor(const Fnd_String& Value) { Set_Value(Db_Vendor_Switch, Value); }
void Hst_Switches::Set_Db_Driver(const Fnd_String& Value) { Set_Value(Db_Driver_Switch, Value); }
void Hst_Switches::Set_Databases(const Fnd_String& Value) { Set_Value(Databases_Switch, Value); }

// ---- Derived paths

Fnd_String Hst_Switches::Get_Product_Bin_Dir() {
    Fnd_String path(Product_Home_Switch_Value());
    path.Append(u"/bin");
    return path;
}

Fnd_String Hst_Switches::Get_Product_Arch_Dir() {
    Fnd_String path(Product_Home_Switch_Value());
    path.Append(u"/");
    path.Append(Architecture_Switch_Value());
    return path;
}

Fnd_String Hst_Switches::Get_Product_Arch_Bin_Dir() {
    Fnd_String path = Get_Product_Arch_Dir();
    path.Append(u"/bin");
    return path;
}

Fnd_String Hst_Switches::Get_Db_Driver(const Fnd_String& Vendor) {
    const Fnd_String driver(Db_Driver_Switch_Value());
    const Fnd_String stored(Db_Vendor_Switch_Value());
    if (!driver.Is_Empty() && stored == Vendor) return driver;
    if (!driver.Is_Empty() && stored.Is_Empty()) {
        Set_Db_Vendor(Vendor);
        return driver;
    }
    Fnd_String path = Get_Product_Arch_Dir();
    path.Append(u"/shlib/db_");
    path.Append(Vendor);
    Set_Db_Driver(path);
    Set_Db_Vendor(Vendor);
    return path;
}

void Hst_Switches::Clear_Cache() {
    for (Switch* one : All_Switches) {
        if (one->Survives_Clear) continue;
        delete one->Value;
        one->Value = nullptr;
    }
}

// ---- Platform

const Code_Unit* Hst_Switches::Any_Platform() { return u"any"; }

const Code_Unit* Hst_Switches::Arch_Platform() { return u"<arch>"; }

const Code_Unit* Hst_Switches::This_Platform() { return platform_names[3]; }

const Code_Unit* Hst_Switches::Base_Arch_Name() { return base_arch_names[3]; }

long Hst_Switches::Is_Platform_Name(const Fnd_String& Name) {
    for (const Code_Unit* platform : platform_names)
        if (Name == platform) return 1;
    return 0;
}

// ---- Access categories

namespace {

const Code_Unit* const Category_Names[] = {u"nil_access", u"preserve",    u"unmanaged",
                                           u"user_only",  u"user_group",  u"user_public",
                                           u"group_only", u"group_public", u"public"};

struct Category_Word {
    const Code_Unit* Word;
    Hst_Access_Category Category;
};

const Category_Word Category_Words[] = {
    {u"user_only", Hst_User_Only},       {u"private", Hst_User_Only},
    {u"user_group", Hst_User_Group},     {u"user_public", Hst_User_Public},
    {u"group_only", Hst_Group_Only},     {u"group_public", Hst_Group_Public},
    {u"structure", Hst_Group_Public},    {u"system", Hst_Group_Public},
    {u"subsystem", Hst_Group_Public},    {u"view", Hst_Group_Public},
    {u"public", Hst_Public},             {u"preserve", Hst_Preserve},
    {u"unmanaged", Hst_Unmanaged},       {u"nil_access", Hst_Nil_Access},
    {u"nil", Hst_Nil_Access}};

}  // namespace

const Code_Unit* Hst_Access_Category_Image(long Value) {
    if (Value < Hst_Nil_Access || Value > Hst_Public) return u"<unknown>";
    return Category_Names[Value];
}

Hst_Access_Category Hst_Access_Category_Value(const Fnd_String& Text) {
    const Fnd_String word = Fnd_String_Library::To_Lower(Text);
    for (const Category_Word& one : Category_Words)
        if (word == one.Word) return one.Category;
    return Hst_Unknown_Access;
}

long Hst_Category_Is_Managed(long Value) { return Value >= Hst_User_Only && Value <= Hst_Public; }
