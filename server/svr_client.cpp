#include "server/svr_client.h"

#include "server/svr_trace.h"
#include "ztint_string.h"

Svr_Client::Svr_Client(int number, const ZTInt_Connection& connection,
                       const ZTInt_msg_struct& startup, int32_t startup_status)
    : Connection(connection), Client_Pid(startup.Pid), Refused(startup_status != 0)
{
    Client_State.Number = number;
    const ZTInt_rpc_type status_type[] = {ZTInt_rpc_type_status};
    const void* values[] = {&startup_status};
    ZTInt_msg_struct* answer = nullptr;
    char* error = nullptr;
    ZTInt_msg_Encode_Reply(&startup, &answer, &error, 1, status_type, values);
    ZTInt_String_Free(error);
    Svr_Trace::Call(&startup, answer);
    Send(answer);
}

Svr_Client::~Svr_Client()
{
    ZTInt_Close_Connection(&Connection);
}

bool Svr_Client::On_Ready(Svr_Dispatcher& dispatcher)
{
    const bool going = Writer.Busy() ? Write_Step() : Read_Step(dispatcher);
    return going && !Done();
}

bool Svr_Client::Read_Step(Svr_Dispatcher& dispatcher)
{
    Svr_Step step = Reader.Step(Connection.Handle);
    // The data of a call nearly always come with its header: take them at once.
    if (step == Svr_Step::Pending && Reader.Awaiting_Data() && Svr_Ready_Now(Fd(), POLLIN))
        step = Reader.Step(Connection.Handle);
    if (step == Svr_Step::Pending)
        return true;
    if (step != Svr_Step::Complete)
        return false;
    ZTInt_msg_struct* call = Reader.Take();
    ZTInt_msg_struct* answer = dispatcher.Answer(Client_State, call);
    Svr_Trace::Call(call, answer);
    Send(answer);
    ZTInt_msg_Free(call);
    return true;
}

// The client reads each answer before its next call, so the socket nearly
// always takes an answer at once: write without asking first.
void Svr_Client::Send(ZTInt_msg_struct* answer)
{
    Writer.Start(Connection.Handle, answer);
    Write_Step();
}

// A write refused because the socket is full (EAGAIN) waits for the next turn;
// any other failure leaves the socket writable or in error, and ends the client.
bool Svr_Client::Write_Step()
{
    return Writer.Step(Connection.Handle) != Svr_Step::Broken || !Svr_Ready_Now(Fd(), POLLOUT);
}
