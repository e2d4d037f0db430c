// Debug output of the generic-text layer, through the diagnostics engine.
#include "foundation/base/fnd_string.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/tchar.h"

namespace {
constexpr long Ods_Diagnostic = 2;
}  // namespace

void OutputDebugString(const Code_Unit* Text) {
    if (AdDiagnostic::m_DiagnosticFlags[Ods_Diagnostic] &&
        AdDiagnostic::IsEnabled(Ods_Diagnostic))
        AdDiagnostic::Report(u"ODS", Text ? Text : u"");
}

void OutputDebugString(const Fnd_String& Text) { OutputDebugString(Text.Data()); }
