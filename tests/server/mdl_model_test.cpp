// The tracking model on its own: schema files, the store's place and modes, users,
// and what a refused commit leaves behind.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <tuple>
#include <regex>

#include "server/model/mdl_session.h"
#include "server/model/mdl_values.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_store.h"

namespace {

const std::string kSample = ZTINT_SOURCE_DIR "/server/schemas/sample.json";

std::string Schema_With(const std::string& type)
{
    return R"({"format": 1, "name": "t", "record_types": [)" + type + "]}";
}

TEST(Mdl_Schema_Test, TheSampleSchemaHasItsTypes)
{
    const Mdl_Schema schema = Mdl_Schema::Load(kSample);
    const Mdl_Record_Type* defect = schema.Type("Defect");
    ASSERT_NE(defect, nullptr);
    EXPECT_TRUE(defect->Stateful);
    EXPECT_EQ(defect->States.size(), 7u);
    EXPECT_EQ(defect->Action_Names(),
              (std::vector<std::string>{"Submit", "Assign", "Open", "Resolve", "Close", "Re_open", "Postpone",
                                        "Duplicate", "Unduplicate", "Modify", "Delete"}));
    for (const char* field : {"id", "dbid", "State", "record_type", "history", "Headline", "Description",
                              "Severity", "Priority", "Owner", "Submitter", "Submit_Date", "Resolution",
                              "Notes", "Attachments", "Related"})
        EXPECT_NE(defect->Field(field), nullptr) << field;
    EXPECT_EQ(defect->Field("Resolution")->Requiredness("Resolved"), ZTInt_MANDATORY);
    EXPECT_EQ(defect->Field("Resolution")->Requiredness("Opened"), ZTInt_OPTIONAL);
    ASSERT_NE(schema.Type("Project"), nullptr);
    EXPECT_FALSE(schema.Type("Customer")->Stateful);
    EXPECT_EQ(schema.Type("Customer")->Field("State"), nullptr);
}

TEST(Mdl_Schema_Test, BrokenSchemasAreRefusedWithTheReason)
{
    const std::string submit = R"("actions": [{"name": "Submit", "type": "submit"}])";
    const struct {
        std::string Text;
        std::string Reason;
    } cases[] = {
        {"{", "not a JSON document"},
        {R"({"format": 2, "name": "t"})", "not a schema of format 1"},
        {Schema_With(R"({"kind": "stateless", )" + submit + "}"), "record type: \"name\" is missing"},
        {Schema_With(R"({"name": "A", "kind": "odd", )" + submit + "}"), "kind is stateful or stateless"},
        {Schema_With(R"({"name": "A", "kind": "stateless", "fields": [{"name": "f", "type": "blob"}], )" +
                     submit + "}"),
         "record type A, field f: unknown value \"blob\""},
        {Schema_With(R"({"name": "A", "kind": "stateless", "fields": [{"name": "f", "type": "integer"},
                       {"name": "f", "type": "integer"}], )" + submit + "}"),
         "field f is defined twice"},
        {Schema_With(R"({"name": "A", "kind": "stateful", "states": ["S"],
                       "actions": [{"name": "Submit", "type": "submit", "to": "T"}]})"),
         "record type A, action Submit: no state T"},
        {Schema_With(R"({"name": "A", "kind": "stateless", "fields": [{"name": "r", "type": "reference",
                       "references": "B"}], )" + submit + "}"),
         "record type A, field r: no record type B"},
        {Schema_With(R"({"name": "A", "kind": "stateless"})"), "record type A: no submit action"},
        {Schema_With(R"({"name": "A", "kind": "stateless", "fields": [{"name": "id", "type": "id"}], )" +
                     submit + "}"),
         "the type is the server's own"},
    };
    for (const auto& c : cases) {
        try {
            Mdl_Schema::Parse(c.Text);
            ADD_FAILURE() << "taken: " << c.Text;
        } catch (const Mdl_Schema_Error& error) {
            EXPECT_NE(std::string(error.what()).find(c.Reason), std::string::npos)
                << error.what() << "\nexpected: " << c.Reason;
        }
    }
}

