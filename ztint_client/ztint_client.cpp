#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_special.h"

#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/addiagnostic.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_call.h"
#include "ztint_utils/ztint_text.h"

ZTInt_Connection* The_Connection = nullptr;
char* Client_Error = nullptr;

namespace {

// The diagnostic "ZTINTSVR" of the call frame.
constexpr int kDiagnosticId = 14;
constexpr int kDiagnosticLevel = 1;

bool Tracing()
{
    return AdDiagnostic::m_DiagnosticFlags[kDiagnosticId] != 0 &&
           AdDiagnostic::IsEnabled(kDiagnosticId, kDiagnosticLevel, 0);
}

// One line of the frame's diagnostic: two parts joined by a blank.
void Trace(const char* step, const char* what)
{
    if (Tracing())
        AdDiagnostic::Report(u"ztintsvr client",
                             AdDiagnostic::Join_With_Space(ZTInt_Wide(step), ZTInt_Wide(what)).Data());
}

void Trace_Call(int procedure)
{
    if (!Tracing())
        return;
    char* what = ZTInt_String_Format("%s_%d (%d)",
                                     ZTInt_msg_Class_Name_Of(procedure >> ZTInt_msg_Class_Shift),
                                     procedure & ZTInt_msg_Method_Mask, procedure);
    Trace("call", what);
    ZTInt_String_Free(what);
}

// Misuse that would corrupt the one connection is refused instead: a call entering
// while another thread's call is in flight, and a call of a child made by fork on the
// connection it shares with its parent.
std::atomic<bool> Call_In_Flight{false};
thread_local int Call_Depth = 0;  // the startup call nests in the first call
// The out-list of the answer this thread waits for next, if a stub said so.
thread_local int Expected_Count = 0;
thread_local const ZTInt_rpc_type* Expected_Types = nullptr;
thread_local bool Refused_While_Busy = false;
bool Inherited_By_Fork = false;

bool Fork_Handler_Installed = false;

constexpr const char kBusyText[] =
    "ztint: a call was made while another thread's call was in flight; calls on the "
    "process's one connection must not overlap";

void On_Fork_In_Child()
{
    if (The_Connection != nullptr && The_Connection->State != ZTInt_Connection_State_Nil)
        Inherited_By_Fork = true;
    My_Pid = -1;  // the child's own pid goes into its calls
}

// Holds the connection for one call of this thread; false if another thread has it.
class Call_Guard {
public:
    Call_Guard()
    {
        if (Call_Depth == 0 && Call_In_Flight.exchange(true, std::memory_order_acquire)) {
            Refused_While_Busy = true;
            Held = false;
            return;
        }
        if (Call_Depth == 0)
            Refused_While_Busy = false;
        ++Call_Depth;
    }
    ~Call_Guard()
    {
        if (Held && --Call_Depth == 0)
            Call_In_Flight.store(false, std::memory_order_release);
    }
    Call_Guard(const Call_Guard&) = delete;
    Call_Guard& operator=(const Call_Guard&) = delete;
    bool Held = true;
};

// The opt-in bound of a whole call, from the switch CALL_TIMEOUT: whole seconds from 1
// to a day; anything else leaves calls unbounded (-1).
int Read_Call_Timeout_Ms()
{
    const Fnd_String& text = Hst_Switches::Call_Timeout_Switch_Value();
    long seconds = 0;
    for (long i = 0; i < text.Get_Length(); ++i) {
        const Code_Unit unit = text[i];
        if (unit < u'0' || unit > u'9' || seconds > 86400)
            return -1;
        seconds = seconds * 10 + (unit - u'0');
    }
    return seconds >= 1 && seconds <= 86400 ? static_cast<int>(seconds * 1000) : -1;
}

// The bounds of the wait for an answer: the startup call is answered at once by a
// server that works; any other call may take as long as its work, unless the caller
// set a bound for whole calls.
ZTInt_transport_Limits Answer_Limits(bool startup)
{
    ZTInt_transport_Limits limits;
    limits.Stall_Ms = ZTInt_Message_Timeout_Milliseconds();
    limits.Header_Ms = startup ? limits.Stall_Ms : -1;
    limits.Whole_Ms = Read_Call_Timeout_Ms();
    limits.Whole_Name = "ZT_CALL_TIMEOUT";
    // The server answers each call with one message and then waits for the next.
    limits.Read_Ahead = true;
    if (!startup) {
        limits.Reply_Count = Expected_Count;
        limits.Reply_Types = Expected_Types;
    }
    return limits;
}

// Takes over text (which may be NULL) as the slot's text.
void Adopt_Client_Error(char* text)
{
    ZTInt_String_Free(Client_Error);
    Client_Error = text;
}

bool Usable(const ZTInt_Connection* connection)
{
    return connection->State == ZTInt_Connection_State_Ready ||
           (connection->State == ZTInt_Connection_State_Started &&
            connection->Type == ZTInt_Connection_Type_Startup);
}

// Opens a connection in state nil: the pipe, the listening socket, and the
// startup call nested in this first call. The slot tells what went wrong.
void Open(ZTInt_Connection* connection)
{
    if (!Fork_Handler_Installed)
        Fork_Handler_Installed = pthread_atfork(nullptr, nullptr, On_Fork_In_Child) == 0;
    Inherited_By_Fork = false;
    char* name = nullptr;
    char* error = nullptr;
    if (ZTInt_Create_Connection_Un(connection, &name, &error, 1) != 0) {
        Adopt_Client_Error(error);
        error = nullptr;
    } else if (const int32_t status = ZTInt_Special_Startup_Stub(name); status == 0) {
        ZTInt_Change_Startup_to_Client(connection);
    } else {
        // A server that answered refused this client; the one reason it has is its limit.
        if (Client_Error == nullptr)
            Adopt_Client_Error(ZTInt_String_Format(
                "ztintsvr: the server refused this client (startup status %d): it serves as "
                "many clients at once as ZT_SERVER_MAX_CLIENTS allows",
                static_cast<int>(status)));
        ZTInt_Close_Connection(connection);
    }
    ZTInt_String_Free(name);
    ZTInt_String_Free(error);
}

// Finds the connection, opening it if it is nil. NULL when it is not usable.
ZTInt_Connection* Find_Connection()
{
    ZTInt_Connection* connection = ZTInt_client_Connection_Record();
    bool tried = false;
    if (connection->State == ZTInt_Connection_State_Nil) {
        Open(connection);
        tried = true;
    }
    if (Usable(connection))
        return connection;
    if (!tried)
        ZTInt_Set_Client_Error("unable to open server connection");
    return nullptr;
}

// Takes the server's connection after the startup call went into the pipe.
bool Accept(ZTInt_Connection* connection)
{
    char* error = nullptr;
    if (ZTInt_Accept_Connections(connection, &error) == 0) {
        ZTInt_String_Free(error);
        return true;
    }
    Adopt_Client_Error(error);
    return false;
}

}  // namespace

