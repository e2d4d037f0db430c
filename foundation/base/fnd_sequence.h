// The two abstract containers of objects held by pointer. A sequence is ordered and has
// a current position; a stack has a top. Their settings decide whether elements are
// compared by value (Fnd_Object::operator==) or by address, whether copying and merging
// clone them, and which type they must have (a type checker, owned, or null).
#pragma once

#include <cstdint>

#include "foundation/base/fnd_collection.h"

enum Fnd_Sequence_Position {
    Fnd_Sequence_First = 0,
    Fnd_Sequence_Last = 1,
    Fnd_Sequence_Current = 2,
    Fnd_Sequence_Next = 3,
    Fnd_Sequence_Previous = 4
};

class Fnd_Sequence : public Fnd_Collection {
    FND_OBJECT_MEMBERS(Fnd_Sequence, Fnd_Collection)
public:
    ~Fnd_Sequence() override;

    // A null element is a programming error. The checker, if any, must pass it, else
    // nothing is inserted. The pointer form adopts the element; the reference form
    // inserts a clone.
    void Insert(const Fnd_Object* Element, long Position);
    void Insert(const Fnd_Object& Element, long Position);
    // 1 when an element went.
    long Remove(long Position);
    long Remove(const Fnd_Object* Element);
    long Remove(const Fnd_Object& Element);
    long Set_Current(long Position);

    // The element at the position, or null. The current position doesn't move.
    Fnd_Object* Get_First() const { return Do_Get_Object(Fnd_Sequence_First); }
    Fnd_Object* Get_Last() const { return Do_Get_Object(Fnd_Sequence_Last); }
    Fnd_Object* Get_Current() const { return Do_Get_Object(Fnd_Sequence_Current); }
    Fnd_Object* Get_Next() const { return Do_Get_Object(Fnd_Sequence_Next); }
    Fnd_Object* Get_Previous() const { return Do_Get_Object(Fnd_Sequence_Previous); }

    long Contains(const Fnd_Object* Element) const { return Do_Find(Element) != nullptr; }
    long Contains(const Fnd_Object& Element) const { return Do_Find(&Element) != nullptr; }
    Fnd_Object* Find(const Fnd_Object* Element) const { return Do_Find(Element); }
    Fnd_Object* Find(const Fnd_Object& Element) const { return Do_Find(&Element); }

    // Moves the elements of Other to Position here and empties Other (with its
    // make-empty disposer). Lists of the same type splice their chains.
    void Merge(Fnd_Sequence* Other, long Position);

    // Same cardinality and pairwise equal elements (by value or by address).
    long Is_Equal_Pretest(const Fnd_Object& Other) const override;
    long Is_Equal(const Fnd_Object& Other) const override;

    long By_Value() const { return Value_Flag; }
    long Copies() const { return Copy_Flag; }
    const Fnd_Type_Checker* Get_Checker() const { return Checker; }

protected:
    Fnd_Sequence(long By_Value, long Copy, Fnd_Type_Checker* Checker);
    Fnd_Sequence(const Fnd_Sequence&) = delete;
    // Elements of Source at position 2 in order (cloned under the copy flag), and the
    // same current position as Source.
    Fnd_Sequence& operator=(const Fnd_Sequence& Source);

    virtual void Do_Merge(Fnd_Sequence* Other, long Position);
    virtual void Do_Insert(Fnd_Object* Element, long Position) = 0;
    virtual long Do_Remove(long Position) = 0;
    virtual long Do_Remove(const Fnd_Object* Element) = 0;
    virtual Fnd_Object* Do_Find(const Fnd_Object* Element) const = 0;
    virtual long Do_Set_Current(long Position) = 0;
    virtual Fnd_Object* Do_Get_Object(long Position) const = 0;

    // Whether an element matches Key under the by-value flag.
    long Matches(const Fnd_Object* Element, const Fnd_Object* Key) const;

private:
    int32_t Value_Flag;
    int32_t Copy_Flag;
    Fnd_Type_Checker* Checker;

    void Insert_Checked(Fnd_Object* Element, long Position, long Owned_Clone);
};

class Fnd_Stack : public Fnd_Collection {
    FND_OBJECT_MEMBERS(Fnd_Stack, Fnd_Collection)
public:
    ~Fnd_Stack() override;

    // As Fnd_Sequence::Insert.
    void Push(const Fnd_Object* Element);
    void Push(const Fnd_Object& Element);
    // 1 when an element went.
    long Pop();
    // The top element, or null.
    Fnd_Object* Top() const { return Do_Top(); }

    long Is_Equal_Pretest(const Fnd_Object& Other) const override;
    long Is_Equal(const Fnd_Object& Other) const override;

    long By_Value() const { return Value_Flag; }
    long Copies() const { return Copy_Flag; }
    const Fnd_Type_Checker* Get_Checker() const { return Checker; }

protected:
    Fnd_Stack(long By_Value, long Copy, Fnd_Type_Checker* Checker);
    Fnd_Stack(const Fnd_Stack&) = delete;
    // The elements of Source in the same order, cloned under the copy flag.
    Fnd_Stack& operator=(const Fnd_Stack& Source);

    virtual void Do_Push(Fnd_Object* Element) = 0;
    virtual long Do_Pop() = 0;
    virtual Fnd_Object* Do_Top() const = 0;

private:
    int32_t Value_Flag;
    int32_t Copy_Flag;
    Fnd_Type_Checker* Checker;

    void Push_Checked(Fnd_Object* Element, long Owned_Clone);
};
