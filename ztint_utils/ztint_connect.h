// Connections of the RPC core: how a client and the server find each other, and the
// connection record that messages travel on.
//
// The server owns one named pipe per user, its connection point. A client makes a
// listening Unix-domain socket of its own, writes the startup call into the pipe with
// the socket's name, and waits for the server to connect back; from then on one
// connected socket carries every call and its answer, and pipe and listening socket
// are closed. If nobody reads the pipe, the client runs "<product home>/bin/ztintsvr
// start" (at most three times) and tries again.
//
// A client connection in state ready has one connected socket in both descriptors of
// its handle. Only the Unix-domain forms are built: the internet forms of the
// connection (by host and port) have no user in the library and are left out.
#pragma once

#include <cstdint>

// Descriptors and position of the one transfer under way on a connection.
struct ZTInt_RPC_Handle {
    int Read_File;       // descriptor to read messages from
    int Write_File;      // descriptor to write messages to (may equal Read_File)
    char* Data;          // position of the transfer under way
    int32_t Length;      // bytes still to transfer
    int32_t Last_Count;  // result of the last read or write; -1: none since the start
};

enum ZTInt_Connection_Type : int32_t {
    ZTInt_Connection_Type_Nil = 0,
    ZTInt_Connection_Type_Point = 1,     // the server's named pipe
    ZTInt_Connection_Type_Startup = 2,   // the startup call has not been answered yet
    ZTInt_Connection_Type_Shutdown = 3,
    ZTInt_Connection_Type_Server = 4,
    ZTInt_Connection_Type_Client = 5,    // a client's working connection
};

enum ZTInt_Connection_State : int32_t {
    ZTInt_Connection_State_Nil = 0,      // closed or never opened: the next call tries to open
    ZTInt_Connection_State_Error = 1,    // opening failed for good
    ZTInt_Connection_State_Lost = 2,
    ZTInt_Connection_State_Started = 3,  // listening socket and pipe open
    ZTInt_Connection_State_Ready = 4,    // usable for calls
    ZTInt_Connection_State_Read_Header = 5,
    ZTInt_Connection_State_Read_Data = 6,
    ZTInt_Connection_State_Read_Done = 7,
    ZTInt_Connection_State_Write_Header = 8,
    ZTInt_Connection_State_Write_Data = 9,
    ZTInt_Connection_State_Write_Done = 10,
};

struct ZTInt_Connection {
    ZTInt_Connection_Type Type;
    ZTInt_Connection_State State;
    ZTInt_RPC_Handle Handle;
    int Listen_File;     // where the server's connection is expected; then the connected socket
    char* USocket_Path;  // heap path of the client's socket until connected, or NULL
    int32_t Client_Pid;  // on the server's side the Pid of the startup call, else -1
    int32_t Sequence;    // last sequence number used on this connection
    int32_t Reserved_1;
    int32_t Reserved_2;
};

// Both descriptors -1, Data NULL, Length and Last_Count 0.
void ZTInt_RPC_Handle_Initialize(ZTInt_RPC_Handle* handle);
// Type and State nil, all descriptors and Client_Pid -1, USocket_Path NULL, the rest 0.
void ZTInt_Connection_Initialize(ZTInt_Connection* connection);
// Copies the whole record, then clears the reserved fields of target. The copy
// shares USocket_Path with source: it is a view, not a second owner, and only
// the owner is closed.
void ZTInt_Connection_Copy(const ZTInt_Connection* source, ZTInt_Connection* target);

// "nil", "point", ... for the values above; "unknown" for any other.
const char16_t* ZTInt_Connection_Type_Image(int32_t type);
const char16_t* ZTInt_Connection_State_Image(int32_t state);

// ---- Names, built for the effective user id. Each stores a new heap string.
// The server's pipe: "/tmp/ZTIntSvr_" + euid + the value of ZTT_USER (if set).
void ZTInt_Server_Connection_Name(char** name);
// The client's socket: "/tmp/ZTIntSvr_USock_" + euid + "_" + process id.
void ZTInt_Server_USocket_Path(char** path);
// "<machine name>:<socket path>". 0, or -1 with *error a heap text.
int ZTInt_Client_Connection_Name(char** name, const char* path, char** error);
// Takes a connection name apart at its ":" separators into new heap strings.
void ZTInt_Client_Connection_Addr(const char* name, char** host, char** path);

