// Faults of the abstract types (collections, iterators, counted pointees) and of type
// checkers: messages of the subsystem "Abstract_Types".
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

struct Fnd_Abstract_Type_Error_Texts {
    enum Kor_Error_Text_Numbers {
        Kor_No_Text = 0,
        Kor_Null_Object = 11,           // a null object handed to a sequence or stack
        Kor_Null_Node = 12,             // a null node given to a list sequence
        Kor_Bad_Iterator_Index = 51,    // a bad index in an iterator's Get
        Kor_Null_Collection = 52,       // a null collection at an iterator's construction
        Kor_No_Iterator_Data = 53,      // an iterator without data
        Kor_Stale_Iterator = 54,        // an iterator whose collection has changed
        Kor_Referenced_Pointee = 121    // a counted pointee destroyed with references left
    };
};

// Domain and Range are not owned: they are read for their type at the moment of the
// image only.
class Fnd_Abstract_Type_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Abstract_Type_Error, Fnd_Message)
public:
    typedef Fnd_Abstract_Type_Error_Texts::Kor_Error_Text_Numbers Text_Numbers;

    Text_Numbers Text = Fnd_Abstract_Type_Error_Texts::Kor_No_Text;
    const Code_Unit* Class;
    Fnd_Object* Domain = nullptr;
    Fnd_Object* Range = nullptr;
    long Pos = 0;
    Fnd_String Str;

    Fnd_Abstract_Type_Error();
    Fnd_Abstract_Type_Error(Text_Numbers Text, const long Pos);
    Fnd_Abstract_Type_Error(Text_Numbers Text, const Fnd_String& Str, const long Pos);
    Fnd_Abstract_Type_Error(Text_Numbers Text, const Code_Unit* Class, const Fnd_String& Str,
                            const long Pos);
    Fnd_Abstract_Type_Error(Text_Numbers Text, const Code_Unit* Class, Fnd_Object* Domain,
                            Fnd_Object* Range, const long Pos);
    Fnd_Abstract_Type_Error(const Fnd_Abstract_Type_Error&) = default;
    Fnd_Abstract_Type_Error& operator=(const Fnd_Abstract_Type_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 1; }
    long Text_Number() const override { return Text; }
    // "class", "str", "pos", "obj" and "domain" (Domain's type), "range" (Range's type).
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;
};

// A type checker refused an object: Checker is the checker's class, Legal the allowed
// type, Illegal the type found.
class Fnd_Type_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Type_Error, Fnd_Message)
public:
    const Code_Unit* Checker = nullptr;
    const Code_Unit* Legal = nullptr;
    const Code_Unit* Illegal = nullptr;

    Fnd_Type_Error() = default;
    Fnd_Type_Error(const Code_Unit* Checker, const Code_Unit* Legal, const Code_Unit* Illegal)
        : Checker(Checker), Legal(Legal), Illegal(Illegal) {}
    Fnd_Type_Error(const Fnd_Type_Error&) = default;
    Fnd_Type_Error& operator=(const Fnd_Type_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 4; }
    // "checker", "legal", "illegal": the type names.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};
