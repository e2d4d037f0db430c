// What the objects of the tracking calls stand for. Lists and their items are
// snapshots taken when the list was asked for; a record object is the live record.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "server/model/mdl_session.h"
#include "server/svr_objects.h"

struct Pl_Session : Svr_Payload {
    explicit Pl_Session(std::shared_ptr<Mdl_Session> session) : Session(std::move(session)) {}
    std::shared_ptr<Mdl_Session> Session;
};

struct Pl_Entity : Svr_Payload {
    Pl_Entity(std::shared_ptr<Mdl_Session> session, std::shared_ptr<Mdl_Record> record)
        : Session(std::move(session)), Record(std::move(record))
    {
    }
    std::shared_ptr<Mdl_Session> Session;
    std::shared_ptr<Mdl_Record> Record;
};

struct Field_Snapshot {
    std::string Name;
    ZTInt_Field_Type Type = ZTInt_FIELD_SHORT_STRING;
    ZTInt_Requiredness Requiredness = ZTInt_OPTIONAL;
    std::string Message;  // why the value is not valid, "" if it is
    std::vector<std::string> Values;
    bool Changed_Last_Set = false, Changed_This_Group = false, Changed_This_Action = false;
};

struct History_Snapshot {
    std::string Field;
    std::vector<std::string> Header;
    std::vector<std::string> Lines;
};

struct History_Line {
    std::string Name;  // the entry's number, from 1
    std::string Text;
};

struct Attachment_Field_Snapshot {
    std::string Field;
    std::vector<Mdl_Attachment> Items;
};

struct Link_Snapshot {
    int64_t Parent = 0, Child = 0;  // original and duplicate
};

using Record_Type_Ref = const Mdl_Record_Type*;

struct Database_Desc {
    std::string Name, Set, Login;
};

// One item of a list, and a list: both keep the session (and with it the schema).
template <class T>
struct Pl_Item : Svr_Payload {
    Pl_Item(std::shared_ptr<Mdl_Session> session, T item) : Session(std::move(session)), Item(std::move(item)) {}
    std::shared_ptr<Mdl_Session> Session;
    T Item;
};

template <class T>
struct Pl_List : Svr_Payload {
    Pl_List(std::shared_ptr<Mdl_Session> session, std::vector<T> items)
        : Session(std::move(session)), Items(std::move(items))
    {
    }
    std::shared_ptr<Mdl_Session> Session;
    std::vector<T> Items;
};

// The snapshot of one field of a record.
Field_Snapshot Svr_Field_Snapshot(const Mdl_Session& session, const Mdl_Record& record,
                                  const std::string& field, bool original = false);
