#include "foundation/base/fnd_list_node.h"

#include <cstring>

#include "foundation/base/fnd_assert.h"

static_assert(sizeof(Fnd_Link_Node) == sizeof(Fnd_List_Node),
              "both node classes share the cells of one pool");

namespace {

// One pool of equal cells for both node classes. Blocks of 128 cells come from an
// array allocation; a freed cell goes on the head of the free list, linked through its
// last word. Blocks are chained through a header so that they stay reachable; no cell
// ever goes back to the heap. The pool has no lock: list use stays on one thread.
struct Node_Pool {
    static constexpr size_t Header = 16;  // keeps the cells at the allocation's alignment

    size_t Cell_Size = 0;
    unsigned char* Blocks = nullptr;  // newest block; its header links to the previous
    unsigned char* Next_Cell = nullptr;
    long Cells_Left = 0;
    long Block_Count = 0;
    void* Free_List = nullptr;
    long Free_Count = 0;

    void*& Link_Of(void* Cell) const {
        return *reinterpret_cast<void**>(static_cast<unsigned char*>(Cell) + Cell_Size -
                                         sizeof(void*));
    }

    void* Allocate(size_t Size, const Code_Unit* Mismatch) {
        if (Cell_Size == 0) Cell_Size = Size;
        Fnd_Assert(Size == Cell_Size, Mismatch);
        if (Free_List) {
            void* cell = Free_List;
            Free_List = Link_Of(cell);
            --Free_Count;
            return cell;
        }
        if (Cells_Left == 0) New_Block();
        void* cell = Next_Cell;
        Next_Cell += Cell_Size;
        --Cells_Left;
        return cell;
    }

    void Release(void* Cell) {
        if (!Cell) return;
        Link_Of(Cell) = Free_List;
        Free_List = Cell;
        ++Free_Count;
    }

    void New_Block() {
        unsigned char* block = new unsigned char[Header + Fnd_Node_Pool_Cells * Cell_Size];
        std::memcpy(block, &Blocks, sizeof(Blocks));
        Blocks = block;
        Next_Cell = block + Header;
        Cells_Left = Fnd_Node_Pool_Cells;
        ++Block_Count;
    }
};

Node_Pool& The_Pool() {
    static Node_Pool pool;
    return pool;
}

long Same_Address(const Fnd_Object* Element, const Fnd_Object* Key) { return Element == Key; }

long Same_Value(const Fnd_Object* Element, const Fnd_Object* Key) {
    if (!Element || !Key) return Element == Key;
    return *Element == *Key;
}

}  // namespace

Fnd_Node_Pool_State Fnd_Node_Pool_Get_State() {
    const Node_Pool& pool = The_Pool();
    return {pool.Cell_Size, pool.Block_Count, pool.Free_Count};
}

// ---- Fnd_Link_Node

void* Fnd_Link_Node::operator new(size_t Size) {
    return The_Pool().Allocate(Size, u"Link Node Size Mismatch");
}

void Fnd_Link_Node::operator delete(void* Cell) { The_Pool().Release(Cell); }

long Fnd_Link_Node::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Link_Node* other = Convert(&Other);
    if (!other) return 0;
    return Same_Value(Element, other->Element) && Next == other->Next &&
           Previous == other->Previous;
}

Fnd_Link_Node* Fnd_Link_Node::Add(long After, Fnd_Link_Node* At, Fnd_Object* Element) {
    Fnd_Link_Node* node = new Fnd_Link_Node(Element);
    if (!At) return node;
    if (After) {
        node->Previous = At;
        node->Next = At->Next;
        if (At->Next) At->Next->Previous = node;
        At->Next = node;
    } else {
        node->Next = At;
        node->Previous = At->Previous;
        if (At->Previous) At->Previous->Next = node;
        At->Previous = node;
    }
    return node;
}

void Fnd_Link_Node::Remove(Fnd_Link_Node* Node) {
    if (!Node) return;
    if (Node->Previous) Node->Previous->Next = Node->Next;
    if (Node->Next) Node->Next->Previous = Node->Previous;
    delete Node;
}

long Fnd_Link_Node::Find(Fnd_Link_Node* Node, const Fnd_Object* Key, Match_Function Match,
                         Fnd_Link_Node*& Found) {
    for (; Node; Node = Node->Next) {
        if (Match(Node->Element, Key)) {
            Found = Node;
            return 1;
        }
    }
    Found = nullptr;
    return 0;
}

long Fnd_Link_Node::Find(Fnd_Link_Node* Node, const Fnd_Object* Key, Fnd_Link_Node*& Found) {
    return Find(Node, Key, Same_Address, Found);
}

long Fnd_Link_Node::Find(Fnd_Link_Node* Node, const Fnd_Object& Key, Fnd_Link_Node*& Found) {
    return Find(Node, &Key, Same_Value, Found);
}

// ---- Fnd_List_Node

void* Fnd_List_Node::operator new(size_t Size) {
    return The_Pool().Allocate(Size, u"List Node Size Mismatch");
}

void Fnd_List_Node::operator delete(void* Cell) { The_Pool().Release(Cell); }

long Fnd_List_Node::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_List_Node* other = Convert(&Other);
    if (!other) return 0;
    return Same_Value(Element, other->Element) && Same_Value(Second, other->Second) &&
           Next == other->Next;
}

Fnd_List_Node* Fnd_List_Node::Add(Fnd_List_Node*& Head, Fnd_Object* Element,
                                  Fnd_Object* Second) {
    Fnd_List_Node* node = new Fnd_List_Node(Element, Second);
    node->Next = Head;
    Head = node;
    return node;
}

void Fnd_List_Node::Remove(Fnd_List_Node*& Head) {
    if (!Head) return;
    Fnd_List_Node* gone = Head;
    Head = gone->Next;
    delete gone;
}

long Fnd_List_Node::Find(Fnd_List_Node* Head, const Fnd_Object* Key, Match_Function Match,
                         Fnd_List_Node*& Found, Fnd_List_Node*& Before) {
    Before = nullptr;
    for (Fnd_List_Node* node = Head; node; Before = node, node = node->Next) {
        if (Match(node->Element, Key)) {
            Found = node;
            return 1;
        }
    }
    Found = nullptr;
    Before = nullptr;
    return 0;
}

long Fnd_List_Node::Find(Fnd_List_Node* Head, const Fnd_Object* Key, Fnd_List_Node*& Found,
                         Fnd_List_Node*& Before) {
    return Find(Head, Key, Same_Address, Found, Before);
}

long Fnd_List_Node::Find(Fnd_List_Node* Head, const Fnd_Object& Key, Fnd_List_Node*& Found,
                         Fnd_List_Node*& Before) {
    return Find(Head, &Key, Same_Value, Found, Before);
}
