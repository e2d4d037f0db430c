// Utl_Pointer_Map and Utl_Pointer_Set: the word-keyed twins of the string map and set.
// A key is a pointer-sized word holding a pointer or a number. The bucket of a key is
// its unsigned value shifted right by 8, modulo the size, with no further mixing: keys
// within one 256-byte block fall into one bucket. The table never grows.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_traced_class.h"
#include "foundation/utilities/utl_type_utilities.h"

class Utl_Pointer_Map;
class Utl_Pointer_Map_Iterator;
class Utl_Pointer_Set;
class Utl_Pointer_Set_Iterator;

// How a key is printed.
enum Utl_Domain_Kind { Utl_Domain_Pointer = 0, Utl_Domain_Long = 1 };
// "pointer", "long", ended by a null.
extern const Code_Unit* const Utl_Domain_Kind_Table[];

struct utl_pointer_map_data {
    long domain = 0;
    long range = 0;
    utl_pointer_map_data* next = nullptr;
};

struct utl_pointer_set_data {
    long member = 0;
    utl_pointer_set_data* next = nullptr;
};

// Prints one key or range of a map, or one member of a set.
typedef void (*Utl_Word_Image_Function)(Fnd_String& Out, const Fnd_String& Options, long Word,
                                        long Multiline, const Code_Unit* Prefix);

class Utl_Pointer_Map : public Utl_Traced_Class<Utl_Pointer_Map> {
public:
    // A null range deleter or copier is found from the range kind. A Size below 1 means
    // 37 buckets.
    Utl_Pointer_Map(Utl_Domain_Kind Domain_Kind = Utl_Domain_Pointer,
                    Utl_Range_Kind Range_Kind = Utl_Range_Pointer, long Size = 37,
                    long Null_Range = 0, Utl_Range_Deleter Domain_Deleter = nullptr,
                    Utl_Range_Copier Domain_Copier = nullptr,
                    Utl_Word_Image_Function Domain_Image = nullptr,
                    Utl_Range_Deleter Range_Deleter = nullptr,
                    Utl_Range_Replacer Range_Replacer = nullptr,
                    Utl_Range_Copier Range_Copier = nullptr,
                    Utl_Word_Image_Function Range_Image = nullptr);
    Utl_Pointer_Map(const Utl_Pointer_Map& Other);
    // Empties, copies the settings and binds every entry of Other, the key through the
    // domain copier and the range through the range copier.
    Utl_Pointer_Map& operator=(const Utl_Pointer_Map& Other);
    virtual ~Utl_Pointer_Map();

    static Utl_Pointer_Map* Get(Utl_Domain_Kind Domain_Kind, Utl_Range_Kind Range_Kind,
                                long Size, long Null_Range, Utl_Range_Deleter Domain_Deleter,
                                Utl_Range_Copier Domain_Copier,
                                Utl_Word_Image_Function Domain_Image,
                                Utl_Range_Deleter Range_Deleter,
                                Utl_Range_Replacer Range_Replacer,
                                Utl_Range_Copier Range_Copier,
                                Utl_Word_Image_Function Range_Image);
    void Free();
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    long Get_Size() const { return Size; }
    long Get_Count() const { return Count; }
    long Get_Null_Range() const { return Null_Range; }
    long Chain_Length(long Bucket) const;
    long Bucket_Of(long Key) const;

    virtual void Make_Empty();
    // 1 when the key is new; 0 when its range was replaced. An existing key isn't
    // touched: the domain deleter doesn't see the given one.
    virtual long Bind(void* Key, void* Range);
    virtual long Bind(long Key, long Range);
    // The domain deleter gets the key, the range deleter the range.
    virtual long Unbind(void* Key);
    virtual long Unbind(long Key);
    virtual long Is_Bound(void* Key) const;
    virtual long Is_Bound(long Key) const;
    virtual void* Get_Range(void* Key) const;
    virtual long Get_Range(long Key) const;
    // 1 and the range, or 0 and the null range.
    virtual long Get_Range(void* Key, void*& Out) const;
    virtual long Get_Range(long Key, long& Out) const;
    // The keys sorted as numbers. Options "domain" prints only the keys.
    virtual void Image(Fnd_String& Out, const Fnd_String& Options, long Multiline, long Append,
                       const Code_Unit* Prefix, const Code_Unit* Separator, long Align) const;
    virtual const Fnd_String& Image(const Fnd_String& Options, long Multiline,
                                    const Code_Unit* Prefix, const Code_Unit* Separator,
                                    long Align) const;

