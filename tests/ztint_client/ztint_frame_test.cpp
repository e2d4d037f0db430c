// The call frame against the test peer: every outcome of a call, as the caller of
// an exported function sees it (status, results, client error slot), through
// ZTZentrak_EchoString and ZTZentrak_Build.
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/host/hst_switches.h"
#include "tests/support/ztint_temp_dir.h"
#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_client.h"
#include "ztint_opcodes.h"
#include "ztint_utils/ztint_objects.h"

namespace {

ZTInt_obj_struct Zentrak_Record()
{
    return ZTInt_obj_struct{27, 0, 4711, 99};
}

using Outcome = std::pair<int32_t, std::string>;

// ZTZentrak_EchoString of "hello" on a Zentrak handle: the status and the result.
Outcome Echo_Hello()
{
    const ZTInt_obj_struct record = Zentrak_Record();
    ZTInt_obj_struct* handle = ZTInt_obj_New(&record);
    char* text = reinterpret_cast<char*>(1);  // must be overwritten
    const int32_t status = ZTZentrak_EchoString(reinterpret_cast<ZTZentrak*>(handle), &text, "hello");
    Outcome outcome{status, text != nullptr ? text : "<null>"};
    ZTInt_String_Free(text);
    ZTInt_obj_Free(handle);
    return outcome;
}

int32_t Build(ZTInt_obj_struct** result)
{
    return ZTZentrak_Build(reinterpret_cast<ZTZentrak**>(result));
}

std::string Slot()
{
    char* text = nullptr;
    if (!ZTInt_Get_Client_Error(&text)) return "<empty>";
    std::string copy = text;
    ZTInt_String_Free(text);
    return copy;
}

class Frame : public ::testing::Test {
protected:
    void SetUp() override { peer.Install(); }
    ZTInt_Test_Peer peer;
};

}  // namespace

// A reply's status and results reach the caller; only an Error message empties the slot.
TEST_F(Frame, RepliesReachTheCallerAndOnlyAnErrorMessageEmptiesTheSlot)
{
    ZTInt_Set_Client_Error("earlier failure");
    EXPECT_EQ(Echo_Hello(), Outcome(0, "hello"));
    EXPECT_EQ(Slot(), "earlier failure");
    const std::vector<ZTInt_Test_Call> calls = peer.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].Header.Sequence, 1);  // the stub conformance test checks the rest

    peer.Set_Responder([](const ZTInt_Test_Call&, std::vector<ZTInt_Test_Value>& results) {
        results[0].Word = -2;
        results[1].Text = "partial";
    });
    EXPECT_EQ(Echo_Hello(), Outcome(-2, "partial"));
    EXPECT_EQ(Slot(), "earlier failure");

    peer.Set_Fault(ZTInt_Test_Fault::Error_Message);
    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    EXPECT_EQ(Slot(), "<empty>");
}

TEST_F(Frame, MalformedRepliesFailWithTheCheckOrDecoderText)
{
    const std::pair<ZTInt_Test_Fault, const char*> cases[] = {
        {ZTInt_Test_Fault::Missing_Parameter, "ztintsvr RPC parameter count mismatch: got 1, expected 2"},
        {ZTInt_Test_Fault::Extra_Parameter, "ztintsvr RPC parameter count mismatch: got 3, expected 2"},
        {ZTInt_Test_Fault::Wrong_Tag, "ztintsvr RPC type mismatch (expected ZTInt_String, got int)"},
        {ZTInt_Test_Fault::Wrong_Sequence, "ztintsvr RPC sequence mismatch: got 3, expected 4"},
    };
    for (const auto& [fault, text] : cases) {
        peer.Set_Fault(fault);
        EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>")) << text;
        EXPECT_EQ(Slot(), std::string("ztintsvr RPC protocol error: ") + text);
    }
    // Each of them consumed its whole reply: the stream is still in step.
    EXPECT_EQ(Echo_Hello(), Outcome(0, "hello"));
}

