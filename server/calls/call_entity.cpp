// ZTEntity: one record: its fields and values, the edit under an action, commit.
#include <algorithm>

#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "ztint_opcodes.h"

namespace {

struct Target {
    Mdl_Session& Session;
    Mdl_Record& Record;
    std::shared_ptr<Mdl_Session> Shared;
};

Target Entity(Svr_Call& call)
{
    Pl_Entity& entity = call.Object<Pl_Entity>(0);
    if (entity.Record->Deleted)
        throw Mdl_Refusal("the record was deleted");
    return {*entity.Session, *entity.Record, entity.Session};
}

std::string Joined(const std::vector<std::string>& values)
{
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i)
        text += (i == 0 ? "" : "\n") + values[i];
    return text;
}

int32_t Field_Info(Svr_Call& call, bool original)
{
    Target t = Entity(call);
    return call.Result(std::make_shared<Pl_Item<Field_Snapshot>>(
        t.Shared, Svr_Field_Snapshot(t.Session, t.Record, call.Text(1), original)));
}

// The snapshots of the fields for which keep says yes.
template <class Keep>
int32_t Field_Infos(Svr_Call& call, Keep keep)
{
    Target t = Entity(call);
    std::vector<Field_Snapshot> items;
    for (const Mdl_Field_Def& field : t.Record.Type->Fields) {
        Field_Snapshot snapshot = Svr_Field_Snapshot(t.Session, t.Record, field.Name);
        if (keep(snapshot))
            items.push_back(std::move(snapshot));
    }
    return call.Result(std::make_shared<Pl_List<Field_Snapshot>>(t.Shared, std::move(items)));
}

int32_t Set_Value(Svr_Call& call)
{
    Target t = Entity(call);
    return call.Result(t.Session.Set_Value(t.Record, call.Text(1), call.Text(2)));
}

int32_t Add_Value(Svr_Call& call)
{
    Target t = Entity(call);
    return call.Result(t.Session.Add_Value(t.Record, call.Text(1), call.Text(2)));
}

// Each value in turn; the first refusal ends the list and leaves the record as before.
int32_t Change_Values(Svr_Call& call, bool add)
{
    Target t = Entity(call);
    const Mdl_Record before = t.Record;
    for (const std::string& value : call.Texts(2)) {
        const std::string refusal = add ? t.Session.Add_Value(t.Record, call.Text(1), value)
                                        : t.Session.Delete_Value(t.Record, call.Text(1), value);
        if (!refusal.empty()) {
            t.Record = before;
            return call.Result(refusal);
        }
    }
    return call.Result(std::string());
}

int32_t Set_Values(Svr_Call& call)
{
    Target t = Entity(call);
    const std::vector<std::string> names = call.Texts(1), values = call.Texts(2);
    if (names.size() != values.size())
        throw Mdl_Refusal("there are " + std::to_string(names.size()) + " field names and " +
                          std::to_string(values.size()) + " values");
    std::vector<std::string> refusals;
    for (std::size_t i = 0; i < names.size(); ++i)
        refusals.push_back(t.Session.Set_Value(t.Record, names[i], values[i]));
    return call.Result(refusals);
}

int32_t Legal_Actions(Svr_Call& call)
{
    Target t = Entity(call);
    return call.Result(t.Session.Legal_Actions(t.Record));
}

int32_t Duplicates(Svr_Call& call, bool all)
{
    Target t = Entity(call);
    std::vector<Link_Snapshot> links;
    std::vector<int64_t> originals = {t.Record.Dbid};
    for (std::size_t i = 0; i < originals.size(); ++i)
        for (int64_t duplicate : t.Session.Duplicates_Of(originals[i])) {
            links.push_back({originals[i], duplicate});
            if (all)
                originals.push_back(duplicate);
        }
    return call.Result(std::make_shared<Pl_List<Link_Snapshot>>(t.Shared, std::move(links)));
}

int32_t History_Fields(Svr_Call& call)
{
    Target t = Entity(call);
    History_Snapshot history{"history", {"time", "user", "action", "old_state", "new_state", "changes"}, {}};
    for (const Mdl_History_Entry& entry : t.Session.History(t.Record)) {
        std::string changes;
        for (const std::string& change : entry.Changes)
            changes += (changes.empty() ? "" : "; ") + change;
        history.Lines.push_back(entry.At + "\t" + entry.User + "\t" + entry.Action + "\t" + entry.Old_State +
                                "\t" + entry.New_State + "\t" + changes);
    }
    return call.Result(std::make_shared<Pl_List<History_Snapshot>>(t.Shared, std::vector{std::move(history)}));
}

