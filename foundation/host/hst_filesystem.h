// Hst_Filesystem: the operating system's file calls in one shape. A path goes in as a
// Fnd_String and is converted to the default charset at the call; a path that does not
// convert fails the operation. Every call reports through a Fnd_Condition (cleared on
// entry, one error on failure), never by an exception.
//
// The retry rule: a call that fails with EINTR is repeated at once and without limit,
// with ETIMEDOUT up to 50 attempts in all; stat, lstat and read also repeat on EAGAIN.
// Every descriptor opened here is close-on-exec.
//
// Failures are Hst_Filesystem_Error where the file system's terms say it (permission,
// missing name, read-only file system, ...) and Hst_Sys_Call_Error with the call's
// number otherwise; both in foundation/host/hst_errors.h.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdio>

class Fnd_Condition;
class Fnd_String;
class Hst_File_Info;
class Hst_Timestamp;

class Hst_Filesystem {
public:
    enum Hst_Open_Mode {
        Hst_Open_None = 0,
        Hst_Open_Read = 1,
        Hst_Open_Write = 2,
        Hst_Open_Read_Write = 3
    };
    // Bits of the flags argument of Open_File and Make_File.
    enum Hst_Open_Flags {
        Hst_Open_Sync = 1,
        Hst_Open_Append = 2,
        Hst_Open_Create = 4,
        Hst_Open_No_Delay = 8,
        Hst_Open_Truncate = 64,
        Hst_Open_Exclusive = 128
    };
    enum Hst_File_Position { Hst_From_Start = 0, Hst_From_Current = 1, Hst_From_End = 2 };
    enum Hst_Access_Mode { Hst_No_Access = 0, Hst_Execute = 1, Hst_Write = 2, Hst_Read = 4 };

    // Called for each entry of Traverse_Directory with the entry's name alone.
    typedef void (*Traverse_Function)(const Fnd_String& Name, void* Object,
                                      Fnd_Condition& Condition);

    // ---- Paths and directories
    // An empty User means the HOME variable. Dir is empty for an unknown user.
    static void Home_Directory(const Fnd_String& User, Fnd_String& Dir);
    // The working directory, read on first use and kept; empty (and reported to the log)
    // if it cannot be read.
    static const Fnd_String& Working_Directory();
    static void Working_Directory(Fnd_String& Dir);
    static void Set_Working_Directory(const Fnd_String& Path, Fnd_Condition& Condition);
    // Calls Function for each entry, in the system's order, until Condition fails.
    // "." and ".." only With_Dots. A directory that is missing (Ignore_Missing) or
    // unreadable (Ignore_Access) leaves only information in Condition.
    static void Traverse_Directory(const Fnd_String& Path, Traverse_Function Function,
                                   void* Object, Fnd_Condition& Condition, long With_Dots,
                                   long Ignore_Access, long Ignore_Missing);
    // 1 if stat (lstat with No_Follow) works. Otherwise 0, except that When_In_Doubt
    // gives 1 for a failure other than a missing name.
    static long Exists(const Fnd_String& Path, long No_Follow, long When_In_Doubt);
    // With Accept_Existing an existing directory is success; any other existing name
    // fails (error 10).
    static void Make_Directory(const Fnd_String& Path, Fnd_Condition& Condition,
                               long Accept_Existing);
    static void Delete_Directory(const Fnd_String& Path, Fnd_Condition& Condition,
                                 long Ignore_Missing);
    static void Rename_Directory(const Fnd_String& Old, const Fnd_String& New,
                                 Fnd_Condition& Condition);
    static void Rename_File(const Fnd_String& Old, const Fnd_String& New,
                            Fnd_Condition& Condition);

    // ---- Information and attributes. Info is made nil on failure.
    static void Get_Info(const Fnd_String& Path, Hst_File_Info& Info, Fnd_Condition& Condition);
    static void Get_Info(int Fd, Hst_File_Info& Info, Fnd_Condition& Condition);
    static void Get_Symbolic_Link_Info(const Fnd_String& Path, Hst_File_Info& Info,
                                       Fnd_Condition& Condition);
    // The status inside Info, or in one shared area when Info is null (valid until the
    // next such call); null on failure.
    static const struct stat* Get_Stat(const Fnd_String& Path, Hst_File_Info* Info,
                                       Fnd_Condition& Condition);
    // Target is emptied on failure: error 301 for a missing name, 302 for a name that is
    // not a link.
    static void Read_Symbolic_Link(const Fnd_String& Path, Fnd_String& Target,
                                   Fnd_Condition& Condition);
    // Access and modification time; a nil Time means now.
    static void Set_Timestamp(const Fnd_String& Path, const Hst_Timestamp& Time,
                              Fnd_Condition& Condition);
    // A permission change as the bits to keep and the bits it concerns.
    static void Read_Only_Mode(long Is_Dir, unsigned long& Keep, unsigned long& Mask, long On);
    static void Executable_Mode(long Is_Dir, unsigned long& Keep, unsigned long& Mask, long On);
    // Takes the write bits (and a file's set-group-id bit) away; chmod only on a change.
    // The present mode comes from Info when given.
    static void Make_Read_Only(const Fnd_String& Path, const Hst_File_Info* Info,
                               Fnd_Condition& Condition);
    static void Make_File_Read_Only(const Fnd_String& Path, Fnd_Condition& Condition,
                                    const Hst_File_Info* Info);
    // The complement of the process's umask as three Hst_Access_Mode values.
    static void Get_File_Creation_Mode(long& User, long& Group, long& Others,
                                       Fnd_Condition& Condition);
    static void Set_File_Creation_Mode(long User, long Group, long Others,
                                       Fnd_Condition& Condition);
    // A name for a new file that does not exist yet, in Directory (empty: TMPDIR or
    // /tmp), starting with the first 5 characters of Prefix.
    static void Make_Temp_Name(const Fnd_String& Directory, const Fnd_String& Prefix,
                               Fnd_String& Name, Fnd_Condition& Condition);

