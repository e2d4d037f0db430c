#include "foundation/utilities/utl_arguments.h"

#include <algorithm>
#include <cstdlib>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_string_map.h"
#include "foundation/utilities/utl_string_utilities.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_type_utilities.h"
#include "ztcoreutil/tchar.h"

namespace {

// The traced operations: label, bit of the first mask, level.
const Utl_Trace_Op Op_Copy{u" copy_constructor ", Utl_Op_Copy, false, 2};
const Utl_Trace_Op Op_Destructor{u" destructor", Utl_Op_Destructor, false, 2};
const Utl_Trace_Op Op_Recreate{u" Recreate ", Utl_Op_Recreate};
const Utl_Trace_Op Op_Add_Values{u" Add_Values ", Utl_Op_Add_Values};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Shorten{u" Shorten ", Utl_Op_Shorten};
const Utl_Trace_Op Op_Sort{u" Sort", Utl_Op_Sort};
const Utl_Trace_Op Op_Add{u" Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Transfer_Add{u" Transfer_Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Set{u" Set ", Utl_Op_Set};
const Utl_Trace_Op Op_Insert{u" Insert ", Utl_Op_Insert};
const Utl_Trace_Op Op_Delete{u" Delete ", Utl_Op_Delete};
const Utl_Trace_Op Op_Transfer_Delete{u" Transfer_Delete ", Utl_Op_Delete};

Fnd_String Text_Of(const Code_Unit* Text) { return Fnd_String(Text ? Text : u""); }

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
    Trace_Created();
}

Utl_Arguments::Utl_Arguments(Fnd_String& Text, long Size) : Utl_Arguments(Size) { Add_Values(Text); }

Utl_Arguments::Utl_Arguments(const Utl_String_Map& Map, long Copy) : Utl_Arguments(Map.Get_Count()) {
    for (Utl_String_Map_Iterator it(Map); !it.Done(); it.Next())
        Add(it.Get_Domain().Data(), Copy);
}

Utl_Arguments::Utl_Arguments(const Utl_Arguments& Other) : Utl_Arguments(Other.Get_Count()) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Copy, Fnd_String::Null);
    for (const Code_Unit* text : Other.Items) {
        if (text)
            Add(text, 1);
        else
            Store(Get_Count(), nullptr, false, true);
    }
}

Utl_Arguments::~Utl_Arguments() {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Destructor);
    Trace_Deleted();
    for (Code_Unit* text : Copied) delete[] text;
}

bool Utl_Arguments::Is_Owned(long Index) const {
    const Code_Unit* text = Items[static_cast<size_t>(Index)];
    return text && std::find(Copied.begin(), Copied.end(), text) != Copied.end();
}

// ---- Tracing

const Utl_Trace_Class Utl_Arguments::Trace_Class{
    u"Utl_Arguments", u"arguments", Class_Trace, 2123, &Operation, u"empty_array"};

void Utl_Arguments::Trace_Image(Fnd_String& Out) const {
    Image(Out, 1, 1, Utl_Type_Utilities::Prefix);
}

void Utl_Arguments::Trace_Before(const Utl_Trace_Op& Op, const Fnd_String& Detail) const {
    if (Utl_Trace_Active(Class_Trace, Trace))
        Utl_Traced::Before(Trace_Class, Trace, this, Op, Detail);
}

void Utl_Arguments::Trace_Show(const Utl_Trace_Op& Op) const {
    if (Utl_Trace_Active(Class_Trace, Trace))
        Utl_Traced::After(Trace_Class, Trace, this, Op,
                          [this](Fnd_String& Out) { Trace_Image(Out); });
}

void Utl_Arguments::Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                              const Fnd_String& Second) {
    Utl_Traced_Class::Operation(Object, Command, First, Second);
    auto* arguments = static_cast<Utl_Arguments*>(Object);
    long word = -1;
    if (!arguments || !Utl_Tracing::Read_Number(First, word)) return;
    long value = 0;
    if (Command == u"set" && word == Utl_Word_Other_Trace &&
        Utl_Tracing::Read_Number(Second, value))
        arguments->other_trace = static_cast<int32_t>(value);
    else if (Command == u"clear" && word == Utl_Trace_Kind_Trace)
        arguments->other_trace = 0;
    else if (Command == u"clear" && word == Utl_Trace_Kind_Show)
        arguments->other_show = 0;
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
        if (Utl_Trace_Maybe()) [[unlikely]]
            Trace_Before(Op_Add, Fnd_String(entry));
        if (at_end) return;
        ++p;
    }
}

void Utl_Arguments::Add_Values(Fnd_String& Text) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Add_Values);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Add_Values, Text);
    if (!Text.Is_Empty()) add_items(&Text[0]);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Add_Values);
}

void Utl_Arguments::Recreate(Fnd_String& Text) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Recreate, Text);
    Make_Empty();
    if (!Text.Is_Empty()) add_items(&Text[0]);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Recreate);
}

void Utl_Arguments::Add_Tokens(const Fnd_String& Text) {
    long position = -1;
    Fnd_String token;
    while (Utl_String_Utilities::Token_Get(token, Text, position, 1)) Add(token);
}

