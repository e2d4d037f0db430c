#include "foundation/base/fnd_type_errors.h"

#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"

namespace {

Fnd_String Type_Of(const Fnd_Object* Object) {
    return Object != nullptr ? Fnd_String(Object->Object_Type()) : Fnd_String();
}

}  // namespace

// ---- Fnd_Abstract_Type_Error

Fnd_Abstract_Type_Error::Fnd_Abstract_Type_Error() : Class(Fnd_Predefined_Class_Id::Null) {}

Fnd_Abstract_Type_Error::Fnd_Abstract_Type_Error(Text_Numbers Text, const long Pos)
    : Text(Text), Class(Fnd_Predefined_Class_Id::Null), Pos(Pos) {}

Fnd_Abstract_Type_Error::Fnd_Abstract_Type_Error(Text_Numbers Text, const Fnd_String& Str,
                                                 const long Pos)
    : Text(Text), Class(Fnd_Predefined_Class_Id::Null), Pos(Pos), Str(Str) {}

Fnd_Abstract_Type_Error::Fnd_Abstract_Type_Error(Text_Numbers Text, const Code_Unit* Class,
                                                 const Fnd_String& Str, const long Pos)
    : Text(Text), Class(Class), Pos(Pos), Str(Str) {}

Fnd_Abstract_Type_Error::Fnd_Abstract_Type_Error(Text_Numbers Text, const Code_Unit* Class,
                                                 Fnd_Object* Domain, Fnd_Object* Range,
                                                 const long Pos)
    : Text(Text), Class(Class), Domain(Domain), Range(Range), Pos(Pos) {}

long Fnd_Abstract_Type_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Abstract_Type_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Text == Text && other->Class == Class &&
           other->Domain == Domain && other->Range == Range && other->Pos == Pos &&
           other->Str == Str;
}

const Fnd_String& Fnd_Abstract_Type_Error::Subsystem_Name() const { return Kor::Name(); }

Fnd_String Fnd_Abstract_Type_Error::Info(const Fnd_String& Name,
                                         const Fnd_Message_Detail_Level) const {
    if (Name == u"class") return Fnd_String(Class);
    if (Name == u"str") return Str;
    if (Name == u"pos") return Fnd_String_Library::To_String(Pos);
    if (Name == u"obj" || Name == u"domain") return Type_Of(Domain);
    if (Name == u"range") return Type_Of(Range);
    return Fnd_String();
}

void Fnd_Abstract_Type_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                           Fnd_Message_Kinds& Kind) const {
    Text = u"<Message_Key>: class <class>; domain <domain>; range <range>; str <str>; pos <pos>";
    Kind = Fnd_Error_Msg;
}

// ---- Fnd_Type_Error

long Fnd_Type_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Type_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Checker == Checker && other->Legal == Legal &&
           other->Illegal == Illegal;
}

const Fnd_String& Fnd_Type_Error::Subsystem_Name() const { return Kor::Name(); }

Fnd_String Fnd_Type_Error::Info(const Fnd_String& Name, const Fnd_Message_Detail_Level) const {
    if (Name == u"checker") return Fnd_String(Checker);
    if (Name == u"legal") return Fnd_String(Legal);
    if (Name == u"illegal") return Fnd_String(Illegal);
    return Fnd_String();
}
