#include "foundation/base/fnd_array_errors.h"

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"

// ---- Fnd_Array_Constraint_Error

long Fnd_Array_Constraint_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Array_Constraint_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Legal == Legal && other->Value == Value;
}

const Fnd_String& Fnd_Array_Constraint_Error::Subsystem_Name() const { return Kor::Name(); }

Fnd_String Fnd_Array_Constraint_Error::Info(const Fnd_String& Name,
                                            const Fnd_Message_Detail_Level) const {
    if (Name == u"legal") return Fnd_String_Library::To_String(Legal);
    if (Name == u"value") return Fnd_String_Library::To_String(Value);
    return Fnd_String();
}

// ---- Fnd_Array_Range_Error

long Fnd_Array_Range_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Array_Range_Error* other = Convert(&Other);
    if (other == this) return 1;
    return other != nullptr && other->Min == Min && other->Max == Max && other->Value == Value;
}

const Fnd_String& Fnd_Array_Range_Error::Subsystem_Name() const { return Kor::Name(); }

Fnd_String Fnd_Array_Range_Error::Info(const Fnd_String& Name,
                                       const Fnd_Message_Detail_Level) const {
    if (Name == u"min") return Fnd_String_Library::To_String(Min);
    if (Name == u"max") return Fnd_String_Library::To_String(Max);
    if (Name == u"value") return Fnd_String_Library::To_String(Value);
    return Fnd_String();
}
