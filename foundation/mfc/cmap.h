// The maps of the MFC-like vocabulary, thin adapters over Utl_String_Map and
// Utl_Pointer_Map. A POSITION is the address of the node of an entry, walked in bucket
// order; the bucket count is fixed for the map's life.
//
//   CMapStringToString names;
//   names.SetAt(u"key", u"value");
//   for (POSITION at = names.GetStartPosition(); at;) {
//       Fnd_String key, value;
//       names.GetNextAssoc(at, key, value);
//   }
#pragma once

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/cobject.h"
#include "foundation/mfc/cposition.h"
#include "foundation/utilities/utl_pointer_map.h"
#include "foundation/utilities/utl_string_map.h"

// Strings to strings (owned copies). Always 101 buckets: the argument isn't used.
class CMapStringToString : public CObject, public Utl_String_Map {
    FND_OBJECT_MEMBERS(CMapStringToString, CObject)
public:
    explicit CMapStringToString(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    int GetCount() const { return static_cast<int>(Get_Count()); }
    POSITION GetStartPosition() const;
    // A null range reads as the empty string.
    void GetNextAssoc(POSITION& Position, Fnd_String& Key, Fnd_String& Value) const;
    // The value of Key, bound to an empty string first when missing.
    Fnd_String& operator[](const Fnd_String& Key);
    void SetAt(const Fnd_String& Key, const Fnd_String& Value);
    long Lookup(const Fnd_String& Key, Fnd_String& Value) const;
    long RemoveKey(const Fnd_String& Key) { return Unbind(Key); }
    void RemoveAll() { Make_Empty(); }
};

// Strings to object pointers (not owned).
class CMapStringToOb : public CObject, public Utl_String_Map {
    FND_OBJECT_MEMBERS(CMapStringToOb, CObject)
public:
    explicit CMapStringToOb(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
    void GetNextAssoc(POSITION& Position, Fnd_String& Key, CObject*& Value) const;
    CObject*& operator[](const Fnd_String& Key);
    long Lookup(const Fnd_String& Key, CObject*& Value) const;
};

// Strings to pointers (not owned).
class CMapStringToPtr : public CObject, public Utl_String_Map {
    FND_OBJECT_MEMBERS(CMapStringToPtr, CObject)
public:
    explicit CMapStringToPtr(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
    void GetNextAssoc(POSITION& Position, Fnd_String& Key, void*& Value) const;
    void*& operator[](const Fnd_String& Key);
    long Lookup(const Fnd_String& Key, void*& Value) const;
};

// Strings to numbers.
class CMapStringToLong : public CObject, public Utl_String_Map {
    FND_OBJECT_MEMBERS(CMapStringToLong, CObject)
public:
    explicit CMapStringToLong(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
    void GetNextAssoc(POSITION& Position, Fnd_String& Key, long& Value) const;
    long& operator[](const Fnd_String& Key);
    long Lookup(const Fnd_String& Key, long& Value) const;
};

// Pointers to pointers (not owned).
class CMapPtrToPtr : public CObject, public Utl_Pointer_Map {
    FND_OBJECT_MEMBERS(CMapPtrToPtr, CObject)
public:
    explicit CMapPtrToPtr(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
    void GetNextAssoc(POSITION& Position, void*& Key, void*& Value) const;
    void*& operator[](void* Key);
};

// Pointers to 16-bit values, kept in the low bytes of the range word.
class CMapPtrToWord : public CObject, public Utl_Pointer_Map {
    FND_OBJECT_MEMBERS(CMapPtrToWord, CObject)
public:
    explicit CMapPtrToWord(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
    void GetNextAssoc(POSITION& Position, void*& Key, unsigned short& Value) const;
    unsigned short& operator[](void* Key);
};

// 16-bit values to pointers.
class CMapWordToPtr : public CObject, public Utl_Pointer_Map {
    FND_OBJECT_MEMBERS(CMapWordToPtr, CObject)
public:
    explicit CMapWordToPtr(int Size = 17);
    long Is_Equal(const Fnd_Object&) const override;

    POSITION GetStartPosition() const;
};

// Locks of the vocabulary. They hold no state and lock nothing; the real locks are the
// foundation's semaphores.
class CMutex : public CObject {
    FND_OBJECT_MEMBERS(CMutex, CObject)
public:
    CMutex() = default;
    ~CMutex() override {}
};

class CSingleLock : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(CSingleLock)
public:
    CSingleLock() = default;
    ~CSingleLock() override {}
};
