// Hst_Filesystem: directories, names, status and attributes.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utime.h>

#include <cerrno>
#include <cstdlib>
#include <random>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_filesystem_calls.h"
#include "foundation/host/hst_switches.h"
#include "foundation/host/hst_user.h"
#include "foundation/textio/tio_streams.h"

using namespace hst_filesystem_detail;

namespace {

Fnd_String* Cached_Working_Directory = nullptr;
struct stat Shared_Status;

// stat or lstat of Path under the retry rule, EAGAIN included; -1 with errno on
// failure, also when the path does not convert.
int Status_Of(const Fnd_String& Path, struct stat& Status, bool No_Follow) {
    AdMbcsString path;
    if (!Native(Path, path)) return -1;
    return Retry(
        [&] { return No_Follow ? ::lstat(path.getData(), &Status) : ::stat(path.getData(), &Status); },
        true);
}

// Runs a call on one converted path under the retry rule; -1 with errno on failure.
template <class Call>
int Path_Call(const Fnd_String& Path, Call System_Call) {
    AdMbcsString path;
    if (!Native(Path, path)) return -1;
    return Retry([&] { return System_Call(path.getData()); });
}

template <class Call>
int Two_Path_Call(const Fnd_String& First, const Fnd_String& Second, Call System_Call) {
    AdMbcsString first, second;
    if (!Native(First, first) || !Native(Second, second)) return -1;
    return Retry([&] { return System_Call(first.getData(), second.getData()); });
}

void Two_Path_Fail(Fnd_Condition& Condition, long Number, const Fnd_String& First,
                   const Fnd_String& Second) {
    Condition.Set_Error(
        Hst_Sys_Call_Error(Number, errno, First, Second, Hst_Filesystem::Hst_Open_None), 1);
}

void Update_Working_Directory() {
    if (Cached_Working_Directory == nullptr) Cached_Working_Directory = new Fnd_String(1024L, 1L);
    Code_Unit buffer[1025];
    buffer[0] = 0;
    Trace(Working_Directory_Diagnostic, 4, u"getcwd()", Fnd_String());
    errno = 0;
    const Code_Unit* result = Hst_Getcwd(buffer, 1024);
    const int error = errno;
    if (AdDiagnostic::m_DiagnosticFlags[Working_Directory_Diagnostic] &&
        AdDiagnostic::IsEnabled(Working_Directory_Diagnostic, 8, 1)) {
        Fnd_String text(u"getcwd(");
        text.Append(Fnd_String_Library::To_String(static_cast<const void*>(buffer), 16, 1));
        text.Append(u",1024) returned ");
        text.Append(Fnd_String_Library::To_String(static_cast<const void*>(result), 16, 1));
        text.Append(u", errno ");
        text.Append(Fnd_String_Library::To_String(long{error}));
        AdDiagnostic::Report(text.Data(), u"");
    }
    if (result != nullptr && buffer[0] == u'/') {
        *Cached_Working_Directory = buffer;
        return;
    }
    // Nobody waits for this answer: the log hears of the failure, the cache stays empty.
    Cached_Working_Directory->Make_Empty();
    Fnd_Condition condition;
    Hst_Filesystem::General_Fail(condition, Fnd_String(), 45, error);
    condition.Push_Error(
        Hst_Filesystem_Error(Hst_Filesystem::Exists(Fnd_String(u"."), 0, 0) ? 33 : 34), 1);
    Tio_Log.Put_Line(Fnd_Error_Msg, condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                                    Fnd_Message::Default_Message_Separator()));
}

// Deleting a file or a link: the shared rule of Delete_File and Delete_Symbolic_Link.
void Unlink(const Fnd_String& Path, Fnd_Condition& Condition, long Ignore_Missing,
            long Number) {
    Condition.Clear();
    if (Path.Is_Empty()) {
        if (!Ignore_Missing) Condition.Set_Error(Hst_Filesystem_Error(201, Path, ENOENT), 1);
        return;
    }
    AdMbcsString path;
    int result = -1;
    if (Native(Path, path))
        result = Retry([&] { return ::unlink(path.getData()); });
    else
        errno = ENOENT;
    if (result == 0) return;
    const int error = errno;
    if (error == EINVAL)
        Condition.Set_Error(Hst_Filesystem_Error(14, Path, error), 1);
    else if (error == EACCES || error == EPERM)
        Condition.Set_Error(Hst_Filesystem_Error(15, Path, error), 1);
    else if ((error == ENOENT || error == ENOTDIR) && Ignore_Missing)
        return;
    else
        Hst_Filesystem::File_Fail(Condition, Path, Number, error);
}

}  // namespace

