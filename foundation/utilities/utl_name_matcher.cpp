#include "foundation/utilities/utl_name_matcher.h"

#include <algorithm>

#include "foundation/base/fnd_string_library.h"

namespace {

// The last element of a path, with its trailing "/" if it has one: the search for "/"
// starts at the second-to-last character.
Fnd_String Last_Element(const Fnd_String& Path) {
    const Code_Unit* text = Path.Data();
    for (long i = Path.Get_Length() - 2; i >= 0; --i)
        if (text[i] == u'/') return Path.Get(i + 1, Path.Get_Length() - i - 1);
    return Path;
}

// The next item of Text cut at Separator, behind Pos (the index of the last separator).
// Pos moves to the separator found, or to the length; without a further separator the
// item is the rest when Keep_Tail is set, else empty.
Fnd_String Next_Item(const Fnd_String& Text, long& Pos, Code_Unit Separator, long Keep_Tail) {
    const long start = Pos + 1;
    const Code_Unit* text = Text.Data();
    for (long i = start; i < Text.Get_Length(); ++i) {
        if (text[i] == Separator) {
            Pos = i;
            return Text.Get(start, i - start);
        }
    }
    Pos = Text.Get_Length();
    if (!Keep_Tail || start >= Text.Get_Length()) return Fnd_String();
    return Text.Get(start, Text.Get_Length() - start);
}

}  // namespace

Utl_Name_Matcher::Utl_Name_Matcher() = default;

Utl_Name_Matcher::Utl_Name_Matcher(const Fnd_String& Pattern, long Ignore_Case, long Wild,
                                   long Base_Only)
    : Ignore_Case(Ignore_Case != 0), Wild(Wild != 0), Base_Only(Base_Only != 0), Source(Pattern) {
    Set_Pattern(Pattern);
}

Utl_Name_Matcher::Utl_Name_Matcher(const Utl_Name_Matcher& Other)
    : Ignore_Case(Other.Ignore_Case),
      Wild(Other.Wild),
      Base_Only(Other.Base_Only),
      Source(Other.Source),
      Singleton(Other.Singleton),
      Count(Other.Count),
      Capacity(Other.Capacity) {
    if (!Other.Regexps) return;
    Regexps = new Fnd_String*[Capacity]();
    for (long i = 0; i < Count; ++i) Regexps[i] = Fnd_String::Get(*Other.Regexps[i]);
}

Utl_Name_Matcher::~Utl_Name_Matcher() { Release(); }

void Utl_Name_Matcher::Release() {
    if (Regexps) {
        for (long i = 0; i < Count; ++i)
            if (Regexps[i]) Regexps[i]->Free();
        delete[] Regexps;
        Regexps = nullptr;
    }
    Capacity = 0;
    Count = 0;
}

Fnd_String Utl_Name_Matcher::Expression(const Fnd_String& Name) const {
    Fnd_String result;
    if (Wild) {
        result.Ensure_Storage(2 * Name.Get_Length() + 6);
        result.Append(u"^");
        const Code_Unit first = Name.Is_Empty() ? 0 : Name.Data()[0];
        if (!Base_Only && first != u'/' && first != u'*') result.Append(u"/.*/");
        for (long i = 0; i < Name.Get_Length(); ++i) {
            switch (const Code_Unit c = Name.Data()[i]) {
            case u'*': result.Append(u".*"); break;
            case u'.': result.Append(u"\\."); break;
            case u'+': result.Append(u"\\+"); break;
            case u'?': result.Append(u"."); break;
            default: result.Append(Fnd_Char(c)); break;
            }
        }
        result.Append(u"$");
    } else {
        result = Name;
    }
    if (Ignore_Case) Fnd_String_Library::To_Upper(result);
    return result;
}

void Utl_Name_Matcher::Store_Name(const Fnd_String& Name) {
    Store_Expression(Expression(Name));
}

void Utl_Name_Matcher::Store_Expression(const Fnd_String& Expression) {
    if (Count >= Capacity) {
        const long capacity = Capacity == 0 ? 10 : 2 * Capacity;
        Fnd_String** cells = new Fnd_String*[capacity]();
        std::copy(Regexps, Regexps + Count, cells);
        delete[] Regexps;
        Regexps = cells;
        Capacity = static_cast<int32_t>(capacity);
    }
    Regexps[Count++] = Fnd_String::Get(Expression);
}

void Utl_Name_Matcher::Store_Singleton(const Fnd_String& Name) {
    Singleton = Expression(Name);
    Count = 1;
}

void Utl_Name_Matcher::Set_Pattern(const Fnd_String& Pattern) {
    Release();
    if (Pattern.Is_Empty()) return;
    const Code_Unit* text = Pattern.Data();
    if (text[0] == u'{') return Set_Items(Pattern);
    long pos = -1;
    Fnd_String item = Next_Item(Pattern, pos, u'|', 0);
    if (item.Is_Empty()) {
        Store_Singleton(Pattern);
        return;
    }
    while (!item.Is_Empty()) {
        Store_Name(item);
        if (pos >= Pattern.Get_Length()) break;
        item = Next_Item(Pattern, pos, u'|', 1);
    }
}

