#include "foundation/utilities/utl_string_utilities.h"

#include <vector>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_iterator.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_errors.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_name_matcher.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_map.h"

namespace {

long Is_Command_Separator(Code_Unit C) { return C == u' ' || C == u'\t' || C == u'\n'; }

long In_Set(Code_Unit C, const Fnd_String& Set) {
    for (long i = 0; i < Set.Get_Length(); ++i)
        if (Set.Data()[i] == C) return 1;
    return 0;
}

long Terminated_Length(const Code_Unit* Text) {
    long length = 0;
    while (Text[length]) ++length;
    return length;
}

long Starts_At(const Fnd_String& What, const Fnd_String& Text, long At) {
    if (At < 0 || At + What.Get_Length() > Text.Get_Length()) return 0;
    for (long i = 0; i < What.Get_Length(); ++i)
        if (Text.Data()[At + i] != What.Data()[i]) return 0;
    return 1;
}

// A token of Text behind Pos, cut where Is_Separator holds (see Get_Token).
template <class Separator_Test>
void Cut_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos, long Keep_Tail,
               Separator_Test Is_Separator) {
    const long start = Pos + 1 < 0 ? 0 : Pos + 1;
    for (long i = start; i < Text.Get_Length(); ++i) {
        if (Is_Separator(Text.Data()[i])) {
            Pos = i;
            Text.Get(Out, start, i - start);
            return;
        }
    }
    Pos = Text.Get_Length();
    if (Keep_Tail && start < Text.Get_Length())
        Text.Get(Out, start, Text.Get_Length() - start);
    else
        Out.Make_Empty();
}

// The number at In[Pos...] read with To_Long in base 0; Pos moves behind it. Consumed
// is 0 when there was no number.
long Read_Number(const Fnd_String& In, long& Pos, long& Consumed) {
    Const_Fnd_String_Iterator from(&In, Pos);
    Const_Fnd_String_Iterator end(&In, Pos);
    const long value = Fnd_String_Library::To_Long(from, &end, 0);
    Consumed = end.Position - Pos;
    Pos = end.Position;
    return value;
}

// Tio_Out, or the console's output side.
Tio_Text_Output_Base& Listing_Stream(long To_Console) {
    static Tio_Text_Cout* const console = new Tio_Text_Cout;
    if (To_Console) return *console;
    return Tio_Out;
}

std::vector<Utl_String_Utilities::Setenv_Callback>& Setenv_Callbacks() {
    static std::vector<Utl_String_Utilities::Setenv_Callback>* const callbacks =
        new std::vector<Utl_String_Utilities::Setenv_Callback>;
    return *callbacks;
}

}  // namespace

// ---- Locating

long Utl_String_Utilities::Locate(Code_Unit What, const Fnd_String& Text, long From) {
    for (long i = From < 0 ? 0 : From; i < Text.Get_Length(); ++i)
        if (Text.Data()[i] == What) return i;
    return -1;
}

long Utl_String_Utilities::Locate(const Fnd_String& What, const Fnd_String& Text, long From) {
    if (What.Is_Empty()) return -1;
    for (long i = From < 0 ? 0 : From; i + What.Get_Length() <= Text.Get_Length(); ++i)
        if (Starts_At(What, Text, i)) return i;
    return -1;
}

long Utl_String_Utilities::Locate_One_Of(const Fnd_String& Set, const Fnd_String& Text,
                                         long From) {
    for (long i = From < 0 ? 0 : From; i < Text.Get_Length(); ++i)
        if (In_Set(Text.Data()[i], Set)) return i;
    return -1;
}

long Utl_String_Utilities::Reverse_Locate(Code_Unit What, const Fnd_String& Text, long From) {
    if (From < 0 || From >= Text.Get_Length()) From = Text.Get_Length() - 1;
    for (long i = From; i >= 0; --i)
        if (Text.Data()[i] == What) return i;
    return -1;
}

long Utl_String_Utilities::Reverse_Locate(const Fnd_String& What, const Fnd_String& Text,
                                          long From) {
    if (What.Is_Empty()) return -1;
    if (From < 0 || From >= Text.Get_Length()) From = Text.Get_Length() - 1;
    for (long i = From; i >= 0; --i)
        if (Starts_At(What, Text, i)) return i;
    return -1;
}

long Utl_String_Utilities::Reverse_Locate_One_Of(const Fnd_String& Set, const Fnd_String& Text,
                                                 long From) {
    if (From < 0 || From >= Text.Get_Length()) From = Text.Get_Length() - 1;
    for (long i = From; i >= 0; --i)
        if (In_Set(Text.Data()[i], Set)) return i;
    return -1;
}

