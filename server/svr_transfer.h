// The server's side of one message transfer on a non-blocking descriptor, driven by
// the stepwise transport: every Step makes exactly one read or write, so the server
// only steps a descriptor that poll has reported ready and never waits on one client.
#pragma once

#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"

enum class Svr_Step {
    Pending,   // more bytes to move
    Complete,  // the message is whole (read) or gone (written)
    Ended,     // the peer closed between two messages
    Broken,    // the peer closed mid-message, or the bytes are no message
};

// Reads messages one after another: the 32-byte header, then the data it announces.
class Svr_Reader {
public:
    Svr_Reader() = default;
    ~Svr_Reader() { ZTInt_msg_Free(Message); }
    Svr_Reader(const Svr_Reader&) = delete;
    Svr_Reader& operator=(const Svr_Reader&) = delete;

    Svr_Step Step(ZTInt_RPC_Handle& handle);
    // True while a message is partly read and its data are awaited.
    bool Awaiting_Data() const { return Message != nullptr; }
    // The complete message; the caller frees it. The reader starts over.
    ZTInt_msg_struct* Take();
    // Drops a partial message, e.g. after Broken.
    void Reset();

private:
    Svr_Step Header_Step(ZTInt_RPC_Handle& handle);
    Svr_Step Data_Step(ZTInt_RPC_Handle& handle);

    ZTInt_msg_struct Header{};
    bool Header_Started = false;
    ZTInt_msg_struct* Message = nullptr;
};

// Writes one message at a time.
class Svr_Writer {
public:
    Svr_Writer() = default;
    ~Svr_Writer() { ZTInt_msg_Free(Message); }
    Svr_Writer(const Svr_Writer&) = delete;
    Svr_Writer& operator=(const Svr_Writer&) = delete;

    // Takes message over and starts its transfer on handle.
    void Start(ZTInt_RPC_Handle& handle, ZTInt_msg_struct* message);
    bool Busy() const { return Message != nullptr; }
    Svr_Step Step(ZTInt_RPC_Handle& handle);

private:
    ZTInt_msg_struct* Message = nullptr;
};

// True if fd is ready for events (POLLIN, POLLOUT) right now, without waiting.
bool Svr_Ready_Now(int fd, short events);
