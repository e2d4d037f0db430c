#include "ztint_utils/ztint_message.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ztint_fresh_process.h"

#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_objects.h"
#include "ztint_opcodes.h"

namespace {

// Wire bytes built in host byte order from the values themselves.
struct Bytes {
    std::vector<char> data;
    template <typename T>
    Bytes& Put(T value)
    {
        const char* p = reinterpret_cast<const char*>(&value);
        data.insert(data.end(), p, p + sizeof value);
        return *this;
    }
    Bytes& Tag(int code) { return Put(static_cast<char>(code)); }
    Bytes& Text(const std::string& s) { data.insert(data.end(), s.begin(), s.end()); return *this; }
    Bytes& Header(uint16_t type, int32_t pid, int32_t sequence, int32_t procedure, int32_t count,
                  int32_t data_size)
    {
        return Put(uint32_t{0xDEADBEEF}).Put(type).Put(uint16_t{2}).Put(pid).Put(sequence)
            .Put(uint32_t{0x0BADBEEF}).Put(procedure).Put(count).Put(data_size);
    }
};

// A whole message: the header, whose data size is that of data, then data.
std::vector<char> Message(uint16_t type, int32_t pid, int32_t sequence, int32_t procedure,
                          int32_t count, const Bytes& data = {})
{
    Bytes wire;
    wire.Header(type, pid, sequence, procedure, count, static_cast<int32_t>(data.data.size()));
    wire.data.insert(wire.data.end(), data.data.begin(), data.data.end());
    return wire.data;
}

std::vector<char> Wire_Of(const ZTInt_msg_struct* msg)
{
    const char* p = reinterpret_cast<const char*>(msg);
    return std::vector<char>(p, p + ZTInt_msg_Full_Size(msg));
}

// A received message: the header through ZTInt_msg_Alloc, then the data, as the transport does.
ZTInt_msg_struct* Receive(const std::vector<char>& wire)
{
    ZTInt_msg_struct header;
    std::memcpy(&header, wire.data(), sizeof header);
    ZTInt_msg_struct* msg = ZTInt_msg_Alloc(&header);
    std::memcpy(ZTInt_msg_Data_Addr(msg), wire.data() + sizeof header, wire.size() - sizeof header);
    return msg;
}

std::string Take(char* text)
{
    std::string result = text ? text : "(null)";
    ZTInt_String_Free(text);
    return result;
}

ZTInt_msg_struct Valid_Header()
{
    ZTInt_msg_struct msg{};
    ZTInt_msg_Init_Call(&msg, 1234, 7, ZTInt_op_ZTInt_GetError);
    return msg;
}

using Outcome = std::pair<int, std::string>;

// The result of either form of ZTInt_msg_Check, with its error text.
template <typename... Expected>
Outcome Check(const ZTInt_msg_struct* msg, Expected... expected)
{
    char* error = reinterpret_cast<char*>(1);  // must be overwritten
    const int result = ZTInt_msg_Check(&error, msg, expected...);
    return {result, Take(error)};
}

const ZTInt_rpc_type kStatusStringTypes[] = {ZTInt_rpc_type_status, ZTInt_rpc_type_String};

}  // namespace

