// The debug controls that the container classes carry, per class and per object: a
// level, two trace masks, two show masks and a break mask, with the object's name and
// whether it is registered. All start at 0, and nothing of the library sets them: a
// host program or a person with a debugger does.
#pragma once

#include <cstdint>

#include "foundation/base/fnd_code_unit.h"

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
};

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
