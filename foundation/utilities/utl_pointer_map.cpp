#include "foundation/utilities/utl_pointer_map.h"

#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

#include <algorithm>

#include "foundation/base/fnd_semaphore.h"
#include "foundation/utilities/utl_long_array.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_chain_walk.h"
#include "foundation/utilities/utl_node_free_list.h"

using Utl_Traced::Address_Text;

namespace {

constexpr long Recycled_Sizes = 54;

constexpr Code_Unit Kind_Pointer[] = u"pointer";
constexpr Code_Unit Kind_Long[] = u"long";

// Nodes of all pointer maps and of all pointer sets, and heap maps by bucket count.
Utl_Node_Free_List<utl_pointer_map_data> Free_Map_Nodes;
Utl_Node_Free_List<utl_pointer_set_data> Free_Set_Nodes;
Utl_Pointer_Map** Free_Maps = nullptr;
Fnd_Semaphore* Free_Maps_Lock = nullptr;

utl_pointer_map_data* Get_Map_Node(long Domain, long Range) {
    utl_pointer_map_data* node = Free_Map_Nodes.Take();
    node->domain = Domain;
    node->range = Range;
    node->next = nullptr;
    return node;
}

utl_pointer_set_data* Get_Set_Node(long Member) {
    utl_pointer_set_data* node = Free_Set_Nodes.Take();
    node->member = Member;
    node->next = nullptr;
    return node;
}

long Word_Bucket(long Word, long Size) {
    return static_cast<long>((static_cast<unsigned long>(Word) >> 8) %
                             static_cast<unsigned long>(Size));
}

void Line_Start(Fnd_String& Out, long Multiline, const Code_Unit* Prefix) {
    if (Multiline) {
        if (!Out.Is_Empty()) Out.Append(u"\n");
        if (Prefix) Out.Append(Prefix);
    } else {
        Out.Append(u" ");
    }
}

void Key_Image(Fnd_String& Out, Utl_Domain_Kind Kind, long Key) {
    if (Kind == Utl_Domain_Long)
        Utl_Tracing_Utilities::Value(Out, Key, 0);
    else
        Utl_Tracing_Utilities::Value(Out, reinterpret_cast<const void*>(Key), 0);
}

}  // namespace

const Code_Unit* const Utl_Domain_Kind_Table[] = {Kind_Pointer, Kind_Long, nullptr};

// ---- Utl_Pointer_Map

// ---- Tracing

const Utl_Trace_Class Utl_Pointer_Map::Trace_Class{
    u"Utl_Pointer_Map", u"pointer_map", Class_Trace, 2247, &Operation, u"empty_map"};

void Utl_Pointer_Map::Trace_Image(Fnd_String& Out) const {
    Image(Out, Fnd_String::Null, 1, 1, Utl_Type_Utilities::Prefix, Utl_Type_Utilities::Arrow, 1);
}

// ---- Tracing

const Utl_Trace_Class Utl_Pointer_Set::Trace_Class{
    u"Utl_Pointer_Set", u"pointer_set", Class_Trace, 2247, &Operation, u"empty_set"};

void Utl_Pointer_Set::Trace_Image(Fnd_String& Out) const {
    Image(Out, Fnd_String::Null, 1, 1, Utl_Type_Utilities::Prefix);
}

