#include "server/model/mdl_session.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iterator>

#include "server/model/mdl_admin.h"
#include "server/model/mdl_values.h"

namespace {

constexpr int kIdDigits = 8;

// The columns of a record's row that Read_Head takes, the record it duplicates included.
constexpr char kRecordHead[] =
    "SELECT dbid, display_id, state, version, "
    "(SELECT original FROM zt_duplicates WHERE duplicate = zt_records.dbid) FROM zt_records ";

std::string Join(const std::vector<std::string>& values, const char* separator)
{
    std::string text;
    for (const std::string& value : values)
        text += (text.empty() && &value == &values.front() ? "" : separator) + value;
    return text;
}

// The number of characters of UTF-8 text (lead bytes counted).
std::size_t Characters(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

// The record as the store holds it: its values are the original ones, and no edit or
// change is pending.
void Mark_Unedited(Mdl_Record& record)
{
    record.Original = record.Values;
    record.Original_Attachments = record.Attachments;
    record.Action = nullptr;
    record.Journal_Entries.clear();
    record.Changed_Last_Set.clear();
    record.Changed_This_Group.clear();
}

std::string Base_Name(const std::string& path)
{
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::vector<unsigned char> Read_File(const std::string& path)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat facts;
    if (fd < 0 || fstat(fd, &facts) != 0 || !S_ISREG(facts.st_mode)) {
        const std::string why = fd < 0 ? std::strerror(errno) : "not a regular file";
        if (fd >= 0)
            close(fd);
        throw Mdl_Refusal("cannot read the attachment " + path + ": " + why);
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(facts.st_size));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = read(fd, bytes.data() + done, bytes.size() - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        done += static_cast<std::size_t>(got);
    }
    close(fd);
    if (done != bytes.size())
        throw Mdl_Refusal("cannot read the attachment " + path + ": it changed while read");
    return bytes;
}

}  // namespace

std::string Mdl_Now()
{
    const time_t now = std::time(nullptr);
    std::tm parts{};
    char buffer[32];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", gmtime_r(&now, &parts));
    return buffer;
}

// ---- reading --------------------------------------------------------------------

std::vector<std::string> Mdl_Session::User_Groups() const
{
    return Mdl_Member_Of(Store(), Db->Set, User.Login);
}

std::vector<std::string> Mdl_Session::Database_Sets() const
{
    Sto_Statement& query = Store().Prepare("SELECT name FROM zt_dbsets ORDER BY name");
    std::vector<std::string> sets;
    while (query.Next())
        sets.push_back(query.Text(0));
    return sets;
}

const Mdl_Record_Type& Mdl_Session::Type(const std::string& name) const
{
    const Mdl_Record_Type* type = Db->Schema.Type(name);
    if (type == nullptr)
        throw Mdl_Refusal("no record type \"" + name + "\" in database " + Db->Name);
    return *type;
}

const Mdl_Field_Def& Mdl_Session::Field(const Mdl_Record& record, const std::string& name) const
{
    const Mdl_Field_Def* field = record.Type->Field(name);
    if (field == nullptr)
        throw Mdl_Refusal("record type " + record.Type->Name + " has no field \"" + name + "\"");
    return *field;
}

std::shared_ptr<Mdl_Record> Mdl_Session::Build(const std::string& type_name)
{
    const Mdl_Record_Type& type = Type(type_name);
    auto record = std::make_shared<Mdl_Record>();
    record->Database = Db;
    record->Type = &type;
    record->Action = type.Action_Of_Type(ZTInt_ACTION_SUBMIT);
    const std::string now = Mdl_Now();
    for (const Mdl_Field_Def& field : type.Fields) {
        if (field.System || field.Default_Value.empty())
            continue;
        const std::string value = field.Default_Value == "$user"  ? User.Login
                                  : field.Default_Value == "$now" ? now
                                                                  : field.Default_Value;
        record->Values[field.Name] = {value};
    }
    return record;
}

std::shared_ptr<Mdl_Record> Mdl_Session::Load_Where(const std::string& type_name, const char* column,
                                                    const std::string& key)
{
    static const std::string by_id = std::string(kRecordHead) +
        "WHERE dbset = ? AND database = ? AND record_type = ? AND display_id = ?";
    static const std::string by_dbid = std::string(kRecordHead) +
        "WHERE dbset = ? AND database = ? AND record_type = ? AND dbid = ?";
    const bool is_dbid = std::strcmp(column, "dbid") == 0;
    const Mdl_Record_Type& type = Type(type_name);
    Sto_Statement& query = Store().Prepare(is_dbid ? by_dbid : by_id);
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, type.Name).Bind(4, key);
    if (!query.Next())
        throw Mdl_Refusal("no " + type.Name + " record with " + (is_dbid ? "dbid " : "id ") + key);
    auto record = std::make_shared<Mdl_Record>();
    record->Database = Db;
    record->Type = &type;
    Read_Head(*record, query);
    Read_Body(*record);
    return record;
}

