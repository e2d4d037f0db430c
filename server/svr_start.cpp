#include "server/svr_start.h"

#include <fcntl.h>
#include <malloc.h>
#include <poll.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_switches.h"
#include "server/model/mdl_store.h"
#include "server/svr_dispatch.h"
#include "server/svr_loop.h"
#include "server/svr_objects.h"
#include "server/svr_status.h"
#include "server/svr_trace.h"
#include "server/svr_users.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_client/ztint_special.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_private_files.h"

namespace {

// How long a start waits for another start's lock, and for its server to be ready.
constexpr auto kLockWait = std::chrono::seconds(20);
constexpr int kReadyWaitMs = 20 * 1000;
constexpr char kReadyByte = '+';
// How long a stop waits for the server to let go of its pipe.
constexpr auto kStopWait = std::chrono::seconds(5);

std::string Pipe_Path()
{
    char* name = nullptr;
    ZTInt_Server_Connection_Name(&name);
    std::string path = name;
    ZTInt_String_Free(name);
    return path;
}

std::string Product_Home()
{
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Hst_Switches::Product_Home_Switch_Value(),
                            AdCharset::cvt_stop) || bytes.getData() == nullptr)
        return "";
    return bytes.getData();
}

std::string System_Text(const std::string& what)
{
    return "ztintsvr: " + what + ": " + std::strerror(errno);
}

