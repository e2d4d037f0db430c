// What the word of a map, set or pointer array holds, and how such a word is deleted,
// copied and printed. A range word is pointer-sized (long on this platform), so it can
// hold an address.
#pragma once

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

static_assert(sizeof(long) == sizeof(void*), "range words hold addresses");

enum Utl_Range_Kind {
    Utl_Range_String = 0,         // heap Fnd_String, from Fnd_String::Get
    Utl_Range_Long = 1,           // a number
    Utl_Range_Pointer = 2,        // a pointer that isn't owned
    Utl_Range_String_Array = 3,   // the rest: an owned container of that class
    Utl_Range_String_Map = 4,
    Utl_Range_String_Set = 5,
    Utl_Range_Pointer_Array = 6,
    Utl_Range_Pointer_Map = 7,
    Utl_Range_Pointer_Set = 8,
    Utl_Range_Arguments = 9
};
// The kinds' names in order, ended by a null.
extern const Code_Unit* const Utl_Range_Kind_Table[];

// How a string map or set folds its keys.
enum Utl_Domain_Case { Utl_Case_Unchanged = 0, Utl_Case_Lower = 1, Utl_Case_Upper = 2 };
typedef Utl_Domain_Case Utl_Member_Case;
// "unchanged", "lower", "upper", ended by a null.
extern const Code_Unit* const Utl_Domain_Case_Table[];

typedef void (*Utl_Range_Deleter)(long Range);
// Called with the old range, the new one and the word that becomes the range.
typedef void (*Utl_Range_Replacer)(long Old_Range, long New_Range, long* Result);
typedef long (*Utl_Range_Copier)(long Range);

class Utl_Type_Utilities {
public:
    static const Code_Unit* const Null_Word;     // "null"
    static const Code_Unit* const Verbose;       // "verbose"
    static const Code_Unit* const All;           // "all"
    static const Code_Unit* const Off;           // "off"
    static const Code_Unit* const Freed;         // "freed"
    static const Code_Unit* const Names;         // "names"
    static const Code_Unit* const Trees;         // "trees"
    static const Code_Unit* const Domain_Table;  // "domain_table"
    static const Code_Unit* const Null_Object;   // "null_object"
    static const Code_Unit* const Trace_Start;   // "==> ", in front of a trace line
    static const Code_Unit* const Show_Start;    // "--- ", in front of a show block
    static const Code_Unit* const Exclude;       // "exclude"
    static const Code_Unit* const Domain;        // "domain"
    static const Code_Unit* const Empty_Array;   // "empty_array"
    static const Code_Unit* const Empty_Map;     // "empty_map"
    static const Code_Unit* const Empty_Set;     // "empty_set"
    static const Code_Unit* const Prefix;        // three blanks
    static const Code_Unit* const Arrow;         // " => ", the usual separator

    // The deleter or copier of a kind; null for kinds that own nothing and for values
    // outside the enumeration.
    static void Set_Range_Deleter(long Kind, Utl_Range_Deleter& Out);
    static void Set_Range_Copier(long Kind, Utl_Range_Copier& Out);

    // Appends a range word by its kind. Containers print "null" or their empty word, or
    // in multiline mode a newline and their own image under a deeper prefix.
    static void Range_Image(Fnd_String& Out, long Kind, long Range, long Quote_Strings,
                            long Multiline, const Code_Unit* Prefix);
    // Appends Prefix (three blanks when null) and one blank for each of its characters.
    static void Get_Subindent(Fnd_String& Out, const Code_Unit* Prefix);

    // Calls the script interface's function Name with the object's address in
    // hexadecimal as the one argument; the second form keeps the result.
    static void Call_Function(const Fnd_String& Name, const void* Object);
    static void Call_Function(Fnd_String& Result, const Fnd_String& Name, const void* Object);
};
