#include "foundation/textio/tio_text_input.h"

#include <unistd.h>

#include <cerrno>

#include "foundation/base/fnd_sys_call_error.h"

// ---- Tio_Text_Input_Base

Tio_Text_Input_Base::~Tio_Text_Input_Base() = default;

long Tio_Text_Input_Base::Is_Equal(const Fnd_Object&) const { return 1; }

long Tio_Text_Input_Base::Get(Fnd_Char& Unit) {
    Fnd_String text;
    const long got = Do_Get(text, 1, 0);
    Unit = text.Get_Length() == 1 ? Fnd_Char(text[0]) : Fnd_Char();
    return got;
}

Fnd_Char Tio_Text_Input_Base::Get() {
    Fnd_Char unit;
    (void)Get(unit);
    return unit;
}

long Tio_Text_Input_Base::Get(Fnd_String& Text, long Count) { return Do_Get(Text, Count, 0); }

Fnd_String Tio_Text_Input_Base::Get(long Count) {
    Fnd_String text;
    (void)Do_Get(text, Count, 0);
    return text;
}

long Tio_Text_Input_Base::Get_Line(Fnd_String& Text) { return Do_Get(Text, 0, 1); }

Fnd_String Tio_Text_Input_Base::Get_Line() {
    Fnd_String text;
    (void)Do_Get(text, 0, 1);
    return text;
}

void Tio_Text_Input_Base::Transfer_Input_Condition(Fnd_Condition& Out) {
    Input_Condition.Transfer(Out);
}

Tio_Text_Input_Base& Tio_Text_Input_Base::operator>>(Fnd_Char& Unit) {
    (void)Get(Unit);
    return *this;
}

Tio_Text_Input_Base& Tio_Text_Input_Base::operator>>(Fnd_String& Text) {
    (void)Do_Get(Text, Text.Get_Length(), 0);
    return *this;
}

// ---- Sources

long Tio_Text_String_Input::Do_Get(Fnd_String& Out, long Count, long To_Line_End) {
    Out.Make_Empty();
    Input_Condition.Clear();
    const long length = Text.Get_Length();
    if (Next >= length) return 0;
    if (To_Line_End) {
        long end = Next;
        while (end < length && Text[end] != u'\n') ++end;
        Out = Text.Get(Next, end - Next);
        Next = end < length ? end + 1 : end;
        return 1;
    }
    const long count = Count < length - Next ? Count : length - Next;
    Out = Text.Get(Next, count);
    Next += count;
    return count > 0;
}

bool Tio_Text_Descriptor_Input::Fill() {
    if (Ended) return false;
    char block[4096];
    ssize_t got = 0;
    do {
        got = ::read(Descriptor, block, sizeof block);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
        Ended = true;
        if (got < 0)
            Input_Condition = Fnd_Sys_Call_Error(Fnd_String(u"read"), errno,
                                                 Fnd_String(u"reading text input"), 0);
        return false;
    }
    Bytes.erase(0, At);
    At = 0;
    Bytes.append(block, static_cast<size_t>(got));
    return true;
}

namespace {
// The length of a UTF-8 sequence from its lead byte; 0 for a byte that can't lead.
int Sequence_Length(unsigned char Lead) {
    if (Lead < 0x80) return 1;
    if (Lead >= 0xC2 && Lead <= 0xDF) return 2;
    if (Lead >= 0xE0 && Lead <= 0xEF) return 3;
    if (Lead >= 0xF0 && Lead <= 0xF4) return 4;
    return 0;
}
}  // namespace

bool Tio_Text_Descriptor_Input::Next_Unit(Code_Unit& Unit) {
    if (Pending_Low) {
        Unit = Pending_Low;
        Pending_Low = 0;
        return true;
    }
    if (At >= Bytes.size() && !Fill()) return false;
    const unsigned char lead = static_cast<unsigned char>(Bytes[At]);
    const int length = Sequence_Length(lead);
    while (length > 1 && Bytes.size() - At < static_cast<size_t>(length) && Fill()) {
    }
    uint32_t code = 0xFFFD;
    size_t used = 1;
    if (length == 1) {
        code = lead;
    } else if (length > 1 && Bytes.size() - At >= static_cast<size_t>(length)) {
        uint32_t value = lead & (0xFF >> (length + 1));
        bool valid = true;
        for (int i = 1; i < length && valid; ++i) {
            const unsigned char trail = static_cast<unsigned char>(Bytes[At + i]);
            valid = (trail & 0xC0) == 0x80;
            value = value << 6 | (trail & 0x3F);
        }
        const uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        if (valid && value >= least[length] && value <= 0x10FFFF &&
            (value < 0xD800 || value > 0xDFFF)) {
            code = value;
            used = static_cast<size_t>(length);
        }
    }
    At += used;
    if (code > 0xFFFF) {
        code -= 0x10000;
        Unit = static_cast<Code_Unit>(0xD800 + (code >> 10));
        Pending_Low = static_cast<Code_Unit>(0xDC00 + (code & 0x3FF));
    } else {
        Unit = static_cast<Code_Unit>(code);
    }
    return true;
}

long Tio_Text_Descriptor_Input::Do_Get(Fnd_String& Out, long Count, long To_Line_End) {
    Out.Make_Empty();
    Input_Condition.Clear();
    Code_Unit unit = 0;
    if (To_Line_End) {
        bool any = false;
        while (Next_Unit(unit)) {
            any = true;
            if (unit == u'\n') return 1;
            Out.Append(Fnd_Char(unit));
        }
        return any ? 1 : 0;
    }
    long count = 0;
    while (count < Count && Next_Unit(unit)) {
        Out.Append(Fnd_Char(unit));
        ++count;
    }
    return count > 0;
}

// ---- Tio_Text_Input_Stream

Tio_Text_Input_Stream::~Tio_Text_Input_Stream() { delete Source; }

long Tio_Text_Input_Stream::Is_Equal(const Fnd_Object& Other) const {
    const Tio_Text_Input_Stream* other = Convert(&Other);
    return other != nullptr && (other == this || other->Source == Source);
}

Tio_Text_Input_Base* Tio_Text_Input_Stream::Get_Source() {
    if (Source == nullptr) Source = new Tio_Text_Cin();
    return Source;
}

void Tio_Text_Input_Stream::Set_Source(Tio_Text_Input_Base* Source) {
    if (Source == this->Source) return;
    delete this->Source;
    this->Source = Source;
}

long Tio_Text_Input_Stream::Do_Get(Fnd_String& Text, long Count, long To_Line_End) {
    Tio_Text_Input_Base* source = Get_Source();
    const long got = source->Do_Get(Text, Count, To_Line_End);
    Input_Condition = source->Input_Condition;
    return got;
}
