// The lists and their items: ZTEntityDefs, ZTFieldInfo(s), ZTHistoryField(s),
// ZTHistories, ZTHistory, ZTAttachmentField(s), ZTAttachments, ZTAttachment, ZTLink(s).
// A list is a snapshot taken when it was asked for; Item counts from 0.
#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "ztint_opcodes.h"

namespace {

std::string Name_Of(const Record_Type_Ref& type) { return type->Name; }
std::string Name_Of(const Field_Snapshot& field) { return field.Name; }
std::string Name_Of(const History_Snapshot& history) { return history.Field; }
std::string Name_Of(const History_Line& line) { return line.Name; }
std::string Name_Of(const Attachment_Field_Snapshot& field) { return field.Field; }
std::string Name_Of(const Mdl_Attachment& attachment) { return attachment.File_Name; }
std::string Name_Of(const Link_Snapshot& link) { return std::to_string(link.Child); }

// What an item of a list becomes as an object of its own.
template <class T>
std::shared_ptr<Svr_Payload> Item_Payload(const std::shared_ptr<Mdl_Session>& session, const T& item)
{
    return std::make_shared<Pl_Item<T>>(session, item);
}

template <class T>
int32_t Count(Svr_Call& call)
{
    return call.Result(static_cast<int64_t>(call.Object<Pl_List<T>>(0).Items.size()));
}

template <class T>
int32_t Item(Svr_Call& call)
{
    const Pl_List<T>& list = call.Object<Pl_List<T>>(0);
    const int32_t index = call.Number(1);
    if (index < 0 || static_cast<std::size_t>(index) >= list.Items.size())
        throw Mdl_Refusal("no item " + std::to_string(index) + " in a list of " +
                          std::to_string(list.Items.size()));
    return call.Result(Item_Payload(list.Session, list.Items[static_cast<std::size_t>(index)]));
}

template <class T>
int32_t Item_By_Name(Svr_Call& call)
{
    const Pl_List<T>& list = call.Object<Pl_List<T>>(0);
    for (const T& item : list.Items)
        if (Name_Of(item) == call.Text(1))
            return call.Result(Item_Payload(list.Session, item));
    throw Mdl_Refusal("no item named \"" + call.Text(1) + "\" in the list");
}

template <class T>
const T& The(Svr_Call& call)
{
    return call.Object<Pl_Item<T>>(0).Item;
}

template <class T>
std::shared_ptr<Mdl_Session> Session_Of(Svr_Call& call)
{
    return call.Object<Pl_Item<T>>(0).Session;
}

int32_t Histories(Svr_Call& call)
{
    std::vector<History_Line> lines;
    for (const std::string& text : The<History_Snapshot>(call).Lines)
        lines.push_back({std::to_string(lines.size() + 1), text});
    return call.Result(std::make_shared<Pl_List<History_Line>>(Session_Of<History_Snapshot>(call), std::move(lines)));
}

int32_t Link_Entity(Svr_Call& call, bool parent)
{
    const Link_Snapshot& link = The<Link_Snapshot>(call);
    auto session = Session_Of<Link_Snapshot>(call);
    const int64_t dbid = parent ? link.Parent : link.Child;
    Sto_Statement& query = session->Store().Prepare("SELECT record_type FROM zt_records WHERE dbid = ?");
    query.Bind(1, dbid);
    if (!query.Next())
        throw Mdl_Refusal("the linked record no longer exists");
    const std::string type = query.Text(0);
    return call.Result(std::make_shared<Pl_Entity>(session, session->Load(type, dbid)));
}

std::string Link_Type_Name(Svr_Call& call, bool parent)
{
    const Link_Snapshot& link = The<Link_Snapshot>(call);
    Sto_Statement& query =
        Session_Of<Link_Snapshot>(call)->Store().Prepare("SELECT record_type FROM zt_records WHERE dbid = ?");
    query.Bind(1, parent ? link.Parent : link.Child);
    if (!query.Next())
        throw Mdl_Refusal("the linked record no longer exists");
    return query.Text(0);
}

int32_t Link_Def(Svr_Call& call, bool parent)
{
    auto session = Session_Of<Link_Snapshot>(call);
    return call.Result(std::make_shared<Pl_Item<Record_Type_Ref>>(session, &session->Type(Link_Type_Name(call, parent))));
}

template <class T>
void Add_List(Svr_Dispatcher& d, ZTInt_opcode count, ZTInt_opcode item, ZTInt_opcode by_name)
{
    d.Add(count, Count<T>);
    d.Add(item, Item<T>);
    d.Add(by_name, Item_By_Name<T>);
}

}  // namespace