// ---- The client's side
// Opens a startup connection to the server; start nonzero allows starting the
// server. Returns 0 with *name the heap name of the connection (to be sent in the
// startup call). Returns -1 with *error a heap text on failure (state error), and -1
// with *error untouched when start is 0 and no server runs (state started, the
// listening socket open, no pipe).
int ZTInt_Create_Connection_Un(ZTInt_Connection* connection, char** name, char** error, int start);
// True if the condition says the pipe has no server behind it: ENXIO (nobody reads
// it), ENOENT (there is none) or EACCES.
class Fnd_Condition;
bool Open_Error_Indicates_No_Server(const Fnd_Condition& condition);

// A test seam: an opener that replaces ZTInt_Create_Connection_Un's work, for tests
// with a peer of their own. It leaves a startup connection in place (Type startup,
// State started, Read_File and Listen_File a listening socket, Write_File where the
// startup call goes). NULL removes it.
typedef int (*ZTInt_Connection_Opener)(ZTInt_Connection* connection, char** name, char** error,
                                       int start);
void ZTInt_Set_Connection_Opener(ZTInt_Connection_Opener opener);

// Takes the server's connection on Listen_File and puts it in place of the
// startup descriptors, which are closed. Waits at most the accept timeout, and takes
// the connection only from a process of the same effective user. Returns 0, or -1
// with *error a heap text; on failure nothing of the record is closed.
int ZTInt_Accept_Connections(ZTInt_Connection* connection, char** error);
// The bound of that wait, 10 seconds unless set otherwise (for tests).
int ZTInt_Accept_Timeout_Milliseconds();
void ZTInt_Set_Accept_Timeout_Milliseconds(int milliseconds);
// How long the rest of an answer may keep a caller waiting once it has begun to
// arrive, and how long the answer to the startup call may take: 30 seconds unless set.
int ZTInt_Message_Timeout_Milliseconds();
void ZTInt_Set_Message_Timeout_Milliseconds(int milliseconds);

// The startup call was answered with status 0: Type client, State ready.
void ZTInt_Change_Startup_to_Client(ZTInt_Connection* connection);
// Closes every descriptor of the connection once, sweeps this user's leftover
// sockets, and sets the state nil.
void ZTInt_Close_Connection(ZTInt_Connection* connection);
// The same, ending in the given state.
void Internal_Close_Connection(ZTInt_Connection* connection, ZTInt_Connection_State state);
// ZTInt_Close_Connection without the sweep, for the server: it sweeps once it has
// nothing else to do, not between one client's end and the next one's first call.
void ZTInt_Close_Connection_Without_Sweep(ZTInt_Connection* connection);
// Removes the sockets "/tmp/ZTIntSvr_USock_<euid>_<pid>" whose process no longer runs.
void Unlink_USockets();

// ---- The server's side
// Makes the user's pipe (mode 0600; a leftover is replaced) and opens it for reading
// and writing, non-blocking. 0, or -1 with *error a heap text.
int ZTInt_Create_Connection_Point(ZTInt_Connection* point, char** error);
// Closes the pipe and opens it again, read-only and non-blocking.
int ZTInt_Reset_Connection_Point(ZTInt_Connection* point, char** error);
int ZTInt_Set_Connection_Point_Blocking(ZTInt_Connection* point, int non_blocking, char** error);
// Connects back to the client socket that name (from the startup call) gives; the
// reply connection is non-blocking, in state ready, with the call's Pid.
int ZTInt_Open_Reply_Connection_Un(ZTInt_Connection* point, ZTInt_Connection* reply,
                                   const struct ZTInt_msg_struct* call, const char* name,
                                   char** error);

// ---- Server start
// Runs "<product home>/bin/ztintsvr start" and waits for its end. A nonzero exit
// status is the failure "exec" with that value in place of errno.
void Internal_Start_Server(Fnd_Condition& condition);
int ZTInt_Start_Server(char** error);
// The child's preparation before exec: <product home>/shlib in front of
// LD_LIBRARY_PATH, and TMPDIR as the working directory.
void Internal_Server_Pre_Exec(void* data, Fnd_Condition& condition);
// Changes LD_LIBRARY_PATH of this process: the product's shlib in front if
// with_product, then each of the NULL-terminated paths appended.
void ZTInt_Add_Library_Paths(char** paths, int with_product, char** unused);
