#include "foundation/base/fnd_list.h"

#include <gtest/gtest.h>

#include "tests/support/ztint_test_locale.h"
#include <utility>
#include <vector>

namespace {

// An element that counts its live instances and compares by value.
class Item : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Item)
public:
    static inline long Live = 0;
    long Value;
    explicit Item(long Value) : Value(Value) { ++Live; }
    Item(const Item& Other) : Fnd_Object(), Value(Other.Value) { ++Live; }
    ~Item() override { --Live; }
    long Is_Equal(const Fnd_Object& Other) const override {
        return Convert(&Other)->Value == Value;
    }
};

class Other_Item : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Other_Item)
};

long Value_Of(const Fnd_Object* Object) { return Object ? Item::Convert(Object)->Value : -1; }

// The values from the first to the last element, walked by an iterator.
std::vector<long> Values(const Fnd_Collection& Collection) {
    std::vector<long> out;
    for (Fnd_Iterator it(Collection); !it.Done(); it.Next()) out.push_back(Value_Of(it.Get(1)));
    return out;
}

// Appends new elements of the given values; returns the sequence.
Fnd_List_Sequence& Fill(Fnd_List_Sequence& Seq, std::initializer_list<long> Values) {
    for (long v : Values) Seq.Insert(new Item(v), Fnd_Sequence_Last);
    return Seq;
}

// Records the values it is given, then deletes the element.
class Recording_Disposer : public Fnd_Disposer {
public:
    mutable std::vector<long> Seen;
    void Dispose(Fnd_Object* Object) const override {
        Seen.push_back(Value_Of(Object));
        delete Object;
    }
};

// A list type of its own, so that a merge with it takes the element-wise path.
class Other_List : public Fnd_List_Sequence {
    FND_OBJECT_MEMBERS(Other_List, Fnd_List_Sequence)
public:
    using Fnd_List_Sequence::Fnd_List_Sequence;
};

class ListTest : public ::testing::Test {
protected:
    void SetUp() override { Item::Live = 0; }
    void TearDown() override { EXPECT_EQ(Item::Live, 0) << "elements leaked or freed twice"; }
};

}  // namespace

TEST_F(ListTest, InsertPositionsPlaceNodesAndMoveTheCurrentAsTabled) {
    Fnd_List_Sequence seq(1, nullptr);
    seq.Insert(new Item(1), Fnd_Sequence_Current);  // empty: first, last and current
    EXPECT_EQ(Value_Of(seq.Get_First()), 1);
    EXPECT_EQ(Value_Of(seq.Get_Last()), 1);
    EXPECT_EQ(Value_Of(seq.Get_Current()), 1);

    // First, last, behind and before the current: the current stays.
    const std::pair<long, long> inserts[] = {{0, Fnd_Sequence_First},
                                             {9, Fnd_Sequence_Last},
                                             {2, Fnd_Sequence_Next},
                                             {-1, Fnd_Sequence_Previous}};
    for (auto [value, where] : inserts) {
        seq.Insert(new Item(value), where);
        EXPECT_EQ(Value_Of(seq.Get_Current()), 1) << value;
    }
    seq.Insert(new Item(3), 77);  // out of range counts as the current: it moves
    EXPECT_EQ(Value_Of(seq.Get_Current()), 3);
    EXPECT_EQ(Values(seq), (std::vector<long>{0, -1, 1, 3, 2, 9}));
    EXPECT_EQ(seq.Cardinality(), 6);

    // Behind the last through the current: the last moves to the new node.
    seq.Set_Current(Fnd_Sequence_Last);
    seq.Insert(new Item(10), Fnd_Sequence_Next);
    EXPECT_EQ(Value_Of(seq.Get_Last()), 10);
    seq.Set_Current(Fnd_Sequence_First);
    seq.Insert(new Item(-2), Fnd_Sequence_Previous);
    EXPECT_EQ(Value_Of(seq.Get_First()), -2);
    EXPECT_EQ(Values(seq), (std::vector<long>{-2, 0, -1, 1, 3, 2, 9, 10}));
}