long Utl_String_Utilities::Count(Code_Unit What, const Fnd_String& Text, long From) {
    long count = 0;
    for (long i = From < 0 ? 0 : From; i < Text.Get_Length(); ++i)
        if (Text.Data()[i] == What) ++count;
    return count;
}

void Utl_String_Utilities::Convert_Offset(const Fnd_String& Text, long Offset, long& Line,
                                          long& Column) {
    Line = 1;
    Column = 0;
    if (Offset < 0 || Text.Is_Empty()) return;
    const long last = Offset < Text.Get_Length() ? Offset : Text.Get_Length() - 1;
    for (long i = 0; i <= last; ++i) {
        if (Text.Data()[i] == u'\n') {
            ++Line;
            Column = 0;
        } else {
            ++Column;
        }
    }
}

// ---- Tokens by separator

void Utl_String_Utilities::Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                                     Code_Unit Separator, long Keep_Tail) {
    Cut_Token(Out, Text, Pos, Keep_Tail, [Separator](Code_Unit C) { return C == Separator; });
}

void Utl_String_Utilities::Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos) {
    Cut_Token(Out, Text, Pos, 1, [](Code_Unit C) { return Fnd_Ctype::Is_Space(C) != 0; });
}

void Utl_String_Utilities::Next_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                                      const Fnd_String& Separators, long Keep_Tail) {
    Cut_Token(Out, Text, Pos, Keep_Tail,
              [&Separators](Code_Unit C) { return In_Set(C, Separators) != 0; });
}

void Utl_String_Utilities::Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                                     Code_Unit First, Code_Unit Second, long Keep_Tail) {
    Cut_Token(Out, Text, Pos, Keep_Tail,
              [First, Second](Code_Unit C) { return C == First || C == Second; });
}

void Utl_String_Utilities::Skip_Whitespace(const Fnd_String& Text, long& Pos) {
    long i = Pos + 1 < 0 ? 0 : Pos + 1;
    while (i < Text.Get_Length() && Fnd_Ctype::Is_Space(Text.Data()[i])) ++i;
    Pos = i < Text.Get_Length() ? i - 1 : Text.Get_Length();
}

// ---- Tokens of a command line

long Utl_String_Utilities::Skip_Spaces(const Code_Unit* Text, long& Pos) {
    const long length = Terminated_Length(Text);
    long i = Pos + 1 < 0 ? 0 : Pos + 1;
    while (i < length && Is_Command_Separator(Text[i])) ++i;
    if (i >= length) {
        Pos = length;
        return 0;
    }
    Pos = i - 1;
    return 1;
}

long Utl_String_Utilities::Skip_Spaces(const Fnd_String& Text, long& Pos) {
    if (Pos >= Text.Get_Length()) return 0;
    return Skip_Spaces(Text.Data(), Pos);
}

long Utl_String_Utilities::find_token(long& Start, long& Pos, long& Quoted, long& Doubled,
                                      const Code_Unit* Text) {
    const long length = Terminated_Length(Text);
    long i = Pos + 1 < 0 ? 0 : Pos + 1;
    while (i < length && Is_Command_Separator(Text[i])) ++i;
    if (i >= length) {
        Pos = length - 1;
        return 0;
    }
    Start = i;
    Doubled = 0;
    if (Text[i] != u'"') {
        Quoted = 0;
        while (i + 1 < length && !Is_Command_Separator(Text[i + 1])) ++i;
        Pos = i;
        return 1;
    }
    Quoted = 1;
    for (long j = i + 1; j < length; ++j) {
        if (Text[j] != u'"') continue;
        if (j + 1 < length && Text[j + 1] == u'"') {
            Doubled = 1;
            ++j;
            continue;
        }
        Pos = j;
        return 1;
    }
    Pos = length - 1;  // no closing quote: the rest is the token, taken as it stands
    Quoted = 0;
    return 1;
}

long Utl_String_Utilities::Token_Find(long& Start, long& Pos, const Fnd_String& Text) {
    long quoted = 0;
    return Token_Find(Start, Pos, quoted, Text);
}

long Utl_String_Utilities::Token_Find(long& Start, long& Pos, long& Quoted,
                                      const Fnd_String& Text) {
    long doubled = 0;
    return find_token(Start, Pos, Quoted, doubled, Text.Data());
}

