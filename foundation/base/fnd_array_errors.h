// Range and constraint faults of arrays, strings and narrowing conversions: messages
// of the subsystem "Abstract_Types" with plain number fields. Texts come from the
// catalog; the classes have no built-in template.
#pragma once

#include "foundation/base/fnd_message.h"

// A value outside a legal bound (Hst_To_Byte, Hst_To_Size_T).
class Fnd_Array_Constraint_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Array_Constraint_Error, Fnd_Message)
public:
    long Legal = 0;
    long Value = 0;

    Fnd_Array_Constraint_Error() = default;
    Fnd_Array_Constraint_Error(long Legal, long Value) : Legal(Legal), Value(Value) {}
    Fnd_Array_Constraint_Error(const Fnd_Array_Constraint_Error&) = default;
    Fnd_Array_Constraint_Error& operator=(const Fnd_Array_Constraint_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 2; }
    // "legal", "value": decimal.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};

// An index outside [Min, Max].
class Fnd_Array_Range_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Array_Range_Error, Fnd_Message)
public:
    long Min = 0;
    long Max = 0;
    long Value = 0;

    Fnd_Array_Range_Error() = default;
    Fnd_Array_Range_Error(long Min, long Max, long Value) : Min(Min), Max(Max), Value(Value) {}
    Fnd_Array_Range_Error(const Fnd_Array_Range_Error&) = default;
    Fnd_Array_Range_Error& operator=(const Fnd_Array_Range_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 3; }
    // "min", "max", "value": decimal.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
};
