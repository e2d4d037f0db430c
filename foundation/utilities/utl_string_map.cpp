#include "foundation/utilities/utl_string_map.h"

#include <algorithm>
#include <vector>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_semaphore.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_name_matcher.h"
#include "foundation/utilities/utl_chain_walk.h"
#include "foundation/utilities/utl_node_free_list.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing_utilities.h"

using Utl_Traced::Quoted;

namespace {

constexpr long Default_Size = 37;
constexpr long Recycled_Sizes = 54;  // lists for the bucket counts 0 to 53

// Nodes of all maps, recycled. A node on the list keeps its domain's buffer, so that
// its next domain is assigned without an allocation.
Utl_Node_Free_List<utl_string_map_data> Free_Nodes;

// Heap maps by bucket count, made on the first Free.
Utl_String_Map** Free_Maps = nullptr;
Fnd_Semaphore* Free_Maps_Lock = nullptr;

utl_string_map_data* Get_Node(const Fnd_String& Domain, long Range) {
    utl_string_map_data* node = Free_Nodes.Take();
    node->domain = Domain;
    node->range = Range;
    node->next = nullptr;
    return node;
}

long Table_Size(long Size) { return Size < 1 ? Default_Size : Size; }

void Fold(Fnd_String& Text, Utl_Domain_Case Case) {
    if (Case == Utl_Case_Lower)
        Fnd_String_Library::To_Lower(Text);
    else if (Case == Utl_Case_Upper)
        Fnd_String_Library::To_Upper(Text);
}

const Code_Unit* Text_Of(const Code_Unit* Text) { return Text ? Text : u""; }

// The range of the view must lie inside its text.
void Check_View(const Fnd_Substring& View) {
    const long length = View.String ? View.String->Get_Length() : 0;
    if (View.Get_Length() > 0 && (View.First < 0 || View.Last >= length))
        Fnd_Assert(0, Fnd_Array_Range_Error(0, length - 1, View.First < 0 ? View.First : View.Last),
                   Fnd_String::Null);
}

const Utl_Trace_Op Op_Bind{u" Bind ", Utl_Op_Bind};
const Utl_Trace_Op Op_Unbind{u" Unbind ", Utl_Op_Unbind};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Get_Range{u" Get_Range ", Utl_Op2_Get_Range, true};
const Utl_Trace_Op Op_Is_Bound{u" Is_Bound ", Utl_Op2_Is_Bound, true};
const Utl_Trace_Op Op_Transfer{u" Transfer_Range ", Utl_Op2_Transfer, true};

}  // namespace

// ---- Tracing

const Utl_Trace_Class Utl_String_Map::Trace_Class{
    u"Utl_String_Map", u"string_map", Class_Trace, 2247, &Operation, u"empty_map"};

void Utl_String_Map::Trace_Image(Fnd_String& Out) const {
    Image(Out, Fnd_String::Null, 0, 1, 1, 1, Utl_Type_Utilities::Prefix, Utl_Type_Utilities::Arrow,
          1);
}

Fnd_String Utl_String_Map::Bind_Detail(const Fnd_String& Domain, long Range) const {
    Fnd_String detail = Quoted(Domain) + Utl_Type_Utilities::Arrow;
    Utl_Type_Utilities::Range_Image(detail, Range_Kind, Range, 1, 0, nullptr);
    return detail;
}

// ---- Construction and recycling

Utl_String_Map::Utl_String_Map(Utl_Range_Kind Kind, long Size, long Null_Range,
                               Utl_Domain_Case Case, Utl_String_Map_Image_Function Image)
    : Table(new utl_string_map_data*[Table_Size(Size)]()),
      Size(static_cast<int32_t>(Table_Size(Size))) {
    Set_Up(Kind, Null_Range, Case, Image);
    Trace_Created();
}

Utl_String_Map::Utl_String_Map(long Size, Utl_Range_Deleter Deleter, Utl_Range_Replacer Replacer,
                               Utl_Range_Copier Copier, Utl_Domain_Case Case,
                               Utl_String_Map_Image_Function Image)
    : Table(new utl_string_map_data*[Table_Size(Size)]()),
      Size(static_cast<int32_t>(Table_Size(Size))) {
    Set_Up(Deleter, Replacer, Copier, Case, Image);
    Trace_Created();
}

Utl_String_Map::Utl_String_Map(const Utl_String_Map& Other)
    : Table(new utl_string_map_data*[Other.Size]()), Size(Other.Size) {
    Set_Up(Other.Range_Kind, Other.Null_Range, Other.Domain_Case, Other.Image_Function);
    *this = Other;
    Trace_Created();
}

