// The call frame against the test peer: every outcome of a call, as the caller of
// an exported function sees it (status, results, client error slot), through
// ZTZentrak_EchoString and ZTZentrak_Build.
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_client.h"

namespace {

constexpr int32_t kEchoString = 7187;  // ZTZentrak_EchoString: (handle, String) -> String
constexpr int32_t kBuild = 7172;       // ZTZentrak_Build: () -> Zentrak

ZTInt_obj_struct Zentrak_Record()
{
    return ZTInt_obj_struct{27, 0, 4711, 99};
}

// The exported calls, with the table's handles as the application holds them.
int32_t Echo(ZTInt_obj_struct* handle, char** result, const char* text)
{
    return ZTZentrak_EchoString(reinterpret_cast<ZTZentrak*>(handle), result, text);
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

    // Echoes "hello" and checks nothing came back but status.
    int32_t Echo_Hello(std::string* result = nullptr)
    {
        char* text = nullptr;
        const int32_t status = Echo(&handle, &text, "hello");
        if (result != nullptr) *result = text != nullptr ? text : "<null>";
        ZTInt_String_Free(text);
        return status;
    }

    ZTInt_Test_Peer peer;
    ZTInt_obj_struct handle = Zentrak_Record();
};

}  // namespace

TEST_F(Frame, SuccessDecodesTheResultAndKeepsAnEarlierText)
{
    ZTInt_Set_Client_Error("earlier failure");
    std::string result;
    EXPECT_EQ(Echo_Hello(&result), 0);
    EXPECT_EQ(result, "hello");
    EXPECT_EQ(Slot(), "earlier failure");

    const std::vector<ZTInt_Test_Call> calls = peer.Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].Header.Type, ZTInt_msg_type_Call);
    EXPECT_EQ(calls[0].Header.Procedure, kEchoString);
    EXPECT_EQ(calls[0].Header.Sequence, 1);
    EXPECT_EQ(calls[0].Header.Pid, static_cast<int32_t>(getpid()));
    EXPECT_EQ(calls[0].Header.Param_Count, 2);
    ASSERT_EQ(calls[0].Params.size(), 2u);
    EXPECT_EQ(std::memcmp(&calls[0].Params[0].Object, &handle, sizeof handle), 0);
    EXPECT_EQ(calls[0].Params[1].Text, "hello");
}

TEST_F(Frame, ServerFailureStatusComesBackWithItsResults)
{
    peer.Set_Responder([](const ZTInt_Test_Call&, std::vector<ZTInt_Test_Value>& results) {
        results[0].Word = -2;
        results[1].Text = "partial";
    });
    ZTInt_Set_Client_Error("kept");
    std::string result;
    EXPECT_EQ(Echo_Hello(&result), -2);
    EXPECT_EQ(result, "partial");
    EXPECT_EQ(Slot(), "kept");
}

TEST_F(Frame, ErrorMessageGivesNilResultsAndEmptiesTheSlot)
{
    ZTInt_Set_Client_Error("old text");
    peer.Set_Fault(ZTInt_Test_Fault::Error_Message);
    std::string result;
    EXPECT_EQ(Echo_Hello(&result), -1);
    EXPECT_EQ(result, "<null>");
    EXPECT_EQ(Slot(), "<empty>");
}

TEST_F(Frame, MalformedRepliesFailWithTheCheckOrDecoderText)
{
    struct Case {
        ZTInt_Test_Fault Fault;
        const char* Text;
    } cases[] = {
        {ZTInt_Test_Fault::Missing_Parameter,
         "ztintsvr RPC protocol error: ztintsvr RPC parameter count mismatch: got 1, expected 2"},
        {ZTInt_Test_Fault::Extra_Parameter,
         "ztintsvr RPC protocol error: ztintsvr RPC parameter count mismatch: got 3, expected 2"},
        {ZTInt_Test_Fault::Wrong_Tag,
         "ztintsvr RPC protocol error: ztintsvr RPC type mismatch (expected ZTInt_String, got "
         "int)"},
        {ZTInt_Test_Fault::Wrong_Sequence,  // the fourth call
         "ztintsvr RPC protocol error: ztintsvr RPC sequence mismatch: got 3, expected 4"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.Text);
        peer.Set_Fault(c.Fault);
        std::string result;
        EXPECT_EQ(Echo_Hello(&result), -1);
        EXPECT_EQ(result, "<null>");
        EXPECT_EQ(Slot(), c.Text);
    }
    // Each of them consumed its whole reply: the stream is still in step.
    EXPECT_EQ(Echo_Hello(), 0);
}

