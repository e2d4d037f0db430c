// The life of records through the public C interface against the real server and
// its own store.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <regex>
#include <set>
#include <sstream>

#include "foundation/host/hst_switches.h"
#include "tests/e2e/ztint_tracker.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_connect.h"

namespace {

// The tab-separated columns of a history line.
std::vector<std::string> Columns(const std::string& line)
{
    std::vector<std::string> columns(1);
    for (char c : line)
        if (c == '\t')
            columns.emplace_back();
        else
            columns.back() += c;
    return columns;
}

using Ztint_Record_Test = Ztint_Tracker_Test;

TEST_F(Ztint_Record_Test, TheSessionKnowsItsUserAndTheSampleSchema)
{
    char* text = nullptr;
    char** names = nullptr;
    ASSERT_EQ(ZTSession_GetUserLoginName(Session, &text), 0) << Server_Error();
    EXPECT_EQ(Ztint_Take(text), "zentrak");
    ASSERT_EQ(ZTSession_GetUserEncryptedPassword(Session, &text), 0);
    const std::string hash = Ztint_Take(text);
    EXPECT_EQ(hash.rfind("$argon2id$", 0), 0u) << hash;  // a salted slow hash, not the text
    EXPECT_EQ(hash.find("zentrak"), std::string::npos);
    ASSERT_EQ(ZTSession_GetEntityDefNames(Session, &names), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"Defect", "Project", "Customer"}));
    ASSERT_EQ(ZTSession_GetReqEntityDefNames(Session, &names), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"Defect"});
    ASSERT_EQ(ZTSession_GetAuxEntityDefNames(Session, &names), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"Project", "Customer"}));

    ZTEntityDef* defect = nullptr;
    ASSERT_EQ(ZTSession_GetEntityDef(Session, &defect, "Defect"), 0);
    ASSERT_EQ(ZTEntityDef_GetStateDefNames(defect, &names), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"Submitted", "Assigned", "Opened", "Resolved",
                                                           "Closed", "Postponed", "Duplicate"}));
    ZTInt_LONG number = 0;
    EXPECT_EQ(ZTEntityDef_GetFieldDefType(defect, &number, "Owner"), 0);
    EXPECT_EQ(number, ZTInt_FIELD_REFERENCE);
    EXPECT_EQ(ZTEntityDef_GetActionDefType(defect, &number, "Resolve"), 0);
    EXPECT_EQ(number, ZTInt_ACTION_CHANGE_STATE);
    EXPECT_EQ(ZTEntityDef_GetFieldRequiredness(defect, &number, "Resolution", "Resolved"), 0);
    EXPECT_EQ(number, ZTInt_MANDATORY);
    EXPECT_EQ(ZTEntityDef_GetActionDestStateName(defect, &text, "Re_open"), 0);
    EXPECT_EQ(Ztint_Take(text), "Opened");
    EXPECT_EQ(ZTEntityDef_DoesTransitionExist(defect, &names, "Resolved", "Opened"), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"Re_open"});
    EXPECT_EQ(ZTEntityDef_GetActionTypeName(defect, &text, ZTInt_ACTION_CHANGE_STATE), 0);
    EXPECT_EQ(Ztint_Take(text), "change_state");
    EXPECT_EQ(ZTEntityDef_GetActionTypeName(defect, &text, -2131490051), -1);
    Ztint_Take(text);
    EXPECT_EQ(Server_Error(), "ZTEntityDef_GetActionTypeName: no action type -2131490051");
    EXPECT_EQ(ZTEntityDef_GetFieldDefType(defect, &number, "Nonsense"), -1);
    EXPECT_EQ(Server_Error(), "ZTEntityDef_GetFieldDefType: record type Defect has no field \"Nonsense\"");
    ZTInt_EntityDef_Free(defect);
    EXPECT_EQ(ZTSession_GetEntityDef(Session, &defect, "Bug"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_GetEntityDef: no record type \"Bug\" in database DEMO");
}

