// Hst_Filesystem: the failure rules, opening, and the operations on descriptors.
#include "foundation/host/hst_filesystem.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem_calls.h"

using namespace hst_filesystem_detail;

ssize_t hst_filesystem_detail::Write_Without_Sigpipe(int Fd, const void* Buffer, size_t Length) {
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

namespace {

// The common rule: the errno values that the file system's own messages name.
bool Common_Fail(Fnd_Condition& Condition, const Fnd_String& Path, int Error) {
    long number;
    switch (Error) {
        case EACCES: number = 4; break;
        case EPERM: number = 5; break;
        case ELOOP: number = 6; break;
        case ENAMETOOLONG: number = 7; break;
        case EIO: number = 8; break;
        default: return false;
    }
    Condition.Set_Error(Hst_Filesystem_Error(number, Path, Error), 1);
    return true;
}

bool Write_Fail(Fnd_Condition& Condition, const Fnd_String& Path, int Error) {
    if (Common_Fail(Condition, Path, Error)) return true;
    if (Error != EROFS && Error != ENOSPC) return false;
    Condition.Set_Error(Hst_Filesystem_Error(Error == EROFS ? 9 : 11, Path, Error), 1);
    return true;
}

void Sys_Call_Fail(Fnd_Condition& Condition, const Fnd_String& Path, long Number, int Error) {
    Condition.Set_Error(
        Hst_Sys_Call_Error(Number, Error, Path, Fnd_String(), Hst_Filesystem::Hst_Open_None), 1);
}

// A failed call on a descriptor: the descriptor is the message's number.
void Descriptor_Fail(Fnd_Condition& Condition, long Number, int Fd, int Error) {
    Condition.Set_Error(Hst_Sys_Call_Error(Number, Error, Fd, 0), 1);
}

int System_Flags(Hst_Filesystem::Hst_Open_Mode Mode, long Flags) {
    int flags = O_CLOEXEC;
    if (Mode == Hst_Filesystem::Hst_Open_Write) flags |= O_WRONLY;
    if (Mode == Hst_Filesystem::Hst_Open_Read_Write) flags |= O_RDWR;
    if (Flags & Hst_Filesystem::Hst_Open_Sync) flags |= O_SYNC;
    if (Flags & Hst_Filesystem::Hst_Open_Append) flags |= O_APPEND;
    if (Flags & Hst_Filesystem::Hst_Open_Create) flags |= O_CREAT;
    if (Flags & Hst_Filesystem::Hst_Open_No_Delay) flags |= O_NDELAY;
    if (Flags & Hst_Filesystem::Hst_Open_Truncate) flags |= O_TRUNC;
    if (Flags & Hst_Filesystem::Hst_Open_Exclusive) flags |= O_EXCL;
    return flags;
}

}  // namespace

// ---- Failure rules

void Hst_Filesystem::General_Fail(Fnd_Condition& Condition, const Fnd_String& Path,
                                  long Number, int Error) {
    if (!Common_Fail(Condition, Path, Error)) Sys_Call_Fail(Condition, Path, Number, Error);
}

void Hst_Filesystem::Directory_Write_Fail(Fnd_Condition& Condition, const Fnd_String& Path,
                                          long Number, int Error) {
    if (Write_Fail(Condition, Path, Error)) return;
    if (Error == ENOTDIR)
        Condition.Set_Error(Hst_Filesystem_Error(101, Path, Error), 1);
    else if (Error == ENOENT)
        Condition.Set_Error(Hst_Filesystem_Error(102, Path, Error), 1);
    else
        Sys_Call_Fail(Condition, Path, Number, Error);
}

void Hst_Filesystem::File_Fail(Fnd_Condition& Condition, const Fnd_String& Path, long Number,
                               int Error) {
    if (Common_Fail(Condition, Path, Error)) return;
    if (Error == ENOTDIR)
        Condition.Set_Error(Hst_Filesystem_Error(101, Path, Error), 1);
    else if (Error == ENOENT)
        Condition.Set_Error(Hst_Filesystem_Error(201, Path, Error), 1);
    else
        Sys_Call_Fail(Condition, Path, Number, Error);
}

// ---- Opening

void Hst_Filesystem::File_Open(const Fnd_String& Path, Hst_Open_Mode Mode, long Flags,
                               unsigned long Permissions, int& Fd, Fnd_Condition& Condition) {
    Condition.Clear();
    Fd = -1;
    AdMbcsString path;
    int fd = -1;
    // O_CLOEXEC marks the descriptor in the same step, so no fork of another thread
    // can inherit it in between.
    if (Native(Path, path))
        fd = Retry([&] {
            return ::open(path.getData(), System_Flags(Mode, Flags),
                          static_cast<mode_t>(Permissions));
        });
    if (fd >= 0) {
        Fd = fd;
        return;
    }
    const int error = errno;
    if (error == EACCES)
        Condition.Set_Error(Hst_Filesystem_Error(16, Path, Mode, error), 1);
    else if (!Common_Fail(Condition, Path, error))
        Condition.Set_Error(Hst_Sys_Call_Error(2, error, Path, Fnd_String(), Mode), 1);
}

void Hst_Filesystem::Open_File(const Fnd_String& Path, Hst_Open_Mode Mode,
                               Fnd_Condition& Condition, int& Fd, long Flags) {
    Condition.Clear();
    Fd = -1;
    if (Mode == Hst_Open_None) return;
    File_Open(Path, Mode, Flags, 0777, Fd, Condition);
}

void Hst_Filesystem::Create_File(const Fnd_String& Path, Fnd_Condition& Condition) {
    int fd = -1;
    File_Open(Path, Hst_Open_Read, Hst_Open_Create | Hst_Open_Exclusive, 0777, fd, Condition);
    if (fd >= 0) ::close(fd);
}

void Hst_Filesystem::Make_File(const Fnd_String& Path, const Hst_File_Info* Info,
                               Hst_Open_Mode Mode, Fnd_Condition& Condition, int& Fd,
                               long Flags) {
    Condition.Clear();
    Fd = -1;
    if (Mode == Hst_Open_None) {
        Sys_Call_Fail(Condition, Path, 4, 0);
        return;
    }
    unsigned long permissions = 0666;
    if (Info != nullptr) permissions = Info->Get_Status().st_mode & 0666;
    static constexpr unsigned long Owner_Needs[] = {0, 0400, 0200, 0600};
    permissions |= Owner_Needs[Mode];
    File_Open(Path, Mode, Flags, permissions, Fd, Condition);
}

// ---- Descriptors

void Hst_Filesystem::Close_File(int Fd, Fnd_Condition& Condition) {
    Condition.Clear();
    Trace(File_Descriptors_Diagnostic, 2, u"Close fd", Fnd_String_Library::To_String(long{Fd}));
    // close is not repeated: on this system the descriptor is released even when the
    // call is interrupted, and a second close could hit a descriptor opened meanwhile.
    if (::close(Fd) == 0 || errno == EINTR) return;
    Descriptor_Fail(Condition, 5, Fd, errno);
}

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
        [&] { return Write_Without_Sigpipe(Fd, Buffer, static_cast<size_t>(Length)); });
    if (count < 0) {
        Condition.Set_Error(Hst_Sys_Call_Error(143, errno, Length, 0), 1);
        return -1;
    }
    return count;
}

