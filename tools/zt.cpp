// zt: the command-line client of the tracking server, built only on the public C
// interface of libztint. Every command logs on, does one thing and ends:
//   exit 0  done
//   exit 1  refused (the server's text on standard error)
//   exit 2  usage error
// Logon: ZT_USER, ZT_PASSWORD, ZT_DATABASE, ZT_MASTER; without ZT_USER, the server's
// default user. Without ZT_HOME, the product home zt itself lives in (<home>/bin/zt).
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/zt_admin.h"
#include "tools/zt_common.h"
#include "tools/zt_query.h"
#include "ztint.h"
#include "ztint_values.h"

namespace {

using namespace zt_common;

// A reason answer ("" when taken): anything else is a refusal. The call is made
// before, so that reason holds its answer.
void Check_Reason(int32_t status, char* reason)
{
    const std::string text = Take(reason);
    Check(status);
    if (!text.empty())
        throw Refused(text);
}

using Entity = Owned<ZTEntity, ZTInt_Entity_Free>;
using Entity_Def = Owned<ZTEntityDef, ZTInt_EntityDef_Free>;

const char* Type_Name(ZTInt_LONG type)
{
    switch (type) {
    case ZTInt_FIELD_SHORT_STRING: return "short_string";
    case ZTInt_FIELD_MULTILINE_STRING: return "multiline_string";
    case ZTInt_FIELD_INTEGER: return "integer";
    case ZTInt_FIELD_DATE_TIME: return "date_time";
    case ZTInt_FIELD_REFERENCE: return "reference";
    case ZTInt_FIELD_REFERENCE_LIST: return "reference_list";
    case ZTInt_FIELD_ATTACHMENT_LIST: return "attachment_list";
    case ZTInt_FIELD_ID: return "id";
    case ZTInt_FIELD_STATE: return "state";
    case ZTInt_FIELD_JOURNAL: return "journal";
    case ZTInt_FIELD_DBID: return "dbid";
    case ZTInt_FIELD_RECORD_TYPE: return "record_type";
    case ZTInt_FIELD_HISTORY: return "history";
    default: return "unknown";
    }
}

// The logged-on session of one command.
class Tracker {
public:
    Tracker()
    {
        const Logon logon;
        Check(ZTZentrak_Build(&Zentrak));
        Check(ZTZentrak_SessionLogon(Zentrak, &Session, "", logon.User.c_str(), logon.Password.c_str(),
                                     logon.Database.c_str(), logon.Set.c_str(), 0));
    }
    ~Tracker()
    {
        ZTInt_Session_Free(Session);
        ZTInt_Zentrak_Free(Zentrak);
    }
    Tracker(const Tracker&) = delete;
    Tracker& operator=(const Tracker&) = delete;

    std::vector<std::string> Types()
    {
        char** names = nullptr;
        Check(ZTSession_GetEntityDefNames(Session, &names));
        return Take(names);
    }

    Entity_Def Def(const std::string& type)
    {
        ZTEntityDef* def = nullptr;
        Check(ZTSession_GetEntityDef(Session, &def, type.c_str()));
        return Entity_Def(def);
    }

    // The record of an id, of whichever type it is.
    Entity Get(const std::string& id)
    {
        for (const std::string& type : Types()) {
            ZTInt_BOOL exists = 0;
            Check(ZTSession_EntityExists(Session, &exists, type.c_str(), id.c_str()));
            if (exists) {
                ZTEntity* entity = nullptr;
                Check(ZTSession_GetEntity(Session, &entity, type.c_str(), id.c_str()));
                return Entity(entity);
            }
        }
        throw Refused("zt: no record " + id);
    }

    // The first action of a kind for a record's type.
    std::string Action_Of_Type(ZTEntity* entity, ZTInt_LONG kind)
    {
        char* type = nullptr;
        Check(ZTEntity_GetEntityDefName(entity, &type));
        Entity_Def def = Def(Take(type));
        char** names = nullptr;
        Check(ZTEntityDef_GetActionDefNames(def.get(), &names));
        for (const std::string& name : Take(names)) {
            ZTInt_LONG action_type = 0;
            Check(ZTEntityDef_GetActionDefType(def.get(), &action_type, name.c_str()));
            if (action_type == kind)
                return name;
        }
        throw Refused("zt: the record's type has no such action");
    }

