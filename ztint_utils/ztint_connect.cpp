#include "ztint_utils/ztint_connect.h"

#include <dirent.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_process.h"
#include "foundation/host/hst_socket.h"
#include "ztcoreutil/adcharset.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_private_files.h"
#include "ztint_utils/ztint_text.h"
#include "ztint_utils/ztint_transport.h"

namespace {

constexpr int kInvalid = -1;
constexpr int kServerStarts = 3;
constexpr long kOpenNoDelay = 8;

ZTInt_Connection_Opener The_Opener = nullptr;
int Accept_Timeout_Ms = 10 * 1000;
int Message_Timeout_Ms = 30 * 1000;

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
    Fnd_Condition ignored;
    Hst_Socket::Close(fd, ignored);
    fd = kInvalid;
}

void Forget(int& fd, int closed)
{
    if (fd == closed)
        fd = kInvalid;
}

// The socket's peer runs as our effective user; else a text saying who it is.
char* Foreign_Peer_Text(int socket)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return ZTInt_String_Format("ztintsvr: the server's connection can't be checked: %s",
                                   std::strerror(errno));
    if (peer.uid == geteuid())
        return nullptr;
    return ZTInt_String_Format("ztintsvr: refused a connection from user %u (not %u)",
                               static_cast<unsigned>(peer.uid), static_cast<unsigned>(geteuid()));
}

// Opens the pipe for writing without waiting: only a pipe that someone reads opens.
// It must be a named pipe of ours, or the startup call (and later the password)
// could go to a stranger: else -1 with *failure a text.
int Open_Pipe(const Fnd_String& pipe, Fnd_Condition& condition, char** failure)
{
    int fd = kInvalid;
    Hst_Filesystem::Open_File(pipe, Hst_Filesystem::Hst_Open_Write, condition, fd, kOpenNoDelay);
    if (condition.Failed())
        return kInvalid;
    struct stat facts;
    if (fstat(fd, &facts) != 0 || !S_ISFIFO(facts.st_mode) || facts.st_uid != geteuid()) {
        Close_Once(fd);
        *failure = ZTInt_String_New("ztintsvr: the server's pipe is not a named pipe of this user");
        return kInvalid;
    }
    Hst_Filesystem::Set_Non_Blocking(fd, 0, condition);
    if (condition.Failed())
        Close_Once(fd);
    return fd;
}

// The listening socket at path (mode 0600), with backlog 1.
int Listen_At(const char* path, Fnd_Condition& condition)
{
    const int socket = Hst_Socket::Socket(AF_UNIX, SOCK_STREAM, 0, condition);
    if (socket < 0)
        return kInvalid;
    Hst_Sockaddr_Un address;
    address.Set_Sun_Family(AF_UNIX);
    const Fnd_String wide = ZTInt_Wide(path);
    address.Set_Sun_Addr(wide);
    // A leftover of a process that had our pid; mostly there is none, and the failure
    // is of no interest.
    unlink(path);
    int fd = socket;
    if (Hst_Socket::Bind(fd, address, condition) && chmod(path, 0600) == 0 &&
        Hst_Socket::Getsockname(fd, address, condition) && Hst_Socket::Listen(fd, 1, condition))
        return fd;
    if (!condition.Failed())
        condition.Set(new Fnd_Sys_Call_Error(u"chmod", errno, wide, 0));
    Close_Once(fd);
    return kInvalid;
}

void Trace_Connection_Name(const char* name)
{
    if (AdDiagnostic::m_DiagnosticFlags[14] != 0 && AdDiagnostic::IsEnabled(14, 1, 0))
        AdDiagnostic::Report(u"ztintsvr",
                             AdDiagnostic::Join_With_Space(u"connection name:", ZTInt_Wide(name)).Data());
}

