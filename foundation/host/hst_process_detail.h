// The pieces of process control that run in a child between fork and exec, and the
// waiting for a child. What runs in a child allocates nothing and converts nothing:
// after vfork it shares the parent's memory.
#pragma once

#include <signal.h>
#include <sys/types.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_string.h"

class Hst_Sys_Call_Error;

namespace hst_process_detail {

// A failed call in a child: the Hst_Sys_Call_Error text number (0: none), errno and
// the descriptors involved.
struct Child_Failure {
    long Text = 0;
    int Error = 0;
    long Num = 0;
    long Num1 = 0;
};

// The message of Failure; Work_Dir and Program name the failures of chdir and exec.
Hst_Sys_Call_Error Failure_Message(const Child_Failure& Failure, const Fnd_String& Work_Dir,
                                   const Fnd_String& Program);
// The record of a failure through a pipe. Writing is safe in a vfork child; reading
// gives false when the pipe ended without a record (the exec succeeded).
void Write_Failure(int Fd, const Child_Failure& Failure);
bool Read_Failure(int Fd, Child_Failure& Failure);

// dup2(Fd, Target) and, with Close_Fd, close(Fd); with an Fd of -1 or equal to Target,
// Target loses its close-on-exec flag instead.
bool Raw_Redirect(int Target, int Fd, bool Close_Fd, Child_Failure& Failure);
// Sets or clears close-on-exec; EBADF is no failure.
bool Raw_Set_Exec(int Fd, bool On, Child_Failure& Failure);

// A NULL-terminated vector of 8-bit strings in the default charset.
class Byte_Vector {
public:
    // Converts Texts. The index of the first text that does not convert, or -1. With
    // Skip_Bad such texts are left out; else they stay as empty strings.
    long Convert(const Code_Unit* const* Texts, bool Skip_Bad = false);
    // The vector as exec and environ take it.
    char** Get() const { return const_cast<char**>(Pointers.data()); }

private:
    std::vector<std::string> Storage;
    std::vector<char*> Pointers{nullptr};
};

// While a parent waits for its child, SIGCHLD must not be ignored (an ignored SIGCHLD
// lets the system reap the child and the wait fail with ECHILD). The guard sets the
// default action for its lifetime when needed; the child puts the host's choice back
// before exec, so that the program inherits it.
class Sigchld_Guard {
public:
    explicit Sigchld_Guard(bool Needed);
    ~Sigchld_Guard();
    Sigchld_Guard(const Sigchld_Guard&) = delete;
    Sigchld_Guard& operator=(const Sigchld_Guard&) = delete;
    void Restore_In_Child() const;

private:
    bool Swapped = false;
    struct sigaction Old {};
};

// waitpid with the decoding of the status. 1 when Pid (or, for -1, any child, whose id
// it stores) has changed state; 0 when not yet (WNOHANG) or when the wait failed, and
// then Error is its errno (0 for "not yet").
long Finished(long& Pid, int Options, int& Status, int& Signaled, int& Error);

enum Child_End { Child_Ended, Child_Wait_Failed, Child_Timed_Out };
// Waits for the end of Pid, for Limit_Ms at most when it is not negative. A child
// that outlives the limit is killed and reaped; Error is then ETIMEDOUT.
Child_End Wait_For_Child(pid_t Pid, long Limit_Ms, int& Status, int& Signaled, int& Error);

// The diagnostic "PROCESS" at Bit.
bool Diagnosing(long Bit);
void Report(const Code_Unit* Label, const Fnd_String& Text);

}  // namespace hst_process_detail
