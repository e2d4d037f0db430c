#include "server/svr_dispatch.h"

#include <cstring>

#include "server/calls/svr_call.h"
#include "server/calls/svr_calls.h"
#include "server/calls/svr_payloads.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_string.h"

namespace {

bool Ends_With(const char* text, const char* tail)
{
    const std::size_t length = std::strlen(text), tail_length = std::strlen(tail);
    return length >= tail_length && std::strcmp(text + length - tail_length, tail) == 0;
}

ZTInt_msg_struct* Error_Answer(const ZTInt_msg_struct* call)
{
    ZTInt_msg_struct* answer = nullptr;
    ZTInt_msg_Encode_Error(call, &answer);
    return answer;
}

}  // namespace

Svr_Dispatcher::Svr_Dispatcher(Svr_Objects& objects, Mdl_Server& model, std::string version)
    : Objects(objects), Model(model), Version(std::move(version)),
      Handlers(static_cast<std::size_t>(ZTInt_Call_Table_Size))
{
    Add(ZTInt_op_ZTInt_Special_Shutdown_Stub, &Svr_Dispatcher::Shutdown_Call);
    Add(ZTInt_op_ZTInt_GetError, &Svr_Dispatcher::Get_Error);
    Add(ZTInt_op_ZTInt_SetError, &Svr_Dispatcher::Set_Error);
    Add(ZTInt_op_ZTZentrak_Build, &Svr_Dispatcher::Build);
    Add(ZTInt_op_ZTZentrak_Unbuild, &Svr_Dispatcher::Unbuild);
    Add(ZTInt_op_ZTZentrak_CreateProductInfo, &Svr_Dispatcher::Create_Product_Info);
    Add(ZTInt_op_ZTZentrak_EchoString, &Svr_Dispatcher::Echo_String);
    Add(ZTInt_op_ZTZentrak_SessionLogon, &Svr_Dispatcher::Session_Logon);
    Add(ZTInt_op_ZTZentrak_SessionLogoff, &Svr_Dispatcher::Session_Logoff);
    Add(ZTInt_op_ZTProductInfo_GetProductVersion, &Svr_Dispatcher::Product_Version);
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const ZTInt_call_entry& entry = ZTInt_Call_Table[i];
        if (entry.Kind != ZTInt_call_Generic)
            continue;
        if (Ends_With(entry.Name, "_Free"))
            Add(static_cast<ZTInt_opcode>(entry.Opcode), &Svr_Dispatcher::Free_Object);
        else if (Ends_With(entry.Name, "_Duplicate"))
            Add(static_cast<ZTInt_opcode>(entry.Opcode), &Svr_Dispatcher::Duplicate_Object);
    }
    Svr_Register_Tracking_Calls(*this);
}

std::function<int32_t(Svr_Request&)>& Svr_Dispatcher::Handler_Of(ZTInt_opcode opcode)
{
    const ZTInt_call_entry* entry = ZTInt_call_Find(opcode);
    if (entry == nullptr)
        ZTInt_abort3("a handler for an opcode in the table of calls", __FILE__, __LINE__);
    return Handlers[static_cast<std::size_t>(entry - ZTInt_Call_Table)];
}

void Svr_Dispatcher::Add(ZTInt_opcode opcode, Handler handler)
{
    Handler_Of(opcode) = [this, handler](Svr_Request& request) { return (this->*handler)(request); };
}

void Svr_Dispatcher::Add(ZTInt_opcode opcode, Call_Handler handler)
{
    Handler_Of(opcode) = [this, handler](Svr_Request& request) {
        Svr_Call call(request, Objects, Model);
        return handler(call);
    };
}

ZTInt_msg_struct* Svr_Dispatcher::Answer(Svr_Client_State& client, ZTInt_msg_struct* call,
                                         Svr_Texts texts, ZTInt_msg_gather* gather)
{
    if (gather != nullptr)
        gather->Count = 0;
    const ZTInt_call_entry* entry = ZTInt_call_Find(call->Procedure);
    if (call->Type != ZTInt_msg_type_Call || entry == nullptr || entry->Kind == ZTInt_call_Declared)
        return Error_Answer(call);
    // The two lists are kept from call to call, and so are their buffers.
    In.Reset(entry->Types_In, entry->In_Count);
    if (!In.Decode(call, texts))
        return Error_Answer(call);
    Out.Reset(entry->Types_Out, entry->Out_Count);
    Svr_Request request{client, *entry, In, Out};
    Out.Set_Number(0, Run(request));
    ZTInt_msg_struct* answer = Out.Encode_Reply(call, gather);
    if (answer != nullptr)
        return answer;
    // An answer that cannot be encoded is no answer: the caller gets an error message,
    // which has no texts.
    if (gather != nullptr)
        gather->Count = 0;
    return Error_Answer(call);
}

