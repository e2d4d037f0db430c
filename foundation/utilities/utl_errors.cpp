#include "foundation/utilities/utl_errors.h"

#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"

// ---- Utl_Text_Error

long Utl_Text_Error::Is_Equal(const Fnd_Object& Other) const {
    const Utl_Text_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->First == First && other->Second == Second;
}

const Fnd_String& Utl_Text_Error::Subsystem_Name() const { return Utl_Editor_Utilities::Name(); }

void Utl_Text_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                  Fnd_Message_Kinds& Kind) const {
    Text = Second.Is_Empty() ? First : Second;
    Kind = Fnd_Error_Msg;
}

// ---- Utl_Edutil_Error

long Utl_Edutil_Error::Is_Equal(const Fnd_Object& Other) const {
    const Utl_Edutil_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Number == Number && other->Str1 == Str1 &&
           other->Str2 == Str2 && other->Num == Num;
}

const Fnd_String& Utl_Edutil_Error::Subsystem_Name() const {
    return Utl_Editor_Utilities::Name();
}

Fnd_String Utl_Edutil_Error::Info(const Fnd_String& Name,
                                  const Fnd_Message_Detail_Level Level) const {
    if (Name == u"str1") return Str1;
    if (Name == u"str2") return Str2;
    if (Name == u"num") return Fnd_String_Library::To_String(Num);
    if (Level != Fnd_Detail_Default) return Fnd_String();
    Fnd_String all(u" Str1: ");
    all.Append(Str1);
    all.Append(u" Str2: ");
    all.Append(Str2);
    all.Append(u" Num: ");
    Fnd_String_Library::To_String(all, Num, 10, 0, 1);
    return all;
}

void Utl_Edutil_Error::Default_Text(const Fnd_Message_Detail_Level, Fnd_String& Text,
                                    Fnd_Message_Kinds& Kind) const {
    // No field is called "image": at level 2 the catch-all answer fills it.
    Text = u"<Message_Key>: image <image>";
    Kind = Fnd_Error_Msg;
}
