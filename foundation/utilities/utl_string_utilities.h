// Static operations on text: locating, tokens, a length-prefixed serial form, wild
// characters and option handling.
//
// Two position conventions are in use, and each function says which:
//  - separator tokens (Get_Token, Next_Token, Skip_Whitespace): Pos is the index of the
//    last separator, so a walk starts with Pos = -1 and reads from Pos + 1;
//  - command-line tokens (Skip_Spaces, Token_Find, Token_Get): Pos ends on the last
//    character of the token, and the next search again starts at Pos + 1;
//  - the serial form (Append, Get, Skip): Pos is the index of the field's first
//    character, so reading starts at 0.
#pragma once

#include "foundation/base/fnd_code_unit.h"
#include "foundation/base/fnd_string.h"

class Fnd_Condition;
class Utl_Long_Array;
class Utl_String_Array;
class Utl_String_Map;

class Utl_String_Utilities {
public:
    // ---- Locating. Each gives an index or -1; From of -1 in the reverse forms means
    // the last character.
    static long Locate(Code_Unit What, const Fnd_String& Text, long From);
    static long Locate(const Fnd_String& What, const Fnd_String& Text, long From);
    static long Locate_One_Of(const Fnd_String& Set, const Fnd_String& Text, long From);
    static long Reverse_Locate(Code_Unit What, const Fnd_String& Text, long From);
    static long Reverse_Locate(const Fnd_String& What, const Fnd_String& Text, long From);
    static long Reverse_Locate_One_Of(const Fnd_String& Set, const Fnd_String& Text, long From);
    static long Count(Code_Unit What, const Fnd_String& Text, long From);
    // Line (from 1) and column (from 0) of Offset.
    static void Convert_Offset(const Fnd_String& Text, long Offset, long& Line, long& Column);

