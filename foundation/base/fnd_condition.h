// The result object of the foundation. An operation that can fail takes a
// Fnd_Condition&, clears it on entry and leaves a clone of a message in it on failure.
// A null Error means success. The condition owns what it holds and never throws.
//
// A condition is a tree: one error, the lower-level conditions that led to it
// (subordinates), and conditions that report without failing (information). Both
// lists are sequences of conditions, made with their first element. A subordinate
// implies failure: adding one to a condition without an error installs the generic
// composite error, whose text is that of its subordinates.
//
//   Fnd_Condition cause;
//   Hst_Filesystem::Read(fd, buffer, size, cause);
//   if (cause.Failed()) {
//       condition.Add_Sub(cause, 1, 0);          // below what this operation says
//       condition.Push_Error(My_Error(...), 0);  // a specific error on top
//   }
#pragma once

#include <cstdint>

#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

class Fnd_Sequence;

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
    // Debug words for a person with a debugger: a level (5 or more traces life and
    // assignment) and two bit sets. All start at 0; nothing in the library sets them.
    static inline int32_t trace = 0;
    static inline int32_t specific_trace = 0;
    static inline int32_t specific2_trace = 0;

    Fnd_Condition();
    explicit Fnd_Condition(const Fnd_Message& Message);
    // A deep copy of all three parts.
    Fnd_Condition(const Fnd_Condition& Other);
    Fnd_Condition& operator=(const Fnd_Condition& Other);
    // Destroys all three parts; the error becomes a clone of Message.
    Fnd_Condition& operator=(const Fnd_Message& Message);
    ~Fnd_Condition() override;

    // Error, subordinates and information compared in turn: both null is equal, one
    // null is unequal, else by value.
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
    // The lists as they are; null until their first element.
    Fnd_Sequence* Get_Subordinate() const { return Subordinate; }
    Fnd_Sequence* Get_Information() const { return Information; }

    // Back to success: the error and the subordinates go, the information stays.
    void Clear();
    void Clear(const long With_Information);
    void Clear_Info();
    // Clears everything and adopts Message as the error (null means success).
    void Set(Fnd_Message* Message);

    // With Force 0 only a present error is replaced (a better worded one); with Force
    // non-zero the error is set in any case. Subordinates and information stay.
    void Set_Error(const Fnd_Message& Message, const long Force);
    // The same, adopting Message; a message that is not installed is destroyed.
    void Set_Error(Fnd_Message* Message, const long Force);
    // Puts a new error on top. With Force 0 a successful condition stays successful.
    // Above a specific error the whole present content becomes the only subordinate of
    // the new one; above a generic error (or none) the message simply takes its place
    // and the subordinates stay where they are.
    void Push_Error(const Fnd_Message& Message, const long Force);
    void Push_Error(Fnd_Message* Message, const long Force);
    // With an error: Set_Error(A, 0) or Push_Error(A, 0). B isn't used.
    void Set_Reason(const Fnd_Message& A, const Fnd_Message& B);
    void Push_Reason(const Fnd_Message& A, const Fnd_Message& B);

    // Moves this condition into Target; this one becomes clean.
    void Transfer(Fnd_Condition& Target);

    // ---- Adding. Transfer non-zero moves the source's content out of it (it is left
    // clean), 0 copies it. At_Front non-zero inserts before the present elements.

    // A failed source as a subordinate; a source with only information hands on its
    // information. With Generic, a source that failed replaces a missing error by
    // Generic.
    void Add(const Fnd_Message& Message, const long At_Front);
    void Add(Fnd_Condition& Source, const long Transfer, const long At_Front);
    void Add(Fnd_Condition& Source, const Fnd_Message& Generic, const long Transfer,
             const long At_Front);
    // Takes Source over when this condition has no error, else adds it. With
    // Keep_Information this condition's information survives behind the source's.
    void Add_Set(Fnd_Condition& Source, const long Transfer, const long At_Front,
                 const long Keep_Information);
    // Combines two results without nesting where it can: information joins the
    // information; a generic failure hands on its subordinates; a specific one enters
    // as one subordinate.
    void Merge(Fnd_Condition& Source, const long Transfer, const long At_Front);
    // Add_Subordinate for a source that failed; nothing for one that didn't.
    void Add_Sub(const Fnd_Message& Message, const long At_Front);
    void Add_Sub(Fnd_Condition& Source, const long Transfer, const long At_Front);
    void Add_Sub(Fnd_Condition& Source, const Fnd_Message& Generic, const long Transfer,
                 const long At_Front);
    // Source as a subordinate whether it failed or not: this condition fails.
    void Add_Subordinate(Fnd_Condition& Source, const long Transfer, const long At_Front);
    // The same, and Generic replaces any present error.
    void Add_Subordinate(Fnd_Condition& Source, const Fnd_Message& Generic,
                         const long Transfer, const long At_Front);
    // A whole sequence of conditions; with Transfer the sequence is destroyed.
    void Add_Subordinate(Fnd_Sequence*& Source, const long Transfer, const long At_Front);
    void Add_Information(Fnd_Condition& Source, const long Transfer, const long At_Front);
    void Add_Information(Fnd_Sequence*& Source, const long Transfer, const long At_Front);
    // Demotes this condition's failure to information; it succeeds after.
    void Add_Info(const long At_Front);
    void Add_Info(const Fnd_Message& Message, const long At_Front);
    void Add_Info(Fnd_Condition& Source, const long Transfer, const long At_Front);

    // The lists, made on first use. A subordinate list implies failure: the generic
    // composite error is installed when there is no error.
    Fnd_Sequence* Allocate_Subordinate();
    Fnd_Sequence* Allocate_Information();

    // The text of the tree, depth first, parents first: each non-generic error's
    // Image(Level, With_Kind, With_Key), separated by Separator. Out is emptied first.
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

    // " [address" and, with an error, "," and the full image; then "]". On the
    // console's output side; the text itself by Show_Text.
    void Show() const;
    Fnd_String Show_Text() const;

private:
    Fnd_Message* Error = nullptr;
    Fnd_Sequence* Subordinate = nullptr;
    Fnd_Sequence* Information = nullptr;

    static Fnd_Message* Clone_Message(const Fnd_Message& Message);
    static Fnd_Sequence* Clone_Sequence(const Fnd_Sequence* Sequence);
    // The one insertion step: a clone of Source, or Source's content moved into a new
    // condition, at the front or the back of List.
    void Add(Fnd_Sequence* List, Fnd_Condition& Source, const long Transfer,
             const long At_Front);
    void Add(Fnd_Sequence* List, Fnd_Condition& Source, const Fnd_Message& Generic,
             const long Transfer, const long At_Front);
    void Destroy_All();
};

// One line on the console's output side for a debugger: "[successful" or "[failure",
// "(generic), " or ", ", "with"/"without" " subordinate, ", "with"/"without"
// " information]"; then, unless the condition is clean, its image on a second line.
void Fnd_Condition_Debug_Image(const Fnd_Condition& Condition);
// The same two lines as text.
Fnd_String Fnd_Condition_Debug_Text(const Fnd_Condition& Condition);
