// Building blocks for the text images of the containers.
#pragma once

class Fnd_String;

class Utl_Tracing_Utilities {
public:
    // A blank if asked, then the number in decimal.
    static void Value(Fnd_String& Out, long Number, long Blank);
    // A blank if asked, then the pointer in hexadecimal ("0x..."), or "null".
    static void Value(Fnd_String& Out, const void* Pointer, long Blank);
    // A blank if asked, then the text, between double quotes if asked.
    static void Value(Fnd_String& Out, const Fnd_String& Text, long Quoted, long Blank);
    // A blank if asked, then "null".
    static void Null_Value(Fnd_String& Out, long Blank);
};
