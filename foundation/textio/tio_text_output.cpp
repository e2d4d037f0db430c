#include "foundation/textio/tio_text_output.h"

#include <ostream>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_trace.h"
#include "foundation/streams/ztconsole.h"

namespace {

// Writes Text and, with New_Line, a line end to Stream, and flushes. True when the write
// left the stream good. A failure left by an earlier write is cleared first, so that one
// lost write does not silence the console for good.
bool Write_Text(ztostream& Stream, const Fnd_String& Text, long New_Line) {
    Stream.clear();
    if (!Text.Is_Empty()) Stream << Text;
    if (New_Line)
        Stream << std::endl;
    else if (!Text.Is_Empty())
        Stream.flush();
    return !Stream.fail();
}

}  // namespace

// ---- Tio_Text_Output_Base

Tio_Text_Output_Base::~Tio_Text_Output_Base() = default;

long Tio_Text_Output_Base::Is_Equal(const Fnd_Object&) const { return 1; }

long Tio_Text_Output_Base::Do_Put_Message(Fnd_Message_Kinds, const Fnd_String& Prefix,
                                          const Fnd_String& Text) {
    if (Prefix.Is_Empty()) return Do_Put(Text, 1);
    return Do_Put(Prefix + u" " + Text, 1);
}

long Tio_Text_Output_Base::Put(const Fnd_String& Text) {
    Fnd_Assert_Statics_Initialized();
    return Do_Put(Text, 0);
}

long Tio_Text_Output_Base::Put(Code_Unit Unit) {
    Fnd_Assert_Statics_Initialized();
    return Do_Put(Fnd_String(&Unit, 1), 0);
}

long Tio_Text_Output_Base::Put_Line(const Fnd_String& Text) {
    Fnd_Assert_Statics_Initialized();
    return Do_Put(Text, 1);
}

long Tio_Text_Output_Base::New_Line(long Count) {
    Fnd_Assert_Statics_Initialized();
    if (Count < 1) return 0;
    if (Count == 1) return Do_Put(Fnd_String(), 1);
    return Do_Put(Fnd_String(static_cast<unsigned short>(u'\n'), static_cast<int>(Count - 1)), 1);
}

long Tio_Text_Output_Base::Endl() {
    Fnd_Assert_Statics_Initialized();
    return Do_Put(Fnd_String(), 1);
}

void Tio_Text_Output_Base::Transfer_Output_Condition(Fnd_Condition& Out) {
    Output_Condition.Transfer(Out);
}

Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(Fnd_Char Unit) {
    (void)Put(Unit.Unit);
    return *this;
}
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(Code_Unit Unit) {
    (void)Put(Unit);
    return *this;
}
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(const Code_Unit* Text) {
    (void)Put(Fnd_String(Text ? Text : u""));
    return *this;
}
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(const Fnd_String& Text) {
    (void)Put(Text);
    return *this;
}
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(const void* Pointer) {
    (void)Put(Fnd_String_Library::To_String(Pointer, 16, 1));
    return *this;
}
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(int Value) { return *this << long{Value}; }
Tio_Text_Output_Base& Tio_Text_Output_Base::operator<<(long Value) {
    (void)Put(Fnd_String_Library::To_String(Value));
    return *this;
}

// ---- The console

long Tio_Text_Cout::Do_Put(const Fnd_String& Text, long New_Line) {
    Write_Text(get_ztcout(), Text, New_Line);
    return 1;
}

long Tio_Text_Cerr::Do_Put(const Fnd_String& Text, long New_Line) {
    return Write_Text(get_ztcerr(), Text, New_Line) ? 1 : 0;
}

// ---- Tio_Text_Output_Stream

Tio_Text_Output_Stream::Tio_Text_Output_Stream(long To_Error) : Standard_Out(To_Error > 0 ? 0 : 1) {}

Tio_Text_Output_Stream::~Tio_Text_Output_Stream() { Close_Destinations(); }

long Tio_Text_Output_Stream::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Text_Output_Stream* other = Convert(&Other);
    if (other == nullptr) return 0;
    if (other == this) return 1;
    if (other->Destination != Destination || other->Standard_Out != Standard_Out ||
        other->Stack.size() != Stack.size())
        return 0;
    for (size_t i = 0; i < Stack.size(); ++i)
        if (other->Stack[i] != Stack[i]) return 0;
    return 1;
}

Tio_Text_Output_Base* Tio_Text_Output_Stream::Get_Destination() {
    if (Destination == nullptr) {
        if (Standard_Out)
            Destination = std::make_unique<Tio_Text_Cout>();
        else
            Destination = std::make_unique<Tio_Text_Cerr>();
    }
    return Destination.get();
}

namespace {
Fnd_String Name_Of(const Tio_Text_Output_Base* Destination) {
    return Fnd_String(Destination ? Destination->Object_Type() : u"null");
}
}  // namespace

void Tio_Text_Output_Stream::Trace(const Code_Unit* Label, const Fnd_String& Text) const {
    if (trace >= 3) Fnd_Trace_Line(u"Tio_Text_Output_Stream", Label + Text);
}

void Tio_Text_Output_Stream::Set_Destination(Tio_Text_Output_Base* Destination) {
    Trace(u" Set_Destination ", Name_Of(Destination));
    if (Destination == this->Destination.get()) return;
    this->Destination.reset(Destination);
}

void Tio_Text_Output_Stream::Push_Destination(Tio_Text_Output_Base* Destination) {
    Trace(u" Push_Destination ", Name_Of(Destination));
    if (this->Destination) Stack.push_back(std::move(this->Destination));
    this->Destination.reset(Destination);
}

void Tio_Text_Output_Stream::Pop_Destination() {
    Destination.reset();
    if (!Stack.empty()) {
        Destination = std::move(Stack.back());
        Stack.pop_back();
    }
    Trace(u" Pop_Destination", u" newtop: " + Name_Of(Destination.get()));
}

void Tio_Text_Output_Stream::Close_Destinations() {
    Trace(u" Close_Destinations", Fnd_String());
    Destination.reset();
    while (!Stack.empty()) Stack.pop_back();  // from the top
}

bool Tio_Text_Output_Stream::Is_Console_Out() const {
    return Tio_Text_Cout::Convert(Destination.get()) != nullptr;
}

long Tio_Text_Output_Stream::Stack_Size() const {
    if (!Destination) return 0;
    if (!Stack.empty()) return static_cast<long>(Stack.size()) + 1;
    return Is_Console_Out() ? 0 : 1;
}

long Tio_Text_Output_Stream::Is_Redirected() const {
    if (!Destination) return 0;
    if (!Stack.empty()) return 1;
    return Is_Console_Out() ? 0 : 1;
}

long Tio_Text_Output_Stream::Do_Put(const Fnd_String& Text, long New_Line) {
    Trace(u" Do_Put ", Text);
    return Get_Destination()->Do_Put(Text, New_Line);
}
