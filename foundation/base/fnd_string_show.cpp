// Stream output and the debug prints of strings, characters and substrings.
#include <ostream>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/streams/ztconsole.h"

namespace {

// " [address,length" with ",capacity" where it differs, ",text" where there is text, "]".
Fnd_String Show_Image(const void* Address, const Code_Unit* Text, long Length, long Capacity) {
    Fnd_String out(u" [");
    out.Append(Fnd_String_Library::To_String(Address, 16, 1));
    out.Append(u",");
    out.Append(Fnd_String_Library::To_String(Length));
    if (Capacity != Length) {
        out.Append(u",");
        out.Append(Fnd_String_Library::To_String(Capacity));
    }
    if (Length > 0) {
        out.Append(u",");
        out.Append_Data(Text, Length);
    }
    out.Append(u"]");
    return out;
}

void Print_On_Console(const Fnd_String& Text) { get_ztcout() << Text << std::flush; }

}  // namespace

std::basic_ostream<Code_Unit>& operator<<(std::basic_ostream<Code_Unit>& Stream,
                                          const Fnd_String& Text) {
    return Stream.write(Text.Data(), Text.Get_Length());
}

std::basic_ostream<Code_Unit>& operator<<(std::basic_ostream<Code_Unit>& Stream, Fnd_Char C) {
    if (Fnd_Ctype::Is_Printable(C)) {
        const Code_Unit quoted[] = {u'\'', C.Unit, u'\''};
        return Stream.write(quoted, 3);
    }
    return Stream << Fnd_String_Library::To_String(static_cast<long>(C.Unit));
}

Fnd_String Fnd_String::Show_Text() const {
    return Show_Image(this, Data(), Length, Buffer.Get_Allocated());
}

void Fnd_String::Show() const { Print_On_Console(Show_Text()); }

void Fnd_String::Show_State() { Print_On_Console(Show_State_Text()); }

// A view that reaches outside its string shows no text.
Fnd_String Fnd_Substring::Show_Text() const {
    const long length = Get_Length();
    const bool inside = String && First >= 0 && Last < String->Get_Length();
    return Show_Image(this, inside && length > 0 ? String->Data() + First : nullptr, length,
                      length);
}

void Fnd_Substring::Show() const { Print_On_Console(Show_Text()); }

Fnd_String Fnd_Sub_C_String::Show_Text() const {
    const long length = Get_Length();
    return Show_Image(this, Text && length > 0 ? Text + First : nullptr, length, length);
}

void Fnd_Sub_C_String::Show() const { Print_On_Console(Show_Text()); }
