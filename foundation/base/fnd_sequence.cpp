#include "foundation/base/fnd_sequence.h"

#include <cstddef>
#include <vector>

// ---- Fnd_Sequence

Fnd_Sequence::Fnd_Sequence(long By_Value, long Copy, Fnd_Type_Checker* Checker)
    : Value_Flag(By_Value != 0), Copy_Flag(Copy != 0), Checker(Checker) {}

Fnd_Sequence::~Fnd_Sequence() { delete Checker; }

long Fnd_Sequence::Matches(const Fnd_Object* Element, const Fnd_Object* Key) const {
    if (!Value_Flag || !Element || !Key) return Element == Key;
    return *Element == *Key;
}

void Fnd_Sequence::Insert_Checked(Fnd_Object* Element, long Position, long Owned_Clone) {
    if (!Element) Fnd_Collection_Fail(Fnd_Null_Element, Object_Type(), Position);
    if (Checker && !Checker->Type_Check(Element)) {
        if (Owned_Clone) delete Element;
        return;
    }
    Do_Insert(Element, Position);
    Indicate_Update(1);
}

void Fnd_Sequence::Insert(const Fnd_Object* Element, long Position) {
    Insert_Checked(const_cast<Fnd_Object*>(Element), Position, 0);
}

void Fnd_Sequence::Insert(const Fnd_Object& Element, long Position) {
    Insert_Checked(Element.Clone(), Position, 1);
}

long Fnd_Sequence::Remove(long Position) {
    if (!Do_Remove(Position)) return 0;
    Indicate_Update(-1);
    return 1;
}

long Fnd_Sequence::Remove(const Fnd_Object* Element) {
    if (!Do_Remove(Element)) return 0;
    Indicate_Update(-1);
    return 1;
}

long Fnd_Sequence::Remove(const Fnd_Object& Element) { return Remove(&Element); }

long Fnd_Sequence::Set_Current(long Position) { return Do_Set_Current(Position); }

void Fnd_Sequence::Merge(Fnd_Sequence* Other, long Position) {
    if (!Other || Other == this) return;
    if (Other->Object_Type() == Object_Type())
        Do_Merge(Other, Position);
    else
        Fnd_Sequence::Do_Merge(Other, Position);
    Other->Make_Empty();
}

void Fnd_Sequence::Do_Merge(Fnd_Sequence* Other, long Position) {
    long first = 1;
    for (Fnd_Iterator it(Other); !it.Done(); it.Next()) {
        Fnd_Object* element = it.Get(1);
        long at = first ? Position : long{Fnd_Sequence_Current};
        if (Copy_Flag)
            Insert(*element, at);
        else
            Insert(element, at);
        if (first) Set_Current(Position);
        first = 0;
    }
}

Fnd_Sequence& Fnd_Sequence::operator=(const Fnd_Sequence& Source) {
    if (&Source == this) return *this;
    Make_Empty();
    const Fnd_Object* current = Source.Get_Current();
    long steps = 0;
    long seen = 0;
    for (Fnd_Iterator it(Source); !it.Done(); it.Next()) {
        Fnd_Object* element = it.Get(1);
        if (Copy_Flag)
            Insert(*element, Fnd_Sequence_Current);
        else
            Insert(element, Fnd_Sequence_Current);
        if (element == current) seen = 1;
        if (!seen) ++steps;
    }
    Set_Current(Fnd_Sequence_First);
    if (!seen) return *this;
    for (long i = 0; i < steps; ++i) Set_Current(Fnd_Sequence_Next);
    return *this;
}

long Fnd_Sequence::Is_Equal_Pretest(const Fnd_Object& Other) const {
    const Fnd_Sequence* other = Convert(&Other);
    if (!other || other->Cardinality() != Cardinality()) return 0;
    Fnd_Iterator mine(this);
    Fnd_Iterator theirs(other);
    for (; !mine.Done() && !theirs.Done(); mine.Next(), theirs.Next()) {
        if (!Matches(mine.Get(1), theirs.Get(1))) return 0;
    }
    return mine.Done() && theirs.Done();
}

long Fnd_Sequence::Is_Equal(const Fnd_Object&) const { return 1; }

// ---- Fnd_Stack

Fnd_Stack::Fnd_Stack(long By_Value, long Copy, Fnd_Type_Checker* Checker)
    : Value_Flag(By_Value != 0), Copy_Flag(Copy != 0), Checker(Checker) {}

Fnd_Stack::~Fnd_Stack() { delete Checker; }

void Fnd_Stack::Push_Checked(Fnd_Object* Element, long Owned_Clone) {
    if (!Element) Fnd_Collection_Fail(Fnd_Null_Element, Object_Type(), 0);
    if (Checker && !Checker->Type_Check(Element)) {
        if (Owned_Clone) delete Element;
        return;
    }
    Do_Push(Element);
    Indicate_Update(1);
}

void Fnd_Stack::Push(const Fnd_Object* Element) {
    Push_Checked(const_cast<Fnd_Object*>(Element), 0);
}

void Fnd_Stack::Push(const Fnd_Object& Element) { Push_Checked(Element.Clone(), 1); }

long Fnd_Stack::Pop() {
    if (!Do_Pop()) return 0;
    Indicate_Update(-1);
    return 1;
}

Fnd_Stack& Fnd_Stack::operator=(const Fnd_Stack& Source) {
    if (&Source == this) return *this;
    Make_Empty();
    std::vector<Fnd_Object*> top_first;
    top_first.reserve(static_cast<size_t>(Source.Cardinality()));
    for (Fnd_Iterator it(Source); !it.Done(); it.Next()) top_first.push_back(it.Get(1));
    for (auto element = top_first.rbegin(); element != top_first.rend(); ++element) {
        if (Copy_Flag)
            Push(**element);
        else
            Push(*element);
    }
    return *this;
}

long Fnd_Stack::Is_Equal_Pretest(const Fnd_Object& Other) const {
    const Fnd_Stack* other = Convert(&Other);
    if (!other || other->Cardinality() != Cardinality()) return 0;
    Fnd_Iterator mine(this);
    Fnd_Iterator theirs(other);
    for (; !mine.Done() && !theirs.Done(); mine.Next(), theirs.Next()) {
        const Fnd_Object* a = mine.Get(1);
        const Fnd_Object* b = theirs.Get(1);
        if (Value_Flag && a && b ? !(*a == *b) : a != b) return 0;
    }
    return mine.Done() && theirs.Done();
}

long Fnd_Stack::Is_Equal(const Fnd_Object&) const { return 1; }
