// The calls that differ from the plain stub: the error calls, the guarded Free, the
// logon hook, and Unbuild, which leaves its handle alone.
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_logon.h"
#include "ztint_opcodes.h"

namespace {

constexpr int32_t kGetError = ZTInt_op_ZTInt_GetError;
constexpr int32_t kSetError = ZTInt_op_ZTInt_SetError;
constexpr int32_t kEntityFree = ZTInt_op_ZTInt_Entity_Free;

int opener_calls = 0;

// Stands for a host where no server can be reached.
int No_Server(ZTInt_Connection* connection, char** name, char** error, int)
{
    ++opener_calls;
    connection->State = ZTInt_Connection_State_Error;
    *name = nullptr;
    *error = ZTInt_String_New("no server here");
    return -1;
}

// The client as a new process has it: no error text, no connection, no opener calls.
void Start_Afresh()
{
    ZTInt_Set_Client_Error(nullptr);
    if (The_Connection != nullptr) {
        ZTInt_Close_Connection(The_Connection);
        std::free(The_Connection);
        The_Connection = nullptr;
    }
    opener_calls = 0;
}

template <typename Class>
Class* Handle_Of(ZTInt_rpc_type type, uint32_t id)
{
    const ZTInt_obj_struct record{static_cast<uint16_t>(type), 0, id, 77};
    return reinterpret_cast<Class*>(ZTInt_obj_New(&record));
}

ZTInt_obj_struct* Record_Of(void* handle)
{
    return static_cast<ZTInt_obj_struct*>(handle);
}

std::string Error_Text()
{
    char* text = nullptr;
    ZTInt_GetError(&text);
    std::string copy = text != nullptr ? text : "<null>";
    ZTInt_String_Free(text);
    return copy;
}

// An installed peer; by default it echoes.
struct Server : ZTInt_Test_Peer {
    explicit Server(Responder responder = Echo) : ZTInt_Test_Peer(std::move(responder)) { Install(); }
};

// Answers opcode with status, and with text if the row has a string result; echoes the rest.
ZTInt_Test_Peer::Responder Answer(int32_t opcode, int32_t status, const std::string& text = "")
{
    return [=](const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results) {
        ZTInt_Test_Peer::Echo(call, results);
        if (call.Header.Procedure != opcode) return;
        results[0].Word = status;
        if (results.size() > 1 && results[1].Type == ZTInt_rpc_type_String) results[1].Text = text;
    };
}

}  // namespace

TEST(ErrorCalls, GetErrorAsksTheServerWhenTheSlotIsEmpty)
{
    Start_Afresh();
    Server server(Answer(kGetError, 0, "the server's last error"));
    EXPECT_EQ(Error_Text(), "the server's last error");
    const auto calls = server.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].Header.Procedure, kGetError);
    EXPECT_EQ(calls[0].Header.Param_Count, 0);

    // A server that fails the call: no text, whatever the variable held.
    server.Set_Fault(ZTInt_Test_Fault::Error_Message);
    char* text = reinterpret_cast<char*>(&server);
    ZTInt_GetError(&text);
    EXPECT_EQ(text, nullptr);
}

TEST(ErrorCalls, SetErrorSendsTheTextAndDropsTheStatus)
{
    Server server(Answer(kSetError, -2));
    ZTInt_SetError("set by the client");
    const auto calls = server.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].Header.Procedure, kSetError);
    ASSERT_EQ(calls[0].Params.size(), 1u);
    EXPECT_EQ(calls[0].Params[0].Type, ZTInt_rpc_type_String);
    EXPECT_EQ(calls[0].Params[0].Text, "set by the client");
}

// With no server, GetError and SetError try the opener once and leave its reason in the slot.
TEST(ErrorCalls, WithNoServerTheReasonIsLeftForTheNextGetError)
{
    Start_Afresh();
    ZTInt_Set_Connection_Opener(No_Server);
    char* text = reinterpret_cast<char*>(&opener_calls);
    ZTInt_GetError(&text);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(opener_calls, 1);
    EXPECT_EQ(Error_Text(), "no server here");
    EXPECT_EQ(opener_calls, 1);

    Start_Afresh();
    ZTInt_SetError("nobody listens");
    EXPECT_EQ(opener_calls, 1);
    EXPECT_EQ(Error_Text(), "no server here");
}

TEST(GenericCalls, FreeOfANullHandleOpensNothingAndSendsNothing)
{
    Start_Afresh();
    ZTInt_Set_Connection_Opener(No_Server);
    EXPECT_EQ(ZTInt_Session_Free(nullptr), 0);
    EXPECT_EQ(opener_calls, 0);
    EXPECT_EQ(The_Connection, nullptr);

    Server server;
    EXPECT_EQ(ZTInt_Entity_Free(nullptr), 0);
    EXPECT_EQ(server.Call_Count(), 0u);
}

TEST(GenericCalls, FreeKeepsTheHandleUntilTheServerAgrees)
{
    ZTEntity* entity = Handle_Of<ZTEntity>(33, 501);
    const ZTInt_obj_struct record = *Record_Of(entity);
    {
        Server server(Answer(kEntityFree, -2));
        EXPECT_EQ(ZTInt_Entity_Free(entity), -2);
        EXPECT_EQ(std::memcmp(Record_Of(entity), &record, sizeof record), 0);

        // The connection goes down: -1, and the handle is still there.
        server.Set_Fault(ZTInt_Test_Fault::Close_Without_Reply);
        EXPECT_EQ(ZTInt_Entity_Free(entity), -1);
        EXPECT_EQ(std::memcmp(Record_Of(entity), &record, sizeof record), 0);
        EXPECT_EQ(ZTInt_Entity_Free(entity), -1);
    }
    // With a server again, the same handle goes out as it came and is released.
    Server server;
    EXPECT_EQ(ZTInt_Entity_Free(entity), 0);
    const auto calls = server.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(std::memcmp(&calls[0].Params[0].Object, &record, sizeof record), 0);
    EXPECT_EQ(Record_Of(entity)->Owner_Pid, -1);
}

