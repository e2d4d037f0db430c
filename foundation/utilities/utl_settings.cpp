#include "foundation/utilities/utl_settings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>
#include <unordered_map>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_switches.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_file_string_map.h"
#include "foundation/utilities/utl_pathname.h"
#include "ztcoreutil/admbcsstring.h"

const Code_Unit Utl_Settings::name_Settings_Parent[] = u"ZTIntSvr";

namespace {

// What identifies one version of a file on disk. A save replaces the file by a new
// one, so the inode changes with every save even within one clock tick.
struct File_Stamp {
    dev_t Device = 0;
    ino_t Inode = 0;
    off_t Size = 0;
    struct timespec Modified {};

    bool operator==(const File_Stamp& Other) const {
        return Device == Other.Device && Inode == Other.Inode && Size == Other.Size &&
               Modified.tv_sec == Other.Modified.tv_sec && Modified.tv_nsec == Other.Modified.tv_nsec;
    }
};

// The file's stamp; false when it can't be looked at (missing, or no access).
bool Stamp_Of(const Fnd_String& File, File_Stamp& Stamp) {
    AdMbcsString path;
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), File, AdCharset::cvt_stop) ||
        path.getData() == nullptr)
        return false;
    struct stat status {};
    int result;
    do {
        result = stat(path.getData(), &status);
    } while (result != 0 && errno == EINTR);
    if (result != 0) return false;
    Stamp.Device = status.st_dev;
    Stamp.Inode = status.st_ino;
    Stamp.Size = status.st_size;
    Stamp.Modified = status.st_mtim;
    return true;
}

struct Record {
    bool Fresh = false;  // false: read the file at the next use
    File_Stamp Stamp;
    Utl_File_String_Map Map{17, Utl_Case_Unchanged, false};
};

using Record_Table = std::unordered_map<std::u16string, std::unique_ptr<Record>>;

// Made on first use and kept to the end of the process.
Record_Table& Files() {
    static Record_Table* files = new Record_Table;
    return *files;
}

std::u16string Key_Of(const Fnd_String& File) {
    return std::u16string(File.Data(), static_cast<std::size_t>(File.Get_Length()));
}

enum class Purpose { Get, Add, Remove };

bool Read_Into(Fnd_Condition& Condition, Record& Entry, const Fnd_String& File,
               const File_Stamp& Stamp) {
    Entry.Map.Read(Condition, File);
    Entry.Fresh = !Condition.Failed();
    Entry.Stamp = Stamp;
    return Entry.Fresh;
}

void Directory_Of(const Fnd_String& File, Fnd_String& Dir) { Utl_Pathname::Dirname(File, Dir); }

// A new file goes only into a directory of the effective user: one that another user
// owns could have the file taken away or replaced under us.
bool Check_Directory(Fnd_Condition& Condition, const Fnd_String& File) {
    Fnd_String dir;
    Directory_Of(File, dir);
    if (dir.Is_Empty()) dir = u".";
    AdMbcsString path;
    struct stat status {};
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), dir, AdCharset::cvt_stop) ||
        path.getData() == nullptr || stat(path.getData(), &status) != 0) {
        Condition = Utl_Text_Error(Fnd_String(u"the settings directory ") + dir +
                                   u" cannot be looked at");
        return false;
    }
    if (status.st_uid == geteuid()) return true;
    Fnd_String text(u"the settings directory ");
    text.Append(dir);
    text.Append(u" is owned by user id ");
    Fnd_String_Library::To_String(text, static_cast<long>(status.st_uid), 10, 0, 1);
    text.Append(u", not by this user (");
    Fnd_String_Library::To_String(text, static_cast<long>(geteuid()), 10, 0, 1);
    text.Append(u"): the settings file is not saved there");
    Condition = Utl_Text_Error(text);
    return false;
}

