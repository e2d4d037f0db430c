#include "foundation/mfc/cmap.h"

#include "foundation/base/fnd_assert.h"

namespace {

POSITION Position_Of(const void* Node) {
    return reinterpret_cast<POSITION>(const_cast<void*>(Node));
}

template <class Node>
Node* Node_At(POSITION Position) {
    return reinterpret_cast<Node*>(Position);
}

void Check_Position(POSITION Position, const Code_Unit* Class_Name) {
    if (!Position) Fnd_Assert(0, Fnd_String(Class_Name) + u"::GetNextAssoc: null iterator");
}

// The address of the range word of Key in a string map, binding Key to 0 first when it
// is missing.
long& Range_Word(Utl_String_Map& Map, const Fnd_String& Key, const Code_Unit* Class_Name) {
    long* word = Map.get_range_address(Key);
    if (!word) {
        if (!Map.Bind(Key, 0L))
            Fnd_Assert(0, Fnd_String(Class_Name) + u"::operator[]: bind new element");
        word = Map.get_range_address(Key);
        if (!word) Fnd_Assert(0, Fnd_String(Class_Name) + u"::operator[]: get new element");
    }
    return *word;
}

long& Range_Word(Utl_Pointer_Map& Map, void* Key, const Code_Unit* Class_Name) {
    long* word = Map.get_range_address(Key);
    if (!word) {
        if (!Map.Bind(Key, nullptr))
            Fnd_Assert(0, Fnd_String(Class_Name) + u"::operator[]: bind new element");
        word = Map.get_range_address(Key);
        if (!word) Fnd_Assert(0, Fnd_String(Class_Name) + u"::operator[]: get new element");
    }
    return *word;
}

// The node walk of a string map: copies the entry and moves on.
const utl_string_map_data* Next_String_Node(const Utl_String_Map& Map, POSITION& Position,
                                            const Code_Unit* Class_Name) {
    Check_Position(Position, Class_Name);
    utl_string_map_data* node = Node_At<utl_string_map_data>(Position);
    utl_string_map_data* next = node;
    Map.next(next);
    Position = Position_Of(next);
    return node;
}

const utl_pointer_map_data* Next_Pointer_Node(const Utl_Pointer_Map& Map, POSITION& Position,
                                              const Code_Unit* Class_Name) {
    Check_Position(Position, Class_Name);
    utl_pointer_map_data* node = Node_At<utl_pointer_map_data>(Position);
    utl_pointer_map_data* next = node;
    Map.next(next);
    Position = Position_Of(next);
    return node;
}

}  // namespace

// ---- CMapStringToString

CMapStringToString::CMapStringToString(int)
    : Utl_String_Map(Utl_Range_String, 101, 0, Utl_Case_Unchanged, nullptr) {}

long CMapStringToString::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapStringToString");
}

POSITION CMapStringToString::GetStartPosition() const { return Position_Of(first()); }

void CMapStringToString::GetNextAssoc(POSITION& Position, Fnd_String& Key,
                                      Fnd_String& Value) const {
    get_data(Next_String_Node(*this, Position, u"CMapStringToString"), Key, Value);
}

Fnd_String& CMapStringToString::operator[](const Fnd_String& Key) {
    Fnd_String* value = nullptr;
    if (!Get_Range(Key, value)) {
        if (!Bind(Key, Fnd_String::Null))
            Fnd_Assert(0, u"CMapStringToString::operator[]: bind new element");
    } else if (!value) {
        Bind(Key, Fnd_String::Null);  // a null range gets an empty string of its own
    }
    if (!value) {
        Get_Range(Key, value);
        if (!value) Fnd_Assert(0, u"CMapStringToString::operator[]: get new element");
    }
    return *value;
}

void CMapStringToString::SetAt(const Fnd_String& Key, const Fnd_String& Value) {
    const Fnd_String value(Value);
    Bind(Key, value);
}

long CMapStringToString::Lookup(const Fnd_String& Key, Fnd_String& Value) const {
    return Get_Range(Key, Value);
}

// ---- CMapStringToOb, CMapStringToPtr, CMapStringToLong

CMapStringToOb::CMapStringToOb(int Size)
    : Utl_String_Map(Utl_Range_Pointer, Size, 0, Utl_Case_Unchanged, nullptr) {}

long CMapStringToOb::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapStringToOb");
}

POSITION CMapStringToOb::GetStartPosition() const { return Position_Of(first()); }

void CMapStringToOb::GetNextAssoc(POSITION& Position, Fnd_String& Key, CObject*& Value) const {
    long range = 0;
    get_data(Next_String_Node(*this, Position, u"CMapStringToOb"), Key, range);
    Value = reinterpret_cast<CObject*>(range);
}