// A handle that is NULL, never given out, freed or of another class, and a NULL result
// address, fail the call before the wire with a text of the call's own.
TEST(GenericCalls, MisusedHandlesAndResultAddressesAreRefusedWithTheirReason)
{
    Start_Afresh();
    Server server;
    ZTZentrak* zentrak = Handle_Of<ZTZentrak>(27, 1);
    ZTSession* session = Handle_Of<ZTSession>(58, 2);
    ZTEntity* entity = Handle_Of<ZTEntity>(33, 3);
    ZTInt_obj_struct junk{27, 0, 1, 77};
    EXPECT_EQ(ZTInt_Session_Free(session), 0);
    char* text = nullptr;
    const struct {
        int32_t status;
        const char* reason;
    } cases[] = {
        {ZTZentrak_EchoString(zentrak, nullptr, "x"),
         "ZTZentrak_EchoString: the result address is NULL"},
        {ZTZentrak_Build(nullptr), "ZTZentrak_Build: the result address is NULL"},
        {ZTZentrak_EchoString(nullptr, &text, "x"), "ZTZentrak_EchoString: the handle is NULL"},
        {ZTZentrak_EchoString(reinterpret_cast<ZTZentrak*>(&junk), &text, "x"),
         "ZTZentrak_EchoString: the handle is not a handle this library gave out"},
        {ZTZentrak_EchoString(reinterpret_cast<ZTZentrak*>(entity), &text, "x"),
         "ZTZentrak_EchoString: the handle is a ZTEntity handle, not a ZTZentrak handle"},
        {ZTZentrak_SessionLogoff(zentrak, session, 0),
         "ZTZentrak_SessionLogoff: the session handle has been freed"},
        {ZTInt_Session_Free(session), "ZTInt_Session_Free: the handle has been freed"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.status, -1) << c.reason;
    }
    // Each text was the one of its call when it failed; the last one is still there.
    EXPECT_EQ(Error_Text(), cases[6].reason);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(server.Call_Count(), 1u);  // only the first Free went out
    ZTZentrak_EchoString(zentrak, nullptr, "x");
    EXPECT_EQ(Error_Text(), cases[0].reason);
}

// A second free of a handle the server acknowledges twice links the entry into the
// free list once: the next two handles are two different entries.
TEST(GenericCalls, ASecondFreeDoesNotCorruptTheTable)
{
    Start_Afresh();
    Server server;
    ZTEntity* entity = Handle_Of<ZTEntity>(33, 4);
    EXPECT_EQ(ZTInt_Entity_Free(entity), 0);
    EXPECT_EQ(ZTInt_Entity_Free(entity), -1);
    ZTInt_obj_Free(Record_Of(entity));
    ZTEntity* first = Handle_Of<ZTEntity>(33, 5);
    ZTEntity* second = Handle_Of<ZTEntity>(33, 6);
    EXPECT_EQ(first, entity);
    EXPECT_NE(second, first);
}

TEST(GenericCalls, UnbuildLeavesTheLocalHandle)
{
    Server server;
    ZTZentrak* zentrak = Handle_Of<ZTZentrak>(27, 9);
    EXPECT_EQ(ZTZentrak_Unbuild(zentrak), 0);
    EXPECT_EQ(Record_Of(zentrak)->Owner_Pid, 77);
    EXPECT_EQ(ZTInt_Zentrak_Free(zentrak), 0);
    EXPECT_EQ(Record_Of(zentrak)->Owner_Pid, -1);
    EXPECT_EQ(server.Call_Count(), 2u);
}

// The logon goes on the wire once, with the direct flags added unless they were all there.
// (The stub conformance test checks the other parameters and the result.)
TEST(Logon, EveryLogonIsOneWireCallWithTheDirectFlags)
{
    Server server;
    ZTZentrak* zentrak = Handle_Of<ZTZentrak>(27, 3);
    const struct {
        ZTInt_LONG given;
        ZTInt_LONG sent;
    } cases[] = {{0, 14}, {2, 14}, {8 | 16, 30}, {14, 14}, {14 | 16, 30}, {-1, -1}};
    size_t calls = 0;
    for (const auto& c : cases) {
        ZTSession* session = nullptr;
        EXPECT_EQ(ZTZentrak_SessionLogon(zentrak, &session, "client", "user", "secret", "db",
                                         "master", c.given), 0);
        const auto received = server.Calls();
        ASSERT_EQ(received.size(), ++calls) << c.given;
        ASSERT_EQ(received.back().Params.size(), 7u);
        EXPECT_EQ(received.back().Params[6].Word, c.sent) << c.given;
    }
}

TEST(Logon, TheHookLeavesADirectLogonToTheCaller)
{
    Server server;
    int32_t status = 99;
    ZTSession* session = nullptr;
    EXPECT_EQ(ZTInt_client_SessionLogon(&status, nullptr, &session, "", "", "", "", "", 14), 0);
    EXPECT_EQ(status, 99);
    EXPECT_EQ(server.Call_Count(), 0u);
}
