#include "foundation/utilities/utl_tracing_utilities.h"

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_type_utilities.h"

void Utl_Tracing_Utilities::Newline(Fnd_String& Out) { Out.Append(u"\n"); }

void Utl_Tracing_Utilities::Indent(Fnd_String& Out, long Level) {
    if (prefix) Out.Append(prefix);
    for (long i = 0; i < Level; ++i) Out.Append(indent_spaces);
}

void Utl_Tracing_Utilities::Value(Fnd_String& Out, long Number, long Blank) {
    if (Blank) Out.Append(u" ");
    Fnd_String_Library::To_String(Out, Number, 10, 0, 1);
}

void Utl_Tracing_Utilities::Value(Fnd_String& Out, const void* Pointer, long Blank) {
    if (!Pointer) return Null_Value(Out, Blank);
    if (Blank) Out.Append(u" ");
    Fnd_String_Library::To_String(Out, Pointer, 16, 1, 1);
}

void Utl_Tracing_Utilities::Value(Fnd_String& Out, const Fnd_String& Text, long Quoted,
                                  long Blank) {
    if (Blank) Out.Append(u" ");
    if (Quoted) Out.Append(u"\"");
    Out.Append(Text);
    if (Quoted) Out.Append(u"\"");
}

void Utl_Tracing_Utilities::Aligned_Value(Fnd_String& Out, const Fnd_String& Text, long Width,
                                          bool Right, bool Quoted, bool Blank) {
    Fnd_String value;
    Value(value, Text, Quoted, 0);
    if (Blank) Out.Append(u" ");
    if (!Right) Out.Append(value);
    for (long pad = value.Get_Length(); pad < Width; ++pad) Out.Append(u" ");
    if (Right) Out.Append(value);
}

void Utl_Tracing_Utilities::Aligned_Value(Fnd_String& Out, long Number, long Width, bool Right,
                                          bool Blank) {
    Fnd_String value;
    Value(value, Number, 0);
    Aligned_Value(Out, value, Width, Right, false, Blank);
}

void Utl_Tracing_Utilities::Printable_Value(Fnd_String& Out, const Fnd_String& Text, bool Blank) {
    Fnd_String printable(Text);
    Fnd_String_Library::Make_Printable(printable, 0);
    if (Blank) Out.Append(u" ");
    Out.Append(printable);
}

void Utl_Tracing_Utilities::Null_Value(Fnd_String& Out, long Blank) {
    if (Blank) Out.Append(u" ");
    Out.Append(u"null");
}

void Utl_Tracing_Utilities::Field_Start(Fnd_String& Out, const char16_t* Name, long Level,
                                        bool New_Line) {
    Indent(Out, Level);
    Out.Append(Name);
    Out.Append(Utl_Type_Utilities::Arrow);
    if (New_Line) Newline(Out);
}

void Utl_Tracing_Utilities::Field(Fnd_String& Out, const char16_t* Name, const Fnd_String& Text,
                                  long Level, bool Quoted) {
    Field_Start(Out, Name, Level, false);
    Value(Out, Text, Quoted, 0);
    Newline(Out);
}

void Utl_Tracing_Utilities::Field(Fnd_String& Out, const char16_t* Name, const char16_t* Text,
                                  long Level) {
    Field_Start(Out, Name, Level, false);
    if (Text)
        Out.Append(Text);
    else
        Null_Value(Out, 0);
    Newline(Out);
}

void Utl_Tracing_Utilities::Field(Fnd_String& Out, const char16_t* Name, long Number, long Level) {
    Field_Start(Out, Name, Level, false);
    Value(Out, Number, 0);
    Newline(Out);
}

void Utl_Tracing_Utilities::Field(Fnd_String& Out, const char16_t* Name, const void* Pointer,
                                  long Level) {
    Field_Start(Out, Name, Level, false);
    Value(Out, Pointer, 0);
    Newline(Out);
}

void Utl_Tracing_Utilities::Bytes_Image(Fnd_String& Out, const unsigned char* Bytes, long Count,
                                        long Limit) {
    if (Count <= 0 || !Bytes) return Out.Make_Empty();
    for (long i = 0; i < Count; ++i) {
        if (Limit > 0 && i > Limit + 1) {
            Out.Append(u"...");
            return;
        }
        const unsigned char byte = Bytes[i];
        if (byte >= 32 && byte <= 126) {
            Out.Append(Fnd_Char(static_cast<Code_Unit>(byte)));
        } else {
            Out.Append(u"\\");
            Value(Out, static_cast<long>(byte), 0);
        }
    }
}

void Utl_Tracing_Utilities::Show_Bytes(const unsigned char* Bytes, long Count, long Limit) {
    Fnd_String text(u"bytes: ");
    Fnd_String image;
    Bytes_Image(image, Bytes, Count, Limit);
    text.Append(image);
    Utl_Tracing_Print(text);
}
