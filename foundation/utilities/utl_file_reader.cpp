#include "foundation/utilities/utl_file_reader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_editor_interface.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"
#include "foundation/textio/tio_text_output.h"
#include "foundation/textio/tio_text_log_stream.h"
#include "foundation/utilities/utl_pathname.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_utilities.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// Sorted, as the directive words are looked up.
const Code_Unit* const Keywords[] = {u"define", u"else",   u"endif",   u"if",
                                     u"ifdef",  u"ifndef", u"include", u"undef"};
enum Keyword { Kw_Define, Kw_Else, Kw_Endif, Kw_If, Kw_Ifdef, Kw_Ifndef, Kw_Include, Kw_Undef };

constexpr std::size_t Max_Line_Bytes = 1 << 28;
constexpr std::size_t Block_Bytes = 1 << 16;

// Widens Length bytes into Units; false as soon as a byte isn't ASCII (Units then
// holds no usable text).
bool Widen_Ascii(const char* Bytes, std::size_t Length, Code_Unit* Units) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    for (; i + 16 <= Length; i += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(Bytes + i));
        if (_mm_movemask_epi8(block) != 0) return false;
        _mm_storeu_si128(reinterpret_cast<__m128i*>(Units + i), _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(Units + i + 8), _mm_unpackhi_epi8(block, zero));
    }
#endif
    for (; i < Length; ++i) {
        const auto byte = static_cast<unsigned char>(Bytes[i]);
        if (byte & 0x80) return false;
        Units[i] = byte;
    }
    return true;
}

bool Is_Blank(Code_Unit Unit) { return Unit == u' ' || Unit == u'\t'; }
bool Is_White(Code_Unit Unit) { return Is_Blank(Unit) || Unit == u'\n' || Unit == u'\r'; }
bool Is_Identifier(Code_Unit Unit) {
    return (Unit >= u'a' && Unit <= u'z') || (Unit >= u'A' && Unit <= u'Z') ||
           (Unit >= u'0' && Unit <= u'9') || Unit == u'_';
}

std::u16string Key(const Fnd_String& Text) {
    return std::u16string(Text.Data(), static_cast<std::size_t>(Text.Get_Length()));
}

// The word that starts at Pos (after blanks), up to white space; Pos goes behind it.
Fnd_String Word_At(const Fnd_String& Line, long& Pos) {
    const long length = Line.Get_Length();
    while (Pos < length && Is_White(Line[Pos])) ++Pos;
    const long start = Pos;
    while (Pos < length && !Is_White(Line[Pos])) ++Pos;
    return Line.Get(start, Pos - start);
}

long Keyword_Of(const Fnd_String& Word) {
    for (long i = 0; i < static_cast<long>(std::size(Keywords)); ++i)
        if (Word == Keywords[i]) return i;
    return -1;
}

// An environment variable that is set, not empty and not "false".
bool Environment_Defines(const Fnd_String& Name) {
    Fnd_String value;
    return Fnd_String_Library::Get_Variable(Name, value, 0) && !value.Is_Empty() &&
           !(value == u"false");
}

}  // namespace

// ---- Making and ending

namespace {

void Trace_Image(const Utl_File_Reader& Reader, Fnd_String& Out) { Reader.Image(Out, true); }

const Utl_Trace_Class Reader_Class{u"Utl_File_Reader", u"file_reader",
                                   Utl_File_Reader::Class_Trace, 15, &Utl_File_Reader::Operation,
                                   u"empty"};
const Utl_Trace_Op Op_Read{u" Getline ", 14, true};
const Utl_Trace_Op Op_Directive{u" directive ", 0, false, 99};

void Append_Number(Fnd_String& Out, const Code_Unit* Label, long Number) {
    Out.Append(Label);
    Utl_Tracing_Utilities::Value(Out, Number, 0);
}

}  // namespace

Utl_File_Reader::Utl_File_Reader() : Options(Utl_Read_No_Options) {
    Utl_Trace_Created(Reader_Class, Trace, this);
}

Utl_File_Reader::Utl_File_Reader(const Fnd_String& File_Name, long Options, bool Use_UTF8)
    : Use_UTF8(Use_UTF8), Options(Options) {
    Start_File(File_Name);
    Utl_Trace_Created(Reader_Class, Trace, this);
}

Utl_File_Reader::Utl_File_Reader(const Fnd_String& Text, Utl_File_Reader_Kind Kind) {
    Reset_Line(Text, Kind);
    Utl_Trace_Created(Reader_Class, Trace, this);
}

