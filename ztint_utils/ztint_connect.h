// The connection record of the RPC core: the pair of descriptors that messages
// travel on, the transfer position of the transport, and what the connection is
// (type) and how far it has got (state).
//
// A client connection in state ready has one connected socket in both
// descriptors of its handle. Opening a connection to a server (the pipe, the
// listening socket and the startup call) is not part of this build yet:
// ZTInt_Create_Connection_Un fails with a clear text unless an opener has been
// installed with ZTInt_Set_Connection_Opener.
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
    char* USocket_Path;  // heap path of the client's socket, or NULL
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
// shares USocket_Path with source: it is a view, not a second owner.
void ZTInt_Connection_Copy(const ZTInt_Connection* source, ZTInt_Connection* target);

// "nil", "point", ... for the values above; "unknown" for any other.
const char16_t* ZTInt_Connection_Type_Image(int32_t type);
const char16_t* ZTInt_Connection_State_Image(int32_t state);

// Opens a startup connection to the server; start nonzero allows starting the
// server. Returns 0 with *name the heap name of the connection (to be sent in the
// startup call), or -1 with *error a heap text (or NULL).
int ZTInt_Create_Connection_Un(ZTInt_Connection* connection, char** name, char** error, int start);

// Replaces ZTInt_Create_Connection_Un's work while this build has no way of its
// own to reach a server: tests install an opener that leaves a startup connection
// in place (Type startup, State started, Read_File and Listen_File a listening
// socket, Write_File where the startup call goes). NULL removes it.
typedef int (*ZTInt_Connection_Opener)(ZTInt_Connection* connection, char** name, char** error,
                                       int start);
void ZTInt_Set_Connection_Opener(ZTInt_Connection_Opener opener);

// Takes the server's connection on Listen_File and puts it in place of the
// startup descriptors, which are closed. Waits at most
// ZTInt_Accept_Timeout_Milliseconds. Returns 0, or -1 with *error a heap text.
// On failure nothing is closed.
constexpr int ZTInt_Accept_Timeout_Milliseconds = 60 * 1000;
int ZTInt_Accept_Connections(ZTInt_Connection* connection, char** error);

// The startup call was answered with status 0: Type client, State ready.
void ZTInt_Change_Startup_to_Client(ZTInt_Connection* connection);
// Closes every descriptor of the connection once and sets the state nil.
void ZTInt_Close_Connection(ZTInt_Connection* connection);
