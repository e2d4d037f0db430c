// Message images, catalogs and their cache, kinds and message ids.
#include "foundation/base/fnd_message.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assertion_error.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message_catalogs.h"
#include "foundation/base/fnd_message_id.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/host/hst_errors.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

// A catalog "Probe" with the records the placeholder tests read.
const char* Probe_Records = R"(
    "7_1" { :int { 5 }, "file <file> at level <level>", "short <file>" }
    "7_2" { :int { 9 }, "only normal" }
    "7_3" { :int { 8 }, "<file unknown> and <file>|" }
    "7_4" { :int { 9 }, "\\<x> literal" }
    "7_5" { :int { 9 }, "open <file" }
    "7_6" { :int { 9 }, "before <> after" }
    "7_7" { :int { 30 }, "odd kind" }
    "7_8" { :int { 9 }, "<Message_Key> / <Class_Name>" }
    "7_9" { :int { 9 }, "<file\\ name fallback\\>text>!" }
)";

class Message_Test : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Empty.Use();
    }
    void Use_Probe() {
        Probe.Add("Probe", "root", Probe_Records);
        Probe.Use();
    }
    Catalog_Directory Empty, Probe;
};

// The image of a message, without its kind prefix unless asked for.
std::string Img(const Fnd_Message& Message, Fnd_Message_Detail_Level Level = Fnd_Detail_Normal,
                long With_Kind = 0, long With_Key = 1) {
    return Narrow(Message.Image(Level, With_Kind, With_Key));
}

}  // namespace

// ---- Without a catalog: defaults and keys

TEST_F(Message_Test, WithoutCatalogImagesComeFromKeysDefaultTextsAndLevelTwo) {
    Fnd_Array_Range_Error range(0, 9, 12);
    EXPECT_EQ(Img(range), "Abstract_Types.Fnd_Array_Range_Error.0: ");
    EXPECT_EQ(Img(range, Fnd_Detail_Normal, 0, 0), "");
    // Kind 0 has the unknown prefix.
    EXPECT_EQ(Img(range, Fnd_Detail_Normal, 1),
              "<UNKNOWN> Abstract_Types.Fnd_Array_Range_Error.0: ");

    Probe_Message probe(u"Probe", 3);
    EXPECT_EQ(Img(probe), "Probe.Probe_Message.3: probe-info");
    EXPECT_EQ(Img(probe, Fnd_Detail_Alternate), "Probe.Probe_Message.3: probe-info");

    // Level 1 and unknown levels print the key; assertions keep their prefix.
    Fnd_Assertion_Error error(Fnd_String(u"context"));
    EXPECT_EQ(Img(error, Fnd_Detail_Normal, 1), "*** ");
    EXPECT_EQ(error.Kind(), Fnd_Error_Msg);
    Fnd_Clone_Error clone(u"Widget");
    EXPECT_EQ(Img(clone, Fnd_Detail_Key, 0, 0), "Base.Fnd_Clone_Error.0");
    EXPECT_EQ(Img(clone, static_cast<Fnd_Message_Detail_Level>(7), 0, 0), "Base.Fnd_Clone_Error.0");
    EXPECT_EQ(Img(Fnd_Assertion_Error(), Fnd_Detail_Key, 1), "*** Base.Fnd_Assertion_Error.0");

    // Default texts fill their placeholders.
    Fnd_Sys_Call_Error call(u"open", ENOENT, u"/x", 0);
    EXPECT_EQ(Img(call, Fnd_Detail_Normal, 1),
              "*** doing: /x \nsyscall: open\nerrno: No such file or directory");
    EXPECT_EQ(Img(call, Fnd_Detail_Default),
              "doing: /x \nsyscall: open\nerrno: No such file or directory");

    Fnd_Message_Id_Error id(2, u"Base 3x 2", u"3x");
    EXPECT_EQ(Img(id), "Base.Fnd_Message_Id_Error.2: image1 Base 3x 2; image2 3x");
    // An empty default text: the key and the level-2 answer (call name, blank, errno).
    EXPECT_EQ(Img(Fnd_Sys_Call_Error()), "Host_Interface.Fnd_Sys_Call_Error.0:  0");
}

