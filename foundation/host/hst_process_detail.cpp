#include "foundation/host/hst_process_detail.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>

#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"

namespace hst_process_detail {

namespace {

constexpr long Process_Diagnostic = 49;

bool Set_Exec_Flag(int Fd, bool On) {
    for (;;) {
        if (::fcntl(Fd, F_SETFD, On ? FD_CLOEXEC : 0) >= 0) return true;
        if (errno != EINTR) return false;
    }
}

void Pause_Milliseconds(long Milliseconds) {
    timespec pause = {Milliseconds / 1000, (Milliseconds % 1000) * 1000000};
    while (::nanosleep(&pause, &pause) < 0 && errno == EINTR) {
    }
}

long Milliseconds_Since(const timespec& Start) {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - Start.tv_sec) * 1000 + (now.tv_nsec - Start.tv_nsec) / 1000000;
}

}  // namespace

Hst_Sys_Call_Error Failure_Message(const Child_Failure& Failure, const Fnd_String& Work_Dir,
                                   const Fnd_String& Program) {
    switch (Failure.Text) {
    case 21:
        return Hst_Sys_Call_Error(21, Failure.Error, Work_Dir, Fnd_String::Null,
                                  Hst_Filesystem::Hst_Open_None);
    case 121:
        return Hst_Sys_Call_Error(121, Failure.Error, Fnd_String_Library::To_String(Failure.Num),
                                  Fnd_String::Null, Hst_Filesystem::Hst_Open_None);
    case 161:
        return Hst_Sys_Call_Error(161, Failure.Error, Program, Fnd_String::Null,
                                  Hst_Filesystem::Hst_Open_None);
    default:
        return Hst_Sys_Call_Error(Failure.Text, Failure.Error, Failure.Num, Failure.Num1);
    }
}

void Write_Failure(int Fd, const Child_Failure& Failure) {
    const char* next = reinterpret_cast<const char*>(&Failure);
    size_t left = sizeof Failure;
    while (left > 0) {
        const ssize_t written = ::write(Fd, next, left);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        next += written;
        left -= static_cast<size_t>(written);
    }
}

bool Read_Failure(int Fd, Child_Failure& Failure) {
    char* next = reinterpret_cast<char*>(&Failure);
    size_t left = sizeof Failure;
    while (left > 0) {
        const ssize_t count = ::read(Fd, next, left);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        next += count;
        left -= static_cast<size_t>(count);
    }
    return Failure.Text != 0;
}

bool Raw_Redirect(int Target, int Fd, bool Close_Fd, Child_Failure& Failure) {
    if (Fd != -1 && Fd != Target) {
        int result;
        while ((result = ::dup2(Fd, Target)) < 0 && errno == EINTR) {
        }
        if (result < 0) {
            Failure = {86, errno, Target, Fd};
            return false;
        }
        if (Close_Fd) ::close(Fd);
        return true;
    }
    if (Target == -1) return true;
    return Raw_Set_Exec(Target, false, Failure);
}

bool Raw_Set_Exec(int Fd, bool On, Child_Failure& Failure) {
    if (Set_Exec_Flag(Fd, On) || errno == EBADF) return true;
    Failure = {121, errno, Fd, 0};
    return false;
}

long Byte_Vector::Convert(const Code_Unit* const* Texts, bool Skip_Bad) {
    long bad = -1;
    Storage.clear();
    for (long i = 0; Texts[i]; ++i) {
        AdMbcsString bytes;
        if (bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Texts[i], AdCharset::cvt_stop)) {
            Storage.push_back(bytes.getString());
            continue;
        }
        if (bad < 0) bad = i;
        if (!Skip_Bad) Storage.emplace_back();
    }
    // The pointers are taken once the strings have stopped moving.
    Pointers.clear();
    for (std::string& text : Storage) Pointers.push_back(text.data());
    Pointers.push_back(nullptr);
    return bad;
}

