#include "foundation/base/fnd_string.h"

#include <gtest/gtest.h>

#include "tests/support/ztint_test_locale.h"

#include <climits>
#include <string>
#include <utility>

#include "foundation/base/fnd_string_iterator.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_guarded_text.h"
#include "tests/support/ztint_test_text.h"

namespace {

class FndString : public ::testing::Test {
protected:
    void SetUp() override {
        ZTInt_Test_Pin_Locale();
        ZTInt_Test_Use_Shipped_Catalogs();
    }
};
using FndStringDeath = FndString;

TEST_F(FndString, ConstructorsFollowTheirCounts) {
    Fnd_String empty;
    EXPECT_TRUE(empty.Is_Empty());
    EXPECT_EQ(empty.GetAllocLength(), 0);
    EXPECT_EQ(empty.Data()[0], 0);
    EXPECT_TRUE(Fnd_String(static_cast<const Code_Unit*>(nullptr)).Is_Empty());
    EXPECT_EQ(Text(Fnd_String(u"abcdef", 3)), u"abc");
    EXPECT_TRUE(Fnd_String(u"abc", 0L).Is_Empty());

    Fnd_String reserved(5L, 1L);
    EXPECT_EQ(reserved.Get_Length(), 0);
    EXPECT_EQ(reserved.GetAllocLength(), 5);
    Fnd_String sized(5L, 0L);
    EXPECT_EQ(sized.Get_Length(), 5);
    EXPECT_EQ(sized.Data()[5], 0);
    EXPECT_TRUE(Fnd_String(0L, 1L).Is_Empty());

    EXPECT_EQ(Text(Fnd_String(3L, Fnd_Char(u'x'), 1L)), u"xxx");
    EXPECT_EQ(Fnd_String(3L, Fnd_Char(u'x'), 0L).Get_Length(), 3);
    EXPECT_EQ(Text(Fnd_String(static_cast<unsigned short>(u'y'), 2)), u"yy");
    EXPECT_TRUE(Fnd_String(static_cast<unsigned short>(u'y'), 0).Is_Empty());
    EXPECT_TRUE(Fnd_String::Null.Is_Empty());
}

TEST_F(FndString, AssignmentReusesCapacityAndCopiesDeeply) {
    Fnd_String target(20L, 1L);
    target = u"abc";
    EXPECT_EQ(target.GetAllocLength(), 20);
    Fnd_String source(u"xyz");
    target = source;
    EXPECT_EQ(target.GetAllocLength(), 20);
    EXPECT_NE(target.Data(), source.Data());
    target[0] = u'Q';
    EXPECT_EQ(Text(source), u"xyz");
    target = static_cast<const Code_Unit*>(nullptr);
    EXPECT_TRUE(target.Is_Empty());
    Fnd_String self(u"self");
    Fnd_String& alias = self;
    self = alias;  // self-assignment keeps the text
    EXPECT_EQ(Text(self), u"self");
    Fnd_String moved(std::move(source));
    EXPECT_EQ(Text(moved), u"xyz");
    EXPECT_TRUE(source.Is_Empty());  // NOLINT(bugprone-use-after-move): moved-from is empty
}

TEST_F(FndString, EmbeddedZerosSurviveCopiesButStopTerminatedSearches) {
    Fnd_String text(u"ab\0cd", 5);
    Fnd_String copy;
    copy = text;
    copy.Append(text);
    EXPECT_EQ(copy.Get_Length(), 10);
    EXPECT_EQ(Text(text.Get(2, 3)), std::u16string(u"\0cd", 3));
    EXPECT_EQ(text.Find(u'c'), -1);
    EXPECT_EQ(text.Find(u"cd"), -1);
    EXPECT_EQ(text.Find(u'b'), 1);
}

TEST_F(FndString, GetTakesUnitsAndChecksTheRange) {
    Fnd_String text(u"abcd");
    EXPECT_EQ(Text(text.Get(1, 2)), u"bc");
    EXPECT_TRUE(text.Get(4, 0).Is_Empty());  // at the end with no units: no failure
    EXPECT_TRUE(text.Get(99, -1).Is_Empty());
    Fnd_String out(u"old");
    text.Get(out, 0, 0);
    EXPECT_TRUE(out.Is_Empty());
    text.Get(text, 1, 2);  // into itself
    EXPECT_EQ(Text(text), u"bc");
}

// The compatibility searches see Length units also while the buffer runs on behind
// it (between Truncate and Expunge); the tail used to give indices outside the text.
TEST_F(FndString, CompatibilitySearchesSeeOnlyTheLengthOfATruncatedString) {
    Fnd_String text(u"abca|Xbc");
    text.Truncate(4);
    EXPECT_EQ(text.Find(u'X'), -1);
    EXPECT_EQ(text.Find(u'b'), 1);
    EXPECT_EQ(text.Find(u"a|"), -1);
    EXPECT_EQ(text.Find(u"ca"), 2);
    EXPECT_EQ(text.Find(u"bc", 2), -1);
    EXPECT_EQ(text.ReverseFind(u'b'), 1);
    EXPECT_EQ(text.ReverseFind(u'X'), -1);
    EXPECT_EQ(text.FindOneOf(u"X|"), -1);
    EXPECT_EQ(text.FindOneOf(u"Xc"), 2);
    EXPECT_EQ(text.Compare(u"abca"), 0);
    EXPECT_EQ(text.CompareNoCase(u"ABCA"), 0);
    EXPECT_LT(text.Compare(u"abca|"), 0);
}

// Ranges at the top of the long range must not overflow into reads far outside:
// Compare answers 0, Get and Delete fail with their range errors.
TEST_F(FndString, RangesFarOutsideCompareUnequal) {
    Fnd_String text(u"abcd");
    for (long first : {LONG_MAX, LONG_MAX - 1, 4L, LONG_MIN}) {
        EXPECT_EQ(text.Compare(first, 2, Fnd_String(u"ab"), 0), 0);
        EXPECT_EQ(text.Compare(first, 2, u"ab", 1), 0);
    }
    EXPECT_EQ(text.Compare(2, LONG_MAX, Fnd_String(u"cd"), 0), 0);
    EXPECT_EQ(text.Compare(2, 2, Fnd_String(u"cd"), 0), 1);
}

TEST_F(FndStringDeath, RangesFarOutsideFailAsRangeErrors) {
    Fnd_String text(u"abcd");
    EXPECT_DEATH(text.Get(2, LONG_MAX),
                 "the index 9223372036854775807 is outside the range 0 to 3");
    EXPECT_DEATH(text.Delete(1, LONG_MAX), "the value 9223372036854775807 exceeds the limit 4");
}

// A view that reaches outside its string equals nothing and shows no text; the
// string ends in front of an inaccessible page, so a read outside it would crash.
TEST_F(FndString, SubstringsOutsideTheirStringEqualNothing) {
    ZTInt_Guarded_Text guarded(std::u16string(u"abc\0", 4));
    ASSERT_NE(guarded.Data(), nullptr);
    Fnd_String text;
    text.Alias(guarded.Data(), 3, Fnd_No_Deallocator);
    Fnd_String five(u"abc\0\0", 5);
    EXPECT_FALSE(five == (Fnd_Substring{&text, 0, 4}));
    EXPECT_FALSE(Fnd_String(u"bc") == (Fnd_Substring{&text, -1, 0}));
    EXPECT_FALSE(Fnd_String(u"bc") == (Fnd_Substring{&text, 2, 3}));
    EXPECT_TRUE(Fnd_String(u"bc") == (Fnd_Substring{&text, 1, 2}));
    const std::u16string shown = Text(Fnd_Substring{&text, 1, 5}.Show_Text());
    EXPECT_EQ(shown.substr(shown.find(u',')), u",5,]");
    text.Transfer();  // the memory stays the guard's
}

TEST_F(FndStringDeath, IndexesOutsideTheStringAndMisuseFail) {
    Fnd_String text(u"abcd");
    EXPECT_DEATH(text.Get(2, 3), "the index 4 is outside the range 0 to 3");
    EXPECT_DEATH(text.Get(-1, 1), "the index -1 is outside the range 0 to 3");
    EXPECT_DEATH(text[4], "the index 4 is outside the range 0 to 3");
    EXPECT_DEATH(text.Byte_To_Char(text.Data() + 5), "the index 5 is outside the range 0 to 4");
    EXPECT_DEATH(text.Byte_To_Char(text.Data() - 1), "the index -1 is outside the range 0 to 4");
    Fnd_String one(u"x");
    EXPECT_DEATH(one.Insert(Fnd_String(u"y"), 2), "the index 2 is outside the range 0 to 0");
    EXPECT_DEATH(one.Insert(Fnd_Char(u'y'), -1), "the index -1 is outside the range 0 to 0");
    Const_Fnd_String_Iterator on_text(&text), on_one(&one);
    EXPECT_DEATH((void)(on_text - on_one), "the distance of iterators over different strings");
    const std::u16string huge(2100000, u'z');  // Format gives up above a million units
    EXPECT_DEATH(one.Format(u"%s", huge.c_str()),
                 "internal error: CString::Format buffer overflow");
}

TEST_F(FndString, InsertAtTheLengthAppendsAndOtherEdits) {
    Fnd_String empty;
    empty.Insert(Fnd_String(u"ab"), 0);
    EXPECT_EQ(Text(empty), u"ab");
    Fnd_String one(u"x");
    one.Insert(Fnd_String(u"yz"), 1);
    EXPECT_EQ(Text(one), u"xyz");
    one.Insert(Fnd_String(u"--"), 1);
    EXPECT_EQ(Text(one), u"x--yz");
    one.Insert(Fnd_Char(u'<'));
    one.Insert(Fnd_Char(u'>'), one.Get_Length());
    EXPECT_EQ(Text(one), u"<x--yz>");
    one.Insert(Fnd_String(), 99);  // an empty text does nothing
    EXPECT_EQ(Text(one), u"<x--yz>");

    Fnd_String text(u"hello");
    text.Set(0, Fnd_Char(u'J'));
    text.Set(3, Fnd_String(u"ly"));
    EXPECT_EQ(Text(text), u"Jelly");
    EXPECT_EQ(text.Delete(1, 3), 2);
    EXPECT_EQ(Text(text), u"Jy");
    EXPECT_EQ(text.Delete(0, 0), 2);
    text.Extend(2, Fnd_Char(u'!'));
    EXPECT_EQ(Text(text), u"Jy!!");
    text += static_cast<unsigned short>(u'?');
    EXPECT_EQ(Text(text), u"Jy!!?");
    text.Append_Data(u"abc", 0);
    text.Append(static_cast<const Code_Unit*>(nullptr));
    EXPECT_EQ(Text(text), u"Jy!!?");
}

TEST_F(FndString, ReplaceDoesNotRescanInsertedText) {
    Fnd_String text(u"aaa");
    text.Replace(Fnd_String(u"a"), Fnd_String(u"aa"));
    EXPECT_EQ(Text(text), u"aaaaaa");
    EXPECT_EQ(text.Data()[6], 0);
    Fnd_String words(u"one two one");
    words.Replace(Fnd_String(u"one"), Fnd_String());
    EXPECT_EQ(Text(words), u" two ");
    words.Replace(Fnd_String(), Fnd_String(u"x"));  // empty From: nothing
    EXPECT_EQ(Text(words), u" two ");
    words.Replace(words, Fnd_String(u"all"));  // From is the string itself
    EXPECT_EQ(Text(words), u"all");
}

TEST_F(FndString, CompareOfARangeNeedsTheWholeOtherText) {
    Fnd_String text(u"abcd");
    EXPECT_EQ(text.Compare(0, 3, Fnd_String(u"abc"), 0), 1);
    EXPECT_EQ(text.Compare(0, 4, Fnd_String(u"abc"), 0), 0);  // range holds, other shorter
    EXPECT_EQ(text.Compare(2, 3, Fnd_String(u"cde"), 0), 0);  // past the end
    EXPECT_EQ(text.Compare(-1, 2, Fnd_String(u"ab"), 0), 0);
    EXPECT_EQ(text.Compare(1, 2, Fnd_String(u"BC"), 1), 1);
    EXPECT_EQ(text.Compare(1, 2, Fnd_String(u"BC"), 0), 0);
    EXPECT_EQ(text.Compare(1, 2, u"bc", 0), 1);
    EXPECT_EQ(text.Compare(1, 2, u"bcd", 0), 0);  // other not ended behind Count
    EXPECT_EQ(text.Compare(1, 2, u"b", 0), 0);
    EXPECT_EQ(text.Compare(1, 2, static_cast<const Code_Unit*>(nullptr), 0), 0);
}

TEST_F(FndString, EqualityHashAndObjectModel) {
    Fnd_String a(u"same"), b(u"same"), c(u"other");
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == c);
    EXPECT_TRUE(a == u"same");
    EXPECT_EQ(a.Hash(), b.Hash());
    const Fnd_Object& object = b;
    EXPECT_EQ(a.Is_Equal(object), 1);
    EXPECT_EQ(a.Is_Equal(c), 0);
    EXPECT_NE(Fnd_String::Convert(&object), nullptr);
    Fnd_Object* clone = a.Clone();
    EXPECT_EQ(Text(*Fnd_String::Convert(clone)), u"same");
    delete clone;

