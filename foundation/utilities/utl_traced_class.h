// The pattern that every traced container follows, written once: trace lines that
// start with "==> <class>: <name> <address>", show blocks that start with "--- ", the
// life of objects reported to the Utl_Tracing registry, names, and the "set", "clear"
// and "show" commands of a class's Operation. A container calls these only behind
// Utl_Trace_Maybe, so that they cost one load and a branch while nothing is armed.
#pragma once

#include <cstdint>
#include <functional>
#include <type_traits>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_trace_words.h"

// What the pattern needs to know of a class.
struct Utl_Trace_Class {
    const Code_Unit* Name;        // "Utl_String_Map"
    const Code_Unit* Key;         // "string_map", the registry's class key
    Utl_Trace_Words& Words;       // the class's static words
    int32_t Object_Words;         // the `words` value: which words Operation can set
    Utl_Trace_Operation Operation;
    const Code_Unit* Empty_Word;  // "empty_map", ...
};

// One traced operation: its bit in the first or second mask and the level from which
// the level word alone prints it (3 for operations, 2 for the life of the object).
struct Utl_Trace_Op {
    const Code_Unit* Label;
    int32_t Bit;
    bool Second_Mask = false;
    int32_t Level = 3;
};

// Bits of the first mask, by Utl_Opnames.
enum : int32_t {
    Utl_Op_Constructor = 0, Utl_Op_Copy = 1, Utl_Op_Assign = 2, Utl_Op_Destructor = 4,
    Utl_Op_Objects = 12, Utl_Op_Register = 13, Utl_Op_Set_Name = 14, Utl_Op_Operation = 15,
    Utl_Op_Get = 16, Utl_Op_Free = 17, Utl_Op_Recreate = 18, Utl_Op_Add_Values = 19,
    Utl_Op_Make_Empty = 20, Utl_Op_Shorten = 21, Utl_Op_Sort = 22, Utl_Op_Bind = 23,
    Utl_Op_Unbind = 24, Utl_Op_Add = 25, Utl_Op_Remove = 26, Utl_Op_Set = 27,
    Utl_Op_Insert = 28, Utl_Op_Replace = 29, Utl_Op_Delete = 30
};
// Bits of the second mask, by Utl_Opname2s.
enum : int32_t {
    Utl_Op2_Get_Range = 0, Utl_Op2_Is_Bound = 1, Utl_Op2_Contains = 2, Utl_Op2_Index = 3,
    Utl_Op2_Transfer = 7, Utl_Op2_Truncate = 8
};

// The object's image (without a trailing line end); empty when it has no entries.
typedef std::function<void(Fnd_String& Out)> Utl_Trace_Image;

namespace Utl_Traced {

// Whether the words ask for the trace line, the show block or the command loop of Op.
bool Traces(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op);
bool Shows(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op);
bool Breaks(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const Utl_Trace_Op& Op);

// "\n==> <class>: [<name> ]<address>" into Out; the caller adds the rest.
void Start(Fnd_String& Out, const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
           const void* Address);
// Prints the start, Label and Detail, and a line end.
void Line(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
          const Code_Unit* Label, const Fnd_String& Detail);
// "\n--- <class>: [<name> ]<address> <label>", a line end, and the image under the
// prefix, or the prefix and the class's empty word.
void Show(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
          const Code_Unit* Label, const Utl_Trace_Image& Image);

// Before an operation: its trace line and, with its break bit, the command loop.
void Before(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
            const Utl_Trace_Op& Op, const Fnd_String& Detail);
// After an operation: its show block.
void After(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, const void* Address,
           const Utl_Trace_Op& Op, const Utl_Trace_Image& Image);

// The life of an object: its trace line and its report to the registry, each only when
// the words, trace_objects or the registry's records ask for it. Out of line and cold.
[[gnu::cold]] void Created(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address);
[[gnu::cold]] void Deleted(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address);
[[gnu::cold]] void Reused(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address);
[[gnu::cold]] void Freed(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object, void* Address);

void Register_Object(const Utl_Trace_Class& Class, Utl_Trace_Words& Object, void* Address,
                     const Code_Unit* Name, Utl_Trace_Operation Operation, void* Parent);
void Set_Name(const Utl_Trace_Class& Class, Utl_Trace_Words& Object, void* Address,
              const Code_Unit* Name, void* Parent);

// The class's Operation: "set", "clear" and "show" on Object's words (Object null:
// nothing beyond the trace line). Count and Capacity go into the "info" line.
void Operation(const Utl_Trace_Class& Class, Utl_Trace_Words* Object, const void* Address,
               const Fnd_String& Command, const Fnd_String& First, const Fnd_String& Second,
               long Count, long Capacity, const Utl_Trace_Image& Image);

}  // namespace Utl_Traced