// Finds the server behind the pipe, starting it when nobody reads the pipe.
// The pipe's descriptor; -1 with the condition failed, or -1 with a clean
// condition when start is 0 and there is no server.
int Find_Server(const Fnd_String& pipe, int start, Fnd_Condition& condition, char** error)
{
    for (int starts = 0;;) {
        const int fd = Open_Pipe(pipe, condition, error);
        if (fd != kInvalid || *error != nullptr)
            return fd;
        if (!Open_Error_Indicates_No_Server(condition) && Hst_Filesystem::Exists(pipe, 0, 0))
            return kInvalid;
        if (start == 0) {
            condition.Clear();
            return kInvalid;
        }
        Internal_Start_Server(condition);
        if (condition.Failed())
            return kInvalid;
        if (++starts == kServerStarts) {
            *error = ZTInt_String_New("ztintsvr: unable to communicate with server after startup");
            return kInvalid;
        }
    }
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

int ZTInt_Accept_Timeout_Milliseconds()
{
    return Accept_Timeout_Ms;
}

void ZTInt_Set_Accept_Timeout_Milliseconds(int milliseconds)
{
    Accept_Timeout_Ms = milliseconds;
}

int ZTInt_Message_Timeout_Milliseconds()
{
    return Message_Timeout_Ms;
}

void ZTInt_Set_Message_Timeout_Milliseconds(int milliseconds)
{
    Message_Timeout_Ms = milliseconds;
}

// The paths are put together without printf: a process's first call should not be
// the one that pulls the formatting machinery of the C library into memory.
void ZTInt_Server_Connection_Name(char** name)
{
    const char* user = std::getenv("ZTT_USER");
    const std::string uid = std::to_string(static_cast<unsigned>(geteuid()));
    *name = ZTInt_String_New(("/tmp/ZTIntSvr_" + uid + (user != nullptr ? user : "")).c_str());
}

void ZTInt_Server_USocket_Path(char** path)
{
    const std::string uid = std::to_string(static_cast<unsigned>(geteuid()));
    const std::string pid = std::to_string(static_cast<int>(getpid()));
    *path = ZTInt_String_New(("/tmp/ZTIntSvr_USock_" + uid + "_" + pid).c_str());
}

bool Open_Error_Indicates_No_Server(const Fnd_Condition& condition)
{
    for (int number : {ENXIO, ENOENT, EACCES})
        if (Hst_Filesystem_Error::Is_Errno(condition, number) ||
            Hst_Sys_Call_Error::Is_Errno(condition, number) ||
            Fnd_Sys_Call_Error::Is_Errno(condition, number))
            return true;
    return false;
}

int ZTInt_Create_Connection_Un(ZTInt_Connection* connection, char** name, char** error, int start)
{
    if (name == nullptr)
        ZTInt_abort3("Connection_Name != NULL", "ztint_connect", 1141);
    ZTInt_Connection_Initialize(connection);
    *name = nullptr;
    if (The_Opener != nullptr)
        return The_Opener(connection, name, error, start);

    std::string problem = ZTInt_Server_User_Problem();
    char* pipe_path = nullptr;
    char* socket_path = nullptr;
    ZTInt_Server_USocket_Path(&socket_path);
    if (problem.empty())
        problem = ZTInt_Private_File_Problem(socket_path, S_IFSOCK, "client's socket");
    if (!problem.empty()) {
        ZTInt_String_Free(socket_path);
        Internal_Close_Connection(connection, ZTInt_Connection_State_Error);
        *error = ZTInt_String_New(problem.c_str());
        return -1;
    }
    ZTInt_Server_Connection_Name(&pipe_path);
    Fnd_Condition condition;
    char* failure = nullptr;
    int pipe = kInvalid;
    int socket = Listen_At(socket_path, condition);
    if (socket != kInvalid && ZTInt_Client_Connection_Name(name, socket_path, &failure) == 0) {
        Trace_Connection_Name(*name);
        pipe = Find_Server(ZTInt_Wide(pipe_path), start, condition, &failure);
    }
    ZTInt_String_Free(pipe_path);
    const bool no_server = pipe == kInvalid && !condition.Failed() && failure == nullptr;
    if (pipe == kInvalid && !no_server) {
        Close_Once(socket);
        unlink(socket_path);
        ZTInt_String_Free(socket_path);
        ZTInt_String_Free(*name);
        *name = nullptr;
        Internal_Close_Connection(connection, ZTInt_Connection_State_Error);
        int result;
        if (failure == nullptr)
            return Set_Result(condition, result, error);
        *error = failure;
        return -1;
    }
    connection->Type = ZTInt_Connection_Type_Startup;
    connection->State = ZTInt_Connection_State_Started;
    connection->Handle.Read_File = socket;
    connection->Handle.Write_File = pipe;
    connection->Listen_File = socket;
    connection->USocket_Path = socket_path;
    return no_server ? -1 : 0;
}

int ZTInt_Client_Connection_Name(char** name, const char* path, char** error)
{
    *name = nullptr;
    Fnd_String machine;
    Hst_Processes::Get_Machine_Name(machine);
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), machine, AdCharset::cvt_stop) ||
        bytes.getData() == nullptr) {
        *error = ZTInt_String_New("ztintsvr: the machine's name can't be converted");
        return -1;
    }
    *name = ZTInt_String_New((std::string(bytes.getData()) + ":" + path).c_str());
    return 0;
}

