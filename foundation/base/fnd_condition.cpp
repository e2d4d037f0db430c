#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_trace.h"

#include <initializer_list>

#include "foundation/base/fnd_list.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/base/fnd_subsystems.h"
#include "foundation/textio/tio_text_output.h"

// ---- Fnd_Condition_Error

long Fnd_Condition_Error::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Condition_Error* other = Convert(&Other);
    return other != nullptr && other->Number == Number;
}

const Fnd_String& Fnd_Condition_Error::Subsystem_Name() const { return Fnd::Name(); }

Fnd_Condition_Error* Fnd_Condition_Error::Success_Error() {
    static Fnd_Condition_Error* The_Success = new Fnd_Condition_Error(Success);
    return The_Success;
}

// ---- Fnd_Condition

namespace {

long Position_For(const long At_Front) {
    return At_Front ? Fnd_Sequence_First : Fnd_Sequence_Last;
}

// A list that admits conditions only, and owns and clones them.
Fnd_Sequence* New_Condition_List() {
    return new Fnd_List_Sequence(1, new Fnd_Is_Checker(Fnd_Condition::My_Type));
}

// Moves or copies Source's elements into Target at the front or the back.
void Add_Sequence(Fnd_Sequence*& Target, Fnd_Sequence*& Source, const long Transfer,
                  const long At_Front) {
    if (!Source || Source == Target) return;
    if (Transfer) {
        Target->Merge(Source, Position_For(At_Front));
        delete Source;
        Source = nullptr;
        return;
    }
    Fnd_Sequence* copy = Fnd_Sequence::Convert(Source->Clone());
    Target->Merge(copy, Position_For(At_Front));
    delete copy;
}

// The console's output side for the debug prints.
Tio_Text_Output_Base& Console() {
    static Tio_Text_Cout* const console = new Tio_Text_Cout;
    return *console;
}

long Tracing(const int32_t Word, const int32_t Bit) {
    return Fnd_Tracing(Fnd_Condition::trace, 5, Word, Bit);
}

void Trace_Line(const Fnd_String& Text) { Fnd_Trace_Line(u"Fnd_Condition", Text); }

Fnd_String Address_Of(const void* Object) {
    return Fnd_String_Library::To_String(Object, 16, 1);
}

// Sets the three trace words to 0 for the life of the guard.
class Trace_Silence {
public:
    Trace_Silence()
        : Level(Fnd_Condition::trace),
          First(Fnd_Condition::specific_trace),
          Second(Fnd_Condition::specific2_trace) {
        Fnd_Condition::trace = Fnd_Condition::specific_trace = Fnd_Condition::specific2_trace = 0;
    }
    ~Trace_Silence() {
        Fnd_Condition::trace = Level;
        Fnd_Condition::specific_trace = First;
        Fnd_Condition::specific2_trace = Second;
    }

private:
    int32_t Level, First, Second;
};

}  // namespace

Fnd_Message* Fnd_Condition::Clone_Message(const Fnd_Message& Message) {
    return Fnd_Message::Convert(Message.Clone());
}

Fnd_Sequence* Fnd_Condition::Clone_Sequence(const Fnd_Sequence* Sequence) {
    return Sequence ? Fnd_Sequence::Convert(Sequence->Clone()) : nullptr;
}

Fnd_Condition::Fnd_Condition() {
    if (Tracing(specific_trace, 1)) Trace_Line(u"constructor " + Address_Of(this));
}

Fnd_Condition::Fnd_Condition(const Fnd_Message& Message) : Error(Clone_Message(Message)) {
    if (Tracing(specific_trace, 1))
        Trace_Line(u"constructor " + Address_Of(this) + u" " +
                   Message.Image(Fnd_Detail_Normal, 0, 1));
}

Fnd_Condition::Fnd_Condition(const Fnd_Condition& Other)
    : Fnd_Object(),
      Error(Other.Error ? Clone_Message(*Other.Error) : nullptr),
      Subordinate(Clone_Sequence(Other.Subordinate)),
      Information(Clone_Sequence(Other.Information)) {
    if (Tracing(specific_trace, 2))
        Trace_Line(u"copy_constructor " + Address_Of(this) + Other.Show_Text());
}

Fnd_Condition& Fnd_Condition::operator=(const Fnd_Condition& Other) {
    if (this == &Other) return *this;
    if (Tracing(specific_trace, 4)) Trace_Line(u"assign" + Show_Text() + Other.Show_Text());
    // Other may lie inside this tree: copy it whole before anything is destroyed.
    Fnd_Message* error = Other.Error ? Clone_Message(*Other.Error) : nullptr;
    Fnd_Sequence* subordinate = Clone_Sequence(Other.Subordinate);
    Fnd_Sequence* information = Clone_Sequence(Other.Information);
    Destroy_All();
    Error = error;
    Subordinate = subordinate;
    Information = information;
    return *this;
}

