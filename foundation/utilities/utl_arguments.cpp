#include "foundation/utilities/utl_arguments.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_trace.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"
#include "ztcoreutil/tchar.h"

namespace {

// Trace bits of the operations.
enum : int32_t {
    Bit_Constructor = 1 << 0,
    Bit_Copy = 1 << 1,
    Bit_Destructor = 1 << 4,
    Bit_Recreate = 1 << 18,
    Bit_Add_Values = 1 << 19,
    Bit_Make_Empty = 1 << 20,
    Bit_Shorten = 1 << 21,
    Bit_Sort = 1 << 22,
    Bit_Add = 1 << 25,
    Bit_Set = 1 << 27,
    Bit_Insert = 1 << 28,
    Bit_Delete = 1 << 30,
};

long Units(const Code_Unit* Text) {
    long length = 0;
    while (Text[length]) ++length;
    return length;
}

Code_Unit* Copy_Of(const Code_Unit* Text, long Length) {
    auto* copy = new Code_Unit[static_cast<size_t>(Length) + 1];
    std::copy(Text, Text + Length, copy);
    copy[Length] = 0;
    return copy;
}

Code_Unit* Copy_Of(const Code_Unit* Text) { return Copy_Of(Text, Units(Text)); }

// The word with each backslash dropped and the character behind it kept.
Code_Unit* Enquote(const Code_Unit* Word) {
    auto* out = new Code_Unit[static_cast<size_t>(Units(Word)) + 1];
    long n = 0;
    for (const Code_Unit* p = Word; *p; ++p) {
        if (*p == u'\\') {
            if (!*++p) break;  // a lone backslash at the end
        }
        out[n++] = *p;
    }
    out[n] = 0;
    return out;
}

bool Is_Blank(Code_Unit U) { return U == u' ' || U == u'\t'; }

}  // namespace

// ---- Life

Utl_Arguments::Utl_Arguments(long Size) : Capacity(Size < 1 ? 10 : Size) {
    Items.reserve(static_cast<size_t>(Capacity) + 1);
    if (Tracing(2, Bit_Constructor)) Trace_Line(u" constructor " + Fnd_String(u""));
}

Utl_Arguments::Utl_Arguments(Fnd_String& Text, long Size) : Utl_Arguments(Size) { Add_Values(Text); }

Utl_Arguments::Utl_Arguments(const Utl_String_Map& Map, long Copy) : Utl_Arguments(Map.Get_Count()) {
    for (Utl_String_Map_Iterator it(Map); !it.Done(); it.Next())
        Add(it.Get_Domain().Data(), Copy);
}

Utl_Arguments::Utl_Arguments(const Utl_Arguments& Other) : Utl_Arguments(Other.Get_Count()) {
    if (Tracing(2, Bit_Copy)) Trace_Line(u" copy_constructor ");
    for (const Code_Unit* text : Other.Items) {
        if (text)
            Add(text, 1);
        else
            Store(Get_Count(), nullptr, false, true);
    }
}

Utl_Arguments::~Utl_Arguments() {
    if (Tracing(2, Bit_Destructor)) Trace_Line(u" destructor");
    if (Showing(Bit_Destructor)) Show(u"destructor");
    for (Code_Unit* text : Copied) delete[] text;
}

bool Utl_Arguments::Is_Owned(long Index) const {
    const Code_Unit* text = Items[static_cast<size_t>(Index)];
    return text && std::find(Copied.begin(), Copied.end(), text) != Copied.end();
}

// ---- Tracing

bool Utl_Arguments::Tracing(long Level, int32_t Bit) const {
    return Fnd_Tracing(std::max(Trace.trace, Class_Trace.trace), static_cast<int32_t>(Level),
                       Trace.specific_trace | Class_Trace.specific_trace, Bit);
}

bool Utl_Arguments::Showing(int32_t Bit) const {
    return ((Trace.specific_show | Class_Trace.specific_show) & Bit) != 0;
}

void Utl_Arguments::Trace_Line(const Fnd_String& Text) const {
    Fnd_String line(Trace.name ? Trace.name : u"");
    line.Append(Text);
    Fnd_Trace_Line(u"Utl_Arguments", line);
}

// ---- Filling

void Utl_Arguments::Grow() {
    if (Get_Count() < Capacity) return;
    Capacity = (Capacity + 1) * 10;
    Items.reserve(static_cast<size_t>(Capacity) + 1);
}

void Utl_Arguments::Own(Code_Unit* Text) {
    if (Copied.size() == Copied.capacity()) Copied.reserve((Copied.capacity() + 1) * 10);
    Copied.push_back(Text);
}