TEST_F(Message_Test, LevelTwoNeverOpensACatalog) {
    Use_Probe();
    Probe_Message probe(u"Probe", 1, u"f.txt");
    EXPECT_EQ(Img(probe, Fnd_Detail_Default), "Probe.Probe_Message.1: probe-info");
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 0);
    // Level 4 does open it.
    EXPECT_EQ(Img(probe), "file f.txt at level 4");
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 1);
}

// ---- Catalog texts and placeholders

TEST_F(Message_Test, CatalogRecordsAndTheirPlaceholders) {
    Use_Probe();
    const Fnd_Message_Detail_Level normal = Fnd_Detail_Normal;
    const struct {
        long Number;
        const Code_Unit* File;
        Fnd_Message_Detail_Level Level;
        long With_Kind;
        const char* Image;
    } cases[] = {
        {1, u"f.txt", normal, 1, "+++ file f.txt at level 4"},
        {1, u"f.txt", Fnd_Detail_Alternate, 1, "+++ short f.txt"},
        {2, u"", Fnd_Detail_Alternate, 1, "*** only normal"},  // no alternate: the normal one
        {3, u"", normal, 1, "!!! unknown and |"},              // with and without default
        {3, u"a.c", normal, 1, "!!! a.c and a.c|"},
        {4, u"f", normal, 1, "*** <x> literal"},     // escaped brackets are text
        {9, u"f", normal, 1, "*** fallback>text!"},  // escaped blank: name; escaped '>': default
        {5, u"f.txt", normal, 1, "*** open f.txt"},  // unclosed still substitutes
        {6, u"", normal, 1, "*** Probe.Probe_Message.6 before "},  // empty: key, rest dropped
        {6, u"", normal, 0, "Probe.Probe_Message.6 before "},
        {7, u"", normal, 1, "<UNKNOWN> odd kind"},  // a kind outside the enumeration
        {8, u"", normal, 0, "Probe.Probe_Message.8 / Probe_Message"},
        {99, u"", normal, 1, "<UNKNOWN> Probe.Probe_Message.99: probe-info"},  // no record
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Number);
        EXPECT_EQ(Img(Probe_Message(u"Probe", c.Number, c.File), c.Level, c.With_Kind), c.Image);
    }
    EXPECT_EQ(Probe_Message(u"Probe", 1).Kind(), Fnd_Positive_Msg);
    Fnd_String raw;
    Fnd_Message_Kinds kind = Fnd_Unknown_Kind_Msg;
    Probe_Message(u"Probe", 2).Raw_Image(raw, kind, Fnd_Detail_Alternate, 0);
    EXPECT_TRUE(raw.Is_Empty());
    EXPECT_EQ(kind, Fnd_Unknown_Kind_Msg);
}

// ---- Kinds

TEST_F(Message_Test, KindImagesAndNames) {
    EXPECT_EQ(Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Text_Msg)), "");
    EXPECT_EQ(Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Error_Msg)), "***");
    EXPECT_EQ(Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Note3_Msg)), "--3");
    EXPECT_EQ(Narrow(Fnd_Message_Kind::Canonical_Kind_Image(Fnd_Negative_Msg)), "++*");
    EXPECT_EQ(Narrow(Fnd_String(Fnd_Message_Kinds_Image(9))), "Fnd_Error_Msg");
    EXPECT_EQ(Narrow(Fnd_String(Fnd_Message_Kinds_Image(22))), "Fnd_Message_Kinds_Last");
    EXPECT_EQ(Narrow(Fnd_String(Fnd_Message_Kinds_Image(23))), "");
    EXPECT_EQ(Narrow(Fnd_String(Fnd_Message_Kinds_Image(-1))), "");
}

// Kind images and the user's language are read once per process. The next two
// tests look at them in a freshly started copy of this program ("threadsafe" death
// tests re-run the test there), which writes what it saw to standard error.
std::string Kind_Images_Seen() {
    Catalog_Directory catalogs, empty;
    catalogs.Add("Base", "root", R"("2_9" { :int { 1 }, "ERR" })");
    catalogs.Use();
    std::string seen = Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Error_Msg)) + "|" +
                       Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Warning_Msg));
    empty.Use();  // cached: another catalog does not change it
    return seen + "|" + Narrow(Fnd_Message_Kind::Kind_Image(Fnd_Error_Msg));
}

