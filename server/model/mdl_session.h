// Mdl_Session: a user's logged-on view of one user database, and the life of its
// records: build, load, edit under an action, set values, validate, commit (the record,
// its history entry and its attachments in one transaction, with an optimistic check
// of the record's version), revert, reload, delete, duplicates.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "server/model/mdl_store.h"

struct Mdl_Attachment {
    int64_t Id = 0;  // 0 while only added to the edit
    std::string Field, File_Name, Description, Path;  // Path: where an added one is read from
    int64_t Size = 0;
};

struct Mdl_History_Entry {
    int64_t Id = 0;
    std::string At, User, Action, Old_State, New_State;
    std::vector<std::string> Changes;  // "Field: old -> new"
};

// Records live in shared_ptrs (Build, Load), so that a session's transaction can find
// again the ones it stored.
struct Mdl_Record : std::enable_shared_from_this<Mdl_Record> {
    std::shared_ptr<const Mdl_Database> Database;
    const Mdl_Record_Type* Type = nullptr;
    int64_t Dbid = 0;  // 0 until first stored
    std::string Display_Id, State;
    int64_t Version = 0;
    std::map<std::string, std::vector<std::string>> Values, Original;  // schema fields
    std::vector<Mdl_Attachment> Attachments, Original_Attachments;
    int64_t Original_Of = 0;  // the dbid of the record this one duplicates, 0 if none

    // The edit under way; NULL when the record is a snapshot.
    const Mdl_Action_Def* Action = nullptr;
    std::map<std::string, std::string> Journal_Entries;  // added by this edit, with heading
    std::set<std::string> Changed_Last_Set, Changed_This_Group;
    bool Deleted = false;

    bool Editable() const { return Action != nullptr; }
    // The state the record is in once the edit is done.
    std::string Target_State() const { return Action != nullptr ? Action->Destination(State) : State; }
};

class Mdl_Session {
public:
    Mdl_Session(std::shared_ptr<const Mdl_Database> database, Mdl_User user)
        : Db(std::move(database)), User(std::move(user))
    {
    }
    ~Mdl_Session() { Abandon_Transaction(); }
    Mdl_Session(const Mdl_Session&) = delete;
    Mdl_Session& operator=(const Mdl_Session&) = delete;

    // The session's transaction. Inside it, each commit (and delete) of the session
    // is written to the store but seen by other sessions only when the transaction
    // ends with commit; ending it with rollback, or the session's end while it is
    // open, takes all of them back, and the records the session committed return to
    // the edit they were in before their commit. The session works on a connection of
    // its own meanwhile, which holds the store's write lock: a write by another
    // session of this server is refused at once instead of waiting (the server is
    // single-threaded: that wait would never end). Transactions do not nest: a
    // second Begin is refused.
    void Begin_Transaction();
    void End_Transaction(bool commit);
    // Rolls back an open transaction; nothing otherwise.
    void Abandon_Transaction() noexcept;
    bool In_Transaction() const { return Own != nullptr; }

    // The connection the session reads and writes through.
    Sto_Connection& Store() const { return Own != nullptr ? *Own : *Db->Store; }

    const Mdl_Database& Database() const { return *Db; }
    const Mdl_Schema& Schema() const { return Db->Schema; }
    const Mdl_User& Current_User() const { return User; }
    std::vector<std::string> User_Groups() const;
    std::vector<std::string> Database_Sets() const;

    // Each of these throws Mdl_Refusal with the text for the caller when the request
    // itself is wrong (no such type, record, field or action).
    std::shared_ptr<Mdl_Record> Build(const std::string& type_name);
    std::shared_ptr<Mdl_Record> Load(const std::string& type_name, const std::string& display_id);
    std::shared_ptr<Mdl_Record> Load(const std::string& type_name, int64_t dbid);
    bool Exists(const std::string& type_name, const std::string& display_id);
    bool Exists(const std::string& type_name, int64_t dbid);
    int64_t Dbid_Of(const std::string& display_id);
    std::string Display_Id_Of(int64_t dbid);

    void Edit(Mdl_Record& record, const std::string& action_name);
    void Revert(Mdl_Record& record);
    void Reload(Mdl_Record& record);

    // "" when the value is taken, else the reason it is refused (nothing changes).
    [[nodiscard]] std::string Set_Value(Mdl_Record& record, const std::string& field, const std::string& value);
    [[nodiscard]] std::string Add_Value(Mdl_Record& record, const std::string& field, const std::string& value);
    [[nodiscard]] std::string Delete_Value(Mdl_Record& record, const std::string& field, const std::string& value);
    [[nodiscard]] std::string Add_Attachment(Mdl_Record& record, const std::string& field, const std::string& path,
                               const std::string& description);
    [[nodiscard]] std::string Delete_Attachment(Mdl_Record& record, const std::string& field,
                                  const std::string& file_name);
    [[nodiscard]] std::string Describe_Attachment(Mdl_Record& record, const std::string& field,
                                    const std::string& file_name, const std::string& description);
    // Writes a stored attachment's bytes to path, whole or not at all.
    void Load_Attachment(const Mdl_Attachment& attachment, const std::string& path);

