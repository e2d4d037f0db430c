// The client's call frame: the process's one connection, the client error slot
// and the functions that every exported stub calls to get one remote call done.
//
// A stub runs ZTInt_client_Call with its in-list; if that returns nonzero it runs
// ZTInt_client_Result with its out-list (status first), else ZTInt_client_Error;
// then ZTInt_msg_Free on the message. Object results go through
// ZTInt_client_New_Handle.
//
// Nothing here is locked: a multi-threaded caller serialises all calls.
#pragma once

#include <cstdint>

#include "ztint_base/ztint_protocol.h"
#include "ztint_utils/ztint_call.h"
#include "ztint_utils/ztint_connect.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

// The one connection of the process: NULL until first use, then never freed.
extern ZTInt_Connection* The_Connection;
// The client error slot: a heap string or NULL.
extern char* Client_Error;

// Opens the connection if needed, encodes and sends the call, and receives the
// answer into *message. Returns 1 if a message was received, 0 if not (the reason
// is then in the slot). *connection gets the connection, or NULL. A text already
// in the slot survives a good call; a failed call or an Error message empties it.
int ZTInt_client_Call(ZTInt_Connection** connection, ZTInt_msg_struct** message, int procedure,
                      int count, const ZTInt_rpc_type* types, const void* const* values);
// Checks the answer against the call and decodes it into the results.
void ZTInt_client_Result(ZTInt_Connection* connection, ZTInt_msg_struct* message, int procedure,
                         int count, const ZTInt_rpc_type* types, void* const* values);
// While one lives, this thread's calls expect their answers in the out-list given
// (their first long text is then read straight into the caller's string); at its end
// the expectation before it holds again, and a long text no decode took is freed.
class ZTInt_Reply_Expectation {
public:
    ZTInt_Reply_Expectation(int count, const ZTInt_rpc_type* types);
    ~ZTInt_Reply_Expectation();
    ZTInt_Reply_Expectation(const ZTInt_Reply_Expectation&) = delete;
    ZTInt_Reply_Expectation& operator=(const ZTInt_Reply_Expectation&) = delete;

private:
    int Count_Before;
    const ZTInt_rpc_type* Types_Before;
};
// No answer came: nil results, status -1.
void ZTInt_client_Error(ZTInt_Connection* connection, ZTInt_msg_struct* message, int count,
                        const ZTInt_rpc_type* types, void* const* values);
// Sets the slot to "unsupported operation: " and name.
void ZTInt_client_Unsupported(const char* name);
// The checks of a stub before anything goes on the wire. A handle argument (the call's
// own, what = "handle", or a parameter, what = "<name> handle") must be a live entry of
// the table with the class's type code: NULL, an address the table never gave out, a
// freed entry or one of another class leaves a text naming the call in the client error
// slot and gives false, and nothing behind the address is read unless it is an entry.
bool ZTInt_client_Check_Handle(const void* handle, int32_t type, const char* call,
                               const char* what);
// A NULL result address: the text in the slot, and -1 for the stub to return.
int32_t ZTInt_client_No_Result(const char* call);

// Replaces the slot's text by a copy of text (NULL empties it).
void ZTInt_Set_Client_Error(const char* text);
// If the slot holds a text: a new copy in *text, result 1. Else 0 and *text is
// left alone. The slot stays as it is.
int ZTInt_Get_Client_Error(char** text);
int ZTInt_client_GetError(char** text);

// The connection if it is usable (opening it if it is nil), else NULL with the
// reason in the slot.
ZTInt_Connection* ZTInt_Get_Connection();

// A client handle for a decoded record: a new table entry for an object record,
// NULL for the nil record and for a full table. Any other type ends the process.
ZTInt_obj_struct* ZTInt_obj_New_Local(const ZTInt_obj_struct* record);
// The record to send for a handle: the handle itself.
ZTInt_obj_struct* ZTInt_obj_To_Proxy(ZTInt_obj_struct* handle);

// What a stub does with a decoded object result: *result := ZTInt_obj_New_Local.
// When the record names an object but the table has no room left, *result is NULL,
// *status becomes -1 and the slot says why.
void ZTInt_client_New_Handle(int32_t* status, const ZTInt_obj_struct* record,
                             ZTInt_obj_struct** result);

// The process's connection record, allocated and initialised on first use. This
// is the seam for tests and tools that put a connection in place themselves: set
// Handle.Read_File and Handle.Write_File, Type client and State ready, and calls
// go to those descriptors.
ZTInt_Connection* ZTInt_client_Connection_Record();
