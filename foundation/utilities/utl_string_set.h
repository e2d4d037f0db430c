// Utl_String_Set: the keyless sibling of Utl_String_Map, a table of strings with a
// fixed bucket count and optional case folding. Adding a member that is there changes
// nothing. Nodes are recycled through one free list for all sets.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_type_utilities.h"

class Utl_String_Set_Iterator;

struct utl_string_set_data {
    Fnd_String member;
    utl_string_set_data* next = nullptr;
};

class Utl_String_Set : public Utl_Traced_Class<Utl_String_Set> {
public:
    // A Size below 1 means 37 buckets.
    explicit Utl_String_Set(long Size = 37, Utl_Member_Case Case = Utl_Case_Unchanged);
    // Same bucket count and case, the same members.
    Utl_String_Set(const Utl_String_Set& Other);
    Utl_String_Set& operator=(const Utl_String_Set& Other);
    virtual ~Utl_String_Set();

    // One shared empty set of one bucket.
    static Utl_String_Set& Null();
    // For a range word that holds a set: delete, and a copy on a new heap object.
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    long Get_Size() const { return Size; }
    long Get_Count() const { return Count; }
    Utl_Member_Case Get_Member_Case() const { return Member_Case; }
    long Chain_Length(long Bucket) const;

    virtual void Make_Empty();
    // 1 when the member is new.
    virtual long Add(const Fnd_String& Member);
    virtual long Add(const Fnd_Substring& Member);
    virtual long Add(const Code_Unit* Member);
    // 1 when the member was there.
    virtual long Remove(const Fnd_String& Member);
    virtual long Remove(const Code_Unit* Member);
    virtual long Contains(const Fnd_String& Member) const;
    virtual long Contains(const Fnd_Substring& Member) const;
    virtual long Contains(const Code_Unit* Member) const;
    // The members sorted: on lines of their own after Prefix in multiline mode, else
    // separated by a blank; between double quotes with Quote.
    virtual void Image(Fnd_String& Out, long Quote, long Multiline, long Append,
                       const Code_Unit* Prefix) const;
    // Into one shared string, valid until the next call.
    virtual const Fnd_String& Image(long Quote, long Multiline, const Code_Unit* Prefix) const;

    void iterate(Utl_String_Set_Iterator* Iterator) const;
    void next(Utl_String_Set_Iterator* Iterator) const;

    static long Free_Node_Count();

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_String_Set>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Size; }

    utl_string_set_data** Table;
    int32_t Size;
    int32_t Count = 0;
    Utl_Member_Case Member_Case;

    long Bucket_Of_Hash(long Hash) const;
    utl_string_set_data* Find(const Fnd_String& Member) const;
    Fnd_String Folded(const Fnd_String& Member) const;
    long Add_Folded(const Fnd_String& Member);
};

class Utl_String_Set_Iterator {
public:
    static inline Utl_Trace_Words Class_Trace;

    explicit Utl_String_Set_Iterator(const Utl_String_Set& Set);
    void Reset() { Set->iterate(this); }
    long Done() const { return Node == nullptr; }
    void Next() { Set->next(this); }
    // The empty shared string when done.
    const Fnd_String& Get() const { return Node ? Node->member : Fnd_String::Null; }
    void Get(Fnd_String& Out) const;

private:
    friend class Utl_String_Set;

    const Utl_String_Set* Set;
    long Bucket = 0;
    utl_string_set_data* Node = nullptr;
};