TEST(Message, CallWithNoParametersMatchesTheWireAndImage)
{
    ZTInt_msg_struct* msg = nullptr;
    char* error = nullptr;
    ASSERT_EQ(ZTInt_msg_Encode(&msg, &error, 0, nullptr, nullptr), 0);
    ASSERT_EQ(error, nullptr);
    ZTInt_msg_Init_Call(msg, 1234, 7, ZTInt_op_ZTInt_GetError);

    EXPECT_EQ(Wire_Of(msg), Message(3, 1234, 7, ZTInt_op_ZTInt_GetError, 0));
    EXPECT_EQ(ZTInt_msg_Full_Size(msg), 32);
    EXPECT_EQ(ZTInt_msg_Alloc_Size(msg), 36);
    EXPECT_GE(ZTInt_msg_buffer_Slot(ZTInt_msg_buffer_Slot_Of(msg))->Size, 36);
    EXPECT_EQ(Take(ZTInt_msg_Image(msg, 1)),
              "Call, ver 2, PID 1234, seq 7, ZTInt_Utilities_1 (1025), 0 params, 0 bytes, ()");
    EXPECT_EQ(Take(ZTInt_msg_Image(msg, 0)),
              "Call, ver 2, PID 1234, seq 7\n  ZTInt_Utilities_1 (1025), 0 params, 0 bytes, ()");
    testing::internal::CaptureStdout();
    ZTInt_msg_Debug_Show(msg);
    char address[32];
    std::snprintf(address, sizeof address, "%p", static_cast<void*>(msg));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              std::string("ZTInt_msg_t @ ") + address +
                  "\n  Call, ver 2, PID 1234, seq 7\n  ZTInt_Utilities_1 (1025), 0 params, 0 bytes, ()\n");
    ZTInt_msg_Free(msg);
}

TEST(Message, ReplyWithStatusAndStringMatchesTheWireAndDecodes)
{
    ZTInt_msg_struct call = Valid_Header();
    int32_t status = 0;
    char* text = const_cast<char*>("abc");
    const void* values[] = {&status, &text};
    ZTInt_msg_struct* reply = nullptr;
    char* error = nullptr;
    ASSERT_EQ(ZTInt_msg_Encode_Reply(&call, &reply, &error, 2, kStatusStringTypes, values), 1);
    ASSERT_EQ(error, nullptr);

    const std::vector<char> expected =
        Message(5, 1234, 7, ZTInt_op_ZTInt_GetError, 2, Bytes().Tag(1).Put(int32_t{0}).Tag(5).Put(int32_t{3}).Text("abc"));
    EXPECT_EQ(Wire_Of(reply), expected);
    EXPECT_EQ(Take(ZTInt_msg_Image(reply, 1)),
              "Rply, ver 2, PID 1234, seq 7, ZTInt_Utilities_1 (1025), 2 params, 13 bytes, (OK, \"abc\")");

    ZTInt_msg_struct* received = Receive(expected);
    EXPECT_EQ(Check(received, 7, ZTInt_op_ZTInt_GetError, 2), Outcome(0, "(null)"));
    int32_t got_status = -9;
    char* got_text = nullptr;
    void* outs[] = {&got_status, &got_text};
    EXPECT_EQ(ZTInt_msg_Decode_Reply(received, &error, 2, kStatusStringTypes, outs), 1);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(got_status, 0);
    EXPECT_STREQ(got_text, "abc");
    ZTInt_String_Free(got_text);
    ZTInt_msg_Free(received);
    ZTInt_msg_Free(reply);
}

TEST(Message, InitKeepsCountsAndAnErrorMessageAnswersTheCall)
{
    ZTInt_msg_struct msg{};
    msg.Pid = 11;
    msg.Sequence = 9;
    msg.Param_Count = 3;
    msg.Data_Size = 40;
    ZTInt_msg_Init(&msg);
    EXPECT_EQ(std::memcmp(&msg, Bytes().Header(0, 11, 0, 0, 3, 40).data.data(), sizeof msg), 0);

    ZTInt_msg_struct call = Valid_Header();
    ZTInt_msg_struct* error_msg = nullptr;
    ZTInt_msg_Encode_Error(&call, &error_msg);
    EXPECT_EQ(Wire_Of(error_msg), Message(7, 1234, 7, ZTInt_op_ZTInt_GetError, 0));
    ZTInt_msg_Free(error_msg);
}