// ---- Paths and directories

void Hst_Filesystem::Home_Directory(const Fnd_String& User, Fnd_String& Dir) {
    Dir = Hst_User::Home_Directory(User);
}

const Fnd_String& Hst_Filesystem::Working_Directory() {
    if (Cached_Working_Directory == nullptr) Update_Working_Directory();
    Trace(Working_Directory_Diagnostic, 2, u"Working_Directory", *Cached_Working_Directory);
    return *Cached_Working_Directory;
}

void Hst_Filesystem::Working_Directory(Fnd_String& Dir) { Dir = Working_Directory(); }

void Hst_Filesystem::Set_Working_Directory(const Fnd_String& Path, Fnd_Condition& Condition) {
    Condition.Clear();
    Trace(Working_Directory_Diagnostic, 1, u"chdir", Path);
    if (Path_Call(Path, [](const char* path) { return ::chdir(path); }) != 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(21, errno, Path, Fnd_String(), Hst_Open_None), 1);
        return;
    }
    Update_Working_Directory();
}

void Hst_Filesystem::Traverse_Directory(const Fnd_String& Path, Traverse_Function Function,
                                        void* Object, Fnd_Condition& Condition, long With_Dots,
                                        long Ignore_Access, long Ignore_Missing) {
    Condition.Clear();
    AdMbcsString path;
    DIR* directory = nullptr;  // opendir opens its descriptor close-on-exec
    if (Native(Path, path)) {
        do {
            directory = ::opendir(path.getData());
        } while (directory == nullptr && errno == EINTR);
    }
    if (directory == nullptr) {
        const int error = errno;
        if ((Ignore_Access && error == EACCES) ||
            (Ignore_Missing && (error == ENOTDIR || error == ENOENT))) {
            Condition.Add_Info(
                Hst_Sys_Call_Error(1, error, Path, Fnd_String(), Hst_Open_None), 0);
            return;
        }
        General_Fail(Condition, Path, 1, error);
        return;
    }
    Fnd_String name;
    while (!Condition.Failed()) {
        errno = 0;
        const dirent* entry = ::readdir(directory);
        if (entry == nullptr) {
            if (errno != 0) General_Fail(Condition, Path, 1, errno);
            break;
        }
        if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), entry->d_name, name,
                                      AdCharset::cvt_stop)) {
            AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), entry->d_name, name,
                                     AdCharset::cvt_substitute);
            Fnd_String full(Path);
            full.Append(u"/");
            full.Append(name);
            Condition.Set_Error(Hst_Filesystem_Error(38, full, EILSEQ), 1);
            break;
        }
        if (name.Is_Empty()) {
            Condition.Set_Error(Hst_Filesystem_Error(105, Path), 1);
            break;
        }
        if (!With_Dots && (name == u"." || name == u"..")) continue;
        Function(name, Object, Condition);
    }
    ::closedir(directory);
}

long Hst_Filesystem::Exists(const Fnd_String& Path, long No_Follow, long When_In_Doubt) {
    struct stat status;
    if (Status_Of(Path, status, No_Follow != 0) == 0) return 1;
    return When_In_Doubt && errno != ENOENT && errno != ENOTDIR && errno != EILSEQ;
}

void Hst_Filesystem::Make_Directory(const Fnd_String& Path, Fnd_Condition& Condition,
                                    long Accept_Existing) {
    Condition.Clear();
    if (Path_Call(Path, [](const char* path) { return ::mkdir(path, 0777); }) == 0) return;
    const int error = errno;
    struct stat status;
    switch (error) {
        case EEXIST:
            if (Accept_Existing && Status_Of(Path, status, false) == 0 && S_ISDIR(status.st_mode))
                return;
            Condition.Set_Error(Hst_Filesystem_Error(10, Path, error), 1);
            return;
        case EMLINK:
            Condition.Set_Error(Hst_Filesystem_Error(13, Path, error), 1);
            return;
        case EACCES:
            // Is the name there at all, or can a parent not be searched?
            if (Status_Of(Path, status, false) == 0)
                Directory_Write_Fail(Condition, Path, 22, EACCES);
            else if (errno != EACCES)
                Condition.Set_Error(Hst_Filesystem_Error(31, Path, errno), 1);
            else
                Condition.Set_Error(Hst_Filesystem_Error(32, Path, EACCES), 1);
            return;
        default:
            Directory_Write_Fail(Condition, Path, 22, error);
    }
}

