// Svr_Loop: the server's one event loop. It polls the connection point (the user's
// named pipe) and every client's socket, takes startup calls from the pipe and
// connects back to each new client, and steps each client whose socket is ready.
// It ends when a client asks for shutdown, when it has had no client for the idle
// time, or on SIGTERM, SIGINT or SIGHUP.
#pragma once

#include <sys/epoll.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "server/svr_client.h"
#include "server/svr_dispatch.h"
#include "server/svr_transfer.h"
#include "ztint_utils/ztint_connect.h"

struct Svr_Loop_Options {
    std::chrono::milliseconds Idle_Time{600 * 1000};
    // Beyond this many clients at once, a startup call is answered with status -1.
    std::size_t Max_Clients = 1000;
    // Where the loop keeps its status file (see svr_status.h); "" for none.
    std::string Status_Path;
};

class Svr_Loop {
public:
    // point is an open connection point; the loop owns it from now on.
    Svr_Loop(const ZTInt_Connection& point, Svr_Dispatcher& dispatcher,
             const Svr_Loop_Options& options);
    ~Svr_Loop();
    Svr_Loop(const Svr_Loop&) = delete;
    Svr_Loop& operator=(const Svr_Loop&) = delete;

    // Serves until the end, then lets every client go; returns the reason as a text
    // for the log.
    std::string Run();
    std::size_t Client_Count() const { return Clients.size(); }

private:
    std::string Serve();
    [[nodiscard]] bool Watch(int operation, int fd, uint32_t events, Svr_Client* client);
    [[nodiscard]] bool Watch_Events_Of(Svr_Client& client);
    [[nodiscard]] std::size_t Index_Of(const Svr_Client& client) const;
    void On_Point_Ready();
    void Start_Client(ZTInt_msg_struct* startup);
    void Drain_Point();
    int Idle_Timeout_Ms() const;
    void Drop_Client(std::size_t index);
    void Give_Back_Large_Buffers();
    void Publish_Status();
    void Tidy_Up();
    void Mark_Untidy();
    [[nodiscard]] int Wait_Bound_Ms(int idle_timeout);

    ZTInt_Connection Point;
    Svr_Dispatcher& Dispatcher;
    const Svr_Loop_Options Options;
    const std::time_t Started;
    std::chrono::steady_clock::time_point Idle_Since;
    Svr_Reader Point_Reader;
    std::vector<std::unique_ptr<Svr_Client>> Clients;
    // The descriptors waited for, in an epoll set made once: the point's, with no
    // client, and each client's with the events it waits for. The set knows its
    // descriptors from one wait to the next, which a poll set would be told again.
    int Watched = -1;
    std::string Watch_Failure;
    std::vector<epoll_event> Ready;
    int Next_Client_Number = 1;
    // Work left for a quiet moment: the status file, and the sweep of the sockets that
    // clients which died before connecting left in /tmp.
    bool Untidy = false;
    bool Sweep_Due = false;
    std::chrono::steady_clock::time_point Untidy_Since;
};

// Set by the signal handlers the loop installs; read between two polls.
extern volatile int Svr_Stop_Signal;