TEST_F(ListTest, CurrentPositionStepsAndRemovals) {
    Fnd_List_Sequence seq(1, nullptr);
    EXPECT_EQ(seq.Remove(Fnd_Sequence_Current), 0);
    EXPECT_EQ(seq.Remove(Fnd_Sequence_First), 0);
    EXPECT_EQ(seq.Cardinality(), 0);
    Fill(seq, {1, 2, 3});

    // At the last node there is no next: nothing moves.
    ASSERT_EQ(seq.Set_Current(Fnd_Sequence_Last), 1);
    EXPECT_EQ(seq.Get_Next(), nullptr);
    EXPECT_EQ(seq.Set_Current(Fnd_Sequence_Next), 0);
    EXPECT_EQ(Value_Of(seq.Get_Current()), 3);
    EXPECT_EQ(Value_Of(seq.Get_Previous()), 2);
    EXPECT_EQ(Value_Of(seq.Get_Current()), 3) << "getters don't move the current position";

    // Removing the current node when it is the last moves the current back.
    EXPECT_EQ(seq.Remove(Fnd_Sequence_Current), 1);
    EXPECT_EQ(Value_Of(seq.Get_Current()), 2);
    EXPECT_EQ(Value_Of(seq.Get_Last()), 2);
    EXPECT_EQ(seq.Cardinality(), 2);

    // Removing the current first node moves both forward.
    seq.Set_Current(Fnd_Sequence_First);
    EXPECT_EQ(seq.Remove(Fnd_Sequence_Current), 1);
    EXPECT_EQ(Value_Of(seq.Get_First()), 2);
    EXPECT_EQ(Value_Of(seq.Get_Current()), 2);
    EXPECT_EQ(seq.Set_Current(Fnd_Sequence_Previous), 0);
    EXPECT_EQ(seq.Remove(Fnd_Sequence_Next), 0);
    EXPECT_EQ(seq.Remove(Fnd_Sequence_Last), 1);
    EXPECT_EQ(seq.Cardinality(), 0);
    EXPECT_EQ(seq.Get_First(), nullptr);
    EXPECT_EQ(seq.Get_Current(), nullptr);
}

TEST_F(ListTest, FindRemoveAndEqualityByValueOrByAddress) {
    Item probe(2);
    Fnd_List_Sequence by_value(1, nullptr);
    Fnd_List_Sequence by_address(0, nullptr);
    Item* shared = new Item(2);
    Fill(by_value, {1, 2, 3});
    by_address.Insert(shared, Fnd_Sequence_Last);

    EXPECT_EQ(Value_Of(by_value.Find(probe)), 2);
    EXPECT_TRUE(by_value.Contains(&probe));
    EXPECT_FALSE(by_address.Contains(probe)) << "an equal object at another address";
    EXPECT_TRUE(by_address.Contains(shared));

    EXPECT_EQ(by_value.Remove(probe), 1);  // the stored equal element goes to the disposer
    EXPECT_EQ(Values(by_value), (std::vector<long>{1, 3}));
    EXPECT_EQ(by_value.Remove(probe), 0);
    EXPECT_EQ(by_address.Remove(shared), 1);  // no disposer: the element stays alive
    EXPECT_EQ(shared->Value, 2);
    delete shared;

    // Equality follows the flag too.
    Fnd_List_Sequence a(0, nullptr), b(0, nullptr);
    Item x(1), y(1);
    a.Insert(&x, Fnd_Sequence_Last);
    b.Insert(&y, Fnd_Sequence_Last);
    EXPECT_FALSE(a == b) << "equal but distinct objects without the by-value flag";
    b.Remove(&y);
    b.Insert(&x, Fnd_Sequence_Last);
    EXPECT_TRUE(a == b);

    Fnd_List_Sequence c(1, nullptr), d(1, nullptr);
    c.Insert(x, Fnd_Sequence_Last);  // clones
    d.Insert(y, Fnd_Sequence_Last);
    EXPECT_TRUE(c == d);
    d.Insert(Item(5), Fnd_Sequence_Last);
    EXPECT_FALSE(c == d) << "cardinalities differ";
    c.Insert(Item(6), Fnd_Sequence_Last);
    EXPECT_FALSE(c == d);
}

