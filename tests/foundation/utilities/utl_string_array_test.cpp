#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_utilities.h"
#include "tests/foundation/base/message_test_support.h"

using message_test::Narrow;
using message_test::Wide;

namespace {

std::vector<std::string> Elements(const Utl_String_Array& Array) {
    std::vector<std::string> out;
    for (long i = 0; i < Array.Get_Count(); ++i)
        out.push_back(Array[i] ? Narrow(*Array[i]) : "<null>");
    return out;
}

using Strings = std::vector<std::string>;

// A token read and the position it left, as "token@position".
std::string At(const Fnd_String& Token, long Pos) {
    return Narrow(Token) + "@" + std::to_string(Pos);
}

}  // namespace

// ---- Ownership

TEST(StringArrayTest, BorrowedElementsSurviveMakeEmptyAndOwnedCopiesAreFreed) {
    Fnd_String borrowed(u"borrowed");
    Utl_String_Array array(4, 0);
    array.Add(&borrowed);
    const long free_before = Fnd_String::Free_List_Count();
    array.Make_Empty();
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_before);
    EXPECT_EQ(Narrow(borrowed), "borrowed");

    array.Add(borrowed);
    EXPECT_NE(array[0], &borrowed) << "the reference form stores a copy";
    EXPECT_TRUE(array.Is_Owned(0));
    const long free_with_copy = Fnd_String::Free_List_Count();
    array.Make_Empty();
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_with_copy + 1) << "the copy went back";

    Fnd_String* adopted = Fnd_String::Get(Fnd_String(u"adopted"));
    array.Transfer_Add(adopted);
    EXPECT_EQ(array[0], adopted);
    Fnd_String* back = array.Transfer_Delete(0);
    EXPECT_EQ(back, adopted);
    EXPECT_EQ(array.Get_Count(), 0);
    back->Free();
}

TEST(StringArrayTest, OwnershipFollowsElementsThroughSortInsertAndReplace) {
    Fnd_String b(u"b"), d(u"d");
    Utl_String_Array array(2, 0);
    array.Add(u"c");
    array.Add(&d);
    array.Add(u"a");
    array.Add(&b);
    array.Sort();
    EXPECT_EQ(Elements(array), (Strings{"a", "b", "c", "d"}));
    for (long i = 0; i < 4; ++i) EXPECT_EQ(array.Is_Owned(i), i % 2 == 0) << i;
    EXPECT_EQ(array[1], &b);

    Utl_String_Array other(2, 0);
    other.Add(&d);
    other.Add(u"x");
    array.Insert(1, other);
    EXPECT_EQ(Elements(array), (Strings{"a", "d", "x", "b", "c", "d"}));
    EXPECT_EQ(array[1], &d) << "borrowed stays borrowed";
    EXPECT_TRUE(array.Is_Owned(2));
    EXPECT_NE(array[2], other[1]) << "owned elements are copied";

    array.Replace(4, other);  // "c" goes, two come in
    EXPECT_EQ(Elements(array), (Strings{"a", "d", "x", "b", "d", "x", "d"}));
    array.Replace(0, Utl_String_Array(1, 0));
    EXPECT_EQ(Elements(array), (Strings{"d", "x", "b", "d", "x", "d"}));
    array.Delete(1, 4);
    EXPECT_EQ(Elements(array), (Strings{"d", "d"}));
    EXPECT_EQ(Narrow(d), "d");

    Utl_String_Array copy(array);
    EXPECT_TRUE(copy == array);
    EXPECT_TRUE(copy.Is_Owned(0)) << "a copy owns every element";
    EXPECT_NE(copy[0], &d);
}

TEST(StringArrayTest, SubscriptAndSetExtendTheArray) {
    Utl_String_Array array(10, 1);
    array.Subscript(3).Append(u"x");
    EXPECT_EQ(array.Get_Count(), 4);
    for (long i = 0; i < 3; ++i) EXPECT_EQ(array[i], nullptr);
    EXPECT_TRUE(array.Is_Owned(3));
    EXPECT_EQ(Narrow(*array[3]), "x");
    EXPECT_EQ(Narrow(array.Subscript(1)), "") << "a null cell gets an empty owned string";
    EXPECT_TRUE(array.Is_Owned(1));

    array.Set(20, u"far");
    EXPECT_EQ(array.Get_Capacity(), 21);
    EXPECT_EQ(array.Get_Count(), 21);
    EXPECT_EQ(array[19], nullptr);
    Fnd_String kept(u"kept");
    const long free_before = Fnd_String::Free_List_Count();
    array.Set(20, &kept);
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_before + 1) << "the owned old element";
    EXPECT_FALSE(array.Is_Owned(20));

    Utl_String_Array grows(10, 0);
    for (int i = 0; i < 11; ++i) grows.Add(u"e");
    EXPECT_EQ(grows.Get_Capacity(), 50);
}

