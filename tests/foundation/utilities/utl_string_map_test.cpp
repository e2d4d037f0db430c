#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_name_matcher.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_set.h"
#include "tests/foundation/base/message_test_support.h"

using message_test::Narrow;
using message_test::Wide;

namespace {

long Word(const Fnd_String* String) { return reinterpret_cast<long>(String); }

std::vector<std::string> Domains(const Utl_String_Map& Map) {
    std::vector<std::string> out;
    for (Utl_String_Map_Iterator it(Map); !it.Done(); it.Next())
        out.push_back(Narrow(it.Get_Domain()));
    return out;
}

std::vector<std::string> Replacements;
void Keep_Larger(long Old, long New, long* Result) {
    Replacements.push_back(std::to_string(Old) + ">" + std::to_string(New));
    *Result = New > Old ? New : Old;
}

}  // namespace

// ---- Binding and lookups

TEST(StringMapTest, BindGivesOneForANewDomainAndZeroForAReplacement) {
    Utl_String_Map map(Utl_Range_Long, 37, 0, Utl_Case_Unchanged, nullptr);
    EXPECT_EQ(map.Bind(u"a", 1), 1);
    EXPECT_EQ(map.Bind(Fnd_String(u"a"), 2), 0);
    EXPECT_EQ(map.Get_Range(u"a"), 2);
    EXPECT_EQ(map.Get_Count(), 1);
    EXPECT_EQ(map.Unbind(u"a"), 1);
    EXPECT_EQ(map.Unbind(u"a"), 0);
    EXPECT_EQ(map.Get_Count(), 0);
}

TEST(StringMapTest, AStringRangeIsFreedOnlyWhenAnotherPointerReplacesIt) {
    Utl_String_Map map(Utl_Range_String, 37, 0, Utl_Case_Unchanged, nullptr);
    Fnd_String* first = Fnd_String::Get(Fnd_String(u"one"));
    map.Bind(u"k", Word(first));
    const long free_before = Fnd_String::Free_List_Count();
    EXPECT_EQ(map.Bind(u"k", Word(first)), 0);
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_before) << "the same word: nothing freed";
    EXPECT_EQ(Narrow(*first), "one");

    Fnd_String* second = Fnd_String::Get(Fnd_String(u"two"));
    const long free_now = Fnd_String::Free_List_Count();
    map.Bind(u"k", Word(second));
    EXPECT_EQ(Fnd_String::Free_List_Count(), free_now + 1) << "another pointer frees the first";
    Fnd_String out;
    EXPECT_EQ(map.Get_Range(u"k", out), 1);
    EXPECT_EQ(Narrow(out), "two");

    // Bound to a null range: found, and the copy is empty.
    map.Bind(u"nothing", 0L);
    out = u"stale";
    EXPECT_EQ(map.Get_Range(u"nothing", out), 1);
    EXPECT_TRUE(out.Is_Empty());
}

TEST(StringMapTest, AbsentDomainsGiveTheNullRangeOrNull) {
    Utl_String_Map map(Utl_Range_Long, 37, 7, Utl_Case_Unchanged, nullptr);
    EXPECT_EQ(map.Get_Range(u"x"), 7);
    long range = 0;
    EXPECT_EQ(map.Get_Range(u"x", range), 0);
    EXPECT_EQ(range, 7);
    Fnd_String* pointer = reinterpret_cast<Fnd_String*>(1);
    EXPECT_EQ(map.Get_Range(u"x", pointer), 0);
    EXPECT_EQ(pointer, nullptr);
    Fnd_String text(u"stale");
    EXPECT_EQ(map.Get_Range(Fnd_String(u"x"), text), 0);
    EXPECT_TRUE(text.Is_Empty());
    EXPECT_EQ(map.get_range_address(u"x"), nullptr);

    map.Bind(u"y", 3);
    EXPECT_EQ(map.Get_Range(u"x"), 7);
    EXPECT_EQ(map.Transfer_Range(Fnd_String(u"x")), 7);
    EXPECT_EQ(map.Get_Count(), 1) << "transferring an absent domain changes nothing";
    *map.get_range_address(u"y") = 4;
    EXPECT_EQ(map.Get_Range(u"y"), 4);
}