Utl_String_Map& Utl_String_Map::operator=(const Utl_String_Map& Other) {
    if (&Other == this) return *this;
    Make_Empty();
    Null_Range = Other.Null_Range;
    Range_Kind = Other.Range_Kind;
    Deleter = Other.Deleter;
    Replacer = Other.Replacer;
    Copier = Other.Copier;
    Image_Function = Other.Image_Function;
    Domain_Case = Other.Domain_Case;
    for (utl_string_map_data* node = Other.first(); node; Other.next(node))
        Bind_Folded(node->domain, Copier ? Copier(node->range) : node->range);
    return *this;
}

Utl_String_Map::~Utl_String_Map() {
    Trace_Deleted();
    Make_Empty();
    delete[] Table;
}

void Utl_String_Map::Set_Up(Utl_Range_Kind Kind, long New_Null_Range, Utl_Domain_Case Case,
                            Utl_String_Map_Image_Function Image) {
    Range_Kind = Kind;
    Null_Range = New_Null_Range;
    Domain_Case = Case;
    Image_Function = Image;
    Replacer = nullptr;
    Utl_Type_Utilities::Set_Range_Deleter(Kind, Deleter);
    Utl_Type_Utilities::Set_Range_Copier(Kind, Copier);
}

void Utl_String_Map::Set_Up(Utl_Range_Deleter New_Deleter, Utl_Range_Replacer New_Replacer,
                            Utl_Range_Copier New_Copier, Utl_Domain_Case Case,
                            Utl_String_Map_Image_Function Image) {
    Range_Kind = Utl_Range_Pointer;
    Null_Range = 0;
    Deleter = New_Deleter;
    Replacer = New_Replacer;
    Copier = New_Copier;
    Domain_Case = Case;
    Image_Function = Image;
}

Utl_String_Map* Utl_String_Map::Take_Free(long Size) {
    const long index = std::max<long>(Size, 1);
    if (index >= Recycled_Sizes) return nullptr;
    Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
    if (!Free_Maps || !Free_Maps[index]) return nullptr;
    Utl_String_Map* map = Free_Maps[index];
    Free_Maps[index] = map->Free_Link;
    map->Free_Link = nullptr;
    map->Trace.Reset();
    return map;
}

Utl_String_Map* Utl_String_Map::Get(Utl_Range_Kind Kind, long Size, long Null_Range,
                                    Utl_Domain_Case Case, Utl_String_Map_Image_Function Image) {
    Utl_String_Map* map = Take_Free(Size);
    if (!map) return new Utl_String_Map(Kind, Size, Null_Range, Case, Image);
    map->Set_Up(Kind, Null_Range, Case, Image);
    map->Trace_Reused();
    return map;
}

Utl_String_Map* Utl_String_Map::Get(long Size, Utl_Range_Deleter Deleter,
                                    Utl_Range_Replacer Replacer, Utl_Range_Copier Copier,
                                    Utl_Domain_Case Case, Utl_String_Map_Image_Function Image) {
    Utl_String_Map* map = Take_Free(Size);
    if (!map) return new Utl_String_Map(Size, Deleter, Replacer, Copier, Case, Image);
    map->Set_Up(Deleter, Replacer, Copier, Case, Image);
    map->Trace_Reused();
    return map;
}

void Utl_String_Map::Free() {
    if (Size >= Recycled_Sizes) {
        delete this;
        return;
    }
    Make_Empty();
    Trace_Freed();
    Trace.registered = 0;
    Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
    if (!Free_Maps) Free_Maps = new Utl_String_Map*[Recycled_Sizes]();
    Free_Link = Free_Maps[Size];
    Free_Maps[Size] = this;
}

Utl_String_Map& Utl_String_Map::Null() {
    static Utl_String_Map* const The_Null = new Utl_String_Map(Utl_Range_Long, 1, 0,
                                                               Utl_Case_Unchanged, nullptr);
    return *The_Null;
}

void Utl_String_Map::Range_Delete(long Range) {
    if (Range) reinterpret_cast<Utl_String_Map*>(Range)->Free();
}

long Utl_String_Map::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_String_Map(*reinterpret_cast<const Utl_String_Map*>(Range)));
}

long Utl_String_Map::Free_Node_Count() {
    return Free_Nodes.Size();
}