// ---- Order and search

TEST(StringArrayTest, TheSortedFlagDecidesHowToSearch) {
    Utl_String_Array array(4, 0);
    EXPECT_TRUE(array.Is_Sorted()) << "a new array counts as sorted";
    for (const char16_t* s : {u"pear", u"apple", u"fig"}) array.Add(s);
    EXPECT_FALSE(array.Is_Sorted());
    array.Sort();
    EXPECT_TRUE(array.Is_Sorted());
    array.Add(u"banana");  // out of order at the end
    EXPECT_FALSE(array.Is_Sorted());
    EXPECT_EQ(array.Index(u"banana"), 3) << "a linear walk finds it";

    array.Set_Is_Sorted(1);  // a lie: bisection now misses the element
    EXPECT_EQ(array.Contains(u"banana"), 0);
    array.Sort();
    EXPECT_EQ(array.Index(u"banana"), 1);
}

TEST(StringArrayTest, BisectionFindsEveryElementAndNothingElse) {
    for (int count = 0; count < 40; ++count) {
        Utl_String_Array array(4, 0);
        for (int i = 0; i < count; ++i) array.Add(Wide("k" + std::to_string(100 + 2 * i)));
        array.Sort();
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(array.Index(Wide("k" + std::to_string(100 + 2 * i))), i) << count;
            ASSERT_EQ(array.Index(Wide("k" + std::to_string(101 + 2 * i))), -1) << count;
        }
        ASSERT_EQ(array.Index(u"a"), -1);
        ASSERT_EQ(array.Index(u"z"), -1);
    }
    Utl_String_Array with_null(4, 1);
    with_null.Set(1, u"b");
    with_null.Set(2, u"c");
    with_null.Sort();  // the null sorts first and reads as the empty string
    EXPECT_EQ(with_null.Index(Fnd_String()), 0);
    EXPECT_EQ(with_null.Index(u"c"), 2);
}

TEST(StringArrayTest, OrderedInsertKeepsOrderAndFlag) {
    Utl_String_Array array(2, 0);
    for (const char16_t* s : {u"m", u"c", u"x", u"a", u"q"}) array.Ordered_Insert(s);
    EXPECT_EQ(Elements(array), (Strings{"a", "c", "m", "q", "x"}));
    EXPECT_TRUE(array.Is_Sorted());
    EXPECT_EQ(array.Ordered_Insert(u"m"), 2) << "present: its index, nothing inserted";
    EXPECT_EQ(array.Get_Count(), 5);
    EXPECT_EQ(array.Ordered_Insert(u"z"), 5);

    array.Set_Is_Sorted(0);
    array.Ordered_Insert(u"b");
    EXPECT_FALSE(array.Is_Sorted()) << "the flag stays as it was";
    EXPECT_EQ(Elements(array), (Strings{"a", "b", "c", "m", "q", "x", "z"}));
}

TEST(StringArrayTest, CaselessSearchDuplicatesAndPatterns) {
    Utl_String_Array array(u"Alpha beta GAMMA beta2", 4, 0);
    EXPECT_EQ(array.Caseless_Contains(u"gamma"), 1);
    EXPECT_EQ(array.Contains(u"gamma"), 0);
    EXPECT_EQ(array.Contain_Duplicate(), 0);
    array.Caseless_Sort();
    EXPECT_EQ(Elements(array), (Strings{"Alpha", "beta", "beta2", "GAMMA"}));
    EXPECT_FALSE(array.Is_Sorted());

    Utl_String_Array copy(array);
    copy.Delete_Matching(u"beta*", 0);
    EXPECT_EQ(Elements(copy), (Strings{"Alpha", "GAMMA"}));
    copy = array;
    copy.Retain_Matching(u"*a", 1);
    EXPECT_EQ(Elements(copy), (Strings{"Alpha", "beta", "GAMMA"}));

    Utl_String_Array nulls(4, 1);
    nulls.Set(2, u"");
    EXPECT_EQ(nulls.Contain_Duplicate(), 1) << "a null counts as the empty string";
}

// ---- Building from text

