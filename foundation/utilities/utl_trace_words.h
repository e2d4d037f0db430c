// The debug controls that the container classes carry, per class and per object: a
// level, two trace masks, two show masks and a break mask, with the object's name and
// whether it is registered. All start at 0, and nothing of the library sets them: a
// host program or a person with a debugger does.
#pragma once

#include <cstdint>
#include <cstddef>
#include <cstring>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

// A traced class's command entry: "set", "clear" or "show" on one of its objects (null:
// the class's own words), see Utl_Tracing.
typedef void (*Utl_Trace_Operation)(void* Object, const Fnd_String& Command,
                                    const Fnd_String& First, const Fnd_String& Second);

// Non-zero makes every traced class report its objects to the registry; -1 while the
// registry works on its own data (Utl_Tracing::trace_objects). Constant-initialised, so
// that it reads 0 before any constructor runs.
inline constinit int32_t Utl_Trace_Objects = 0;
// How many objects the registry holds records of. While it is non-zero every traced
// object tells the registry of its end, so that no record outlives its object.
inline constinit int32_t Utl_Trace_Records = 0;

// Building with ZTINT_NO_TRACING takes every trace test out of the containers.
#ifdef ZTINT_NO_TRACING
inline constexpr bool Utl_Tracing_Built = false;
#else
inline constexpr bool Utl_Tracing_Built = true;
#endif

struct Utl_Trace_Words {
    int32_t trace = 0;
    int32_t specific_trace = 0;
    int32_t specific2_trace = 0;
    int32_t specific_show = 0;
    int32_t specific2_show = 0;
    int32_t specific_break = 0;
    const Code_Unit* name = nullptr;  // not owned
    int32_t registered = 0;

    // Back to the state of a new object.
    void Reset() { *this = Utl_Trace_Words(); }
    // Whether any control is set: the six words read as three 64-bit ones.
    bool Any() const {
        static_assert(offsetof(Utl_Trace_Words, specific_break) == 20);
        const auto* bytes = reinterpret_cast<const unsigned char*>(this);
        uint64_t first, second, third;
        std::memcpy(&first, bytes, 8);
        std::memcpy(&second, bytes + 8, 8);
        std::memcpy(&third, bytes + 16, 8);
        return (first | second | third) != 0;
    }
};

// The cheap test in front of each traced operation: whether the class's or the
// object's words ask for anything at all. The rest is decided out of line.
inline bool Utl_Trace_Active(const Utl_Trace_Words& Class, const Utl_Trace_Words& Object) {
    if constexpr (!Utl_Tracing_Built) return false;
    return __builtin_expect(Class.Any() || Object.Any(), 0);
}

// Whether an object's life goes to the registry: bit 12 ("objects") or trace_objects.
inline bool Utl_Trace_Reports(const Utl_Trace_Words& Class, const Utl_Trace_Words& Object) {
    if constexpr (!Utl_Tracing_Built) return false;
    return __builtin_expect(
        Utl_Trace_Objects != 0 || ((Class.specific_trace | Object.specific_trace) & (1 << 12)),
        0);
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