// The tests run in order: framing, type, version, then what the call expects.
TEST(MessageCheck, RunsTheTestsInOrderWithExactTexts)
{
    EXPECT_EQ(Check(nullptr), Outcome(-1, "ZTIntSvr RPC message pointer is null"));
    ZTInt_msg_struct msg{};
    EXPECT_EQ(Check(&msg), Outcome(-1, "ztintsvr RPC message has invalid framing word (1): got 0, "
                                       "expected 0xdeadbeef"));
    msg = Valid_Header();
    msg.Framing_2 = 0x12345678;
    msg.Type = 1;
    msg.Version = 3;
    EXPECT_EQ(Check(&msg), Outcome(-1, "ztintsvr RPC message has invalid framing word (2): got "
                                       "0x12345678, expected 0xbadbeef"));
    msg.Framing_2 = Valid_Header().Framing_2;
    EXPECT_EQ(Check(&msg), Outcome(-1, "ztintsvr RPC message has unknown type: 1"));
    msg.Type = 0;
    EXPECT_EQ(Check(&msg), Outcome(-1, "ztintsvr RPC protocol version mismatch: got 3, expected 2"));
    EXPECT_EQ(Check(&msg, 7, ZTInt_op_ZTInt_GetError, 0),
              Outcome(-1, "ztintsvr RPC protocol version mismatch: got 3, expected 2"));
    for (uint16_t type : {0, 3, 5, 7}) {
        msg = Valid_Header();
        msg.Type = type;
        EXPECT_EQ(Check(&msg), Outcome(0, "(null)")) << type;
    }

    msg.Param_Count = 2;
    EXPECT_EQ(Check(&msg, 0, 0, -1), Outcome(0, "(null)"));  // only framing, type and version
    EXPECT_EQ(Check(&msg, 7, ZTInt_op_ZTInt_GetError, 2), Outcome(0, "(null)"));
    EXPECT_EQ(Check(&msg, 8, ZTInt_op_ZTInt_GetError, 2), Outcome(-1, "ztintsvr RPC sequence mismatch: got 7, expected 8"));
    EXPECT_EQ(Check(&msg, 7, ZTInt_op_ZTInt_SetError, 2),
              Outcome(-1, "ztintsvr RPC procedure mismatch: got 1025, expected 1026"));
    EXPECT_EQ(Check(&msg, 7, ZTInt_op_ZTInt_GetError, 0),
              Outcome(-1, "ztintsvr RPC parameter count mismatch: got 2, expected 0"));
}

TEST(MessageCheck, DataSizeOutOfRangeIsRefusedWithSizeAndLimit)
{
    ZTInt_msg_struct msg = Valid_Header();
    char* error = reinterpret_cast<char*>(1);
    msg.Data_Size = ZTInt_msg_Max_Data_Size;
    EXPECT_EQ(ZTInt_msg_Check_Size(&error, &msg), 0);
    EXPECT_EQ(error, nullptr);
    for (int32_t size : {-4, ZTInt_msg_Max_Data_Size + 1}) {
        msg.Data_Size = size;
        EXPECT_EQ(ZTInt_msg_Check_Size(&error, &msg), -1);
        EXPECT_EQ(Take(error), "ztintsvr RPC message data size " + std::to_string(size) +
                                   " is out of range (0 to 67108864 bytes)");
    }

    // Decoding refuses it too, and leaves the first value nil rather than untouched.
    int32_t status = 5;
    char* s = reinterpret_cast<char*>(&status);
    void* outs[] = {&status, &s};
    msg.Data_Size = -1;
    EXPECT_EQ(ZTInt_msg_Decode_Reply(&msg, &error, 2, kStatusStringTypes, outs), 0);
    EXPECT_EQ(Take(error), "ztintsvr RPC message data size -1 is out of range (0 to 67108864 bytes)");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(s, nullptr);
}

