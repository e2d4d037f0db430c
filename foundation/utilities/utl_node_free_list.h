// The free list of one kind of map node, shared by every map of that kind. Nodes
// taken from it go back to it, never to the heap; a node type has a `next` link.
// The list is constant-initialised, so it can be a static used at start-up, and
// its lock is made on first use.
#pragma once

#include "foundation/base/fnd_semaphore.h"

template <class Node>
class Utl_Node_Free_List {
public:
    // A recycled node, or a new one; its fields are the caller's to set.
    Node* Take() {
        {
            Fnd_Semaphore_Guard guard(Lock, 1, 1, 1);
            if (Head) {
                Node* node = Head;
                Head = node->next;
                --Count;
                return node;
            }
        }
        return new Node;
    }

    void Give(Node* Returned) {
        Fnd_Semaphore_Guard guard(Lock, 1, 1, 1);
        Returned->next = Head;
        Head = Returned;
        ++Count;
    }

    // How many nodes wait on the list.
    long Size() {
        Fnd_Semaphore_Guard guard(Lock, 1, 1, 1);
        return Count;
    }

private:
    Node* Head = nullptr;
    long Count = 0;
    Fnd_Semaphore* Lock = nullptr;
};
