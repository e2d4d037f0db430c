#include "server/svr_loop.h"

#include "server/svr_transfer.h"

#include <malloc.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "server/svr_status.h"
#include "server/svr_trace.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_protocol.h"
#include "ztint_opcodes.h"
#include "ztint_string.h"

volatile int Svr_Stop_Signal = 0;

namespace {

// The status file is written, and leftover sockets swept, once the loop has been quiet
// this long, or at the latest after kLongestStale.
constexpr std::chrono::milliseconds kQuiet{2};
constexpr std::chrono::milliseconds kLongestStale{100};

void On_Stop_Signal(int number)
{
    Svr_Stop_Signal = number;
}

// The signals that end the server are blocked except while it waits, so that one
// arriving between two waits is not lost.
sigset_t Install_Stop_Signals()
{
    struct sigaction action = {};
    action.sa_handler = On_Stop_Signal;
    sigemptyset(&action.sa_mask);
    sigset_t blocked, previous;
    sigemptyset(&blocked);
    for (int number : {SIGTERM, SIGINT, SIGHUP}) {
        sigaction(number, &action, nullptr);
        sigaddset(&blocked, number);
    }
    sigprocmask(SIG_BLOCK, &blocked, &previous);
    for (int number : {SIGTERM, SIGINT, SIGHUP})
        sigdelset(&previous, number);
    return previous;
}

// The connection name the startup call carries, or "" if the call is not one.
std::string Startup_Name(ZTInt_msg_struct* call)
{
    if (call->Type != ZTInt_msg_type_Call || call->Procedure != ZTInt_op_ZTInt_Special_Startup_Stub)
        return "";
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_String};
    char* name = nullptr;
    void* values[] = {&name};
    char* error = nullptr;
    const int decoded = ZTInt_msg_Decode(call, &error, 1, types, values);
    ZTInt_String_Free(error);
    std::string result = decoded == 1 && name != nullptr ? name : "";
    ZTInt_String_Free(name);
    return result;
}

}  // namespace

Svr_Loop::Svr_Loop(const ZTInt_Connection& point, Svr_Dispatcher& dispatcher,
                   const Svr_Loop_Options& options)
    : Point(point), Dispatcher(dispatcher), Options(options), Started(std::time(nullptr)),
      Idle_Since(std::chrono::steady_clock::now())
{
    Watched = epoll_create1(EPOLL_CLOEXEC);
    if (Watched < 0 || !Watch(EPOLL_CTL_ADD, Point.Handle.Read_File, EPOLLIN, nullptr))
        Watch_Failure = std::string("cannot wait for calls: ") + std::strerror(errno);
    Publish_Status();
}

Svr_Loop::~Svr_Loop()
{
    Clients.clear();
    ZTInt_Close_Connection(&Point);
    if (Watched >= 0)
        close(Watched);
}

std::string Svr_Loop::Run()
{
    std::string reason = Serve();
    while (!Clients.empty())
        Drop_Client(Clients.size() - 1);
    if (Untidy)
        Tidy_Up();
    return reason;
}

std::string Svr_Loop::Serve()
{
    static const sigset_t waiting_mask = Install_Stop_Signals();
    if (!Watch_Failure.empty())
        return Watch_Failure;
    for (;;) {
        if (Dispatcher.Shutdown_Requested())
            return "shut down by a client";
        if (Svr_Stop_Signal != 0)
            return "ended by signal " + std::to_string(Svr_Stop_Signal);
        const int timeout = Idle_Timeout_Ms();
        if (timeout == 0)
            return "idle";
        const int bound = Wait_Bound_Ms(timeout);
        // One event at most for each descriptor; after the first calls this allocates
        // nothing.
        Ready.resize(Clients.size() + 1);
        const int ready =
            epoll_pwait(Watched, Ready.data(), static_cast<int>(Ready.size()), bound, &waiting_mask);
        if (ready == 0 && Untidy)
            Tidy_Up();  // nothing came for a while: nobody waits for the server
        if (ready <= 0)
            continue;  // timeout, or a signal (EINTR): the checks above decide
        // Clients first: the point may add a client, whose events come with the next wait.
        bool point_ready = false;
        for (int i = 0; i < ready; ++i) {
            auto* client = static_cast<Svr_Client*>(Ready[static_cast<std::size_t>(i)].data.ptr);
            if (client == nullptr)
                point_ready = true;
            else if (!client->On_Ready(Dispatcher) || !Watch_Events_Of(*client))
                Drop_Client(Index_Of(*client));
        }
        if (point_ready)
            On_Point_Ready();
        Give_Back_Large_Buffers();
        if (Clients.empty() && Idle_Since == std::chrono::steady_clock::time_point())
            Idle_Since = std::chrono::steady_clock::now();
    }
}

bool Svr_Loop::Watch(int operation, int fd, uint32_t events, Svr_Client* client)
{
    epoll_event event = {};
    event.events = events;
    event.data.ptr = client;
    return epoll_ctl(Watched, operation, fd, &event) == 0;
}

