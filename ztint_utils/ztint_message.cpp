#include "ztint_utils/ztint_message.h"

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "foundation/host/hst_safe_malloc.h"
#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_objects.h"

namespace {

const char kWho[] = "ztintsvr RPC";
constexpr int32_t kHeaderSize = sizeof(ZTInt_msg_struct);
constexpr int32_t kMinimumAlloc = kHeaderSize + 4;  // room for the zeroed first data word
constexpr int32_t kSlack = 100;                     // extra bytes of a fresh pool buffer

// ---- buffer pool: slots are opened in order and reused for the life of the process

ZTInt_msg_buffer_struct msg_buffers[ZTInt_msg_Buffer_Slots];
int msg_buffers_next = 0;

ZTInt_msg_buffer_struct* Hand_Out(ZTInt_msg_buffer_struct* slot)
{
    slot->In_Use = 1;
    return slot;
}

// ---- helpers

bool Has_Nil_Form(ZTInt_rpc_type type)
{
    return (type >= ZTInt_rpc_type_status && type <= ZTInt_rpc_type_StringArray) ||
           ZTInt_rpc_type_Is_Object(type);
}

bool Size_Is_Sane(int32_t data_size)
{
    return data_size >= 0 && data_size <= ZTInt_msg_Max_Data_Size;
}

// A failure that concerns the whole list rather than one parameter: always below
// zero, also for an empty list.
int Whole_List_Failure(int count)
{
    return count > 0 ? -count : -1;
}

void Set_Framing(ZTInt_msg_struct* msg, uint16_t type)
{
    msg->Framing_1 = ZTInt_msg_Framing_1;
    msg->Framing_2 = ZTInt_msg_Framing_2;
    msg->Type = type;
    msg->Version = ZTInt_msg_Version;
}

void Stamp_Answer(ZTInt_msg_struct* msg, const ZTInt_msg_struct* call, uint16_t type)
{
    Set_Framing(msg, type);
    msg->Pid = call->Pid;
    msg->Sequence = call->Sequence;
    msg->Procedure = call->Procedure;
}

int64_t Data_Length(int count, const ZTInt_rpc_type* types, const void* const* values)
{
    int64_t sum = 0;
    for (int k = 0; k < count; ++k)
        sum += ZTInt_rpc_Get_Length(types[k], values[k]);
    return sum;
}

// The string values of a list are measured once, for the size of the message, and
// encoded by the lengths found, so that a long text is not scanned twice.
constexpr int kMeasured = 16;

const char* Text_Of(const void* value)
{
    return value != nullptr ? *static_cast<const char* const*>(value) : nullptr;
}

bool Is_Measured(int k, const ZTInt_rpc_type* types)
{
    return k < kMeasured && types[k] == ZTInt_rpc_type_String;
}

int64_t Measure(int count, const ZTInt_rpc_type* types, const void* const* values,
                int64_t (&text_lengths)[kMeasured])
{
    int64_t sum = 0;
    for (int k = 0; k < count; ++k) {
        if (!Is_Measured(k, types)) {
            sum += ZTInt_rpc_Get_Length(types[k], values[k]);
            continue;
        }
        const char* text = Text_Of(values[k]);
        text_lengths[k] = text != nullptr ? static_cast<int64_t>(std::strlen(text)) : 0;
        sum += ZTInt_rpc_type_sizeof() + ZTInt_rpc_int_sizeof() + text_lengths[k];
    }
    return sum;
}

}  // namespace

int ZTInt_msg_Gather_Text(ZTInt_msg_info* info, ZTInt_msg_struct* msg, const char* text,
                          int64_t length, ZTInt_msg_gather* gather)
{
    if (!ZTInt_rpc_type_Encode(info, ZTInt_rpc_type_String) ||
        !ZTInt_rpc_int_Encode(info, static_cast<int32_t>(length)))
        return 0;
    if (ZTInt_msg_Available(info) < length) {
        info->Error = ZTInt_String_New("ztintsvr encode: string buffer overflow");
        return 0;
    }
    ZTInt_msg_gather::Piece& piece = gather->Pieces[gather->Count++];
    piece.Offset = static_cast<int32_t>(info->Current - reinterpret_cast<char*>(msg));
    piece.Bytes = text;
    piece.Length = static_cast<int32_t>(length);
    info->Current += length;
    return 1;
}

