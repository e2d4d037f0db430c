#include "foundation/base/fnd_message_id.h"

#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"

namespace {

// Reads the next token as a number in the notation of base 0. A missing token is
// error 1 of the image, trailing characters error 2 with the token.
long Read_Number(Const_Fnd_String_Iterator& It, const Fnd_String& Image,
                 Fnd_Condition& Condition) {
    Fnd_String token;
    Fnd_String_Library::Get_Token(It, token);
    if (token.Is_Empty()) {
        Condition.Set_Error(Fnd_Message_Id_Error(1, Image), 1);
        return 0;
    }
    Const_Fnd_String_Iterator start(&token);
    Const_Fnd_String_Iterator end;
    const long value = Fnd_String_Library::To_Long(start, &end, 0);
    if (end.Position != token.Get_Length())
        Condition.Set_Error(Fnd_Message_Id_Error(2, Image, token), 1);
    return value;
}

}  // namespace

Fnd_Message_Id::Fnd_Message_Id(const Fnd_String& Subsystem, const long Class, const long Text)
    : Subsystem(Subsystem),
      Class_Number(static_cast<std::int16_t>(Class)),
      Text_Number(static_cast<std::int16_t>(Text)) {}

Fnd_Message_Id::Fnd_Message_Id(const Fnd_String& Image, Fnd_Condition& Condition) {
    Condition.Clear();
    Const_Fnd_String_Iterator it(&Image);
    Fnd_String_Library::Get_Token(it, Subsystem);
    Class_Number = static_cast<std::int16_t>(Read_Number(it, Image, Condition));
    Text_Number = static_cast<std::int16_t>(Read_Number(it, Image, Condition));
    Fnd_String rest;
    Fnd_String_Library::Get_Token(it, rest);
    if (!rest.Is_Empty() || Subsystem.Is_Empty())
        Condition.Set_Error(Fnd_Message_Id_Error(1, Image), 1);
}

long Fnd_Message_Id::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Message_Id* other = Convert(&Other);
    return other != nullptr && other->Subsystem == Subsystem &&
           other->Class_Number == Class_Number && other->Text_Number == Text_Number;
}

long Fnd_Message_Id::Hash() const {
    return Subsystem.Hash() ^ (static_cast<long>(Class_Number) * 65536) ^ Text_Number;
}

long Fnd_Message_Id::Is_Nil() const {
    return Subsystem.Is_Empty() && Class_Number == 0 && Text_Number == 0;
}

void Fnd_Message_Id::Make_Nil() {
    Subsystem.Make_Empty();
    Class_Number = 0;
    Text_Number = 0;
}

void Fnd_Message_Id::Image(Fnd_String& Out) const {
    Out = Subsystem;
    Out.Append(Fnd_Char(u' '));
    Fnd_String_Library::To_String(Out, Class_Number, 10, 0, 1);
    Out.Append(Fnd_Char(u' '));
    Fnd_String_Library::To_String(Out, Text_Number, 10, 0, 1);
}

Fnd_String Fnd_Message_Id::Image() const {
    Fnd_String out;
    Image(out);
    return out;
}

long Fnd_Message_Id::Message_Number(const long Text, const Fnd_Message_Detail_Level Level) {
    if (Level == Fnd_Detail_Alternate) return 2 * Text + 1;
    if (Level == Fnd_Detail_Normal) return 2 * Text + 2;
    return 0;
}

void Fnd_Message_Id::Catalog_Key(long& Set, long& Number,
                                 const Fnd_Message_Detail_Level Level) const {
    Set = Class_Number;
    Number = Message_Number(Text_Number, Level);
}
