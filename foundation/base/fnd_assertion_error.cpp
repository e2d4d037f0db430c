#include "foundation/base/fnd_assertion_error.h"

#include "foundation/base/fnd_subsystems.h"

namespace {

Fnd_Message* Clone_Of(const Fnd_Message* Message) {
    return Message != nullptr ? Fnd_Message::Convert(Message->Clone()) : nullptr;
}

}  // namespace

Fnd_Assertion_Error::Fnd_Assertion_Error(const Fnd_Message& Reason) : Reason(Clone_Of(&Reason)) {}

Fnd_Assertion_Error::Fnd_Assertion_Error(const Fnd_String& Context) : Context(Context) {}

Fnd_Assertion_Error::Fnd_Assertion_Error(const Fnd_Message& Reason, const Fnd_String& Context)
    : Reason(Clone_Of(&Reason)), Context(Context) {}

Fnd_Assertion_Error::Fnd_Assertion_Error(const Fnd_Assertion_Error& Other)
    : Fnd_Object(), Fnd_Message(Other), Reason(Clone_Of(Other.Reason)), Context(Other.Context) {}

Fnd_Assertion_Error& Fnd_Assertion_Error::operator=(const Fnd_Assertion_Error& Other) {
    if (this != &Other) {
        Fnd_Message* reason = Clone_Of(Other.Reason);
        delete Reason;
        Reason = reason;
        Context = Other.Context;
    }
    return *this;
}

Fnd_Assertion_Error::~Fnd_Assertion_Error() { delete Reason; }

long Fnd_Assertion_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Assertion_Error* other = Convert(&Other);
    return other != nullptr && other->Reason == Reason;
}

const Fnd_String& Fnd_Assertion_Error::Subsystem_Name() const { return Fnd::Name(); }

void Fnd_Assertion_Error::Message_Kind(Fnd_Message_Kinds& Kind) const {
    if (Kind == Fnd_Unknown_Kind_Msg) Kind = Fnd_Error_Msg;
}

Fnd_String Fnd_Assertion_Error::Info(const Fnd_String&,
                                     const Fnd_Message_Detail_Level Level) const {
    if (Reason == nullptr) return Context;
    return Reason->Image(Level, 0, 1);
}
