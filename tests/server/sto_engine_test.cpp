// The store engine's transactions: nested ones as savepoints, and connections of one
// process that never wait for each other's write lock.
#include <gtest/gtest.h>

#include <chrono>

#include "server/store/sto_engine.h"
#include "tests/support/ztint_temp_dir.h"

namespace {

class Sto_Engine_Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        Store = Sto_Open(Temp.Path + "/store.db");
        Store->Execute_Script("CREATE TABLE t(n INTEGER)");
    }

    static void Insert(Sto_Connection& store, int64_t n)
    {
        store.Prepare("INSERT INTO t(n) VALUES(?)").Bind(1, n).Run();
    }
    // The numbers in t as connection sees them, in order.
    static std::string Rows(Sto_Connection& store)
    {
        Sto_Statement& query = store.Prepare("SELECT n FROM t ORDER BY n");
        std::string rows;
        while (query.Next())
            rows += std::to_string(query.Number(0)) + " ";
        store.Finish_Reads();
        return rows;
    }

    ZTInt_Temp_Dir Temp;
    std::unique_ptr<Sto_Connection> Store;
};

TEST_F(Sto_Engine_Test, ANestedTransactionEndsWithoutEndingTheOuterOne)
{
    Store->Begin();
    Insert(*Store, 1);
    Store->Begin();
    Insert(*Store, 2);
    Store->Rollback();
    EXPECT_TRUE(Store->In_Transaction());
    {
        Sto_Transaction inner(*Store);
        Insert(*Store, 3);
        inner.Commit();
    }
    {
        Sto_Transaction dropped(*Store);
        Insert(*Store, 4);
    }
    EXPECT_EQ(Rows(*Store), "1 3 ");
    Store->Commit();
    EXPECT_FALSE(Store->In_Transaction());
    EXPECT_EQ(Rows(*Sto_Open(Temp.Path + "/store.db")), "1 3 ");
}

TEST_F(Sto_Engine_Test, SiblingsRefuseEachOthersWritesAtOnceAndHideTheirOwn)
{
    std::unique_ptr<Sto_Connection> sibling = Store->Open_Sibling();
    sibling->Begin();
    Insert(*sibling, 7);
    EXPECT_EQ(Rows(*Store), "");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_THROW(Store->Begin(), Sto_Busy);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
    EXPECT_FALSE(Store->In_Transaction());
    sibling->Commit();
    EXPECT_EQ(Rows(*Store), "7 ");

    // A sibling that goes in the middle of its transaction takes it back, and frees
    // the others.
    sibling->Begin();
    Insert(*sibling, 8);
    sibling.reset();
    Sto_Transaction transaction(*Store);
    Insert(*Store, 9);
    transaction.Commit();
    EXPECT_EQ(Rows(*Store), "7 9 ");
}

}  // namespace
