#include "server/model/mdl_schema.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

using json = nlohmann::json;

namespace {

struct Named_Type {
    const char* Name;
    int Value;
};

constexpr Named_Type kFieldTypes[] = {
    {"short_string", ZTInt_FIELD_SHORT_STRING}, {"multiline_string", ZTInt_FIELD_MULTILINE_STRING},
    {"integer", ZTInt_FIELD_INTEGER},           {"date_time", ZTInt_FIELD_DATE_TIME},
    {"reference", ZTInt_FIELD_REFERENCE},       {"reference_list", ZTInt_FIELD_REFERENCE_LIST},
    {"attachment_list", ZTInt_FIELD_ATTACHMENT_LIST}, {"journal", ZTInt_FIELD_JOURNAL},
    {"id", ZTInt_FIELD_ID},                     {"state", ZTInt_FIELD_STATE},
    {"dbid", ZTInt_FIELD_DBID},                 {"record_type", ZTInt_FIELD_RECORD_TYPE},
    {"history", ZTInt_FIELD_HISTORY},
};
constexpr Named_Type kActionTypes[] = {
    {"submit", ZTInt_ACTION_SUBMIT},       {"modify", ZTInt_ACTION_MODIFY},
    {"change_state", ZTInt_ACTION_CHANGE_STATE}, {"duplicate", ZTInt_ACTION_DUPLICATE},
    {"unduplicate", ZTInt_ACTION_UNDUPLICATE},   {"delete", ZTInt_ACTION_DELETE},
};
constexpr Named_Type kRequiredness[] = {
    {"mandatory", ZTInt_MANDATORY}, {"optional", ZTInt_OPTIONAL}, {"read_only", ZTInt_READONLY}};

template <std::size_t N>
int Lookup(const Named_Type (&table)[N], const std::string& name, const std::string& where)
{
    for (const Named_Type& entry : table)
        if (name == entry.Name)
            return entry.Value;
    throw Mdl_Schema_Error(where + ": unknown value \"" + name + "\"");
}

std::string Text_Of(const json& object, const char* key, const std::string& where, bool required)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        if (required)
            throw Mdl_Schema_Error(where + ": \"" + key + "\" is missing");
        return "";
    }
    if (!found->is_string())
        throw Mdl_Schema_Error(where + ": \"" + key + "\" must be a string");
    return found->get<std::string>();
}

std::vector<std::string> Texts_Of(const json& object, const char* key, const std::string& where)
{
    std::vector<std::string> texts;
    const auto found = object.find(key);
    if (found == object.end())
        return texts;
    if (!found->is_array())
        throw Mdl_Schema_Error(where + ": \"" + key + "\" must be a list of strings");
    for (const json& item : *found) {
        if (!item.is_string())
            throw Mdl_Schema_Error(where + ": \"" + key + "\" must be a list of strings");
        texts.push_back(item.get<std::string>());
    }
    return texts;
}

Mdl_Field_Def System_Field(const char* name, ZTInt_Field_Type type)
{
    Mdl_Field_Def field;
    field.Name = name;
    field.Type = type;
    field.System = true;
    field.Default_Requiredness = ZTInt_READONLY;
    return field;
}

Mdl_Field_Def Parse_Field(const json& item, const std::string& where)
{
    Mdl_Field_Def field;
    field.Name = Text_Of(item, "name", where, true);
    const std::string at = where + ", field " + field.Name;
    field.Type = static_cast<ZTInt_Field_Type>(Lookup(kFieldTypes, Text_Of(item, "type", at, true), at));
    if (field.Type >= ZTInt_FIELD_ID && field.Type != ZTInt_FIELD_JOURNAL)
        throw Mdl_Schema_Error(at + ": the type is the server's own");
    field.Max_Length = item.value("max_length", 0);
    field.Choices = Texts_Of(item, "choices", at);
    field.Open_Choices = item.value("open_choices", false);
    field.Default_Value = Text_Of(item, "default", at, false);
    field.Help = Text_Of(item, "help", at, false);
    field.References = Text_Of(item, "references", at, false);
    const bool reference =
        field.Type == ZTInt_FIELD_REFERENCE || field.Type == ZTInt_FIELD_REFERENCE_LIST;
    if (reference != !field.References.empty())
        throw Mdl_Schema_Error(at + ": \"references\" goes with the reference types only");
    const auto requiredness = item.find("requiredness");
    if (requiredness != item.end()) {
        if (!requiredness->is_object())
            throw Mdl_Schema_Error(at + ": \"requiredness\" must map states to requiredness");
        for (const auto& [state, value] : requiredness->items()) {
            const auto level = static_cast<ZTInt_Requiredness>(
                Lookup(kRequiredness, value.is_string() ? value.get<std::string>() : "", at));
            if (state == "*")
                field.Default_Requiredness = level;
            else
                field.Requiredness_In[state] = level;
        }
    }
    return field;
}

