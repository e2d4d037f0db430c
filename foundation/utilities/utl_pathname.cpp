#include "foundation/utilities/utl_pathname.h"

#include <wordexp.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_array.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_switches.h"
#include "foundation/host/hst_user.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_string_set.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

long Trace_Level = 0;

// The most a file's contents may hold: the conversion counts in int.
constexpr int64_t Max_Contents = 0x3FFFFFFF;

void Trace(const Code_Unit* Operation, const Fnd_String& Path) {
    if (Trace_Level < 2) return;
    Fnd_String line(u"==> Utl_Pathname::");
    line.Append(Operation);
    line.Append(u" ");
    line.Append(Path);
    Tio_Out.Put_Line(line);
}

// The files to delete at the end, made on first use.
std::unique_ptr<Utl_String_Set>& Temp_Deletees() {
    static std::unique_ptr<Utl_String_Set> set;
    return set;
}

long Last_Index(const Fnd_String& Text, Code_Unit Unit, long From) {
    for (long i = From; i >= 0; --i)
        if (Text[i] == Unit) return i;
    return -1;
}

bool Starts_With(const Fnd_String& Text, const Code_Unit* Prefix) {
    const long length = static_cast<long>(std::char_traits<char16_t>::length(Prefix));
    return Text.Get_Length() >= length && Text.Compare(0, length, Prefix, 0) == 1;
}

bool Get_Info(const Fnd_String& Path, Hst_File_Info& Info) {
    Fnd_Condition condition;
    Hst_Filesystem::Get_Info(Path, Info, condition);
    return !condition.Failed();
}

// A traced test of what the file at Path is: false when there is no such file.
template <class Test>
long Test_File(const Code_Unit* Operation, const Fnd_String& Path, Test Is) {
    Trace(Operation, Path);
    Hst_File_Info info;
    return Get_Info(Path, info) && Is(info);
}

// The lines of Text, as split at "\n".
void Split_Lines(const Fnd_String& Text, std::vector<Fnd_String>& Lines) {
    long start = 0;
    const long length = Text.Get_Length();
    for (long i = 0; i <= length; ++i) {
        if (i == length || Text[i] == u'\n') {
            if (i < length || start < length) Lines.push_back(Text.Get(start, i - start));
            start = i + 1;
        }
    }
}

long Read_Lines(const Fnd_String& File, std::vector<Fnd_String>& Lines) {
    Fnd_Condition condition;
    Fnd_String text;
    if (!Utl_Pathname::Is_File(File) ||
        !Utl_Pathname::Get_File_Contents(condition, File, text))
        return 0;
    Split_Lines(text, Lines);
    return 1;
}

Fnd_String Product_File(const Fnd_String& Name) {
    Fnd_String path;
    Utl_Pathname::Combine(Hst_Switches::Product_Home_Switch_Value(), Name, path);
    return path;
}

void Add_Entry(Fnd_String_Array& Array, Fnd_String& List, const Fnd_String& Entry) {
    Array.Add(Entry);
    if (!List.Is_Empty()) List.Append(u":");
    List.Append(Entry);
}

// Dir/Element, and with Arch also Dir/<arch>/Element.
void Add_Product_Dir(Fnd_String_Array& Array, Fnd_String& List, const Fnd_String& Dir,
                     const Fnd_String& Element, long With_Arch) {
    Fnd_String entry;
    Utl_Pathname::Combine(Dir, Element, entry);
    Add_Entry(Array, List, entry);
    if (!With_Arch) return;
    Utl_Pathname::Combine(Dir, Hst_Switches::Architecture_Switch_Value(), entry);
    Utl_Pathname::Append(entry, Element);
    Add_Entry(Array, List, entry);
}

