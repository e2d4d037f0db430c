#include "server/svr_trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "ztint_base/ztint_protocol.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_string.h"

namespace {

int Trace_Fd = -1;
bool Console = false;

std::string Call_Name(int32_t procedure)
{
    const ZTInt_call_entry* entry = ZTInt_call_Find(procedure);
    return entry != nullptr ? entry->Name : "procedure " + std::to_string(procedure);
}

// The status an answer carries: its first value, or "error" for an Error message.
std::string Status_Of(const ZTInt_msg_struct* answer)
{
    if (answer == nullptr || answer->Type != ZTInt_msg_type_Reply)
        return "error";
    ZTInt_msg_info info;
    ZTInt_msg_info_Init(&info, const_cast<ZTInt_msg_struct*>(answer));
    int32_t status = 0;
    const bool decoded = ZTInt_rpc_Decode(&info, ZTInt_rpc_type_status, &status) != 0;
    ZTInt_String_Free(info.Error);
    return decoded ? std::to_string(status) : "error";
}

}  // namespace

void Svr_Trace::Open_From_Environment()
{
    const char* path = std::getenv("ZT_SERVER_TRACE");
    if (path != nullptr && *path != '\0' && Trace_Fd < 0)
        Trace_Fd = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
}

void Svr_Trace::Report_Clients_On_Console(bool on)
{
    Console = on;
}

bool Svr_Trace::Enabled()
{
    return Trace_Fd >= 0;
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

void Svr_Trace::Call(const ZTInt_msg_struct* call, const ZTInt_msg_struct* answer)
{
    if (Trace_Fd >= 0)
        Line("call " + std::to_string(call->Pid) + " " + std::to_string(call->Sequence) + " " +
             Call_Name(call->Procedure) + " " + Status_Of(answer));
}

void Svr_Trace::Client_Event(const char* event, int number, int32_t pid)
{
    if (Console)
        std::fprintf(stderr, "ztintsvr: client %d (pid %d) %sed\n", number, static_cast<int>(pid),
                     event);
    if (Trace_Fd >= 0)
        Line(std::string(event) + " " + std::to_string(number) + " " + std::to_string(pid));
}