// The slow paths, kept out of line and cold, so that an operation pays only for the
// test of Utl_Trace_Maybe and compiles as it would without tracing. Each decides from
// the words whether there is anything to do. This one is the whole of a traced
// operation while something is armed: the trace line, Body, and the show block.
template <class Detail_Function, class Image_Function, class Body_Function>
[[gnu::noinline, gnu::cold]] auto Utl_Traced_Call_Slow(const Utl_Trace_Class& Class,
                                                       const Utl_Trace_Words& Object,
                                                       const void* Address, const Utl_Trace_Op& Op,
                                                       Detail_Function Detail, Image_Function Image,
                                                       Body_Function Body) {
    if (!Utl_Trace_Active(Class.Words, Object)) return Body();
    Utl_Traced::Before(Class, Object, Address, Op, Detail());
    if constexpr (std::is_void_v<decltype(Body())>) {
        Body();
        Utl_Traced::After(Class, Object, Address, Op, Utl_Trace_Image(Image));
    } else {
        auto result = Body();
        Utl_Traced::After(Class, Object, Address, Op, Utl_Trace_Image(Image));
        return result;
    }
}

// Runs Body, the operation itself; with the words set, its trace line (Detail gives the
// text behind the label) comes before and its show block (Image) after. With nothing
// armed this is Body behind one load and a branch to a tail call, so that the operation
// compiles as it would without tracing. The functions go to the cold path by value:
// they should capture by value what the caller holds by value (a capture by reference
// makes the caller keep that value in memory on the hot path too).
template <class Detail_Function, class Image_Function, class Body_Function>
inline auto Utl_Traced_Call(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                            const void* Address, const Utl_Trace_Op& Op,
                            const Detail_Function& Detail, const Image_Function& Image,
                            const Body_Function& Body) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        return Utl_Traced_Call_Slow(Class, Object, Address, Op, Detail, Image, Body);
    return Body();
}

// The same without a show block, for the lookups and the operations that show nothing.
template <class Detail_Function, class Body_Function>
[[gnu::noinline, gnu::cold]] auto Utl_Traced_Call_Slow(const Utl_Trace_Class& Class,
                                                       const Utl_Trace_Words& Object,
                                                       const void* Address, const Utl_Trace_Op& Op,
                                                       Detail_Function Detail, Body_Function Body) {
    if (Utl_Trace_Active(Class.Words, Object))
        Utl_Traced::Before(Class, Object, Address, Op, Detail());
    return Body();
}

template <class Detail_Function, class Body_Function>
inline auto Utl_Traced_Call(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                            const void* Address, const Utl_Trace_Op& Op,
                            const Detail_Function& Detail, const Body_Function& Body) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        return Utl_Traced_Call_Slow(Class, Object, Address, Op, Detail, Body);
    return Body();
}

// The life hooks of a class: the test of Utl_Trace_Maybe inline, the rest (whether the
// words or the registry want the event) in Utl_Traced.
inline void Utl_Trace_Created(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                              void* Address) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Utl_Traced::Created(Class, Object, Address);
}
inline void Utl_Trace_Deleted(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                              void* Address) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Utl_Traced::Deleted(Class, Object, Address);
}
inline void Utl_Trace_Reused(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                             void* Address) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Utl_Traced::Reused(Class, Object, Address);
}
inline void Utl_Trace_Freed(const Utl_Trace_Class& Class, const Utl_Trace_Words& Object,
                            void* Address) {
    if (Utl_Trace_Maybe()) [[unlikely]]
        Utl_Traced::Freed(Class, Object, Address);
}

