// The zt command against the real server: each command's output, exit codes and help.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <nlohmann/json.hpp>

#include "tests/e2e/zt_command_support.h"
#include "tests/e2e/ztint_e2e_fixture.h"

namespace {

using Outcome = Zt_Outcome;

class Zt_Command_Test : public Ztint_E2E {
protected:
    Outcome Zt(const std::vector<std::string>& arguments) { return Zt_Run(arguments, {.Err_Path = Dir + "/zt.err"}); }

    // The id zt submit printed.
    std::string Submit(const std::vector<std::string>& values)
    {
        std::vector<std::string> arguments = {"submit", "Defect"};
        arguments.insert(arguments.end(), values.begin(), values.end());
        const Outcome outcome = Zt(arguments);
        EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
        return outcome.Out.substr(0, outcome.Out.find('\n'));
    }
};

TEST_F(Zt_Command_Test, ADefectIsSubmittedAssignedResolvedAndShownWithItsHistory)
{
    const std::string id = Submit({"Headline=Crash on start", "Severity=2-Major"});
    EXPECT_EQ(id, "DEMO00000001");
    const struct {
        std::vector<std::string> Arguments;
        int Exit;
        std::string Out, Err;
    } steps[] = {
        {{"edit", id, "Assign", "Owner=zentrak"}, 0, id + "\tAssigned\n", ""},
        {{"edit", id, "Open"}, 0, id + "\tOpened\n", ""},
        {{"edit", id, "Resolve"}, 1, "", "Resolution: a value is mandatory in state Resolved\n"},
        {{"edit", id, "Close"}, 1, "",
         "ZTSession_EditEntity: action Close is not legal for record " + id + " in state Opened\n"},
        {{"edit", id, "Resolve", "Resolution=Fixed"}, 0, id + "\tResolved\n", ""},
        {{"actions", id}, 0, "Close\nRe_open\nModify\nDelete\n", ""},
        {{"submit", "Defect", "Headline=x", "Severity=9-Bogus"}, 1, "",
         "Severity: \"9-Bogus\" is not in the choice list\n"},
        {{"show", "DEMO99999999"}, 1, "", "zt: no record DEMO99999999\n"},
    };
    for (const auto& step : steps) {
        const Outcome outcome = Zt(step.Arguments);
        EXPECT_EQ(outcome.Exit, step.Exit) << step.Arguments[0] << " " << outcome.Err;
        EXPECT_EQ(outcome.Out, step.Out) << step.Arguments[0];
        EXPECT_EQ(outcome.Err, step.Err) << step.Arguments[0];
    }

    const Outcome text = Zt({"show", id});
    EXPECT_EQ(text.Exit, 0);
    for (const char* line : {"id: DEMO00000001\n", "State: Resolved\n", "Headline: Crash on start\n",
                             "Owner: zentrak\n", "Resolution: Fixed\n"})
        EXPECT_NE(text.Out.find(line), std::string::npos) << line << text.Out;
    const Outcome json = Zt({"show", id, "--format", "json"});
    ASSERT_EQ(json.Exit, 0);
    const nlohmann::json record = nlohmann::json::parse(json.Out);
    EXPECT_EQ(record["State"], "Resolved");
    EXPECT_EQ(record["Attachments"], nlohmann::json::array());

    const Outcome history = Zt({"history", id});
    EXPECT_EQ(history.Exit, 0);
    std::vector<std::string> lines;
    std::istringstream stream(history.Out);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    ASSERT_EQ(lines.size(), 4u) << history.Out;
    EXPECT_NE(lines[0].find("  zentrak  Submit  - -> Submitted  Headline:  -> Crash on start"), std::string::npos);
    EXPECT_NE(lines[1].find("  Assign  Submitted -> Assigned  Owner:  -> zentrak"), std::string::npos);
    EXPECT_NE(lines[3].find("  Resolve  Opened -> Resolved  Resolution:  -> Fixed"), std::string::npos);
}

TEST_F(Zt_Command_Test, UsageErrorsExitWithTwoAndHelpWithZero)
{
    const std::vector<std::vector<std::string>> wrong = {
        {}, {"bogus"}, {"show"}, {"show", "X", "--format", "xml"}, {"submit", "Defect", "Headline"},
        {"fetch", "X", "name"}, {"edit", "X"},
    };
    for (const auto& arguments : wrong) {
        const Outcome outcome = Zt(arguments);
        EXPECT_EQ(outcome.Exit, 2) << (arguments.empty() ? "" : arguments[0]);
        EXPECT_NE(outcome.Err, "");
    }
    for (const char* command : {"", "types", "fields", "actions", "submit", "show", "edit", "history", "attach",
                                "fetch", "duplicate"}) {
        const Outcome outcome = *command ? Zt({command, "--help"}) : Zt({"--help"});
        EXPECT_EQ(outcome.Exit, 0) << command;
        EXPECT_NE(outcome.Out.find("Usage:"), std::string::npos) << command;
    }
}

TEST_F(Zt_Command_Test, TypesFieldsAttachmentsAndDuplicates)
{
    Outcome outcome = Zt({"types"});
    EXPECT_EQ(outcome.Out, "Defect\tstateful\nProject\tstateless\nCustomer\tstateless\n");
    outcome = Zt({"fields", "Defect"});
    EXPECT_NE(outcome.Out.find("Owner\treference\n"), std::string::npos) << outcome.Out;
    EXPECT_NE(outcome.Out.find("Attachments\tattachment_list\n"), std::string::npos);
    EXPECT_EQ(Zt({"fields", "Bug"}).Err, "ZTSession_GetEntityDef: no record type \"Bug\" in database DEMO\n");

    const std::string original = Submit({"Headline=first"}), duplicate = Submit({"Headline=again"});
    const std::string file = Dir + "/notes.bin";
    std::ofstream(file, std::ios::binary) << std::string("a\0b; 'c'\n", 9);
    outcome = Zt({"attach", original, file, "--description", "raw notes"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    outcome = Zt({"attach", original, Dir + "/missing"});
    EXPECT_EQ(outcome.Exit, 1);
    EXPECT_EQ(outcome.Err, "Attachments: cannot attach " + Dir + "/missing: No such file or directory\n");
    outcome = Zt({"fetch", original, "notes.bin", Dir + "/copy.bin"});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_EQ(outcome.Out, "9 bytes\n");
    std::ifstream copy(Dir + "/copy.bin", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(copy), {}), std::string("a\0b; 'c'\n", 9));
    EXPECT_EQ(Zt({"fetch", original, "other.bin", Dir + "/x"}).Err,
              "ZTEntity_LoadAttachment: Attachments: no attachment named other.bin\n");

    outcome = Zt({"duplicate", duplicate, original});
    EXPECT_EQ(outcome.Exit, 0) << outcome.Err;
    EXPECT_NE(Zt({"show", duplicate}).Out.find("State: Duplicate\n"), std::string::npos);
    EXPECT_EQ(Zt({"duplicate", original, duplicate}).Exit, 1);
}

}  // namespace