    ZTSession* Session = nullptr;

private:
    ZTZentrak* Zentrak = nullptr;
};

std::string Value(ZTEntity* entity, const std::string& field)
{
    char* text = nullptr;
    Check(ZTEntity_GetFieldStringValue(entity, &text, field.c_str()));
    return Take(text);
}

std::vector<std::string> Field_Names(ZTEntity* entity)
{
    char** names = nullptr;
    Check(ZTEntity_GetFieldNames(entity, &names));
    return Take(names);
}

ZTInt_LONG Field_Type(ZTEntity* entity, const std::string& field)
{
    ZTInt_LONG type = 0;
    Check(ZTEntity_GetFieldType(entity, &type, field.c_str()));
    return type;
}

std::string Attachment_Field(ZTEntity* entity)
{
    for (const std::string& field : Field_Names(entity))
        if (Field_Type(entity, field) == ZTInt_FIELD_ATTACHMENT_LIST)
            return field;
    throw Refused("zt: the record's type has no attachment field");
}

// field=value pairs set on an entity under edit.
void Set_Values(ZTEntity* entity, const std::vector<std::string>& pairs)
{
    for (const std::string& pair : pairs) {
        const std::size_t equals = pair.find('=');
        char* reason = nullptr;
        const std::string field = pair.substr(0, equals), value = pair.substr(equals + 1);
        const int32_t status = ZTEntity_SetFieldValue(entity, &reason, field.c_str(), value.c_str());
        Check_Reason(status, reason);
    }
}

void Commit(ZTEntity* entity)
{
    char* reason = nullptr;
    const int32_t status = ZTEntity_Commit(entity, &reason);
    Check_Reason(status, reason);
}

// A multi-line value indented under its field.
std::string Indented(const std::string& value)
{
    std::string text;
    for (char c : value)
        text += c == '\n' ? std::string("\n  ") : std::string(1, c);
    return text;
}

void Show(Tracker& tracker, const std::string& id, const std::string& format)
{
    Entity entity = tracker.Get(id);
    nlohmann::ordered_json object;
    for (const std::string& field : Field_Names(entity.get())) {
        if (Field_Type(entity.get(), field) == ZTInt_FIELD_HISTORY)
            continue;
        const std::string value = Value(entity.get(), field);
        if (format == "json") {
            char** list = nullptr;
            Check(ZTEntity_GetFieldStringValueAsList(entity.get(), &list, field.c_str()));
            const ZTInt_LONG type = Field_Type(entity.get(), field);
            if (type == ZTInt_FIELD_REFERENCE_LIST || type == ZTInt_FIELD_ATTACHMENT_LIST)
                object[field] = Take(list);
            else {
                ZTInt_StringArray_Free(list);
                object[field] = value;
            }
        } else if (!value.empty()) {
            std::cout << field << ": " << Indented(value) << "\n";
        }
    }
    if (format == "json")
        std::cout << object.dump(2) << "\n";
}

void History(Tracker& tracker, const std::string& id)
{
    Entity entity = tracker.Get(id);
    ZTHistoryFields* fields = nullptr;
    Check(ZTEntity_GetHistoryFields(entity.get(), &fields));
    ZTHistoryField* field = nullptr;
    const int32_t status = ZTHistoryFields_Item(fields, &field, 0);
    ZTInt_HistoryFields_Free(fields);
    Check(status);
    ZTHistories* histories = nullptr;
    const int32_t listed = ZTHistoryField_GetHistories(field, &histories);
    ZTInt_HistoryField_Free(field);
    Check(listed);
    ZTInt_LONG count = 0;
    Check(ZTHistories_Count(histories, &count));
    for (ZTInt_LONG i = 0; i < count; ++i) {
        ZTHistory* history = nullptr;
        char* text = nullptr;
        Check(ZTHistories_Item(histories, &history, i));
        const int32_t read = ZTHistory_GetValue(history, &text);
        ZTInt_History_Free(history);
        Check(read);
        std::string line = Take(text);
        // time, user, action, old state, new state, changes
        std::vector<std::string> columns(1);
        for (char c : line)
            if (c == '\t')
                columns.emplace_back();
            else
                columns.back().push_back(c);
        columns.resize(6);
        std::cout << columns[0] << "  " << columns[1] << "  " << columns[2] << "  "
                  << (columns[3].empty() ? "-" : columns[3]) << " -> " << columns[4];
        if (!columns[5].empty())
            std::cout << "  " << Indented(columns[5]);
        std::cout << "\n";
    }
    ZTInt_Histories_Free(histories);
}

// field=value: the text before the first '=' is a field name.
const auto kPair = CLI::Validator(
    [](std::string& text) {
        return text.find('=') == std::string::npos || text[0] == '=' ? "expected field=value, got " + text
                                                                     : std::string();
    },
    "FIELD=VALUE");

void Use_Own_Home()
{
    if (std::getenv("ZT_HOME") != nullptr)
        return;
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    if (length <= 0)
        return;
    std::string exe(path, static_cast<std::size_t>(length));
    const std::size_t bin = exe.rfind("/bin/");
    if (bin != std::string::npos)
        setenv("ZT_HOME", exe.substr(0, bin).c_str(), 0);
}

}  // namespace

