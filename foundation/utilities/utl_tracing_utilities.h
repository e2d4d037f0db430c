// Building blocks for the text images of the containers and of the tracing tools: each
// operation appends to Out. A field is written as indent, name, " => " and value.
#pragma once

#include <cstdint>

class Fnd_String;

class Utl_Tracing_Utilities {
public:
    // Put in front of every indent when set; not owned.
    static inline const char16_t* prefix = nullptr;
    // A word that image code of the host may consult for its amount of detail.
    static inline int32_t trace_amount = 0;
    static constexpr const char16_t* indent_spaces = u"    ";

    static void Newline(Fnd_String& Out);
    // prefix if set, then Level times four blanks.
    static void Indent(Fnd_String& Out, long Level);
    // A blank if asked, then the number in decimal.
    static void Value(Fnd_String& Out, long Number, long Blank);
    // A blank if asked, then the pointer in hexadecimal ("0x..."), or "null".
    static void Value(Fnd_String& Out, const void* Pointer, long Blank);
    // A blank if asked, then the text, between double quotes if asked.
    static void Value(Fnd_String& Out, const Fnd_String& Text, long Quoted, long Blank);
    // The text padded with blanks to Width: in front with Right, else behind.
    static void Aligned_Value(Fnd_String& Out, const Fnd_String& Text, long Width, bool Right,
                              bool Quoted, bool Blank);
    static void Aligned_Value(Fnd_String& Out, long Number, long Width, bool Right, bool Blank);
    // The text by Make_Printable.
    static void Printable_Value(Fnd_String& Out, const Fnd_String& Text, bool Blank);
    // A blank if asked, then "null".
    static void Null_Value(Fnd_String& Out, long Blank);

    // Indent, the name and " => ", and a line feed if asked.
    static void Field_Start(Fnd_String& Out, const char16_t* Name, long Level, bool New_Line);
    // Indent, name, " => ", the value and a line feed.
    static void Field(Fnd_String& Out, const char16_t* Name, const Fnd_String& Value, long Level,
                      bool Quoted);
    static void Field(Fnd_String& Out, const char16_t* Name, const char16_t* Value, long Level);
    static void Field(Fnd_String& Out, const char16_t* Name, long Value, long Level);
    static void Field(Fnd_String& Out, const char16_t* Name, const void* Value, long Level);

    // Printable bytes (32 to 126) stand for themselves, others are "\" and the decimal
    // value. With Limit above 0 the text ends with "..." behind the byte at index
    // Limit + 1. A count of 0 empties Out.
    static void Bytes_Image(Fnd_String& Out, const unsigned char* Bytes, long Count, long Limit);
    // "bytes: " and that image on the console stream.
    static void Show_Bytes(const unsigned char* Bytes, long Count, long Limit);
};