std::shared_ptr<Mdl_Record> Mdl_Session::Load(const std::string& type_name, const std::string& display_id)
{
    return Load_Where(type_name, "display_id", display_id);
}

std::shared_ptr<Mdl_Record> Mdl_Session::Load(const std::string& type_name, int64_t dbid)
{
    return Load_Where(type_name, "dbid", std::to_string(dbid));
}

bool Mdl_Session::Exists(const std::string& type_name, const std::string& display_id)
{
    Sto_Statement& query = Store().Prepare(
        "SELECT 1 FROM zt_records WHERE dbset = ? AND database = ? AND record_type = ? AND display_id = ?");
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, Type(type_name).Name).Bind(4, display_id);
    return query.Next();
}

bool Mdl_Session::Exists(const std::string& type_name, int64_t dbid)
{
    Sto_Statement& query = Store().Prepare(
        "SELECT 1 FROM zt_records WHERE dbset = ? AND database = ? AND record_type = ? AND dbid = ?");
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, Type(type_name).Name).Bind(4, dbid);
    return query.Next();
}

int64_t Mdl_Session::Dbid_Of(const std::string& display_id)
{
    Sto_Statement& query = Store().Prepare(
        "SELECT dbid FROM zt_records WHERE dbset = ? AND database = ? AND display_id = ?");
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, display_id);
    if (!query.Next())
        throw Mdl_Refusal("no record with id " + display_id + " in database " + Db->Name);
    return query.Number(0);
}

std::string Mdl_Session::Display_Id_Of(int64_t dbid)
{
    Sto_Statement& query = Store().Prepare(
        "SELECT display_id FROM zt_records WHERE dbset = ? AND database = ? AND dbid = ?");
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, dbid);
    if (!query.Next())
        throw Mdl_Refusal("no record with dbid " + std::to_string(dbid) + " in database " + Db->Name);
    return query.Text(0);
}

void Mdl_Session::Read_Record(Mdl_Record& record)
{
    static const std::string sql = std::string(kRecordHead) + "WHERE dbid = ?";
    Sto_Statement& head = Store().Prepare(sql);
    head.Bind(1, record.Dbid);
    if (!head.Next())
        throw Mdl_Refusal("record " + record.Display_Id + " no longer exists");
    Read_Head(record, head);
    Read_Body(record);
}

void Mdl_Session::Read_Head(Mdl_Record& record, Sto_Statement& head)
{
    record.Dbid = head.Number(0);
    record.Display_Id = head.Text(1);
    record.State = head.Text(2);
    record.Version = head.Number(3);
    record.Original_Of = head.Is_Null(4) ? 0 : head.Number(4);
}

// The values and attachments of the record whose head is read.
void Mdl_Session::Read_Body(Mdl_Record& record)
{
    record.Values.clear();
    Sto_Statement& values = Store().Prepare(
        "SELECT field, value FROM zt_values WHERE record = ? ORDER BY field, position");
    values.Bind(1, record.Dbid);
    while (values.Next())
        record.Values[values.Text(0)].push_back(values.Text(1));
    record.Attachments.clear();
    Sto_Statement& attachments = Store().Prepare(
        "SELECT id, field, file_name, description, size FROM zt_attachments WHERE record = ? ORDER BY id");
    attachments.Bind(1, record.Dbid);
    while (attachments.Next())
        record.Attachments.push_back({attachments.Number(0), attachments.Text(1), attachments.Text(2),
                                      attachments.Text(3), "", attachments.Number(4)});
    Mark_Unedited(record);
}

std::vector<std::string> Mdl_Session::Values(const Mdl_Record& record, const std::string& name) const
{
    return Values_Of(record, name, {record.Values, record.Attachments, &record.Journal_Entries});
}

std::vector<std::string> Mdl_Session::Original_Values(const Mdl_Record& record,
                                                      const std::string& name) const
{
    return Values_Of(record, name, {record.Original, record.Original_Attachments, nullptr});
}