TEST(MessageDecode, WrongTagMidReplyNilFillsTheRestAndKeepsStatus)
{
    Bytes data;
    data.Tag(1).Put(int32_t{-1}).Tag(2).Put(int32_t{44});
    data.Tag(2).Put(int32_t{0}).Tag(6).Put(int32_t{0});  // third should be a string
    ZTInt_msg_struct* reply = Receive(Message(5, 1, 1, 2048, 4, data));

    const ZTInt_rpc_type types[] = {1, 2, 5, 6};
    int32_t status = 9, number = 9;
    char dummy[] = "garbage";
    char* s = dummy;
    char** a = reinterpret_cast<char**>(dummy);
    void* outs[] = {&status, &number, &s, &a};
    char* error = nullptr;
    EXPECT_EQ(ZTInt_msg_Decode(reply, &error, 4, types, outs), 2);
    EXPECT_EQ(Take(error), "ztintsvr RPC type mismatch (expected ZTInt_String, got int)");

    s = dummy;
    a = reinterpret_cast<char**>(dummy);
    EXPECT_EQ(ZTInt_msg_Decode_Reply(reply, &error, 4, types, outs), 0);
    EXPECT_EQ(Take(error), "ztintsvr RPC type mismatch (expected ZTInt_String, got int)");
    EXPECT_EQ(status, -1);
    EXPECT_EQ(number, 44);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(a, nullptr);
    ZTInt_msg_Free(reply);
}

TEST(MessageDecode, PartialArrayOfAFailedReplyIsReleased)
{
    Bytes data;
    data.Tag(1).Put(int32_t{0}).Tag(6).Put(int32_t{2}).Put(int32_t{1}).Text("a").Put(int32_t{50}).Text("short");
    ZTInt_msg_struct* reply = Receive(Message(5, 1, 1, 2048, 2, data));
    const ZTInt_rpc_type types[] = {1, 6};
    int32_t status = 9;
    char** a = nullptr;
    void* outs[] = {&status, &a};
    char* error = nullptr;
    EXPECT_EQ(ZTInt_msg_Decode_Reply(reply, &error, 2, types, outs), 0);  // leak check in the sanitizer build
    EXPECT_EQ(Take(error), "ztintsvr decode: insufficent string data");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(a, nullptr);
    ZTInt_msg_Free(reply);
}

TEST(MessageDecode, ExcessDataFailsButKeepsDecodedValues)
{
    Bytes data;
    data.Tag(1).Put(int32_t{0}).Tag(5).Put(int32_t{3}).Text("abc").Tag(0);
    ZTInt_msg_struct* reply = Receive(Message(5, 1, 1, 2048, 2, data));
    int32_t status = 9;
    char* s = nullptr;
    void* outs[] = {&status, &s};
    char* error = nullptr;
    EXPECT_EQ(ZTInt_msg_Decode(reply, &error, 2, kStatusStringTypes, outs), -2);
    EXPECT_EQ(Take(error), "ztintsvr decode: excess data");
    ZTInt_String_Free(s);
    s = nullptr;
    EXPECT_EQ(ZTInt_msg_Decode_Reply(reply, &error, 2, kStatusStringTypes, outs), 0);
    EXPECT_EQ(Take(error), "ztintsvr decode: excess data");
    EXPECT_EQ(status, 0);
    EXPECT_STREQ(s, "abc");
    ZTInt_String_Free(s);

    // An empty list with data left over fails too, with a negative result.
    EXPECT_LT(ZTInt_msg_Decode(reply, &error, 0, nullptr, nullptr), 0);
    EXPECT_EQ(Take(error), "ztintsvr decode: excess data");
    ZTInt_msg_Free(reply);
}

TEST(MessageEncode, TooLargeAReplyBecomesAnErrorMessage)
{
    std::string big(static_cast<size_t>(ZTInt_msg_Max_Data_Size), 'x');
    char* text = big.data();
    int32_t status = 0;
    const void* values[] = {&status, &text};
    ZTInt_msg_struct call = Valid_Header();
    ZTInt_msg_struct* reply = nullptr;
    char* error = nullptr;
    EXPECT_EQ(ZTInt_msg_Encode_Reply(&call, &reply, &error, 2, kStatusStringTypes, values), 0);
    EXPECT_EQ(Take(error), "ztintsvr encode: data size 67108874 exceeds the limit of 67108864 bytes");
    ASSERT_NE(reply, nullptr);
    EXPECT_EQ(Wire_Of(reply), Message(7, 1234, 7, ZTInt_op_ZTInt_GetError, 0));
    ZTInt_msg_Free(reply);
}

