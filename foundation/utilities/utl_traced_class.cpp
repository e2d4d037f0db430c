#include "foundation/utilities/utl_traced_class.h"

#include "foundation/base/fnd_string_library.h"
#include "foundation/utilities/utl_tracing.h"
#include "foundation/utilities/utl_tracing_utilities.h"
#include "foundation/utilities/utl_type_utilities.h"

namespace Utl_Traced {

namespace {

// Unregisters Name if it is still this object's: a later object may have taken it.
void Unregister(const Code_Unit* Name, const void* Address) {
    void* object = nullptr;
    Fnd_String class_name;
    const Fnd_String name(Name);
    if (Utl_Tracing::Get_Object(name, object, class_name) && object == Address)
        Utl_Tracing::Unregister_Object(name);
}

// Set while a trace line or show block is made and printed: what the printing itself
// does with containers (the console stream's charset cache is a map) stays silent.
thread_local bool Busy = false;

class Busy_Guard {
public:
    Busy_Guard() { Busy = true; }
    ~Busy_Guard() { Busy = false; }
    Busy_Guard(const Busy_Guard&) = delete;
    Busy_Guard& operator=(const Busy_Guard&) = delete;
};

int32_t Mask_Bit(const Utl_Trace_Op& Op) { return static_cast<int32_t>(1u << Op.Bit); }

long Number(const Fnd_String& Text) {
    long value = 0;
    return Utl_Tracing::Read_Number(Text, value) ? value : -1;
}

// The field behind a "set" bit value; null when the class has no such word.
Utl_Trace_Word* Word_Of(Utl_Trace_Words& Words, int32_t Object_Words, long Bit) {
    if (!(Object_Words & Bit)) return nullptr;
    switch (Bit) {
    case Utl_Word_Trace_Level: return &Words.trace;
    case Utl_Word_Specific_Trace: return &Words.specific_trace;
    case Utl_Word_Specific2_Trace: return &Words.specific2_trace;
    case Utl_Word_Specific_Show: return &Words.specific_show;
    case Utl_Word_Specific2_Show: return &Words.specific2_show;
    case Utl_Word_Specific_Break: return &Words.specific_break;
    default: return nullptr;
    }
}

void Life_Line(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
               const Utl_Trace_Op& Op) {
    if (Traces(Class, Object, Op)) Line(Class, Object, Address, Op.Label, Fnd_String::Null);
}

}  // namespace

bool Traces(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op) {
    if (Class.Words.trace >= Op.Level || Object.trace >= Op.Level) return true;
    const int32_t mask = Op.Second_Mask ? Class.Words.specific2_trace | Object.specific2_trace
                                        : Class.Words.specific_trace | Object.specific_trace;
    return (mask & Mask_Bit(Op)) != 0;
}

bool Shows(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op) {
    const int32_t mask = Op.Second_Mask ? Class.Words.specific2_show | Object.specific2_show
                                        : Class.Words.specific_show | Object.specific_show;
    return (mask & Mask_Bit(Op)) != 0;
}

bool Breaks(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op) {
    if (Op.Second_Mask) return false;
    return ((Class.Words.specific_break | Object.specific_break) & Mask_Bit(Op)) != 0;
}

void Start(Fnd_String& Out, const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
           const void* Address) {
    Out.Append(u"\n");
    Out.Append(Utl_Type_Utilities::Trace_Start);
    Out.Append(Class.Name);
    Out.Append(u": ");
    if (Object.name) {
        Out.Append(Object.name);
        Out.Append(u" ");
    }
    Utl_Tracing_Utilities::Value(Out, Address, 0);
}

void Line(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
          const Code_Unit* Label, const Fnd_String& Detail) {
    if (Busy) return;
    Busy_Guard busy;
    Fnd_String line;
    Start(line, Class, Object, Address);
    line.Append(Label);
    line.Append(Detail);
    Utl_Tracing_Print(line);
}

void Show(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
          const Code_Unit* Label, const Utl_Trace_Image& Image) {
    if (Busy) return;
    Busy_Guard busy;
    Fnd_String text(u"\n");
    text.Append(Utl_Type_Utilities::Show_Start);
    text.Append(Class.Name);
    text.Append(u": ");
    if (Object.name) {
        text.Append(Object.name);
        text.Append(u" ");
    }
    Utl_Tracing_Utilities::Value(text, Address, 0);
    if (Label) {
        text.Append(u" ");
        text.Append(Label);
    }
    text.Append(u"\n");
    Fnd_String image;
    // No trace lines of this class while its image is made.
    {
        Utl_Trace_Silencer quiet(Class.Words);
        Image(image);
    }
    if (image.Is_Empty()) {
        text.Append(Utl_Type_Utilities::Prefix);
        text.Append(Class.Empty_Word);
    } else {
        text.Append(image);
    }
    Utl_Tracing_Print(text);
}

void Before(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
            const Utl_Trace_Op& Op, const Fnd_String& Detail) {
    if (Busy) return;
    if (Traces(Class, Object, Op)) Line(Class, Object, Address, Op.Label, Detail);
    if (Breaks(Class, Object, Op)) Utl_Tracing::Command_Loop(nullptr);
}

void After(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
           const Utl_Trace_Op& Op, const Utl_Trace_Image& Image) {
    if (Busy) return;
    if (Shows(Class, Object, Op)) {
        Fnd_String label(Op.Label);
        Fnd_String_Library::Strip(label);
        Show(Class, Object, Address, label.Data(), Image);
    }
}

void Created(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address) {
    if (!Utl_Trace_Active(Class.Words, Object) && !Utl_Trace_Reports(Class.Words, Object)) return;
    Life_Line(Class, Object, Address, {u" constructor", Utl_Op_Constructor, false, 2});
    if (Utl_Trace_Reports(Class.Words, Object))
        Utl_Tracing::Object_Created(Fnd_String(Class.Key), Address, Class.Operation, Object.name,
                                    Class.Object_Words, nullptr);
}

void Deleted(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address) {
    if (!Utl_Trace_Active(Class.Words, Object) && !Utl_Trace_Reports(Class.Words, Object) &&
        Utl_Trace_Records == 0)
        return;
    Life_Line(Class, Object, Address, {u" destructor", Utl_Op_Destructor, false, 2});
    if (Utl_Trace_Records == 0) return;
    if (Object.registered && Object.name) Unregister(Object.name, Address);
    Utl_Tracing::Object_Deleted(Fnd_String(Class.Key), Address);
}

void Reused(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address) {
    if (!Utl_Trace_Active(Class.Words, Object) && !Utl_Trace_Reports(Class.Words, Object)) return;
    Life_Line(Class, Object, Address, {u" Get", Utl_Op_Get, false, 2});
    if (Utl_Trace_Reports(Class.Words, Object))
        Utl_Tracing::Object_Reused(Fnd_String(Class.Key), Address, Object.name);
}

void Freed(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address) {
    if (!Utl_Trace_Active(Class.Words, Object) && !Utl_Trace_Reports(Class.Words, Object) &&
        Utl_Trace_Records == 0)
        return;
    Life_Line(Class, Object, Address, {u" Free", Utl_Op_Free, false, 2});
    if (Utl_Trace_Records == 0) return;
    if (Object.registered && Object.name) Unregister(Object.name, Address);
    Utl_Tracing::Object_Freed(Fnd_String(Class.Key), Address);
}

void Register_Object(const Utl_Trace_Class& Class, Utl_Trace_Words& Object, void* Address,
                     const Code_Unit* Name, Utl_Trace_Operation Operation, void* Parent) {
    const Utl_Trace_Op op{u" Register_Object ", Utl_Op_Register, false, 2};
    if (Traces(Class, Object, op)) {
        Fnd_String detail;
        Utl_Tracing_Utilities::Value(detail, Fnd_String(Name ? Name : u""), 1, 0);
        Line(Class, Object, Address, op.Label, detail);
    }
    Object.name = Name;
    Object.registered = Name != nullptr;
    Utl_Tracing::Register_Object(Fnd_String(Class.Key), Name, Address,
                                 Operation ? Operation : Class.Operation, Class.Object_Words,
                                 Parent);
}

void Set_Name(const Utl_Trace_Class& Class, Utl_Trace_Words& Object, void* Address,
              const Code_Unit* Name, void* Parent) {
    Object.name = Name;
    const Utl_Trace_Op op{u" Set_Name ", Utl_Op_Set_Name, false, 99};
    if (Traces(Class, Object, op)) {
        Fnd_String detail;
        Utl_Tracing_Utilities::Value(detail, Fnd_String(Name ? Name : u""), 1, 0);
        Line(Class, Object, Address, op.Label, detail);
    }
    if (Utl_Trace_Reports(Class.Words, Object))
        Utl_Tracing::Object_Named(Fnd_String(Class.Key), Address, Name, Parent);
}

void Operation(const Utl_Trace_Class& Class, Utl_Trace_Words* Object, const void* Address,
               const Fnd_String& Command, const Fnd_String& First, const Fnd_String& Second,
               long Count, long Capacity, const Utl_Trace_Image& Image) {
    static const Utl_Trace_Words No_Words;
    const Utl_Trace_Op op{u"Operation ", Utl_Op_Operation, false, 99};
    if (Traces(Class, Object ? *Object : No_Words, op))
        Line(Class, Object ? *Object : No_Words, Address, op.Label,
             Command + u" " + First + u" " + Second);
    if (!Object) return;
    if (Command == u"set") {
        if (Utl_Trace_Word* word = Word_Of(*Object, Class.Object_Words, Number(First)))
            *word = static_cast<int32_t>(Number(Second));
    } else if (Command == u"clear") {
        switch (Number(First)) {
        case Utl_Trace_Kind_Trace:
            Object->trace = Object->specific_trace = Object->specific2_trace = 0;
            break;
        case Utl_Trace_Kind_Show: Object->specific_show = Object->specific2_show = 0; break;
        case Utl_Trace_Kind_Break: Object->specific_break = 0; break;
        default: break;
        }
    } else if (Command == u"show") {
        if (First == u"info") {
            Fnd_String line;
            if (Object->name) {
                line.Append(u"name: ");
                line.Append(Object->name);
                line.Append(u", ");
            }
            line.Append(u"length: ");
            Utl_Tracing_Utilities::Value(line, Count, 0);
            if (Capacity != Count) {
                line.Append(u", size: ");
                Utl_Tracing_Utilities::Value(line, Capacity, 0);
            }
            Utl_Tracing_Print(line);
        } else {
            Show(Class, *Object, Address, nullptr, Image);
        }
    }
}

}  // namespace Utl_Traced

namespace Utl_Traced {

Fnd_String Quoted(const Fnd_String& Text) {
    Fnd_String out;
    Utl_Tracing_Utilities::Value(out, Text, 1, 0);
    return out;
}

Fnd_String Number_Text(long Value) {
    Fnd_String out;
    Utl_Tracing_Utilities::Value(out, Value, 0);
    return out;
}

Fnd_String Address_Text(const void* Address) {
    Fnd_String out;
    Utl_Tracing_Utilities::Value(out, Address, 0);
    return out;
}

}  // namespace Utl_Traced