long Utl_String_Utilities::Token_Get(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                                     long& Quoted, long Strip) {
    long start = 0;
    long doubled = 0;
    Quoted = 0;
    const long found = find_token(start, Pos, Quoted, doubled, Text.Data());
    if (!found) {
        Out.Make_Empty();
        return 0;
    }
    if (Quoted && Strip) {
        Text.Get(Out, start + 1, Pos - start - 1);
        if (doubled) Fnd_String_Library::Make_Single_Quoted(Out, Fnd_Char(u'"'));
    } else {
        Text.Get(Out, start, Pos - start + 1);
    }
    return found;
}

long Utl_String_Utilities::Token_Get(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                                     long Strip) {
    long quoted = 0;
    return Token_Get(Out, Text, Pos, quoted, Strip);
}

long Utl_String_Utilities::Token_Get(Fnd_String& Out, const Code_Unit* Text, long& Pos,
                                     long Strip) {
    return Token_Get(Out, Fnd_String(Text), Pos, Strip);
}

void Utl_String_Utilities::Token_Extract(Fnd_String& Out, const Fnd_String& Text, long From,
                                         long To, long Strip) {
    const long first = From + Strip < 0 ? 0 : From + Strip;
    const long last = To - Strip < Text.Get_Length() ? To - Strip : Text.Get_Length() - 1;
    if (last < first) {
        Out.Make_Empty();
        return;
    }
    Text.Get(Out, first, last - first + 1);
}

// ---- The serial form

void Utl_String_Utilities::Append(Fnd_String& Out, const Fnd_String& Text) {
    Fnd_String_Library::To_String(Out, Text.Get_Length(), 10, 0, 1);
    Out.Append(u" ");
    Out.Append(Text);
}

void Utl_String_Utilities::Append(Fnd_String& Out, const Code_Unit* Text) {
    Append(Out, Fnd_String(Text));
}

void Utl_String_Utilities::Append(Fnd_String& Out, long Number) {
    Fnd_String_Library::To_String(Out, Number, 10, 0, 1);
    Out.Append(u" ");
}

void Utl_String_Utilities::Append(Fnd_String& Out, const Utl_String_Array& Array) {
    Append(Out, Array.Get_Count());
    for (long i = 0; i < Array.Get_Count(); ++i)
        Append(Out, Array[i] ? *Array[i] : Fnd_String::Null);
}

void Utl_String_Utilities::Get(const Fnd_String& In, long& Pos, Fnd_String& Out) {
    Out.Make_Empty();
    if (Pos < 0) Pos = 0;
    if (Pos >= In.Get_Length()) return;
    long consumed = 0;
    long length = Read_Number(In, Pos, consumed);
    if (Pos < In.Get_Length() && In.Data()[Pos] == u' ') ++Pos;
    const long left = In.Get_Length() - Pos;
    if (length < 0) length = 0;
    if (length > left) length = left;  // damaged text: take what there is
    In.Get(Out, Pos, length);
    Pos += length;
}

void Utl_String_Utilities::Get(const Fnd_String& In, long& Pos, long& Out) {
    Out = 0;
    if (Pos < 0) Pos = 0;
    if (Pos >= In.Get_Length()) return;
    long consumed = 0;
    Out = Read_Number(In, Pos, consumed);
    if (Pos < In.Get_Length() && In.Data()[Pos] == u' ') ++Pos;
}

void Utl_String_Utilities::Get(const Fnd_String& In, long& Pos, Utl_String_Array& Out) {
    Out.Make_Empty();
    long count = 0;
    Get(In, Pos, count);
    Fnd_String element;
    // Each element takes at least two characters, so a count beyond the text is damage.
    for (long i = 0; i < count && Pos < In.Get_Length(); ++i) {
        Get(In, Pos, element);
        Out.Add(element);
    }
}

void Utl_String_Utilities::Skip(const Fnd_String& In, long& Pos) {
    Fnd_String ignored;
    Get(In, Pos, ignored);
}

// ---- Classification and matching

long Utl_String_Utilities::Is_Wild(Code_Unit Character) {
    return Character == u'*' || Character == u'?' || Character == u'[' || Character == u'{';
}

long Utl_String_Utilities::Is_Wild(const Fnd_String& Text) {
    for (long i = 0; i < Text.Get_Length(); ++i)
        if (Is_Wild(Text.Data()[i])) return 1;
    return 0;
}

long Utl_String_Utilities::Is_Multiple(const Fnd_String& Text) { return Locate(u'|', Text, 0) >= 0; }

long Utl_String_Utilities::Is_Wild_Or_Multiple(const Fnd_String& Text) {
    return Is_Wild(Text) || Is_Multiple(Text);
}

