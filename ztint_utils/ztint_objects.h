// Object handles and the process's table of them.
//
// A handle is a 12-byte record that the server makes and the client sends back
// verbatim; the address of its table entry is what the application holds. The
// table is two levels (500 slots of 50-entry chunks), so entry addresses stay
// stable for the life of the process.
#pragma once

#include <cstddef>
#include <cstdint>

struct ZTInt_obj_struct {
    uint16_t Type;      // type code of the object's class, 0 for nil
    uint16_t Reserved;  // copied with the record
    uint32_t Id;        // the server's identifier; in a free entry, the next free entry's number
    int32_t Owner_Pid;  // -1 marks a freed entry
};

static_assert(sizeof(ZTInt_obj_struct) == 12, "an object handle is 12 bytes on the wire");
static_assert(offsetof(ZTInt_obj_struct, Id) == 4 && offsetof(ZTInt_obj_struct, Owner_Pid) == 8,
              "object handle fields sit at their wire offsets");

constexpr int32_t ZTInt_obj_Table_Slots = 500;
constexpr int32_t ZTInt_obj_Chunk_Entries = 50;
constexpr int32_t ZTInt_obj_Max_Entries = ZTInt_obj_Table_Slots * ZTInt_obj_Chunk_Entries;

typedef int (*ZTInt_obj_Callback)(ZTInt_obj_struct* entry, void* data);

extern "C" {

// Pops a free entry as it is; NULL when the table is full.
ZTInt_obj_struct* ZTInt_obj_Alloc(void);
// Pops a free entry and copies record into it; NULL when the table is full.
ZTInt_obj_struct* ZTInt_obj_New(const ZTInt_obj_struct* record);
// Puts entry at the head of the free list. NULL and addresses outside the table
// are ignored.
void ZTInt_obj_Free(ZTInt_obj_struct* entry);
void ZTInt_obj_Init(ZTInt_obj_struct* entry);
// The entry numbered index (from 1), or NULL if its chunk doesn't exist.
ZTInt_obj_struct* ZTInt_obj_Lookup(int32_t index);
// The number of entry (from 1), or 0 if it lies in no chunk.
int32_t ZTInt_obj_Index(const ZTInt_obj_struct* entry);
// Calls callback for every entry not freed, in table order, until it returns 0.
void ZTInt_obj_Iterate(ZTInt_obj_Callback callback, void* data);

}  // extern "C"