Mdl_Action_Def Parse_Action(const json& item, const std::string& where)
{
    Mdl_Action_Def action;
    action.Name = Text_Of(item, "name", where, true);
    const std::string at = where + ", action " + action.Name;
    action.Type = static_cast<ZTInt_Action_Type>(Lookup(kActionTypes, Text_Of(item, "type", at, true), at));
    action.From = Texts_Of(item, "from", at);
    action.To = Text_Of(item, "to", at, false);
    return action;
}

void Check_Type(const Mdl_Record_Type& type, const std::string& where)
{
    std::set<std::string> names;
    for (const Mdl_Field_Def& field : type.Fields) {
        if (!names.insert(field.Name).second)
            throw Mdl_Schema_Error(where + ": field " + field.Name + " is defined twice");
        for (const auto& [state, level] : field.Requiredness_In)
            if (!type.Has_State(state))
                throw Mdl_Schema_Error(where + ", field " + field.Name + ": no state " + state);
    }
    for (const Mdl_Action_Def& action : type.Actions) {
        for (const std::string& state : action.From)
            if (!type.Has_State(state))
                throw Mdl_Schema_Error(where + ", action " + action.Name + ": no state " + state);
        if (!action.To.empty() && !type.Has_State(action.To))
            throw Mdl_Schema_Error(where + ", action " + action.Name + ": no state " + action.To);
        if (type.Stateful && action.Type == ZTInt_ACTION_SUBMIT && action.To.empty())
            throw Mdl_Schema_Error(where + ", action " + action.Name + ": a submit needs \"to\"");
    }
    if (type.Action_Of_Type(ZTInt_ACTION_SUBMIT) == nullptr)
        throw Mdl_Schema_Error(where + ": no submit action");
    for (const std::string& name : type.Display_Fields)
        if (type.Field(name) == nullptr)
            throw Mdl_Schema_Error(where + ": display-name field " + name + " does not exist");
}

Mdl_Record_Type Parse_Type(const json& item)
{
    Mdl_Record_Type type;
    type.Name = Text_Of(item, "name", "record type", true);
    const std::string where = "record type " + type.Name;
    const std::string kind = Text_Of(item, "kind", where, true);
    if (kind != "stateful" && kind != "stateless")
        throw Mdl_Schema_Error(where + ": kind is stateful or stateless");
    type.Stateful = kind == "stateful";
    type.States = Texts_Of(item, "states", where);
    if (type.Stateful == type.States.empty())
        throw Mdl_Schema_Error(where + ": a stateful type has states, a stateless one none");
    type.Fields = {System_Field("id", ZTInt_FIELD_ID), System_Field("dbid", ZTInt_FIELD_DBID),
                   System_Field("record_type", ZTInt_FIELD_RECORD_TYPE),
                   System_Field("history", ZTInt_FIELD_HISTORY)};
    if (type.Stateful)
        type.Fields.insert(type.Fields.begin() + 2, System_Field("State", ZTInt_FIELD_STATE));
    for (const json& field : item.value("fields", json::array()))
        type.Fields.push_back(Parse_Field(field, where));
    for (const json& action : item.value("actions", json::array()))
        type.Actions.push_back(Parse_Action(action, where));
    type.Display_Fields = Texts_Of(item, "display_name", where);
    if (type.Display_Fields.empty())
        type.Display_Fields = {"id"};
    Check_Type(type, where);
    return type;
}

}  // namespace