void Hst_Filesystem::Delete_Directory(const Fnd_String& Path, Fnd_Condition& Condition,
                                      long Ignore_Missing) {
    Condition.Clear();
    if (Path.Is_Empty()) {
        if (!Ignore_Missing) Condition.Set_Error(Hst_Filesystem_Error(102, Path, ENOENT), 1);
        return;
    }
    AdMbcsString path;
    int result = -1;
    if (Native(Path, path))
        result = Retry([&] { return ::rmdir(path.getData()); });
    else
        errno = ENOENT;
    if (result == 0) return;
    const int error = errno;
    if (error == ENOTEMPTY || error == EEXIST)
        Condition.Set_Error(Hst_Filesystem_Error(103, Path, error), 1);
    else if (error == EACCES)
        Condition.Set_Error(Hst_Filesystem_Error(15, Path, error), 1);
    else if ((error == ENOENT || error == ENOTDIR) && Ignore_Missing)
        return;
    else
        Directory_Write_Fail(Condition, Path, 23, error);
}

void Hst_Filesystem::Rename_Directory(const Fnd_String& Old, const Fnd_String& New,
                                      Fnd_Condition& Condition) {
    Condition.Clear();
    if (Two_Path_Call(Old, New, [](const char* a, const char* b) { return ::rename(a, b); }) != 0)
        Two_Path_Fail(Condition, 83, Old, New);
}

void Hst_Filesystem::Rename_File(const Fnd_String& Old, const Fnd_String& New,
                                 Fnd_Condition& Condition) {
    Condition.Clear();
    if (Two_Path_Call(Old, New, [](const char* a, const char* b) { return ::rename(a, b); }) != 0)
        Two_Path_Fail(Condition, 84, Old, New);
}

// ---- Information and attributes

void Hst_Filesystem::Get_Info(const Fnd_String& Path, Hst_File_Info& Info,
                              Fnd_Condition& Condition) {
    Condition.Clear();
    Trace(Stat_Diagnostic, 2, u"stat", Path);
    if (Status_Of(Path, Info.Get_Status(), false) == 0) return;
    const int error = errno;
    Info.Make_Nil();
    File_Fail(Condition, Path, 41, error);
}

void Hst_Filesystem::Get_Info(int Fd, Hst_File_Info& Info, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Retry([&] { return ::fstat(Fd, &Info.Get_Status()); }) == 0) return;
    const int error = errno;
    Info.Make_Nil();
    Condition.Set_Error(Hst_Sys_Call_Error(43, error, Fd, 0), 1);
}

void Hst_Filesystem::Get_Symbolic_Link_Info(const Fnd_String& Path, Hst_File_Info& Info,
                                            Fnd_Condition& Condition) {
    Condition.Clear();
    Trace(Stat_Diagnostic, 1, u"lstat", Path);
    if (Status_Of(Path, Info.Get_Status(), true) == 0) return;
    const int error = errno;
    Info.Make_Nil();
    File_Fail(Condition, Path, 42, error);
}

const struct stat* Hst_Filesystem::Get_Stat(const Fnd_String& Path, Hst_File_Info* Info,
                                            Fnd_Condition& Condition) {
    Condition.Clear();
    struct stat& status = Info != nullptr ? Info->Get_Status() : Shared_Status;
    if (Status_Of(Path, status, false) == 0) return &status;
    File_Fail(Condition, Path, 41, errno);
    return nullptr;
}

