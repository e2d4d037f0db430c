// The linked realisations of the sequence and the stack. Iterators over them go stale
// at any change of the list.
//
//   Fnd_List_Sequence seq(1, nullptr);   // by value: clones on copy, deletes what it drops
//   seq.Insert(Fnd_String(u"a"), Fnd_Sequence_Last);
#pragma once

#include "foundation/base/fnd_list_node.h"
#include "foundation/base/fnd_sequence.h"

class Fnd_List_Sequence : public Fnd_Sequence {
    FND_OBJECT_MEMBERS(Fnd_List_Sequence, Fnd_Sequence)
public:
    // By_Value also stands for the copy flag; with it both disposers are the default
    // one (the list deletes what it drops), without it there are none. The list owns
    // Checker.
    Fnd_List_Sequence(long By_Value, Fnd_Type_Checker* Checker);
    Fnd_List_Sequence(long By_Value, long Copy, const Fnd_Disposer* Make_Empty_Disposer,
                      const Fnd_Disposer* Remove_Disposer, Fnd_Type_Checker* Checker);
    // The flags and disposers of Source, a clone of its checker, then assignment.
    Fnd_List_Sequence(const Fnd_List_Sequence& Source);
    Fnd_List_Sequence& operator=(const Fnd_List_Sequence& Source);
    ~Fnd_List_Sequence() override;

    Fnd_Iterator_Data* Get_Iterator_Data() const override;

    // The first node whose element matches Key (by value or by address); null if none.
    Fnd_Link_Node* Find_Node(const Fnd_Object* Key) const;
    // Unlinks and deletes Node; its element goes to Disposer if there is one.
    void Remove_Node(Fnd_Link_Node* Node, const Fnd_Disposer* Disposer);

    Fnd_Link_Node* First_Node() const { return First; }
    Fnd_Link_Node* Last_Node() const { return Last; }
    Fnd_Link_Node* Current_Node() const { return Current; }

protected:
    void Do_Make_Empty() override;
    void Do_Merge(Fnd_Sequence* Other, long Position) override;
    void Do_Insert(Fnd_Object* Element, long Position) override;
    long Do_Remove(long Position) override;
    long Do_Remove(const Fnd_Object* Element) override;
    Fnd_Object* Do_Find(const Fnd_Object* Element) const override;
    long Do_Set_Current(long Position) override;
    Fnd_Object* Do_Get_Object(long Position) const override;

private:
    const Fnd_Disposer* Make_Empty_Disposer;
    const Fnd_Disposer* Remove_Disposer;
    Fnd_Link_Node* First = nullptr;
    Fnd_Link_Node* Last = nullptr;
    Fnd_Link_Node* Current = nullptr;

    Fnd_Link_Node* Node_At(long Position) const;
};

class Fnd_List_Stack : public Fnd_Stack {
    FND_OBJECT_MEMBERS(Fnd_List_Stack, Fnd_Stack)
public:
    Fnd_List_Stack(long By_Value, Fnd_Type_Checker* Checker);
    Fnd_List_Stack(long By_Value, long Copy, const Fnd_Disposer* Make_Empty_Disposer,
                   const Fnd_Disposer* Pop_Disposer, Fnd_Type_Checker* Checker);
    Fnd_List_Stack(const Fnd_List_Stack& Source);
    Fnd_List_Stack& operator=(const Fnd_List_Stack& Source);
    ~Fnd_List_Stack() override;

    Fnd_Iterator_Data* Get_Iterator_Data() const override;

    Fnd_List_Node* Top_Node() const { return Top_Of_Stack; }

protected:
    // Disposes from the bottom of the stack upward.
    void Do_Make_Empty() override;
    void Do_Push(Fnd_Object* Element) override;
    long Do_Pop() override;
    Fnd_Object* Do_Top() const override;

private:
    Fnd_List_Node* Top_Of_Stack = nullptr;
    const Fnd_Disposer* Make_Empty_Disposer;
    const Fnd_Disposer* Pop_Disposer;
};

class Fnd_List_Sequence_Iterator_Data : public Fnd_Iterator_Data {
    FND_OBJECT_MEMBERS(Fnd_List_Sequence_Iterator_Data, Fnd_Iterator_Data)
public:
    explicit Fnd_List_Sequence_Iterator_Data(const Fnd_List_Sequence* Collection);
    Fnd_List_Sequence_Iterator_Data(const Fnd_List_Sequence_Iterator_Data&) = default;

    long Done() const override { return Current == nullptr; }
    // One step; past the end nothing happens.
    void Next() override;
    Fnd_Object* Get(long Index) const override;
    void Reset() override;
    long Number_Of_Get_Values() const override { return 1; }
    long Can_Update_While_Iterating() const override { return 0; }
    // Same node and same collection.
    long Is_Equal(const Fnd_Object& Other) const override;

private:
    Fnd_Link_Node* Current;
    const Fnd_List_Sequence* Collection;
};

class Fnd_List_Stack_Iterator_Data : public Fnd_Iterator_Data {
    FND_OBJECT_MEMBERS(Fnd_List_Stack_Iterator_Data, Fnd_Iterator_Data)
public:
    explicit Fnd_List_Stack_Iterator_Data(const Fnd_List_Stack* Collection);
    Fnd_List_Stack_Iterator_Data(const Fnd_List_Stack_Iterator_Data&) = default;

    long Done() const override { return Current == nullptr; }
    // Next and Get read the current node without testing it: test Done first.
    void Next() override { Current = Current->Next; }
    Fnd_Object* Get(long Index) const override;
    void Reset() override;
    long Number_Of_Get_Values() const override { return 1; }
    long Can_Update_While_Iterating() const override { return 0; }
    long Is_Equal(const Fnd_Object& Other) const override;

private:
    Fnd_List_Node* Current;
    const Fnd_List_Stack* Collection;
};
