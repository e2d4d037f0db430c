// The connection-level calls of class 0: startup and shutdown. Their type lists
// come from the table of calls like every other call's.
#include "ztint_client/ztint_client.h"
#include "ztint_hand_calls.h"

namespace {

int32_t Run(int32_t procedure, int count, const ZTInt_rpc_type* types, const void* const* values)
{
    int32_t status = -1;
    void* const out[] = {&status};
    ZTInt_Connection* connection = nullptr;
    ZTInt_msg_struct* message = nullptr;
    if (ZTInt_client_Call(&connection, &message, procedure, count, types, values))
        ZTInt_client_Result(connection, message, procedure, 1, ZTInt_Special_Status_Types_Out, out);
    else
        ZTInt_client_Error(connection, message, 1, ZTInt_Special_Status_Types_Out, out);
    ZTInt_msg_Free(message);
    return status;
}

}  // namespace

int32_t ZTInt_Special_Startup_Stub(const char* name)
{
    const void* const in[] = {&name};
    return Run(ZTInt_Special_Startup_Stub_Opcode, 1, ZTInt_Special_String_Types_In, in);
}

int32_t ZTInt_Special_Shutdown_Stub(void)
{
    return Run(ZTInt_Special_Shutdown_Stub_Opcode, 0, ZTInt_Special_Nil_Types_In, nullptr);
}
