#include "foundation/mfc/ccollections.h"

#include <algorithm>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"
#include "foundation/mfc/carchive.h"

long CObArray::Is_Equal(const Fnd_Object&) const { Fnd_Container_Is_Equal_Failure(u"CObArray"); }
long CPtrArray::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CPtrArray");
}
long CUIntArray::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CUIntArray");
}
long CWordArray::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CWordArray");
}
long CDWordArray::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CDWordArray");
}
long CStringArray::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CStringArray");
}
long CPtrList::Is_Equal(const Fnd_Object&) const { Fnd_Container_Is_Equal_Failure(u"CPtrList"); }

// ---- CStringArray

void CStringArray::SetSize(int New_Size, int) {
    const long count = Get_Count();
    if (New_Size <= count) {
        Shorten(count - (New_Size < 0 ? 0 : New_Size));
        return;
    }
    // From the top down, so that the first Set grows the array once.
    for (long i = New_Size - 1; i >= count; --i) Set(i, Fnd_String::Null);
}

void CStringArray::Serialize(CArchive& Archive) {
    if (Archive.IsStoring()) {
        const unsigned long count = static_cast<unsigned long>(Get_Count());
        if (count < 65535) {
            Archive << static_cast<unsigned short>(count);
        } else {
            Archive << static_cast<unsigned short>(65535) << count;
        }
        for (long i = 0; i < Get_Count(); ++i) Archive << Subscript(i);
        return;
    }
    unsigned short short_count = 0;
    Archive >> short_count;
    unsigned long count = short_count;
    if (short_count == 65535) Archive >> count;
    // The count comes from the stream: the array grows with the strings that really
    // arrive, in doubling steps, instead of trusting it for one allocation.
    Make_Empty();
    Fnd_String text;
    for (unsigned long i = 0; i < count; ++i) {
        if (static_cast<long>(i) >= Get_Count())
            SetSize(static_cast<int>(std::min<unsigned long>(
                count, std::max<unsigned long>(1024, 2 * static_cast<unsigned long>(i)))));
        Archive >> text;
        Set(static_cast<long>(i), text);
    }
}

// ---- CPtrList

POSITION CPtrList::Position_Of(long Index) {
    return reinterpret_cast<POSITION>(static_cast<unsigned long>(Index) | Position_Tag);
}

long CPtrList::Checked_Index(POSITION Position, const Code_Unit* Null_Failure) const {
    Fnd_Assert(Position != nullptr, Null_Failure);
    const long index = Index_Of(Position);
    if (index >= Get_Count())
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - 1, index), Fnd_String::Null);
    return index;
}

POSITION CPtrList::AddHead(void* Element) {
    Insert(0, Element);
    return Position_Of(0);
}

POSITION CPtrList::AddTail(void* Element) {
    Add(Element);
    return Position_Of(Get_Count() - 1);
}

POSITION CPtrList::GetHeadPosition() const { return IsEmpty() ? nullptr : Position_Of(0); }

POSITION CPtrList::GetTailPosition() const {
    return IsEmpty() ? nullptr : Position_Of(Get_Count() - 1);
}

void*& CPtrList::GetNext(POSITION& Position) {
    const long index = Checked_Index(Position, u"CPtrList::GetNext 1: null iterator");
    Position = index + 1 < Get_Count() ? Position_Of(index + 1) : nullptr;
    return *Element_Address(index);
}

void* CPtrList::GetNext(POSITION& Position) const {
    const long index = Checked_Index(Position, u"CPtrList::GetNext 2: null iterator");
    Position = index + 1 < Get_Count() ? Position_Of(index + 1) : nullptr;
    return (*this)[index];
}

void*& CPtrList::GetAt(POSITION Position) {
    return *Element_Address(Checked_Index(Position, u"CPtrList::GetAt 1: null iterator"));
}

void* CPtrList::GetAt(POSITION Position) const {
    return (*this)[Checked_Index(Position, u"CPtrList::GetAt 2: null iterator")];
}

void CPtrList::SetAt(POSITION Position, void* Element) {
    Set(Checked_Index(Position, u"CPtrList::SetAt: null iterator"), Element);
}

void* CPtrList::RemoveHead() {
    Fnd_Assert(!IsEmpty(), u"CPtrList::RemoveHead: empty list");
    void* element = (*this)[0];
    Delete(0);
    return element;
}

void* CPtrList::RemoveTail() {
    Fnd_Assert(!IsEmpty(), u"CPtrList::RemoveTail: empty list");
    void* element = (*this)[Get_Count() - 1];
    Delete(Get_Count() - 1);
    return element;
}

void CPtrList::RemoveAt(POSITION Position) {
    Delete(Checked_Index(Position, u"CPtrList::RemoveAt: null iterator"));
}

POSITION CPtrList::Find(void* Element, POSITION Start) const {
    const long start = Start ? Index_Of(Start) : 0;
    const long found = Index(Element);
    return found >= 0 && found >= start ? Position_Of(found) : nullptr;
}
