#include "foundation/host/hst_process.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <string>
#include <vector>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_process_detail.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"

using namespace hst_process_detail;

namespace {

Hst_Fork_Function fork_hook = nullptr;
Hst_Sleep_Function sleep_hook = nullptr;

pid_t Fork_Once() { return fork_hook ? fork_hook() : ::fork(); }

void Sleep_Before_Retry(long Seconds) {
    if (sleep_hook)
        sleep_hook(Seconds);
    else
        Hst_Filesystem::Sleep(static_cast<unsigned>(Seconds));
}

// What a fork attempt leaves: the child's id, or -1 with the errno of the last try.
struct Fork_Result {
    pid_t Pid = -1;
    int Error = 0;
};

// After a failed attempt: whether to try again, sleeping first as the count says.
// EINTR is retried at once and not counted; EAGAIN and ENOMEM up to nine times after
// sleeps of 1, 1, 1, 2, 2, 2, 3, 3, 3 seconds.
bool Retry_Fork(int Error, int& Tries) {
    if (Error == EINTR) return true;
    if (Tries > 8 || (Error != EAGAIN && Error != ENOMEM)) return false;
    if (Diagnosing(256))
        Report(u"Hst_Process::Fork", AdDiagnostic::Join_With_Space(u"retry", Tries + 1));
    Sleep_Before_Retry(Tries / 3 + 1);
    ++Tries;
    return true;
}

// The 8-bit argument vector, environment and working directory, made before the fork
// so that the child only has to hand them to the system.
struct Exec_Plan {
    Byte_Vector Argv;
    Byte_Vector Envp;
    bool Has_Envp = false;
    std::string Work_Dir;
    bool Has_Work_Dir = false;
    // Which argument did not convert: -1 none.
    long Bad_Argument = -1;
    Fnd_String Program;
    Fnd_String Work_Dir_Text;
    int In_Fd = -1;
    int Out_Fd = -1;
    int Err_Fd = -1;
    bool New_Group = false;
};

// The step of a child whose failure records into Failure; false on failure.
bool Child_Redirects(const Exec_Plan& Plan, Child_Failure& Failure) {
    return Raw_Redirect(0, Plan.In_Fd, Plan.In_Fd != Plan.Out_Fd && Plan.In_Fd != Plan.Err_Fd,
                        Failure) &&
           Raw_Redirect(1, Plan.Out_Fd, Plan.Out_Fd != Plan.Err_Fd, Failure) &&
           Raw_Redirect(2, Plan.Err_Fd, true, Failure);
}

extern "C" char** environ;

// The child of vfork shares the parent's memory: it allocates nothing, converts
// nothing and calls only what is safe there. Its failure goes back as one record
// through Report_Fd, which is close-on-exec, so a successful exec sends nothing.
[[noreturn]] void Vfork_Child(const Exec_Plan& Plan, const Sigchld_Guard& Guard, int Report_Fd) {
    Guard.Restore_In_Child();
    Child_Failure failure;
    int exit_code = -1;
    if (Plan.New_Group && ::setpgid(0, 0) < 0) {
        failure = {164, errno, 0, 0};
    } else if (Plan.Has_Work_Dir && ::chdir(Plan.Work_Dir.c_str()) < 0) {
        failure = {21, errno, 0, 0};
    } else if (Child_Redirects(Plan, failure)) {
        ::execvp(Plan.Argv.Get()[0], Plan.Argv.Get());
        failure = {161, errno, 0, 0};
        exit_code = errno;
    }
    Write_Failure(Report_Fd, failure);
    ::_exit(exit_code);
}

// Puts the child's failure on the log stream and its image on the error stream.
void Report_In_Child(const Fnd_Condition& Condition) {
    Tio_Log.Put_Message(*Condition.Get_Error(), Tio_Log.Policy().Detail());
    Tio_Err.Put_Line(Condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                     Fnd_Message::Default_Message_Separator()));
}

