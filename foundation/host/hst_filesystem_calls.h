// Shared pieces of the Hst_Filesystem sources: the retry rule, path conversion and the
// diagnostics of the file calls. Not for use outside foundation/host.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <cstddef>

#include "foundation/base/fnd_string.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztcoreutil/admbcsstring.h"

namespace hst_filesystem_detail {

constexpr int Timeout_Attempts = 50;

// Diagnostics ids of the file calls.
constexpr long Working_Directory_Diagnostic = 43;
constexpr long Stat_Diagnostic = 44;
constexpr long File_Descriptors_Diagnostic = 45;

// Runs System_Call under the retry rule: EINTR again at once and without limit,
// ETIMEDOUT up to 50 attempts in all, EAGAIN without limit when Repeat_Again. The
// call's result, with errno set by the last attempt.
template <class Call>
auto Retry(Call System_Call, bool Repeat_Again = false) {
    int timeouts = 0;
    for (;;) {
        const auto result = System_Call();
        if (result >= 0) return result;
        if (errno == EINTR) continue;
        if (errno == EAGAIN && Repeat_Again) continue;
        if (errno == ETIMEDOUT && ++timeouts < Timeout_Attempts) continue;
        return result;
    }
}

// write(2) without SIGPIPE: a library must not kill its host when a peer has gone.
// A socket is written by send with MSG_NOSIGNAL; anything else (a pipe) with
// SIGPIPE blocked, and a SIGPIPE that this write raised is taken back before the
// mask is restored. Either way a gone reader shows as EPIPE.
ssize_t Write_Without_Sigpipe(int Fd, const void* Buffer, size_t Length);

// Path in the default charset; false (with errno EILSEQ) when it does not convert.
inline bool Native(const Fnd_String& Path, AdMbcsString& Bytes) {
    if (Bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop))
        return true;
    errno = EILSEQ;
    return false;
}

inline void Trace(long Id, long Bit, const Code_Unit* Label, const Fnd_String& Text) {
    if (AdDiagnostic::m_DiagnosticFlags[Id] && AdDiagnostic::IsEnabled(Id, Bit, 1))
        AdDiagnostic::Report(Label, Text.Data());
}

}  // namespace hst_filesystem_detail
