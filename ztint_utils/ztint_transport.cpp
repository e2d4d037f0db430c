#include "ztint_utils/ztint_transport.h"

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_base/ztint_protocol.h"
#include "ztint_base/ztint_strings.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int32_t kHeaderSize = sizeof(ZTInt_msg_struct);

int Fail(char** error, const char* text)
{
    *error = ZTInt_String_New(text);
    return ZTInt_transport_Failed;
}

// Moves the transfer position on by the count of the last read or write.
void Advance(ZTInt_RPC_Handle* handle, long count)
{
    handle->Last_Count = static_cast<int32_t>(count);
    if (count > 0) {
        handle->Data += count;
        handle->Length -= static_cast<int32_t>(count);
    }
}

// One read or write step of the transfer under way. A read that meets end of
// file before the transfer is complete fails instead of spinning.
int Step(ZTInt_RPC_Handle* handle, bool reading, char** error)
{
    Fnd_Condition condition;
    const long count =
        reading ? Hst_Filesystem::Read(handle->Read_File, handle->Data, handle->Length, condition)
                : Hst_Filesystem::Write(handle->Write_File, handle->Data, handle->Length, condition);
    Advance(handle, count);
    int result = ZTInt_transport_Done;
    Set_Result(condition, result, error);
    if (result == ZTInt_transport_Done && count == 0 && handle->Length > 0)
        return Fail(error, reading ? "incomplete data" : "no data written");
    return result;
}

// Writes size bytes from data by single writes until one takes them all.
int Write_Whole(ZTInt_RPC_Handle* handle, const void* data, int32_t size, char** error)
{
    int result;
    long count;
    do {
        Fnd_Condition condition;
        count = Hst_Filesystem::Write(handle->Write_File, data, size, condition);
        handle->Last_Count = static_cast<int32_t>(count);
        result = ZTInt_transport_Done;
        Set_Result(condition, result, error);
    } while (result == ZTInt_transport_Done && count != size);
    return result;
}

// A failed read or write says what the system said, also when no catalog gives the
// message its text (the bare message then shows only the errno's number).
void Add_System_Text(const Fnd_Condition& condition, Fnd_String& image)
{
    const Hst_Sys_Call_Error* failure = Hst_Sys_Call_Error::Convert(condition.Get_Error());
    if (failure == nullptr || failure->Errno == 0)
        return;
    const Fnd_String text = Hst_Strerror(failure->Errno);
    if (text.Is_Empty() || image.Find(text.Data()) >= 0)
        return;
    image.Append(u": ");
    image.Append(text);
}

// "30 seconds" or "250 ms".
std::string Duration_Text(int ms)
{
    return ms % 1000 == 0 ? std::to_string(ms / 1000) + (ms == 1000 ? " second" : " seconds")
                          : std::to_string(ms) + " ms";
}

// Milliseconds left until deadline, at least 0; -1 when there is no deadline.
int Left_Ms(const Clock::time_point* deadline)
{
    if (deadline == nullptr)
        return -1;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*deadline - Clock::now());
    return static_cast<int>(std::max<long long>(0, left.count()));
}

// The smaller of two bounds, -1 standing for none.
int Tighter(int a, int b)
{
    return a < 0 ? b : b < 0 ? a : std::min(a, b);
}

enum class Read_Outcome { Read, Failed, Timed_Out };

// One read of up to length bytes that waits at most limit_ms for a first byte (-1: as
// long as it takes). A socket is tried without waiting first, so that data already
// there cost no more than a plain read; only when nothing is there does it poll.
Read_Outcome Read_Within(int fd, void* data, int32_t length, int limit_ms, long& count,
                         Fnd_Condition& condition)
{
    if (limit_ms < 0) {
        count = Hst_Filesystem::Read(fd, data, length, condition);
        return condition.Failed() ? Read_Outcome::Failed : Read_Outcome::Read;
    }
    condition.Clear();
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(limit_ms);
    for (;;) {
        const ssize_t got = ::recv(fd, data, static_cast<size_t>(length), MSG_DONTWAIT);
        if (got >= 0) {
            count = got;
            return Read_Outcome::Read;
        }
        if (errno == ENOTSOCK)
            return Read_Within(fd, data, length, -1, count, condition);
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN && errno != EWOULDBLOCK)
            break;
        pollfd wanted = {fd, POLLIN, 0};
        const int ready = ::poll(&wanted, 1, Left_Ms(&deadline));
        if (ready == 0)
            return Read_Outcome::Timed_Out;
        if (ready < 0 && errno != EINTR)
            break;
    }
    count = -1;
    condition.Set_Error(Hst_Sys_Call_Error(141, errno, length, 0), 1);
    return Read_Outcome::Failed;
}

}  // namespace

