#include "foundation/mfc/carchive.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/ccollections.h"
#include "tests/foundation/mfc/memory_file.h"

namespace {

template <class Value>
std::vector<unsigned char> Host_Bytes(Value V) {
    std::vector<unsigned char> out(sizeof V);
    std::memcpy(out.data(), &V, sizeof V);
    return out;
}

// The cause of the archive exception that Action raises; -1 when none is raised.
template <class Action>
int Cause_Of(Action&& Run) {
    try {
        Run();
    } catch (CArchiveException* e) {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
    return -1;
}

Fnd_String Repeated(long Count, Code_Unit Unit) {
    return Count > 0 ? Fnd_String(Count, Fnd_Char(Unit), 1) : Fnd_String();
}

std::vector<unsigned char> Stored(const Fnd_String& Text) {
    Memory_File file;
    {
        CArchive archive(&file, CArchive::store);
        archive << Text;
    }
    return file.Bytes;
}

}  // namespace

// ---- The stored form

TEST(ArchiveTest, NumbersAreLittleEndianOnEveryHostAndLongsSignExtend) {
    Memory_File file;
    {
        CArchive archive(&file, CArchive::store);
        archive << static_cast<unsigned char>(0xAB) << static_cast<short>(-2)
                << static_cast<long>(0x1122334455667788L) << 7u << 1.5 << -5L
                << static_cast<unsigned long>(0xFFFFFFFFUL) << -1;
    }
    std::vector<unsigned char> expected = {0xAB, 0xFE, 0xFF, 0x88, 0x77, 0x66, 0x55, 7, 0, 0, 0};
    const std::vector<unsigned char> bits = Host_Bytes(1.5);
    expected.insert(expected.end(), bits.begin(), bits.end());
    for (unsigned char b : {0xFB, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF})
        expected.push_back(b);
    EXPECT_EQ(file.Bytes, expected) << "a long is its low 4 bytes";

    CArchive archive(&file, CArchive::load);
    std::tuple<unsigned char, short, long, unsigned, double, long, unsigned long, int> back;
    auto& [byte, small, word, number, real, negative, all_ones, minus_one] = back;
    archive >> byte >> small >> word >> number >> real >> negative >> all_ones >> minus_one;
    // Longs come back sign-extended from their 4 bytes.
    EXPECT_EQ(back, std::make_tuple(static_cast<unsigned char>(0xAB), static_cast<short>(-2),
                                    0x55667788L, 7u, 1.5, -5L, 0xFFFFFFFFUL, -1));
}

TEST(ArchiveTest, LengthFieldsChangeFormAt255And65534) {
    const struct {
        long Length;
        std::vector<unsigned char> Field;
    } cases[] = {{0, {0}},
                 {1, {1}},
                 {254, {254}},
                 {255, {255, 255, 0}},
                 {65533, {255, 0xFD, 0xFF}},
                 {65534, {255, 0xFF, 0xFF, 0xFE, 0xFF, 0, 0}},
                 {65535, {255, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0}},
                 {70000, {255, 0xFF, 0xFF, 0x70, 0x11, 0x01, 0}}};
    const std::vector<unsigned char> unit = Host_Bytes(static_cast<Code_Unit>(0xE9));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Length);
        const Fnd_String text = Repeated(c.Length, u'\u00e9');
        const std::vector<unsigned char> bytes = Stored(text);
        ASSERT_EQ(bytes.size(), c.Field.size() + 2 * static_cast<size_t>(c.Length));
        EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.begin() + c.Field.size()),
                  c.Field);
        if (c.Length > 0) {  // the text in host order
            EXPECT_EQ(bytes[c.Field.size()], unit[0]);
            EXPECT_EQ(bytes[c.Field.size() + 1], unit[1]);
        }

        Memory_File file;
        file.Bytes = bytes;
        CArchive archive(&file, CArchive::load, 100);
        Fnd_String back(u"stale");
        archive >> back;
        EXPECT_EQ(back.Get_Length(), c.Length);
        EXPECT_TRUE(back == text);
    }

    // The 16-bit form, never written for 65534, still reads it.
    Memory_File file;
    file.Bytes = {255, 0xFE, 0xFF};
    for (int i = 0; i < 65534; ++i) file.Bytes.insert(file.Bytes.end(), unit.begin(), unit.end());
    CArchive archive(&file, CArchive::load);
    Fnd_String text;
    archive >> text;
    EXPECT_TRUE(text == Repeated(65534, u'\u00e9'));
}

