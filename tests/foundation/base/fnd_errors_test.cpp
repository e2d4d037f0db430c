// The error classes: images with and without a catalog, equality and errno tests.
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assertion_error.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_sys_call_error.h"
#include "foundation/base/fnd_type_errors.h"
#include "foundation/host/hst_errors.h"
#include "foundation/textio/tio_errors.h"
#include "foundation/utilities/utl_errors.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

class Error_Image_Test : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Empty.Use();
    }
    static std::string Normal(const Fnd_Message& Message) {
        return Narrow(Message.Image(Fnd_Detail_Normal, 1, 1));
    }
    static std::string Plain(const Fnd_Message& Message) {  // without the kind
        return Narrow(Message.Image(Fnd_Detail_Normal, 0, 1));
    }
    static std::string Info(const Fnd_Message& Message, const Code_Unit* Name) {
        return Narrow(Message.Info(Name, Fnd_Detail_Normal));
    }
    Catalog_Directory Empty;
};

}  // namespace

// ---- Built-in templates and level-2 answers (no catalog)

TEST_F(Error_Image_Test, AbstractTypeErrorTemplateNamesTheTypesOfItsObjects) {
    Fnd_Condition domain;
    Fnd_Abstract_Type_Error error(Fnd_Abstract_Type_Error_Texts::Kor_Null_Object,
                                  u"Fnd_List_Sequence", &domain, nullptr, 3);
    EXPECT_EQ(Normal(error),
              "*** Abstract_Types.Fnd_Abstract_Type_Error.11: class Fnd_List_Sequence; "
              "domain Fnd_Condition; range ; str ; pos 3");
    Fnd_Abstract_Type_Error with_text(Fnd_Abstract_Type_Error_Texts::Kor_Referenced_Pointee,
                                      u"Fnd_Counted_Pointee", 2);
    EXPECT_EQ(Info(with_text, u"str"), "Fnd_Counted_Pointee");
    EXPECT_EQ(Info(with_text, u"class"), "");
    EXPECT_EQ(with_text.Text_Number(), 121);
}

TEST_F(Error_Image_Test, ClassesWithoutTemplateFallBackOnTheirLevelTwoAnswer) {
    EXPECT_EQ(Normal(Fnd_Clone_Error(u"Widget")), "<UNKNOWN> Base.Fnd_Clone_Error.0: Widget");
    EXPECT_EQ(Normal(Hst_Process_Error(2, 9, u"prog")),
              "<UNKNOWN> Host_Interface.Hst_Process_Error.2: 9");
    EXPECT_EQ(
        Plain(Hst_Sys_Call_Error(141, EIO, u"a", u"b", 1, 2, Hst_Filesystem::Hst_Open_Read)),
        "Host_Interface.Hst_Sys_Call_Error.141:   Errno: 5  Str: a  Str1: b  Num: 1  Num1: 2");
    EXPECT_EQ(Plain(Fnd_Array_Constraint_Error(255, 256)),
              "Abstract_Types.Fnd_Array_Constraint_Error.0: ");
    EXPECT_EQ(Plain(Fnd_Assertion_Message(203, u"Hst_Process")),
              "Base.Fnd_Assertion_Message.203: ");
    EXPECT_EQ(Plain(Tio_Abort_Operation(Fnd_Error_Msg, u"***", u"x", 1)),
              "Input_Output.Tio_Abort_Operation.0: ");
}

TEST_F(Error_Image_Test, MessageIdVaultlineTextAndEdutilDefaultTexts) {
    // Message id error 3 asks for the session switch.
    EXPECT_EQ(Normal(Fnd_Message_Id_Error(3)),
              "*** the message context has not been specified; check your session switch");
    EXPECT_EQ(Normal(Fnd_Message_Id_Error(3, u"ZT_CONTEXT")),
              "*** the message context has not been specified; check ZT_CONTEXT");
    EXPECT_EQ(Narrow(Fnd_Message_Id_Error(1, u"a", u"b").Info(u"other", Fnd_Detail_Default)),
              "a;b");
    EXPECT_EQ(Normal(Fnd_Vaultline_Error(7, u"vault down")),
              "*** Base.Fnd_Vaultline_Error.7: image vault down");
    EXPECT_EQ(Normal(Utl_Text_Error(u"plain words")), "*** plain words");
    EXPECT_EQ(Normal(Utl_Text_Error(u"first", u"")), "*** first");
    EXPECT_EQ(Narrow(Utl_Text_Error(u"first", u"second").Image(Fnd_Detail_Alternate, 0, 1)),
              "second");
    // The edutil error fills its image only at level 2.
    Utl_Edutil_Error error(104, u"settings", u"notes", 7);
    EXPECT_EQ(Narrow(error.Image(Fnd_Detail_Default, 0, 1)),
              "Editor_Utilities.Utl_Edutil_Error.104: image  Str1: settings Str2: notes Num: 7");
    EXPECT_EQ(Plain(error), "Editor_Utilities.Utl_Edutil_Error.104: image ");
}