Fnd_Condition& Fnd_Condition::operator=(const Fnd_Message& Message) {
    // The message may belong to this tree: clone before destroying.
    Fnd_Message* copy = Clone_Message(Message);
    Destroy_All();
    Error = copy;
    return *this;
}

Fnd_Condition::~Fnd_Condition() {
    if (Tracing(specific_trace, 16)) Trace_Line(u"destructor" + Show_Text());
    Destroy_All();
}

void Fnd_Condition::Destroy_All() {
    delete Error;
    Error = nullptr;
    delete Subordinate;
    Subordinate = nullptr;
    delete Information;
    Information = nullptr;
}

long Fnd_Condition::Is_Equal(const Fnd_Object& Other) const {
    const Fnd_Condition* other = Convert(&Other);
    if (other == nullptr) return 0;
    auto same = [](const Fnd_Object* A, const Fnd_Object* B) -> long {
        if (!A || !B) return A == B;
        return *A == *B;
    };
    return same(Error, other->Error) && same(Subordinate, other->Subordinate) &&
           same(Information, other->Information);
}

Fnd_Message* Fnd_Condition::Get_Error() const {
    return Error != nullptr ? Error : Fnd_Condition_Error::Success_Error();
}

Fnd_Message_Kinds Fnd_Condition::Kind() const { return Get_Error()->Kind(); }

long Fnd_Condition::Is_Generic(const long For_Success, const long For_Composite) const {
    const Fnd_Condition_Error* generic = Fnd_Condition_Error::Convert(Error);
    if (generic == nullptr) return 0;
    if (generic->Number == Fnd_Condition_Error::Success) return For_Success;
    if (generic->Number == Fnd_Condition_Error::Composite) return For_Composite;
    return 0;
}

// ---- Setting and clearing

void Fnd_Condition::Clear() {
    if (Tracing(specific2_trace, 0x800)) Trace_Line(u"Clear" + Show_Text());
    delete Error;
    Error = nullptr;
    delete Subordinate;
    Subordinate = nullptr;
}

void Fnd_Condition::Clear(const long With_Information) {
    Clear();
    if (With_Information) Clear_Info();
}

void Fnd_Condition::Clear_Info() {
    delete Information;
    Information = nullptr;
}

void Fnd_Condition::Set(Fnd_Message* Message) {
    if (Message && Message == Error) Error = nullptr;  // adopted again, not destroyed
    Clear();
    Clear_Info();
    Error = Message;
}

void Fnd_Condition::Set_Error(const Fnd_Message& Message, const long Force) {
    if (!Force && Error == nullptr) return;
    Fnd_Message* copy = Clone_Message(Message);
    delete Error;
    Error = copy;
}

void Fnd_Condition::Set_Error(Fnd_Message* Message, const long Force) {
    if (!Force && Error == nullptr) {
        delete Message;
        return;
    }
    if (Message == Error) return;
    delete Error;
    Error = Message;
}

void Fnd_Condition::Push_Error(const Fnd_Message& Message, const long Force) {
    if (!Force && Error == nullptr) return;
    Push_Error(Clone_Message(Message), Force);
}

void Fnd_Condition::Push_Error(Fnd_Message* Message, const long Force) {
    if (!Force && Error == nullptr) {
        delete Message;
        return;
    }
    if (Message == Error) return;
    if (Error != nullptr && Fnd_Condition_Error::Convert(Error) == nullptr) {
        // The whole present content, information included, becomes the only
        // subordinate of the new error.
        Fnd_Condition below;
        Transfer(below);
        Error = Message;
        Add_Subordinate(below, 1, 0);
        return;
    }
    delete Error;
    Error = Message;
}

void Fnd_Condition::Set_Reason(const Fnd_Message& A, const Fnd_Message&) {
    if (Error) Set_Error(A, 0);
}

void Fnd_Condition::Push_Reason(const Fnd_Message& A, const Fnd_Message&) {
    if (Error) Push_Error(A, 0);
}

void Fnd_Condition::Transfer(Fnd_Condition& Target) {
    if (&Target == this) return;
    Target.Destroy_All();
    Target.Error = Error;
    Target.Subordinate = Subordinate;
    Target.Information = Information;
    Error = nullptr;
    Subordinate = nullptr;
    Information = nullptr;
}

// ---- Adding

Fnd_Sequence* Fnd_Condition::Allocate_Subordinate() {
    if (!Error) Error = new Fnd_Condition_Error(Fnd_Condition_Error::Composite);
    if (!Subordinate) Subordinate = New_Condition_List();
    return Subordinate;
}

