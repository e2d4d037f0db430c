#include "foundation/textio/tio_text_log_stream.h"

#include "foundation/base/fnd_collection.h"
#include "foundation/base/fnd_sequence.h"
#include "foundation/textio/tio_streams.h"

#include <initializer_list>

Tio_Text_Log_Stream::Tio_Text_Log_Stream(const Tio_Log_Policy& Policy) : Log_Policy(Policy) {}

long Tio_Text_Log_Stream::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Text_Log_Stream* other = Convert(&Other);
    return other != nullptr && (other == this || other->Log_Policy.Is_Equal(Log_Policy));
}

long Tio_Text_Log_Stream::Do_Put(const Fnd_String& Text, long New_Line) {
    return New_Line ? Tio_Out.Put_Line(Text) : Tio_Out.Put(Text);
}

void Tio_Text_Log_Stream::Put(long Kind, long Line_Kind, const Fnd_String& Prefix,
                              const Fnd_String& Line, long& None) {
    long error = 0, output = 0, dialog = 0;
    Log_Policy.Filter(Kind, error, output, dialog);
    const Fnd_Message_Kinds line_kind = static_cast<Fnd_Message_Kinds>(Line_Kind);
    None = 1;
    if (error) {
        Tio_Err.Get_Destination()->Do_Put_Message(line_kind, Prefix, Line);
        None = 0;
    }
    if (output) {
        Tio_Out.Get_Destination()->Do_Put_Message(line_kind, Prefix, Line);
        None = 0;
    }
    if (dialog) {
        Tio_Dialog.Get_Destination()->Do_Put_Message(line_kind, Prefix, Line);
        None = 0;
    }
}

void Tio_Text_Log_Stream::Put(long Kind, long Line_Kind, long Level, const Fnd_String& Text,
                              Fnd_String& Prefix, long& None) {
    Prefix.Make_Empty();
    None = 1;
    if (!Log_Policy.Any_Filter(Kind)) return;
    const bool text_lines = Line_Kind == Fnd_Text_Msg;
    long start = 0;
    for (long line_number = 0;; ++line_number) {
        long end = start;
        while (end < Text.Get_Length() && Text[end] != u'\n') ++end;
        const Fnd_String line = Text.Get(start, end - start);
        const long kind =
            (line_number == 0 || text_lines) ? Line_Kind : long{Fnd_Continuation_Msg};
        Fnd_String prefix;
        if (kind != Fnd_Text_Msg) {
            if (line_number == 0 && Level == 0)
                Log_Policy.Compose_Prefix(kind, prefix);
            else
                Log_Policy.Compose_Sub_Prefix(kind, Level, prefix);
        }
        if (line_number == 0) Prefix = prefix;
        Put(Kind, kind, prefix, line, None);
        if (None || end >= Text.Get_Length()) return;
        start = end + 1;
    }
}

void Tio_Text_Log_Stream::Put_Line(Fnd_Message_Kinds Kind, const Fnd_String& Text) {
    Fnd_String prefix;
    long none = 1;
    Put(Kind, Kind, 0, Text, prefix, none);
    Log_Policy.React(Kind, prefix, Text, none);
}

void Tio_Text_Log_Stream::Put_Message(const Fnd_Message& Message,
                                      const Fnd_Message_Detail_Level Detail) {
    Fnd_String raw;
    Fnd_Message_Kinds kind = Fnd_Unknown_Kind_Msg;
    Message.Raw_Image(raw, kind, Detail, 1);
    Fnd_String text;
    if (kind == Fnd_Text_Msg) {
        Message.Process_Raw_Image(raw, kind, Detail, 0, 1, text);
        Tio_Out.Put_Line(text);
        return;
    }
    if (!Log_Policy.Any_Filter(kind)) return;
    Message.Process_Raw_Image(raw, kind, Detail, 0, 1, text);
    Fnd_String prefix;
    long none = 1;
    Put(kind, kind, 0, text, prefix, none);
    Log_Policy.React(kind, prefix, text, none);
}

void Tio_Text_Log_Stream::Put_External(const Fnd_String& Text, Fnd_Message_Kinds Kind) {
    Fnd_Message_Kinds found = Kind;
    Put_External(Text, Kind, found);
}

