#include "foundation/utilities/utl_tracing_utilities.h"

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"

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

void Utl_Tracing_Utilities::Null_Value(Fnd_String& Out, long Blank) {
    if (Blank) Out.Append(u" ");
    Out.Append(u"null");
}
