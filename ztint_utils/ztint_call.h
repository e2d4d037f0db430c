// The steps of one remote call on any connection, with any error sink: encode and
// send the call, receive the answer, check it and decode the results. The client
// frame (ztint_client) drives them with the client error slot as its sink.
#pragma once

#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_transport.h"
#include "ztint_utils/ztint_message.h"

// The process id put into every call: -1 until Set_My_Pid reads it from the
// system, once. A child made by fork keeps its parent's value.
extern int32_t My_Pid;
void Set_My_Pid();

// Receives the 8-bit text of a failure; it copies what it keeps.
typedef void (*ZTInt_Error_Sink)(const char* text);

// Encodes the call, stamps it with the process id and the connection's next
// sequence number, and sends it, by one single write if atomic. *message is set
// to NULL (the call itself is not kept). Returns 1 if sent, 0 if not: a NULL
// connection, a type list that doesn't encode, or a transport failure, which goes
// to set_error behind "ztintsvr RPC protocol error: ".
int ZTInt_do_Call_Send(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                       ZTInt_msg_struct** message, int procedure, int count,
                       const ZTInt_rpc_type* types, const void* const* values, int atomic);

// Receives the answer into *message. Returns 1, or 0 with the transport's text
// behind the same prefix in set_error. A message whose data failed stays in
// *message for the caller's ZTInt_msg_Free.
int ZTInt_do_Call_Recv(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                       ZTInt_msg_struct** message, const ZTInt_transport_Limits& limits = {});

// Turns the answer into results and status. A Reply is checked against the call
// (sequence, procedure, count) and decoded; an Error message gives nil results and
// status -1 with no text. Every failure gives status -1 and a text in set_error.
// types[0] must be the status. A NULL connection or reply, or another message
// type, ends the process.
void ZTInt_do_Result(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                     ZTInt_msg_struct* reply, int procedure, int count,
                     const ZTInt_rpc_type* types, void* const* values);