TEST(StringMapTest, FoldedDomainsAreStoredAndFoundInOneCase) {
    Utl_String_Map map(Utl_Range_Long, 37, 0, Utl_Case_Lower, nullptr);
    map.Bind(u"ABC", 1);
    EXPECT_EQ(map.Is_Bound(u"abc"), 1);
    EXPECT_EQ(map.Is_Bound(Fnd_String(u"AbC")), 1);
    EXPECT_EQ(Domains(map), (std::vector<std::string>{"abc"}));
    EXPECT_EQ(map.Bind(u"aBc", 2), 0);
    EXPECT_EQ(map.Unbind(u"ABC"), 1);

    Utl_String_Set set(37, Utl_Case_Upper);
    EXPECT_EQ(set.Add(u"abc"), 1);
    EXPECT_EQ(set.Add(Fnd_String(u"ABC")), 0);
    EXPECT_EQ(set.Contains(u"aBc"), 1);
    EXPECT_EQ(Narrow(Utl_String_Set_Iterator(set).Get()), "ABC");
}

TEST(StringMapTest, BucketsFollowTheSignedHash) {
    // Eleven 'c' then U+FFFF: the last unit is shifted by 16 into the sign bit, so the
    // hash is negative. Its bucket in 37 is 15; taken unsigned it would be 29.
    const Fnd_String key(u"ccccccccccc\uFFFF");
    ASSERT_EQ(key.Get_Buffer().Hash(), -2227156);
    Utl_String_Map map(Utl_Range_Long, 37, 0, Utl_Case_Unchanged, nullptr);
    EXPECT_EQ(map.Bucket_Of(key), 15);
    map.Bind(key, 5);
    EXPECT_EQ(map.Chain_Length(15), 1);
    EXPECT_EQ(map.Get_Range(key.Data()), 5);
    EXPECT_EQ(map.Get_Range(key), 5);

    Utl_String_Set set(37);
    set.Add(key);
    EXPECT_EQ(set.Chain_Length(15), 1);
    EXPECT_EQ(set.Contains(key.Data()), 1);
}

TEST(StringMapTest, SubstringsAreLookedUpWithoutACopy) {
    Utl_String_Map map(Utl_Range_Long, 11, 0, Utl_Case_Unchanged, nullptr);
    map.Bind(u"bc", 9);
    const Fnd_String text(u"abcd");
    EXPECT_EQ(map.Get_Range(Fnd_Substring{&text, 1, 2}), 9);
    EXPECT_EQ(map.Get_Range(Fnd_Substring{&text, 1, 3}), 0);
    EXPECT_EQ(map.Get_Range(Fnd_Sub_C_String{u"xbcx", 1, 2}), 9);

    Utl_String_Map folded(Utl_Range_Long, 11, 0, Utl_Case_Upper, nullptr);
    folded.Bind(u"bc", 4);
    EXPECT_EQ(folded.Get_Range(Fnd_Substring{&text, 1, 2}), 4);
}

TEST(StringMapTest, ChainsKeepTheOrderOfBinding) {
    Utl_String_Map map(Utl_Range_Long, 1, 0, Utl_Case_Unchanged, nullptr);
    for (const char16_t* key : {u"m", u"z", u"a", u"q"}) map.Bind(key, 1);
    EXPECT_EQ(Domains(map), (std::vector<std::string>{"m", "z", "a", "q"}));
    map.Unbind(u"z");
    map.Bind(u"z", 1);
    EXPECT_EQ(Domains(map), (std::vector<std::string>{"m", "a", "q", "z"}));

    // The node-level walk gives the same order across buckets.
    Utl_String_Map spread(Utl_Range_Long, 5, 0, Utl_Case_Unchanged, nullptr);
    for (int i = 0; i < 20; ++i) spread.Bind(Wide("k" + std::to_string(i)), i);
    std::vector<std::string> walked;
    for (utl_string_map_data* node = spread.first(); node; spread.next(node))
        walked.push_back(Narrow(node->domain));
    EXPECT_EQ(walked, Domains(spread));
    EXPECT_EQ(walked.size(), 20u);
}

