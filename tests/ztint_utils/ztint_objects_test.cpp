#include "ztint_utils/ztint_objects.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ztint_fresh_process.h"

// The table lives as long as the process: each test looks at it from an empty
// start, in a fresh process.

namespace {

ZTInt_obj_struct Record(uint16_t type, uint32_t id)
{
    return ZTInt_obj_struct{type, 7, id, 4321};
}

}  // namespace

TEST(ObjectTable, NewCopiesTheRecordIntoChunksOfFifty)
{
    ZTInt_In_Fresh_Process([] {
        int local = 0;
        EXPECT_EQ(ZTInt_obj_Lookup(1), nullptr);  // before any allocation
        EXPECT_EQ(ZTInt_obj_Index(reinterpret_cast<ZTInt_obj_struct*>(&local)), 0);
        std::vector<ZTInt_obj_struct*> entries;
        for (uint32_t i = 1; i <= 50; ++i) {
            const ZTInt_obj_struct record = Record(33, i * 10);
            entries.push_back(ZTInt_obj_New(&record));
            ASSERT_NE(entries.back(), nullptr);
            EXPECT_EQ(std::memcmp(entries.back(), &record, sizeof record), 0);
            EXPECT_EQ(ZTInt_obj_Index(entries.back()), static_cast<int32_t>(i));
        }
        // Entries of one chunk are consecutive.
        EXPECT_EQ(entries[49], entries[0] + 49);
        EXPECT_EQ(ZTInt_obj_Lookup(1), entries[0]);
        EXPECT_EQ(ZTInt_obj_Lookup(50), entries[49]);
        EXPECT_EQ(ZTInt_obj_Lookup(51), nullptr);
        EXPECT_EQ(ZTInt_obj_Lookup(0), nullptr);

        const ZTInt_obj_struct record = Record(58, 1);
        ZTInt_obj_struct* second_chunk = ZTInt_obj_New(&record);
        EXPECT_EQ(ZTInt_obj_Index(second_chunk), 51);
        EXPECT_EQ(ZTInt_obj_Lookup(51), second_chunk);
        EXPECT_EQ(ZTInt_obj_Lookup(100), second_chunk + 49);
        EXPECT_EQ(ZTInt_obj_Lookup(101), nullptr);
        EXPECT_EQ(ZTInt_obj_Index(reinterpret_cast<ZTInt_obj_struct*>(&local)), 0);
    });
}

TEST(ObjectTable, AllocatedAndFreedEntriesAreReusedLastFreedFirst)
{
    ZTInt_In_Fresh_Process([] {
        // Alloc hands out the entry as it is, its Id still the link to the next free one;
        // Init clears it.
        ZTInt_obj_struct* entry = ZTInt_obj_Alloc();
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->Id, 2u);
        ZTInt_obj_Init(entry);
        const ZTInt_obj_struct zero{};
        EXPECT_EQ(std::memcmp(entry, &zero, sizeof zero), 0);

        const ZTInt_obj_struct record = Record(33, 1);
        ZTInt_obj_struct* a = ZTInt_obj_New(&record);
        EXPECT_EQ(a, entry + 1);
        ZTInt_obj_struct* b = ZTInt_obj_New(&record);
        ZTInt_obj_struct* c = ZTInt_obj_New(&record);
        ZTInt_obj_Free(a);
        EXPECT_EQ(a->Type, 0);
        EXPECT_EQ(a->Reserved, 0);
        EXPECT_EQ(a->Owner_Pid, -1);
        ZTInt_obj_Free(c);
        EXPECT_EQ(ZTInt_obj_New(&record), c);
        EXPECT_EQ(ZTInt_obj_New(&record), a);
        // With the freed ones taken, allocation goes on where the chunk left off.
        EXPECT_EQ(ZTInt_obj_New(&record), c + 1);
        EXPECT_NE(b, nullptr);

        // Addresses that are not entries of the table are ignored, not linked in.
        ZTInt_obj_struct outside = record;
        ZTInt_obj_Free(&outside);
        ZTInt_obj_Free(nullptr);
        EXPECT_EQ(outside.Owner_Pid, 4321);
        EXPECT_EQ(ZTInt_obj_New(&record), c + 2);

        // A second free of an entry, or a free of one never handed out, links nothing:
        // the entry comes back once, not twice.
        ZTInt_obj_Free(b);
        ZTInt_obj_Free(b);
        ZTInt_obj_Free(c + 10);
        EXPECT_EQ(ZTInt_obj_New(&record), b);
        EXPECT_EQ(ZTInt_obj_New(&record), c + 3);
    });
}

TEST(ObjectTable, IterateSkipsFreedEntriesAndStopsOnZero)
{
    ZTInt_In_Fresh_Process([] {
        const ZTInt_obj_struct record = Record(33, 1);
        ZTInt_obj_struct* entries[4];
        for (auto*& entry : entries)
            entry = ZTInt_obj_New(&record);
        ZTInt_obj_Free(entries[1]);

        struct Seen {
            std::vector<ZTInt_obj_struct*> entries;
            size_t stop_after;
        };
        auto collect = [](ZTInt_obj_struct* entry, void* data) -> int {
            auto* seen = static_cast<Seen*>(data);
            seen->entries.push_back(entry);
            return seen->entries.size() < seen->stop_after;
        };

        Seen all{{}, 1000};
        ZTInt_obj_Iterate(collect, &all);
        // Only live entries are passed: never-used entries are free ones too.
        ASSERT_EQ(all.entries.size(), 3u);
        EXPECT_EQ(all.entries[0], entries[0]);
        EXPECT_EQ(all.entries[1], entries[2]);
        EXPECT_EQ(all.entries[2], entries[3]);

        Seen two{{}, 2};
        ZTInt_obj_Iterate(collect, &two);
        EXPECT_EQ(two.entries.size(), 2u);
    });
}

TEST(ObjectTable, FullTableGivesNullUntilAnEntryIsFreed)
{
    ZTInt_In_Fresh_Process([] {
        const ZTInt_obj_struct record = Record(33, 1);
        ZTInt_obj_struct* last = nullptr;
        for (int32_t i = 0; i < ZTInt_obj_Max_Entries; ++i) {
            last = ZTInt_obj_New(&record);
            ASSERT_NE(last, nullptr) << i;
        }
        EXPECT_EQ(ZTInt_obj_Index(last), ZTInt_obj_Max_Entries);
        EXPECT_EQ(ZTInt_obj_Lookup(ZTInt_obj_Max_Entries), last);
        EXPECT_EQ(ZTInt_obj_Lookup(ZTInt_obj_Max_Entries + 1), nullptr);
        EXPECT_EQ(ZTInt_obj_New(&record), nullptr);
        EXPECT_EQ(ZTInt_obj_Alloc(), nullptr);

        ZTInt_obj_struct* middle = ZTInt_obj_Lookup(12345);
        ZTInt_obj_Free(middle);
        EXPECT_EQ(ZTInt_obj_New(&record), middle);
        EXPECT_EQ(ZTInt_obj_New(&record), nullptr);
    });
}
