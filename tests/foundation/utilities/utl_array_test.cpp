#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_bit_array.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "tests/foundation/base/message_test_support.h"

using message_test::Narrow;

namespace {

// Elements are addresses of slots in this table; the deleter records which went.
int Slots[300];
void* Slot(long I) { return &Slots[I]; }
long Slot_Index(const void* P) { return static_cast<const int*>(P) - Slots; }

std::vector<long> Deleted;
void Record_Delete(void* Element) { Deleted.push_back(Slot_Index(Element)); }

std::vector<std::string> Replaced;
void Record_Replace(long Index, void* Old, void* New) {
    Replaced.push_back(std::to_string(Index) + ":" + std::to_string(Slot_Index(Old)) + ">" +
                       std::to_string(Slot_Index(New)));
}

void* Next_Slot(void* Element) { return Slot(Slot_Index(Element) + 1); }

void Slot_Image(Fnd_String& Out, const Fnd_String&, const Utl_Pointer_Array&, long,
                void* Element, long, const Code_Unit*) {
    Out.Append(u"#");
    Out.Append(Fnd_Char(static_cast<unsigned short>(u'0' + Slot_Index(Element) % 10)));
}

// Appends the numbered slots; -1 appends a null.
void Add(Utl_Pointer_Array& Array, std::initializer_list<long> Numbers) {
    for (long n : Numbers) Array.Add(n < 0 ? nullptr : Slot(n));
}

using Longs = std::vector<long>;
Longs Indexes(const Utl_Pointer_Array& Array) {
    Longs out;
    for (long i = 0; i < Array.Get_Count(); ++i)
        out.push_back(Array[i] ? Slot_Index(Array[i]) : -1);
    return out;
}

// The bits in use, first bit first.
std::string Bits_Of(const Utl_Bit_Array& Bits) {
    std::string out;
    for (long i = 0; i < Bits.Get_Count(); ++i) out += Bits.Get(i) ? '1' : '0';
    return out;
}

class ArrayTest : public ::testing::Test {
protected:
    void SetUp() override {
        Deleted.clear();
        Replaced.clear();
    }
};

}  // namespace

// ---- Utl_Pointer_Array

TEST_F(ArrayTest, AppendingMultipliesTheCapacityByFive) {
    Utl_Pointer_Array array(10);
    void* const* storage = array.Get_Elements();
    for (long i = 0; i < 51; ++i) {
        array.Add(Slot(i));
        ASSERT_EQ(array.Get_Capacity(), i < 10 ? 10 : i < 50 ? 50 : 250) << i;
        if (i == 9) {
            EXPECT_EQ(array.Get_Elements(), storage) << "ten adds fit in place";
        }
    }
    for (long i = 0; i < 51; ++i) ASSERT_EQ(array[i], Slot(i));
    EXPECT_EQ(Utl_Pointer_Array(-3).Get_Capacity(), 10);
}

TEST_F(ArrayTest, AnIndexedWriteGrowsToExactlyIndexPlusOne) {
    for (long options : {static_cast<long>(Utl_Pointer_Array::Fill_Option), 0L}) {
        Utl_Pointer_Array array(10, options);
        array.Add(Slot(1));
        array.Set(100, Slot(2));
        EXPECT_EQ(array.Get_Capacity(), 101);
        EXPECT_EQ(array.Get_Count(), 101);
        EXPECT_EQ(array[0], Slot(1));
        EXPECT_EQ(array[100], Slot(2));
        if (options) {
            for (long i = 1; i < 100; ++i) ASSERT_EQ(array[i], nullptr) << i;
        }
    }

    // Inside the capacity: no reallocation, the skipped cells are cleared with the option.
    Utl_Pointer_Array inside(20, Utl_Pointer_Array::Fill_Option);
    inside.Subscript(15) = Slot(3);
    EXPECT_EQ(inside.Get_Capacity(), 20);
    EXPECT_EQ(inside.Get_Count(), 16);
    for (long i = 0; i < 15; ++i) ASSERT_EQ(inside[i], nullptr);
    EXPECT_EQ(inside.Subscript(17), nullptr) << "a new cell from Subscript holds 0";
    EXPECT_EQ(inside.Get_Count(), 18);
}