long Utl_String_Map::Free_Map_Count(long Size) {
    Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
    if (!Free_Maps || Size < 0 || Size >= Recycled_Sizes) return 0;
    long count = 0;
    for (Utl_String_Map* map = Free_Maps[Size]; map; map = map->Free_Link) ++count;
    return count;
}

// ---- Finding

long Utl_String_Map::Bucket_Of_Hash(long Hash) const {
    // The hash is a signed 32-bit value: characters above 255 reach its sign bit.
    const long remainder = static_cast<int32_t>(Hash) % Size;
    return remainder < 0 ? -remainder : remainder;
}

long Utl_String_Map::Bucket_Of(const Fnd_String& Key) const {
    return Bucket_Of_Hash(Key.Get_Buffer().Hash());
}

long Utl_String_Map::Chain_Length(long Bucket) const {
    if (Bucket < 0 || Bucket >= Size) return 0;
    long length = 0;
    for (const utl_string_map_data* node = Table[Bucket]; node; node = node->next) ++length;
    return length;
}

Fnd_String Utl_String_Map::Folded(const Fnd_String& Key) const {
    Fnd_String folded(Key);
    Fold(folded, Domain_Case);
    return folded;
}

utl_string_map_data* Utl_String_Map::Find(const Fnd_String& Key, long& Bucket) const {
    Bucket = Bucket_Of(Key);
    for (utl_string_map_data* node = Table[Bucket]; node; node = node->next)
        if (node->domain == Key) return node;
    return nullptr;
}

utl_string_map_data* Utl_String_Map::Find(const Code_Unit* Key) const {
    if (Count == 0) return nullptr;
    if (Domain_Case != Utl_Case_Unchanged) return Find_Any(Fnd_String(Key));
    const Code_Unit* text = Text_Of(Key);
    for (utl_string_map_data* node = Table[Bucket_Of_Hash(Fnd_Char_Buffer::Hash(text))]; node;
         node = node->next)
        if (node->domain == text) return node;
    return nullptr;
}

utl_string_map_data* Utl_String_Map::Find_Any(const Fnd_String& Key) const {
    if (Count == 0) return nullptr;
    long bucket = 0;
    if (Domain_Case == Utl_Case_Unchanged) return Find(Key, bucket);
    return Find(Folded(Key), bucket);
}

// ---- Changes

void Utl_String_Map::replace_range(utl_string_map_data* Node, long New_Range) {
    if (Replacer) {
        long result = Node->range;
        Replacer(Node->range, New_Range, &result);
        Node->range = result;
    } else if (Deleter) {
        if (Node->range == New_Range) return;
        Deleter(Node->range);
        Node->range = New_Range;
    } else {
        Node->range = New_Range;
    }
}

void Utl_String_Map::Dispose(utl_string_map_data* Node) {
    if (Deleter) Deleter(Node->range);
    Free_Nodes.Give(Node);
}

long Utl_String_Map::Bind_Folded(const Fnd_String& Domain, long Range) {
    long bucket = 0;
    if (utl_string_map_data* node = Find(Domain, bucket)) {
        replace_range(node, Range);
        return 0;
    }
    utl_string_map_data* node = Get_Node(Domain, Range);
    utl_string_map_data** tail = &Table[bucket];
    while (*tail) tail = &(*tail)->next;
    *tail = node;
    ++Count;
    return 1;
}

long Utl_String_Map::Bind(const Fnd_String& Domain, long Range) {
    const auto detail = [this, &Domain, Range] { return Bind_Detail(Domain, Range); };
    return Traced(Op_Bind, detail, [this, &Domain, Range] {
        if (Domain_Case == Utl_Case_Unchanged) return Bind_Folded(Domain, Range);
        return Bind_Folded(Folded(Domain), Range);
    });
}

long Utl_String_Map::Bind(const Code_Unit* Domain, long Range) {
    return Bind(Fnd_String(Domain), Range);
}

long Utl_String_Map::Bind(const Fnd_String& Domain, const Fnd_String& Range) {
    return Bind(Domain, reinterpret_cast<long>(Fnd_String::Get(Range)));
}

long Utl_String_Map::Bind(const Code_Unit* Domain, const Fnd_String& Range) {
    return Bind(Fnd_String(Domain), Range);
}

utl_string_map_data* Utl_String_Map::Unlink(const Fnd_String& Domain) {
    if (Count == 0) return nullptr;
    const Fnd_String key = Domain_Case == Utl_Case_Unchanged ? Domain : Folded(Domain);
    for (utl_string_map_data** link = &Table[Bucket_Of(key)]; *link; link = &(*link)->next) {
        utl_string_map_data* node = *link;
        if (node->domain == key) {
            *link = node->next;
            --Count;
            return node;
        }
    }
    return nullptr;
}