TEST_F(ListTest, IteratorsGoStaleOnEveryChange) {
    Fnd_List_Sequence seq(1, nullptr);
    Fnd_Iterator it(Fill(seq, {1, 2}));
    EXPECT_FALSE(it.Done());
    EXPECT_EQ(it.Number_Of_Get_Values(), 1);
    seq.Insert(new Item(3), Fnd_Sequence_Last);
    EXPECT_TRUE(it.Done()) << "stale after Insert";
    it.Reset();
    EXPECT_EQ(Value_Of(it.Get(1)), 1) << "Reset makes it fresh again";

    seq.Set_Current(Fnd_Sequence_Last);
    EXPECT_FALSE(it.Done()) << "moving the current position is no change";
    seq.Remove(Fnd_Sequence_First);
    EXPECT_TRUE(it.Done()) << "stale after Remove";

    // Make_Empty deletes the node the iterator stands on: it must not be read.
    it.Reset();
    seq.Make_Empty();
    EXPECT_TRUE(it.Done());
    EXPECT_EQ(seq.Cardinality(), 0);
}

TEST_F(ListTest, IteratorsOutliveTheirCollection) {
    auto* seq = new Fnd_List_Sequence(1, nullptr);
    seq->Insert(new Item(1), Fnd_Sequence_Last);
    Fnd_Iterator first(*seq);
    Fnd_Iterator second(*seq);
    {
        Fnd_Iterator gone(*seq);  // leaves the collection's list on destruction
    }
    delete seq;
    EXPECT_TRUE(first.Done());
    EXPECT_TRUE(second.Done());
    EXPECT_EQ(first.Get_Collection(), nullptr);
}

TEST_F(ListTest, MisusedIteratorsEndTheProcess) {
    ZTInt_Test_Use_Shipped_Catalogs();  // the failure prints its key and fields
    Fnd_List_Sequence seq(1, nullptr);
    Fnd_Iterator it(Fill(seq, {1}));
    seq.Insert(new Item(2), Fnd_Sequence_Last);
    EXPECT_DEATH(it.Next(), "Fnd_Abstract_Type_Error.54: class Fnd_Iterator");
    EXPECT_DEATH(it.Get(1), "Fnd_Abstract_Type_Error.54: class Fnd_Iterator");
    it.Reset();
    EXPECT_DEATH(it.Get(2), "Fnd_Abstract_Type_Error.51: class Fnd_Iterator.*pos 2");
    it.Invalidate();
    EXPECT_DEATH(it.Next(), "Fnd_Abstract_Type_Error.53: class Fnd_Iterator");
    EXPECT_DEATH(Fnd_Iterator(static_cast<const Fnd_Collection*>(nullptr)),
                 "Fnd_Abstract_Type_Error.52: class Fnd_Iterator");
    EXPECT_DEATH(seq.Insert(static_cast<const Fnd_Object*>(nullptr), 0),
                 "Fnd_Abstract_Type_Error.11: class Fnd_List_Sequence");
    EXPECT_DEATH(seq.Remove_Node(nullptr, nullptr),
                 "Fnd_Abstract_Type_Error.12: class Fnd_List_Sequence");
}

TEST_F(ListTest, MergeSplicesAListIntoAnEmptyList) {
    Fnd_List_Sequence into(1, nullptr), from(1, nullptr);
    Fill(from, {1, 2, 3});
    const long updates = from.Get_Update_Count();
    Fnd_Iterator stale(from);
    into.Merge(&from, Fnd_Sequence_Last);
    EXPECT_EQ(Values(into), (std::vector<long>{1, 2, 3}));
    EXPECT_EQ(into.Cardinality(), 3);
    EXPECT_EQ(Value_Of(into.Get_Current()), 3) << "the current is the other's last node";
    EXPECT_EQ(from.Cardinality(), 0);
    EXPECT_EQ(from.Get_First(), nullptr);
    EXPECT_GT(from.Get_Update_Count(), updates);
    EXPECT_TRUE(stale.Done());
    into.Merge(nullptr, 0);  // nothing
    EXPECT_EQ(into.Cardinality(), 3);
}

