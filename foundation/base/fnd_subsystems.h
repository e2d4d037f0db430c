// The names of the foundation's subsystems. Each is at once the Subsystem_Name of the
// subsystem's messages and the name of its message catalog. Made on first use.
#pragma once

class Fnd_String;

struct Fnd {
    static const Fnd_String& Name();  // "Base"
};

struct Kor {
    static const Fnd_String& Name();  // "Abstract_Types"
};

struct Utl_Editor_Utilities {
    static const Fnd_String& Name();  // "Editor_Utilities"
};

struct Hst {
    static const Fnd_String& Name();  // "Host_Interface"
};

struct Tio {
    static const Fnd_String& Name();  // "Input_Output"
};
