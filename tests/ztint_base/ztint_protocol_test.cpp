#include "ztint_base/ztint_protocol.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

namespace {

// Expected wire bytes, built in host byte order from the values themselves.
struct Bytes {
    std::vector<char> data;
    template <typename T>
    Bytes& Put(const T& value)
    {
        const char* p = reinterpret_cast<const char*>(&value);
        data.insert(data.end(), p, p + sizeof value);
        return *this;
    }
    Bytes& Tag(int code) { return Put(static_cast<char>(code)); }
    Bytes& Word(int32_t value) { return Put(value); }
    Bytes& Handle(const ZTInt_obj_struct& h) { return Put(h); }
    Bytes& Text(const std::string& s) { data.insert(data.end(), s.begin(), s.end()); return *this; }
};

// A message whose data area holds exactly the given bytes, with a cursor over it.
struct Wire {
    std::vector<char> storage;
    ZTInt_msg_info info{};

    explicit Wire(const std::vector<char>& data) : storage(sizeof(ZTInt_msg_struct) + data.size() + 8)
    {
        auto* msg = reinterpret_cast<ZTInt_msg_struct*>(storage.data());
        msg->Data_Size = static_cast<int32_t>(data.size());
        if (!data.empty())
            std::memcpy(ZTInt_msg_Data_Addr(msg), data.data(), data.size());
        ZTInt_msg_info_Init(&info, msg);
    }
    explicit Wire(size_t room) : Wire(std::vector<char>(room)) {}
    ~Wire() { ZTInt_String_Free(info.Error); }

    char* Data() { return ZTInt_msg_Data_Addr(info.Message); }
    std::vector<char> Written() { return std::vector<char>(Data(), info.Current); }
    std::string Error() const { return info.Error ? info.Error : "(none)"; }
};

ZTInt_obj_struct Handle(uint16_t type, uint32_t id, int32_t pid = 42)
{
    return ZTInt_obj_struct{type, 0, id, pid};
}

}  // namespace

TEST(RpcTypes, ValidityObjectRangeAndNames)
{
    for (ZTInt_rpc_type code : {1, 82})
        EXPECT_TRUE(ZTInt_rpc_type_Is_Valid(code)) << code;
    for (ZTInt_rpc_type code : {0, 83, -1})
        EXPECT_FALSE(ZTInt_rpc_type_Is_Valid(code)) << code;
    for (ZTInt_rpc_type code : {20, 82})
        EXPECT_TRUE(ZTInt_rpc_type_Is_Object(code)) << code;
    for (ZTInt_rpc_type code : {19, 83, -20})
        EXPECT_FALSE(ZTInt_rpc_type_Is_Object(code)) << code;

    const std::pair<ZTInt_rpc_type, const char*> names[] = {
        {0, "unknown_rpc_type"}, {1, "status"}, {6, "ZTInt_StringArray"}, {7, "unknown_rpc_type"},
        {20, "unknown_rpc_type"}, {21, "ZTInt_Utilities"}, {22, "ZTAdminSession"}, {33, "ZTEntity"},
        {58, "ZTSession"}, {63, "ZTResultSet"}, {73, "ZTFolders"}, {82, "ZTExporter"},
        {83, "unknown_rpc_type"}, {-128, "unknown_rpc_type"}};
    for (const auto& [code, name] : names)
        EXPECT_STREQ(ZTInt_rpc_type_Name_Of(code), name) << code;
}

TEST(RpcCodec, EncodesEachFormAsTagThenBytesInHostOrder)
{
    int32_t number = 5;
    char* text = const_cast<char*>("abc");
    char a[] = "a", bc[] = "bc";
    char* array[] = {a, bc, nullptr};
    char** array_ptr = array;
    ZTInt_obj_struct handle = Handle(58, 9);

    Wire wire(64);
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, ZTInt_rpc_type_int, &number));
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, ZTInt_rpc_type_String, &text));
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, ZTInt_rpc_type_StringArray, &array_ptr));
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, 58, &handle));

    Bytes expected;
    expected.Tag(2).Word(5);
    expected.Tag(5).Word(3).Text("abc");
    expected.Tag(6).Word(2).Word(1).Text("a").Word(2).Text("bc");
    expected.Tag(58).Handle(handle);
    EXPECT_EQ(wire.Written(), expected.data);
    EXPECT_EQ(ZTInt_rpc_Get_Length(ZTInt_rpc_type_int, &number), 5);
    EXPECT_EQ(ZTInt_rpc_Get_Length(ZTInt_rpc_type_String, &text), 8);
    EXPECT_EQ(ZTInt_rpc_Get_Length(ZTInt_rpc_type_StringArray, &array_ptr), 16);
    EXPECT_EQ(ZTInt_rpc_Get_Length(58, nullptr), 13);
    EXPECT_EQ(ZTInt_rpc_StringArray_sizeof(array), 15);
    EXPECT_EQ(ZTInt_rpc_String_sizeof("abc"), 7);
    EXPECT_EQ(ZTInt_rpc_object_sizeof() + ZTInt_rpc_type_sizeof(), 13);
}

