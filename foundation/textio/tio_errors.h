// The messages of a log reaction, subsystem "Input_Output": a line whose kind asks to
// cancel or to abort the operation in progress, carried as kind, prefix, text and value.
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

// The common fields and placeholders of the two reactions.
class Tio_Operation_Message : public Fnd_Message {
public:
    Fnd_Message_Kinds Kind;
    Fnd_String Prefix;
    Fnd_String Text;
    long Value;

    // "kind" (the kind's name), "prefix", "text", "message" (prefix, blank, text).
    Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const override;
    const Fnd_String& Subsystem_Name() const override;

protected:
    Tio_Operation_Message(const Fnd_Message_Kinds Kind, const Fnd_String& Prefix,
                          const Fnd_String& Text, const long Value)
        : Kind(Kind), Prefix(Prefix), Text(Text), Value(Value) {}
    Tio_Operation_Message(const Tio_Operation_Message&) = default;
    Tio_Operation_Message& operator=(const Tio_Operation_Message&) = default;

    long Same_Fields(const Tio_Operation_Message& Other) const;
};

class Tio_Cancel_Operation : public Tio_Operation_Message {
    FND_OBJECT_MEMBERS(Tio_Cancel_Operation, Fnd_Message)
public:
    Tio_Cancel_Operation(const Fnd_Message_Kinds Kind, const Fnd_String& Prefix,
                         const Fnd_String& Text, const long Value)
        : Tio_Operation_Message(Kind, Prefix, Text, Value) {}
    Tio_Cancel_Operation(const Tio_Cancel_Operation&) = default;
    Tio_Cancel_Operation& operator=(const Tio_Cancel_Operation&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    long Class_Number() const override { return 1; }
};

class Tio_Abort_Operation : public Tio_Operation_Message {
    FND_OBJECT_MEMBERS(Tio_Abort_Operation, Fnd_Message)
public:
    Tio_Abort_Operation(const Fnd_Message_Kinds Kind, const Fnd_String& Prefix,
                        const Fnd_String& Text, const long Value)
        : Tio_Operation_Message(Kind, Prefix, Text, Value) {}
    Tio_Abort_Operation(const Tio_Abort_Operation&) = default;
    Tio_Abort_Operation& operator=(const Tio_Abort_Operation&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    long Class_Number() const override { return 2; }
};
