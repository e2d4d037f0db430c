// The identity of a message: catalog (subsystem) name, class number and text number.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

class Fnd_Condition;

class Fnd_Message_Id : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Message_Id)
public:
    Fnd_Message_Id() = default;
    Fnd_Message_Id(const Fnd_Message_Id&) = default;
    Fnd_Message_Id& operator=(const Fnd_Message_Id&) = default;
    Fnd_Message_Id(const Fnd_String& Subsystem, const long Class, const long Text);
    // Parses "subsystem class text", the numbers in decimal, octal (leading 0) or
    // hexadecimal (0x). On a malformed image the condition gets a Fnd_Message_Id_Error
    // and the fields hold what was read.
    Fnd_Message_Id(const Fnd_String& Image, Fnd_Condition& Condition);

    long Is_Equal(const Fnd_Object& Other) const override;
    long Hash() const override;

    const Fnd_String& Get_Subsystem_Name() const { return Subsystem; }
    long Get_Class_Number() const { return Class_Number; }
    long Get_Text_Number() const { return Text_Number; }

    // Empty subsystem and both numbers 0.
    long Is_Nil() const;
    void Make_Nil();

    // Subsystem, class number and text number, separated by blanks.
    void Image(Fnd_String& Out) const;
    Fnd_String Image() const;

    // The numbering of texts by level: 2 * Text + 1 at level 3, + 2 at level 4, else 0.
    static long Message_Number(const long Text, const Fnd_Message_Detail_Level Level);
    // The class number as Set, and Message_Number of the text number as Number.
    void Catalog_Key(long& Set, long& Number, const Fnd_Message_Detail_Level Level) const;
    static long Set_Number(const long Number) { return Number; }

private:
    Fnd_String Subsystem;
    std::int16_t Class_Number = 0;
    std::int16_t Text_Number = 0;
};