namespace {

int Encode_Value(ZTInt_msg_info* info, int k, const ZTInt_rpc_type* types,
                 const void* const* values, const int64_t (&text_lengths)[kMeasured],
                 ZTInt_msg_struct* msg = nullptr, ZTInt_msg_gather* gather = nullptr)
{
    if (!Is_Measured(k, types))
        return ZTInt_rpc_Encode(info, types[k], values[k]);
    if (gather != nullptr && text_lengths[k] >= ZTInt_msg_Gather_Min_Length &&
        gather->Count < ZTInt_msg_gather::Max_Pieces)
        return ZTInt_msg_Gather_Text(info, msg, Text_Of(values[k]), text_lengths[k], gather);
    return ZTInt_rpc_type_Encode(info, types[k]) &&
           ZTInt_rpc_String_Encode_Bytes(info, Text_Of(values[k]), text_lengths[k]);
}

int Check_Failed(char** error, char* text)
{
    *error = text;
    return -1;
}

int Mismatch(char** error, const char* what, int32_t got, int32_t expected)
{
    return Check_Failed(error, ZTInt_String_Format("%s %s mismatch: got %d, expected %d", kWho,
                                                   what, got, expected));
}

// ---- image

void Append_Format(std::string& text, const char* format, ...) __attribute__((format(printf, 2, 3)));

void Append_Format(std::string& text, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    char* piece = ZTInt_String_VFormat(format, arguments);
    va_end(arguments);
    if (piece != nullptr)
        text += piece;
    ZTInt_String_Free(piece);
}

const char* Type_Image(uint16_t type)
{
    switch (type) {
    case ZTInt_msg_type_Nil: return "Nil";
    case ZTInt_msg_type_Call: return "Call";
    case ZTInt_msg_type_Reply: return "Rply";
    case ZTInt_msg_type_Error: return "Erro";
    default: return nullptr;
    }
}

const char* Status_Image(int32_t status)
{
    switch (status) {
    case 0: return "OK";
    case -1: return "FAIL";
    case -2: return "EXCEPTION";
    case -3: return "RPC_FAIL";
    default: return "";
    }
}

void Append_Quoted(std::string& text, const char* s)
{
    text += '"';
    text += s;
    text += '"';
}

// Appends the image of one tagged value; false when the cursor can't go on.
bool Append_Value(std::string& text, ZTInt_msg_info* info, int32_t message_pid)
{
    ZTInt_rpc_type tag;
    if (!ZTInt_rpc_type_Decode(info, &tag))
        return false;
    int32_t word;
    switch (tag) {
    case ZTInt_rpc_type_status:
        if (!ZTInt_rpc_int_Decode(info, &word))
            return false;
        text += Status_Image(word);
        return true;
    case ZTInt_rpc_type_int:
    case ZTInt_rpc_type_LONG:
        if (!ZTInt_rpc_int_Decode(info, &word))
            return false;
        Append_Format(text, "%d", word);
        return true;
    case ZTInt_rpc_type_BOOL:
        if (!ZTInt_rpc_BOOL_Decode(info, &word))
            return false;
        text += word != 0 ? "TRUE" : "FALSE";
        return true;
    case ZTInt_rpc_type_String: {
        char* s = nullptr;
        if (!ZTInt_rpc_String_Decode(info, &s))
            return false;
        Append_Quoted(text, s);
        ZTInt_String_Free(s);
        return true;
    }
    case ZTInt_rpc_type_StringArray: {
        char** a = nullptr;
        const bool read = ZTInt_rpc_StringArray_Decode(info, &a);
        if (read) {
            const long size = ZTInt_StringArray_Size(a);
            Append_Format(text, "[%ld] {", size);
            for (long i = 0; i < size; ++i) {
                if (i > 0)
                    text += ", ";
                Append_Quoted(text, a[i]);
            }
            text += '}';
        }
        ZTInt_StringArray_Free(a);
        return read;
    }
    default:
        break;
    }
    if (!ZTInt_rpc_type_Is_Object(tag)) {
        // The length of an unknown value is unknown: nothing after it can be read.
        text += ZTInt_rpc_type_Name_Of(tag);
        return false;
    }
    ZTInt_obj_struct object;
    if (!ZTInt_rpc_object_Decode(info, &object))
        return false;
    if (object.Type == tag) {
        Append_Format(text, "%s_%d", ZTInt_rpc_type_Name_Of(tag), static_cast<int32_t>(object.Id));
        if (object.Owner_Pid != message_pid)
            Append_Format(text, "_PID%d", object.Owner_Pid);
    } else if (object.Type != 0 || object.Id != 0) {
        Append_Format(text, "%s<>%s", ZTInt_rpc_type_Name_Of(tag), ZTInt_rpc_type_Name_Of(object.Type));
    }
    return true;
}

}  // namespace