TEST(Mdl_Password_Test, HashesAreSaltedAndVerified)
{
    const std::string first = Mdl_Hash_Password("secret"), second = Mdl_Hash_Password("secret");
    EXPECT_NE(first, second);
    EXPECT_EQ(first.find("secret"), std::string::npos);
    EXPECT_TRUE(Mdl_Password_Matches(first, "secret"));
    EXPECT_FALSE(Mdl_Password_Matches(first, "Secret"));
    EXPECT_FALSE(Mdl_Password_Matches("not a hash", "secret"));
}

class Mdl_Store_Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        Store = Test_Store.Location;
        ASSERT_FALSE(Store.empty()) << "ZTT_E2E_STORE=postgresql needs the cluster of scripts/pg-cluster.sh (ZTT_PG)";
        setenv("ZT_SERVER_STORE", Store.c_str(), 1);
    }

    std::shared_ptr<Mdl_Session> Logon(const std::string& user = "zentrak", const std::string& password = "zentrak")
    {
        return Server.Logon({user, password, "DEMO", "MASTER"}, Refusal);
    }

    int64_t Count(const std::string& sql)
    {
        auto store = Sto_Open(Store);
        Sto_Statement& query = store->Prepare(sql);
        return query.Next() ? query.Number(0) : -1;
    }

    ZTInt_Temp_Dir Temp;
    ZTInt_Test_Store Test_Store{Temp.Path};
    std::string Store, Refusal;
    Mdl_Server Server{{Svr_Users::Default_Store(), kSample}};
};

TEST_F(Mdl_Store_Test, InactiveUsersAreRefused)
{
    ASSERT_NE(Logon(), nullptr) << Refusal;
    Sto_Open(Store)->Prepare("UPDATE zt_users SET active = 0 WHERE login = 'zentrak'").Run();
    EXPECT_EQ(Logon(), nullptr);
    EXPECT_EQ(Refusal, "ztintsvr: logon refused for user \"zentrak\": the user is inactive");
    EXPECT_EQ(Logon("zentrak", "wrong"), nullptr);
    EXPECT_EQ(Refusal, "ztintsvr: logon refused for user \"zentrak\": wrong user name or password");
}

