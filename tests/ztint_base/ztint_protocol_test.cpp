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
    Bytes& Tag(int code) { data.push_back(static_cast<char>(code)); return *this; }
    Bytes& Word(int32_t value)
    {
        const char* p = reinterpret_cast<const char*>(&value);
        data.insert(data.end(), p, p + 4);
        return *this;
    }
    Bytes& Text(const std::string& s) { data.insert(data.end(), s.begin(), s.end()); return *this; }
    Bytes& Handle(const ZTInt_obj_struct& h)
    {
        const char* p = reinterpret_cast<const char*>(&h);
        data.insert(data.end(), p, p + sizeof h);
        return *this;
    }
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
    EXPECT_FALSE(ZTInt_rpc_type_Is_Valid(0));
    EXPECT_TRUE(ZTInt_rpc_type_Is_Valid(1));
    EXPECT_TRUE(ZTInt_rpc_type_Is_Valid(82));
    EXPECT_FALSE(ZTInt_rpc_type_Is_Valid(83));
    EXPECT_FALSE(ZTInt_rpc_type_Is_Valid(-1));
    EXPECT_FALSE(ZTInt_rpc_type_Is_Object(19));
    EXPECT_TRUE(ZTInt_rpc_type_Is_Object(20));
    EXPECT_TRUE(ZTInt_rpc_type_Is_Object(82));
    EXPECT_FALSE(ZTInt_rpc_type_Is_Object(83));
    EXPECT_FALSE(ZTInt_rpc_type_Is_Object(-20));

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

TEST(RpcCodec, DecodesWhatWasEncodedAndOwnsTheCopies)
{
    Bytes wire_bytes;
    ZTInt_obj_struct handle = Handle(33, 77);
    wire_bytes.Tag(1).Word(-3).Tag(4).Word(1).Tag(5).Word(2).Text("hi");
    wire_bytes.Tag(6).Word(3).Word(0).Word(1).Text("x").Word(3).Text("yz!").Tag(33).Handle(handle);
    Wire wire(wire_bytes.data);

    int32_t status = 0, flag = 0;
    char* s = nullptr;
    char** a = nullptr;
    ZTInt_obj_struct out{};
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_status, &status));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_BOOL, &flag));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_String, &s));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, ZTInt_rpc_type_StringArray, &a));
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, 33, &out));
    EXPECT_EQ(ZTInt_msg_Available(&wire.info), 0);
    EXPECT_EQ(status, -3);
    EXPECT_EQ(flag, 1);
    EXPECT_STREQ(s, "hi");
    ASSERT_EQ(ZTInt_StringArray_Size(a), 3);
    EXPECT_STREQ(a[0], "");
    EXPECT_STREQ(a[1], "x");
    EXPECT_STREQ(a[2], "yz!");
    EXPECT_EQ(std::memcmp(&out, &handle, sizeof out), 0);
    ZTInt_String_Free(s);
    ZTInt_StringArray_Free(a);
}

TEST(RpcCodec, EmptyStringAndEmptyArrayDecodeToHeapValuesNotNull)
{
    char* empty = const_cast<char*>("");
    char* none[] = {nullptr};
    char** none_ptr = none;
    Wire out(16);
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_String, &empty));
    ASSERT_TRUE(ZTInt_rpc_Encode(&out.info, ZTInt_rpc_type_StringArray, &none_ptr));
    Bytes expected;
    expected.Tag(5).Word(0).Tag(6).Word(0);
    ASSERT_EQ(out.Written(), expected.data);

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

TEST(RpcCodec, NullPointersEncodeAsEmptyValuesAndNilHandle)
{
    char* no_string = nullptr;
    char** no_array = nullptr;
    Wire wire(64);
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, ZTInt_rpc_type_String, &no_string));
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, ZTInt_rpc_type_StringArray, &no_array));
    ASSERT_TRUE(ZTInt_rpc_Encode(&wire.info, 33, nullptr));
    Bytes expected;
    expected.Tag(5).Word(0).Tag(6).Word(0).Tag(33).Handle(ZTInt_obj_struct{});
    EXPECT_EQ(wire.Written(), expected.data);
    EXPECT_EQ(ZTInt_rpc_Get_Length(ZTInt_rpc_type_String, &no_string), 5);
}