int32_t Svr_Dispatcher::Run(Svr_Request& request)
{
    const auto place = static_cast<std::size_t>(&request.Entry - ZTInt_Call_Table);
    if (place >= Handlers.size() || !Handlers[place])
        return Not_Supported(request);
    // No failure of the model or the store ends the server: each is the call's.
    int32_t status = -1;
    try {
        status = Handlers[place](request);
    } catch (const std::exception& failure) {
        status = Fail(request, std::string(request.Entry.Name) + ": " + failure.what());
    }
    Model.Finish_Request();
    return status;
}

int32_t Svr_Dispatcher::Fail(Svr_Request& request, const std::string& text)
{
    request.Client.Last_Error = text;
    return -1;
}

const Svr_Objects::Object* Svr_Dispatcher::Object_Argument(Svr_Request& request, int index)
{
    const Svr_Objects::Object* object = Objects.Find(request.In.Object(index), request.Client.Number);
    if (object == nullptr)
        Fail(request, std::string(request.Entry.Name) + ": the handle names no object of this client");
    return object;
}

// The out-list's second value is the new object's handle; its type is the row's.
int32_t Svr_Dispatcher::Return_New_Object(Svr_Request& request, std::string detail,
                                          std::shared_ptr<Svr_Payload> payload)
{
    request.Out.Set_Object(1, Objects.Make(request.Entry.Types_Out[1], request.Client.Number,
                                           std::move(detail), std::move(payload)));
    return 0;
}

int32_t Svr_Dispatcher::Not_Supported(Svr_Request& request)
{
    return Fail(request, std::string(request.Entry.Name) + ": not supported by this server");
}

int32_t Svr_Dispatcher::Shutdown_Call(Svr_Request&)
{
    Shutdown = true;
    return 0;
}

int32_t Svr_Dispatcher::Get_Error(Svr_Request& request)
{
    request.Out.Set_Text(1, request.Client.Last_Error.c_str());
    return 0;
}

int32_t Svr_Dispatcher::Set_Error(Svr_Request& request)
{
    request.Client.Last_Error = request.In.Text(0);
    return 0;
}

int32_t Svr_Dispatcher::Free_Object(Svr_Request& request)
{
    if (Object_Argument(request, 0) == nullptr)
        return -1;
    Objects.Release(request.In.Object(0), request.Client.Number);
    return 0;
}

int32_t Svr_Dispatcher::Duplicate_Object(Svr_Request& request)
{
    const Svr_Objects::Object* object = Object_Argument(request, 0);
    if (object == nullptr)
        return -1;
    return Return_New_Object(request, object->Detail, object->Payload);
}

int32_t Svr_Dispatcher::Build(Svr_Request& request)
{
    return Return_New_Object(request, "");
}

int32_t Svr_Dispatcher::Unbuild(Svr_Request& request)
{
    return Free_Object(request);
}

int32_t Svr_Dispatcher::Create_Product_Info(Svr_Request& request)
{
    if (Object_Argument(request, 0) == nullptr)
        return -1;
    return Return_New_Object(request, Version);
}

int32_t Svr_Dispatcher::Echo_String(Svr_Request& request)
{
    if (Object_Argument(request, 0) == nullptr)
        return -1;
    request.Out.Move_Text(1, request.In, 1);
    return 0;
}

// In-values: the entry object, client id, user, password, database, set, flags.
int32_t Svr_Dispatcher::Session_Logon(Svr_Request& request)
{
    if (Object_Argument(request, 0) == nullptr)
        return -1;
    const std::string user = request.In.Text(2);
    std::string refusal;
    std::shared_ptr<Svr_Payload> session = Svr_Session_Payload(
        Model.Logon({user, request.In.Text(3), request.In.Text(4), request.In.Text(5)}, refusal));
    if (session == nullptr)
        return Fail(request, refusal);
    return Return_New_Object(request, user + "@" + request.In.Text(4), std::move(session));
}

// In-values: the entry object, the session, flags. The session's handle stays valid
// until the client frees it, so that the client's Free of it succeeds and releases the
// client's entry too. A transaction the session left open is rolled back.
int32_t Svr_Dispatcher::Session_Logoff(Svr_Request& request)
{
    const Svr_Objects::Object* session = nullptr;
    if (Object_Argument(request, 0) == nullptr || (session = Object_Argument(request, 1)) == nullptr)
        return -1;
    if (const auto* payload = dynamic_cast<const Pl_Session*>(session->Payload.get()))
        payload->Session->Abandon_Transaction();
    return 0;
}

int32_t Svr_Dispatcher::Product_Version(Svr_Request& request)
{
    const Svr_Objects::Object* info = Object_Argument(request, 0);
    if (info == nullptr)
        return -1;
    request.Out.Set_Text(1, info->Detail.c_str());
    return 0;
}
