// Utl_Arguments: an argument vector under construction, an ordered list of terminated
// texts that can be handed to a program start with a null at its end. It keeps apart
// the texts it owns (copies it made, or texts handed over to it) and the ones it only
// borrows, whose owners keep them alive.
//
//   Fnd_String line(u"grep -n \"two words\" file");
//   Utl_Arguments args(line, 0);        // splits by its own quoting rule
//   args.Add(u"--", 0);                 // borrowed
//   Hst_Process::Run(args.Get_Argv_With_Null(), ...);
//
// Owned texts are arrays of Code_Unit made with new[], as Fnd_String::Transfer gives
// them; a text handed over by Transfer_Add(const Code_Unit*) must be one of those.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_traced_class.h"

class Utl_String_Map;

// Traced as the containers are (Utl_Traced_Class), under the class key "arguments",
// with the level, the first trace mask, the first show mask, the break mask and its own
// other words; the other words of the class are the second masks of Class_Trace.
class Utl_Arguments : public Utl_Traced_Class<Utl_Arguments> {
public:
    // Bit 0 traces and shows Get_Argv_With_Null. "set" with the bit value 8 sets
    // other_trace; "clear" of the trace words clears it, of the show words other_show.
    Utl_Trace_Word other_trace = 0;
    Utl_Trace_Word other_show = 0;

    // Room for Size texts (10 when Size is below 1).
    explicit Utl_Arguments(long Size = 0);
    // Splits Text into words (see add_items); Text keeps the terminators written into it.
    Utl_Arguments(Fnd_String& Text, long Size);
    // The domains of Map in the iterator's order: copies, or pointers to the map's texts.
    Utl_Arguments(const Utl_String_Map& Map, long Copy);
    // Copies every non-null text; a null cell stays null.
    Utl_Arguments(const Utl_Arguments& Other);
    Utl_Arguments& operator=(const Utl_Arguments&) = delete;
    virtual ~Utl_Arguments();

    long Get_Count() const { return static_cast<long>(Items.size()); }
    long Get_Capacity() const { return Capacity; }
    const Code_Unit* operator[](long Index) const { return Items[static_cast<size_t>(Index)]; }
    // Whether this object frees the text at Index.
    [[nodiscard]] bool Is_Owned(long Index) const;

    // Splitting a command line: blanks and tabs separate words; a word in double quotes
    // may hold them, a backslash keeps the next character (a quote too) and is dropped.
    void Add_Values(Fnd_String& Text);
    void Recreate(Fnd_String& Text);
    // The tokens of Utl_String_Utilities::Token_Get, quotes stripped.
    void Add_Tokens(const Fnd_String& Text);

    void Add(const Fnd_String& Text);
    void Add(const Code_Unit* Text, long Copy);
    // Takes the string's buffer without copying; Text is empty afterwards.
    void Transfer_Add(Fnd_String& Text);
    void Transfer_Add(Code_Unit* Text);
    // The former text of the cell is freed only by Make_Empty or the end, if owned.
    void Set(long Index, const Fnd_String& Text);
    void Set(long Index, const Code_Unit* Text, long Copy);
    void Insert(long Index, const Fnd_String& Text);
    void Insert(long Index, const Code_Unit* Text, long Copy);
    void Delete(long Index);
    // Cells First to Last, both included.
    void Delete(long First, long Last);
    // Takes the cell out; the text is the caller's now (new[] if it was owned here).
    [[nodiscard]] Code_Unit* Transfer_Delete(long Index);
    // Frees every owned text; the count becomes 0.
    void Make_Empty();
    // The count falls by N, not below 0; nothing is freed.
    void Shorten(long N);
    void Sort();

    // The vector with a null behind the last cell (none is added behind a null last
    // cell); the count does not change. Good until the next call or change.
    const Code_Unit* const* Get_Argv_With_Null();

    // Items through Make_Printable: by lines (a line feed before each but the first,
    // then Prefix), else each followed by a blank. Out is emptied unless Append.
    virtual void Image(Fnd_String& Out, long By_Lines, long Append, const Code_Unit* Prefix) const;
    // The same in one static string, good until the next call.
    virtual const Fnd_String& Image(long By_Lines, const Code_Unit* Prefix) const;
    // The class's Operation: the other words, then those of every traced class.
    static void Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                          const Fnd_String& Second);

    // For the range kind of maps: both let a null pass.
    static void Range_Delete(long Range);
    static long Range_Copy(long Range);

private:
    // What its tracing needs to know (Utl_Traced_Class).
    friend class Utl_Traced_Class<Utl_Arguments>;
    static const Utl_Trace_Class Trace_Class;
    void Trace_Image(Fnd_String& Out) const;
    long Trace_Count() const { return Get_Count(); }
    long Trace_Capacity() const { return Capacity; }

    void add_items(Code_Unit* Text);
    void Store(long Index, Code_Unit* Text, bool Owned, bool Insert);
    void Grow();
    void Own(Code_Unit* Text);
    // The trace line of Op (and its break) with Detail behind the label, and its show
    // block; each only when the words ask for it, and out of line.
    [[gnu::cold]] void Trace_Before(const Utl_Trace_Op& Op, const Fnd_String& Detail) const;
    [[gnu::cold]] void Trace_Show(const Utl_Trace_Op& Op) const;

    std::vector<const Code_Unit*> Items;
    long Capacity = 0;
    std::vector<Code_Unit*> Copied;
    std::vector<const Code_Unit*> Argv;
};