    Fnd_Substring middle{&c, 1, 3};
    EXPECT_TRUE(Fnd_String(u"the") == middle);
    EXPECT_FALSE(Fnd_String(u"thx") == middle);
    Fnd_Sub_C_String raw{u"xxsame", 2, 5};
    EXPECT_TRUE(a == raw);
}

TEST_F(FndString, TruncateExpungeAndEncode) {
    Fnd_String text(u"abcdef");
    text.Truncate(3);
    EXPECT_EQ(text.Get_Length(), 3);
    EXPECT_EQ(text.Get_Buffer().Get_Size(), 6);  // stale tail until Expunge
    EXPECT_EQ(text.Encode().Get_Size(), 3);
    text.Append(u"X");  // changes at Length
    EXPECT_EQ(Text(text), u"abcX");
    EXPECT_EQ(text.Data()[4], 0);
    text.Truncate(2);
    text.Expunge();
    EXPECT_EQ(text.Get_Buffer().Get_Size(), 2);
    EXPECT_EQ(text.Data()[2], 0);
    text.Extend_Buffer(3);
    EXPECT_EQ(text.Get_Length(), 2);
    EXPECT_EQ(text.Get_Buffer().Get_Size(), 5);
}

TEST_F(FndString, TransferAliasAndByteToChar) {
    Fnd_String source(u"moved");
    Fnd_String target(u"old");
    source.Transfer(target);
    EXPECT_EQ(Text(target), u"moved");
    EXPECT_TRUE(source.Is_Empty());
    Code_Unit* raw = target.Transfer();
    EXPECT_EQ(std::u16string(raw), u"moved");
    delete[] raw;

    Code_Unit* own = new Code_Unit[4]{u'a', u'b', u'c', 0};
    Fnd_String alias;
    alias.Alias(own, 3, nullptr);  // array delete when released
    EXPECT_EQ(Text(alias), u"abc");
    EXPECT_EQ(alias.Byte_To_Char(alias.Data() + 3), 3);
}