void Hst_Filesystem::Read_Symbolic_Link(const Fnd_String& Path, Fnd_String& Target,
                                        Fnd_Condition& Condition) {
    Condition.Clear();
    Target.Make_Empty();
    char bytes[1024];
    AdMbcsString path;
    ssize_t count = -1;
    if (Native(Path, path))
        count = Retry([&] { return ::readlink(path.getData(), bytes, sizeof bytes); });
    if (count >= static_cast<ssize_t>(sizeof bytes)) {
        count = -1;  // the target may have been cut
        errno = ENAMETOOLONG;
    }
    if (count >= 0 &&
        AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes, static_cast<int>(count),
                                 Target, AdCharset::cvt_stop))
        return;
    if (count >= 0) errno = EILSEQ;
    const int error = errno;
    Target.Make_Empty();
    if (error == ENOENT)
        Condition.Set_Error(Hst_Filesystem_Error(301, Path, error), 1);
    else if (error == EINVAL)
        Condition.Set_Error(Hst_Filesystem_Error(302, Path, error), 1);
    else
        General_Fail(Condition, Path, 101, error);
}

void Hst_Filesystem::Set_Timestamp(const Fnd_String& Path, const Hst_Timestamp& Time,
                                   Fnd_Condition& Condition) {
    Condition.Clear();
    AdMbcsString path;
    int result = -1;
    if (Native(Path, path)) {
        utimbuf times{};
        times.actime = times.modtime = static_cast<time_t>(Time.Seconds);
        result = Retry([&] { return ::utime(path.getData(), Time.Is_Nil() ? nullptr : &times); });
    } else {
        errno = EINVAL;
    }
    if (result == 0) return;
    if (errno == EPERM)
        Condition.Set_Error(Hst_Filesystem_Error(17, Path, EPERM), 1);
    else
        File_Fail(Condition, Path, 44, errno);
}

void Hst_Filesystem::Read_Only_Mode(long Is_Dir, unsigned long& Keep, unsigned long& Mask,
                                    long On) {
    if (On) {
        Keep = Is_Dir ? 02777 : 0666;
        Mask = 0777;
    } else {
        Keep = Is_Dir ? 02444 : 0444;
        Mask = 0444;
    }
}

void Hst_Filesystem::Executable_Mode(long Is_Dir, unsigned long& Keep, unsigned long& Mask,
                                     long On) {
    if (On) {
        Keep = Is_Dir ? 02777 : 0666;
        Mask = 0777;
    } else {
        Keep = Mask = 0111;
    }
}

void Hst_Filesystem::Make_Read_Only(const Fnd_String& Path, const Hst_File_Info* Info,
                                    Fnd_Condition& Condition) {
    Condition.Clear();
    Hst_File_Info present;
    if (Info == nullptr) {
        Get_Info(Path, present, Condition);
        if (Condition.Failed()) return;
        Info = &present;
    }
    const unsigned long mode = Info->Get_Status().st_mode & 02777;
    unsigned long read_keep, exec_keep, mask;
    Read_Only_Mode(Info->Is_Directory(), read_keep, mask, 0);
    Executable_Mode(Info->Is_Directory(), exec_keep, mask, 0);
    const unsigned long wanted = mode & (read_keep | exec_keep);
    if (wanted == mode) return;
    if (Path_Call(Path, [wanted](const char* path) {
            return ::chmod(path, static_cast<mode_t>(wanted));
        }) != 0)
        General_Fail(Condition, Path, 61, errno);
}

void Hst_Filesystem::Make_File_Read_Only(const Fnd_String& Path, Fnd_Condition& Condition,
                                         const Hst_File_Info* Info) {
    Make_Read_Only(Path, Info, Condition);
}

void Hst_Filesystem::Get_File_Creation_Mode(long& User, long& Group, long& Others,
                                            Fnd_Condition& Condition) {
    Condition.Clear();
    const mode_t mask = ::umask(0);
    ::umask(mask);
    const unsigned long allowed = ~static_cast<unsigned long>(mask) & 0777;
    User = static_cast<long>((allowed >> 6) & 7);
    Group = static_cast<long>((allowed >> 3) & 7);
    Others = static_cast<long>(allowed & 7);
}

void Hst_Filesystem::Set_File_Creation_Mode(long User, long Group, long Others,
                                            Fnd_Condition& Condition) {
    Condition.Clear();
    const unsigned long allowed = ((User & 7) << 6) | ((Group & 7) << 3) | (Others & 7);
    ::umask(static_cast<mode_t>(0777 - allowed));
}

