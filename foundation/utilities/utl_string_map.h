// Utl_String_Map: a hash table from strings to one word, with a bucket count fixed for
// the map's life (no rehashing: callers pick the size, chains just get longer). The
// range kind says what the word holds and so how it is copied, freed and printed. Keys
// may be folded to one case on the way in. Nodes are recycled through one free list for
// all maps and never go back to the heap; heap maps made by Get are recycled by Free.
//
//   Utl_String_Map names(Utl_Range_String, 37, 0, Utl_Case_Lower, nullptr);
//   names.Bind(u"Key", Fnd_String(u"value"));     // stores a heap copy, owned
//   Fnd_String value;
//   if (names.Get_Range(u"KEY", value)) ...
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_type_utilities.h"

class Utl_String_Map;
class Utl_String_Map_Iterator;

// A node: the domain, the range word and the next node of the chain.
struct utl_string_map_data {
    Fnd_String domain;
    long range = 0;
    utl_string_map_data* next = nullptr;
};

// Prints one range of a map.
typedef void (*Utl_String_Map_Image_Function)(Fnd_String& Out, const Fnd_String& Options,
                                              const Utl_String_Map& Map,
                                              const Fnd_String& Domain, long Range,
                                              long Multiline, const Code_Unit* Prefix);

class Utl_String_Map : public Utl_Traced_Class<Utl_String_Map> {
public:
    // The deleter and copier come from the kind; no replacer. A Size below 1 means 37.
    Utl_String_Map(Utl_Range_Kind Kind = Utl_Range_Long, long Size = 37, long Null_Range = 0,
                   Utl_Domain_Case Case = Utl_Case_Unchanged,
                   Utl_String_Map_Image_Function Image = nullptr);
    // Range kind 2 and null range 0, with the three functions as given.
    Utl_String_Map(long Size, Utl_Range_Deleter Deleter, Utl_Range_Replacer Replacer,
                   Utl_Range_Copier Copier, Utl_Domain_Case Case,
                   Utl_String_Map_Image_Function Image);
    // Same bucket count, then as assignment.
    Utl_String_Map(const Utl_String_Map& Other);
    // Empties, copies the settings (not the bucket count) and binds every entry of
    // Other in iteration order, the range through the copier if there is one.
    Utl_String_Map& operator=(const Utl_String_Map& Other);
    virtual ~Utl_String_Map();

    // Heap maps, from the free list of their bucket count when there is one.
    static Utl_String_Map* Get(Utl_Range_Kind Kind, long Size, long Null_Range,
                               Utl_Domain_Case Case, Utl_String_Map_Image_Function Image);
    static Utl_String_Map* Get(long Size, Utl_Range_Deleter Deleter, Utl_Range_Replacer Replacer,
                               Utl_Range_Copier Copier, Utl_Domain_Case Case,
                               Utl_String_Map_Image_Function Image);
    // Gives a heap map back (emptied); the pointer is dead after.
    void Free();
    // One shared empty map of one bucket.
    static Utl_String_Map& Null();
    // For a range word that holds a map: Free, and a copy on a new heap object.
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    // Strings bound before aren't folded again.
    void Set_Domain_Case(Utl_Domain_Case Case) { Domain_Case = Case; }

    long Get_Size() const { return Size; }
    long Get_Count() const { return Count; }
    long Get_Null_Range() const { return Null_Range; }
    Utl_Range_Kind Get_Range_Kind() const { return Range_Kind; }
    Utl_Domain_Case Get_Domain_Case() const { return Domain_Case; }
    // Entries in each bucket, for the study of chain lengths.
    long Chain_Length(long Bucket) const;
    // The bucket of a key: |hash % size| with the hash as a signed 32-bit value.
    long Bucket_Of(const Fnd_String& Key) const;

    virtual void Make_Empty();
    // 1 when the domain was new, 0 when the range of an entry was replaced.
    virtual long Bind(const Fnd_String& Domain, long Range);
    virtual long Bind(const Code_Unit* Domain, long Range);
    // Binds a heap copy of Range (Fnd_String::Get), whatever the range kind.
    virtual long Bind(const Fnd_String& Domain, const Fnd_String& Range);
    virtual long Bind(const Code_Unit* Domain, const Fnd_String& Range);
    // 1 when an entry went; its range goes to the deleter.
    virtual long Unbind(const Fnd_String& Domain);
    virtual long Unbind(const Code_Unit* Domain);
    // Unbinds every domain that matches the wild pattern. 0 on an empty map, else 1.
    virtual long Unbind_Matching(const Fnd_String& Pattern);
    virtual long Is_Bound(const Fnd_String& Domain) const;
    virtual long Is_Bound(const Code_Unit* Domain) const;
    // The range, or the null range.
    virtual long Get_Range(const Fnd_String& Domain) const;
    virtual long Get_Range(const Code_Unit* Domain) const;
    virtual long Get_Range(const Fnd_Substring& Domain) const;
    virtual long Get_Range(const Fnd_Sub_C_String& Domain) const;
    // 1 and the range, or 0 and the null range.
    virtual long Get_Range(const Fnd_String& Domain, long& Out) const;
    virtual long Get_Range(const Code_Unit* Domain, long& Out) const;
    // 1 and the range as a string pointer, or 0 and null.
    virtual long Get_Range(const Fnd_String& Domain, Fnd_String*& Out) const;
    virtual long Get_Range(const Code_Unit* Domain, Fnd_String*& Out) const;
    // 1 and a copy of the string (empty for a null range), or 0 and an empty Out.
    virtual long Get_Range(const Fnd_String& Domain, Fnd_String& Out) const;
    virtual long Get_Range(const Code_Unit* Domain, Fnd_String& Out) const;
    // Removes the entry and gives its range to the caller, who owns it now. Not
    // bound: the null range.
    virtual long Transfer_Range(const Fnd_String& Domain);