[[noreturn]] void Fork_Child(const Exec_Plan& Plan, const Sigchld_Guard& Guard,
                             Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data) {
    Guard.Restore_In_Child();
    if (Plan.New_Group && ::setpgid(0, 0) < 0)
        Fnd_Assert(0, Hst_Sys_Call_Error(164, errno), Fnd_String::Null);
    int exit_code = -1;
    Fnd_Condition condition;
    Child_Failure failure;
    if (Plan.Has_Envp) environ = Plan.Envp.Get();
    if (Plan.Has_Work_Dir && ::chdir(Plan.Work_Dir.c_str()) < 0) failure = {21, errno, 0, 0};
    if (failure.Text == 0) Child_Redirects(Plan, failure);
    if (failure.Text != 0)
        condition.Set_Error(Failure_Message(failure, Plan.Work_Dir_Text, Plan.Program), 1);
    if (!condition.Failed() && Pre_Exec) Pre_Exec(Pre_Exec_Data, condition);
    if (!condition.Failed()) {
        if (Plan.Bad_Argument == 0)
            Fnd_Assert(0, Fnd_String(u"Could not argv[0] cvtFromTchar: ") + Plan.Program);
        if (Plan.Bad_Argument > 0)
            Fnd_Assert(0, Fnd_String(u"Could not argv cvtFromTchar: ") +
                              Fnd_String_Library::To_String(Plan.Bad_Argument));
        ::execvp(Plan.Argv.Get()[0], Plan.Argv.Get());
        exit_code = errno;
        condition.Set_Error(Hst_Sys_Call_Error(161, exit_code, Plan.Program, Fnd_String::Null,
                                               Hst_Filesystem::Hst_Open_None),
                            1);
    }
    if (Diagnosing(16))
        Report(u"Hst_Process::Run", AdDiagnostic::Join_With_Space(u"child exit", exit_code));
    Report_In_Child(condition);
    ::_exit(exit_code);
}

// Forks (or vforks) and sends the child on its way; the parent gets the child's id or
// -1. Kept out of line so that a vfork child never returns into the caller's frame.
__attribute__((noinline)) pid_t Start_Child(const Exec_Plan& Plan, const Sigchld_Guard& Guard,
                                            bool Use_Vfork, int Report_Fd,
                                            Hst_Pre_Exec_Function Pre_Exec,
                                            void* Pre_Exec_Data) {
    const pid_t pid = fork_hook ? fork_hook() : Use_Vfork ? ::vfork() : ::fork();
    if (pid == 0) {
        if (Use_Vfork) Vfork_Child(Plan, Guard, Report_Fd);
        Fork_Child(Plan, Guard, Pre_Exec, Pre_Exec_Data);
    }
    return pid;
}

// A failure of the child without text of its own gets the program's name on top.
void Set_Condition_Error(Fnd_Condition& Condition, const Fnd_String& Name) {
    if (Condition.Is_Generic(0, 1)) Condition.Push_Error(Hst_Process_Error(5, 0, Name), 1);
}

// The parent's side after the fork: Local holds what the child reported.
void Finish_In_Parent(const Fork_Result& Forked, long Wait, long Wait_Limit_Ms, long& Pid,
                      int& Exit_Status, Fnd_Condition& Local, Fnd_Condition& Condition,
                      const Fnd_String& Name) {
    if (Local.Failed()) Condition.Add(Local, 1, 0);
    if (Forked.Pid < 0) {
        Pid = 0;
        Condition.Add(Hst_Sys_Call_Error(162, Forked.Error), 0);
    } else if (Wait) {
        int signaled = 0;
        int error = 0;
        const Child_End end = Wait_For_Child(Forked.Pid, Wait_Limit_Ms, Exit_Status, signaled,
                                             error);
        if (end != Child_Ended)
            Condition.Add(Hst_Sys_Call_Error(163, error, Forked.Pid, 0), 0);
        else if (signaled)
            Condition.Add(Hst_Process_Error(2, Exit_Status, Fnd_String::Null), 0);
        Pid = 0;
        if (Diagnosing(1))
            Report(u"Hst_Process::Run",
                   AdDiagnostic::Join_With_Space(u"Exit_Status:", Exit_Status));
    } else {
        Exit_Status = 0;
        Pid = Forked.Pid;
    }
    Set_Condition_Error(Condition, Name);
}

// The Hst_Sys_Call_Error that the child reported through Fd, if any.
void Read_Child_Report(int Fd, const Exec_Plan& Plan, Fnd_Condition& Local) {
    Child_Failure failure;
    if (Read_Failure(Fd, failure))
        Local.Set_Error(Failure_Message(failure, Plan.Work_Dir_Text, Plan.Program), 1);
}

Fnd_String Join_Arguments(const Code_Unit* const* Argv) {
    Fnd_String text;
    for (long i = 0; Argv[i]; ++i) {
        if (i > 0) text.Append(u" ");
        text.Append(Argv[i]);
    }
    return text;
}

}  // namespace