// ---- Reading and writing through the buffer

TEST(ArchiveTest, ShortReadsGiveWhatThereIsAndValuesRaiseTheEndCause) {
    Memory_File file;
    file.Bytes = {1, 2, 3, 4, 5, 6, 7};
    CArchive archive(&file, CArchive::load, 4);
    unsigned char four[4] = {};
    EXPECT_EQ(archive.Read(four, 4), 4u);
    EXPECT_EQ(archive.Read(four, 0), 0u) << "nothing asked, nothing given";
    long value = 0;
    EXPECT_EQ(Cause_Of([&] { archive >> value; }), CArchiveException::End_Of_File)
        << "a long with 3 bytes left";

    Memory_File rest;
    rest.Bytes = {9, 8, 7};
    CArchive again(&rest, CArchive::load, 2);
    unsigned char out[10] = {};
    EXPECT_EQ(again.Read(out, 10), 3u);
    EXPECT_EQ(out[2], 7);
    EXPECT_EQ(again.Read(out, 10), 0u);

    Memory_File empty;
    CArchive nothing(&empty, CArchive::load);
    EXPECT_EQ(nothing.Read(out, 1), 0u);
}

TEST(ArchiveTest, ReadsSpanRefillsAndKeepTheRest) {
    Memory_File file;
    for (int i = 0; i < 20; ++i) file.Bytes.push_back(static_cast<unsigned char>(i));
    CArchive archive(&file, CArchive::load, 8);
    unsigned char out[20] = {};
    EXPECT_EQ(archive.Read(out, 3), 3u);
    EXPECT_EQ(archive.Read(out + 3, 11), 11u);  // 5 at hand, then a refill of 8
    EXPECT_EQ(archive.Read(out + 14, 6), 6u);
    for (int i = 0; i < 20; ++i) ASSERT_EQ(out[i], i);
    EXPECT_EQ(file.Largest_Read, 8u) << "refills fill the whole buffer";
}

TEST(ArchiveTest, LargeWritesFlushFirstSoTheOrderHolds) {
    Memory_File file;
    {
        CArchive archive(&file, CArchive::store, 8);
        archive << 'a' << 'b';
        const char big[20] = "0123456789abcdefghi";
        archive.Write(big, 20);
        archive << 'z';
        for (int i = 0; i < 10; ++i) archive << 'y';  // overflows the buffer once
    }
    EXPECT_EQ(file.Writes, (std::vector<unsigned>{2, 20, 8, 3})) << "a full buffer holds 8";
    const std::string text(file.Bytes.begin(), file.Bytes.end());
    EXPECT_EQ(text.substr(0, 23),
              std::string("ab0123456789abcdefghi") + std::string(1, '\0') + "z");
    EXPECT_EQ(file.Bytes.size(), 2u + 20 + 1 + 10);
}

TEST(ArchiveTest, ClosingAndTheNoFlushMode) {
    Memory_File file;
    CArchive archive(&file, CArchive::store);
    archive << 5;
    EXPECT_TRUE(file.Bytes.empty());
    archive.Close();
    EXPECT_EQ(file.Bytes.size(), 4u);
    EXPECT_EQ(archive.GetFile(), nullptr);
    EXPECT_EQ(Cause_Of([&] { archive.Flush(); }), -1) << "nothing buffered: nothing to do";
    archive << 6;
    EXPECT_EQ(Cause_Of([&] { archive.Flush(); }), CArchiveException::Generic)
        << "a closed archive has no file";

    Memory_File kept;
    {
        CArchive quiet(&kept, CArchive::store | CArchive::bNoFlushOnDelete);
        quiet << 1;
    }
    EXPECT_TRUE(kept.Bytes.empty());

    unsigned char own[16];
    Memory_File user;
    {
        CArchive buffered(&user, CArchive::store, 16, own);
        buffered << 0x01020304;
    }
    EXPECT_EQ(user.Bytes, (std::vector<unsigned char>{4, 3, 2, 1}));
    EXPECT_EQ(own[0], 4) << "the caller's buffer was used";
}