void Svr_Register_Collection_Calls(Svr_Dispatcher& d)
{
    Add_List<Record_Type_Ref>(d, ZTInt_op_ZTEntityDefs_Count, ZTInt_op_ZTEntityDefs_Item, ZTInt_op_ZTEntityDefs_ItemByName);
    Add_List<Field_Snapshot>(d, ZTInt_op_ZTFieldInfos_Count, ZTInt_op_ZTFieldInfos_Item, ZTInt_op_ZTFieldInfos_ItemByName);
    Add_List<History_Snapshot>(d, ZTInt_op_ZTHistoryFields_Count, ZTInt_op_ZTHistoryFields_Item,
                               ZTInt_op_ZTHistoryFields_ItemByName);
    Add_List<History_Line>(d, ZTInt_op_ZTHistories_Count, ZTInt_op_ZTHistories_Item, ZTInt_op_ZTHistories_ItemByName);
    Add_List<Attachment_Field_Snapshot>(d, ZTInt_op_ZTAttachmentFields_Count, ZTInt_op_ZTAttachmentFields_Item,
                                        ZTInt_op_ZTAttachmentFields_ItemByName);
    Add_List<Mdl_Attachment>(d, ZTInt_op_ZTAttachments_Count, ZTInt_op_ZTAttachments_Item,
                             ZTInt_op_ZTAttachments_ItemByName);
    Add_List<Link_Snapshot>(d, ZTInt_op_ZTLinks_Count, ZTInt_op_ZTLinks_Item, ZTInt_op_ZTLinks_ItemByName);

    d.Add(ZTInt_op_ZTFieldInfo_GetName, [](Svr_Call& c) { return c.Result(The<Field_Snapshot>(c).Name); });
    d.Add(ZTInt_op_ZTFieldInfo_GetType, [](Svr_Call& c) { return c.Result(int64_t{The<Field_Snapshot>(c).Type}); });
    d.Add(ZTInt_op_ZTFieldInfo_GetRequiredness,
          [](Svr_Call& c) { return c.Result(int64_t{The<Field_Snapshot>(c).Requiredness}); });
    d.Add(ZTInt_op_ZTFieldInfo_GetValueStatus, [](Svr_Call& c) {
        return c.Result(int64_t{The<Field_Snapshot>(c).Values.empty() ? ZTInt_HAS_NO_VALUE : ZTInt_HAS_VALUE});
    });
    d.Add(ZTInt_op_ZTFieldInfo_GetValidationStatus, [](Svr_Call& c) {
        return c.Result(int64_t{The<Field_Snapshot>(c).Message.empty() ? ZTInt_KNOWN_VALID : ZTInt_KNOWN_INVALID});
    });
    d.Add(ZTInt_op_ZTFieldInfo_GetMessageText, [](Svr_Call& c) { return c.Result(The<Field_Snapshot>(c).Message); });
    d.Add(ZTInt_op_ZTFieldInfo_GetValue, [](Svr_Call& c) {
        std::string text;
        for (const std::string& value : The<Field_Snapshot>(c).Values)
            text += (text.empty() && &value == &The<Field_Snapshot>(c).Values.front() ? "" : "\n") + value;
        return c.Result(text);
    });
    d.Add(ZTInt_op_ZTFieldInfo_GetValueAsList, [](Svr_Call& c) { return c.Result(The<Field_Snapshot>(c).Values); });
    d.Add(ZTInt_op_ZTFieldInfo_ValueChangedThisSetValue,
          [](Svr_Call& c) { return c.Result_Bool(The<Field_Snapshot>(c).Changed_Last_Set); });
    d.Add(ZTInt_op_ZTFieldInfo_ValueChangedThisGroup,
          [](Svr_Call& c) { return c.Result_Bool(The<Field_Snapshot>(c).Changed_This_Group); });
    d.Add(ZTInt_op_ZTFieldInfo_ValueChangedThisAction,
          [](Svr_Call& c) { return c.Result_Bool(The<Field_Snapshot>(c).Changed_This_Action); });

    d.Add(ZTInt_op_ZTHistoryField_GetFieldName, [](Svr_Call& c) { return c.Result(The<History_Snapshot>(c).Field); });
    d.Add(ZTInt_op_ZTHistoryField_GetDisplayNameHeader,
          [](Svr_Call& c) { return c.Result(The<History_Snapshot>(c).Header); });
    d.Add(ZTInt_op_ZTHistoryField_GetDisplayNameHeaderForExport,
          [](Svr_Call& c) { return c.Result(The<History_Snapshot>(c).Header); });
    d.Add(ZTInt_op_ZTHistoryField_GetHistories, Histories);
    d.Add(ZTInt_op_ZTHistory_GetValue, [](Svr_Call& c) { return c.Result(The<History_Line>(c).Text); });
    d.Add(ZTInt_op_ZTHistory_GetHistoryForExport, [](Svr_Call& c) { return c.Result(The<History_Line>(c).Text); });

    d.Add(ZTInt_op_ZTAttachmentField_GetFieldName,
          [](Svr_Call& c) { return c.Result(The<Attachment_Field_Snapshot>(c).Field); });
    d.Add(ZTInt_op_ZTAttachmentField_GetDisplayNameHeader,
          [](Svr_Call& c) { The<Attachment_Field_Snapshot>(c); return c.Result(std::vector<std::string>{"file_name", "size", "description"}); });
    d.Add(ZTInt_op_ZTAttachmentField_GetAttachments, [](Svr_Call& c) {
        return c.Result(std::make_shared<Pl_List<Mdl_Attachment>>(Session_Of<Attachment_Field_Snapshot>(c),
                                                                  The<Attachment_Field_Snapshot>(c).Items));
    });
    d.Add(ZTInt_op_ZTAttachment_GetFileName, [](Svr_Call& c) { return c.Result(The<Mdl_Attachment>(c).File_Name); });
    d.Add(ZTInt_op_ZTAttachment_GetDisplayName, [](Svr_Call& c) { return c.Result(The<Mdl_Attachment>(c).File_Name); });
    d.Add(ZTInt_op_ZTAttachment_GetFileSize, [](Svr_Call& c) { return c.Result(The<Mdl_Attachment>(c).Size); });
    d.Add(ZTInt_op_ZTAttachment_GetDescription, [](Svr_Call& c) { return c.Result(The<Mdl_Attachment>(c).Description); });
    d.Add(ZTInt_op_ZTAttachment_Load, [](Svr_Call& c) {
        Session_Of<Mdl_Attachment>(c)->Load_Attachment(The<Mdl_Attachment>(c), c.Text(1));
        return c.Result_Bool(true);
    });

    d.Add(ZTInt_op_ZTLink_GetParentEntity, [](Svr_Call& c) { return Link_Entity(c, true); });
    d.Add(ZTInt_op_ZTLink_GetChildEntity, [](Svr_Call& c) { return Link_Entity(c, false); });
    d.Add(ZTInt_op_ZTLink_GetParentEntityId, [](Svr_Call& c) {
        return c.Result(Session_Of<Link_Snapshot>(c)->Display_Id_Of(The<Link_Snapshot>(c).Parent));
    });
    d.Add(ZTInt_op_ZTLink_GetChildEntityId, [](Svr_Call& c) {
        return c.Result(Session_Of<Link_Snapshot>(c)->Display_Id_Of(The<Link_Snapshot>(c).Child));
    });
    d.Add(ZTInt_op_ZTLink_GetParentEntityDefName, [](Svr_Call& c) { return c.Result(Link_Type_Name(c, true)); });
    d.Add(ZTInt_op_ZTLink_GetChildEntityDefName, [](Svr_Call& c) { return c.Result(Link_Type_Name(c, false)); });
    d.Add(ZTInt_op_ZTLink_GetParentEntityDef, [](Svr_Call& c) { return Link_Def(c, true); });
    d.Add(ZTInt_op_ZTLink_GetChildEntityDef, [](Svr_Call& c) { return Link_Def(c, false); });
}