long Hst_Process::Run(const Code_Unit* const* Argv, const Code_Unit* const* Envp,
                      const Code_Unit* Work_Dir, long& Pid, int& Exit_Status,
                      Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd, long Wait,
                      Hst_Pre_Exec_Function Pre_Exec, void* Pre_Exec_Data, long New_Group,
                      long Use_Vfork, long Wait_Limit_Ms) {
    if (Argv == nullptr || Argv[0] == nullptr) {
        Condition.Clear();
        Condition.Set_Error(Hst_Process_Error(1, 0, Fnd_String::Null), 1);
        return 0;
    }
    if (Diagnosing(1)) Report(u"Hst_Process::Run", Join_Arguments(Argv));
    Condition.Clear();
    Fnd_Condition local;

    Exec_Plan plan;
    plan.Program = Argv[0];
    plan.Bad_Argument = plan.Argv.Convert(Argv);
    if (Envp) {
        plan.Has_Envp = true;
        // An entry that does not convert is left out of the child's environment.
        plan.Envp.Convert(Envp, true);
    }
    if (Work_Dir) {
        plan.Has_Work_Dir = true;
        plan.Work_Dir_Text = Work_Dir;
        AdMbcsString path;
        if (path.cvtFromTchar(AdCharset::getDefaultCharset(), Work_Dir, AdCharset::cvt_stop)) {
            plan.Work_Dir = path.getString();
        } else {
            local.Set_Error(Hst_Sys_Call_Error(21, EILSEQ, plan.Work_Dir_Text, Fnd_String::Null,
                                               Hst_Filesystem::Hst_Open_None),
                            1);
        }
    }
    plan.In_Fd = In_Fd;
    plan.Out_Fd = Out_Fd;
    plan.Err_Fd = Err_Fd;
    plan.New_Group = New_Group != 0;

    if (local.Failed()) {
        // A working directory that cannot be named to the system: nothing is started.
        Condition.Add(local, 1, 0);
        Pid = 0;
        Exit_Status = 0;
        Set_Condition_Error(Condition, plan.Program);
        return 0;
    }

    bool use_vfork = Use_Vfork && Envp == nullptr && Pre_Exec == nullptr && plan.Bad_Argument < 0;
    int report[2] = {-1, -1};
    if (use_vfork && ::pipe2(report, O_CLOEXEC) < 0) use_vfork = false;

    Sigchld_Guard guard(Wait != 0);
    Fork_Result forked;
    int tries = 0;
    for (;;) {
        forked.Pid = Start_Child(plan, guard, use_vfork, report[1], Pre_Exec, Pre_Exec_Data);
        if (forked.Pid > 0) break;
        forked.Error = errno;
        if (!Retry_Fork(forked.Error, tries)) break;
    }
    if (use_vfork) {
        ::close(report[1]);
        if (forked.Pid > 0) Read_Child_Report(report[0], plan, local);
        ::close(report[0]);
    }
    Finish_In_Parent(forked, Wait, Wait_Limit_Ms, Pid, Exit_Status, local, Condition,
                     plan.Program);
    return Condition.Failed() ? 0 : 1;
}

long Hst_Process::Call(Hst_Child_Function Function, void* Data, int& Status, long& Pid,
                       Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd,
                       long /*Use_Vfork*/, long New_Group, long Wait, long Wait_Limit_Ms) {
    Condition.Clear();
    if (Function == nullptr) {
        Condition.Set_Error(Hst_Process_Error(1, 0, Fnd_String::Null), 1);
        return 0;
    }
    if (Diagnosing(1)) Report(u"Hst_Process::Call", Fnd_String::Null);
    Exec_Plan plan;
    plan.In_Fd = In_Fd;
    plan.Out_Fd = Out_Fd;
    plan.Err_Fd = Err_Fd;

    Sigchld_Guard guard(Wait != 0);
    Fork_Result forked;
    int tries = 0;
    for (;;) {
        forked.Pid = Fork_Once();
        if (forked.Pid == 0) {
            guard.Restore_In_Child();
            if (New_Group && ::setpgid(0, 0) < 0)
                Fnd_Assert(0, Hst_Sys_Call_Error(164, errno), Fnd_String::Null);
            Child_Failure failure;
            if (!Child_Redirects(plan, failure)) {
                const Fnd_Condition condition(Failure_Message(failure, Fnd_String::Null,
                                                              Fnd_String::Null));
                Fnd_Assert(0, condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                              Fnd_Message::Default_Message_Separator()));
            }
            ::_exit(Function(Data));
        }
        if (forked.Pid > 0) break;
        forked.Error = errno;
        if (!Retry_Fork(forked.Error, tries)) break;
    }
    Fnd_Condition local;
    Finish_In_Parent(forked, Wait, Wait_Limit_Ms, Pid, Status, local, Condition,
                     Fnd_String::Null);
    return Condition.Failed() ? 0 : 1;
}

long Hst_Process::Call(Hst_Child_Function Function, void* Data, int& Status,
                       Fnd_Condition& Condition, int In_Fd, int Out_Fd, int Err_Fd,
                       long Use_Vfork, long New_Group) {
    long pid = 0;
    return Call(Function, Data, Status, pid, Condition, In_Fd, Out_Fd, Err_Fd, Use_Vfork,
                New_Group, 1);
}