long Utl_String_Utilities::Is_Wild_Command(const Fnd_String& Text) {
    for (long i = 0; i < Text.Get_Length(); ++i) {
        const Code_Unit c = Text.Data()[i];
        if (Is_Wild(c) || c == u'%' || c == u'.') return 1;
    }
    return 0;
}

long Utl_String_Utilities::Match(const Fnd_String& Text, const Fnd_String& Pattern) {
    return Fnd_String_Library::Match(Pattern, Text);
}

int Utl_String_Utilities::Compare_Strings(const void* A, const void* B) {
    const Fnd_String* a = *static_cast<const Fnd_String* const*>(A);
    const Fnd_String* b = *static_cast<const Fnd_String* const*>(B);
    if (!a || !b) return a ? 1 : (b ? -1 : 0);
    return Fnd_String_Library::Collate(*a, *b);
}

void Utl_String_Utilities::Transform_Command(Fnd_String& Text, long& Wild, long& Percent) {
    for (long i = 0; i < Text.Get_Length(); ++i) {
        switch (Text.Data()[i]) {
        case u'?':
        case u'[':
        case u'|':
        case u'*': Wild = 1; break;
        case u'%':
            Text.Set(i, Fnd_Char(u'*'));
            Wild = 1;
            Percent = 1;
            break;
        case u'.':
            Text.Set(i, Fnd_Char(u'*'));
            Wild = 1;
            break;
        default: break;
        }
    }
}

void Utl_String_Utilities::Find_Matches(const Fnd_String& Pattern, Utl_Long_Array& Matches,
                                        long Last, const Code_Unit* const* Names,
                                        Index_Filter Filter, long Need_Wild, long Kind) {
    Fnd_String transformed(Pattern);
    long wild = 0;
    long percent = 0;
    Transform_Command(transformed, wild, percent);
    if (!wild && Need_Wild) return;
    Utl_Name_Matcher matcher(transformed, Kind, 1, 1);
    for (long i = 0; i <= Last && Names && Names[i]; ++i) {
        if (Filter && !percent && Filter(i)) continue;
        if (matcher.Match(Fnd_String(Names[i]))) Matches.Add(i);
    }
}

long Utl_String_Utilities::Check_Wild(long& Index, const Fnd_String& Pattern, long Last,
                                      const Code_Unit* const* Names, long To_Console,
                                      Index_Filter Filter, const Code_Unit* Kind_Name,
                                      long Need_Wild, long Match_Kind, const Code_Unit* Header,
                                      long No_List) {
    Utl_Long_Array matches(10);
    Find_Matches(Pattern, matches, Last, Names, Filter, Need_Wild, Match_Kind);
    if (matches.Get_Count() == 0) return 0;
    if (matches.Get_Count() == 1) {
        Index = matches[0];
        return 1;
    }
    if (No_List) return 2;
    Utl_String_Array names(matches.Get_Count(), 0);
    for (long i = 0; i < matches.Get_Count(); ++i) names.Add(Names[matches[i]]);
    names.Sort();
    Fnd_String title;
    if (Header) {
        title = Header;
    } else if (Kind_Name) {
        title = u"matching ";
        title.Append(Kind_Name);
        title.Append(u"s:");
    } else {
        title = u"values:";
    }
    Tio_Text_Output_Base& out = Listing_Stream(To_Console);
    if (!To_Console) out.New_Line(1);
    out.Put_Line(title);
    Output_Table(names, To_Console, 3);
    if (!To_Console) out.New_Line(1);
    return 2;
}

void Utl_String_Utilities::Output_Table(const Utl_String_Array& Names, long To_Console,
                                        long Columns) {
    Fnd_String table;
    Names.Table_Image(table, Columns, u"  ");
    Tio_Text_Output_Base& out = Listing_Stream(To_Console);
    long start = 0;
    for (long i = 0; i < table.Get_Length(); ++i) {
        if (table.Data()[i] != u'\n') continue;
        out.Put_Line(table.Get(start, i - start));
        start = i + 1;
    }
}

void Utl_String_Utilities::Output_Domain_Table(const Utl_String_Map& Map,
                                               const Code_Unit* Header, long To_Console) {
    Utl_String_Array domains(Map, 0);
    domains.Sort();
    if (Header) Listing_Stream(To_Console).Put_Line(Header);
    Output_Table(domains, To_Console, 3);
}

// ---- Other operations