TEST_F(Ztint_Record_Test, ADefectLivesThroughItsStatesAndKeepsItsHistory)
{
    const std::string id = Submit({{"Headline", "Crash on start"}, {"Description", "It crashes."}});
    EXPECT_TRUE(std::regex_match(id, std::regex("DEMO[0-9]{8}"))) << id;
    ZTEntity* defect = Get(id);
    ASSERT_NE(defect, nullptr);
    EXPECT_EQ(Value(defect, "State"), "Submitted");
    EXPECT_EQ(Value(defect, "Submitter"), "zentrak");
    EXPECT_EQ(Value(defect, "Severity"), "3-Average");  // the default

    // Each step: the action, the values it sets, and the legal actions afterwards.
    struct Step {
        const char* Action;
        std::vector<std::pair<std::string, std::string>> Values;
        const char* State;
    };
    const Step steps[] = {
        {"Assign", {{"Owner", "zentrak"}}, "Assigned"},
        {"Open", {}, "Opened"},
        {"Resolve", {{"Resolution", "Fixed"}}, "Resolved"},
        {"Close", {}, "Closed"},
        {"Re_open", {{"Notes", "It came back."}}, "Opened"},
    };
    for (const Step& step : steps) {
        ASSERT_EQ(Edit(defect, step.Action), "") << step.Action;
        for (const auto& [field, value] : step.Values)
            EXPECT_EQ(Set(defect, field.c_str(), value), "") << step.Action;
        EXPECT_EQ(Commit(defect), "") << step.Action;
        EXPECT_EQ(Value(defect, "State"), step.State);
    }
    char** legal = nullptr;
    ASSERT_EQ(ZTEntity_GetLegalActionDefNames(defect, &legal), 0);
    EXPECT_EQ(Ztint_Take(legal), (std::vector<std::string>{"Assign", "Resolve", "Postpone", "Duplicate",
                                                           "Modify", "Delete"}));

    const std::vector<std::string> history = History(defect);
    const char* expected[][3] = {{"Submit", "", "Submitted"}, {"Assign", "Submitted", "Assigned"},
                                 {"Open", "Assigned", "Opened"}, {"Resolve", "Opened", "Resolved"},
                                 {"Close", "Resolved", "Closed"}, {"Re_open", "Closed", "Opened"}};
    ASSERT_EQ(history.size(), 6u);
    for (std::size_t i = 0; i < history.size(); ++i) {
        const std::vector<std::string> columns = Columns(history[i]);
        ASSERT_EQ(columns.size(), 6u) << history[i];
        EXPECT_EQ(columns[1], "zentrak");
        EXPECT_EQ(columns[2], expected[i][0]);
        EXPECT_EQ(columns[3], expected[i][1]);
        EXPECT_EQ(columns[4], expected[i][2]);
    }
    EXPECT_NE(history[1].find("Owner:  -> zentrak"), std::string::npos) << history[1];
    EXPECT_NE(history[3].find("Resolution:  -> Fixed"), std::string::npos) << history[3];
    EXPECT_NE(Value(defect, "Notes").find("It came back."), std::string::npos);
    ZTInt_Entity_Free(defect);
}

