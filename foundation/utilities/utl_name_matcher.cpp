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
    if (Count >= Capacity) {
        const long capacity = Capacity == 0 ? 10 : 2 * Capacity;
        Fnd_String** cells = new Fnd_String*[capacity]();
        std::copy(Regexps, Regexps + Count, cells);
        delete[] Regexps;
        Regexps = cells;
        Capacity = static_cast<int32_t>(capacity);
    }
    Regexps[Count++] = Fnd_String::Get(Expression(Name));
}

void Utl_Name_Matcher::Store_Singleton(const Fnd_String& Name) {
    Singleton = Expression(Name);
    Count = 1;
}

void Utl_Name_Matcher::Set_Pattern(const Fnd_String& Pattern) {
    Release();
    if (Pattern.Is_Empty()) return;
    const Code_Unit* text = Pattern.Data();
    if (text[0] == u'{') {
        // A set: items cut at "," and "}", stripped, empty ones skipped.
        long start = 1;
        for (long i = 1; i <= Pattern.Get_Length(); ++i) {
            if (i < Pattern.Get_Length() && text[i] != u',' && text[i] != u'}') continue;
            Fnd_String item = Pattern.Get(start, i - start);
            Fnd_String_Library::Strip(item);
            if (!item.Is_Empty()) Store_Name(item);
            start = i + 1;
        }
        if (Count == 1) {
            Singleton = *Regexps[0];
            Regexps[0]->Free();
            delete[] Regexps;
            Regexps = nullptr;
            Capacity = 0;
        } else if (Count == 0) {
            Release();
        }
        return;
    }
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

long Utl_Name_Matcher::Match(const Fnd_String& Name) const {
    if (Count == 0) return 1;
    Fnd_String candidate = Wild && Base_Only ? Last_Element(Name) : Name;
    if (Ignore_Case) Fnd_String_Library::To_Upper(candidate);
    if (Count == 1) return Fnd_String_Library::Match(Singleton, candidate);
    for (long i = 0; i < Count; ++i)
        if (Fnd_String_Library::Match(*Regexps[i], candidate)) return 1;
    return 0;
}
