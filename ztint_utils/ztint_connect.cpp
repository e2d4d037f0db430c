#include "ztint_utils/ztint_connect.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"

namespace {

constexpr int kInvalid = -1;

ZTInt_Connection_Opener The_Opener = nullptr;

const char16_t* const Type_Images[] = {u"nil",     u"point",  u"startup",
                                       u"shutdown", u"server", u"client"};

const char16_t* const State_Images[] = {
    u"nil",       u"error",        u"lost",       u"started",     u"ready",     u"read_header",
    u"read_data", u"read_done",    u"write_header", u"write_data", u"write_done"};

template <std::size_t N>
const char16_t* Image_Of(const char16_t* const (&images)[N], int32_t value)
{
    if (value < 0 || static_cast<std::size_t>(value) >= N)
        return u"unknown";
    return images[value];
}

// Closes fd unless it is invalid; a failing close is of no interest here.
void Close_Once(int& fd)
{
    if (fd == kInvalid)
        return;
    while (close(fd) != 0 && errno == EINTR) {
    }
    fd = kInvalid;
}

void Forget(int& fd, int closed)
{
    if (fd == closed)
        fd = kInvalid;
}

char* System_Text(const char* what, int error_number)
{
    return ZTInt_String_Format("ztintsvr: %s: %s", what, std::strerror(error_number));
}

}  // namespace

void ZTInt_RPC_Handle_Initialize(ZTInt_RPC_Handle* handle)
{
    handle->Read_File = kInvalid;
    handle->Write_File = kInvalid;
    handle->Data = nullptr;
    handle->Length = 0;
    handle->Last_Count = 0;
}

void ZTInt_Connection_Initialize(ZTInt_Connection* connection)
{
    connection->Type = ZTInt_Connection_Type_Nil;
    connection->State = ZTInt_Connection_State_Nil;
    ZTInt_RPC_Handle_Initialize(&connection->Handle);
    connection->Listen_File = kInvalid;
    connection->USocket_Path = nullptr;
    connection->Client_Pid = -1;
    connection->Sequence = 0;
    connection->Reserved_1 = 0;
    connection->Reserved_2 = 0;
}

void ZTInt_Connection_Copy(const ZTInt_Connection* source, ZTInt_Connection* target)
{
    *target = *source;
    target->Reserved_1 = 0;
    target->Reserved_2 = 0;
}

const char16_t* ZTInt_Connection_Type_Image(int32_t type)
{
    return Image_Of(Type_Images, type);
}

const char16_t* ZTInt_Connection_State_Image(int32_t state)
{
    return Image_Of(State_Images, state);
}

void ZTInt_Set_Connection_Opener(ZTInt_Connection_Opener opener)
{
    The_Opener = opener;
}

int ZTInt_Create_Connection_Un(ZTInt_Connection* connection, char** name, char** error, int start)
{
    if (name == nullptr)
        ZTInt_abort3("Connection_Name != NULL", "ztint_connect", 1141);
    ZTInt_Connection_Initialize(connection);
    *name = nullptr;
    if (The_Opener != nullptr)
        return The_Opener(connection, name, error, start);
    connection->State = ZTInt_Connection_State_Error;
    *error = ZTInt_String_New("ztintsvr: no server connection can be opened by this build");
    return -1;
}

int ZTInt_Accept_Connections(ZTInt_Connection* connection, char** error)
{
    *error = nullptr;
    const int listener = connection->Listen_File;
    if (listener < 0) {
        *error = System_Text("waiting for the server's connection", EBADF);
        return -1;
    }
    pollfd wanted = {listener, POLLIN, 0};
    int ready;
    do {
        ready = poll(&wanted, 1, ZTInt_Accept_Timeout_Milliseconds);
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) {
        *error = System_Text("waiting for the server's connection", errno);
        return -1;
    }
    if (ready == 0) {
        *error = ZTInt_String_Format("ztintsvr: the server did not connect within %d seconds",
                                     ZTInt_Accept_Timeout_Milliseconds / 1000);
        return -1;
    }
    int socket;
    do {
        socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    } while (socket < 0 && errno == EINTR);
    if (socket < 0) {
        *error = System_Text("accepting the server's connection", errno);
        return -1;
    }
    ZTInt_RPC_Handle& handle = connection->Handle;
    if (handle.Read_File != listener)
        Close_Once(handle.Read_File);
    if (handle.Write_File != listener)
        Close_Once(handle.Write_File);
    Close_Once(connection->Listen_File);
    handle.Read_File = socket;
    handle.Write_File = socket;
    connection->Listen_File = socket;
    return 0;
}

void ZTInt_Change_Startup_to_Client(ZTInt_Connection* connection)
{
    if (connection->Type != ZTInt_Connection_Type_Startup)
        ZTInt_abort3("Connection.Type == ZTInt_Connection_Type_Startup", "ztint_connect", 1350);
    if (connection->State != ZTInt_Connection_State_Started)
        ZTInt_abort3("Connection.State == ZTInt_Connection_State_Started", "ztint_connect", 1351);
    connection->Type = ZTInt_Connection_Type_Client;
    connection->State = ZTInt_Connection_State_Ready;
}

void ZTInt_Close_Connection(ZTInt_Connection* connection)
{
    ZTInt_RPC_Handle& handle = connection->Handle;
    const int read_file = handle.Read_File;
    Close_Once(handle.Read_File);
    if (read_file != kInvalid) {
        Forget(handle.Write_File, read_file);
        Forget(connection->Listen_File, read_file);
    }
    const int write_file = handle.Write_File;
    Close_Once(handle.Write_File);
    if (write_file != kInvalid)
        Forget(connection->Listen_File, write_file);
    Close_Once(connection->Listen_File);
    connection->State = ZTInt_Connection_State_Nil;
}