    // ---- Creating and deleting
    // A new empty file, which must not exist (mode 0777 less the umask).
    static void Create_File(const Fnd_String& Path, Fnd_Condition& Condition);
    // Opens with permissions from Info (0666 of them) or 0666, plus what the owner needs
    // for Mode. Mode 0 fails.
    static void Make_File(const Fnd_String& Path, const Hst_File_Info* Info, Hst_Open_Mode Mode,
                          Fnd_Condition& Condition, int& Fd, long Flags);
    static void Make_Symbolic_Link(const Fnd_String& Target, const Fnd_String& Link,
                                   Fnd_Condition& Condition);
    static void Make_Alias(const Fnd_String& New_Name, const Fnd_String& Existing,
                           Fnd_Condition& Condition);
    static void Make_Named_Pipe(const Fnd_String& Path, Fnd_Condition& Condition);
    // Reads the link, deletes it and makes it under the new name; if that fails the old
    // link is made again.
    static void Rename_Symbolic_Link(const Fnd_String& Old, const Fnd_String& New,
                                     Fnd_Condition& Condition);
    static void Delete_File(const Fnd_String& Path, Fnd_Condition& Condition,
                            long Ignore_Missing);
    static void Delete_Symbolic_Link(const Fnd_String& Path, Fnd_Condition& Condition,
                                     long Ignore_Missing);

    // ---- Descriptors
    // Mode 0 leaves Fd -1 with a clear condition. Flags are Hst_Open_Flags bits;
    // new files get 0777 less the umask.
    static void Open_File(const Fnd_String& Path, Hst_Open_Mode Mode, Fnd_Condition& Condition,
                          int& Fd, long Flags);
    static void Close_File(int Fd, Fnd_Condition& Condition);
    // Reads up to Length bytes. The count read, which may be less than Length, and 0
    // at the end of the file; -1 on failure (Hst_Sys_Call_Error 141 with Length). On a
    // non-blocking descriptor with nothing to read this spins until data arrives.
    // A negative Length fails with EINVAL before any call.
    static long Read(int Fd, void* Buffer, long Length, Fnd_Condition& Condition);
    // Writes up to Length bytes. The count written, which may be less than Length; -1
    // on failure (Hst_Sys_Call_Error 143 with Length). A count below Length is no
    // failure: the caller writes the rest. A reader that has gone gives EPIPE and
    // never raises SIGPIPE in the process.
    static long Write(int Fd, const void* Buffer, long Length, Fnd_Condition& Condition);
    static void Truncate_File(int Fd, long Length, Fnd_Condition& Condition);
    // 1 if the file is empty or the position is at or behind its end; 0 otherwise and
    // when that cannot be told.
    static long End_Of_File(int Fd);
    // The new position, or -1.
    static long Reposition_File(int Fd, long Offset, Hst_File_Position Origin,
                                Fnd_Condition& Condition);
    static void Synchronize(int Fd, Fnd_Condition& Condition);
    static void Set_Non_Blocking(int Fd, long On, Fnd_Condition& Condition);

    // ---- Streams
    // Mode 0 gives a null stream and a clear condition.
    static void Open_File(const Fnd_String& Path, Hst_Open_Mode Mode, Fnd_Condition& Condition,
                          FILE*& Stream);
    static void Open_File(int Fd, Hst_Open_Mode Mode, Fnd_Condition& Condition, FILE*& Stream);
    // -1 for a null stream.
    static int File_Descriptor(FILE* Stream);
    static void Close_File(FILE* Stream, Fnd_Condition& Condition);
    // Count bytes; end of file is no failure.
    static long Read(FILE* Stream, void* Buffer, long Count, Fnd_Condition& Condition);
    // Any count above 0 is success, also a short one.
    static long Write(FILE* Stream, const void* Buffer, long Count, Fnd_Condition& Condition);
    // Buffer, or null at end of file (Buffer empty, clear condition) or on failure.
    static char* Read_String(FILE* Stream, char* Buffer, int Size, Fnd_Condition& Condition);
    static void Write_String(FILE* Stream, const char* Text, Fnd_Condition& Condition);
    static void Flush_File(FILE* Stream, Fnd_Condition& Condition);
    static long End_Of_File(FILE* Stream);
    static long Reposition_File(FILE* Stream, long Offset, Hst_File_Position Origin,
                                Fnd_Condition& Condition);

    static void Sleep(unsigned Seconds);

    // ---- The failure rules, for the host classes that make their own calls. Each sets
    // Condition's error from Error (an errno value).
    // EACCES 4, EPERM 5, ELOOP 6, ENAMETOOLONG 7, EIO 8, else Hst_Sys_Call_Error Number.
    static void General_Fail(Fnd_Condition& Condition, const Fnd_String& Path, long Number,
                             int Error);
    // As General_Fail, and EROFS 9, ENOSPC 11, ENOTDIR 101, ENOENT 102.
    static void Directory_Write_Fail(Fnd_Condition& Condition, const Fnd_String& Path,
                                     long Number, int Error);
    // As General_Fail, and ENOTDIR 101, ENOENT 201.
    static void File_Fail(Fnd_Condition& Condition, const Fnd_String& Path, long Number,
                          int Error);
    // open(2) with the mode, the flags and Permissions; Fd -1 after any failure
    // (EACCES 16, the common rule, else Hst_Sys_Call_Error 2).
    static void File_Open(const Fnd_String& Path, Hst_Open_Mode Mode, long Flags,
                          unsigned long Permissions, int& Fd, Fnd_Condition& Condition);
};