void Build_Default_Path(Fnd_String_Array& Array, Fnd_String& List, const Fnd_String& Element,
                        const Code_Unit* Word, long With_Arch) {
    Array.Make_Empty();
    List.Make_Empty();
    Add_Product_Dir(Array, List, Hst_Switches::Product_Home_Switch_Value(), Element, With_Arch);
    Fnd_String_Array locals;
    if (Utl_Pathname::Get_Local_Dirs(locals))
        for (long i = locals.Get_First(); i <= locals.Get_Last(); ++i)
            Add_Product_Dir(Array, List, *locals[i], Element, With_Arch);
    if (Word != nullptr) Utl_Pathname::Add_Other_Dirs_To_Path(Array, List, Fnd_String(Word));
    Add_Product_Dir(Array, List, Hst_Switches::User_Dir_Switch_Value(), Element, With_Arch);
}

using Switch_Value = const Fnd_String& (*)();
using Switch_Setter = void (*)(const Fnd_String&);

// The switch split, or the default path built and stored in the switch.
void Search_Path(Fnd_String_Array& Array, Switch_Value Value, Switch_Setter Setter,
                 long Dir_Id, const Code_Unit* Word, long With_Arch) {
    if (!Value().Is_Empty()) {
        Utl_Pathname::Split_Path_List(Value(), Array);
        return;
    }
    Fnd_String list;
    Utl_Pathname::Default_Path(Array, list, Dir_Id, Word, With_Arch);
    Setter(list);
}

void Path_Files(Fnd_String_Array& Array, const Fnd_String& Name, long First_Only,
                long From_End, void (*Path)(Fnd_String_Array&)) {
    Path(Array);
    Utl_Pathname::Process_Path(Array, Name, First_Only, From_End);
}

long Path_File(Fnd_String& Name, long From_End, void (*Path)(Fnd_String_Array&)) {
    Fnd_String_Array array;
    Path_Files(array, Name, 1, From_End, Path);
    if (array.Count() == 0) return 0;
    Name = *array[array.Get_First()];
    return 1;
}

void Add_Entry_Name(const Fnd_String& Name, void* Object, Fnd_Condition&) {
    auto* target = static_cast<std::pair<const Fnd_String*, Fnd_String_Array*>*>(Object);
    Fnd_String full;
    Utl_Pathname::Combine(*target->first, Name, full);
    target->second->Add(full);
}

// "/usr/tmp/<user>" if that is a directory or can be made, else "/usr/tmp".
void Unix_Temp_Dir(Fnd_String& Dir) {
    Dir = u"/usr/tmp";
    Fnd_String user_dir;
    Utl_Pathname::Combine(Dir, Hst_User::Name(), user_dir);
    Fnd_Condition condition;
    if (!Utl_Pathname::Is_Directory(user_dir))
        Hst_Filesystem::Make_Directory(user_dir, condition, 1);
    if (Utl_Pathname::Is_Directory(user_dir)) Dir = user_dir;
}

// Characters that make wordexp refuse a pattern, or that would ask it to run a command.
bool Is_Plain_Word(const Fnd_String& Pattern) {
    for (long i = 0; i < Pattern.Get_Length(); ++i) {
        const Code_Unit unit = Pattern[i];
        if (unit == u'`' || unit == u'\n' || unit == u';' || unit == u'|' || unit == u'&' ||
            unit == u'<' || unit == u'>' || unit == u'(' || unit == u')' || unit == u'{' ||
            unit == u'}')
            return false;
    }
    return true;
}

}  // namespace

void Utl_Pathname::Set_Trace(long Level) { Trace_Level = Level; }

// ---- String work

void Utl_Pathname::Dirname(const Fnd_String& Path, Fnd_String& Dir, long Levels) {
    long end = Path.Get_Length() - 2;
    long found = -1;
    for (long level = 0; level < Levels; ++level) {
        found = Last_Index(Path, u'/', end);
        if (found < 0) break;
        end = found - 1;
    }
    if (found < 0)
        Dir.Make_Empty();
    else if (found == 0)
        Dir = u"/";
    else
        Dir = Path.Get(0, found);
}

