// What a generated stub is made of: the public declarations it defines, and the few
// steps that every stub takes in the same way.
//
// A handle that the application holds is the address of an entry of the object table,
// typed as its class (ZTSession*, ZTEntity*, ...); the class types are opaque, so the
// address is only ever converted back to the table's record type here.
#pragma once

#include <cstdint>

#include "ztint.h"
#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_logon.h"
#include "ztint_opcodes.h"
#include "ztint_signatures.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

// The table entry behind a class handle.
template <typename Class>
inline ZTInt_obj_struct* ZTInt_stub_Record(Class* handle)
{
    return reinterpret_cast<ZTInt_obj_struct*>(handle);
}

// The value to put in a parameter block for a handle: the record to send itself.
template <typename Class>
inline const void* ZTInt_stub_Proxy(Class* handle)
{
    return ZTInt_obj_To_Proxy(ZTInt_stub_Record(handle));
}

// A class handle for a decoded object result: NULL for the nil record. A table with no
// room left gives NULL, status -1 and a text in the client error slot.
template <typename Class>
inline Class* ZTInt_stub_Local(int32_t* status, const ZTInt_obj_struct* record)
{
    ZTInt_obj_struct* handle = nullptr;
    ZTInt_client_New_Handle(status, record, &handle);
    return reinterpret_cast<Class*>(handle);
}

// One remote call: send the parameter block, then decode the answer into the result
// block, or nil the results and set the status to -1 when no answer came. The result
// block starts with the address of the status. Returns true if an answer was decoded
// (the status then says whether the server succeeded).
inline bool ZTInt_stub_Run(int32_t opcode, int in_count, const ZTInt_rpc_type* in_types,
                           const void* const* in, int out_count,
                           const ZTInt_rpc_type* out_types, void* const* out)
{
    ZTInt_Connection* connection = nullptr;
    ZTInt_msg_struct* message = nullptr;
    const ZTInt_Reply_Expectation expectation(out_count, out_types);
    const bool called =
        ZTInt_client_Call(&connection, &message, opcode, in_count, in_types, in) != 0;
    if (called)
        ZTInt_client_Result(connection, message, opcode, out_count, out_types, out);
    else
        ZTInt_client_Error(connection, message, out_count, out_types, out);
    ZTInt_msg_Free(message);
    return called;
}