long Hst_Process::Create_Pipe(int Fds[2], Fnd_Condition& Condition) {
    Condition.Clear();
    if (::pipe2(Fds, O_CLOEXEC) < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(85, errno), 1);
        Fds[0] = Fds[1] = -1;
        return 0;
    }
    if (Diagnosing(2))
        Report(u"Hst_Process::Create_Pipe", AdDiagnostic::Join_With_Space(Fds[0], Fnd_String(
                                                Fnd_String_Library::To_String(Fds[1]))));
    return 1;
}

long Hst_Process::Redirect(int Target, int Fd, Fnd_Condition& Condition, long Close_Fd) {
    Condition.Clear();
    if (Diagnosing(2))
        Report(u"Hst_Process::Redirect",
               AdDiagnostic::Join_With_Space(Target, Fnd_String_Library::To_String(Fd)));
    Child_Failure failure;
    if (Raw_Redirect(Target, Fd, Close_Fd != 0, failure)) return 1;
    Condition.Set_Error(Failure_Message(failure, Fnd_String::Null, Fnd_String::Null), 1);
    return 0;
}

long Hst_Process::Set_Exec(int Fd, Fnd_Condition& Condition) {
    Condition.Clear();
    Child_Failure failure;
    if (Raw_Set_Exec(Fd, true, failure)) return 1;
    Condition.Set_Error(Failure_Message(failure, Fnd_String::Null, Fnd_String::Null), 1);
    return 0;
}

long Hst_Process::Clear_Exec(int Fd, Fnd_Condition& Condition) {
    Condition.Clear();
    Child_Failure failure;
    if (Raw_Set_Exec(Fd, false, failure)) return 1;
    Condition.Set_Error(Failure_Message(failure, Fnd_String::Null, Fnd_String::Null), 1);
    return 0;
}

long Hst_Process::Execute_Process(Fnd_Condition& Condition, const Code_Unit* const* Argv) {
    Condition.Clear();
    if (Argv == nullptr || Argv[0] == nullptr) {
        Condition.Set_Error(Hst_Process_Error(1, 0, Fnd_String::Null), 1);
        return 0;
    }
    Byte_Vector argv;
    const long bad = argv.Convert(Argv);
    if (bad == 0) Fnd_Assert(0, Fnd_String(u"Could not argv[0] cvtFromTchar: ") + Argv[0]);
    if (bad > 0)
        Fnd_Assert(0, Fnd_String(u"Could not argv cvtFromTchar: ") +
                          Fnd_String_Library::To_String(bad));
    ::execvp(argv.Get()[0], argv.Get());
    Condition.Set_Error(Hst_Sys_Call_Error(161, errno, Fnd_String(Argv[0]), Fnd_String::Null,
                                           Hst_Filesystem::Hst_Open_None),
                        1);
    return 0;
}

long Hst_Process::Process_Finished(long& Pid, int Options, int& Status, int& Signaled) {
    int error = 0;
    return Finished(Pid, Options, Status, Signaled, error);
}

long Hst_Process::Wait(long& Pid, int& Status, int& Signaled, Fnd_Condition& Condition) {
    Condition.Clear();
    long found = 0;
    if (Pid == -1) {
        found = Process_Finished(Pid, WNOHANG, Status, Signaled);
    } else {
        int error = 0;
        found = Finished(Pid, 0, Status, Signaled, error);
        if (!found) Condition.Set_Error(Hst_Sys_Call_Error(163, error, Pid, 0), 1);
    }
    if (found && Diagnosing(1))
        Report(u"Hst_Process::Wait",
               AdDiagnostic::Join_With_Space(
                   AdDiagnostic::Join_With_Space(u"Exit_Status:", Status),
                   AdDiagnostic::Join_With_Space(u"Signaled:", Signaled)));
    return found;
}

long Hst_Process::Terminated(long Pid, int& Status, int& Signaled) {
    if (Pid == -1) return 0;
    int error = 0;
    long pid = Pid;
    long ended = Finished(pid, WNOHANG, Status, Signaled, error);
    if (!ended && error == ECHILD) {
        // Not a child any more: the system reaped it (SIGCHLD ignored), or never was.
        Status = 0;
        Signaled = 0;
        ended = 1;
    }
    if (ended && Diagnosing(1))
        Report(u"Hst_Process::Terminated",
               AdDiagnostic::Join_With_Space(
                   AdDiagnostic::Join_With_Space(u"Exit_Status:", Status),
                   AdDiagnostic::Join_With_Space(u"Signaled:", Signaled)));
    return ended;
}

void Hst_Process::Set_Fork_Hooks(Hst_Fork_Function Fork, Hst_Sleep_Function Sleep) {
    fork_hook = Fork;
    sleep_hook = Sleep;
}