TEST(RpcCodec, ObjectTypeCheckAcceptsOwnClassAndNilOnly)
{
    ZTInt_obj_struct nil{};
    ZTInt_obj_struct entity = Handle(33, 1);
    ZTInt_obj_struct typeless = Handle(0, 5);
    Bytes bytes;
    bytes.Tag(58).Handle(nil).Tag(58).Handle(entity).Tag(58).Handle(typeless);
    Wire wire(bytes.data);

    ZTInt_obj_struct out = Handle(1, 1);
    ASSERT_TRUE(ZTInt_rpc_Decode(&wire.info, 58, &out));
    EXPECT_EQ(out.Type, 0);
    EXPECT_EQ(out.Id, 0u);

    EXPECT_FALSE(ZTInt_rpc_Decode(&wire.info, 58, &out));
    EXPECT_EQ(wire.Error(), "ztintsvr RPC type mismatch (expected ZTSession, got ZTEntity)");
    ZTInt_String_Free(wire.info.Error);
    wire.info.Error = nullptr;

    EXPECT_FALSE(ZTInt_rpc_Decode(&wire.info, 58, &out));
    EXPECT_EQ(wire.Error(), "ztintsvr RPC type mismatch (expected ZTSession, got unknown_rpc_type)");
}

TEST(RpcCodec, TagMismatchAndBadTypeTexts)
{
    Bytes bytes;
    bytes.Tag(2).Word(1);
    Wire mismatch(bytes.data);
    char* s = nullptr;
    EXPECT_FALSE(ZTInt_rpc_Decode(&mismatch.info, ZTInt_rpc_type_String, &s));
    EXPECT_EQ(mismatch.Error(), "ztintsvr RPC type mismatch (expected ZTInt_String, got int)");

    Bytes seven;
    seven.Tag(7).Word(1);
    Wire bad(seven.data);
    int32_t value;
    EXPECT_FALSE(ZTInt_rpc_Decode(&bad.info, 7, &value));
    EXPECT_EQ(bad.Error(), "ztintsvr RPC bad object type (unknown_rpc_type)");

    Wire out(16);
    EXPECT_FALSE(ZTInt_rpc_Encode(&out.info, 9, &value));
    EXPECT_EQ(out.Error(), "ztintsvr RPC bad object type (unknown_rpc_type)");

    // A tag byte is signed on the way back: 0xFF never matches a code.
    Bytes high;
    high.Tag(0xFF);
    Wire negative(high.data);
    EXPECT_FALSE(ZTInt_rpc_Decode(&negative.info, 82, &value));
    EXPECT_EQ(negative.Error(), "ztintsvr RPC type mismatch (expected ZTExporter, got unknown_rpc_type)");
}

TEST(RpcCodec, ShortDataFailsWithoutMovingOrReadingPast)
{
    Wire empty(std::vector<char>{});
    int32_t value = 7;
    EXPECT_FALSE(ZTInt_rpc_Decode(&empty.info, ZTInt_rpc_type_int, &value));
    EXPECT_EQ(empty.Error(), "ztintsvr decode: insufficent data");

    Wire three(std::vector<char>{1, 2, 3});
    char* before = three.info.Current;
    EXPECT_FALSE(ZTInt_rpc_int_Decode(&three.info, &value));
    EXPECT_EQ(three.info.Current, before);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(three.Error(), "ztintsvr decode: insufficent data");

    Bytes handle;
    handle.Tag(33).Word(0).Word(0);
    Wire short_handle(handle.data);
    ZTInt_obj_struct out{};
    EXPECT_FALSE(ZTInt_rpc_Decode(&short_handle.info, 33, &out));
    EXPECT_EQ(short_handle.Error(), "ztintsvr decode: insufficent data");
}

