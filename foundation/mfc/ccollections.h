// The arrays and the list of the MFC-like vocabulary: thin adapters over the foundation's
// growing arrays. A list here is an array, and a POSITION is a coded index, not a link.
// Equality of containers isn't supported: Is_Equal is a programming error.
#pragma once

#include "foundation/mfc/cobject.h"
#include "foundation/mfc/cposition.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_pointer_array.h"
#include "foundation/utilities/utl_string_array.h"

class CArchive;

class CObArray : public CObject, public Utl_Pointer_Array {
    FND_OBJECT_MEMBERS(CObArray, CObject)
public:
    CObArray() = default;
    long Is_Equal(const Fnd_Object&) const override;
};

class CPtrArray : public CObject, public Utl_Pointer_Array {
    FND_OBJECT_MEMBERS(CPtrArray, CObject)
public:
    CPtrArray() = default;
    long Is_Equal(const Fnd_Object&) const override;
};

class CUIntArray : public CObject, public Utl_Long_Array {
    FND_OBJECT_MEMBERS(CUIntArray, CObject)
public:
    CUIntArray() = default;
    long Is_Equal(const Fnd_Object&) const override;
};

class CWordArray : public CObject, public Utl_Long_Array {
    FND_OBJECT_MEMBERS(CWordArray, CObject)
public:
    CWordArray() = default;
    long Is_Equal(const Fnd_Object&) const override;
};

class CDWordArray : public CObject, public Utl_Long_Array {
    FND_OBJECT_MEMBERS(CDWordArray, CObject)
public:
    CDWordArray() = default;
    long Is_Equal(const Fnd_Object&) const override;
};

// Strings owned by the array; its stored form is a count and the strings.
class CStringArray : public CObject, public Utl_String_Array {
    FND_OBJECT_MEMBERS(CStringArray, CObject)
public:
    CStringArray() : Utl_String_Array(10, 1) {}
    long Is_Equal(const Fnd_Object&) const override;

    int GetSize() const { return static_cast<int>(Get_Count()); }
    // Shortens, or grows with empty strings. Grow_By isn't used.
    void SetSize(int New_Size, int Grow_By = -1);
    // The count as unsigned short (65535 and then unsigned long for larger counts), then
    // each string; loading reads the same. A damaged count fails at the end of the
    // stream without allocating for elements that never arrive.
    void Serialize(CArchive& Archive) override;
};

// A list of pointers held in an array. A position is the element's index combined with
// 0x60000000; null stands for an empty list or the end.
class CPtrList : public CObject, public Utl_Pointer_Array {
    FND_OBJECT_MEMBERS(CPtrList, CObject)
public:
    static constexpr unsigned long Position_Tag = 0x60000000UL;
    static constexpr unsigned long Index_Mask = 0x0FFFFFFFUL;

    CPtrList() : Utl_Pointer_Array(10, 1) {}
    long Is_Equal(const Fnd_Object&) const override;

    static POSITION Position_Of(long Index);
    static long Index_Of(POSITION Position) {
        return static_cast<long>(reinterpret_cast<unsigned long>(Position) & Index_Mask);
    }

    int GetCount() const { return static_cast<int>(Get_Count()); }
    bool IsEmpty() const { return Get_Count() == 0; }
    POSITION AddHead(void* Element);
    POSITION AddTail(void* Element);
    POSITION GetHeadPosition() const;
    POSITION GetTailPosition() const;
    // The element at Position; Position moves to the next one, or to null.
    void*& GetNext(POSITION& Position);
    void* GetNext(POSITION& Position) const;
    void*& GetAt(POSITION Position);
    void* GetAt(POSITION Position) const;
    void SetAt(POSITION Position, void* Element);
    // The list must not be empty.
    void* RemoveHead();
    void* RemoveTail();
    void RemoveAt(POSITION Position);
    // The first occurrence, if it stands at or behind Start (null: the head); else null.
    POSITION Find(void* Element, POSITION Start = nullptr) const;

private:
    long Checked_Index(POSITION Position, const Code_Unit* Null_Failure) const;
};

// A list of pointers of one type. The elements aren't owned.
template <class Base, class Type>
class CTypedPtrList : public Base {
public:
    POSITION AddHead(Type Element) { return Base::AddHead(Element); }
    POSITION AddTail(Type Element) { return Base::AddTail(Element); }
    Type& GetNext(POSITION& Position) { return reinterpret_cast<Type&>(Base::GetNext(Position)); }
    Type GetNext(POSITION& Position) const { return static_cast<Type>(Base::GetNext(Position)); }
    Type& GetAt(POSITION Position) { return reinterpret_cast<Type&>(Base::GetAt(Position)); }
    Type GetAt(POSITION Position) const { return static_cast<Type>(Base::GetAt(Position)); }
    void SetAt(POSITION Position, Type Element) { Base::SetAt(Position, Element); }
    Type RemoveHead() { return static_cast<Type>(Base::RemoveHead()); }
    Type RemoveTail() { return static_cast<Type>(Base::RemoveTail()); }
    POSITION Find(Type Element, POSITION Start = nullptr) const {
        return Base::Find(Element, Start);
    }
};