namespace {
const Utl_Trace_Op Op_Bind{u" Bind ", Utl_Op_Bind};
const Utl_Trace_Op Op_Unbind{u" Unbind ", Utl_Op_Unbind};
const Utl_Trace_Op Op_Add{u" Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Remove{u" Remove ", Utl_Op_Remove};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Get_Range{u" Get_Range ", Utl_Op2_Get_Range, true};
const Utl_Trace_Op Op_Is_Bound{u" Is_Bound ", Utl_Op2_Is_Bound, true};
const Utl_Trace_Op Op_Contains{u" Contains ", Utl_Op2_Contains, true};
}  // namespace

Utl_Pointer_Map::Utl_Pointer_Map(Utl_Domain_Kind Domain_Kind, Utl_Range_Kind Range_Kind,
                                 long Size, long Null_Range, Utl_Range_Deleter Domain_Deleter,
                                 Utl_Range_Copier Domain_Copier,
                                 Utl_Word_Image_Function Domain_Image,
                                 Utl_Range_Deleter Range_Deleter,
                                 Utl_Range_Replacer Range_Replacer,
                                 Utl_Range_Copier Range_Copier,
                                 Utl_Word_Image_Function Range_Image)
    : Table(new utl_pointer_map_data*[Size < 1 ? 37 : Size]()),
      Size(static_cast<int32_t>(Size < 1 ? 37 : Size)) {
    Set_Up(Domain_Kind, Range_Kind, Null_Range, Domain_Deleter, Domain_Copier, Domain_Image,
           Range_Deleter, Range_Replacer, Range_Copier, Range_Image);
    Trace_Created();
}

Utl_Pointer_Map::Utl_Pointer_Map(const Utl_Pointer_Map& Other)
    : Table(new utl_pointer_map_data*[Other.Size]()), Size(Other.Size) {
    Set_Up(Other.Domain_Kind, Other.Range_Kind, Other.Null_Range, Other.Domain_Deleter,
           Other.Domain_Copier, Other.Domain_Image, Other.Range_Deleter, Other.Range_Replacer,
           Other.Range_Copier, Other.Range_Image);
    *this = Other;
    Trace_Created();
}

Utl_Pointer_Map& Utl_Pointer_Map::operator=(const Utl_Pointer_Map& Other) {
    if (&Other == this) return *this;
    Make_Empty();
    Set_Up(Other.Domain_Kind, Other.Range_Kind, Other.Null_Range, Other.Domain_Deleter,
           Other.Domain_Copier, Other.Domain_Image, Other.Range_Deleter, Other.Range_Replacer,
           Other.Range_Copier, Other.Range_Image);
    for (utl_pointer_map_data* node = Other.first(); node; Other.next(node))
        Bind(Domain_Copier ? Domain_Copier(node->domain) : node->domain,
             Range_Copier ? Range_Copier(node->range) : node->range);
    return *this;
}

Utl_Pointer_Map::~Utl_Pointer_Map() {
    Trace_Deleted();
    Make_Empty();
    delete[] Table;
}

void Utl_Pointer_Map::Set_Up(Utl_Domain_Kind New_Domain_Kind, Utl_Range_Kind New_Range_Kind,
                             long New_Null_Range, Utl_Range_Deleter New_Domain_Deleter,
                             Utl_Range_Copier New_Domain_Copier,
                             Utl_Word_Image_Function New_Domain_Image,
                             Utl_Range_Deleter New_Range_Deleter,
                             Utl_Range_Replacer New_Range_Replacer,
                             Utl_Range_Copier New_Range_Copier,
                             Utl_Word_Image_Function New_Range_Image) {
    Domain_Kind = New_Domain_Kind;
    Range_Kind = New_Range_Kind;
    Null_Range = New_Null_Range;
    Domain_Deleter = New_Domain_Deleter;
    Domain_Copier = New_Domain_Copier;
    Domain_Image = New_Domain_Image;
    Range_Deleter = New_Range_Deleter;
    Range_Replacer = New_Range_Replacer;
    Range_Copier = New_Range_Copier;
    Range_Image = New_Range_Image;
    if (!Range_Deleter) Utl_Type_Utilities::Set_Range_Deleter(Range_Kind, Range_Deleter);
    if (!Range_Copier) Utl_Type_Utilities::Set_Range_Copier(Range_Kind, Range_Copier);
}

Utl_Pointer_Map* Utl_Pointer_Map::Get(Utl_Domain_Kind Domain_Kind, Utl_Range_Kind Range_Kind,
                                      long Size, long Null_Range,
                                      Utl_Range_Deleter Domain_Deleter,
                                      Utl_Range_Copier Domain_Copier,
                                      Utl_Word_Image_Function Domain_Image,
                                      Utl_Range_Deleter Range_Deleter,
                                      Utl_Range_Replacer Range_Replacer,
                                      Utl_Range_Copier Range_Copier,
                                      Utl_Word_Image_Function Range_Image) {
    const long index = std::max<long>(Size, 1);
    Utl_Pointer_Map* map = nullptr;
    if (index < Recycled_Sizes) {
        Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
        if (Free_Maps && Free_Maps[index]) {
            map = Free_Maps[index];
            Free_Maps[index] = map->Free_Link;
            map->Free_Link = nullptr;
        }
    }
    if (!map)
        return new Utl_Pointer_Map(Domain_Kind, Range_Kind, Size, Null_Range, Domain_Deleter,
                                   Domain_Copier, Domain_Image, Range_Deleter, Range_Replacer,
                                   Range_Copier, Range_Image);
    map->Trace.Reset();
    map->Set_Up(Domain_Kind, Range_Kind, Null_Range, Domain_Deleter, Domain_Copier, Domain_Image,
                Range_Deleter, Range_Replacer, Range_Copier, Range_Image);
    map->Trace_Reused();
    return map;
}

void Utl_Pointer_Map::Free() {
    if (Size >= Recycled_Sizes) {
        delete this;
        return;
    }
    Make_Empty();
    Trace_Freed();
    Trace.registered = 0;
    Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
    if (!Free_Maps) Free_Maps = new Utl_Pointer_Map*[Recycled_Sizes]();
    Free_Link = Free_Maps[Size];
    Free_Maps[Size] = this;
}

void Utl_Pointer_Map::Range_Delete(long Range) {
    if (Range) reinterpret_cast<Utl_Pointer_Map*>(Range)->Free();
}

long Utl_Pointer_Map::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_Pointer_Map(*reinterpret_cast<const Utl_Pointer_Map*>(Range)));
}