TEST_F(ArrayTest, ReplacingUsesTheReplacerOrTheDeleterUnderTheOption) {
    Utl_Pointer_Array owning(10, Utl_Pointer_Array::Fill_Option, Record_Delete);
    Add(owning, {1});
    owning.Set(0, Slot(1));
    EXPECT_TRUE(Deleted.empty()) << "the same pointer again is no replacement";
    owning.Set(0, Slot(2));
    EXPECT_EQ(Deleted, Longs{1});

    Utl_Pointer_Array no_option(10, 0, Record_Delete);
    Add(no_option, {1});
    no_option.Set(0, Slot(2));
    EXPECT_EQ(Deleted, Longs{1}) << "without the option the deleter isn't used";

    Utl_Pointer_Array replacing(10, Utl_Pointer_Array::Fill_Option, Record_Delete,
                                Record_Replace);
    Add(replacing, {4});
    replacing.Set(0, Slot(5));
    EXPECT_EQ(Replaced, (std::vector<std::string>{"0:4>5"}));
    EXPECT_EQ(replacing[0], Slot(5));
    EXPECT_EQ(Deleted, Longs{1}) << "a replacer takes the deleter's place";
    Deleted.clear();
}

TEST_F(ArrayTest, SearchingRemovingAndDeletingRanges) {
    Utl_Pointer_Array array(4, 0, Record_Delete);
    Add(array, {1, 2, 3, 2, 4});
    EXPECT_EQ(array.Index(Slot(2)), 1);
    EXPECT_EQ(array.Index(Slot(9)), -1);
    EXPECT_FALSE(array.Contains(Slot(9)));
    array.Add_To_Set(Slot(3));
    EXPECT_EQ(array.Get_Count(), 5);
    array.Add(nullptr);

    array.Remove(Slot(2));  // the first one only
    EXPECT_EQ(Indexes(array), (Longs{1, 3, 2, 4, -1}));
    array.Remove(Slot(9));
    EXPECT_EQ(Deleted, Longs{2});

    array.Delete(1, 2);  // inclusive
    EXPECT_EQ(Indexes(array), (Longs{1, 4, -1}));
    array.Delete(2);  // a null element doesn't reach the deleter
    EXPECT_EQ(Deleted, (Longs{2, 3, 2}));
    array.Shorten(5);
    EXPECT_EQ(array.Get_Count(), 0);
    EXPECT_EQ(Deleted, (Longs{2, 3, 2, 1, 4}));
}

TEST_F(ArrayTest, InsertReplaceAndTransfer) {
    Utl_Pointer_Array array(3);
    Add(array, {1, 2, 3});
    array.Insert(0, Slot(0));
    array.Insert(4, Slot(9));
    EXPECT_EQ(Indexes(array), (Longs{0, 1, 2, 3, 9}));

    Utl_Pointer_Array other(2);
    Add(other, {7, 8});
    array.Insert(2, other);
    EXPECT_EQ(Indexes(array), (Longs{0, 1, 7, 8, 2, 3, 9}));
    array.Insert(1, array);  // the words are read before they move
    EXPECT_EQ(Indexes(array), (Longs{0, 0, 1, 7, 8, 2, 3, 9, 1, 7, 8, 2, 3, 9}));

    Utl_Pointer_Array target(2);
    Add(target, {5});
    array.Transfer(target, 1, 8);
    EXPECT_EQ(Indexes(target), (Longs{5, 0, 1, 7, 8, 2, 3, 9, 1}));
    EXPECT_EQ(Indexes(array), (Longs{0, 7, 8, 2, 3, 9}));

    array.Replace(1, other);  // two for one: the rest moves up by one
    EXPECT_EQ(Indexes(array), (Longs{0, 7, 8, 8, 2, 3, 9}));
    Utl_Pointer_Array one(1);
    Add(one, {4});
    array.Replace(6, one);
    EXPECT_EQ(Indexes(array), (Longs{0, 7, 8, 8, 2, 3, 4}));
    array.Replace(0, Utl_Pointer_Array(1));
    EXPECT_EQ(Indexes(array), (Longs{7, 8, 8, 2, 3, 4}));
}

TEST_F(ArrayTest, TransferredStorageLeavesAUsableEmptyArray) {
    Utl_Pointer_Array array(10);
    Add(array, {1});
    void** storage = array.Transfer_Strorage();
    EXPECT_EQ(storage[0], Slot(1));
    delete[] storage;
    EXPECT_EQ(array.Get_Count(), 0);
    EXPECT_EQ(array.Get_Capacity(), 1);
    Add(array, {2, 3});
    array.Grow_Storage(4);
    EXPECT_EQ(array.Get_Capacity(), 5 + 4 + 1);
    array.Ensure_Storage(8);
    EXPECT_EQ(array.Get_Capacity(), 10);
    array.Ensure_Storage(30);
    EXPECT_EQ(array.Get_Capacity(), 31);
    EXPECT_EQ(Indexes(array), (Longs{2, 3}));
}