void Utl_Arguments::Store(long Index, Code_Unit* Text, bool Owned, bool Insert) {
    if (Index < 0 || Index > Get_Count() || (!Insert && Index == Get_Count()))
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - (Insert ? 0 : 1), Index), Fnd_String::Null);
    if (Owned && Text) Own(Text);
    if (Insert) {
        Grow();
        Items.insert(Items.begin() + Index, Text);
    } else {
        Items[static_cast<size_t>(Index)] = Text;
    }
}

void Utl_Arguments::add_items(Code_Unit* Text) {
    Code_Unit* p = Text;
    while (*p) {
        while (Is_Blank(*p)) ++p;
        if (!*p) return;
        Code_Unit* word = p;
        if (*p != u'"') {
            ++p;  // the first character is not tested: a word may begin with a line feed
            while (*p && !Is_Blank(*p) && *p != u'\n') ++p;
        } else {
            word = ++p;
            if (*p) ++p;  // the scan for the closing quote starts at the word's second character
            // A quote closes the word unless a backslash stands in front of it, also
            // one that a backslash before it passed over.
            while (*p && !(*p == u'"' && p[-1] != u'\\')) {
                if (*p == u'\\' && p[1]) ++p;
                ++p;
            }
        }
        const bool at_end = !*p;
        *p = 0;
        Code_Unit* entry = Enquote(word);
        Store(Get_Count(), entry, true, true);
        if (Tracing(3, Bit_Add)) Trace_Line(u" Add " + Fnd_String(entry));
        if (at_end) return;
        ++p;
    }
}

void Utl_Arguments::Add_Values(Fnd_String& Text) {
    if (Showing(Bit_Add_Values)) Show(u"Add_Values");
    if (Tracing(3, Bit_Add_Values)) Trace_Line(u" Add_Values " + Text);
    if (!Text.Is_Empty()) add_items(&Text[0]);
    if (Showing(Bit_Add_Values)) Show(u"Add_Values");
}

void Utl_Arguments::Recreate(Fnd_String& Text) {
    if (Tracing(3, Bit_Recreate)) Trace_Line(u" Recreate " + Text);
    Make_Empty();
    if (!Text.Is_Empty()) add_items(&Text[0]);
    if (Showing(Bit_Recreate)) Show(u"Recreate");
}

void Utl_Arguments::Add_Tokens(const Fnd_String& Text) {
    long position = -1;
    Fnd_String token;
    while (Utl_String_Utilities::Token_Get(token, Text, position, 1)) Add(token);
}

void Utl_Arguments::Add(const Fnd_String& Text) { Add(Text.Data(), 1); }

void Utl_Arguments::Add(const Code_Unit* Text, long Copy) {
    if (Tracing(3, Bit_Add)) Trace_Line(u" Add " + Fnd_String(Text ? Text : u""));
    Store(Get_Count(), Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, true);
    if (Showing(Bit_Add)) Show(u"Add");
}

void Utl_Arguments::Transfer_Add(Fnd_String& Text) {
    if (Tracing(3, Bit_Add)) Trace_Line(u" Transfer_Add " + Text);
    const long length = Text.Get_Length();
    Code_Unit* data = Text.Transfer();
    // Transfer hands over the buffer as it is; make sure it ends at the length.
    if (!data) data = Copy_Of(u"", 0);
    data[length] = 0;
    Store(Get_Count(), data, true, true);
    if (Showing(Bit_Add)) Show(u"Transfer_Add");
}

void Utl_Arguments::Transfer_Add(Code_Unit* Text) {
    if (Tracing(3, Bit_Add)) Trace_Line(u" Transfer_Add " + Fnd_String(Text ? Text : u""));
    Store(Get_Count(), Text, true, true);
    if (Showing(Bit_Add)) Show(u"Transfer_Add");
}

void Utl_Arguments::Set(long Index, const Fnd_String& Text) { Set(Index, Text.Data(), 1); }

void Utl_Arguments::Set(long Index, const Code_Unit* Text, long Copy) {
    if (Tracing(3, Bit_Set)) Trace_Line(u" Set " + Fnd_String(Text ? Text : u""));
    Store(Index, Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, false);
    if (Showing(Bit_Set)) Show(u"Set");
}

void Utl_Arguments::Insert(long Index, const Fnd_String& Text) { Insert(Index, Text.Data(), 1); }

void Utl_Arguments::Insert(long Index, const Code_Unit* Text, long Copy) {
    if (Tracing(3, Bit_Insert)) Trace_Line(u" Insert " + Fnd_String(Text ? Text : u""));
    Store(Index, Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, true);
    if (Showing(Bit_Insert)) Show(u"Insert");
}