TEST(StringArrayTest, LinesAndTokensBecomeElements) {
    Utl_String_Array lines(4, 0);
    lines.Add_Lines(u"a\n");
    EXPECT_EQ(Elements(lines), (Strings{"a", ""}));
    lines.Make_Empty();
    lines.Add_Lines(Fnd_String());
    EXPECT_EQ(Elements(lines), (Strings{""}));

    Utl_String_Array tokens(4, 0);
    tokens.Recreate(u"word \"two words\"\t\"say \"\"hi\"\"\"\n");
    EXPECT_EQ(Elements(tokens), (Strings{"word", "two words", "say \"hi\""}));
    tokens.Add_Values(u"  \"open end");  // no closing quote: taken as it stands
    EXPECT_EQ(Elements(tokens), (Strings{"word", "two words", "say \"hi\"", "\"open end"}));

    Utl_String_Map map(Utl_Range_Long, 1, 0, Utl_Case_Unchanged, nullptr);
    map.Bind(u"y", 1);
    map.Bind(u"x", 2);
    EXPECT_EQ(Elements(Utl_String_Array(map, 0)), (Strings{"y", "x"}));
}

TEST(StringArrayTest, ImagesAndTables) {
    Utl_String_Array array(4, 1);
    array.Add(u"plain");
    array.Add(u"two words");
    array.Set(3, u"");
    EXPECT_EQ(Narrow(array.Image(0, 0, nullptr)), "plain two words  ");
    EXPECT_EQ(Narrow(array.Image(1, 1, u"> ")),
              "> plain\n> \"two words\"\n> \"\"\n> \"\"");

    Utl_String_Array names(4, 0);
    for (const char16_t* s : {u"a", u"bbb", u"c", u"dd", u"e"}) names.Add(s);
    Fnd_String table;
    names.Table_Image(table, 2, u"  ");
    EXPECT_EQ(Narrow(table), "  a   dd \n  bbb e  \n  c   \n");
    names.Table_Image(table, 0, nullptr);
    EXPECT_TRUE(table.Is_Empty());
}

TEST(StringArrayTest, FreedArraysAreRecycledAndFreeTheirStrings) {
    Utl_String_Array* array = Utl_String_Array::Get(7, 1);
    array->Add(u"owned");
    const long free_before = Fnd_String::Free_List_Count();
    array->Free();
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_before + 1);
    EXPECT_EQ(Utl_String_Array::Free_List_Length(7), 1);
    Utl_String_Array* again = Utl_String_Array::Get(7, 0);
    EXPECT_EQ(again, array);
    EXPECT_EQ(again->Get_Count(), 0);
    EXPECT_TRUE(again->Is_Sorted());
    again->Free();
}

// ---- Utilities: separator tokens, command-line tokens, the serial form

TEST(StringUtilitiesTest, SeparatorTokensCountFromTheLastSeparator) {
    using U = Utl_String_Utilities;
    Fnd_String out;
    long pos = -1;
    U::Get_Token(out, u"a_b", pos, u'_', 1);
    EXPECT_EQ(At(out, pos), "a@1");
    U::Get_Token(out, u"a_b", pos, u'_', 1);
    EXPECT_EQ(At(out, pos), "b@3");
    pos = 1;
    U::Get_Token(out, u"a_b", pos, u'_', 0);
    EXPECT_TRUE(out.Is_Empty()) << "without the tail";

    pos = -1;
    U::Get_Token(out, u"x,y;z", pos, u',', u';', 1);
    U::Next_Token(out, u"x,y;z", pos, u";", 1);
    EXPECT_EQ(At(out, pos), "y@3");
    pos = -1;
    U::Skip_Whitespace(u"   w", pos);
    EXPECT_EQ(pos, 2);
    U::Get_Token(out, u"   w", pos);
    EXPECT_EQ(Narrow(out), "w");
}

TEST(StringUtilitiesTest, CommandTokensEndOnTheirLastCharacter) {
    long start = 0, pos = -1, quoted = 0, doubled = 0;
    // found start pos quoted doubled, after each call
    auto find = [&] {
        const long found = Utl_String_Utilities::find_token(start, pos, quoted, doubled,
                                                            u"  ab \"c \"\"d\"\"\" ");
        return std::vector<long>{found, start, pos, quoted, doubled};
    };
    EXPECT_EQ(find(), (std::vector<long>{1, 2, 3, 0, 0}));
    EXPECT_EQ(find(), (std::vector<long>{1, 5, 13, 1, 1}));
    EXPECT_EQ(find()[0], 0);
    EXPECT_EQ(pos, 14) << "the last character";

    const Fnd_String spaces(u" \t x");
    pos = -1;
    EXPECT_EQ(Utl_String_Utilities::Skip_Spaces(spaces, pos), 1);
    EXPECT_EQ(pos, 2);
    EXPECT_EQ(Utl_String_Utilities::Skip_Spaces(spaces, pos), 1);
    pos = 4;
    EXPECT_EQ(Utl_String_Utilities::Skip_Spaces(spaces, pos), 0);

    Fnd_String out;
    Utl_String_Utilities::Token_Extract(out, u"[abc]", 0, 4, 1);
    EXPECT_EQ(Narrow(out), "abc");
}