TEST_F(FndString, ConcatenationReservesTheSum) {
    Fnd_String ab(u"ab");
    Fnd_String joined = ab + Fnd_String(u"cd");
    EXPECT_EQ(Text(joined), u"abcd");
    EXPECT_EQ(joined.GetAllocLength(), 4);
    EXPECT_EQ(Text(Fnd_Char(u'<') + ab + static_cast<unsigned short>(u'>')), u"<ab>");
    EXPECT_EQ(Text(u"x" + ab + u"y"), u"xaby");
}

TEST_F(FndString, FreeListRecyclesObjectsAndDropsLargeStorage) {
    Fnd_String* kept = Fnd_String::Get(u"text");
    kept->Ensure_Storage(1000);
    kept->Free();
    EXPECT_EQ(Fnd_String::Free_List_Count(), 1);
    Fnd_String* again = Fnd_String::Get();
    EXPECT_EQ(again, kept);
    EXPECT_TRUE(again->Is_Empty());
    EXPECT_EQ(again->GetAllocLength(), 1000);  // 1000 units are kept

    again->Ensure_Storage(1001);
    again->Free();
    Fnd_String* large = Fnd_String::Get();
    EXPECT_EQ(large, kept);
    EXPECT_EQ(large->GetAllocLength(), 0);  // 1001 units were released
    EXPECT_EQ(Fnd_String::Free_List_Count(), 0);

    Fnd_String* copy = Fnd_String::Get(Fnd_String(u"copy"));
    EXPECT_EQ(Text(*copy), u"copy");
    copy->Free();
    large->Free();
    EXPECT_EQ(Fnd_String::Free_List_Count(), 2);
}