// ---- buffer pool

extern "C" void ZTInt_msg_buffer_Alloc(ZTInt_msg_buffer_struct* slot, int32_t size)
{
    if (slot->Size >= size)
        return;
    std::free(slot->Buffer);
    slot->Buffer = nullptr;
    slot->Size = 0;
    slot->Buffer = static_cast<char*>(Hst_Safe_Malloc(static_cast<size_t>(size)));
    slot->Size = size;
}

extern "C" void* ZTInt_msg_buffer_Get(int32_t size)
{
    if (size < 0 || size > INT32_MAX - kSlack)
        ZTInt_abort3("size >= 0 && size <= INT32_MAX - 100", __FILE__, __LINE__);
    ZTInt_msg_buffer_struct* fit = nullptr;    // smallest free slot that holds size
    ZTInt_msg_buffer_struct* small = nullptr;  // smallest free slot that doesn't
    for (int i = 0; i < msg_buffers_next; ++i) {
        ZTInt_msg_buffer_struct* slot = &msg_buffers[i];
        if (slot->In_Use)
            continue;
        ZTInt_msg_buffer_struct*& best = slot->Size >= size ? fit : small;
        if (best == nullptr || slot->Size < best->Size)
            best = slot;
    }
    if (fit != nullptr)
        return Hand_Out(fit)->Buffer;
    if (msg_buffers_next < ZTInt_msg_Buffer_Slots) {
        ZTInt_msg_buffer_struct* slot = &msg_buffers[msg_buffers_next++];
        ZTInt_msg_buffer_Alloc(slot, size + kSlack);
        return Hand_Out(slot)->Buffer;
    }
    if (small != nullptr) {
        ZTInt_msg_buffer_Alloc(small, size + kSlack);
        return Hand_Out(small)->Buffer;
    }
    // Every slot is in use: this buffer lives outside the pool and goes back to free().
    return Hst_Safe_Malloc(static_cast<size_t>(size));
}

extern "C" void ZTInt_msg_buffer_Put(void* buffer)
{
    for (int i = 0; i < msg_buffers_next; ++i) {
        if (msg_buffers[i].In_Use && msg_buffers[i].Buffer == buffer) {
            msg_buffers[i].In_Use = 0;
            return;
        }
    }
    std::free(buffer);
}

extern "C" int64_t ZTInt_msg_buffer_Trim(int32_t largest_kept)
{
    int64_t released = 0;
    for (int i = 0; i < msg_buffers_next; ++i) {
        ZTInt_msg_buffer_struct& slot = msg_buffers[i];
        if (slot.In_Use || slot.Size <= largest_kept)
            continue;
        released += slot.Size;
        std::free(slot.Buffer);
        slot.Buffer = nullptr;
        slot.Size = 0;
    }
    return released;
}

extern "C" int ZTInt_msg_buffer_Open_Slots(void)
{
    return msg_buffers_next;
}

