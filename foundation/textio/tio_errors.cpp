#include "foundation/textio/tio_errors.h"

#include "foundation/base/fnd_subsystems.h"

Fnd_String Tio_Operation_Message::Info(const Fnd_String& Name,
                                       const Fnd_Message_Detail_Level) const {
    if (Name == u"kind") return Fnd_String(Fnd_Message_Kinds_Image(Kind));
    if (Name == u"prefix") return Prefix;
    if (Name == u"text") return Text;
    if (Name == u"message") return Prefix + u" " + Text;
    return Fnd_String();
}

const Fnd_String& Tio_Operation_Message::Subsystem_Name() const { return Tio::Name(); }

long Tio_Operation_Message::Same_Fields(const Tio_Operation_Message& Other) const {
    return Other.Kind == Kind && Other.Prefix == Prefix && Other.Text == Text &&
           Other.Value == Value;
}

long Tio_Cancel_Operation::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Cancel_Operation* other = Convert(&Other);
    return other != nullptr && (other == this || Same_Fields(*other));
}

long Tio_Abort_Operation::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Abort_Operation* other = Convert(&Other);
    return other != nullptr && (other == this || Same_Fields(*other));
}