std::vector<std::string> Mdl_Session::Values_Of(const Mdl_Record& record, const std::string& name,
                                                const Mdl_Contents& contents) const
{
    const Mdl_Field_Def& field = Field(record, name);
    switch (field.Type) {
    case ZTInt_FIELD_ID:
        return record.Display_Id.empty() ? std::vector<std::string>{} : std::vector{record.Display_Id};
    case ZTInt_FIELD_DBID:
        return record.Dbid == 0 ? std::vector<std::string>{} : std::vector{std::to_string(record.Dbid)};
    case ZTInt_FIELD_STATE:
        return record.State.empty() ? std::vector<std::string>{} : std::vector{record.State};
    case ZTInt_FIELD_RECORD_TYPE:
        return {record.Type->Name};
    case ZTInt_FIELD_HISTORY:
        return {};
    case ZTInt_FIELD_ATTACHMENT_LIST: {
        std::vector<std::string> names;
        for (const Mdl_Attachment& attachment : contents.Attachments)
            if (attachment.Field == name)
                names.push_back(attachment.File_Name);
        return names;
    }
    case ZTInt_FIELD_JOURNAL: {
        const std::string text = Journal_Text(contents, name);
        return text.empty() ? std::vector<std::string>{} : std::vector{text};
    }
    default: {
        const auto found = contents.Values.find(name);
        return found != contents.Values.end() ? found->second : std::vector<std::string>{};
    }
    }
}

std::string Mdl_Session::Journal_Text(const Mdl_Contents& contents, const std::string& field) const
{
    const auto stored = contents.Values.find(field);
    std::string text = stored != contents.Values.end() && !stored->second.empty() ? stored->second[0] : "";
    if (contents.Journal_Entries == nullptr)
        return text;
    const auto added = contents.Journal_Entries->find(field);
    if (added != contents.Journal_Entries->end())
        text += (text.empty() ? "" : "\n") + added->second;
    return text;
}

ZTInt_Requiredness Mdl_Session::Requiredness(const Mdl_Record& record, const Mdl_Field_Def& field) const
{
    return field.Requiredness(record.Target_State());
}

std::string Mdl_Session::Field_Problem(const Mdl_Record& record, const Mdl_Field_Def& field) const
{
    if (field.System)
        return "";
    const std::vector<std::string> values = Values(record, field.Name);
    if (Requiredness(record, field) == ZTInt_MANDATORY && values.empty())
        return field.Name + ": a value is mandatory in state " +
               (record.Type->Stateful ? record.Target_State() : std::string("(none)"));
    return "";
}

std::string Mdl_Session::Validate(const Mdl_Record& record) const
{
    if (!record.Editable())
        return "";
    std::string lines;
    for (const Mdl_Field_Def& field : record.Type->Fields) {
        const std::string problem = Field_Problem(record, field);
        if (!problem.empty())
            lines += (lines.empty() ? "" : "\n") + problem;
    }
    return lines;
}

std::string Mdl_Session::Display_Name(const Mdl_Record& record) const
{
    std::vector<std::string> parts;
    for (const std::string& name : record.Type->Display_Fields) {
        const std::vector<std::string> values = Values(record, name);
        parts.push_back(values.empty() ? "" : values[0]);
    }
    return Join(parts, " ");
}

std::vector<std::string> Mdl_Session::Legal_Actions(const Mdl_Record& record) const
{
    std::vector<std::string> names;
    if (record.Dbid == 0)
        return names;
    for (const Mdl_Action_Def& action : record.Type->Actions) {
        const bool kind_fits = action.Type != ZTInt_ACTION_SUBMIT &&
                               (action.Type != ZTInt_ACTION_UNDUPLICATE || record.Original_Of != 0);
        if (kind_fits && action.Legal_From(record.State))
            names.push_back(action.Name);
    }
    return names;
}

// ---- editing --------------------------------------------------------------------

void Mdl_Session::Edit(Mdl_Record& record, const std::string& action_name)
{
    if (record.Editable())
        throw Mdl_Refusal("record " + record.Display_Id + " is already being edited under action " +
                          record.Action->Name);
    if (record.Deleted || record.Dbid == 0)
        throw Mdl_Refusal("the record is not stored");
    const Mdl_Action_Def* action = record.Type->Action(action_name);
    if (action == nullptr)
        throw Mdl_Refusal("record type " + record.Type->Name + " has no action \"" + action_name + "\"");
    const std::vector<std::string> legal = Legal_Actions(record);
    if (std::find(legal.begin(), legal.end(), action_name) == legal.end() ||
        action->Type == ZTInt_ACTION_DELETE)
        throw Mdl_Refusal("action " + action_name + " is not legal for record " + record.Display_Id +
                          (record.Type->Stateful ? " in state " + record.State : std::string()));
    record.Action = action;
}

void Mdl_Session::Revert(Mdl_Record& record)
{
    if (!record.Editable())
        throw Mdl_Refusal("record " + record.Display_Id + " is not being edited");
    record.Values = record.Original;
    record.Attachments = record.Original_Attachments;
    record.Journal_Entries.clear();
    record.Changed_Last_Set.clear();
    record.Changed_This_Group.clear();
    record.Action = nullptr;
}

void Mdl_Session::Reload(Mdl_Record& record)
{
    if (record.Editable())
        throw Mdl_Refusal("record " + record.Display_Id + " is being edited: commit or revert it first");
    if (record.Dbid == 0)
        throw Mdl_Refusal("the record is not stored");
    Read_Record(record);
}