// Replies that break off or break the framing, each from a peer of its own.
TEST(FrameBroken, BrokenRepliesAreProtocolErrors)
{
    const std::pair<ZTInt_Test_Fault, const char*> cases[] = {
        {ZTInt_Test_Fault::Bad_Framing,
         "ztintsvr RPC message has invalid framing word (1): got 0x12345678, expected 0xdeadbeef"},
        {ZTInt_Test_Fault::Split_Header, "incomplete data"},
        {ZTInt_Test_Fault::Close_Without_Reply, "no data"},
        {ZTInt_Test_Fault::Close_Mid_Message, "incomplete data"},
    };
    for (const auto& [fault, text] : cases) {
        ZTInt_Test_Peer peer;
        peer.Install();
        peer.Set_Fault(fault);
        EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>")) << text;
        EXPECT_EQ(Slot(), std::string("ztintsvr RPC protocol error: ") + text);
        if (fault != ZTInt_Test_Fault::Close_Mid_Message) continue;
        // The connection stays as it was: the next call fails on the same socket, and the
        // write to a peer that is gone must not kill the process with SIGPIPE.
        EXPECT_EQ(Echo_Hello().first, -1);
        EXPECT_EQ(Slot().rfind("ztintsvr RPC protocol error: ", 0), 0u);
        EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Ready);
    }
}

TEST_F(Frame, WriteToAGonePeerCarriesTheSystemText)
{
    shutdown(peer.Far_File(), SHUT_RDWR);
    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    const std::string text = Slot();
    EXPECT_EQ(text.rfind("ztintsvr RPC protocol error: ", 0), 0u) << text;
    EXPECT_NE(text.find("Broken pipe"), std::string::npos) << text;
}

TEST_F(Frame, AFullHandleTableFailsTheCallAndTheProcessGoesOn)
{
    std::vector<ZTInt_obj_struct*> held;
    while (ZTInt_obj_struct* entry = ZTInt_obj_Alloc()) held.push_back(entry);
    EXPECT_EQ(held.size(), static_cast<std::size_t>(ZTInt_obj_Max_Entries));
    peer.Set_Responder([](const ZTInt_Test_Call&, std::vector<ZTInt_Test_Value>& results) {
        results[1].Object = Zentrak_Record();
    });
    ZTInt_obj_struct* built = nullptr;
    EXPECT_EQ(Build(&built), -1);
    EXPECT_EQ(built, nullptr);
    EXPECT_NE(Slot().find("handles is full"), std::string::npos);
    ZTInt_obj_Free(held.back());
    EXPECT_EQ(Build(&built), 0);
    EXPECT_EQ(built, held.back());
}

// Two threads on the one connection would interleave their messages and corrupt the
// heap; the second call is refused, with a text in its own thread, and the first goes on.
TEST_F(Frame, ACallWhileAnotherThreadsCallIsInFlightIsRefused)
{
    std::atomic<bool> answering{false};
    peer.Set_Responder([&](const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results) {
        answering = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        ZTInt_Test_Peer::Echo(call, results);
    });
    const ZTInt_obj_struct record = Zentrak_Record();
    auto* zentrak = reinterpret_cast<ZTZentrak*>(ZTInt_obj_New(&record));
    auto echo = [zentrak](const char* what) {
        char* text = nullptr;
        const int32_t status = ZTZentrak_EchoString(zentrak, &text, what);
        Outcome outcome{status, text != nullptr ? text : "<null>"};
        ZTInt_String_Free(text);
        return outcome;
    };
    Outcome first, second;
    std::string second_text;
    std::thread caller([&] { first = echo("first"); });
    while (!answering)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::thread other([&] {
        second = echo("second");
        second_text = Slot();
    });
    other.join();
    caller.join();
    EXPECT_EQ(first, Outcome(0, "first"));
    EXPECT_EQ(second, Outcome(-1, "<null>"));
    EXPECT_EQ(second_text,
              "ztint: a call was made while another thread's call was in flight; calls on the "
              "process's one connection must not overlap");
    EXPECT_EQ(peer.Call_Count(), 1u);
    peer.Set_Responder(ZTInt_Test_Peer::Echo);
    EXPECT_EQ(echo("third"), Outcome(0, "third"));
}

