#include "ztint_base/ztint_protocol.h"

#include <cstring>

#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

namespace {

const char kUnknownType[] = "unknown_rpc_type";

// Names by type code; codes without a name are NULL and read as "unknown_rpc_type".
// Object codes are class number + 20; code 20 lies in the object range but has no class.
// The class names come from the class lines of the call table.
constexpr const char* kTypeNames[] = {
    nullptr,  // 0: nil is not a valid value tag
    "status", "int", "LONG", "BOOL", "ZTInt_String", "ZTInt_StringArray",
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 7 to 13
    nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,  // 14 to 20
#include "ztint_class_names.inc"
};
static_assert(sizeof kTypeNames / sizeof kTypeNames[0] == ZTInt_rpc_type_Count);

const char kEncodeOverflow[] = "ztintsvr encode: buffer overflow";
const char kInsufficientData[] = "ztintsvr decode: insufficent data";
constexpr int32_t kWordSize = 4;
constexpr int32_t kObjectSize = sizeof(ZTInt_obj_struct);

// Records the first failure of a pass; a later one does not replace it.
int Fail(ZTInt_msg_info* info, char* text)
{
    if (info->Error == nullptr)
        info->Error = text;
    else
        ZTInt_String_Free(text);
    return 0;
}

int Fail(ZTInt_msg_info* info, const char* text)
{
    return Fail(info, ZTInt_String_New(text));
}

int Bad_Object_Type(ZTInt_msg_info* info, ZTInt_rpc_type type)
{
    return Fail(info, ZTInt_String_Format("ztintsvr RPC bad object type (%s)",
                                          ZTInt_rpc_type_Name_Of(type)));
}

int Type_Mismatch(ZTInt_msg_info* info, ZTInt_rpc_type expected, ZTInt_rpc_type got)
{
    return Fail(info, ZTInt_String_Format("ztintsvr RPC type mismatch (expected %s, got %s)",
                                          ZTInt_rpc_type_Name_Of(expected),
                                          ZTInt_rpc_type_Name_Of(got)));
}

bool Has_Room(const ZTInt_msg_info* info, long bytes)
{
    return ZTInt_msg_Available(info) >= bytes;
}

int Put_Bytes(ZTInt_msg_info* info, const void* bytes, long length)
{
    if (!Has_Room(info, length))
        return Fail(info, kEncodeOverflow);
    std::memcpy(info->Current, bytes, static_cast<size_t>(length));
    info->Current += length;
    return 1;
}

int Get_Bytes(ZTInt_msg_info* info, void* bytes, long length)
{
    if (!Has_Room(info, length))
        return Fail(info, kInsufficientData);
    std::memcpy(bytes, info->Current, static_cast<size_t>(length));
    info->Current += length;
    return 1;
}

int Put_Word(ZTInt_msg_info* info, int32_t value)
{
    return Put_Bytes(info, &value, kWordSize);
}

int Get_Word(ZTInt_msg_info* info, int32_t* value)
{
    return Get_Bytes(info, value, kWordSize);
}

bool Is_Word_Type(ZTInt_rpc_type type)
{
    return type >= ZTInt_rpc_type_status && type <= ZTInt_rpc_type_BOOL;
}

bool Is_Nil_Handle(const ZTInt_obj_struct& object)
{
    return object.Type == 0 && object.Id == 0;
}

}  // namespace

extern "C" int ZTInt_rpc_type_Is_Valid(ZTInt_rpc_type code)
{
    return static_cast<uint32_t>(code) - 1u < static_cast<uint32_t>(ZTInt_rpc_type_Last);
}

extern "C" int ZTInt_rpc_type_Is_Object(ZTInt_rpc_type code)
{
    return static_cast<uint32_t>(code) - static_cast<uint32_t>(ZTInt_rpc_type_First_Object) <=
           static_cast<uint32_t>(ZTInt_rpc_type_Last - ZTInt_rpc_type_First_Object);
}

extern "C" const char* ZTInt_rpc_type_Name_Of(ZTInt_rpc_type code)
{
    if (!ZTInt_rpc_type_Is_Valid(code) || kTypeNames[code] == nullptr)
        return kUnknownType;
    return kTypeNames[code];
}

extern "C" void ZTInt_msg_info_Init(ZTInt_msg_info* info, ZTInt_msg_struct* msg)
{
    info->Message = msg;
    info->Current = ZTInt_msg_Data_Addr(msg);
    // A negative size from a damaged header leaves no bytes rather than a cursor past its end.
    info->End = info->Current + (msg->Data_Size > 0 ? msg->Data_Size : 0);
    info->Error = nullptr;
}

extern "C" long ZTInt_msg_Available(const ZTInt_msg_info* info)
{
    return static_cast<long>(info->End - info->Current);
}

extern "C" int ZTInt_rpc_type_sizeof(void) { return 1; }
extern "C" int ZTInt_rpc_int_sizeof(void) { return kWordSize; }
extern "C" int ZTInt_rpc_LONG_sizeof(void) { return kWordSize; }
extern "C" int ZTInt_rpc_BOOL_sizeof(void) { return kWordSize; }
extern "C" int ZTInt_rpc_object_sizeof(void) { return kObjectSize; }

