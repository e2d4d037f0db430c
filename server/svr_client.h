// Svr_Client: one connected client of the server, on its non-blocking reply socket.
// It alternates between reading a call and writing the answer; a client that closes
// or sends what is no message is done, and its objects go with it.
#pragma once

#include <sys/epoll.h>

#include <cstdint>

#include "server/svr_dispatch.h"
#include "server/svr_transfer.h"
#include "ztint_utils/ztint_connect.h"

class Svr_Client {
public:
    // Takes over connection (a reply connection in state ready) and answers the
    // startup call that made it with startup_status. A client refused (status not
    // 0) is done once that answer is out.
    Svr_Client(int number, const ZTInt_Connection& connection, const ZTInt_msg_struct& startup,
               int32_t startup_status);
    ~Svr_Client();
    Svr_Client(const Svr_Client&) = delete;
    Svr_Client& operator=(const Svr_Client&) = delete;

    int Fd() const { return Connection.Handle.Read_File; }
    // EPOLLIN while waiting for a call, EPOLLOUT while an answer is on its way.
    uint32_t Events() const { return Writer.Busy() ? EPOLLOUT : EPOLLIN; }
    // What the loop's wait watches for on the client's behalf.
    uint32_t Watched_Events = 0;
    // Moves the client on after poll reported its descriptor ready: answers every
    // call that has come, as long as each answer goes out at once. False when the
    // client is done and should be dropped.
    [[nodiscard]] bool On_Ready(Svr_Dispatcher& dispatcher);
    // True when nothing is left to do for the client.
    bool Done() const { return Refused && !Writer.Busy(); }
    Svr_Client_State& State() { return Client_State; }
    int Number() const { return Client_State.Number; }
    int32_t Pid() const { return Client_Pid; }
    bool Is_Refused() const { return Refused; }

private:
    [[nodiscard]] Svr_Step Read_Step(Svr_Dispatcher& dispatcher);
    [[nodiscard]] bool Write_Step();
    void Send(ZTInt_msg_struct* answer, const ZTInt_msg_gather* gather = nullptr,
              Svr_Bytes stable = {});
    // Lets the answered call go once its answer, which may be written from it, is gone.
    void Consume_When_Sent();

    ZTInt_Connection Connection;
    Svr_Client_State Client_State;
    int32_t Client_Pid;
    bool Refused;
    Svr_Reader Reader;
    Svr_Writer Writer;
    bool Call_Held = false;  // the answered call stays in the reader until Writer is done
};