Utl_File_Reader::Utl_File_Reader(const Utl_String_Array* Array, Utl_File_Reader_Kind Kind)
    : Kind(Kind), Array(Array),
      Options(Kind == Utl_Reader_Lines ? Utl_Read_Default : Utl_Read_No_Options) {
    Utl_Trace_Created(Reader_Class, Trace, this);
}

Utl_File_Reader::~Utl_File_Reader() {
    Utl_Trace_Deleted(Reader_Class, Trace, this);
    Close();
}

void Utl_File_Reader::Close() { Close_All(); }

void Utl_File_Reader::Close_All() {
    if (Current.Fd >= 0) close(Current.Fd);
    Current.Fd = -1;
    for (Open_File& file : Includes) close(file.Fd);
    Includes.clear();
}

void Utl_File_Reader::Start_File(const Fnd_String& Name) {
    Close_All();
    Kind = Utl_Reader_File;
    File_Name = Name;
    Outermost = Name;
    Line_Number = 0;
    Position = -1;
    Line.Make_Empty();
    Has_Next_Line = false;
    At_End = false;
    Conditions.clear();
    Fnd_String failure;
    Current = Open_File();
    Current.Name = Name;
    Open_Failed = !Open(Name, Current, failure);
}

bool Utl_File_Reader::Open(const Fnd_String& Name, Open_File& File, Fnd_String& Failure) {
    AdMbcsString path;
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop)) {
        Failure = u"Can't open \"" + Name + u"\"";
        return false;
    }
    int fd;
    do {
        fd = open(path.getData(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    struct stat status {};
    if (fd >= 0 && (fstat(fd, &status) != 0 || S_ISDIR(status.st_mode))) {
        close(fd);
        fd = -1;
    }
    if (fd < 0) {
        Failure = u"Can't open \"" + Name + u"\"";
        return false;
    }
    File.Fd = fd;
    File.Block = std::make_unique<char[]>(Block_Bytes);
    File.Begin = File.End = 0;
    File.Name = Name;
    File.Line_Number = 0;
    File.Device = status.st_dev;
    File.Inode = status.st_ino;
    return true;
}

void Utl_File_Reader::Reuse(const Fnd_String& Name) {
    for (auto& entry : Defines) entry.second.Make_Empty();
    Options = Utl_Read_Default;
    Start_File(Name);
}

void Utl_File_Reader::Reset_Line(const Fnd_String& Source, Utl_File_Reader_Kind New_Kind) {
    Close_All();
    Kind = New_Kind;
    Original = Source;
    Line_Number = 0;
    Position = -1;
    Index = -1;
    Has_Next_Line = false;
    At_End = false;
    Conditions.clear();
    if (Kind == Utl_Reader_String) {
        Line = Source;
        Text.Make_Empty();
        Options = Utl_Read_No_Options;
    } else {
        Line.Make_Empty();
        Text = Source;
        Options = Utl_Read_Default;
    }
}

void Utl_File_Reader::Transfer_Line(Fnd_String& Source, Utl_File_Reader_Kind New_Kind) {
    Reset_Line(Source, New_Kind);
    Source.Make_Empty();
}

const Fnd_String& Utl_File_Reader::Get_Outermost_Filename() const { return Outermost; }

const Fnd_String& Utl_File_Reader::Get_Original_String() const {
    return Kind == Utl_Reader_String || Kind == Utl_Reader_Text ? Original : Fnd_String::Null;
}

int Utl_File_Reader::Get_File_Descriptor() const {
    return Current.Fd;
}

// ---- Raw reading

bool Utl_File_Reader::Read_File_Line(Fnd_String& Out) {
    // The line is taken from the block where it lies whole, else gathered in Pending.
    Open_File& file = Current;
    Pending.clear();
    bool got_any = false;
    const char* start = nullptr;
    std::size_t length = 0;
    for (;;) {
        if (file.Begin == file.End) {
            ssize_t count;
            do {
                count = read(file.Fd, file.Block.get(), Block_Bytes);
            } while (count < 0 && errno == EINTR);
            if (count <= 0) {
                if (!got_any) return false;
                start = Pending.data();
                length = Pending.size();
                break;
            }
            file.Begin = 0;
            file.End = static_cast<std::size_t>(count);
        }
        got_any = true;
        const char* from = file.Block.get() + file.Begin;
        const std::size_t available = file.End - file.Begin;
        const auto* newline = static_cast<const char*>(memchr(from, '\n', available));
        const std::size_t taken = newline ? static_cast<std::size_t>(newline - from) : available;
        file.Begin += newline ? taken + 1 : taken;
        if (newline && Pending.empty()) {
            start = from;
            length = taken;
            break;
        }
        // A line that is too long is cut, but read to its end.
        if (Pending.size() < Max_Line_Bytes)
            Pending.append(from, std::min(taken, Max_Line_Bytes - Pending.size()));
        if (newline) {
            start = Pending.data();
            length = Pending.size();
            break;
        }
    }
    if (length > Max_Line_Bytes) length = Max_Line_Bytes;
    // ASCII, the common case, needs no converter.
    Code_Unit* data = Out.GetBuffer(static_cast<int>(length));
    if (Widen_Ascii(start, length, data)) {
        Out.ReleaseBuffer(static_cast<int>(length));
        return true;
    }
    Out.ReleaseBuffer(0);
    const AdCharset& charset =
        Use_UTF8 ? AdCharset::getUTF8Charset() : AdCharset::getDefaultCharset();
    if (!AdMbcsString::cvtToTchar(charset, start, static_cast<int>(length), Out,
                                  AdCharset::cvt_substitute))
        Out.Make_Empty();
    return true;
}

long Utl_File_Reader::Read_Raw() {
    if (Has_Next_Line) {
        Has_Next_Line = false;
        Line = Next_Line;
        Next_Line.Make_Empty();
    } else if (Kind == Utl_Reader_File) {
        for (;;) {
            if (Current.Fd < 0) {
                Line.Make_Empty();
                return 0;
            }
            if (Read_File_Line(Line)) break;
            close(Current.Fd);
            Current.Fd = -1;
            if (Includes.empty()) {
                Line.Make_Empty();
                return 0;
            }
            Current = std::move(Includes.back());
            Includes.pop_back();
            File_Name = Current.Name;
            Line_Number = Current.Line_Number;
        }
    } else if (Kind == Utl_Reader_String) {
        if (Text.Is_Empty()) return 0;
        Line = Text;
        Text.Make_Empty();
    } else if (Kind == Utl_Reader_Text) {
        const long length = Text.Get_Length();
        const long start = Index < 0 ? 0 : Index;
        if (start >= length) return 0;
        long end = start;
        while (end < length && Text[end] != u'\n') ++end;
        Line = Text.Get(start, end - start);
        Index = end + 1;
    } else if (Kind == Utl_Reader_Lines && Array != nullptr) {
        if (Index + 1 >= Array->Get_Count()) return 0;
        ++Index;
        const Fnd_String* element = (*Array)[Index];
        Line = element != nullptr ? *element : Fnd_String::Null;
    } else {
        return 0;
    }
    ++Line_Number;
    Position = -1;
    if (Line.Is_Empty()) return 1;
    if ((Options & Utl_Read_Continuation) && Kind == Utl_Reader_File) {
        while (!Line.Is_Empty() && Line[Line.Get_Length() - 1] == u'\\') {
            Line.Truncate(Line.Get_Length() - 1);
            Fnd_String next;
            if (Current.Fd < 0 || !Read_File_Line(next)) break;
            ++Line_Number;
            Line.Append(next);
        }
    }
    return 1;
}

// ---- Lines

long Utl_File_Reader::Getline() {
    const long got = Read_Next_Line();
    if (Utl_Trace_Active(Class_Trace, Trace)) [[unlikely]] Trace_Line(got);
    return got;
}

long Utl_File_Reader::Read_Next_Line() {
    Token_Count = 0;
    for (;;) {
        if (Kind == Utl_Reader_File) Current.Line_Number = Line_Number;
        if (!Read_Raw()) {
            At_End = true;
            return 0;
        }
        if (Kind == Utl_Reader_File) Current.Line_Number = Line_Number;
        if (Line.Is_Empty()) return 1;
        if (Line[0] == u'#') {
            if (Handle_Directive()) {
                if ((other_trace | Other_Trace) & 1) [[unlikely]] Trace_Directive();
                continue;
            }
            if (!(Options & Utl_Read_Comments)) return 1;
            Copy_Line();
            continue;
        }
        if (!(Options & Utl_Read_Comments)) return 1;
        long i = 0;
        while (i < Line.Get_Length() && Is_Blank(Line[i])) ++i;
        if (i == Line.Get_Length() || Line[i] != u'#') return 1;
        Copy_Line();
    }
}

void Utl_File_Reader::Copy_Line() const {
    if (Copy_Stream != nullptr) Copy_Stream->Put_Line(Line);
}

// A directive at column 0 that its option turns on is carried out: true. Anything
// else (a comment candidate, or a directive that is off) gives false.
bool Utl_File_Reader::Handle_Directive() {
    if (!(Options & (Utl_Read_Include | Utl_Read_Conditionals | Utl_Read_Defines))) return false;
    long pos = 1;
    const long length = Line.Get_Length();
    while (pos < length && !Is_White(Line[pos])) ++pos;
    const long keyword = Keyword_Of(Line.Get(1, pos - 1));
    if (keyword < 0) return false;
    const bool defines_on = (Options & (Utl_Read_Conditionals | Utl_Read_Defines)) != 0;
    const bool obeyed = keyword == Kw_Include ? (Options & Utl_Read_Include) != 0
                        : keyword == Kw_Define || keyword == Kw_Undef
                            ? defines_on
                            : (Options & Utl_Read_Conditionals) != 0;
    if (!obeyed) return false;
    Copy_Line();
    switch (keyword) {
    case Kw_Define:
    case Kw_Undef:
        if (!defines_on) return false;
        Do_Define(pos, keyword == Kw_Undef);
        return true;
    case Kw_Include:
        if (!(Options & Utl_Read_Include)) return false;
        Do_Include(pos);
        return true;
    default:
        break;
    }
    if (!(Options & Utl_Read_Conditionals)) return false;
    switch (keyword) {
    case Kw_If:
        Do_If(pos);
        break;
    case Kw_Ifdef:
    case Kw_Ifndef:
        Do_Ifdef(pos, keyword == Kw_Ifndef);
        break;
    case Kw_Else:
        if (Conditions.empty() || !Conditions.back()) {
            Error_Message(Fnd_String(u"Unexpected else"), 0);
        } else {
            Conditions.pop_back();
            (void)Skip_Lines(false);
        }
        break;
    default:  // endif
        if (Conditions.empty())
            Error_Message(Fnd_String(u"Unexpected endif"), 0);
        else
            Conditions.pop_back();
        break;
    }
    return true;
}

void Utl_File_Reader::Do_Define(long Pos, bool Undefine) {
    const Fnd_String symbol = Word_At(Line, Pos);
    if (symbol.Is_Empty()) {
        Error_Message(Fnd_String(Undefine ? u"No symbol given in undef directive"
                                          : u"No symbol given in define directive"),
                      0);
        return;
    }
    if (Undefine) {
        Undefine_Variable(symbol);
        return;
    }
    while (Pos < Line.Get_Length() && Is_Blank(Line[Pos])) ++Pos;
    Define_Variable(symbol, Line.Get(Pos, Line.Get_Length() - Pos));
}

void Utl_File_Reader::Do_Include(long Pos) {
    Fnd_String name = Word_At(Line, Pos);
    Replace_Variables(name, 1);
    if (name.Get_Length() >= 2 && name[0] == u'"' && name[name.Get_Length() - 1] == u'"')
        name = name.Get(1, name.Get_Length() - 2);
    if (name.Is_Empty()) {
        Error_Message(Fnd_String(u"No filename given in include directive"), 0);
        return;
    }
    Full_Name(name);
    (void)Process_Include(name);
}

long Utl_File_Reader::Process_Include(const Fnd_String& Name) {
    if (Kind != Utl_Reader_File || Current.Fd < 0) {
        Error_Message(u"Can't open \"" + Name + u"\"", 0);
        return 0;
    }
    if (static_cast<long>(Includes.size()) + 1 >= Max_Include_Depth) {
        Error_Message(u"Include nesting too deep at \"" + Name + u"\"", 0);
        return 0;
    }
    Open_File file;
    Fnd_String failure;
    if (!Open(Name, file, failure)) {
        Error_Message(failure, 0);
        return 0;
    }
    auto Same = [&](const Open_File& Other) {
        return Other.Device == file.Device && Other.Inode == file.Inode;
    };
    bool cycle = Same(Current);
    for (const Open_File& open : Includes) cycle = cycle || Same(open);
    if (cycle) {
        close(file.Fd);
        Error_Message(u"Recursive include of \"" + Name + u"\"", 0);
        return 0;
    }
    Current.Line_Number = Line_Number;
    Includes.push_back(std::move(Current));
    Current = std::move(file);
    File_Name = Name;
    Line_Number = 0;
    return 1;
}

// Name against the directory of the file being read; through a symbolic link's
// target when that is where the name exists; else as written.
void Utl_File_Reader::Full_Name(Fnd_String& Name) const {
    if (Utl_Pathname::Is_Qualified(Name)) return;
    Fnd_String dir;
    Utl_Pathname::Dirname(File_Name, dir);
    if (dir.Is_Empty()) return;
    Fnd_String full;
    Utl_Pathname::Combine(dir, Name, full);
    if (Utl_Pathname::Exists(full)) {
        Name = full;
        return;
    }
    Fnd_String target;
    Fnd_Condition condition;
    Hst_Filesystem::Read_Symbolic_Link(File_Name, target, condition);
    if (condition.Failed() || !Utl_Pathname::Is_Qualified(target)) return;
    Utl_Pathname::Dirname(target, dir);
    Utl_Pathname::Combine(dir, Name, full);
    if (Utl_Pathname::Exists(full)) Name = full;
}

void Utl_File_Reader::Open_Block(bool Taken) {
    if (Taken)
        Conditions.push_back(true);
    else
        (void)Skip_Lines(true);
}

bool Utl_File_Reader::Process_Expression(const Fnd_String& Expression) {
    Fnd_Condition condition;
    long result = 0;
    if (Utl_Script_Interface::Get().Process_Test(condition, Expression, result)) return result != 0;
    if (condition.Failed())
        Error_Message(condition.Image(Fnd_Detail_Normal, 0, 0, 1, 0, Fnd_String(u"; ")), 0);
    return false;
}

void Utl_File_Reader::Do_If(long Pos) {
    const Fnd_String rest = Line.Get(Pos, Line.Get_Length() - Pos);
    long at = -1;
    Fnd_String left;
    if (!Utl_String_Utilities::Token_Get(left, rest, at, 1)) {
        Error_Message(Fnd_String(u"No symbol given in if directive"), 0);
        return;
    }
    if (!left.Is_Empty() && left[0] == u'(') {
        const long open = Utl_String_Utilities::Locate(u'(', Line, Pos);
        Open_Block(Process_Expression(Line.Get(open + 1, Line.Get_Length() - open - 1)));
        return;
    }
    for (;;) {
        Fnd_String value;
        if (const Fnd_String* defined = Get_Variable(left)) {
            value = *defined;
        } else {
            // A quoted token may be empty.
            const Fnd_String name =
                !left.Is_Empty() && left[0] == u'$' ? left.Get(1, left.Get_Length() - 1) : left;
            (void)Fnd_String_Library::Get_Variable(name, value, 0);
        }
        Fnd_String op, right;
        if (!Utl_String_Utilities::Token_Get(op, rest, at, 1)) {
            Error_Message(u"Missing operator after " + left, 0);
            break;
        }
        if (!Utl_String_Utilities::Token_Get(right, rest, at, 1)) {
            Error_Message(u"Missing argument after " + op, 0);
            break;
        }
        bool result;
        const int order = value.Collate(right.Data());
        if (op == u"==") result = value == right;
        else if (op == u"!=") result = !(value == right);
        else if (op == u"<") result = order < 0;
        else if (op == u">") result = order > 0;
        else if (op == u"<=") result = order <= 0;
        else if (op == u">=") result = order >= 0;
        else {
            Error_Message(u"Unexpected operator \"" + op + u"\"", 0);
            break;
        }
        if (result) {
            Open_Block(true);
            return;
        }
        Fnd_String word;
        if (!Utl_String_Utilities::Token_Get(word, rest, at, 1)) break;
        if (!(word == u"||")) {
            Error_Message(u"Unexpected item \"" + word + u"\" in directive", 0);
            break;
        }
        if (!Utl_String_Utilities::Token_Get(left, rest, at, 1)) break;
    }
    Open_Block(false);
}

void Utl_File_Reader::Do_Ifdef(long Pos, bool Negate) {
    bool any_word = false;
    bool defined = false;
    for (;;) {
        const Fnd_String word = Word_At(Line, Pos);
        if (word.Is_Empty()) break;
        if (word == u"||") continue;
        any_word = true;
        defined = defined || Get_Variable(word) != nullptr || Environment_Defines(word);
    }
    if (!any_word) {
        Error_Message(Fnd_String(u"No symbol given in directive"), 0);
        return;
    }
    Open_Block(defined != Negate);
}

long Utl_File_Reader::Skip_Lines(bool To_Else) {
    long depth = 0;
    while (Read_Raw()) {
        Copy_Line();
        if (Line.Is_Empty() || Line[0] != u'#') continue;
        long pos = 1;
        const Fnd_String word = Word_At(Line, pos);
        if (Line.Get_Length() > 1 && Is_White(Line[1])) continue;
        if (word == u"if" || word == u"ifdef" || word == u"ifndef") {
            ++depth;
        } else if (word == u"endif") {
            if (depth == 0) return 1;
            --depth;
        } else if (word == u"else" && depth == 0 && To_Else) {
            Conditions.push_back(false);
            return 1;
        }
    }
    return 0;
}

// ---- Tokens

long Utl_File_Reader::Next_Token(Fnd_String& Token, long Across_Lines) {
    Quoted = false;
    if (!Held_Token.Is_Empty()) {
        Token = Held_Token;
        Held_Token.Make_Empty();
        return 1;
    }
    if (Kind == Utl_Reader_Tokens) {
        if (Array == nullptr || Index + 1 >= Array->Get_Count()) return 0;
        ++Index;
        const Fnd_String* element = (*Array)[Index];
        Token = element != nullptr ? *element : Fnd_String::Null;
        return 1;
    }
    for (;;) {
        const long length = Line.Get_Length();
        long i = Position + 1;
        while (i < length && Is_White(Line[i])) {
            if (Line[i] == u'\n') {
                if (!Across_Lines) {
                    // The rest of the line is read as a line of its own.
                    const Fnd_String rest = Line.Get(i + 1, length - i - 1);
                    Line.Truncate(i);
                    Position = Line.Get_Length() - 1;
                    if (Kind == Utl_Reader_String) {
                        Text = rest;
                    } else {
                        Next_Line = rest;
                        Has_Next_Line = true;
                    }
                    return 0;
                }
                Token_Count = 0;
            }
            ++i;
        }
        if (i >= length) {
            Position = length - 1;
            if (!Across_Lines || !Getline()) return 0;
            continue;
        }
        Token_Start = i;
        ++Token_Count;
        if (Line[i] != u'"') {
            long end = i;
            while (end < length && !Is_White(Line[end])) ++end;
            Token = Line.Get(i, end - i);
            Position = end - 1;
            return 1;
        }
        // A quoted token: to the closing quote; "" inside stands for one quote.
        Quoted = true;
        long end = i + 1;
        bool doubled = false;
        bool escaped = false;
        while (end < length) {
            if (Line[end] == u'"') {
                if (end + 1 < length && Line[end + 1] == u'"') {
                    doubled = true;
                    end += 2;
                    continue;
                }
                break;
            }
            escaped = escaped || Line[end] == u'\\';
            ++end;
        }
        Token = Line.Get(i + 1, end - i - 1);
        Position = end < length ? end : length - 1;
        if (doubled) Fnd_String_Library::Make_Single_Quoted(Token, u'"');
        if (escaped && (Options & Utl_Read_Unescape))
            Token = Fnd_String_Library::Remove_Escapes(Token, 1);
        return 1;
    }
}

long Utl_File_Reader::Get_Token(Fnd_String& Token, long Across_Lines, long Stop_At_Comment) {
    for (;;) {
        if (!Next_Token(Token, Across_Lines)) return 0;
        if (!Quoted && Token == u"\\" && Position == Line.Get_Length() - 1) {
            if (!Getline()) return 0;
            return Next_Token(Token, 0);
        }
        if (Stop_At_Comment && !Quoted && !Token.Is_Empty() && Token[0] == u'#') {
            Position = Line.Get_Length() - 1;
            if (!Across_Lines) return 0;
            continue;
        }
        return 1;
    }
}

void Utl_File_Reader::Rest_Of_Line(Fnd_String& Result) {
    const long length = Line.Get_Length();
    long start = Position + 1;
    long end = length;
    while (start < end && Is_Blank(Line[start])) ++start;
    while (end > start && Is_Blank(Line[end - 1])) --end;
    if (start < end && Line[start] == u'"') {
        ++start;
        if (end > start && Line[end - 1] == u'"') --end;
    }
    Result = Line.Get(start, end - start);
    Position = length - 1;
}

long Utl_File_Reader::Goto_Line(long Number) {
    if (Line_Number == Number) return 1;
    if (Number < Line_Number) return 0;
    while (Line_Number < Number)
        if (!Getline()) return 0;
    return 1;
}

void Utl_File_Reader::Set_Next_Line(const Fnd_String& Value) {
    Next_Line = Value;
    Has_Next_Line = true;
    Position = Line.Get_Length() - 1;
}

void Utl_File_Reader::Set_Next_To_Current() {
    Next_Line = Line;
    Has_Next_Line = true;
    Position = 0;
}

// ---- Symbols

void Utl_File_Reader::Define_Variable(const Fnd_String& Name, const Fnd_String& Value) {
    Defines[Key(Name)] = Value;
}

void Utl_File_Reader::Undefine_Variable(const Fnd_String& Name) { Defines.erase(Key(Name)); }

long Utl_File_Reader::Is_Variable(const Fnd_String& Text) {
    return !Text.Is_Empty() && Text[0] == u'$';
}

const Fnd_String* Utl_File_Reader::Get_Variable(const Fnd_String& Name) const {
    const auto found = Defines.find(Key(Name));
    return found == Defines.end() ? nullptr : &found->second;
}

void Utl_File_Reader::Copy_Defines(const Utl_File_Reader& Other) { Defines = Other.Defines; }

long Utl_File_Reader::Variable_Value(Fnd_String& Value, long Strip_Dollar) const {
    const Fnd_String name =
        Strip_Dollar && !Value.Is_Empty() ? Value.Get(1, Value.Get_Length() - 1) : Value;
    const Fnd_String* found = Get_Variable(name);
    if (found == nullptr) return 0;
    Value = *found;
    return 1;
}

void Utl_File_Reader::Replace_Variables(Fnd_String& Value, long Keep_Unknown) const {
    if (Defines.empty()) return;
    long i = 0;
    while (i < Value.Get_Length()) {
        if (Value[i] != u'$') {
            ++i;
            continue;
        }
        long end = i + 1;
        while (end < Value.Get_Length() && Is_Identifier(Value[end])) ++end;
        const Fnd_String* found = Get_Variable(Value.Get(i + 1, end - i - 1));
        if (i == 0 && end == Value.Get_Length()) {
            if (found != nullptr)
                Value = *found;
            else if (!Keep_Unknown)
                Value.Make_Empty();
            return;
        }
        if (found != nullptr) {
            Value.Delete(i, end - i);
            Value.Insert(*found, i);
            i += found->Get_Length();
        } else if (!Keep_Unknown) {
            Value.Delete(i, end - i);
        } else {
            i = end;
        }
    }
}

// ---- Tracing


void Utl_File_Reader::Trace_Line(long Got) const {
    if (!Utl_Traced::Traces(Reader_Class, Trace, Op_Read)) return;
    Fnd_String detail;
    Utl_Tracing_Utilities::Value(detail, Line_Number, 0);
    detail.Append(Got ? u": " : u": end");
    if (Got) detail.Append(Line);
    Utl_Traced::Line(Reader_Class, Trace, this, Op_Read.Label, detail);
}

void Utl_File_Reader::Trace_Directive() const {
    Fnd_String detail;
    Utl_Tracing_Utilities::Value(detail, Line_Number, 0);
    detail.Append(u": ");
    detail.Append(Line);
    Utl_Traced::Line(Reader_Class, Trace, this, Op_Directive.Label, detail);
}

void Utl_File_Reader::Image(Fnd_String& Out, bool Long_Form) const {
    switch (Kind) {
    case Utl_Reader_File:
        Out.Append(u"file: ");
        Out.Append(File_Name);
        Append_Number(Out, u", line: ", Line_Number);
        Out.Append(u", last: ");
        Out.Append(Line);
        break;
    case Utl_Reader_String:
        Out.Append(u"last: ");
        Out.Append(Line);
        Append_Number(Out, u", line: ", Line_Number);
        break;
    case Utl_Reader_Text:
        Append_Number(Out, u"multi, length: ", Text.Get_Length());
        Append_Number(Out, u", index: ", Index);
        break;
    default:
        Append_Number(Out, Kind == Utl_Reader_Tokens ? u"tokens, length: " : u"lines, length: ",
                      Array ? Array->Get_Count() : 0);
        Append_Number(Out, u", index: ", Index);
        break;
    }
    Append_Number(Out, u", opts: ", Options);
    if (!Long_Form) return;
    if (Kind == Utl_Reader_String || Kind == Utl_Reader_Text) {
        Out.Append(u"\nSTRING_VALUE:");
        Out.Append(Original);
    }
    if (!Includes.empty()) {
        Out.Append(u"\ninclude_stack");
        for (const Open_File& file : Includes) {
            Out.Append(u"\n");
            Out.Append(Utl_Type_Utilities::Prefix);
            Out.Append(file.Name);
            Append_Number(Out, u", line ", file.Line_Number);
        }
    }
    if (!Defines.empty()) {
        Out.Append(u"\ndefined_symbols");
        for (const auto& [name, value] : Defines) {
            Out.Append(u"\n");
            Out.Append(Utl_Type_Utilities::Prefix);
            Out.Append(Fnd_String(name.c_str()));
            Out.Append(Utl_Type_Utilities::Arrow);
            Out.Append(value);
        }
    }
}

void Utl_File_Reader::Show(const Code_Unit* Label) const {
    Utl_Traced::Show(Reader_Class, Trace, this, Label,
                     [this](Fnd_String& Out) { Trace_Image(*this, Out); });
}

void Utl_File_Reader::Register_Object(const Code_Unit* Name, Utl_Trace_Operation Operation,
                                      void* Parent) {
    Utl_Traced::Register_Object(Reader_Class, Trace, this, Name, Operation, Parent);
}

void Utl_File_Reader::Set_Name(const Code_Unit* Name, void* Parent) {
    Utl_Traced::Set_Name(Reader_Class, Trace, this, Name, Parent);
}

void Utl_File_Reader::Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                                const Fnd_String& Second) {
    auto* reader = static_cast<Utl_File_Reader*>(Object);
    long bit = 0;
    long value = 0;
    if (reader && Command == u"set" && Utl_Tracing::Read_Number(First, bit) &&
        bit == Utl_Word_Other_Trace && Utl_Tracing::Read_Number(Second, value)) {
        reader->Other_Trace = static_cast<int32_t>(value);
        return;
    }
    if (reader && Command == u"clear" && First == u"0") reader->Other_Trace = 0;
    Utl_Traced::Operation(Reader_Class, reader ? &reader->Trace : nullptr, reader, Command, First,
                          Second, reader ? reader->Line_Number : 0,
                          reader ? reader->Line_Number : 0,
                          [reader](Fnd_String& Out) { Trace_Image(*reader, Out); });
}

// ---- Messages

void Utl_File_Reader::Message(const Code_Unit* Label, const Code_Unit* Bare, long Message_Kind,
                              const Fnd_String& Text, long Skip_Paragraph) {
    Fnd_String line;
    if (Kind == Utl_Reader_File && Current.Fd >= 0) {
        line = File_Name;
        line.Append(Label);
        Fnd_String number;
        number.Format(u"%ld", Line_Number);
        line.Append(number);
        line.Append(u" - ");
    } else {
        line = Bare;
    }
    line.Append(Text);
    Tio_Log.Put_Line(static_cast<Fnd_Message_Kinds>(Message_Kind), line);
    Tell_Editor(Message_Kind == Fnd_Negative_Msg ? Text : Fnd_String());
    Line.Make_Empty();
    Position = -1;
    if (Skip_Paragraph)
        while (Read_Raw() && !Line.Is_Empty()) {
        }
}

void Utl_File_Reader::Tell_Editor(const Fnd_String& Text) const {
    if (!(Options & (Utl_Read_Highlight | Utl_Read_Visit)) || File_Name.Is_Empty()) return;
    Utl_Editor_Interface& editor = Utl_Editor_Interface::Get();
    Fnd_Condition condition;
    if (Options & Utl_Read_Highlight)
        editor.Highlight(condition, File_Name, Line_Number, Text, Fnd_String(), 0, 0, 0, 0,
                         Utl_Display_Default, 0);
    if (Options & Utl_Read_Visit) (void)editor.Visit_File(condition, File_Name, Line_Number, 0);
}

void Utl_File_Reader::Error_Message(const Fnd_String& Text, long Skip_Paragraph) {
    Message(u": Error on line ", u"Error - ", Fnd_Negative_Msg, Text, Skip_Paragraph);
}

void Utl_File_Reader::Warning_Message(const Fnd_String& Text, long Skip_Paragraph) {
    Message(u": Warning on line ", u"Warning - ", Fnd_Warning_Msg, Text, Skip_Paragraph);
}