void Utl_Pathname::Basename(const Fnd_String& Path, Fnd_String& Name) {
    const long found = Last_Index(Path, u'/', Path.Get_Length() - 2);
    Name = found < 0 ? Path : Path.Get(found + 1, Path.Get_Length() - found - 1);
}

long Utl_Pathname::Extension_Pos(const Fnd_String& Path) {
    for (long i = Path.Get_Length() - 1; i >= 0; --i) {
        if (Path[i] == u'.') return i;
        if (Path[i] == u'/') return -1;
    }
    return -1;
}

void Utl_Pathname::Extension(const Fnd_String& Path, Fnd_String& Text) {
    const long pos = Extension_Pos(Path);
    if (pos < 0)
        Text.Make_Empty();
    else
        Text = Path.Get(pos + 1, Path.Get_Length() - pos - 1);
}

void Utl_Pathname::Unextended(Fnd_String& Path) {
    const long pos = Extension_Pos(Path);
    if (pos >= 0) Path.Truncate(pos);
}

void Utl_Pathname::Unextended(const Fnd_String& Path, Fnd_String& Text) {
    Text = Path;
    Unextended(Text);
}

void Utl_Pathname::Add_Extension(Fnd_String& Path, const Fnd_String& Extension) {
    Path.Append(u".");
    Path.Append(Extension);
}

void Utl_Pathname::Split_Head(const Fnd_String& Path, Fnd_String& Head, Fnd_String& Tail,
                              long Count, char16_t Separator) {
    long seen = 0;
    for (long i = 1; i < Path.Get_Length(); ++i) {
        if (Path[i] != Separator || ++seen < Count) continue;
        Head = Path.Get(0, i);
        Tail = Path.Get(i + 1, Path.Get_Length() - i - 1);
        return;
    }
    Head = Path;
    Tail.Make_Empty();
}

long Utl_Pathname::Is_Qualified(const Fnd_String& Path) {
    return !Path.Is_Empty() && Path[0] == u'/';
}

long Utl_Pathname::Is_Simple_Name(const Fnd_String& Path) { return Path.Find(u'/') < 0; }

void Utl_Pathname::Append(Fnd_String& Path, const Fnd_String& Element) {
    if (Element.Is_Empty()) return;
    if (!Path.Is_Empty() && Path[Path.Get_Length() - 1] != u'/') Path.Append(u"/");
    Path.Append(Element);
}

void Utl_Pathname::Combine(const Fnd_String& Dir, const Fnd_String& Element, Fnd_String& Path) {
    Fnd_String result(Dir);
    if (!Dir.Is_Empty() && !Element.Is_Empty() && Dir[Dir.Get_Length() - 1] != u'/')
        result.Append(u"/");
    result.Append(Element);
    Path = result;
}

void Utl_Pathname::Split_Path_List(const Fnd_String& List, Fnd_String_Array& Array,
                                   long Append) {
    if (!Append) Array.Make_Empty();
    long start = 0;
    for (long i = 0; i <= List.Get_Length(); ++i) {
        if (i < List.Get_Length() && List[i] != u':') continue;
        if (i > start) Array.Add(List.Get(start, i - start));
        start = i + 1;
    }
}

// ---- Tests on files

long Utl_Pathname::Exists(const Fnd_String& Path) {
    Trace(u"Exists", Path);
    return Hst_Filesystem::Exists(Path, 0, 0);
}

long Utl_Pathname::Is_File(const Fnd_String& Path) {
    return Test_File(u"Is_File", Path, [](const Hst_File_Info& info) { return !info.Is_Directory(); });
}

long Utl_Pathname::Is_Directory(const Fnd_String& Path) {
    return Test_File(u"Is_Directory", Path, [](const Hst_File_Info& info) { return info.Is_Directory(); });
}

long Utl_Pathname::Is_Executable(const Fnd_String& Path) {
    return Test_File(u"Is_Executable", Path, [](const Hst_File_Info& info) { return info.Is_Executable(); });
}

