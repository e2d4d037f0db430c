// Socket addresses and the socket calls on Unix-domain and TCP sockets.
#include "foundation/host/hst_socket.h"

#include <gtest/gtest.h>
#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/utsname.h>

#include <csignal>
#include <cstring>
#include <memory>

#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/host/hst_sockaddr.h"
#include "tests/foundation/host/hst_process_test_support.h"

using namespace process_test;
using message_test::Narrow;
using message_test::Wide;

namespace {

class Hst_Socket_Test : public Host_Test {};

// The failure left by a socket call, as (call name, errno).
void Expect_Failure(const Fnd_Condition& Condition, const char* Call, int Error) {
    ASSERT_TRUE(Condition.Failed());
    const Fnd_Sys_Call_Error* error = Fnd_Sys_Call_Error::Convert(Condition.Get_Error());
    ASSERT_NE(error, nullptr) << Text_Of(Condition);
    EXPECT_EQ(Narrow(error->Get_Operation()), Call);
    EXPECT_EQ(error->Get_Errno(), Error) << Text_Of(Condition);
    EXPECT_EQ(Narrow(error->Get_Doing()), "socket interface");
}

// The same, after a call that gave Result where Expected was due.
void Expect_Failure(long Result, long Expected, const Fnd_Condition& Condition, const char* Call,
                    int Error) {
    EXPECT_EQ(Result, Expected) << Call;
    Expect_Failure(Condition, Call, Error);
}

// A listening Unix-domain socket at <dir>/s and, unless told not to, a client
// connected to it and accepted.
struct Unix_Pair {
    Temp_Dir Dir;
    Fd Listener;
    Fd Client;
    Fd Server;
    Hst_Sockaddr_Un Address;