    utl_pointer_map_data* first() const;
    void next(utl_pointer_map_data*& Node) const;
    static void get_data(const utl_pointer_map_data* Node, void*& Domain, void*& Range);
    long* get_range_address(void* Key) const;
    void replace_range(utl_pointer_map_data* Node, long New_Range);

    static long Free_Node_Count();
    static long Free_Map_Count(long Size);

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_Pointer_Map>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Size; }

    friend class Utl_Pointer_Map_Iterator;

    utl_pointer_map_data** Table;
    int32_t Size;
    int32_t Count = 0;
    long Null_Range;
    Utl_Pointer_Map* Free_Link = nullptr;
    Utl_Domain_Kind Domain_Kind;
    Utl_Range_Kind Range_Kind;
    Utl_Range_Deleter Domain_Deleter;
    Utl_Range_Copier Domain_Copier;
    Utl_Word_Image_Function Domain_Image;
    Utl_Range_Deleter Range_Deleter;
    Utl_Range_Replacer Range_Replacer;
    Utl_Range_Copier Range_Copier;
    Utl_Word_Image_Function Range_Image;

    void Set_Up(Utl_Domain_Kind Domain_Kind, Utl_Range_Kind Range_Kind, long Null_Range,
                Utl_Range_Deleter Domain_Deleter, Utl_Range_Copier Domain_Copier,
                Utl_Word_Image_Function Domain_Image, Utl_Range_Deleter Range_Deleter,
                Utl_Range_Replacer Range_Replacer, Utl_Range_Copier Range_Copier,
                Utl_Word_Image_Function Range_Image);
    utl_pointer_map_data* Find(long Key) const;
};

class Utl_Pointer_Map_Iterator {
public:
    static inline Utl_Trace_Words Class_Trace;

    explicit Utl_Pointer_Map_Iterator(const Utl_Pointer_Map& Map);
    void Reset();
    long Done() const { return Node == nullptr; }
    void Next();
    // 0 when done.
    long Get_Domain() const { return Node ? Node->domain : 0; }
    long Get_Range() const { return Node ? Node->range : 0; }
    // Nothing when done.
    void Replace_Range(long Range);

private:
    const Utl_Pointer_Map* Map;
    long Bucket = 0;
    utl_pointer_map_data* Node = nullptr;
};

class Utl_Pointer_Set : public Utl_Traced_Class<Utl_Pointer_Set> {
public:
    // A null deleter or copier is found from the kind. A Size below 1 means 17 buckets.
    explicit Utl_Pointer_Set(Utl_Range_Kind Kind = Utl_Range_Pointer, long Size = 17,
                             Utl_Range_Deleter Deleter = nullptr,
                             Utl_Range_Copier Copier = nullptr,
                             Utl_Word_Image_Function Image = nullptr);
    // The members through the copier.
    Utl_Pointer_Set(const Utl_Pointer_Set& Other);
    Utl_Pointer_Set& operator=(const Utl_Pointer_Set& Other);
    virtual ~Utl_Pointer_Set();

    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    long Get_Size() const { return Size; }
    long Get_Count() const { return Count; }

    virtual void Make_Empty();
    // 1 when new. The member is never copied.
    virtual long Add(void* Member);
    // 1 when it was there; the deleter gets it.
    virtual long Remove(void* Member);
    virtual long Contains(void* Member) const;
    virtual void Image(Fnd_String& Out, const Fnd_String& Options, long Multiline, long Append,
                       const Code_Unit* Prefix) const;
    virtual const Fnd_String& Image(const Fnd_String& Options, long Multiline,
                                    const Code_Unit* Prefix) const;

    // Same count and every member of this set in Other.
    bool operator==(const Utl_Pointer_Set& Other) const;

    utl_pointer_set_data* first() const;
    void next(utl_pointer_set_data*& Node) const;

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_Pointer_Set>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Size; }

    friend class Utl_Pointer_Set_Iterator;

    utl_pointer_set_data** Table;
    int32_t Size;
    int32_t Count = 0;
    Utl_Range_Kind Member_Kind;
    Utl_Range_Deleter Deleter;
    Utl_Range_Copier Copier;
    Utl_Word_Image_Function Image_Function;

    long Bucket_Of(long Member) const;
    utl_pointer_set_data* Find(long Member) const;
};

class Utl_Pointer_Set_Iterator {
public:
    static inline Utl_Trace_Words Class_Trace;

    explicit Utl_Pointer_Set_Iterator(const Utl_Pointer_Set& Set);
    void Reset();
    long Done() const { return Node == nullptr; }
    void Next();
    // 0 when done.
    long Get() const { return Node ? Node->member : 0; }

private:
    const Utl_Pointer_Set* Set;
    long Bucket = 0;
    utl_pointer_set_data* Node = nullptr;
};
