// Fnd_String_Library: escape sequences and quoting.
#include <utility>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string_library.h"

namespace {

long Contains(const Fnd_String& Set, Code_Unit Unit) {
    const Code_Unit* data = Set.Data();
    for (long i = 0, n = Set.Get_Length(); i < n; ++i)
        if (data[i] == Unit) return 1;
    return 0;
}

// The control unit of an escape letter, or 0.
Code_Unit Control_Of(Code_Unit Letter) {
    switch (Letter) {
        case u'n': return 10;
        case u't': return 9;
        case u'v': return 11;
        case u'b': return 8;
        case u'r': return 13;
        case u'f': return 12;
        case u'a': return 7;
        default: return 0;
    }
}

int Digit_Value(Code_Unit Unit, int Base) {
    int value = -1;
    if (Unit >= u'0' && Unit <= u'9') value = Unit - u'0';
    else if (Unit >= u'a' && Unit <= u'z') value = Unit - u'a' + 10;
    else if (Unit >= u'A' && Unit <= u'Z') value = Unit - u'A' + 10;
    return value < Base ? value : -1;
}

// Resolves the escape sequences of Text (Count units) into Out. Map, if given, gets
// a blank for each plain unit of Out and Esc for each escaped one. With Keep_Doubled a
// doubled escape unit stays as it is.
void Resolve(const Code_Unit* Text, long Count, Code_Unit Esc, bool Keep_Doubled,
             Fnd_String& Out, Fnd_String* Map) {
    Out.Make_Empty();
    Out.Ensure_Storage(Count);
    if (Map) {
        Map->Make_Empty();
        Map->Ensure_Storage(Count);
    }
    auto put = [&Out, Map, Esc](Code_Unit Unit, bool Escaped) {
        Out.Append(Fnd_Char(Unit));
        if (Map) Map->Append(Fnd_Char(Escaped ? Esc : u' '));
    };
    for (long i = 0; i < Count; ++i) {
        const Code_Unit unit = Text[i];
        if (unit != Esc || i + 1 >= Count) {
            put(unit, false);
            continue;
        }
        const Code_Unit next = Text[++i];
        if (next == Esc && Keep_Doubled) {
            put(Esc, false);
            put(Esc, false);
        } else if (Code_Unit control = Control_Of(next)) {
            put(control, true);
        } else if (Digit_Value(next, 8) >= 0) {
            unsigned value = 0;
            long end = i;
            while (end < Count && end < i + 3 && Digit_Value(Text[end], 8) >= 0)
                value = value * 8 + static_cast<unsigned>(Digit_Value(Text[end++], 8));
            put(static_cast<Code_Unit>(value), true);
            i = end - 1;
        } else if (next == u'x' && i + 1 < Count && Digit_Value(Text[i + 1], 16) >= 0) {
            unsigned value = 0;
            long end = i + 1;
            while (end < Count && end < i + 4 && Digit_Value(Text[end], 16) >= 0)
                value = value * 16 + static_cast<unsigned>(Digit_Value(Text[end++], 16));
            put(static_cast<Code_Unit>(value), true);
            i = end - 1;
        } else {
            put(next, true);
        }
    }
}

}  // namespace

const Fnd_Char& Fnd_String_Library::Esc() {
    static const Fnd_Char* escape = new Fnd_Char(u'\\');
    return *escape;
}

const Fnd_String& Fnd_String_Library::Standard_Escape_Characters() {
    static const Fnd_String* characters = new Fnd_String(u"\n\t\v\b\r\f");
    return *characters;
}

Fnd_String Fnd_String_Library::Remove_Escapes(const Fnd_String& Text, const long Unescape_Esc) {
    Fnd_String result;
    Resolve(Text.Data(), Text.Get_Length(), Esc(), !Unescape_Esc, result, nullptr);
    return result;
}

