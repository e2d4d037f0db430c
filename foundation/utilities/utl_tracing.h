// Utl_Tracing: the switchboard of the containers' debug controls. It keeps a registry
// of traced classes and live objects, reads a small language that sets the trace, show
// and break words by name ("string_map:bind+unbind", "pointer_array:3", "all", "off"),
// holds values given before their objects exist until those objects appear, and prints
// objects by class, name or address.
//
//   Utl_Pointer_Array values;
//   if (Utl_Tracing::Dissect_Value(u"string_map:bind+unbind", values)) {
//       Utl_Tracing_Tables tables;
//       tables.update_objects = true;
//       Utl_Tracing::Check_Arguments(values, Utl_Trace_Kind_Trace, tables);
//   }
//
// Everything is silent until somebody sets a word; the library itself never calls
// Dissect_Value, Check_Arguments, Show_Command or Object_Operation, nor runs a command
// loop: a host program or a debugger session does.
#pragma once

#include <cstdint>
#include <ctime>
#include <functional>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_trace_words.h"

class Utl_Pointer_Array;
class Utl_String_Array;

enum Utl_Trace_Option_Kind : long {
    Utl_Trace_Kind_Trace = 0,
    Utl_Trace_Kind_Show = 1,
    Utl_Trace_Kind_Break = 2
};

// The bit of each word in an object's `words` and in the "set" command: five bits per
// kind, the level first, then the first, second and other masks.
enum Utl_Trace_Word_Bit : int32_t {
    Utl_Word_Trace_Level = 1,
    Utl_Word_Specific_Trace = 2,
    Utl_Word_Specific2_Trace = 4,
    Utl_Word_Other_Trace = 8,
    Utl_Word_Specific_Show = 64,
    Utl_Word_Specific2_Show = 128,
    Utl_Word_Other_Show = 256,
    Utl_Word_Specific_Break = 2048
};
constexpr long Utl_Trace_Kind_Bits = 5;

// The names of the bits of the first and second masks, each ended by a null.
extern const Code_Unit* const Utl_Opnames[];
extern const Code_Unit* const Utl_Opname2s[];
// Class keys of the utilities and of the base classes; the commands and words of the
// command loop.
extern const Code_Unit* const Utl_Eu_Cnames[];
extern const Code_Unit* const Utl_Base_Cnames[];
extern const Code_Unit* const Utl_Trc_Cmds[];
extern const Code_Unit* const Utl_Trc_Wrds[];
extern const Code_Unit* const Utl_Diag_Kinds[];

// One parsed element of a value: a (class or object) name, and what it sets.
struct Utl_Trace_Data {
    static constexpr long Default_Level = -999;  // the option table's default

    Fnd_String name;
    bool has_level = false;
    long level = 0;
    bool has_first = false;
    int32_t first_mask = 0;
    bool has_second = false;
    int32_t second_mask = 0;
    Utl_String_Array* others = nullptr;  // owned; null when none
    bool used = false;

    Utl_Trace_Data() = default;
    Utl_Trace_Data(const Utl_Trace_Data& Other);
    Utl_Trace_Data& operator=(const Utl_Trace_Data&) = delete;
    ~Utl_Trace_Data();

    // For a Utl_Pointer_Array of elements.
    static void Deleter(void* Element);
    static void Element_Image(Fnd_String& Out, const Fnd_String& Options,
                              const Utl_Pointer_Array& Array, long Index, void* Element,
                              long Multiline, const Code_Unit* Prefix);
    // "name level=N first=[..] second=[..] others=(..)", for listings and tests.
    void Image(Fnd_String& Out) const;
};

typedef void (*Utl_Trace_Setter)(long Value);
typedef void (*Utl_Trace_String_Function)(const Fnd_String& Value);

// Option rows a host gives to Check_Arguments. name_index is an index into the
// table's null-ended list of names; a table of trace rows may end with name_index -1.
struct Utl_Tracing_Set_Trace_Element {
    int16_t name_index;
    Utl_Trace_Setter set_level;
    long default_level;
};
struct Utl_Tracing_Set_Specific_Element {
    int16_t name_index;
    Utl_Trace_Setter set_first;
    Utl_Trace_Setter set_second;
};
struct Utl_Tracing_Set_Other_Element {
    int16_t name_index;
    Utl_Trace_Setter set_first;
    const Code_Unit* const* first_words;
    Utl_Trace_Setter set_second;
    const Code_Unit* const* second_words;
};
struct Utl_Tracing_Client_Long_Element {
    const Code_Unit* name;
    Utl_Trace_Setter function;
};
struct Utl_Tracing_Client_String_Element {
    const Code_Unit* name;
    Utl_Trace_String_Function function;
};

// What Check_Arguments applies the values to. Every table is optional.
struct Utl_Tracing_Tables {
    Utl_Trace_Setter set_all_levels = nullptr;
    const Code_Unit* const* names = nullptr;  // null-ended
    const Utl_Tracing_Set_Trace_Element* trace_rows = nullptr;
    long trace_count = 0;
    const Utl_Tracing_Set_Specific_Element* specific_rows = nullptr;
    long specific_count = 0;
    const Utl_Tracing_Set_Other_Element* other_rows = nullptr;
    long other_count = 0;
    const Utl_Tracing_Client_Long_Element* long_rows = nullptr;
    long long_count = 0;
    const Utl_Tracing_Client_String_Element* string_rows = nullptr;
    long string_count = 0;
    // Also set the words of live objects, and keep the values for objects to come.
    bool update_objects = false;
};

