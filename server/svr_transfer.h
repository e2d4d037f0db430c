// The server's side of message transfers on a non-blocking descriptor. The server
// only steps a descriptor that poll has reported ready (or that still has bytes
// buffered) and never waits on one client.
#pragma once

#include <cstdint>

#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"

// A buffer grown beyond this for one huge message or value goes back to the system
// once it is done with; smaller ones stay for the next calls, so that large calls in a
// row cost no allocation and no fresh pages.
constexpr int32_t Svr_Largest_Kept_Buffer = 8 * 1024 * 1024;

// A range of bytes that stays where it is for as long as some write needs it.
struct Svr_Bytes {
    const char* Begin = nullptr;
    const char* End = nullptr;
    [[nodiscard]] bool Holds(const char* bytes, int32_t length) const
    {
        return Begin != nullptr && bytes >= Begin && length <= End - bytes;
    }
};

enum class Svr_Step {
    Pending,   // more bytes to move
    Complete,  // the message is whole (read) or gone (written)
    Ended,     // the peer closed between two messages
    Broken,    // the peer closed mid-message, or the bytes are no message
};

// Reads messages one after another into a buffer of its own that it keeps from one
// message to the next. A read asks for all the room the buffer has, so a message
// whose bytes are there costs one read; bytes beyond the message stay for the next.
class Svr_Reader {
public:
    Svr_Reader() = default;
    ~Svr_Reader();
    Svr_Reader(const Svr_Reader&) = delete;
    Svr_Reader& operator=(const Svr_Reader&) = delete;

    // Complete at once when a whole message is buffered; else reads until the message
    // is whole or the descriptor has nothing more for now.
    [[nodiscard]] Svr_Step Step(int fd);
    // The complete message, valid until Consume or Reset.
    [[nodiscard]] ZTInt_msg_struct* Message();
    // True when no byte of a next message follows the complete one in the buffer: the
    // byte after it may then be written (there is always room for one).
    [[nodiscard]] bool Message_Ends_Buffer() const { return Filled == Message_Size(); }
    // Done with the complete message: the bytes after it move to the front.
    void Consume();
    // True when the descriptor may hold more right now: the buffer has bytes of a next
    // message, or the last read filled all the room it was given.
    [[nodiscard]] bool More_May_Be_There() const { return Filled > 0 || Read_Filled_Room; }
    // Drops every buffered byte, e.g. after Broken.
    void Reset();
    // The buffer, which keeps its place until the next Step, Consume or Reset.
    [[nodiscard]] Svr_Bytes Bytes() const { return {Buffer, Buffer + Capacity}; }

private:
    [[nodiscard]] bool Header_Is_Whole() const;
    [[nodiscard]] int32_t Message_Size() const;
    [[nodiscard]] bool Reserve(int32_t bytes);
    [[nodiscard]] bool Check_Header();
    void Release_Large_Buffer();

    char* Buffer = nullptr;
    int32_t Capacity = 0;
    int32_t Filled = 0;
    bool Header_Checked = false;
    bool Read_Filled_Room = false;
};

// Writes one message at a time, each a buffer of the message pool.
class Svr_Writer {
public:
    Svr_Writer() = default;
    ~Svr_Writer() { ZTInt_msg_Free(Message); }
    Svr_Writer(const Svr_Writer&) = delete;
    Svr_Writer& operator=(const Svr_Writer&) = delete;

    // Takes message over; the first Step begins its transfer. With gather, the
    // message's long texts are where gather says. Those in stable are written from
    // there until the message is gone, and the caller keeps them in place that long;
    // the others must stay only until the first Step, which copies into the message
    // what the socket did not take of them.
    void Start(ZTInt_msg_struct* message, const ZTInt_msg_gather* gather = nullptr,
               Svr_Bytes stable = {});
    [[nodiscard]] bool Busy() const { return Message != nullptr; }
    // Writes until the message is gone or the socket is full (Pending).
    [[nodiscard]] Svr_Step Step(int fd);

private:
    // Gathering writes while pieces are elsewhere; a full socket keeps only the
    // stable ones there.
    [[nodiscard]] Svr_Step Send_Gathered(int fd);
    void Keep_Stable_Pieces();
    [[nodiscard]] Svr_Step Finished();

    ZTInt_msg_struct* Message = nullptr;
    int32_t Sent = 0;
    ZTInt_msg_gather Gather;
    Svr_Bytes Stable;
};
