// Hst_Switches: the library's one view of its configuration by environment. A switch is
// an environment variable with a known name and default. Session switches are named by
// the product prefix ("ZT_" unless set otherwise) and a word: the session switch
// MESSAGES is the variable ZT_MESSAGES. A value is read on first use and kept until
// Clear_Cache; it is returned by reference to the cached string.
//
// Beside the class stand the platform tables and small host functions.
#pragma once

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

class Hst_Switches {
public:
    // ---- Session switches
    // MESSAGES: the directory of the message catalogs; no default.
    static const Fnd_String& Messages_Switch_Name();
    static const Fnd_String& Messages_Switch_Value();
    // HOME: the product's installation directory; "/opt/morvane/zentrak" by default,
    // which is not written to the environment.
    static const Fnd_String& Product_Home_Switch_Name();
    static const Fnd_String& Product_Home_Switch_Value();
    // ARCH: the architecture's directory name; by default this platform's, which is
    // written to the environment so that child processes see the same.
    static const Fnd_String& Architecture_Switch_Name();
    static const Fnd_String& Architecture_Switch_Value();

    // ---- The product prefix
    // Replaces "ZT_" (the text carries its own trailing underscore). Names already
    // cached keep the prefix they were made with.
    static void Set_Product_Prefix(const Fnd_String& Prefix);
    // Null when never set.
    static const Fnd_String* Get_Product_Prefix();
    // The prefix followed by Word, in one scratch string: valid until the next call.
    static const Fnd_String& Normalize_Session_Switch(const Fnd_String& Word);

    // Forgets the cached values (not the names): the next look-up reads the environment.
    static void Clear_Cache();

    // ---- Platform
    static const Code_Unit* Any_Platform();   // "any"
    static const Code_Unit* Arch_Platform();  // "<arch>"
    static const Code_Unit* This_Platform();
    static const Code_Unit* Base_Arch_Name();
    static long Is_Platform_Name(const Fnd_String& Name);
};

// Platform rows, this platform last.
extern const Code_Unit* const platform_names[4];
extern const Code_Unit* const base_arch_names[4];
extern const Code_Unit* const arch_names[4];

// Directory names below the product home ("bin", "doc", ..., entry 5 "messages").
extern const Code_Unit* const Hst_Product_Dir_Table[12];
enum { Hst_Product_Messages_Dir = 5 };

// The system's text for an errno value, converted leniently from the default charset;
// empty if there is none.
Fnd_String Hst_Strerror(int Number);