long Utl_Pointer_Map::Free_Node_Count() {
    return Free_Map_Nodes.Size();
}

long Utl_Pointer_Map::Free_Map_Count(long Size) {
    Fnd_Semaphore_Guard guard(Free_Maps_Lock, 1, 1, 1);
    if (!Free_Maps || Size < 0 || Size >= Recycled_Sizes) return 0;
    long count = 0;
    for (Utl_Pointer_Map* map = Free_Maps[Size]; map; map = map->Free_Link) ++count;
    return count;
}

long Utl_Pointer_Map::Bucket_Of(long Key) const { return Word_Bucket(Key, Size); }

long Utl_Pointer_Map::Chain_Length(long Bucket) const {
    if (Bucket < 0 || Bucket >= Size) return 0;
    long length = 0;
    for (const utl_pointer_map_data* node = Table[Bucket]; node; node = node->next) ++length;
    return length;
}

utl_pointer_map_data* Utl_Pointer_Map::Find(long Key) const {
    if (Count == 0) return nullptr;
    for (utl_pointer_map_data* node = Table[Bucket_Of(Key)]; node; node = node->next)
        if (node->domain == Key) return node;
    return nullptr;
}

void Utl_Pointer_Map::replace_range(utl_pointer_map_data* Node, long New_Range) {
    if (Range_Replacer) {
        long result = Node->range;
        Range_Replacer(Node->range, New_Range, &result);
        Node->range = result;
    } else if (Range_Deleter) {
        if (Node->range == New_Range) return;
        Range_Deleter(Node->range);
        Node->range = New_Range;
    } else {
        Node->range = New_Range;
    }
}

long Utl_Pointer_Map::Bind(void* Key, void* Range) {
    return Bind(reinterpret_cast<long>(Key), reinterpret_cast<long>(Range));
}

long Utl_Pointer_Map::Bind(long Key, long Range) {
    const auto detail = [Key, Range] {
        return Address_Text(reinterpret_cast<const void*>(Key)) + Utl_Type_Utilities::Arrow +
               Address_Text(reinterpret_cast<const void*>(Range));
    };
    return Traced(Op_Bind, detail, [this, Key, Range] {
        if (utl_pointer_map_data* node = Find(Key)) {
            replace_range(node, Range);
            return 0;
        }
        utl_pointer_map_data** tail = &Table[Bucket_Of(Key)];
        while (*tail) tail = &(*tail)->next;
        *tail = Get_Map_Node(Key, Range);
        ++Count;
        return 1;
    });
}

long Utl_Pointer_Map::Unbind(void* Key) { return Unbind(reinterpret_cast<long>(Key)); }

long Utl_Pointer_Map::Unbind(long Key) {
    const auto detail = [Key] { return Address_Text(reinterpret_cast<const void*>(Key)); };
    return Traced(Op_Unbind, detail, [this, Key] {
        if (Count == 0) return 0;
        for (utl_pointer_map_data** link = &Table[Bucket_Of(Key)]; *link; link = &(*link)->next) {
            utl_pointer_map_data* node = *link;
            if (node->domain != Key) continue;
            *link = node->next;
            --Count;
            if (Domain_Deleter) Domain_Deleter(node->domain);
            if (Range_Deleter) Range_Deleter(node->range);
            Free_Map_Nodes.Give(node);
            return 1;
        }
        return 0;
    });
}

