// Utl_File_String_Map: a string map (of string ranges) that reads itself from a
// settings file of named fields and writes itself back.
//
// A field is either one line, "name: value" (the value stripped at both ends), or
// several lines between "{name:" and a line "name}":
//
//   user: jane
//   {notes:
//   first line
//     second line, blanks kept
//   notes}
//
// Lines whose first non-blank character is "#" are comments. A later field of the
// same name replaces an earlier one. Save writes the fields sorted by name and leaves
// out empty values; a value line that could be taken for the closing line gets one
// more "}" on writing, which reading takes away again. A save replaces the file
// atomically with a new one of mode 0600 (Utl_File::Replace_Contents).
#pragma once

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_string_map.h"

class Fnd_Condition;
class Utl_File_Reader;

class Utl_File_String_Map : public Utl_String_Map {
public:
    // Files larger than this are refused: a settings file is a few lines, and a file
    // this big is a mistake whose reading would only take memory.
    static constexpr long long Max_File_Size = 16LL * 1024 * 1024;

    // Level 1: each read and save prints a line on the output stream; level 2 also
    // each constructor and destructor. Bit 0x4000 of specific2_show prints the map
    // after a read and a save.
    static inline Utl_Trace_Words my_trace;

    Utl_File_String_Map(long Size = 17, Utl_Domain_Case Case = Utl_Case_Unchanged,
                        bool Use_UTF8 = false);
    ~Utl_File_String_Map() override;
    Utl_File_String_Map(const Utl_File_String_Map&) = delete;
    Utl_File_String_Map& operator=(const Utl_File_String_Map&) = delete;

    // Empties the map and reads File (the default file for an empty name) with
    // comments on (reader options 2). A missing file fails with Utl_Edutil_Error 101;
    // a file whose name starts with "." reads as empty. A line without a field name is
    // written to the log and passed over; an unclosed multi-line field fails (104),
    // keeping what was read.
    void Read(Fnd_Condition& Condition, const Fnd_String& File);
    void Read(Fnd_Condition& Condition, long Reader_Options, const Fnd_String& File);
    // Writes the whole map in place of File; 102 on top of the reason when it can't.
    void Save(Fnd_Condition& Condition, const Fnd_String& File);
    // The file keeps its values of Fields and takes all other fields from Map; a
    // field of the file that is neither in Fields nor in Map fails (103). Nothing is
    // written after a failure of the read.
    void Save_Only_Selected_Fields(Fnd_Condition& Condition, const Utl_String_Map& Map,
                                   const Fnd_String& File, const Utl_String_Map& Fields);

    // Whether Name reads back as itself: one word without ":" that doesn't begin with
    // "#", "{" or a double quote. Save refuses a map with any other name.
    [[nodiscard]] static bool Is_Field_Name(const Fnd_String& Name);

    // The file's text for this map, as Save writes it.
    void Text_Image(Fnd_String& Text) const;

    void Set_Default_File(const Fnd_String& File) { Default_File = File; }
    const Fnd_String& Get_Default_File() const { return Default_File; }
    bool Is_UTF8() const { return Use_UTF8; }

    static const Code_Unit Begin_Prefix = u'{';
    static const Code_Unit End_Suffix = u'}';
    static const Code_Unit Newline = u'\n';
    static const Code_Unit Blank = u' ';

private:
    Fnd_String Default_File;
    bool Use_UTF8;

    const Fnd_String& File_Or_Default(const Fnd_String& File) const;
    void Read_Fields(Fnd_Condition& Condition, long Reader_Options, const Fnd_String& File,
                     const Utl_String_Map* Selected);
    void Bind_Field(Fnd_Condition& Condition, const Fnd_String& File, const Fnd_String& Name,
                    const Fnd_String& Value, const Utl_String_Map* Selected);
    void Trace_Operation(const Code_Unit* What, const Fnd_String& File) const;
};
