// Tio_Log_Policy: what the log stream does with a line of each message kind: to which
// of the error, output and dialog streams it goes, which prefix it gets, the detail
// level for messages, and whether it sets off a cancel or abort message.
//
// The prefix is made of the kind's text, the date and the time, each at the position
// the policy gives it ("12:01:02 ***" at the standard settings).
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_timestamp.h"

enum Tio_Log_Prefix_Position { Omit = 0, Left = 1, Middle = 2, Right = 3 };
// "Omit", "Left", "Middle", "Right"; "<Unknown_Log_Prefix_Position>" for other values.
const Code_Unit* Tio_Log_Prefix_Position_Image(long Value);

enum Tio_Log_Reaction { Reaction_None = 0, Reaction_Cancel = 1, Reaction_Abort = 2 };

// The array a filter word sets: 1 dialog, 2 error, 3 output; 0 changes nothing.
enum Tio_Log_Action_Id { Action_None = 0, Action_Dialog = 1, Action_Error = 2, Action_Output = 3 };

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

    // Kind sets of the filter words, each ended by 0.
    static const long Errors_Msgs_Set[];
    static const long Warnings_Msgs_Set[];
    static const long Progress_Msgs_Set[];

    // Kinds 1 and 14 always go to the output stream.
    void Set_Filter(long Kind, long Error, long Output, long Dialog);
    void Set_Error_Filter(long Kind, long Flag);
    void Set_Output_Filter(long Kind, long Flag);
    void Set_Dialog_Filter(long Kind, long Flag);
    // By word ("all", "none", "errors", "progress", "warnings", "verbose", "very_verbose",
    // "very_very_verbose") for each destination whose flag is set; words add up. With
    // Reset, a known word first puts the policy back to Tio_Log_Policy(0, 0). 0 for an
    // unknown word (which changes nothing); 1 when no flag is set.
    [[nodiscard]] long Set_Filter(const Fnd_String& Word, long Reset, long Error, long Output,
                                  long Dialog);
    void Filter(long Kind, long& Error, long& Output, long& Dialog) const;
    // Whether a line of Kind goes anywhere.
    long Any_Filter(long Kind) const;

    void Set_Detail(Fnd_Message_Detail_Level Level) { Detail_Level = Level; }
    Fnd_Message_Detail_Level Detail() const { return Detail_Level; }
    void Set_Indent(long Count) { Indent_Count = Count; }
    long Indent() const { return Indent_Count; }

    // Two positions other than Omit must differ (assertion 301).
    void Set_Prefix(Tio_Log_Prefix_Position Symbols, Tio_Log_Prefix_Position Date,
                    Tio_Log_Prefix_Position Time, Hst_Date_Format Date_Format,
                    Hst_Time_Format Time_Format);
    // With a canonical prefix: Left, Omit, Omit, 0, 0.
    void Prefix(Tio_Log_Prefix_Position& Symbols, Tio_Log_Prefix_Position& Date,
                Tio_Log_Prefix_Position& Time, Hst_Date_Format& Date_Format,
                Hst_Time_Format& Time_Format) const;

    // A reaction of 3 or more is assertion 302.
    void Set_Reaction(long Kind, long Reaction);
    Tio_Log_Reaction Reaction(long Kind) const;

    // The prefix of the first line of a message of Kind.
    void Compose_Prefix(long Kind, Fnd_String& Text);
    // The prefix of a further line, indented by Detail times Indent blanks below level 0.
    void Compose_Sub_Prefix(long Kind, long Level, Fnd_String& Text);
    // Makes the cancel or abort message that the kind's reaction asks for, and logs it.
    void React(long Kind, const Fnd_String& Prefix, const Fnd_String& Text, long Value) const;
    // The filters and settings in one text; Separator (null: a line feed) between parts.
    void State_Image(Fnd_String& Text, const Code_Unit* Separator) const;

    // The clock of the prefix; null restores the real one (tests pin it).
    using Clock_Function = Hst_Timestamp (*)();
    static void Set_Clock(Clock_Function Clock);

    bool To_Error[Kinds];
    bool To_Output[Kinds];
    bool To_Dialog[Kinds];
    Tio_Log_Reaction Reactions[Kinds];
    Fnd_Message_Detail_Level Detail_Level;
    Tio_Log_Prefix_Position Symbols_Position;
    Tio_Log_Prefix_Position Date_Position;
    Tio_Log_Prefix_Position Time_Position;
    bool Needs_Time;
    Hst_Date_Format Date_Format;
    Hst_Time_Format Time_Format;
    long Canonical_Prefix;
    int32_t Indent_Count = 2;
    Hst_Timestamp Last_Time;
    Fnd_String Date_Text;
    Fnd_String Time_Text;

private:
    void Append_Parts(long Kind, Fnd_String& Text) const;
};

// Sets the flag of Action's array for each kind of Word; Known becomes 0 for a word
// outside the table.
void Set_Message_Filter(Tio_Log_Policy& Policy, Tio_Log_Action_Id Action, const Fnd_String& Word,
                        long& Known);
