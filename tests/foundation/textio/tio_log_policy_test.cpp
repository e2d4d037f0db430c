// The log policy: filters by kind and by word, the prefix with its date and time at
// their positions (pinned clock, UTC), the canonical prefix and the state image.
#include "foundation/textio/tio_log_policy.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <set>

#include "tests/support/ztint_test_text.h"

namespace {

int64_t Pinned_Seconds = 1700000000;  // 2023-11-14 22:13:20 UTC
int Clock_Reads = 0;
Hst_Timestamp Pinned_Clock() {
    ++Clock_Reads;
    return Hst_Timestamp(Pinned_Seconds);
}

class Tio_Log_Policy_Test : public ::testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "UTC", 1);
        tzset();
        Pinned_Seconds = 1700000000;
        Clock_Reads = 0;
        Tio_Log_Policy::Set_Clock(Pinned_Clock);
    }
    void TearDown() override { Tio_Log_Policy::Set_Clock(nullptr); }

    static std::set<long> Kinds(const bool* Flags) {
        std::set<long> kinds;
        for (long kind = 0; kind < Tio_Log_Policy::Kinds; ++kind)
            if (Flags[kind]) kinds.insert(kind);
        return kinds;
    }
    static std::u16string Prefix(Tio_Log_Policy& Policy, long Kind) {
        Fnd_String text(u"stale");
        Policy.Compose_Prefix(Kind, text);
        return Text(text);
    }
    static std::u16string Symbols(long Kind) {
        return Text(Fnd_Message_Kind::Kind_Image(static_cast<Fnd_Message_Kinds>(Kind)));
    }
};

TEST_F(Tio_Log_Policy_Test, TextAndContinuationLinesAlwaysGoOut) {
    Tio_Log_Policy policy(0, 0);
    policy.Set_Output_Filter(1, 0);
    policy.Set_Filter(14, 0, 0, 0);
    policy.Set_Output_Filter(9, 0);
    long error = -1, output = -1, dialog = -1;
    policy.Filter(14, error, output, dialog);
    EXPECT_EQ(output, 1);
    EXPECT_EQ(Kinds(policy.To_Output), (std::set<long>{0, 1, 14}));
}

TEST_F(Tio_Log_Policy_Test, FilterWordsAddUp) {
    Tio_Log_Policy policy(0, 0);
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"errors"), 0, 1, 0, 0), 1);
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"warnings"), 0, 1, 0, 0), 1);
    EXPECT_EQ(Kinds(policy.To_Error), (std::set<long>{5, 7, 8, 9, 10, 15}));
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"progress"), 0, 0, 0, 1), 1);
    EXPECT_EQ(Kinds(policy.To_Dialog), (std::set<long>{5, 7, 9, 10, 15, 16}));

    const std::pair<const char16_t*, size_t> sizes[] = {
        {u"all", 18}, {u"none", 0}, {u"verbose", 19}, {u"very_verbose", 20},
        {u"very_very_verbose", 21}};
    for (const auto& [word, count] : sizes) {
        Tio_Log_Policy fresh(0, 0);
        EXPECT_EQ(fresh.Set_Filter(Fnd_String(word), 0, 1, 0, 0), 1);
        EXPECT_EQ(Kinds(fresh.To_Error).size(), count) << Text(Fnd_String(word)).size();
        EXPECT_EQ(Kinds(fresh.To_Error).count(3), 0u);
    }
}

TEST_F(Tio_Log_Policy_Test, ResetWithAKnownWordStartsFromTheEmptyPolicy) {
    Tio_Log_Policy policy(1, 0);
    policy.Set_Error_Filter(9, 1);
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"none"), 1, 0, 1, 0), 1);
    EXPECT_TRUE(policy == Tio_Log_Policy(0, 0));
    EXPECT_EQ(policy.Detail(), Fnd_Detail_Key);
    EXPECT_EQ(Prefix(policy, 9), u"");
    EXPECT_EQ(Clock_Reads, 0);
}

TEST_F(Tio_Log_Policy_Test, UnknownWordChangesNothing) {
    Tio_Log_Policy policy(1, 0);
    const Tio_Log_Policy before(policy);
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"loud"), 1, 1, 1, 1), 0);
    EXPECT_TRUE(policy == before);
    EXPECT_EQ(policy.Set_Filter(Fnd_String(u"loud"), 0, 0, 0, 0), 1);
}

