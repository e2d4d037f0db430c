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
    Fnd_String::operator=(Format ? Format : u"");
    Length = Get_Length();
    Index = 0;
    while (Index < Length) {
        if (Data()[Index] != u'%') {
            ++Index;
            continue;
        }
        Percent = Index++;
        if (!Read_Next()) return;
        if (Current == u'%') continue;  // a literal percent sign
        while (isFlags(Current))
            if (!Read_Next()) return;
        while (Is_Width_Unit(Current))
            if (!Read_Next()) return;
        if (Current == u'.') {
            if (!Read_Next()) return;
            while (Is_Width_Unit(Current))
                if (!Read_Next()) return;
        }
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

int _vsntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, va_list Args) {
    PrepFormat format(Format);
    return u_vsnprintf_u(Buffer, Size, format.Data(), Args);
}

int _sntprintf(Code_Unit* Buffer, int Size, const Code_Unit* Format, ...) {
    va_list args;
    va_start(args, Format);
    int result = _vsntprintf(Buffer, Size, Format, args);
    va_end(args);
    return result;
}

int _stscanf(const Code_Unit* Text, const Code_Unit* Format, ...) {
    PrepFormat format(Format);
    va_list args;
    va_start(args, Format);
    int result = u_vsscanf_u(Text, format.Data(), args);
    va_end(args);
    return result;
}
