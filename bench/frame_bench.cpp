// The cost of the call frame: an echo call round trip through the frame against
// a raw ping-pong of the same bytes, both over a socketpair to a thread that
// answers. Prints both latencies and their ratio. The frame reads a reply in two
// reads (header, then data) where the raw client needs one.
//
// The cost of diagnostics that are off: the same echo loop through the frame (which
// asks the diagnostic flag of the call frame at each of its steps) against a loop that
// calls the transport directly and never asks the diagnostics engine, in alternation.
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_client.h"
#include "ztint_opcodes.h"
#include "ztint_utils/ztint_call.h"
#include "ztcoreutil/addiagnostic.h"

namespace {

constexpr int32_t kEchoString = ZTInt_op_ZTZentrak_EchoString;
constexpr int kRounds = 20000;
constexpr int kRepeats = 5;
const char* const kText = "the quick brown fox jumps over the lazy dog";

struct Pair {
    int Near, Far;
    Pair()
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) std::perror("socketpair");
        Near = ends[0];
        Far = ends[1];
    }
    ~Pair()
    {
        close(Near);
        close(Far);
    }
};

bool Read_Exactly(int fd, char* to, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = read(fd, to, size);
        if (count <= 0) return false;
        to += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

// The reply that the server sends to every echo call: status 0 and the text.
ZTInt_msg_struct* Echo_Reply(const ZTInt_msg_struct& call)
{
    int32_t status = 0;
    const char* text = kText;
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_status, ZTInt_rpc_type_String};
    const void* const values[] = {&status, &text};
    ZTInt_msg_struct* reply = nullptr;
    char* error = nullptr;
    ZTInt_msg_Encode_Reply(&call, &reply, &error, 2, types, values);
    return reply;
}

// The encoded echo call, as the frame sends it.
std::vector<char> Echo_Call_Bytes()
{
    ZTInt_obj_struct handle{27, 0, 1, 1};
    const char* text = kText;
    const ZTInt_call_entry* entry = ZTInt_call_Find(kEchoString);
    const void* const values[] = {&handle, &text};
    ZTInt_msg_struct* call = nullptr;
    char* error = nullptr;
    ZTInt_msg_Encode(&call, &error, entry->In_Count, entry->Types_In, values);
    ZTInt_msg_Init_Call(call, 1, 1, kEchoString);
    std::vector<char> bytes(reinterpret_cast<char*>(call),
                            reinterpret_cast<char*>(call) + ZTInt_msg_Full_Size(call));
    ZTInt_msg_Free(call);
    return bytes;
}

double Nanoseconds_Per_Round(const std::chrono::steady_clock::time_point& start)
{
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return std::chrono::duration<double, std::nano>(elapsed).count() / kRounds;
}

double Raw_Ping_Pong(std::size_t call_size, std::size_t reply_size)
{
    Pair pair;
    std::thread server([&] {
        std::vector<char> in(call_size), out(reply_size, 'r');
        while (Read_Exactly(pair.Far, in.data(), call_size))
            if (write(pair.Far, out.data(), reply_size) != static_cast<ssize_t>(reply_size)) break;
    });
    std::vector<char> call(call_size, 'c'), reply(reply_size);
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kRounds; ++i) {
        if (write(pair.Near, call.data(), call_size) != static_cast<ssize_t>(call_size)) break;
        if (!Read_Exactly(pair.Near, reply.data(), reply_size)) break;
    }
    const double result = Nanoseconds_Per_Round(start);
    shutdown(pair.Near, SHUT_RDWR);
    server.join();
    return result;
}

// One echo call through the frame, or the same through the transport directly: what
// the frame does less its diagnostic lines.
void Frame_Echo(const ZTInt_call_entry* entry, const void* const* in, void* const* out)
{
    ZTInt_Connection* used = nullptr;
    ZTInt_msg_struct* message = nullptr;
    if (ZTInt_client_Call(&used, &message, kEchoString, entry->In_Count, entry->Types_In, in))
        ZTInt_client_Result(used, message, kEchoString, entry->Out_Count, entry->Types_Out, out);
    ZTInt_msg_Free(message);
}

void Transport_Echo(const ZTInt_call_entry* entry, const void* const* in, void* const* out)
{
    ZTInt_Connection* connection = ZTInt_client_Connection_Record();
    ZTInt_msg_struct* message = nullptr;
    if (ZTInt_do_Call_Send(connection, ZTInt_Set_Client_Error, &message, kEchoString,
                           entry->In_Count, entry->Types_In, in, false) &&
        ZTInt_do_Call_Recv(connection, ZTInt_Set_Client_Error, &message))
        ZTInt_client_Result(connection, message, kEchoString, entry->Out_Count, entry->Types_Out,
                            out);
    ZTInt_msg_Free(message);
}

using Echo_Function = void (*)(const ZTInt_call_entry*, const void* const*, void* const*);