void ZTInt_Client_Connection_Addr(const char* name, char** host, char** path)
{
    const char* first = std::strchr(name, ':');
    if (first == nullptr) {
        *host = ZTInt_String_New(name);
        *path = ZTInt_String_New("");
        return;
    }
    const char* second = std::strchr(first + 1, ':');
    *host = ZTInt_String_Format("%.*s", static_cast<int>(first - name), name);
    *path = second != nullptr
                ? ZTInt_String_Format("%.*s", static_cast<int>(second - first - 1), first + 1)
                : ZTInt_String_New(first + 1);
}

namespace {

// Removes the name of the client's socket, if it still has one, and frees it.
void Forget_USocket_Path(ZTInt_Connection* connection)
{
    if (connection->USocket_Path == nullptr)
        return;
    unlink(connection->USocket_Path);
    ZTInt_String_Free(connection->USocket_Path);
    connection->USocket_Path = nullptr;
}

}  // namespace

int ZTInt_Accept_Connections(ZTInt_Connection* connection, char** error)
{
    *error = nullptr;
    Fnd_Condition condition;
    const int listener = connection->Listen_File;
    const long ready = Hst_Socket::Wait_For_Input(listener, Accept_Timeout_Ms, condition);
    if (ready == 0) {
        *error = ZTInt_String_Format("ztintsvr: the server did not connect within %d seconds",
                                     Accept_Timeout_Ms / 1000);
        return -1;
    }
    Hst_Sockaddr_Un peer;
    int socket = ready < 0 ? kInvalid : Hst_Socket::Accept(listener, peer, condition);
    int result;
    if (socket == kInvalid)
        return Set_Result(condition, result, error);
    if ((*error = Foreign_Peer_Text(socket)) != nullptr) {
        Close_Once(socket);
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
    // Connected, the socket needs no name any more.
    Forget_USocket_Path(connection);
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

namespace {

void Close_Descriptors(ZTInt_Connection* connection)
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
    Forget_USocket_Path(connection);
}

}  // namespace

void Internal_Close_Connection(ZTInt_Connection* connection, ZTInt_Connection_State state)
{
    Close_Descriptors(connection);
    Unlink_USockets();
    connection->State = state;
}

void ZTInt_Close_Connection(ZTInt_Connection* connection)
{
    Internal_Close_Connection(connection, ZTInt_Connection_State_Nil);
}

void ZTInt_Close_Connection_Without_Sweep(ZTInt_Connection* connection)
{
    Close_Descriptors(connection);
    connection->State = ZTInt_Connection_State_Nil;
}

// Only sockets of this user whose process has ended go: the process id is the
// name's tail, and a live process (even one we may not signal) keeps its socket.
void Unlink_USockets()
{
    char prefix[64];
    std::snprintf(prefix, sizeof prefix, "ZTIntSvr_USock_%u_", static_cast<unsigned>(geteuid()));
    const std::size_t prefix_length = std::strlen(prefix);
    DIR* directory = opendir("/tmp/");
    if (directory == nullptr)
        return;
    const pid_t self = getpid();
    while (const dirent* entry = readdir(directory)) {
        if (std::strncmp(entry->d_name, prefix, prefix_length) != 0)
            continue;
        char* end = nullptr;
        const long pid = std::strtol(entry->d_name + prefix_length, &end, 10);
        if (end == entry->d_name + prefix_length || *end != '\0' || pid <= 0)
            continue;
        if (pid != self && (kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM))
            continue;
        Fnd_Condition ignored;
        Hst_Socket::Unlink(ZTInt_Wide((std::string("/tmp/") + entry->d_name).c_str()), ignored);
    }
    closedir(directory);
}