long Utl_String_Utilities::Ip_To_Long(const Fnd_String& Text) {
    long value = 0;
    long pos = -1;
    Fnd_String part;
    while (pos < Text.Get_Length()) {
        Get_Token(part, Text, pos, u'.', 1);
        long at = 0;
        long consumed = 0;
        const long digit = part.Is_Empty() ? 0 : Read_Number(part, at, consumed);
        value = value * 256 + digit;
    }
    return value;
}

void Utl_String_Utilities::Replace_Variables(Fnd_String& Text, long Keep) {
    long i = 0;
    while (i < Text.Get_Length()) {
        if (Text.Data()[i] != u'$') {
            ++i;
            continue;
        }
        long end = i + 1;
        while (end < Text.Get_Length() && Fnd_Ctype::Is_Identifier(Text.Data()[end])) ++end;
        if (end == i + 1) {  // a "$" without a name stays
            ++i;
            continue;
        }
        const Fnd_String name = Text.Get(i + 1, end - i - 1);
        Fnd_String value;
        if (Fnd_String_Library::Get_Environment(name, value)) {
            Text.Delete(i, end - i);
            Text.Insert(value, i);
            i += value.Get_Length();
        } else if (Keep) {
            i = end;
        } else {
            Text.Delete(i, end - i);
        }
    }
}

void Utl_String_Utilities::Wrap_String(Fnd_String& Text, long Width) {
    Fnd_String out;
    out.Ensure_Storage(Text.Get_Length() + Text.Get_Length() / (Width > 0 ? Width : 1) + 1);
    long column = 0;
    long blank = -1;  // index in out of the last blank of the current line
    for (long i = 0; i < Text.Get_Length(); ++i) {
        const Code_Unit c = Text.Data()[i];
        if (c == u'\n') {
            out.Append(Fnd_Char(c));
            column = 0;
            blank = -1;
            continue;
        }
        out.Append(Fnd_Char(c));
        ++column;
        if (c == u' ') blank = out.Get_Length() - 1;
        if (column <= Width) continue;
        if (blank >= 0) {
            out.Set(blank, Fnd_Char(u'\n'));
            column = out.Get_Length() - blank - 1;
            blank = -1;
        } else {
            out.Append(u"\n");
            column = 0;
        }
    }
    Text = out;
}

void Utl_String_Utilities::Register_Setenv_Callback(Setenv_Callback Callback) {
    if (Callback) Setenv_Callbacks().insert(Setenv_Callbacks().begin(), Callback);
}

void Utl_String_Utilities::Change_Environment(const Fnd_String& Name, const Fnd_String& Value) {
    for (Setenv_Callback callback : Setenv_Callbacks()) callback(Name, Value);
    Fnd_String_Library::Set_Environment(Name, Value);
}

void Utl_String_Utilities::Remove_Option(long Index, long& Argc, Code_Unit** Argv) {
    if (Index < 0 || Index >= Argc) return;
    for (long i = Index; i < Argc; ++i) Argv[i] = Argv[i + 1];
    --Argc;
}

void Utl_String_Utilities::Remove2_Options(long Index, long& Argc, Code_Unit** Argv) {
    Remove_Option(Index, Argc, Argv);
    Remove_Option(Index, Argc, Argv);
}

long Utl_String_Utilities::Get_Arg(Fnd_Condition& Condition, long& Index, long Argc,
                                   Code_Unit** Argv) {
    if (Index + 1 < Argc) {
        ++Index;
        return 1;
    }
    Fnd_String text(u"Missing argument for: ");
    if (Index >= 0 && Index < Argc && Argv[Index]) text.Append(Argv[Index]);
    Condition = Utl_Text_Error(text);
    return 0;
}

void Utl_String_Utilities::Unknown_Option(Fnd_Condition& Condition, const Fnd_String& Option) {
    Condition = Utl_Text_Error(Fnd_String(u"Unknown option: ") + Option);
}

long Utl_String_Utilities::Get_Address(const Fnd_String& Text, void*& Out) {
    if (Text == u"0") {
        Out = nullptr;
        return 1;
    }
    if (Text.Get_Length() < 3 || Text.Data()[0] != u'0' || Text.Data()[1] != u'x') return 0;
    if (Text.Get_Length() > 2 + 2 * static_cast<long>(sizeof(void*))) return 0;
    unsigned long value = 0;
    for (long i = 2; i < Text.Get_Length(); ++i) {
        const Code_Unit c = Text.Data()[i];
        if (c >= u'0' && c <= u'9')
            value = value * 16 + (c - u'0');
        else if (c >= u'a' && c <= u'f')
            value = value * 16 + (c - u'a' + 10);
        else
            return 0;
    }
    Out = reinterpret_cast<void*>(value);
    return 1;
}
