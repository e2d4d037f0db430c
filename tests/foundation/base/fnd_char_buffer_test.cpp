#include "foundation/base/fnd_char_buffer.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/support/ztint_guarded_text.h"
#include "tests/support/ztint_test_locale.h"

namespace {

using Buf = Fnd_Char_Buffer;

std::u16string Text(const Buf& Buffer) {
    return std::u16string(Buffer.Get_Data(), static_cast<size_t>(Buffer.Get_Size()));
}

TEST(FndCharBuffer, ConstructionCopiesExactlyAndEmptyAllocatesNothing) {
    Buf empty;
    EXPECT_TRUE(empty.Is_Unallocated());
    EXPECT_EQ(empty.Get_Data()[0], 0);
    EXPECT_TRUE(Buf(nullptr).Is_Unallocated());
    EXPECT_TRUE(Buf(u"abc", 0).Is_Unallocated());
    EXPECT_TRUE(Buf(u"abc", -2).Is_Unallocated());

    Buf copy(u"abcdef", 4);
    EXPECT_EQ(Text(copy), u"abcd");
    EXPECT_EQ(copy.Get_Allocated(), 4);
    EXPECT_EQ(copy.Get_Data()[4], 0);
    Buf again(copy);
    EXPECT_EQ(Text(again), u"abcd");
    EXPECT_NE(again.Get_Data(), copy.Get_Data());
}

TEST(FndCharBuffer, StorageGrowsOnlyOnRequestAndShrinksOnlyToFit) {
    Buf buffer(u"abc");
    buffer.Ensure_Storage(20);
    buffer.Ensure_Storage(10);  // never shrinks
    EXPECT_EQ(buffer.Get_Allocated(), 20);
    buffer.Resize_Storage(10);  // size 3 fits: shrinks
    buffer.Resize_Storage(2);   // below the size: nothing
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
    Buf buffer(u"abcdef");
    buffer.Append_Data(buffer.Get_Data() + 1, 3);
    EXPECT_EQ(Text(buffer), u"abcdefbcd");
    EXPECT_EQ(buffer.Get_Data()[9], 0);

    // In place, with room: the source lies in the part that moves up.
    Buf room(u"abcdef");
    room.Ensure_Storage(20);
    room.Insert_Data(room.Get_Data() + 2, 3, 1);
    EXPECT_EQ(Text(room), u"acdebcdef");

    Buf grow(u"xyz");
    grow.Insert_Data(grow.Get_Data(), 3, 3);  // at the size: appends
    EXPECT_EQ(Text(grow), u"xyzxyz");
    grow.Insert(u"--", 0);
    grow.Append(nullptr);
    grow.Insert(nullptr, 99);  // a null text does nothing, whatever the position
    EXPECT_EQ(Text(grow), u"--xyzxyz");
}

TEST(FndCharBuffer, DeleteGetAndSetWithinRange) {
    Buf buffer(u"abcdefgh");
    buffer.Delete(2, 3);
    buffer.Delete(4, 0);
    buffer.Delete(0, -1);
    EXPECT_EQ(Text(buffer), u"abfgh");
    EXPECT_EQ(Text(buffer.Get(1, 3)), u"bfg");
    EXPECT_TRUE(buffer.Get(4, 0).Is_Unallocated());
    buffer.Set(3, u"XY");
    buffer.Set(0, Buf(u"Q"));
    EXPECT_EQ(Text(buffer), u"QbfXY");
}

TEST(FndCharBufferDeath, RangeConstraintAndUnterminatedAliasEndTheProcess) {
    ZTInt_Test_Pin_Locale();
    ZTInt_Test_Use_Shipped_Catalogs();
    Buf buffer(u"abc");
    EXPECT_DEATH(buffer.Get(2, 2), "the index 3 is outside the range 0 to 2");
    EXPECT_DEATH(buffer.Set(-1, u"x"), "the index -1 is outside the range 0 to 2");
    EXPECT_DEATH(buffer.Delete(1, 3), "the value 4 exceeds the limit 3");
    EXPECT_DEATH(buffer.Insert(u"x", 4), "the value 4 exceeds the limit 3");
    EXPECT_DEATH(buffer.Check_Index(3), "the index 3 is outside the range 0 to 2");
    Code_Unit text[] = u"abcd";
    EXPECT_DEATH(buffer.Alias(text, 3, Fnd_No_Deallocator),
                 "text handed to a character buffer is not terminated");
}

TEST(FndCharBuffer, AliasTakesForeignMemoryWithItsDeallocator) {
    auto* text = static_cast<Code_Unit*>(std::malloc(8 * sizeof(Code_Unit)));
    std::memcpy(text, u"hello", 6 * sizeof(Code_Unit));
    {
        Buf buffer(text, Fnd_Free_Deallocator);  // freed by the buffer
        EXPECT_EQ(Text(buffer), u"hello");
        buffer.Append(u"!");  // grows into its own storage, freeing the foreign one
        EXPECT_EQ(Text(buffer), u"hello!");
    }
    Code_Unit stay[] = u"abc";
    Buf borrowed;
    borrowed.Alias(stay, 3, Fnd_No_Deallocator);
    EXPECT_EQ(borrowed.Get_Data(), stay);
    borrowed.Alias(nullptr, Fnd_No_Deallocator);
    EXPECT_TRUE(borrowed.Is_Unallocated());
}

TEST(FndCharBuffer, TransferHandsOverTheStorage) {
    Buf source(u"abc"), target(u"old");
    const Code_Unit* data = source.Get_Data();
    source.Transfer(target);
    EXPECT_EQ(target.Get_Data(), data);
    EXPECT_TRUE(source.Is_Unallocated());
    Code_Unit* raw = target.Transfer();
    EXPECT_EQ(raw, data);
    EXPECT_TRUE(target.Is_Unallocated());
    delete[] raw;
    Code_Unit* empty = Buf().Transfer();  // always the caller's to delete
    EXPECT_EQ(empty[0], 0);
    delete[] empty;
}

TEST(FndCharBuffer, EqualityAndOrderSeeThroughEmbeddedZeros) {
    Buf empty, ab0c(u"ab\0c", 4), ab0d(u"ab\0d", 4), ab(u"ab"), abc(u"abc");
    Buf surrogate(u"\xD800\xDC00", 2), replacement(u"\xFFFD");
    EXPECT_TRUE(empty == static_cast<const Code_Unit*>(nullptr));
    EXPECT_TRUE(empty == u"");
    EXPECT_FALSE(ab0c == u"ab");
    EXPECT_TRUE(ab0c == Buf(u"ab\0c", 4));
    EXPECT_FALSE(ab0c == ab0d);
    EXPECT_TRUE(ab == u"ab");
    EXPECT_FALSE(ab == u"abc");
    EXPECT_FALSE(abc == u"ab");

    const struct {
        const Buf &A, &B;
        Fnd_Relation Order;
    } cases[] = {
        {ab0c, ab0d, Fnd_Less},
        {ab0d, ab0c, Fnd_Greater},
        {ab0c, ab0c, Fnd_Equal},
        {ab, ab0c, Fnd_Less},   // a prefix sorts first
        {ab0c, abc, Fnd_Less},  // the 0 unit sorts below 'c'
        {abc, ab, Fnd_Greater},
        {empty, empty, Fnd_Equal},
        {surrogate, replacement, Fnd_Less},  // code unit order
    };
    for (const auto& c : cases) EXPECT_EQ(Buf::Compare(c.A, c.B), c.Order) << &c - cases;

    EXPECT_EQ(Buf::Caseless_Compare(Buf(u"Stra\u00DFe"), Buf(u"STRASSE")), Fnd_Equal);
    EXPECT_EQ(Buf::Caseless_Compare(Buf(u"A\0b", 3), Buf(u"a\0B", 3)), Fnd_Equal);
    EXPECT_EQ(Buf::Caseless_Compare(Buf(u"a\0b", 3), Buf(u"A\0C", 3)), Fnd_Less);
    EXPECT_EQ(Buf::Caseless_Compare(Buf(u"a\0b", 3), Buf(u"A")), Fnd_Greater);
}

// A range that runs on behind the terminator hashes the units in front of it, and
// nothing behind it is read (the text ends in front of an inaccessible page; the
// block-wise hash used to read whole blocks there).
TEST(FndCharBuffer, HashOfARangeReadsNothingBehindTheTerminator) {
    std::u16string units;
    for (int i = 0; i < 300; ++i) units += static_cast<char16_t>(u'a' + i % 26);
    for (size_t length : {size_t{0}, size_t{3}, size_t{20}, size_t{250}}) {
        SCOPED_TRACE(length);
        const std::u16string text = units.substr(0, length);
        ZTInt_Guarded_Text guarded(text + u'\0');
        ASSERT_NE(guarded.Data(), nullptr);
        for (long last : {static_cast<long>(length) + 5, static_cast<long>(length) + 400}) {
            // The same as hashing a copy with zeros behind it, which stop the hash.
            std::u16string padded = text + std::u16string(static_cast<size_t>(last) + 1, u'\0');
            for (long first : {0L, 1L}) {
                if (first > static_cast<long>(length)) continue;
                EXPECT_EQ(Buf::Hash(guarded.Data(), first, last),
                          Buf::Hash(padded.c_str(), first, last));
            }
        }
        // A Last at the top of the long range: the start value wraps to 32 bits (both
        // start as 0 here) instead of overflowing.
        EXPECT_EQ(Buf::Hash(guarded.Data(), 0, LONG_MAX),
                  Buf::Hash(guarded.Data(), 0, 0xFFFFFFFFL));
        Buf whole(text.c_str());
        EXPECT_EQ(whole.Hash(0, LONG_MAX), whole.Hash(0, 0xFFFFFFFFL));
    }
}

TEST(FndCharBuffer, HashFollowsTheShiftRule) {
    EXPECT_EQ(Buf().Hash(), 0);
    EXPECT_EQ(Buf(u"c").Hash(), 1 ^ (u'c' << 5));
    EXPECT_EQ(Buf(u"ab").Hash(), 2 ^ (u'a' << 5) ^ (u'b' << 6));
    EXPECT_EQ(Buf::Hash(u"ab"), Buf(u"ab").Hash());
    EXPECT_EQ(Buf::Hash(nullptr), 0);

    // Unit 20 is shifted by 1: the 19 shifts from 5 to 23 come first.
    std::u16string twenty(19, u'x');
    EXPECT_EQ(Buf((twenty + u'y').c_str()).Hash() ^ Buf((twenty + u'z').c_str()).Hash(),
              (u'y' ^ u'z') << 1);
    // A 0 unit ends the hash, though the size counts all units.
    EXPECT_EQ(Buf(u"ab\0cd", 5).Hash(), 5 ^ (u'a' << 5) ^ (u'b' << 6));
    // 0x8000 at unit 13 is shifted by 17: 0 in 32 bits, so the rest is ignored.
    std::u16string head(12, u'q');
    Buf ends((head + u'\x8000' + u"tail").c_str());
    Buf other((head + u'\x8000' + u"different").c_str());
    EXPECT_EQ(ends.Hash() ^ 17, other.Hash() ^ 22);  // only the lengths differ
    // At unit 12 the shift is 16: the top bit, so the hash is negative.
    EXPECT_LT(Buf((std::u16string(11, u'\x01') + u'\x8000').c_str()).Hash(), 0);

    Buf text(u"xxabyy");  // a range hashes as its units; a negative First is 0
    EXPECT_EQ(text.Hash(2, 3), Buf(u"ab").Hash());
    EXPECT_EQ(Buf::Hash(u"xxabyy", 2, 3), Buf(u"ab").Hash());
    EXPECT_EQ(text.Hash(-4, 1), Buf(u"xx").Hash());
}

TEST(FndCharBuffer, ConcatenationReservesTheSum) {
    Buf joined = Buf(u"ab") + Buf(u"cd");
    EXPECT_EQ(Text(joined), u"abcd");
    EXPECT_EQ(joined.Get_Allocated(), 4);
    EXPECT_EQ(Text(u'<' + joined + u'>'), u"<abcd>");
    EXPECT_EQ(Text(u"[" + joined + u"]"), u"[abcd]");
    EXPECT_EQ(Text(joined + static_cast<const Code_Unit*>(nullptr)), u"abcd");
}

}  // namespace