    // ---- Tokens by separator (Pos: the last separator, start with -1)
    static void Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                          Code_Unit Separator, long Keep_Tail);
    // Up to the next white space, keeping the tail.
    static void Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos);
    static void Next_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos,
                           const Fnd_String& Separators, long Keep_Tail);
    static void Get_Token(Fnd_String& Out, const Fnd_String& Text, long& Pos, Code_Unit First,
                          Code_Unit Second, long Keep_Tail);
    // Pos just before the next character that isn't white space, or at the length.
    static void Skip_Whitespace(const Fnd_String& Text, long& Pos);

    // ---- Tokens of a command line: blank, tab and newline separate; a token may be
    // quoted with double quotes, and "" inside it is a literal quote.
    static long Skip_Spaces(const Code_Unit* Text, long& Pos);
    static long Skip_Spaces(const Fnd_String& Text, long& Pos);
    static long find_token(long& Start, long& Pos, long& Quoted, long& Doubled,
                           const Code_Unit* Text);
    static long Token_Find(long& Start, long& Pos, const Fnd_String& Text);
    static long Token_Find(long& Start, long& Pos, long& Quoted, const Fnd_String& Text);
    // With Strip a quoted token comes without its quotes and with doubled quotes single.
    static long Token_Get(Fnd_String& Out, const Fnd_String& Text, long& Pos, long& Quoted,
                          long Strip);
    static long Token_Get(Fnd_String& Out, const Fnd_String& Text, long& Pos, long Strip);
    static long Token_Get(Fnd_String& Out, const Code_Unit* Text, long& Pos, long Strip);
    // Characters From to To (inclusive), without Strip characters at each end.
    static void Token_Extract(Fnd_String& Out, const Fnd_String& Text, long From, long To,
                              long Strip);

    // ---- The serial form: "<length> <text>" for a string, "<number> " for a number,
    // and for an array the count and then each element as a string.
    static void Append(Fnd_String& Out, const Fnd_String& Text);
    static void Append(Fnd_String& Out, const Code_Unit* Text);
    static void Append(Fnd_String& Out, long Number);
    static void Append(Fnd_String& Out, const Utl_String_Array& Array);
    // Reading from Pos (the field's first character). A length larger than what is
    // left takes what is left.
    static void Get(const Fnd_String& In, long& Pos, Fnd_String& Out);
    static void Get(const Fnd_String& In, long& Pos, long& Out);
    static void Get(const Fnd_String& In, long& Pos, Utl_String_Array& Out);
    static void Skip(const Fnd_String& In, long& Pos);

    // ---- Classification and matching
    static long Is_Wild(Code_Unit Character);
    static long Is_Wild(const Fnd_String& Text);
    static long Is_Multiple(const Fnd_String& Text);
    static long Is_Wild_Or_Multiple(const Fnd_String& Text);
    static long Is_Wild_Command(const Fnd_String& Text);
    // The regular expression Pattern against the whole Text.
    static long Match(const Fnd_String& Text, const Fnd_String& Pattern);
    // For sorting: both arguments are addresses of Fnd_String*; nulls first, then by
    // collation.
    static int Compare_Strings(const void* A, const void* B);
    // "%" and "." become "*"; Wild is set by any of ? [ | * % . and Percent by %.
    static void Transform_Command(Fnd_String& Text, long& Wild, long& Percent);
    typedef long (*Index_Filter)(long Index);
    // Adds to Matches each index 0 to Last whose name in Names (null-ended) matches.
    static void Find_Matches(const Fnd_String& Pattern, Utl_Long_Array& Matches, long Last,
                             const Code_Unit* const* Names, Index_Filter Filter,
                             long Need_Wild, long Kind);

    // Find_Matches, and for several matches a listing. 0: no match; 1: one, stored in
    // Index; 2: more, which unless No_List are listed sorted in three columns under
    // Header (or "matching <kind name>s:", or "values:"), on Tio_Out between blank
    // lines, or on the console's output side with To_Console.
    static long Check_Wild(long& Index, const Fnd_String& Pattern, long Last,
                           const Code_Unit* const* Names, long To_Console, Index_Filter Filter,
                           const Code_Unit* Kind_Name, long Need_Wild, long Match_Kind,
                           const Code_Unit* Header, long No_List);
    // The names as a table (Table_Image with a prefix of two blanks), row by row on
    // Tio_Out, or on the console's output side with To_Console.
    static void Output_Table(const Utl_String_Array& Names, long To_Console, long Columns);
    // The map's domains, sorted, in three columns, after Header if there is one.
    static void Output_Domain_Table(const Utl_String_Map& Map, const Code_Unit* Header,
                                    long To_Console);

    // ---- Other operations
    // "a.b.c.d" as base-256 digits, the first most significant.
    static long Ip_To_Long(const Fnd_String& Text);
    // $NAME by the environment; unset names stay with Keep, else they go.
    static void Replace_Variables(Fnd_String& Text, long Keep);
    // Breaks lines at the last blank before Width.
    static void Wrap_String(Fnd_String& Text, long Width);
    typedef void (*Setenv_Callback)(const Fnd_String& Name, const Fnd_String& Value);
    static void Register_Setenv_Callback(Setenv_Callback Callback);
    // Every callback, newest first, then the environment itself.
    static void Change_Environment(const Fnd_String& Name, const Fnd_String& Value);
    // Remove entries from an argument vector, moving its terminator down with the rest.
    static void Remove_Option(long Index, long& Argc, Code_Unit** Argv);
    static void Remove2_Options(long Index, long& Argc, Code_Unit** Argv);
    // Moves Index to the next argument; without one the condition tells the option.
    static long Get_Arg(Fnd_Condition& Condition, long& Index, long Argc, Code_Unit** Argv);
    static void Unknown_Option(Fnd_Condition& Condition, const Fnd_String& Option);
    // "0" or "0x" followed by lower-case hexadecimal digits.
    static long Get_Address(const Fnd_String& Text, void*& Out);
};