TEST_F(Error_Image_Test, FilesystemErrorTemplate) {
    Hst_Filesystem_Error error(4, u"/etc/x", EACCES);
    EXPECT_EQ(Normal(error),
              "*** Host_Interface.Hst_Filesystem_Error.4: path /etc/x; path_length 6; mode 0; "
              "condition ; errno Permission denied; length 0");
    Hst_Filesystem_Error nested(10, Fnd_Sys_Call_Error(u"mkdir", EEXIST, u"", 0));
    EXPECT_EQ(Info(nested, u"detail"), "syscall: mkdir\nerrno: File exists");
    Hst_Filesystem_Error mode(16, u"f", Hst_Filesystem::Hst_Open_Write, EACCES);
    EXPECT_EQ(Info(mode, u"imode"), "2");
    EXPECT_EQ(Info(Hst_Filesystem_Error(7, 100L, u"p"), u"length"), "100");
}

// ---- Catalog templates receive the fields

TEST_F(Error_Image_Test, CatalogTemplatesReceiveEveryField) {
    Catalog_Directory catalogs;
    catalogs.Add("Abstract_Types", "root", R"(
        "2_0" { :int { 9 }, "<value> over <legal>" }
        "3_0" { :int { 9 }, "<value> not in [<min>, <max>]" }
        "4_0" { :int { 9 }, "<checker>: <illegal> is no <legal>" }
    )");
    catalogs.Add("Base", "root", R"(
        "6_203" { :int { 9 }, "copy of <class> <name>" }
        "6_1" { :int { 9 }, "missing <name>" }
    )");
    catalogs.Add("Input_Output", "root", R"(
        "1_0" { :int { 8 }, "[<kind>] [<prefix>] [<text>] [<message>]" }
    )");
    catalogs.Add("Host_Interface", "root", R"(
        "6_6" { :int { 8 }, "<sig> <name> <errno>" }
        "7_5" { :int { 9 }, "<perm1> <perm2> <mode>" }
        "7_6" { :int { 9 }, "<path_truncate>" }
        "7_81" { :int { 1 }, "none" }
        "7_83" { :int { 1 }, "write" }
        "8_2" { :int { 9 }, "<str> <str1> <num> <num1> <mode> <errno>" }
    )");
    catalogs.Use();

    EXPECT_EQ(Normal(Fnd_Array_Constraint_Error(255, 300)), "*** 300 over 255");
    EXPECT_EQ(Normal(Fnd_Array_Range_Error(-1, 4, 9)), "*** 9 not in [-1, 4]");
    EXPECT_EQ(Normal(Fnd_Type_Error(u"Fnd_Is_Checker", u"Fnd_String", u"Fnd_Condition")),
              "*** Fnd_Is_Checker: Fnd_Condition is no Fnd_String");
    EXPECT_EQ(Normal(Fnd_Assertion_Message(203, u"Hst_Process")), "*** copy of Hst_Process ");
    EXPECT_EQ(Normal(Fnd_Assertion_Message(1, Fnd_String(u"Tio_Text_Cin::Do_Get"))),
              "*** missing Tio_Text_Cin::Do_Get");
    EXPECT_EQ(Normal(Tio_Cancel_Operation(Fnd_Warning_Msg, u"!!!", u"disk low", 3)),
              "!!! [Fnd_Warning_Msg] [!!!] [disk low] [!!! disk low]");
    EXPECT_EQ(Normal(Hst_Process_Error(6, EPIPE, u"x")), "!!! 32 x Broken pipe");
    EXPECT_EQ(Normal(Hst_Filesystem_Error(5, 04755UL, 02640UL)), "*** rwsr-xr-x rw-r-S--- none");
    EXPECT_EQ(
        Normal(Hst_Sys_Call_Error(2, ENOENT, u"/a", u"/b", 3, 4, Hst_Filesystem::Hst_Open_Write)),
        "*** /a /b 3 4 write No such file or directory");

    Fnd_String long_path;
    for (int i = 0; i < 2000; ++i) long_path.Append(Fnd_Char(u'a' + i % 26));
    const std::string cut = Normal(Hst_Filesystem_Error(6, long_path)).substr(4);
    EXPECT_EQ(cut.size(), 1029u);
    EXPECT_EQ(cut.substr(0, 768), Narrow(long_path.Get(0, 768)));
    EXPECT_EQ(cut.substr(768, 5), " ... ");
    EXPECT_EQ(cut.substr(773), Narrow(long_path.Get(2000 - 256, 256)));
    Fnd_String short_path(1024L, Fnd_Char(u'p'), 1L);
    EXPECT_EQ(Normal(Hst_Filesystem_Error(6, short_path)).size(), 4u + 1024u);
}