const Mdl_Field_Def& Mdl_Session::Editable_Field(const Mdl_Record& record, const std::string& name) const
{
    const Mdl_Field_Def& field = Field(record, name);
    if (!record.Editable())
        throw Mdl_Refusal("record " + (record.Display_Id.empty() ? record.Type->Name : record.Display_Id) +
                          " is not being edited: start an action first");
    return field;
}

std::string Mdl_Session::Check_Value(const Mdl_Field_Def& field, const std::string& value) const
{
    const std::string at = field.Name + ": ";
    switch (field.Type) {
    case ZTInt_FIELD_SHORT_STRING:
        if (value.find('\n') != std::string::npos)
            return at + "a short string is one line";
        break;
    case ZTInt_FIELD_INTEGER:
        if (!Mdl_Is_Integer(value))
            return at + "\"" + value + "\" is not an integer";
        break;
    case ZTInt_FIELD_DATE_TIME:
        if (Mdl_Normal_Date_Time(value).empty())
            return at + "\"" + value + "\" is not a date and time (YYYY-MM-DD HH:MM:SS)";
        break;
    case ZTInt_FIELD_REFERENCE:
    case ZTInt_FIELD_REFERENCE_LIST:
        if (field.References == "users") {
            const std::optional<Mdl_User> user = Mdl_Read_User(Store(), Db->Set, value);
            if (!user || !user->Active)
                return at + "no active user \"" + value + "\"";
        } else {
            Sto_Statement& query = Store().Prepare(
                "SELECT 1 FROM zt_records WHERE dbset = ? AND database = ? AND record_type = ? "
                "AND display_id = ?");
            query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, field.References).Bind(4, value);
            if (!query.Next())
                return at + "no " + field.References + " record \"" + value + "\"";
        }
        break;
    default:
        break;
    }
    if (field.Max_Length > 0 && Characters(value) > static_cast<std::size_t>(field.Max_Length))
        return at + "the value is longer than " + std::to_string(field.Max_Length) + " characters";
    if (!field.Choices.empty() && !field.Open_Choices &&
        std::find(field.Choices.begin(), field.Choices.end(), value) == field.Choices.end())
        return at + "\"" + value + "\" is not in the choice list";
    return "";
}

std::string Mdl_Session::Assign(Mdl_Record& record, const Mdl_Field_Def& field,
                                std::vector<std::string> values)
{
    if (field.System || Requiredness(record, field) == ZTInt_READONLY)
        return field.Name + ": the field is read-only in action " + record.Action->Name;
    if (field.Type == ZTInt_FIELD_ATTACHMENT_LIST)
        return field.Name + ": attachments are added and deleted by their own calls";
    if (!field.Is_List() && values.size() > 1)
        return field.Name + ": the field takes one value";
    for (std::string& value : values) {
        const std::string problem = Check_Value(field, value);
        if (!problem.empty())
            return problem;
        if (field.Type == ZTInt_FIELD_DATE_TIME)
            value = Mdl_Normal_Date_Time(value);
    }
    record.Changed_Last_Set.clear();
    if (field.Type == ZTInt_FIELD_JOURNAL) {
        if (values.empty())
            record.Journal_Entries.erase(field.Name);
        else  // the entry's heading is fixed now, so that value and history agree
            record.Journal_Entries[field.Name] = "=== " + User.Login + " " + Mdl_Now() + " ===\n" + values[0];
    } else if (values.empty()) {
        record.Values.erase(field.Name);
    } else {
        record.Values[field.Name] = std::move(values);
    }
    record.Changed_Last_Set.insert(field.Name);
    record.Changed_This_Group.insert(field.Name);
    return "";
}

std::string Mdl_Session::Set_Value(Mdl_Record& record, const std::string& name, const std::string& value)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    if (value.empty())
        return Assign(record, field, {});
    return Assign(record, field, {value});
}

std::string Mdl_Session::Add_Value(Mdl_Record& record, const std::string& name, const std::string& value)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    if (!field.Is_List())
        return field.Name + ": the field takes one value; set it instead";
    std::vector<std::string> values = Values(record, name);
    if (std::find(values.begin(), values.end(), value) != values.end())
        return field.Name + ": \"" + value + "\" is in the list already";
    values.push_back(value);
    return Assign(record, field, std::move(values));
}

std::string Mdl_Session::Delete_Value(Mdl_Record& record, const std::string& name, const std::string& value)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    std::vector<std::string> values = Values(record, name);
    const auto found = std::find(values.begin(), values.end(), value);
    if (found == values.end())
        return field.Name + ": \"" + value + "\" is not a value of the field";
    values.erase(found);
    return Assign(record, field, std::move(values));
}

