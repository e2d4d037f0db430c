#include "foundation/base/fnd_list.h"

namespace {

Fnd_Type_Checker* Clone_Checker(const Fnd_Type_Checker* Checker) {
    return Checker ? Fnd_Type_Checker::Convert(Checker->Clone()) : nullptr;
}

const Fnd_Disposer* Default_If(long By_Value) {
    return By_Value ? Fnd_Disposer::Default() : nullptr;
}

}  // namespace

// ---- Fnd_List_Sequence

Fnd_List_Sequence::Fnd_List_Sequence(long By_Value, Fnd_Type_Checker* Checker)
    : Fnd_Sequence(By_Value, By_Value, Checker),
      Make_Empty_Disposer(Default_If(By_Value)),
      Remove_Disposer(Default_If(By_Value)) {}

Fnd_List_Sequence::Fnd_List_Sequence(long By_Value, long Copy,
                                     const Fnd_Disposer* Make_Empty_Disposer,
                                     const Fnd_Disposer* Remove_Disposer,
                                     Fnd_Type_Checker* Checker)
    : Fnd_Sequence(By_Value, Copy, Checker),
      Make_Empty_Disposer(Make_Empty_Disposer),
      Remove_Disposer(Remove_Disposer) {}

Fnd_List_Sequence::Fnd_List_Sequence(const Fnd_List_Sequence& Source)
    : Fnd_Object(),
      Fnd_Sequence(Source.By_Value(), Source.Copies(), Clone_Checker(Source.Get_Checker())),
      Make_Empty_Disposer(Source.Make_Empty_Disposer),
      Remove_Disposer(Source.Remove_Disposer) {
    Fnd_Sequence::operator=(Source);
}

Fnd_List_Sequence& Fnd_List_Sequence::operator=(const Fnd_List_Sequence& Source) {
    Fnd_Sequence::operator=(Source);
    return *this;
}

Fnd_List_Sequence::~Fnd_List_Sequence() { Do_Make_Empty(); }

Fnd_Iterator_Data* Fnd_List_Sequence::Get_Iterator_Data() const {
    return new Fnd_List_Sequence_Iterator_Data(this);
}

Fnd_Link_Node* Fnd_List_Sequence::Find_Node(const Fnd_Object* Key) const {
    for (Fnd_Link_Node* node = First; node; node = node->Next)
        if (Matches(node->Element, Key)) return node;
    return nullptr;
}

void Fnd_List_Sequence::Remove_Node(Fnd_Link_Node* Node, const Fnd_Disposer* Disposer) {
    if (!Node) Fnd_Collection_Fail(Fnd_Null_Node, Object_Type(), 0);
    // An end or the current position that stands on the node moves off it: forward,
    // or back when there is nothing behind it.
    auto move_off = [Node](Fnd_Link_Node*& At) {
        if (At == Node) At = Node->Next ? Node->Next : Node->Previous;
    };
    if (First == Node) First = Node->Next;
    move_off(Last);
    move_off(Current);
    Fnd_Object* element = Node->Element;
    Fnd_Link_Node::Remove(Node);
    if (Disposer) Disposer->Dispose(element);
}

void Fnd_List_Sequence::Do_Make_Empty() {
    while (First) {
        Fnd_Link_Node* node = First;
        First = node->Next;
        Fnd_Object* element = node->Element;
        Fnd_Link_Node::Remove(node);
        if (Make_Empty_Disposer) Make_Empty_Disposer->Dispose(element);
    }
    Last = nullptr;
    Current = nullptr;
}