int Set_Result(const Fnd_Condition& condition, int& result, char** error)
{
    *error = nullptr;
    result = ZTInt_transport_Done;
    if (!condition.Failed())
        return result;
    result = ZTInt_transport_Failed;
    Fnd_String image;
    condition.Image(image, Fnd_Detail_Normal, 0, 1, 1, 1, Fnd_Message::Default_Message_Separator());
    Add_System_Text(condition, image);
    AdMbcsString bytes;
    if (bytes.cvtFromTchar(AdCharset::getDefaultCharset(), image, AdCharset::cvt_stop) && bytes.getData() != nullptr)
        *error = ZTInt_String_New(bytes.getData());
    else
        *error = ZTInt_String_New("unconvertible failure text");
    return result;
}

void ZTInt_transport_Start_Full(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg)
{
    handle->Data = reinterpret_cast<char*>(msg);
    handle->Length = ZTInt_msg_Full_Size(msg);
    handle->Last_Count = -1;
}

void ZTInt_transport_Start_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg)
{
    handle->Data = ZTInt_msg_Data_Addr(msg);
    handle->Length = ZTInt_msg_Data_Size(msg);
    handle->Last_Count = -1;
}

int ZTInt_transport_Data_Done(const ZTInt_RPC_Handle* handle)
{
    return handle->Length == 0;
}

int ZTInt_transport_Send(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg, char** error)
{
    *error = nullptr;
    ZTInt_transport_Start_Full(handle, msg);
    for (;;) {
        const int result = Step(handle, false, error);
        if (result != ZTInt_transport_Done || handle->Length == 0)
            return result;
    }
}

namespace {

// The message as the runs of bytes that go on the wire in turn: buffer, piece,
// buffer, ... Empty runs are left out.
class Gather_Runs {
public:
    Gather_Runs(ZTInt_msg_struct* msg, const ZTInt_msg_gather& gather)
    {
        char* const bytes = reinterpret_cast<char*>(msg);
        int32_t at = 0;
        for (int i = 0; i < gather.Count; ++i) {
            const ZTInt_msg_gather::Piece& piece = gather.Pieces[i];
            Add(bytes + at, piece.Offset - at);
            Add(piece.Bytes, piece.Length);
            at = piece.Offset + piece.Length;
        }
        Add(bytes + at, ZTInt_msg_Full_Size(msg) - at);
    }

    // Drops count bytes from the front, after a write took them.
    void Advance(std::size_t count)
    {
        while (count > 0 && First < Count) {
            iovec& run = Runs[First];
            const std::size_t taken = std::min(count, run.iov_len);
            run.iov_base = static_cast<char*>(run.iov_base) + taken;
            run.iov_len -= taken;
            count -= taken;
            if (run.iov_len == 0)
                ++First;
        }
    }
    [[nodiscard]] bool Done() const { return First == Count; }
    // One write of what is left; a single run (a short call) goes by plain send.
    [[nodiscard]] ssize_t Send(int fd, int flags)
    {
        if (Count - First == 1)
            return ::send(fd, Runs[First].iov_base, Runs[First].iov_len, flags);
        msghdr header = {};
        header.msg_iov = Runs + First;
        header.msg_iovlen = static_cast<std::size_t>(Count - First);
        return ::sendmsg(fd, &header, flags);
    }
    [[nodiscard]] std::size_t Left() const
    {
        std::size_t left = 0;
        for (int i = First; i < Count; ++i)
            left += Runs[i].iov_len;
        return left;
    }

private:
    void Add(const char* bytes, int32_t length)
    {
        if (length > 0)
            Runs[Count++] = {const_cast<char*>(bytes), static_cast<std::size_t>(length)};
    }

    iovec Runs[2 * ZTInt_msg_gather::Max_Pieces + 1];
    int Count = 0;
    int First = 0;
};

}  // namespace

int ZTInt_transport_Send_Gather(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg,
                                const ZTInt_msg_gather* gather, char** error)
{
    *error = nullptr;
    Gather_Runs runs(msg, *gather);
    while (!runs.Done()) {
        // A server that has gone fails the write with EPIPE instead of ending the host.
        const ssize_t count = runs.Send(handle->Write_File, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 && errno == ENOTSOCK) {
            ZTInt_msg_Fill_Gather(msg, gather);
            return ZTInt_transport_Send(handle, msg, error);
        }
        handle->Last_Count = static_cast<int32_t>(count);
        if (count <= 0) {
            Fnd_Condition condition;
            condition.Set_Error(Hst_Sys_Call_Error(143, count < 0 ? errno : EIO,
                                                   static_cast<long>(runs.Left()), 0), 1);
            int result;
            return Set_Result(condition, result, error);
        }
        runs.Advance(static_cast<std::size_t>(count));
    }
    return ZTInt_transport_Done;
}