TEST(RpcCodec, StringLengthMustFitTheBytesLeft)
{
    Bytes exact;
    exact.Word(3).Text("abc");
    Wire fits(exact.data);
    char* s = nullptr;
    ASSERT_TRUE(ZTInt_rpc_String_Decode(&fits.info, &s));
    EXPECT_STREQ(s, "abc");
    ZTInt_String_Free(s);

    Bytes over;
    over.Word(4).Text("abc");
    Wire too_long(over.data);
    s = nullptr;
    EXPECT_FALSE(ZTInt_rpc_String_Decode(&too_long.info, &s));
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(too_long.Error(), "ztintsvr decode: insufficent string data");

    Bytes negative;
    negative.Word(-1).Text("abc");
    Wire bad(negative.data);
    EXPECT_FALSE(ZTInt_rpc_String_Decode(&bad.info, &s));
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(bad.Error(), "ztintsvr decode: negative string length (-1)");
}

TEST(RpcCodec, HostileArrayCountsFailBeforeAllocating)
{
    Bytes negative;
    negative.Word(-5);
    Wire bad(negative.data);
    char** a = reinterpret_cast<char**>(&negative);  // must be replaced by NULL
    EXPECT_FALSE(ZTInt_rpc_StringArray_Decode(&bad.info, &a));
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(bad.Error(), "ztintsvr decode: negative string array count (-5)");

    // Two elements need at least 8 bytes; 7 are left.
    Bytes huge;
    huge.Word(2).Word(0).Text("abc");
    Wire too_many(huge.data);
    EXPECT_FALSE(ZTInt_rpc_StringArray_Decode(&too_many.info, &a));
    EXPECT_EQ(a, nullptr);
    EXPECT_EQ(too_many.Error(), "ztintsvr decode: string array count 2 exceeds the 7 bytes left");

    Bytes max;
    max.Word(INT32_MAX);
    Wire absurd(max.data);
    EXPECT_FALSE(ZTInt_rpc_StringArray_Decode(&absurd.info, &a));
    EXPECT_EQ(a, nullptr);
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
    Wire no_room(std::vector<char>{});
    EXPECT_FALSE(ZTInt_rpc_Encode(&no_room.info, ZTInt_rpc_type_int, &number));
    EXPECT_EQ(no_room.Error(), "ztintsvr encode: buffer overflow");

    Wire short_word(3);
    EXPECT_FALSE(ZTInt_rpc_Encode(&short_word.info, ZTInt_rpc_type_LONG, &number));
    EXPECT_EQ(short_word.Error(), "ztintsvr encode: buffer overflow");

    // The length fits, the text does not.
    char* text = const_cast<char*>("abcdef");
    Wire short_text(8);
    EXPECT_FALSE(ZTInt_rpc_String_Encode(&short_text.info, text));
    EXPECT_EQ(short_text.Error(), "ztintsvr encode: string buffer overflow");

    ZTInt_obj_struct handle = Handle(33, 1);
    Wire short_handle(12);
    EXPECT_FALSE(ZTInt_rpc_Encode(&short_handle.info, 33, &handle));
    EXPECT_EQ(short_handle.Error(), "ztintsvr encode: buffer overflow");
}

TEST(RpcCodecDeathTest, LengthOfAnUnknownTypeIsFatalAtItsOwnSite)
{
    EXPECT_DEATH(ZTInt_rpc_Get_Length(7, nullptr),
                 "^\\*\\*\\* ztintsvr assertion failure: ZTInt_rpc_type_Is_Object \\(Type\\) in "
                 "ztint_protocol at line 127\n$");
    int32_t word;
    EXPECT_DEATH(ZTInt_rpc_Nil(0, &word), "ztintsvr assertion failure: ZTInt_rpc_type_Is_Object");
}