// Replies that break off or break the framing, each from a peer of its own.
TEST(FrameBroken, BrokenRepliesAreProtocolErrors)
{
    const struct {
        ZTInt_Test_Fault Fault;
        const char* Text;
    } cases[] = {
        {ZTInt_Test_Fault::Bad_Framing,
         "ztintsvr RPC protocol error: ztintsvr RPC message has invalid framing word (1): got "
         "0x12345678, expected 0xdeadbeef"},
        {ZTInt_Test_Fault::Split_Header, "ztintsvr RPC protocol error: incomplete data"},
        {ZTInt_Test_Fault::Close_Without_Reply, "ztintsvr RPC protocol error: no data"},
        {ZTInt_Test_Fault::Close_Mid_Message, "ztintsvr RPC protocol error: incomplete data"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Text);
        ZTInt_Test_Peer peer;
        peer.Install();
        peer.Set_Fault(c.Fault);
        ZTInt_obj_struct handle = Zentrak_Record();
        char* text = nullptr;
        EXPECT_EQ(Echo(&handle, &text, "hello"), -1);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(Slot(), c.Text);
    }
    // The connection stays as it was: the next call fails on the same socket, and the
    // write to a peer that is gone must not kill the process with SIGPIPE.
    ZTInt_Test_Peer peer;
    peer.Install();
    peer.Set_Fault(ZTInt_Test_Fault::Close_Mid_Message);
    ZTInt_obj_struct handle = Zentrak_Record();
    char* text = nullptr;
    EXPECT_EQ(Echo(&handle, &text, "hello"), -1);
    EXPECT_EQ(Echo(&handle, &text, "hello"), -1);
    EXPECT_NE(Slot().find("ztintsvr RPC protocol error: "), std::string::npos);
    EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Ready);
}

TEST_F(Frame, WriteToAGonePeerCarriesTheSystemText)
{
    shutdown(peer.Far_File(), SHUT_RDWR);
    EXPECT_EQ(Echo_Hello(), -1);
    const std::string text = Slot();
    EXPECT_EQ(text.rfind("ztintsvr RPC protocol error: ", 0), 0u) << text;
    EXPECT_NE(text.find("Broken pipe"), std::string::npos) << text;
}

TEST_F(Frame, ObjectResultsBecomeHandlesThatGoBackVerbatim)
{
    const ZTInt_obj_struct record{27, 3, 123456, 4242};
    peer.Set_Responder([&](const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results) {
        if (call.Header.Procedure == kBuild) results[1].Object = record;
    });
    ZTInt_obj_struct* built = nullptr;
    ASSERT_EQ(Build(&built), 0);
    ASSERT_NE(built, nullptr);
    EXPECT_EQ(std::memcmp(built, &record, sizeof record), 0);
    EXPECT_NE(ZTInt_obj_Index(built), 0);

    char* text = nullptr;
    ASSERT_EQ(Echo(built, &text, "x"), 0);
    ZTInt_String_Free(text);
    const std::vector<ZTInt_Test_Call> calls = peer.Calls();
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].Header.Param_Count, 0);
    EXPECT_EQ(std::memcmp(&calls[1].Params[0].Object, &record, sizeof record), 0);
    ZTInt_obj_Free(built);
}

TEST_F(Frame, NilObjectResultIsANullHandleWithStatusZero)
{
    ZTInt_obj_struct* built = reinterpret_cast<ZTInt_obj_struct*>(1);
    EXPECT_EQ(Build(&built), 0);
    EXPECT_EQ(built, nullptr);
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

TEST(FrameWithoutServer, OpeningFailsOnceThenTheStateStaysError)
{
    std::string result = "untouched";
    char* text = reinterpret_cast<char*>(1);
    ZTInt_obj_struct handle = Zentrak_Record();
    EXPECT_EQ(Echo(&handle, &text, "hello"), -1);
    EXPECT_EQ(text, nullptr);
    const std::string first = Slot();
    EXPECT_NE(first, "<empty>");
    EXPECT_NE(first, "unable to open server connection");
    EXPECT_EQ(ZTInt_client_Connection_Record()->State, ZTInt_Connection_State_Error);

    EXPECT_EQ(Echo(&handle, &text, "hello"), -1);
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
    ZTInt_msg_Init_Call(call, 1, 1, 1025);
    int32_t status = 0;
    void* const out[] = {&status};
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_status};
    EXPECT_DEATH(ZTInt_do_Result(&connection, ZTInt_Set_Client_Error, call, 1025, 1, types, out),
                 "^\\*\\*\\* ztintsvr assertion failure: FALSE in ztint_call at line 162\n");
    EXPECT_DEATH(ZTInt_do_Result(nullptr, ZTInt_Set_Client_Error, call, 1025, 1, types, out),
                 "Connection != NULL in ztint_call at line 128");
    ZTInt_msg_Free(call);
}
