// Walking a chained hash table in bucket order, shared by the string and pointer
// maps and sets. A node type has a `next` link within its chain.
#pragma once

// The head of the first non-empty bucket at or after Bucket, which is left at that
// bucket (at Size when there is none).
template <class Node>
Node* Utl_Chain_Head(Node* const* Table, long Size, long& Bucket) {
    for (; Bucket < Size; ++Bucket)
        if (Table[Bucket]) return Table[Bucket];
    return nullptr;
}

// The node after Current, which lies in Bucket: its chain's next, or else the head
// of the next non-empty bucket.
template <class Node>
Node* Utl_Chain_Next(Node* Current, Node* const* Table, long Size, long& Bucket) {
    if (Current->next) return Current->next;
    ++Bucket;
    return Utl_Chain_Head(Table, Size, Bucket);
}