// The array comes last, so that its last string ends exactly at the end of the data.
TEST(RpcCodec, DecodesWhatWasEncodedAndOwnsTheCopies)
{
    Bytes wire_bytes;
    ZTInt_obj_struct handle = Handle(33, 77);
    wire_bytes.Tag(1).Word(-3).Tag(4).Word(1).Tag(5).Word(2).Text("hi").Tag(33).Handle(handle);
    wire_bytes.Tag(58).Handle(ZTInt_obj_struct{});
    wire_bytes.Tag(6).Word(3).Word(0).Word(1).Text("x").Word(3).Text("yz!");
    Wire wire(wire_bytes.data);

    int32_t status = 0, flag = 0;
    char* s = nullptr;
    char** a = nullptr;
    ZTInt_obj_struct out{}, nil = Handle(1, 1);
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_status, &status));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_BOOL, &flag));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_String, &s));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, 33, &out));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, 58, &nil));  // the nil handle fits any class
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_StringArray, &a));
    EXPECT_EQ(ZTInt_msg_Available(&wire.info), 0);
    EXPECT_EQ(status, -3);
    EXPECT_EQ(flag, 1);
    EXPECT_STREQ(s, "hi");
    EXPECT_EQ(std::memcmp(&out, &handle, sizeof out), 0);
    EXPECT_EQ(nil.Type, 0);
    EXPECT_EQ(nil.Id, 0u);
    ASSERT_EQ(ZTInt_StringArray_Size(a), 3);
    EXPECT_STREQ(a[0], "");
    EXPECT_STREQ(a[1], "x");
    EXPECT_STREQ(a[2], "yz!");
    ZTInt_String_Free(s);
    ZTInt_StringArray_Free(a);
}

// Null pointers go out as the empty values and the nil handle; the empty values come back
// as heap values, not NULL.
TEST(RpcCodec, EmptyAndNullValuesRoundTripToHeapValues)
{
    char* empty = const_cast<char*>("");
    char* none[] = {nullptr};
    char** none_ptr = none;
    char* no_string = nullptr;
    char** no_array = nullptr;
    Wire out(64);
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_String, &empty));
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_StringArray, &none_ptr));
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_String, &no_string));
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_StringArray, &no_array));
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, 33, nullptr));
    Bytes expected;
    expected.Tag(5).Word(0).Tag(6).Word(0).Tag(5).Word(0).Tag(6).Word(0);
    expected.Tag(33).Handle(ZTInt_obj_struct{});
    ASSERT_EQ(out.Written(), expected.data);
    EXPECT_EQ(ZTInt_rpc_Get_Length(ZTInt_rpc_type_String, &no_string), 5);

    Wire in(expected.data);
    char* s = nullptr;
    char** a = nullptr;
    ASSERT_TRUE(ZTInt_rpc_Decode(&in.info, ZTInt_rpc_type_String, &s));
    ASSERT_TRUE(ZTInt_rpc_Decode(&in.info, ZTInt_rpc_type_StringArray, &a));
    ASSERT_NE(s, nullptr);
    EXPECT_STREQ(s, "");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(a[0], nullptr);
    ZTInt_String_Free(s);
    ZTInt_StringArray_Free(a);
}

