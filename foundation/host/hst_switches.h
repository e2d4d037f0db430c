// Hst_Switches: the library's one view of its configuration by environment. A switch is
// an environment variable with a known name and default. Environment switches have the
// system's plain names (HOME, PATH, ...). Session switches are named by the product
// prefix ("ZT_" unless set otherwise) and a word: the session switch MESSAGES is the
// variable ZT_MESSAGES. A value is read on first use and kept until Clear_Cache or a
// setter; it is returned by reference to the cached string. Some defaults are written
// back to the environment, so that child processes see the same answer.
//
// Beside the class stand the platform tables and small host functions.
#pragma once

#include <pthread.h>
#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <iosfwd>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

class Hst_Switches {
public:
    // ---- Environment switches: the value is empty when the variable is unset.
    static const Fnd_String& Env_Display_Switch_Name();
    static const Fnd_String& Env_Display_Switch_Value();
    static const Fnd_String& Env_Editor_Switch_Name();
    static const Fnd_String& Env_Editor_Switch_Value();
    static const Fnd_String& Env_Home_Switch_Name();
    static const Fnd_String& Env_Home_Switch_Value();
    static const Fnd_String& Env_Lang_Switch_Name();
    static const Fnd_String& Env_Lang_Switch_Value();
    static const Fnd_String& Env_Library_Path_Switch_Name();
    static const Fnd_String& Env_Library_Path_Switch_Value();
    static const Fnd_String& Env_Path_Switch_Name();
    static const Fnd_String& Env_Path_Switch_Value();
    // "/tmp" when unset; the variable stays unset.
    static const Fnd_String& Env_Tmpdir_Switch_Name();
    static const Fnd_String& Env_Tmpdir_Switch_Value();
    static const Fnd_String& Env_User_Switch_Name();
    static const Fnd_String& Env_User_Switch_Value();

    // ---- Session switches
    // ARCH: this platform's architecture name by default, written to the environment.
    static const Fnd_String& Architecture_Switch_Name();
    static const Fnd_String& Architecture_Switch_Value();
    static const Fnd_String& Base_Dir_Switch_Value();
    // CALL_TIMEOUT: seconds a call of the RPC core may wait for its answer; empty (the
    // default) for as long as it takes.
    static const Fnd_String& Call_Timeout_Switch_Name();
    static const Fnd_String& Call_Timeout_Switch_Value();
    static const Fnd_String& Databases_Switch_Name();
    static const Fnd_String& Databases_Switch_Value();
    static const Fnd_String& Db_Driver_Switch_Name();
    static const Fnd_String& Db_Driver_Switch_Value();
    static const Fnd_String& Db_Vendor_Switch_Name();
    static const Fnd_String& Db_Vendor_Switch_Value();
    static const Fnd_String& Editor_Switch_Value();
    static const Fnd_String& Local_Dirs_Switch_Value();
    // MESSAGES: the directory of the message catalogs; no default (the catalogs are
    // then looked for below the product home).
    static const Fnd_String& Messages_Switch_Name();
    static const Fnd_String& Messages_Switch_Value();
    // HOME: the product's installation directory; "/opt/morvane/zentrak" by default,
    // which is not written to the environment.
    static const Fnd_String& Product_Home_Switch_Name();
    static const Fnd_String& Product_Home_Switch_Value();
    // MORVANE_DIR: by default HOME with ".Morvane" appended; written back.
    static const Fnd_String& Morvane_Dir_Switch_Value();
    static const Fnd_String& Script_Path_Switch_Value();
    // TEMP_DIR: by default the user directory with "tmp" appended; written back. The
    // directory is made on first use.
    static const Fnd_String& Temp_Dir_Switch_Value();
    static const Fnd_String& Tool_Path_Switch_Value();
    static const Fnd_String& Ui_Path_Switch_Name();
    static const Fnd_String& Ui_Path_Switch_Value();
    // USER_DIR: by default the Morvane directory, or the directory given to
    // Set_User_Product_Dir (relative to the Morvane directory unless absolute);
    // written back.
    static const Fnd_String& User_Dir_Switch_Value();
    // XTERM: "xterm" by default.
    static const Fnd_String& Xterm_Switch_Value();

    // ---- The product prefix
    // Replaces "ZT_" (the text carries its own trailing underscore). Names already
    // cached keep the prefix they were made with.
    static void Set_Product_Prefix(const Fnd_String& Prefix);
    // Null when never set.
    static const Fnd_String* Get_Product_Prefix();
    // The prefix followed by Word, in one scratch string: valid until the next call.
    static const Fnd_String& Normalize_Session_Switch(const Fnd_String& Word);
    static void Set_User_Product_Dir(const Fnd_String& Directory);

