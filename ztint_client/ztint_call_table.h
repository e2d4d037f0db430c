// The table of remote calls: for each opcode its exported name and its two type lists.
// The client's stubs and the server's dispatcher share it; it is generated from
// ztint_client/ztint_calls.def together with the stubs.
#pragma once

#include <cstdint>

#include "ztint_base/ztint_protocol.h"

enum ZTInt_call_kind : int32_t {
    ZTInt_call_Special,   // classes 0 and 1: no handle, written by hand
    ZTInt_call_Generic,   // ZTInt_<Class>_Free and _Duplicate
    ZTInt_call_Row,       // the class's own calls
    ZTInt_call_Declared,  // lists only: no function sends it
};

struct ZTInt_call_entry {
    int32_t Opcode;                    // class number * 1024 + method number
    const char* Name;                  // the exported (or declared) name
    const ZTInt_rpc_type* Types_In;    // handle type first (if any), ended by 0
    const ZTInt_rpc_type* Types_Out;   // status first, ended by 0
    int32_t In_Count;                  // entries before the 0
    int32_t Out_Count;
    ZTInt_call_kind Kind;
};

// Every call in ascending opcode order.
extern const ZTInt_call_entry ZTInt_Call_Table[];
extern const int32_t ZTInt_Call_Table_Size;

// The entry of opcode, or NULL.
const ZTInt_call_entry* ZTInt_call_Find(int32_t opcode);
// The entry of an exported or declared name, or NULL.
const ZTInt_call_entry* ZTInt_call_Find_Name(const char* name);