TEST_F(FndString, MidLeftRightClamp) {
    Fnd_String text(u"abcdef");
    EXPECT_EQ(Text(text.Mid(-3, 2)), u"ab");
    EXPECT_TRUE(text.Mid(6, 1).Is_Empty());
    EXPECT_EQ(Text(text.Mid(4, 10)), u"ef");
    EXPECT_TRUE(text.Mid(2, -1).Is_Empty());
    EXPECT_EQ(Text(text.Mid(2)), u"cdef");
    EXPECT_TRUE(text.Left(-1).Is_Empty());
    EXPECT_EQ(Text(text.Left(2)), u"ab");
    EXPECT_EQ(Text(text.Right(text.Get_Length() + 5)), u"abcdef");
    EXPECT_EQ(Text(text.Right(2)), u"ef");
}

TEST_F(FndString, FindFamily) {
    Fnd_String text(u"abcabc");
    EXPECT_EQ(text.Find(u'c'), 2);
    EXPECT_EQ(text.Find(u"ca"), 2);
    EXPECT_EQ(text.Find(u"bc", 2), 4);
    EXPECT_EQ(text.Find(u"bc", 99), -1);
    EXPECT_EQ(text.Find(u""), -1);
    EXPECT_EQ(text.Find(static_cast<const Code_Unit*>(nullptr)), -1);
    EXPECT_EQ(text.ReverseFind(u'a'), 3);
    EXPECT_EQ(text.FindOneOf(u"xc"), 2);
    EXPECT_EQ(text.FindOneOf(u""), -1);
    EXPECT_EQ(text.Find(u'z'), -1);
    EXPECT_LT(text.Compare(u"abd"), 0);
    EXPECT_EQ(text.CompareNoCase(u"ABCABC"), 0);
    EXPECT_EQ(text.Collate(u"abcabc"), 0);
    EXPECT_GT(text.Collate(u"abc"), 0);
}