void Fnd_List_Sequence::Do_Insert(Fnd_Object* Element, long Position) {
    if (!First) {
        First = Last = Current = Fnd_Link_Node::Add(1, nullptr, Element);
        return;
    }
    switch (Position) {
    case Fnd_Sequence_First:
        First = Fnd_Link_Node::Add(0, First, Element);
        break;
    case Fnd_Sequence_Last:
        Last = Fnd_Link_Node::Add(1, Last, Element);
        break;
    case Fnd_Sequence_Next:
        if (Fnd_Link_Node* node = Fnd_Link_Node::Add(1, Current, Element); Current == Last)
            Last = node;
        break;
    case Fnd_Sequence_Previous:
        if (Fnd_Link_Node* node = Fnd_Link_Node::Add(0, Current, Element); Current == First)
            First = node;
        break;
    default:  // the current position, and any value outside the positions
        if (Fnd_Link_Node* node = Fnd_Link_Node::Add(1, Current, Element); Current == Last)
            Current = Last = node;
        else
            Current = node;
        break;
    }
}

Fnd_Link_Node* Fnd_List_Sequence::Node_At(long Position) const {
    switch (Position) {
    case Fnd_Sequence_First: return First;
    case Fnd_Sequence_Last: return Last;
    case Fnd_Sequence_Next: return Current ? Current->Next : nullptr;
    case Fnd_Sequence_Previous: return Current ? Current->Previous : nullptr;
    default: return Current;
    }
}

long Fnd_List_Sequence::Do_Remove(long Position) {
    Fnd_Link_Node* node = Node_At(Position);
    if (!node) return 0;
    Remove_Node(node, Remove_Disposer);
    return 1;
}

long Fnd_List_Sequence::Do_Remove(const Fnd_Object* Element) {
    Fnd_Link_Node* node = Find_Node(Element);
    if (!node) return 0;
    Remove_Node(node, Remove_Disposer);
    return 1;
}

Fnd_Object* Fnd_List_Sequence::Do_Find(const Fnd_Object* Element) const {
    Fnd_Link_Node* node = Find_Node(Element);
    return node ? node->Element : nullptr;
}

long Fnd_List_Sequence::Do_Set_Current(long Position) {
    switch (Position) {
    case Fnd_Sequence_First: Current = First; return 1;
    case Fnd_Sequence_Last: Current = Last; return 1;
    case Fnd_Sequence_Next:
    case Fnd_Sequence_Previous: {
        Fnd_Link_Node* to = Node_At(Position);
        if (!to) return 0;
        Current = to;
        return 1;
    }
    default: return 1;
    }
}

Fnd_Object* Fnd_List_Sequence::Do_Get_Object(long Position) const {
    Fnd_Link_Node* node = Node_At(Position);
    return node ? node->Element : nullptr;
}

void Fnd_List_Sequence::Do_Merge(Fnd_Sequence* Other_Sequence, long Position) {
    Fnd_List_Sequence* other = Convert(Other_Sequence);
    Set_Current(Position);
    if (!other || !other->First) return;
    const long moved = other->Cardinality();
    Fnd_Link_Node* head = other->First;
    Fnd_Link_Node* tail = other->Last;
    if (!First) {
        First = head;
        Last = tail;
    } else if ((First == Last && Position == Fnd_Sequence_Last) || Current == Last) {
        Last->Next = head;
        head->Previous = Last;
        Last = tail;
    } else if (First == Last || Current == First) {
        tail->Next = First;
        First->Previous = tail;
        First = head;
    } else {
        Fnd_Link_Node* after = Current->Next;
        Current->Next = head;
        head->Previous = Current;
        tail->Next = after;
        after->Previous = tail;
    }
    Current = tail;
    Indicate_Update(moved);
    other->Indicate_Update(-moved);
    other->First = other->Last = other->Current = nullptr;
}

// ---- Fnd_List_Stack

Fnd_List_Stack::Fnd_List_Stack(long By_Value, Fnd_Type_Checker* Checker)
    : Fnd_Stack(By_Value, By_Value, Checker),
      Make_Empty_Disposer(Default_If(By_Value)),
      Pop_Disposer(Default_If(By_Value)) {}

Fnd_List_Stack::Fnd_List_Stack(long By_Value, long Copy, const Fnd_Disposer* Make_Empty_Disposer,
                               const Fnd_Disposer* Pop_Disposer, Fnd_Type_Checker* Checker)
    : Fnd_Stack(By_Value, Copy, Checker),
      Make_Empty_Disposer(Make_Empty_Disposer),
      Pop_Disposer(Pop_Disposer) {}