int32_t Attachment_Fields(Svr_Call& call)
{
    Target t = Entity(call);
    std::vector<Attachment_Field_Snapshot> fields;
    for (const Mdl_Field_Def& field : t.Record.Type->Fields) {
        if (field.Type != ZTInt_FIELD_ATTACHMENT_LIST)
            continue;
        Attachment_Field_Snapshot snapshot{field.Name, {}};
        for (const Mdl_Attachment& attachment : t.Record.Attachments)
            if (attachment.Field == field.Name)
                snapshot.Items.push_back(attachment);
        fields.push_back(std::move(snapshot));
    }
    return call.Result(std::make_shared<Pl_List<Attachment_Field_Snapshot>>(t.Shared, std::move(fields)));
}

int32_t Load_Attachment(Svr_Call& call)
{
    Target t = Entity(call);
    t.Session.Field(t.Record, call.Text(1));
    for (const Mdl_Attachment& attachment : t.Record.Attachments)
        if (attachment.Field == call.Text(1) && attachment.File_Name == call.Text(2)) {
            t.Session.Load_Attachment(attachment, call.Text(3));
            return call.Result(attachment.Size);
        }
    throw Mdl_Refusal(call.Text(1) + ": no attachment named " + call.Text(2));
}

}  // namespace

Field_Snapshot Svr_Field_Snapshot(const Mdl_Session& session, const Mdl_Record& record,
                                  const std::string& name, bool original)
{
    const Mdl_Field_Def& field = session.Field(record, name);
    Field_Snapshot snapshot;
    snapshot.Name = field.Name;
    snapshot.Type = field.Type;
    snapshot.Requiredness = session.Requiredness(record, field);
    snapshot.Values = original ? session.Original_Values(record, name) : session.Values(record, name);
    snapshot.Message = original ? "" : session.Field_Problem(record, field);
    snapshot.Changed_Last_Set = record.Changed_Last_Set.count(name) != 0;
    snapshot.Changed_This_Group = record.Changed_This_Group.count(name) != 0;
    snapshot.Changed_This_Action = !field.System && session.Original_Values(record, name) != snapshot.Values;
    return snapshot;
}