TEST(StringMapTest, IteratorsReplaceRangesByTheMapsRule) {
    Utl_String_Map map(Utl_Range_String, 37, 0, Utl_Case_Unchanged, nullptr);
    Utl_String_Map_Iterator none(map);  // over an empty map: done at once, does nothing
    EXPECT_TRUE(none.Done());
    EXPECT_EQ(&none.Get_Domain(), &Fnd_String::Null);
    EXPECT_EQ(none.Get_Range(), 0);
    none.Next();
    none.Replace_Range(5L);
    EXPECT_EQ(map.Get_Count(), 0);
    EXPECT_EQ(map.first(), nullptr);

    map.Bind(u"k", Fnd_String(u"old"));
    Utl_String_Map_Iterator it(map);
    it.Replace_Range(Fnd_String(u"new"));
    Fnd_String out;
    it.Get_Range(out);
    EXPECT_EQ(Narrow(out), "new");

    Replacements.clear();
    Utl_String_Map kept(11, nullptr, Keep_Larger, nullptr, Utl_Case_Unchanged, nullptr);
    kept.Bind(u"n", 5);
    kept.Bind(u"n", 3);
    kept.Bind(u"n", 8);
    EXPECT_EQ(kept.Get_Range(u"n"), 8);
    EXPECT_EQ(Replacements, (std::vector<std::string>{"5>3", "5>8"}));
}

TEST(StringMapTest, UnbindMatchingTakesWildPatterns) {
    Utl_String_Map map(Utl_Range_String, 37, 0, Utl_Case_Unchanged, nullptr);
    EXPECT_EQ(map.Unbind_Matching(u"*"), 0) << "an empty map";
    for (const char16_t* key : {u"alpha", u"beta", u"alps", u"gamma"})
        map.Bind(key, Fnd_String(key));
    EXPECT_EQ(map.Unbind_Matching(u"zeta*"), 1);
    EXPECT_EQ(map.Get_Count(), 4) << "a pattern that matches nothing changes nothing";
    EXPECT_EQ(map.Unbind_Matching(u"al*"), 1);
    EXPECT_EQ(map.Get_Count(), 2);
    EXPECT_FALSE(map.Is_Bound(u"alps"));
    EXPECT_EQ(map.Unbind_Matching(u"{beta, gamma}"), 1);
    EXPECT_EQ(map.Get_Count(), 0);
}

TEST(StringMapTest, CopiesBindEveryEntryThroughTheCopier) {
    Utl_String_Map source(Utl_Range_String, 7, 0, Utl_Case_Lower, nullptr);
    source.Bind(u"A", Fnd_String(u"1"));
    source.Bind(u"b", 0L);
    Utl_String_Map copy(source);
    EXPECT_EQ(copy.Get_Size(), 7);
    EXPECT_EQ(copy.Get_Domain_Case(), Utl_Case_Lower);
    Fnd_String* mine = nullptr;
    Fnd_String* theirs = nullptr;
    copy.Get_Range(u"a", mine);
    source.Get_Range(u"a", theirs);
    ASSERT_NE(mine, nullptr);
    EXPECT_NE(mine, theirs) << "a copy of its own";
    EXPECT_EQ(Narrow(*mine), "1");
    EXPECT_TRUE(copy.Is_Bound(u"B"));

    Utl_String_Map target(Utl_Range_Long, 3, 0, Utl_Case_Unchanged, nullptr);
    target.Bind(u"gone", 1);
    target = source;
    EXPECT_EQ(target.Get_Size(), 3) << "assignment keeps the bucket count";
    EXPECT_EQ(target.Get_Range_Kind(), Utl_Range_String);
    EXPECT_EQ(Domains(target).size(), 2u);
    EXPECT_FALSE(target.Is_Bound(u"gone"));
}

// ---- Recycling

