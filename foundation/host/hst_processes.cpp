// Hst_Processes: the facts and actions of the current process.
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <vector>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_process_detail.h"
#include "foundation/host/hst_switches.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/admbcsstring.h"

extern "C" char** environ;

using hst_process_detail::Byte_Vector;

Hst_Pre_Terminate_Function Hst_Processes::pre_terminate = nullptr;

long Hst_Processes::Process_Id() { return ::getpid(); }

long Hst_Processes::Parent_Process_Id() { return ::getppid(); }

long Hst_Processes::Process_Group_Id() { return ::getpgrp(); }

long Hst_Processes::Process_Group_Id(long Pid) { return ::getpgid(static_cast<pid_t>(Pid)); }

const Fnd_String& Hst_Processes::Machine_Name() {
    static Fnd_String name;
    static bool known = false;
    if (!known) {
        utsname system;
        if (::uname(&system) != 0)
            Fnd_Assert(0, Hst_Sys_Call_Error(82, errno), Fnd_String::Null);
        if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), system.nodename, name,
                                      AdCharset::cvt_substitute))
            name.Make_Empty();
        known = true;
    }
    return name;
}

void Hst_Processes::Get_Machine_Name(Fnd_String& Out) { Out = Machine_Name(); }

long Hst_Processes::Get_Number_Of_CPUs() { return ::sysconf(_SC_NPROCESSORS_CONF); }

long Hst_Processes::Exists(long Pid) { return Hst_Process_Exists(static_cast<pid_t>(Pid)); }

void Hst_Processes::Terminate(int Status) {
    if (pre_terminate) {
        long veto = 0;
        pre_terminate(Status, &veto);
        if (veto) return;
    }
    Tio_Out.Close_Destinations();
    Tio_Err.Close_Destinations();
    Tio_Dialog.Close_Destinations();
    Tio_In.Set_Source(nullptr);
    std::exit(Status);
}

namespace {

long Send_Signal(pid_t Target, long Pid, int Signal, long Quiet, Fnd_Condition& Condition) {
    Condition.Clear();
    if (::kill(Target, Signal) == 0 || (Quiet && errno == ESRCH)) return 1;
    Condition.Set_Error(Hst_Sys_Call_Error(166, errno, Pid, Signal), 1);
    return 0;
}

}  // namespace

long Hst_Processes::Terminate_Process(long Pid, Fnd_Condition& Condition, int Signal,
                                      long Quiet) {
    return Send_Signal(static_cast<pid_t>(Pid), Pid, Signal, Quiet, Condition);
}

long Hst_Processes::Terminate_Group(long Group, Fnd_Condition& Condition, int Signal,
                                    long Quiet) {
    if (Group < 0) {
        Condition.Clear();
        return 1;
    }
    return Send_Signal(-static_cast<pid_t>(Group), Group, Signal, Quiet, Condition);
}

long Hst_Processes::Get_Priority(long Pid) {
    return ::getpriority(PRIO_PROCESS, static_cast<id_t>(Pid));
}

long Hst_Processes::Set_Priority(long Pid, long Priority, Fnd_Condition& Condition) {
    Condition.Clear();
    if (::setpriority(PRIO_PROCESS, static_cast<id_t>(Pid), static_cast<int>(Priority)) == 0)
        return 1;
    Condition.Set_Error(Hst_Sys_Call_Error(168, errno, Pid, Priority), 1);
    return 0;
}

long Hst_Processes::Wait_For_Any_Children() {
    long reaped = 0;
    for (int pass = 0; pass < 5;) {
        int status = 0;
        const pid_t result = ::waitpid(-1, &status, WNOHANG);
        if (result < 0 && errno == EINTR) continue;
        if (result == 0 || (result < 0 && errno == ECHILD)) break;
        if (result > 0) ++reaped;
        ++pass;
    }
    return reaped;
}

namespace {

// The environment made by Swap_Environment, which environ points into until the
// next swap, and the 16-bit copy of the one it replaced. Never freed: environ may
// still be read while the process ends.
struct Swapped_Environment {
    Byte_Vector Current;
    std::vector<Fnd_String> Previous;
    std::vector<const Code_Unit*> Previous_Pointers;
};

Swapped_Environment& Swapped() {
    static Swapped_Environment* swapped = new Swapped_Environment;
    return *swapped;
}

}  // namespace

const Code_Unit* const* Hst_Processes::Swap_Environment(const Code_Unit* const* Envp) {
    Swapped_Environment& swapped = Swapped();
    std::vector<Fnd_String> previous;
    for (char** entry = environ; entry && *entry; ++entry) {
        Fnd_String text;
        if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), *entry, text,
                                      AdCharset::cvt_substitute))
            continue;
        previous.push_back(text);
    }
    swapped.Previous.swap(previous);
    swapped.Previous_Pointers.clear();
    for (const Fnd_String& text : swapped.Previous) swapped.Previous_Pointers.push_back(text.Data());
    swapped.Previous_Pointers.push_back(nullptr);

    if (Envp) {
        auto converted = std::make_unique<Byte_Vector>();
        if (converted->Convert(Envp) < 0) {
            // The old vector is dropped only once environ no longer points into it.
            Byte_Vector old = std::move(swapped.Current);
            swapped.Current = std::move(*converted);
            environ = swapped.Current.Get();
        }
    }
    return swapped.Previous_Pointers.data();
}

void Hst_Processes::Sleep(long Seconds) {
    if (Seconds > 0) ::sleep(static_cast<unsigned>(Seconds));
}

void Hst_Processes::Usleep(long Microseconds) {
    if (Microseconds <= 0) return;
    timespec pause = {Microseconds / 1000000, (Microseconds % 1000000) * 1000};
    ::nanosleep(&pause, nullptr);
}

long Hst_Processes::Descriptor_Table_Size() { return Hst_Max_Open_Files(); }
