#include "foundation/utilities/utl_file_string_map.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_file.h"
#include "foundation/utilities/utl_file_reader.h"
#include "foundation/utilities/utl_pathname.h"

namespace {

constexpr long Show_After_Io = 0x4000;

bool Starts_With(const Fnd_String& Text, const Fnd_String& Head) {
    return Text.Get_Length() >= Head.Get_Length() && Text.Compare(0, Head.Get_Length(), Head, 0) == 1;
}

bool Ends_With(const Fnd_String& Text, Code_Unit Unit) {
    return !Text.Is_Empty() && Text[Text.Get_Length() - 1] == Unit;
}

// The index of Unit at or behind From; -1 if there is none. Unlike Fnd_String::Find
// this looks at the whole length: a value may hold zero characters.
long Index_Of(const Fnd_String& Text, Code_Unit Unit, long From = 0) {
    for (long i = std::max(From, 0L); i < Text.Get_Length(); ++i)
        if (Text[i] == Unit) return i;
    return -1;
}

bool Has_Newline(const Fnd_String& Text) { return Index_Of(Text, u'\n') >= 0; }

// A value line that reads as the closing line "<name>}" or as a protected one
// ("<name>}...}") gets one more "}" on writing; reading takes it away.
bool Needs_Protection(const Fnd_String& Line, const Fnd_String& Closing) {
    return Starts_With(Line, Closing) && Ends_With(Line, Utl_File_String_Map::End_Suffix);
}

// The multi-line form of one field.
void Append_Multi_Line(Fnd_String& Text, const Fnd_String& Name, const Fnd_String& Value) {
    Fnd_String closing(Name);
    closing.Append(Utl_File_String_Map::End_Suffix);
    Text.Append(Utl_File_String_Map::Begin_Prefix);
    Text.Append(Name);
    Text.Append(u":\n");
    long start = 0;
    while (start < Value.Get_Length()) {
        long end = Index_Of(Value, u'\n', start);
        if (end < 0) end = Value.Get_Length();
        const Fnd_String line = Value.Get(start, end - start);
        Text.Append(line);
        if (Needs_Protection(line, closing)) Text.Append(Utl_File_String_Map::End_Suffix);
        Text.Append(Utl_File_String_Map::Newline);
        start = end + 1;
    }
    Text.Append(closing);
    Text.Append(Utl_File_String_Map::Newline);
}

}  // namespace

Utl_File_String_Map::Utl_File_String_Map(long Size, Utl_Domain_Case Case, bool Use_UTF8)
    : Utl_String_Map(Utl_Range_String, Size, 0, Case, nullptr), Use_UTF8(Use_UTF8) {
    if (my_trace.trace >= 2) Tio_Out.Put_Line(Fnd_String(u"Utl_File_String_Map: constructor"));
}

Utl_File_String_Map::~Utl_File_String_Map() {
    if (my_trace.trace >= 2) Tio_Out.Put_Line(Fnd_String(u"Utl_File_String_Map: destructor"));
}

bool Utl_File_String_Map::Is_Field_Name(const Fnd_String& Name) {
    if (Name.Is_Empty() || Name[0] == u'#' || Name[0] == Begin_Prefix || Name[0] == u'"')
        return false;
    for (long i = 0; i < Name.Get_Length(); ++i)
        if (Name[i] == u':' || Name[i] == 0 || Fnd_Ctype::Is_Space(Name[i])) return false;
    return true;
}

const Fnd_String& Utl_File_String_Map::File_Or_Default(const Fnd_String& File) const {
    return File.Is_Empty() ? Default_File : File;
}

void Utl_File_String_Map::Trace_Operation(const Code_Unit* What, const Fnd_String& File) const {
    if (my_trace.trace >= 1) {
        Fnd_String line(u"Utl_File_String_Map: ");
        line.Append(What);
        line.Append(File);
        Tio_Out.Put_Line(line);
    }
    if (my_trace.specific2_show & Show_After_Io)
        Tio_Out.Put_Line(Image(Fnd_String::Null, 1, 0, u"  ", u" ", 0));
}

