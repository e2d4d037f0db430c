// Many clients at once against one server.
#include <dirent.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

#include "tests/e2e/ztint_e2e_fixture.h"
#include "ztint.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_opcodes.h"

namespace {

constexpr int kClients = 16;
constexpr int kCallsPerClient = 2000;

int Open_Descriptors(int pid)
{
    DIR* directory = opendir(("/proc/" + std::to_string(pid) + "/fd").c_str());
    if (directory == nullptr)
        return -1;
    int count = 0;
    while (const dirent* entry = readdir(directory))
        if (entry->d_name[0] != '.')
            ++count;
    closedir(directory);
    return count;
}

// One client: every echo must come back as it was sent. The exit status says how
// many did not (capped at 100).
int Echo_Client(int number)
{
    ZTZentrak* zentrak = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0)
        return 101;
    int wrong = 0;
    for (int call = 0; call < kCallsPerClient; ++call) {
        const std::string text = "client " + std::to_string(number) + " call " + std::to_string(call) +
                                 std::string(static_cast<std::size_t>(call % 97), 'x');
        char* echo = nullptr;
        if (ZTZentrak_EchoString(zentrak, &echo, text.c_str()) != 0 || echo == nullptr ||
            text != echo)
            ++wrong;
        ZTInt_String_Free(echo);
    }
    if (ZTInt_Zentrak_Free(zentrak) != 0)
        ++wrong;
    return wrong > 100 ? 100 : wrong;
}

using Ztint_Load_Test = Ztint_E2E;

TEST_F(Ztint_Load_Test, SixteenClientsGetEveryAnswerAndLeaveNoDescriptor)
{
    ZTZentrak* zentrak = nullptr;
    ASSERT_EQ(ZTZentrak_Build(&zentrak), 0) << Server_Error();
    ASSERT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    ASSERT_EQ(Server_Pids().size(), 1u);
    const int server = Server_Pids()[0];
    // The server's descriptors with this one client connected.
    const int with_one_client = Open_Descriptors(server);
    ASSERT_GT(with_one_client, 0);

    pid_t children[kClients];
    for (int i = 0; i < kClients; ++i) {
        children[i] = fork();
        if (children[i] == 0) {
            // Forget the parent's connection without closing its socket under it.
            ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
            _exit(Echo_Client(i));
        }
    }
    for (int i = 0; i < kClients; ++i) {
        int status = 0;
        ASSERT_EQ(waitpid(children[i], &status, 0), children[i]);
        EXPECT_TRUE(WIFEXITED(status)) << "client " << i;
        EXPECT_EQ(WEXITSTATUS(status), 0) << "client " << i << " got wrong answers";
    }
    EXPECT_EQ(Count_Calls(ZTInt_op_ZTZentrak_EchoString), kClients * kCallsPerClient);

    // The server drops each client when it reads the end of its socket.
    int left = -1;
    for (int attempt = 0; attempt < 500 && left != with_one_client; ++attempt) {
        left = Open_Descriptors(server);
        if (left != with_one_client)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(left, with_one_client);
}

}  // namespace