extern "C" int64_t ZTInt_rpc_String_sizeof(const char* s)
{
    return kWordSize + static_cast<int64_t>(s == nullptr ? 0 : std::strlen(s));
}

extern "C" int64_t ZTInt_rpc_StringArray_sizeof(char* const* a)
{
    int64_t size = kWordSize;
    if (a != nullptr)
        for (; *a != nullptr; ++a)
            size += ZTInt_rpc_String_sizeof(*a);
    return size;
}

extern "C" int64_t ZTInt_rpc_Get_Length(ZTInt_rpc_type type, const void* value)
{
    const int64_t tag = ZTInt_rpc_type_sizeof();
    if (Is_Word_Type(type))
        return tag + kWordSize;
    if (type == ZTInt_rpc_type_String)
        return tag + ZTInt_rpc_String_sizeof(value ? *static_cast<char* const*>(value) : nullptr);
    if (type == ZTInt_rpc_type_StringArray)
        return tag + ZTInt_rpc_StringArray_sizeof(value ? *static_cast<char** const*>(value) : nullptr);
    if (!ZTInt_rpc_type_Is_Object(type))
        ZTInt_abort3("ZTInt_rpc_type_Is_Object (Type)", "ztint_protocol", 127);
    return tag + kObjectSize;
}

extern "C" void ZTInt_rpc_Nil(ZTInt_rpc_type type, void* value)
{
    if (Is_Word_Type(type))
        *static_cast<int32_t*>(value) = 0;
    else if (type == ZTInt_rpc_type_String)
        *static_cast<char**>(value) = nullptr;
    else if (type == ZTInt_rpc_type_StringArray)
        *static_cast<char***>(value) = nullptr;
    else if (ZTInt_rpc_type_Is_Object(type))
        std::memset(value, 0, kObjectSize);
    else
        ZTInt_abort3("ZTInt_rpc_type_Is_Object (Type)", __FILE__, __LINE__);
}

// ---- bare encoders and decoders

extern "C" int ZTInt_rpc_type_Encode(ZTInt_msg_info* info, ZTInt_rpc_type type)
{
    const char tag = static_cast<char>(type & 0xFF);
    return Put_Bytes(info, &tag, 1);
}

extern "C" int ZTInt_rpc_type_Decode(ZTInt_msg_info* info, ZTInt_rpc_type* type)
{
    signed char tag;
    if (!Get_Bytes(info, &tag, 1))
        return 0;
    *type = tag;
    return 1;
}

extern "C" int ZTInt_rpc_int_Encode(ZTInt_msg_info* info, int32_t value) { return Put_Word(info, value); }
extern "C" int ZTInt_rpc_int_Decode(ZTInt_msg_info* info, int32_t* value) { return Get_Word(info, value); }
extern "C" int ZTInt_rpc_LONG_Encode(ZTInt_msg_info* info, int32_t value) { return Put_Word(info, value); }
extern "C" int ZTInt_rpc_LONG_Decode(ZTInt_msg_info* info, int32_t* value) { return Get_Word(info, value); }
extern "C" int ZTInt_rpc_BOOL_Encode(ZTInt_msg_info* info, int32_t value) { return Put_Word(info, value); }
extern "C" int ZTInt_rpc_BOOL_Decode(ZTInt_msg_info* info, int32_t* value) { return Get_Word(info, value); }

extern "C" int ZTInt_rpc_object_Encode(ZTInt_msg_info* info, const ZTInt_obj_struct* object)
{
    static const ZTInt_obj_struct nil_handle{};
    return Put_Bytes(info, object != nullptr ? object : &nil_handle, kObjectSize);
}

extern "C" int ZTInt_rpc_object_Decode(ZTInt_msg_info* info, ZTInt_obj_struct* object)
{
    return Get_Bytes(info, object, kObjectSize);
}

extern "C" int ZTInt_rpc_String_Encode(ZTInt_msg_info* info, const char* s)
{
    return ZTInt_rpc_String_Encode_Bytes(info, s, s == nullptr ? 0 : static_cast<int64_t>(std::strlen(s)));
}

extern "C" int ZTInt_rpc_String_Encode_Bytes(ZTInt_msg_info* info, const char* s, int64_t length)
{
    if (length > INT32_MAX)
        return Fail(info, "ztintsvr encode: string buffer overflow");
    if (!Put_Word(info, static_cast<int32_t>(length)))
        return 0;
    if (!Has_Room(info, static_cast<long>(length)))
        return Fail(info, "ztintsvr encode: string buffer overflow");
    if (length > 0)
        std::memcpy(info->Current, s, static_cast<size_t>(length));
    info->Current += length;
    return 1;
}

namespace {

struct Detached_Text {
    const char* At = nullptr;
    int32_t Length = 0;
    char* Text = nullptr;
};
thread_local Detached_Text Detached;

// The detached text for a string of length at at, now the caller's; else NULL.
char* Claim_Detached_Text(const char* at, int32_t length)
{
    if (Detached.Text == nullptr || Detached.At != at || Detached.Length != length)
        return nullptr;
    char* text = Detached.Text;
    Detached = {};
    return text;
}

}  // namespace

