// The log stream: takes messages and lines of a kind, and sends each line to the error,
// output and dialog streams that its policy chooses, behind the kind's prefix.
#pragma once

#include "foundation/textio/tio_log_policy.h"
#include "foundation/textio/tio_text_output.h"

class Tio_Text_Log_Stream : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Log_Stream, Tio_Text_Output_Base)
public:
    explicit Tio_Text_Log_Stream(const Tio_Log_Policy& Policy);

    long Is_Equal(const Fnd_Object& Other) const override;

    Tio_Log_Policy Policy() const { return Log_Policy; }
    void Set_Policy(const Tio_Log_Policy& Policy) { Log_Policy = Policy; }

    // A message at Detail: a text message (kind 1) goes to the output stream as it is;
    // other kinds by the policy, one line per line of the text.
    void Put_Message(const Fnd_Message& Message, const Fnd_Message_Detail_Level Detail);
    // Text of Kind, one line per line.
    void Put_Line(Fnd_Message_Kinds Kind, const Fnd_String& Text);
    // Plain output goes to the output stream without prefix.
    long Do_Put(const Fnd_String& Text, long New_Line) override;

private:
    Tio_Log_Policy Log_Policy;

    // One line to every destination the policy gives Kind; None is 1 when it reached none.
    void Put(long Kind, long Line_Kind, const Fnd_String& Prefix, const Fnd_String& Line,
             long& None);
    // Text cut into lines, the first with a full prefix (which Prefix returns).
    void Put(long Kind, long Line_Kind, long Level, const Fnd_String& Text, Fnd_String& Prefix,
             long& None);
};