extern "C" int ZTInt_msg_buffer_Slot_Of(const void* buffer)
{
    for (int i = 0; i < msg_buffers_next; ++i)
        if (buffer != nullptr && msg_buffers[i].Buffer == buffer)
            return i;
    return -1;
}

extern "C" const ZTInt_msg_buffer_struct* ZTInt_msg_buffer_Slot(int slot)
{
    if (slot < 0 || slot >= msg_buffers_next)
        return nullptr;
    return &msg_buffers[slot];
}

// ---- sizes and classes

extern "C" int32_t ZTInt_msg_Header_Size(void) { return kHeaderSize; }
extern "C" int32_t ZTInt_msg_Data_Size(const ZTInt_msg_struct* msg) { return msg->Data_Size; }

extern "C" char* ZTInt_msg_Data_Addr(ZTInt_msg_struct* msg)
{
    return reinterpret_cast<char*>(msg) + kHeaderSize;
}

extern "C" int32_t ZTInt_msg_Full_Size(const ZTInt_msg_struct* msg)
{
    return kHeaderSize + msg->Data_Size;
}

extern "C" int32_t ZTInt_msg_Alloc_Size(const ZTInt_msg_struct* msg)
{
    const int32_t full = ZTInt_msg_Full_Size(msg);
    return full < kMinimumAlloc ? kMinimumAlloc : full;
}

extern "C" ZTInt_rpc_type ZTInt_msg_Class_Rpc_Type(int32_t class_number)
{
    const int64_t code = int64_t{class_number} + ZTInt_rpc_type_First_Object;
    return code <= ZTInt_rpc_type_Last && ZTInt_rpc_type_Is_Object(static_cast<ZTInt_rpc_type>(code))
               ? static_cast<ZTInt_rpc_type>(code)
               : 0;
}

extern "C" const char* ZTInt_msg_Class_Name_Of(int32_t class_number)
{
    if (class_number == 0)
        return "ZTInt_Special";
    if (class_number == 1)
        return "ZTInt_Utilities";
    return ZTInt_rpc_type_Name_Of(ZTInt_msg_Class_Rpc_Type(class_number));
}

// ---- life of a message

extern "C" void ZTInt_msg_Init(ZTInt_msg_struct* msg)
{
    Set_Framing(msg, ZTInt_msg_type_Nil);
    msg->Sequence = 0;
    msg->Procedure = 0;
}

extern "C" void ZTInt_msg_Init_Call(ZTInt_msg_struct* msg, int32_t pid, int32_t sequence,
                                    int32_t procedure)
{
    Set_Framing(msg, ZTInt_msg_type_Call);
    msg->Pid = pid;
    msg->Sequence = sequence;
    msg->Procedure = procedure;
}

extern "C" void ZTInt_msg_Init_Reply(ZTInt_msg_struct* msg, const ZTInt_msg_struct* call)
{
    Stamp_Answer(msg, call, ZTInt_msg_type_Reply);
}

extern "C" void ZTInt_msg_Init_Error(ZTInt_msg_struct* msg, const ZTInt_msg_struct* call)
{
    Stamp_Answer(msg, call, ZTInt_msg_type_Error);
}

namespace {

// A Nil message from the pool with room for data_size bytes of data and more.
ZTInt_msg_struct* New_Message(int count, int32_t data_size)
{
    auto* msg = static_cast<ZTInt_msg_struct*>(ZTInt_msg_buffer_Get(data_size + kMinimumAlloc));
    ZTInt_msg_Init(msg);
    msg->Param_Count = count;
    msg->Data_Size = data_size;
    return msg;
}

}  // namespace

extern "C" ZTInt_msg_struct* ZTInt_msg_New(int count, const ZTInt_rpc_type* types,
                                           const void* const* values)
{
    const int64_t length = Data_Length(count, types, values);
    if (length > ZTInt_msg_Max_Data_Size)
        return nullptr;
    return New_Message(count, static_cast<int32_t>(length));
}

