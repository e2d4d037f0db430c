// Utl_Arguments: splitting command lines by its quoting rule, owned and borrowed texts,
// the null-ended vector, and the image.
#include "foundation/utilities/utl_arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_child_process.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_type_utilities.h"
#include "tests/support/ztint_test_text.h"

namespace {

std::vector<std::u16string> Words(const Utl_Arguments& Args) {
    std::vector<std::u16string> words;
    for (long i = 0; i < Args.Get_Count(); ++i) words.push_back(Args[i] ? Args[i] : u"<null>");
    return words;
}

std::vector<std::u16string> Split(const char16_t* Line) {
    Fnd_String text(Line);
    return Words(Utl_Arguments(text, 0));
}

TEST(UtlArguments, SplittingCommandLines) {
    const struct {
        const char16_t* Line;
        std::vector<std::u16string> Expected;
    } cases[] = {
        {u"", {}},
        {u"  \t ", {}},
        {u"ls -l  /tmp", {u"ls", u"-l", u"/tmp"}},
        {u"grep \"two words\" file", {u"grep", u"two words", u"file"}},
        {u"\"a \\\" b\" c", {u"a \" b", u"c"}},          // an escaped quote stays in the word
        {u"\"a\\\\\" b\"", {u"a\\\" b"}},                 // the second of two backslashes still protects
        {u"\"\" x\"", {u"\" x"}},                         // two quotes alone are no empty word
        {u"say \"unclosed quote", {u"say", u"unclosed quote"}},
        {u"end x", {u"end", u"x"}},                       // a one-character word at the end
        {u"\"quoted\"tail", {u"quoted", u"tail"}},
        {u"a\\ b", {u"a", u"b"}},                          // a backslash protects no blank outside quotes
        {u"x \nline", {u"x", u"\nline"}},                 // a line feed is no separator in front
        {u"one\ntwo", {u"one", u"two"}},
    };
    for (const auto& c : cases) EXPECT_EQ(Split(c.Line), c.Expected);
    Fnd_String line(u"a b");
    Utl_Arguments args(line, 0);
    EXPECT_EQ(line[1], 0);  // the caller's text carries the terminators now
}

TEST(UtlArguments, OwnedAndBorrowedTexts) {
    const Code_Unit borrowed[] = u"borrowed";
    Utl_Arguments args;
    args.Add(Fnd_String(u"copy"));
    args.Add(borrowed, 0);
    Fnd_String moved(u"moved");
    args.Transfer_Add(moved);
    EXPECT_TRUE(moved.Is_Empty());
    args.Insert(0, u"first", 1);
    args.Set(1, borrowed, 0);  // the old owned "copy" is freed at Make_Empty
    EXPECT_EQ(Words(args), (std::vector<std::u16string>{u"first", u"borrowed", u"borrowed", u"moved"}));
    EXPECT_TRUE(args.Is_Owned(0));
    EXPECT_FALSE(args.Is_Owned(1));
    EXPECT_EQ(args[1], borrowed);
    Code_Unit* taken = args.Transfer_Delete(0);
    EXPECT_EQ(std::u16string(taken), u"first");
    delete[] taken;
    EXPECT_EQ(args.Transfer_Delete(0), borrowed);
    args.Make_Empty();
    EXPECT_EQ(args.Get_Count(), 0);
    EXPECT_EQ(std::u16string(borrowed), u"borrowed");
}

TEST(UtlArguments, DeletingShorteningAndGrowth) {
    Fnd_String line(u"a b c d e");
    Utl_Arguments args(line, 2);
    EXPECT_GE(args.Get_Capacity(), 5);
    args.Delete(1, 1);
    EXPECT_EQ(Words(args), (std::vector<std::u16string>{u"a", u"c", u"d", u"e"}));
    args.Delete(1, 2);
    EXPECT_EQ(Words(args), (std::vector<std::u16string>{u"a", u"e"}));
    args.Delete(0);
    EXPECT_EQ(Words(args), std::vector<std::u16string>{u"e"});
    args.Shorten(7);
    EXPECT_EQ(args.Get_Count(), 0);
    Utl_Arguments small(1);
    for (int i = 0; i < 25; ++i) small.Add(Fnd_String(u"w"));
    EXPECT_EQ(small.Get_Count(), 25);
    EXPECT_EQ(small.Get_Capacity(), 210);  // 1, then (1 + 1) * 10, then (20 + 1) * 10
}

TEST(UtlArguments, ArgvSortCopyAndImage) {
    Fnd_String line(u"zeta alpha \"with blank\"");
    Utl_Arguments args(line, 0);
    const Code_Unit* const* argv = args.Get_Argv_With_Null();
    EXPECT_EQ(argv[3], nullptr);
    EXPECT_EQ(args.Get_Count(), 3);
    const Code_Unit* const* again = args.Get_Argv_With_Null();
    EXPECT_EQ(std::u16string(again[0]), u"zeta");
    EXPECT_EQ(again[3], nullptr);
    args.Sort();
    EXPECT_EQ(Words(args), (std::vector<std::u16string>{u"alpha", u"with blank", u"zeta"}));
    args.Add(nullptr, 0);
    Utl_Arguments copy(args);
    EXPECT_EQ(Words(copy), Words(args));
    EXPECT_NE(copy[0], args[0]);
    EXPECT_TRUE(copy.Is_Owned(0));
    EXPECT_EQ(Text(args.Image(0, nullptr)), u"alpha \"with blank\" zeta  ");
    Fnd_String out(u"keep:");
    args.Image(out, 1, 1, u"> ");
    EXPECT_EQ(Text(out), u"keep:> alpha\n> \"with blank\"\n> zeta\n> ");
}

TEST(UtlArguments, FromAMapAndAsARangeKind) {
    Utl_String_Map map;
    map.Bind(Fnd_String(u"key"), 0);
    Utl_Arguments borrowed(map, 0);
    ASSERT_EQ(borrowed.Get_Count(), 1);
    EXPECT_FALSE(borrowed.Is_Owned(0));
    Utl_Arguments copied(map, 1);
    EXPECT_TRUE(copied.Is_Owned(0));
    EXPECT_EQ(std::u16string(copied[0]), u"key");

    Utl_Range_Copier copier = nullptr;
    Utl_Range_Deleter deleter = nullptr;
    Utl_Type_Utilities::Set_Range_Copier(Utl_Range_Arguments, copier);
    Utl_Type_Utilities::Set_Range_Deleter(Utl_Range_Arguments, deleter);
    ASSERT_NE(copier, nullptr);
    ASSERT_NE(deleter, nullptr);
    const long range = copier(reinterpret_cast<long>(&copied));
    EXPECT_EQ(copier(0), 0);
    Fnd_String image;
    Utl_Type_Utilities::Range_Image(image, Utl_Range_Arguments, range, 0, 0, nullptr);
    EXPECT_EQ(Text(image), u"key ");
    deleter(range);
    deleter(0);
}

TEST(UtlArguments, HandedOnToAProcess) {
    Fnd_String line(u"/bin/sh -c \"printf '%s|' \\\"$0\\\" \\\"$1\\\"\" \"two words\" x");
    Utl_Arguments args(line, 0);
    ASSERT_EQ(args.Get_Count(), 5);
    Hst_Child_Process child(args.Get_Argv_With_Null(), 0);
    child.Start(0, -1, 0, nullptr, nullptr);
    Fnd_Condition cond;
    Fnd_String output;
    ASSERT_EQ(child.Wait_For_Output(cond, 1), 1);
    ASSERT_EQ(child.Get_Output_Line(output, cond), 1);
    EXPECT_EQ(Text(output), u"two words|x|");
    child.Finish();
}

}  // namespace
