// Utl_String_Array: a growing array of string pointers. Each element either belongs to
// the array (it frees it) or is borrowed, decided by the form it came in:
//
//   array.Add(&name);          // const Fnd_String*: borrowed
//   array.Add(name);           // const Fnd_String&: a heap copy, owned
//   array.Add(u"text");        // const Code_Unit*: a heap copy, owned
//
// The array remembers whether it is sorted and then searches by bisection: Contains and
// Index trust that flag. Growth is that of Utl_Pointer_Array (×5 on append, exactly
// index + 1 cells on an indexed write); heap arrays from Get are recycled by Free.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_traced_class.h"

class Utl_String_Map;
class Utl_String_Set;

class Utl_String_Array : public Utl_Traced_Class<Utl_String_Array> {
public:
    enum { Fill_Flag = 1, Sorted_Flag = 2 };

    // Capacity Size (10 below 1), sorted, and with Fill the skipped cells of an indexed
    // write are nulled.
    explicit Utl_String_Array(long Size = 10, long Fill = 0);
    // The tokens of a command line (quoted tokens without their quotes), not sorted.
    Utl_String_Array(const Fnd_String& Text, long Size, long Fill);
    Utl_String_Array(const Code_Unit* Text, long Size, long Fill);
    // Copies of the domains or members, in iteration order.
    Utl_String_Array(const Utl_String_Map& Map, long Fill);
    Utl_String_Array(const Utl_String_Set& Set, long Fill);
    // Every non-null element is copied and owned.
    Utl_String_Array(const Utl_String_Array& Other);
    Utl_String_Array& operator=(const Utl_String_Array& Other);
    virtual ~Utl_String_Array();

    static Utl_String_Array* Get(long Size = 10, long Fill = 0);
    // Frees the owned strings and gives a heap array back; the pointer is dead after.
    void Free();
    static Utl_String_Array& Null();
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    long Get_Count() const { return Count; }
    long Get_Capacity() const { return Capacity; }
    long Is_Sorted() const { return (Flags & Sorted_Flag) != 0; }
    void Set_Is_Sorted(long Value);
    // The element (may be null) and whether the array owns it.
    const Fnd_String* operator[](long Index) const { return Strings[Index]; }
    long Is_Owned(long Index) const { return Owned && Owned[Index]; }

    void Add(const Fnd_String* Element);
    void Add(const Fnd_String& Element);
    void Add(const Code_Unit* Element);
    // Appends the pointer and takes ownership.
    void Transfer_Add(const Fnd_String* Element);
    // Each line as an owned element; a final newline gives a last empty element.
    void Add_Lines(const Fnd_String& Text);
    void Add_Members(const Utl_String_Map& Map);
    void Add_Members(const Utl_String_Set& Set);
    void Add_Values(const Fnd_String& Text);
    void Recreate(const Fnd_String& Text);

    // Below the count the old element is freed if owned; past it the array extends.
    void Set(long Index, const Fnd_String* Element);
    void Set(long Index, const Fnd_String& Element);
    void Set(long Index, const Code_Unit* Element);
    // The element; a null cell or one past the count gets a new empty owned string.
    Fnd_String& Subscript(long Index);

    // By collation, nulls first; sets the sorted flag.
    void Sort();
    // These leave the sorted flag as it is.
    void Caseless_Sort();
    void Sort(int (*Compare)(const void*, const void*));

    long Contains(const Fnd_String& Element) const { return find(Element) >= 0; }
    long Contains(const Code_Unit* Element) const { return find(Fnd_String(Element)) >= 0; }
    long Index(const Fnd_String& Element) const { return find(Element); }
    long Index(const Code_Unit* Element) const { return find(Fnd_String(Element)); }
    long Caseless_Contains(const Fnd_String& Text) const;
    long Contain_Duplicate() const;

    // Owned elements are freed; To is inclusive.
    void Delete(long Index);
    void Delete(long From, long To);
    // Removes the element and gives it to the caller without freeing it.
    Fnd_String* Transfer_Delete(long Index);
    // From the last element to the first, deletes what the wild pattern matches (or
    // what it doesn't). Kind non-zero ignores case.
    void Delete_Matching(const Fnd_String& Pattern, long Kind);
    void Retain_Matching(const Fnd_String& Pattern, long Kind);

    void Insert(long Index, const Fnd_String* Element);
    void Insert(long Index, const Fnd_String& Element);
    void Insert(long Index, const Code_Unit* Element);
    void Transfer_Insert(long Index, const Fnd_String* Element);
    // Owned elements of Other are copied and owned here; borrowed ones stay borrowed.
    void Insert(long Index, const Utl_String_Array& Other);
    void Replace(long Index, const Utl_String_Array& Other);
    // Inserts where the order wants it unless the string is there; the position
    // either way. The sorted flag stays as it was.
    long Ordered_Insert(const Fnd_String* Element);
    long Ordered_Insert(const Fnd_String& Element);
    long Ordered_Insert(const Code_Unit* Element);

    void Make_Empty();
    void Shorten(long N);
    // Same count and pairwise: both null, or both non-null and equal.
    bool operator==(const Utl_String_Array& Other) const;

    // Split by a newline (with Prefix before each) or a blank; with Printable each
    // element as by Make_Printable.
    virtual void Image(Fnd_String& Out, long Multiline, long Printable, long Append,
                       const Code_Unit* Prefix) const;
    virtual const Fnd_String& Image(long Multiline, long Printable, const Code_Unit* Prefix) const;
    // Columns top to bottom, each as wide as its longest element.
    void Table_Image(Fnd_String& Out, long Columns, const Code_Unit* Prefix) const;

    // The index of Key, by bisection when sorted; -1 when absent.
    long find(const Fnd_String& Key) const;
    // Where Key stands (Found 1) or belongs (Found 0) in the sorted order.
    long insert_pos(const Fnd_String& Key, long& Found) const;

    static long Free_List_Length(long Capacity);

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_String_Array>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Capacity; }

    Fnd_String** Strings;
    unsigned char* Owned = nullptr;  // made with the first owned element
    int32_t Count = 0;
    int32_t Capacity;
    int32_t Flags;
    Utl_String_Array* Free_Link = nullptr;

    void add_tokens(const Fnd_String& Text);
    void Store(long Index, Fnd_String* Element, long Own);
    void Release(long Index);
    void Reallocate(long New_Capacity);
    void Grow_For_Append();
    void Extend_To(long Index);
    void Open_Gap(long Index, long Width);
    void Insert_Element(long Index, Fnd_String* Element, long Own);
    void Set_Element(long Index, Fnd_String* Element, long Own);
    void Check_Index(long Index, long Last) const;
    void Copy_From(const Utl_String_Array& Other);
};