TEST(StringUtilitiesTest, TheSerialFormReadsBackWhatWasWritten) {
    Fnd_String serial;
    Utl_String_Utilities::Append(serial, u"abc");
    Utl_String_Utilities::Append(serial, 7L);
    EXPECT_EQ(Narrow(serial), "3 abc7 ");
    long pos = 0;
    Fnd_String text;
    Utl_String_Utilities::Get(serial, pos, text);
    EXPECT_EQ(At(text, pos), "abc@5");
    long number = 0;
    Utl_String_Utilities::Get(serial, pos, number);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(pos, 7);
    Utl_String_Utilities::Get(serial, pos, text);
    EXPECT_TRUE(text.Is_Empty()) << "past the end";

    Utl_String_Array array(4, 1);
    array.Add(u"x y");
    array.Set(2, u"");
    Fnd_String packed;
    Utl_String_Utilities::Append(packed, array);
    EXPECT_EQ(Narrow(packed), "3 3 x y0 0 ");
    Utl_String_Array back(4, 0);
    back.Add(u"stale");
    pos = 0;
    Utl_String_Utilities::Get(packed, pos, back);
    EXPECT_EQ(Elements(back), (Strings{"x y", "", ""}));

    // Damaged: lengths and counts beyond the text take only what there is.
    pos = 0;
    Utl_String_Utilities::Get(Fnd_String(u"99 ab"), pos, text);
    EXPECT_EQ(Narrow(text), "ab");
    pos = 0;
    Utl_String_Utilities::Get(Fnd_String(u"999999999999 1 a"), pos, back);
    EXPECT_EQ(Elements(back), (Strings{"a"}));
    pos = 0;
    Utl_String_Utilities::Skip(serial, pos);
    EXPECT_EQ(pos, 5);
}

TEST(StringUtilitiesTest, LocatingCountingAndOffsets) {
    const Fnd_String text(u"abcabc\nxy");
    EXPECT_EQ(Utl_String_Utilities::Locate(u'c', text, 3), 5);
    EXPECT_EQ(Utl_String_Utilities::Locate(Fnd_String(u"bc"), text, 2), 4);
    EXPECT_EQ(Utl_String_Utilities::Locate_One_Of(u"yx", text, 0), 7);
    EXPECT_EQ(Utl_String_Utilities::Reverse_Locate(u'a', text, -1), 3);
    EXPECT_EQ(Utl_String_Utilities::Reverse_Locate(Fnd_String(u"ab"), text, 2), 0);
    EXPECT_EQ(Utl_String_Utilities::Reverse_Locate_One_Of(u"cb", text, -1), 5);
    EXPECT_EQ(Utl_String_Utilities::Locate(u'q', text, 0), -1);
    EXPECT_EQ(Utl_String_Utilities::Count(u'b', text, 2), 1);
    long line = 0, column = 0;
    Utl_String_Utilities::Convert_Offset(text, 8, line, column);
    EXPECT_EQ(std::make_pair(line, column), std::make_pair(2L, 2L));
    Utl_String_Utilities::Convert_Offset(text, -1, line, column);
    EXPECT_EQ(std::make_pair(line, column), std::make_pair(1L, 0L));
}