void Svr_Register_Entity_Calls(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTEntity_GetEntityDefName, [](Svr_Call& c) { return c.Result(Entity(c).Record.Type->Name); });
    d.Add(ZTInt_op_ZTEntity_GetFieldNames, [](Svr_Call& c) { return c.Result(Entity(c).Record.Type->Field_Names()); });
    d.Add(ZTInt_op_ZTEntity_IsEditable, [](Svr_Call& c) { return c.Result_Bool(Entity(c).Record.Editable()); });
    d.Add(ZTInt_op_ZTEntity_GetType, [](Svr_Call& c) {
        return c.Result(int64_t{Entity(c).Record.Type->Stateful ? ZTInt_ENTITY_STATEFUL : ZTInt_ENTITY_STATELESS});
    });
    d.Add(ZTInt_op_ZTEntity_LookupStateName, [](Svr_Call& c) { return c.Result(Entity(c).Record.State); });
    d.Add(ZTInt_op_ZTEntity_GetDbId, [](Svr_Call& c) { return c.Result(Entity(c).Record.Dbid); });
    d.Add(ZTInt_op_ZTEntity_GetDisplayName, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(t.Session.Display_Name(t.Record));
    });
    d.Add(ZTInt_op_ZTEntity_GetDisplayNameAsList, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(std::vector{t.Session.Display_Name(t.Record)});
    });
    d.Add(ZTInt_op_ZTEntity_GetSession,
          [](Svr_Call& c) { return c.Result(Svr_Session_Payload(Entity(c).Shared)); });

    d.Add(ZTInt_op_ZTEntity_GetFieldType,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(int64_t{t.Session.Field(t.Record, c.Text(1)).Type}); });
    d.Add(ZTInt_op_ZTEntity_GetFieldRequiredness, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(int64_t{t.Session.Requiredness(t.Record, t.Session.Field(t.Record, c.Text(1)))});
    });
    d.Add(ZTInt_op_ZTEntity_GetFieldChoiceList,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Field(t.Record, c.Text(1)).Choices); });
    d.Add(ZTInt_op_ZTEntity_GetFieldChoiceType, [](Svr_Call& c) {
        Target t = Entity(c);
        const Mdl_Field_Def& field = t.Session.Field(t.Record, c.Text(1));
        return c.Result(int64_t{field.Choices.empty() ? ZTInt_CHOICE_NONE
                                : field.Open_Choices  ? ZTInt_CHOICE_OPEN
                                                      : ZTInt_CHOICE_CLOSED});
    });
    d.Add(ZTInt_op_ZTEntity_GetFieldMaxLength,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(int64_t{t.Session.Field(t.Record, c.Text(1)).Max_Length}); });
    d.Add(ZTInt_op_ZTEntity_GetFieldHelpText,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Field(t.Record, c.Text(1)).Help); });
    d.Add(ZTInt_op_ZTEntity_GetFieldReferencedEntityDefName,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Field(t.Record, c.Text(1)).References); });

    d.Add(ZTInt_op_ZTEntity_GetFieldValue, [](Svr_Call& c) { return Field_Info(c, false); });
    d.Add(ZTInt_op_ZTEntity_GetFieldOriginalValue, [](Svr_Call& c) { return Field_Info(c, true); });
    d.Add(ZTInt_op_ZTEntity_GetFieldStringValue,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(Joined(t.Session.Values(t.Record, c.Text(1)))); });
    d.Add(ZTInt_op_ZTEntity_GetFieldStringValueAsList,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Values(t.Record, c.Text(1))); });
    d.Add(ZTInt_op_ZTEntity_GetFieldStringValues, [](Svr_Call& c) {
        Target t = Entity(c);
        std::vector<std::string> values;
        for (const std::string& name : c.Texts(1))
            values.push_back(Joined(t.Session.Values(t.Record, name)));
        return c.Result(values);
    });
    d.Add(ZTInt_op_ZTEntity_GetAllFieldValues, [](Svr_Call& c) { return Field_Infos(c, [](auto&) { return true; }); });
    d.Add(ZTInt_op_ZTEntity_GetInvalidFieldValues,
          [](Svr_Call& c) { return Field_Infos(c, [](auto& f) { return !f.Message.empty(); }); });
    d.Add(ZTInt_op_ZTEntity_GetFieldsUpdatedThisSetValue,
          [](Svr_Call& c) { return Field_Infos(c, [](auto& f) { return f.Changed_Last_Set; }); });
    d.Add(ZTInt_op_ZTEntity_GetFieldsUpdatedThisGroup,
          [](Svr_Call& c) { return Field_Infos(c, [](auto& f) { return f.Changed_This_Group; }); });
    d.Add(ZTInt_op_ZTEntity_GetFieldsUpdatedThisAction,
          [](Svr_Call& c) { return Field_Infos(c, [](auto& f) { return f.Changed_This_Action; }); });
    d.Add(ZTInt_op_ZTEntity_GetFieldsUpdatedThisEntireAction,
          [](Svr_Call& c) { return Field_Infos(c, [](auto& f) { return f.Changed_This_Action; }); });
    d.Add(ZTInt_op_ZTEntity_BeginNewFieldUpdateGroup, [](Svr_Call& c) {
        Entity(c).Record.Changed_This_Group.clear();
        return 0;
    });

    d.Add(ZTInt_op_ZTEntity_SetFieldValue, Set_Value);
    d.Add(ZTInt_op_ZTEntity_SetFieldValueWithoutValidatingFields, Set_Value);
    d.Add(ZTInt_op_ZTEntity_AddFieldValue, Add_Value);
    d.Add(ZTInt_op_ZTEntity_AddFieldValueWithoutValidatingFields, Add_Value);
    d.Add(ZTInt_op_ZTEntity_DeleteFieldValue,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Delete_Value(t.Record, c.Text(1), c.Text(2))); });
    d.Add(ZTInt_op_ZTEntity_AddFieldValues, [](Svr_Call& c) { return Change_Values(c, true); });
    d.Add(ZTInt_op_ZTEntity_DeleteFieldValues, [](Svr_Call& c) { return Change_Values(c, false); });
    d.Add(ZTInt_op_ZTEntity_SetFieldValues, Set_Values);

    d.Add(ZTInt_op_ZTEntity_Validate, [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Validate(t.Record)); });
    d.Add(ZTInt_op_ZTEntity_Commit, [](Svr_Call& c) { Target t = Entity(c); return c.Result(t.Session.Commit(t.Record)); });
    d.Add(ZTInt_op_ZTEntity_Revert, [](Svr_Call& c) { Target t = Entity(c); t.Session.Revert(t.Record); return 0; });
    d.Add(ZTInt_op_ZTEntity_Reload, [](Svr_Call& c) { Target t = Entity(c); t.Session.Reload(t.Record); return 0; });
    d.Add(ZTInt_op_ZTEntity_EditEntity, [](Svr_Call& c) { Target t = Entity(c); t.Session.Edit(t.Record, c.Text(1)); return 0; });
    d.Add(ZTInt_op_ZTEntity_GetLegalActionDefNames, Legal_Actions);
    d.Add(ZTInt_op_ZTEntity_GetLegalAccessibleActionDefNames, Legal_Actions);
    d.Add(ZTInt_op_ZTEntity_GetActionName, [](Svr_Call& c) {
        const Mdl_Record& record = Entity(c).Record;
        return c.Result(record.Action != nullptr ? record.Action->Name : std::string());
    });
    d.Add(ZTInt_op_ZTEntity_GetActionType, [](Svr_Call& c) {
        const Mdl_Record& record = Entity(c).Record;
        return c.Result(int64_t{record.Action != nullptr ? record.Action->Type : ZTInt_ACTION_NONE});
    });
    d.Add(ZTInt_op_ZTEntity_GetDefaultActionName, [](Svr_Call& c) {
        const Mdl_Action_Def* modify = Entity(c).Record.Type->Action_Of_Type(ZTInt_ACTION_MODIFY);
        return c.Result(modify != nullptr ? modify->Name : std::string());
    });

    d.Add(ZTInt_op_ZTEntity_IsDuplicate, [](Svr_Call& c) { return c.Result_Bool(Entity(c).Record.Original_Of != 0); });
    d.Add(ZTInt_op_ZTEntity_GetOriginalId, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(t.Record.Original_Of != 0 ? t.Session.Display_Id_Of(t.Record.Original_Of) : std::string());
    });
    d.Add(ZTInt_op_ZTEntity_GetOriginal, [](Svr_Call& c) {
        Target t = Entity(c);
        if (t.Record.Original_Of == 0)
            return c.Result(std::shared_ptr<Svr_Payload>());
        const std::string type = t.Record.Type->Name;
        return c.Result(std::make_shared<Pl_Entity>(t.Shared, t.Session.Load(type, t.Record.Original_Of)));
    });
    d.Add(ZTInt_op_ZTEntity_HasDuplicates,
          [](Svr_Call& c) { Target t = Entity(c); return c.Result_Bool(!t.Session.Duplicates_Of(t.Record.Dbid).empty()); });
    d.Add(ZTInt_op_ZTEntity_IsOriginal, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result_Bool(t.Record.Original_Of == 0 && !t.Session.Duplicates_Of(t.Record.Dbid).empty());
    });
    d.Add(ZTInt_op_ZTEntity_GetDuplicates, [](Svr_Call& c) { return Duplicates(c, false); });
    d.Add(ZTInt_op_ZTEntity_GetAllDuplicates, [](Svr_Call& c) { return Duplicates(c, true); });

    d.Add(ZTInt_op_ZTEntity_GetHistoryFields, History_Fields);
    d.Add(ZTInt_op_ZTEntity_GetAttachmentFields, Attachment_Fields);
    d.Add(ZTInt_op_ZTEntity_AddAttachmentFieldValue, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(t.Session.Add_Attachment(t.Record, c.Text(1), c.Text(2), c.Text(3)));
    });
    d.Add(ZTInt_op_ZTEntity_DeleteAttachmentFieldValue, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(t.Session.Delete_Attachment(t.Record, c.Text(1), c.Text(2)));
    });
    d.Add(ZTInt_op_ZTEntity_EditAttachmentFieldDescription, [](Svr_Call& c) {
        Target t = Entity(c);
        return c.Result(t.Session.Describe_Attachment(t.Record, c.Text(1), c.Text(2), c.Text(3)));
    });
    d.Add(ZTInt_op_ZTEntity_LoadAttachment, Load_Attachment);
    d.Add(ZTInt_op_ZTEntity_GetAttachmentDisplayNameHeader, [](Svr_Call& c) {
        Target t = Entity(c);
        t.Session.Field(t.Record, c.Text(1));
        return c.Result(std::vector<std::string>{"file_name", "size", "description"});
    });
}
