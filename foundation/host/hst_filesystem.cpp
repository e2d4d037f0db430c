#include "foundation/host/hst_filesystem.h"

#include <cerrno>
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
        [&] { return ::write(Fd, Buffer, static_cast<size_t>(Length)); }, false);
    if (count < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, errno, Length, 0), 1);
        return -1;
    }
    return count;
}
