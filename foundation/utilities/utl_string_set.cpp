#include "foundation/utilities/utl_string_set.h"

#include <algorithm>
#include <vector>

#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_chain_walk.h"
#include "foundation/utilities/utl_node_free_list.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

using Utl_Traced::Quoted;

namespace {

// Nodes of all sets, recycled with their buffers.
Utl_Node_Free_List<utl_string_set_data> Free_Nodes;

utl_string_set_data* Get_Node(const Fnd_String& Member) {
    utl_string_set_data* node = Free_Nodes.Take();
    node->member = Member;
    node->next = nullptr;
    return node;
}

long Table_Size(long Size) { return Size < 1 ? 37 : Size; }

Fnd_String View_Text(const Fnd_Substring& View) {
    if (!View.String || View.Get_Length() <= 0) return Fnd_String();
    return View.String->Get(View.First, View.Get_Length());
}

}  // namespace

// ---- Tracing

const Utl_Trace_Class Utl_String_Set::Trace_Class{
    u"Utl_String_Set", u"string_set", Class_Trace, 2247, &Operation, u"empty_set"};

void Utl_String_Set::Trace_Image(Fnd_String& Out) const {
    Image(Out, 1, 1, 1, Utl_Type_Utilities::Prefix);
}

namespace {
const Utl_Trace_Op Op_Add{u" Add ", Utl_Op_Add};
const Utl_Trace_Op Op_Remove{u" Remove ", Utl_Op_Remove};
const Utl_Trace_Op Op_Make_Empty{u" Make_Empty", Utl_Op_Make_Empty};
const Utl_Trace_Op Op_Contains{u" Contains ", Utl_Op2_Contains, true};
}  // namespace

Utl_String_Set::Utl_String_Set(long Size, Utl_Member_Case Case)
    : Table(new utl_string_set_data*[Table_Size(Size)]()),
      Size(static_cast<int32_t>(Table_Size(Size))),
      Member_Case(Case) {
    Trace_Created();
}

Utl_String_Set::Utl_String_Set(const Utl_String_Set& Other)
    : Table(new utl_string_set_data*[Other.Size]()),
      Size(Other.Size),
      Member_Case(Other.Member_Case) {
    *this = Other;
    Trace_Created();
}

Utl_String_Set& Utl_String_Set::operator=(const Utl_String_Set& Other) {
    if (&Other == this) return *this;
    Make_Empty();
    Member_Case = Other.Member_Case;
    for (Utl_String_Set_Iterator it(Other); !it.Done(); it.Next()) Add_Folded(it.Get());
    return *this;
}

Utl_String_Set::~Utl_String_Set() {
    Trace_Deleted();
    Make_Empty();
    delete[] Table;
}

Utl_String_Set& Utl_String_Set::Null() {
    static Utl_String_Set* const The_Null = new Utl_String_Set(1);
    return *The_Null;
}

void Utl_String_Set::Range_Delete(long Range) { delete reinterpret_cast<Utl_String_Set*>(Range); }

long Utl_String_Set::Range_Copy(long Range) {
    if (!Range) return 0;
    return reinterpret_cast<long>(
        new Utl_String_Set(*reinterpret_cast<const Utl_String_Set*>(Range)));
}

long Utl_String_Set::Free_Node_Count() { return Free_Nodes.Size(); }

long Utl_String_Set::Bucket_Of_Hash(long Hash) const {
    const long remainder = static_cast<int32_t>(Hash) % Size;
    return remainder < 0 ? -remainder : remainder;
}

long Utl_String_Set::Chain_Length(long Bucket) const {
    if (Bucket < 0 || Bucket >= Size) return 0;
    long length = 0;
    for (const utl_string_set_data* node = Table[Bucket]; node; node = node->next) ++length;
    return length;
}

Fnd_String Utl_String_Set::Folded(const Fnd_String& Member) const {
    Fnd_String folded(Member);
    if (Member_Case == Utl_Case_Lower)
        Fnd_String_Library::To_Lower(folded);
    else if (Member_Case == Utl_Case_Upper)
        Fnd_String_Library::To_Upper(folded);
    return folded;
}

utl_string_set_data* Utl_String_Set::Find(const Fnd_String& Member) const {
    if (Count == 0) return nullptr;
    for (utl_string_set_data* node = Table[Bucket_Of_Hash(Member.Get_Buffer().Hash())]; node;
         node = node->next)
        if (node->member == Member) return node;
    return nullptr;
}

long Utl_String_Set::Add_Folded(const Fnd_String& Member) {
    if (Find(Member)) return 0;
    utl_string_set_data** tail = &Table[Bucket_Of_Hash(Member.Get_Buffer().Hash())];
    while (*tail) tail = &(*tail)->next;
    *tail = Get_Node(Member);
    ++Count;
    return 1;
}