void Utl_Arguments::Delete(long Index) { Delete(Index, Index); }

void Utl_Arguments::Delete(long First, long Last) {
    if (Tracing(3, Bit_Delete)) Trace_Line(u" Delete ");
    if (First < 0 || Last >= Get_Count() || First > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - 1, First < 0 || First > Last ? First : Last),
                   Fnd_String::Null);
    Items.erase(Items.begin() + First, Items.begin() + Last + 1);
    if (Showing(Bit_Delete)) Show(u"Delete");
}

Code_Unit* Utl_Arguments::Transfer_Delete(long Index) {
    if (Tracing(3, Bit_Delete)) Trace_Line(u" Transfer_Delete ");
    if (Index < 0 || Index >= Get_Count())
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - 1, Index), Fnd_String::Null);
    auto* text = const_cast<Code_Unit*>(Items[static_cast<size_t>(Index)]);
    Items.erase(Items.begin() + Index);
    auto owned = std::find(Copied.begin(), Copied.end(), text);
    if (text && owned != Copied.end()) Copied.erase(owned);
    if (Showing(Bit_Delete)) Show(u"Transfer_Delete");
    return text;
}

void Utl_Arguments::Make_Empty() {
    if (Tracing(3, Bit_Make_Empty)) Trace_Line(u" Make_Empty");
    if (Showing(Bit_Make_Empty)) Show(u"Make_Empty");
    for (Code_Unit* text : Copied) delete[] text;
    Copied.clear();
    Items.clear();
}

void Utl_Arguments::Shorten(long N) {
    if (Tracing(3, Bit_Shorten)) Trace_Line(u" Shorten ");
    if (Showing(Bit_Shorten)) Show(u"Shorten");
    Items.resize(static_cast<size_t>(std::max(0L, Get_Count() - std::max(0L, N))));
}

void Utl_Arguments::Sort() {
    if (Tracing(3, Bit_Sort)) Trace_Line(u" Sort");
    if (Showing(Bit_Sort)) Show(u"Sort");
    // Null cells first, as an empty text would sort.
    std::stable_sort(Items.begin(), Items.end(), [](const Code_Unit* A, const Code_Unit* B) {
        if (!A || !B) return !A && B;
        return _tcscmp(A, B) < 0;
    });
    if (Showing(Bit_Sort)) Show(u"Sort");
}

// ---- Reading

const Code_Unit* const* Utl_Arguments::Get_Argv_With_Null() {
    if ((other_trace | Class_Trace.specific2_trace) & 1) Trace_Line(u" Get_Argv_With_Null");
    Argv.assign(Items.begin(), Items.end());
    if (Argv.empty() || Argv.back() != nullptr) Argv.push_back(nullptr);
    return Argv.data();
}

void Utl_Arguments::Image(Fnd_String& Out, long By_Lines, long Append, const Code_Unit* Prefix) const {
    if (!Append) Out.Make_Empty();
    Out.Ensure_Storage(Out.Get_Length() + 500);
    for (size_t i = 0; i < Items.size(); ++i) {
        if (By_Lines) {
            if (i > 0) Out.Append(u"\n");
            if (Prefix) Out.Append(Prefix);
        }
        if (Items[i]) {
            Fnd_String text(Items[i]);
            Fnd_String_Library::Make_Printable(text, 0);
            Out.Append(text);
        }
        if (!By_Lines) Out.Append(u" ");
    }
}

const Fnd_String& Utl_Arguments::Image(long By_Lines, const Code_Unit* Prefix) const {
    static Fnd_String* image = new Fnd_String;
    Image(*image, By_Lines, 0, Prefix);
    return *image;
}

void Utl_Arguments::Show(const Code_Unit* Label) const {
    Fnd_String text(u" show");
    if (Label) {
        text.Append(u" ");
        text.Append(Label);
    }
    Fnd_String image;
    if (Items.empty()) {
        image.Append(Utl_Type_Utilities::Prefix);
        image.Append(Utl_Type_Utilities::Empty_Array);
    } else {
        Image(image, 1, 0, Utl_Type_Utilities::Prefix);
    }
    text.Append(u"\n");
    text.Append(image);
    Trace_Line(text);
}

void Utl_Arguments::Range_Delete(long Range) { delete reinterpret_cast<Utl_Arguments*>(Range); }

long Utl_Arguments::Range_Copy(long Range) {
    const auto* arguments = reinterpret_cast<const Utl_Arguments*>(Range);
    return arguments ? reinterpret_cast<long>(new Utl_Arguments(*arguments)) : 0;
}