long Utl_Pathname::Is_Writable(const Fnd_String& Path) {
    return Test_File(u"Is_Writable", Path, [](const Hst_File_Info& info) { return info.Is_Writable(); });
}

long Utl_Pathname::Is_Readable(const Fnd_String& Path) {
    return Test_File(u"Is_Readable", Path, [](const Hst_File_Info& info) { return info.Is_Readable(); });
}

long Utl_Pathname::Is_Link(const Fnd_String& Path) {
    Trace(u"Is_Link", Path);
    Hst_File_Info info;
    Fnd_Condition condition;
    Hst_Filesystem::Get_Symbolic_Link_Info(Path, info, condition);
    return !condition.Failed() && info.File_Type() == Hst_Symbolic_Link_Type;
}

int64_t Utl_Pathname::Byte_Size(const Fnd_String& Path) {
    Hst_File_Info info;
    Fnd_Condition condition;
    Hst_Filesystem::Get_Symbolic_Link_Info(Path, info, condition);
    return condition.Failed() ? 0 : info.Length();
}

int64_t Utl_Pathname::Update_Time(const Fnd_String& Path) {
    Hst_File_Info info;
    Fnd_Condition condition;
    Hst_Filesystem::Get_Symbolic_Link_Info(Path, info, condition);
    return condition.Failed() ? 0 : static_cast<int64_t>(info.Get_Status().st_mtime);
}

// ---- Working directory and names

void Utl_Pathname::Working_Directory(Fnd_String& Dir) { Hst_Filesystem::Working_Directory(Dir); }

const Fnd_String& Utl_Pathname::Working_Directory() {
    return Hst_Filesystem::Working_Directory();
}

long Utl_Pathname::Change_Directory(const Fnd_String& Path) {
    Fnd_Condition condition;
    Hst_Filesystem::Set_Working_Directory(Path, condition);
    return !condition.Failed();
}

void Utl_Pathname::Realpath(const Fnd_String& Path, Fnd_String& Result) { Result = Path; }

void Utl_Pathname::Qualify_Name(const Fnd_String& Name, Fnd_String& Full, const Fnd_String& Dir) {
    const Fnd_String base = Dir.Is_Empty() ? Hst_Filesystem::Working_Directory() : Dir;
    const long length = Name.Get_Length();
    if (length == 0) {
        Full = base;
        return;
    }
    if (Name[0] == u'~') {
        const long slash = Name.Find(u'/');
        const long user_end = slash < 0 ? length : slash;
        Fnd_String home;
        if (user_end == 1)
            home = Hst_Switches::Env_Home_Switch_Value();
        else
            Hst_Filesystem::Home_Directory(Name.Get(1, user_end - 1), home);
        if (slash >= 0 && slash + 1 < length) {
            home.Append(u"/");
            home.Append(Name.Get(slash + 1, length - slash - 1));
        }
        Full = home;
        return;
    }
    if (Name[0] == u'/') {
        Full = Name;
        return;
    }
    if (Name[0] != u'.') {
        Combine(base, Name, Full);
        return;
    }
    if (length == 1) {
        Full = base;
        return;
    }
    if (Name[1] == u'/') {
        Full = base + Name.Get(1, length - 1);
        return;
    }
    if (Name[1] != u'.' || (length > 2 && Name[2] != u'/')) {
        Combine(base, Name, Full);  // a hidden file's name
        return;
    }
    // A leading run of "..": one parent for each.
    Fnd_String parent;
    Dirname(base, parent);
    long pos = 2;
    while (pos + 3 <= length && Name.Compare(pos, 3, u"/..", 0) == 1 &&
           (pos + 3 == length || Name[pos + 3] == u'/')) {
        Fnd_String up;
        Dirname(parent, up);
        parent = up.Is_Empty() ? Fnd_String(u"/") : up;
        pos += 3;
    }
    if (parent.Is_Empty()) parent = u"/";
    if (pos + 1 >= length) {
        Full = parent;
        return;
    }
    Combine(parent, Name.Get(pos + 1, length - pos - 1), Full);
}

