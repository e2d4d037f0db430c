#include "server/svr_objects.h"

#include <iterator>

ZTInt_obj_struct Svr_Objects::Make(ZTInt_rpc_type type, int owner, std::string detail,
                                   std::shared_ptr<Svr_Payload> payload)
{
    do
        ++Last_Id;
    while (Last_Id == 0 || Objects.count(Last_Id) != 0);
    Objects.emplace(Last_Id, Object{type, owner, std::move(detail), std::move(payload)});
    return ZTInt_obj_struct{static_cast<uint16_t>(type), 0, Last_Id, Server_Pid};
}

const Svr_Objects::Object* Svr_Objects::Find(const ZTInt_obj_struct& handle, int owner) const
{
    if (handle.Owner_Pid != Server_Pid)
        return nullptr;
    const auto found = Objects.find(handle.Id);
    if (found == Objects.end() || found->second.Owner != owner ||
        found->second.Type != handle.Type)
        return nullptr;
    return &found->second;
}

bool Svr_Objects::Release(const ZTInt_obj_struct& handle, int owner)
{
    if (Find(handle, owner) == nullptr)
        return false;
    Objects.erase(handle.Id);
    return true;
}

void Svr_Objects::Release_All(int owner)
{
    for (auto entry = Objects.begin(); entry != Objects.end();)
        entry = entry->second.Owner == owner ? Objects.erase(entry) : std::next(entry);
}
