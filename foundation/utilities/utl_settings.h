// Utl_Settings: the settings files of the process, each held in memory as a
// Utl_File_String_Map and read again when the file on disk has changed (another
// process's save shows at the next call). All names are full file names.
//
//   Fnd_String file;
//   Utl_Settings::Get_Pathname(file, {u"Zentrak", u"7.1", u"Login-abc", u"ZTIntSvr"});
//   Fnd_Condition condition;
//   if (!Utl_Settings::Add_Setting(condition, file, u"user", u"jane")) ...
//   const Fnd_String* value = nullptr;
//   if (Utl_Settings::Get_Setting(condition, file, u"user", value)) ...
//
// A file is saved as a whole, atomically, mode 0600 (Utl_File_String_Map::Save). The
// directories of a new file are made as needed; a save into a directory that another
// user owns is refused. Two processes that save the same file replace each other's
// changes. Not for use from several threads at once.
#pragma once

#include "foundation/base/fnd_string.h"

class Fnd_Condition;

// The parts of a settings file's name, each left out when empty.
struct Utl_Settings_Location {
    Fnd_String Product;
    Fnd_String Version;
    Fnd_String File;
    Fnd_String Subdir;
    Fnd_String Subdir2;    // only below Subdir
    bool Absolute = false;  // else below <Morvane directory>/.Registry
};

class Utl_Settings {
public:
    Utl_Settings() = delete;

    // The directory of the client's settings below the version: "ZTIntSvr".
    static const Code_Unit name_Settings_Parent[];

    // [<Morvane directory>/.Registry/]<product>/<version>/<subdir>/<subdir2>/<file>.
    static void Get_Pathname(Fnd_String& Path, const Utl_Settings_Location& Where);

    // True and Value pointing at the field's value (valid until the next call of this
    // class) if the file has the field. False with a clear condition for a missing
    // file or field; false with the reason when the file can't be read.
    [[nodiscard]] static bool Get_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                                          const Fnd_String& Name, const Fnd_String*& Value);
    // Binds the field and saves the file before returning. A name that can't be
    // written to a settings file is refused.
    [[nodiscard]] static bool Add_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                                          const Fnd_String& Name, const Fnd_String& Value);
    // Removes the field and saves the file; true also when there was nothing to remove.
    [[nodiscard]] static bool Remove_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                                             const Fnd_String& Name);
    // The next use reads the file again, changed or not.
    static void Refresh(const Fnd_String& File);
    // Forgets every file held in memory.
    static void Forget_All();
};
