#include "ztint_base/ztint_strings.h"

#include <string>

#include <gtest/gtest.h>

#include <climits>

TEST(ZTIntString, CopiesAppendsAndMeasures)
{
    const char original[] = "day";
    char* s = ZTInt_String_New(original);
    ASSERT_NE(s, original);
    EXPECT_STREQ(s, "day");
    ZTInt_String_Append(&s, "light");
    EXPECT_STREQ(s, "daylight");
    EXPECT_EQ(ZTInt_String_Length(s), 8);
    ZTInt_String_Append(&s, "");
    EXPECT_STREQ(s, "daylight");
    EXPECT_FALSE(ZTInt_String_Is_Empty(s));
    ZTInt_String_Free(s);

    char* empty = ZTInt_String_Duplicate("");
    EXPECT_TRUE(ZTInt_String_Is_Empty(empty));
    EXPECT_TRUE(ZTInt_String_Is_Empty(nullptr));
    ZTInt_String_Free(empty);
    ZTInt_String_Free(nullptr);
    EXPECT_EQ(ZTInt_String_New(nullptr), nullptr);
    EXPECT_EQ(ZTInt_String_Alloc(-1), nullptr);
}

TEST(ZTIntString, FormatGrowsToAnyLength)
{
    std::string long_arg(5000, 'x');
    char* text = ZTInt_String_Format("<%s> %d", long_arg.c_str(), -12);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text), "<" + long_arg + "> -12");
    ZTInt_String_Free(text);
}

TEST(ZTIntStringArray, ImpossibleSizesAndANullStringAddressAreRefused)
{
    // (2^61 - 1 + 1) * 8 wraps to 0: the array would be a zero-byte block written past.
    for (long count : {(1L << 61) - 1, (1L << 61), LONG_MAX, -1L})
        EXPECT_EQ(ZTInt_StringArray_Alloc(count), nullptr) << count;
    EXPECT_EQ(ZTInt_String_Alloc(-1), nullptr);
    ZTInt_String_Append(nullptr, "text");  // nothing to append to, and no crash
}

TEST(ZTIntStringArray, BuildsIndexesAndCopiesDeeply)
{
    char** a = ZTInt_StringArray_Alloc(2);
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a[2], nullptr);
    ZTInt_StringArray_Set(a, 0, ZTInt_String_New("one"));
    ZTInt_StringArray_Set(a, 1, ZTInt_String_New("two"));
    EXPECT_EQ(ZTInt_StringArray_Size(a), 2);
    EXPECT_STREQ(ZTInt_StringArray_At_Ref(a, 1), "two");
    EXPECT_EQ(ZTInt_StringArray_At_Ref(a, 2), nullptr);
    EXPECT_EQ(ZTInt_StringArray_At_Ref(a, 5), nullptr);  // past the terminator: no read beyond it
    EXPECT_EQ(ZTInt_StringArray_At_Ref(a, -1), nullptr);

    char* copy = ZTInt_StringArray_At(a, 0);
    EXPECT_STREQ(copy, "one");
    EXPECT_NE(copy, a[0]);
    ZTInt_String_Free(copy);

    char** deep = ZTInt_StringArray_Duplicate(a);
    ASSERT_EQ(ZTInt_StringArray_Size(deep), 2);
    EXPECT_NE(deep[0], a[0]);
    EXPECT_STREQ(deep[1], "two");
    ZTInt_StringArray_Free(a);
    EXPECT_STREQ(deep[0], "one");  // still valid after the original is gone
    ZTInt_StringArray_Free(deep);

    char** empty = ZTInt_StringArray_New(nullptr);
    EXPECT_EQ(empty, nullptr);
    EXPECT_EQ(ZTInt_StringArray_Size(nullptr), 0);
    ZTInt_StringArray_Free(nullptr);
}