long Utl_String_Map::Unbind(const Fnd_String& Domain) {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced(Op_Unbind, detail, [this, &Domain] {
        utl_string_map_data* node = Unlink(Domain);
        if (!node) return 0;
        Dispose(node);
        return 1;
    });
}

long Utl_String_Map::Unbind(const Code_Unit* Domain) { return Unbind(Fnd_String(Domain)); }

long Utl_String_Map::Unbind_Matching(const Fnd_String& Pattern) {
    if (Count == 0) return 0;
    Utl_Name_Matcher matcher(Pattern, 0, 1, 1);
    std::vector<Fnd_String> matching;
    matching.reserve(5);
    for (utl_string_map_data* node = first(); node; next(node))
        if (matcher.Match(node->domain)) matching.push_back(node->domain);
    for (const Fnd_String& domain : matching) Unbind(domain);
    return 1;
}

long Utl_String_Map::Transfer_Range(const Fnd_String& Domain) {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced_Line(Op_Transfer, detail, [this, &Domain]() -> long {
        utl_string_map_data* node = Unlink(Domain);
        if (!node) return Null_Range;
        const long range = node->range;
        Free_Nodes.Give(node);
        return range;
    });
}

void Utl_String_Map::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        if (Count == 0) return;
        for (long bucket = 0; bucket < Size; ++bucket) {
            while (utl_string_map_data* node = Table[bucket]) {
                Table[bucket] = node->next;
                Dispose(node);
            }
        }
        Count = 0;
    });
}

// ---- Lookups

long Utl_String_Map::Is_Bound(const Fnd_String& Domain) const {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced_Line(Op_Is_Bound, detail,
                       [this, &Domain]() -> long { return Find_Any(Domain) != nullptr; });
}

long Utl_String_Map::Is_Bound(const Code_Unit* Domain) const {
    const auto detail = [Domain] { return Quoted(Fnd_String(Domain)); };
    return Traced_Line(Op_Is_Bound, detail,
                       [this, Domain]() -> long { return Find(Domain) != nullptr; });
}

long Utl_String_Map::Get_Range(const Fnd_String& Domain) const {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced_Line(Op_Get_Range, detail, [this, &Domain]() -> long {
        const utl_string_map_data* node = Find_Any(Domain);
        return node ? node->range : Null_Range;
    });
}

long Utl_String_Map::Get_Range(const Code_Unit* Domain) const {
    const auto detail = [Domain] { return Quoted(Fnd_String(Domain)); };
    return Traced_Line(Op_Get_Range, detail, [this, Domain]() -> long {
        const utl_string_map_data* node = Find(Domain);
        return node ? node->range : Null_Range;
    });
}

long Utl_String_Map::Get_Range(const Fnd_Substring& Domain) const {
    Check_View(Domain);
    if (Count == 0) return Null_Range;
    if (Domain_Case != Utl_Case_Unchanged || !Domain.String) {
        const Fnd_String key = Domain.String && Domain.Get_Length() > 0
                                   ? Domain.String->Get(Domain.First, Domain.Get_Length())
                                   : Fnd_String();
        return Get_Range(key);
    }
    const long hash = Domain.Get_Length() > 0
                          ? Domain.String->Get_Buffer().Hash(Domain.First, Domain.Last)
                          : 0;
    for (const utl_string_map_data* node = Table[Bucket_Of_Hash(hash)]; node; node = node->next)
        if (node->domain == Domain) return node->range;
    return Null_Range;
}

long Utl_String_Map::Get_Range(const Fnd_Sub_C_String& Domain) const {
    if (Count == 0) return Null_Range;
    const long length = Domain.Text ? std::max<long>(Domain.Get_Length(), 0) : 0;
    if (Domain_Case != Utl_Case_Unchanged || length == 0)
        return Get_Range(length ? Fnd_String(Domain.Text + Domain.First, length) : Fnd_String());
    const long hash = Fnd_Char_Buffer::Hash(Domain.Text, Domain.First, Domain.Last);
    for (const utl_string_map_data* node = Table[Bucket_Of_Hash(hash)]; node; node = node->next)
        if (node->domain == Domain) return node->range;
    return Null_Range;
}