extern "C" ZTInt_msg_struct* ZTInt_msg_Alloc(const ZTInt_msg_struct* header)
{
    if (!Size_Is_Sane(header->Data_Size))
        ZTInt_abort3("ZTInt_msg_Check_Size (&Error, Header) == 0", __FILE__, __LINE__);
    auto* msg = static_cast<ZTInt_msg_struct*>(ZTInt_msg_buffer_Get(ZTInt_msg_Alloc_Size(header)));
    std::memcpy(msg, header, kHeaderSize);
    std::memset(ZTInt_msg_Data_Addr(msg), 0, 4);
    return msg;
}

extern "C" void ZTInt_msg_Free(ZTInt_msg_struct* msg)
{
    if (msg != nullptr)
        ZTInt_msg_buffer_Put(msg);
}

// ---- checks

int ZTInt_msg_Check(char** error, const ZTInt_msg_struct* msg)
{
    *error = nullptr;
    if (msg == nullptr)
        return Check_Failed(error, ZTInt_String_New("ZTIntSvr RPC message pointer is null"));
    static const char framing[] = "%s message has invalid framing word (%d): got %#x, expected %#x";
    if (msg->Framing_1 != ZTInt_msg_Framing_1)
        return Check_Failed(error, ZTInt_String_Format(framing, kWho, 1, msg->Framing_1,
                                                       ZTInt_msg_Framing_1));
    if (msg->Framing_2 != ZTInt_msg_Framing_2)
        return Check_Failed(error, ZTInt_String_Format(framing, kWho, 2, msg->Framing_2,
                                                       ZTInt_msg_Framing_2));
    if (Type_Image(msg->Type) == nullptr)
        return Check_Failed(error, ZTInt_String_Format("%s message has unknown type: %d", kWho,
                                                       msg->Type));
    if (msg->Version != ZTInt_msg_Version)
        return Check_Failed(error, ZTInt_String_Format("%s protocol version mismatch: got %d, expected %d",
                                                       kWho, msg->Version, ZTInt_msg_Version));
    return 0;
}

int ZTInt_msg_Check(char** error, const ZTInt_msg_struct* msg, int32_t sequence, int32_t procedure,
                    int32_t count)
{
    if (ZTInt_msg_Check(error, msg) != 0)
        return -1;
    if (sequence != 0 && msg->Sequence != sequence)
        return Mismatch(error, "sequence", msg->Sequence, sequence);
    if (procedure != 0 && msg->Procedure != procedure)
        return Mismatch(error, "procedure", msg->Procedure, procedure);
    if (count >= 0 && msg->Param_Count != count)
        return Mismatch(error, "parameter count", msg->Param_Count, count);
    return 0;
}

extern "C" int ZTInt_msg_Check_Size(char** error, const ZTInt_msg_struct* msg)
{
    *error = nullptr;
    if (msg == nullptr)
        return Check_Failed(error, ZTInt_String_New("ZTIntSvr RPC message pointer is null"));
    if (!Size_Is_Sane(msg->Data_Size))
        return Check_Failed(error, ZTInt_String_Format(
                                       "%s message data size %d is out of range (0 to %d bytes)",
                                       kWho, msg->Data_Size, ZTInt_msg_Max_Data_Size));
    return 0;
}

// ---- parameter lists

namespace {

// ZTInt_msg_Encode, with long texts left to gather when it is given.
int Encode(ZTInt_msg_struct** msg, char** error, int count, const ZTInt_rpc_type* types,
           const void* const* values, ZTInt_msg_gather* gather)
{
    *msg = nullptr;
    *error = nullptr;
    int64_t text_lengths[kMeasured];
    const int64_t length = Measure(count, types, values, text_lengths);
    if (length > ZTInt_msg_Max_Data_Size) {
        *error = ZTInt_String_Format("ztintsvr encode: data size %" PRId64 " exceeds the limit of %d bytes",
                                     length, ZTInt_msg_Max_Data_Size);
        return 0;
    }
    *msg = New_Message(count, static_cast<int32_t>(length));
    if (count == 0) {
        std::memset(ZTInt_msg_Data_Addr(*msg), 0, 4);
        return 0;
    }
    ZTInt_msg_info info;
    ZTInt_msg_info_Init(&info, *msg);
    for (int k = 0; k < count; ++k) {
        if (!Encode_Value(&info, k, types, values, text_lengths, *msg, gather)) {
            *error = info.Error;
            return k;
        }
    }
    if (ZTInt_msg_Available(&info) != 0) {
        *error = ZTInt_String_New("ztintsvr encode: data incomplete");
        return -count;
    }
    return count;
}

}  // namespace

