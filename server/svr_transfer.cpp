#include "server/svr_transfer.h"

#include <poll.h>

#include <cerrno>

#include "ztint_string.h"
#include "ztint_utils/ztint_transport.h"

namespace {

// One transport step; the failure text is of no use to the server's driver.
int Transport_Step(int (*step)(ZTInt_RPC_Handle*, ZTInt_msg_struct*, char**),
                   ZTInt_RPC_Handle& handle, ZTInt_msg_struct* message)
{
    char* error = nullptr;
    const int result = step(&handle, message, &error);
    ZTInt_String_Free(error);
    return result;
}

int Send_Step(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* message, char** error)
{
    return ZTInt_transport_Send_Data(handle, message, error);
}

}  // namespace

Svr_Step Svr_Reader::Step(ZTInt_RPC_Handle& handle)
{
    return Message == nullptr ? Header_Step(handle) : Data_Step(handle);
}

Svr_Step Svr_Reader::Header_Step(ZTInt_RPC_Handle& handle)
{
    if (!Header_Started) {
        Header.Data_Size = 0;
        ZTInt_transport_Start_Full(&handle, &Header);
        Header_Started = true;
    }
    const bool fresh = handle.Length == static_cast<int32_t>(sizeof Header);
    if (Transport_Step(ZTInt_transport_Recv_Data, handle, &Header) != ZTInt_transport_Done) {
        Header_Started = false;
        return fresh && handle.Last_Count == 0 ? Svr_Step::Ended : Svr_Step::Broken;
    }
    if (!ZTInt_transport_Data_Done(&handle))
        return Svr_Step::Pending;
    Header_Started = false;
    char* error = nullptr;
    const bool valid =
        ZTInt_msg_Check(&error, &Header) == 0 && ZTInt_msg_Check_Size(&error, &Header) == 0;
    ZTInt_String_Free(error);
    if (!valid)
        return Svr_Step::Broken;
    Message = ZTInt_msg_Alloc(&Header);
    ZTInt_transport_Start_Data(&handle, Message);
    return ZTInt_transport_Data_Done(&handle) ? Svr_Step::Complete : Svr_Step::Pending;
}

Svr_Step Svr_Reader::Data_Step(ZTInt_RPC_Handle& handle)
{
    if (Transport_Step(ZTInt_transport_Recv_Data, handle, Message) != ZTInt_transport_Done)
        return Svr_Step::Broken;
    return ZTInt_transport_Data_Done(&handle) ? Svr_Step::Complete : Svr_Step::Pending;
}

ZTInt_msg_struct* Svr_Reader::Take()
{
    ZTInt_msg_struct* message = Message;
    Message = nullptr;
    return message;
}

void Svr_Reader::Reset()
{
    ZTInt_msg_Free(Take());
    Header_Started = false;
}

void Svr_Writer::Start(ZTInt_RPC_Handle& handle, ZTInt_msg_struct* message)
{
    ZTInt_msg_Free(Message);
    Message = message;
    ZTInt_transport_Start_Full(&handle, Message);
}

Svr_Step Svr_Writer::Step(ZTInt_RPC_Handle& handle)
{
    if (Transport_Step(Send_Step, handle, Message) != ZTInt_transport_Done)
        return Svr_Step::Broken;
    if (!ZTInt_transport_Data_Done(&handle))
        return Svr_Step::Pending;
    ZTInt_msg_Free(Message);
    Message = nullptr;
    return Svr_Step::Complete;
}

bool Svr_Ready_Now(int fd, short events)
{
    pollfd wanted = {fd, events, 0};
    int ready;
    do
        ready = poll(&wanted, 1, 0);
    while (ready < 0 && errno == EINTR);
    return ready == 1 && (wanted.revents & (events | POLLHUP | POLLERR)) != 0;
}