TEST_F(ListTest, MergeSplicesAtTheFirstTheLastOrBehindTheCurrent) {
    Fnd_List_Sequence into(1, nullptr), from(1, nullptr), more(1, nullptr), tail(1, nullptr);
    Fill(into, {1, 2, 3}).Merge(&Fill(from, {7, 8}), Fnd_Sequence_First);  // before the first
    EXPECT_EQ(Values(into), (std::vector<long>{7, 8, 1, 2, 3}));
    EXPECT_EQ(Value_Of(into.Get_Current()), 8);

    into.Merge(&Fill(more, {5}), Fnd_Sequence_Next);  // current moves to 1, chain behind it
    EXPECT_EQ(Values(into), (std::vector<long>{7, 8, 1, 5, 2, 3}));
    EXPECT_EQ(Value_Of(into.Get_Previous()), 1);
    EXPECT_EQ(Value_Of(into.Get_Next()), 2) << "links of the spliced chain both ways";

    into.Merge(&Fill(tail, {9}), Fnd_Sequence_Last);
    EXPECT_EQ(Values(into), (std::vector<long>{7, 8, 1, 5, 2, 3, 9}));
    EXPECT_EQ(Value_Of(into.Get_Last()), 9);
    EXPECT_EQ(into.Cardinality(), 7);

    // An unlike sequence is inserted element by element: copies here, originals gone.
    Other_List other(1, nullptr);
    for (long v : {4, 6}) other.Insert(new Item(v), Fnd_Sequence_Last);
    into.Merge(&other, Fnd_Sequence_First);
    EXPECT_EQ(Values(into), (std::vector<long>{4, 6, 7, 8, 1, 5, 2, 3, 9}));
    EXPECT_EQ(other.Cardinality(), 0);
    EXPECT_EQ(Item::Live, 9);
}

TEST_F(ListTest, CopyClonesUnderTheCopyFlagAndKeepsTheCurrentPosition) {
    Fnd_List_Sequence source(1, new Fnd_Is_Checker(Item::My_Type));
    Fill(source, {1, 2, 3, 4}).Set_Current(Fnd_Sequence_First);
    source.Set_Current(Fnd_Sequence_Next);
    source.Set_Current(Fnd_Sequence_Next);

    Fnd_List_Sequence copy(source);
    EXPECT_EQ(Values(copy), (std::vector<long>{1, 2, 3, 4}));
    EXPECT_EQ(Value_Of(copy.Get_Current()), 3);
    EXPECT_NE(copy.Get_First(), source.Get_First()) << "cloned";
    EXPECT_NE(copy.Get_Checker(), source.Get_Checker());
    EXPECT_EQ(Item::Live, 8);

    Fnd_List_Sequence assigned(1, nullptr);
    assigned.Insert(new Item(42), Fnd_Sequence_Last);
    assigned = source;
    EXPECT_EQ(Values(assigned), (std::vector<long>{1, 2, 3, 4}));
    EXPECT_EQ(Value_Of(assigned.Get_Current()), 3);
    Fnd_List_Sequence& alias = assigned;
    assigned = alias;
    EXPECT_EQ(assigned.Cardinality(), 4) << "self-assignment keeps the content";

    Fnd_List_Sequence* clone = Fnd_List_Sequence::Convert(source.Clone());
    ASSERT_NE(clone, nullptr);
    EXPECT_TRUE(*clone == source);
    delete clone;
}

