// Iterators over a Fnd_String: a string pointer and a position in code units. An
// iterator is valid when it has a string and 0 <= Position <= Length - 1; a position
// past the end is how the searches of Fnd_String_Library say "not found".
#pragma once

#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"

class Const_Fnd_String_Iterator : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Const_Fnd_String_Iterator)
public:
    const Fnd_String* String;
    long Position;

    Const_Fnd_String_Iterator() : String(nullptr), Position(0) {}
    explicit Const_Fnd_String_Iterator(const Fnd_String* Text) : String(Text), Position(0) {}
    Const_Fnd_String_Iterator(const Fnd_String* Text, long At) : String(Text), Position(At) {}
    Const_Fnd_String_Iterator(const Const_Fnd_String_Iterator& Other)
        : Fnd_Object(), String(Other.String), Position(Other.Position) {}
    Const_Fnd_String_Iterator& operator=(const Const_Fnd_String_Iterator& Other) {
        String = Other.String;
        Position = Other.Position;
        return *this;
    }

    // Same string pointer and position.
    long Is_Equal(const Fnd_Object& Other) const override;
    long Hash() const override;
    bool operator==(const Const_Fnd_String_Iterator& Other) const {
        return String == Other.String && Position == Other.Position;
    }
    using Fnd_Object::operator==;

    bool Is_Valid() const {
        return String && Position >= 0 && Position <= String->Get_Length() - 1;
    }
    // The unit at the position (checked).
    Code_Unit operator*() const { return (*String)[Position]; }
    // The text from the position; the terminator for a position outside the string,
    // null without a string.
    operator const Code_Unit*() const;

    Const_Fnd_String_Iterator& operator++() {
        ++Position;
        return *this;
    }
    Const_Fnd_String_Iterator operator++(int) {
        Const_Fnd_String_Iterator old(*this);
        ++Position;
        return old;
    }
    Const_Fnd_String_Iterator& operator--() {
        --Position;
        return *this;
    }
    Const_Fnd_String_Iterator operator--(int) {
        Const_Fnd_String_Iterator old(*this);
        --Position;
        return old;
    }
    Const_Fnd_String_Iterator operator+(long Count) const {
        return Const_Fnd_String_Iterator(String, Position + Count);
    }
    Const_Fnd_String_Iterator operator-(long Count) const {
        return Const_Fnd_String_Iterator(String, Position - Count);
    }
    // The distance of the positions; both must be on the same string (assertion 111).
    long operator-(const Const_Fnd_String_Iterator& Other) const;

    // Count units from the position, in a work string shared by all iterators that
    // lives until the next call (not for concurrent code).
    const Fnd_String& Get(const long Count) const;
};

class Fnd_String_Iterator : public Const_Fnd_String_Iterator {
    FND_OBJECT_MEMBERS(Fnd_String_Iterator, Const_Fnd_String_Iterator)
public:
    Fnd_String_Iterator() = default;
    explicit Fnd_String_Iterator(Fnd_String* Text) : Const_Fnd_String_Iterator(Text) {}
    Fnd_String_Iterator(Fnd_String* Text, long At) : Const_Fnd_String_Iterator(Text, At) {}
    // Text with the position of At.
    Fnd_String_Iterator(Fnd_String* Text, const Const_Fnd_String_Iterator& At)
        : Const_Fnd_String_Iterator(Text, At.Position) {}
    Fnd_String_Iterator(const Fnd_String_Iterator& Other) = default;
    Fnd_String_Iterator& operator=(const Fnd_String_Iterator& Other) = default;

    Fnd_String* Get_String() const { return const_cast<Fnd_String*>(String); }
    // The unit at the position, for writing (checked).
    Code_Unit& operator*() const { return (*Get_String())[Position]; }

    Fnd_String_Iterator operator+(long Count) const {
        return Fnd_String_Iterator(Get_String(), Position + Count);
    }
    Fnd_String_Iterator operator-(long Count) const {
        return Fnd_String_Iterator(Get_String(), Position - Count);
    }
    using Const_Fnd_String_Iterator::operator-;
};