extern "C" int ZTInt_msg_Encode(ZTInt_msg_struct** msg, char** error, int count,
                                const ZTInt_rpc_type* types, const void* const* values)
{
    return Encode(msg, error, count, types, values, nullptr);
}

int ZTInt_msg_Encode_Params_Gather(ZTInt_msg_struct** msg, char** error, int count,
                                   const ZTInt_rpc_type* types, const void* const* values,
                                   ZTInt_msg_gather* gather)
{
    gather->Count = 0;
    return Encode(msg, error, count, types, values, gather) == count && *error == nullptr;
}

void ZTInt_msg_Fill_Gather(ZTInt_msg_struct* msg, const ZTInt_msg_gather* gather)
{
    for (int i = 0; i < gather->Count; ++i) {
        const ZTInt_msg_gather::Piece& piece = gather->Pieces[i];
        std::memcpy(reinterpret_cast<char*>(msg) + piece.Offset, piece.Bytes,
                    static_cast<size_t>(piece.Length));
    }
}

extern "C" int ZTInt_msg_Decode(ZTInt_msg_struct* msg, char** error, int count,
                                const ZTInt_rpc_type* types, void* const* values)
{
    if (ZTInt_msg_Check_Size(error, msg) != 0) {
        if (count > 0 && Has_Nil_Form(types[0]))
            ZTInt_rpc_Nil(types[0], values[0]);
        return count > 0 ? 0 : -1;
    }
    ZTInt_msg_info info;
    ZTInt_msg_info_Init(&info, msg);
    for (int k = 0; k < count; ++k) {
        // A parameter that fails holds its nil form (or a partial array), never garbage.
        if (Has_Nil_Form(types[k]))
            ZTInt_rpc_Nil(types[k], values[k]);
        if (!ZTInt_rpc_Decode(&info, types[k], values[k])) {
            *error = info.Error;
            return k;
        }
    }
    if (ZTInt_msg_Available(&info) != 0) {
        *error = ZTInt_String_New("ztintsvr decode: excess data");
        return Whole_List_Failure(count);
    }
    return count;
}

extern "C" void ZTInt_msg_Decode_Nil(ZTInt_msg_struct* msg, int count, const ZTInt_rpc_type* types,
                                     void* const* values)
{
    (void)msg;
    for (int k = 0; k < count; ++k)
        ZTInt_rpc_Nil(types[k], values[k]);
}

extern "C" int ZTInt_msg_Encode_Params(ZTInt_msg_struct** msg, char** error, int count,
                                       const ZTInt_rpc_type* types, const void* const* values)
{
    return ZTInt_msg_Encode(msg, error, count, types, values) == count && *error == nullptr;
}

extern "C" int ZTInt_msg_Decode_Params(ZTInt_msg_struct* msg, char** error, int count,
                                       const ZTInt_rpc_type* types, void* const* values)
{
    return ZTInt_msg_Decode(msg, error, count, types, values) == count && *error == nullptr;
}

extern "C" int ZTInt_msg_Encode_Reply(const ZTInt_msg_struct* call, ZTInt_msg_struct** reply,
                                      char** error, int count, const ZTInt_rpc_type* types,
                                      const void* const* values)
{
    if (ZTInt_msg_Encode_Params(reply, error, count, types, values)) {
        ZTInt_msg_Init_Reply(*reply, call);
        return 1;
    }
    // The server could not build its answer: the caller gets an error message with no data.
    ZTInt_msg_Free(*reply);
    ZTInt_msg_Encode_Error(call, reply);
    return 0;
}

