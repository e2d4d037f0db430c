// Text input streams: an abstract base with the reading operations, sources over a
// string and over a descriptor, the console source, and a stream that reads from a
// source it owns (by default the console).
//
//   Tio_In.Set_Source(new Tio_Text_String_Input(u"first\nsecond"));
//   Fnd_String line = Tio_In.Get_Line();   // "first"
#pragma once

#include <string>

#include "foundation/base/fnd_char.h"
#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"

class Tio_Text_Input_Base : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Tio_Text_Input_Base)
public:
    // The failure of the last read.
    Fnd_Condition Input_Condition;

    ~Tio_Text_Input_Base() override;
    long Is_Equal(const Fnd_Object& Other) const override;

    // Reads Count units into Text, or with To_Line_End one line without its line feed.
    // 1 when anything (a line, even an empty one) was read; 0 at the end of the input
    // or on a failure, which Input_Condition then holds.
    [[nodiscard]] virtual long Do_Get(Fnd_String& Text, long Count, long To_Line_End) = 0;

    // One unit; code 0 unless exactly one came.
    [[nodiscard]] long Get(Fnd_Char& Unit);
    Fnd_Char Get();
    [[nodiscard]] long Get(Fnd_String& Text, long Count);
    Fnd_String Get(long Count);
    [[nodiscard]] long Get_Line(Fnd_String& Text);
    Fnd_String Get_Line();
    void Transfer_Input_Condition(Fnd_Condition& Out);

    Tio_Text_Input_Base& operator>>(Fnd_Char& Unit);
    // As many units as Text is long, into Text.
    Tio_Text_Input_Base& operator>>(Fnd_String& Text);
    Tio_Text_Input_Base& operator>>(Tio_Text_Input_Base& (*Function)(Tio_Text_Input_Base&)) {
        return Function(*this);
    }

protected:
    Tio_Text_Input_Base() = default;
    Tio_Text_Input_Base(const Tio_Text_Input_Base&) = delete;
    Tio_Text_Input_Base& operator=(const Tio_Text_Input_Base&) = delete;
};

// Reads the units of a string.
class Tio_Text_String_Input : public Tio_Text_Input_Base {
    FND_OBJECT_MEMBERS(Tio_Text_String_Input, Tio_Text_Input_Base)
public:
    explicit Tio_Text_String_Input(const Fnd_String& Text) : Text(Text) {}
    long Do_Get(Fnd_String& Out, long Count, long To_Line_End) override;

private:
    Fnd_String Text;
    long Next = 0;
};

// Reads a descriptor as UTF-8 (the default charset of this platform); a malformed byte
// sequence reads as U+FFFD. The descriptor stays the caller's. EINTR is repeated.
class Tio_Text_Descriptor_Input : public Tio_Text_Input_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Descriptor_Input, Tio_Text_Input_Base)
public:
    explicit Tio_Text_Descriptor_Input(int Descriptor) : Descriptor(Descriptor) {}
    long Do_Get(Fnd_String& Out, long Count, long To_Line_End) override;

private:
    // The next unit; false at the end of the input or on a failure.
    bool Next_Unit(Code_Unit& Unit);
    bool Fill();

    int Descriptor;
    std::string Bytes;
    size_t At = 0;
    Code_Unit Pending_Low = 0;  // the second half of a surrogate pair
    bool Ended = false;
};

// The console: standard input.
class Tio_Text_Cin : public Tio_Text_Descriptor_Input {
    FND_OBJECT_MEMBERS(Tio_Text_Cin, Tio_Text_Descriptor_Input)
public:
    Tio_Text_Cin() : Tio_Text_Descriptor_Input(0) {}
};

// Reads from its source, which it owns; without one it makes the console source.
class Tio_Text_Input_Stream : public Tio_Text_Input_Base {
    FND_OBJECT_MEMBERS(Tio_Text_Input_Stream, Tio_Text_Input_Base)
public:
    Tio_Text_Input_Stream() = default;
    ~Tio_Text_Input_Stream() override;

    long Is_Equal(const Fnd_Object& Other) const override;

    Tio_Text_Input_Base* Get_Source();
    // Destroys the old source and takes Source (null allowed).
    void Set_Source(Tio_Text_Input_Base* Source);
    long Do_Get(Fnd_String& Text, long Count, long To_Line_End) override;

private:
    Tio_Text_Input_Base* Source = nullptr;
};