ZTInt_Reply_Expectation::ZTInt_Reply_Expectation(int count, const ZTInt_rpc_type* types)
    : Count_Before(Expected_Count), Types_Before(Expected_Types)
{
    Expected_Count = count;
    Expected_Types = types;
}

ZTInt_Reply_Expectation::~ZTInt_Reply_Expectation()
{
    Expected_Count = Count_Before;
    Expected_Types = Types_Before;
    ZTInt_rpc_Drop_Detached_Text();
}

ZTInt_Connection* ZTInt_client_Connection_Record()
{
    if (The_Connection == nullptr) {
        The_Connection = static_cast<ZTInt_Connection*>(std::malloc(sizeof(ZTInt_Connection)));
        if (The_Connection == nullptr)
            ZTInt_abort("memory allocation failed for the connection");
        ZTInt_Connection_Initialize(The_Connection);
    }
    return The_Connection;
}

ZTInt_Connection* ZTInt_Get_Connection()
{
    return Find_Connection();
}

int ZTInt_client_Call(ZTInt_Connection** connection, ZTInt_msg_struct** message, int procedure,
                      int count, const ZTInt_rpc_type* types, const void* const* values)
{
    *message = nullptr;
    *connection = nullptr;
    const Call_Guard guard;
    if (!guard.Held)
        return 0;  // the slot belongs to the other call; this thread's text is kBusyText
    if (Inherited_By_Fork && ZTInt_client_Connection_Record()->State != ZTInt_Connection_State_Nil) {
        Adopt_Client_Error(ZTInt_String_Format(
            "ztint: process %d inherited its connection from its parent through fork; close it "
            "with ZTInt_Close_Connection to open one of its own",
            static_cast<int>(getpid())));
        return 0;
    }
    char* remembered = Client_Error;
    Client_Error = nullptr;
    *connection = Find_Connection();
    const bool atomic =
        *connection != nullptr && (*connection)->Type == ZTInt_Connection_Type_Startup;
    Trace_Call(procedure);
    bool received = ZTInt_do_Call_Send(*connection, ZTInt_Set_Client_Error, message, procedure,
                                       count, types, values, atomic);
    if (received) {
        Trace("call", "sent");
        received = !atomic || Accept(*connection);
    }
    if (received) {
        Trace("rply", "wait");
        received = ZTInt_do_Call_Recv(*connection, ZTInt_Set_Client_Error, message,
                                      Answer_Limits(atomic));
        if (!received)
            Trace("rply", "fail");
    }
    if (received && (*message)->Type == ZTInt_msg_type_Reply) {
        Trace("rply", "received");
        if (Client_Error == nullptr) {
            Client_Error = remembered;
            return 1;
        }
    } else if (received) {
        Trace("rply", "received with error");
    }
    ZTInt_String_Free(remembered);
    return received ? 1 : 0;
}