ZTInt_Requiredness Mdl_Field_Def::Requiredness(const std::string& state) const
{
    const auto found = Requiredness_In.find(state);
    return found != Requiredness_In.end() ? found->second : Default_Requiredness;
}

bool Mdl_Action_Def::Legal_From(const std::string& state) const
{
    return From.empty() || std::find(From.begin(), From.end(), state) != From.end();
}

const Mdl_Field_Def* Mdl_Record_Type::Field(const std::string& name) const
{
    for (const Mdl_Field_Def& field : Fields)
        if (field.Name == name)
            return &field;
    return nullptr;
}

const Mdl_Action_Def* Mdl_Record_Type::Action(const std::string& name) const
{
    for (const Mdl_Action_Def& action : Actions)
        if (action.Name == name)
            return &action;
    return nullptr;
}

const Mdl_Action_Def* Mdl_Record_Type::Action_Of_Type(ZTInt_Action_Type type) const
{
    for (const Mdl_Action_Def& action : Actions)
        if (action.Type == type)
            return &action;
    return nullptr;
}

bool Mdl_Record_Type::Has_State(const std::string& name) const
{
    return std::find(States.begin(), States.end(), name) != States.end();
}

std::vector<std::string> Mdl_Record_Type::Field_Names() const
{
    std::vector<std::string> names;
    for (const Mdl_Field_Def& field : Fields)
        names.push_back(field.Name);
    return names;
}

std::vector<std::string> Mdl_Record_Type::Action_Names() const
{
    std::vector<std::string> names;
    for (const Mdl_Action_Def& action : Actions)
        names.push_back(action.Name);
    return names;
}

Mdl_Schema Mdl_Schema::Parse(const std::string& text)
{
    json document;
    try {
        document = json::parse(text);
    } catch (const json::exception& failure) {
        throw Mdl_Schema_Error(std::string("not a JSON document: ") + failure.what());
    }
    if (!document.is_object() || document.value("format", 0) != 1)
        throw Mdl_Schema_Error("not a schema of format 1");
    Mdl_Schema schema;
    schema.Source = text;
    try {
        schema.Schema_Name = Text_Of(document, "name", "schema", true);
        std::set<std::string> names;
        for (const json& item : document.value("record_types", json::array())) {
            schema.Record_Types.push_back(Parse_Type(item));
            if (!names.insert(schema.Record_Types.back().Name).second)
                throw Mdl_Schema_Error("record type " + schema.Record_Types.back().Name + " is defined twice");
        }
    } catch (const json::exception& failure) {
        throw Mdl_Schema_Error(std::string("a value has the wrong type: ") + failure.what());
    }
    for (const Mdl_Record_Type& type : schema.Record_Types)
        for (const Mdl_Field_Def& field : type.Fields)
            if (!field.References.empty() && field.References != "users" &&
                schema.Type(field.References) == nullptr)
                throw Mdl_Schema_Error("record type " + type.Name + ", field " + field.Name +
                                       ": no record type " + field.References);
    return schema;
}

Mdl_Schema Mdl_Schema::Load(const std::string& path)
{
    std::ifstream file(path);
    if (!file)
        throw Mdl_Schema_Error("cannot read the schema file " + path);
    std::ostringstream text;
    text << file.rdbuf();
    try {
        return Parse(text.str());
    } catch (const Mdl_Schema_Error& failure) {
        throw Mdl_Schema_Error(path + ": " + failure.what());
    }
}

const Mdl_Record_Type* Mdl_Schema::Type(const std::string& name) const
{
    for (const Mdl_Record_Type& type : Record_Types)
        if (type.Name == name)
            return &type;
    return nullptr;
}

const char* Mdl_Type_Name(int type)
{
    for (const Named_Type& entry : kFieldTypes)
        if (entry.Value == type)
            return entry.Name;
    return "unknown";
}

const char* Mdl_Action_Type_Name(int type)
{
    for (const Named_Type& entry : kActionTypes)
        if (entry.Value == type)
            return entry.Name;
    return "none";
}
