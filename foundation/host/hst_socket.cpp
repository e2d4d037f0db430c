#include "foundation/host/hst_socket.h"

#include <fcntl.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/host/hst_filesystem_calls.h"
#include "foundation/host/hst_primitives.h"
#include "foundation/host/hst_process.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

void Fail(const Code_Unit* Call_Name, int Error, Fnd_Condition& Condition) {
    Condition.Set_Error(Fnd_Sys_Call_Error(Call_Name, Error, u"socket interface", 0), 1);
}

// Clears Condition for a result that is not negative, else fills it from errno.
template <class Result>
Result Check(Result Value, const Code_Unit* Call_Name, Fnd_Condition& Condition) {
    if (Value < 0)
        Fail(Call_Name, errno, Condition);
    else
        Condition.Clear();
    return Value;
}

long Succeeded(int Result, const Code_Unit* Call_Name, Fnd_Condition& Condition) {
    return Check(Result, Call_Name, Condition) >= 0 ? 1 : 0;
}

// An address that Set_Sun_Addr refused never reaches the system.
bool Usable(const Hst_Sockaddr_Un& Address, const Code_Unit* Call_Name,
            Fnd_Condition& Condition) {
    if (Address.Path_Error() == 0) return true;
    Fail(Call_Name, Address.Path_Error(), Condition);
    return false;
}

long Milliseconds_Since(const timespec& Start) {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (now.tv_sec - Start.tv_sec) * 1000 + (now.tv_nsec - Start.tv_nsec) / 1000000;
}

}  // namespace

int Hst_Socket::Socket(int Family, int Type, int Protocol, Fnd_Condition& Condition) {
    return Check(::socket(Family, Type | SOCK_CLOEXEC, Protocol), u"socket", Condition);
}

int Hst_Socket::Accept(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition) {
    socklen_t length = Hst_Sockaddr::Record_Length();
    return Check(::accept4(Fd, Address.Get_Record(), &length, SOCK_CLOEXEC), u"accept",
                 Condition);
}

int Hst_Socket::Accept(int Fd, Hst_Sockaddr_Un& Address, Fnd_Condition& Condition) {
    socklen_t length = Hst_Sockaddr_Un::Record_Length();
    return Check(::accept4(Fd, Address.Get_Record(), &length, SOCK_CLOEXEC), u"accept",
                 Condition);
}

long Hst_Socket::Wait_For_Input(int Fd, long Milliseconds, Fnd_Condition& Condition) {
    if (Fd < 0) {
        // poll would skip a negative descriptor and only wait out the time.
        Fail(u"poll", EBADF, Condition);
        return -1;
    }
    timespec start;
    clock_gettime(CLOCK_MONOTONIC, &start);
    for (;;) {
        long left = -1;
        if (Milliseconds >= 0) {
            left = Milliseconds - Milliseconds_Since(start);
            if (left < 0) left = 0;
        }
        pollfd wanted = {Fd, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, left > INT32_MAX ? INT32_MAX : static_cast<int>(left));
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) {
            Fail(u"poll", errno, Condition);
            return -1;
        }
        Condition.Clear();
        if (ready > 0 && (wanted.revents & POLLNVAL)) {
            Fail(u"poll", EBADF, Condition);
            return -1;
        }
        return ready > 0 ? 1 : 0;
    }
}

long Hst_Socket::Bind(int Fd, const Hst_Sockaddr& Address, Fnd_Condition& Condition) {
    return Succeeded(::bind(Fd, Address.Get_Record(), Hst_Sockaddr::Record_Length()), u"bind",
                     Condition);
}

long Hst_Socket::Bind(int Fd, const Hst_Sockaddr_Un& Address, Fnd_Condition& Condition) {
    if (!Usable(Address, u"bind", Condition)) return 0;
    return Succeeded(::bind(Fd, Address.Get_Record(), Hst_Sockaddr_Un::Record_Length()),
                     u"bind", Condition);
}

long Hst_Socket::Connect(int Fd, const Hst_Sockaddr& Address, Fnd_Condition& Condition) {
    return Succeeded(::connect(Fd, Address.Get_Record(), Hst_Sockaddr::Record_Length()),
                     u"connect", Condition);
}

long Hst_Socket::Connect(int Fd, const Hst_Sockaddr_Un& Address, Fnd_Condition& Condition) {
    if (!Usable(Address, u"connect", Condition)) return 0;
    return Succeeded(::connect(Fd, Address.Get_Record(), Hst_Sockaddr_Un::Record_Length()),
                     u"connect", Condition);
}

long Hst_Socket::Listen(int Fd, int Backlog, Fnd_Condition& Condition) {
    return Succeeded(::listen(Fd, Backlog), u"listen", Condition);
}

long Hst_Socket::Close(int Fd, Fnd_Condition& Condition) {
    if (::close(Fd) < 0) {
        Fail(u"close", errno, Condition);
        return 0;
    }
    Condition.Clear();
    return 1;
}

long Hst_Socket::Unlink(const Fnd_String& Path, Fnd_Condition& Condition) {
    AdMbcsString path;
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop)) {
        Fail(u"unlink", EILSEQ, Condition);
        return 0;
    }
    return Succeeded(::unlink(path.getData()), u"unlink", Condition);
}