void ZTInt_client_Result(ZTInt_Connection* connection, ZTInt_msg_struct* message, int procedure,
                         int count, const ZTInt_rpc_type* types, void* const* values)
{
    ZTInt_do_Result(connection, ZTInt_Set_Client_Error, message, procedure, count, types, values);
}

void ZTInt_client_Error(ZTInt_Connection*, ZTInt_msg_struct* message, int count,
                        const ZTInt_rpc_type* types, void* const* values)
{
    ZTInt_msg_Decode_Nil(message, count, types, values);
    ZTInt_msg_Set_Status(-1, count, types, values);
}

void ZTInt_client_Unsupported(const char* name)
{
    Adopt_Client_Error(ZTInt_String_Format("unsupported operation: %s", name));
}

bool ZTInt_client_Check_Handle(const void* handle, int32_t type, const char* call,
                               const char* what)
{
    const auto* entry = static_cast<const ZTInt_obj_struct*>(handle);
    const char* problem = nullptr;
    if (entry == nullptr)
        problem = "is NULL";
    else if (ZTInt_obj_Index(entry) == 0)
        problem = "is not a handle this library gave out";
    else if (entry->Owner_Pid == -1)
        problem = "has been freed";
    else if (entry->Type == type)
        return true;
    if (problem != nullptr) {
        Adopt_Client_Error(ZTInt_String_Format("%s: the %s %s", call, what, problem));
    } else {
        const int32_t expected = type - ZTInt_rpc_type_First_Object;
        const int32_t actual = entry->Type - ZTInt_rpc_type_First_Object;
        Adopt_Client_Error(ZTInt_String_Format("%s: the %s is a %s handle, not a %s handle", call,
                                               what, ZTInt_msg_Class_Name_Of(actual),
                                               ZTInt_msg_Class_Name_Of(expected)));
    }
    return false;
}

int32_t ZTInt_client_No_Result(const char* call)
{
    Adopt_Client_Error(ZTInt_String_Format("%s: the result address is NULL", call));
    return -1;
}

void ZTInt_Set_Client_Error(const char* text)
{
    Adopt_Client_Error(text != nullptr ? ZTInt_String_New(text) : nullptr);
}

int ZTInt_Get_Client_Error(char** text)
{
    if (Refused_While_Busy) {
        *text = ZTInt_String_New(kBusyText);
        return 1;
    }
    if (Client_Error == nullptr)
        return 0;
    *text = ZTInt_String_New(Client_Error);
    return 1;
}

int ZTInt_client_GetError(char** text)
{
    return ZTInt_Get_Client_Error(text);
}

ZTInt_obj_struct* ZTInt_obj_New_Local(const ZTInt_obj_struct* record)
{
    if (record == nullptr || record->Type == 0)
        return nullptr;
    if (!ZTInt_rpc_type_Is_Object(record->Type))
        ZTInt_abort3("FALSE", "ztint_client", 346);
    return ZTInt_obj_New(record);
}

ZTInt_obj_struct* ZTInt_obj_To_Proxy(ZTInt_obj_struct* handle)
{
    return handle;
}

void ZTInt_client_New_Handle(int32_t* status, const ZTInt_obj_struct* record,
                             ZTInt_obj_struct** result)
{
    *result = ZTInt_obj_New_Local(record);
    if (*result == nullptr && record->Type != 0) {
        *status = -1;
        ZTInt_Set_Client_Error("ztintsvr: the table of object handles is full (25000 handles)");
    }
}