TEST(ArchiveTest, MisuseRaisesItsCause) {
    EXPECT_EQ(Cause_Of([] { CArchive archive(nullptr, CArchive::load); }),
              CArchiveException::Generic);
    Memory_File file;
    CArchive loading(&file, CArchive::load);
    EXPECT_EQ(Cause_Of([&] { loading << 1; }), CArchiveException::Read_Only);
    EXPECT_EQ(Cause_Of([&] { loading.Flush(); }), CArchiveException::Read_Only);
    CArchive storing(&file, CArchive::store);
    int value = 0;
    EXPECT_EQ(Cause_Of([&] { storing >> value; }), CArchiveException::Write_Only);
}

TEST(ArchiveTest, DamagedLengthsFailWithoutAHugeAllocation) {
    const std::vector<unsigned char> cases[] = {
        {255, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'a', 0}, {255, 0xFF, 0xFF, 0xFF}, {255, 0x10},
        {200, 'a'}};
    for (const auto& bytes : cases) {
        Memory_File file;
        file.Bytes = bytes;
        CArchive archive(&file, CArchive::load);
        Fnd_String text;
        EXPECT_EQ(Cause_Of([&] { archive >> text; }), CArchiveException::End_Of_File);
        EXPECT_LE(text.GetAllocLength(), 32768) << "no allocation for what never came";
    }

    // A string array that claims 4 billion strings and holds two.
    Memory_File file;
    file.Bytes = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1, 'a', 0, 0};
    CArchive archive(&file, CArchive::load);
    CStringArray array;
    EXPECT_EQ(Cause_Of([&] { array.Serialize(archive); }), CArchiveException::End_Of_File);
    EXPECT_LE(array.Get_Capacity(), 1024);
    EXPECT_EQ(array[0] ? array[0]->Get_Length() : -1, 1);
}

// ---- Exceptions

TEST(ArchiveTest, ErrorMessagesFollowTheCopyRule) {
    Code_Unit buffer[32] = {u'k', u'e', u'e', u'p', 0};
    CArchiveException none(0);
    EXPECT_EQ(none.GetErrorMessage(buffer, 32, nullptr), 0);
    EXPECT_EQ(std::u16string(buffer), u"keep");
    CArchiveException bad(1);
    EXPECT_EQ(bad.GetErrorMessage(buffer, 5, nullptr), 1);
    EXPECT_EQ(std::u16string(buffer), u"bad ");
    EXPECT_EQ(bad.GetErrorMessage(buffer, 1, nullptr), 1);
    EXPECT_EQ(std::u16string(buffer), u"bad ") << "room for nothing leaves the buffer";
    EXPECT_EQ(bad.GetErrorMessage(nullptr, 5, nullptr), 1);
    CArchiveException end(3);
    end.GetErrorMessage(buffer, 32, nullptr);
    EXPECT_EQ(std::u16string(buffer), u"end of archive");
    CArchiveException odd(42);
    odd.GetErrorMessage(buffer, 32, nullptr);
    EXPECT_EQ(std::u16string(buffer), u"unknown archive error");
    EXPECT_EQ(bad.Auto_Delete, 1);
}

TEST(ArchiveDeathTest, AHelpContextIsAProgrammingError) {
    setenv("ZT_MESSAGES", ZTINT_BUILD_DIR "/catalogs", 1);  // the assertion's own text
    CArchiveException bad(1);
    unsigned help = 0;
    Code_Unit buffer[8];
    EXPECT_DEATH(bad.GetErrorMessage(buffer, 8, &help),
                 "CArchiveException::GetErrorMessage pnHelpContext not null");
}