long Hst_Socket::Read(int Fd, void* Buffer, long Length, long Non_Blocking,
                      Fnd_Condition& Condition) {
    if (Length < 0) {
        Fail(u"read", EINVAL, Condition);
        return -1;
    }
    const long count = Check(static_cast<long>(::read(Fd, Buffer, static_cast<std::size_t>(Length))),
                             u"read", Condition);
    if (count < 0 && Non_Blocking && Fnd_Sys_Call_Error::Is_Errno(Condition, EAGAIN)) {
        Condition.Clear();
        return 0;
    }
    return count;
}

long Hst_Socket::Write(int Fd, const void*& Buffer, long Length, long Non_Blocking,
                       Fnd_Condition& Condition) {
    if (Length < 0) {
        Fail(u"write", EINVAL, Condition);
        return -1;
    }
    const long count = Check(
        static_cast<long>(hst_filesystem_detail::Write_Without_Sigpipe(Fd, Buffer, static_cast<std::size_t>(Length))),
        u"write", Condition);
    if (count < 0 && Non_Blocking && Fnd_Sys_Call_Error::Is_Errno(Condition, EAGAIN)) {
        Condition.Clear();
        return 0;
    }
    return count;
}

long Hst_Socket::Set_Blocking(int Fd, long Blocking, Fnd_Condition& Condition) {
    const int flags = ::fcntl(Fd, F_GETFL);
    if (flags < 0) {
        Fail(u"fcntl_getflags", errno, Condition);
        return 0;
    }
    const int wanted = Blocking ? (flags & ~O_NDELAY) : (flags | O_NDELAY);
    if (::fcntl(Fd, F_SETFL, wanted) < 0) {
        Fail(u"fcntl_blocking", errno, Condition);
        return 0;
    }
    Condition.Clear();
    return 1;
}

long Hst_Socket::Set_No_Delay(int Fd, long On, Fnd_Condition& Condition) {
    const std::int32_t value = On > 0 ? 1 : 0;
    if (::setsockopt(Fd, IPPROTO_TCP, TCP_NODELAY, &value, sizeof value) < 0) {
        Fail(u"setsockopt_nodelay", errno, Condition);
        return 0;
    }
    Condition.Clear();
    return 1;
}

long Hst_Socket::Gethostbyname(const Fnd_String& Name, unsigned long& Address, int& Length,
                               Fnd_Condition& Condition) {
    Address = 0;
    Length = 0;
    errno = 0;
    const hostent* host = Hst_gethostbyname(Name.Data());
    if (host == nullptr || host->h_addr_list == nullptr || host->h_addr_list[0] == nullptr) {
        Fail(u"gethostbyname", host == nullptr && errno == 0 ? 0 : errno, Condition);
        return 0;
    }
    in_addr_t first = 0;
    const std::size_t size = static_cast<std::size_t>(host->h_length) < sizeof first
                                 ? static_cast<std::size_t>(host->h_length)
                                 : sizeof first;
    std::memcpy(&first, host->h_addr_list[0], size);
    Address = first;
    Length = host->h_length;
    Condition.Clear();
    return 1;
}

long Hst_Socket::Getsockname(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition) {
    socklen_t length = Hst_Sockaddr::Record_Length();
    return Succeeded(::getsockname(Fd, Address.Get_Record(), &length), u"getsockname",
                     Condition);
}

long Hst_Socket::Getsockname(int Fd, Hst_Sockaddr_Un& Address, Fnd_Condition& Condition) {
    socklen_t length = Hst_Sockaddr_Un::Record_Length();
    return Succeeded(::getsockname(Fd, Address.Get_Record(), &length), u"getsockname",
                     Condition);
}

long Hst_Socket::Getpeername(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition) {
    socklen_t length = Hst_Sockaddr::Record_Length();
    return Succeeded(::getpeername(Fd, Address.Get_Record(), &length), u"getpeername",
                     Condition);
}

void Hst_Socket::Get_Image(Fnd_Condition& Condition, int Fd, Fnd_String& Image) {
    Image.Make_Empty();
    Hst_Sockaddr local;
    if (!Getsockname(Fd, local, Condition)) return;
    unsigned long address = 0;
    int length = 0;
    if (!Gethostbyname(Hst_Processes::Machine_Name(), address, length, Condition)) return;
    Fnd_String_Library::To_String(Image, static_cast<long>(address));
    Image.Append(u":");
    Image.Append(Fnd_String_Library::To_String(static_cast<long>(local.Get_Sin_Port())));
}

namespace {

void Host_Name(const void* Address, int Family, Fnd_String& Name) {
    Name.Make_Empty();
    const hostent* host = Hst_gethostbyaddr(Address, 4, Family);
    if (host == nullptr || host->h_name == nullptr) return;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), host->h_name, Name,
                                  AdCharset::cvt_stop))
        Name.Make_Empty();
}

}  // namespace

void Hst_Socket::Get_Machine_Name(const Hst_Sockaddr& Address, Fnd_String& Name) {
    const in_addr_t address = static_cast<in_addr_t>(Address.Get_Sin_Addr());
    Host_Name(&address, AF_INET, Name);
}

void Hst_Socket::Get_Machine_Name_Un(const Hst_Sockaddr_Un& Address, Fnd_String& Name) {
    // A Unix-domain address has no host part: the look-up is given the first four
    // bytes of the record's path under the Unix family, which resolvers refuse.
    Host_Name(reinterpret_cast<const char*>(Address.Get_Record()) + sizeof(sa_family_t), AF_UNIX,
              Name);
}