void Utl_Pointer_Map::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        if (Count == 0) return;
        for (long bucket = 0; bucket < Size; ++bucket) {
            while (utl_pointer_map_data* node = Table[bucket]) {
                Table[bucket] = node->next;
                if (Domain_Deleter) Domain_Deleter(node->domain);
                if (Range_Deleter) Range_Deleter(node->range);
                Free_Map_Nodes.Give(node);
            }
        }
        Count = 0;
    });
}

long Utl_Pointer_Map::Is_Bound(void* Key) const { return Is_Bound(reinterpret_cast<long>(Key)); }

long Utl_Pointer_Map::Is_Bound(long Key) const {
    const auto detail = [Key] { return Address_Text(reinterpret_cast<const void*>(Key)); };
    return Traced_Line(Op_Is_Bound, detail, [this, Key]() -> long { return Find(Key) != nullptr; });
}

void* Utl_Pointer_Map::Get_Range(void* Key) const {
    return reinterpret_cast<void*>(Get_Range(reinterpret_cast<long>(Key)));
}

long Utl_Pointer_Map::Get_Range(long Key) const {
    const auto detail = [Key] { return Address_Text(reinterpret_cast<const void*>(Key)); };
    return Traced_Line(Op_Get_Range, detail, [this, Key]() -> long {
        const utl_pointer_map_data* node = Find(Key);
        return node ? node->range : Null_Range;
    });
}

long Utl_Pointer_Map::Get_Range(void* Key, void*& Out) const {
    long range = 0;
    const long found = Get_Range(reinterpret_cast<long>(Key), range);
    Out = reinterpret_cast<void*>(range);
    return found;
}

long Utl_Pointer_Map::Get_Range(long Key, long& Out) const {
    const auto detail = [Key] { return Address_Text(reinterpret_cast<const void*>(Key)); };
    return Traced_Line(Op_Get_Range, detail, [this, Key, &Out]() -> long {
        const utl_pointer_map_data* node = Find(Key);
        Out = node ? node->range : Null_Range;
        return node != nullptr;
    });
}

utl_pointer_map_data* Utl_Pointer_Map::first() const {
    long bucket = 0;
    return Count == 0 ? nullptr : Utl_Chain_Head(Table, Size, bucket);
}

void Utl_Pointer_Map::next(utl_pointer_map_data*& Node) const {
    if (!Node) return;
    long bucket = Bucket_Of(Node->domain);
    Node = Utl_Chain_Next(Node, Table, Size, bucket);
}

void Utl_Pointer_Map::get_data(const utl_pointer_map_data* Node, void*& Domain, void*& Range) {
    Domain = reinterpret_cast<void*>(Node->domain);
    Range = reinterpret_cast<void*>(Node->range);
}

long* Utl_Pointer_Map::get_range_address(void* Key) const {
    utl_pointer_map_data* node = Find(reinterpret_cast<long>(Key));
    return node ? &node->range : nullptr;
}

void Utl_Pointer_Map::Image(Fnd_String& Out, const Fnd_String& Options, long Multiline,
                            long Append, const Code_Unit* Prefix, const Code_Unit* Separator,
                            long Align) const {
    Utl_Trace_Silencer quiet_map(Class_Trace);
    Utl_Trace_Silencer quiet_iterator(Utl_Pointer_Map_Iterator::Class_Trace);
    if (!Append) Out.Make_Empty();
    const long domains_only = Options == Utl_Type_Utilities::Domain;

    Utl_Long_Array keys(Count);
    for (utl_pointer_map_data* node = first(); node; next(node)) keys.Add(node->domain);
    keys.Sort();

    // Keys are printed first, so that an aligned image knows the widest.
    Utl_Long_Array key_lengths(Count);
    Fnd_String printed;
    long width = 0;
    if (Align && Multiline && !domains_only) {
        for (long i = 0; i < keys.Get_Count(); ++i) {
            printed.Make_Empty();
            if (Domain_Image)
                Domain_Image(printed, Options, keys[i], Multiline, Prefix);
            else
                Key_Image(printed, Domain_Kind, keys[i]);
            width = std::max(width, printed.Get_Length());
        }
    }
    for (long i = 0; i < keys.Get_Count(); ++i) {
        Line_Start(Out, Multiline, Prefix);
        const long before = Out.Get_Length();
        if (Domain_Image)
            Domain_Image(Out, Options, keys[i], Multiline, Prefix);
        else
            Key_Image(Out, Domain_Kind, keys[i]);
        if (domains_only) continue;
        for (long pad = Out.Get_Length() - before; pad < width; ++pad) Out.Append(u" ");
        if (Separator) Out.Append(Separator);
        const long range = Get_Range(keys[i]);
        if (Range_Image)
            Range_Image(Out, Options, range, Multiline, Prefix);
        else
            Utl_Type_Utilities::Range_Image(Out, Range_Kind, range, 1, Multiline, Prefix);
    }
}

