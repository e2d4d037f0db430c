#include "ztint_client/ztint_call_table.h"

#include <algorithm>
#include <cstring>

const ZTInt_call_entry* ZTInt_call_Find(int32_t opcode)
{
    const ZTInt_call_entry* end = ZTInt_Call_Table + ZTInt_Call_Table_Size;
    const ZTInt_call_entry* found = std::lower_bound(
        ZTInt_Call_Table, end, opcode,
        [](const ZTInt_call_entry& entry, int32_t key) { return entry.Opcode < key; });
    return found != end && found->Opcode == opcode ? found : nullptr;
}

const ZTInt_call_entry* ZTInt_call_Find_Name(const char* name)
{
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i)
        if (std::strcmp(ZTInt_Call_Table[i].Name, name) == 0) return &ZTInt_Call_Table[i];
    return nullptr;
}