TEST_F(Ztint_Record_Test, RefusedValuesNameTheFieldAndChangeNothing)
{
    ZTEntity* defect = nullptr;
    ASSERT_EQ(ZTSession_BuildEntity(Session, &defect, "Defect"), 0);
    EXPECT_EQ(Set(defect, "Headline", "Valid"), "");
    const struct {
        const char* Field;
        std::string Value;
        const char* Reason;
    } cases[] = {
        {"Severity", "9-Bogus", "Severity: \"9-Bogus\" is not in the choice list"},
        {"Headline", std::string(126, 'x'), "Headline: the value is longer than 125 characters"},
        {"Headline", "two\nlines", "Headline: a short string is one line"},
        {"Owner", "nobody", "Owner: no active user \"nobody\""},
        {"Project", "DEMO99999999", "Project: no Project record \"DEMO99999999\""},
        {"Submit_Date", "2026-01-01", "Submit_Date: the field is read-only in action Submit"},
        {"id", "DEMO1", "id: the field is read-only in action Submit"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Set(defect, c.Field, c.Value), c.Reason);
    EXPECT_EQ(Value(defect, "Headline"), "Valid");
    EXPECT_EQ(Value(defect, "Severity"), "3-Average");
    EXPECT_EQ(Set(defect, "Headline", std::string(125, 'y')), "");  // the limit itself is fine

    EXPECT_EQ(Set(defect, "NoSuchField", "x"), "(failed: ZTEntity_SetFieldValue: record type Defect has no field \"NoSuchField\")");

    // A mandatory field left empty stops the commit; nothing is stored.
    EXPECT_EQ(Set(defect, "Headline", ""), "");
    char* text = nullptr;
    ASSERT_EQ(ZTEntity_Validate(defect, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "Headline: a value is mandatory in state Submitted");
    EXPECT_EQ(Commit(defect), "Headline: a value is mandatory in state Submitted");
    EXPECT_EQ(Value(defect, "id"), "");
    ZTInt_BOOL exists = 1;
    EXPECT_EQ(ZTSession_EntityExists(Session, &exists, "Defect", "DEMO00000001"), 0);
    EXPECT_EQ(exists, 0);

    // An action not legal in the record's state is refused.
    EXPECT_EQ(Set(defect, "Headline", "Now complete"), "");
    ASSERT_EQ(Commit(defect), "");
    EXPECT_EQ(Edit(defect, "Close"),
              "ZTSession_EditEntity: action Close is not legal for record " + Value(defect, "id") +
                  " in state Submitted");
    EXPECT_EQ(Edit(defect, "Assign"), "");
    EXPECT_EQ(Commit(defect), "Owner: a value is mandatory in state Assigned");
    ASSERT_EQ(ZTEntity_Revert(defect), 0);
    EXPECT_EQ(History(defect).size(), 1u);
    EXPECT_EQ(Value(defect, "State"), "Submitted");
    ZTInt_Entity_Free(defect);
}

TEST_F(Ztint_Record_Test, ValuesAreStoredAndReadBackVerbatim)
{
    const std::vector<std::string> values = {
        "it's \"quoted\"; and ; semicolons",
        "'); DROP TABLE zt_records; --",
        "line one\nline two\n\ttabbed\n",
        "Gr\xc3\xbc\xc3\x9f" "e, \xe6\x97\xa5\xe6\x9c\xac, \xf0\x9f\x90\x9b",
        "%s %n %d \\ \\\\ ?",
    };
    for (const std::string& value : values) {
        const std::string id = Submit({{"Headline", "verbatim"}, {"Description", value}});
        ZTEntity* defect = Get(id);
        ASSERT_NE(defect, nullptr);
        EXPECT_EQ(Value(defect, "Description"), value);
        ZTInt_Entity_Free(defect);
    }
}

TEST_F(Ztint_Record_Test, IdsConvertBothWaysAndReloadSeesOtherSessionsCommits)
{
    const std::string id = Submit({{"Headline", "first"}});
    ZTInt_LONG dbid = 0;
    ASSERT_EQ(ZTSession_StringIdToDbId(Session, &dbid, id.c_str()), 0);
    char* text = nullptr;
    ASSERT_EQ(ZTSession_DbIdToStringId(Session, &text, dbid), 0);
    EXPECT_EQ(Ztint_Take(text), id);
    ZTEntity* by_dbid = nullptr;
    ASSERT_EQ(ZTSession_GetEntityByDbId(Session, &by_dbid, "Defect", dbid), 0);
    EXPECT_EQ(Value(by_dbid, "id"), id);

    ZTSession* other = Logon();
    ASSERT_NE(other, nullptr);
    ZTEntity* theirs = nullptr;
    ASSERT_EQ(ZTSession_GetEntity(other, &theirs, "Defect", id.c_str()), 0);
    ASSERT_EQ(ZTSession_EditEntity(other, theirs, "Modify"), 0);
    EXPECT_EQ(Set(theirs, "Headline", "changed elsewhere"), "");
    EXPECT_EQ(Commit(theirs), "");
    EXPECT_EQ(Value(by_dbid, "Headline"), "first");  // a snapshot
    ASSERT_EQ(ZTEntity_Reload(by_dbid), 0);
    EXPECT_EQ(Value(by_dbid, "Headline"), "changed elsewhere");

    EXPECT_EQ(ZTSession_StringIdToDbId(Session, &dbid, "DEMO99999999"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_StringIdToDbId: no record with id DEMO99999999 in database DEMO");
    ZTInt_Entity_Free(theirs);
    ZTInt_Entity_Free(by_dbid);
    ZTInt_Session_Free(other);
}

TEST_F(Ztint_Record_Test, TheLaterOfTwoEditsIsRefusedAndLosesNothing)
{
    const std::string id = Submit({{"Headline", "shared"}});
    ZTEntity* mine = Get(id);
    ZTEntity* theirs = Get(id);
    ASSERT_EQ(Edit(mine, "Modify"), "");
    ASSERT_EQ(Edit(theirs, "Modify"), "");
    EXPECT_EQ(Set(mine, "Headline", "mine"), "");
    EXPECT_EQ(Set(theirs, "Headline", "theirs"), "");
    EXPECT_EQ(Commit(theirs), "");
    const std::string refusal = Commit(mine);
    EXPECT_EQ(refusal.rfind("record " + id + " was changed by zentrak at ", 0), 0u) << refusal;
    EXPECT_NE(refusal.find("nothing was stored"), std::string::npos) << refusal;
    ZTInt_BOOL editable = 0;
    EXPECT_EQ(ZTEntity_IsEditable(mine, &editable), 0);
    EXPECT_EQ(editable, 1);  // the edit stays, to be reverted or redone
    ZTEntity* fresh = Get(id);
    EXPECT_EQ(Value(fresh, "Headline"), "theirs");
    EXPECT_EQ(History(fresh).size(), 2u);
    for (ZTEntity* entity : {mine, theirs, fresh})
        ZTInt_Entity_Free(entity);
}

// Two client processes, each with its own server, share the store: both edit the same
// record and commit at the same moment; exactly one commit wins.
TEST_F(Ztint_Record_Test, TwoServersOnOneStoreLetExactlyOneCommitWin)
{
    const std::string id = Submit({{"Headline", "contested"}});
    int ready[2], go[2], results[2];
    ASSERT_EQ(pipe(ready), 0);
    ASSERT_EQ(pipe(go), 0);
    ASSERT_EQ(pipe(results), 0);
    pid_t children[2];
    for (int n = 0; n < 2; ++n) {
        children[n] = fork();
        if (children[n] != 0)
            continue;
        ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
        setenv("ZTT_USER", (User + "_" + std::to_string(n)).c_str(), 1);
        Hst_Switches::Clear_Cache();
        ZTSession* session = Logon();
        ZTEntity* entity = nullptr;
        std::string answer = "(no session)";
        if (session != nullptr && ZTSession_GetEntity(session, &entity, "Defect", id.c_str()) == 0 &&
            ZTSession_EditEntity(session, entity, "Modify") == 0 &&
            Set(entity, "Headline", "child " + std::to_string(n)) == "") {
            char byte = 0;
            if (write(ready[1], "r", 1) == 1 && read(go[0], &byte, 1) == 1)
                answer = Commit(entity);
        }
        answer = std::to_string(n) + ":" + answer + "\n";
        (void)!write(results[1], answer.data(), answer.size());
        ZTInt_Entity_Free(entity);
        ZTInt_Session_Free(session);
        _exit(0);
    }
    close(go[0]);
    close(results[1]);
    close(ready[1]);
    // Both edits have begun before either commits.
    char both[2];
    for (std::size_t got = 0; got < 2;) {
        const ssize_t more = read(ready[0], both + got, 2 - got);
        if (more <= 0)
            break;
        got += static_cast<std::size_t>(more);
    }
    close(ready[0]);
    ASSERT_EQ(write(go[1], "gg", 2), 2);
    close(go[1]);
    std::string collected;
    char buffer[512];
    for (ssize_t got; (got = read(results[0], buffer, sizeof buffer)) > 0;)
        collected.append(buffer, static_cast<std::size_t>(got));
    close(results[0]);
    for (pid_t child : children)
        waitpid(child, nullptr, 0);
    // The two servers outlive the test until their idle end: take away what they keep in /tmp.
    for (int n = 0; n < 2; ++n)
        for (const char* suffix : {"", ".status", ".lock"})
            unlink(("/tmp/ZTIntSvr_" + std::to_string(geteuid()) + User + "_" + std::to_string(n) +
                    suffix).c_str());

    std::istringstream lines(collected);
    std::string winner;
    int refused = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.size() == 2)
            winner = "child " + line.substr(0, 1);
        else if (line.find("was changed by zentrak") != std::string::npos)
            ++refused;
    }
    ASSERT_FALSE(winner.empty()) << collected;
    EXPECT_EQ(refused, 1) << collected;
    ZTEntity* fresh = Get(id);
    EXPECT_EQ(Value(fresh, "Headline"), winner);
    EXPECT_EQ(History(fresh).size(), 2u);
    ZTInt_Entity_Free(fresh);
}

TEST_F(Ztint_Record_Test, TheStoreIsPrivateAndAWrongPasswordIsRefused)
{
    if (!Ztint_E2E_On_Postgres()) {  // a file of the user's own
        struct stat facts;
        ASSERT_EQ(stat(Store.c_str(), &facts), 0);
        EXPECT_EQ(facts.st_mode & 0777, 0600u);
    }
    EXPECT_EQ(Logon("zentrak", "wrong"), nullptr);
    EXPECT_EQ(Server_Error(), "ztintsvr: logon refused for user \"zentrak\": wrong user name or password");
}

}  // namespace

namespace {

constexpr int kSubmitters = 16;
constexpr int kRecordsEach = 500;

// One client process: submits its records and writes their ids, one a line.
int Submit_Records(int fd)
{
    ZTSession* session = Ztint_Tracker_Test::Logon_Default();
    if (session == nullptr)
        return 1;
    int failures = 0;
    for (int i = 0; i < kRecordsEach; ++i) {
        ZTEntity* entity = nullptr;
        char* answer = nullptr;
        if (ZTSession_BuildEntity(session, &entity, "Defect") != 0 ||
            ZTEntity_SetFieldValue(entity, &answer, "Headline", ("record " + std::to_string(i)).c_str()) != 0 ||
            Ztint_Take(answer) != "" || ZTEntity_Commit(entity, &answer) != 0 || Ztint_Take(answer) != "") {
            ++failures;
        } else {
            char* id = nullptr;
            ZTEntity_GetFieldStringValue(entity, &id, "id");
            const std::string line = Ztint_Take(id) + "\n";
            if (write(fd, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
                ++failures;
        }
        ZTInt_Entity_Free(entity);
    }
    ZTInt_Session_Free(session);
    return failures > 100 ? 100 : failures;
}

TEST_F(Ztint_Record_Test, SixteenProcessesSubmittingGetDistinctIds)
{
    int ids[2];
    ASSERT_EQ(pipe(ids), 0);
    std::vector<pid_t> children;
    for (int n = 0; n < kSubmitters; ++n) {
        const pid_t child = fork();
        if (child == 0) {
            ZTInt_Connection_Initialize(ZTInt_client_Connection_Record());
            close(ids[0]);
            _exit(Submit_Records(ids[1]));
        }
        children.push_back(child);
    }
    close(ids[1]);
    std::string collected;
    char buffer[4096];
    for (ssize_t got; (got = read(ids[0], buffer, sizeof buffer)) > 0;)
        collected.append(buffer, static_cast<std::size_t>(got));
    close(ids[0]);
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
    }
    std::istringstream lines(collected);
    std::set<std::string> distinct;
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        distinct.insert(line);
    EXPECT_EQ(count, std::size_t{kSubmitters * kRecordsEach});
    EXPECT_EQ(distinct.size(), std::size_t{kSubmitters * kRecordsEach});
    ZTInt_BOOL exists = 0;
    EXPECT_EQ(ZTSession_EntityExists(Session, &exists, "Defect", distinct.rbegin()->c_str()), 0);
    EXPECT_EQ(exists, 1);
}

}  // namespace

namespace {

TEST_F(Ztint_Record_Test, ListDefinitionsAndTheSessionDatabase)
{
    char* const members[] = {const_cast<char*>("alpha"), const_cast<char*>("beta; 'gamma'"), nullptr};
    ASSERT_EQ(ZTSession_SetListMembers(Session, "Platforms", members), 0) << Server_Error();
    ASSERT_EQ(ZTSession_AddListMember(Session, "Platforms", "delta"), 0);
    ASSERT_EQ(ZTSession_DeleteListMember(Session, "Platforms", "alpha"), 0);
    char** names = nullptr;
    ASSERT_EQ(ZTSession_GetListMembers(Session, &names, "Platforms"), 0);
    EXPECT_EQ(Ztint_Take(names), (std::vector<std::string>{"beta; 'gamma'", "delta"}));
    ASSERT_EQ(ZTSession_GetListDefNames(Session, &names), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"Platforms"});
    EXPECT_EQ(ZTSession_DeleteListMember(Session, "Platforms", "alpha"), -1);
    EXPECT_EQ(Server_Error(), "ZTSession_DeleteListMember: list \"Platforms\" has no member \"alpha\"");
    EXPECT_EQ(ZTSession_GetListMembers(Session, &names, "Nothing"), -1);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{});  // a failed call's result is empty
    EXPECT_EQ(Server_Error(), "ZTSession_GetListMembers: no list \"Nothing\"");

    ZTDatabaseDesc* database = nullptr;
    char* text = nullptr;
    ASSERT_EQ(ZTSession_GetSessionDatabase(Session, &database), 0);
    ASSERT_EQ(ZTDatabaseDesc_GetDatabaseName(database, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "DEMO");
    ASSERT_EQ(ZTDatabaseDesc_GetDatabaseSetName(database, &text), 0);
    EXPECT_EQ(Ztint_Take(text), "MASTER");
    ZTInt_DatabaseDesc_Free(database);
    ASSERT_EQ(ZTSession_GetInstalledDbSets(Session, &names), 0);
    EXPECT_EQ(Ztint_Take(names), std::vector<std::string>{"MASTER"});
}

}  // namespace
