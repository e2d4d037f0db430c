// The server's side of connections: the user's pipe, and the connection back to each
// client that sent a startup call through it.
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_socket.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_string.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_private_files.h"
#include "ztint_utils/ztint_text.h"
#include "ztint_utils/ztint_transport.h"

namespace {

constexpr int kInvalid = -1;
constexpr long kOpenNoDelay = 8;

Fnd_String Pipe_Path()
{
    char* name = nullptr;
    ZTInt_Server_Connection_Name(&name);
    Fnd_String path = ZTInt_Wide(name);
    ZTInt_String_Free(name);
    return path;
}

void Assert_Point(const ZTInt_Connection* point, int type_line, int write_line)
{
    if (point->Type != ZTInt_Connection_Type_Point)
        ZTInt_abort3("Point.Type == ZTInt_Connection_Type_Point", "ztint_connect", type_line);
    if (point->Handle.Write_File != kInvalid)
        ZTInt_abort3("Point.Handle.Write_File == Hst_Invalid_File_Descriptor", "ztint_connect",
                     write_line);
}

// Makes the named pipe, replacing whatever is in the way.
void Make_Pipe(const Fnd_String& path, Fnd_Condition& condition)
{
    for (;;) {
        Hst_Filesystem::Make_Named_Pipe(path, condition);
        if (!condition.Failed() || !Hst_Filesystem::Exists(path, 1, 0))
            return;
        Fnd_Condition deleted;
        Hst_Filesystem::Delete_File(path, deleted, 0);
        if (deleted.Failed())
            return;
    }
}

// Only this user may write startup calls into the pipe.
void Restrict_To_Owner(int fd, const Fnd_String& path, Fnd_Condition& condition)
{
    if (fchmod(fd, 0600) != 0)
        condition.Set(new Fnd_Sys_Call_Error(u"fchmod", errno, path, 0));
}

// Connects a non-blocking socket to a client's without ever blocking the server: a
// socket whose queue is full (a client that does not accept, or one naming a socket not
// its own) is tried for a short while and then given up.
void Connect_Without_Blocking(int socket, Hst_Sockaddr_Un& address, Fnd_Condition& condition)
{
    constexpr int kAttempts = 20;
    constexpr auto kPause = std::chrono::milliseconds(5);
    for (int attempt = 1; !Hst_Socket::Connect(socket, address, condition); ++attempt) {
        if (attempt == kAttempts || !Fnd_Sys_Call_Error::Is_Errno(condition, EAGAIN))
            return;
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace

int ZTInt_Create_Connection_Point(ZTInt_Connection* point, char** error)
{
    ZTInt_Connection_Initialize(point);
    char* narrow = nullptr;
    ZTInt_Server_Connection_Name(&narrow);
    std::string problem = ZTInt_Server_User_Problem();
    if (problem.empty())
        problem = ZTInt_Private_File_Problem(narrow, S_IFIFO, "server's pipe");
    ZTInt_String_Free(narrow);
    if (!problem.empty()) {
        *error = ZTInt_String_New(problem.c_str());
        return -1;
    }
    const Fnd_String path = Pipe_Path();
    Fnd_Condition condition;
    int fd = kInvalid;
    Make_Pipe(path, condition);
    if (!condition.Failed())
        Hst_Filesystem::Open_File(path, Hst_Filesystem::Hst_Open_Read_Write, condition, fd,
                                  kOpenNoDelay);
    if (!condition.Failed())
        Restrict_To_Owner(fd, path, condition);
    if (!condition.Failed())
        Hst_Filesystem::Set_Non_Blocking(fd, 1, condition);
    if (!condition.Failed()) {
        point->Handle.Read_File = fd;
        point->Type = ZTInt_Connection_Type_Point;
        point->State = ZTInt_Connection_State_Ready;
    } else if (fd != kInvalid) {
        Fnd_Condition ignored;
        Hst_Filesystem::Close_File(fd, ignored);
    }
    int result;
    return Set_Result(condition, result, error);
}

int ZTInt_Reset_Connection_Point(ZTInt_Connection* point, char** error)
{
    Assert_Point(point, 593, 594);
    Fnd_Condition condition;
    Hst_Filesystem::Close_File(point->Handle.Read_File, condition);
    int fd = kInvalid;
    Hst_Filesystem::Open_File(Pipe_Path(), Hst_Filesystem::Hst_Open_Read, condition, fd,
                              kOpenNoDelay);
    if (!condition.Failed())
        Hst_Filesystem::Set_Non_Blocking(fd, 1, condition);
    point->Handle.Read_File = fd;
    int result;
    return Set_Result(condition, result, error);
}

int ZTInt_Set_Connection_Point_Blocking(ZTInt_Connection* point, int non_blocking, char** error)
{
    Assert_Point(point, 701, 702);
    Fnd_Condition condition;
    Hst_Filesystem::Set_Non_Blocking(point->Handle.Read_File, non_blocking, condition);
    int result;
    return Set_Result(condition, result, error);
}

int ZTInt_Open_Reply_Connection_Un(ZTInt_Connection* point, ZTInt_Connection* reply,
                                   const ZTInt_msg_struct* call, const char* name, char** error)
{
    Assert_Point(point, 786, 787);
    Fnd_Condition condition;
    int socket = Hst_Socket::Socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, condition);
    if (socket != kInvalid) {
        char* host = nullptr;
        char* path = nullptr;
        ZTInt_Client_Connection_Addr(name, &host, &path);
        Hst_Sockaddr_Un address;
        address.Set_Sun_Family(AF_UNIX);
        address.Set_Sun_Addr(ZTInt_Wide(path));
        ZTInt_String_Free(host);
        ZTInt_String_Free(path);
        Connect_Without_Blocking(socket, address, condition);
    }
    ZTInt_Connection_Initialize(reply);
    if (condition.Failed()) {
        reply->State = ZTInt_Connection_State_Error;
        if (socket != kInvalid) {
            Fnd_Condition ignored;
            Hst_Socket::Close(socket, ignored);
        }
    } else {
        reply->Type = ZTInt_Connection_Type_Startup;
        reply->State = ZTInt_Connection_State_Ready;
        reply->Handle.Read_File = socket;
        reply->Handle.Write_File = socket;
        reply->Listen_File = socket;
        reply->Client_Pid = call->Pid;
    }
    int result;
    return Set_Result(condition, result, error);
}
