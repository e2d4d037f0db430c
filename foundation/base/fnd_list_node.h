// The nodes of the list collections. Both node classes take their memory from one pool
// of equal cells that never returns memory to the heap: a freed cell goes on a free
// list and is handed out again by the next allocation of either class.
#pragma once

#include <cstddef>

#include "foundation/base/fnd_object.h"

// A node of a doubly linked chain (Fnd_List_Sequence).
class Fnd_Link_Node : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Link_Node)
public:
    Fnd_Object* Element = nullptr;
    Fnd_Link_Node* Next = nullptr;
    Fnd_Link_Node* Previous = nullptr;

    explicit Fnd_Link_Node(Fnd_Object* Element = nullptr) : Element(Element) {}
    Fnd_Link_Node(const Fnd_Link_Node& Other) = default;
    Fnd_Link_Node& operator=(const Fnd_Link_Node& Other) = default;

    // The element by value; next and previous by address.
    long Is_Equal(const Fnd_Object& Other) const override;

    // A new node. With At null it stands alone; else it goes behind At when After is
    // non-zero, before it when zero.
    static Fnd_Link_Node* Add(long After, Fnd_Link_Node* At, Fnd_Object* Element);
    // Unlinks and deletes Node; the element isn't touched.
    static void Remove(Fnd_Link_Node* Node);

    typedef long (*Match_Function)(const Fnd_Object* Element, const Fnd_Object* Key);
    // Walks forward from Node: 1 with Found on the first match, else 0 and Found null.
    static long Find(Fnd_Link_Node* Node, const Fnd_Object* Key, Match_Function Match,
                     Fnd_Link_Node*& Found);
    // By address.
    static long Find(Fnd_Link_Node* Node, const Fnd_Object* Key, Fnd_Link_Node*& Found);
    // By value (Fnd_Object::operator==).
    static long Find(Fnd_Link_Node* Node, const Fnd_Object& Key, Fnd_Link_Node*& Found);

    static void* operator new(size_t Size);
    static void operator delete(void* Cell);
};

// A node of a singly linked chain (Fnd_List_Stack).
class Fnd_List_Node : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_List_Node)
public:
    Fnd_Object* Element = nullptr;
    Fnd_Object* Second = nullptr;
    Fnd_List_Node* Next = nullptr;

    Fnd_List_Node(Fnd_Object* Element = nullptr, Fnd_Object* Second = nullptr)
        : Element(Element), Second(Second) {}
    Fnd_List_Node(const Fnd_List_Node& Other) = default;
    Fnd_List_Node& operator=(const Fnd_List_Node& Other) = default;

    // Element and second object by value (null equals only null), next by address.
    long Is_Equal(const Fnd_Object& Other) const override;

    // A new node in front of Head, which then becomes the new node.
    static Fnd_List_Node* Add(Fnd_List_Node*& Head, Fnd_Object* Element, Fnd_Object* Second);
    // Deletes the head; the next node becomes the head.
    static void Remove(Fnd_List_Node*& Head);

    typedef long (*Match_Function)(const Fnd_Object* Element, const Fnd_Object* Key);
    // As for links, and Before is the node in front of the match (null at the head).
    static long Find(Fnd_List_Node* Head, const Fnd_Object* Key, Match_Function Match,
                     Fnd_List_Node*& Found, Fnd_List_Node*& Before);
    static long Find(Fnd_List_Node* Head, const Fnd_Object* Key, Fnd_List_Node*& Found,
                     Fnd_List_Node*& Before);
    static long Find(Fnd_List_Node* Head, const Fnd_Object& Key, Fnd_List_Node*& Found,
                     Fnd_List_Node*& Before);

    static void* operator new(size_t Size);
    static void operator delete(void* Cell);
};

// The state of the shared node pool, for tests and diagnostics.
struct Fnd_Node_Pool_State {
    size_t Cell_Size;    // 0 until the first allocation
    long Blocks;         // blocks of Fnd_Node_Pool_Cells cells made so far
    long Free_Cells;     // cells on the free list
};
constexpr long Fnd_Node_Pool_Cells = 128;
Fnd_Node_Pool_State Fnd_Node_Pool_Get_State();
