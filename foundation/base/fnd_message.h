// Messages: what the foundation can say. A message is an object with an identity
// (subsystem, class number, text number) and a kind; its text is made only when Image
// is called, from a catalog for the user's language or from the class's built-in
// default, with named placeholders filled in by asking the object (Info).
//
// This header needs only a declaration of Fnd_String, so that low-level headers (the
// string itself, the array errors, the assertions) can include it. Fnd_Message_Id is in
// fnd_message_id.h, the catalogs in fnd_message_catalogs.h.
#pragma once

#include "foundation/base/fnd_object.h"

class Fnd_String;
class Fnd_Message_Id;

// How much of the text machinery an image uses.
enum Fnd_Message_Detail_Level {
    Fnd_Detail_Key = 1,        // the message prints as its key
    Fnd_Detail_Default = 2,    // the class's built-in text only; no catalog
    Fnd_Detail_Alternate = 3,  // catalog, second text of the record
    Fnd_Detail_Normal = 4      // catalog, first text of the record
};

// The severity of a message. Each kind has a canonical prefix ("***" for errors) that
// stands in front of a line of that kind where no translated image exists.
enum Fnd_Message_Kinds {
    Fnd_Unknown_Kind_Msg = 0,
    Fnd_Text_Msg = 1,
    Fnd_Auxiliary_Msg = 2,
    Fnd_Debug_Msg = 3,
    Fnd_Note_Msg = 4,
    Fnd_Positive_Msg = 5,
    Fnd_Position_Msg = 6,
    Fnd_Negative_Msg = 7,
    Fnd_Warning_Msg = 8,
    Fnd_Error_Msg = 9,
    Fnd_Exception_Msg = 10,
    Fnd_Sharp_Msg = 11,
    Fnd_Dollar_Msg = 12,
    Fnd_At_Msg = 13,
    Fnd_Continuation_Msg = 14,
    Fnd_Internal_Error_Msg = 15,
    Fnd_Not_Required_Msg = 16,
    Fnd_System_Error_Msg = 17,
    Fnd_Note1_Msg = 18,
    Fnd_Note2_Msg = 19,
    Fnd_Note3_Msg = 20,
    Fnd_Result_Msg = 21,
    Fnd_Message_Kinds_Last = 22
};

// The enumerator's name ("Fnd_Error_Msg"); empty for a value outside the enumeration.
const Code_Unit* Fnd_Message_Kinds_Image(long Kind);

// The abstract base of every message class. Concrete classes give Subsystem_Name and
// Class_Number, override Clone (FND_OBJECT_MEMBERS does) and Is_Equal, and answer
// their placeholders in Info and, if they have one, a built-in template in
// Default_Text.
class Fnd_Message : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Message)
public:
    ~Fnd_Message() override;

    long Is_Equal(const Fnd_Object& Other) const override;  // 1: classes compare fields
    long Hash() const override;                             // messages have no hash

    // The class's name.
    virtual Fnd_String Class_Key() const;
    // Text_Number() in decimal.
    virtual Fnd_String Text_Key() const;
    // May correct the kind found so far (from the catalog or the default text).
    virtual void Message_Kind(Fnd_Message_Kinds& Kind) const;
    // The value of the placeholder Name; empty when the class knows no such name.
    virtual Fnd_String Info(const Fnd_String& Name, const Fnd_Message_Detail_Level Level) const;
    // The built-in template: here none (empty text, kind 0).
    virtual void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                              Fnd_Message_Kinds& Kind) const;
    // Whether texts of this class hold placeholders to expand.
    virtual long Scan_For_Prompts() const;
    virtual const Fnd_String& Subsystem_Name() const = 0;
    virtual long Class_Number() const = 0;
    virtual long Text_Number() const;

    // Subsystem_Name(), ".", Class_Key(), ".", Text_Key().
    Fnd_String Message_Key() const;

    // The final text: Raw_Image, then Process_Raw_Image. Out is emptied first.
    void Image(Fnd_String& Out, const Fnd_Message_Detail_Level Level, const long With_Kind,
               const long With_Key) const;
    Fnd_String Image(const Fnd_Message_Detail_Level Level, const long With_Kind,
                     const long With_Key) const;
    // The text before substitution and its kind. Levels 3 and 4 read the catalog and
    // fall back on the default text (at the other level too with Any_Level).
    void Raw_Image(Fnd_String& Raw, Fnd_Message_Kinds& Kind, const Fnd_Message_Detail_Level Level,
                   const long Any_Level) const;
    // Turns a raw text into the final one: kind prefix, placeholders, or the key.
    void Process_Raw_Image(const Fnd_String& Raw, const Fnd_Message_Kinds Kind,
                           const Fnd_Message_Detail_Level Level, const long With_Kind,
                           const long With_Key, Fnd_String& Out) const;
    // The kind of the catalog record (any level), corrected by Message_Kind.
    Fnd_Message_Kinds Kind() const;

    // One newline, shared.
    static const Fnd_String& Default_Message_Separator();
    // Closes all open catalogs; the next look-up opens them anew.
    static void Refresh_Databases();
    // A simple numbered string of a catalog. Non-zero when found.
    static long Read_Db_Message(const Fnd_Message_Id& Id, Fnd_String& Text);

protected:
    Fnd_Message() = default;
    Fnd_Message(const Fnd_Message&) = default;
    Fnd_Message& operator=(const Fnd_Message&) = default;
};

// Renders a severity: its text (catalog "Base" class 2, text number the kind) is the
// kind's prefix in the user's language; the default is the canonical prefix.
class Fnd_Message_Kind : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Message_Kind, Fnd_Message)
public:
    Fnd_Message_Kinds Kind = Fnd_Unknown_Kind_Msg;

    Fnd_Message_Kind() = default;
    explicit Fnd_Message_Kind(Fnd_Message_Kinds Kind) : Kind(Kind) {}
    Fnd_Message_Kind(const Fnd_Message_Kind& Other) = default;
    Fnd_Message_Kind& operator=(const Fnd_Message_Kind& Other) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 2; }
    long Text_Number() const override { return Kind; }
    long Scan_For_Prompts() const override { return 0; }
    void Default_Text(const Fnd_Message_Detail_Level Level, Fnd_String& Text,
                      Fnd_Message_Kinds& Kind) const override;

    // The translated prefix of a kind, computed once per kind; empty for text lines.
    static const Fnd_String& Kind_Image(const Fnd_Message_Kinds Kind);
    // The canonical prefix ("***" for an error).
    static Fnd_String Canonical_Kind_Image(const Fnd_Message_Kinds Kind);
    // Ends the process (assertion 1001) for a value of 22 or more, or below 0.
    static void Check_Kind(const long Kind);
    // The kind (2 to 21) whose canonical prefix and one blank begin Text, with Length
    // the length of both; 0 and Length 0 when none does.
    static Fnd_Message_Kinds Get_Kind(const Fnd_String& Text, long& Length);
    static Fnd_Message_Kinds Get_Kind(const Fnd_String& Text);
    // As Get_Kind; on a match Out is In without the prefix and blank. Without a match
    // Out is untouched and Kind is 0.
    static void Remove_Canonical_Prefix(const Fnd_String& In, Fnd_String& Out,
                                        Fnd_Message_Kinds& Kind);

    static constexpr long Image_Slots = 23;
    static Fnd_String* Cached_Images[Image_Slots];
};
