#include "foundation/textio/tio_log_policy.h"

#include <initializer_list>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/textio/tio_errors.h"
#include "foundation/textio/tio_streams.h"

namespace {

bool Standard_Output(long Kind) {
    return Kind != Fnd_Debug_Msg && (Kind < Fnd_Note1_Msg || Kind > Fnd_Result_Msg);
}

Tio_Log_Policy::Clock_Function Prefix_Clock = nullptr;

Hst_Timestamp Now() { return Prefix_Clock ? Prefix_Clock() : Hst_Timestamp::Current_Time(); }

bool Always_Output(long Kind) { return Kind == Fnd_Text_Msg || Kind == Fnd_Continuation_Msg; }

// The kinds of a filter word, as a test; null for a word outside the table.
using Kind_Test = bool (*)(long Kind);

bool In_Set(const long* Set, long Kind) {
    for (; *Set; ++Set)
        if (*Set == Kind) return true;
    return false;
}

Kind_Test Word_Kinds(const Fnd_String& Word) {
    static const struct {
        const Code_Unit* Word;
        Kind_Test Test;
    } words[] = {
        {u"all", [](long k) { return k != 3 && k != 18 && k != 19 && k != 20; }},
        {u"none", [](long) { return false; }},
        {u"errors", [](long k) { return In_Set(Tio_Log_Policy::Errors_Msgs_Set, k); }},
        {u"progress", [](long k) { return In_Set(Tio_Log_Policy::Progress_Msgs_Set, k); }},
        {u"warnings", [](long k) { return In_Set(Tio_Log_Policy::Warnings_Msgs_Set, k); }},
        {u"verbose", [](long k) { return k != 3 && k != 19 && k != 20; }},
        {u"very_verbose", [](long k) { return k != 3 && k != 20; }},
        {u"very_very_verbose", [](long k) { return k != 3; }},
    };
    for (const auto& entry : words)
        if (Word == entry.Word) return entry.Test;
    return nullptr;
}

}  // namespace

const long Tio_Log_Policy::Errors_Msgs_Set[] = {9, 15, 10, 7, 0};
const long Tio_Log_Policy::Warnings_Msgs_Set[] = {9, 15, 10, 7, 5, 8, 0};
const long Tio_Log_Policy::Progress_Msgs_Set[] = {9, 15, 10, 7, 5, 16, 0};

const Code_Unit* Tio_Log_Prefix_Position_Image(long Value) {
    static const Code_Unit* const images[] = {u"Omit", u"Left", u"Middle", u"Right"};
    if (Value < Omit || Value > Right) return u"<Unknown_Log_Prefix_Position>";
    return images[Value];
}

void Tio_Log_Policy::Set_Clock(Clock_Function Clock) { Prefix_Clock = Clock; }

Tio_Log_Policy::Tio_Log_Policy(long Standard, long Canonical)
    : Detail_Level(Standard ? Fnd_Detail_Normal : Fnd_Detail_Key),
      Symbols_Position(Standard ? Right : Omit),
      Date_Position(Omit),
      Time_Position(Standard ? Middle : Omit),
      Needs_Time(Standard != 0),
      Date_Format(Standard ? Locale_Date : No_Date),
      Time_Format(Standard ? Locale_Time : No_Time),
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
           other->Date_Position == Date_Position && other->Time_Position == Time_Position &&
           other->Needs_Time == Needs_Time && other->Date_Format == Date_Format &&
           other->Time_Format == Time_Format && other->Canonical_Prefix == Canonical_Prefix &&
           other->Indent_Count == Indent_Count;
}

void Tio_Log_Policy::Set_Filter(long Kind, long Error, long Output, long Dialog) {
    Fnd_Message_Kind::Check_Kind(Kind);
    To_Error[Kind] = Error != 0;
    To_Output[Kind] = Output != 0 || Kind == Fnd_Text_Msg || Kind == Fnd_Continuation_Msg;
    To_Dialog[Kind] = Dialog != 0;
}

void Tio_Log_Policy::Set_Error_Filter(long Kind, long Flag) {
    Fnd_Message_Kind::Check_Kind(Kind);
    To_Error[Kind] = Flag != 0;
}

void Tio_Log_Policy::Set_Output_Filter(long Kind, long Flag) {
    Fnd_Message_Kind::Check_Kind(Kind);
    To_Output[Kind] = Flag != 0 || Always_Output(Kind);
}

void Tio_Log_Policy::Set_Dialog_Filter(long Kind, long Flag) {
    Fnd_Message_Kind::Check_Kind(Kind);
    To_Dialog[Kind] = Flag != 0;
}

void Set_Message_Filter(Tio_Log_Policy& Policy, Tio_Log_Action_Id Action, const Fnd_String& Word,
                        long& Known) {
    const Kind_Test kinds = Word_Kinds(Word);
    Known = kinds != nullptr;
    if (!kinds) return;
    for (long kind = 0; kind < Tio_Log_Policy::Kinds; ++kind) {
        if (!kinds(kind)) continue;
        switch (Action) {
        case Action_Dialog: Policy.Set_Dialog_Filter(kind, 1); break;
        case Action_Error: Policy.Set_Error_Filter(kind, 1); break;
        case Action_Output: Policy.Set_Output_Filter(kind, 1); break;
        case Action_None: break;
        }
    }
}