typedef void (*Utl_Trace_Client)(long Kind, Utl_Pointer_Array& Values);
// A show function answers non-zero when it knew the name.
typedef long (*Utl_Show_Function)(const Fnd_String& Name, const Fnd_String& Option,
                                  const Fnd_String& Third);
typedef void (*Utl_Command_Loop)(void* Evaluator);
// The next line of a command loop's input; false at the end.
typedef std::function<bool(Fnd_String& Line)> Utl_Command_Source;

class Utl_Tracing {
public:
    // The registry's own words: level 2 prints the life of objects, non-zero the other
    // calls; bit 0 of other_trace also prints the life.
    static inline int32_t trace = 0;
    static inline int32_t other_trace = 0;
    // Non-zero makes every traced class report its objects; -1 while the registry
    // works on its own data.
    static inline Utl_Trace_Word& trace_objects = Utl_Trace_Objects;
    // What Command_Loop calls; null does nothing.
    static inline Utl_Command_Loop command_loop = nullptr;

    static void Register_Class(const Fnd_String& Class, Utl_Trace_Operation Operation);
    static void Object_Created(const Fnd_String& Class, void* Object,
                               Utl_Trace_Operation Operation, const Code_Unit* Name,
                               int32_t Words, void* Parent);
    static void Object_Reused(const Fnd_String& Class, void* Object, const Code_Unit* Name);
    static void Object_Named(const Fnd_String& Class, void* Object, const Code_Unit* Name,
                             void* Parent);
    static void Object_Deleted(const Fnd_String& Class, void* Object);
    static void Object_Freed(const Fnd_String& Class, void* Object);
    static void Set_Info(void* Object, const Code_Unit* Name, void* Parent);
    static void Register_Object(const Fnd_String& Class, const Code_Unit* Name, void* Object,
                                Utl_Trace_Operation Operation, int32_t Words, void* Parent);
    static void Unregister_Object(const Fnd_String& Name);
    // "set" to 0 each of the five words from bit Start in every registered object.
    static void Object_Reset_Words(long Start);
    [[nodiscard]] static bool Get_Object(const Fnd_String& Name, void*& Object,
                                         Fnd_String& Class);
    // Text as a whole number in any base that To_Long with base 0 reads; false for an
    // empty text or one with anything behind the number.
    [[nodiscard]] static bool Read_Number(const Fnd_String& Text, long& Value);
    // The address that Text spells, or null.
    static void* Get_Address(const Fnd_String& Text);

    static void Add_Client(Utl_Trace_Client Check, Utl_Show_Function Show);
    static void Check_Trace_Clients(long Kind, Utl_Pointer_Array& Values);
    static void Command_Loop(void* Evaluator);

    static void Object_Operation(const Fnd_String& Target, const Fnd_String& Command,
                                 const Fnd_String& First, const Fnd_String& Second);
    static void Show_Command(const Fnd_String& Target, const Fnd_String& First,
                             const Fnd_String& Second, const Fnd_String& Third);

    // 0 trace, 1 "show ..." or "show:...", 2 "break ..." or "break:..."; the kind word
    // and its separator are cut off Text.
    [[nodiscard]] static long Check_Option_Kind(Fnd_String& Text);
    // Parses Text into Values (elements of Utl_Trace_Data, owned by Values). A word
    // that can't be read (a number setting that isn't a number) empties Values, prints
    // "Invalid trace value: " and the word, and gives false, so nothing is set.
    [[nodiscard]] static bool Dissect_Value(const Fnd_String& Text, Utl_Pointer_Array& Values);
    static void Check_Arguments(Utl_Pointer_Array& Values, Utl_Trace_Option_Kind Kind,
                                const Utl_Tracing_Tables& Tables);

    // The commands of Utl_Trc_Cmds, one per line, until end of input, an empty line or
    // "continue": "info [verbose]" lists classes and objects, "show TARGET [FIRST
    // [SECOND [THIRD]]]", "set TARGET BIT VALUE", "clear TARGET KIND".
    static void Run_Commands(const Utl_Command_Source& Next_Line);
    // Run_Commands on Tio_In, for a host to install as command_loop.
    static void Console_Command_Loop(void* Evaluator);

    // The registries' images: classes with their counts, and the registered objects.
    static void Image(Fnd_String& Out, bool Verbose);

    // Back to the start: all registries, pending values and saved tables emptied, the
    // words and hooks at 0. For tests.
    static void Reset();
};

// A blank if asked; "0" for no bit, else "[" the bit numbers split by "," "]".
void Utl_Tracing_Bits_Image(Fnd_String& Out, int32_t Bits, bool Blank);
// Prints Text and a line end on the console stream, and flushes.
void Utl_Tracing_Print(const Fnd_String& Text);
