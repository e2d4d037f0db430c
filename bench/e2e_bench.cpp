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
constexpr int kRounds = 7;
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

// An echo process at the other end of a socket pair, answering every call of
// call_size bytes with reply_size bytes.
class Raw_Echo {
public:
    Raw_Echo(int call_size, int reply_size) : Call_Size(call_size), Reply_Size(reply_size)
    {
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
            return;
        Child = fork();
        if (Child == 0) {
            close(pair[0]);
            std::vector<char> bytes(std::max(call_size, reply_size));
            while (Transfer(pair[1], bytes.data(), call_size, true) &&
                   Transfer(pair[1], bytes.data(), reply_size, false)) {
            }
            _exit(0);
        }
        close(pair[1]);
        Fd = pair[0];
    }
    ~Raw_Echo()
    {
        if (Fd >= 0)
            close(Fd);
        if (Child > 0)
            waitpid(Child, nullptr, 0);
    }
    Raw_Echo(const Raw_Echo&) = delete;
    Raw_Echo& operator=(const Raw_Echo&) = delete;

    bool Round_Trip()
    {
        std::vector<char> bytes(std::max(Call_Size, Reply_Size), 'x');
        return Fd >= 0 && Transfer(Fd, bytes.data(), Call_Size, false) &&
               Transfer(Fd, bytes.data(), Reply_Size, true);
    }

private:
    int Call_Size;
    int Reply_Size;
    int Fd = -1;
    pid_t Child = -1;
};

bool Echo_Call(ZTZentrak* zentrak)
{
    char* echo = nullptr;
    const bool done = ZTZentrak_EchoString(zentrak, &echo, kText) == 0;
    ZTInt_String_Free(echo);
    return done;
}

// Seconds per call of kCalls calls of round_trip, or -1 if one failed.
template <typename Function>
double Time_Round(Function round_trip)
{
    const auto start = Clock::now();
    for (int i = 0; i < kCalls; ++i)
        if (!round_trip())
            return -1;
    return std::chrono::duration<double>(Clock::now() - start).count() / kCalls;
}

// The best round of each, the two kinds of rounds taking turns so that both meet
// the same state of the machine.
bool Measure(int call_size, int reply_size, double& raw, double& library)
{
    ZTZentrak* zentrak = nullptr;
    if (ZTZentrak_Build(&zentrak) != 0)
        return false;
    Raw_Echo echo(call_size, reply_size);
    raw = library = 1e9;
    bool done = true;
    for (int round = 0; round < kRounds && done; ++round) {
        const double raw_round = Time_Round([&] { return echo.Round_Trip(); });
        const double library_round = Time_Round([&] { return Echo_Call(zentrak); });
        done = raw_round > 0 && library_round > 0;
        raw = std::min(raw, raw_round);
        library = std::min(library, library_round);
    }
    ZTInt_Zentrak_Free(zentrak);
    return done;
}

}  // namespace

int main()
{
    setenv("ZT_HOME", ZTINT_BUILD_DIR "/home", 1);
    setenv("ZTT_USER", ("_bench_" + std::to_string(getpid())).c_str(), 1);
    int call_size = 0, reply_size = 0;
    Message_Sizes(call_size, reply_size);
    double raw = 0, library = 0;
    const bool measured = Measure(call_size, reply_size, raw, library);
    if (!measured) {
        char* text = nullptr;
        ZTInt_GetError(&text);
        std::fprintf(stderr, "e2e_bench: a round trip failed: %s\n", text != nullptr ? text : "");
        ZTInt_String_Free(text);
        ZTInt_Special_Shutdown_Stub();
        return 1;
    }
    ZTInt_Special_Shutdown_Stub();
    std::printf("message sizes: call %d bytes, reply %d bytes; best of %d rounds of %d calls\n",
                call_size, reply_size, kRounds, kCalls);
    std::printf("%-28s %8.2f us  %10.0f calls/s\n", "raw socket ping-pong", raw * 1e6, 1 / raw);
    std::printf("%-28s %8.2f us  %10.0f calls/s\n", "ZTZentrak_EchoString", library * 1e6,
                1 / library);
    std::printf("ratio (library / raw): %.2f\n", library / raw);
    return 0;
}
