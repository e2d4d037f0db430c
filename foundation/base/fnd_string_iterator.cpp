#include "foundation/base/fnd_string_iterator.h"

#include <cstdint>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"

long Const_Fnd_String_Iterator::Is_Equal(const Fnd_Object& Other) const {
    const Const_Fnd_String_Iterator* other = Convert(&Other);
    return other && *this == *other;
}

long Const_Fnd_String_Iterator::Hash() const {
    auto address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(String) >> 4);
    return static_cast<int32_t>(address ^ static_cast<uint32_t>(Position));
}

Const_Fnd_String_Iterator::operator const Code_Unit*() const {
    if (!String) return nullptr;
    long length = String->Get_Length();
    return String->Data() + (Position >= 0 && Position <= length ? Position : length);
}

long Const_Fnd_String_Iterator::operator-(const Const_Fnd_String_Iterator& Other) const {
    if (String != Other.String) Fnd_Assert(0, Fnd_Assertion_Message(111), Fnd_String::Null);
    return Position - Other.Position;
}

const Fnd_String& Const_Fnd_String_Iterator::Get(const long Count) const {
    static Fnd_String* work = new Fnd_String(80L, 1L);
    if (String)
        String->Get(*work, Position, Count);
    else
        work->Make_Empty();
    return *work;
}
