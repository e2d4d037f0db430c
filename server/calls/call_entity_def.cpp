// ZTEntityDef: a record type of the session's schema, read only.
#include <algorithm>

#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "ztint_opcodes.h"

namespace {

const Mdl_Record_Type& Type(Svr_Call& call)
{
    return *call.Object<Pl_Item<Record_Type_Ref>>(0).Item;
}

const Mdl_Field_Def& Field(Svr_Call& call, int index)
{
    const Mdl_Record_Type& type = Type(call);
    const Mdl_Field_Def* field = type.Field(call.Text(index));
    if (field == nullptr)
        throw Mdl_Refusal("record type " + type.Name + " has no field \"" + call.Text(index) + "\"");
    return *field;
}

const Mdl_Action_Def& Action(Svr_Call& call, int index)
{
    const Mdl_Record_Type& type = Type(call);
    const Mdl_Action_Def* action = type.Action(call.Text(index));
    if (action == nullptr)
        throw Mdl_Refusal("record type " + type.Name + " has no action \"" + call.Text(index) + "\"");
    return *action;
}

std::string State(Svr_Call& call, int index)
{
    const Mdl_Record_Type& type = Type(call);
    const std::string state = call.Text(index);
    if (!type.Has_State(state))
        throw Mdl_Refusal("record type " + type.Name + " has no state \"" + state + "\"");
    return state;
}

// The actions that take a record from one state to another.
int32_t Transitions(Svr_Call& call)
{
    const Mdl_Record_Type& type = Type(call);
    const std::string from = call.Text(1), to = call.Text(2);
    std::vector<std::string> names;
    for (const Mdl_Action_Def& action : type.Actions)
        if (action.Type != ZTInt_ACTION_SUBMIT && action.Type != ZTInt_ACTION_DELETE &&
            action.Legal_From(from) && action.Destination(from) == to)
            names.push_back(action.Name);
    return call.Result(names);
}

}  // namespace

void Svr_Register_Entity_Def_Calls(Svr_Dispatcher& d)
{
    d.Add(ZTInt_op_ZTEntityDef_GetName, [](Svr_Call& c) { return c.Result(Type(c).Name); });
    d.Add(ZTInt_op_ZTEntityDef_GetFieldDefNames, [](Svr_Call& c) { return c.Result(Type(c).Field_Names()); });
    d.Add(ZTInt_op_ZTEntityDef_GetLocalFieldPathNames, [](Svr_Call& c) { return c.Result(Type(c).Field_Names()); });
    d.Add(ZTInt_op_ZTEntityDef_GetActionDefNames, [](Svr_Call& c) { return c.Result(Type(c).Action_Names()); });
    d.Add(ZTInt_op_ZTEntityDef_GetStateDefNames, [](Svr_Call& c) { return c.Result(Type(c).States); });
    d.Add(ZTInt_op_ZTEntityDef_GetHookDefNames, [](Svr_Call& c) { Type(c); return c.Result(std::vector<std::string>{}); });
    d.Add(ZTInt_op_ZTEntityDef_GetDisplayNameFields, [](Svr_Call& c) { return c.Result(Type(c).Display_Fields); });
    d.Add(ZTInt_op_ZTEntityDef_GetType, [](Svr_Call& c) {
        return c.Result(int64_t{Type(c).Stateful ? ZTInt_ENTITY_STATEFUL : ZTInt_ENTITY_STATELESS});
    });
    d.Add(ZTInt_op_ZTEntityDef_GetDbName, [](Svr_Call& c) { return c.Result(Type(c).Name); });
    d.Add(ZTInt_op_ZTEntityDef_IsFamily, [](Svr_Call& c) { Type(c); return c.Result_Bool(false); });
    d.Add(ZTInt_op_ZTEntityDef_IsBuiltInSystemOwned, [](Svr_Call& c) { Type(c); return c.Result_Bool(false); });

    d.Add(ZTInt_op_ZTEntityDef_IsFieldDefName, [](Svr_Call& c) { return c.Result_Bool(Type(c).Field(c.Text(1)) != nullptr); });
    d.Add(ZTInt_op_ZTEntityDef_IsActionDefName, [](Svr_Call& c) { return c.Result_Bool(Type(c).Action(c.Text(1)) != nullptr); });
    d.Add(ZTInt_op_ZTEntityDef_IsStateDefName, [](Svr_Call& c) { return c.Result_Bool(Type(c).Has_State(c.Text(1))); });
    d.Add(ZTInt_op_ZTEntityDef_IsSystemOwnedFieldDefName, [](Svr_Call& c) {
        const Mdl_Field_Def* field = Type(c).Field(c.Text(1));
        return c.Result_Bool(field != nullptr && field->System);
    });
    d.Add(ZTInt_op_ZTEntityDef_GetFieldDefType, [](Svr_Call& c) { return c.Result(int64_t{Field(c, 1).Type}); });
    d.Add(ZTInt_op_ZTEntityDef_GetFieldHelpText, [](Svr_Call& c) { return c.Result(Field(c, 1).Help); });
    d.Add(ZTInt_op_ZTEntityDef_GetFieldRequiredness, [](Svr_Call& c) {
        const Mdl_Field_Def& field = Field(c, 1);
        return c.Result(int64_t{field.Requiredness(Type(c).Stateful ? State(c, 2) : std::string())});
    });
    d.Add(ZTInt_op_ZTEntityDef_IsFieldDefEditable, [](Svr_Call& c) {
        const Mdl_Field_Def& field = Field(c, 1);
        bool editable = !field.System && field.Default_Requiredness != ZTInt_READONLY;
        for (const auto& [state, level] : field.Requiredness_In)
            editable = editable || level != ZTInt_READONLY;
        return c.Result_Bool(editable);
    });
    d.Add(ZTInt_op_ZTEntityDef_GetFieldReferenceEntityDef, [](Svr_Call& c) {
        const Mdl_Field_Def& field = Field(c, 1);
        const auto session = c.Object<Pl_Item<Record_Type_Ref>>(0).Session;
        const Mdl_Record_Type* target = session->Schema().Type(field.References);
        if (target == nullptr)
            return c.Result(std::shared_ptr<Svr_Payload>());
        return c.Result(std::make_shared<Pl_Item<Record_Type_Ref>>(session, target));
    });

    d.Add(ZTInt_op_ZTEntityDef_GetActionDefType, [](Svr_Call& c) { return c.Result(int64_t{Action(c, 1).Type}); });
    d.Add(ZTInt_op_ZTEntityDef_GetActionDestStateName, [](Svr_Call& c) { return c.Result(Action(c, 1).To); });
    d.Add(ZTInt_op_ZTEntityDef_GetActionSourceStateNames, [](Svr_Call& c) {
        const Mdl_Action_Def& action = Action(c, 1);
        return c.Result(action.From.empty() && action.Type != ZTInt_ACTION_SUBMIT ? Type(c).States : action.From);
    });
    d.Add(ZTInt_op_ZTEntityDef_GetActionTypeName, [](Svr_Call& c) {
        const char* name = Mdl_Action_Type_Name(c.Number(1));
        if (std::string(name) == "none")
            throw Mdl_Refusal("no action type " + std::to_string(c.Number(1)));
        return c.Result(std::string(name));
    });
    d.Add(ZTInt_op_ZTEntityDef_DoesTransitionExist, Transitions);
}