std::string Mdl_Session::Add_Attachment(Mdl_Record& record, const std::string& name,
                                        const std::string& path, const std::string& description)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    if (field.Type != ZTInt_FIELD_ATTACHMENT_LIST)
        return field.Name + ": not an attachment field";
    struct stat facts;
    if (stat(path.c_str(), &facts) != 0)
        return field.Name + ": cannot attach " + path + ": " + std::strerror(errno);
    if (!S_ISREG(facts.st_mode))
        return field.Name + ": cannot attach " + path + ": not a regular file";
    if (access(path.c_str(), R_OK) != 0)
        return field.Name + ": cannot attach " + path + ": " + std::strerror(errno);
    const std::string file_name = Base_Name(path);
    for (const Mdl_Attachment& attachment : record.Attachments)
        if (attachment.Field == name && attachment.File_Name == file_name)
            return field.Name + ": an attachment named " + file_name + " is there already";
    record.Attachments.push_back({0, name, file_name, description, path, facts.st_size});
    record.Changed_Last_Set = {name};
    record.Changed_This_Group.insert(name);
    return "";
}

std::string Mdl_Session::Delete_Attachment(Mdl_Record& record, const std::string& name,
                                           const std::string& file_name)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    const auto found = std::find_if(record.Attachments.begin(), record.Attachments.end(),
                                    [&](const Mdl_Attachment& attachment) {
                                        return attachment.Field == name && attachment.File_Name == file_name;
                                    });
    if (found == record.Attachments.end())
        return field.Name + ": no attachment named " + file_name;
    record.Attachments.erase(found);
    record.Changed_Last_Set = {name};
    record.Changed_This_Group.insert(name);
    return "";
}

std::string Mdl_Session::Describe_Attachment(Mdl_Record& record, const std::string& name,
                                             const std::string& file_name, const std::string& description)
{
    const Mdl_Field_Def& field = Editable_Field(record, name);
    for (Mdl_Attachment& attachment : record.Attachments)
        if (attachment.Field == name && attachment.File_Name == file_name) {
            attachment.Description = description;
            record.Changed_This_Group.insert(name);
            return "";
        }
    return field.Name + ": no attachment named " + file_name;
}

void Mdl_Session::Load_Attachment(const Mdl_Attachment& attachment, const std::string& path)
{
    if (attachment.Id == 0)
        throw Mdl_Refusal("attachment " + attachment.File_Name + " is not stored yet");
    Sto_Statement& query = Store().Prepare("SELECT data FROM zt_attachments WHERE id = ?");
    query.Bind(1, attachment.Id);
    if (!query.Next())
        throw Mdl_Refusal("attachment " + attachment.File_Name + " no longer exists");
    const std::vector<unsigned char> bytes = query.Blob(0);
    // Written beside the target and renamed over it: the file is whole or not there.
    std::string temporary = path + ".XXXXXX";
    const int fd = mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        throw Mdl_Refusal("cannot write " + path + ": " + std::strerror(errno));
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t wrote = write(fd, bytes.data() + done, bytes.size() - done);
        if (wrote < 0 && errno == EINTR)
            continue;
        if (wrote <= 0)
            break;
        done += static_cast<std::size_t>(wrote);
    }
    const bool whole = done == bytes.size() && fsync(fd) == 0;
    const int saved = errno;
    close(fd);
    if (!whole || rename(temporary.c_str(), path.c_str()) != 0) {
        const int reason = whole ? errno : saved;
        unlink(temporary.c_str());
        throw Mdl_Refusal("cannot write " + path + ": " + std::strerror(reason));
    }
}

// ---- storing --------------------------------------------------------------------

std::string Mdl_Session::Commit(Mdl_Record& record)
{
    if (!record.Editable())
        throw Mdl_Refusal("record " + record.Display_Id + " is not being edited");
    const std::string problems = Validate(record);
    if (!problems.empty())
        return problems;
    const std::string old_state = record.State;
    const std::string now = Mdl_Now();
    const Mdl_Record before = record;
    try {
        Sto_Transaction transaction(Store());
        Store_Record(record, now);
        Store_Values(record, before.Dbid == 0);
        Store_Attachments(record);
        Store_History(record, before.Dbid == 0 ? "" : old_state, now);
        transaction.Commit();
        Remember(record, before);
    } catch (const Mdl_Refusal& refusal) {
        record = before;
        return refusal.what();
    } catch (const Sto_Busy& busy) {
        record = before;
        return std::string("the store is busy; nothing was stored: ") + busy.what();
    } catch (...) {
        record = before;
        throw;
    }
    Settle(record);
    return "";
}

// What Read_Record would read back now: the journal entries joined to their fields,
// the edit's values and attachments as the original ones.
void Mdl_Session::Settle(Mdl_Record& record)
{
    for (const auto& [field, entry] : record.Journal_Entries) {
        std::string text = Journal_Text({record.Values, record.Attachments, &record.Journal_Entries}, field);
        record.Values[field] = {std::move(text)};
    }
    if (record.Action->Type == ZTInt_ACTION_UNDUPLICATE)
        record.Original_Of = 0;
    Mark_Unedited(record);
}