    // Iteration in bucket order, then chain order.
    void iterate(Utl_String_Map_Iterator* Iterator) const;
    void next(Utl_String_Map_Iterator* Iterator) const;
    const Fnd_String& get_domain(const Utl_String_Map_Iterator* Iterator) const;
    long get_range(const Utl_String_Map_Iterator* Iterator) const;

    // The node-level walk: the first node in bucket order (null when empty), the node
    // after Node (null at the end; a null node stays null).
    utl_string_map_data* first() const;
    void next(utl_string_map_data*& Node) const;
    static void get_data(const utl_string_map_data* Node, Fnd_String& Domain, long& Range);
    // The string the range points to; empty for a null range.
    static void get_data(const utl_string_map_data* Node, Fnd_String& Domain,
                         Fnd_String& Range);
    // The address of the key's range word; null when absent. The string form also
    // finds keys with embedded 0 units.
    long* get_range_address(const Code_Unit* Key) const;
    long* get_range_address(const Fnd_String& Key) const;
    // Stores a new range in a node by the replacement rule (replacer, else deleter).
    void replace_range(utl_string_map_data* Node, long New_Range);

    // A text form of the map, sorted by domain. Options: "domain" prints only the
    // domains; "exclude:PATTERN" leaves out the domains that match. Each entry on a
    // line of its own (after Prefix) in multiline mode, else separated by a blank.
    void Image(Fnd_String& Out, const Fnd_String& Options, long Quote_Domains,
               long Quote_Strings, long Multiline, long Append, const Code_Unit* Prefix,
               const Code_Unit* Separator, long Align) const;
    // Into one shared string, valid until the next call.
    const Fnd_String& Image(const Fnd_String& Options, long Multiline, long Append,
                            const Code_Unit* Prefix, const Code_Unit* Separator,
                            long Align) const;

    // Every entry of A whose range, as a string, differs from B's for that domain.
    static void Set_Difference(const Utl_String_Map& A, const Utl_String_Map& B,
                               Utl_String_Map& Result);

    // Nodes and maps waiting on the free lists, for tests and diagnostics.
    static long Free_Node_Count();
    static long Free_Map_Count(long Size);

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_String_Map>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Size; }

    friend class Utl_String_Map_Iterator;

    utl_string_map_data** Table;
    int32_t Size;
    int32_t Count = 0;
    long Null_Range;
    Utl_String_Map* Free_Link = nullptr;  // while on a free list
    Utl_Range_Kind Range_Kind;
    Utl_Range_Deleter Deleter;
    Utl_Range_Replacer Replacer;
    Utl_Range_Copier Copier;
    Utl_String_Map_Image_Function Image_Function;
    Utl_Domain_Case Domain_Case;

    void Set_Up(Utl_Range_Kind Kind, long Null_Range, Utl_Domain_Case Case,
                Utl_String_Map_Image_Function Image);
    void Set_Up(Utl_Range_Deleter Deleter, Utl_Range_Replacer Replacer,
                Utl_Range_Copier Copier, Utl_Domain_Case Case,
                Utl_String_Map_Image_Function Image);
    static Utl_String_Map* Take_Free(long Size);
    // The text of a Bind trace line: the domain and the range.
    Fnd_String Bind_Detail(const Fnd_String& Domain, long Range) const;

    Fnd_String Folded(const Fnd_String& Key) const;
    long Bucket_Of_Hash(long Hash) const;
    // The node of a key already folded; Bucket receives its bucket.
    utl_string_map_data* Find(const Fnd_String& Key, long& Bucket) const;
    utl_string_map_data* Find(const Code_Unit* Key) const;
    utl_string_map_data* Find_Any(const Fnd_String& Key) const;
    long Bind_Folded(const Fnd_String& Domain, long Range);
    utl_string_map_data* Unlink(const Fnd_String& Domain);
    void Dispose(utl_string_map_data* Node);
};

// Walks a map in bucket order. Changing the map during the walk other than by
// Replace_Range leaves the iterator undefined.
class Utl_String_Map_Iterator {
public:
    static inline Utl_Trace_Words Class_Trace;

    explicit Utl_String_Map_Iterator(const Utl_String_Map& Map);
    void Reset();
    long Done() const { return Node == nullptr; }
    void Next();
    // The empty shared string when done.
    const Fnd_String& Get_Domain() const;
    void Get_Domain(Fnd_String& Out) const;
    // 0 when done.
    long Get_Range() const;
    void Get_Range(Fnd_String*& Out) const;
    // The iterator must stand on an entry with a non-null range.
    void Get_Range(Fnd_String& Out) const;
    // Nothing when done.
    void Replace_Range(long Range);
    void Replace_Range(Fnd_String* Range);
    void Replace_Range(const Fnd_String& Range);

private:
    friend class Utl_String_Map;

    const Utl_String_Map* Map;
    long Bucket = 0;
    utl_string_map_data* Node = nullptr;
};
