// Fnd_String_Library: static text operations that need no access to a string's
// insides: comparison and case, environment, numbers and values, scanning with
// iterators, searching, escapes and quoting.
//
// Nothing here fails through an assertion except a bad escape character: the text
// functions answer with an empty result, an invalid iterator, 0 or -1.
#pragma once

#include <cstdint>

#include <ctime>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_char_buffer.h"
#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_iterator.h"

class Fnd_String_Library {
public:
    typedef long (*Predicate)(const Fnd_Char);
    // A caller's comparison for Binary_Search: the order of Key against Table[Index];
    // a non-zero Status ends the search with -1.
    typedef int (*Compare_Function)(const Code_Unit* Key, const Code_Unit* const* Table,
                                    long Index, long& Status);

    // Words read as true and false (lower case), each list ended by a null.
    static const Code_Unit* const True_Images[];
    static const Code_Unit* const False_Images[];

    // ---- Comparison and case. No locale is involved in the order.
    static Fnd_Relation Compare(const Fnd_String& A, const Fnd_String& B);
    static Fnd_Relation Collate(const Fnd_String& A, const Fnd_String& B);
    // In place. Case mapping may change the length (U+0130 lowers to two units).
    static void To_Lower(Fnd_String& Text);
    static void To_Upper(Fnd_String& Text);
    static void To_Ignore_Case(Fnd_String& Text);
    // Into a new string.
    static Fnd_String To_Lower(const Fnd_String& Text);
    static Fnd_String To_Upper(const Fnd_String& Text);
    static Fnd_String Ignore_Case(const Fnd_String& Text);
    // Title casing with the default break iterator and locale.
    static void Capitalize(Fnd_String& Text);
    // 1 when the regular expression Pattern matches the whole Text; 0 for an empty
    // Text or a bad pattern.
    static long Match(const Fnd_String& Pattern, const Fnd_String& Text);

    // ---- Environment
    // At 3 or above, the environment functions trace what they get and set.
    static inline int32_t trace = 0;
    // 1 and Value when Name is set; else 0 with Value unchanged.
    static long Get_Environment(const Fnd_String& Name, Fnd_String& Value);
    // "NAME=value"; the text is kept for the environment. 1 on success.
    static long Set_Environment(const Fnd_String& Setting);
    static long Set_Environment(const Fnd_String& Name, const Fnd_String& Value);
    // As above; with Session non-zero the name is a session switch word, which gets
    // the product prefix first ("MESSAGES" is ZT_MESSAGES).
    static long Get_Variable(const Fnd_String& Name, Fnd_String& Value, const long Session);
    static long Set_Variable(const Fnd_String& Name, const Fnd_String& Value,
                             const long Session);
    static void Unset_Variable(const Fnd_String& Name, const long Session);
    // Removes NAME from the process's environment in place.
    static void Unset_Variable(const Code_Unit* Name);
    // 0 if unset, 1 if set and empty, else the value read by Get_Boolean.
    static long Get_Boolean_Variable(const Fnd_String& Name, const long Session);
    // The system's text of an errno value.
    static Fnd_String Error_Message(const int Error_Number);

    // ---- Numbers and values
    // From the iterator's position; End, if given, behind the number. An invalid From
    // gives 0 with End at From.
    static long To_Long(const Const_Fnd_String_Iterator& From, Const_Fnd_String_Iterator* End,
                        const int Base);
    static unsigned long To_Unsigned_Long(const Const_Fnd_String_Iterator& From,
                                          Const_Fnd_String_Iterator* End, const int Base);
    static double To_Double(const Const_Fnd_String_Iterator& From,
                            Const_Fnd_String_Iterator* End);
    // Value in base 10, 16 ("0X" with Prefix) or 8 ("0" with Prefix); other bases give
    // decimal. Appends to Out when Append is non-zero, else replaces it.
    static void To_String(Fnd_String& Out, const long Value, const int Base = 10,
                          const long Prefix = 0, const long Append = 0);
    static Fnd_String To_String(const long Value, const int Base = 10, const long Prefix = 0);
    // A pointer's value, with lower-case hexadecimal ("0x" with Prefix).
    static void To_String(Fnd_String& Out, const void* Value, const int Base = 16,
                          const long Prefix = 0, const long Append = 0);
    static Fnd_String To_String(const void* Value, const int Base = 16, const long Prefix = 0);
    static Fnd_String To_Presentation(int Value);
    static Fnd_String To_Presentation(long Value);
    static Fnd_String To_Presentation(unsigned Value);
    static Fnd_String To_Presentation(unsigned long Value);
    static Fnd_String To_Presentation(double Value);
    // strftime with a 16-bit format.
    static Fnd_String To_Presentation(const struct tm& Time, const Fnd_String& Format);
    // The full date and time in the form of date(1).
    static Fnd_String To_Presentation(const struct tm& Time);
    // The object's type name.
    static Fnd_String To_Presentation(const Fnd_Object& Object);
    // ctime without its final newline.
    static Fnd_String To_Ctime(const long& Time);
    // asctime, newline included.
    static Fnd_String To_Ctime(const struct tm& Time);
    // A word of True_Images or False_Images, or a number (> 0 is true), in any case.
    // Valid is 0 when the text is neither.
    static void Get_Boolean(const Fnd_String& Text, long& Value, long& Valid);
    // The next token read as a boolean; End moves behind it only if it was valid.
    static long To_Boolean(const Const_Fnd_String_Iterator& From, Const_Fnd_String_Iterator* End);
    // First unit '!' or '#'.
    static long Is_Comment(const Fnd_String& Text);
    static void To_Comment(Fnd_String& Text);