void Mdl_Session::Store_Record(Mdl_Record& record, const std::string& now)
{
    const std::string state = record.Type->Stateful ? record.Target_State() : "";
    if (record.Dbid == 0) {
        Sto_Statement& insert = Store().Prepare(
            "INSERT INTO zt_records(dbset, database, record_type, display_id, state, version, "
            "changed_by, changed_at) VALUES(?, ?, ?, ?, ?, 1, ?, ?) RETURNING dbid");
        insert.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, record.Type->Name)
            .Bind(4, "new:" + User.Login + ":" + now).Bind(5, state).Bind(6, User.Login).Bind(7, now);
        if (!insert.Next())
            throw Sto_Error("the store gave no id for a new record");
        record.Dbid = insert.Number(0);
        insert.Run();
        std::string digits = std::to_string(record.Dbid);
        digits.insert(0, digits.size() < kIdDigits ? kIdDigits - digits.size() : 0, '0');
        record.Display_Id = Db->Name + digits;
        Store().Prepare("UPDATE zt_records SET display_id = ? WHERE dbid = ?")
            .Bind(1, record.Display_Id).Bind(2, record.Dbid).Run();
        record.Version = 1;
        record.State = state;
        return;
    }
    Sto_Statement& update = Store().Prepare(
        "UPDATE zt_records SET state = ?, version = version + 1, changed_by = ?, changed_at = ? "
        "WHERE dbid = ? AND version = ? RETURNING version");
    update.Bind(1, state).Bind(2, User.Login).Bind(3, now).Bind(4, record.Dbid).Bind(5, record.Version);
    if (update.Next()) {
        record.Version = update.Number(0);
        update.Run();
        record.State = state;
        return;
    }
    Sto_Statement& who = Store().Prepare("SELECT changed_by, changed_at FROM zt_records WHERE dbid = ?");
    who.Bind(1, record.Dbid);
    if (!who.Next())
        throw Mdl_Refusal("record " + record.Display_Id + " was deleted since this edit began; nothing was stored");
    throw Mdl_Refusal("record " + record.Display_Id + " was changed by " + who.Text(0) + " at " +
                      who.Text(1) + " UTC since this edit began; nothing was stored: reload it and edit again");
}

void Mdl_Session::Store_Values(Mdl_Record& record, bool is_new)
{
    for (const Mdl_Field_Def& field : record.Type->Fields) {
        if (field.System || field.Type == ZTInt_FIELD_ATTACHMENT_LIST)
            continue;
        const std::vector<std::string> now = Values(record, field.Name);
        const std::vector<std::string> before = Original_Values(record, field.Name);
        if (now == before)
            continue;
        if (!is_new)
            Store().Prepare("DELETE FROM zt_values WHERE record = ? AND field = ?")
                .Bind(1, record.Dbid).Bind(2, field.Name).Run();
        int64_t position = 0;
        for (const std::string& value : now)
            Store().Prepare("INSERT INTO zt_values(record, field, position, value) VALUES(?, ?, ?, ?)")
                .Bind(1, record.Dbid).Bind(2, field.Name).Bind(3, position++).Bind(4, value).Run();
    }
}

void Mdl_Session::Store_Attachments(Mdl_Record& record)
{
    for (const Mdl_Attachment& old : record.Original_Attachments) {
        const auto kept = std::find_if(record.Attachments.begin(), record.Attachments.end(),
                                       [&](const Mdl_Attachment& a) { return a.Id == old.Id; });
        if (kept == record.Attachments.end())
            Store().Prepare("DELETE FROM zt_attachments WHERE id = ?").Bind(1, old.Id).Run();
        else if (kept->Description != old.Description)
            Store().Prepare("UPDATE zt_attachments SET description = ? WHERE id = ?")
                .Bind(1, kept->Description).Bind(2, old.Id).Run();
    }
    for (Mdl_Attachment& added : record.Attachments) {
        if (added.Id != 0)
            continue;
        const std::vector<unsigned char> bytes = Read_File(added.Path);
        Sto_Statement& insert = Store().Prepare(
            "INSERT INTO zt_attachments(record, field, file_name, description, size, data) "
            "VALUES(?, ?, ?, ?, ?, ?) RETURNING id");
        insert.Bind(1, record.Dbid).Bind(2, added.Field).Bind(3, added.File_Name).Bind(4, added.Description)
            .Bind(5, static_cast<int64_t>(bytes.size())).Bind_Blob(6, bytes);
        if (!insert.Next())
            throw Sto_Error("the store gave no id for an attachment");
        added.Id = insert.Number(0);
        insert.Run();
        added.Size = static_cast<int64_t>(bytes.size());
        added.Path.clear();
    }
}