// ---- Equality, cloning, hashing

TEST(Error_Classes, EqualityComparesFieldsOrTheTextNumberForProcessErrors) {
    EXPECT_EQ(Hst_Process_Error(5, 0, u"a") == Hst_Process_Error(5, 7, u"b"), 1);
    EXPECT_EQ(Hst_Process_Error(5, 0, u"a") == Hst_Process_Error(4, 0, u"a"), 0);
    EXPECT_EQ(Hst_Sys_Call_Error(2, 1, u"a", u"", Hst_Filesystem::Hst_Open_Read) ==
                  Hst_Sys_Call_Error(2, 1, u"b", u"", Hst_Filesystem::Hst_Open_Read),
              0);
    EXPECT_EQ(Fnd_Array_Range_Error(0, 1, 2) == Fnd_Array_Range_Error(0, 1, 2), 1);
    EXPECT_EQ(Fnd_Array_Range_Error(0, 1, 2) == Fnd_Array_Range_Error(0, 1, 3), 0);
    // Different classes never compare equal, whatever their fields.
    EXPECT_EQ(Fnd_Array_Range_Error(0, 0, 0) == Fnd_Array_Constraint_Error(0, 0), 0);
    Fnd_Abstract_Type_Error a(Fnd_Abstract_Type_Error_Texts::Kor_Null_Object, u"s", 1);
    Fnd_Abstract_Type_Error b(Fnd_Abstract_Type_Error_Texts::Kor_Null_Object, u"s", 1);
    EXPECT_EQ(a == b, 1);
    b.Str = u"t";
    EXPECT_EQ(a == b, 0);
}

TEST(Error_Classes, ACloneKeepsEveryField) {
    Hst_Filesystem_Error original(16, u"/p", Hst_Filesystem::Hst_Open_Read_Write, EACCES);
    original.Detail.Set_Error(Fnd_Sys_Call_Error(u"open", EACCES, u"/p", 0), 1);
    Fnd_Condition condition(original);
    const Hst_Filesystem_Error* copy = Hst_Filesystem_Error::Convert(condition.Get_Error());
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, &original);
    EXPECT_EQ(*copy == original, 1);
    EXPECT_TRUE(copy->Detail.Failed());
    EXPECT_EQ(copy->Mode, Hst_Filesystem::Hst_Open_Read_Write);
}

TEST(Error_Classes, MessagesHaveNoHash) {
    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    EXPECT_EXIT(Fnd_Array_Range_Error(0, 1, 2).Hash(), ::testing::KilledBySignal(SIGABRT),
                "^\\*\\*\\* internal error: objects of class Fnd_Array_Range_Error have no "
                "hash\n$");
}

TEST_F(Error_Image_Test, SysCallErrorPlaceholdersShowWhatWasBeingDone) {
    Fnd_Sys_Call_Error error(u"connect", ECONNREFUSED, u"", 4);
    error.Set_Doing(u"socket interface");
    EXPECT_EQ(Info(error, u"what"), "socket interface ");
    EXPECT_EQ(Info(error, u"path"), "socket interface");
    EXPECT_EQ(Info(Fnd_Sys_Call_Error(), u"what"), "");
}

// ---- Errno tests

TEST(Error_Classes, IsErrnoLooksAtTheErrorOfItsOwnClassOnly) {
    Fnd_Condition clear;
    EXPECT_EQ(Fnd_Sys_Call_Error::Is_Errno(clear, 0), 0);
    EXPECT_EQ(Hst_Sys_Call_Error::Is_Errno(clear, 0), 0);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(clear, 0), 0);

    Fnd_Condition fnd(Fnd_Sys_Call_Error(u"write", EPIPE, u"", 0));
    EXPECT_EQ(Fnd_Sys_Call_Error::Is_Errno(fnd, EPIPE), 1);
    EXPECT_EQ(Fnd_Sys_Call_Error::Is_Errno(fnd, EINTR), 0);
    EXPECT_EQ(Hst_Sys_Call_Error::Is_Errno(fnd, EPIPE), 0);

    Fnd_Condition hst(Hst_Sys_Call_Error(143, EPIPE, 10, 0));
    EXPECT_EQ(Hst_Sys_Call_Error::Is_Errno(hst, EPIPE), 1);
    EXPECT_EQ(Fnd_Sys_Call_Error::Is_Errno(hst, EPIPE), 0);

    Fnd_Condition file(Hst_Filesystem_Error(201, u"/missing", ENOENT));
    EXPECT_EQ(Fnd_Sys_Call_Error::Is_Errno(file, ENOENT), 0);
    EXPECT_EQ(Hst_Sys_Call_Error::Is_Errno(file, ENOENT), 0);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Errno(file, ENOENT), 1);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Number(file, 201), 1);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Number(file, 101), 0);
    EXPECT_EQ(Hst_Filesystem_Error::Is_Number(hst, 143), 0);
}
