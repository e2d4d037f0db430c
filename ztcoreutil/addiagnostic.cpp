#include "ztcoreutil/addiagnostic.h"

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_library.h"

namespace {

constexpr std::array<long, AdDiagnostic::Flag_Count> Unevaluated_Flags() {
    std::array<long, AdDiagnostic::Flag_Count> flags{};
    flags.fill(-1);
    return flags;
}

Fnd_String Joined(std::initializer_list<const Fnd_String*> Parts) {
    Fnd_String text(200L, 1L);
    bool first = true;
    for (const Fnd_String* part : Parts) {
        if (!first) text.Append(Fnd_Char(u' '));
        text.Append(*part);
        first = false;
    }
    return text;
}

}  // namespace

constinit std::array<long, AdDiagnostic::Flag_Count> AdDiagnostic::m_DiagnosticFlags =
    Unevaluated_Flags();
long* const AdDiagnostic::DiagnosticFlagsPtr = AdDiagnostic::m_DiagnosticFlags.data();
constinit long AdDiagnostic::m_bFlagsInitialized = 0;

void AdDiagnostic::Check_Diagnostic_Flags() {
    if (m_bFlagsInitialized != 0) return;
    // Checks made while the evaluation runs read 0 and do not recurse.
    m_bFlagsInitialized = -1;
    m_DiagnosticFlags.fill(0);
    m_bFlagsInitialized = 1;
}

long AdDiagnostic::IsEnabled(long Id) {
    Check_Diagnostic_Flags();
    if (Id < 0 || Id > Last_Id) return 0;
    return m_DiagnosticFlags[Id] != 0;
}

long AdDiagnostic::IsEnabled(long Id, long Level, long Is_Mask) {
    Check_Diagnostic_Flags();
    if (Id < 0 || Id > Last_Id) return 0;
    // No diagnostic has a kind of value yet, and a diagnostic without one is off.
    (void)Level;
    (void)Is_Mask;
    return 0;
}

// The output has no destination yet, which is the nil destination: nothing is written.
void AdDiagnostic::Report(const Code_Unit*, const Code_Unit*) {}

Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B) {
    return Joined({&A, &B});
}

Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                         const Fnd_String& C) {
    return Joined({&A, &B, &C});
}

Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                         const Fnd_String& C, const Fnd_String& D) {
    return Joined({&A, &B, &C, &D});
}

Fnd_String AdDiagnostic::Join_With_Space(const Fnd_String& A, long B) {
    Fnd_String number = Fnd_String_Library::To_String(B);
    return Joined({&A, &number});
}

Fnd_String AdDiagnostic::Join_With_Space(long A, const Fnd_String& B) {
    Fnd_String number = Fnd_String_Library::To_String(A);
    return Joined({&number, &B});
}
