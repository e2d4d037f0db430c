// Fnd_String_Array: strings by pointer under bounds of the user's choice (First to Last),
// in a storage block that several arrays may share. A slice is a view into an array's
// block; a value marked Temporary hands its block over to the copy made of it, so that
// an array returned by value costs no copy of its strings.
//
//   Fnd_String_Array args;              // First 0, Last -1
//   args.Add(Fnd_String(u"ls"));        // owned arrays keep clones
//   args.Add_Tokens(u"-l /tmp");
//   Fnd_String_Array_Slice tail(args, 1, 2);
//
// Index failures end in Fnd_Array_Range_Error through Fnd_Assert.
#pragma once

#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"

// The shared block: not an object of the object model.
struct Fnd_String_Array_Store {
    long Reference_Count = 0;
    long Size = 0;
    Fnd_String** Strings = nullptr;
    long Filled = 0;

    // Size slots; with Fill_Flag each holds Value.
    Fnd_String_Array_Store(long Size, long Fill_Flag, Fnd_String* Value);
    ~Fnd_String_Array_Store();
    Fnd_String_Array_Store(const Fnd_String_Array_Store&) = delete;
    Fnd_String_Array_Store& operator=(const Fnd_String_Array_Store&) = delete;
};

class Fnd_String_Array_Slice;

class Fnd_String_Array : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_String_Array)
public:
    Fnd_String_Array() = default;
    explicit Fnd_String_Array(const long Capacity);
    // Elements First to Last; with Fill and Value each is Value (its own clone when
    // Owned, else the same pointer). Capacity above the count reserves slots.
    Fnd_String_Array(const long First, const long Last, const long Fill, const Fnd_String* Value,
                     const Fnd_Type_Checker* Checker, const long Owned, const long Capacity);
    // Takes over the block of a Temporary source; else a deep copy.
    Fnd_String_Array(const Fnd_String_Array& Other);
    Fnd_String_Array& operator=(const Fnd_String_Array& Other);
    ~Fnd_String_Array() override;

    // The element count, the strings one by one: same pointer, or for two owned arrays
    // equal text; a null matches only a null.
    long Is_Equal_Pretest(const Fnd_Object& Other) const override;
    long Is_Equal(const Fnd_Object& Other) const override;

    // A shared empty array, made on first use.
    static const Fnd_String_Array& Nil();

    long Get_First() const { return First; }
    long Get_Last() const { return Last; }
    long Count() const { return Last - First + 1; }
    long Get_Capacity() const { return Capacity; }
    long Is_Owned() const { return Owned; }
    long Is_Temporary() const { return Temporary; }
    void Set_Temporary(long Value) { Temporary = Value; }
    // The string at Index (null for an empty slot).
    Fnd_String* Get(const long Index) const;
    Fnd_String* operator[](const long Index) const { return Get(Index); }

    void Make_Empty();
    void Ensure_Storage(const long Index);
    // Stores Adopted (owned arrays destroy the string the slot held, unless it is the
    // same). A checker that refuses the string leaves the slot as it was.
    void Set(const long Index, Fnd_String* Adopted);
    void Set(const long Index, const Fnd_String& Text);
    // The slot's pointer, now the caller's; the slot becomes null.
    [[nodiscard]] Fnd_String* Remove(const long Index);
    void Add(Fnd_String* Adopted);
    void Add(const Fnd_String& Text);
    // Index from First to Last + 1; the elements from Index move up.
    void Insert(const long Index, Fnd_String* Adopted);
    void Insert(const long Index, const Fnd_String& Text);
    void Insert(const long Index, const Fnd_String_Array& Other);
    // With Transfer the strings move out of Other, whose slots become null.
    void Insert(const long Index, Fnd_String_Array& Other, const long Transfer);
    // Deletes as many elements from Index as Other has (at most to the end), then
    // inserts Other's.
    void Replace(const long Index, const Fnd_String_Array& Other);
    void Replace(const long Index, Fnd_String_Array& Other, const long Transfer);
    void Delete(const long Index, const long Count);
    void Shorten(const long Count);
    // The first index holding S (or, when owned, an equal string); First - 1 if none.
    [[nodiscard]] long Index_Of(const Fnd_String* S) const;
    [[nodiscard]] long Index_Of(const Fnd_String& S) const;
    Fnd_String_Array_Slice Slice(const long First, const long Last) const;
    // Both arrays in a new Temporary one.
    Fnd_String_Array operator+(const Fnd_String_Array& Other) const;
    Fnd_String_Array operator+(Fnd_String* Adopted) const;
    friend Fnd_String_Array operator+(Fnd_String* Adopted, const Fnd_String_Array& Array);
    // Add for each white-space separated token of Text.
    void Add_Tokens(const Fnd_String& Text);
    [[noreturn]] void Range_Error(const long Index) const;

protected:
    friend class Fnd_String_Array_Slice;
    void Initialize(const long First, const long Last, const long Fill, const Fnd_String* Value,
                    const Fnd_Type_Checker* Checker, const long Owned);
    void Reallocate(const long New_Last);
    void Finalize(const long With_Strings);
    Fnd_String*& Slot(const long Index) const { return Data[Index - First]; }
    void Check_Index(const long Index) const;
    void Insert_Strings(const long Index, Fnd_String_Array& Other, const long Transfer);

    Fnd_String_Array_Store* Store = nullptr;
    Fnd_String** Data = nullptr;
    long First = 0;
    long Last = -1;
    Fnd_Type_Checker* Checker = nullptr;
    long Capacity = 0;
    long Owned = 1;
    long Temporary = 0;
};

// A view into an array's block, with the array's index numbers.
class Fnd_String_Array_Slice : public Fnd_String_Array {
    FND_OBJECT_MEMBERS(Fnd_String_Array_Slice, Fnd_String_Array)
public:
    Fnd_String_Array_Slice() = default;
    Fnd_String_Array_Slice(const Fnd_String_Array_Slice& Other);
    explicit Fnd_String_Array_Slice(const Fnd_String_Array& Array);
    Fnd_String_Array_Slice(const Fnd_String_Array& Array, const long First, const long Last);
    Fnd_String_Array_Slice& operator=(const Fnd_String_Array_Slice&) = delete;

private:
    void Share(const Fnd_String_Array& Array, const long First, const long Last);
};

// The elements separated by newlines (Lines, each after Prefix if given) or blanks; a
// null one as "<NULL>"; with Printable through Make_Printable. Out is emptied first
// unless Append.
void Fnd_String_Array_Image(Fnd_String& Out, const Fnd_String_Array& Array, const long Lines,
                            const long Printable, const long Append, const Fnd_String* Prefix);