// The record of File with the content on disk now. Null when there is nothing to
// work on: the condition then says whether that is a failure.
Record* Current(Fnd_Condition& Condition, const Fnd_String& File, Purpose Use) {
    Condition.Clear();
    Record_Table& files = Files();
    File_Stamp stamp;
    const bool exists = Stamp_Of(File, stamp);
    const auto found = files.find(Key_Of(File));
    if (found != files.end()) {
        Record& entry = *found->second;
        if (!exists) {
            // Deleted behind our back: it has no fields now.
            entry.Map.Make_Empty();
            entry.Fresh = false;
            if (Use != Purpose::Add) return nullptr;
        } else if (!entry.Fresh || !(stamp == entry.Stamp)) {
            if (!Read_Into(Condition, entry, File, stamp)) return nullptr;
            return &entry;
        } else {
            return &entry;
        }
    } else if (exists) {
        auto entry = std::make_unique<Record>();
        entry->Map.Set_Default_File(File);
        if (!Read_Into(Condition, *entry, File, stamp)) return nullptr;
        return files.emplace(Key_Of(File), std::move(entry)).first->second.get();
    } else if (Use != Purpose::Add) {
        return nullptr;
    }
    // A new file for Add_Setting: make its directories.
    Fnd_String dir;
    Directory_Of(File, dir);
    if (!dir.Is_Empty()) {
        Utl_Pathname::Create_Path(Condition, dir);
        if (Condition.Failed()) return nullptr;
    }
    auto& slot = files[Key_Of(File)];
    if (slot == nullptr) {
        slot = std::make_unique<Record>();
        slot->Map.Set_Default_File(File);
    }
    return slot.get();
}

bool Save(Fnd_Condition& Condition, Record& Entry, const Fnd_String& File) {
    if (!Check_Directory(Condition, File)) {
        Entry.Fresh = false;
        return false;
    }
    Entry.Map.Save(Condition, Fnd_String::Null);
    // After a failure the memory differs from the disk: read the disk again next time.
    Entry.Fresh = !Condition.Failed() && Stamp_Of(File, Entry.Stamp);
    return !Condition.Failed();
}

}  // namespace

void Utl_Settings::Get_Pathname(Fnd_String& Path, const Utl_Settings_Location& Where) {
    Path.Make_Empty();
    if (!Where.Absolute) {
        Path = Hst_Switches::Morvane_Dir_Switch_Value();
        Utl_Pathname::Append(Path, Fnd_String(Hst_Dir_Table[4]));
    }
    Utl_Pathname::Append(Path, Where.Product);
    Utl_Pathname::Append(Path, Where.Version);
    Utl_Pathname::Append(Path, Where.Subdir);
    if (!Where.Subdir.Is_Empty()) Utl_Pathname::Append(Path, Where.Subdir2);
    Utl_Pathname::Append(Path, Where.File);
}

bool Utl_Settings::Get_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                               const Fnd_String& Name, const Fnd_String*& Value) {
    Value = nullptr;
    Record* entry = Current(Condition, File, Purpose::Get);
    if (entry == nullptr) return false;
    Fnd_String* found = nullptr;
    if (!entry->Map.Get_Range(Name, found) || found == nullptr) return false;
    Value = found;
    return true;
}

bool Utl_Settings::Add_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                               const Fnd_String& Name, const Fnd_String& Value) {
    Condition.Clear();
    if (!Utl_File_String_Map::Is_Field_Name(Name)) {
        Condition = Utl_Text_Error(Fnd_String(u"the field name \"") + Name +
                                   u"\" cannot be written to a settings file");
        return false;
    }
    Record* entry = Current(Condition, File, Purpose::Add);
    if (entry == nullptr) return false;
    entry->Map.Bind(Name, Value);
    return Save(Condition, *entry, File);
}

bool Utl_Settings::Remove_Setting(Fnd_Condition& Condition, const Fnd_String& File,
                                  const Fnd_String& Name) {
    Record* entry = Current(Condition, File, Purpose::Remove);
    if (entry == nullptr) return !Condition.Failed();
    if (!entry->Map.Unbind(Name)) return true;
    return Save(Condition, *entry, File);
}

void Utl_Settings::Refresh(const Fnd_String& File) {
    const auto found = Files().find(Key_Of(File));
    if (found != Files().end()) found->second->Fresh = false;
}

void Utl_Settings::Forget_All() { Files().clear(); }