void Utl_Arguments::Add(const Fnd_String& Text) { Add(Text.Data(), 1); }

void Utl_Arguments::Add(const Code_Unit* Text, long Copy) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Add, Text_Of(Text));
    Store(Get_Count(), Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, true);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Add);
}

void Utl_Arguments::Transfer_Add(Fnd_String& Text) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Transfer_Add, Text);
    const long length = Text.Get_Length();
    Code_Unit* data = Text.Transfer();
    // Transfer hands over the buffer as it is; make sure it ends at the length.
    if (!data) data = Copy_Of(u"", 0);
    data[length] = 0;
    Store(Get_Count(), data, true, true);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Transfer_Add);
}

void Utl_Arguments::Transfer_Add(Code_Unit* Text) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Transfer_Add, Text_Of(Text));
    Store(Get_Count(), Text, true, true);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Transfer_Add);
}

void Utl_Arguments::Set(long Index, const Fnd_String& Text) { Set(Index, Text.Data(), 1); }

void Utl_Arguments::Set(long Index, const Code_Unit* Text, long Copy) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Set, Text_Of(Text));
    Store(Index, Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, false);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Set);
}

void Utl_Arguments::Insert(long Index, const Fnd_String& Text) { Insert(Index, Text.Data(), 1); }

void Utl_Arguments::Insert(long Index, const Code_Unit* Text, long Copy) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Insert, Text_Of(Text));
    Store(Index, Copy && Text ? Copy_Of(Text) : const_cast<Code_Unit*>(Text), Copy != 0, true);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Insert);
}

void Utl_Arguments::Delete(long Index) { Delete(Index, Index); }

void Utl_Arguments::Delete(long First, long Last) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Delete, Fnd_String::Null);
    if (First < 0 || Last >= Get_Count() || First > Last)
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - 1, First < 0 || First > Last ? First : Last),
                   Fnd_String::Null);
    Items.erase(Items.begin() + First, Items.begin() + Last + 1);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Delete);
}

Code_Unit* Utl_Arguments::Transfer_Delete(long Index) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Before(Op_Transfer_Delete, Fnd_String::Null);
    if (Index < 0 || Index >= Get_Count())
        Fnd_Assert(0, Fnd_Array_Range_Error(0, Get_Count() - 1, Index), Fnd_String::Null);
    auto* text = const_cast<Code_Unit*>(Items[static_cast<size_t>(Index)]);
    Items.erase(Items.begin() + Index);
    auto owned = std::find(Copied.begin(), Copied.end(), text);
    if (text && owned != Copied.end()) Copied.erase(owned);
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Transfer_Delete);
    return text;
}

void Utl_Arguments::Make_Empty() {
    if (Utl_Trace_Maybe()) [[unlikely]] {
        Trace_Before(Op_Make_Empty, Fnd_String::Null);
        Trace_Show(Op_Make_Empty);
    }
    for (Code_Unit* text : Copied) delete[] text;
    Copied.clear();
    Items.clear();
}

void Utl_Arguments::Shorten(long N) {
    if (Utl_Trace_Maybe()) [[unlikely]] {
        Trace_Before(Op_Shorten, Fnd_String::Null);
        Trace_Show(Op_Shorten);
    }
    Items.resize(static_cast<size_t>(std::max(0L, Get_Count() - std::max(0L, N))));
}

void Utl_Arguments::Sort() {
    if (Utl_Trace_Maybe()) [[unlikely]] {
        Trace_Before(Op_Sort, Fnd_String::Null);
        Trace_Show(Op_Sort);
    }
    // Null cells first, as an empty text would sort.
    std::stable_sort(Items.begin(), Items.end(), [](const Code_Unit* A, const Code_Unit* B) {
        if (!A || !B) return !A && B;
        return _tcscmp(A, B) < 0;
    });
    if (Utl_Trace_Maybe()) [[unlikely]]
        Trace_Show(Op_Sort);
}

// ---- Reading

const Code_Unit* const* Utl_Arguments::Get_Argv_With_Null() {
    if (Utl_Trace_Maybe() && ((other_trace | Class_Trace.specific2_trace) & 1)) [[unlikely]]
        Utl_Traced::Line(Trace_Class, Trace, this, u" Get_Argv_With_Null", Fnd_String::Null);
    Argv.assign(Items.begin(), Items.end());
    if (Argv.empty() || Argv.back() != nullptr) Argv.push_back(nullptr);
    if (Utl_Trace_Maybe() && ((other_show | Class_Trace.specific2_show) & 1)) [[unlikely]]
        Show(u"Get_Argv_With_Null");
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

void Utl_Arguments::Range_Delete(long Range) { delete reinterpret_cast<Utl_Arguments*>(Range); }

long Utl_Arguments::Range_Copy(long Range) {
    const auto* arguments = reinterpret_cast<const Utl_Arguments*>(Range);
    return arguments ? reinterpret_cast<long>(new Utl_Arguments(*arguments)) : 0;
}