// An answer that stops coming fails the call once the bound for the rest of it has run
// out; a caller's bound for whole calls (ZT_CALL_TIMEOUT) ends the wait for an answer
// that never starts. Without it, that wait has no bound.
TEST_F(Frame, AnAnswerThatStallsOrNeverComesEndsWithinItsBound)
{
    const int saved = ZTInt_Message_Timeout_Milliseconds();
    ZTInt_Set_Message_Timeout_Milliseconds(200);
    peer.Set_Fault(ZTInt_Test_Fault::Stall_Mid_Message);
    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    EXPECT_EQ(Slot(), "ztintsvr RPC protocol error: the server sent 39 of the 47 bytes of its "
                      "answer and then nothing for 200 ms");
    ZTInt_Set_Message_Timeout_Milliseconds(saved);

    ZTInt_Test_Peer fresh;  // the stalled connection is out of step: a new peer
    fresh.Install();
    setenv("ZT_CALL_TIMEOUT", "1", 1);
    Hst_Switches::Clear_Cache();
    fresh.Set_Fault(ZTInt_Test_Fault::No_Reply);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    EXPECT_EQ(Slot(), "ztintsvr RPC protocol error: the server sent no answer within 1 second "
                      "(ZT_CALL_TIMEOUT)");
    unsetenv("ZT_CALL_TIMEOUT");
    Hst_Switches::Clear_Cache();
}

// A call too large to encode says so, and nothing goes on the wire.
TEST_F(Frame, ACallTooLargeToEncodeSaysWhy)
{
    const ZTInt_obj_struct record = Zentrak_Record();
    auto* zentrak = reinterpret_cast<ZTZentrak*>(ZTInt_obj_New(&record));
    const std::string huge(64 * 1024 * 1024, 'x');
    char* text = nullptr;
    EXPECT_EQ(ZTZentrak_EchoString(zentrak, &text, huge.c_str()), -1);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(Slot(), "ztintsvr RPC protocol error: ztintsvr encode: data size 67108882 exceeds "
                      "the limit of 67108864 bytes");
    EXPECT_EQ(peer.Call_Count(), 0u);
    ZTInt_obj_Free(reinterpret_cast<ZTInt_obj_struct*>(zentrak));
}

TEST(FrameWithoutServer, OpeningFailsOnceThenTheStateStaysError)
{
    // A pipe of its own, and a product home with no server to start: a server of the
    // user's own, or one installed in the default home, is never reached.
    const ZTInt_Temp_Dir home;
    setenv("ZT_HOME", home.Path.c_str(), 1);
    setenv("ZTT_USER", ("_frame_" + std::to_string(getpid())).c_str(), 1);
    Hst_Switches::Clear_Cache();
    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    const std::string first = Slot();
    EXPECT_NE(first, "<empty>");
    EXPECT_NE(first, "unable to open server connection");
    EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Error);

    EXPECT_EQ(Echo_Hello(), Outcome(-1, "<null>"));
    EXPECT_EQ(Slot(), "unable to open server connection");
}

TEST(FrameSlot, GetErrorOnAnEmptySlotLeavesTheTextAlone)
{
    ZTInt_Set_Client_Error(nullptr);
    char* text = reinterpret_cast<char*>(0x1234);
    EXPECT_EQ(ZTInt_Get_Client_Error(&text), 0);
    EXPECT_EQ(text, reinterpret_cast<char*>(0x1234));
    ZTInt_client_Unsupported("ZTInt_Session_GetObject");
    EXPECT_EQ(ZTInt_client_GetError(&text), 1);
    EXPECT_STREQ(text, "unsupported operation: ZTInt_Session_GetObject");
    ZTInt_String_Free(text);
    ZTInt_Set_Client_Error(nullptr);
    EXPECT_EQ(ZTInt_Get_Client_Error(&text), 0);
}

TEST(FrameDeath, ResultOfAMessageThatIsNeitherReplyNorErrorEndsTheProcess)
{
    ZTInt_Connection connection;
    ZTInt_Connection_Initialize(&connection);
    ZTInt_msg_struct* call = ZTInt_msg_New(0, nullptr, nullptr);
    ZTInt_msg_Init_Call(call, 1, 1, ZTInt_op_ZTInt_GetError);
    int32_t status = 0;
    void* const out[] = {&status};
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_status};
    EXPECT_DEATH(ZTInt_do_Result(&connection, ZTInt_Set_Client_Error, call, ZTInt_op_ZTInt_GetError, 1, types, out),
                 "^\\*\\*\\* ztintsvr assertion failure: FALSE in ztint_call at line 162\n");
    EXPECT_DEATH(ZTInt_do_Result(nullptr, ZTInt_Set_Client_Error, call, ZTInt_op_ZTInt_GetError, 1, types, out),
                 "Connection != NULL in ztint_call at line 128");
    ZTInt_msg_Free(call);
}
