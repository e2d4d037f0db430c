// The message of a failed assertion: a clone of the message that tells what went wrong
// (Reason, may be null) and a free Context text. It prints as an error even when its
// catalog record gives no kind.
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

class Fnd_Assertion_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Assertion_Error, Fnd_Message)
public:
    Fnd_Assertion_Error() = default;
    explicit Fnd_Assertion_Error(const Fnd_Message& Reason);
    explicit Fnd_Assertion_Error(const Fnd_String& Context);
    Fnd_Assertion_Error(const Fnd_Message& Reason, const Fnd_String& Context);
    Fnd_Assertion_Error(const Fnd_Assertion_Error& Other);
    Fnd_Assertion_Error& operator=(const Fnd_Assertion_Error& Other);
    ~Fnd_Assertion_Error() override;

    // Compares the Reason pointers.
    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 1; }
    // Kind 0 becomes 9 (an error).
    void Message_Kind(Fnd_Message_Kinds& Kind) const override;
    // For any name: the Reason's image at Level, or the Context when there is none.
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;

    const Fnd_Message* Get_Reason() const { return Reason; }
    const Fnd_String& Get_Context() const { return Context; }

private:
    Fnd_Message* Reason = nullptr;
    Fnd_String Context;
};