CObject*& CMapStringToOb::operator[](const Fnd_String& Key) {
    return reinterpret_cast<CObject*&>(Range_Word(*this, Key, u"CMapStringToOb"));
}

long CMapStringToOb::Lookup(const Fnd_String& Key, CObject*& Value) const {
    long range = 0;
    const long found = Get_Range(Key, range);
    Value = found ? reinterpret_cast<CObject*>(range) : nullptr;
    return found;
}

CMapStringToPtr::CMapStringToPtr(int Size)
    : Utl_String_Map(Utl_Range_Pointer, Size, 0, Utl_Case_Unchanged, nullptr) {}

long CMapStringToPtr::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapStringToPtr");
}

POSITION CMapStringToPtr::GetStartPosition() const { return Position_Of(first()); }

void CMapStringToPtr::GetNextAssoc(POSITION& Position, Fnd_String& Key, void*& Value) const {
    long range = 0;
    get_data(Next_String_Node(*this, Position, u"CMapStringToPtr"), Key, range);
    Value = reinterpret_cast<void*>(range);
}

void*& CMapStringToPtr::operator[](const Fnd_String& Key) {
    return reinterpret_cast<void*&>(Range_Word(*this, Key, u"CMapStringToPtr"));
}

long CMapStringToPtr::Lookup(const Fnd_String& Key, void*& Value) const {
    long range = 0;
    const long found = Get_Range(Key, range);
    Value = found ? reinterpret_cast<void*>(range) : nullptr;
    return found;
}

CMapStringToLong::CMapStringToLong(int Size)
    : Utl_String_Map(Utl_Range_Long, Size, 0, Utl_Case_Unchanged, nullptr) {}

long CMapStringToLong::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapStringToLong");
}

POSITION CMapStringToLong::GetStartPosition() const { return Position_Of(first()); }

void CMapStringToLong::GetNextAssoc(POSITION& Position, Fnd_String& Key, long& Value) const {
    get_data(Next_String_Node(*this, Position, u"CMapStringToLong"), Key, Value);
}

long& CMapStringToLong::operator[](const Fnd_String& Key) {
    return Range_Word(*this, Key, u"CMapStringToLong");
}

long CMapStringToLong::Lookup(const Fnd_String& Key, long& Value) const {
    const long found = Get_Range(Key, Value);
    if (!found) Value = 0;
    return found;
}

// ---- Pointer-keyed maps

CMapPtrToPtr::CMapPtrToPtr(int Size) : Utl_Pointer_Map(Utl_Domain_Pointer, Utl_Range_Pointer, Size) {}

long CMapPtrToPtr::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapPtrToPtr");
}

POSITION CMapPtrToPtr::GetStartPosition() const { return Position_Of(first()); }

void CMapPtrToPtr::GetNextAssoc(POSITION& Position, void*& Key, void*& Value) const {
    get_data(Next_Pointer_Node(*this, Position, u"CMapPtrToPtr"), Key, Value);
}

void*& CMapPtrToPtr::operator[](void* Key) {
    return reinterpret_cast<void*&>(Range_Word(*this, Key, u"CMapPtrToPtr"));
}

CMapPtrToWord::CMapPtrToWord(int Size) : Utl_Pointer_Map(Utl_Domain_Pointer, Utl_Range_Long, Size) {}

long CMapPtrToWord::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapPtrToWord");
}

POSITION CMapPtrToWord::GetStartPosition() const { return Position_Of(first()); }

void CMapPtrToWord::GetNextAssoc(POSITION& Position, void*& Key, unsigned short& Value) const {
    const utl_pointer_map_data* node = Next_Pointer_Node(*this, Position, u"CMapPtrToWord");
    Key = reinterpret_cast<void*>(node->domain);
    Value = static_cast<unsigned short>(node->range);
}

unsigned short& CMapPtrToWord::operator[](void* Key) {
    // The low 16 bits of the word: its first two bytes on this little-endian host.
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the value is the word's low half");
    return reinterpret_cast<unsigned short&>(Range_Word(*this, Key, u"CMapPtrToWord"));
}

CMapWordToPtr::CMapWordToPtr(int Size) : Utl_Pointer_Map(Utl_Domain_Pointer, Utl_Range_Long, Size) {}

long CMapWordToPtr::Is_Equal(const Fnd_Object&) const {
    Fnd_Container_Is_Equal_Failure(u"CMapWordToPtr");
}

POSITION CMapWordToPtr::GetStartPosition() const { return Position_Of(first()); }