TEST_F(ArrayTest, CopiesGoThroughTheCopierAndAssignmentKeepsOldElements) {
    Utl_Pointer_Array source(4, 0, Record_Delete, nullptr, nullptr, Next_Slot);
    Add(source, {1, -1});
    Utl_Pointer_Array copy(source);
    EXPECT_EQ(Indexes(copy), (Longs{2, -1}));
    EXPECT_EQ(copy.Get_Capacity(), 4);
    EXPECT_FALSE(copy == source);

    Utl_Pointer_Array target(1);
    Add(target, {9});
    target = source;
    EXPECT_EQ(Indexes(target), (Longs{2, -1}));
    EXPECT_TRUE(Deleted.empty()) << "assignment doesn't hand the old elements to a deleter";
    Utl_Pointer_Array words(2);
    Add(words, {1, -1});
    EXPECT_TRUE(words == source);
}

TEST_F(ArrayTest, FreedHeapArraysAreRecycledByCapacity) {
    Utl_Pointer_Array* first = Utl_Pointer_Array::Get(5, 0, Record_Delete);
    Add(*first, {1, 2});
    first->Free();
    EXPECT_EQ(Deleted, (Longs{1, 2}));
    EXPECT_EQ(Utl_Pointer_Array::Free_List_Length(5), 1);

    Utl_Pointer_Array* again = Utl_Pointer_Array::Get(5, 1);
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->Get_Count(), 0);
    EXPECT_EQ(again->Get_Options(), 1);
    Add(*again, {3});
    again->Free();
    EXPECT_EQ(Deleted.size(), 2u) << "the reused array has no deleter any more";

    // A negative size takes from list 1; a capacity above 50 is deleted, not kept.
    Utl_Pointer_Array::Get(60)->Free();
    EXPECT_EQ(Utl_Pointer_Array::Free_List_Length(60), 0);
    Utl_Pointer_Array* one = Utl_Pointer_Array::Get(1);
    one->Free();
    EXPECT_EQ(Utl_Pointer_Array::Get(-1), one);
    one->Free();
}

TEST_F(ArrayTest, ImagesNameNullsAndUseTheImageFunction) {
    Utl_Pointer_Array array(4);
    array.Add(nullptr);
    array.Add(reinterpret_cast<void*>(0x1f0));
    Fnd_String out(u"old");
    array.Image(out, Fnd_String::Null, 0, 0, nullptr);
    EXPECT_EQ(Narrow(out), "null 0x1f0");
    array.Image(out, Fnd_String::Null, 1, 1, u"> ");
    EXPECT_EQ(Narrow(out), "null 0x1f0> null\n> 0x1f0")
        << "separators go between elements only";

    Utl_Pointer_Array named(4, 0, nullptr, nullptr, Slot_Image);
    Add(named, {3, 14});
    EXPECT_EQ(Narrow(named.Image(Fnd_String::Null, 0, nullptr)), "#3 #4");
}

// ---- Utl_Long_Array

TEST_F(ArrayTest, LongArraysGrowFillSortAndShorten) {
    Utl_Long_Array array(2, 1, -7);
    for (long value : {5, -3, 9}) array.Add(value);
    EXPECT_EQ(array.Get_Capacity(), 10);
    array.Set(12, 4);
    EXPECT_EQ(array.Get_Capacity(), 13);
    EXPECT_EQ(array.Get_Count(), 13);
    for (long i = 3; i < 12; ++i) ASSERT_EQ(array[i], -7) << "the fill value";
    array.Sort();
    EXPECT_EQ(Narrow(array.Image(0, nullptr)), "-7 -7 -7 -7 -7 -7 -7 -7 -7 -3 4 5 9");
    EXPECT_EQ(array.Index(-3), 9);
    EXPECT_EQ(array.Index(100), -1);

    array.Shorten(11);
    EXPECT_EQ(array.Get_Count(), 2);
    array.Shorten(-4);
    EXPECT_EQ(array.Get_Count(), 2);
    array.Shorten(40);
    EXPECT_EQ(array.Get_Count(), 0);

    Utl_Long_Array words(4);
    words.Add(1L << 40);  // the cells are wide enough for an address
    words.Insert(0, -2);
    Utl_Long_Array copy(words);
    EXPECT_TRUE(copy == words);
    copy.Replace(1, words);
    EXPECT_EQ(Narrow(copy.Image(1, u"- ")), "- -2\n- -2\n- 1099511627776");
}

// ---- Utl_Bit_Array