long ZTInt_transport_Send_Gathered_Once(int fd, ZTInt_msg_struct* msg,
                                        const ZTInt_msg_gather* gather, long sent, int flags)
{
    Gather_Runs runs(msg, *gather);
    runs.Advance(static_cast<std::size_t>(sent));
    return static_cast<long>(runs.Send(fd, flags));
}

int ZTInt_transport_Send_Atomic(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error)
{
    *error = nullptr;
    return Write_Whole(handle, msg, ZTInt_msg_Full_Size(msg), error);
}

int ZTInt_transport_Send_Header(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error)
{
    *error = nullptr;
    return Write_Whole(handle, msg, kHeaderSize, error);
}

int ZTInt_transport_Send_Data(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct*, char** error)
{
    *error = nullptr;
    return Step(handle, false, error);
}

int ZTInt_transport_Recv_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct*, char** error)
{
    *error = nullptr;
    return Step(handle, true, error);
}

namespace {

// The header read, waiting at most limit_ms for it (-1: no bound); -2 when that ran out.
int Recv_Header_Within(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out, char** error,
                       int wait, int limit_ms)
{
    *error = nullptr;
    ZTInt_msg_struct header;
    bool dropped = false;  // a short read was dropped while waiting
    for (;;) {
        Fnd_Condition condition;
        long count = 0;
        if (Read_Within(handle->Read_File, &header, kHeaderSize, limit_ms, count, condition) ==
            Read_Outcome::Timed_Out)
            return -2;
        handle->Last_Count = static_cast<int32_t>(count);
        int result;
        if (Set_Result(condition, result, error) != ZTInt_transport_Done)
            return result;
        if (count == kHeaderSize)
            break;
        if (count == 0 && !dropped) {
            *error = ZTInt_String_New("no data");
            return ZTInt_transport_No_Data;
        }
        // Without wait the header must come in one read; with wait a short read is
        // dropped and the next starts over, but end of file ends the wait.
        if (!wait || count == 0)
            return Fail(error, "incomplete data");
        dropped = true;
    }
    if (ZTInt_msg_Check(error, &header) != 0 || ZTInt_msg_Check_Size(error, &header) != 0)
        return ZTInt_transport_Failed;
    *msg_out = ZTInt_msg_Alloc(&header);
    return ZTInt_transport_Done;
}

}  // namespace

namespace {

// Room of the first read ahead, unless a larger pool buffer is free.
constexpr int32_t kFirstReadRoom = 4096;

// The largest free buffer of the pool, at least kFirstReadRoom bytes; its room. With
// small, the first read asks for kFirstReadRoom bytes alone.
char* Read_Ahead_Buffer(int32_t& room, bool small)
{
    int32_t largest = kFirstReadRoom;
    for (int i = 0; !small && i < ZTInt_msg_buffer_Open_Slots(); ++i) {
        const ZTInt_msg_buffer_struct* slot = ZTInt_msg_buffer_Slot(i);
        if (!slot->In_Use && slot->Size > largest)
            largest = slot->Size;
    }
    char* buffer = static_cast<char*>(ZTInt_msg_buffer_Get(largest));
    const int index = ZTInt_msg_buffer_Slot_Of(buffer);
    room = index >= 0 && !small ? ZTInt_msg_buffer_Slot(index)->Size : largest;
    return buffer;
}

// The first read of a message: -2 when limit_ms ran out, else as the header read.
int First_Read(ZTInt_RPC_Handle* handle, char* buffer, int32_t room, long& count, char** error,
               int limit_ms)
{
    Fnd_Condition condition;
    if (Read_Within(handle->Read_File, buffer, room, limit_ms, count, condition) ==
        Read_Outcome::Timed_Out)
        return -2;
    handle->Last_Count = static_cast<int32_t>(count);
    int result;
    if (Set_Result(condition, result, error) != ZTInt_transport_Done)
        return result;
    if (count == 0) {
        *error = ZTInt_String_New("no data");
        return ZTInt_transport_No_Data;
    }
    // As without reading ahead, the header must come with the first read.
    return count < kHeaderSize ? Fail(error, "incomplete data") : ZTInt_transport_Done;
}

// Reads the header and as much of the data as is there with one read into a pool
// buffer; -2 when limit_ms ran out first. *msg_out is set only when the header
// passed its checks, to a buffer with room for the whole message; got tells how
// many of its bytes came.
int Recv_Ahead(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out, int32_t& got,
               char** error, int limit_ms, bool small)
{
    *error = nullptr;
    int32_t room = 0;
    char* buffer = Read_Ahead_Buffer(room, small);
    long count = 0;
    int result = First_Read(handle, buffer, room, count, error, limit_ms);
    auto* header = reinterpret_cast<ZTInt_msg_struct*>(buffer);
    if (result == ZTInt_transport_Done &&
        (ZTInt_msg_Check(error, header) != 0 || ZTInt_msg_Check_Size(error, header) != 0))
        result = ZTInt_transport_Failed;
    if (result != ZTInt_transport_Done) {
        ZTInt_msg_buffer_Put(buffer);
        return result;
    }
    got = static_cast<int32_t>(count);
    if (ZTInt_msg_Alloc_Size(header) > room) {
        // The rest needs a larger buffer: what came moves over.
        ZTInt_msg_struct* larger = ZTInt_msg_Alloc(header);
        std::memcpy(larger, buffer, static_cast<size_t>(got));
        ZTInt_msg_buffer_Put(buffer);
        *msg_out = larger;
        return result;
    }
    // A message with less than a word of data has the rest of that word zeroed, as
    // ZTInt_msg_Alloc leaves it.
    if (header->Data_Size < 4 && got <= ZTInt_msg_Full_Size(header))
        std::memset(ZTInt_msg_Data_Addr(header) + header->Data_Size, 0,
                    static_cast<size_t>(4 - header->Data_Size));
    *msg_out = header;
    return result;
}

}  // namespace

