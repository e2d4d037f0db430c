#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "tests/foundation/base/message_test_support.h"

using message_test::Narrow;

namespace {

std::vector<std::string> Events;
void Delete_Key(long Key) { Events.push_back("key " + std::to_string(Key)); }
void Delete_Range(long Range) { Events.push_back("range " + std::to_string(Range)); }
long Double_It(long Word) { return 2 * Word; }

void Tagged(Fnd_String& Out, const Fnd_String&, long Word, long, const Code_Unit*) {
    Out.Append(u"#");
    Out.Append(Fnd_Char(static_cast<unsigned short>(u'0' + Word % 10)));
}

class PointerMapTest : public ::testing::Test {
protected:
    void SetUp() override { Events.clear(); }
};

}  // namespace

TEST_F(PointerMapTest, DefaultSizesDifferForMapsAndSets) {
    EXPECT_EQ(Utl_Pointer_Map(Utl_Domain_Pointer, Utl_Range_Pointer, 0).Get_Size(), 37);
    EXPECT_EQ(Utl_Pointer_Set(Utl_Range_Pointer, 0).Get_Size(), 17);
    EXPECT_EQ(Utl_Pointer_Set(Utl_Range_Pointer, -4).Get_Size(), 17);
}

TEST_F(PointerMapTest, KeysInOneBlockOf256ShareABucketAndStayFindable) {
    Utl_Pointer_Map map(Utl_Domain_Long, Utl_Range_Long, 37);
    const long base = 0x7f3a1200;
    EXPECT_EQ(map.Bucket_Of(base), map.Bucket_Of(base + 0xff));
    EXPECT_EQ(map.Bucket_Of(base), 25) << "0x7f3a12 % 37";
    EXPECT_NE(map.Bucket_Of(base), map.Bucket_Of(base + 0x100));
    for (long low = 0; low < 256; low += 17) map.Bind(base + low, low);
    EXPECT_EQ(map.Chain_Length(map.Bucket_Of(base)), 16);
    for (long low = 0; low < 256; low += 17) ASSERT_EQ(map.Get_Range(base + low), low);
    EXPECT_EQ(map.Is_Bound(base + 1), 0);

    // Pointer-sized keys: addresses above 4 GiB keep their own identity.
    const long high = 0x7ffd00000000L;
    map.Bind(high, 1);
    map.Bind(high + (1L << 32), 2);
    EXPECT_EQ(map.Get_Range(high), 1);
    EXPECT_EQ(map.Get_Range(high + (1L << 32)), 2);
}

TEST_F(PointerMapTest, RebindingTheSameRangeKeepsItAndAnotherOneIsDeleted) {
    Utl_Pointer_Map map(Utl_Domain_Long, Utl_Range_Long, 11, -1, Delete_Key, nullptr, nullptr,
                        Delete_Range);
    EXPECT_EQ(map.Bind(5L, 50L), 1);
    EXPECT_EQ(map.Bind(5L, 50L), 0);
    EXPECT_TRUE(Events.empty()) << "the same range is neither freed nor changed";
    EXPECT_EQ(map.Bind(5L, 51L), 0);
    EXPECT_EQ(Events, (std::vector<std::string>{"range 50"})) << "the key itself isn't deleted";
    EXPECT_EQ(map.Get_Range(5L), 51);

    long out = 0;
    EXPECT_EQ(map.Get_Range(6L, out), 0);
    EXPECT_EQ(out, -1);
    void* pointer = nullptr;
    EXPECT_EQ(map.Get_Range(reinterpret_cast<void*>(5), pointer), 1);
    EXPECT_EQ(pointer, reinterpret_cast<void*>(51));

    EXPECT_EQ(map.Unbind(5L), 1);
    EXPECT_EQ(Events, (std::vector<std::string>{"range 50", "key 5", "range 51"}));
    EXPECT_EQ(map.Unbind(5L), 0);
}

TEST_F(PointerMapTest, CopiesPassKeysAndRangesThroughTheCopiers) {
    Utl_Pointer_Map source(Utl_Domain_Long, Utl_Range_Long, 5, 0, nullptr, Double_It, nullptr,
                           nullptr, nullptr, Double_It);
    source.Bind(1L, 10L);
    source.Bind(2L, 20L);
    Utl_Pointer_Map copy(source);
    EXPECT_EQ(copy.Get_Count(), 2);
    EXPECT_EQ(copy.Get_Range(2L), 20);
    EXPECT_EQ(copy.Get_Range(4L), 40);
    EXPECT_FALSE(copy.Is_Bound(1L));
}

TEST_F(PointerMapTest, IteratorsWalkAndReplaceRanges) {
    Utl_Pointer_Map map(Utl_Domain_Long, Utl_Range_Long, 3, 0, nullptr, nullptr, nullptr,
                        Delete_Range);
    Utl_Pointer_Map_Iterator none(map);
    EXPECT_TRUE(none.Done());
    EXPECT_EQ(none.Get_Domain(), 0);
    none.Replace_Range(3);
    for (long key = 0; key < 10; ++key) map.Bind(key << 8, key);
    long seen = 0;
    for (Utl_Pointer_Map_Iterator it(map); !it.Done(); it.Next()) {
        EXPECT_EQ(it.Get_Range(), it.Get_Domain() >> 8);
        it.Replace_Range(it.Get_Range() + 100);
        ++seen;
    }
    EXPECT_EQ(seen, 10);
    EXPECT_EQ(Events.size(), 10u);
    EXPECT_EQ(map.Get_Range(9L << 8), 109);
    long walked = 0;
    for (utl_pointer_map_data* node = map.first(); node; map.next(node)) ++walked;
    EXPECT_EQ(walked, 10);
    *map.get_range_address(reinterpret_cast<void*>(0)) = 7;
    EXPECT_EQ(map.Get_Range(0L), 7);
}

