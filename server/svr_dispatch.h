// Svr_Dispatcher: answers the calls of the server's clients. Every call in the table
// of remote calls gets a well-formed Reply of its row's out-list; a call outside the
// table, or one whose data don't decode by its row, gets an Error message. The calls
// the server implements have handlers here; every other call is refused with status
// -1 and the text "<exported name>: not supported by this server", which the client
// reads with ZTInt_GetError.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "server/svr_objects.h"
#include "server/model/mdl_store.h"
#include "server/svr_values.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_opcodes.h"
#include "ztint_utils/ztint_message.h"

// What the server keeps of one client between its calls.
struct Svr_Client_State {
    int Number = 0;          // the client's number in the server
    std::string Last_Error;  // text of the last failed call, for ZTInt_GetError
};

class Svr_Call;

// One call being answered: its row, the decoded in-values and the out-values to fill.
struct Svr_Request {
    Svr_Client_State& Client;
    const ZTInt_call_entry& Entry;
    Svr_Values& In;
    Svr_Values& Out;
};

class Svr_Dispatcher {
public:
    Svr_Dispatcher(Svr_Objects& objects, Mdl_Server& model, std::string version);

    // A handler of the tracking calls (server/calls/): it throws the failure text of
    // its call, which becomes status -1 and the client's error text.
    using Call_Handler = int32_t (*)(Svr_Call&);
    // Registers the handler of a call, named by its generated opcode constant.
    void Add(ZTInt_opcode opcode, Call_Handler handler);
    Svr_Objects& Object_Table() { return Objects; }

    // The answer to call, a new message the caller frees; never NULL. Not reentrant:
    // the values of one call are kept for the next.
    // texts tells where the call's texts are decoded to (see Svr_Values::Decode).
    // With gather, long texts of the answer are left to it (see Svr_Values::Encode_Reply).
    [[nodiscard]] ZTInt_msg_struct* Answer(Svr_Client_State& client, ZTInt_msg_struct* call,
                                           Svr_Texts texts = Svr_Texts::Copied,
                                           ZTInt_msg_gather* gather = nullptr);
    // True once a client has asked the server to shut down.
    bool Shutdown_Requested() const { return Shutdown; }
    // The client has gone: its objects go too.
    void Client_Gone(const Svr_Client_State& client) { Objects.Release_All(client.Number); }

private:
    using Handler = int32_t (Svr_Dispatcher::*)(Svr_Request&);

    // Registers the handler of a call, named by its generated opcode constant.
    void Add(ZTInt_opcode opcode, Handler handler);
    int32_t Run(Svr_Request& request);
    // The object of the handle at in-value index, or NULL with the failure text set.
    const Svr_Objects::Object* Object_Argument(Svr_Request& request, int index);
    int32_t Fail(Svr_Request& request, const std::string& text);
    int32_t Return_New_Object(Svr_Request& request, std::string detail,
                              std::shared_ptr<Svr_Payload> payload = nullptr);

    int32_t Not_Supported(Svr_Request& request);
    int32_t Shutdown_Call(Svr_Request& request);
    int32_t Get_Error(Svr_Request& request);
    int32_t Set_Error(Svr_Request& request);
    int32_t Free_Object(Svr_Request& request);
    int32_t Duplicate_Object(Svr_Request& request);
    int32_t Build(Svr_Request& request);
    int32_t Unbuild(Svr_Request& request);
    int32_t Create_Product_Info(Svr_Request& request);
    int32_t Echo_String(Svr_Request& request);
    int32_t Session_Logon(Svr_Request& request);
    int32_t Session_Logoff(Svr_Request& request);
    int32_t Product_Version(Svr_Request& request);

    Svr_Objects& Objects;
    Mdl_Server& Model;
    std::string Version;
    bool Shutdown = false;
    Svr_Values In;   // the values of the call being answered
    Svr_Values Out;  // and of its answer
    // By the call's place in the table of calls; empty where no handler was added.
    std::vector<std::function<int32_t(Svr_Request&)>> Handlers;
    std::function<int32_t(Svr_Request&)>& Handler_Of(ZTInt_opcode opcode);
};
