// Fnd_String_Array: bounds, ownership of the strings, shared blocks with slices and
// temporaries, and the image.
#include "foundation/base/fnd_string_array.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <string>
#include <vector>

#include "tests/foundation/base/message_test_support.h"

namespace {

using message_test::Narrow;

std::vector<std::string> Texts(const Fnd_String_Array& Array) {
    std::vector<std::string> texts;
    for (long i = Array.Get_First(); i <= Array.Get_Last(); ++i)
        texts.push_back(Array.Get(i) ? Narrow(*Array.Get(i)) : "<null>");
    return texts;
}

Fnd_String_Array Of(std::initializer_list<const char16_t*> Items) {
    Fnd_String_Array array;
    for (const char16_t* item : Items) array.Add(Fnd_String(item));
    return array;
}

const auto Aborted = ::testing::KilledBySignal(SIGABRT);

TEST(FndStringArray, BoundsAndInsertion) {
    Fnd_String_Array array;
    EXPECT_EQ(array.Get_First(), 0);
    EXPECT_EQ(array.Get_Last(), -1);
    array.Add(Fnd_String(u"b"));
    EXPECT_EQ(Narrow(*array.Get(0)), "b");
    array.Insert(0, Fnd_String(u"a"));
    array.Insert(2, Fnd_String(u"d"));  // Last + 1 appends
    array.Insert(2, Fnd_String(u"c"));
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"a", "b", "c", "d"}));
    EXPECT_EXIT(array.Insert(6, Fnd_String(u"x")), Aborted, "the index 6 is outside the range 0 to 3");
    EXPECT_EXIT((void)array.Get(-1), Aborted, "the index -1 is outside the range 0 to 3");
    array.Delete(1, 2);
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"a", "d"}));
    array.Shorten(1);
    EXPECT_EQ(Texts(array), std::vector<std::string>{"a"});
    array.Make_Empty();
    EXPECT_EQ(array.Count(), 0);
}

TEST(FndStringArray, UserBoundsFillAndIndexOf) {
    const Fnd_String fill(u"f");
    Fnd_String_Array array(1, 3, 1, &fill, nullptr, 1, 20);
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"f", "f", "f"}));
    EXPECT_NE(array.Get(1), array.Get(2));  // each its own clone
    EXPECT_GE(array.Get_Capacity(), 20);
    EXPECT_EQ(array.Index_Of(Fnd_String(u"f")), 1);
    EXPECT_EQ(array.Index_Of(Fnd_String(u"g")), 0);
    Fnd_String_Array shared(1, 2, 1, &fill, nullptr, 0, 0);
    EXPECT_EQ(shared.Get(1), &fill);
    EXPECT_EQ(shared.Get(2), &fill);
    EXPECT_EQ(shared.Index_Of(Fnd_String(u"f")), 0);  // not owned: pointers only
    EXPECT_EQ(shared.Index_Of(&fill), 1);
    EXPECT_EQ(Fnd_String_Array().Index_Of(fill), -1);
}

TEST(FndStringArray, SetRemoveAndTheSamePointer) {
    Fnd_String_Array array = Of({u"a", u"b"});
    Fnd_String* held = array.Get(0);
    array.Set(0, held);  // nothing destroyed
    EXPECT_EQ(Narrow(*array.Get(0)), "a");
    Fnd_String* removed = array.Remove(1);
    EXPECT_EQ(array.Count(), 2);
    EXPECT_EQ(array.Get(1), nullptr);
    EXPECT_EQ(Narrow(*removed), "b");
    delete removed;
    array.Set(1, Fnd_String(u"c"));
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"a", "c"}));
}

TEST(FndStringArray, ReplaceOverwritesAndGrows) {
    Fnd_String_Array array = Of({u"a", u"b", u"c"});
    array.Replace(2, Of({u"x", u"y", u"z"}));
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"a", "b", "x", "y", "z"}));
    Fnd_String_Array source = Of({u"p"});
    array.Replace(0, source, 1);
    EXPECT_EQ(Texts(array), (std::vector<std::string>{"p", "b", "x", "y", "z"}));
    EXPECT_EQ(source.Get(0), nullptr);
    array.Insert(1, array);
    EXPECT_EQ(array.Count(), 10);
}

TEST(FndStringArray, SlicesShareTheBlockAndOutliveTheArray) {
    Fnd_String_Array_Slice* slice;
    {
        const Fnd_String fill(u"v");
        Fnd_String_Array array(1, 3, 1, &fill, nullptr, 1, 0);
        slice = new Fnd_String_Array_Slice(array, 2, 3);
        EXPECT_EQ(slice->Get_First(), 2);
        array.Set(2, Fnd_String(u"changed"));
        EXPECT_EQ(Narrow(*slice->Get(2)), "changed");
        EXPECT_EXIT(Fnd_String_Array_Slice(array, 0, 2), Aborted, "the index 0 is outside");
        // Growing moves the array to a new block; the slice keeps the old one.
        for (int i = 0; i < 20; ++i) array.Add(Fnd_String(u"more"));
        array.Set(3, Fnd_String(u"after"));
        EXPECT_EQ(Narrow(*slice->Get(3)), "v");
    }
    EXPECT_EQ(Texts(*slice), (std::vector<std::string>{"changed", "v"}));
    delete slice;
    EXPECT_EQ(Fnd_String_Array_Slice(Of({u"a"}), 3, 1).Count(), 0);
}

TEST(FndStringArray, TemporariesHandOverTheirBlock) {
    const Fnd_String_Array left = Of({u"a"});
    Fnd_String_Array sum = left + Of({u"b", u"c"});
    EXPECT_EQ(Texts(sum), (std::vector<std::string>{"a", "b", "c"}));
    Fnd_String_Array temporary = Of({u"t"});
    temporary.Set_Temporary(1);
    const Fnd_String* string = temporary.Get(0);
    Fnd_String_Array taken(temporary);
    EXPECT_EQ(taken.Get(0), string);  // shared, not copied
    EXPECT_EQ(temporary.Is_Temporary(), 0);
    Fnd_String_Array copied(taken);
    EXPECT_NE(copied.Get(0), string);
    Fnd_String_Array front = new Fnd_String(u"0") + sum;
    EXPECT_EQ(Texts(front), (std::vector<std::string>{"0", "a", "b", "c"}));
    EXPECT_TRUE(front.Is_Equal(Of({u"0", u"a", u"b", u"c"})));
    EXPECT_FALSE(front.Is_Equal(sum));
}

TEST(FndStringArray, ImageAndTokens) {
    Fnd_String_Array array;
    array.Add_Tokens(u"  one two\tthree ");
    array.Add(static_cast<Fnd_String*>(nullptr));
    array.Add(Fnd_String(u"with blank"));
    Fnd_String out(u"old");
    Fnd_String_Array_Image(out, array, 0, 0, 0, nullptr);
    EXPECT_EQ(Narrow(out), "one two three <NULL> with blank");
    const Fnd_String prefix(u"> ");
    Fnd_String_Array_Image(out, array, 1, 1, 1, &prefix);
    EXPECT_EQ(Narrow(out), "one two three <NULL> with blank"
                           "> one\n> two\n> three\n> <NULL>\n> \"with blank\"");
    EXPECT_EQ(Fnd_String_Array::Nil().Count(), 0);
}

}  // namespace
