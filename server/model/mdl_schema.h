// The schema of a user database: its record types, read from a schema file (JSON).
//
//   { "format": 1, "name": "...", "record_types": [ {
//       "name": "Defect", "kind": "stateful" | "stateless",
//       "display_name": ["id"],                       fields that make the display name
//       "states": ["Submitted", ...],                 stateful types only
//       "fields": [ { "name": "Severity", "type": "short_string",
//                     "max_length": 40, "choices": ["1-Critical", ...], "open_choices": false,
//                     "default": "...", "help": "...", "references": "users" | "<type>",
//                     "requiredness": { "*": "optional", "Resolved": "mandatory" } } ],
//       "actions": [ { "name": "Resolve", "type": "change_state",
//                      "from": ["Opened"], "to": "Resolved" } ] } ] }
//
// Field types: short_string, multiline_string, integer, date_time, reference,
// reference_list, attachment_list, journal. Action types: submit, modify,
// change_state, duplicate, unduplicate, delete. Requiredness (mandatory, optional,
// read_only) is given per state, "*" for the others; a field is judged by the state
// the record is in once the action is done. Defaults "$user" and "$now" stand for the
// acting user and the time of the edit.
#pragma once

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "ztint_values.h"

struct Mdl_Field_Def {
    std::string Name;
    ZTInt_Field_Type Type = ZTInt_FIELD_SHORT_STRING;
    int Max_Length = 0;  // 0: no limit
    std::vector<std::string> Choices;
    bool Open_Choices = false;
    std::string Default_Value;
    std::string Help;
    std::string References;  // "users" or a record type, for reference fields
    bool System = false;     // id, dbid, State, record_type, history: kept by the server
    ZTInt_Requiredness Default_Requiredness = ZTInt_OPTIONAL;
    std::map<std::string, ZTInt_Requiredness> Requiredness_In;  // by state

    ZTInt_Requiredness Requiredness(const std::string& state) const;
    bool Is_List() const
    {
        return Type == ZTInt_FIELD_REFERENCE_LIST || Type == ZTInt_FIELD_ATTACHMENT_LIST;
    }
};

struct Mdl_Action_Def {
    std::string Name;
    ZTInt_Action_Type Type = ZTInt_ACTION_MODIFY;
    std::vector<std::string> From;  // empty: every state
    std::string To;                 // empty: the state stays

    bool Legal_From(const std::string& state) const;
    // The state a record in state is in once the action is done.
    std::string Destination(const std::string& state) const { return To.empty() ? state : To; }
};

struct Mdl_Record_Type {
    std::string Name;
    bool Stateful = false;
    std::vector<std::string> States;
    std::vector<Mdl_Field_Def> Fields;  // system fields first
    std::vector<Mdl_Action_Def> Actions;
    std::vector<std::string> Display_Fields;

    const Mdl_Field_Def* Field(const std::string& name) const;
    const Mdl_Action_Def* Action(const std::string& name) const;
    const Mdl_Action_Def* Action_Of_Type(ZTInt_Action_Type type) const;
    bool Has_State(const std::string& name) const;
    std::vector<std::string> Field_Names() const;
    std::vector<std::string> Action_Names() const;
};

class Mdl_Schema {
public:
    // Parses the text of a schema file; throws Mdl_Schema_Error with the reason.
    static Mdl_Schema Parse(const std::string& text);
    // Reads and parses a schema file.
    static Mdl_Schema Load(const std::string& path);

    const std::string& Name() const { return Schema_Name; }
    const std::string& Text() const { return Source; }
    const std::vector<Mdl_Record_Type>& Types() const { return Record_Types; }
    const Mdl_Record_Type* Type(const std::string& name) const;

private:
    std::string Schema_Name;
    std::string Source;
    std::vector<Mdl_Record_Type> Record_Types;
};

class Mdl_Schema_Error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The name of a type, action type or requiredness as schema files and messages spell it.
const char* Mdl_Type_Name(int type);
const char* Mdl_Action_Type_Name(int type);  // "none" for a number that is none