    // The values of a field as the record shows them now (system fields too).
    std::vector<std::string> Values(const Mdl_Record& record, const std::string& field) const;
    std::vector<std::string> Original_Values(const Mdl_Record& record, const std::string& field) const;
    // "" when the field's value is acceptable in the record's target state, else why not.
    [[nodiscard]] std::string Field_Problem(const Mdl_Record& record, const Mdl_Field_Def& field) const;
    ZTInt_Requiredness Requiredness(const Mdl_Record& record, const Mdl_Field_Def& field) const;
    [[nodiscard]] std::string Validate(const Mdl_Record& record) const;
    std::string Display_Name(const Mdl_Record& record) const;
    std::vector<std::string> Legal_Actions(const Mdl_Record& record) const;

    // "" when stored, else the reason; a refused commit stores nothing.
    [[nodiscard]] std::string Commit(Mdl_Record& record);
    // Deletes a stored record by a delete action: "" or the reason.
    [[nodiscard]] std::string Delete(Mdl_Record& record, const std::string& action_name);
    // Marks duplicate as a duplicate of original (or no longer one) by the action, and
    // commits it.
    [[nodiscard]] std::string Mark_Duplicate(Mdl_Record& duplicate, const Mdl_Record& original,
                               const std::string& action_name);
    [[nodiscard]] std::string Unmark_Duplicate(Mdl_Record& duplicate, const std::string& action_name);
    std::vector<int64_t> Duplicates_Of(int64_t dbid);

    std::vector<Mdl_History_Entry> History(const Mdl_Record& record);

    // Named lists of the database (list definitions). A list exists while it has
    // members; only a superuser changes them.
    std::vector<std::string> List_Names();
    std::vector<std::string> List_Members(const std::string& name);
    void Set_List_Members(const std::string& name, const std::vector<std::string>& members);

    // Name values: the session's own small key-value store, kept in memory.
    std::map<std::string, std::string> Name_Values;

    const Mdl_Field_Def& Field(const Mdl_Record& record, const std::string& name) const;
    const Mdl_Record_Type& Type(const std::string& name) const;

private:
    // Keeps the state of a record from before its first commit in the transaction.
    void Remember(Mdl_Record& record, const Mdl_Record& before);
    void Restore_Remembered() noexcept;
    std::shared_ptr<Mdl_Record> Load_Where(const std::string& type_name, const char* column,
                                           const std::string& key);
    void Read_Record(Mdl_Record& record);
    void Read_Head(Mdl_Record& record, Sto_Statement& head);
    void Read_Body(Mdl_Record& record);
    // After a commit: the record as stored, without reading it back.
    void Settle(Mdl_Record& record);
    const Mdl_Field_Def& Editable_Field(const Mdl_Record& record, const std::string& name) const;
    std::string Check_Value(const Mdl_Field_Def& field, const std::string& value) const;
    std::string Assign(Mdl_Record& record, const Mdl_Field_Def& field, std::vector<std::string> values);
    void Store_Record(Mdl_Record& record, const std::string& now);
    void Store_Values(Mdl_Record& record, bool is_new);
    void Store_Attachments(Mdl_Record& record);
    void Store_History(Mdl_Record& record, const std::string& old_state, const std::string& now);
    // What a record holds now, or held when its edit began.
    struct Mdl_Contents {
        const std::map<std::string, std::vector<std::string>>& Values;
        const std::vector<Mdl_Attachment>& Attachments;
        const std::map<std::string, std::string>* Journal_Entries;  // NULL for the original
    };
    std::vector<std::string> Values_Of(const Mdl_Record& record, const std::string& name,
                                       const Mdl_Contents& contents) const;
    std::string Journal_Text(const Mdl_Contents& contents, const std::string& field) const;

    std::shared_ptr<const Mdl_Database> Db;
    Mdl_User User;
    std::unique_ptr<Sto_Connection> Own;  // while a transaction is open
    std::vector<std::pair<std::weak_ptr<Mdl_Record>, Mdl_Record>> Stored_In_Transaction;
};

// A request the model cannot carry out; its text is for the caller.
class Mdl_Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Now, UTC, as the date-time fields keep it: "YYYY-MM-DD HH:MM:SS".
std::string Mdl_Now();
