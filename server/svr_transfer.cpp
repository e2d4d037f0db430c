#include "server/svr_transfer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "ztint_string.h"
#include "ztint_utils/ztint_transport.h"

namespace {

constexpr int32_t kHeaderSize = sizeof(ZTInt_msg_struct);
// Room of a fresh buffer: every call but those with long texts fits at once.
constexpr int32_t kFirstRoom = 4096;

bool Would_Block(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

Svr_Reader::~Svr_Reader()
{
    std::free(Buffer);
}

bool Svr_Reader::Header_Is_Whole() const
{
    return Filled >= kHeaderSize;
}

int32_t Svr_Reader::Message_Size() const
{
    return kHeaderSize + reinterpret_cast<const ZTInt_msg_struct*>(Buffer)->Data_Size;
}

// Room for bytes and then some: a read that brings a whole message then leaves room
// unused, which tells that the socket has nothing more for now.
bool Svr_Reader::Reserve(int32_t bytes)
{
    if (Capacity > bytes)
        return true;
    const int32_t headroom = bytes / 8 + 1;
    const int32_t room = bytes + headroom < kFirstRoom ? kFirstRoom : bytes + headroom;
    char* grown = static_cast<char*>(std::realloc(Buffer, static_cast<size_t>(room)));
    if (grown == nullptr)
        return false;
    Buffer = grown;
    Capacity = room;
    return true;
}

// Framing, type, version and size, before anything is allocated for the data.
bool Svr_Reader::Check_Header()
{
    char* error = nullptr;
    const auto* header = reinterpret_cast<const ZTInt_msg_struct*>(Buffer);
    const bool valid =
        ZTInt_msg_Check(&error, header) == 0 && ZTInt_msg_Check_Size(&error, header) == 0;
    ZTInt_String_Free(error);
    Header_Checked = valid && Reserve(Message_Size());
    return Header_Checked;
}

Svr_Step Svr_Reader::Step(int fd)
{
    if (!Reserve(kHeaderSize))
        return Svr_Step::Broken;
    bool drained = false;
    for (;;) {
        if (Header_Is_Whole()) {
            if (!Header_Checked && !Check_Header())
                return Svr_Step::Broken;
            if (Filled >= Message_Size())
                return Svr_Step::Complete;
        }
        // A read that got less than it asked for emptied the descriptor: wait for
        // poll rather than make a read that fails.
        if (drained)
            return Svr_Step::Pending;
        const int32_t room = Capacity - Filled;
        const ssize_t count = ::read(fd, Buffer + Filled, static_cast<size_t>(room));
        if (count < 0) {
            if (errno == EINTR)
                continue;
            Read_Filled_Room = false;
            return Would_Block(errno) ? Svr_Step::Pending : Svr_Step::Broken;
        }
        if (count == 0)
            return Filled == 0 ? Svr_Step::Ended : Svr_Step::Broken;
        Filled += static_cast<int32_t>(count);
        Read_Filled_Room = count == room;
        drained = !Read_Filled_Room;
    }
}

ZTInt_msg_struct* Svr_Reader::Message()
{
    return reinterpret_cast<ZTInt_msg_struct*>(Buffer);
}

void Svr_Reader::Consume()
{
    const int32_t size = Message_Size();
    Filled -= size;
    if (Filled > 0)
        std::memmove(Buffer, Buffer + size, static_cast<size_t>(Filled));
    Header_Checked = false;
    Release_Large_Buffer();
}

void Svr_Reader::Reset()
{
    Filled = 0;
    Header_Checked = false;
    Read_Filled_Room = false;
    Release_Large_Buffer();
}

void Svr_Reader::Release_Large_Buffer()
{
    if (Capacity <= Svr_Largest_Kept_Buffer || Filled >= kFirstRoom)
        return;
    if (char* shrunk = static_cast<char*>(std::realloc(Buffer, kFirstRoom))) {
        Buffer = shrunk;
        Capacity = kFirstRoom;
    }
}

void Svr_Writer::Start(ZTInt_msg_struct* message, const ZTInt_msg_gather* gather,
                       Svr_Bytes stable)
{
    ZTInt_msg_Free(Message);
    Message = message;
    Sent = 0;
    Gather.Count = 0;
    if (gather != nullptr)
        Gather = *gather;
    Stable = stable;
}

// Pieces that may not outlast this turn go into the message; what the socket has
// taken of them is copied too, which is harmless.
void Svr_Writer::Keep_Stable_Pieces()
{
    ZTInt_msg_gather copied;
    copied.Count = 0;
    int kept = 0;
    for (int i = 0; i < Gather.Count; ++i) {
        const ZTInt_msg_gather::Piece& piece = Gather.Pieces[i];
        if (Stable.Holds(piece.Bytes, piece.Length))
            Gather.Pieces[kept++] = piece;
        else
            copied.Pieces[copied.Count++] = piece;
    }
    ZTInt_msg_Fill_Gather(Message, &copied);
    Gather.Count = kept;
}

Svr_Step Svr_Writer::Send_Gathered(int fd)
{
    const int32_t size = ZTInt_msg_Full_Size(Message);
    while (Sent < size) {
        const long count = ZTInt_transport_Send_Gathered_Once(fd, Message, &Gather, Sent,
                                                              MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && !Would_Block(errno))
            return Svr_Step::Broken;
        if (count > 0)
            Sent += static_cast<int32_t>(count);
        if (Sent < size) {
            // The socket is full: poll says when it has room again.
            Keep_Stable_Pieces();
            return Svr_Step::Pending;
        }
    }
    return Finished();
}

Svr_Step Svr_Writer::Step(int fd)
{
    if (Gather.Count > 0)
        return Send_Gathered(fd);
    const int32_t size = ZTInt_msg_Full_Size(Message);
    const char* bytes = reinterpret_cast<const char*>(Message);
    while (Sent < size) {
        // A client that has gone must fail the write with EPIPE, not end the server.
        const ssize_t count = ::send(fd, bytes + Sent, static_cast<size_t>(size - Sent),
                                     MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0) {
            if (errno == EINTR)
                continue;
            return Would_Block(errno) ? Svr_Step::Pending : Svr_Step::Broken;
        }
        Sent += static_cast<int32_t>(count);
        if (Sent < size)
            return Svr_Step::Pending;  // the socket took what it had room for
    }
    return Finished();
}

Svr_Step Svr_Writer::Finished()
{
    const int32_t size = ZTInt_msg_Full_Size(Message);
    ZTInt_msg_Free(Message);
    Message = nullptr;
    Gather.Count = 0;
    // A huge answer's buffer goes back now, before a next call is read and answered.
    if (size > Svr_Largest_Kept_Buffer)
        (void)ZTInt_msg_buffer_Trim(Svr_Largest_Kept_Buffer);
    return Svr_Step::Complete;
}
