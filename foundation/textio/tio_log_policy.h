// Tio_Log_Policy: what the log stream does with a line of each message kind: to which
// of the error, output and dialog streams it goes, which prefix it gets, the detail
// level for messages, and whether it sets off a cancel or abort message.
//
// The prefix is made of the kind's text; the date and time parts of a prefix come with
// the timestamp classes.
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_object.h"

class Fnd_String;

enum Tio_Log_Prefix_Position { Omit = 0, Left = 1, Middle = 2, Right = 3 };

enum Tio_Log_Reaction { Reaction_None = 0, Reaction_Cancel = 1, Reaction_Abort = 2 };

class Tio_Log_Policy : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Tio_Log_Policy)
public:
    static constexpr long Kinds = 22;

    // Standard: all kinds but debug and the three notes go to the output stream, at
    // detail 4, with the kind's text as prefix. Otherwise only text and continuation
    // lines go out, at detail 1, without prefix. Canonical: the prefix is the kind's
    // canonical one.
    Tio_Log_Policy(long Standard, long Canonical);
    Tio_Log_Policy(const Tio_Log_Policy&) = default;
    Tio_Log_Policy& operator=(const Tio_Log_Policy&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;

    // Kinds 1 and 14 always go to the output stream.
    void Set_Filter(long Kind, long Error, long Output, long Dialog);
    void Filter(long Kind, long& Error, long& Output, long& Dialog) const;
    // Whether a line of Kind goes anywhere.
    long Any_Filter(long Kind) const;

    void Set_Detail(Fnd_Message_Detail_Level Level) { Detail_Level = Level; }
    Fnd_Message_Detail_Level Detail() const { return Detail_Level; }
    void Set_Indent(long Count) { Indent_Count = Count; }
    long Indent() const { return Indent_Count; }

    // A reaction of 3 or more is assertion 302.
    void Set_Reaction(long Kind, long Reaction);
    Tio_Log_Reaction Reaction(long Kind) const;

    // The prefix of the first line of a message of Kind.
    void Compose_Prefix(long Kind, Fnd_String& Text);
    // The prefix of a further line, indented by Detail times Indent blanks below level 0.
    void Compose_Sub_Prefix(long Kind, long Level, Fnd_String& Text);
    // Makes the cancel or abort message that the kind's reaction asks for, and logs it.
    void React(long Kind, const Fnd_String& Prefix, const Fnd_String& Text, long Value) const;

    bool To_Error[Kinds];
    bool To_Output[Kinds];
    bool To_Dialog[Kinds];
    Tio_Log_Reaction Reactions[Kinds];
    Fnd_Message_Detail_Level Detail_Level;
    Tio_Log_Prefix_Position Symbols_Position;
    long Canonical_Prefix;
    long Indent_Count = 2;
};
