// The server protects its other clients: from a startup call naming a socket that never
// accepts, and from the memory of one huge message.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/host/hst_switches.h"
#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_opcodes.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"

namespace {

using Ztint_Server_Guard_Test = Ztint_E2E;

// Resident memory of a process, in KiB, from /proc.
long Resident_Kilobytes(int pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

// A listening socket whose queue is full: it never accepts, and its one place is taken.
struct Full_Socket {
    explicit Full_Socket(const std::string& at) : Path(at)
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        Path.copy(address.sun_path, sizeof address.sun_path - 1);
        Listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(bind(Listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(Listener, 0), 0);
        for (int i = 0; i < 8; ++i) {
            const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            Queued.push_back(fd);
            if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
                break;
        }
    }
    ~Full_Socket()
    {
        for (int fd : Queued)
            close(fd);
        close(Listener);
        unlink(Path.c_str());
    }
    std::string Path;
    int Listener = -1;
    std::vector<int> Queued;
};

TEST_F(Ztint_Server_Guard_Test, AStartupNamingASocketThatNeverAcceptsDoesNotStallTheServer)
{
    setenv("ZT_CALL_TIMEOUT", "10", 1);
    Hst_Switches::Clear_Cache();
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();

    const Full_Socket full(Dir + "/full");
    char* name = nullptr;
    char* error = nullptr;
    ASSERT_EQ(ZTInt_Client_Connection_Name(&name, full.Path.c_str(), &error), 0);
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_String};
    const void* values[] = {&name};
    ZTInt_msg_struct* startup = nullptr;
    ASSERT_EQ(ZTInt_msg_Encode_Params(&startup, &error, 1, types, values), 1);
    ZTInt_msg_Init_Call(startup, 424242, 1, ZTInt_op_ZTInt_Special_Startup_Stub);
    const int pipe = open(Pipe.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(pipe, 0);
    const auto size = static_cast<size_t>(ZTInt_msg_Full_Size(startup));
    EXPECT_EQ(write(pipe, startup, size), static_cast<ssize_t>(size));
    close(pipe);
    ZTInt_msg_Free(startup);
    ZTInt_String_Free(name);
    // Let the server take the startup first: a connect that blocked would stall it here.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));

    const auto start = std::chrono::steady_clock::now();
    char* echo = nullptr;
    EXPECT_EQ(ZTZentrak_EchoString(zentrak, &echo, "still there"), 0) << Server_Error();
    EXPECT_STREQ(echo, "still there");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    ZTInt_String_Free(echo);
    unsetenv("ZT_CALL_TIMEOUT");
    Hst_Switches::Clear_Cache();
}

TEST_F(Ztint_Server_Guard_Test, AHugeEchoLeavesNoHugeServer)
{
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "the sanitizer's allocator keeps freed memory on purpose";
#endif
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    const int server = Server_Pids().at(0);
    const std::string huge(60 * 1024 * 1024, 'x');
    char* echo = nullptr;
    ASSERT_EQ(ZTZentrak_EchoString(zentrak, &echo, huge.c_str()), 0) << Server_Error();
    EXPECT_EQ(std::strlen(echo), huge.size());
    ZTInt_String_Free(echo);
    // One more small call: by its answer the huge one is done.
    ASSERT_EQ(ZTZentrak_EchoString(zentrak, &echo, "small"), 0) << Server_Error();
    ZTInt_String_Free(echo);
    EXPECT_LT(Resident_Kilobytes(server), 32 * 1024);
}

}  // namespace