void Utl_File_String_Map::Read(Fnd_Condition& Condition, const Fnd_String& File) {
    Read(Condition, Utl_Read_Comments, File);
}

void Utl_File_String_Map::Read(Fnd_Condition& Condition, long Reader_Options,
                               const Fnd_String& File) {
    Condition.Clear();
    Make_Empty();
    Read_Fields(Condition, Reader_Options, File, nullptr);
}

void Utl_File_String_Map::Bind_Field(Fnd_Condition& Condition, const Fnd_String& File,
                                     const Fnd_String& Name, const Fnd_String& Value,
                                     const Utl_String_Map* Selected) {
    if (Selected == nullptr || Selected->Is_Bound(Name)) {
        Bind(Name, Value);
        return;
    }
    if (!Is_Bound(Name)) Condition.Add_Sub(Utl_Edutil_Error(103, Name, File, 0), 0);
}

void Utl_File_String_Map::Read_Fields(Fnd_Condition& Condition, long Reader_Options,
                                      const Fnd_String& File_Name, const Utl_String_Map* Selected) {
    const Fnd_String file = File_Or_Default(File_Name);
    Hst_File_Info info;
    Fnd_Condition status;
    Hst_Filesystem::Get_Info(file, info, status);
    if (status.Failed()) {
        Condition = Utl_Edutil_Error(101, file, Fnd_String::Null, 0);
        return;
    }
    Fnd_String base;
    Utl_Pathname::Basename(file, base);
    if (!base.Is_Empty() && base[0] == u'.') return;  // hidden files are passed over
    if (!S_ISREG(info.Get_Status().st_mode)) {
        Condition = Utl_Text_Error(Fnd_String(u"the settings file ") + file +
                                   u" is not a regular file");
        return;
    }
    if (info.Length() > Max_File_Size) {
        Fnd_String text(u"the settings file ");
        text.Append(file);
        text.Append(u" is too large: ");
        Fnd_String_Library::To_String(text, static_cast<long>(info.Length()), 10, 0, 1);
        text.Append(u" bytes, where at most ");
        Fnd_String_Library::To_String(text, static_cast<long>(Max_File_Size), 10, 0, 1);
        text.Append(u" are read");
        Condition = Utl_Text_Error(text);
        return;
    }
    Trace_Operation(u"Read ", file);

    Utl_File_Reader reader(file, Reader_Options, Use_UTF8);
    if (reader.Is_Open_Failed()) {
        Condition = Utl_Text_Error(Fnd_String(u"cannot read the settings file ") + file);
        return;
    }
    Fnd_String token;
    Fnd_String ignored;
    while (reader.Next_Token(token, 1)) {
        const long line_number = reader.Get_Line_Number();
        const Fnd_String& line = reader.Get_Line();
        const bool quoted = reader.Is_Quoted();
        const bool multi = !quoted && token[0] == Begin_Prefix;
        Fnd_String name = multi ? token.Get(1, token.Get_Length() - 1) : token;
        long value_start = -1;
        const long colon = quoted ? -1 : Index_Of(name, u':');
        if (colon >= 0) {
            // "name:" or "name:value" in one word.
            value_start = reader.Get_Token_Start() + (multi ? 1 : 0) + colon + 1;
            name = name.Get(0, colon);
        } else {
            // "name   : value": the colon later on the line.
            const long later = Index_Of(line, u':', reader.Get_Position() + 1);
            if (later >= 0) value_start = later + 1;
        }
        if (value_start < 0 || name.Is_Empty()) {
            const Utl_Edutil_Error error(105, file, token, line_number);
            reader.Error_Message(error.Image(Fnd_Detail_Normal, 0, 0), 0);
            continue;
        }
        if (!multi) {
            Fnd_String value = line.Get(value_start, line.Get_Length() - value_start);
            value.TrimLeft();
            value.TrimRight();
            reader.Rest_Of_Line(ignored);
            Bind_Field(Condition, file, name, value, Selected);
            continue;
        }
        reader.Rest_Of_Line(ignored);  // the rest of the opening line is not used
        Fnd_String closing(name);
        closing.Append(End_Suffix);
        const long options = reader.Get_Options();
        reader.Set_Options(0);  // value lines are raw: comments and blanks stay
        Fnd_String value;
        bool closed = false;
        for (bool first = true; reader.Getline(); first = false) {
            Fnd_String value_line = reader.Get_Line();
            if (value_line == closing) {
                closed = true;
                break;
            }
            if (Needs_Protection(value_line, closing))
                value_line = value_line.Get(0, value_line.Get_Length() - 1);
            if (!first) value.Append(Newline);
            value.Append(value_line);
        }
        reader.Set_Options(options);
        if (closed) {
            reader.Rest_Of_Line(ignored);
        } else {
            const Utl_Edutil_Error error(104, file, name, line_number);
            reader.Error_Message(error.Image(Fnd_Detail_Normal, 0, 0), 0);
            Condition.Add_Sub(error, 0);
        }
        Bind_Field(Condition, file, name, value, Selected);
    }
    Trace_Operation(u"Read done ", file);
}