Fnd_Sequence* Fnd_Condition::Allocate_Information() {
    if (!Information) Information = New_Condition_List();
    return Information;
}

void Fnd_Condition::Add(Fnd_Sequence* List, Fnd_Condition& Source, const long Transfer,
                        const long At_Front) {
    // Moving this condition into its own list would make it contain itself: copy it.
    if (!Transfer || &Source == this) {
        List->Insert(static_cast<const Fnd_Object&>(Source), Position_For(At_Front));
        return;
    }
    Fnd_Condition* moved = new Fnd_Condition;
    Source.Transfer(*moved);
    List->Insert(moved, Position_For(At_Front));
}

void Fnd_Condition::Add(Fnd_Sequence* List, Fnd_Condition& Source, const Fnd_Message& Generic,
                        const long Transfer, const long At_Front) {
    Fnd_Condition* entry = new Fnd_Condition;
    if (Transfer && &Source != this)
        Source.Transfer(*entry);
    else
        *entry = Source;
    Set_Error(Generic, 1);
    List->Insert(entry, Position_For(At_Front));
}

void Fnd_Condition::Add_Subordinate(Fnd_Condition& Source, const long Transfer,
                                    const long At_Front) {
    Add(Allocate_Subordinate(), Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Subordinate(Fnd_Condition& Source, const Fnd_Message& Generic,
                                    const long Transfer, const long At_Front) {
    Add(Allocate_Subordinate(), Source, Generic, Transfer, At_Front);
}

void Fnd_Condition::Add_Subordinate(Fnd_Sequence*& Source, const long Transfer,
                                    const long At_Front) {
    Allocate_Subordinate();
    Add_Sequence(Subordinate, Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Information(Fnd_Condition& Source, const long Transfer,
                                    const long At_Front) {
    Add(Allocate_Information(), Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Information(Fnd_Sequence*& Source, const long Transfer,
                                    const long At_Front) {
    Allocate_Information();
    Add_Sequence(Information, Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Sub(const Fnd_Message& Message, const long At_Front) {
    Fnd_Condition temporary(Message);
    Add_Subordinate(temporary, 1, At_Front);
}

void Fnd_Condition::Add_Sub(Fnd_Condition& Source, const long Transfer, const long At_Front) {
    if (Source.Error) Add_Subordinate(Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Sub(Fnd_Condition& Source, const Fnd_Message& Generic,
                            const long Transfer, const long At_Front) {
    if (!Source.Error) return;
    if (!Error)
        Add_Subordinate(Source, Generic, Transfer, At_Front);
    else
        Add_Subordinate(Source, Transfer, At_Front);
}

void Fnd_Condition::Add(const Fnd_Message& Message, const long At_Front) {
    Fnd_Condition temporary(Message);
    Add_Subordinate(temporary, 1, At_Front);
}

void Fnd_Condition::Add(Fnd_Condition& Source, const long Transfer, const long At_Front) {
    if (Source.Error) return Add_Subordinate(Source, Transfer, At_Front);
    if (!Source.Information || &Source == this) return;
    Allocate_Information();
    Add_Sequence(Information, Source.Information, Transfer, At_Front);
}

void Fnd_Condition::Add(Fnd_Condition& Source, const Fnd_Message& Generic, const long Transfer,
                        const long At_Front) {
    if (!Source.Error) return Add(Source, Transfer, At_Front);
    if (!Error) return Add_Subordinate(Source, Generic, Transfer, At_Front);
    Add_Subordinate(Source, Transfer, At_Front);
}

void Fnd_Condition::Add_Set(Fnd_Condition& Source, const long Transfer, const long At_Front,
                            const long Keep_Information) {
    if (&Source == this || (!Source.Error && !Source.Information)) return;
    if (Error) return Add(Source, Transfer, At_Front);
    if (Transfer) {
        if (Keep_Information && Information) {
            Source.Allocate_Information();
            Add_Sequence(Source.Information, Information, 1, 0);
        }
        Source.Transfer(*this);
        return;
    }
    if (!Keep_Information) {
        *this = Source;
        return;
    }
    Fnd_Sequence* aside = Information;
    Information = nullptr;
    *this = Source;
    if (aside) {
        Allocate_Information();
        Add_Sequence(Information, aside, 1, 0);
    }
}

void Fnd_Condition::Merge(Fnd_Condition& Source, const long Transfer, const long At_Front) {
    if (&Source == this) return;
    if (Source.Information) {
        Allocate_Information();
        Add_Sequence(Information, Source.Information, Transfer, At_Front);
    }
    if (!Source.Error) return;
    if (Fnd_Condition_Error::Convert(Source.Error)) {
        // A generic error says nothing: only its subordinates count.
        Allocate_Subordinate();
        Add_Sequence(Subordinate, Source.Subordinate, Transfer, At_Front);
        return;
    }
    Fnd_Condition* entry = new Fnd_Condition;
    if (Transfer) {
        Source.Transfer(*entry);
    } else {
        entry->Error = Clone_Message(*Source.Error);
        entry->Subordinate = Clone_Sequence(Source.Subordinate);
    }
    Allocate_Subordinate()->Insert(entry, Position_For(At_Front));
}

void Fnd_Condition::Add_Info(const long At_Front) {
    if (!Error) return;
    Allocate_Information();
    if (!Fnd_Condition_Error::Convert(Error)) {
        Fnd_Condition* entry = new Fnd_Condition;
        entry->Error = Error;
        entry->Subordinate = Subordinate;
        Error = nullptr;
        Subordinate = nullptr;
        Information->Insert(entry, Position_For(At_Front));
        return;
    }
    Add_Sequence(Information, Subordinate, 1, At_Front);
    delete Error;
    Error = nullptr;
}

void Fnd_Condition::Add_Info(const Fnd_Message& Message, const long At_Front) {
    Fnd_Condition temporary(Message);
    Add_Information(temporary, 1, At_Front);
}

void Fnd_Condition::Add_Info(Fnd_Condition& Source, const long Transfer, const long At_Front) {
    if (&Source == this) return;
    if (Source.Error) return Add_Information(Source, Transfer, At_Front);
    if (!Source.Information) return;
    Allocate_Information();
    Add_Sequence(Information, Source.Information, Transfer, At_Front);
}

// ---- Text

void Fnd_Condition::Image(Fnd_String& Out, const Fnd_Message_Detail_Level Level,
                          const long With_Kind, const long With_Key, const long With_Subordinate,
                          const long With_Information, const Fnd_String& Separator) const {
    Out.Make_Empty();
    Out.Ensure_Storage(128);
    Append(Out, Level, With_Kind, With_Key, With_Subordinate, With_Information, Separator);
}

Fnd_String Fnd_Condition::Image(const Fnd_Message_Detail_Level Level, const long With_Kind,
                                const long With_Key, const long With_Subordinate,
                                const long With_Information, const Fnd_String& Separator) const {
    Fnd_String out;
    Image(out, Level, With_Kind, With_Key, With_Subordinate, With_Information, Separator);
    return out;
}

void Fnd_Condition::Append(Fnd_String& Out, const Fnd_Message_Detail_Level Level,
                           const long With_Kind, const long With_Key, const long With_Subordinate,
                           const long With_Information, const Fnd_String& Separator) const {
    // Generic errors have no text and add no separator.
    if (Error != nullptr && !Is_Generic(1, 1)) {
        if (!Out.Is_Empty()) Out.Append(Separator);
        Out.Append(Error->Image(Level, With_Kind, With_Key));
    }
    for (const Fnd_Sequence* list : {With_Subordinate ? Subordinate : nullptr,
                                     With_Information ? Information : nullptr}) {
        if (!list) continue;
        for (Fnd_Iterator it(list); !it.Done(); it.Next()) {
            if (const Fnd_Condition* element = Convert(it.Get(1)))
                element->Append(Out, Level, With_Kind, With_Key, With_Subordinate,
                                With_Information, Separator);
        }
    }
}

Fnd_String Fnd_Condition::Show_Text() const {
    Trace_Silence quiet;
    Fnd_String out(u" [");
    out.Append(Address_Of(this));
    if (Error) {
        out.Append(u",");
        out.Append(Image(Fnd_Detail_Normal, 1, 1, 1, 1, Fnd_Message::Default_Message_Separator()));
    }
    out.Append(u"]");
    return out;
}

void Fnd_Condition::Show() const { Console().Put(Show_Text()); }

Fnd_String Fnd_Condition_Debug_Text(const Fnd_Condition& Condition) {
    Fnd_String out(Condition.Failed() ? u"[failure" : u"[successful");
    out.Append(Condition.Is_Generic(1, 1) ? u"(generic), " : u", ");
    out.Append(Condition.Get_Subordinate() ? u"with" : u"without");
    out.Append(u" subordinate, ");
    out.Append(Condition.Get_Information() ? u"with" : u"without");
    out.Append(u" information]");
    if (Condition.Failed() || Condition.Get_Subordinate() || Condition.Get_Information()) {
        out.Append(u"\n");
        out.Append(Condition.Image(Fnd_Detail_Normal, 1, 1, 1, 1,
                                   Fnd_Message::Default_Message_Separator()));
    }
    return out;
}

void Fnd_Condition_Debug_Image(const Fnd_Condition& Condition) {
    Console().Put_Line(Fnd_Condition_Debug_Text(Condition));
}