// The server answers as the raw one does, by one read and one write of known
// sizes, so the difference between the two runs is the cost of the client's frame.
double Frame_Round_Trip(std::size_t call_size, Echo_Function echo = Frame_Echo)
{
    Pair pair;
    std::thread server([&] {
        std::vector<char> call(call_size);
        if (!Read_Exactly(pair.Far, call.data(), call_size)) return;
        ZTInt_msg_struct header;
        std::memcpy(&header, call.data(), sizeof header);
        ZTInt_msg_struct* prepared = Echo_Reply(header);
        std::vector<char> reply(reinterpret_cast<char*>(prepared),
                                reinterpret_cast<char*>(prepared) + ZTInt_msg_Full_Size(prepared));
        ZTInt_msg_Free(prepared);
        const std::size_t sequence_at = offsetof(ZTInt_msg_struct, Sequence);
        do {
            std::memcpy(reply.data() + sequence_at, call.data() + sequence_at, sizeof(int32_t));
            if (write(pair.Far, reply.data(), reply.size()) != static_cast<ssize_t>(reply.size()))
                return;
        } while (Read_Exactly(pair.Far, call.data(), call_size));
    });
    ZTInt_Connection* connection = ZTInt_client_Connection_Record();
    ZTInt_Connection_Initialize(connection);
    connection->Type = ZTInt_Connection_Type_Client;
    connection->State = ZTInt_Connection_State_Ready;
    connection->Handle.Read_File = connection->Handle.Write_File = pair.Near;

    const ZTInt_call_entry* entry = ZTInt_call_Find(kEchoString);
    ZTInt_obj_struct handle{27, 0, 1, 1};
    const char* text = kText;
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kRounds; ++i) {
        int32_t status = -1;
        char* result = nullptr;
        const void* const in[] = {&handle, &text};
        void* const out[] = {&status, &result};
        echo(entry, in, out);
        ZTInt_String_Free(result);
    }
    const double nanoseconds = Nanoseconds_Per_Round(start);
    shutdown(pair.Near, SHUT_RDWR);
    server.join();
    ZTInt_Connection_Initialize(connection);
    return nanoseconds;
}

}  // namespace

int main()
{
    const std::vector<char> call = Echo_Call_Bytes();
    ZTInt_msg_struct header;
    std::memcpy(&header, call.data(), sizeof header);
    ZTInt_msg_struct* reply = Echo_Reply(header);
    const std::size_t reply_size = static_cast<std::size_t>(ZTInt_msg_Full_Size(reply));
    ZTInt_msg_Free(reply);

    double raw = 1e300, frame = 1e300;
    for (int i = 0; i < kRepeats; ++i) {
        raw = std::min(raw, Raw_Ping_Pong(call.size(), reply_size));
        frame = std::min(frame, Frame_Round_Trip(call.size()));
    }
    std::printf("echo call: %zu bytes out, %zu bytes back, best of %d runs of %d rounds\n",
                call.size(), reply_size, kRepeats, kRounds);
    std::printf("raw ping-pong     %8.0f ns per round trip\n", raw);
    std::printf("frame echo call   %8.0f ns per round trip\n", frame);
    std::printf("ratio frame/raw   %8.2f\n", frame / raw);

    // Diagnostics off (no ZT_DIAG_* variable): the frame's checks are one load and one
    // compare each. Alternate the two loops and keep the best of each.
    for (const char* name : {"ZT_DIAG_TRACE", "ZT_DIAG_REPORT", "ZT_DIAG_OUTPUT"}) unsetenv(name);
    AdDiagnostic::ResetDiagnosticFlags(0);
    double checked = 1e300, unchecked = 1e300;
    for (int i = 0; i < 3 * kRepeats; ++i) {
        checked = std::min(checked, Frame_Round_Trip(call.size(), Frame_Echo));
        unchecked = std::min(unchecked, Frame_Round_Trip(call.size(), Transport_Echo));
    }
    std::printf("frame, diagnostics off    %8.0f ns per round trip\n", checked);
    std::printf("transport, never asked    %8.0f ns per round trip\n", unchecked);
    std::printf("cost of diagnostics off   %+7.2f %%  (loop against loop; noisy)\n",
                100.0 * (checked - unchecked) / unchecked);

    // The same cost measured alone: the six checks a call makes, as the frame writes them.
    constexpr long kChecks = 100000000;
    volatile long sink = 0;
    const auto start = std::chrono::steady_clock::now();
    for (long i = 0; i < kChecks; ++i) {
        asm volatile("" ::: "memory");  // the flag is loaded again each time, as in a call
        if (AdDiagnostic::m_DiagnosticFlags[14] != 0 && AdDiagnostic::IsEnabled(14, 1, 0)) sink = i;
    }
    const double per_check =
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() /
        kChecks;
    std::printf("one check, diagnostics off %7.2f ns; six per call: %.4f %% of a round trip\n",
                per_check, 100.0 * 6 * per_check / unchecked);
    (void)sink;
    return 0;
}