// A set in braces: items cut at "," and "}", stripped, empty ones skipped; text behind
// the "}" is one more item. One item ends as the singleton.
void Utl_Name_Matcher::Set_Items(const Fnd_String& Pattern) {
    const Code_Unit* text = Pattern.Data();
    long start = 1;
    for (long i = 1; i <= Pattern.Get_Length(); ++i) {
        if (i < Pattern.Get_Length() && text[i] != u',' && text[i] != u'}') continue;
        Fnd_String item = Pattern.Get(start, i - start);
        Fnd_String_Library::Strip(item);
        if (!item.Is_Empty()) Store_Name(item);
        start = i + 1;
    }
    Keep_Invariant();
}

// One expression lives in the singleton, none in no array.
void Utl_Name_Matcher::Keep_Invariant() {
    if (Count == 1 && Regexps) {
        Singleton = *Regexps[0];
        Regexps[0]->Free();
        delete[] Regexps;
        Regexps = nullptr;
        Capacity = 0;
    } else if (Count == 0) {
        Release();
    }
}

// Items cut at "|": the first with its tail only if Keep_First_Tail, the further ones
// with theirs; the first empty item ends the list.
void Utl_Name_Matcher::Add_Items(const Fnd_String& Pattern, long Keep_First_Tail) {
    long pos = -1;
    Fnd_String item = Next_Item(Pattern, pos, u'|', Keep_First_Tail);
    while (!item.Is_Empty()) {
        Store_Name(item);
        if (pos >= Pattern.Get_Length()) break;
        item = Next_Item(Pattern, pos, u'|', 1);
    }
}

void Utl_Name_Matcher::Reset() {
    Ignore_Case = 0;
    Wild = 0;
    Base_Only = 0;
    Release();
}

void Utl_Name_Matcher::Replace(const Fnd_String& Pattern) {
    Release();
    Source = Pattern;
    Set_Pattern(Pattern);
}

void Utl_Name_Matcher::Add(const Fnd_String& Pattern) {
    if (Pattern.Is_Empty()) return;
    if (Count > 0) {
        Source.Append(u"|");
        Source.Append(Pattern);
        if (Count == 1) {
            const Fnd_String singleton = Singleton;
            Count = 0;
            Store_Expression(singleton);
            Singleton.Make_Empty();
        }
        Add_Items(Pattern, 1);
        Keep_Invariant();
        return;
    }
    if (Pattern.Data()[0] != u'{') {
        Source = Pattern;
        Store_Singleton(Pattern);
        return;
    }
    Set_Items(Pattern);
}

void Utl_Name_Matcher::Merge(const Utl_Name_Matcher& Other) {
    for (long i = 0; i < Other.Count; ++i) {
        const Fnd_String& expression = Other.Expression_At(i);
        Add(Other.Wild ? demassage(expression) : expression);
    }
}

void Utl_Name_Matcher::Make_Exact(const Fnd_String& Name, Fnd_String& Result) {
    Result = Fnd_String(u"^");
    Result.Append(Name);
    Result.Append(u"$");
}

bool Utl_Name_Matcher::operator==(const Utl_Name_Matcher& Other) const {
    return Ignore_Case == Other.Ignore_Case && Wild == Other.Wild &&
           Base_Only == Other.Base_Only && Source == Other.Source;
}

void Utl_Name_Matcher::Image(Fnd_String& Out) const {
    const long start = Out.Get_Length();
    Out.Append(Source);
    for (long i = start; i < Out.Get_Length(); ++i)
        if (Out[i] == u'|') Out[i] = u' ';
}

Fnd_String Utl_Name_Matcher::Image() const {
    Fnd_String out;
    Image(out);
    return out;
}

void Utl_Name_Matcher::Get_Member(Fnd_String& Out, long Index) const {
    if (Index < 0 || Index >= Count) {
        Out.Make_Empty();
        return;
    }
    Out = Wild ? demassage(Expression_At(Index)) : Expression_At(Index);
}

void Utl_Name_Matcher::Set_Member(const Fnd_String& Text, long Index) {
    if (Index < 0 || Index >= Count) return;
    if (Count == 1) {
        Singleton = Expression(Text);
    } else {
        Regexps[Index]->Free();
        Regexps[Index] = Fnd_String::Get(Expression(Text));
    }
}

Fnd_String Utl_Name_Matcher::demassage(const Fnd_String& Expression) {
    Fnd_String name;
    const Code_Unit* text = Expression.Data();
    const long length = Expression.Get_Length();
    long i = 1;  // behind the "^"
    if (length > 3 && text[1] == u'/' && text[2] == u'.' && text[3] == u'*') i = 5;
    for (; i < length - 1; ++i) {  // the closing "$" is not read
        const Code_Unit c = text[i];
        if (c == u'\\') continue;
        if (c != u'.') {
            name.Append(Fnd_Char(c));
        } else if (i + 1 < length - 1 && text[i + 1] == u'*') {
            name.Append(u"*");
            ++i;
        } else {
            name.Append(text[i - 1] == u'\\' ? u"." : u"?");
        }
    }
    return name;
}

long Utl_Name_Matcher::Match(const Fnd_String& Name) const {
    if (Count == 0) return 1;
    Fnd_String candidate = Wild && Base_Only ? Last_Element(Name) : Name;
    if (Ignore_Case) Fnd_String_Library::To_Upper(candidate);
    if (Count == 1) return Fnd_String_Library::Match(Singleton, candidate);
    for (long i = 0; i < Count; ++i)
        if (Fnd_String_Library::Match(*Regexps[i], candidate)) return 1;
    return 0;
}
