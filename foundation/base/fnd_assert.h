// Programming errors of the foundation. Fnd_Assert(Ok, ...) does nothing when Ok is
// non-zero; otherwise it reports the error down a ladder of ever simpler outputs and
// ends the process with abort(). It never returns from a failure.
//
// This header needs only declarations of the string and message classes, so that the
// string layer can include it.
#pragma once

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;
class Fnd_Message;
class Fnd_Assertion_Error;

namespace fnd_assert_detail {
[[noreturn]] void Fail(const Code_Unit* Text);
[[noreturn]] void Fail(const Fnd_String& Context);
[[noreturn]] void Fail(const Fnd_Message& Reason, const Fnd_String& Context);
}  // namespace fnd_assert_detail

// A failure with a free text and no reason.
inline void Fnd_Assert(const long Ok, const Code_Unit* Text) {
    if (!Ok) fnd_assert_detail::Fail(Text);
}

inline void Fnd_Assert(const long Ok, const Fnd_String& Context) {
    if (!Ok) fnd_assert_detail::Fail(Context);
}

// The usual call: Fnd_Assert(ok, Some_Error(...), Fnd_String::Null).
inline void Fnd_Assert(const long Ok, const Fnd_Message& Reason, const Fnd_String& Context) {
    if (!Ok) fnd_assert_detail::Fail(Reason, Context);
}

// The reason is made only when the assertion fails.
inline void Fnd_Assert(const long Ok, const Fnd_Message& (*Reason_Maker)(),
                       const Fnd_String& Context) {
    if (!Ok) fnd_assert_detail::Fail(Reason_Maker(), Context);
}

// Reports Error and ends the process. The first error that enters is the one printed,
// also when reporting it fails and comes back here.
[[noreturn]] void Fnd_Assertion_Failure(const Fnd_Assertion_Error& Error);

// Assertion 1002 when called before the foundation's static constructors have run.
void Fnd_Assert_Statics_Initialized();

// The last-resort output: Text in the default charset to descriptor 2 with one write,
// then a newline with a second write (also when the text cannot be converted).
void Emit_Assertion(const Fnd_String& Text);
