// Text output streams: an abstract base with the writing operations, the two console
// destinations, and a stream that forwards to a destination it owns (by default the
// console's output or error side).
#pragma once

#include <memory>
#include <vector>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_string.h"

class Tio_Text_Output_Base : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Tio_Text_Output_Base)
public:
    // The failure of the last write.
    Fnd_Condition Output_Condition;

    ~Tio_Text_Output_Base() override;
    long Is_Equal(const Fnd_Object& Other) const override;

    // Writes Text, then a line end when New_Line is non-zero. 1 on success.
    virtual long Do_Put(const Fnd_String& Text, long New_Line) = 0;
    // One line: Prefix, a blank and Text, or Text alone for an empty Prefix.
    virtual long Do_Put_Message(Fnd_Message_Kinds Kind, const Fnd_String& Prefix,
                                const Fnd_String& Text);

    long Put(const Fnd_String& Text);
    long Put(Code_Unit Unit);
    long Put_Line(const Fnd_String& Text);
    // 0 for a Count below 1; else Count line ends.
    long New_Line(long Count);
    long Endl();
    void Transfer_Output_Condition(Fnd_Condition& Out);

    // All by Put: a unit, a text, a pointer in hexadecimal, numbers in decimal.
    Tio_Text_Output_Base& operator<<(Fnd_Char Unit);
    Tio_Text_Output_Base& operator<<(Code_Unit Unit);
    Tio_Text_Output_Base& operator<<(const Code_Unit* Text);
    Tio_Text_Output_Base& operator<<(const Fnd_String& Text);
    Tio_Text_Output_Base& operator<<(const void* Pointer);
    Tio_Text_Output_Base& operator<<(int Value);
    Tio_Text_Output_Base& operator<<(long Value);
    Tio_Text_Output_Base& operator<<(Tio_Text_Output_Base& (*Function)(Tio_Text_Output_Base&)) {
        return Function(*this);
    }

protected:
    Tio_Text_Output_Base() = default;
    Tio_Text_Output_Base(const Tio_Text_Output_Base&) = delete;
    Tio_Text_Output_Base& operator=(const Tio_Text_Output_Base&) = delete;
};

// The console's output side, get_ztcout(): standard output in the default charset.
class Tio_Text_Cout : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Cout, Tio_Text_Output_Base)
public:
    Tio_Text_Cout() = default;
    long Do_Put(const Fnd_String& Text, long New_Line) override;
};

// The console's error side, get_ztcerr(). A failed write gives 0.
class Tio_Text_Cerr : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Cerr, Tio_Text_Output_Base)
public:
    Tio_Text_Cerr() = default;
    long Do_Put(const Fnd_String& Text, long New_Line) override;
};

// Forwards to its destination, which it owns; without one it makes the default: the
// console's output side when Standard_Out is 1, its error side when it is 0. Pushed
// destinations wait on a stack until the one in force is popped:
//
//   Tio_Out.Push_Destination(new My_Capture());   // ... writes go to the capture
//   Tio_Out.Pop_Destination();                    // the capture is destroyed
class Tio_Text_Output_Stream : public Tio_Text_Output_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Output_Stream, Tio_Text_Output_Base)
public:
    // To_Error above 0 makes a stream whose default destination is the error side.
    explicit Tio_Text_Output_Stream(long To_Error);
    ~Tio_Text_Output_Stream() override;

    long Is_Equal(const Fnd_Object& Other) const override;

    Tio_Text_Output_Base* Get_Destination();
    // Destroys the destination in force and takes Destination (null allowed).
    void Set_Destination(Tio_Text_Output_Base* Destination);
    // Puts the destination in force, if any, on the stack and takes Destination.
    void Push_Destination(Tio_Text_Output_Base* Destination);
    // Destroys the destination in force; the top of the stack, if any, takes its place.
    void Pop_Destination();
    // Destroys the destination in force and every one on the stack.
    void Close_Destinations();
    // 0 without destination; the stack's size + 1 with a stack; else 0 for the console's
    // output side and 1 for anything else.
    long Stack_Size() const;
    long Is_Redirected() const;
    long Do_Put(const Fnd_String& Text, long New_Line) override;

    long Standard_Out;
    // At 3 or above, destination changes and writes print a trace line on the console.
    static inline int32_t trace = 0;

private:
    bool Is_Console_Out() const;
    void Trace(const Code_Unit* Label, const Fnd_String& Text) const;

    std::unique_ptr<Tio_Text_Output_Base> Destination;
    std::vector<std::unique_ptr<Tio_Text_Output_Base>> Stack;
};
