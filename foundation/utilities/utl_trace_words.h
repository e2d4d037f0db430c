// The debug controls that the container classes carry, per class and per object: a
// level, two trace masks, two show masks and a break mask, with the object's name and
// whether it is registered. All start at 0, and nothing of the library sets them: a
// host program or a person with a debugger does.
#pragma once

#include <cstdint>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

// A traced class's command entry: "set", "clear" or "show" on one of its objects (null:
// the class's own words), see Utl_Tracing.
typedef void (*Utl_Trace_Operation)(void* Object, const Fnd_String& Command,
                                    const Fnd_String& First, const Fnd_String& Second);

// Non-zero once any trace word of any class or object, trace_objects or the registry's
// record count has been given a non-zero value. Every traced operation reads this one
// word first and decides the rest out of line, so that with nothing ever set an
// operation costs one load and a branch that is never taken. It is never cleared: once
// set, the full test of the words runs (out of line) in front of each operation. From a
// debugger that writes a word's memory directly, set this to 1 as well.
inline constinit int32_t Utl_Trace_Armed = 0;

// One 32-bit trace word. It reads and compares as an int32_t; assigning a non-zero
// value sets Utl_Trace_Armed.
class Utl_Trace_Word {
public:
    constexpr Utl_Trace_Word() = default;
    constexpr Utl_Trace_Word(int32_t Value) : Value(Value) {  // NOLINT: reads as an int32_t
        if (!std::is_constant_evaluated()) Arm();
    }
    constexpr Utl_Trace_Word(const Utl_Trace_Word& Other) = default;
    Utl_Trace_Word& operator=(const Utl_Trace_Word& Other) { return *this = Other.Value; }
    Utl_Trace_Word& operator=(int32_t New_Value) {
        Value = New_Value;
        Arm();
        return *this;
    }
    Utl_Trace_Word& operator|=(int32_t Bits) { return *this = Value | Bits; }
    Utl_Trace_Word& operator&=(int32_t Bits) { return *this = Value & Bits; }
    constexpr operator int32_t() const { return Value; }  // NOLINT: reads as an int32_t

private:
    int32_t Value = 0;

    void Arm() const {
        if (Value != 0) Utl_Trace_Armed = 1;
    }
};

// Whether anything may be traced at all: the one test in front of each operation.
inline bool Utl_Trace_Maybe() {
#ifdef ZTINT_NO_TRACING
    return false;
#else
    return __builtin_expect(Utl_Trace_Armed != 0, 0);
#endif
}

// Non-zero makes every traced class report its objects to the registry; -1 while the
// registry works on its own data (Utl_Tracing::trace_objects). Constant-initialised, so
// that it reads 0 before any constructor runs.
inline constinit Utl_Trace_Word Utl_Trace_Objects = 0;
// How many objects the registry holds records of. While it is non-zero every traced
// object tells the registry of its end, so that no record outlives its object.
inline constinit Utl_Trace_Word Utl_Trace_Records = 0;

// Building with ZTINT_NO_TRACING takes every trace test out of the containers.
#ifdef ZTINT_NO_TRACING
inline constexpr bool Utl_Tracing_Built = false;
#else
inline constexpr bool Utl_Tracing_Built = true;
#endif

struct Utl_Trace_Words {
    Utl_Trace_Word trace;
    Utl_Trace_Word specific_trace;
    Utl_Trace_Word specific2_trace;
    Utl_Trace_Word specific_show;
    Utl_Trace_Word specific2_show;
    Utl_Trace_Word specific_break;
    const Code_Unit* name = nullptr;  // not owned
    int32_t registered = 0;

    // Back to the state of a new object.
    void Reset() { *this = Utl_Trace_Words(); }
    // Whether any control is set: the six words read as three 64-bit ones.
    bool Any() const {
        static_assert(sizeof(Utl_Trace_Word) == 4 && offsetof(Utl_Trace_Words, specific_break) == 20);
        const auto* bytes = reinterpret_cast<const unsigned char*>(this);
        uint64_t first, second, third;
        std::memcpy(&first, bytes, 8);
        std::memcpy(&second, bytes + 8, 8);
        std::memcpy(&third, bytes + 16, 8);
        return (first | second | third) != 0;
    }
};

// Whether the class's or the object's words ask for anything at all. Behind
// Utl_Trace_Maybe this is decided out of line.
inline bool Utl_Trace_Active(const Utl_Trace_Words& Class, const Utl_Trace_Words& Object) {
    if (!Utl_Trace_Maybe()) return false;
    return Class.Any() || Object.Any();
}

// Whether an object's life goes to the registry: bit 12 ("objects") or trace_objects.
inline bool Utl_Trace_Reports(const Utl_Trace_Words& Class, const Utl_Trace_Words& Object) {
    if (!Utl_Trace_Maybe()) return false;
    return Utl_Trace_Objects != 0 || ((Class.specific_trace | Object.specific_trace) & (1 << 12));
}

// Sets a class's level and first show mask to 0 for the life of the guard and restores
// them after, so that an image of a container carries no trace output of its own.
class Utl_Trace_Silencer {
public:
    explicit Utl_Trace_Silencer(Utl_Trace_Words& Words)
        : Words(Words), Level(Words.trace), Show(Words.specific_show) {
        Words.trace = 0;
        Words.specific_show = 0;
    }
    ~Utl_Trace_Silencer() {
        Words.trace = Level;
        Words.specific_show = Show;
    }
    Utl_Trace_Silencer(const Utl_Trace_Silencer&) = delete;
    Utl_Trace_Silencer& operator=(const Utl_Trace_Silencer&) = delete;

private:
    Utl_Trace_Words& Words;
    int32_t Level;
    int32_t Show;
};
