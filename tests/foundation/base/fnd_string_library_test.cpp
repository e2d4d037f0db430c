#include "foundation/base/fnd_string_library.h"

#include <gtest/gtest.h>
#include <unicode/uloc.h>

#include "tests/support/ztint_test_locale.h"
#include "tests/support/ztint_test_text.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <string>

namespace {

typedef Fnd_String_Library Lib;

class FndStringLibrary : public ::testing::Test {
protected:
    void SetUp() override {
        ZTInt_Test_Pin_Locale();
        ZTInt_Test_Use_Shipped_Catalogs();
    }
};
using FndStringLibraryDeath = FndStringLibrary;

// ---- Comparison and case

TEST_F(FndStringLibrary, CompareOrdersByUnitsAndHonoursTruncation) {
    EXPECT_EQ(Lib::Compare(Fnd_String(u"ab\0c", 4), Fnd_String(u"ab\0d", 4)), Fnd_Less);
    EXPECT_EQ(Lib::Compare(Fnd_String(u"b"), Fnd_String(u"abc")), Fnd_Greater);
    Fnd_String truncated(u"abcz");
    truncated.Truncate(3);
    EXPECT_EQ(Lib::Compare(truncated, Fnd_String(u"abc")), Fnd_Equal);
    EXPECT_EQ(Lib::Collate(truncated, Fnd_String(u"abc")), Fnd_Greater);  // the buffers
}

TEST_F(FndStringLibrary, CaseMappingSizesFromTheNeededLengthAndFollowsTheLocale) {
    EXPECT_EQ(Text(Lib::To_Lower(Fnd_String(u"\u0130\u0130\u0130"))), u"i\u0307i\u0307i\u0307");
    EXPECT_EQ(Text(Lib::To_Upper(Fnd_String(u"\u00DF\u00DF"))), u"SSSS");
    EXPECT_EQ(Text(Lib::Ignore_Case(Fnd_String(u"MiXeD"))), u"mixed");
    Fnd_String title(u"hello wide world");
    Lib::Capitalize(title);
    EXPECT_EQ(Text(title), u"Hello Wide World");
    Fnd_String empty;
    Lib::To_Upper(empty);
    EXPECT_TRUE(empty.Is_Empty());

    // The default locale decides.
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr", &status);
    const Fnd_String lower = Lib::To_Lower(Fnd_String(u"I"));
    const Fnd_String upper = Lib::To_Upper(Fnd_String(u"i"));
    uloc_setDefault("nl", &status);
    Fnd_String dutch(u"ijssel");
    Lib::Capitalize(dutch);
    uloc_setDefault("en_US", &status);
    EXPECT_EQ(Text(lower), u"\u0131");
    EXPECT_EQ(Text(upper), u"\u0130");
    EXPECT_EQ(Text(dutch), u"IJssel");
}

TEST_F(FndStringLibrary, MatchNeedsTheWholeText) {
    EXPECT_EQ(Lib::Match(Fnd_String(u"a.c"), Fnd_String(u"abc")), 1);
    EXPECT_EQ(Lib::Match(Fnd_String(u"ab"), Fnd_String(u"abc")), 0);
    EXPECT_EQ(Lib::Match(Fnd_String(u".*"), Fnd_String()), 0);  // empty text
    EXPECT_EQ(Lib::Match(Fnd_String(u"(unclosed"), Fnd_String(u"unclosed")), 0);
}

// ---- Environment

TEST_F(FndStringLibrary, EnvironmentRoundTripBooleanVariablesAndErrorText) {
    Fnd_String value(u"unchanged");
    unsetenv("FND_LIB_TEST_VAR");
    EXPECT_EQ(Lib::Get_Environment(Fnd_String(u"FND_LIB_TEST_VAR"), value), 0);
    EXPECT_EQ(Text(value), u"unchanged");
    EXPECT_EQ(Lib::Set_Environment(Fnd_String(u"FND_LIB_TEST_VAR"), Fnd_String(u"v\u00E9")), 1);
    EXPECT_STREQ(getenv("FND_LIB_TEST_VAR"), "v\xC3\xA9");
    EXPECT_EQ(Lib::Get_Environment(Fnd_String(u"FND_LIB_TEST_VAR"), value), 1);
    EXPECT_EQ(Text(value), u"v\u00E9");
    Lib::Unset_Variable(u"FND_LIB_TEST_VAR");
    EXPECT_EQ(getenv("FND_LIB_TEST_VAR"), nullptr);
    // A name that is a prefix of another must not remove the other.
    setenv("FND_LIB_TEST_VARX", "1", 1);
    Lib::Unset_Variable(u"FND_LIB_TEST_VAR");
    EXPECT_STREQ(getenv("FND_LIB_TEST_VARX"), "1");

    // Boolean variables and the system error text.
    setenv("FND_LIB_EMPTY", "", 1);
    setenv("FND_LIB_OFF", "Off", 1);
    setenv("FND_LIB_NUMBER", "7", 1);
    unsetenv("FND_LIB_UNSET");
    EXPECT_EQ(Lib::Get_Boolean_Variable(Fnd_String(u"FND_LIB_EMPTY"), 0), 1);
    EXPECT_EQ(Lib::Get_Boolean_Variable(Fnd_String(u"FND_LIB_OFF"), 0), 0);
    EXPECT_EQ(Lib::Get_Boolean_Variable(Fnd_String(u"FND_LIB_NUMBER"), 0), 1);
    EXPECT_EQ(Lib::Get_Boolean_Variable(Fnd_String(u"FND_LIB_UNSET"), 0), 0);
    EXPECT_EQ(Text(Lib::Error_Message(ENOENT)), u"No such file or directory");
}

// ---- Numbers and values

TEST_F(FndStringLibrary, NumbersFromIterators) {
    Fnd_String text(u"  42abc");
    Const_Fnd_String_Iterator end;
    EXPECT_EQ(Lib::To_Long(Const_Fnd_String_Iterator(&text), &end, 10), 42);
    EXPECT_EQ(end.Position, 4);
    Fnd_String hex(u"x0x1F\u00E9");
    EXPECT_EQ(Lib::To_Long(Const_Fnd_String_Iterator(&hex, 1), &end, 0), 31);
    EXPECT_EQ(end.Position, 5);  // stops at the non-ASCII unit
    EXPECT_EQ(Lib::To_Unsigned_Long(Const_Fnd_String_Iterator(&hex, 1), nullptr, 16), 31u);
    Fnd_String real(u"-1.5e2;");
    EXPECT_DOUBLE_EQ(Lib::To_Double(Const_Fnd_String_Iterator(&real), &end), -150.0);
    EXPECT_EQ(end.Position, 6);
    Const_Fnd_String_Iterator past(&text, 99);
    EXPECT_EQ(Lib::To_Long(past, &end, 10), 0);
    EXPECT_EQ(end, past);
    Fnd_String none(u"abc");
    EXPECT_EQ(Lib::To_Long(Const_Fnd_String_Iterator(&none), &end, 10), 0);
    EXPECT_EQ(end.Position, 0);
}

// A base the parsers reject reads nothing: 0, and the end stays at the start.
TEST_F(FndStringLibrary, NumbersWithAnUnsupportedBaseReadNothing) {
    Fnd_String text(u"x12 ");
    for (int base : {-1, 1, 37, 64}) {
        SCOPED_TRACE(base);
        const Const_Fnd_String_Iterator from(&text, 1);
        Const_Fnd_String_Iterator end;
        EXPECT_EQ(Lib::To_Long(from, &end, base), 0);
        EXPECT_EQ(end, from);
        end = Const_Fnd_String_Iterator();
        EXPECT_EQ(Lib::To_Unsigned_Long(from, &end, base), 0u);
        EXPECT_EQ(end, from);
        EXPECT_EQ(Lib::To_Long(from, nullptr, base), 0);
    }
}

TEST_F(FndStringLibrary, ToStringByBase) {
    const struct {
        long Value, Base, Prefix;
        const char16_t* Text;
    } cases[] = {// other bases than 8 and 16: decimal
                 {255, 16, 1, u"0XFF"}, {255, 16, 0, u"FF"},
                 {255, 8, 1, u"0377"},  {255, 8, 0, u"377"},
                 {255, 7, 1, u"255"},   {LONG_MIN, 10, 0, u"-9223372036854775808"}};
    for (const auto& c : cases)
        EXPECT_EQ(Text(Lib::To_String(c.Value, c.Base, c.Prefix)), c.Text) << c.Base;
    Fnd_String out(u"x=");
    Lib::To_String(out, 12L, 10, 0, 1);
    EXPECT_EQ(Text(out), u"x=12");
    Lib::To_String(out, 13L, 10, 0, 0);
    EXPECT_EQ(Text(out), u"13");
    EXPECT_EQ(Text(Lib::To_String(reinterpret_cast<const void*>(0xbeefUL), 16, 1)), u"0xbeef");
    EXPECT_EQ(Text(Lib::To_String(reinterpret_cast<const void*>(0xbeefUL), 16, 0)), u"beef");
}

TEST_F(FndStringLibrary, PresentationOfValues) {
    EXPECT_EQ(Text(Lib::To_Presentation(-7)), u"-7");
    EXPECT_EQ(Text(Lib::To_Presentation(LONG_MAX)), u"9223372036854775807");
    EXPECT_EQ(Text(Lib::To_Presentation(4000000000U)), u"4000000000");
    EXPECT_EQ(Text(Lib::To_Presentation(ULONG_MAX)), u"18446744073709551615");
    EXPECT_EQ(Text(Lib::To_Presentation(2.5)), u"2.500000");
    EXPECT_EQ(Lib::To_Presentation(1e300).Get_Length(), 308);
    EXPECT_EQ(Text(Lib::To_Presentation(Fnd_String(u"obj"))), u"Fnd_String");
}

TEST_F(FndStringLibrary, PresentationOfTimes) {
    const time_t when = 86400 * 365 + 3723;  // 1971-01-01 01:02:03 UTC
    struct tm local;
    localtime_r(&when, &local);
    EXPECT_EQ(Text(Lib::To_Presentation(local)), u"Fri Jan  1 01:02:03 UTC 1971");
    EXPECT_EQ(Text(Lib::To_Presentation(local, Fnd_String(u"%Y-%m-%d \u00E9"))),
              u"1971-01-01 \u00E9");
    EXPECT_TRUE(Lib::To_Presentation(local, Fnd_String()).Is_Empty());
    const std::u16string wide(300, u'w');  // more than the first work buffer
    EXPECT_EQ(Lib::To_Presentation(local, Fnd_String(wide.c_str())).Get_Length(), 300);
    EXPECT_EQ(Text(Lib::To_Ctime(static_cast<long>(when))), u"Fri Jan  1 01:02:03 1971");
    EXPECT_EQ(Text(Lib::To_Ctime(local)), u"Fri Jan  1 01:02:03 1971\n");
}

TEST_F(FndStringLibrary, BooleansFromWordsAndNumbersAndTheIteratorOverThem) {
    struct Case {
        const Code_Unit* Text;
        long Value;
        long Valid;
    };
    const Case cases[] = {
        {u"ON", 1, 1},   {u"yes", 1, 1},   {u"True", 1, 1}, {u"off", 0, 1},
        {u"No", 0, 1},   {u"0", 0, 1},     {u"-1", 0, 1},   {u"2x", 1, 1},
        {u"0x10", 1, 1}, {u"maybe", 0, 0}, {u"", 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        long value = -5, valid = -5;
        Lib::Get_Boolean(Fnd_String(c.Text), value, valid);
        EXPECT_EQ(value, c.Value);
        EXPECT_EQ(valid, c.Valid);
    }
    // To_Boolean moves only over a valid token.
    Fnd_String text(u"  on rest");
    Const_Fnd_String_Iterator end;
    EXPECT_EQ(Lib::To_Boolean(Const_Fnd_String_Iterator(&text), &end), 1);
    EXPECT_EQ(end.Position, 4);
    Fnd_String bad(u"perhaps 1");
    EXPECT_EQ(Lib::To_Boolean(Const_Fnd_String_Iterator(&bad), &end), 0);
    EXPECT_EQ(end.Position, 0);
}

TEST_F(FndStringLibrary, CommentsAreMarkedOnce) {
    EXPECT_EQ(Lib::Is_Comment(Fnd_String(u"# x")) + Lib::Is_Comment(Fnd_String(u"!x")), 2);
    EXPECT_EQ(Lib::Is_Comment(Fnd_String()), 0);
    Fnd_String line(u"x");
    Lib::To_Comment(line);
    Lib::To_Comment(line);
    EXPECT_EQ(Text(line), u"#x");
}

// ---- Scanning

TEST_F(FndStringLibrary, TokensAndLines) {
    Fnd_String text(u"  first\tsecond  ");
    Const_Fnd_String_Iterator it(&text);
    Fnd_String token;
    Lib::Get_Token(it, token);
    EXPECT_EQ(Text(token), u"first");
    EXPECT_EQ(*it, u'\t');
    Lib::Get_Token(it, token);
    EXPECT_EQ(Text(token), u"second");
    Lib::Get_Token(it, token);
    EXPECT_TRUE(token.Is_Empty());

    Fnd_String list(u"a,,b;c");
    Const_Fnd_String_Iterator at(&list);
    Fnd_String part;
    Lib::Get_Token(at, Fnd_String(u",;"), 0, part);
    EXPECT_EQ(Text(part), u"a");
    Lib::Get_Token(at, Fnd_String(u",;"), 0, part);
    EXPECT_EQ(Text(part), u"b");

    Fnd_String lines(u"one\ntwo");
    Const_Fnd_String_Iterator line_it(&lines);
    Fnd_String line;
    Lib::Get_Line(line_it, line);
    EXPECT_EQ(Text(line), u"one");
    EXPECT_EQ(line_it.Position, 4);
    Lib::Get_Line(line_it, line);
    EXPECT_EQ(Text(line), u"two");
    EXPECT_EQ(line_it.Position, 7);  // past the end
    EXPECT_FALSE(line_it.Is_Valid());
}

TEST_F(FndStringLibrary, QuotedTokens) {
    const struct {
        const char16_t* Input;
        long Escapes;
        const char16_t* Token;
        long Next;  // where the iterator stands afterwards
    } cases[] = {
        {u" \"a b\"c d", 0, u"a b", 6},           // behind the closing quote
        {u"x=\"a b\" rest", 0, u"x=\"a b\"", 7},  // quotes inside a token stay
        {u"\"a\\\"b\" z", 1, u"a\\\"b", 6},
        {u"\"never closed", 0, u"never closed", 13},
        {u"ends\\", 1, u"ends\\", 5},
    };
    for (const auto& c : cases) {
        Fnd_String text(c.Input);
        Const_Fnd_String_Iterator it(&text);
        Fnd_String token;
        Lib::Get_Quoted_Token(it, token, c.Escapes);
        EXPECT_EQ(Text(token), c.Token);
        EXPECT_EQ(it.Position, c.Next) << "token " << token.Get_Length();
    }
}

TEST_F(FndStringLibrary, IdentifiersTailsAndSlices) {
    Fnd_String text(u"  name_1-x.y  = 3");
    Const_Fnd_String_Iterator it(&text);
    Fnd_String id;
    Lib::Get_Id(it, id, nullptr);
    EXPECT_EQ(Text(id), u"name_1");
    Const_Fnd_String_Iterator again(&text);
    Fnd_String dash(u"-");
    Lib::Get_Id(again, id, &dash);
    EXPECT_EQ(Text(id), u"name_1-x");
    Const_Fnd_String_Iterator more(&text);
    Fnd_String extra(u"-.");
    Lib::Get_Id(more, id, &extra);
    EXPECT_EQ(Text(id), u"name_1-x.y");
    EXPECT_EQ(*more, u'=');  // white space behind the identifier is skipped
    Lib::Get_Id(more, id, nullptr);
    EXPECT_TRUE(id.Is_Empty());
    EXPECT_EQ(*more, u'=');

    EXPECT_EQ(Text(Lib::Tail(more)), u"= 3");
    EXPECT_EQ(Text(Lib::Slice(text, 2, 5)), u"name");
    EXPECT_TRUE(Lib::Slice(text, 5, 2).Is_Empty());
    EXPECT_EQ(Text(Lib::Slice(text, 14, 99)), u"= 3");
    EXPECT_EQ(
        Text(Lib::Slice(Const_Fnd_String_Iterator(&text, 2), Const_Fnd_String_Iterator(&text, 3))),
        u"na");
    Fnd_String padded(u"  pad  ");
    Lib::Strip(padded);
    EXPECT_EQ(Text(padded), u"pad");
}

// ---- Searching

TEST_F(FndStringLibrary, SearchingWithIterators) {
    Fnd_String text(u"abc abc");
    Const_Fnd_String_Iterator start(&text);
    EXPECT_EQ(Lib::Next(Fnd_Char(u'c'), start + 3).Position, 6);
    EXPECT_EQ(Lib::Next(Fnd_String(u"bc"), start + 2).Position, 5);
    EXPECT_EQ(Lib::Next(Fnd_String(u"zz"), start).Position, 7);  // past the end
    EXPECT_EQ(Lib::Next(Fnd_String(), start + 1).Position, 1);   // empty: the start
    EXPECT_EQ(Lib::Next(Fnd_Ctype::Is_Space, start).Position, 3);
    EXPECT_EQ(Lib::Next_Not(Fnd_Ctype::Is_Alphabetic, start).Position, 3);
    EXPECT_EQ(Lib::Next_One(Fnd_String(u"xc"), start).Position, 2);
    EXPECT_EQ(Lib::Next_None(Fnd_String(u"ab"), start).Position, 2);
    Const_Fnd_String_Iterator last(&text, 6);
    EXPECT_EQ(Lib::Previous(Fnd_Char(u'a'), last).Position, 4);
    EXPECT_EQ(Lib::Previous(Fnd_String(u"abc"), last).Position, 4);
    EXPECT_EQ(Lib::Previous(Fnd_String(u"abc"), last - 3).Position, 0);
    EXPECT_EQ(Lib::Previous(Fnd_Ctype::Is_Space, last).Position, 3);
    EXPECT_EQ(Lib::Previous_Not(Fnd_Ctype::Is_Alphabetic, last).Position, 3);
    EXPECT_EQ(Lib::Previous_One(Fnd_String(u" "), last).Position, 3);
    EXPECT_EQ(Lib::Previous_None(Fnd_String(u"bc"), last).Position, 4);
    EXPECT_EQ(Lib::Previous(Fnd_Char(u'z'), last).Position, 7);
    Const_Fnd_String_Iterator invalid(&text, -1);
    EXPECT_EQ(Lib::Next(Fnd_Char(u'a'), invalid), invalid);
}

// Between Truncate and Expunge the buffer runs on behind Length; what lies there is
// no part of the text, so a search finds nothing in it (it used to end the process
// through Byte_To_Char).
TEST_F(FndStringLibrary, SearchesStopAtTheLengthOfATruncatedString) {
    Fnd_String text(u"ab|cdX");
    text.Truncate(3);
    const Const_Fnd_String_Iterator start(&text);
    EXPECT_EQ(Lib::Next(Fnd_Char(u'X'), start).Position, 3);
    EXPECT_EQ(Lib::Next(Fnd_Char(u'b'), start).Position, 1);
    EXPECT_EQ(Lib::Next(Fnd_String(u"cd"), start).Position, 3);
    EXPECT_EQ(Lib::Next(Fnd_String(u"|c"), start).Position, 3);  // would end behind Length
    EXPECT_EQ(Lib::Next(Fnd_String(u"b|"), start).Position, 1);
}

// Positions near the top of the long range must not overflow into reads far outside.
TEST_F(FndStringLibrary, SearchAndReplaceAtPositionsFarOutside) {
    Fnd_String text(u"abcabc");
    long at = 0;
    for (long from : {7L, LONG_MAX, LONG_MAX - 1}) {
        EXPECT_EQ(Lib::Search(text, from, Fnd_String(u"bc"), at), 0);
        EXPECT_EQ(at, 7);
    }
    long next = 0;
    for (long where : {LONG_MAX, LONG_MAX - 1, -1L, 5L}) {
        Lib::Replace(text, next, Fnd_String(u"bc"), where, Fnd_String(u"X"));
        EXPECT_EQ(Text(text), u"abcabc");
        EXPECT_EQ(next, where);
    }
    Lib::Replace(text, next, Fnd_String(u"bc"), 4, Fnd_String(u"X"));
    EXPECT_EQ(Text(text), u"abcaX");
}

TEST_F(FndStringLibrary, SearchAndReplace) {
    Fnd_String text(u"a\0b a\0b", 7);
    long at = -1;
    EXPECT_EQ(Lib::Search(text, 1, Fnd_String(u"a\0b", 3), at), 1);
    EXPECT_EQ(at, 4);
    EXPECT_EQ(Lib::Search(text, 5, Fnd_String(u"a\0b", 3), at), 0);
    EXPECT_EQ(at, 8);

    Fnd_String s(u"one two");
    long next = 0;
    Lib::Replace(s, next, Fnd_String(u"one"), 0, Fnd_String(u"three"));
    EXPECT_EQ(Text(s), u"three two");
    EXPECT_EQ(next, 5);
    Lib::Replace(Fnd_Char(u't'), Fnd_Char(u'T'), s);
    EXPECT_EQ(Text(s), u"Three Two");
}

int Reverse_Order(const Code_Unit* Key, const Code_Unit* const* Table, long Index, long& Status) {
    if (Table[Index][0] == u'!') Status = 1;
    return -std::u16string(Key).compare(Table[Index]);
}

TEST_F(FndStringLibrary, TableLookUp) {
    const Code_Unit* table[] = {u"ant", u"bee", u"cat", u"dog", u"eel", u"fox", u"gnu"};
    for (long count = 1; count <= 7; ++count) {
        for (long i = 0; i < count; ++i)
            EXPECT_EQ(Lib::Binary_Search(table[i], count, table), i) << count << " " << i;
        EXPECT_EQ(Lib::Binary_Search(u"aaa", count, table), -1);
        EXPECT_EQ(Lib::Binary_Search(u"zzz", count, table), -1);
        EXPECT_EQ(Lib::Binary_Search(u"cow", count, table), -1);
    }
    EXPECT_EQ(Lib::Binary_Search(nullptr, 7, table), -1);
    EXPECT_EQ(Lib::Binary_Search(u"ant", 0, table), -1);

    const Code_Unit* reversed[] = {u"gnu", u"fox", u"eel", u"dog"};
    EXPECT_EQ(Lib::Binary_Search(u"eel", 4, reversed, Reverse_Order), 2);
    const Code_Unit* stopping[] = {u"c", u"!b", u"a"};
    EXPECT_EQ(Lib::Binary_Search(u"a", 3, stopping, Reverse_Order), -1);

    EXPECT_EQ(Lib::Linear_Search(u"DOG", 7, table, 1), 3);
    EXPECT_EQ(Lib::Linear_Search(u"DOG", 7, table, 0), -1);
}

// ---- Escapes and quoting

TEST_F(FndStringLibrary, BinarySearchEndsAtANullEntry) {
    const Code_Unit* const table[] = {u"a", u"b", nullptr, u"d", u"e"};
    EXPECT_EQ(Lib::Binary_Search(u"c", 5, table), -1);
    EXPECT_EQ(Lib::Binary_Search(u"d", 5, table), -1);
    EXPECT_EQ(Lib::Binary_Search(u"a", 2, table), 0);
    const Code_Unit* const pair[] = {nullptr, u"b"};
    EXPECT_EQ(Lib::Binary_Search(u"b", 2, pair), -1);
}

TEST_F(FndStringLibrary, RemoveEscapes) {
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"\\101\\x41\\9"), 1)), u"AA9");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"a\\nb\\tc\\a"), 1)), u"a\nb\tc\a");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"\\1012"), 1)), u"A2");  // three digits
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"\\xg"), 1)), u"xg");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"a\\\\n"), 1)), u"a\\n");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"a\\\\n"), 0)), u"a\\\\n");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"end\\"), 1)), u"end\\");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Fnd_String(u"\\0x"), 1)), std::u16string(u"\0x", 2));

    // With a map of where the escapes stood.
    Fnd_String text(u"a\\<b>\\n");
    Fnd_String map;
    Lib::Remove_Escapes(text, map, Lib::Esc());
    EXPECT_EQ(Text(text), u"a<b>\n");
    EXPECT_EQ(Text(map), u" \\  \\");

    Fnd_String plain(u"x\\y");
    Lib::Remove_Escapes(plain, map, Fnd_Char());  // a 0 escape removes nothing
    EXPECT_EQ(Text(plain), u"x\\y");
    EXPECT_EQ(Text(map), u"   ");
}

