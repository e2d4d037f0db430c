#include "server/svr_trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace {

int Trace_Fd = -1;

}  // namespace

void Svr_Trace::Open_From_Environment()
{
    const char* path = std::getenv("ZT_SERVER_TRACE");
    if (path != nullptr && *path != '\0' && Trace_Fd < 0)
        Trace_Fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
}

void Svr_Trace::Line(const std::string& text)
{
    if (Trace_Fd < 0)
        return;
    const std::string line = text + "\n";
    if (write(Trace_Fd, line.data(), line.size()) < 0) {
        // A trace that can't be written is no reason to stop serving.
    }
}

void Svr_Trace::Call(int32_t pid, int32_t sequence, int32_t procedure)
{
    if (Trace_Fd >= 0)
        Line("call " + std::to_string(pid) + " " + std::to_string(sequence) + " " +
             std::to_string(procedure));
}