long Utl_Pathname::Program_Pathname(const Fnd_String& Dir, const Fnd_String& Name,
                                    Fnd_String& Path, long Must_Execute) {
    if (!Is_Simple_Name(Name)) {
        Fnd_String qualified;
        Qualify_Name(Name, qualified, Dir);
        Realpath(qualified, Path);
        return 1;
    }
    Fnd_String_Array entries;
    Split_Path_List(Hst_Switches::Env_Path_Switch_Value(), entries);
    for (long i = entries.Get_First(); i <= entries.Get_Last(); ++i) {
        Fnd_String candidate;
        Combine(*entries[i], Name, candidate);
        if (Must_Execute ? Is_Executable(candidate) : Exists(candidate)) {
            Path = candidate;
            return 1;
        }
    }
    return 0;
}

// ---- The product's home and files

long Utl_Pathname::Compute_Home(const Fnd_String& Program, Fnd_String& Home) {
    Fnd_String path;
    if (!Program_Pathname(Fnd_String(), Program, path, 1)) return 0;
    const Fnd_String marker = Fnd_String(u".") + Hst_Switches::Product_Home_Switch_Name();
    for (int round = 0; round < 2; ++round) {
        Fnd_String dir;
        Dirname(path, dir);
        Fnd_String marker_file;
        Combine(dir, marker, marker_file);
        std::vector<Fnd_String> lines;
        if (Read_Lines(marker_file, lines) && !lines.empty()) {
            Fnd_String line = lines.front();
            Fnd_String_Library::Strip(line);
            if (Is_Directory(line)) {
                Home = line;
                return 1;
            }
        }
        Fnd_String last;
        Fnd_String arch_dir;
        Fnd_String arch;
        Basename(dir, last);
        Dirname(dir, arch_dir);
        Basename(arch_dir, arch);
        if (last == u"bin" && arch == Hst_Switches::Architecture_Switch_Value()) {
            Dirname(arch_dir, Home);
            return 1;
        }
        if (round > 0 || !Is_Link(path)) break;
        Fnd_String target;
        Fnd_Condition condition;
        Hst_Filesystem::Read_Symbolic_Link(path, target, condition);
        if (condition.Failed() || !Is_Qualified(target)) break;
        path = target;
    }
    return 0;
}

long Utl_Pathname::Product_File_Line(const Fnd_String& Name, Fnd_String& Line) {
    std::vector<Fnd_String> lines;
    if (!Read_Lines(Product_File(Name), lines) || lines.empty()) return 0;
    Line = lines.front();
    Fnd_String_Library::Strip(Line);
    return 1;
}

long Utl_Pathname::Product_File_Lines(const Fnd_String& Name, Fnd_String_Array& Array) {
    std::vector<Fnd_String> lines;
    if (!Read_Lines(Product_File(Name), lines)) return 0;
    long added = 0;
    for (Fnd_String& line : lines) {
        Fnd_String_Library::Strip(line);
        if (line.Is_Empty() || line[0] == u'#') continue;
        Array.Add(line);
        added = 1;
    }
    return added;
}

long Utl_Pathname::Get_Local_Dirs(Fnd_String_Array& Array) {
    const long before = Array.Count();
    Split_Path_List(Hst_Switches::Local_Dirs_Switch_Value(), Array, 1);
    (void)Product_File_Lines(Fnd_String(u".local_dirs"), Array);
    Fnd_String local;
    Dirname(Hst_Switches::Product_Home_Switch_Value(), local, 2);
    Append(local, Fnd_String(u"Local_Dir"));
    if (Is_Directory(local)) Array.Add(local);
    return Array.Count() > before;
}

// ---- Search paths