TEST(StringMapTest, FreedMapsAndNodesAreReused) {
    Utl_String_Map* first = Utl_String_Map::Get(Utl_Range_Long, 5, 0, Utl_Case_Unchanged, nullptr);
    first->Bind(u"x", 1);
    first->Bind(u"y", 2);
    first->Free();
    EXPECT_EQ(Utl_String_Map::Free_Map_Count(5), 1);
    const long free_nodes = Utl_String_Map::Free_Node_Count();
    EXPECT_GE(free_nodes, 2);

    Utl_String_Map* again = Utl_String_Map::Get(Utl_Range_String, 5, 9, Utl_Case_Upper, nullptr);
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->Get_Count(), 0);
    EXPECT_EQ(again->Get_Null_Range(), 9);
    EXPECT_EQ(again->Get_Range_Kind(), Utl_Range_String);
    again->Bind(u"z", Fnd_String(u"v"));
    EXPECT_EQ(Utl_String_Map::Free_Node_Count(), free_nodes - 1) << "a node from the list";
    again->Free();

    // Size 0 takes a one-bucket map if there is one, else builds 37, kept on list 37.
    Utl_String_Map* defaulted = Utl_String_Map::Get(Utl_Range_Long, 0, 0, Utl_Case_Unchanged,
                                                    nullptr);
    EXPECT_EQ(defaulted->Get_Size(), 37);
    defaulted->Free();
    EXPECT_EQ(Utl_String_Map::Free_Map_Count(37), 1);
    Utl_String_Map* big = Utl_String_Map::Get(Utl_Range_Long, 54, 0, Utl_Case_Unchanged, nullptr);
    big->Free();
    EXPECT_EQ(Utl_String_Map::Free_Map_Count(54), 0);
}

TEST(StringMapTest, NestedRangesAreOwnedAndCopied) {
    Utl_String_Map outer(Utl_Range_String_Map, 7, 0, Utl_Case_Unchanged, nullptr);
    Utl_String_Map* inner = Utl_String_Map::Get(Utl_Range_Long, 3, 0, Utl_Case_Unchanged, nullptr);
    inner->Bind(u"n", 1);
    outer.Bind(u"inner", reinterpret_cast<long>(inner));
    Utl_String_Map copy(outer);
    const auto* copied = reinterpret_cast<const Utl_String_Map*>(copy.Get_Range(u"inner"));
    ASSERT_NE(copied, nullptr);
    EXPECT_NE(copied, inner);
    EXPECT_EQ(copied->Get_Range(u"n"), 1);
    outer.Unbind(u"inner");  // the inner map goes back to its free list
    EXPECT_EQ(Utl_String_Map::Free_Map_Count(3), 1);
}

// ---- Images

TEST(StringMapTest, ImagesAreSortedQuotedAlignedAndFiltered) {
    Utl_String_Map map(Utl_Range_String, 37, 0, Utl_Case_Unchanged, nullptr);
    map.Bind(u"zeta", Fnd_String(u"last"));
    map.Bind(u"a", Fnd_String(u"first"));
    map.Bind(u"mid", 0L);
    Fnd_String out;
    map.Image(out, Fnd_String::Null, 0, 1, 0, 0, nullptr, u"=", 0);
    EXPECT_EQ(Narrow(out), "a=\"first\" mid=null zeta=\"last\"");
    map.Image(out, Fnd_String::Null, 1, 0, 1, 0, u"  ", Utl_Type_Utilities::Arrow, 1);
    EXPECT_EQ(Narrow(out), "  \"a\"    => first\n  \"mid\"  => null\n  \"zeta\" => last");
    map.Image(out, Fnd_String(u"domain"), 0, 0, 0, 0, nullptr, u"=", 0);
    EXPECT_EQ(Narrow(out), "a mid zeta");
    map.Image(out, Fnd_String(u"exclude:*e*"), 0, 0, 0, 0, nullptr, u"=", 0);
    EXPECT_EQ(Narrow(out), "a=first mid=null") << "zeta matches the pattern";
    map.Image(out, Fnd_String(u"exclude"), 0, 0, 0, 1, nullptr, u"=", 0);
    EXPECT_EQ(Narrow(out), "a=first mid=nulla=first mid=null zeta=last")
        << "a short option word selects everything; append keeps what was there";

    Utl_String_Set set(5);
    for (const char16_t* member : {u"b", u"c", u"a"}) set.Add(member);
    EXPECT_EQ(Narrow(set.Image(1, 0, nullptr)), "\"a\" \"b\" \"c\"");
    EXPECT_EQ(Narrow(set.Image(0, 1, u"- ")), "- a\n- b\n- c");
}