int ZTInt_transport_Recv_Header(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out,
                                char** error, int wait)
{
    return Recv_Header_Within(handle, msg_out, error, wait, -1);
}

namespace {

// A text of an answer that is read into a string of its own: its bytes begin At bytes
// into the data. Length 0: none.
struct Long_Text {
    int32_t At = 0;
    int32_t Length = 0;
};

bool Has_Fixed_Size(ZTInt_rpc_type type)
{
    return (type >= ZTInt_rpc_type_status && type <= ZTInt_rpc_type_BOOL) ||
           ZTInt_rpc_type_Is_Object(type);
}

// Whether the answer may hold a text to read into a string of its own: its first read
// then takes no more than the values before the text need, so that the text's bytes
// are not read into the message first and copied after.
bool Expects_Text(const ZTInt_transport_Limits& limits)
{
    for (int k = 0; limits.Reply_Types != nullptr && k < limits.Reply_Count; ++k)
        if (limits.Reply_Types[k] == ZTInt_rpc_type_String)
            return true;
    return false;
}

// The answer's first text, when the caller gave the out-list, only values of a fixed
// size come before it, its length word has come with the first bytes, and it is long
// enough to be worth a read of its own.
Long_Text Find_Long_Text(const ZTInt_msg_struct* msg, int32_t received,
                         const ZTInt_transport_Limits& limits)
{
    if (limits.Reply_Types == nullptr || msg->Type != ZTInt_msg_type_Reply ||
        msg->Data_Size < ZTInt_transport_Long_Text_Min)
        return {};
    const char* data = ZTInt_msg_Data_Addr(const_cast<ZTInt_msg_struct*>(msg));
    int64_t at = 0;
    for (int k = 0; k < limits.Reply_Count; ++k) {
        const ZTInt_rpc_type type = limits.Reply_Types[k];
        if (type == ZTInt_rpc_type_String) {
            const int64_t text_at = at + ZTInt_rpc_type_sizeof() + ZTInt_rpc_int_sizeof();
            if (text_at > received || static_cast<unsigned char>(data[at]) != ZTInt_rpc_type_String)
                return {};
            int32_t length = 0;
            std::memcpy(&length, data + at + ZTInt_rpc_type_sizeof(), sizeof length);
            if (length < ZTInt_transport_Long_Text_Min || length > msg->Data_Size - text_at)
                return {};
            return {static_cast<int32_t>(text_at), length};
        }
        if (!Has_Fixed_Size(type))
            return {};
        at += ZTInt_rpc_Get_Length(type, nullptr);
    }
    return {};
}

// Reads the rest of the answer with the text's bytes into a string of their own,
// which decoding then takes (ZTInt_rpc_Detach_Text); the message keeps a gap there.
template <class Read_All>
int Read_Around_Long_Text(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg, const Long_Text& text,
                          Read_All& read_all)
{
    char* const data = ZTInt_msg_Data_Addr(msg);
    const int32_t size = ZTInt_msg_Data_Size(msg);
    const int32_t received = size - handle->Length;
    char* bytes = ZTInt_String_Alloc(text.Length);
    if (bytes == nullptr)
        return read_all(0);  // the plain way: the decoder reports the shortage
    const int32_t text_end = text.At + text.Length;
    const int32_t have = std::min(received, text_end) - text.At;
    std::memcpy(bytes, data + text.At, static_cast<size_t>(have));
    handle->Data = bytes + have;
    handle->Length = text.Length - have;
    int result = read_all(size - std::max(received, text_end));
    if (result == ZTInt_transport_Done) {
        bytes[text.Length] = '\0';
        handle->Data = data + std::max(received, text_end);
        handle->Length = size - std::max(received, text_end);
        result = read_all(0);
    }
    if (result != ZTInt_transport_Done) {
        // The handle tells where the transfer stopped: in the message, as without a text
        // of its own, never in the string that goes now.
        if (handle->Data >= bytes && handle->Data <= bytes + text.Length) {
            handle->Data = data + text.At + (handle->Data - bytes);
            handle->Length += size - std::max(received, text_end);
        }
        ZTInt_String_Free(bytes);
        return result;
    }
    ZTInt_rpc_Detach_Text(data + text.At, text.Length, bytes);
    return result;
}

}  // namespace