long Utl_String_Map::Get_Range(const Fnd_String& Domain, long& Out) const {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced_Line(Op_Get_Range, detail, [this, &Domain, &Out]() -> long {
        const utl_string_map_data* node = Find_Any(Domain);
        Out = node ? node->range : Null_Range;
        return node != nullptr;
    });
}

long Utl_String_Map::Get_Range(const Code_Unit* Domain, long& Out) const {
    const utl_string_map_data* node = Find(Domain);
    Out = node ? node->range : Null_Range;
    return node != nullptr;
}

long Utl_String_Map::Get_Range(const Fnd_String& Domain, Fnd_String*& Out) const {
    const auto detail = [&] { return Quoted(Domain); };
    return Traced_Line(Op_Get_Range, detail, [this, &Domain, &Out]() -> long {
        const utl_string_map_data* node = Find_Any(Domain);
        Out = node ? reinterpret_cast<Fnd_String*>(node->range) : nullptr;
        return node != nullptr;
    });
}

long Utl_String_Map::Get_Range(const Code_Unit* Domain, Fnd_String*& Out) const {
    const utl_string_map_data* node = Find(Domain);
    Out = node ? reinterpret_cast<Fnd_String*>(node->range) : nullptr;
    return node != nullptr;
}

long Utl_String_Map::Get_Range(const Fnd_String& Domain, Fnd_String& Out) const {
    Fnd_String* range = nullptr;
    const long found = Get_Range(Domain, range);
    if (range)
        Out = *range;
    else
        Out.Make_Empty();
    return found;
}

long Utl_String_Map::Get_Range(const Code_Unit* Domain, Fnd_String& Out) const {
    Fnd_String* range = nullptr;
    const long found = Get_Range(Domain, range);
    if (range)
        Out = *range;
    else
        Out.Make_Empty();
    return found;
}

// ---- Walking

utl_string_map_data* Utl_String_Map::first() const {
    long bucket = 0;
    return Count == 0 ? nullptr : Utl_Chain_Head(Table, Size, bucket);
}

void Utl_String_Map::next(utl_string_map_data*& Node) const {
    if (!Node) return;
    long bucket = Bucket_Of(Node->domain);
    Node = Utl_Chain_Next(Node, Table, Size, bucket);
}

void Utl_String_Map::get_data(const utl_string_map_data* Node, Fnd_String& Domain, long& Range) {
    Domain = Node->domain;
    Range = Node->range;
}

void Utl_String_Map::get_data(const utl_string_map_data* Node, Fnd_String& Domain,
                              Fnd_String& Range) {
    Domain = Node->domain;
    if (Node->range)
        Range = *reinterpret_cast<const Fnd_String*>(Node->range);
    else
        Range.Make_Empty();
}

long* Utl_String_Map::get_range_address(const Code_Unit* Key) const {
    utl_string_map_data* node = Find(Key);
    return node ? &node->range : nullptr;
}

long* Utl_String_Map::get_range_address(const Fnd_String& Key) const {
    utl_string_map_data* node = Find_Any(Key);
    return node ? &node->range : nullptr;
}

void Utl_String_Map::iterate(Utl_String_Map_Iterator* Iterator) const {
    Iterator->Map = this;
    Iterator->Bucket = 0;
    Iterator->Node = Count == 0 ? nullptr : Utl_Chain_Head(Table, Size, Iterator->Bucket);
}

void Utl_String_Map::next(Utl_String_Map_Iterator* Iterator) const {
    if (Iterator->Node)
        Iterator->Node = Utl_Chain_Next(Iterator->Node, Table, Size, Iterator->Bucket);
}

const Fnd_String& Utl_String_Map::get_domain(const Utl_String_Map_Iterator* Iterator) const {
    return Iterator->Node ? Iterator->Node->domain : Fnd_String::Null;
}

long Utl_String_Map::get_range(const Utl_String_Map_Iterator* Iterator) const {
    return Iterator->Node ? Iterator->Node->range : 0;
}

// ---- Image