// A client waits for room instead of a call while an answer is on its way, and back.
// False when the set can't be changed: the client would wait for the wrong event.
bool Svr_Loop::Watch_Events_Of(Svr_Client& client)
{
    const uint32_t events = client.Events();
    if (events == client.Watched_Events)
        return true;
    if (!Watch(EPOLL_CTL_MOD, client.Fd(), events, &client))
        return false;
    client.Watched_Events = events;
    return true;
}

std::size_t Svr_Loop::Index_Of(const Svr_Client& client) const
{
    for (std::size_t i = 0; i < Clients.size(); ++i)
        if (Clients[i].get() == &client)
            return i;
    ZTInt_abort3("the client of an event is one of the loop's", __FILE__, __LINE__);
}

// -1 (no limit) while clients are connected, else what is left of the idle time.
int Svr_Loop::Idle_Timeout_Ms() const
{
    if (!Clients.empty())
        return -1;
    const auto idle = std::chrono::steady_clock::now() - Idle_Since;
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(Options.Idle_Time - idle);
    return left.count() <= 0 ? 0 : static_cast<int>(std::min<long long>(left.count(), 1 << 30));
}

// Startup calls are written into the pipe by single writes, so each comes whole; one
// read may bring several.
void Svr_Loop::On_Point_Ready()
{
    for (;;) {
        const Svr_Step step = Point_Reader.Step(Point.Handle.Read_File);
        if (step == Svr_Step::Broken) {
            Point_Reader.Reset();
            Drain_Point();
            return;
        }
        if (step != Svr_Step::Complete)
            return;
        Start_Client(Point_Reader.Message());
        Point_Reader.Consume();
        if (!Point_Reader.More_May_Be_There())
            return;
    }
}

void Svr_Loop::Start_Client(ZTInt_msg_struct* startup)
{
    const std::string name = Startup_Name(startup);
    if (name.empty())
        return;
    ZTInt_Connection reply;
    char* error = nullptr;
    const int opened =
        ZTInt_Open_Reply_Connection_Un(&Point, &reply, startup, name.c_str(), &error);
    ZTInt_String_Free(error);
    if (opened != 0)
        return;
    const bool refused = Clients.size() >= Options.Max_Clients;
    if (refused)
        Svr_Trace::Line("refused " + std::to_string(startup->Pid));
    if (!refused)
        Svr_Trace::Client_Event("connect", Next_Client_Number, startup->Pid);
    auto client =
        std::make_unique<Svr_Client>(Next_Client_Number++, reply, *startup, refused ? -1 : 0);
    if (client->Done())
        return;
    // A client the loop can't wait for would never be answered: it is let go at once.
    if (!Watch(EPOLL_CTL_ADD, client->Fd(), client->Events(), client.get()))
        return;
    client->Watched_Events = client->Events();
    Clients.push_back(std::move(client));
    Idle_Since = std::chrono::steady_clock::time_point();
    Mark_Untidy();
}

// Buffers of huge messages go back to the system once the messages are done; the
// smaller ones stay in the pool for the next calls, so that calls with long texts in
// a row reuse their memory instead of faulting in fresh pages every time.
void Svr_Loop::Give_Back_Large_Buffers()
{
    if (ZTInt_msg_buffer_Trim(Svr_Largest_Kept_Buffer) > 0)
        malloc_trim(0);
}

void Svr_Loop::Drop_Client(std::size_t index)
{
    const Svr_Client& client = *Clients[index];
    if (!client.Is_Refused())
        Svr_Trace::Client_Event("disconnect", client.Number(), client.Pid());
    Dispatcher.Client_Gone(Clients[index]->State());
    (void)Watch(EPOLL_CTL_DEL, client.Fd(), 0, nullptr);
    Clients.erase(Clients.begin() + static_cast<std::ptrdiff_t>(index));
    Sweep_Due = true;
    Mark_Untidy();
}

void Svr_Loop::Publish_Status()
{
    if (!Options.Status_Path.empty())
        Svr_Status_Write(Options.Status_Path, Svr_Status{getpid(), Started, Clients.size()});
}

void Svr_Loop::Tidy_Up()
{
    Untidy = false;
    if (Sweep_Due)
        Unlink_USockets();
    Sweep_Due = false;
    Publish_Status();
}

// A client that has just connected makes its first call at once, and the next client
// may be just behind one that has gone: the status file and the sweep wait until the
// loop has nothing to do, out of the clients' way.
void Svr_Loop::Mark_Untidy()
{
    if (!Untidy)
        Untidy_Since = std::chrono::steady_clock::now();
    Untidy = true;
}

// The bound of the next wait: the idle bound, or a short one while there is tidying
// to do, which is done now if it has waited long enough.
int Svr_Loop::Wait_Bound_Ms(int idle_timeout)
{
    if (!Untidy)
        return idle_timeout;
    if (std::chrono::steady_clock::now() - Untidy_Since >= kLongestStale) {
        Tidy_Up();
        return idle_timeout;
    }
    const int quiet = static_cast<int>(kQuiet.count());
    return idle_timeout < 0 ? quiet : std::min(idle_timeout, quiet);
}

// What is left in the pipe after bytes that were no message can't be put back in
// step: drop it all. A client whose startup call went with it times out waiting.
void Svr_Loop::Drain_Point()
{
    char scratch[4096];
    while (read(Point.Handle.Read_File, scratch, sizeof scratch) > 0) {
    }
}