void Tio_Text_Log_Stream::Put_External(const Fnd_String& Text, Fnd_Message_Kinds Kind,
                                       Fnd_Message_Kinds& Found) {
    Fnd_String rest;
    Fnd_Message_Kinds prefixed = Fnd_Unknown_Kind_Msg;
    Fnd_Message_Kind::Remove_Canonical_Prefix(Text, rest, prefixed);
    Found = prefixed != Fnd_Unknown_Kind_Msg ? prefixed : Kind;
    Put_Line(Found, prefixed != Fnd_Unknown_Kind_Msg ? rest : Text);
}

void Tio_Text_Log_Stream::Put_Condition(const Fnd_Condition& Condition,
                                        const Fnd_Message_Detail_Level Detail,
                                        long With_Information) {
    const bool has_information = With_Information && Condition.Get_Information() != nullptr;
    if (!Condition.Failed() && Condition.Get_Subordinate() == nullptr && !has_information) return;
    Emit(Condition, 0, Detail, With_Information, 0, 1);
}

void Tio_Text_Log_Stream::Emit(const Fnd_Condition& Condition, long Kind,
                               const Fnd_Message_Detail_Level Detail, long With_Information,
                               long Level, long React) {
    if (!Condition.Failed() || Condition.Is_Generic(1, 1)) {
        // No error of its own: the subordinates stand at the level of their parent.
        Emit_Subordinate_And_Information(Condition, Kind, Detail, With_Information, Level - 1, 1);
        return;
    }
    const Fnd_Message& error = *Condition.Get_Error();
    Fnd_String raw;
    Fnd_Message_Kinds message_kind = Fnd_Unknown_Kind_Msg;
    error.Raw_Image(raw, message_kind, Detail, 1);
    const long kind = Kind ? Kind : long{message_kind};
    Fnd_String text;
    if (Kind == 0 && message_kind == Fnd_Text_Msg) {
        error.Process_Raw_Image(raw, message_kind, Detail, 0, 1, text);
        Tio_Out.Put_Line(text);
        Emit_Subordinate_And_Information(Condition, kind, Detail, With_Information, Level, 0);
        return;
    }
    if (!Log_Policy.Any_Filter(kind)) return;
    error.Process_Raw_Image(raw, message_kind, Detail, 0, 1, text);
    Fnd_String prefix;
    long none = 1;
    Put(kind, message_kind, Level, text, prefix, none);
    Emit_Subordinate_And_Information(Condition, kind, Detail, With_Information, Level, 0);
    if (React) Log_Policy.React(kind, prefix, text, none);
}

void Tio_Text_Log_Stream::Emit_Subordinate_And_Information(const Fnd_Condition& Condition,
                                                           long Kind,
                                                           const Fnd_Message_Detail_Level Detail,
                                                           long With_Information, long Level,
                                                           long React) {
    for (const Fnd_Sequence* list : {Condition.Get_Subordinate(),
                                     With_Information ? Condition.Get_Information() : nullptr}) {
        if (!list) continue;
        for (Fnd_Iterator it(list); !it.Done(); it.Next())
            if (const Fnd_Condition* element = Fnd_Condition::Convert(it.Get(1)))
                Emit(*element, Kind, Detail, With_Information, Level + 1, React);
    }
}

void Tio_Text_Log_Stream::Emit(const Fnd_Message& Message, const Fnd_Message_Detail_Level Detail,
                               long Level, long React) {
    Fnd_String raw;
    Fnd_Message_Kinds kind = Fnd_Unknown_Kind_Msg;
    Message.Raw_Image(raw, kind, Detail, 1);
    Fnd_String text;
    if (kind == Fnd_Text_Msg) {
        Message.Process_Raw_Image(raw, kind, Detail, 0, 1, text);
        Tio_Out.Put_Line(text);
        return;
    }
    if (!Log_Policy.Any_Filter(kind)) return;
    Message.Process_Raw_Image(raw, kind, Detail, 0, 1, text);
    Fnd_String prefix;
    long none = 1;
    Put(kind, kind, Level, text, prefix, none);
    if (React) Log_Policy.React(kind, prefix, text, none);
}