TEST_F(ArrayTest, BitArraysAppendOneWordAtATime) {
    Utl_Bit_Array bits(33, 1);
    std::string expected;
    for (long i = 0; i < 64; ++i) {
        ASSERT_EQ(bits.Get_Word_Count(), i < 32 ? 1 : 2) << "before bit " << i;
        bits.Add(i % 3 == 0);
        expected += i % 3 == 0 ? '1' : '0';
    }
    EXPECT_EQ(bits.Get_Word_Count(), 3) << "bit 63 needs a third word";
    EXPECT_EQ(Bits_Of(bits), expected);
}

TEST_F(ArrayTest, BitArchivesRoundTripAndSurviveDamage) {
    Utl_Bit_Array three(32, 0);
    for (int i = 0; i < 3; ++i) three.Add(0);
    Fnd_String text;
    three.Archive(text);
    EXPECT_EQ(Narrow(text), "03_0");

    Utl_Bit_Array bits(64, 1);
    bits.Set(33, 1);
    bits.Set(0, 1);
    bits.Set(39, 0);
    bits.Archive(text);
    EXPECT_EQ(Narrow(text), "140_1_2");
    Utl_Bit_Array back(text);
    EXPECT_EQ(back.Get_Fill(), 1);
    EXPECT_EQ(Bits_Of(back), Bits_Of(bits));
    EXPECT_EQ(Bits_Of(back), "1" + std::string(32, '0') + "1" + std::string(6, '0'));

    const struct {
        const char16_t* Archive;
        long Words, Count;
    } damaged[] = {{u"", 1, 0}, {u"1x", 1, 0}, {u"0999999999999_7", 1, 32}};
    for (const auto& d : damaged) {
        Utl_Bit_Array read{Fnd_String(d.Archive)};
        EXPECT_EQ(read.Get_Word_Count(), d.Words) << Narrow(Fnd_String(d.Archive));
        EXPECT_EQ(read.Get_Count(), d.Count) << "a count is cut to what the words hold";
    }
    EXPECT_EQ(Utl_Bit_Array{Fnd_String()}.Get_Fill(), 1);
    EXPECT_EQ(Bits_Of(Utl_Bit_Array{Fnd_String(u"0999999999999_7")}).substr(0, 4), "1110");
}

TEST_F(ArrayTest, BitSetPastTheEndClearsTheGapOnlyWithTheFillFlag) {
    for (long fill : {1, 0}) {
        Utl_Bit_Array bits(64, fill);
        for (int i = 0; i < 40; ++i) bits.Add(1);
        bits.Shorten(38);  // two bits in use; the stale ones stay in the words
        bits.Set(36, 1);
        EXPECT_EQ(Bits_Of(bits), "11" + std::string(34, fill ? '0' : '1') + "1") << fill;
    }
}

TEST_F(ArrayTest, BitTestsDeleteInsertAndReplace) {
    Utl_Bit_Array empty(32, 1);
    EXPECT_EQ(empty.Is_Zero(), 1);
    EXPECT_EQ(empty.Is_Ones(), 1);
    EXPECT_EQ(empty.Single_Bit_Set(5), 1);

    Utl_Bit_Array bits(32, 1);
    for (long b : {0, 1, 0, 0}) bits.Add(b);
    EXPECT_EQ(bits.Single_Bit_Set(1), 1);
    EXPECT_EQ(bits.Single_Bit_Set(2), 0);
    EXPECT_EQ(bits.Is_Zero(), 0);
    bits.Insert(0, 1);
    EXPECT_EQ(Bits_Of(bits), "10100");
    EXPECT_EQ(bits.Single_Bit_Set(2), 0);
    bits.Delete(0, 1);
    EXPECT_EQ(Bits_Of(bits), "100");
    EXPECT_EQ(bits.Single_Bit_Set(0), 1);

    Utl_Bit_Array ones(32, 1);
    for (int i = 0; i < 40; ++i) ones.Add(1);
    EXPECT_EQ(ones.Is_Ones(), 1);
    bits.Insert(1, ones);  // grows the table for 43 bits
    EXPECT_EQ(Bits_Of(bits), std::string(41, '1') + "00");
    EXPECT_EQ(bits.Get_Word_Count(), 2);
    bits.Replace(41, ones);  // overwrites past the end
    EXPECT_EQ(bits.Get_Count(), 81);
    EXPECT_EQ(bits.Is_Ones(), 1);
    bits.Delete(5);
    EXPECT_EQ(bits.Get_Count(), 80);
    bits.Shorten(100);
    EXPECT_EQ(bits.Get_Count(), 0);
    EXPECT_EQ(bits.Get_Word_Count(), 3) << "the table never shrinks";
}
