#include "foundation/base/fnd_condition.h"

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_subsystems.h"

// ---- Fnd_Condition_Error

long Fnd_Condition_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Condition_Error* other = Convert(&Other);
    return other != nullptr && other->Number == Number;
}

const Fnd_String& Fnd_Condition_Error::Subsystem_Name() const { return Fnd::Name(); }

Fnd_Condition_Error* Fnd_Condition_Error::Success_Error() {
    static Fnd_Condition_Error* The_Success = new Fnd_Condition_Error(Success);
    return The_Success;
}

// ---- Fnd_Condition

Fnd_Message* Fnd_Condition::Clone_Message(const Fnd_Message& Message) {
    return Fnd_Message::Convert(Message.Clone());
}

Fnd_Condition::Fnd_Condition(const Fnd_Message& Message) : Error(Clone_Message(Message)) {}

Fnd_Condition::Fnd_Condition(const Fnd_Condition& Other)
    : Fnd_Object(), Error(Other.Error != nullptr ? Clone_Message(*Other.Error) : nullptr) {}

Fnd_Condition& Fnd_Condition::operator=(const Fnd_Condition& Other) {
    if (this == &Other) return *this;
    delete Error;
    Error = nullptr;
    if (Other.Error != nullptr) Error = Clone_Message(*Other.Error);
    return *this;
}

Fnd_Condition& Fnd_Condition::operator=(const Fnd_Message& Message) {
    // The message may be this condition's own error: clone before destroying.
    Fnd_Message* copy = Clone_Message(Message);
    delete Error;
    Error = copy;
    return *this;
}

Fnd_Condition::~Fnd_Condition() { delete Error; }

long Fnd_Condition::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Condition* other = Convert(&Other);
    if (other == nullptr) return 0;
    if (Error == nullptr || other->Error == nullptr) return Error == other->Error;
    return *Error == *other->Error;
}

Fnd_Message* Fnd_Condition::Get_Error() const {
    return Error != nullptr ? Error : Fnd_Condition_Error::Success_Error();
}

Fnd_Message_Kinds Fnd_Condition::Kind() const { return Get_Error()->Kind(); }

long Fnd_Condition::Is_Generic(const long For_Success, const long For_Composite) const {
    const Fnd_Condition_Error* generic = Fnd_Condition_Error::Convert(Error);
    if (generic == nullptr) return 0;
    if (generic->Number == Fnd_Condition_Error::Success) return For_Success;
    if (generic->Number == Fnd_Condition_Error::Composite) return For_Composite;
    return 0;
}

void Fnd_Condition::Clear() {
    delete Error;
    Error = nullptr;
}

void Fnd_Condition::Clear(const long With_Information) {
    Clear();
    if (With_Information) Clear_Info();
}

void Fnd_Condition::Clear_Info() {}

void Fnd_Condition::Set(Fnd_Message* Message) {
    Clear();
    Clear_Info();
    Error = Message;
}

void Fnd_Condition::Set_Error(const Fnd_Message& Message, const long Force) {
    if (!Force && Error == nullptr) return;
    Fnd_Message* copy = Clone_Message(Message);
    delete Error;
    Error = copy;
}

void Fnd_Condition::Set_Error(Fnd_Message* Message, const long Force) {
    if (!Force && Error == nullptr) {
        delete Message;
        return;
    }
    if (Message == Error) return;
    delete Error;
    Error = Message;
}

void Fnd_Condition::Push_Error(const Fnd_Message& Message, const long Force) {
    if (!Force && Error == nullptr) return;
    Push_Error(Clone_Message(Message), Force);
}

void Fnd_Condition::Push_Error(Fnd_Message* Message, const long Force) {
    if (!Force && Error == nullptr) {
        delete Message;
        return;
    }
    // Below a specific error the old content would become the only subordinate of the
    // new one; subordinate conditions come with the sequence classes.
    Fnd_Assert(Error == nullptr || Fnd_Condition_Error::Convert(Error) != nullptr,
               u"Fnd_Condition::Push_Error onto a specific error needs subordinate conditions");
    delete Error;
    Error = Message;
}

void Fnd_Condition::Transfer(Fnd_Condition& Target) {
    if (&Target == this) return;
    delete Target.Error;
    Target.Error = Error;
    Error = nullptr;
}

void Fnd_Condition::Image(Fnd_String& Out, const Fnd_Message_Detail_Level Level,
                          const long With_Kind, const long With_Key, const long With_Subordinate,
                          const long With_Information, const Fnd_String& Separator) const {
    Out.Make_Empty();
    Out.Ensure_Storage(128);
    Append(Out, Level, With_Kind, With_Key, With_Subordinate, With_Information, Separator);
}

Fnd_String Fnd_Condition::Image(const Fnd_Message_Detail_Level Level, const long With_Kind,
                                const long With_Key, const long With_Subordinate,
                                const long With_Information, const Fnd_String& Separator) const {
    Fnd_String out;
    Image(out, Level, With_Kind, With_Key, With_Subordinate, With_Information, Separator);
    return out;
}

void Fnd_Condition::Append(Fnd_String& Out, const Fnd_Message_Detail_Level Level,
                           const long With_Kind, const long With_Key, const long,
                           const long, const Fnd_String& Separator) const {
    // Generic errors have no text and add no separator.
    if (Error != nullptr && !Is_Generic(1, 1)) {
        if (!Out.Is_Empty()) Out.Append(Separator);
        Out.Append(Error->Image(Level, With_Kind, With_Key));
    }
}