int ZTInt_transport_Recv(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out, char** error,
                         const ZTInt_transport_Limits& limits)
{
    *error = nullptr;
    Clock::time_point whole_deadline;
    if (limits.Whole_Ms >= 0)
        whole_deadline = Clock::now() + std::chrono::milliseconds(limits.Whole_Ms);
    const Clock::time_point* whole = limits.Whole_Ms >= 0 ? &whole_deadline : nullptr;
    auto whole_ran_out = [&] {
        *error = ZTInt_String_Format("the server sent no answer within %s (%s)",
                                     Duration_Text(limits.Whole_Ms).c_str(), limits.Whole_Name);
        return ZTInt_transport_Failed;
    };

    const int header_limit = Tighter(limits.Header_Ms, Left_Ms(whole));
    int32_t got = kHeaderSize;
    const int result = limits.Read_Ahead
                           ? Recv_Ahead(handle, msg_out, got, error, header_limit,
                                        Expects_Text(limits))
                           : Recv_Header_Within(handle, msg_out, error, 0, header_limit);
    if (result == -2) {
        if (header_limit == limits.Header_Ms)
            return Fail(error, ("the server sent no answer within " +
                                Duration_Text(limits.Header_Ms)).c_str());
        return whole_ran_out();
    }
    if (result != ZTInt_transport_Done)
        return result;
    const int32_t size = ZTInt_msg_Full_Size(*msg_out);
    if (got > size) {
        *error = ZTInt_String_Format("%d bytes came beyond the %d bytes of the message",
                                     static_cast<int>(got - size), static_cast<int>(size));
        return ZTInt_transport_Failed;
    }
    ZTInt_transport_Start_Data(handle, *msg_out);
    if (got > kHeaderSize) {
        Advance(handle, got - kHeaderSize);  // the data that came with the header
        handle->Last_Count = got;
    }
    // Reads Length bytes at Data; later is the count of bytes that follow them.
    auto read_all = [&](int32_t later) {
        while (handle->Length != 0) {
            const int limit = Tighter(limits.Stall_Ms, Left_Ms(whole));
            Fnd_Condition condition;
            long count = 0;
            if (Read_Within(handle->Read_File, handle->Data, handle->Length, limit, count,
                            condition) == Read_Outcome::Timed_Out) {
                if (limit != limits.Stall_Ms)
                    return whole_ran_out();
                *error = ZTInt_String_Format(
                    "the server sent %d of the %d bytes of its answer and then nothing for %s",
                    static_cast<int>(size - handle->Length - later), static_cast<int>(size),
                    Duration_Text(limits.Stall_Ms).c_str());
                return ZTInt_transport_Failed;
            }
            Advance(handle, count);
            int step = ZTInt_transport_Done;
            Set_Result(condition, step, error);
            if (step == ZTInt_transport_Done && count == 0 && handle->Length > 0)
                return Fail(error, "incomplete data");
            if (step != ZTInt_transport_Done)
                return step;
        }
        return static_cast<int>(ZTInt_transport_Done);
    };
    const Long_Text text = Find_Long_Text(*msg_out, got - kHeaderSize, limits);
    if (text.Length == 0)
        return read_all(0);
    return Read_Around_Long_Text(handle, *msg_out, text, read_all);
}
