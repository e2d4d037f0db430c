// The machinery behind Fnd_Message's images: the catalog look-ups and the expansion of
// placeholders. Static only.
//
// A catalog text may hold placeholders between '<' and '>' and backslash escapes. The
// first unescaped blank inside a placeholder separates its name from a default:
// "<file>" is Info("file"), "<file unknown>" is Info("file") or, when that is empty,
// "unknown". "<Message_Key>" and "<Class_Name>" (without default) are answered here.
// An escaped '<' is a literal one.
#pragma once

#include "foundation/base/fnd_message.h"

class Fnd_String;
class Fnd_Message_Id;

class Fnd_Message_Imp {
public:
    // Appends Raw with its escapes resolved, without looking for placeholders.
    static void Append_Simple_Message(const Fnd_String& Raw, Fnd_String& Out);
    // Appends Raw with its placeholders expanded by asking Message. Prefix_Length is the
    // length of the kind prefix at the start of Out: a malformed placeholder puts the
    // key behind it.
    static void Process_Db_Message(const Fnd_Message& Message, const Fnd_String& Raw,
                                   const Fnd_Message_Detail_Level Level, long Prefix_Length,
                                   Fnd_String& Out);
    // One placeholder, Text[First] to Text[Last - 1] (without the brackets), whose Map
    // tells escaped units. Appends its value; 0 when its name is empty.
    static long Interpret_Prompt_Sequence(const Fnd_Message& Message, const Fnd_String& Text,
                                          const Fnd_String& Map, long First, long Last,
                                          const Fnd_Message_Detail_Level Level,
                                          Fnd_String& Out);

    // The record of Message in its catalog: the text for Level (3 the alternate, else
    // the normal one; the other with Any_Level when that is missing) and the kind.
    // Text stays empty and Kind 0 when there is none.
    static void Get_Db_Message(const Fnd_Message& Message, const Fnd_Message_Detail_Level Level,
                               const long Any_Level, Fnd_String& Text, Fnd_Message_Kinds& Kind);
    // The same inside Catalog_Lock.
    static void Get_Db_Message_Internal(const Fnd_Message& Message,
                                        const Fnd_Message_Detail_Level Level,
                                        const long Any_Level, Fnd_String& Text,
                                        Fnd_Message_Kinds& Kind);
    // A simple string, keyed by the text number, of the catalog of Id's subsystem.
    static long Read_Db_Message(const Fnd_Message_Id& Id, Fnd_String& Text);
    static long Read_Db_Message_Internal(const Fnd_Message_Id& Id, Fnd_String& Text);
};