void Fnd_String_Library::Remove_Escapes(Fnd_String& Text, Fnd_String& Map, const Fnd_Char& Esc) {
    if (Esc == u' ') Fnd_Assert(0, Fnd_Assertion_Message(113), Fnd_String::Null);
    if (Esc.Is_Null()) {
        Map = Fnd_String(Text.Get_Length(), Fnd_Char(u' '), 1L);
        return;
    }
    Fnd_String plain;
    Resolve(Text.Data(), Text.Get_Length(), Esc, false, plain, &Map);
    Text = std::move(plain);
}

Fnd_Char Fnd_String_Library::To_Escape_Sequence(const Fnd_Char Unit) {
    static constexpr char16_t Letters[] = u"abtnvfr";  // units 7 to 13
    if (Unit >= 7 && Unit <= 13) return Fnd_Char(Letters[Unit - 7]);
    return Unit;
}

void Fnd_String_Library::Insert_Escapes(Fnd_String& Text, const Fnd_String& Set,
                                        const long Start, const long End, const Fnd_Char& Esc) {
    const long length = Text.Get_Length();
    const long first = Start < 0 ? 0 : Start;
    const long last = End < length ? End : length - 1;
    Fnd_String result(length + 8, 1L);
    result.Append_Data(Text.Data(), first < length ? first : length);
    for (long i = first; i <= last; ++i) {
        const Code_Unit unit = Text[i];
        if (Contains(Set, unit)) {
            result.Append(Esc);
            result.Append(To_Escape_Sequence(unit));
        } else {
            result.Append(Fnd_Char(unit));
        }
    }
    if (last + 1 < length && last + 1 >= first)
        result.Append_Data(Text.Data() + last + 1, length - last - 1);
    Text = std::move(result);
}

void Fnd_String_Library::Insert_Escapes(Fnd_String& Text, const Fnd_String& Set,
                                        const long Start, const Fnd_Char& Esc) {
    Insert_Escapes(Text, Set, Start, Text.Get_Length() - 1, Esc);
}

Fnd_String Fnd_String_Library::Insert_Escapes(const Fnd_String& Text, const long Esc_Only) {
    Fnd_String result(Text);
    Fnd_String set(Esc_Only ? Fnd_String() : Standard_Escape_Characters());
    set.Append(Esc());
    Insert_Escapes(result, set, 0, Esc());
    return result;
}

// ---- Quoting

void Fnd_String_Library::Make_Double_Quoted(Fnd_String& Text, const Fnd_Char Quote) {
    Fnd_String result(Text.Get_Length() + 4, 1L);
    for (long i = 0, n = Text.Get_Length(); i < n; ++i) {
        result.Append(Fnd_Char(Text[i]));
        if (Text[i] == Quote.Unit) result.Append(Quote);
    }
    Text = std::move(result);
}

void Fnd_String_Library::Make_Single_Quoted(Fnd_String& Text, const Fnd_Char Quote) {
    Fnd_String result(Text.Get_Length(), 1L);
    for (long i = 0, n = Text.Get_Length(); i < n; ++i) {
        result.Append(Fnd_Char(Text[i]));
        if (Text[i] == Quote.Unit && i + 1 < n && Text[i + 1] == Quote.Unit) ++i;
    }
    Text = std::move(result);
}

Fnd_String Fnd_String_Library::Double_Quotes(const Fnd_String& Text, const Fnd_Char Quote) {
    Fnd_String result(Text);
    Make_Double_Quoted(result, Quote);
    return result;
}

Fnd_String Fnd_String_Library::Single_Quotes(const Fnd_String& Text, const Fnd_Char Quote) {
    Fnd_String result(Text);
    Make_Single_Quoted(result, Quote);
    return result;
}

void Fnd_String_Library::Make_Printable(Fnd_String& Text, const long Force_Quotes) {
    const long before = Text.Get_Length();
    Text = Insert_Escapes(Text, 0);
    bool quote = Text.Get_Length() > before || Force_Quotes || Text.Is_Empty() ||
                 Text.Find(u' ') >= 0 || Text.Find(u'"') >= 0;
    if (!quote) return;
    Text.Ensure_Storage(Text.Get_Length() + 4);
    Make_Double_Quoted(Text, Fnd_Char(u'"'));
    Text.Insert(Fnd_Char(u'"'));
    Text.Append(Fnd_Char(u'"'));
}
