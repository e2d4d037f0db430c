// End-to-end costs of calls through the library and ztintsvr, each against a raw
// baseline of the same bytes between two processes over a Unix-domain socket, in the
// same run:
//   - ZTZentrak_EchoString of a short text, of 64 KiB and of 1 MiB, against a raw
//     ping-pong of the call's and the reply's bytes;
//   - the first call of a process while the server runs, against a raw connect and
//     round trip;
//   - the first call of a process with no server yet (the library starts it), against
//     a raw spawn of a process that listens, a connect and a round trip.
// Rounds of the two kinds take turns and each figure is the median of its rounds. The
// table is made twice: with every process pinned to one core, and unpinned, for
// information. Each table is made by a process of its own with a server of its own
// (ZT_HOME is this build's product home, ZTT_USER a name of the bench's own).
//
// Usage: bench_e2e_bench [rounds]   (default 9)
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/bench_calls.h"
#include "ztint.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_special.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

extern char** environ;

namespace {

using Clock = Bench_Clock;

const std::string kHome = ZTINT_BUILD_DIR "/home";
const std::string kServer = kHome + "/bin/ztintsvr";
// A first call and its answer are about this size on the wire.
constexpr int kFirstCallBytes = 64;

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

bool Transfer(int fd, char* bytes, std::size_t size, bool reading)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = reading ? read(fd, bytes + done, size - done)
                                      : write(fd, bytes + done, size - done);
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

// Runs a program to its end; true if it exited with 0.
bool Run(const std::vector<std::string>& arguments, bool quiet = true)
{
    std::vector<char*> argv;
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (quiet)
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return failed == 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

// Runs measure in a child process of its own and hands back what it measured (-1 if
// the child failed), so that every sample is the first of a process.
double In_Child(const std::function<double()>& measure)
{
    int channel[2];
    if (pipe2(channel, O_CLOEXEC) != 0)
        return -1;
    const pid_t child = fork();
    if (child == 0) {
        const double seconds = measure();
        (void)!write(channel[1], &seconds, sizeof seconds);
        _exit(0);
    }
    close(channel[1]);
    double seconds = -1;
    if (child < 0 || read(channel[0], &seconds, sizeof seconds) != sizeof seconds)
        seconds = -1;
    close(channel[0]);
    if (child > 0)
        waitpid(child, nullptr, 0);
    return seconds;
}

// ---- raw baselines

// An echo process at the other end of a socket pair, answering every call of
// call_size bytes with reply_size bytes.
class Raw_Echo {
public:
    Raw_Echo(int call_size, int reply_size) : Call_Size(call_size), Reply_Size(reply_size),
        Bytes(static_cast<std::size_t>(std::max(call_size, reply_size)), 'x')
    {
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
            return;
        Child = fork();
        if (Child == 0) {
            close(pair[0]);
            while (Transfer(pair[1], Bytes.data(), Call_Size, true) &&
                   Transfer(pair[1], Bytes.data(), Reply_Size, false)) {
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
        return Fd >= 0 && Transfer(Fd, Bytes.data(), Call_Size, false) &&
               Transfer(Fd, Bytes.data(), Reply_Size, true);
    }

private:
    std::size_t Call_Size;
    std::size_t Reply_Size;
    std::vector<char> Bytes;
    int Fd = -1;
    pid_t Child = -1;
};

sockaddr_un Address_Of(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    return address;
}

int Listen_At(const std::string& path)
{
    unlink(path.c_str());
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = Address_Of(path);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(fd, 16) != 0)
        return -1;
    return fd;
}

// Answers one message on a fresh connection: the other end of a first call.
void Serve_One(int listener)
{
    char bytes[kFirstCallBytes];
    const int fd = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd >= 0 && Transfer(fd, bytes, sizeof bytes, true))
        (void)Transfer(fd, bytes, sizeof bytes, false);
    if (fd >= 0)
        close(fd);
}

// Connects to path, sends one message and reads the answer.
bool Raw_Round_Trip_At(const std::string& path)
{
    char bytes[kFirstCallBytes] = {};
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = Address_Of(path);
    const bool done = fd >= 0 &&
                      connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                      Transfer(fd, bytes, sizeof bytes, false) && Transfer(fd, bytes, sizeof bytes, true);
    if (fd >= 0)
        close(fd);
    return done;
}

// Answers one startup message from the named pipe: it names a socket to connect to,
// answer, and take one call on.
void Serve_Pipe_One(int pipe)
{
    char bytes[kFirstCallBytes];
    if (!Transfer(pipe, bytes, sizeof bytes, true))
        _exit(1);
    bytes[sizeof bytes - 1] = 0;
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = Address_Of(bytes);
    if (fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        Transfer(fd, bytes, sizeof bytes, false) && Transfer(fd, bytes, sizeof bytes, true))
        (void)Transfer(fd, bytes, sizeof bytes, false);
    if (fd >= 0)
        close(fd);
}

// A process that serves on fd (a listening socket or a named pipe at path), one
// first call after another, until it is killed.
class Raw_Server {
public:
    Raw_Server(const std::string& path, int fd, void (*serve)(int)) : Path(path)
    {
        if (fd < 0)
            return;
        Child = fork();
        if (Child == 0) {
            for (;;)
                serve(fd);
        }
        close(fd);
    }
    ~Raw_Server()
    {
        if (Child > 0) {
            kill(Child, SIGKILL);
            waitpid(Child, nullptr, 0);
        }
        unlink(Path.c_str());
    }
    Raw_Server(const Raw_Server&) = delete;
    Raw_Server& operator=(const Raw_Server&) = delete;

private:
    std::string Path;
    pid_t Child = -1;
};

// A named pipe at path, open for reading (and writing, so that it never sees an end).
int Pipe_At(const std::string& path)
{
    unlink(path.c_str());
    return mkfifo(path.c_str(), 0600) == 0 ? open(path.c_str(), O_RDWR | O_CLOEXEC) : -1;
}

// The exchanges of a library's first call, made raw: the client listens on a socket of
// its own and writes its path into the server's named pipe; the server connects to it
// and answers, and only then goes the call and its reply. This is the least a first call
// of this wire can cost here, whatever the library does around it.
// The client's side of those exchanges; the seconds they took, or -1.
double Raw_Pipe_First_Call(const std::string& pipe_path)
{
    const auto start = Clock::now();
    char bytes[kFirstCallBytes] = {};
    const std::string own = pipe_path + "_" + std::to_string(getpid());
    const int listener = Listen_At(own);
    const int pipe = open(pipe_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    std::snprintf(bytes, sizeof bytes, "%s", own.c_str());
    const int fd = listener >= 0 && pipe >= 0 && Transfer(pipe, bytes, sizeof bytes, false)
                       ? accept4(listener, nullptr, nullptr, SOCK_CLOEXEC)
                       : -1;
    const bool done = fd >= 0 && Transfer(fd, bytes, sizeof bytes, true) &&
                      Transfer(fd, bytes, sizeof bytes, false) && Transfer(fd, bytes, sizeof bytes, true);
    const double seconds = Bench_Seconds_Since(start);
    for (const int open_fd : {fd, pipe, listener})
        if (open_fd >= 0)
            close(open_fd);
    unlink(own.c_str());
    return done ? seconds : -1;
}

// The raw cold start: spawns this program as a server that listens on path and says
// so on its standard output, then connects and makes one round trip.
double Raw_Cold_Start(const char* self, const std::string& path)
{
    const auto start = Clock::now();
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0)
        return -1;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ready[1], 1);
    char* argv[] = {const_cast<char*>(self), const_cast<char*>("--raw-server"),
                    const_cast<char*>(path.c_str()), nullptr};
    pid_t pid = -1;
    const int failed = posix_spawn(&pid, self, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ready[1]);
    char said = 0;
    const bool done = failed == 0 && read(ready[0], &said, 1) == 1 && Raw_Round_Trip_At(path);
    const double seconds = Bench_Seconds_Since(start);
    close(ready[0]);
    if (failed == 0)
        waitpid(pid, nullptr, 0);
    return done ? seconds : -1;
}

int Raw_Server_Main(const char* path)
{
    const int listener = Listen_At(path);
    if (listener < 0 || write(1, "r", 1) != 1)
        return 1;
    Serve_One(listener);
    unlink(path);
    return 0;
}

// ---- the library

bool Echo_Call(ZTZentrak* zentrak, const char* text)
{
    char* echo = nullptr;
    const bool done = ZTZentrak_EchoString(zentrak, &echo, text) == 0;
    ZTInt_String_Free(echo);
    return done;
}

// The first call of this process: the one that connects (and starts the server if
// none runs).
double First_Call()
{
    const auto start = Clock::now();
    ZTZentrak* zentrak = nullptr;
    const bool done = ZTZentrak_Build(&zentrak) == 0;
    return done ? Bench_Seconds_Since(start) : -1;
}

// The sizes of the echo call of text and of its reply on the wire.
void Message_Sizes(const char* text, int& call_size, int& reply_size)
{
    const ZTInt_call_entry* echo = ZTInt_call_Find_Name("ZTZentrak_EchoString");
    const ZTInt_obj_struct handle = {static_cast<uint16_t>(echo->Types_In[0]), 0, 1, 1};
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

// ---- the table

struct Figure {
    std::string Name;
    double Raw = -1;      // seconds, median of the rounds
    double Library = -1;
    double Goal = 0;      // the ratio it should stay within; 0: for information
};

// Medians of rounds of raw and library samples that take turns.
bool Interleaved(int rounds, const std::function<double()>& raw,
                 const std::function<double()>& library, Figure& figure)
{
    std::vector<double> raws, libraries;
    for (int round = 0; round < rounds; ++round) {
        raws.push_back(raw());
        libraries.push_back(library());
        if (raws.back() < 0 || libraries.back() < 0)
            return false;
    }
    figure.Raw = Median(raws);
    figure.Library = Median(libraries);
    return true;
}

// Seconds per call of calls calls of round_trip, or -1 if one failed.
double Per_Call(int calls, const std::function<bool()>& round_trip)
{
    const auto start = Clock::now();
    for (int i = 0; i < calls; ++i)
        if (!round_trip())
            return -1;
    return Bench_Seconds_Since(start) / calls;
}

bool Measure_Echo(ZTZentrak* zentrak, const std::string& text, int calls, int rounds, Figure& figure)
{
    int call_size = 0, reply_size = 0;
    Message_Sizes(text.c_str(), call_size, reply_size);
    Raw_Echo echo(call_size, reply_size);
    return Interleaved(rounds, [&] { return Per_Call(calls, [&] { return echo.Round_Trip(); }); },
                       [&] { return Per_Call(calls, [&] { return Echo_Call(zentrak, text.c_str()); }); },
                       figure);
}

std::string Text_Of(const Figure& figure)
{
    char line[160];
    const double ratio = figure.Library / figure.Raw;
    const int length = std::snprintf(line, sizeof line, "%-34s %11.1f %11.1f %7.2f", figure.Name.c_str(),
                                     figure.Raw * 1e6, figure.Library * 1e6, ratio);
    if (figure.Goal > 0 && length > 0)
        std::snprintf(line + length, sizeof line - static_cast<std::size_t>(length), "   %s %.1f",
                      ratio <= figure.Goal ? "within" : "BEYOND", figure.Goal);
    return line;
}

// Makes the table in this process: cold first calls, warm first calls, then echoes.
int Make_Table(const char* self, const char* title, int rounds)
{
    const std::string user = "_bench" + std::to_string(getpid());
    setenv("ZT_HOME", kHome.c_str(), 1);
    setenv("ZTT_USER", user.c_str(), 1);
    const std::string raw_path = "/tmp/ztint_bench_raw_" + std::to_string(getpid());
    std::vector<Figure> figures;
    bool done = true;

    Figure cold{"first call, no server (auto-start)", -1, -1, 3.0};
    done = done && Interleaved(rounds, [&] { return In_Child([&] { return Raw_Cold_Start(self, raw_path); }); },
                               [&] {
                                   const double seconds = In_Child(First_Call);
                                   return Run({kServer, "stop"}) ? seconds : -1;
                               },
                               cold);
    figures.push_back(cold);

    Figure warm{"first call, server running", -1, -1, 3.0};
    Figure floor{"  its exchanges replayed raw", -1, -1, 0};
    if (done && Run({kServer, "start"})) {
        Raw_Server raw(raw_path, Listen_At(raw_path), Serve_One);
        const auto raw_first_call = [&] {
            const auto start = Clock::now();
            return Raw_Round_Trip_At(raw_path) ? Bench_Seconds_Since(start) : -1;
        };
        done = Interleaved(rounds * 3, [&] { return In_Child(raw_first_call); },
                           [&] { return In_Child(First_Call); }, warm);
        Raw_Server pipe_server(raw_path + "_pipe", Pipe_At(raw_path + "_pipe"), Serve_Pipe_One);
        done = done && Interleaved(rounds * 3, [&] { return In_Child(raw_first_call); },
                                   [&] { return In_Child([&] { return Raw_Pipe_First_Call(raw_path + "_pipe"); }); },
                                   floor);
    } else {
        done = false;
    }
    figures.push_back(warm);
    figures.push_back(floor);

    ZTZentrak* zentrak = nullptr;
    done = done && ZTZentrak_Build(&zentrak) == 0;
    const struct {
        const char* name;
        std::size_t size;
        int calls;
        double goal;
    } echoes[] = {{"echo of a short string (40 bytes)", 40, 4000, 1.3},
                  {"echo of 64 KiB", 64 * 1024, 300, 1.3},
                  {"echo of 1 MiB", 1024 * 1024, 30, 1.5}};
    for (const auto& e : echoes) {
        Figure figure{e.name, -1, -1, e.goal};
        const std::string text(e.size, 'e');
        done = done && Measure_Echo(zentrak, text, e.calls, rounds, figure);
        figures.insert(figures.end() - 3, figure);
    }
    if (zentrak != nullptr)
        ZTInt_Zentrak_Free(zentrak);
    if (!done) {
        char* text = nullptr;
        ZTInt_GetError(&text);
        std::fprintf(stderr, "e2e_bench: a measurement failed: %s\n", text != nullptr ? text : "");
        ZTInt_String_Free(text);
    }
    ZTInt_Special_Shutdown_Stub();
    std::printf("\n%s: medians of %d interleaved rounds (first calls: %d and %d samples)\n", title,
                rounds, rounds, rounds * 3);
    std::printf("%-34s %11s %11s %7s   %s\n", "", "raw (us)", "library (us)", "ratio", "goal");
    for (const Figure& figure : figures)
        std::printf("%s\n", Text_Of(figure).c_str());
    std::fflush(stdout);
    return done ? 0 : 1;
}

// Runs Make_Table in a child process, pinned to one core or not.
int Table_In_Child(const char* self, bool pinned, int rounds)
{
    const pid_t child = fork();
    if (child == 0) {
        std::string title = "unpinned";
        if (pinned) {
            cpu_set_t allowed;
            sched_getaffinity(0, sizeof allowed, &allowed);
            int last = -1;
            for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu)
                if (CPU_ISSET(cpu, &allowed))
                    last = cpu;
            cpu_set_t one;
            CPU_ZERO(&one);
            CPU_SET(last, &one);
            sched_setaffinity(0, sizeof one, &one);
            title = "pinned to core " + std::to_string(last);
        }
        _exit(Make_Table(self, title.c_str(), rounds));
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 3 && std::strcmp(argv[1], "--raw-server") == 0)
        return Raw_Server_Main(argv[2]);
    const int rounds = argc > 1 ? std::max(3, std::atoi(argv[1])) : 9;
    std::printf("End-to-end calls against raw Unix-socket baselines of the same bytes "
                "(times per call)\n");
    std::fflush(stdout);  // before the tables' processes inherit the buffer
    const int pinned = Table_In_Child(argv[0], true, rounds);
    const int unpinned = Table_In_Child(argv[0], false, rounds);
    return pinned != 0 || unpinned != 0 ? 1 : 0;
}
