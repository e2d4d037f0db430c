// The abstract collection framework. A collection knows its size and its live
// iterators; an iterator delegates to a piece of iterator data that the collection
// makes for it. Every change of a collection raises its update count, and an iterator
// whose collection does not allow updates while iterating goes stale: it reports
// itself done, and moving or reading it is a programming error.
//
//   Fnd_Iterator it(list);
//   for (; !it.Done(); it.Next()) Use(it.Get(1));
#pragma once

#include <cstdint>

#include "foundation/base/fnd_object.h"

class Fnd_Iterator;
class Fnd_Iterator_Data;

class Fnd_Collection : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Collection)
public:
    ~Fnd_Collection() override;

    long Cardinality() const { return Count; }
    long Is_Empty() const { return Count == 0; }
    long Get_Update_Count() const { return Update_Count; }

    // Drops every element (the collection's disposer decides what happens to them).
    void Make_Empty();
    // Adds Delta to the cardinality and one to the update count.
    void Indicate_Update(long Delta);

    // The list of live iterators, newest at the head.
    void Insert_Iterator(Fnd_Iterator* Iterator);
    void Remove_Iterator(Fnd_Iterator* Iterator);

    // Identity.
    long Is_Equal(const Fnd_Object& Other) const override;

    // A new piece of iterator data positioned on the first element; owned by the caller.
    virtual Fnd_Iterator_Data* Get_Iterator_Data() const = 0;

protected:
    Fnd_Collection() = default;
    // A copy is a new collection: no elements, no iterators yet.
    Fnd_Collection(const Fnd_Collection&) : Fnd_Object() {}
    Fnd_Collection& operator=(const Fnd_Collection&) { return *this; }

    virtual void Do_Make_Empty() = 0;

private:
    int32_t Count = 0;
    int32_t Update_Count = 0;
    Fnd_Iterator* Iterators = nullptr;
};

// What an iterator walks with. Made by a collection for one iterator.
class Fnd_Iterator_Data : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Iterator_Data)
public:
    virtual long Done() const = 0;
    virtual void Next() = 0;
    virtual Fnd_Object* Get(long Index) const = 0;
    virtual void Reset() = 0;
    virtual long Number_Of_Get_Values() const = 0;
    virtual long Can_Update_While_Iterating() const = 0;
};

class Fnd_Iterator : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Iterator)
public:
    explicit Fnd_Iterator(const Fnd_Collection& Collection);
    explicit Fnd_Iterator(const Fnd_Collection* Collection);
    ~Fnd_Iterator() override;
    Fnd_Iterator(const Fnd_Iterator&) = delete;
    Fnd_Iterator& operator=(const Fnd_Iterator&) = delete;

    // 1 without data, or when stale and the collection forbids updates.
    long Done() const;
    void Next();
    // Index from 1 to Number_Of_Get_Values().
    Fnd_Object* Get(long Index) const;
    // Back to the first element; the iterator is fresh again.
    void Reset();
    long Number_Of_Get_Values() const;
    // Drops the data and leaves the collection.
    void Invalidate();
    // The check alone: ends the process when there is no data or the iterator is stale.
    void Validate() const;

    const Fnd_Collection* Get_Collection() const { return Collection; }

private:
    friend class Fnd_Collection;

    int32_t Update_Count = 0;
    long Can_Update = 0;
    const Fnd_Collection* Collection = nullptr;
    Fnd_Iterator* Next_Iterator = nullptr;
    Fnd_Iterator_Data* Data = nullptr;

    void Attach(const Fnd_Collection* Collection);
    long Is_Stale() const;
};

// Disposes of an element that a collection drops. The default deletes it.
class Fnd_Disposer {
public:
    virtual ~Fnd_Disposer() = default;
    // The object's deleting destructor; nothing for null.
    virtual void Dispose(Fnd_Object* Object) const;
    // One shared instance, made on first call.
    static const Fnd_Disposer* Default();
};

// The failures of the collection classes: a Fnd_Abstract_Type_Error with the text
// number, the class and the position, given to Fnd_Assert.
enum Fnd_Collection_Failure {
    Fnd_Null_Element = 11,
    Fnd_Null_Node = 12,
    Fnd_Bad_Get_Index = 51,
    Fnd_Null_Collection = 52,
    Fnd_No_Iterator_Data = 53,
    Fnd_Stale_Iterator = 54
};
[[noreturn]] void Fnd_Collection_Fail(Fnd_Collection_Failure Text, const Code_Unit* Class,
                                      long Pos);
