#include "foundation/textio/tio_log_policy.h"

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"
#include "foundation/textio/tio_errors.h"
#include "foundation/textio/tio_streams.h"

namespace {

bool Standard_Output(long Kind) {
    return Kind != Fnd_Debug_Msg && (Kind < Fnd_Note1_Msg || Kind > Fnd_Result_Msg);
}

}  // namespace

Tio_Log_Policy::Tio_Log_Policy(long Standard, long Canonical)
    : Detail_Level(Standard ? Fnd_Detail_Normal : Fnd_Detail_Key),
      Symbols_Position(Standard ? Right : Omit),
      Canonical_Prefix(Canonical) {
    for (long kind = 0; kind < Kinds; ++kind) {
        To_Error[kind] = false;
        To_Dialog[kind] = false;
        Reactions[kind] = Reaction_None;
        To_Output[kind] = Standard ? Standard_Output(kind)
                                   : (kind == Fnd_Unknown_Kind_Msg || kind == Fnd_Text_Msg ||
                                      kind == Fnd_Continuation_Msg);
    }
}

long Tio_Log_Policy::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Log_Policy* other = Convert(&Other);
    if (other == nullptr) return 0;
    for (long kind = 0; kind < Kinds; ++kind)
        if (other->To_Error[kind] != To_Error[kind] || other->To_Output[kind] != To_Output[kind] ||
            other->To_Dialog[kind] != To_Dialog[kind] || other->Reactions[kind] != Reactions[kind])
            return 0;
    return other->Detail_Level == Detail_Level && other->Symbols_Position == Symbols_Position &&
           other->Canonical_Prefix == Canonical_Prefix && other->Indent_Count == Indent_Count;
}

void Tio_Log_Policy::Set_Filter(long Kind, long Error, long Output, long Dialog) {
    Fnd_Message_Kind::Check_Kind(Kind);
    To_Error[Kind] = Error != 0;
    To_Output[Kind] = Output != 0 || Kind == Fnd_Text_Msg || Kind == Fnd_Continuation_Msg;
    To_Dialog[Kind] = Dialog != 0;
}

void Tio_Log_Policy::Filter(long Kind, long& Error, long& Output, long& Dialog) const {
    Fnd_Message_Kind::Check_Kind(Kind);
    Error = To_Error[Kind];
    Output = To_Output[Kind];
    Dialog = To_Dialog[Kind];
}

long Tio_Log_Policy::Any_Filter(long Kind) const {
    Fnd_Message_Kind::Check_Kind(Kind);
    return To_Error[Kind] || To_Output[Kind] || To_Dialog[Kind];
}

void Tio_Log_Policy::Set_Reaction(long Kind, long Reaction) {
    Fnd_Message_Kind::Check_Kind(Kind);
    Fnd_Assert(Reaction >= Reaction_None && Reaction <= Reaction_Abort,
               Fnd_Assertion_Message(302), Fnd_String::Null);
    Reactions[Kind] = static_cast<Tio_Log_Reaction>(Reaction);
}

Tio_Log_Reaction Tio_Log_Policy::Reaction(long Kind) const {
    Fnd_Message_Kind::Check_Kind(Kind);
    return Reactions[Kind];
}

void Tio_Log_Policy::Compose_Prefix(long Kind, Fnd_String& Text) {
    Fnd_Message_Kind::Check_Kind(Kind);
    Text.Make_Empty();
    const Fnd_Message_Kinds kind = static_cast<Fnd_Message_Kinds>(Kind);
    if (Canonical_Prefix)
        Text = Fnd_Message_Kind::Canonical_Kind_Image(kind);
    else if (Symbols_Position != Omit)
        Text = Fnd_Message_Kind::Kind_Image(kind);
}

void Tio_Log_Policy::Compose_Sub_Prefix(long Kind, long Level, Fnd_String& Text) {
    Compose_Prefix(Kind, Text);
    if (Level > 0) Text.Append(Fnd_String(static_cast<unsigned short>(u' '),
                                          static_cast<int>(Detail_Level * Indent_Count)));
}

void Tio_Log_Policy::React(long Kind, const Fnd_String& Prefix, const Fnd_String& Text,
                           long Value) const {
    // Logging a reaction's message may react again: one level only.
    static bool Reacting = false;
    if (Reacting) return;
    Reacting = true;
    const Fnd_Message_Kinds kind = static_cast<Fnd_Message_Kinds>(Kind);
    switch (Reaction(Kind)) {
        case Reaction_None:
            break;
        case Reaction_Cancel:
            Tio_Log.Put_Message(Tio_Cancel_Operation(kind, Prefix, Text, Value),
                                Tio_Log.Policy().Detail());
            break;
        case Reaction_Abort:
            Tio_Log.Put_Message(Tio_Abort_Operation(kind, Prefix, Text, Value),
                                Tio_Log.Policy().Detail());
            break;
    }
    Reacting = false;
}