const Fnd_String& Utl_Pointer_Map::Image(const Fnd_String& Options, long Multiline,
                                         const Code_Unit* Prefix, const Code_Unit* Separator,
                                         long Align) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Options, Multiline, 0, Prefix, Separator, Align);
    return *Shared;
}

Utl_Pointer_Map_Iterator::Utl_Pointer_Map_Iterator(const Utl_Pointer_Map& Map) : Map(&Map) {
    Reset();
}

void Utl_Pointer_Map_Iterator::Reset() {
    Bucket = 0;
    Node = Map->first();
    if (Node) Bucket = Map->Bucket_Of(Node->domain);
}

void Utl_Pointer_Map_Iterator::Next() {
    if (!Node) return;
    if (Node->next) {
        Node = Node->next;
        return;
    }
    Node = nullptr;
    while (++Bucket < Map->Size) {
        if (Map->Table[Bucket]) {
            Node = Map->Table[Bucket];
            return;
        }
    }
}

void Utl_Pointer_Map_Iterator::Replace_Range(long Range) {
    if (Node) const_cast<Utl_Pointer_Map*>(Map)->replace_range(Node, Range);
}

// ---- Utl_Pointer_Set

Utl_Pointer_Set::Utl_Pointer_Set(Utl_Range_Kind Kind, long Size, Utl_Range_Deleter Deleter,
                                 Utl_Range_Copier Copier, Utl_Word_Image_Function Image)
    : Table(new utl_pointer_set_data*[Size < 1 ? 17 : Size]()),
      Size(static_cast<int32_t>(Size < 1 ? 17 : Size)),
      Member_Kind(Kind),
      Deleter(Deleter),
      Copier(Copier),
      Image_Function(Image) {
    if (!Deleter) Utl_Type_Utilities::Set_Range_Deleter(Kind, this->Deleter);
    if (!Copier) Utl_Type_Utilities::Set_Range_Copier(Kind, this->Copier);
    Trace_Created();
}

Utl_Pointer_Set::Utl_Pointer_Set(const Utl_Pointer_Set& Other)
    : Table(new utl_pointer_set_data*[Other.Size]()),
      Size(Other.Size),
      Member_Kind(Other.Member_Kind),
      Deleter(Other.Deleter),
      Copier(Other.Copier),
      Image_Function(Other.Image_Function) {
    *this = Other;
    Trace_Created();
}

Utl_Pointer_Set& Utl_Pointer_Set::operator=(const Utl_Pointer_Set& Other) {
    if (&Other == this) return *this;
    Make_Empty();
    Member_Kind = Other.Member_Kind;
    Deleter = Other.Deleter;
    Copier = Other.Copier;
    Image_Function = Other.Image_Function;
    for (utl_pointer_set_data* node = Other.first(); node; Other.next(node))
        Add(reinterpret_cast<void*>(Copier ? Copier(node->member) : node->member));
    return *this;
}

Utl_Pointer_Set::~Utl_Pointer_Set() {
    Trace_Deleted();
    Make_Empty();
    delete[] Table;
}

void Utl_Pointer_Set::Range_Delete(long Range) {
    delete reinterpret_cast<Utl_Pointer_Set*>(Range);
}

long Utl_Pointer_Set::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_Pointer_Set(*reinterpret_cast<const Utl_Pointer_Set*>(Range)));
}

long Utl_Pointer_Set::Bucket_Of(long Member) const { return Word_Bucket(Member, Size); }