int main(int argc, char** argv)
{
    Use_Own_Home();
    CLI::App app{"zt: submit, edit and show the records of the tracking server"};
    app.require_subcommand(1);
    std::string type, id, action, file, name, dest, original, description, format = "text";
    std::vector<std::string> pairs;

    auto* types = app.add_subcommand("types", "List the record types");
    auto* fields = app.add_subcommand("fields", "List the fields of a record type with their types");
    fields->add_option("TYPE", type, "record type")->required();
    auto* actions = app.add_subcommand("actions", "List the actions legal for a record now");
    actions->add_option("ID", id, "record id")->required();
    auto* submit = app.add_subcommand("submit", "Submit a new record; prints its id");
    submit->add_option("TYPE", type, "record type")->required();
    submit->add_option("VALUES", pairs, "field=value ...")->check(kPair);
    auto* show = app.add_subcommand("show", "Show a record's fields");
    show->add_option("ID", id, "record id")->required();
    show->add_option("--format", format, "text or json")->check(CLI::IsMember({"text", "json"}));
    auto* edit = app.add_subcommand("edit", "Run an action on a record, setting values");
    edit->add_option("ID", id, "record id")->required();
    edit->add_option("ACTION", action, "action name")->required();
    edit->add_option("VALUES", pairs, "field=value ...")->check(kPair);
    auto* history = app.add_subcommand("history", "Show a record's history");
    history->add_option("ID", id, "record id")->required();
    auto* attach = app.add_subcommand("attach", "Attach a file to a record");
    attach->add_option("ID", id, "record id")->required();
    attach->add_option("FILE", file, "the file")->required();
    attach->add_option("--description", description, "what the file is");
    auto* fetch = app.add_subcommand("fetch", "Write an attachment of a record to a file");
    fetch->add_option("ID", id, "record id")->required();
    fetch->add_option("NAME", name, "the attachment's file name")->required();
    fetch->add_option("DEST", dest, "where to write it")->required();
    auto* duplicate = app.add_subcommand("duplicate", "Mark a record as a duplicate of another");
    duplicate->add_option("ID", id, "the duplicate's id")->required();
    duplicate->add_option("ORIGINAL", original, "the original's id")->required();

    Zt_Admin_Commands admin(app);
    Zt_Query_Commands query_commands;
    Zt_Add_Query_Commands(app, query_commands);

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error);
        return code == 0 ? 0 : 2;
    }
    if (admin.Chosen())
        return admin.Run();
    try {
        Tracker tracker;
        if (const int status = Zt_Run_Query(tracker.Session, query_commands); status >= 0)
            return status;
        if (types->parsed()) {
            for (const std::string& each : tracker.Types()) {
                ZTInt_LONG kind = 0;
                Check(ZTEntityDef_GetType(tracker.Def(each).get(), &kind));
                std::cout << each << "\t" << (kind == ZTInt_ENTITY_STATEFUL ? "stateful" : "stateless") << "\n";
            }
        } else if (fields->parsed()) {
            Entity_Def def = tracker.Def(type);
            char** names = nullptr;
            Check(ZTEntityDef_GetFieldDefNames(def.get(), &names));
            for (const std::string& field : Take(names)) {
                ZTInt_LONG field_type = 0;
                Check(ZTEntityDef_GetFieldDefType(def.get(), &field_type, field.c_str()));
                std::cout << field << "\t" << Type_Name(field_type) << "\n";
            }
        } else if (actions->parsed()) {
            char** names = nullptr;
            Check(ZTEntity_GetLegalActionDefNames(tracker.Get(id).get(), &names));
            for (const std::string& each : Take(names))
                std::cout << each << "\n";
        } else if (submit->parsed()) {
            ZTEntity* made = nullptr;
            Check(ZTSession_BuildEntity(tracker.Session, &made, type.c_str()));
            Entity entity(made);
            Set_Values(entity.get(), pairs);
            Commit(entity.get());
            std::cout << Value(entity.get(), "id") << "\n";
        } else if (show->parsed()) {
            Show(tracker, id, format);
        } else if (edit->parsed()) {
            Entity entity = tracker.Get(id);
            Check(ZTSession_EditEntity(tracker.Session, entity.get(), action.c_str()));
            Set_Values(entity.get(), pairs);
            Commit(entity.get());
            std::cout << id << "\t" << Value(entity.get(), "State") << "\n";
        } else if (history->parsed()) {
            History(tracker, id);
        } else if (attach->parsed()) {
            Entity entity = tracker.Get(id);
            const std::string field = Attachment_Field(entity.get());
            Check(ZTSession_EditEntity(tracker.Session, entity.get(),
                                       tracker.Action_Of_Type(entity.get(), ZTInt_ACTION_MODIFY).c_str()));
            char* reason = nullptr;
            const int32_t status = ZTEntity_AddAttachmentFieldValue(entity.get(), &reason, field.c_str(),
                                                                    file.c_str(), description.c_str());
            Check_Reason(status, reason);
            Commit(entity.get());
        } else if (fetch->parsed()) {
            Entity entity = tracker.Get(id);
            ZTInt_LONG size = 0;
            Check(ZTEntity_LoadAttachment(entity.get(), &size, Attachment_Field(entity.get()).c_str(), name.c_str(),
                                          dest.c_str()));
            std::cout << size << " bytes\n";
        } else if (duplicate->parsed()) {
            Entity entity = tracker.Get(id), of = tracker.Get(original);
            Check(ZTSession_MarkEntityAsDuplicate(tracker.Session, entity.get(), of.get(),
                                                  tracker.Action_Of_Type(entity.get(), ZTInt_ACTION_DUPLICATE).c_str()));
        }
    } catch (const Refused& refusal) {
        std::cerr << refusal.what() << "\n";
        return 1;
    }
    return 0;
}
