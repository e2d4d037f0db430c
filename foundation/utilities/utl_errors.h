// Messages of the subsystem "Editor_Utilities".
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

// A message that is its own text: Second if it is not empty, else First, at every level.
class Utl_Text_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Utl_Text_Error, Fnd_Message)
public:
    Fnd_String First;
    Fnd_String Second;

    Utl_Text_Error() = default;
    explicit Utl_Text_Error(const Fnd_String& Text) : First(Text), Second(Text) {}
    Utl_Text_Error(const Fnd_String& First, const Fnd_String& Second)
        : First(First), Second(Second) {}
    Utl_Text_Error(const Utl_Text_Error&) = default;
    Utl_Text_Error& operator=(const Utl_Text_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 1; }
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;
};

// Failures of the settings files (numbers 101 to 105).
class Utl_Edutil_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Utl_Edutil_Error, Fnd_Message)
public:
    long Number = 0;
    Fnd_String Str1;
    Fnd_String Str2;
    long Num = 0;

    Utl_Edutil_Error() = default;
    explicit Utl_Edutil_Error(const long Number) : Number(Number) {}
    Utl_Edutil_Error(const long Number, const Fnd_String& Str1, const Fnd_String& Str2,
                     const long Num)
        : Number(Number), Str1(Str1), Str2(Str2), Num(Num) {}
    Utl_Edutil_Error(const Utl_Edutil_Error&) = default;
    Utl_Edutil_Error& operator=(const Utl_Edutil_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 2; }
    long Text_Number() const override { return Number; }
    // "str1", "str2", "num"; at level 2 any other name gives all three.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;
};
