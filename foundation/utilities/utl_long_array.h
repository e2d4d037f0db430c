// A growing array of numbers (pointer-sized, so that it can also hold addresses).
// Growth is that of Utl_Pointer_Array: ×5 on append, exactly index + 1 cells on an
// indexed write past the end; with the fill flag the skipped cells take the fill value.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/utilities/utl_trace_words.h"

class Fnd_String;
class Utl_Long_Array;

typedef void (*Utl_Long_Image)(Fnd_String& Out, const Utl_Long_Array& Array, long Index,
                               long Element, long Multiline, const Code_Unit* Prefix);

class Utl_Long_Array {
public:
    // This class has no per-object trace words; only a name and the registered flag.
    const Code_Unit* Name = nullptr;
    int32_t Registered = 0;

    // Capacity Size, or 10 below 1.
    Utl_Long_Array(long Size = 10, long Fill = 0, long Fill_Value = 0,
                   Utl_Long_Image Image = nullptr);
    Utl_Long_Array(const Utl_Long_Array& Other);
    Utl_Long_Array& operator=(const Utl_Long_Array& Other);
    virtual ~Utl_Long_Array();

    // A shared empty array.
    static Utl_Long_Array& Null();

    long Get_Count() const { return Count; }
    long Get_Capacity() const { return Capacity; }
    const long* Get_Elements() const { return Elements; }
    long operator[](long Index) const { return Elements[Index]; }

    void Add(long Element);
    void Set(long Index, long Element);
    // The cell, extending the array with a 0 in the new cell when Index is past the end.
    long& Subscript(long Index);
    long Contains(long Element) const { return Index(Element) >= 0; }
    long Index(long Element) const;
    // By signed value.
    void Sort();
    void Sort(int (*Compare)(const void*, const void*));
    void Delete(long Index);
    // To is inclusive.
    void Delete(long From, long To);
    void Insert(long Index, long Element);
    void Insert(long Index, const Utl_Long_Array& Other);
    void Replace(long Index, const Utl_Long_Array& Other);
    void Make_Empty() { Count = 0; }
    // Drops the last N elements; the count floors at 0.
    void Shorten(long N);
    bool operator==(const Utl_Long_Array& Other) const;

    // ---- Tracing (Utl_Tracing): the class has no trace words, so the registry can't
    // set anything in it ("words" 0), but it can name, list and show it.
    void Show(const Code_Unit* Label) const;
    void Register_Object(const Code_Unit* Name, Utl_Trace_Operation Operation = nullptr,
                         void* Parent = nullptr);
    void Set_Name(const Code_Unit* Name, void* Parent = nullptr);
    // "show" on an array; "set" and "clear" find no word.
    static void Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                          const Fnd_String& Second);

    // The numbers in order, split by a newline (with Prefix before each) or a blank.
    virtual void Image(Fnd_String& Out, long Multiline, long Append,
                       const Code_Unit* Prefix) const;
    // Into one shared string, valid until the next call.
    virtual const Fnd_String& Image(long Multiline, const Code_Unit* Prefix) const;

private:
    long* Elements;
    int32_t Count = 0;
    int32_t Capacity;
    int32_t Fill;
    long Fill_Value;
    Utl_Long_Image Image_Function;

    void Reallocate(long New_Capacity);
    void Extend_To(long Index, long Element);
    void Check_Index(long Index, long Last) const;
};