TEST_F(Tio_Log_Policy_Test, StandardPrefixIsTimeThenKind) {
    Tio_Log_Policy policy(1, 0);
    EXPECT_EQ(Prefix(policy, Fnd_Error_Msg), u"22:13:20 " + Symbols(Fnd_Error_Msg));
    EXPECT_EQ(Symbols(Fnd_Error_Msg), u"***");
    // A sub-prefix repeats the last full prefix's time and indents by detail x indent.
    Pinned_Seconds += 65;
    Fnd_String sub;
    policy.Compose_Sub_Prefix(Fnd_Error_Msg, 1, sub);
    EXPECT_EQ(Text(sub), u"22:13:20 ***" + std::u16string(8, u' '));
    EXPECT_EQ(Prefix(policy, Fnd_Error_Msg), u"22:14:25 ***");
}

TEST_F(Tio_Log_Policy_Test, PositionsAndFormats) {
    Tio_Log_Policy policy(0, 0);
    policy.Set_Prefix(Middle, Left, Right, Year_Month_Day, Military_Time);
    EXPECT_EQ(Prefix(policy, Fnd_Error_Msg), u"23/11/14 *** 22:13:20");
    policy.Set_Prefix(Right, Omit, Left, No_Date, Military_Time);
    EXPECT_EQ(Prefix(policy, Fnd_Error_Msg), u"22:13:20 ***");
    // A kind with an empty text and no time gives an empty prefix.
    policy.Set_Prefix(Left, Omit, Omit, No_Date, No_Time);
    ASSERT_EQ(Symbols(Fnd_Text_Msg), u"");
    EXPECT_EQ(Prefix(policy, Fnd_Text_Msg), u"");
    Tio_Log_Prefix_Position symbols, date, time;
    Hst_Date_Format date_format;
    Hst_Time_Format time_format;
    policy.Prefix(symbols, date, time, date_format, time_format);
    EXPECT_EQ(symbols, Left);
    EXPECT_FALSE(policy.Needs_Time);
}

TEST_F(Tio_Log_Policy_Test, CanonicalPrefixTakesNoTime) {
    Tio_Log_Policy policy(1, 1);
    Tio_Log_Prefix_Position symbols, date, time;
    Hst_Date_Format date_format;
    Hst_Time_Format time_format;
    policy.Prefix(symbols, date, time, date_format, time_format);
    EXPECT_EQ(symbols, Left);
    EXPECT_EQ(date, Omit);
    EXPECT_EQ(time, Omit);
    EXPECT_EQ(date_format, No_Date);
    EXPECT_EQ(time_format, No_Time);
    EXPECT_EQ(Prefix(policy, Fnd_Error_Msg),
              Text(Fnd_Message_Kind::Canonical_Kind_Image(Fnd_Error_Msg)));
    EXPECT_EQ(Clock_Reads, 0);
}

TEST_F(Tio_Log_Policy_Test, StateImageAndPositionImages) {
    Tio_Log_Policy policy(0, 0);
    policy.Set_Error_Filter(9, 1);
    Fnd_String image;
    policy.State_Image(image, u" | ");
    EXPECT_EQ(Text(image),
              u"To_Output: Fnd_Unknown_Kind_Msg, Fnd_Text_Msg, Fnd_Continuation_Msg | "
              u"To_Error: Fnd_Error_Msg | Level 1; Symbols Omit; Date Omit; Time Omit; "
              u"Canonical_Prefix False; Date_Format 0; Time_Format 0");
    policy.State_Image(image, nullptr);
    EXPECT_NE(Text(image).find(u"Fnd_Continuation_Msg\nTo_Error: "), std::u16string::npos);
    EXPECT_EQ(std::u16string(Tio_Log_Prefix_Position_Image(2)), u"Middle");
    EXPECT_EQ(std::u16string(Tio_Log_Prefix_Position_Image(4)), u"<Unknown_Log_Prefix_Position>");
}

TEST(Tio_Log_Policy_Death, TwoPartsAtOnePositionIsAProgrammingError) {
    Tio_Log_Policy policy(0, 0);
    EXPECT_DEATH(policy.Set_Prefix(Left, Left, Omit, No_Date, No_Time), "log prefix");
    EXPECT_DEATH(policy.Set_Reaction(9, 3), "log reaction");
}

}  // namespace