void ZTInt_rpc_Detach_Text(const char* at, int32_t length, char* text)
{
    ZTInt_rpc_Drop_Detached_Text();
    Detached = {at, length, text};
}

void ZTInt_rpc_Drop_Detached_Text()
{
    ZTInt_String_Free(Detached.Text);
    Detached = {};
}

extern "C" int ZTInt_rpc_String_Decode(ZTInt_msg_info* info, char** s)
{
    char* const start = info->Current;
    int32_t length;
    if (!Get_Word(info, &length))
        return 0;
    if (length < 0) {
        info->Current = start;
        return Fail(info, ZTInt_String_Format("ztintsvr decode: negative string length (%d)", length));
    }
    if (!Has_Room(info, length)) {
        info->Current = start;
        return Fail(info, "ztintsvr decode: insufficent string data");
    }
    if (char* detached = Claim_Detached_Text(info->Current, length)) {
        info->Current += length;
        *s = detached;
        return 1;
    }
    char* text = ZTInt_String_Alloc(length);
    if (text == nullptr) {
        info->Current = start;
        return Fail(info, "ztintsvr decode: out of memory");
    }
    std::memcpy(text, info->Current, static_cast<size_t>(length));
    text[length] = '\0';
    info->Current += length;
    *s = text;
    return 1;
}

extern "C" int ZTInt_rpc_StringArray_Encode(ZTInt_msg_info* info, char* const* a)
{
    const long count = ZTInt_StringArray_Size(a);
    if (count > INT32_MAX)
        return Fail(info, kEncodeOverflow);
    if (!Put_Word(info, static_cast<int32_t>(count)))
        return 0;
    for (long i = 0; i < count; ++i)
        if (!ZTInt_rpc_String_Encode(info, a[i]))
            return 0;
    return 1;
}

extern "C" int ZTInt_rpc_StringArray_Decode(ZTInt_msg_info* info, char*** a)
{
    *a = nullptr;
    int32_t count;
    if (!Get_Word(info, &count))
        return 0;
    if (count < 0)
        return Fail(info, ZTInt_String_Format("ztintsvr decode: negative string array count (%d)",
                                              count));
    // Each element takes at least its 4-byte length: refuse a count the data can't
    // hold before allocating for it.
    const long left = ZTInt_msg_Available(info);
    if (count > left / kWordSize)
        return Fail(info, ZTInt_String_Format(
                              "ztintsvr decode: string array count %d exceeds the %ld bytes left",
                              count, left));
    char** array = ZTInt_StringArray_Alloc(count);
    if (array == nullptr)
        return Fail(info, "ztintsvr decode: out of memory");
    *a = array;
    for (int32_t i = 0; i < count; ++i) {
        if (!ZTInt_rpc_String_Decode(info, &array[i])) {
            // Keep the partial array well-formed, so that it can be freed.
            for (int32_t k = i; k <= count; ++k)
                array[k] = nullptr;
            return 0;
        }
    }
    return 1;
}

// ---- tagged values

extern "C" int ZTInt_rpc_Encode(ZTInt_msg_info* info, ZTInt_rpc_type type, const void* value)
{
    if (!ZTInt_rpc_type_Encode(info, type))
        return 0;
    if (Is_Word_Type(type))
        return Put_Word(info, *static_cast<const int32_t*>(value));
    if (type == ZTInt_rpc_type_String)
        return ZTInt_rpc_String_Encode(info, value ? *static_cast<char* const*>(value) : nullptr);
    if (type == ZTInt_rpc_type_StringArray)
        return ZTInt_rpc_StringArray_Encode(info, value ? *static_cast<char** const*>(value) : nullptr);
    if (ZTInt_rpc_type_Is_Object(type))
        return ZTInt_rpc_object_Encode(info, static_cast<const ZTInt_obj_struct*>(value));
    return Bad_Object_Type(info, type);
}

extern "C" int ZTInt_rpc_Decode(ZTInt_msg_info* info, ZTInt_rpc_type expected_type, void* value)
{
    ZTInt_rpc_type tag;
    if (!ZTInt_rpc_type_Decode(info, &tag))
        return 0;
    if (tag != expected_type)
        return Type_Mismatch(info, expected_type, tag);
    if (Is_Word_Type(tag))
        return Get_Word(info, static_cast<int32_t*>(value));
    if (tag == ZTInt_rpc_type_String)
        return ZTInt_rpc_String_Decode(info, static_cast<char**>(value));
    if (tag == ZTInt_rpc_type_StringArray)
        return ZTInt_rpc_StringArray_Decode(info, static_cast<char***>(value));
    if (!ZTInt_rpc_type_Is_Object(tag))
        return Bad_Object_Type(info, tag);
    ZTInt_obj_struct object;
    if (!ZTInt_rpc_object_Decode(info, &object))
        return 0;
    if (object.Type != tag && !Is_Nil_Handle(object))
        return Type_Mismatch(info, expected_type, object.Type);
    std::memcpy(value, &object, kObjectSize);
    return 1;
}
