// A failed system call: the call's name (Operation), errno, and what was being done
// (Doing, often a path). A message of the subsystem "Host_Interface".
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

class Fnd_Condition;

class Fnd_Sys_Call_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Sys_Call_Error, Fnd_Message)
public:
    Fnd_Sys_Call_Error() = default;
    Fnd_Sys_Call_Error(const Fnd_String& Operation, const int Errno, const Fnd_String& Doing,
                       const long Text_Number);
    Fnd_Sys_Call_Error(const Fnd_Sys_Call_Error&) = default;
    Fnd_Sys_Call_Error& operator=(const Fnd_Sys_Call_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 2; }
    long Text_Number() const override { return Text; }
    // "errno" (the system's text), "syscall", "path", "what" (Doing and a blank, or
    // nothing); at level 2 any other name gives the call and errno.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    // "doing: <what>\n", "syscall: <syscall>\n", "errno: <errno>", each where it has a
    // value; empty when none has.
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;

    int Get_Errno() const { return Errno; }
    const Fnd_String& Get_Operation() const { return Operation; }
    const Fnd_String& Get_Doing() const { return Doing; }
    void Set_Doing(const Fnd_String& Doing) { this->Doing = Doing; }

    // Whether Condition's error is of this class and has errno Errno.
    static long Is_Errno(const Fnd_Condition& Condition, const int Errno);

    long Text = 0;
    int Errno = 0;
    Fnd_String Operation;
    Fnd_String Doing;
};