void Expect_Seen_In_Fresh_Process(std::string (*Seen)(), const char* Pattern) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Pin_Language();
    EXPECT_EXIT(
        {
            std::fputs(Seen().c_str(), stderr);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), Pattern);
}

TEST(Message_Kind, ImagesComeFromTheCatalogOncePerKind) {
    Expect_Seen_In_Fresh_Process(&Kind_Images_Seen, "^ERR\\|!!!\\|ERR$");
}

TEST_F(Message_Test, GetKindRecognisesCanonicalPrefixesFollowedByABlank) {
    long length = -1;
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u"*** disk full", length), Fnd_Error_Msg);
    EXPECT_EQ(length, 4);
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u"***disk full", length), Fnd_Unknown_Kind_Msg);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u"=== 3 rows"), Fnd_Result_Msg);
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u"<UNKNOWN> x"), Fnd_Unknown_Kind_Msg);
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u" plain"), Fnd_Unknown_Kind_Msg);
    EXPECT_EQ(Fnd_Message_Kind::Get_Kind(u"***"), Fnd_Unknown_Kind_Msg);

    Fnd_String out(u"untouched");
    Fnd_Message_Kinds kind = Fnd_Error_Msg;
    Fnd_Message_Kind::Remove_Canonical_Prefix(u"no prefix", out, kind);
    EXPECT_EQ(kind, Fnd_Unknown_Kind_Msg);
    EXPECT_EQ(Narrow(out), "untouched");
    Fnd_String line(u"!!! low memory");
    Fnd_Message_Kind::Remove_Canonical_Prefix(line, line, kind);
    EXPECT_EQ(kind, Fnd_Warning_Msg);
    EXPECT_EQ(Narrow(line), "low memory");
}

TEST_F(Message_Test, AssertionKindFromTheCatalogIsKeptOrMadeAnError) {
    Catalog_Directory positive;
    positive.Add("Base", "root", R"("1_0" { :int { 5 }, "noted <reason>" })");
    positive.Use();
    Fnd_Assertion_Error error(Fnd_String(u"ctx"));
    EXPECT_EQ(error.Kind(), Fnd_Positive_Msg);
    EXPECT_EQ(Img(error, Fnd_Detail_Normal, 1), "+++ noted ctx");

    Catalog_Directory none;
    none.Add("Base", "root", R"("1_0" { :int { 0 }, "noted <reason>" })");
    none.Use();
    EXPECT_EQ(error.Kind(), Fnd_Error_Msg);
    EXPECT_EQ(Img(error, Fnd_Detail_Normal, 1), "*** noted ctx");
    // With a reason, the reason's image stands in every placeholder.
    Fnd_Assertion_Error with_reason(Fnd_Clone_Error(u"Widget"), u"ctx");
    EXPECT_EQ(Img(with_reason), "noted Base.Fnd_Clone_Error.0: Widget");
}

// ---- The catalog store

TEST_F(Message_Test, TheFifthCatalogEvictsTheLeastRecentlyUsed) {
    Catalog_Directory catalogs;
    const Code_Unit* names[] = {u"C1", u"C2", u"C3", u"C4", u"C5"};
    for (int i = 0; i < 5; ++i)
        catalogs.Add("C" + std::to_string(i + 1), "root",
                     "\"7_1\" { :int { 1 }, \"text of C" + std::to_string(i + 1) + "\" }");
    catalogs.Use();
    auto look_up = [&](int i) { return Img(Probe_Message(names[i], 1)); };
    auto order = [] {
        std::string all;
        for (long i = 0; i < Fnd_Message_Catalogs::Open_Count(); ++i)
            all += Narrow(Fnd_Message_Catalogs::Open_Name(i)) + " ";
        return all;
    };

    for (int i = 0; i < 4; ++i) EXPECT_EQ(look_up(i), "text of C" + std::to_string(i + 1));
    EXPECT_EQ(order(), "C4 C3 C2 C1 ");
    EXPECT_EQ(look_up(0), "text of C1");
    EXPECT_EQ(order(), "C1 C4 C3 C2 ");
    EXPECT_EQ(look_up(4), "text of C5");
    EXPECT_EQ(order(), "C5 C1 C4 C3 ");
    // The evicted catalog opens again, in place of the then least recently used.
    EXPECT_EQ(look_up(1), "text of C2");
    EXPECT_EQ(order(), "C2 C5 C1 C4 ");
}

