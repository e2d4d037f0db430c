#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/carchive.h"
#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/foundation/mfc/memory_file.h"

using message_test::Narrow;

namespace {

int Items[8];

class Named : public CObject {
    FND_OBJECT_MEMBERS(Named, CObject)
public:
    Named() = default;
};

unsigned long Word_Of(POSITION Position) { return reinterpret_cast<unsigned long>(Position); }

class ContainerDeathTest : public ::testing::Test {
protected:
    void SetUp() override { setenv("ZT_MESSAGES", ZTINT_BUILD_DIR "/catalogs", 1); }
};

}  // namespace

// ---- CPtrList

TEST(PtrListTest, PositionsAreTaggedIndexes) {
    CPtrList list;
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    POSITION head = list.AddHead(&Items[0]);
    EXPECT_EQ(Word_Of(head), 0x60000000UL) << "index 0 is a non-null position";
    EXPECT_EQ(list.GetHeadPosition(), head);
    EXPECT_EQ(list.GetTailPosition(), head);
    POSITION at = head;
    EXPECT_EQ(list.GetNext(at), &Items[0]);
    EXPECT_EQ(at, nullptr) << "past the last element";

    EXPECT_EQ(Word_Of(list.AddTail(&Items[1])), 0x60000001UL);
    list.AddHead(&Items[2]);
    std::vector<void*> walked;
    for (POSITION p = list.GetHeadPosition(); p;) walked.push_back(list.GetNext(p));
    EXPECT_EQ(walked, (std::vector<void*>{&Items[2], &Items[0], &Items[1]}));

    const CPtrList& constant = list;
    POSITION second = CPtrList::Position_Of(1);
    EXPECT_EQ(constant.GetAt(second), &Items[0]);
    list.GetAt(second) = &Items[3];  // a reference into the list
    EXPECT_EQ(constant.GetNext(second), &Items[3]);
    list.SetAt(CPtrList::Position_Of(2), &Items[4]);
    EXPECT_EQ(list.GetAt(list.GetTailPosition()), &Items[4]);
}

TEST(PtrListTest, FindStopsAtTheFirstOccurrence) {
    CPtrList list;
    for (int i : {0, 1, 0, 2}) list.AddTail(&Items[i]);
    EXPECT_EQ(list.Find(&Items[0]), CPtrList::Position_Of(0));
    EXPECT_EQ(list.Find(&Items[2], CPtrList::Position_Of(1)), CPtrList::Position_Of(3));
    EXPECT_EQ(list.Find(&Items[0], CPtrList::Position_Of(1)), nullptr)
        << "an earlier occurrence hides the later one";
    EXPECT_EQ(list.Find(&Items[5]), nullptr);

    EXPECT_EQ(list.RemoveHead(), &Items[0]);
    EXPECT_EQ(list.RemoveTail(), &Items[2]);
    list.RemoveAt(CPtrList::Position_Of(0));
    EXPECT_EQ(list.GetCount(), 1);
    EXPECT_EQ(list.GetAt(list.GetHeadPosition()), &Items[0]);

    CTypedPtrList<CPtrList, Named*> typed;
    Named first, second;
    typed.AddTail(&first);
    typed.AddHead(&second);
    POSITION p = typed.GetHeadPosition();
    Named* got = typed.GetNext(p);
    EXPECT_EQ(got, &second);
    EXPECT_EQ(typed.RemoveTail(), &first);
}

TEST_F(ContainerDeathTest, NullPositionsAndEqualityAreProgrammingErrors) {
    CPtrList list;
    list.AddTail(&Items[0]);
    const CPtrList& constant = list;
    POSITION none = nullptr;
    EXPECT_DEATH(list.GetNext(none), "CPtrList::GetNext 1: null iterator");
    EXPECT_DEATH(constant.GetNext(none), "CPtrList::GetNext 2: null iterator");
    EXPECT_DEATH(list.GetAt(nullptr), "CPtrList::GetAt 1: null iterator");
    EXPECT_DEATH(list.SetAt(nullptr, nullptr), "CPtrList::SetAt: null iterator");
    EXPECT_DEATH(list.RemoveAt(nullptr), "CPtrList::RemoveAt: null iterator");
    POSITION stale = CPtrList::Position_Of(5);
    EXPECT_DEATH(list.GetNext(stale), "index 5");

    CMapStringToString map;
    POSITION end = nullptr;
    Fnd_String key, value;
    EXPECT_DEATH(map.GetNextAssoc(end, key, value),
                 "CMapStringToString::GetNextAssoc: null iterator");
    CObArray a, b;
    EXPECT_DEATH(a.Is_Equal(b), "CObArray::Is_Equal");
    Named thing;
    Memory_File file;
    CArchive archive(&file, CArchive::store);
    EXPECT_DEATH(thing.Serialize(archive), "CObject::Serialize on Named");
    EXPECT_DEATH(Fnd_Archive_Push_Not_Supported(u"CPtrList"), "CPtrList::operator<<");
}

// ---- Maps

TEST(MapTest, BucketCountsFollowTheTable) {
    EXPECT_EQ(CMapStringToString(5).Get_Size(), 101);
    EXPECT_EQ(CMapStringToPtr(5).Get_Size(), 5);
    EXPECT_EQ(CMapStringToLong(7).Get_Size(), 7);
    EXPECT_EQ(CMapPtrToPtr(3).Get_Size(), 3);
}