void Utl_String_Set::Make_Empty() {
    const auto detail = [] { return Fnd_String(); };
    return Traced_Line(Op_Make_Empty, detail, [this]() -> void {
        if (Count == 0) return;
        for (long bucket = 0; bucket < Size; ++bucket) {
            while (utl_string_set_data* node = Table[bucket]) {
                Table[bucket] = node->next;
                Free_Nodes.Give(node);
            }
        }
        Count = 0;
    });
}

long Utl_String_Set::Add(const Fnd_String& Member) {
    const auto detail = [&] { return Quoted(Member); };
    return Traced(Op_Add, detail, [this, &Member] {
        return Add_Folded(Member_Case == Utl_Case_Unchanged ? Member : Folded(Member));
    });
}

long Utl_String_Set::Add(const Fnd_Substring& Member) { return Add(View_Text(Member)); }

long Utl_String_Set::Add(const Code_Unit* Member) { return Add(Fnd_String(Member)); }

long Utl_String_Set::Remove(const Fnd_String& Member) {
    const auto detail = [&] { return Quoted(Member); };
    return Traced(Op_Remove, detail, [this, &Member] {
        if (Count == 0) return 0;
        const Fnd_String key = Member_Case == Utl_Case_Unchanged ? Member : Folded(Member);
        for (utl_string_set_data** link = &Table[Bucket_Of_Hash(key.Get_Buffer().Hash())]; *link;
             link = &(*link)->next) {
            utl_string_set_data* node = *link;
            if (node->member == key) {
                *link = node->next;
                --Count;
                Free_Nodes.Give(node);
                return 1;
            }
        }
        return 0;
    });
}

long Utl_String_Set::Remove(const Code_Unit* Member) { return Remove(Fnd_String(Member)); }

long Utl_String_Set::Contains(const Fnd_String& Member) const {
    const auto detail = [&] { return Quoted(Member); };
    return Traced_Line(Op_Contains, detail, [this, &Member]() -> long {
        if (Count == 0) return 0;
        return Find(Member_Case == Utl_Case_Unchanged ? Member : Folded(Member)) != nullptr;
    });
}

long Utl_String_Set::Contains(const Fnd_Substring& Member) const {
    return Contains(View_Text(Member));
}

long Utl_String_Set::Contains(const Code_Unit* Member) const {
    const auto detail = [Member] { return Quoted(Fnd_String(Member)); };
    return Traced_Line(Op_Contains, detail, [this, Member]() -> long {
        if (Count == 0) return 0;
        if (Member_Case != Utl_Case_Unchanged) return Contains(Fnd_String(Member));
        const Code_Unit* text = Member ? Member : u"";
        for (utl_string_set_data* node = Table[Bucket_Of_Hash(Fnd_Char_Buffer::Hash(text))]; node;
             node = node->next)
            if (node->member == text) return 1;
        return 0;
    });
}

void Utl_String_Set::Image(Fnd_String& Out, long Quote, long Multiline, long Append,
                           const Code_Unit* Prefix) const {
    Utl_Trace_Silencer quiet_set(Class_Trace);
    Utl_Trace_Silencer quiet_iterator(Utl_String_Set_Iterator::Class_Trace);
    if (!Append) Out.Make_Empty();
    std::vector<const Fnd_String*> members;
    members.reserve(static_cast<size_t>(Count));
    for (Utl_String_Set_Iterator it(*this); !it.Done(); it.Next()) members.push_back(&it.Get());
    std::sort(members.begin(), members.end(), [](const Fnd_String* A, const Fnd_String* B) {
        return Fnd_String_Library::Collate(*A, *B) < 0;
    });
    long first = 1;
    for (const Fnd_String* member : members) {
        if (Multiline) {
            if (!Out.Is_Empty()) Out.Append(u"\n");
            if (Prefix) Out.Append(Prefix);
        } else if (!first) {
            Out.Append(u" ");
        }
        first = 0;
        if (Quote) Out.Append(u"\"");
        Out.Append(*member);
        if (Quote) Out.Append(u"\"");
    }
}

const Fnd_String& Utl_String_Set::Image(long Quote, long Multiline, const Code_Unit* Prefix) const {
    static Fnd_String* const Shared = new Fnd_String;
    Image(*Shared, Quote, Multiline, 0, Prefix);
    return *Shared;
}

void Utl_String_Set::iterate(Utl_String_Set_Iterator* Iterator) const {
    Iterator->Set = this;
    Iterator->Bucket = 0;
    Iterator->Node = Count == 0 ? nullptr : Utl_Chain_Head(Table, Size, Iterator->Bucket);
}

void Utl_String_Set::next(Utl_String_Set_Iterator* Iterator) const {
    if (Iterator->Node)
        Iterator->Node = Utl_Chain_Next(Iterator->Node, Table, Size, Iterator->Bucket);
}

Utl_String_Set_Iterator::Utl_String_Set_Iterator(const Utl_String_Set& Set) : Set(&Set) {
    Set.iterate(this);
}

void Utl_String_Set_Iterator::Get(Fnd_String& Out) const {
    if (Node)
        Out = Node->member;
    else
        Out.Make_Empty();
}