Fnd_List_Stack::Fnd_List_Stack(const Fnd_List_Stack& Source)
    : Fnd_Object(),
      Fnd_Stack(Source.By_Value(), Source.Copies(), Clone_Checker(Source.Get_Checker())),
      Make_Empty_Disposer(Source.Make_Empty_Disposer),
      Pop_Disposer(Source.Pop_Disposer) {
    Fnd_Stack::operator=(Source);
}

Fnd_List_Stack& Fnd_List_Stack::operator=(const Fnd_List_Stack& Source) {
    Fnd_Stack::operator=(Source);
    return *this;
}

Fnd_List_Stack::~Fnd_List_Stack() { Do_Make_Empty(); }

Fnd_Iterator_Data* Fnd_List_Stack::Get_Iterator_Data() const {
    return new Fnd_List_Stack_Iterator_Data(this);
}

void Fnd_List_Stack::Do_Make_Empty() {
    // Bottom first, without recursion: reverse the chain in place, then walk it.
    Fnd_List_Node* bottom = nullptr;
    while (Top_Of_Stack) {
        Fnd_List_Node* node = Top_Of_Stack;
        Top_Of_Stack = node->Next;
        node->Next = bottom;
        bottom = node;
    }
    while (bottom) {
        Fnd_Object* element = bottom->Element;
        Fnd_List_Node::Remove(bottom);
        if (Make_Empty_Disposer) Make_Empty_Disposer->Dispose(element);
    }
}

void Fnd_List_Stack::Do_Push(Fnd_Object* Element) {
    Fnd_List_Node::Add(Top_Of_Stack, Element, nullptr);
}

long Fnd_List_Stack::Do_Pop() {
    if (!Top_Of_Stack) return 0;
    Fnd_Object* element = Top_Of_Stack->Element;
    Fnd_List_Node::Remove(Top_Of_Stack);
    if (Pop_Disposer) Pop_Disposer->Dispose(element);
    return 1;
}

Fnd_Object* Fnd_List_Stack::Do_Top() const {
    return Top_Of_Stack ? Top_Of_Stack->Element : nullptr;
}

// ---- Iterator data

Fnd_List_Sequence_Iterator_Data::Fnd_List_Sequence_Iterator_Data(
    const Fnd_List_Sequence* Collection)
    : Current(Collection->First_Node()), Collection(Collection) {}

void Fnd_List_Sequence_Iterator_Data::Next() {
    if (Current) Current = Current->Next;
}

Fnd_Object* Fnd_List_Sequence_Iterator_Data::Get(long Index) const {
    if (Index != 1) Fnd_Collection_Fail(Fnd_Bad_Get_Index, Object_Type(), Index);
    return Current ? Current->Element : nullptr;
}

void Fnd_List_Sequence_Iterator_Data::Reset() { Current = Collection->First_Node(); }

long Fnd_List_Sequence_Iterator_Data::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_List_Sequence_Iterator_Data* other = Convert(&Other);
    return other && other->Current == Current && other->Collection == Collection;
}

Fnd_List_Stack_Iterator_Data::Fnd_List_Stack_Iterator_Data(const Fnd_List_Stack* Collection)
    : Current(Collection->Top_Node()), Collection(Collection) {}

Fnd_Object* Fnd_List_Stack_Iterator_Data::Get(long Index) const {
    if (Index != 1) Fnd_Collection_Fail(Fnd_Bad_Get_Index, Object_Type(), Index);
    return Current->Element;
}

void Fnd_List_Stack_Iterator_Data::Reset() { Current = Collection->Top_Node(); }

long Fnd_List_Stack_Iterator_Data::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_List_Stack_Iterator_Data* other = Convert(&Other);
    return other && other->Current == Current && other->Collection == Collection;
}