TEST_F(FndString, SpansTrimmingAndCase) {
    Fnd_String digits(u"12345");
    EXPECT_EQ(Text(digits.SpanIncluding(u"0123456789")), u"12345");
    EXPECT_TRUE(Fnd_String(u"x12").SpanIncluding(u"0123456789").Is_Empty());
    EXPECT_EQ(Text(Fnd_String(u"12x3").SpanIncluding(u"0123456789")), u"12");
    EXPECT_EQ(Text(Fnd_String(u"ab;cd").SpanExcluding(u";,")), u"ab");
    EXPECT_EQ(Text(Fnd_String(u"abcd").SpanExcluding(u";,")), u"abcd");

    Fnd_String padded(u" \t text \n ");
    padded.TrimLeft();
    EXPECT_EQ(Text(padded), u"text \n ");
    padded.TrimRight();
    EXPECT_EQ(Text(padded), u"text");
    padded.MakeReverse();
    EXPECT_EQ(Text(padded), u"txet");
    padded = u"stra\u00DFe\u0130";  // case mapping may change the length
    padded.MakeUpper();
    EXPECT_EQ(Text(padded), u"STRASSE\u0130");
    padded.MakeLower();
    EXPECT_EQ(Text(padded), u"strassei\u0307");
}

TEST_F(FndString, BufferAccessForWriting) {
    Fnd_String text;
    Code_Unit* data = text.GetBuffer(10);
    EXPECT_GE(text.GetAllocLength(), 10);
    data[0] = u'h';
    data[1] = u'i';
    data[2] = 0;
    text.ReleaseBuffer(-1);  // the terminated length
    EXPECT_EQ(Text(text), u"hi");
    text.GetBuffer(0)[1] = 0;
    text.ReleaseBuffer();
    EXPECT_EQ(Text(text), u"h");
    Fnd_String shrink(u"abcdef");
    shrink.ReleaseBuffer(3);
    EXPECT_EQ(Text(shrink), u"abc");
    EXPECT_EQ(shrink.Data()[3], 0);
    shrink.FreeExtra();
    EXPECT_EQ(shrink.GetAllocLength(), 3);

    // A length past the capacity grows the string; the units never written are zeros.
    Fnd_String grown;
    Code_Unit* units = grown.GetBuffer(2);
    units[0] = u'o';
    units[1] = u'k';
    grown.ReleaseBuffer(static_cast<int>(grown.GetAllocLength()) + 2);
    EXPECT_EQ(Text(grown.Left(2)), u"ok");
    EXPECT_EQ(grown.Get_Length(), grown.GetAllocLength());
    EXPECT_EQ(Text(grown.Right(2)), std::u16string(2, u'\0'));
}