TEST(StringUtilitiesTest, WildCommandsAddressesAndVariables) {
    Fnd_String command(u"a%b.c");
    long wild = 0, percent = 0;
    Utl_String_Utilities::Transform_Command(command, wild, percent);
    EXPECT_EQ(Narrow(command), "a*b*c");
    EXPECT_EQ(wild, 1);
    EXPECT_EQ(percent, 1);
    EXPECT_EQ(Utl_String_Utilities::Is_Wild(u"a[b"), 1);
    EXPECT_EQ(Utl_String_Utilities::Is_Wild(u"a|b"), 0);
    EXPECT_EQ(Utl_String_Utilities::Is_Wild_Or_Multiple(u"a|b"), 1);
    EXPECT_EQ(Utl_String_Utilities::Is_Wild_Command(u"a.b"), 1);

    void* address = reinterpret_cast<void*>(1);
    EXPECT_EQ(Utl_String_Utilities::Get_Address(u"0X10", address), 0);
    EXPECT_EQ(Utl_String_Utilities::Get_Address(u"0x1f", address), 1);
    EXPECT_EQ(address, reinterpret_cast<void*>(0x1f));
    EXPECT_EQ(Utl_String_Utilities::Get_Address(u"0", address), 1);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(Utl_String_Utilities::Get_Address(u"0x", address), 0);
    EXPECT_EQ(Utl_String_Utilities::Get_Address(u"0x1G", address), 0);
    EXPECT_EQ(Utl_String_Utilities::Ip_To_Long(u"10.0.1.2"), (10L << 24) + 256 + 2);

    setenv("UTL_TEST_HOME", "/h", 1);
    unsetenv("UTL_TEST_UNSET");
    Fnd_String text(u"$");
    Utl_String_Utilities::Replace_Variables(text, 0);
    EXPECT_EQ(Narrow(text), "$");
    text = u"$UTL_TEST_HOME/x $UTL_TEST_UNSET-y $";
    Fnd_String kept(text);
    Utl_String_Utilities::Replace_Variables(text, 0);
    EXPECT_EQ(Narrow(text), "/h/x -y $");
    Utl_String_Utilities::Replace_Variables(kept, 1);
    EXPECT_EQ(Narrow(kept), "/h/x $UTL_TEST_UNSET-y $");
}

TEST(StringUtilitiesTest, WrappingAndOptions) {
    Fnd_String text(u"one two three four");
    Utl_String_Utilities::Wrap_String(text, 8);
    EXPECT_EQ(Narrow(text), "one two\nthree\nfour");
    Fnd_String long_word(u"abcdefghij");
    Utl_String_Utilities::Wrap_String(long_word, 4);
    EXPECT_EQ(Narrow(long_word), "abcde\nfghij\n");

    Code_Unit a0[] = u"prog", a1[] = u"-x", a2[] = u"-o", a3[] = u"file";
    Code_Unit* argv[] = {a0, a1, a2, a3, nullptr};
    long argc = 4;
    Utl_String_Utilities::Remove_Option(1, argc, argv);
    EXPECT_EQ(argc, 3);
    EXPECT_EQ(argv[1], a2);
    EXPECT_EQ(argv[3], nullptr) << "the terminator moves down";
    long index = 1;
    Fnd_Condition condition;
    EXPECT_EQ(Utl_String_Utilities::Get_Arg(condition, index, argc, argv), 1);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(Utl_String_Utilities::Get_Arg(condition, index, argc, argv), 0);
    ASSERT_TRUE(condition.Failed());
    const Utl_Text_Error* error = Utl_Text_Error::Convert(condition.Get_Error());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(Narrow(error->First), "Missing argument for: file");
    Utl_String_Utilities::Remove2_Options(1, argc, argv);
    EXPECT_EQ(argc, 1);
    EXPECT_EQ(argv[1], nullptr);
}

TEST(StringUtilitiesTest, SeveralMatchesAreListedInATable) {
    const Code_Unit* names[] = {u"bind", u"unbind", u"built", nullptr};
    long index = -1;
    EXPECT_EQ(Utl_String_Utilities::Check_Wild(index, u"unbind", 2, names, 0, nullptr,
                                               u"operation", 0, 0, nullptr, 0),
              1);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(Utl_String_Utilities::Check_Wild(index, u"x*", 2, names, 0, nullptr, nullptr, 1, 0,
                                               nullptr, 0),
              0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Utl_String_Utilities::Check_Wild(index, u"b*", 2, names, 0, nullptr,
                                               u"operation", 1, 0, nullptr, 0),
              2);
    EXPECT_EQ(Utl_String_Utilities::Check_Wild(index, u"*bind", 2, names, 0, nullptr, nullptr, 1,
                                               0, nullptr, 1),
              2) << "no listing";
    Utl_String_Map map(Utl_Range_Long, 7, 0, Utl_Case_Unchanged, nullptr);
    for (const char16_t* key : {u"d", u"a", u"c", u"b"}) map.Bind(key, 1);
    Utl_String_Utilities::Output_Domain_Table(map, u"keys:", 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\nmatching operations:\n  bind built \n\nkeys:\n  a c \n  b d \n");
}