void Mdl_Session::Store_History(Mdl_Record& record, const std::string& old_state, const std::string& now)
{
    Sto_Statement& insert = Store().Prepare(
        "INSERT INTO zt_history(record, at, \"user\", action, old_state, new_state) "
        "VALUES(?, ?, ?, ?, ?, ?) RETURNING id");
    insert.Bind(1, record.Dbid).Bind(2, now).Bind(3, User.Login).Bind(4, record.Action->Name)
        .Bind(5, old_state).Bind(6, record.State);
    if (!insert.Next())
        throw Sto_Error("the store gave no id for a history entry");
    const int64_t history = insert.Number(0);
    insert.Run();
    for (const Mdl_Field_Def& field : record.Type->Fields) {
        if (field.System)
            continue;
        const std::string after = Join(Values(record, field.Name), "\n");
        const std::string before = Join(Original_Values(record, field.Name), "\n");
        if (after != before)
            Store().Prepare("INSERT INTO zt_history_changes(history, field, old_value, new_value) "
                            "VALUES(?, ?, ?, ?)")
                .Bind(1, history).Bind(2, field.Name).Bind(3, before).Bind(4, after).Run();
    }
    const auto duplicate = record.Action->Type;
    if (duplicate == ZTInt_ACTION_DUPLICATE && record.Original_Of != 0)
        Store().Prepare("INSERT INTO zt_duplicates(duplicate, original) VALUES(?, ?) "
                        "ON CONFLICT(duplicate) DO UPDATE SET original = excluded.original")
            .Bind(1, record.Dbid).Bind(2, record.Original_Of).Run();
    else if (duplicate == ZTInt_ACTION_UNDUPLICATE)
        Store().Prepare("DELETE FROM zt_duplicates WHERE duplicate = ?").Bind(1, record.Dbid).Run();
}

std::string Mdl_Session::Delete(Mdl_Record& record, const std::string& action_name)
{
    if (record.Editable())
        throw Mdl_Refusal("record " + record.Display_Id + " is being edited: commit or revert it first");
    const Mdl_Action_Def* action = record.Type->Action(action_name);
    if (action == nullptr || action->Type != ZTInt_ACTION_DELETE)
        throw Mdl_Refusal("\"" + action_name + "\" is no delete action of record type " + record.Type->Name);
    if (record.Dbid == 0 || !action->Legal_From(record.State))
        return "action " + action_name + " is not legal for record " + record.Display_Id;
    Sto_Transaction transaction(Store());
    Sto_Statement& references = Store().Prepare(
        "SELECT 1 FROM zt_duplicates WHERE original = ?");
    references.Bind(1, record.Dbid);
    if (references.Next())
        return "record " + record.Display_Id + " has duplicates; unmark them first";
    Sto_Statement& remove = Store().Prepare("DELETE FROM zt_records WHERE dbid = ? AND version = ? RETURNING dbid");
    remove.Bind(1, record.Dbid).Bind(2, record.Version);
    if (!remove.Next())
        return "record " + record.Display_Id + " was changed or deleted since it was read; nothing was deleted";
    remove.Run();
    transaction.Commit();
    Remember(record, record);
    record.Deleted = true;
    return "";
}

std::string Mdl_Session::Mark_Duplicate(Mdl_Record& duplicate, const Mdl_Record& original,
                                        const std::string& action_name)
{
    if (original.Dbid == 0 || original.Dbid == duplicate.Dbid)
        throw Mdl_Refusal("a record is a duplicate of another stored record");
    if (original.Original_Of != 0)
        throw Mdl_Refusal("record " + original.Display_Id + " is itself a duplicate");
    Edit(duplicate, action_name);
    if (duplicate.Action->Type != ZTInt_ACTION_DUPLICATE) {
        duplicate.Action = nullptr;
        throw Mdl_Refusal("action " + action_name + " is no duplicate action");
    }
    const int64_t was = duplicate.Original_Of;
    duplicate.Original_Of = original.Dbid;
    const std::string result = Commit(duplicate);
    if (!result.empty()) {
        Revert(duplicate);
        duplicate.Original_Of = was;
    }
    return result;
}

std::string Mdl_Session::Unmark_Duplicate(Mdl_Record& duplicate, const std::string& action_name)
{
    Edit(duplicate, action_name);
    if (duplicate.Action->Type != ZTInt_ACTION_UNDUPLICATE) {
        duplicate.Action = nullptr;
        throw Mdl_Refusal("action " + action_name + " is no unduplicate action");
    }
    const std::string result = Commit(duplicate);
    if (!result.empty())
        Revert(duplicate);
    return result;
}

