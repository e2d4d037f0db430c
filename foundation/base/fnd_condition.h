// The result object of the foundation. An operation that can fail takes a
// Fnd_Condition&, clears it on entry and leaves a clone of a message in it on failure.
// A null Error means success. The condition owns what it holds and never throws.
//
// The lower-level conditions (subordinates) and the information that did not amount to
// an error are held in sequences of conditions; they come with the sequence classes.
// Until then a condition holds its error alone, and Image prints that error.
#pragma once

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

// The message a condition uses for its own generic states: 1 success, 2 a composite
// failure whose reasons are its subordinates. Neither has a text of its own.
class Fnd_Condition_Error : public Fnd_Message {
    FND_OBJECT_MEMBERS(Fnd_Condition_Error, Fnd_Message)
public:
    enum { Success = 1, Composite = 2 };

    long Number = 0;

    Fnd_Condition_Error() = default;
    explicit Fnd_Condition_Error(long Number) : Number(Number) {}
    Fnd_Condition_Error(const Fnd_Condition_Error&) = default;
    Fnd_Condition_Error& operator=(const Fnd_Condition_Error&) = default;

    long Is_Equal(const Fnd_Object& Other) const override;
    const Fnd_String& Subsystem_Name() const override;
    long Class_Number() const override { return 3; }
    long Text_Number() const override { return Number; }

    // The one success message, made on first use and never freed.
    static Fnd_Condition_Error* Success_Error();
};

class Fnd_Condition : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Fnd_Condition)
public:
    Fnd_Condition() = default;
    explicit Fnd_Condition(const Fnd_Message& Message);
    Fnd_Condition(const Fnd_Condition& Other);
    Fnd_Condition& operator=(const Fnd_Condition& Other);
    Fnd_Condition& operator=(const Fnd_Message& Message);
    ~Fnd_Condition() override;

    // Same error (both null, or equal messages).
    long Is_Equal(const Fnd_Object& Other) const override;

    // The success test: a condition has failed exactly when it holds an error.
    bool Failed() const { return Error != nullptr; }

    // The error, or the shared success message when there is none. Never null.
    Fnd_Message* Get_Error() const;
    // The kind of Get_Error().
    Fnd_Message_Kinds Kind() const;
    // For a generic error: For_Success when it is the success message, For_Composite
    // when it is the composite one. 0 for a specific error and for none.
    long Is_Generic(const long For_Success, const long For_Composite) const;

    // Back to success.
    void Clear();
    void Clear(const long With_Information);
    void Clear_Info();
    // Clears everything and adopts Message as the error (null means success).
    void Set(Fnd_Message* Message);

    // With Force 0 only a present error is replaced (a better worded one); with Force
    // non-zero the error is set in any case. The condition stores a clone.
    void Set_Error(const Fnd_Message& Message, const long Force);
    // The same, adopting Message; a message that is not installed is destroyed.
    void Set_Error(Fnd_Message* Message, const long Force);
    // Puts a new error on top. With Force 0 a successful condition stays successful.
    // On a condition without an error, or with a generic one, the new message simply
    // takes its place. Above a specific error the old content becomes the subordinate
    // of the new one; until conditions hold subordinates that case is an assertion.
    void Push_Error(const Fnd_Message& Message, const long Force);
    void Push_Error(Fnd_Message* Message, const long Force);

    // Moves this condition into Target; this one becomes clean.
    void Transfer(Fnd_Condition& Target);

    // The text of the condition: each non-generic error's Image(Level, With_Kind,
    // With_Key), separated by Separator. Out is emptied first.
    void Image(Fnd_String& Out, const Fnd_Message_Detail_Level Level, const long With_Kind,
               const long With_Key, const long With_Subordinate, const long With_Information,
               const Fnd_String& Separator) const;
    Fnd_String Image(const Fnd_Message_Detail_Level Level, const long With_Kind,
                     const long With_Key, const long With_Subordinate,
                     const long With_Information, const Fnd_String& Separator) const;
    // As Image, keeping what Out already holds.
    void Append(Fnd_String& Out, const Fnd_Message_Detail_Level Level, const long With_Kind,
                const long With_Key, const long With_Subordinate, const long With_Information,
                const Fnd_String& Separator) const;

private:
    Fnd_Message* Error = nullptr;

    static Fnd_Message* Clone_Message(const Fnd_Message& Message);
};