TEST_F(FndString, FormatTriesLargerBuffersByFourAndTakesFullLongs) {
    Fnd_String text;
    text.Format(u"%s-%d", u"ab", 42);
    EXPECT_EQ(Text(text), u"ab-42");
    EXPECT_EQ(text.GetAllocLength(), 128);

    const std::u16string exact(128, u'x');
    text.Format(u"%s", exact.c_str());
    EXPECT_EQ(Text(text), exact);
    EXPECT_EQ(text.GetAllocLength(), 512);  // 128 was not enough: the result must be < size

    Fnd_String fits;
    fits.Format(u"%s", exact.substr(1).c_str());
    EXPECT_EQ(fits.Get_Length(), 127);
    EXPECT_EQ(fits.GetAllocLength(), 128);

    Fnd_String big;
    const std::u16string large(5000, u'y');
    big.Format(u"<%s>", large.c_str());
    EXPECT_EQ(big.Get_Length(), 5002);
    EXPECT_EQ(big.GetAllocLength(), 8192);

    // The 16-bit convention for %S and %C, and full longs.
    text.Format(u"%ld|%lu|%lX|%S|%c|%C", LONG_MAX, 4000000000UL, 0xABCDEF012L, "bytes", u'\u00E9',
                'b');
    EXPECT_EQ(Text(text), u"9223372036854775807|4000000000|ABCDEF012|bytes|\u00E9|b");
    text.Format(text.Data());  // a format out of the string itself
    EXPECT_EQ(Text(text), u"9223372036854775807|4000000000|ABCDEF012|bytes|\u00E9|b");
}

TEST_F(FndString, FormatAndLoadStringFromTheCatalog) {
    message_test::Catalog_Directory catalogs;
    catalogs.Add("Zentrak_core", "root", "\"42\" { \"Hello %s, %d\" }");
    catalogs.Use();
    Fnd_String text;
    EXPECT_EQ(text.LoadString(42), 1);
    EXPECT_EQ(Text(text), u"Hello %s, %d");
    text.Format(42u, u"you", 3);
    EXPECT_EQ(Text(text), u"Hello you, 3");
    EXPECT_EQ(text.LoadString(43), 0);
    EXPECT_TRUE(text.Is_Empty());
    text.Format(43u, u"unused");
    EXPECT_EQ(Text(text), u"CString::Format(43) LoadString failed");
}

TEST_F(FndString, IteratorsWalkAndMeasure) {
    Fnd_String text(u"abc");
    Const_Fnd_String_Iterator it(&text);
    EXPECT_TRUE(it.Is_Valid());
    EXPECT_EQ(*it, u'a');
    ++it;
    EXPECT_EQ(*it++, u'b');
    EXPECT_EQ(std::u16string(static_cast<const Code_Unit*>(it)), u"c");
    EXPECT_EQ((it + 1).Position, 3);
    EXPECT_FALSE((it + 1).Is_Valid());
    EXPECT_EQ(it - Const_Fnd_String_Iterator(&text), 2);
    EXPECT_TRUE(it.Is_Equal(Const_Fnd_String_Iterator(&text, 2)));
    EXPECT_FALSE(Const_Fnd_String_Iterator().Is_Valid());
    EXPECT_EQ(Text(Const_Fnd_String_Iterator(&text, 1).Get(2)), u"bc");

    Fnd_String_Iterator writer(&text, it);
    *writer = u'C';
    EXPECT_EQ(Text(text), u"abC");
}

TEST_F(FndString, CtypeAndTheCompatibleName) {
    EXPECT_TRUE(Fnd_Ctype::Is_Identifier(Fnd_Char(u'_')));
    EXPECT_TRUE(Fnd_Ctype::Is_Identifier(Fnd_Char(u'\u00E9')));
    EXPECT_FALSE(Fnd_Ctype::Is_Identifier(Fnd_Char(u'-')));
    EXPECT_TRUE(Fnd_Ctype::Is_Space(Fnd_Char(u'\u2003')));
    EXPECT_TRUE(Fnd_Ctype::Is_Hex_Digit(Fnd_Char(u'F')));
    EXPECT_FALSE(Fnd_Ctype::Is_Printable(Fnd_Char(7)));
    EXPECT_TRUE(Fnd_Char().Is_Null());
    CString compatible(u"same type");
    EXPECT_EQ(compatible.Find(u"type"), 5);
}

}  // namespace