std::vector<int64_t> Mdl_Session::Duplicates_Of(int64_t dbid)
{
    Sto_Statement& query = Store().Prepare("SELECT duplicate FROM zt_duplicates WHERE original = ? ORDER BY duplicate");
    query.Bind(1, dbid);
    std::vector<int64_t> duplicates;
    while (query.Next())
        duplicates.push_back(query.Number(0));
    return duplicates;
}

std::vector<Mdl_History_Entry> Mdl_Session::History(const Mdl_Record& record)
{
    std::vector<Mdl_History_Entry> entries;
    if (record.Dbid == 0)
        return entries;
    Sto_Statement& query = Store().Prepare(
        "SELECT id, at, \"user\", action, old_state, new_state FROM zt_history WHERE record = ? ORDER BY id");
    query.Bind(1, record.Dbid);
    while (query.Next())
        entries.push_back({query.Number(0), query.Text(1), query.Text(2), query.Text(3), query.Text(4),
                           query.Text(5), {}});
    for (Mdl_History_Entry& entry : entries) {
        Sto_Statement& changes = Store().Prepare(
            "SELECT field, old_value, new_value FROM zt_history_changes WHERE history = ? ORDER BY rowid");
        changes.Bind(1, entry.Id);
        while (changes.Next())
            entry.Changes.push_back(changes.Text(0) + ": " + changes.Text(1) + " -> " + changes.Text(2));
    }
    return entries;
}

// ---- the session's transaction -------------------------------------------------

void Mdl_Session::Begin_Transaction()
{
    if (Own != nullptr)
        throw Mdl_Refusal("a transaction is open already in this session; transactions do not nest");
    std::unique_ptr<Sto_Connection> own = Db->Store->Open_Sibling();
    own->Begin();
    Own = std::move(own);
}

void Mdl_Session::End_Transaction(bool commit)
{
    if (Own == nullptr)
        throw Mdl_Refusal("no transaction is open in this session");
    if (!commit) {
        Abandon_Transaction();
        return;
    }
    try {
        Own->Commit();
    } catch (const Sto_Error& failure) {
        Abandon_Transaction();
        throw Mdl_Refusal(std::string("the transaction could not be committed and was rolled back: ") +
                          failure.what());
    }
    Own.reset();
    Stored_In_Transaction.clear();
}

void Mdl_Session::Abandon_Transaction() noexcept
{
    if (Own == nullptr)
        return;
    Own->Rollback();
    Own.reset();
    Restore_Remembered();
}

void Mdl_Session::Remember(Mdl_Record& record, const Mdl_Record& before)
{
    if (Own == nullptr)
        return;
    const std::weak_ptr<Mdl_Record> handle = record.weak_from_this();
    for (const auto& [known, state] : Stored_In_Transaction)
        if (!known.owner_before(handle) && !handle.owner_before(known))
            return;  // the first state is the one to return to
    Stored_In_Transaction.emplace_back(handle, before);
}

void Mdl_Session::Restore_Remembered() noexcept
{
    for (auto& [known, state] : Stored_In_Transaction)
        if (const std::shared_ptr<Mdl_Record> record = known.lock())
            *record = std::move(state);
    Stored_In_Transaction.clear();
}

// ---- list definitions -----------------------------------------------------------

std::vector<std::string> Mdl_Session::List_Names()
{
    Sto_Statement& query = Store().Prepare(
        "SELECT DISTINCT name FROM zt_lists WHERE dbset = ? AND database = ? ORDER BY name");
    query.Bind(1, Db->Set).Bind(2, Db->Name);
    std::vector<std::string> names;
    while (query.Next())
        names.push_back(query.Text(0));
    return names;
}

std::vector<std::string> Mdl_Session::List_Members(const std::string& name)
{
    Sto_Statement& query = Store().Prepare(
        "SELECT member FROM zt_lists WHERE dbset = ? AND database = ? AND name = ? ORDER BY position");
    query.Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, name);
    std::vector<std::string> members;
    while (query.Next())
        members.push_back(query.Text(0));
    return members;
}

void Mdl_Session::Set_List_Members(const std::string& name, const std::vector<std::string>& members)
{
    if (!User.Super_User)
        throw Mdl_Refusal("only a superuser changes list definitions");
    if (name.empty())
        throw Mdl_Refusal("a list needs a name");
    Sto_Transaction transaction(Store());
    Store().Prepare("DELETE FROM zt_lists WHERE dbset = ? AND database = ? AND name = ?")
        .Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, name).Run();
    int64_t position = 0;
    for (const std::string& member : members)
        Store().Prepare("INSERT INTO zt_lists(dbset, database, name, position, member) VALUES(?, ?, ?, ?, ?)")
            .Bind(1, Db->Set).Bind(2, Db->Name).Bind(3, name).Bind(4, position++).Bind(5, member).Run();
    transaction.Commit();
}