TEST(MessageImage, ShowsEveryKindOfValue)
{
    ZTInt_obj_struct own{58, 0, 12, 1234};
    ZTInt_obj_struct foreign{33, 0, 5, 99};
    ZTInt_obj_struct nil{};
    ZTInt_obj_struct wrong{33, 0, 6, 1234};
    Bytes data;
    data.Tag(1).Put(int32_t{-3}).Tag(2).Put(int32_t{-17}).Tag(3).Put(int32_t{100000});
    data.Tag(4).Put(int32_t{2}).Tag(4).Put(int32_t{0}).Tag(1).Put(int32_t{12});
    data.Tag(6).Put(int32_t{2}).Put(int32_t{1}).Text("a").Put(int32_t{0});
    data.Tag(58).Put(own).Tag(33).Put(foreign).Tag(33).Put(nil).Tag(58).Put(wrong);
    data.Tag(9).Tag(1);  // an unknown tag ends the walk
    ZTInt_msg_struct* msg = Receive(Message(3, 1234, 3, 38 * 1024 + 17, 13, data));
    EXPECT_EQ(Take(ZTInt_msg_Image(msg, 1)),
              "Call, ver 2, PID 1234, seq 3, ZTSession_17 (38929), 13 params, 98 bytes, "
              "(RPC_FAIL, -17, 100000, TRUE, FALSE, , [2] {\"a\", \"\"}, ZTSession_12, "
              "ZTEntity_5_PID99, , ZTSession<>ZTEntity, unknown_rpc_type)");

    // Truncated data: the image says why it stopped; bad framing and type are shown.
    msg->Data_Size = 3;
    msg->Framing_2 = 0;
    msg->Type = 9;
    msg->Param_Count = 1;
    EXPECT_EQ(Take(ZTInt_msg_Image(msg, 1)),
              "type 9, ver 2, PID 1234, seq 3, BAD FRAMING: _1 = 0xdeadbeef, _2 = 0, ZTSession_17 "
              "(38929), 1 params, 3 bytes, (ztintsvr decode: insufficent data)");
    ZTInt_msg_Free(msg);
}

TEST(MessageClasses, ClassNumbersMapToTypeCodesAndNames)
{
    const std::pair<int32_t, ZTInt_rpc_type> codes[] = {{0, 20}, {43, 63}, {62, 82}, {63, 0},
                                                        {-1, 0}, {INT32_MAX, 0}};
    for (const auto& [cls, code] : codes)
        EXPECT_EQ(ZTInt_msg_Class_Rpc_Type(cls), code) << cls;
    const std::pair<int32_t, const char*> names[] = {{0, "ZTInt_Special"}, {1, "ZTInt_Utilities"},
        {2, "ZTAdminSession"}, {43, "ZTResultSet"}, {63, "unknown_rpc_type"}};
    for (const auto& [cls, name] : names)
        EXPECT_STREQ(ZTInt_msg_Class_Name_Of(cls), name) << cls;
}

TEST(MessageDeathTest, StatusAssertionsNameTheirSites)
{
    const ZTInt_rpc_type not_status[] = {ZTInt_rpc_type_int};
    int32_t value = 0;
    void* values[] = {&value};
    EXPECT_DEATH(ZTInt_msg_Set_Status(0, 0, not_status, values),
                 "^\\*\\*\\* ztintsvr assertion failure: Count > 0 in ztint_message at line 789\n$");
    EXPECT_DEATH(ZTInt_msg_Set_Status(0, 1, not_status, values),
                 "^\\*\\*\\* ztintsvr assertion failure: Types\\[0\\] == ZTInt_rpc_type_status in "
                 "ztint_message at line 790\n$");
    const ZTInt_rpc_type status[] = {ZTInt_rpc_type_status};
    ZTInt_msg_Set_Status(-2, 1, status, values);
    EXPECT_EQ(value, -2);
}

// ---- the buffer pool, which each test sees from an empty start in a fresh process