void Hst_Filesystem::Truncate_File(int Fd, long Length, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Retry([&] { return ::ftruncate(Fd, static_cast<off_t>(Length)); }) != 0)
        Descriptor_Fail(Condition, 148, Fd, errno);
}

long Hst_Filesystem::End_Of_File(int Fd) {
    struct stat status {};
    if (::fstat(Fd, &status) != 0) return 0;
    if (status.st_size == 0) return 1;
    const off_t position = ::lseek(Fd, 0, SEEK_CUR);
    if (position < 0) return 0;
    return position >= status.st_size;
}

long Hst_Filesystem::Reposition_File(int Fd, long Offset, Hst_File_Position Origin,
                                     Fnd_Condition& Condition) {
    Condition.Clear();
    const off_t position =
        Retry([&] { return ::lseek(Fd, static_cast<off_t>(Offset), static_cast<int>(Origin)); });
    if (position < 0) {
        Descriptor_Fail(Condition, 151, Fd, errno);
        return -1;
    }
    return static_cast<long>(position);
}

void Hst_Filesystem::Synchronize(int Fd, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Retry([&] { return ::fsync(Fd); }) != 0) Descriptor_Fail(Condition, 152, Fd, errno);
}

void Hst_Filesystem::Set_Non_Blocking(int Fd, long On, Fnd_Condition& Condition) {
    Condition.Clear();
    const int flags = Retry([&] { return ::fcntl(Fd, F_GETFL); });
    if (flags < 0) {
        Descriptor_Fail(Condition, 124, Fd, errno);
        return;
    }
    const int wanted = On ? (flags | O_NDELAY) : (flags & ~O_NDELAY);
    if (Retry([&] { return ::fcntl(Fd, F_SETFL, wanted); }) < 0)
        Descriptor_Fail(Condition, 125, Fd, errno);
}

void Hst_Filesystem::Sleep(unsigned Seconds) { ::sleep(Seconds); }