TEST(StringMapTest, NestedImagesGoOneLevelDeeper) {
    Utl_String_Map outer(Utl_Range_String_Set, 7, 0, Utl_Case_Unchanged, nullptr);
    auto* set = new Utl_String_Set(3);
    set->Add(u"x");
    set->Add(u"y");
    outer.Bind(u"s", reinterpret_cast<long>(set));
    outer.Bind(u"t", reinterpret_cast<long>(new Utl_String_Set(3)));
    Fnd_String out;
    outer.Image(out, Fnd_String::Null, 0, 0, 1, 0, u"+", u":", 0);
    EXPECT_EQ(Narrow(out), "+s:\n+ x\n+ y\n+t:empty_set");
}

TEST(StringMapTest, SetDifferenceKeepsTheEntriesThatDiffer) {
    Utl_String_Map a(Utl_Range_String, 7, 0, Utl_Case_Unchanged, nullptr);
    Utl_String_Map b(Utl_Range_String, 7, 0, Utl_Case_Unchanged, nullptr);
    a.Bind(u"same", Fnd_String(u"1"));
    a.Bind(u"changed", Fnd_String(u"2"));
    a.Bind(u"new", Fnd_String(u"3"));
    a.Bind(u"empty", 0L);
    b.Bind(u"same", Fnd_String(u"1"));
    b.Bind(u"changed", Fnd_String(u"9"));
    Utl_String_Map result(Utl_Range_Pointer, 7, 0, Utl_Case_Unchanged, nullptr);
    result.Bind(u"stale", 1);
    Utl_String_Map::Set_Difference(a, b, result);
    Fnd_String out;
    result.Image(out, Fnd_String(u"domain"), 0, 0, 0, 0, nullptr, nullptr, 0);
    EXPECT_EQ(Narrow(out), "changed new") << "an unbound domain reads as empty";
}

TEST(StringMapTest, SetsAddOnceRemoveAndCopyMembers) {
    Utl_String_Set set(0);
    EXPECT_EQ(set.Get_Size(), 37);
    EXPECT_EQ(set.Add(u"a"), 1);
    EXPECT_EQ(set.Add(u"a"), 0);
    const Fnd_String text(u"xab");
    EXPECT_EQ(set.Add(Fnd_Substring{&text, 1, 2}), 1);
    EXPECT_EQ(set.Contains(u"ab"), 1);
    EXPECT_EQ(set.Contains(Fnd_Substring{&text, 1, 1}), 1);
    Utl_String_Set copy(set);
    EXPECT_EQ(set.Remove(u"a"), 1);
    EXPECT_EQ(set.Remove(u"a"), 0);
    EXPECT_EQ(set.Get_Count(), 1);
    EXPECT_EQ(copy.Get_Count(), 2);
    EXPECT_EQ(copy.Contains(u"a"), 1);
    Utl_String_Set_Iterator empty(Utl_String_Set::Null());
    EXPECT_TRUE(empty.Done());
    EXPECT_EQ(&empty.Get(), &Fnd_String::Null);
}

TEST(StringMapTest, NamePatternsCoverTheWholeName) {
    EXPECT_EQ(Utl_Name_Matcher(Fnd_String(), 0, 1, 1).Match(Fnd_String()), 1);
    Utl_Name_Matcher bare(u"notes.txt", 0, 1, 0);
    EXPECT_EQ(bare.Match(u"/home/u/notes.txt"), 1) << "a bare name stands below any directory";
    EXPECT_EQ(bare.Match(u"notes.txt"), 0);
    EXPECT_EQ(bare.Match(u"/home/u/notesxtxt"), 0) << "the dot is literal";
    Utl_Name_Matcher base(u"*.txt", 1, 1, 1);
    EXPECT_EQ(base.Match(u"/a/b/README.TXT"), 1);
    EXPECT_EQ(base.Match(u"/a/b.txt/c"), 0);
    Utl_Name_Matcher list(u"a|b||c", 0, 1, 1);
    EXPECT_EQ(list.Get_Count(), 2) << "a list stops at its first empty item";
    EXPECT_EQ(list.Match(u"c"), 0);
    Utl_Name_Matcher set(u"{ x , ,y,z}", 0, 1, 1);
    EXPECT_EQ(set.Get_Count(), 3);
    EXPECT_EQ(set.Get_Match_Kind(), 2);
    EXPECT_EQ(set.Match(u"y"), 1);
    EXPECT_EQ(Utl_Name_Matcher(u"{one}", 0, 1, 1).Get_Match_Kind(), 1);
}
