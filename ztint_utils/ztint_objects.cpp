#include "ztint_utils/ztint_objects.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// The table: slots of chunks, allocated on first need and never released. The free
// list runs through the Id fields as entry numbers (from 1; 0 ends the list), since
// a 32-bit Id cannot hold an address.
ZTInt_obj_struct** The_Objects = nullptr;
int32_t The_Objects_Size = 0;
int32_t The_Objects_Used = 0;  // slots below this may hold chunks; none above
ZTInt_obj_struct* The_Objects_Free = nullptr;

constexpr size_t kChunkBytes = sizeof(ZTInt_obj_struct) * ZTInt_obj_Chunk_Entries;

// Adds a chunk and makes its entries the free list. False when the table is full
// or the memory can't be had.
bool Alloc_More_Objects()
{
    if (The_Objects == nullptr) {
        The_Objects = static_cast<ZTInt_obj_struct**>(
            std::calloc(ZTInt_obj_Table_Slots, sizeof(ZTInt_obj_struct*)));
        if (The_Objects == nullptr)
            return false;
        The_Objects_Size = ZTInt_obj_Table_Slots;
        The_Objects_Free = nullptr;
    }
    int32_t slot = 0;
    while (slot < The_Objects_Size && The_Objects[slot] != nullptr)
        ++slot;
    if (slot == The_Objects_Size)
        return false;
    auto* chunk = static_cast<ZTInt_obj_struct*>(std::calloc(ZTInt_obj_Chunk_Entries, sizeof(ZTInt_obj_struct)));
    if (chunk == nullptr)
        return false;
    The_Objects[slot] = chunk;
    The_Objects_Used = std::max(The_Objects_Used, slot + 1);
    const uint32_t first_number = static_cast<uint32_t>(slot * ZTInt_obj_Chunk_Entries) + 1;
    // Free entries are marked as freed ones are, so that freeing one is refused.
    for (int32_t i = 0; i < ZTInt_obj_Chunk_Entries; ++i)
        chunk[i].Owner_Pid = -1;
    for (int32_t i = 0; i + 1 < ZTInt_obj_Chunk_Entries; ++i)
        chunk[i].Id = first_number + static_cast<uint32_t>(i) + 1;
    chunk[ZTInt_obj_Chunk_Entries - 1].Id = 0;
    The_Objects_Free = chunk;
    return true;
}

ZTInt_obj_struct* Pop_Free()
{
    if (The_Objects_Free == nullptr && !Alloc_More_Objects())
        return nullptr;
    ZTInt_obj_struct* entry = The_Objects_Free;
    The_Objects_Free = entry->Id == 0 ? nullptr : ZTInt_obj_Lookup(static_cast<int32_t>(entry->Id));
    entry->Owner_Pid = 0;  // no longer marked free
    return entry;
}

}  // namespace

extern "C" ZTInt_obj_struct* ZTInt_obj_Alloc(void)
{
    return Pop_Free();
}

extern "C" ZTInt_obj_struct* ZTInt_obj_New(const ZTInt_obj_struct* record)
{
    ZTInt_obj_struct* entry = Pop_Free();
    if (entry != nullptr)
        std::memcpy(entry, record, sizeof *entry);
    return entry;
}

extern "C" void ZTInt_obj_Free(ZTInt_obj_struct* entry)
{
    const int32_t number = ZTInt_obj_Index(entry);
    if (number == 0 || entry->Owner_Pid == -1)
        return;  // not ours, or free already: linking it would corrupt the free list
    entry->Type = 0;
    entry->Reserved = 0;
    entry->Owner_Pid = -1;
    entry->Id = The_Objects_Free == nullptr ? 0 : static_cast<uint32_t>(ZTInt_obj_Index(The_Objects_Free));
    The_Objects_Free = entry;
}

extern "C" void ZTInt_obj_Init(ZTInt_obj_struct* entry)
{
    std::memset(entry, 0, sizeof *entry);
}

extern "C" ZTInt_obj_struct* ZTInt_obj_Lookup(int32_t index)
{
    if (index < 1)
        return nullptr;
    const int32_t i = index - 1;
    const int32_t slot = i / ZTInt_obj_Chunk_Entries;
    if (slot >= The_Objects_Size || The_Objects[slot] == nullptr)
        return nullptr;
    return &The_Objects[slot][i % ZTInt_obj_Chunk_Entries];
}

extern "C" int32_t ZTInt_obj_Index(const ZTInt_obj_struct* entry)
{
    if (entry == nullptr)
        return 0;
    // Compare as integers: the entry may lie in no chunk at all.
    const auto address = reinterpret_cast<uintptr_t>(entry);
    for (int32_t slot = 0; slot < The_Objects_Used; ++slot) {
        const ZTInt_obj_struct* chunk = The_Objects[slot];
        if (chunk == nullptr)
            continue;
        const auto start = reinterpret_cast<uintptr_t>(chunk);
        if (address >= start && address < start + kChunkBytes) {
            const uintptr_t offset = address - start;
            if (offset % sizeof(ZTInt_obj_struct) != 0)
                return 0;  // inside a chunk but not at an entry
            return slot * ZTInt_obj_Chunk_Entries + static_cast<int32_t>(offset / sizeof(ZTInt_obj_struct)) + 1;
        }
    }
    return 0;
}

extern "C" void ZTInt_obj_Iterate(ZTInt_obj_Callback callback, void* data)
{
    for (int32_t slot = 0; slot < The_Objects_Size; ++slot) {
        ZTInt_obj_struct* chunk = The_Objects[slot];
        if (chunk == nullptr)
            continue;
        for (int32_t i = 0; i < ZTInt_obj_Chunk_Entries; ++i) {
            if (chunk[i].Owner_Pid == -1)
                continue;
            if (callback(&chunk[i], data) == 0)
                return;
        }
    }
}