TEST(MapTest, StringToStringOwnsItsValues) {
    CMapStringToString map;
    map.SetAt(u"a", u"1");
    map[u"b"].Append(u"2");  // bound to an empty string first
    map.Bind(u"c", 0L);      // a null range
    EXPECT_EQ(map.GetCount(), 3);
    Fnd_String value;
    EXPECT_EQ(map.Lookup(u"b", value), 1);
    EXPECT_EQ(Narrow(value), "2");
    EXPECT_EQ(Narrow(map[u"a"]), "1");
    EXPECT_TRUE(map[u"c"].Is_Empty()) << "a null range gets a string of its own";

    std::map<std::string, std::string> seen;
    for (POSITION p = map.GetStartPosition(); p;) {
        Fnd_String key;
        map.GetNextAssoc(p, key, value);
        seen[Narrow(key)] = Narrow(value);
    }
    EXPECT_EQ(seen, (std::map<std::string, std::string>{{"a", "1"}, {"b", "2"}, {"c", ""}}));
    EXPECT_EQ(CMapStringToString().GetStartPosition(), nullptr);
}

TEST(MapTest, MissingKeysAreBoundToZeroByTheSubscript) {
    CMapPtrToPtr map;
    EXPECT_EQ(map[&Items[0]], nullptr);
    EXPECT_EQ(map.Get_Count(), 1);
    map[&Items[1]] = &Items[2];
    EXPECT_EQ(map.Get_Range(static_cast<void*>(&Items[1])), &Items[2]);
    long walked = 0;
    for (POSITION p = map.GetStartPosition(); p; ++walked) {
        void* key = nullptr;
        void* value = nullptr;
        map.GetNextAssoc(p, key, value);
        EXPECT_EQ(value, key == &Items[1] ? &Items[2] : nullptr);
    }
    EXPECT_EQ(walked, 2);

    CMapStringToLong numbers;
    numbers[u"n"] += 5;
    numbers[u"n"] += 2;
    long out = -1;
    EXPECT_EQ(numbers.Lookup(u"n", out), 1);
    EXPECT_EQ(out, 7);
    EXPECT_EQ(numbers.Lookup(u"m", out), 0);
    EXPECT_EQ(out, 0);
    const Fnd_String with_zero(u"a\0b", 3);  // a key with an embedded 0 unit
    numbers[with_zero] = 4;
    numbers[Fnd_String(u"a")] = 1;
    EXPECT_EQ(numbers.Get_Count(), 3);
    EXPECT_EQ(numbers[with_zero], 4);

    CMapStringToPtr pointers;
    void* pointer = &Items[0];
    EXPECT_EQ(pointers.Lookup(u"x", pointer), 0);
    EXPECT_EQ(pointer, nullptr);
    pointers[u"x"] = &Items[3];
    EXPECT_EQ(pointers.Lookup(u"x", pointer), 1);
    EXPECT_EQ(pointer, &Items[3]);

    CMapStringToOb objects;
    Named thing;
    objects[u"t"] = &thing;
    CObject* object = nullptr;
    EXPECT_EQ(objects.Lookup(u"t", object), 1);
    EXPECT_EQ(object, &thing);
}

TEST(MapTest, WordValuesLiveInTheLowHalfOfTheWord) {
    CMapPtrToWord map;
    map[&Items[0]] = 0xBEEF;
    map[&Items[0]] += 1;
    EXPECT_EQ(map.Get_Range(static_cast<long>(reinterpret_cast<intptr_t>(&Items[0]))), 0xBEF0);
    POSITION p = map.GetStartPosition();
    void* key = nullptr;
    unsigned short value = 0;
    map.GetNextAssoc(p, key, value);
    EXPECT_EQ(key, &Items[0]);
    EXPECT_EQ(value, 0xBEF0);
    EXPECT_EQ(p, nullptr);

    CMapWordToPtr words;
    words.Bind(7L, 9L);
    EXPECT_NE(words.GetStartPosition(), nullptr);
}

// ---- CStringArray

TEST(StringArrayAdapterTest, SetSizeGrowsWithEmptyStringsAndShortens) {
    CStringArray array;
    array.Add(u"keep");
    array.SetSize(4);
    EXPECT_EQ(array.GetSize(), 4);
    EXPECT_EQ(Narrow(*array[0]), "keep");
    for (long i = 1; i < 4; ++i) ASSERT_TRUE(array[i] && array[i]->Is_Empty());
    array.SetSize(1);
    EXPECT_EQ(array.GetSize(), 1);
    array.SetSize(0);
    EXPECT_EQ(array.GetSize(), 0);
}

TEST(StringArrayAdapterTest, SerializeRoundTripsAndWidensLargeCounts) {
    Memory_File file;
    CStringArray source;
    source.Add(u"one");
    source.Set(2, u"three");  // a null in cell 1 is stored as an empty string
    {
        CArchive archive(&file, CArchive::store);
        source.Serialize(archive);
    }
    EXPECT_EQ(file.Bytes[0], 3);
    EXPECT_EQ(file.Bytes[1], 0);
    CStringArray back;
    back.Add(u"stale");
    CArchive archive(&file, CArchive::load);
    back.Serialize(archive);
    EXPECT_EQ(back.GetSize(), 3);
    EXPECT_EQ(Narrow(*back[0]), "one");
    EXPECT_TRUE(back[1]->Is_Empty());
    EXPECT_EQ(Narrow(*back[2]), "three");

    Memory_File wide;
    CStringArray many;
    many.SetSize(65535);
    {
        CArchive store(&wide, CArchive::store);
        many.Serialize(store);
    }
    const std::vector<unsigned char> head(wide.Bytes.begin(), wide.Bytes.begin() + 6);
    EXPECT_EQ(head, (std::vector<unsigned char>{0xFF, 0xFF, 0xFF, 0xFF, 0, 0}));
    EXPECT_EQ(wide.Bytes.size(), 6u + 65535) << "each empty string is one byte";
    CStringArray again;
    CArchive load(&wide, CArchive::load);
    again.Serialize(load);
    EXPECT_EQ(again.GetSize(), 65535);
}