TEST_F(Message_Test, AMissingCatalogOrARefreshClosesTheOthers) {
    Use_Probe();
    EXPECT_EQ(Img(Probe_Message(u"Probe", 2)), "only normal");
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 1);
    EXPECT_EQ(Img(Probe_Message(u"Absent", 2)), "Absent.Probe_Message.2: probe-info");
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 0);
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Catalog(Fnd_String()), nullptr);
    // Refresh closes them all.
    EXPECT_NE(Fnd_Message_Catalogs::Open_Catalog(u"Probe"), nullptr);
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 1);
    Fnd_Message::Refresh_Databases();
    EXPECT_EQ(Fnd_Message_Catalogs::Open_Count(), 0);
}

TEST_F(Message_Test, SimpleStringsAreReadByTextNumber) {
    Catalog_Directory catalogs;
    catalogs.Add("Zentrak_core", "root", R"("5" { "five" })");
    catalogs.Use();
    Fnd_String text(u"old");
    EXPECT_EQ(Fnd_Message::Read_Db_Message(Fnd_Message_Id(u"Zentrak_core", 1, 5), text), 1);
    EXPECT_EQ(Narrow(text), "five");
    EXPECT_EQ(Fnd_Message::Read_Db_Message(Fnd_Message_Id(u"Zentrak_core", 1, 6), text), 0);
    EXPECT_TRUE(text.Is_Empty());
    EXPECT_EQ(Fnd_Message::Read_Db_Message(Fnd_Message_Id(u"Nowhere", 1, 5), text), 0);
}

std::string German_Images_Seen() {
    setenv("ZT_LANG", "de_DE", 1);
    Catalog_Directory catalogs;
    catalogs.Add("Probe", "root", Probe_Records);
    catalogs.Add("Probe", "de", R"("7_1" { :int { 5 }, "Datei <file>" })");
    catalogs.Use();
    // A record the language lacks comes from root.
    return Img(Probe_Message(u"Probe", 1, u"f")) + "|" + Img(Probe_Message(u"Probe", 2));
}

TEST(Message_Language, TheUserLanguageIsReadBeforeRoot) {
    Expect_Seen_In_Fresh_Process(&German_Images_Seen, "^Datei f\\|only normal$");
}

TEST(Message_Directory, WithoutTheSwitchCatalogsLieBelowHomeAndArchitecture) {
    Pin_Language();
    Catalog_Directory home;
    const std::string arch = "test_arch";
    setenv("ZT_HOME", home.Path.c_str(), 1);
    setenv("ZT_ARCH", arch.c_str(), 1);
    unsetenv("ZT_MESSAGES");
    Hst_Switches::Clear_Cache();
    // Compile into <home>/<arch>/messages/Probe.
    Catalog_Directory staging;
    staging.Add("Probe", "root", Probe_Records);
    std::filesystem::create_directories(home.Path + "/" + arch + "/messages");
    std::filesystem::copy(staging.Path + "/Probe", home.Path + "/" + arch + "/messages/Probe",
                          std::filesystem::copy_options::recursive);
    EXPECT_EQ(Narrow(Fnd_Message_Catalogs::Message_Directory()),
              home.Path + "/" + arch + "/messages");
    EXPECT_EQ(Img(Probe_Message(u"Probe", 2)), "only normal");
}

TEST(Message_Directory, TheArchitectureDefaultIsWrittenToTheEnvironment) {
    setenv("ZT_HOME", "/nonexistent/home", 1);
    unsetenv("ZT_ARCH");
    unsetenv("ZT_MESSAGES");
    Hst_Switches::Clear_Cache();
    EXPECT_EQ(Narrow(Fnd_Message_Catalogs::Message_Directory()),
              "/nonexistent/home/linux_x86_64/messages");
    ASSERT_NE(getenv("ZT_ARCH"), nullptr);
    EXPECT_STREQ(getenv("ZT_ARCH"), "linux_x86_64");
}