TEST_F(FndStringLibraryDeath, RemoveEscapesWithABlankIsAssertion113) {
    Fnd_String text(u"a b");
    Fnd_String map;
    EXPECT_DEATH(Lib::Remove_Escapes(text, map, Fnd_Char(u' ')),
                 "a blank cannot be the escape character");
}

TEST_F(FndStringLibrary, InsertEscapes) {
    EXPECT_EQ(Text(Lib::Insert_Escapes(Fnd_String(u"a\\b\nc"), 1)), u"a\\\\b\nc");
    EXPECT_EQ(Text(Lib::Insert_Escapes(Fnd_String(u"a\\b\nc\t"), 0)), u"a\\\\b\\nc\\t");
    Fnd_String text(u"a;b;c;d");
    Lib::Insert_Escapes(text, Fnd_String(u";"), 2, 4, Fnd_Char(u'%'));
    EXPECT_EQ(Text(text), u"a;b%;c;d");
    Fnd_String all(u"a;b");
    Lib::Insert_Escapes(all, Fnd_String(u";"), 0, Fnd_Char(u'%'));
    EXPECT_EQ(Text(all), u"a%;b");
    // Round trip of every control character the standard set holds.
    Fnd_String controls(u"\n\t\v\b\r\f\\x");
    EXPECT_EQ(Text(Lib::Remove_Escapes(Lib::Insert_Escapes(controls, 0), 1)), Text(controls));
}

TEST_F(FndStringLibrary, Quoting) {
    EXPECT_EQ(Text(Lib::Double_Quotes(Fnd_String(u"say \"hi\""), Fnd_Char(u'"'))),
              u"say \"\"hi\"\"");
    EXPECT_EQ(Text(Lib::Single_Quotes(Fnd_String(u"''a'''"), Fnd_Char(u'\''))), u"'a''");

    const struct {
        const char16_t *Input, *Printable;
        long Force;
    } cases[] = {{u"abc", u"abc", 0},        {u"a b", u"\"a b\"", 0},     {u"", u"\"\"", 0},
                 {u"x\ny", u"\"x\\ny\"", 0}, {u"q\"q", u"\"q\"\"q\"", 0}, {u"abc", u"\"abc\"", 1}};
    for (const auto& c : cases) {
        Fnd_String text(c.Input);
        Lib::Make_Printable(text, c.Force);
        EXPECT_EQ(Text(text), c.Printable);
    }
}

}  // namespace
