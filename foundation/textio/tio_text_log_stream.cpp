#include "foundation/textio/tio_text_log_stream.h"

#include "foundation/textio/tio_streams.h"

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