// True if path is a pipe of ours that a server reads: an open for writing that
// must not wait succeeds only when someone has it open for reading.
bool Server_Reads(const std::string& path)
{
    struct stat facts;
    if (lstat(path.c_str(), &facts) != 0 || !S_ISFIFO(facts.st_mode) || facts.st_uid != geteuid())
        return false;
    const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

bool Same_File(int fd, const std::string& path)
{
    struct stat ours, there;
    return fstat(fd, &ours) == 0 && lstat(path.c_str(), &there) == 0 &&
           ours.st_dev == there.st_dev && ours.st_ino == there.st_ino;
}

// An exclusive lock on a file beside the pipe, held for the life of the object.
// An ending server removes the file while it holds the lock, so a lock taken on
// a file that is no longer at the path is given up and taken anew.
class Start_Lock {
public:
    explicit Start_Lock(std::string path) : Path(std::move(path))
    {
        const auto give_up = std::chrono::steady_clock::now() + kLockWait;
        while (!Held && Error.empty())
            Try_Once(give_up);
    }
    ~Start_Lock()
    {
        if (Fd >= 0)
            close(Fd);
    }
    Start_Lock(const Start_Lock&) = delete;
    Start_Lock& operator=(const Start_Lock&) = delete;

    // Removes the lock's file; the lock itself is held until the object ends.
    void Remove() const
    {
        if (Held)
            unlink(Path.c_str());
    }

    const std::string Path;
    bool Held = false;
    std::string Error;

private:
    void Try_Once(std::chrono::steady_clock::time_point give_up)
    {
        if (Fd >= 0)
            close(Fd);
        Fd = -1;
        // A lock file that is not ours alone is refused at once: another user could hold
        // it, or read and remove it.
        Error = ZTInt_Private_File_Problem(Path, S_IFREG, "start lock");
        if (!Error.empty())
            return;
        Fd = open(Path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (Fd < 0) {
            Error = System_Text("cannot open the lock " + Path);
            return;
        }
        struct stat facts;
        if (fstat(Fd, &facts) != 0 || facts.st_uid != geteuid()) {
            Error = ZTInt_Private_File_Problem(Path, S_IFREG, "start lock");
            if (Error.empty())
                Error = "ztintsvr: " + Path + ", the start lock, changed while it was opened";
            return;
        }
        while (flock(Fd, LOCK_EX | LOCK_NB) != 0) {
            if ((errno != EWOULDBLOCK && errno != EINTR) ||
                std::chrono::steady_clock::now() > give_up) {
                Error = System_Text("cannot lock " + Path);
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        Held = Same_File(Fd, Path);
    }

    int Fd = -1;
};

// Where a server reports how its start went: the start command's pipe while
// detached, standard error in the foreground.
struct Report_Channel {
    int Fd;
    bool Foreground;
    void Failed(const std::string& text) const
    {
        const std::string line = text + "\n";
        if (write(Fd, line.data(), line.size()) < 0) {
        }
    }
    void Ready() const
    {
        if (!Foreground && write(Fd, &kReadyByte, 1) < 0) {
        }
    }
};

// True if the status file at path was written by this process.
bool Status_Is_Ours(const std::string& path)
{
    Svr_Status status;
    return Svr_Status_Read(path, status) && status.Pid == getpid();
}

// Removes the pipe if it is still the one fd has open, the status file if it is
// this server's, and the start lock's file under its own lock, so that an ended
// server leaves nothing behind. A server whose pipe someone else removed still
// wrote its status after that; the status of a newer server stays.
void Remove_Pipe(const std::string& path, int fd)
{
    const Start_Lock lock(path + ".lock");
    const std::string status = Svr_Status_Path(path);
    const bool ours = Same_File(fd, path);
    if (ours)
        unlink(path.c_str());
    if (ours || Status_Is_Ours(status))
        unlink(status.c_str());
    lock.Remove();
}

// The top of the heap is kept, up to a bound, instead of going back to the system at
// each free that leaves it large: the store's buffers of a commit would otherwise
// shrink and grow the heap (system calls and freshly zeroed pages) at every commit.
// The loop still gives memory back by malloc_trim after large messages.
void Keep_Heap_Top()
{
    mallopt(M_TRIM_THRESHOLD, 16 * 1024 * 1024);
    mallopt(M_TOP_PAD, 1024 * 1024);
    mallopt(M_MMAP_THRESHOLD, 4 * 1024 * 1024);
}

int Serve(const Svr_Options& options, const Report_Channel& report)
{
    Keep_Heap_Top();
    Svr_Trace::Open_From_Environment();
    Svr_Users users;
    std::string error;
    if (!Svr_Users::Load(options.Users_Path, users, error)) {
        report.Failed(error);
        return 1;
    }
    ZTInt_Connection point;
    char* text = nullptr;
    if (ZTInt_Create_Connection_Point(&point, &text) != 0) {
        report.Failed(std::string("ztintsvr: cannot open the connection point: ") +
                      (text != nullptr ? text : "unknown failure"));
        ZTInt_String_Free(text);
        return 1;
    }
    report.Ready();
    Svr_Trace::Line("start " + std::to_string(getpid()));
    const std::string pipe = Pipe_Path();
    const int point_fd = point.Handle.Read_File;
    Svr_Objects objects(static_cast<int32_t>(getpid()));
    Mdl_Server model({users, Product_Home() + "/etc/schemas/sample.json"});
    Svr_Dispatcher dispatcher(objects, model, ZTINT_VERSION);
    Svr_Trace::Report_Clients_On_Console(report.Foreground);
    Svr_Loop_Options loop_options;
    loop_options.Idle_Time = std::chrono::seconds(options.Idle_Seconds);
    loop_options.Max_Clients = static_cast<std::size_t>(options.Max_Clients);
    loop_options.Status_Path = Svr_Status_Path(pipe);
    Svr_Loop loop(point, dispatcher, loop_options);
    const std::string reason = loop.Run();
    Svr_Trace::Line("end " + reason);
    Remove_Pipe(pipe, point_fd);
    if (report.Foreground)
        std::fprintf(stderr, "ztintsvr: %s\n", reason.c_str());
    return 0;
}

// In the server's process: a new session, no terminal, /dev/null on the standard
// descriptors and no descriptor of whoever ran the start command except keep_fd.
void Detach(int keep_fd)
{
    setsid();
    umask(077);
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = 0; fd < 3; ++fd)
        if (null >= 0 && null != fd)
            dup2(null, fd);
    if (keep_fd > 3)
        close_range(3, static_cast<unsigned>(keep_fd) - 1, 0);
    close_range(static_cast<unsigned>(keep_fd) + 1, ~0U, 0);
    signal(SIGPIPE, SIG_IGN);
}

// Waits for the server's first word: the ready byte, or a failure text.
int Await_Ready(int fd)
{
    pollfd wanted = {fd, POLLIN, 0};
    int ready;
    do
        ready = poll(&wanted, 1, kReadyWaitMs);
    while (ready < 0 && errno == EINTR);
    if (ready <= 0) {
        std::fputs("ztintsvr: the server did not get ready in time\n", stderr);
        return 1;
    }
    char text[1024];
    const ssize_t count = read(fd, text, sizeof text - 1);
    if (count == 1 && text[0] == kReadyByte)
        return 0;
    text[count > 0 ? count : 0] = '\0';
    std::fputs(count > 0 ? text : "ztintsvr: the server ended while starting\n", stderr);
    return 1;
}

// A whole number from the environment within [low, high], if the variable is set.
bool Number_Option(const char* name, long low, long high, int& value, std::string& error)
{
    const char* text = std::getenv(name);
    if (text == nullptr || *text == '\0')
        return true;
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text, &end, 10);
    if (errno != 0 || *end != '\0' || number < low || number > high) {
        error = std::string("ztintsvr: ") + name + " must be a number from " +
                std::to_string(low) + " to " + std::to_string(high) + ", not \"" + text + "\"";
        return false;
    }
    value = static_cast<int>(number);
    return true;
}

}  // namespace

bool Svr_Read_Options(Svr_Options& options, std::string& error)
{
    if (!Number_Option("ZT_SERVER_IDLE_SECONDS", 1, 1000000, options.Idle_Seconds, error) ||
        !Number_Option("ZT_SERVER_MAX_CLIENTS", 0, 100000, options.Max_Clients, error))
        return false;
    const char* users = std::getenv("ZT_SERVER_USERS");
    options.Users_Path =
        users != nullptr && *users != '\0' ? users : Product_Home() + "/etc/ztintsvr.users";
    return true;
}

int Svr_Start_Command(const Svr_Options& options)
{
    const std::string pipe = Pipe_Path();
    Start_Lock lock(pipe + ".lock");
    if (!lock.Held) {
        std::fprintf(stderr, "%s\n", lock.Error.c_str());
        return 1;
    }
    if (Server_Reads(pipe))
        return 0;
    int ready[2];
    if (pipe2(ready, O_CLOEXEC) != 0) {
        std::fprintf(stderr, "%s\n", System_Text("pipe").c_str());
        return 1;
    }
    const pid_t child = fork();
    if (child < 0) {
        std::fprintf(stderr, "%s\n", System_Text("fork").c_str());
        return 1;
    }
    if (child == 0) {
        // The first child only makes the server and ends, so that the server is
        // nobody's child and no session leader.
        close(ready[0]);
        Detach(ready[1]);
        const pid_t server = fork();
        if (server != 0)
            _exit(server < 0 ? 1 : 0);
        const Report_Channel report{ready[1], false};
        const int status = Serve(options, report);
        std::fflush(nullptr);
        _exit(status);
    }
    close(ready[1]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const int result = Await_Ready(ready[0]);
    close(ready[0]);
    return result;
}

int Svr_Run_Command(const Svr_Options& options)
{
    signal(SIGPIPE, SIG_IGN);
    {
        const std::string pipe = Pipe_Path();
        Start_Lock lock(pipe + ".lock");
        if (!lock.Held) {
            std::fprintf(stderr, "%s\n", lock.Error.c_str());
            return 1;
        }
        if (Server_Reads(pipe)) {
            std::fputs("ztintsvr: a server already runs\n", stderr);
            return 1;
        }
    }
    return Serve(options, Report_Channel{2, true});
}

int Svr_Stop_Command()
{
    const std::string pipe = Pipe_Path();
    if (!Server_Reads(pipe)) {
        std::fprintf(stderr, "ztintsvr: no server is running (pipe %s)\n", pipe.c_str());
        return 1;
    }
    Svr_Status status;
    const bool known = Svr_Status_Read(Svr_Status_Path(pipe), status);
    if (ZTInt_Special_Shutdown_Stub() != 0) {
        std::fprintf(stderr, "ztintsvr: the server did not accept the shutdown (pipe %s)\n",
                     pipe.c_str());
        return 1;
    }
    // The server answers before it ends: wait a little for it to let go of the pipe.
    const auto give_up = std::chrono::steady_clock::now() + kStopWait;
    while (Server_Reads(pipe) && std::chrono::steady_clock::now() < give_up)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (known)
        std::printf("ztintsvr: stopped the server (pid %d)\n", static_cast<int>(status.Pid));
    else
        std::printf("ztintsvr: stopped the server\n");
    return 0;
}

int Svr_Status_Command()
{
    const std::string pipe = Pipe_Path();
    if (!Server_Reads(pipe)) {
        std::printf("ztintsvr: not running\npipe: %s\n", pipe.c_str());
        return 1;
    }
    std::printf("ztintsvr: running\npipe: %s\n", pipe.c_str());
    Svr_Status status;
    if (!Svr_Status_Read(Svr_Status_Path(pipe), status)) {
        std::printf("pid: unknown\n");
        return 0;
    }
    const long long uptime = std::max<long long>(0, std::time(nullptr) - status.Started);
    std::printf("pid: %d\nclients: %zu\nuptime: %lld s\n", static_cast<int>(status.Pid),
                status.Clients, uptime);
    return 0;
}

int Svr_Init_Store_Command(const Svr_Options& options)
{
    Svr_Users users;
    std::string error;
    if (!Svr_Users::Load(options.Users_Path, users, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    try {
        Mdl_Server model({users, Product_Home() + "/etc/schemas/sample.json"});
        for (const std::string& line : model.Initialise_Stores())
            std::printf("ztintsvr: %s\n", line.c_str());
        return 0;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "ztintsvr: cannot initialise the store: %s\n", failure.what());
        return 1;
    }
}
