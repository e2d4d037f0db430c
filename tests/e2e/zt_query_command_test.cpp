// zt query, zt sql and zt save-query against the real server: the three output formats
// with values that hold commas, quotes, line breaks and non-ASCII text, conditions,
// refusals and exit codes.
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/e2e/zt_command_support.h"
#include "tests/e2e/ztint_e2e_fixture.h"

namespace {

using Outcome = Zt_Outcome;

class Zt_Query_Command_Test : public Ztint_E2E {
protected:
    void SetUp() override
    {
        Ztint_E2E::SetUp();
        for (const auto& values : std::vector<std::vector<std::string>>{
                 {"Headline=Comma, \"quoted\" and 'single'", "Severity=2-Major", "Description=line one\nline two"},
                 {"Headline=Ünïcode 日本語 ✓", "Severity=1-Critical"},
                 {"Headline=plain", "Owner=zentrak", "Severity=4-Minor"}}) {
            std::vector<std::string> arguments = {"submit", "Defect"};
            arguments.insert(arguments.end(), values.begin(), values.end());
            const Outcome outcome = Zt(arguments);
            ASSERT_EQ(outcome.Exit, 0) << outcome.Err;
        }
    }

    // Runs zt with the arguments, its output piped.
    Outcome Zt(const std::vector<std::string>& arguments) { return Zt_Run(arguments, {.Err_Path = Dir + "/zt.err"}); }
};

TEST_F(Zt_Query_Command_Test, TheTableIsAlignedByCharactersNotBytes)
{
    const Outcome outcome = Zt({"query", "Defect", "--columns", "id,Severity,Headline,Description"});
    ASSERT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Err, "");  // no progress line into a pipe
    // 日本語 takes six columns of a terminal, Ü and ✓ one each.
    EXPECT_EQ(outcome.Out,
              "id            Severity    Headline                      Description\n"
              "------------  ----------  ----------------------------  ------------------\n"
              "DEMO00000001  2-Major     Comma, \"quoted\" and 'single'  line one\\nline two\n"
              "DEMO00000002  1-Critical  Ünïcode 日本語 ✓              \n"
              "DEMO00000003  4-Minor     plain                         \n");
}

TEST_F(Zt_Query_Command_Test, CsvFollowsRfc4180)
{
    const Outcome outcome = Zt({"query", "Defect", "--format", "csv", "--columns", "id,Headline,Description,Owner.fullname"});
    ASSERT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Out,
              "id,Headline,Description,Owner.fullname\r\n"
              "DEMO00000001,\"Comma, \"\"quoted\"\" and 'single'\",\"line one\nline two\",\r\n"
              "DEMO00000002,Ünïcode 日本語 ✓,,\r\n"
              "DEMO00000003,plain,,zentrak\r\n");
}

TEST_F(Zt_Query_Command_Test, JsonIsAnArrayOfObjectsByColumn)
{
    const Outcome outcome = Zt({"query", "Defect", "--format", "json", "--columns", "Headline,Description",
                                "--sort", "-Severity"});
    ASSERT_EQ(outcome.Exit, 0) << outcome.Err;
    const nlohmann::json rows = nlohmann::json::parse(outcome.Out);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0], (nlohmann::json{{"Headline", "plain"}, {"Description", ""}}));
    EXPECT_EQ(rows[1], (nlohmann::json{{"Headline", "Comma, \"quoted\" and 'single'"},
                                       {"Description", "line one\nline two"}}));
    EXPECT_EQ(rows[2]["Headline"], "Ünïcode 日本語 ✓");
    EXPECT_EQ(Zt({"query", "Defect", "--format", "json", "--where", "Severity = 3-Average"}).Out, "[]\n");
}

TEST_F(Zt_Query_Command_Test, ConditionsLimitsAndRefusals)
{
    const struct {
        std::vector<std::string> Arguments;
        int Exit;
        std::string Out, Err;
    } steps[] = {
        {{"query", "Defect", "--format", "csv", "--columns", "id", "--where", "Severity in 1-Critical,4-Minor"},
         0, "id\r\nDEMO00000002\r\nDEMO00000003\r\n", ""},
        {{"query", "Defect", "--format", "csv", "--columns", "id", "--where", "Headline~'", "--where", "Severity!=1-Critical"},
         0, "id\r\nDEMO00000001\r\n", ""},
        {{"query", "Defect", "--format", "csv", "--columns", "id", "--where", "Owner.fullname is-null"},
         0, "id\r\nDEMO00000001\r\nDEMO00000002\r\n", ""},
        {{"query", "Defect", "--format", "csv", "--columns", "id", "--sort", "-id", "--limit", "1"},
         0, "id\r\nDEMO00000003\r\n", ""},
        {{"query", "Defect", "--where", "Sev = 1"}, 1, "",
         "ZTQueryFilterNode_BuildFilter: field path \"Sev\": record type Defect has no field \"Sev\" to query\n"},
        {{"query", "Defect", "--where", "dbid = x"}, 1, "",
         "ZTQueryFilterNode_BuildFilter: field path \"dbid\": \"x\" is not a whole number\n"},
        {{"query", "Defect", "--where", "Severity"}, 2, "", ""},
        {{"query", "Defect", "--format", "xml"}, 2, "", ""},
        {{"query"}, 2, "", "zt: query needs a record TYPE, or --saved NAME\n"},
        {{"sql", "SELECT id FROM Defect WHERE Severity = '4-Minor'", "--format", "csv"}, 0, "id\r\nDEMO00000003\r\n", ""},
        {{"sql", "SELECT password_hash FROM zt_users"}, 1, "",
         "ZTSession_BuildSQLQuery: the SQL is refused: \"zt_users\" is not one of the views; a SQL query reads only "
         "the views of the record types and users\n"},
    };
    for (const auto& step : steps) {
        const Outcome outcome = Zt(step.Arguments);
        EXPECT_EQ(outcome.Exit, step.Exit) << step.Arguments.back() << ": " << outcome.Err;
        EXPECT_EQ(outcome.Out, step.Out) << step.Arguments.back();
        if (step.Exit != 2)
            EXPECT_EQ(outcome.Err, step.Err) << step.Arguments.back();
        else
            EXPECT_NE(outcome.Err, "") << step.Arguments.back();
    }
}

TEST_F(Zt_Query_Command_Test, ASavedQueryRunsAgainByName)
{
    const Outcome saved = Zt({"save-query", "Minor or major", "Defect", "--columns", "id,Severity", "--where",
                              "Severity in 2-Major,4-Minor", "--sort", "-Severity"});
    ASSERT_EQ(saved.Exit, 0) << saved.Err;
    EXPECT_EQ(saved.Out, "Personal Queries/Minor or major\n");
    const Outcome run = Zt({"query", "--saved", "Minor or major", "--format", "csv"});
    EXPECT_EQ(run.Exit, 0) << run.Err;
    EXPECT_EQ(run.Out, "id,Severity\r\nDEMO00000003,4-Minor\r\nDEMO00000001,2-Major\r\n");
    EXPECT_EQ(Zt({"query", "--saved", "Nothing"}).Err, "ZTSession_OpenQueryDef: no saved query \"Personal Queries/Nothing\"\n");
    EXPECT_EQ(Zt({"query", "Defect", "--saved", "Minor or major"}).Exit, 2);
}

}  // namespace
