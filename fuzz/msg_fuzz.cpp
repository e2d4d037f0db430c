// Feeds arbitrary received messages through the checks, the decoders and the image.
//
// Input layout: byte 0 chooses the length of the expected type list (0 to 8), the
// next bytes choose its codes; the rest is a header followed by data. The header's
// Data_Size is clamped to the data present, so the message never claims bytes it
// does not have; a negative size is kept, since the decoders must refuse it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

namespace {

constexpr ZTInt_rpc_type kCodes[] = {
    1, 2, 3, 4, 5, 6,          // basic types
    20, 21, 33, 58, 63, 82,    // object codes
    0, 7, 19, 83, 127, -1,     // invalid codes
};
constexpr int kMaxTypes = 8;

union Value {
    int32_t word;
    char* string;
    char** array;
    ZTInt_obj_struct object;
};

void Release(int count, const ZTInt_rpc_type* types, Value* values)
{
    for (int k = 0; k < count; ++k) {
        if (types[k] == ZTInt_rpc_type_String)
            ZTInt_String_Free(values[k].string);
        else if (types[k] == ZTInt_rpc_type_StringArray)
            ZTInt_StringArray_Free(values[k].array);
    }
}

void Clear(Value* values, void** pointers)
{
    for (int k = 0; k < kMaxTypes; ++k) {
        std::memset(&values[k], 0, sizeof values[k]);
        pointers[k] = &values[k];
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    const uint8_t shape = data[0];
    const int count = shape % (kMaxTypes + 1);
    if (size < 1 + static_cast<size_t>(count))
        return 0;
    ZTInt_rpc_type types[kMaxTypes];
    for (int k = 0; k < count; ++k)
        types[k] = kCodes[data[1 + k] % (sizeof kCodes / sizeof kCodes[0])];
    data += 1 + count;
    size -= 1 + count;

    // The message: header bytes as given (zeros where the input ends), then the data.
    const size_t header_size = sizeof(ZTInt_msg_struct);
    const size_t present = size > header_size ? size - header_size : 0;
    auto* msg = static_cast<ZTInt_msg_struct*>(std::calloc(1, header_size + present + 4));
    std::memcpy(msg, data, size < header_size ? size : header_size);
    if (present > 0)
        std::memcpy(ZTInt_msg_Data_Addr(msg), data + header_size, present);
    if (msg->Data_Size > static_cast<int64_t>(present))
        msg->Data_Size = static_cast<int32_t>(present);

    char* error = nullptr;
    ZTInt_msg_Check(&error, msg);
    ZTInt_String_Free(error);
    ZTInt_msg_Check(&error, msg, msg->Sequence, msg->Procedure, count);
    ZTInt_String_Free(error);
    ZTInt_msg_Check_Size(&error, msg);
    ZTInt_String_Free(error);

    Value values[kMaxTypes];
    void* pointers[kMaxTypes];
    Clear(values, pointers);
    ZTInt_msg_Decode(msg, &error, count, types, pointers);
    ZTInt_String_Free(error);
    Release(count, types, values);

    Clear(values, pointers);
    ZTInt_msg_Decode_Reply(msg, &error, count, types, pointers);
    ZTInt_String_Free(error);
    Release(count, types, values);

    ZTInt_String_Free(ZTInt_msg_Image(msg, shape & 1));
    std::free(msg);
    return 0;
}
