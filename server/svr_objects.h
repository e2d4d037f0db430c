// Svr_Objects: the objects the server has handed out, each named on the wire by a
// 12-byte handle. An object belongs to the client it was made for; other clients
// cannot use or free it, and it goes when its client goes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "ztint_base/ztint_protocol.h"
#include "ztint_utils/ztint_objects.h"

// What the server keeps behind an object: a session, a record, a snapshot of a list.
// Two handles may share one (ZTInt_<Class>_Duplicate).
struct Svr_Payload {
    virtual ~Svr_Payload() = default;
};

class Svr_Objects {
public:
    struct Object {
        ZTInt_rpc_type Type;
        int Owner;           // the client's number in the server
        std::string Detail;  // what the object stands for (a session's user, ...)
        std::shared_ptr<Svr_Payload> Payload;
    };

    explicit Svr_Objects(int32_t server_pid) : Server_Pid(server_pid) {}

    // A new object and the handle that names it.
    ZTInt_obj_struct Make(ZTInt_rpc_type type, int owner, std::string detail,
                          std::shared_ptr<Svr_Payload> payload = nullptr);
    // The object that handle names, if it exists, belongs to owner and has the
    // handle's type; else NULL.
    const Object* Find(const ZTInt_obj_struct& handle, int owner) const;
    // Forgets the object; false when Find would not have found it.
    bool Release(const ZTInt_obj_struct& handle, int owner);
    // Forgets every object of owner.
    void Release_All(int owner);
    std::size_t Count() const { return Objects.size(); }

private:
    int32_t Server_Pid;
    uint32_t Last_Id = 0;
    std::unordered_map<uint32_t, Object> Objects;
};
