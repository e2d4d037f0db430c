// A growing array of words that can own its elements. Appending multiplies the
// capacity by 5; writing at an index past the end grows the storage to exactly index + 1
// cells. With option bit 1 the cells skipped by such a write are cleared, and replacing
// an element gives the old one to the deleter. Heap arrays made by Get are recycled by
// Free through lists kept by capacity.
//
//   Utl_Pointer_Array* names = Utl_Pointer_Array::Get(10, 1, Delete_Name, 0, 0, 0);
//   names->Add(name);
//   names->Free();
#pragma once

#include <cstdint>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/utilities/utl_traced_class.h"

class Fnd_String;
class Utl_Pointer_Array;

typedef void (*Utl_Element_Deleter)(void* Element);
typedef void (*Utl_Element_Replacer)(long Index, void* Old_Element, void* New_Element);
typedef void* (*Utl_Element_Copier)(void* Element);
typedef void (*Utl_Element_Image)(Fnd_String& Out, const Fnd_String& Options,
                                  const Utl_Pointer_Array& Array, long Index, void* Element,
                                  long Multiline, const Code_Unit* Prefix);

class Utl_Pointer_Array : public Utl_Traced_Class<Utl_Pointer_Array> {
public:
    enum { Fill_Option = 1 };

    // Capacity Size, or 10 below 1. The cells aren't cleared.
    Utl_Pointer_Array(long Size = 10, long Options = 0, Utl_Element_Deleter Deleter = nullptr,
                      Utl_Element_Replacer Replacer = nullptr, Utl_Element_Image Image = nullptr,
                      Utl_Element_Copier Copier = nullptr);
    // Same capacity and settings; the elements through the copier if there is one.
    Utl_Pointer_Array(const Utl_Pointer_Array& Other);
    // Copies settings and elements (through the copier). The old elements don't go to
    // the deleter.
    Utl_Pointer_Array& operator=(const Utl_Pointer_Array& Other);
    virtual ~Utl_Pointer_Array();

    // A heap array, recycled from the list of capacity Size when there is one.
    static Utl_Pointer_Array* Get(long Size = 10, long Options = 0,
                                  Utl_Element_Deleter Deleter = nullptr,
                                  Utl_Element_Replacer Replacer = nullptr,
                                  Utl_Element_Image Image = nullptr,
                                  Utl_Element_Copier Copier = nullptr);
    // Gives a heap array back; its elements go to the deleter. The pointer is dead after.
    void Free();
    // A shared array of capacity 1.
    static Utl_Pointer_Array& Null();
    // For a range word that holds an array: Free, and a copy on a new heap object.
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

    long Get_Count() const { return Count; }
    long Get_Capacity() const { return Capacity; }
    long Get_Options() const { return Options; }
    // The element deleter and image function from now on.
    void Set_Deleter(Utl_Element_Deleter Value) { Deleter = Value; }
    void Set_Image_Function(Utl_Element_Image Value) { Image_Function = Value; }
    void* const* Get_Elements() const { return Elements; }
    void* operator[](long Index) const { return Elements[Index]; }

    void Add(void* Element);
    // Appends unless an equal word is there.
    void Add_To_Set(void* Element);
    // The first equal word goes to the deleter and the gap closes.
    void Remove(void* Element);
    // Below the count: replaces (see the options). Past it: extends the array.
    void Set(long Index, void* Element);
    // The cell, extending the array with a 0 in the new cell when Index is past the end.
    void*& Subscript(long Index);
    void** Element_Address(long Index) { return Elements + Index; }
    long Contains(void* Element) const { return Index(Element) >= 0; }
    // The first index of the word, or -1.
    long Index(void* Element) const;
    void Sort(int (*Compare)(const void*, const void*));
    // Non-null elements go to the deleter; To is inclusive.
    void Delete(long Index);
    void Delete(long From, long To);
    void Insert(long Index, void* Element);
    // The words of Other, without the copier.
    void Insert(long Index, const Utl_Pointer_Array& Other);
    // Overwrites from Index with the elements of Other; overwritten elements don't go
    // to the deleter.
    void Replace(long Index, const Utl_Pointer_Array& Other);
    // Moves the elements From to To (inclusive) behind those of Destination.
    void Transfer(Utl_Pointer_Array& Destination, long From, long To);
    // The element storage, now the caller's (release with delete[]); this array gets a
    // new storage of capacity 1.
    void** Transfer_Strorage();
    void Grow_Storage(long N);
    void Ensure_Storage(long N);
    void Make_Empty();
    // Drops the last N elements (or all) through the deleter.
    void Shorten(long N);
    bool operator==(const Utl_Pointer_Array& Other) const;

    // Elements in order, split by a newline (with Prefix before each) or a blank.
    virtual void Image(Fnd_String& Out, const Fnd_String& Options, long Multiline,
                       long Append, const Code_Unit* Prefix) const;
    // Into one shared string, valid until the next call.
    virtual const Fnd_String& Image(const Fnd_String& Options, long Multiline,
                                    const Code_Unit* Prefix) const;

    // Free arrays waiting on the list of a capacity, for tests and diagnostics.
    static long Free_List_Length(long Capacity);

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_Pointer_Array>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Count; }
    long Trace_Capacity() const { return Capacity; }

    void** Elements;
    int32_t Count = 0;
    Utl_Element_Deleter Deleter;
    Utl_Element_Replacer Replacer;
    Utl_Element_Image Image_Function;
    Utl_Element_Copier Copier;
    int32_t Capacity;
    int32_t Options;
    Utl_Pointer_Array* Free_Link = nullptr;  // while on a free list

    void Set_Up(long Options, Utl_Element_Deleter Deleter, Utl_Element_Replacer Replacer,
                Utl_Element_Image Image, Utl_Element_Copier Copier);
    void Reallocate(long New_Capacity);
    void Grow_For_Append();
    void Grow(long Index, long Fill);
    void Extend_To(long Index, void* Element);
    void Replace_Element(long Index, void* Element);
    void Dispose(void* Element) const;
    void Check_Index(long Index, long Last) const;
};
