// The transport of the RPC core: moves the bytes of one message over the two
// descriptors of a ZTInt_RPC_Handle. It knows nothing of sockets or calls.
//
// Every function returns 0 (done, *error NULL), -1 (failed, *error the reason) or,
// for a header read that got no byte at all, -10 with *error "no data" (the peer
// has closed). *error is written on every path and is a heap text the caller
// frees with ZTInt_String_Free.
//
// Blocking forms: Send, Send_Atomic, Recv, Recv_Header. Stepwise forms, for a
// driver of a non-blocking descriptor: Start_Full or Start_Data, then Send_Data or
// Recv_Data until Data_Done.
#pragma once

#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"

class Fnd_Condition;

constexpr int ZTInt_transport_Done = 0;
constexpr int ZTInt_transport_Failed = -1;
constexpr int ZTInt_transport_No_Data = -10;

// Writes header and data; a partial write goes on from where it stopped.
int ZTInt_transport_Send(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg, char** error);
// Send for a message encoded by ZTInt_msg_Encode_Params_Gather: writes it with the
// pieces' bytes in their places, by gathering writes on a socket (no copy of the long
// texts); on any other descriptor it fills the pieces in and sends as Send does.
int ZTInt_transport_Send_Gather(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg,
                                const ZTInt_msg_gather* gather, char** error);
// One gathering write of the message from byte sent on, for a driver of a non-blocking
// socket: the count written, or -1 with errno. The pieces' bytes are read, never kept.
long ZTInt_transport_Send_Gathered_Once(int fd, ZTInt_msg_struct* msg,
                                        const ZTInt_msg_gather* gather, long sent, int flags);
// Writes the whole message by single writes from its start until one takes it all,
// so that writers sharing one descriptor never interleave. Leaves Data and Length.
int ZTInt_transport_Send_Atomic(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error);
// How long a receive may wait, in milliseconds; -1 for no bound. On a socket, a
// message that has begun to arrive must go on arriving: Stall_Ms bounds each wait for
// more of it. Header_Ms bounds the wait for its first bytes, Whole_Ms the whole
// receive. A bound that runs out fails the receive with a text that says which.
// Descriptors that are no sockets (pipes, files) are read without bounds.
struct ZTInt_transport_Limits {
    int Stall_Ms = -1;
    int Header_Ms = -1;
    int Whole_Ms = -1;
    const char* Whole_Name = "";  // where Whole_Ms comes from, for the text
    // The peer sends nothing beyond this message until it hears again (a reply to the
    // one call in flight): the first read may then ask for all the room of a pool
    // buffer, so that a message already there comes with one read. The header is still
    // checked before anything is allocated for the data; bytes beyond the message fail
    // the receive.
    bool Read_Ahead = false;
    // The out-list the answer is decoded by, when the caller knows it: its first text,
    // if long, is read into a string of its own that decoding takes instead of copying
    // it out of the message (see ZTInt_rpc_Detach_Text).
    int Reply_Count = 0;
    const ZTInt_rpc_type* Reply_Types = nullptr;
};

// The shortest text of an answer that is read into a string of its own.
constexpr int32_t ZTInt_transport_Long_Text_Min = 32 * 1024;

// Receives one message into a new pool buffer in *msg_out. If the data fail after
// the header, the message stays in *msg_out for the caller to free.
int ZTInt_transport_Recv(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out, char** error,
                         const ZTInt_transport_Limits& limits = {});
// Reads and checks a 32-byte header and allocates a message for it; *msg_out is
// left alone unless this succeeds. With wait 0 the header must come in one read;
// with wait nonzero short reads are dropped until one brings all 32 bytes. End of
// file gives -10 when no byte came, else -1 "incomplete data".
int ZTInt_transport_Recv_Header(ZTInt_RPC_Handle* handle, ZTInt_msg_struct** msg_out,
                                char** error, int wait);

// Start a transfer of the whole message, or of its data area.
void ZTInt_transport_Start_Full(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg);
void ZTInt_transport_Start_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg);

// Stepwise forms. Send_Header writes the 32 header bytes as Send_Atomic does; the
// data steps make one read or write of up to Length bytes at Data and advance.
// msg is not used by the data steps. Recv_Data fails with "incomplete data" at end
// of file.
int ZTInt_transport_Send_Header(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                                char** error);
int ZTInt_transport_Send_Data(ZTInt_RPC_Handle* handle, const ZTInt_msg_struct* msg,
                              char** error);
int ZTInt_transport_Recv_Data(ZTInt_RPC_Handle* handle, ZTInt_msg_struct* msg, char** error);
// Nonzero when the transfer under way has no byte left.
int ZTInt_transport_Data_Done(const ZTInt_RPC_Handle* handle);

// The adapter from a condition to the transport's convention: a clean condition
// gives result 0 and *error NULL; a failed one result -1 and *error its image in
// the default character set. Returns result.
int Set_Result(const Fnd_Condition& condition, int& result, char** error);
