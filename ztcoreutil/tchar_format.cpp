// Formatted output and input into and out of code unit buffers, on ICU.
#include <unicode/ustdio.h>
#include <unicode/ustring.h>

#include "ztcoreutil/prepformat.h"
#include "ztcoreutil/tchar.h"

PrepFormat::PrepFormat(const Code_Unit* Format) { preprocessFormat(Format); }

bool PrepFormat::isFlags(Code_Unit Unit) {
    return Unit == u' ' || Unit == u'#' || Unit == u'+' || Unit == u'-' || Unit == u'0';
}

bool PrepFormat::Read_Next() {
    if (Index >= Length) return false;
    Current = Data()[Index++];
    return true;
}

namespace {

// Zero units kept behind the terminator of a format handed to ICU: its parser reads
// up to six units of a "%(" padding specification before it checks for the end.
constexpr long Format_Guard_Units = 8;

bool Is_Length_Modifier(Code_Unit Unit) { return Unit == u'h' || Unit == u'l' || Unit == u'L'; }

bool Is_Width_Unit(Code_Unit Unit) { return Unit == u'*' || (Unit >= u'0' && Unit <= u'9'); }

bool Is_Integer_Conversion(Code_Unit Unit) {
    switch (Unit) {
        case u'd': case u'i': case u'o': case u'u': case u'x': case u'X':
            return true;
        default:
            return false;
    }
}

Code_Unit Swapped_Conversion(Code_Unit Unit) {
    switch (Unit) {
        case u'c': return u'C';
        case u's': return u'S';
        case u'C': return u'c';
        case u'S': return u's';
        default: return Unit;
    }
}

}  // namespace

void PrepFormat::preprocessFormat(const Code_Unit* Format) {
    // One allocation for the copy, the "l"s inserted into it and the guard units of
    // Icu_Format.
    const long length = Format ? u_strlen(Format) : 0;
    Ensure_Storage(length + length / 2 + Format_Guard_Units + 1);
    Fnd_String::operator=(Format ? Format : u"");
    Length = Get_Length();
    Index = 0;
    Unfinished = -1;
    // Marks the specification being read as cut short by the end of the format.
    auto cut_short = [this] { Unfinished = Percent; };
    while (Index < Length) {
        if (Data()[Index] != u'%') {
            ++Index;
            continue;
        }
        Percent = Index++;
        if (!Read_Next()) return cut_short();
        if (Current == u'%') continue;  // a literal percent sign
        while (isFlags(Current))
            if (!Read_Next()) return cut_short();
        while (Is_Width_Unit(Current))
            if (!Read_Next()) return cut_short();
        if (Current == u'.') {
            if (!Read_Next()) return cut_short();
            while (Is_Width_Unit(Current))
                if (!Read_Next()) return cut_short();
        }
        // A length modifier ("h", "l", "L", "ll") with nothing behind it.
        const bool doubled_l = Current == u'l' && Index + 1 == Length && Data()[Index] == u'l';
        if (Is_Length_Modifier(Current) && (Index == Length || doubled_l)) return cut_short();
        // Current is the conversion, or a length modifier standing in its place.
        if (Current == u'l' && Index < Length && Is_Integer_Conversion(Data()[Index])) {
            Insert(Fnd_Char(u'l'), Index);
            ++Length;
            ++Index;
            continue;
        }
        Code_Unit swapped = Swapped_Conversion(Current);
        if (swapped != Current) Set(Index - 1, Fnd_Char(swapped));
    }
}

const Code_Unit* PrepFormat::Icu_Format() {
    if (Unfinished >= 0) {
        Insert(Fnd_Char(u'%'), Unfinished);
        Unfinished = -1;
        Length = Get_Length();
    }
    // The guard units lie behind the terminator, outside the string's length.
    Ensure_Storage(Get_Length() + Format_Guard_Units);
    Code_Unit* data = GetBuffer(0);
    for (long i = Get_Length(); i <= Get_Length() + Format_Guard_Units; ++i) data[i] = 0;
    return Data();
}

// A negative Size would let ICU write without a limit; a null Buffer takes none.
int _vsntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, va_list Args) {
    if (Size < 0 || (!Buffer && Size > 0)) return -1;
    PrepFormat format(Format);
    return u_vsnprintf_u(Buffer, Size, format.Icu_Format(), Args);
}

int _sntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, ...) {
    va_list args;
    va_start(args, Format);
    int result = _vsntprintf(Buffer, Size, Format, args);
    va_end(args);
    return result;
}

int _stscanf(const Code_Unit* Text, const Code_Unit* Format, ...) {
    if (!Text) return EOF;
    PrepFormat format(Format);
    va_list args;
    va_start(args, Format);
    int result = u_vsscanf_u(Text, format.Icu_Format(), args);
    va_end(args);
    return result;
}