TEST_F(PointerMapTest, FreedMapsAreReusedWithNewSettings) {
    Utl_Pointer_Map* map = Utl_Pointer_Map::Get(Utl_Domain_Long, Utl_Range_Long, 7, 0, nullptr,
                                                nullptr, nullptr, Delete_Range, nullptr, nullptr,
                                                nullptr);
    map->Bind(1L, 2L);
    map->Free();
    EXPECT_EQ(Events, (std::vector<std::string>{"range 2"}));
    EXPECT_EQ(Utl_Pointer_Map::Free_Map_Count(7), 1);
    Utl_Pointer_Map* again = Utl_Pointer_Map::Get(Utl_Domain_Pointer, Utl_Range_Pointer, 7, 3,
                                                  nullptr, nullptr, nullptr, nullptr, nullptr,
                                                  nullptr, nullptr);
    EXPECT_EQ(again, map);
    EXPECT_EQ(again->Get_Count(), 0);
    EXPECT_EQ(again->Get_Range(1L), 3);
    again->Bind(1L, 5L);
    again->Free();
    EXPECT_EQ(Events.size(), 1u) << "the reused map has no deleter";
}

TEST_F(PointerMapTest, ImagesSortKeysAsNumbers) {
    Utl_Pointer_Map numbers(Utl_Domain_Long, Utl_Range_Long, 3);
    numbers.Bind(300L, 3L);
    numbers.Bind(-2L, 1L);
    numbers.Bind(7L, 2L);
    Fnd_String out;
    numbers.Image(out, Fnd_String::Null, 0, 0, nullptr, u"=", 0);
    EXPECT_EQ(Narrow(out), " -2=1 7=2 300=3") << "a blank before every entry";
    numbers.Image(out, Fnd_String(u"domain"), 1, 0, u"> ", u"=", 0);
    EXPECT_EQ(Narrow(out), "> -2\n> 7\n> 300");
    numbers.Image(out, Fnd_String::Null, 1, 0, nullptr, Utl_Type_Utilities::Arrow, 1);
    EXPECT_EQ(Narrow(out), "-2  => 1\n7   => 2\n300 => 3");

    Utl_Pointer_Map pointers(Utl_Domain_Pointer, Utl_Range_Pointer, 3, 0, nullptr, nullptr,
                             nullptr, nullptr, nullptr, nullptr, Tagged);
    pointers.Bind(reinterpret_cast<void*>(0x20), reinterpret_cast<void*>(4));
    pointers.Bind(reinterpret_cast<void*>(0x1000), nullptr);
    EXPECT_EQ(Narrow(pointers.Image(Fnd_String::Null, 0, nullptr, u":", 0)),
              " 0x20:#4 0x1000:#0");

    Utl_Pointer_Set set(Utl_Range_Long, 5);
    for (long member : {9L, -1L, 4L}) set.Add(reinterpret_cast<void*>(member));
    EXPECT_EQ(Narrow(set.Image(Fnd_String::Null, 0, nullptr)), " -1 4 9");
    EXPECT_EQ(Narrow(set.Image(Fnd_String::Null, 1, u"* ")), "* -1\n* 4\n* 9");
}

TEST_F(PointerMapTest, SetsAddRemoveAndCompare) {
    Utl_Pointer_Set a(Utl_Range_Long, 17, Delete_Range);
    Utl_Pointer_Set b(Utl_Range_Long, 3);
    EXPECT_TRUE(a == b) << "two empty sets";
    EXPECT_EQ(a.Add(reinterpret_cast<void*>(1)), 1);
    EXPECT_EQ(a.Add(reinterpret_cast<void*>(1)), 0);
    a.Add(reinterpret_cast<void*>(2));
    b.Add(reinterpret_cast<void*>(2));
    EXPECT_FALSE(a == b);
    b.Add(reinterpret_cast<void*>(1));
    EXPECT_TRUE(a == b) << "order and bucket count don't matter";
    b.Remove(reinterpret_cast<void*>(1));
    b.Add(reinterpret_cast<void*>(3));
    EXPECT_FALSE(a == b);

    EXPECT_EQ(a.Remove(reinterpret_cast<void*>(1)), 1);
    EXPECT_EQ(a.Remove(reinterpret_cast<void*>(1)), 0);
    EXPECT_EQ(Events, (std::vector<std::string>{"range 1"}));
    EXPECT_EQ(a.Contains(reinterpret_cast<void*>(2)), 1);
    Utl_Pointer_Set copy(a);
    EXPECT_TRUE(copy == a);
    long members = 0;
    for (Utl_Pointer_Set_Iterator it(copy); !it.Done(); it.Next()) members += it.Get();
    EXPECT_EQ(members, 2);
}