    // ---- Setters: the cache and the environment variable.
    static void Set_Env_Path(const Fnd_String& Value);
    static void Set_Env_Library_Path(const Fnd_String& Value);
    static void Set_Script_Path(const Fnd_String& Value);
    static void Set_Tool_Path(const Fnd_String& Value);
    static void Set_Ui_Path(const Fnd_String& Value);
    static void Set_Base_Dir(const Fnd_String& Value);
    static void Set_Product_Home(const Fnd_String& Value);
    static void Set_Db_Vendor(const Fnd_String& Value);
    static void Set_Db_Driver(const Fnd_String& Value);
    static void Set_Databases(const Fnd_String& Value);

    // ---- Derived paths
    static Fnd_String Get_Product_Bin_Dir();       // <home>/bin
    static Fnd_String Get_Product_Arch_Dir();      // <home>/<arch>
    static Fnd_String Get_Product_Arch_Bin_Dir();  // <home>/<arch>/bin
    // The driver of a database vendor: the stored driver when it belongs to Vendor (or
    // to no vendor yet), else <home>/<arch>/shlib/db_<vendor>, which is stored.
    static Fnd_String Get_Db_Driver(const Fnd_String& Vendor);

    // Forgets the cached values of all switches but Databases, Db_Vendor and
    // Db_Driver; names stay.
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

// Host directory tables.
extern const Code_Unit* const Hst_Dir_Table[7];
extern const Code_Unit* const Hst_Product_Dir_Table[12];
extern const Code_Unit* const Hst_Extension_Table[10];
extern const Code_Unit* const Hst_Cmd_Table[4];
extern const Code_Unit* const Hst_Opt_Table[5];
enum { Hst_Product_Messages_Dir = 5 };

// Access policies of a path.
enum Hst_Access_Category {
    Hst_Nil_Access = 0,
    Hst_Preserve = 1,
    Hst_Unmanaged = 2,
    Hst_User_Only = 3,
    Hst_User_Group = 4,
    Hst_User_Public = 5,
    Hst_Group_Only = 6,
    Hst_Group_Public = 7,
    Hst_Public = 8,
    Hst_Unknown_Access = 9
};
// "nil_access" ... "public"; "<unknown>" for another value.
const Code_Unit* Hst_Access_Category_Image(long Value);
// The category of a name in any case (with the synonyms "private", "structure",
// "system", "subsystem", "view", "nil"); 9 for an unknown name.
Hst_Access_Category Hst_Access_Category_Value(const Fnd_String& Text);
// 3 to 8.
long Hst_Category_Is_Managed(long Value);

// ---- Host functions
// The system's text for an errno value, converted leniently from the default charset;
// empty if there is none.
Fnd_String Hst_Strerror(int Number);
int Hst_Fsync(int Fd);
time_t Hst_Mktime(struct tm* Time);
int Hst_Usleep(unsigned long Microseconds);
void* Hst_Memmove(void* Target, const void* Source, std::size_t Size);
void* Hst_thr_getspecific(pthread_key_t Key);
// The working directory, at most Size units with the terminator, into Buffer; null on
// failure (also when it does not fit or does not convert).
Code_Unit* Hst_Getcwd(Code_Unit* Buffer, std::size_t Size);
// The resolved path in Buffer and its data; null on any failure.
const Code_Unit* Hst_Realpath(const Fnd_String& Path, Fnd_String& Buffer);
// lchown; -1 when the path does not convert.
int Hst_Lchown(const Fnd_String& Path, uid_t Owner, gid_t Group);
// Whether a process of that id exists (one we may not signal counts).
long Hst_Process_Exists(pid_t Pid);
// SIG_IGN with an empty mask and no flags; the result of sigaction.
int Hst_Ignore_Signal(int Number);
// No group is ignored here: 0.
long Hst_Ignore_Group(long Id);
// The soft limit of open descriptors; 0 if it cannot be read.
long Hst_Max_Open_Files();
void Hst_Enable_Full_Core_Dumps();
// A regular file with an execute bit whose header is an executable of this platform
// (ELF, class, byte order and machine of this build). With Fd -1 the path is opened
// and closed again; a given descriptor is put back at its position.
long Hst_Is_Binary_Executable(const Fnd_String& Path, int Fd);
// Releases the system's directory-service binding; there is none to release here.
void Hst_Free_File_Resources();
// 1 if the file opens and is not empty. When it does not open, Too_Many tells whether
// the process or the system ran out of descriptors.
long Hst_Pre_Catalog_Open(const Fnd_String& Path, long& Too_Many);
// The descriptor inside a 16-bit file stream; -1 for a stream over anything else or a
// file that is not open.
int Hst_Get_File_Descriptor_From_IStream(std::basic_istream<char16_t>& Stream);
int Hst_Get_File_Descriptor_From_OStream(std::basic_ostream<char16_t>& Stream);