TEST(RpcCodec, DecodeFailuresNameTheirCause)
{
    const ZTInt_obj_struct entity = Handle(33, 1), typeless = Handle(0, 5);
    const struct {
        Bytes bytes;
        ZTInt_rpc_type type;
        const char* error;
    } cases[] = {
        {Bytes().Tag(2).Word(1), ZTInt_rpc_type_String,
         "ztintsvr RPC type mismatch (expected ZTInt_String, got int)"},
        {Bytes().Tag(7).Word(1), 7, "ztintsvr RPC bad object type (unknown_rpc_type)"},
        // A tag byte is signed on the way back: 0xFF never matches a code.
        {Bytes().Tag(0xFF), 82, "ztintsvr RPC type mismatch (expected ZTExporter, got unknown_rpc_type)"},
        {Bytes().Tag(58).Handle(entity), 58,
         "ztintsvr RPC type mismatch (expected ZTSession, got ZTEntity)"},
        {Bytes().Tag(58).Handle(typeless), 58,
         "ztintsvr RPC type mismatch (expected ZTSession, got unknown_rpc_type)"},
        {Bytes(), ZTInt_rpc_type_int, "ztintsvr decode: insufficent data"},
        {Bytes().Tag(33).Word(0).Word(0), 33, "ztintsvr decode: insufficent data"},
        {Bytes().Tag(5).Word(4).Text("abc"), 5, "ztintsvr decode: insufficent string data"},
        {Bytes().Tag(5).Word(-1).Text("abc"), 5, "ztintsvr decode: negative string length (-1)"},
        {Bytes().Tag(6).Word(-5), 6, "ztintsvr decode: negative string array count (-5)"},
        // Two elements need at least 8 bytes; 7 are left. No allocation is tried.
        {Bytes().Tag(6).Word(2).Word(0).Text("abc"), 6,
         "ztintsvr decode: string array count 2 exceeds the 7 bytes left"},
        {Bytes().Tag(6).Word(INT32_MAX), 6,
         "ztintsvr decode: string array count 2147483647 exceeds the 0 bytes left"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.error);
        Wire wire(c.bytes.data);
        union {
            char* text;
            char** array;
            ZTInt_obj_struct object;
        } out;
        out.array = reinterpret_cast<char**>(&wire);  // a string array must be replaced by NULL
        EXPECT_FALSE(ZTInt_rpc_Decode(&wire.info, c.type, &out));
        EXPECT_EQ(wire.Error(), c.error);
        if (c.type == ZTInt_rpc_type_StringArray) {
            EXPECT_EQ(out.array, nullptr);
        } else if (c.type == ZTInt_rpc_type_String) {
            EXPECT_EQ(out.array, reinterpret_cast<char**>(&wire));
        }
    }

    // A short word fails without moving or reading past.
    Wire three(std::vector<char>{1, 2, 3});
    char* before = three.info.Current;
    int32_t value = 7;
    EXPECT_FALSE(ZTInt_rpc_int_Decode(&three.info, &value));
    EXPECT_EQ(three.info.Current, before);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(three.Error(), "ztintsvr decode: insufficent data");
}

TEST(RpcCodec, ArrayFailingMidwayIsLeftWellFormedForFree)
{
    Bytes bytes;
    bytes.Word(3).Word(1).Text("a").Word(100).Text("bcdefgh");  // second element too long
    Wire wire(bytes.data);
    char** a = nullptr;
    EXPECT_FALSE(ZTInt_rpc_StringArray_Decode(&wire.info, &a));
    EXPECT_EQ(wire.Error(), "ztintsvr decode: insufficent string data");
    ASSERT_NE(a, nullptr);
    EXPECT_STREQ(a[0], "a");
    EXPECT_EQ(a[1], nullptr);
    EXPECT_EQ(a[2], nullptr);
    EXPECT_EQ(a[3], nullptr);
    ZTInt_StringArray_Free(a);  // the sanitizer build catches a wild free or a leak
}

TEST(RpcCodec, EncoderOverflowTexts)
{
    int32_t number = 1;
    const char* text = "abcdef";
    ZTInt_obj_struct handle = Handle(33, 1);
    const struct {
        size_t room;
        ZTInt_rpc_type type;
        const void* value;
        const char* error;
    } cases[] = {
        {0, ZTInt_rpc_type_int, &number, "ztintsvr encode: buffer overflow"},
        {3, ZTInt_rpc_type_LONG, &number, "ztintsvr encode: buffer overflow"},
        {9, ZTInt_rpc_type_String, &text, "ztintsvr encode: string buffer overflow"},  // the length fits
        {12, 33, &handle, "ztintsvr encode: buffer overflow"},
        {16, 9, &number, "ztintsvr RPC bad object type (unknown_rpc_type)"},
    };
    for (const auto& c : cases) {
        Wire wire(c.room);
        EXPECT_FALSE(ZTInt_rpc_Encode(&wire.info, c.type, c.value)) << c.type;
        EXPECT_EQ(wire.Error(), c.error) << c.type;
    }
}

TEST(RpcCodecDeathTest, LengthOfAnUnknownTypeIsFatalAtItsOwnSite)
{
    EXPECT_DEATH(ZTInt_rpc_Get_Length(7, nullptr),
                 "^\\*\\*\\* ztintsvr assertion failure: ZTInt_rpc_type_Is_Object \\(Type\\) in "
                 "ztint_protocol at line 127\n$");
    int32_t word;
    EXPECT_DEATH(ZTInt_rpc_Nil(0, &word), "ztintsvr assertion failure: ZTInt_rpc_type_Is_Object");
}
