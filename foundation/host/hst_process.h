// Processes: starting programs and functions in child processes, preparing
// descriptors across exec, waiting for children and decoding how they ended
// (Hst_Process), and the facts and actions of the current process (Hst_Processes).
// Every failure comes back in a Fnd_Condition; both classes are static.
#pragma once

#include <sys/types.h>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_string.h"

class Fnd_Condition;

// Runs in the child between fork and exec; a failure left in the condition stops the
// program from being run.
typedef void (*Hst_Pre_Exec_Function)(void* Data, Fnd_Condition& Condition);
// Runs in a forked child; its result is the child's exit code.
typedef int (*Hst_Child_Function)(void* Data);
// The hook of Hst_Processes::Terminate: storing a non-zero value in *Veto keeps the
// process alive.
typedef void (*Hst_Pre_Terminate_Function)(int Status, long* Veto);
// Stand-ins for fork(2) and for the sleep between fork attempts, for tests.
typedef pid_t (*Hst_Fork_Function)();
typedef void (*Hst_Sleep_Function)(long Seconds);

class Hst_Process {
public:
    Hst_Process() = delete;
    Hst_Process(const Hst_Process&) = delete;
    Hst_Process& operator=(const Hst_Process&) = delete;

    // No limit for the wait of Run and Call.
    static constexpr long No_Wait_Limit = -1;

    // Starts the program Argv[0] (searched in PATH) with the NULL-terminated Argv.
    // Envp (NULL-terminated, or null for the current environment) and Work_Dir (or
    // null) are the child's. In_Fd, Out_Fd, Err_Fd become the child's descriptors 0, 1,
    // 2; -1 leaves one as inherited. Pre_Exec runs in the child before exec. New_Group
    // puts the child in a process group of its own. Use_Vfork allows vfork when
    // there is neither Envp nor Pre_Exec.
    //
    // With Wait, Run waits for the end of the child: Exit_Status is its exit code,
    // Pid 0; an end by a signal is Hst_Process_Error 2. Wait_Limit_Ms, when not
    // negative, bounds that wait: a child still running then is killed and reaped,
    // and the failure is Hst_Sys_Call_Error 163 with ETIMEDOUT. Without Wait, Pid is
    // the child's and Exit_Status 0.
    //
    // After vfork, a failure of the child before or at exec reaches Condition; after
    // fork, the child writes it to the log and error streams and ends with errno of a
    // failed exec, or 255. 1 when Condition is clean.
    static long Run(const Code_Unit* const* Argv, const Code_Unit* const* Envp,
                    const Code_Unit* Work_Dir, long& Pid, int& Exit_Status,
                    Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd, long Wait,
                    Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data, long New_Group,
                    long Use_Vfork, long Wait_Limit_Ms = No_Wait_Limit);

    // Runs Function(Data) in a forked child, which ends with its result. The rest as
    // in Run; Status is what Exit_Status is there. The child is always made by fork:
    // a function of the caller's cannot be held to the rules of a vfork child.
    static long Call(Hst_Child_Function Function, void* Data, int& Status, long& Pid,
                     Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd,
                     long Use_Vfork, long New_Group, long Wait,
                     long Wait_Limit_Ms = No_Wait_Limit);
    // The same, waiting for the child.
    static long Call(Hst_Child_Function Function, void* Data, int& Status,
                     Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd,
                     long Use_Vfork, long New_Group);

    // A pipe with both ends close-on-exec; on failure both are -1 (Hst_Sys_Call_Error 85).
    static long Create_Pipe(int Fds[2], Fnd_Condition& Condition);
    // Makes Fd the descriptor Target (closing Fd after when Close_Fd); with an Fd of
    // -1 or equal to Target, Target only loses its close-on-exec flag.
    static long Redirect(int Target, int Fd, Fnd_Condition& Condition, long Close_Fd);
    // Sets or clears close-on-exec. EBADF is ignored; another failure is
    // Hst_Sys_Call_Error 121 with the descriptor.
    static long Set_Exec(int Fd, Fnd_Condition& Condition);
    static long Clear_Exec(int Fd, Fnd_Condition& Condition);
    // execvp in this process; it returns only on failure (Hst_Sys_Call_Error 161).
    static long Execute_Process(Fnd_Condition& Condition, const Code_Unit* const* Argv);

    // Waits for the child Pid. A Pid of -1 only looks whether any child has ended,
    // and then sets Pid to it. Status is the exit code or, when Signaled is 1, the
    // signal. 1 when a child was found; a failed wait is Hst_Sys_Call_Error 163.
    static long Wait(long& Pid, int& Status, int& Signaled, Fnd_Condition& Condition);
    // Whether the child Pid has ended, without waiting. A child that the system has
    // reaped already (SIGCHLD ignored) counts as ended, with status 0.
    static long Terminated(long Pid, int& Status, int& Signaled);
    // The one decoder of wait statuses; Options is 0 or WNOHANG. 1 when Pid (or, for
    // -1, any child, whose id it stores) has changed state; 0 when not, or when the
    // wait failed. A stopped child gives status 0, not signaled.
    static long Process_Finished(long& Pid, int Options, int& Status, int& Signaled);

    // Replaces fork and the sleep between its attempts; null restores the system's.
    static void Set_Fork_Hooks(Hst_Fork_Function Fork, Hst_Sleep_Function Sleep);
};

class Hst_Processes {
public:
    Hst_Processes() = delete;

    // Called by Terminate before anything else; null at the start.
    static Hst_Pre_Terminate_Function pre_terminate;

    static long Process_Id();
    static long Parent_Process_Id();
    static long Process_Group_Id();
    static long Process_Group_Id(long Pid);
    // The node name of uname(2), read once and kept. A failing uname is a programming
    // error of the host (Hst_Sys_Call_Error 82).
    static const Fnd_String& Machine_Name();
    static void Get_Machine_Name(Fnd_String& Out);
    static long Get_Number_Of_CPUs();
    // Whether a process with this id exists (one of another user counts).
    static long Exists(long Pid);

    // Asks pre_terminate, which may veto; else closes the destinations of the output
    // streams and ends the process with exit(Status).
    static void Terminate(int Status);
    // kill(2). With Quiet a process that is gone is no failure; another failure is
    // Hst_Sys_Call_Error 166 with the id.
    static long Terminate_Process(long Pid, Fnd_Condition& Condition, int Signal, long Quiet);
    // The same for the process group Group; a negative Group does nothing.
    static long Terminate_Group(long Group, Fnd_Condition& Condition, int Signal, long Quiet);
    static long Get_Priority(long Pid);
    static long Set_Priority(long Pid, long Priority, Fnd_Condition& Condition);
    // Reaps children that have ended, without waiting; at most five passes, a pass
    // being a reaped child or a failure. The number of children reaped.
    static long Wait_For_Any_Children();
    // Makes Envp (NULL-terminated) the environment when it converts to the default
    // charset; null changes nothing. The previous environment in 16 bits, valid until
    // the next call.
    static const Code_Unit* const* Swap_Environment(const Code_Unit* const* Envp);
    static void Sleep(long Seconds);
    static void Usleep(long Microseconds);
    // The soft limit of open descriptors; 0 when it cannot be read.
    static long Descriptor_Table_Size();
};