namespace Utl_Traced {
// The texts behind a trace label: a text in double quotes, a decimal number, an address
// in hexadecimal (or "null").
Fnd_String Quoted(const Fnd_String& Text);
Fnd_String Number_Text(long Value);
Fnd_String Address_Text(const void* Address);
}  // namespace Utl_Traced

// The tracing members that every traced container carries, written once: the class's
// and the object's words, Show, Register_Object, Set_Name, the class's Operation, and
// the traced forms of its operations and life events. A container derives from it with
// itself as Derived, befriends it, and states only what differs:
//
//   static const Utl_Trace_Class Trace_Class;  // names, `words`, Operation, empty word
//   void Trace_Image(Fnd_String& Out) const;   // the show block's image, no line end
//   long Trace_Count() const;                  // the "length" and "size" of "show info"
//   long Trace_Capacity() const;
//
// Derived may hide Operation with its own, for words of its own, and name that one in
// Trace_Class.
template <class Derived>
class Utl_Traced_Class {
public:
    static inline Utl_Trace_Words Class_Trace;
    Utl_Trace_Words Trace;

    // The image on the console stream under Label.
    void Show(const Code_Unit* Label) const {
        Utl_Traced::Show(Derived::Trace_Class, Trace, self(), Label, Image_Of(self()));
    }
    // Name is not copied and must outlive the registration.
    void Register_Object(const Code_Unit* Name, Utl_Trace_Operation Operation = nullptr,
                         void* Parent = nullptr) {
        Utl_Traced::Register_Object(Derived::Trace_Class, Trace, self(), Name, Operation, Parent);
    }
    void Set_Name(const Code_Unit* Name, void* Parent = nullptr) {
        Utl_Traced::Set_Name(Derived::Trace_Class, Trace, self(), Name, Parent);
    }
    // "set", "clear" and "show" on an object (null: nothing but the trace line).
    static void Operation(void* Object, const Fnd_String& Command, const Fnd_String& First,
                          const Fnd_String& Second) {
        const auto* object = static_cast<Derived*>(Object);
        Utl_Traced::Operation(Derived::Trace_Class,
                              object ? &static_cast<Derived*>(Object)->Trace : nullptr, object,
                              Command, First, Second, object ? object->Trace_Count() : 0,
                              object ? object->Trace_Capacity() : 0, Image_Of(object));
    }

protected:
    // Body, the operation, with its trace line (Detail: the text behind the label) before
    // and its show block after. Detail and Body should capture by value what the caller
    // holds by value, see Utl_Traced_Call.
    template <class Detail_Function, class Body_Function>
    auto Traced(const Utl_Trace_Op& Op, const Detail_Function& Detail,
                const Body_Function& Body) const {
        return Utl_Traced_Call(Derived::Trace_Class, Trace, self(), Op, Detail, Image_Of(self()),
                               Body);
    }
    // The same with the trace line only, for lookups and operations that show nothing.
    template <class Detail_Function, class Body_Function>
    auto Traced_Line(const Utl_Trace_Op& Op, const Detail_Function& Detail,
                     const Body_Function& Body) const {
        return Utl_Traced_Call(Derived::Trace_Class, Trace, self(), Op, Detail, Body);
    }

    void Trace_Created() { Utl_Trace_Created(Derived::Trace_Class, Trace, self()); }
    void Trace_Deleted() { Utl_Trace_Deleted(Derived::Trace_Class, Trace, self()); }
    void Trace_Reused() { Utl_Trace_Reused(Derived::Trace_Class, Trace, self()); }
    void Trace_Freed() { Utl_Trace_Freed(Derived::Trace_Class, Trace, self()); }

private:
    const Derived* self() const { return static_cast<const Derived*>(this); }
    Derived* self() { return static_cast<Derived*>(this); }
    static auto Image_Of(const Derived* Object) {
        return [Object](Fnd_String& Out) { Object->Trace_Image(Out); };
    }
};
