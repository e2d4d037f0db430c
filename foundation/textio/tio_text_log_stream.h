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
    // A condition's error with its subordinates (and information), depth first, each
    // deeper level with a longer sub-prefix. Nothing for a condition without content.
    void Put_Condition(const Fnd_Condition& Condition, const Fnd_Message_Detail_Level Detail,
                       long With_Information);
    // A line from outside: a leading canonical prefix ("*** ") chooses the kind and is
    // dropped; otherwise Kind. Found gives the kind used.
    void Put_External(const Fnd_String& Text, Fnd_Message_Kinds Kind);
    void Put_External(const Fnd_String& Text, Fnd_Message_Kinds Kind, Fnd_Message_Kinds& Found);
    // Kind 0 takes the error's own kind; Level 0 is a full prefix; React lets the
    // policy react to what was printed.
    void Emit(const Fnd_Condition& Condition, long Kind, const Fnd_Message_Detail_Level Detail,
              long With_Information, long Level, long React);
    void Emit(const Fnd_Message& Message, const Fnd_Message_Detail_Level Detail, long Level,
              long React);
    // Plain output goes to the output stream without prefix.
    long Do_Put(const Fnd_String& Text, long New_Line) override;

private:
    Tio_Log_Policy Log_Policy;

    void Emit_Subordinate_And_Information(const Fnd_Condition& Condition, long Kind,
                                          const Fnd_Message_Detail_Level Detail,
                                          long With_Information, long Level, long React);

    // One line to every destination the policy gives Kind; None is 1 when it reached none.
    void Put(long Kind, long Line_Kind, const Fnd_String& Prefix, const Fnd_String& Line,
             long& None);
    // Text cut into lines, the first with a full prefix (which Prefix returns).
    void Put(long Kind, long Line_Kind, long Level, const Fnd_String& Text, Fnd_String& Prefix,
             long& None);
};