utl_pointer_set_data* Utl_Pointer_Set::Find(long Member) const {
    if (Count == 0) return nullptr;
    for (utl_pointer_set_data* node = Table[Bucket_Of(Member)]; node; node = node->next)
        if (node->member == Member) return node;
    return nullptr;
}

void Utl_Pointer_Set::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        if (Count == 0) return;
        for (long bucket = 0; bucket < Size; ++bucket) {
            while (utl_pointer_set_data* node = Table[bucket]) {
                Table[bucket] = node->next;
                if (Deleter) Deleter(node->member);
                Free_Set_Nodes.Give(node);
            }
        }
        Count = 0;
    });
}

long Utl_Pointer_Set::Add(void* Member) {
    const auto detail = [Member] { return Address_Text(Member); };
    return Traced(Op_Add, detail, [this, Member] {
        const long word = reinterpret_cast<long>(Member);
        if (Find(word)) return 0;
        utl_pointer_set_data** tail = &Table[Bucket_Of(word)];
        while (*tail) tail = &(*tail)->next;
        *tail = Get_Set_Node(word);
        ++Count;
        return 1;
    });
}

long Utl_Pointer_Set::Remove(void* Member) {
    const auto detail = [Member] { return Address_Text(Member); };
    return Traced(Op_Remove, detail, [this, Member] {
        if (Count == 0) return 0;
        const long word = reinterpret_cast<long>(Member);
        for (utl_pointer_set_data** link = &Table[Bucket_Of(word)]; *link; link = &(*link)->next) {
            utl_pointer_set_data* node = *link;
            if (node->member != word) continue;
            *link = node->next;
            --Count;
            if (Deleter) Deleter(node->member);
            Free_Set_Nodes.Give(node);
            return 1;
        }
        return 0;
    });
}

long Utl_Pointer_Set::Contains(void* Member) const {
    const auto detail = [Member] { return Address_Text(Member); };
    return Traced_Line(Op_Contains, detail, [this, Member]() -> long {
        return Find(reinterpret_cast<long>(Member)) != nullptr;
    });
}

bool Utl_Pointer_Set::operator==(const Utl_Pointer_Set& Other) const {
    if (Count != Other.Count) return false;
    for (utl_pointer_set_data* node = first(); node; next(node))
        if (!Other.Find(node->member)) return false;
    return true;
}

utl_pointer_set_data* Utl_Pointer_Set::first() const {
    long bucket = 0;
    return Count == 0 ? nullptr : Utl_Chain_Head(Table, Size, bucket);
}

void Utl_Pointer_Set::next(utl_pointer_set_data*& Node) const {
    if (!Node) return;
    long bucket = Bucket_Of(Node->member);
    Node = Utl_Chain_Next(Node, Table, Size, bucket);
}

void Utl_Pointer_Set::Image(Fnd_String& Out, const Fnd_String& Options, long Multiline,
                            long Append, const Code_Unit* Prefix) const {
    Utl_Trace_Silencer quiet_set(Class_Trace);
    if (!Append) Out.Make_Empty();
    Utl_Long_Array members(Count);
    for (utl_pointer_set_data* node = first(); node; next(node)) members.Add(node->member);
    members.Sort();
    for (long i = 0; i < members.Get_Count(); ++i) {
        Line_Start(Out, Multiline, Prefix);
        if (Image_Function)
            Image_Function(Out, Options, members[i], Multiline, Prefix);
        else
            Utl_Type_Utilities::Range_Image(Out, Member_Kind, members[i], 1, Multiline, Prefix);
    }
}

const Fnd_String& Utl_Pointer_Set::Image(const Fnd_String& Options, long Multiline,
                                         const Code_Unit* Prefix) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Options, Multiline, 0, Prefix);
    return *Shared;
}

Utl_Pointer_Set_Iterator::Utl_Pointer_Set_Iterator(const Utl_Pointer_Set& Set) : Set(&Set) {
    Reset();
}

void Utl_Pointer_Set_Iterator::Reset() {
    Bucket = 0;
    Node = Set->first();
    if (Node) Bucket = Set->Bucket_Of(Node->member);
}

void Utl_Pointer_Set_Iterator::Next() {
    if (!Node) return;
    if (Node->next) {
        Node = Node->next;
        return;
    }
    Node = nullptr;
    while (++Bucket < Set->Size) {
        if (Set->Table[Bucket]) {
            Node = Set->Table[Bucket];
            return;
        }
    }
}