void Utl_Pathname::Add_Other_Dirs_To_Path(Fnd_String_Array& Array, Fnd_String& List,
                                          const Fnd_String& Word) {
    Fnd_String name(Word);
    name.MakeUpper();
    Fnd_String value;
    if (Fnd_String_Library::Get_Variable(name, value, 1) && !value.Is_Empty())
        Add_Entry(Array, List, value);
    Fnd_String_Array lines;
    if (Product_File_Lines(Fnd_String(u".") + Word, lines))
        for (long i = lines.Get_First(); i <= lines.Get_Last(); ++i)
            Add_Entry(Array, List, *lines[i]);
}

void Utl_Pathname::Default_Path(Fnd_String_Array& Array, Fnd_String& List, long Dir_Id,
                                const Code_Unit* Word, long With_Arch) {
    Build_Default_Path(Array, List, Fnd_String(Hst_Product_Dir_Table[Dir_Id]), Word, With_Arch);
}

void Utl_Pathname::Default_Path(Fnd_String& List, const Fnd_String& Relative,
                                const Code_Unit* Word) {
    Fnd_String_Array array;
    Build_Default_Path(array, List, Relative, Word, 0);
}

void Utl_Pathname::Default_Path(Fnd_String_Array& Array, Fnd_String& List,
                                const Fnd_String& Relative, const Code_Unit* Word) {
    Build_Default_Path(Array, List, Relative, Word, 0);
}

void Utl_Pathname::Get_Ui_Path(Fnd_String_Array& Array) {
    Search_Path(Array, &Hst_Switches::Ui_Path_Switch_Value, &Hst_Switches::Set_Ui_Path, 2,
                u"ui_dirs", 0);
}

void Utl_Pathname::Get_Script_Path(Fnd_String_Array& Array) {
    Search_Path(Array, &Hst_Switches::Script_Path_Switch_Value, &Hst_Switches::Set_Script_Path,
                8, u"script_dirs", 0);
}

void Utl_Pathname::Get_Tool_Path(Fnd_String_Array& Array) {
    Search_Path(Array, &Hst_Switches::Tool_Path_Switch_Value, &Hst_Switches::Set_Tool_Path, 10,
                u"tool_dirs", 1);
}

void Utl_Pathname::Process_Path(Fnd_String_Array& Array, const Fnd_String& Name,
                                long First_Only, long From_End) {
    if (Name.Is_Empty()) return;
    std::vector<Fnd_String> kept;
    const long first = Array.Get_First();
    const long last = Array.Get_Last();
    for (long done = 0; done <= last - first; ++done) {
        Fnd_String entry(*Array[From_End ? last - done : first + done]);
        Append(entry, Name);
        if (!Exists(entry) || Is_Directory(entry)) continue;
        kept.insert(From_End ? kept.begin() : kept.end(), entry);
        if (First_Only) break;
    }
    Array.Make_Empty();
    for (const Fnd_String& entry : kept) Array.Add(entry);
}

void Utl_Pathname::Get_Path_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                                  const Fnd_String& List, long First_Only, long From_End) {
    Split_Path_List(List, Array);
    Process_Path(Array, Name, First_Only, From_End);
}

long Utl_Pathname::Get_Path_File(Fnd_String& File, const Fnd_String& Name,
                                 const Fnd_String& List, long From_End) {
    Fnd_String_Array array;
    Get_Path_Files(array, Name, List, 1, From_End);
    if (Name.Is_Empty() || array.Count() == 0) {
        File.Make_Empty();
        return 0;
    }
    File = *array[array.Get_First()];
    return 1;
}