TEST_F(ListTest, AForgivingCheckerRefusesForeignElements) {
    auto* checker = new Fnd_Is_Checker(Item::My_Type);
    checker->Fatal = 0;
    checker->Report = 0;
    Fnd_List_Sequence seq(1, checker);
    seq.Insert(Other_Item(), Fnd_Sequence_Last);  // the clone is refused and deleted
    seq.Insert(Item(1), Fnd_Sequence_Last);
    EXPECT_EQ(seq.Cardinality(), 1);
    EXPECT_EQ(Values(seq), (std::vector<long>{1}));
}

TEST_F(ListTest, StackPushPopTopAndCopyOrder) {
    Fnd_List_Stack stack(1, nullptr);
    EXPECT_EQ(stack.Pop(), 0);
    EXPECT_EQ(stack.Top(), nullptr);
    for (long v = 1; v <= 3; ++v) stack.Push(new Item(v));
    EXPECT_EQ(Value_Of(stack.Top()), 3);
    EXPECT_EQ(Values(stack), (std::vector<long>{3, 2, 1})) << "iteration runs from the top";

    Fnd_List_Stack copy(stack);
    EXPECT_EQ(Values(copy), (std::vector<long>{3, 2, 1}));
    EXPECT_TRUE(copy == stack);
    EXPECT_EQ(stack.Pop(), 1);
    EXPECT_EQ(Value_Of(stack.Top()), 2);
    EXPECT_EQ(stack.Cardinality(), 2);
    EXPECT_FALSE(copy == stack);

    Fnd_Iterator it(stack);
    stack.Push(Item(4));
    EXPECT_TRUE(it.Done()) << "stale after Push";
}

TEST_F(ListTest, StackMakeEmptyDisposesFromTheBottomUp) {
    Recording_Disposer disposer;
    Fnd_List_Stack stack(0, 0, &disposer, &disposer, nullptr);
    for (long v = 1; v <= 4; ++v) stack.Push(new Item(v));
    stack.Pop();
    EXPECT_EQ(disposer.Seen, (std::vector<long>{4}));
    stack.Make_Empty();
    EXPECT_EQ(disposer.Seen, (std::vector<long>{4, 1, 2, 3}));
    EXPECT_EQ(stack.Cardinality(), 0);
    EXPECT_EQ(stack.Top(), nullptr);
}

TEST_F(ListTest, LongChainsAreReleasedWithoutDeepRecursion) {
    constexpr long n = 1000000;
    {
        Fnd_List_Stack stack(1, nullptr);
        for (long v = 0; v < n; ++v) stack.Push(new Item(v));
        Fnd_List_Sequence seq(1, nullptr);
        for (long v = 0; v < n; ++v) seq.Insert(new Item(v), Fnd_Sequence_Last);
        EXPECT_EQ(Item::Live, 2 * n);
        stack.Make_Empty();
    }
    EXPECT_EQ(Item::Live, 0);
}

TEST_F(ListTest, NodesShareOnePoolAndReuseFreedCells) {
    Fnd_List_Sequence seq(1, nullptr);
    seq.Insert(new Item(1), Fnd_Sequence_Last);  // makes sure the pool is set up
    const Fnd_Node_Pool_State before = Fnd_Node_Pool_Get_State();
    EXPECT_EQ(before.Cell_Size, sizeof(Fnd_Link_Node));
    seq.Remove(Fnd_Sequence_First);
    EXPECT_EQ(Fnd_Node_Pool_Get_State().Free_Cells, before.Free_Cells + 1);

    Fnd_List_Stack stack(1, nullptr);
    stack.Push(new Item(2));  // a stack node takes the cell the sequence gave back
    EXPECT_EQ(Fnd_Node_Pool_Get_State().Free_Cells, before.Free_Cells);
    EXPECT_EQ(Fnd_Node_Pool_Get_State().Blocks, before.Blocks);

    const long free_now = Fnd_Node_Pool_Get_State().Free_Cells;
    for (long v = 0; v < free_now + 2 * Fnd_Node_Pool_Cells; ++v) stack.Push(new Item(v));
    EXPECT_GE(Fnd_Node_Pool_Get_State().Blocks, before.Blocks + 2);
}
