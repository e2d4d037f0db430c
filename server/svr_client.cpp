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

// The loop sweeps leftover client sockets once it is quiet.
Svr_Client::~Svr_Client()
{
    ZTInt_Close_Connection_Without_Sweep(&Connection);
}

bool Svr_Client::On_Ready(Svr_Dispatcher& dispatcher)
{
    if (Writer.Busy() && !Write_Step())
        return false;
    Consume_When_Sent();
    while (!Writer.Busy() && !Done()) {
        const Svr_Step step = Read_Step(dispatcher);
        if (step == Svr_Step::Ended || step == Svr_Step::Broken)
            return false;
        // After an answer another call may wait in the buffer or the socket: take it
        // now rather than after a round through poll.
        if (step == Svr_Step::Pending || !Reader.More_May_Be_There())
            break;
    }
    return !Done();
}

// Reads what has come; once a call is whole, answers it (Complete).
Svr_Step Svr_Client::Read_Step(Svr_Dispatcher& dispatcher)
{
    const Svr_Step step = Reader.Step(Fd());
    if (step != Svr_Step::Complete)
        return step;
    ZTInt_msg_struct* call = Reader.Message();
    // The call's texts are read where they are unless a next call follows them.
    const Svr_Texts texts = Reader.Message_Ends_Buffer() ? Svr_Texts::In_Place : Svr_Texts::Copied;
    // The answer's long texts stay in the dispatcher's values, or in the call when it
    // was read in place. Those in the call are written from there however many turns
    // the answer takes, and the reader keeps the call until then; the others are
    // written or copied in this turn, before another client's call reuses the values.
    ZTInt_msg_gather gather;
    ZTInt_msg_struct* answer = dispatcher.Answer(Client_State, call, texts, &gather);
    Svr_Trace::Call(call, answer);  // reads the status, never a text
    Send(answer, &gather, Reader.Bytes());
    Call_Held = true;
    Consume_When_Sent();
    return Svr_Step::Complete;
}

void Svr_Client::Consume_When_Sent()
{
    if (!Call_Held || Writer.Busy())
        return;
    Reader.Consume();
    Call_Held = false;
}

// The client reads each answer before its next call, so the socket nearly
// always takes an answer at once: write without asking first.
void Svr_Client::Send(ZTInt_msg_struct* answer, const ZTInt_msg_gather* gather, Svr_Bytes stable)
{
    Writer.Start(answer, gather, stable);
    // A failed write fails again at the client's next turn, which poll soon gives it
    // (the socket reports an error or room), and the client is dropped then.
    (void)Write_Step();
}

// A write refused because the socket is full waits for poll; any other failure ends
// the client.
bool Svr_Client::Write_Step()
{
    return Writer.Step(Fd()) != Svr_Step::Broken;
}