void Utl_Pathname::Get_Ui_Files(Fnd_String_Array& Array, const Fnd_String& Name, long From_End) {
    Path_Files(Array, Name, 0, From_End, &Get_Ui_Path);
}
void Utl_Pathname::Get_Script_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                                    long From_End) {
    Path_Files(Array, Name, 0, From_End, &Get_Script_Path);
}
void Utl_Pathname::Get_Tool_Files(Fnd_String_Array& Array, const Fnd_String& Name,
                                  long From_End) {
    Path_Files(Array, Name, 0, From_End, &Get_Tool_Path);
}
long Utl_Pathname::Get_Ui_File(Fnd_String& Name, long From_End) {
    return Path_File(Name, From_End, &Get_Ui_Path);
}
long Utl_Pathname::Get_Script_File(Fnd_String& Name, long From_End) {
    return Path_File(Name, From_End, &Get_Script_Path);
}
long Utl_Pathname::Get_Tool_File(Fnd_String& Name, long From_End) {
    return Path_File(Name, From_End, &Get_Tool_Path);
}

// ---- Directories and files

void Utl_Pathname::Directory_Entries(Fnd_Condition& Condition, const Fnd_String& Dir,
                                     Fnd_String_Array& Array) {
    Fnd_String full;
    Qualify_Name(Dir, full, Fnd_String());
    std::pair<const Fnd_String*, Fnd_String_Array*> target(&full, &Array);
    Hst_Filesystem::Traverse_Directory(full, &Add_Entry_Name, &target, Condition, 1, 0, 0);
}

void Utl_Pathname::Create_Path(Fnd_Condition& Condition, const Fnd_String& Path) {
    for (long count = 1;; ++count) {
        Fnd_String head;
        Fnd_String tail;
        Split_Head(Path, head, tail, count, u'/');
        if (!Exists(head)) {
            Hst_Filesystem::Make_Directory(head, Condition, 1);
            if (Condition.Failed()) return;
        }
        if (tail.Is_Empty() && head == Path) break;
    }
    Condition.Clear();
}

long Utl_Pathname::Get_File_Contents(Fnd_Condition& Condition, const Fnd_String& File,
                                     Fnd_String& Text, int64_t Size) {
    int fd = -1;
    Hst_Filesystem::Open_File(File, Hst_Filesystem::Hst_Open_Read, Condition, fd, 0);
    if (Condition.Failed()) {
        Condition = Utl_Text_Error(Fnd_String(u"Can't open ") + File);
        return 0;
    }
    const bool from_file = Size < 0;
    if (from_file) {
        Hst_File_Info info;
        Hst_Filesystem::Get_Info(fd, info, Condition);
        Size = Condition.Failed() ? 0 : info.Length();
    }
    // A size from the file is a hint only: it is read to its end (a file may grow, and
    // files of /proc say 0). A size given by the caller is a limit.
    const bool limited = Size >= 0 && !from_file;
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(std::min<int64_t>(Size, Max_Contents)));
    char buffer[65536];
    long count = 0;
    while (!(limited && static_cast<int64_t>(bytes.size()) >= Size) &&
           static_cast<int64_t>(bytes.size()) <= Max_Contents) {
        const int64_t wanted = limited ? std::min<int64_t>(Size - static_cast<int64_t>(bytes.size()),
                                                           sizeof buffer)
                                       : static_cast<int64_t>(sizeof buffer);
        count = Hst_Filesystem::Read(fd, buffer, static_cast<long>(wanted), Condition);
        if (count <= 0) break;
        bytes.append(buffer, static_cast<std::size_t>(count));
    }
    Fnd_Condition closing;
    Hst_Filesystem::Close_File(fd, closing);
    Fnd_String converted;
    if (count < 0 || static_cast<int64_t>(bytes.size()) > Max_Contents ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes.data(),
                                  static_cast<int>(bytes.size()), converted,
                                  AdCharset::cvt_stop)) {
        Condition = Utl_Text_Error(Fnd_String(u"Can't read ") + File);
        return 0;
    }
    Text.Append(converted);
    Condition.Clear();
    return 1;
}

// ---- Temporary files

