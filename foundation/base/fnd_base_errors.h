// Programming and usage errors of the subsystem "Base": malformed message ids, failed
// clones, numbered assertion messages and the external vault's errors.
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

// 1 a malformed message id, 2 a bad number in an id, 3 the message context is not set.
class Fnd_Message_Id_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Message_Id_Error, Fnd_Message)
public:
    long Number = 0;
    Fnd_String Image1;
    Fnd_String Image2;

    explicit Fnd_Message_Id_Error(const long Number) : Number(Number) {}
    Fnd_Message_Id_Error(const long Number, const Fnd_String& Image1)
        : Number(Number), Image1(Image1) {}
    Fnd_Message_Id_Error(const long Number, const Fnd_String& Image1, const Fnd_String& Image2)
        : Number(Number), Image1(Image1), Image2(Image2) {}
    Fnd_Message_Id_Error(const Fnd_Message_Id_Error&) = default;
    Fnd_Message_Id_Error& operator=(const Fnd_Message_Id_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 4; }
    long Text_Number() const override { return Number; }
    // "image" and "image1", "image2"; at level 2 any other name gives both.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;
};

// Clone called on an object whose class has no working Clone.
class Fnd_Clone_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Clone_Error, Fnd_Message)
public:
    const Code_Unit* Class;

    explicit Fnd_Clone_Error(const Code_Unit* Class) : Class(Class) {}
    Fnd_Clone_Error(const Fnd_Clone_Error&) = default;
    Fnd_Clone_Error& operator=(const Fnd_Clone_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 5; }
    // "class"; at level 2 any other name gives the class too.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};

// A numbered assertion text, with an operation's Name or a Class where the text
// needs one (e.g. 203: the copy constructor of a class that forbids copies).
class Fnd_Assertion_Message : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Assertion_Message, Fnd_Message)
public:
    int Text;
    Fnd_String Name;
    const Code_Unit* Class;

    explicit Fnd_Assertion_Message(const int Text);
    Fnd_Assertion_Message(const int Text, const Fnd_String& Name);
    Fnd_Assertion_Message(const int Text, const Code_Unit* Class);
    Fnd_Assertion_Message(const Fnd_Assertion_Message&) = default;
    Fnd_Assertion_Message& operator=(const Fnd_Assertion_Message&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 6; }
    long Text_Number() const override { return Text; }
    // "name", "class".
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};

// An error reported by the external vault, carried as a number and a text.
class Fnd_Vaultline_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Vaultline_Error, Fnd_Message)
public:
    long Number = 0;
    Fnd_String Image;

    explicit Fnd_Vaultline_Error(const long Number) : Number(Number) {}
    Fnd_Vaultline_Error(const long Number, const Fnd_String& Image)
        : Number(Number), Image(Image) {}
    Fnd_Vaultline_Error(const Fnd_Vaultline_Error&) = default;
    Fnd_Vaultline_Error& operator=(const Fnd_Vaultline_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 8; }
    long Text_Number() const override { return Number; }
    // "image"; at level 2 any other name gives the image too.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;
};
