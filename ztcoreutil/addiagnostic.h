// The process-wide diagnostics switchboard. Code that may write a diagnostic line asks
// the cheap flag word first and the engine second:
//
//   if (AdDiagnostic::m_DiagnosticFlags[46] && AdDiagnostic::IsEnabled(46, 1, 1))
//       AdDiagnostic::Report(u"Fnd_Message_Catalogs::Open_Catalog", name.Data());
//
// Every element starts at -1 (constant-initialised, so it reads before any static
// constructor has run): the first check therefore reaches IsEnabled, which evaluates
// the configuration once. After that a diagnostic that is off costs one load.
//
// This engine does not read a configuration yet: its evaluation turns every diagnostic
// off, and its output has no destination.
#pragma once

#include <array>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;

class AdDiagnostic {
public:
    // Ids run from 0 to 234; a greater id is never enabled.
    static constexpr long Last_Id = 234;
    static constexpr long Flag_Count = 236;

    static std::array<long, Flag_Count> m_DiagnosticFlags;
    static long* const DiagnosticFlagsPtr;
    // 0: not evaluated; -1: evaluation running; 1: done.
    static long m_bFlagsInitialized;

    // Whether the element of id is nonzero, after evaluating the configuration once.
    static long IsEnabled(long Id);
    // With a level: as a bit mask (Is_Mask non-zero) or as a minimum.
    static long IsEnabled(long Id, long Level, long Is_Mask);

    // One diagnostic line: label, ": ", text (the label alone for an empty text).
    static void Report(const Code_Unit* Label, const Code_Unit* Text);

    // Texts joined by one blank.
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B);
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                      const Fnd_String& C);
    static Fnd_String Join_With_Space(const Fnd_String& A, const Fnd_String& B,
                                      const Fnd_String& C, const Fnd_String& D);
    static Fnd_String Join_With_Space(const Fnd_String& A, long B);
    static Fnd_String Join_With_Space(long A, const Fnd_String& B);

private:
    static void Check_Diagnostic_Flags();
};
