#include "ztint_utils/ztint_call.h"

#include <unistd.h>

#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_transport.h"

namespace {

constexpr const char* kProtocolError = "ztintsvr RPC protocol error: ";

// Hands "ztintsvr RPC protocol error: " and text to the sink, and frees text.
void Report_Protocol_Error(ZTInt_Error_Sink set_error, char* text)
{
    char* message = ZTInt_String_Format("%s%s", kProtocolError, text != nullptr ? text : "");
    set_error(message);
    ZTInt_String_Free(message);
    ZTInt_String_Free(text);
}

void Fail_Results(ZTInt_msg_struct* reply, int count, const ZTInt_rpc_type* types,
                  void* const* values)
{
    ZTInt_msg_Decode_Nil(reply, count, types, values);
    ZTInt_msg_Set_Status(-1, count, types, values);
}

}  // namespace

int32_t My_Pid = -1;

void Set_My_Pid()
{
    if (My_Pid == -1)
        My_Pid = static_cast<int32_t>(getpid());
}

int ZTInt_do_Call_Send(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                       ZTInt_msg_struct** message, int procedure, int count,
                       const ZTInt_rpc_type* types, const void* const* values, int atomic)
{
    *message = nullptr;
    Set_My_Pid();
    if (connection == nullptr)
        return 0;
    ZTInt_msg_struct* call = nullptr;
    char* error = nullptr;
    // Long texts go from the caller's memory to the socket; a call into the pipe (the
    // startup call) must be one whole write.
    ZTInt_msg_gather gather;
    const bool encoded = atomic ? ZTInt_msg_Encode_Params(&call, &error, count, types, values)
                                : ZTInt_msg_Encode_Params_Gather(&call, &error, count, types,
                                                                 values, &gather);
    if (!encoded) {
        Report_Protocol_Error(set_error, error);
        ZTInt_msg_Free(call);
        return 0;
    }
    ZTInt_msg_Init_Call(call, My_Pid, ++connection->Sequence, procedure);
    ZTInt_RPC_Handle* handle = &connection->Handle;
    const int result = atomic ? ZTInt_transport_Send_Atomic(handle, call, &error)
                              : ZTInt_transport_Send_Gather(handle, call, &gather, &error);
    ZTInt_msg_Free(call);
    if (result != ZTInt_transport_Done) {
        Report_Protocol_Error(set_error, error);
        return 0;
    }
    ZTInt_String_Free(error);
    return 1;
}

int ZTInt_do_Call_Recv(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                       ZTInt_msg_struct** message, const ZTInt_transport_Limits& limits)
{
    char* error = nullptr;
    if (ZTInt_transport_Recv(&connection->Handle, message, &error, limits) != ZTInt_transport_Done) {
        Report_Protocol_Error(set_error, error);
        return 0;
    }
    ZTInt_String_Free(error);
    return 1;
}

void ZTInt_do_Result(ZTInt_Connection* connection, ZTInt_Error_Sink set_error,
                     ZTInt_msg_struct* reply, int procedure, int count,
                     const ZTInt_rpc_type* types, void* const* values)
{
    if (connection == nullptr)
        ZTInt_abort3("Connection != NULL", "ztint_call", 128);
    if (reply == nullptr)
        ZTInt_abort3("Reply != NULL", "ztint_call", 129);
    char* error = nullptr;
    switch (reply->Type) {
    case ZTInt_msg_type_Reply:
        if (ZTInt_msg_Check(&error, reply, connection->Sequence, procedure, count) != 0) {
            Fail_Results(reply, count, types, values);
            Report_Protocol_Error(set_error, error);
        } else if (!ZTInt_msg_Decode_Reply(reply, &error, count, types, values)) {
            ZTInt_msg_Set_Status(-1, count, types, values);
            Report_Protocol_Error(set_error, error);
        }
        return;
    case ZTInt_msg_type_Error:
        ZTInt_msg_Decode_Nil(reply, count, types, values);
        ZTInt_msg_Set_Status(-1, count, types, values);
        if (ZTInt_msg_Check(&error, reply) != 0)
            Report_Protocol_Error(set_error, error);
        return;
    default:
        ZTInt_abort3("FALSE", "ztint_call", 162);
    }
}
