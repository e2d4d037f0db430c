// End-to-end round trip of ZTZentrak_EchoString through the library and ztintsvr,
// against a raw ping-pong of the same bytes between two processes over a Unix-domain
// socket, in the same run. Prints both latencies, calls per second and the ratio.
//
// Runs its own server: ZT_HOME is this build's product home and ZTT_USER a name of
// its own, so it never meets another server.
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "ztint.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_special.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

namespace {

constexpr int kCalls = 20000;
constexpr int kRounds = 5;
const char* const kText = "a line of text to echo, some forty bytes";

using Clock = std::chrono::steady_clock;

// The sizes of the echo call and of its reply on the wire.
void Message_Sizes(int& call_size, int& reply_size)
{
    const ZTInt_call_entry* echo = ZTInt_call_Find_Name("ZTZentrak_EchoString");
    const ZTInt_obj_struct handle = {static_cast<uint16_t>(echo->Types_In[0]), 0, 1, 1};
    const char* text = kText;
    const void* in[] = {&handle, &text};
    ZTInt_msg_struct* call = ZTInt_msg_New(echo->In_Count, echo->Types_In, in);
    const int32_t status = 0;
    const void* out[] = {&status, &text};
    ZTInt_msg_struct* reply = ZTInt_msg_New(echo->Out_Count, echo->Types_Out, out);
    call_size = ZTInt_msg_Full_Size(call);
    reply_size = ZTInt_msg_Full_Size(reply);
    ZTInt_msg_Free(call);
    ZTInt_msg_Free(reply);
}

bool Transfer(int fd, char* bytes, int size, bool reading)
{
    for (int done = 0; done < size;) {
        const ssize_t count = reading ? read(fd, bytes + done, size - done)
                                      : write(fd, bytes + done, size - done);
        if (count <= 0)
            return false;
        done += static_cast<int>(count);
    }
    return true;
}

// Seconds per round trip of the raw ping-pong, best of kRounds.
double Raw_Round_Trip(int call_size, int reply_size)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
        return -1;
    const pid_t echo = fork();
    if (echo == 0) {
        close(pair[0]);
        std::vector<char> bytes(std::max(call_size, reply_size));
        while (Transfer(pair[1], bytes.data(), call_size, true) &&
               Transfer(pair[1], bytes.data(), reply_size, false)) {
        }
        _exit(0);
    }
    close(pair[1]);
    std::vector<char> bytes(std::max(call_size, reply_size), 'x');
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = Clock::now();
        for (int i = 0; i < kCalls; ++i)
            if (!Transfer(pair[0], bytes.data(), call_size, false) ||
                !Transfer(pair[0], bytes.data(), reply_size, true))
                return -1;
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count() / kCalls);
    }
    close(pair[0]);
    waitpid(echo, nullptr, 0);
    return best;
}

// Seconds per ZTZentrak_EchoString, best of kRounds.
double Library_Round_Trip()
{
    ZTZentrak* zentrak = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0)
        return -1;
    double best = 1e9;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = Clock::now();
        for (int i = 0; i < kCalls; ++i) {
            char* echo = nullptr;
            if (ZTZentrak_EchoString(zentrak, &echo, kText) != 0)
                return -1;
            ZTInt_String_Free(echo);
        }
        best = std::min(best, std::chrono::duration<double>(Clock::now() - start).count() / kCalls);
    }
    ZTInt_Zentrak_Free(zentrak);
    return best;
}

}  // namespace

int main()
{
    setenv("ZT_HOME", ZTINT_BUILD_DIR "/home", 1);
    setenv("ZTT_USER", ("_bench_" + std::to_string(getpid())).c_str(), 1);
    int call_size = 0, reply_size = 0;
    Message_Sizes(call_size, reply_size);
    const double library = Library_Round_Trip();
    const double raw = Raw_Round_Trip(call_size, reply_size);
    ZTInt_Special_Shutdown_Stub();
    if (library <= 0 || raw <= 0) {
        char* text = nullptr;
        ZTInt_GetError(&text);
        std::fprintf(stderr, "e2e_bench: a round trip failed: %s\n", text != nullptr ? text : "");
        ZTInt_String_Free(text);
        return 1;
    }
    std::printf("message sizes: call %d bytes, reply %d bytes; best of %d rounds of %d calls\n",
                call_size, reply_size, kRounds, kCalls);
    std::printf("%-28s %8.2f us  %10.0f calls/s\n", "raw socket ping-pong", raw * 1e6, 1 / raw);
    std::printf("%-28s %8.2f us  %10.0f calls/s\n", "ZTZentrak_EchoString", library * 1e6,
                1 / library);
    std::printf("ratio (library / raw): %.2f\n", library / raw);
    return 0;
}