// ---- The shipped catalogs

TEST(Shipped_Catalogs, GiveTextsToClassesWithoutDefault) {
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    EXPECT_EQ(Img(Hst_Process_Error(2, 9, u""), Fnd_Detail_Normal, 1),
              "*** the child process ended by signal 9");
    EXPECT_EQ(Img(Hst_Sys_Call_Error(143, EPIPE, 32, 0), Fnd_Detail_Normal, 1),
              "*** writing 32 bytes failed: Broken pipe");
    EXPECT_EQ(
        Img(Fnd_Assertion_Error(Fnd_Assertion_Message(208, u"Widget"), u""), Fnd_Detail_Normal, 1),
        "*** internal error: objects of class Widget have no hash");
    EXPECT_EQ(Narrow(Hst_Filesystem_Error::Open_Mode_Image(3)), "read and write");
    EXPECT_EQ(Narrow(Hst_Filesystem_Error::Open_Mode_Image(4)), "4");
}

// ---- Message ids

TEST(Message_Id, ParsesThreeTokensOrLeavesAnErrorAndWhatWasRead) {
    Fnd_Condition condition(Fnd_Clone_Error(u"stale"));
    Fnd_Message_Id id(u"Base 3 0x2", condition);  // numbers in any base
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(Narrow(id.Get_Subsystem_Name()), "Base");
    EXPECT_EQ(id.Get_Class_Number(), 3);
    EXPECT_EQ(id.Get_Text_Number(), 2);
    EXPECT_EQ(Narrow(id.Image()), "Base 3 2");
    EXPECT_EQ(Fnd_Message_Id(u"  Host_Interface  010 7 ", condition).Get_Class_Number(), 8);
    EXPECT_FALSE(condition.Failed());

    auto error = [&] { return Fnd_Message_Id_Error::Convert(condition.Get_Error()); };
    Fnd_Message_Id missing(u"Base 3", condition);
    ASSERT_NE(error(), nullptr);
    EXPECT_EQ(error()->Number, 1);
    EXPECT_EQ(Narrow(error()->Image1), "Base 3");
    EXPECT_EQ(missing.Get_Class_Number(), 3);
    Fnd_Message_Id bad(u"Base 3x 2", condition);
    ASSERT_NE(error(), nullptr);
    EXPECT_EQ(error()->Number, 2);
    EXPECT_EQ(Narrow(error()->Image2), "3x");
    EXPECT_EQ(bad.Get_Text_Number(), 2);
    Fnd_Message_Id extra(u"Base 1 2 3", condition);
    ASSERT_NE(error(), nullptr);
    EXPECT_EQ(error()->Number, 1);
    condition.Clear();
    Fnd_Message_Id empty(u"", condition);
    EXPECT_TRUE(condition.Failed());
    EXPECT_TRUE(empty.Is_Nil());
}

TEST(Message_Id, EqualityHashAndNumbering) {
    Fnd_Message_Id a(u"Base", 3, 2), b(u"Base", 3, 2), c(u"Base", 2, 3);
    EXPECT_EQ(a == b, 1);
    EXPECT_EQ(a == c, 0);
    EXPECT_EQ(a.Hash(), b.Hash());
    EXPECT_EQ(a.Hash() ^ c.Hash(), (3L * 65536 ^ 2) ^ (2L * 65536 ^ 3));
    EXPECT_FALSE(a.Is_Nil());
    a.Make_Nil();
    EXPECT_TRUE(a.Is_Nil());

    EXPECT_EQ(Fnd_Message_Id::Message_Number(5, Fnd_Detail_Alternate), 11);
    EXPECT_EQ(Fnd_Message_Id::Message_Number(5, Fnd_Detail_Normal), 12);
    EXPECT_EQ(Fnd_Message_Id::Message_Number(5, Fnd_Detail_Default), 0);
    long set = 0, number = 0;
    b.Catalog_Key(set, number, Fnd_Detail_Normal);
    EXPECT_EQ(set, 3);
    EXPECT_EQ(number, 6);
}
