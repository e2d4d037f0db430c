// The name matcher's changing members: Reset, Replace, Add, Merge, the members one by
// one with the reverse transformation, the image and the comparison.
#include "foundation/utilities/utl_name_matcher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/ztint_test_text.h"

namespace {

std::vector<std::u16string> Members(const Utl_Name_Matcher& Matcher) {
    std::vector<std::u16string> members;
    for (long i = 0; i < Matcher.Get_Count(); ++i) {
        Fnd_String member;
        Matcher.Get_Member(member, i);
        members.push_back(Text(member));
    }
    return members;
}

TEST(UtlNameMatcher, ReverseTransformationGivesBackTheNames) {
    const struct {
        const char16_t* Name;
        long Base_Only;
    } cases[] = {
        {u"notes.txt", 0}, {u"*.c", 0},     {u"/abs/a?b+c", 0},
        {u"a.*b", 1},      {u"x", 1},       {u"dir/*.h", 0},
    };
    for (const auto& c : cases) {
        Utl_Name_Matcher matcher(c.Name, 0, 1, c.Base_Only);
        EXPECT_EQ(Members(matcher), std::vector<std::u16string>{c.Name});
    }
    Utl_Name_Matcher upper(u"{ Notes.txt , , b*}", 1, 1, 0);
    EXPECT_EQ(upper.Get_Match_Kind(), 2);
    EXPECT_EQ(Members(upper), (std::vector<std::u16string>{u"NOTES.TXT", u"B*"}));
    Fnd_String out(u"old");
    upper.Get_Member(out, 2);
    EXPECT_TRUE(out.Is_Empty());
    upper.Get_Member(out, -1);
    EXPECT_TRUE(out.Is_Empty());
    // Without wild the expression comes back as stored.
    Utl_Name_Matcher regex(u"a.c|b+", 0, 0, 0);
    EXPECT_EQ(Members(regex), (std::vector<std::u16string>{u"a.c", u"b+"}));
}

TEST(UtlNameMatcher, AddingNames) {
    Utl_Name_Matcher matcher(u"one", 0, 1, 1);
    matcher.Add(u"two");
    EXPECT_EQ(matcher.Get_Count(), 2);
    EXPECT_EQ(Text(matcher.Image()), u"one two");
    EXPECT_EQ(matcher.Match(u"/x/two"), 1);
    EXPECT_EQ(matcher.Match(u"/x/one"), 1);
    matcher.Add(u"three|four||five");
    EXPECT_EQ(Members(matcher), (std::vector<std::u16string>{u"one", u"two", u"three", u"four"}));
    matcher.Add(Fnd_String());
    EXPECT_EQ(matcher.Get_Count(), 4);

    Utl_Name_Matcher empty;
    empty.Add(u"a|b");  // with no expression the whole text is one name
    EXPECT_EQ(empty.Get_Match_Kind(), 1);
    EXPECT_EQ(Text(empty.Get_Source()), u"a|b");
    Utl_Name_Matcher set;
    set.Add(u"{ only }");
    EXPECT_EQ(set.Get_Match_Kind(), 1);
    EXPECT_TRUE(set.Get_Source().Is_Empty());
    EXPECT_EQ(set.Match(u"only"), 1);
    // Adding only empty items keeps one expression as the singleton.
    Utl_Name_Matcher single(u"x", 0, 0, 0);
    single.Add(u"|y");
    EXPECT_EQ(single.Get_Match_Kind(), 1);
    EXPECT_EQ(single.Match(u"x"), 1);
}

TEST(UtlNameMatcher, MergeResetReplaceAndCompare) {
    Utl_Name_Matcher wild(u"*.c|*.h", 0, 1, 1);
    Utl_Name_Matcher target(u"main", 0, 1, 1);
    target.Merge(wild);
    EXPECT_EQ(Members(target), (std::vector<std::u16string>{u"main", u"*.c", u"*.h"}));
    EXPECT_EQ(target.Match(u"/src/x.h"), 1);
    Utl_Name_Matcher plain(u"ab+", 0, 0, 0);
    Utl_Name_Matcher regex;
    regex.Merge(plain);
    regex.Merge(Utl_Name_Matcher());
    EXPECT_EQ(regex.Match(u"abbb"), 1);

    Utl_Name_Matcher copy(target);
    EXPECT_TRUE(copy == target);
    copy.Replace(u"other");
    EXPECT_FALSE(copy == target);
    EXPECT_EQ(copy.Match(u"other"), 1);
    EXPECT_EQ(copy.Match(u"main"), 0);
    copy.Reset();
    EXPECT_EQ(copy.Get_Match_Kind(), 0);
    EXPECT_EQ(copy.Match(u"anything"), 1);
    EXPECT_EQ(Text(copy.Get_Source()), u"other");
    EXPECT_FALSE(copy == Utl_Name_Matcher(u"other", 0, 1, 1));
    EXPECT_TRUE(copy == Utl_Name_Matcher(u"other", 0, 0, 0));
}

TEST(UtlNameMatcher, SetMemberMakeExactAndStatics) {
    Utl_Name_Matcher matcher(u"a|b", 0, 1, 1);
    matcher.Set_Member(u"c*", 1);
    matcher.Set_Member(u"ignored", 5);
    EXPECT_EQ(Members(matcher), (std::vector<std::u16string>{u"a", u"c*"}));
    EXPECT_EQ(Text(matcher.Get_Source()), u"a|b");
    EXPECT_EQ(matcher.Match(u"cat"), 1);
    EXPECT_EQ(matcher.Match(u"b"), 0);
    Utl_Name_Matcher one(u"x", 1, 1, 1);
    one.Set_Member(u"y", 0);
    EXPECT_EQ(one.Match(u"Y"), 1);
    Fnd_String exact;
    Utl_Name_Matcher::Make_Exact(u"a.b", exact);
    EXPECT_EQ(Text(exact), u"^a.b$");
    Fnd_String image(u"pre:");
    Utl_Name_Matcher(u"p|q", 0, 0, 0).Image(image);
    EXPECT_EQ(Text(image), u"pre:p q");
    EXPECT_EQ(Utl_Name_Matcher::Indirect_Char, 64);
    Utl_Name_Matcher::Set_Trace(3);
    EXPECT_EQ(Utl_Name_Matcher::trace, 3);
    Utl_Name_Matcher::Set_Trace(0);
}

}  // namespace