long Tio_Log_Policy::Set_Filter(const Fnd_String& Word, long Reset, long Error, long Output,
                                long Dialog) {
    if (!Reset && !Error && !Output && !Dialog) return 1;
    if (Word_Kinds(Word) == nullptr) return 0;
    if (Reset) *this = Tio_Log_Policy(0, 0);
    long known = 1;
    if (Error) Set_Message_Filter(*this, Action_Error, Word, known);
    if (Output) Set_Message_Filter(*this, Action_Output, Word, known);
    if (Dialog) Set_Message_Filter(*this, Action_Dialog, Word, known);
    return known;
}

void Tio_Log_Policy::Set_Prefix(Tio_Log_Prefix_Position Symbols, Tio_Log_Prefix_Position Date,
                                Tio_Log_Prefix_Position Time, Hst_Date_Format Date_Format,
                                Hst_Time_Format Time_Format) {
    const bool distinct = (Symbols == Omit || (Symbols != Date && Symbols != Time)) &&
                          (Date == Omit || Date != Time);
    Fnd_Assert(distinct, Fnd_Assertion_Message(301), Fnd_String::Null);
    Symbols_Position = Symbols;
    Date_Position = Date;
    Time_Position = Time;
    this->Date_Format = Date_Format;
    this->Time_Format = Time_Format;
    Needs_Time = Date != Omit || Time != Omit;
}

void Tio_Log_Policy::Prefix(Tio_Log_Prefix_Position& Symbols, Tio_Log_Prefix_Position& Date,
                            Tio_Log_Prefix_Position& Time, Hst_Date_Format& Date_Format,
                            Hst_Time_Format& Time_Format) const {
    if (Canonical_Prefix) {
        Symbols = Left;
        Date = Omit;
        Time = Omit;
        Date_Format = No_Date;
        Time_Format = No_Time;
        return;
    }
    Symbols = Symbols_Position;
    Date = Date_Position;
    Time = Time_Position;
    Date_Format = this->Date_Format;
    Time_Format = this->Time_Format;
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

void Tio_Log_Policy::Append_Parts(long Kind, Fnd_String& Text) const {
    Text.Make_Empty();
    const Fnd_Message_Kinds kind = static_cast<Fnd_Message_Kinds>(Kind);
    if (Canonical_Prefix) {
        Text = Fnd_Message_Kind::Canonical_Kind_Image(kind);
        return;
    }
    for (Tio_Log_Prefix_Position position : {Left, Middle, Right}) {
        const Fnd_String* part = nullptr;
        if (Symbols_Position == position)
            part = &Fnd_Message_Kind::Kind_Image(kind);
        else if (Date_Position == position)
            part = &Date_Text;
        else if (Time_Position == position)
            part = &Time_Text;
        if (part == nullptr || part->Is_Empty()) continue;
        if (!Text.Is_Empty()) Text.Append(u" ");
        Text.Append(*part);
    }
}

void Tio_Log_Policy::Compose_Prefix(long Kind, Fnd_String& Text) {
    Fnd_Message_Kind::Check_Kind(Kind);
    if (Needs_Time && !Canonical_Prefix) {
        Last_Time = Now();
        Date_Text = Date_Position != Omit ? Last_Time.Image(Date_Format, No_Time, 1) : Fnd_String();
        Time_Text = Time_Position != Omit ? Last_Time.Image(No_Date, Time_Format, 1) : Fnd_String();
    }
    Append_Parts(Kind, Text);
}

void Tio_Log_Policy::Compose_Sub_Prefix(long Kind, long Level, Fnd_String& Text) {
    Fnd_Message_Kind::Check_Kind(Kind);
    Append_Parts(Kind, Text);
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

void Tio_Log_Policy::State_Image(Fnd_String& Text, const Code_Unit* Separator) const {
    const Fnd_String separator(Separator ? Separator : u"\n");
    Text = Fnd_String(400L, 1L);
    const auto kinds = [&](const Code_Unit* Title, const bool* Flags) {
        Text.Append(Title);
        bool first = true;
        for (long kind = 0; kind < Kinds; ++kind) {
            if (!Flags[kind]) continue;
            if (!first) Text.Append(u", ");
            Text.Append(Fnd_Message_Kinds_Image(kind));
            first = false;
        }
    };
    kinds(u"To_Output: ", To_Output);
    Text.Append(separator);
    kinds(u"To_Error: ", To_Error);
    Text.Append(separator);
    Text.Append(u"Level ");
    Text.Append(Fnd_String_Library::To_String(static_cast<long>(Detail_Level)));
    Text.Append(u"; Symbols ");
    Text.Append(Tio_Log_Prefix_Position_Image(Symbols_Position));
    Text.Append(u"; Date ");
    Text.Append(Tio_Log_Prefix_Position_Image(Date_Position));
    Text.Append(u"; Time ");
    Text.Append(Tio_Log_Prefix_Position_Image(Time_Position));
    Text.Append(u"; Canonical_Prefix ");
    Text.Append(Canonical_Prefix ? u"True" : u"False");
    Text.Append(u"; Date_Format ");
    Text.Append(Fnd_String_Library::To_String(static_cast<long>(Date_Format)));
    Text.Append(u"; Time_Format ");
    Text.Append(Fnd_String_Library::To_String(static_cast<long>(Time_Format)));
}
