#include "foundation/base/fnd_char_buffer.h"

#include <gtest/gtest.h>

#include "tests/support/ztint_test_locale.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

namespace {

std::u16string Text(const Fnd_Char_Buffer& Buffer) {
    return std::u16string(Buffer.Get_Data(), static_cast<size_t>(Buffer.Get_Size()));
}

// The hash rule computed the slow way.
int32_t Reference_Hash(const std::u16string& Units) {
    uint32_t hash = static_cast<uint32_t>(Units.size());
    unsigned shift = 5;
    for (char16_t unit : Units) {
        uint64_t wide = static_cast<uint64_t>(unit) << shift;
        uint32_t shifted = static_cast<uint32_t>(wide);
        if (shifted == 0) break;
        hash ^= shifted;
        shift = shift == 23 ? 1 : shift + 1;
    }
    return static_cast<int32_t>(hash);
}

TEST(FndCharBuffer, ConstructionCopiesExactlyAndEmptyAllocatesNothing) {
    Fnd_Char_Buffer empty;
    EXPECT_TRUE(empty.Is_Unallocated());
    EXPECT_EQ(empty.Get_Data()[0], 0);
    EXPECT_TRUE(Fnd_Char_Buffer(nullptr).Is_Unallocated());
    EXPECT_TRUE(Fnd_Char_Buffer(u"abc", 0).Is_Unallocated());
    EXPECT_TRUE(Fnd_Char_Buffer(u"abc", -2).Is_Unallocated());

    Fnd_Char_Buffer copy(u"abcdef", 4);
    EXPECT_EQ(Text(copy), u"abcd");
    EXPECT_EQ(copy.Get_Allocated(), 4);
    EXPECT_EQ(copy.Get_Data()[4], 0);

    Fnd_Char_Buffer again(copy);
    EXPECT_EQ(Text(again), u"abcd");
    EXPECT_NE(again.Get_Data(), copy.Get_Data());
}

TEST(FndCharBuffer, StorageGrowsOnlyOnRequestAndShrinksOnlyToFit) {
    Fnd_Char_Buffer buffer(u"abc");
    buffer.Ensure_Storage(20);
    EXPECT_EQ(buffer.Get_Allocated(), 20);
    buffer.Ensure_Storage(10);  // never shrinks
    EXPECT_EQ(buffer.Get_Allocated(), 20);
    buffer.Resize_Storage(10);  // size 3 fits: shrinks
    EXPECT_EQ(buffer.Get_Allocated(), 10);
    buffer.Resize_Storage(2);  // below the size: nothing
    EXPECT_EQ(buffer.Get_Allocated(), 10);
    EXPECT_EQ(Text(buffer), u"abc");
    buffer.FreeExtra();
    EXPECT_EQ(buffer.Get_Allocated(), 3);
    buffer.Make_Empty();
    EXPECT_EQ(buffer.Get_Size(), 0);
    EXPECT_EQ(buffer.Get_Allocated(), 3);
    EXPECT_EQ(buffer.Get_Data()[0], 0);
    buffer.Deallocate();
    EXPECT_TRUE(buffer.Is_Unallocated());
}

TEST(FndCharBuffer, AppendAndInsertAcceptTheirOwnUnits) {
    // Exact growth reallocates on each append, so the source moves under the copy.
    Fnd_Char_Buffer buffer(u"abcdef");
    buffer.Append_Data(buffer.Get_Data() + 1, 3);
    EXPECT_EQ(Text(buffer), u"abcdefbcd");
    EXPECT_EQ(buffer.Get_Data()[9], 0);

    // In place, with room: the source lies in the part that moves up.
    Fnd_Char_Buffer room(u"abcdef");
    room.Ensure_Storage(20);
    room.Insert_Data(room.Get_Data() + 2, 3, 1);
    EXPECT_EQ(Text(room), u"acdebcdef");

    Fnd_Char_Buffer grow(u"xyz");
    grow.Insert_Data(grow.Get_Data(), 3, 3);  // at the size: appends
    EXPECT_EQ(Text(grow), u"xyzxyz");
    grow.Insert(u"--", 0);
    grow.Append(nullptr);
    grow.Insert(nullptr, 99);  // a null text does nothing, whatever the position
    EXPECT_EQ(Text(grow), u"--xyzxyz");
}

TEST(FndCharBuffer, DeleteGetAndSetWithinRange) {
    Fnd_Char_Buffer buffer(u"abcdefgh");
    buffer.Delete(2, 3);
    EXPECT_EQ(Text(buffer), u"abfgh");
    buffer.Delete(4, 0);
    buffer.Delete(0, -1);
    EXPECT_EQ(Text(buffer), u"abfgh");
    EXPECT_EQ(Text(buffer.Get(1, 3)), u"bfg");
    EXPECT_TRUE(buffer.Get(4, 0).Is_Unallocated());
    buffer.Set(3, u"XY");
    EXPECT_EQ(Text(buffer), u"abfXY");
    buffer.Set(0, Fnd_Char_Buffer(u"Q"));
    EXPECT_EQ(Text(buffer), u"QbfXY");
}

class FndCharBufferDeath : public ::testing::Test {
protected:
    void SetUp() override {
        ZTInt_Test_Pin_Locale();
        ZTInt_Test_Use_Shipped_Catalogs();
    }
};

TEST_F(FndCharBufferDeath, RangeConstraintAndUnterminatedAliasEndTheProcess) {
    Fnd_Char_Buffer buffer(u"abc");
    EXPECT_DEATH(buffer.Get(2, 2), "the index 3 is outside the range 0 to 2");
    EXPECT_DEATH(buffer.Set(-1, u"x"), "the index -1 is outside the range 0 to 2");
    EXPECT_DEATH(buffer.Delete(1, 3), "the value 4 exceeds the limit 3");
    EXPECT_DEATH(buffer.Insert(u"x", 4), "the value 4 exceeds the limit 3");
    EXPECT_DEATH(buffer.Check_Index(3), "the index 3 is outside the range 0 to 2");
    Code_Unit text[] = {u'a', u'b', u'c', u'd', 0};
    EXPECT_DEATH(buffer.Alias(text, 3, Fnd_No_Deallocator),
                 "text handed to a character buffer is not terminated");
}

TEST(FndCharBuffer, AliasTakesForeignMemoryWithItsDeallocator) {
    auto* text = static_cast<Code_Unit*>(std::malloc(8 * sizeof(Code_Unit)));
    std::memcpy(text, u"hello", 6 * sizeof(Code_Unit));
    {
        Fnd_Char_Buffer buffer(text, Fnd_Free_Deallocator);  // freed by the buffer
        EXPECT_EQ(Text(buffer), u"hello");
        buffer.Append(u"!");  // grows into its own storage, freeing the foreign one
        EXPECT_EQ(Text(buffer), u"hello!");
    }
    Code_Unit stay[] = u"abc";
    Fnd_Char_Buffer borrowed;
    borrowed.Alias(stay, 3, Fnd_No_Deallocator);
    EXPECT_EQ(borrowed.Get_Data(), stay);
    borrowed.Alias(nullptr, Fnd_No_Deallocator);
    EXPECT_TRUE(borrowed.Is_Unallocated());
}

TEST(FndCharBuffer, TransferHandsOverTheStorage) {
    Fnd_Char_Buffer source(u"abc");
    const Code_Unit* data = source.Get_Data();
    Fnd_Char_Buffer target(u"old");
    source.Transfer(target);
    EXPECT_EQ(target.Get_Data(), data);
    EXPECT_TRUE(source.Is_Unallocated());

    Code_Unit* raw = target.Transfer();
    EXPECT_EQ(raw, data);
    EXPECT_TRUE(target.Is_Unallocated());
    delete[] raw;

    Code_Unit* empty = Fnd_Char_Buffer().Transfer();  // always the caller's to delete
    EXPECT_EQ(empty[0], 0);
    delete[] empty;
}

TEST(FndCharBuffer, EqualityComparesSizeAndUnits) {
    Fnd_Char_Buffer empty;
    EXPECT_TRUE(empty == static_cast<const Code_Unit*>(nullptr));
    EXPECT_TRUE(empty == u"");
    Fnd_Char_Buffer embedded(u"ab\0cd", 5);
    EXPECT_FALSE(embedded == u"ab");
    EXPECT_TRUE(embedded == Fnd_Char_Buffer(u"ab\0cd", 5));
    EXPECT_FALSE(embedded == Fnd_Char_Buffer(u"ab\0ce", 5));
    EXPECT_TRUE(Fnd_Char_Buffer(u"ab") == u"ab");
    EXPECT_FALSE(Fnd_Char_Buffer(u"ab") == u"abc");
    EXPECT_FALSE(Fnd_Char_Buffer(u"abc") == u"ab");
}

TEST(FndCharBuffer, CompareSeesThroughEmbeddedZeros) {
    auto order = [](const Fnd_Char_Buffer& A, const Fnd_Char_Buffer& B) {
        return Fnd_Char_Buffer::Compare(A, B);
    };
    Fnd_Char_Buffer ab0c(u"ab\0c", 4), ab0d(u"ab\0d", 4), ab(u"ab"), abc(u"abc");
    EXPECT_EQ(order(ab0c, ab0d), Fnd_Less);
    EXPECT_EQ(order(ab0d, ab0c), Fnd_Greater);
    EXPECT_EQ(order(ab0c, ab0c), Fnd_Equal);
    EXPECT_EQ(order(ab, ab0c), Fnd_Less);      // a prefix sorts first
    EXPECT_EQ(order(ab0c, abc), Fnd_Less);     // the 0 unit sorts below 'c'
    EXPECT_EQ(order(abc, ab), Fnd_Greater);
    EXPECT_EQ(order(Fnd_Char_Buffer(), Fnd_Char_Buffer()), Fnd_Equal);
    // Code unit order: a surrogate (0xD800) sorts below U+FFFD.
    EXPECT_EQ(order(Fnd_Char_Buffer(u"\xD800\xDC00", 2), Fnd_Char_Buffer(u"\xFFFD")), Fnd_Less);

    EXPECT_EQ(Fnd_Char_Buffer::Caseless_Compare(Fnd_Char_Buffer(u"Stra\u00DFe"),
                                                Fnd_Char_Buffer(u"STRASSE")),
              Fnd_Equal);
    EXPECT_EQ(Fnd_Char_Buffer::Caseless_Compare(Fnd_Char_Buffer(u"A\0b", 3),
                                                Fnd_Char_Buffer(u"a\0B", 3)),
              Fnd_Equal);
    EXPECT_EQ(Fnd_Char_Buffer::Caseless_Compare(Fnd_Char_Buffer(u"a\0b", 3),
                                                Fnd_Char_Buffer(u"A\0C", 3)),
              Fnd_Less);
    EXPECT_EQ(Fnd_Char_Buffer::Caseless_Compare(Fnd_Char_Buffer(u"a\0b", 3), Fnd_Char_Buffer(u"A")),
              Fnd_Greater);
}

TEST(FndCharBuffer, HashFollowsTheShiftRule) {
    EXPECT_EQ(Fnd_Char_Buffer().Hash(), 0);
    EXPECT_EQ(Fnd_Char_Buffer(u"c").Hash(), 1 ^ (u'c' << 5));
    EXPECT_EQ(Fnd_Char_Buffer(u"ab").Hash(), 2 ^ (u'a' << 5) ^ (u'b' << 6));
    EXPECT_EQ(Fnd_Char_Buffer::Hash(u"ab"), Fnd_Char_Buffer(u"ab").Hash());
    EXPECT_EQ(Fnd_Char_Buffer::Hash(nullptr), 0);

    // Unit 20 is shifted by 1: the 19 shifts from 5 to 23 come first.
    std::u16string twenty(19, u'x');
    Fnd_Char_Buffer y((twenty + u'y').c_str()), z((twenty + u'z').c_str());
    EXPECT_EQ(y.Hash() ^ z.Hash(), (u'y' ^ u'z') << 1);
    // A 0 unit ends the hash, though the size counts all units.
    EXPECT_EQ(Fnd_Char_Buffer(u"ab\0cd", 5).Hash(), 5 ^ (u'a' << 5) ^ (u'b' << 6));
    // 0x8000 at unit 13 is shifted by 17: 0 in 32 bits, so the rest is ignored.
    std::u16string head(12, u'q');
    Fnd_Char_Buffer ends((head + u'\x8000' + u"tail").c_str());
    Fnd_Char_Buffer other((head + u'\x8000' + u"different").c_str());
    EXPECT_EQ(ends.Hash() ^ 17, other.Hash() ^ 22);  // only the lengths differ
    // At unit 12 the shift is 16: the top bit, so the hash is negative.
    EXPECT_LT(Fnd_Char_Buffer((std::u16string(11, u'\x01') + u'\x8000').c_str()).Hash(), 0);

    Fnd_Char_Buffer text(u"xxabyy");  // a range hashes as its units; a negative First is 0
    EXPECT_EQ(text.Hash(2, 3), Fnd_Char_Buffer(u"ab").Hash());
    EXPECT_EQ(Fnd_Char_Buffer::Hash(u"xxabyy", 2, 3), Fnd_Char_Buffer(u"ab").Hash());
    EXPECT_EQ(text.Hash(-4, 1), Fnd_Char_Buffer(u"xx").Hash());
}

TEST(FndCharBuffer, HashAgreesWithTheRuleOnLongAndEndingTexts) {
    // Lengths across the shift cycle, units with high bits, units that shift to 0.
    std::mt19937 random(12345);
    const char16_t pool[] = {u'a', u'Z', u'\x00FF', u'\x0100', u'\xFFFF', u'\xD800', u'\x1234',
                             u'\x7FFF', u'\x00C1', u'\xFEDC'};
    for (int round = 0; round < 400; ++round) {
        const size_t length = random() % 1200;
        std::u16string text(length, u'x');
        for (char16_t& unit : text) unit = pool[random() % (sizeof(pool) / sizeof(pool[0]))];
        // Half of the texts get a unit that shifts to 0 when its shift is 17 or more.
        if (length > 0 && round % 2) text[random() % length] = u'\x8000';
        Fnd_Char_Buffer buffer(text.data(), static_cast<long>(text.size()));
        ASSERT_EQ(buffer.Hash(), Reference_Hash(text)) << "length " << length;
        if (length > 10) {
            long first = static_cast<long>(random() % length);
            long last = first + static_cast<long>(random() % (length - first));
            ASSERT_EQ(buffer.Hash(first, last),
                      Reference_Hash(text.substr(static_cast<size_t>(first),
                                                 static_cast<size_t>(last - first + 1))));
        }
    }
}

TEST(FndCharBuffer, ConcatenationReservesTheSum) {
    Fnd_Char_Buffer joined = Fnd_Char_Buffer(u"ab") + Fnd_Char_Buffer(u"cd");
    EXPECT_EQ(Text(joined), u"abcd");
    EXPECT_EQ(joined.Get_Allocated(), 4);
    EXPECT_EQ(Text(u'<' + joined + u'>'), u"<abcd>");
    EXPECT_EQ(Text(u"[" + joined + u"]"), u"[abcd]");
    EXPECT_EQ(Text(joined + static_cast<const Code_Unit*>(nullptr)), u"abcd");
}

}  // namespace
