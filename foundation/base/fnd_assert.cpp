#include "foundation/base/fnd_assert.h"

#include <cstdlib>
#include <unistd.h>

#include "foundation/base/fnd_assertion_error.h"
#include "foundation/base/fnd_base_errors.h"
#include "foundation/base/fnd_string.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

// The first failure that entered, and how many have entered so far. The pointer, once
// set, is never replaced: the first error's frame stays alive below every re-entry.
struct {
    const Fnd_Assertion_Error* First;
    long Count;
} Assertion_Message = {nullptr, 0};

// 'x' once the foundation's static constructors have run (the text streams among
// them). Zero until then: it is raised by code at start-up, not by its initialiser.
char Static_Char = 0;

struct Statics_Up_Marker {
    Statics_Up_Marker() { Static_Char = 'x'; }
};
// Runs after the text streams (priority 60000) and before the ordinary statics.
__attribute__((init_priority(60001))) Statics_Up_Marker Statics_Up;

void Write_All(const char* Bytes, size_t Length) {
    // Nothing can be done about a failed write on the way to abort.
    [[maybe_unused]] ssize_t written = ::write(2, Bytes, Length);
}

}  // namespace

void Emit_Assertion(const Fnd_String& Text) {
    AdMbcsString bytes;
    if (bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Text, AdCharset::cvt_stop))
        Write_All(bytes.getData(), static_cast<size_t>(bytes.getLength()));
    Write_All("\n", 1);
}

void Fnd_Assertion_Failure(const Fnd_Assertion_Error& Error) {
    const long count = Assertion_Message.Count++;
    if (Assertion_Message.First == nullptr) Assertion_Message.First = &Error;
    const Fnd_Assertion_Error& first = *Assertion_Message.First;

    // A failure while reporting comes back here with a higher count and takes a
    // simpler road: the streams, the catalog text written directly, the alternate
    // text, the bare key, nothing.
    switch (count) {
        case 0:
            if (Static_Char == 'x') {
                Tio_Log.Put_Message(first, Tio_Log.Policy().Detail());
                Tio_Err.Put_Line(first.Image(Fnd_Detail_Normal, 1, 1));
            } else {
                // A failure in the direct output must land on the alternate text.
                ++Assertion_Message.Count;
                Emit_Assertion(first.Image(Fnd_Detail_Normal, 1, 1));
            }
            break;
        case 1:
            Emit_Assertion(first.Image(Fnd_Detail_Normal, 1, 1));
            break;
        case 2:
            Emit_Assertion(first.Image(Fnd_Detail_Alternate, 1, 1));
            break;
        case 3:
            Emit_Assertion(first.Image(Fnd_Detail_Key, 1, 1));
            break;
        default:
            break;
    }
    std::abort();
}

void Fnd_Assert_Statics_Initialized() {
    // Fnd_String::Null itself may not be built yet.
    if (Static_Char != 'x') fnd_assert_detail::Fail(Fnd_Assertion_Message(1002), Fnd_String());
}

namespace fnd_assert_detail {

void Fail(const Code_Unit* Text) { Fnd_Assertion_Failure(Fnd_Assertion_Error(Fnd_String(Text))); }

void Fail(const Fnd_String& Context) { Fnd_Assertion_Failure(Fnd_Assertion_Error(Context)); }

void Fail(const Fnd_Message& Reason, const Fnd_String& Context) {
    Fnd_Assertion_Failure(Fnd_Assertion_Error(Reason, Context));
}

}  // namespace fnd_assert_detail