    // ---- Scanning, all moving the iterator
    static void Skip_Whitespace(Const_Fnd_String_Iterator& It);
    static void Skip_Separators(Const_Fnd_String_Iterator& It, const Fnd_String& Set,
                                const long With_Space);
    // Skips white space, then takes the units up to the next white space, where It
    // stops. At the end of the string Out is empty.
    static void Get_Token(Const_Fnd_String_Iterator& It, Fnd_String& Out);
    static void Get_Token(Const_Fnd_String_Iterator& It, const Fnd_String& Set,
                          const long With_Space, Fnd_String& Out);
    // A token that may be or hold a double-quoted part; with Escapes a backslash
    // protects the next unit.
    static void Get_Quoted_Token(Const_Fnd_String_Iterator& It, Fnd_String& Out,
                                 const long Escapes);
    // An identifier: a letter, then letters, digits, '_' and the units of Extra.
    static void Get_Id(Const_Fnd_String_Iterator& It, Fnd_String& Out, const Fnd_String* Extra);
    // Up to the next newline; It moves behind it.
    static void Get_Line(Const_Fnd_String_Iterator& It, Fnd_String& Out);
    static Fnd_String Tail(const Const_Fnd_String_Iterator& It);
    static void Get_Tail(const Const_Fnd_String_Iterator& It, Fnd_String& Out);
    // Units First to Last inclusive; empty when Last < First.
    static Fnd_String Slice(const Fnd_String& Text, const long First, const long Last);
    static void Get_Slice(const Fnd_String& Text, const long First, const long Last,
                          Fnd_String& Out);
    static Fnd_String Slice(const Const_Fnd_String_Iterator& First,
                            const Const_Fnd_String_Iterator& Last);
    static void Get_Slice(const Const_Fnd_String_Iterator& First,
                          const Const_Fnd_String_Iterator& Last, Fnd_String& Out);
    static void Strip_Leading(Fnd_String& Text);
    static void Strip_Trailing(Fnd_String& Text);
    static void Strip(Fnd_String& Text);

    // ---- Searching. The result is past the end when nothing is found; an invalid
    // start, or an empty text or set, gives the start back.
    static Const_Fnd_String_Iterator Next(const Fnd_Char Unit, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Next(const Fnd_String& Text, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Next(Predicate Test, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Next_Not(Predicate Test, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Next_One(const Fnd_String& Set, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Next_None(const Fnd_String& Set, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous(const Fnd_Char Unit, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous(const Fnd_String& Text, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous(Predicate Test, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous_Not(Predicate Test, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous_One(const Fnd_String& Set, const Const_Fnd_String_Iterator& From);
    static Const_Fnd_String_Iterator Previous_None(const Fnd_String& Set, const Const_Fnd_String_Iterator& From);
    // 1 and At when Text occurs in S at or after From (embedded 0 units take part);
    // else 0 and At = S's length + 1.
    static long Search(const Fnd_String& S, const long From, const Fnd_String& Text, long& At);
    // S with To in place of From at At; Next behind To.
    static void Replace(Fnd_String& S, long& Next, const Fnd_String& From, const long At,
                        const Fnd_String& To);
    static void Replace(const Fnd_Char Old, const Fnd_Char New, Fnd_String& S);
    // The index of Key in Table, -1 if absent.
    static long Linear_Search(const Code_Unit* Key, const long Count,
                              const Code_Unit* const* Table, const long Ignore_Case);
    // Table sorted by _tcscmp. -1 if absent.
    static long Binary_Search(const Code_Unit* Key, const long Count,
                              const Code_Unit* const* Table);
    static long Binary_Search(const Code_Unit* Key, const long Count,
                              const Code_Unit* const* Table, Compare_Function Compare);

    // ---- Escapes and quoting
    // The escape unit, a backslash.
    static const Fnd_Char& Esc();
    // Newline, tab, vertical tab, backspace, carriage return, form feed.
    static const Fnd_String& Standard_Escape_Characters();
    // The text with escape sequences resolved. With Unescape_Esc a doubled escape
    // unit gives one; without it, it stays doubled.
    static Fnd_String Remove_Escapes(const Fnd_String& Text, const long Unescape_Esc);
    // In place. Map gets Text's new length: a blank at each plain unit and Esc at each
    // unit that was escaped. Esc must not be a blank (assertion 113); 0 removes nothing.
    static void Remove_Escapes(Fnd_String& Text, Fnd_String& Map, const Fnd_Char& Esc);
    // With Esc_Only the escape unit is doubled; else also the standard characters are
    // written as sequences.
    static Fnd_String Insert_Escapes(const Fnd_String& Text, const long Esc_Only);
    // In place, from Start (to End inclusive), for each unit of Set.
    static void Insert_Escapes(Fnd_String& Text, const Fnd_String& Set, const long Start,
                               const Fnd_Char& Esc);
    static void Insert_Escapes(Fnd_String& Text, const Fnd_String& Set, const long Start,
                               const long End, const Fnd_Char& Esc);
    // The letter of a control unit 7 to 13 ('a' ... 'r'), else the unit itself.
    static Fnd_Char To_Escape_Sequence(const Fnd_Char Unit);
    // Doubles each Quote.
    static void Make_Double_Quoted(Fnd_String& Text, const Fnd_Char Quote);
    // Reduces each doubled Quote to one.
    static void Make_Single_Quoted(Fnd_String& Text, const Fnd_Char Quote);
    static Fnd_String Double_Quotes(const Fnd_String& Text, const Fnd_Char Quote);
    static Fnd_String Single_Quotes(const Fnd_String& Text, const Fnd_Char Quote);
    // Escapes the standard characters and the escape unit, and puts the text in
    // double quotes if that made it longer, if Force_Quotes, or if it is empty or
    // holds a blank or a double quote.
    static void Make_Printable(Fnd_String& Text, const long Force_Quotes);
};