Sigchld_Guard::Sigchld_Guard(bool Needed) {
    if (!Needed || ::sigaction(SIGCHLD, nullptr, &Old) < 0) return;
    if (Old.sa_handler != SIG_IGN && !(Old.sa_flags & SA_NOCLDWAIT)) return;
    struct sigaction waiting = Old;
    if (waiting.sa_handler == SIG_IGN) waiting.sa_handler = SIG_DFL;
    waiting.sa_flags &= ~SA_NOCLDWAIT;
    Swapped = ::sigaction(SIGCHLD, &waiting, nullptr) == 0;
}

Sigchld_Guard::~Sigchld_Guard() {
    if (Swapped) ::sigaction(SIGCHLD, &Old, nullptr);
}

void Sigchld_Guard::Restore_In_Child() const {
    if (Swapped) ::sigaction(SIGCHLD, &Old, nullptr);
}

long Finished(long& Pid, int Options, int& Status, int& Signaled, int& Error) {
    Error = 0;
    int raw = 0;
    pid_t result;
    while ((result = ::waitpid(static_cast<pid_t>(Pid), &raw, Options)) < 0 &&
           (errno == EINTR || errno == EAGAIN)) {
    }
    if (result < 0) {
        Error = errno;
        return 0;
    }
    if (Pid == -1 && result > 0) Pid = result;
    if (Pid != result) return 0;
    if (WIFEXITED(raw)) {
        Signaled = 0;
        Status = WEXITSTATUS(raw);
    } else if (WIFSIGNALED(raw)) {
        Signaled = 1;
        Status = WTERMSIG(raw);
    } else {
        Signaled = 0;
        Status = 0;
    }
    return 1;
}

namespace {

// Waits until the child has ended or Limit_Ms have passed since Start, and says
// whether it ended. With a pidfd the child's end wakes the wait at once; a system
// without pidfds is asked again after pauses that grow to 50 ms.
bool Wait_Bounded(long& Pid, long Limit_Ms, const timespec& Start, int& Status, int& Signaled,
                  int& Error) {
    const int pidfd = static_cast<int>(::syscall(SYS_pidfd_open, static_cast<pid_t>(Pid), 0));
    long pause = 1;
    bool ended = false;
    for (;;) {
        if (Finished(Pid, WNOHANG, Status, Signaled, Error)) {
            ended = true;
            break;
        }
        const long left = Limit_Ms - Milliseconds_Since(Start);
        if (Error != 0 || left <= 0) break;
        if (pidfd >= 0) {
            pollfd end = {pidfd, POLLIN, 0};
            (void)::poll(&end, 1, static_cast<int>(left < INT_MAX ? left : INT_MAX));
            continue;  // readable, timed out or interrupted: the checks above decide
        }
        Pause_Milliseconds(pause < left ? pause : left);
        if (pause < 50) pause *= 2;
    }
    if (pidfd >= 0) ::close(pidfd);
    return ended;
}

}  // namespace

Child_End Wait_For_Child(pid_t Pid, long Limit_Ms, int& Status, int& Signaled, int& Error) {
    long pid = Pid;
    if (Limit_Ms < 0) return Finished(pid, 0, Status, Signaled, Error) ? Child_Ended
                                                                       : Child_Wait_Failed;
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    if (Wait_Bounded(pid, Limit_Ms, start, Status, Signaled, Error)) return Child_Ended;
    if (Error != 0) return Child_Wait_Failed;
    ::kill(Pid, SIGKILL);
    int ignored_status = 0;
    int ignored_signaled = 0;
    Finished(pid, 0, ignored_status, ignored_signaled, Error);
    Error = ETIMEDOUT;
    return Child_Timed_Out;
}

bool Diagnosing(long Bit) {
    return AdDiagnostic::m_DiagnosticFlags[Process_Diagnostic] != 0 &&
           AdDiagnostic::IsEnabled(Process_Diagnostic, Bit, 1);
}

void Report(const Code_Unit* Label, const Fnd_String& Text) {
    AdDiagnostic::Report(Label, Text.Data());
}

}  // namespace hst_process_detail