void Utl_Pathname::Get_Temp_Dir(Fnd_String& Dir) {
    Fnd_Condition condition;
    Dir = Hst_Switches::User_Dir_Switch_Value();
    if (Dir.Is_Empty()) {
        Unix_Temp_Dir(Dir);
        return;
    }
    if (!Is_Directory(Dir)) Hst_Filesystem::Make_Directory(Dir, condition, 1);
    if (condition.Failed()) {
        Unix_Temp_Dir(Dir);
        return;
    }
    Append(Dir, Fnd_String(u"tmp"));
    if (!Is_Directory(Dir)) Hst_Filesystem::Make_Directory(Dir, condition, 1);
    if (condition.Failed()) Unix_Temp_Dir(Dir);
}

void Utl_Pathname::Get_Temp_Name(const Fnd_String& Prefix, Fnd_String& Name) {
    Get_Temp_Name(Prefix, Name, Fnd_String());
}

void Utl_Pathname::Get_Temp_Name(const Fnd_String& Prefix, Fnd_String& Name,
                                 const Fnd_String& Directory) {
    Fnd_String dir(Directory);
    if (dir.Is_Empty()) Get_Temp_Dir(dir);
    Fnd_Condition condition;
    Hst_Filesystem::Make_Temp_Name(dir, Prefix, Name, condition);
    if (condition.Failed() || Name.Is_Empty()) {
        Name.Make_Empty();
        return;
    }
    Fnd_String in_dir(dir);
    if (in_dir[in_dir.Get_Length() - 1] != u'/') in_dir.Append(u"/");
    if (Starts_With(Name, in_dir.Data())) return;
    Fnd_String last;
    Basename(Name, last);
    Combine(dir, last, Name);
}

void Utl_Pathname::Add_Temp_File_To_Delete_Set(const Fnd_String& Name) {
    auto& set = Temp_Deletees();
    if (!set) set = std::make_unique<Utl_String_Set>(7);
    set->Add(Name);
}

void Utl_Pathname::Delete_Temp_Files() {
    const auto& set = Temp_Deletees();
    if (!set) return;
    for (Utl_String_Set_Iterator member(*set); !member.Done(); member.Next()) {
        Fnd_Condition ignored;
        Hst_Filesystem::Delete_File(member.Get(), ignored, 1);
    }
}

// ---- Expansion

void Utl_Pathname::Expand(Fnd_Condition& Condition, const Fnd_String& Pattern, Fnd_String& Text,
                          const Fnd_String& Dir) {
    Condition.Clear();
    if (Pattern.FindOneOf(u"$*?[{") < 0 && (Pattern.Is_Empty() || Pattern[0] != u'~')) {
        Text = Pattern;
        return;
    }
    Fnd_String pattern(Pattern);
    if (!Dir.Is_Empty()) Qualify_Name(Pattern, pattern, Dir);
    const Fnd_String failure = Fnd_String(u"Can't expand ") + Pattern;
    if (!Is_Plain_Word(pattern) || pattern.Find(u"$(") >= 0) {
        Condition = Utl_Text_Error(failure);
        return;
    }
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), pattern, AdCharset::cvt_stop)) {
        Condition = Utl_Text_Error(Fnd_String(u"Encoding conversion failed."));
        return;
    }
    wordexp_t words{};
    const int result = wordexp(bytes.getData(), &words, WRDE_NOCMD | WRDE_UNDEF);
    if (result != 0) {
        if (result == WRDE_NOSPACE) wordfree(&words);
        Condition = Utl_Text_Error(failure);
        return;
    }
    std::string joined;
    for (std::size_t i = 0; i < words.we_wordc; ++i) {
        if (i > 0) joined += ' ';
        joined += words.we_wordv[i];
    }
    wordfree(&words);
    Fnd_String converted;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), joined.data(),
                                  static_cast<int>(joined.size()), converted,
                                  AdCharset::cvt_stop)) {
        Condition = Utl_Text_Error(Fnd_String(u"Encoding conversion failed."));
        return;
    }
    Text = converted;
}
