#include "foundation/base/fnd_base_errors.h"

#include "foundation/base/fnd_subsystems.h"

// ---- Fnd_Message_Id_Error

long Fnd_Message_Id_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Message_Id_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Number == Number && other->Image1 == Image1 &&
           other->Image2 == Image2;
}

const Fnd_String& Fnd_Message_Id_Error::Subsystem_Name() const { return Fnd::Name(); }

Fnd_String Fnd_Message_Id_Error::Info(const Fnd_String& Name,
                                      const Fnd_Message_Detail_Level Level) const {
    if (Name == u"image" || Name == u"image1") return Image1;
    if (Name == u"image2") return Image2;
    if (Level == Fnd_Detail_Default) return Image1 + u";" + Image2;
    return Fnd_String();
}

void Fnd_Message_Id_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                        Fnd_Message_Kinds& Kind) const {
    if (Number == 3)
        Text = u"the message context has not been specified; check <image your session switch>";
    else
        Text = u"<Message_Key>: image1 <image1>; image2 <image2>";
    Kind = Fnd_Error_Msg;
}

// ---- Fnd_Clone_Error

long Fnd_Clone_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Clone_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Class == Class;
}

const Fnd_String& Fnd_Clone_Error::Subsystem_Name() const { return Fnd::Name(); }

Fnd_String Fnd_Clone_Error::Info(const Fnd_String& Name,
                                 const Fnd_Message_Detail_Level Level) const {
    if (Name == u"class" || Level == Fnd_Detail_Default) return Fnd_String(Class);
    return Fnd_String();
}

// ---- Fnd_Assertion_Message

Fnd_Assertion_Message::Fnd_Assertion_Message(const int Text)
    : Text(Text), Class(Fnd_Predefined_Class_Id::Null) {}

Fnd_Assertion_Message::Fnd_Assertion_Message(const int Text, const Fnd_String& Name)
    : Text(Text), Name(Name), Class(Fnd_Predefined_Class_Id::Null) {}

Fnd_Assertion_Message::Fnd_Assertion_Message(const int Text, const Code_Unit* Class)
    : Text(Text), Class(Class) {}

long Fnd_Assertion_Message::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Assertion_Message* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Text == Text && other->Name == Name &&
           other->Class == Class;
}

const Fnd_String& Fnd_Assertion_Message::Subsystem_Name() const { return Fnd::Name(); }

Fnd_String Fnd_Assertion_Message::Info(const Fnd_String& Name,
                                       const Fnd_Message_Detail_Level) const {
    if (Name == u"name") return this->Name;
    if (Name == u"class") return Fnd_String(Class);
    return Fnd_String();
}

// ---- Fnd_Vaultline_Error

long Fnd_Vaultline_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Vaultline_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Number == Number && other->Image == Image;
}

const Fnd_String& Fnd_Vaultline_Error::Subsystem_Name() const { return Fnd::Name(); }

Fnd_String Fnd_Vaultline_Error::Info(const Fnd_String& Name,
                                     const Fnd_Message_Detail_Level Level) const {
    if (Name == u"image" || Level == Fnd_Detail_Default) return Image;
    return Fnd_String();
}

void Fnd_Vaultline_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                       Fnd_Message_Kinds& Kind) const {
    Text = u"<Message_Key>: image <image>";
    Kind = Fnd_Error_Msg;
}