void Utl_String_Map::Image(Fnd_String& Out, const Fnd_String& Options, long Quote_Domains,
                           long Quote_Strings, long Multiline, long Append,
                           const Code_Unit* Prefix, const Code_Unit* Separator,
                           long Align) const {
    Utl_Trace_Silencer quiet_map(Class_Trace);
    Utl_Trace_Silencer quiet_iterator(Utl_String_Map_Iterator::Class_Trace);
    if (!Append) Out.Make_Empty();

    const long domains_only = Options == Utl_Type_Utilities::Domain;
    Utl_Name_Matcher* excluded = nullptr;
    static constexpr Code_Unit Exclude_Colon[] = u"exclude:";
    if (Options.Get_Length() >= 9 && Options.Compare(0, 8, Exclude_Colon, 0))
        excluded = new Utl_Name_Matcher(Options.Get(8, Options.Get_Length() - 8), 0, 1, 1);

    std::vector<const utl_string_map_data*> entries;
    entries.reserve(static_cast<size_t>(Count));
    for (utl_string_map_data* node = first(); node; next(node))
        if (!excluded || !excluded->Match(node->domain)) entries.push_back(node);
    delete excluded;
    std::sort(entries.begin(), entries.end(), [](const auto* A, const auto* B) {
        return Fnd_String_Library::Collate(A->domain, B->domain) < 0;
    });

    long width = 0;
    if (Align && Multiline && !domains_only)
        for (const utl_string_map_data* node : entries)
            width = std::max(width, node->domain.Get_Length());

    long first_entry = 1;
    for (const utl_string_map_data* node : entries) {
        if (Multiline) {
            if (!Out.Is_Empty()) Out.Append(u"\n");
            if (Prefix) Out.Append(Prefix);
        } else if (!first_entry) {
            Out.Append(u" ");
        }
        first_entry = 0;
        if (Quote_Domains) Out.Append(u"\"");
        Out.Append(node->domain);
        if (Quote_Domains) Out.Append(u"\"");
        if (domains_only) continue;
        for (long pad = node->domain.Get_Length(); pad < width; ++pad) Out.Append(u" ");
        if (Separator) Out.Append(Separator);
        if (Image_Function)
            Image_Function(Out, Options, *this, node->domain, node->range, Multiline, Prefix);
        else
            Utl_Type_Utilities::Range_Image(Out, Range_Kind, node->range, Quote_Strings,
                                            Multiline, Prefix);
    }
}

const Fnd_String& Utl_String_Map::Image(const Fnd_String& Options, long Multiline, long Append,
                                        const Code_Unit* Prefix, const Code_Unit* Separator,
                                        long Align) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Options, 0, 1, Multiline, Append, Prefix, Separator, Align);
    return *Shared;
}

void Utl_String_Map::Set_Difference(const Utl_String_Map& A, const Utl_String_Map& B,
                                    Utl_String_Map& Result) {
    Result.Make_Empty();
    Fnd_String mine;
    Fnd_String theirs;
    for (utl_string_map_data* node = A.first(); node; A.next(node)) {
        if (node->range)
            mine = *reinterpret_cast<const Fnd_String*>(node->range);
        else
            mine.Make_Empty();
        B.Get_Range(node->domain, theirs);
        if (!(mine == theirs)) Result.Bind(node->domain, node->range);
    }
}

// ---- Utl_String_Map_Iterator

Utl_String_Map_Iterator::Utl_String_Map_Iterator(const Utl_String_Map& Map) : Map(&Map) {
    Map.iterate(this);
}

void Utl_String_Map_Iterator::Reset() { Map->iterate(this); }

void Utl_String_Map_Iterator::Next() { Map->next(this); }

const Fnd_String& Utl_String_Map_Iterator::Get_Domain() const { return Map->get_domain(this); }

void Utl_String_Map_Iterator::Get_Domain(Fnd_String& Out) const {
    if (Node)
        Out = Node->domain;
    else
        Out.Make_Empty();
}

long Utl_String_Map_Iterator::Get_Range() const { return Map->get_range(this); }

void Utl_String_Map_Iterator::Get_Range(Fnd_String*& Out) const {
    Out = Node ? reinterpret_cast<Fnd_String*>(Node->range) : nullptr;
}

void Utl_String_Map_Iterator::Get_Range(Fnd_String& Out) const {
    Fnd_Assert(Node && Node->range, u"Utl_String_Map_Iterator::Get_Range: no string here");
    Out = *reinterpret_cast<const Fnd_String*>(Node->range);
}

void Utl_String_Map_Iterator::Replace_Range(long Range) {
    if (Node) const_cast<Utl_String_Map*>(Map)->replace_range(Node, Range);
}

void Utl_String_Map_Iterator::Replace_Range(Fnd_String* Range) {
    Replace_Range(reinterpret_cast<long>(Range));
}

void Utl_String_Map_Iterator::Replace_Range(const Fnd_String& Range) {
    if (Node) Replace_Range(Fnd_String::Get(Range));
}
