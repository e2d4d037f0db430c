// The messages of the host layer, subsystem "Host_Interface": process failures,
// failed system calls with their arguments, and file system errors.
#pragma once

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_filesystem.h"

// Failures of starting and watching processes; Number is a signal, errno or process id
// as the text needs.
class Hst_Process_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Hst_Process_Error, Fnd_Message)
public:
    long Text = 0;
    long Number = 0;
    Fnd_String Name;

    Hst_Process_Error() = default;
    Hst_Process_Error(const long Text_Number, const long Number, const Fnd_String& Name)
        : Text(Text_Number), Number(Number), Name(Name) {}
    Hst_Process_Error(const Hst_Process_Error&) = default;
    Hst_Process_Error& operator=(const Hst_Process_Error&) = default;

    // Compares the text number alone.
    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 6; }
    long Text_Number() const override { return Text; }
    // "name", "sig" (decimal), "errno" (the system's text of Number); at level 2 any
    // other name gives Number in decimal.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};

// A failed system call of the host layer; what a form of the constructor does not take
// is zero or empty.
class Hst_Sys_Call_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Hst_Sys_Call_Error, Fnd_Message)
public:
    typedef Hst_Filesystem::Hst_Open_Mode Hst_Open_Mode;

    long Text = 0;
    int Errno = 0;
    Fnd_String Str;
    Fnd_String Str1;
    long Num = 0;
    long Num1 = 0;
    Hst_Open_Mode Mode = Hst_Filesystem::Hst_Open_None;

    Hst_Sys_Call_Error() = default;
    Hst_Sys_Call_Error(const long Text_Number, const int Errno);
    Hst_Sys_Call_Error(const long Text_Number, const int Errno, const Fnd_String& Str,
                       const Fnd_String& Str1, const Hst_Open_Mode Mode);
    Hst_Sys_Call_Error(const long Text_Number, const int Errno, const long Num, const long Num1);
    Hst_Sys_Call_Error(const long Text_Number, const int Errno, const Fnd_String& Str,
                       const Fnd_String& Str1, const long Num, const long Num1,
                       const Hst_Open_Mode Mode);
    Hst_Sys_Call_Error(const Hst_Sys_Call_Error&) = default;
    Hst_Sys_Call_Error& operator=(const Hst_Sys_Call_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 8; }
    long Text_Number() const override { return Text; }
    // "errno", "str", "str1", "num", "num1", "mode"; at level 2 any other name gives
    // all fields.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;

    int Get_Errno() const { return Errno; }
    // Whether Condition's error is of this class and has errno Errno.
    static long Is_Errno(const Fnd_Condition& Condition, const int Errno);
};

// A file system error in the file system's terms; Detail holds a lower-level condition
// where one was given.
class Hst_Filesystem_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Hst_Filesystem_Error, Fnd_Message)
public:
    long Number = 0;
    Fnd_String Path;
    long Mode = 0;
    unsigned long Perm1 = 0;
    unsigned long Perm2 = 0;
    Fnd_Condition Detail;
    int Error = 0;
    long Length = 0;

    Hst_Filesystem_Error() = default;
    explicit Hst_Filesystem_Error(const long Number);
    Hst_Filesystem_Error(const long Number, const Fnd_String& Path);
    Hst_Filesystem_Error(const long Number, const Fnd_String& Path, const int Error);
    Hst_Filesystem_Error(const long Number, const Fnd_String& Path,
                         const Hst_Filesystem::Hst_Open_Mode Mode, const int Error);
    Hst_Filesystem_Error(const long Number, const long Length, const Fnd_String& Path);
    Hst_Filesystem_Error(const long Number, const Fnd_Message& Detail);
    Hst_Filesystem_Error(const long Number, const Fnd_Condition& Detail);
    Hst_Filesystem_Error(const long Number, const unsigned long Perm1,
                         const unsigned long Perm2);
    Hst_Filesystem_Error(const Hst_Filesystem_Error&) = default;
    Hst_Filesystem_Error& operator=(const Hst_Filesystem_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 7; }
    long Text_Number() const override { return Number; }
    // "string" and "path", "path_truncate", "imode" (octal), "mode", "perm1", "perm2",
    // "detail", "error" (the system's text), "path_length", "length".
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;

    // The text of message 81 to 84 of this class for the modes 0 to 3; another value
    // in decimal.
    static Fnd_String Open_Mode_Image(const long Mode);
    // Whether Condition's error is of this class, with that number or errno.
    static long Is_Number(const Fnd_Condition& Condition, const long Number);
    static long Is_Errno(const Fnd_Condition& Condition, const int Error);
};