TEST(MessagePool, SmallestFittingFreeSlotWins)
{
    ZTInt_In_Fresh_Process([] {
        void* big = ZTInt_msg_buffer_Get(1000);
        EXPECT_EQ(ZTInt_msg_buffer_Slot(0)->Size, 1100);
        ZTInt_msg_buffer_Put(big);
        void* again = ZTInt_msg_buffer_Get(200);
        EXPECT_EQ(again, big);
        EXPECT_EQ(ZTInt_msg_buffer_Open_Slots(), 1);

        void* medium = ZTInt_msg_buffer_Get(300);  // slot 1, 400 bytes
        void* small = ZTInt_msg_buffer_Get(100);   // slot 2, 200 bytes
        ZTInt_msg_buffer_Put(again);
        ZTInt_msg_buffer_Put(medium);
        ZTInt_msg_buffer_Put(small);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(ZTInt_msg_buffer_Get(150)), 2);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(ZTInt_msg_buffer_Get(150)), 1);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(ZTInt_msg_buffer_Get(150)), 0);
        // Nothing free fits and slots remain: a new slot opens; the small free ones stay.
        ZTInt_msg_buffer_Put(small);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(ZTInt_msg_buffer_Get(500)), 3);
        EXPECT_EQ(ZTInt_msg_buffer_Slot(2)->Size, 200);
    });
}

// With all 16 slots open, the smallest free slot that is too small is enlarged, and
// with none free a buffer comes from the C heap.
TEST(MessagePool, WithAllSlotsOpenTheSmallestFreeIsEnlargedOrTheHeapServes)
{
    ZTInt_In_Fresh_Process([] {
        std::vector<void*> held;
        for (int i = 0; i < 16; ++i) {
            held.push_back(ZTInt_msg_buffer_Get(100 + i));
            EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(held.back()), i);
            EXPECT_EQ(ZTInt_msg_buffer_Slot(i)->Size, 200 + i);
        }
        void* extra = ZTInt_msg_buffer_Get(36);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(extra), -1);
        ZTInt_msg_buffer_Put(extra);  // back to the C heap: a leak or bad free shows in the sanitizer build
        for (int i : {9, 4, 12})
            ZTInt_msg_buffer_Put(held[i]);
        held[4] = ZTInt_msg_buffer_Get(5000);
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(held[4]), 4);
        EXPECT_EQ(ZTInt_msg_buffer_Slot(4)->Size, 5100);
        EXPECT_EQ(ZTInt_msg_buffer_Slot(9)->Size, 209);
        EXPECT_EQ(ZTInt_msg_buffer_Open_Slots(), 16);
        for (int i = 0; i < 16; ++i)
            if (i != 9 && i != 12) ZTInt_msg_buffer_Put(held[i]);
        for (int i = 0; i < 16; ++i)
            EXPECT_FALSE(ZTInt_msg_buffer_Slot(i)->In_Use) << i;

        // A held message that came from outside the pool goes back through ZTInt_msg_Free.
        std::vector<ZTInt_msg_struct*> messages;
        for (int i = 0; i < 17; ++i)
            messages.push_back(ZTInt_msg_New(0, nullptr, nullptr));
        EXPECT_EQ(ZTInt_msg_buffer_Slot_Of(messages.back()), -1);
        for (ZTInt_msg_struct* msg : messages)
            ZTInt_msg_Free(msg);
    });
}

TEST(MessagePool, SteadyCallsReuseTwoSlots)
{
    ZTInt_In_Fresh_Process([] {
        int32_t status = 0;
        char* text = const_cast<char*>("payload");
        const void* values[] = {&status, &text};
        for (int i = 0; i < 100; ++i) {
            ZTInt_msg_struct* call = nullptr;
            ZTInt_msg_struct* reply = nullptr;
            char* error = nullptr;
            ASSERT_EQ(ZTInt_msg_Encode(&call, &error, 2, kStatusStringTypes, values), 2);
            ASSERT_EQ(ZTInt_msg_Encode_Reply(call, &reply, &error, 2, kStatusStringTypes, values), 1);
            ZTInt_msg_Free(call);
            ZTInt_msg_Free(reply);
        }
        EXPECT_EQ(ZTInt_msg_buffer_Open_Slots(), 2);
    });
}
