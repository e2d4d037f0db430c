#include "foundation/base/fnd_collection.h"

#include "foundation/base/fnd_type_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"

void Fnd_Collection_Fail(Fnd_Collection_Failure Text, const Code_Unit* Class, long Pos) {
    Fnd_Assert(0,
               Fnd_Abstract_Type_Error(
                   static_cast<Fnd_Abstract_Type_Error_Texts::Kor_Error_Text_Numbers>(Text),
                   Class, Fnd_String::Null, Pos),
               Fnd_String::Null);
    __builtin_unreachable();
}

// ---- Fnd_Collection

Fnd_Collection::~Fnd_Collection() {
    // Iterators may outlive their collection: they lose their data and report done.
    for (Fnd_Iterator* it = Iterators; it;) {
        Fnd_Iterator* next = it->Next_Iterator;
        delete it->Data;
        it->Data = nullptr;
        it->Collection = nullptr;
        it->Next_Iterator = nullptr;
        it = next;
    }
    Iterators = nullptr;
}

void Fnd_Collection::Make_Empty() {
    Do_Make_Empty();
    // Iterators stand on nodes that are gone now: they must go stale.
    if (Count != 0) ++Update_Count;
    Count = 0;
}

void Fnd_Collection::Indicate_Update(long Delta) {
    Count = static_cast<int32_t>(Count + Delta);
    ++Update_Count;
}

void Fnd_Collection::Insert_Iterator(Fnd_Iterator* Iterator) {
    Iterator->Next_Iterator = Iterators;
    Iterators = Iterator;
}

void Fnd_Collection::Remove_Iterator(Fnd_Iterator* Iterator) {
    for (Fnd_Iterator** link = &Iterators; *link; link = &(*link)->Next_Iterator) {
        if (*link == Iterator) {
            *link = Iterator->Next_Iterator;
            Iterator->Next_Iterator = nullptr;
            return;
        }
    }
}

long Fnd_Collection::Is_Equal(const Fnd_Object& Other) const {
    return Convert(&Other) == this;
}

// ---- Fnd_Iterator

Fnd_Iterator::Fnd_Iterator(const Fnd_Collection& Collection) { Attach(&Collection); }

Fnd_Iterator::Fnd_Iterator(const Fnd_Collection* Collection) { Attach(Collection); }

void Fnd_Iterator::Attach(const Fnd_Collection* Of) {
    if (!Of) Fnd_Collection_Fail(Fnd_Null_Collection, Object_Type(), 0);
    Collection = Of;
    Update_Count = static_cast<int32_t>(Of->Get_Update_Count());
    Data = Of->Get_Iterator_Data();
    if (!Data) Fnd_Collection_Fail(Fnd_No_Iterator_Data, Object_Type(), 0);
    const_cast<Fnd_Collection*>(Of)->Insert_Iterator(this);
    Can_Update = Data->Can_Update_While_Iterating();
}

Fnd_Iterator::~Fnd_Iterator() { Invalidate(); }

long Fnd_Iterator::Is_Stale() const {
    return Collection && Update_Count != Collection->Get_Update_Count() && !Can_Update;
}

long Fnd_Iterator::Done() const {
    if (!Data || Is_Stale()) return 1;
    return Data->Done();
}

void Fnd_Iterator::Validate() const {
    if (!Data) Fnd_Collection_Fail(Fnd_No_Iterator_Data, Object_Type(), 0);
    if (Is_Stale()) Fnd_Collection_Fail(Fnd_Stale_Iterator, Object_Type(), 0);
}

void Fnd_Iterator::Next() {
    Validate();
    Data->Next();
}

Fnd_Object* Fnd_Iterator::Get(long Index) const {
    Validate();
    if (Index < 1 || Index > Data->Number_Of_Get_Values())
        Fnd_Collection_Fail(Fnd_Bad_Get_Index, Object_Type(), Index);
    return Data->Get(Index);
}

void Fnd_Iterator::Reset() {
    if (!Data) Fnd_Collection_Fail(Fnd_No_Iterator_Data, Object_Type(), 0);
    Data->Reset();
    if (Collection) Update_Count = static_cast<int32_t>(Collection->Get_Update_Count());
}

long Fnd_Iterator::Number_Of_Get_Values() const {
    Validate();
    return Data->Number_Of_Get_Values();
}

void Fnd_Iterator::Invalidate() {
    if (Collection) const_cast<Fnd_Collection*>(Collection)->Remove_Iterator(this);
    delete Data;
    Data = nullptr;
    Collection = nullptr;
}

// ---- Fnd_Disposer

void Fnd_Disposer::Dispose(Fnd_Object* Object) const { delete Object; }

const Fnd_Disposer* Fnd_Disposer::Default() {
    static const Fnd_Disposer* const The_Default = new Fnd_Disposer;
    return The_Default;
}