void Hst_Filesystem::Make_Temp_Name(const Fnd_String& Directory, const Fnd_String& Prefix,
                                    Fnd_String& Name, Fnd_Condition& Condition) {
    Condition.Clear();
    Name.Make_Empty();
    // The directory as tempnam chooses it: TMPDIR if it is a directory, else the one
    // given, else /tmp. The name is made here, without the linker's warning on tempnam.
    auto Usable = [](const Fnd_String& Dir) {
        struct stat status;
        return !Dir.Is_Empty() && Status_Of(Dir, status, false) == 0 && S_ISDIR(status.st_mode);
    };
    Fnd_String directory;
    Fnd_String tmpdir;
    Fnd_String_Library::Get_Environment(Fnd_String(u"TMPDIR"), tmpdir);
    if (Usable(tmpdir))
        directory = tmpdir;
    else if (Usable(Directory))
        directory = Directory;
    else
        directory = u"/tmp";
    if (directory[directory.Get_Length() - 1] != u'/') directory.Append(u"/");
    directory.Append(Prefix.Get(0, Prefix.Get_Length() < 5 ? Prefix.Get_Length() : 5));
    const long fixed = directory.Get_Length();

    static constexpr char Letters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._";
    static std::minstd_rand generator(static_cast<unsigned>(getpid()) ^
                                      static_cast<unsigned>(time(nullptr)));
    for (int attempt = 0; attempt < 1000; ++attempt) {
        Fnd_String name(directory);
        for (int i = 0; i < 6; ++i)
            name.Append(Fnd_Char(static_cast<Code_Unit>(Letters[generator() % (sizeof Letters - 1)])));
        // Dots in the generated part would read as an extension: they become "_".
        for (long at = name.Get_Length() - 1; at >= fixed && name[at] != u'/'; --at)
            if (name[at] == u'.') name.Set(at, Fnd_Char(u'_'));
        struct stat status;
        if (Status_Of(name, status, true) != 0 && errno == ENOENT) {
            Name = name;
            return;
        }
    }
    Condition.Set_Error(Hst_Sys_Call_Error(81, EEXIST, directory, Fnd_String(), Hst_Open_None), 1);
}

// ---- Creating and deleting

void Hst_Filesystem::Make_Symbolic_Link(const Fnd_String& Target, const Fnd_String& Link,
                                        Fnd_Condition& Condition) {
    Condition.Clear();
    int result = -1;
    if (Target.Is_Empty())
        errno = ENOENT;
    else
        result = Two_Path_Call(Target, Link,
                               [](const char* a, const char* b) { return ::symlink(a, b); });
    if (result != 0) Two_Path_Fail(Condition, 102, Target, Link);
}

void Hst_Filesystem::Make_Alias(const Fnd_String& New_Name, const Fnd_String& Existing,
                                Fnd_Condition& Condition) {
    Condition.Clear();
    if (Two_Path_Call(Existing, New_Name,
                      [](const char* a, const char* b) { return ::link(a, b); }) != 0)
        Two_Path_Fail(Condition, 103, New_Name, Existing);
}

void Hst_Filesystem::Make_Named_Pipe(const Fnd_String& Path, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Path_Call(Path, [](const char* path) { return ::mkfifo(path, 0777); }) != 0)
        Condition.Set_Error(Hst_Sys_Call_Error(7, errno, Path, Fnd_String(), Hst_Open_None), 1);
}

void Hst_Filesystem::Rename_Symbolic_Link(const Fnd_String& Old, const Fnd_String& New,
                                          Fnd_Condition& Condition) {
    Fnd_String target;
    Read_Symbolic_Link(Old, target, Condition);
    if (Condition.Failed()) return;
    Delete_Symbolic_Link(Old, Condition, 0);
    if (Condition.Failed()) return;
    Make_Symbolic_Link(target, New, Condition);
    if (!Condition.Failed()) return;
    Fnd_Condition restored;
    Make_Symbolic_Link(target, Old, restored);
    Condition.Add_Sub(restored, 1, 0);
}

void Hst_Filesystem::Delete_File(const Fnd_String& Path, Fnd_Condition& Condition,
                                 long Ignore_Missing) {
    Unlink(Path, Condition, Ignore_Missing, 105);
}

void Hst_Filesystem::Delete_Symbolic_Link(const Fnd_String& Path, Fnd_Condition& Condition,
                                          long Ignore_Missing) {
    Unlink(Path, Condition, Ignore_Missing, 104);
}