TEST_F(Mdl_Store_Test, TheDefaultStoreIsAPrivateFilePerDatabaseSet)
{
    if (ZTInt_Test_Store::On_Postgres())
        GTEST_SKIP() << "the default store is a SQLite file";
    unsetenv("ZT_SERVER_STORE");
    setenv("XDG_DATA_HOME", (Temp.Path + "/data").c_str(), 1);
    ASSERT_NE(Logon(), nullptr) << Refusal;
    struct stat facts;
    ASSERT_EQ(stat((Temp.Path + "/data/ztintsvr").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700u);
    ASSERT_EQ(stat((Temp.Path + "/data/ztintsvr/MASTER.db").c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
    // A set named nowhere makes no file.
    EXPECT_EQ(Server.Logon({"zentrak", "zentrak", "DEMO", "OTHER"}, Refusal), nullptr);
    EXPECT_EQ(Refusal, "ztintsvr: logon refused for user \"zentrak\": no database \"DEMO\" in database set \"OTHER\"");
    EXPECT_NE(stat((Temp.Path + "/data/ztintsvr/OTHER.db").c_str(), &facts), 0);
    EXPECT_EQ(Server.Logon({"zentrak", "zentrak", "DEMO", "../x"}, Refusal), nullptr);
    unsetenv("XDG_DATA_HOME");
}

TEST_F(Mdl_Store_Test, RefusedCommitsLeaveNoTrace)
{
    auto session = Logon();
    ASSERT_NE(session, nullptr) << Refusal;
    // A new record whose attachment is gone by commit time: nothing of it is stored.
    auto fresh = session->Build("Defect");
    EXPECT_EQ(session->Set_Value(*fresh, "Headline", "never stored"), "");
    std::ofstream(Temp.Path + "/gone") << "x";
    EXPECT_EQ(session->Add_Attachment(*fresh, "Attachments", Temp.Path + "/gone", ""), "");
    std::remove((Temp.Path + "/gone").c_str());
    EXPECT_NE(session->Commit(*fresh), "");
    EXPECT_EQ(fresh->Dbid, 0);
    EXPECT_TRUE(fresh->Editable());
    EXPECT_EQ(Count("SELECT count(*) FROM zt_records"), 0);
    EXPECT_EQ(Count("SELECT count(*) FROM zt_values"), 0);

    // A stored record edited twice: the loser writes nothing.
    EXPECT_EQ(session->Delete_Attachment(*fresh, "Attachments", "gone"), "");
    ASSERT_EQ(session->Commit(*fresh), "");
    auto first = session->Load("Defect", fresh->Display_Id), second = session->Load("Defect", fresh->Dbid);
    session->Edit(*first, "Modify");
    session->Edit(*second, "Assign");
    EXPECT_EQ(session->Set_Value(*first, "Headline", "first"), "");
    EXPECT_EQ(session->Set_Value(*second, "Owner", "zentrak"), "");
    ASSERT_EQ(session->Commit(*first), "");
    EXPECT_NE(session->Commit(*second), "");
    EXPECT_EQ(second->State, "Submitted");
    EXPECT_EQ(Count("SELECT count(*) FROM zt_history"), 2);
    EXPECT_EQ(Count("SELECT count(*) FROM zt_values WHERE field = 'Owner'"), 0);
    EXPECT_EQ(Count("SELECT version FROM zt_records"), 2);
    // The integrity query: no history, value or attachment without its record.
    EXPECT_EQ(Count("SELECT (SELECT count(*) FROM zt_history WHERE record NOT IN (SELECT dbid FROM zt_records))"
                    " + (SELECT count(*) FROM zt_values WHERE record NOT IN (SELECT dbid FROM zt_records))"
                    " + (SELECT count(*) FROM zt_history_changes WHERE history NOT IN (SELECT id FROM zt_history))"),
              0);
}

}  // namespace

namespace {

TEST(Mdl_Password_Test, VerifiedPasswordsAreRememberedOnlyForTheirHash)
{
    Mdl_Verified_Passwords verified;
    const std::string hash = Mdl_Hash_Password("secret"), other = Mdl_Hash_Password("other");
    const struct {
        const std::string& Hash;
        const char* Password;
        bool Matches;
    } cases[] = {
        {hash, "secret", true}, {hash, "secret", true},  // the second from memory
        {hash, "Secret", false}, {other, "secret", false},  // a changed hash forgets the first
        {other, "other", true}, {hash, "other", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(verified.Matches("MASTER\nann", c.Hash, c.Password), c.Matches) << c.Password;
}

}  // namespace

namespace {

TEST_F(Mdl_Store_Test, JournalEntriesAccumulateUnderTheirHeadings)
{
    auto session = Logon();
    ASSERT_NE(session, nullptr) << Refusal;
    auto record = session->Build("Defect");
    EXPECT_EQ(session->Set_Value(*record, "Headline", "journal"), "");
    EXPECT_EQ(session->Set_Value(*record, "Notes", "first"), "");
    ASSERT_EQ(session->Commit(*record), "");
    session->Edit(*record, "Modify");
    EXPECT_EQ(session->Set_Value(*record, "Notes", "second; with 'quotes'"), "");
    ASSERT_EQ(session->Commit(*record), "");
    const std::vector<std::string> notes = session->Values(*record, "Notes");
    ASSERT_EQ(notes.size(), 1u);
    const std::regex form("=== zentrak [0-9-]+ [0-9:]+ ===\nfirst\n=== zentrak [0-9-]+ [0-9:]+ ===\n"
                          "second; with 'quotes'");
    EXPECT_TRUE(std::regex_match(notes[0], form)) << notes[0];
    const std::vector<Mdl_History_Entry> history = session->History(*record);
    ASSERT_EQ(history.size(), 2u);
    ASSERT_EQ(history[1].Changes.size(), 1u);
    EXPECT_EQ(history[1].Changes[0].substr(history[1].Changes[0].rfind(" -> ") + 4), notes[0]);
}

}  // namespace

namespace {

// A committed record is not read back: what it holds in memory must be what a fresh
// load of it gives, whatever the commit changed.
TEST_F(Mdl_Store_Test, ACommittedRecordHoldsWhatALoadReadsBack)
{
    auto session = Logon();
    ASSERT_NE(session, nullptr) << Refusal;
    std::ofstream(Temp.Path + "/log.txt") << "twelve bytes";
    auto original = session->Build("Defect");
    EXPECT_EQ(session->Set_Value(*original, "Headline", "the original"), "");
    ASSERT_EQ(session->Commit(*original), "");
    auto record = session->Build("Defect");

    struct Step {
        const char* Action;  // "" for the submit
        std::function<void(Mdl_Record&)> Change;
    };
    const Step steps[] = {
        {"", [&](Mdl_Record& r) {
             EXPECT_EQ(session->Set_Value(r, "Headline", "settled"), "");
             EXPECT_EQ(session->Set_Value(r, "Notes", "first note"), "");
             EXPECT_EQ(session->Add_Attachment(r, "Attachments", Temp.Path + "/log.txt", "a log"), "");
         }},
        {"Modify", [&](Mdl_Record& r) {
             EXPECT_EQ(session->Set_Value(r, "Notes", "second note"), "");
             EXPECT_EQ(session->Set_Value(r, "Priority", ""), "");
             EXPECT_EQ(session->Describe_Attachment(r, "Attachments", "log.txt", "the log"), "");
         }},
        {"Modify", [&](Mdl_Record& r) { EXPECT_EQ(session->Delete_Attachment(r, "Attachments", "log.txt"), ""); }},
    };
    for (const Step& step : steps) {
        if (*step.Action != '\0')
            session->Edit(*record, step.Action);
        step.Change(*record);
        ASSERT_EQ(session->Commit(*record), "") << step.Action;
        auto loaded = session->Load("Defect", record->Dbid);
        EXPECT_EQ(record->Values, loaded->Values) << step.Action;
        EXPECT_EQ(record->Original, loaded->Original) << step.Action;
        EXPECT_EQ(record->State, loaded->State);
        EXPECT_EQ(record->Version, loaded->Version);
        EXPECT_EQ(record->Display_Id, loaded->Display_Id);
        ASSERT_EQ(record->Attachments.size(), loaded->Attachments.size()) << step.Action;
        for (std::size_t i = 0; i < loaded->Attachments.size(); ++i) {
            const Mdl_Attachment &mine = record->Attachments[i], &read = loaded->Attachments[i];
            EXPECT_NE(mine.Id, 0);
            EXPECT_EQ(std::tie(mine.Id, mine.Field, mine.File_Name, mine.Description, mine.Path, mine.Size),
                      std::tie(read.Id, read.Field, read.File_Name, read.Description, read.Path, read.Size));
        }
        EXPECT_FALSE(record->Editable());
    }
    EXPECT_EQ(session->Mark_Duplicate(*record, *original, "Duplicate"), "");
    EXPECT_EQ(record->Original_Of, session->Load("Defect", record->Dbid)->Original_Of);
    EXPECT_EQ(record->Original_Of, original->Dbid);
    EXPECT_EQ(session->Unmark_Duplicate(*record, "Unduplicate"), "");
    EXPECT_EQ(record->Original_Of, 0);
    EXPECT_EQ(session->Load("Defect", record->Dbid)->Original_Of, 0);
}

}  // namespace

// Whole numbers are stored as 64-bit integers: the text check must refuse what would
// not fit rather than let the conversion behind it fail.
TEST(Mdl_Values, WholeNumbersAreThoseA64BitIntegerHolds)
{
    const struct {
        const char* text;
        bool whole;
    } rows[] = {{"0", true}, {"-7", true}, {"9223372036854775807", true},
                {"-9223372036854775808", true}, {"9223372036854775808", false},
                {"9999999999999999999", false}, {"-9223372036854775809", false},
                {"", false}, {"-", false}, {"+1", false}, {"1 ", false}, {" 1", false},
                {"1e3", false}, {"0x10", false}};
    for (const auto& row : rows)
        EXPECT_EQ(Mdl_Is_Integer(row.text), row.whole) << row.text;
}
