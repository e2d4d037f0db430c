#include "foundation/host/hst_filesystem.h"

#include <csignal>
#include <cerrno>
#include <ctime>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_errors.h"

namespace {

constexpr int Timeout_Attempts = 50;

// Runs Call under the retry rule; its result, with errno set by the last attempt.
template <class Call>
ssize_t Retry(Call System_Call, bool Repeat_Again) {
    int timeouts = 0;
    for (;;) {
        const ssize_t result = System_Call();
        if (result >= 0) return result;
        if (errno == EINTR) continue;
        if (errno == EAGAIN && Repeat_Again) continue;
        if (errno == ETIMEDOUT && ++timeouts < Timeout_Attempts) continue;
        return result;
    }
}

// write(2) without SIGPIPE: a library must not kill its host when a peer has gone.
// A socket is written by send with MSG_NOSIGNAL; anything else (a pipe) with
// SIGPIPE blocked, and a SIGPIPE that this write raised is taken back before the
// mask is restored. Either way a gone reader shows as EPIPE.
ssize_t Write_Without_Sigpipe(int Fd, const void* Buffer, size_t Length) {
    const ssize_t sent = ::send(Fd, Buffer, Length, MSG_NOSIGNAL);
    if (sent >= 0 || errno != ENOTSOCK) return sent;

    sigset_t pipe_only, old_mask, pending;
    sigemptyset(&pipe_only);
    sigaddset(&pipe_only, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe_only, &old_mask);
    sigpending(&pending);
    const bool was_pending = sigismember(&pending, SIGPIPE);
    const ssize_t written = ::write(Fd, Buffer, Length);
    const int write_errno = errno;
    if (written < 0 && write_errno == EPIPE && !was_pending) {
        const timespec no_wait = {0, 0};
        while (sigtimedwait(&pipe_only, nullptr, &no_wait) < 0 && errno == EINTR) {
        }
    }
    pthread_sigmask(SIG_SETMASK, &old_mask, nullptr);
    errno = write_errno;
    return written;
}

}  // namespace

long Hst_Filesystem::Read(int Fd, void* Buffer, long Length, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Length < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(141, EINVAL, Length, 0), 1);
        return -1;
    }
    const ssize_t count = Retry(
        [&] { return ::read(Fd, Buffer, static_cast<size_t>(Length)); }, true);
    if (count < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(141, errno, Length, 0), 1);
        return -1;
    }
    return count;
}

long Hst_Filesystem::Write(int Fd, const void* Buffer, long Length, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Length < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, EINVAL, Length, 0), 1);
        return -1;
    }
    const ssize_t count = Retry(
        [&] { return Write_Without_Sigpipe(Fd, Buffer, static_cast<size_t>(Length)); }, false);
    if (count < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, errno, Length, 0), 1);
        return -1;
    }
    return count;
}