extern "C" int ZTInt_msg_Decode_Reply(ZTInt_msg_struct* reply, char** error, int count,
                                      const ZTInt_rpc_type* types, void* const* values)
{
    const int decoded = ZTInt_msg_Decode(reply, error, count, types, values);
    if (decoded == count && *error == nullptr)
        return 1;
    if (decoded < 0 || decoded >= count)
        return 0;
    // Parameter `decoded` failed: it holds its nil form or a partial array.
    if (types[decoded] == ZTInt_rpc_type_StringArray)
        ZTInt_StringArray_Free(*static_cast<char***>(values[decoded]));
    for (int k = decoded; k < count; ++k)
        if (Has_Nil_Form(types[k]))
            ZTInt_rpc_Nil(types[k], values[k]);
    return 0;
}

extern "C" void ZTInt_msg_Encode_Error(const ZTInt_msg_struct* call, ZTInt_msg_struct** reply)
{
    char* Error = nullptr;
    ZTInt_msg_Encode(reply, &Error, 0, nullptr, nullptr);
    if (Error != NULL)
        ZTInt_abort3("Error == NULL", "ztint_message", 755);
    ZTInt_msg_Init_Error(*reply, call);
}

extern "C" void ZTInt_msg_Set_Status(int32_t status, int count, const ZTInt_rpc_type* types,
                                     void* const* values)
{
    if (!(count > 0))
        ZTInt_abort3("Count > 0", "ztint_message", 789);
    if (!(types[0] == ZTInt_rpc_type_status))
        ZTInt_abort3("Types[0] == ZTInt_rpc_type_status", "ztint_message", 790);
    *static_cast<int32_t*>(values[0]) = status;
}

// ---- images

extern "C" char* ZTInt_msg_Image(const ZTInt_msg_struct* msg, int single_line)
{
    if (msg == nullptr)
        return ZTInt_String_New("ZTInt_msg_t NULL");
    std::string text;
    const char* separator = single_line ? ", " : "\n  ";
    std::string framing;
    if (msg->Framing_1 != ZTInt_msg_Framing_1 || msg->Framing_2 != ZTInt_msg_Framing_2)
        Append_Format(framing, ", BAD FRAMING: _1 = %#x, _2 = %#x", msg->Framing_1, msg->Framing_2);
    const char* type = Type_Image(msg->Type);
    if (type != nullptr)
        text += type;
    else
        Append_Format(text, "type %d", msg->Type);
    const int32_t class_number = msg->Procedure >> ZTInt_msg_Class_Shift;
    Append_Format(text, ", ver %d, PID %d, seq %d%s%s%s_%d (%d), %d params, %d bytes, (",
                  msg->Version, msg->Pid, msg->Sequence, framing.c_str(), separator,
                  ZTInt_msg_Class_Name_Of(class_number), msg->Procedure & ZTInt_msg_Method_Mask,
                  msg->Procedure, msg->Param_Count, msg->Data_Size);
    if (Size_Is_Sane(msg->Data_Size)) {
        ZTInt_msg_info info;
        ZTInt_msg_info_Init(&info, const_cast<ZTInt_msg_struct*>(msg));
        for (int32_t k = 0; k < msg->Param_Count; ++k) {
            if (k > 0)
                text += ", ";
            if (!Append_Value(text, &info, msg->Pid)) {
                if (info.Error != nullptr)
                    text += info.Error;
                break;
            }
        }
        ZTInt_String_Free(info.Error);
    }
    text += ')';
    return ZTInt_String_New(text.c_str());
}

extern "C" void ZTInt_msg_Debug_Show(const ZTInt_msg_struct* msg)
{
    char* image = ZTInt_msg_Image(msg, 0);
    std::printf("ZTInt_msg_t @ %#" PRIxPTR "%s%s\n", reinterpret_cast<uintptr_t>(msg), "\n  ",
                image != nullptr ? image : "");
    ZTInt_String_Free(image);
}