void Utl_File_String_Map::Text_Image(Fnd_String& Text) const {
    std::vector<Fnd_String> names;
    for (utl_string_map_data* node = first(); node != nullptr; next(node))
        names.push_back(node->domain);
    std::sort(names.begin(), names.end(), [](const Fnd_String& A, const Fnd_String& B) {
        return std::u16string_view(A.Data(), A.Get_Length()) <
               std::u16string_view(B.Data(), B.Get_Length());
    });
    Text.Make_Empty();
    Text.Ensure_Storage(5000);
    for (const Fnd_String& name : names) {
        Fnd_String* value = nullptr;
        if (!Get_Range(name, value) || value == nullptr || value->Is_Empty()) continue;
        if (Has_Newline(*value)) {
            Append_Multi_Line(Text, name, *value);
            continue;
        }
        Text.Append(name);
        Text.Append(u':');
        Text.Append(Blank);
        Text.Append(*value);
        Text.Append(Newline);
    }
}

void Utl_File_String_Map::Save(Fnd_Condition& Condition, const Fnd_String& File_Name) {
    Condition.Clear();
    const Fnd_String file = File_Or_Default(File_Name);
    for (utl_string_map_data* node = first(); node != nullptr; next(node)) {
        if (Is_Field_Name(node->domain)) continue;
        Condition = Utl_Text_Error(Fnd_String(u"the field name \"") + node->domain +
                                   u"\" cannot be written to a settings file");
        Condition.Push_Error(Utl_Edutil_Error(102, file, Fnd_String::Null, 0), 1);
        return;
    }
    Fnd_String text;
    Text_Image(text);
    Utl_Replace_Options options;
    options.Use_UTF8 = Use_UTF8;
    if (!Utl_File::Replace_Contents(file, text, options, Condition)) {
        Condition.Push_Error(Utl_Edutil_Error(102, file, Fnd_String::Null, 0), 1);
        return;
    }
    Trace_Operation(u"Save ", file);
}

void Utl_File_String_Map::Save_Only_Selected_Fields(Fnd_Condition& Condition,
                                                    const Utl_String_Map& Map,
                                                    const Fnd_String& File_Name,
                                                    const Utl_String_Map& Fields) {
    Condition.Clear();
    const Fnd_String file = File_Or_Default(File_Name);
    Make_Empty();
    for (utl_string_map_data* node = Map.first(); node != nullptr; Map.next(node)) {
        Fnd_String domain;
        Fnd_String range;
        Utl_String_Map::get_data(node, domain, range);
        Bind(domain, range);
    }
    Read_Fields(Condition, Utl_Read_Comments, file, &Fields);
    if (Condition.Failed()) {
        Tio_Log.Put_Condition(Condition, Fnd_Detail_Normal, 0);
        return;
    }
    Save(Condition, file);
}