    explicit Unix_Pair(bool Connect = true) {
        Fnd_Condition cond;
        Listener.Reset(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
        EXPECT_FALSE(cond.Failed()) << Text_Of(cond);
        Address.Set_Sun_Family(AF_UNIX);
        EXPECT_EQ(Address.Set_Sun_Addr(Wide(Dir.Path + "/s")), 1);
        EXPECT_EQ(Hst_Socket::Bind(Listener.Get(), Address, cond), 1) << Text_Of(cond);
        EXPECT_EQ(Hst_Socket::Listen(Listener.Get(), 1, cond), 1) << Text_Of(cond);
        if (!Connect) return;
        Client.Reset(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
        EXPECT_EQ(Hst_Socket::Connect(Client.Get(), Address, cond), 1) << Text_Of(cond);
        Hst_Sockaddr_Un peer;
        Server.Reset(Hst_Socket::Accept(Listener.Get(), peer, cond));
        EXPECT_GE(Server.Get(), 0) << Text_Of(cond);
    }
};

}  // namespace

TEST(Hst_Sockaddr_Test, EqualityLooksAtFamilyPortAndAddressAPathFillsTheRecord) {
    Hst_Sockaddr a;
    EXPECT_EQ(a.Get_Sin_Family(), 0);
    a.Set_Sin_Family(AF_INET);
    a.Set_Sin_Port(4321);
    a.Set_Sin_Addr(0x0100007fUL);
    Hst_Sockaddr b(a);
    EXPECT_TRUE(a == b);

    b.Set_Sin_Port(4322);
    EXPECT_FALSE(a == b);
    b = a;
    b.Set_Sin_Addr(0x0200007fUL);
    EXPECT_FALSE(a == b);
    b = a;
    b.Set_Address_Family(AF_UNIX);
    EXPECT_FALSE(a == b);

    // The port is stored as given: no byte order is applied.
    unsigned short port = 0;
    std::memcpy(&port, reinterpret_cast<const unsigned char*>(a.Get_Record()) + 2, 2);
    EXPECT_EQ(port, 4321);

    std::unique_ptr<Fnd_Object> copy(a.Clone());
    EXPECT_TRUE(*copy == a);
    EXPECT_EQ(Hst_Sockaddr::Record_Length(), 16u);

    // A Unix-domain path comes back as it was set and fills the record.
    Hst_Sockaddr_Un address;
    address.Set_Sun_Family(AF_UNIX);
    EXPECT_EQ(address.Set_Sun_Addr(Fnd_String(u"/tmp/s")), 1);
    EXPECT_EQ(Narrow(address.Get_Sun_Addr()), "/tmp/s");
    const auto* record = reinterpret_cast<const sockaddr_un*>(address.Get_Record());
    EXPECT_STREQ(record->sun_path, "/tmp/s");
    EXPECT_EQ(Hst_Sockaddr_Un::Record_Length(), 110u);

    // A shorter path leaves no tail of the longer one behind.
    Hst_Sockaddr_Un other;
    other.Set_Sun_Family(AF_UNIX);
    other.Set_Sun_Addr(Fnd_String(u"/tmp/sx"));
    other.Set_Sun_Addr(Fnd_String(u"/tmp/s"));
    EXPECT_TRUE(address == other);
    other.Set_Sun_Addr(Fnd_String(u"/tmp/t"));
    EXPECT_FALSE(address == other);

    // Text beyond ASCII goes through the default charset, UTF-8.
    EXPECT_EQ(address.Set_Sun_Addr(Fnd_String(u"/tmp/\u00e9")), 1);
    EXPECT_STREQ(record->sun_path, "/tmp/\xc3\xa9");
    EXPECT_EQ(address.Get_Sun_Addr(), Fnd_String(u"/tmp/\u00e9"));
}

TEST_F(Hst_Socket_Test, APathThatDoesNotFitIsRefusedAndNeverReachesTheSystem) {
    Hst_Sockaddr_Un address;
    address.Set_Sun_Family(AF_UNIX);
    // What setting a path gives back, and the error it leaves: "0 36".
    const auto set = [&](const Fnd_String& Path) {
        const long result = address.Set_Sun_Addr(Path);
        return std::to_string(result) + " " + std::to_string(address.Path_Error());
    };
    const std::string too_long = "0 " + std::to_string(ENAMETOOLONG);
    // 107 bytes and the NUL fit; 108 bytes do not, neither do 54 units of two bytes each.
    EXPECT_EQ(set(Wide("/" + std::string(106, 'a'))), "1 0");
    EXPECT_EQ(set(Wide("/" + std::string(107, 'a'))), too_long);
    EXPECT_TRUE(address.Get_Sun_Addr().Is_Empty());
    EXPECT_EQ(set(Fnd_String(54, Fnd_Char(0xe9), 1)), too_long);
    // A lone surrogate has no form in the charset.
    const Code_Unit broken[] = {u'/', 0xd800, 0};
    EXPECT_EQ(set(Fnd_String(broken)), "0 " + std::to_string(EILSEQ));

    address.Set_Sun_Addr(Wide("/tmp/" + std::string(200, 'b')));
    Fnd_Condition cond;
    Fd socket(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    Expect_Failure(Hst_Socket::Bind(socket.Get(), address, cond), 0, cond, "bind", ENAMETOOLONG);
    EXPECT_EQ(Hst_Socket::Connect(socket.Get(), address, cond), 0);
    Expect_Failure(cond, "connect", ENAMETOOLONG);
    // The socket was never bound: an empty path would have bound an abstract name.
    Hst_Sockaddr_Un bound;
    EXPECT_EQ(Hst_Socket::Getsockname(socket.Get(), bound, cond), 1);
    EXPECT_EQ(bound.Get_Sun_Family(), AF_UNIX);
    EXPECT_TRUE(bound.Get_Sun_Addr().Is_Empty());

    // A good path makes the address usable again.
    EXPECT_EQ(set(Fnd_String(u"/tmp/s")), "1 0");
}

TEST_F(Hst_Socket_Test, AUnixDomainConnectionIsCloseOnExecAndCarriesBytesBothWays) {
    Unix_Pair pair;
    for (const Fd* end : {&pair.Listener, &pair.Client, &pair.Server})
        EXPECT_TRUE(Close_On_Exec(end->Get()));
    Fnd_Condition cond;
    Hst_Sockaddr_Un name;
    EXPECT_EQ(Hst_Socket::Getsockname(pair.Listener.Get(), name, cond), 1);
    EXPECT_TRUE(name == pair.Address);
    EXPECT_EQ(Narrow(name.Get_Sun_Addr()), pair.Dir.Path + "/s");

    const void* out = "ping";
    EXPECT_EQ(Hst_Socket::Write(pair.Client.Get(), out, 4, 0, cond), 4);
    EXPECT_FALSE(cond.Failed());
    char in[8] = {};
    EXPECT_EQ(Hst_Socket::Read(pair.Server.Get(), in, sizeof in, 0, cond), 4);
    EXPECT_EQ(std::string(in, 4), "ping");
    const void* back = "pong!";
    EXPECT_EQ(Hst_Socket::Write(pair.Server.Get(), back, 5, 0, cond), 5);
    EXPECT_EQ(Hst_Socket::Read(pair.Client.Get(), in, sizeof in, 0, cond), 5);
    EXPECT_EQ(std::string(in, 5), "pong!");

    // A closed peer reads as the end: a count of 0 and no failure.
    EXPECT_EQ(Hst_Socket::Close(pair.Client.Get(), cond), 1);
    pair.Client.Reset();
    cond.Set_Error(Fnd_Sys_Call_Error(u"stale", 1, u"", 0), 1);
    EXPECT_EQ(Hst_Socket::Read(pair.Server.Get(), in, sizeof in, 0, cond), 0);
    EXPECT_FALSE(cond.Failed());

    EXPECT_EQ(Hst_Socket::Unlink(Wide(pair.Dir.Path + "/s"), cond), 1);
    Expect_Failure(Hst_Socket::Unlink(Wide(pair.Dir.Path + "/s"), cond), 0, cond, "unlink", ENOENT);
}

TEST_F(Hst_Socket_Test, NonBlockingReadsAndWritesThatFindNothingGiveZeroOnlyWithTheFlag) {
    Unix_Pair pair;
    Fnd_Condition cond;
    const int fd = pair.Server.Get();
    EXPECT_EQ(Hst_Socket::Set_Blocking(fd, 0, cond), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_TRUE(::fcntl(fd, F_GETFL) & O_NONBLOCK);

    char in[4];
    EXPECT_EQ(Hst_Socket::Read(fd, in, sizeof in, 1, cond), 0);
    EXPECT_FALSE(cond.Failed());
    Expect_Failure(Hst_Socket::Read(fd, in, sizeof in, 0, cond), -1, cond, "read", EAGAIN);

    // Data that is there is read with or without the flag.
    const void* out = "x";
    Hst_Socket::Write(pair.Client.Get(), out, 1, 0, cond);
    EXPECT_EQ(Hst_Socket::Read(fd, in, sizeof in, 1, cond), 1);

    EXPECT_EQ(Hst_Socket::Set_Blocking(fd, 1, cond), 1);
    EXPECT_FALSE(::fcntl(fd, F_GETFL) & O_NONBLOCK);

    Expect_Failure(Hst_Socket::Set_Blocking(-1, 1, cond), 0, cond, "fcntl_getflags", EBADF);

    // A full socket writes nothing with the flag and fails without.
    Hst_Socket::Set_Blocking(pair.Client.Get(), 0, cond);
    static char block[65536];
    out = block;
    long total = 0;
    for (int i = 0; i < 1000; ++i) {
        const long count = Hst_Socket::Write(pair.Client.Get(), out, sizeof block, 1, cond);
        ASSERT_GE(count, 0) << Text_Of(cond);
        ASSERT_FALSE(cond.Failed());
        if (count == 0) break;
        total += count;
    }
    EXPECT_GT(total, 0);
    EXPECT_EQ(Hst_Socket::Write(pair.Client.Get(), out, sizeof block, 1, cond), 0);
    EXPECT_EQ(Hst_Socket::Write(pair.Client.Get(), out, sizeof block, 0, cond), -1);
    Expect_Failure(cond, "write", EAGAIN);
}

TEST_F(Hst_Socket_Test, WritingToAGonePeerFailsWithBrokenPipeAndRaisesNoSignal) {
    // The default action of SIGPIPE would end this test program.
    ASSERT_NE(std::signal(SIGPIPE, SIG_DFL), SIG_ERR);
    Unix_Pair pair;
    pair.Server.Reset();
    Fnd_Condition cond;
    const void* out = "lost";
    Expect_Failure(Hst_Socket::Write(pair.Client.Get(), out, 4, 0, cond), -1, cond, "write", EPIPE);

    // A pipe is written with the signal held back as well.
    Test_Pipe pipe;
    pipe.Read.Reset();
    Expect_Failure(Hst_Socket::Write(pipe.Write.Get(), out, 4, 0, cond), -1, cond, "write", EPIPE);
    sigset_t pending;
    sigpending(&pending);
    EXPECT_FALSE(sigismember(&pending, SIGPIPE));
}

TEST_F(Hst_Socket_Test, FailuresNameTheCallAndTheirTextSaysWhatWasDone) {
    Fnd_Condition cond;
    Expect_Failure(Hst_Socket::Socket(-1, SOCK_STREAM, 0, cond), -1, cond, "socket", EAFNOSUPPORT);
    EXPECT_EQ(Text_Of(cond), "doing: socket interface \nsyscall: socket\nerrno: " +
                                 std::string(strerror(EAFNOSUPPORT)));

    Hst_Sockaddr_Un address;
    Expect_Failure(Hst_Socket::Accept(-1, address, cond), -1, cond, "accept", EBADF);
    Expect_Failure(Hst_Socket::Listen(-1, 1, cond), 0, cond, "listen", EBADF);
    Expect_Failure(Hst_Socket::Close(-1, cond), 0, cond, "close", EBADF);
    Expect_Failure(Hst_Socket::Getsockname(-1, address, cond), 0, cond, "getsockname", EBADF);
    Hst_Sockaddr inet;
    Expect_Failure(Hst_Socket::Getpeername(-1, inet, cond), 0, cond, "getpeername", EBADF);

    // Connecting to a path where nobody listens.
    Temp_Dir dir;
    address.Set_Sun_Family(AF_UNIX);
    address.Set_Sun_Addr(Wide(dir.Path + "/nobody"));
    Fd socket(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    Expect_Failure(Hst_Socket::Connect(socket.Get(), address, cond), 0, cond, "connect", ENOENT);
    // Binding twice to one path.
    Fd first(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    Fd second(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    EXPECT_EQ(Hst_Socket::Bind(first.Get(), address, cond), 1);
    EXPECT_FALSE(cond.Failed());
    Expect_Failure(Hst_Socket::Bind(second.Get(), address, cond), 0, cond, "bind", EADDRINUSE);
}

TEST_F(Hst_Socket_Test, NoDelayAndTheImageOfATcpSocketNoDelayRefusedOnAUnixOne) {
    Fnd_Condition cond;
    Fd tcp(Hst_Socket::Socket(AF_INET, SOCK_STREAM, 0, cond));
    ASSERT_GE(tcp.Get(), 0);
    int value = -1;
    socklen_t length = sizeof value;
    EXPECT_EQ(Hst_Socket::Set_No_Delay(tcp.Get(), 1, cond), 1);
    ASSERT_EQ(getsockopt(tcp.Get(), IPPROTO_TCP, TCP_NODELAY, &value, &length), 0);
    EXPECT_NE(value, 0);
    // Only a value above 0 turns it on.
    EXPECT_EQ(Hst_Socket::Set_No_Delay(tcp.Get(), -5, cond), 1);
    ASSERT_EQ(getsockopt(tcp.Get(), IPPROTO_TCP, TCP_NODELAY, &value, &length), 0);
    EXPECT_EQ(value, 0);

    Fd local(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    EXPECT_EQ(Hst_Socket::Set_No_Delay(local.Get(), 1, cond), 0);
    ASSERT_TRUE(cond.Failed());
    EXPECT_EQ(Narrow(Fnd_Sys_Call_Error::Convert(cond.Get_Error())->Get_Operation()),
              "setsockopt_nodelay");

    // The image of a socket is the machine address and the port.
    Hst_Sockaddr any;
    any.Set_Sin_Family(AF_INET);
    ASSERT_EQ(Hst_Socket::Bind(tcp.Get(), any, cond), 1) << Text_Of(cond);
    Hst_Sockaddr bound;
    ASSERT_EQ(Hst_Socket::Getsockname(tcp.Get(), bound, cond), 1);
    EXPECT_NE(bound.Get_Sin_Port(), 0);

    utsname system;
    ASSERT_EQ(uname(&system), 0);
    const hostent* host = gethostbyname(system.nodename);
    ASSERT_NE(host, nullptr) << "the machine name does not resolve here";
    uint32_t machine = 0;
    std::memcpy(&machine, host->h_addr_list[0], 4);
    Fnd_String image(u"stale");
    Hst_Socket::Get_Image(cond, tcp.Get(), image);
    EXPECT_FALSE(cond.Failed()) << Text_Of(cond);
    EXPECT_EQ(Narrow(image), std::to_string(machine) + ":" + std::to_string(bound.Get_Sin_Port()));

    Hst_Socket::Get_Image(cond, -1, image);
    Expect_Failure(cond, "getsockname", EBADF);
    EXPECT_TRUE(image.Is_Empty());
}

TEST_F(Hst_Socket_Test, HostLookUpsGiveTheFirstAddressOrZeros) {
    Fnd_Condition cond;
    unsigned long address = 99;
    int length = 99;
    EXPECT_EQ(Hst_Socket::Gethostbyname(Fnd_String(u"127.0.0.1"), address, length, cond), 1);
    EXPECT_FALSE(cond.Failed());
    EXPECT_EQ(address, static_cast<unsigned long>(inet_addr("127.0.0.1")));
    EXPECT_EQ(length, 4);

    EXPECT_EQ(Hst_Socket::Gethostbyname(Fnd_String(u"no-such-host.invalid"), address, length,
                                        cond),
              0);
    EXPECT_EQ(address, 0UL);
    EXPECT_EQ(length, 0);
    ASSERT_TRUE(cond.Failed());
    EXPECT_EQ(Narrow(Fnd_Sys_Call_Error::Convert(cond.Get_Error())->Get_Operation()),
              "gethostbyname");

    // The machine name of an address, and none for a Unix-domain one.
    Hst_Sockaddr loopback;
    loopback.Set_Sin_Family(AF_INET);
    loopback.Set_Sin_Addr(inet_addr("127.0.0.1"));
    Fnd_String name(u"stale");
    Hst_Socket::Get_Machine_Name(loopback, name);
    const hostent* expected = gethostbyaddr("\x7f\0\0\x01", 4, AF_INET);
    ASSERT_NE(expected, nullptr);
    EXPECT_EQ(Narrow(name), expected->h_name);
    Hst_Sockaddr_Un local;
    local.Set_Sun_Family(AF_UNIX);
    local.Set_Sun_Addr(Fnd_String(u"/tmp/s"));
    Hst_Socket::Get_Machine_Name_Un(local, name);
    EXPECT_TRUE(name.Is_Empty());
}

TEST_F(Hst_Socket_Test, WaitingForAConnectionEndsAtItsLimit) {
    Unix_Pair pair(false);
    Fnd_Condition cond;
    EXPECT_EQ(Hst_Socket::Wait_For_Input(pair.Listener.Get(), 30, cond), 0);
    EXPECT_FALSE(cond.Failed());
    Fd client(Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, cond));
    ASSERT_EQ(Hst_Socket::Connect(client.Get(), pair.Address, cond), 1);
    EXPECT_EQ(Hst_Socket::Wait_For_Input(pair.Listener.Get(), 5000, cond), 1);

    Expect_Failure(Hst_Socket::Wait_For_Input(-1, 10, cond), -1, cond, "poll", EBADF);
}
