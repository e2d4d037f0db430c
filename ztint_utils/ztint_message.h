// Messages of the RPC protocol: a 32-byte header followed by the encoded
// parameters, the pool of message buffers, building, checking and images.
//
// Texts handed back through a `char** error` are heap strings that the caller
// frees with ZTInt_String_Free. Type lists and value arrays have `count` entries;
// values take the forms of ztint_protocol.h.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ztint_base/ztint_protocol.h"

// The wire header, laid out in memory exactly as on the wire (host byte order).
struct ZTInt_msg_struct {
    uint32_t Framing_1;   // ZTInt_msg_Framing_1
    uint16_t Type;        // ZTInt_msg_type_...
    uint16_t Version;     // ZTInt_msg_Version
    int32_t Pid;          // process id of the caller
    int32_t Sequence;     // call sequence number
    uint32_t Framing_2;   // ZTInt_msg_Framing_2
    int32_t Procedure;    // opcode: class number * 1024 + method number
    int32_t Param_Count;  // parameters in the data
    int32_t Data_Size;    // bytes of data after the header
};
typedef ZTInt_msg_struct ZTInt_msg_t;

static_assert(sizeof(ZTInt_msg_struct) == 32, "the message header is 32 bytes on the wire");
static_assert(offsetof(ZTInt_msg_struct, Type) == 4 && offsetof(ZTInt_msg_struct, Version) == 6 &&
                  offsetof(ZTInt_msg_struct, Pid) == 8 && offsetof(ZTInt_msg_struct, Sequence) == 12 &&
                  offsetof(ZTInt_msg_struct, Framing_2) == 16 &&
                  offsetof(ZTInt_msg_struct, Procedure) == 20 &&
                  offsetof(ZTInt_msg_struct, Param_Count) == 24 &&
                  offsetof(ZTInt_msg_struct, Data_Size) == 28,
              "message header fields sit at their wire offsets");

constexpr uint32_t ZTInt_msg_Framing_1 = 0xDEADBEEF;
constexpr uint32_t ZTInt_msg_Framing_2 = 0x0BADBEEF;
constexpr uint16_t ZTInt_msg_Version = 2;

constexpr uint16_t ZTInt_msg_type_Nil = 0;
constexpr uint16_t ZTInt_msg_type_Call = 3;
constexpr uint16_t ZTInt_msg_type_Reply = 5;
constexpr uint16_t ZTInt_msg_type_Error = 7;

// The largest Data_Size the library accepts from the wire or builds itself.
constexpr int32_t ZTInt_msg_Max_Data_Size = 64 * 1024 * 1024;

// Opcodes: class number * 1024 + method number.
constexpr int ZTInt_msg_Class_Shift = 10;
constexpr int32_t ZTInt_msg_Method_Mask = 1023;

// A slot of the buffer pool.
struct ZTInt_msg_buffer_struct {
    char* Buffer;
    int32_t Size;    // capacity in bytes
    int32_t In_Use;  // nonzero while handed out
};

constexpr int ZTInt_msg_Buffer_Slots = 16;

// Both forms of the check return 0 with *error NULL, or -1 with *error the text.
// Framing, type and version:
int ZTInt_msg_Check(char** error, const ZTInt_msg_struct* msg);
// ... and then sequence (unless 0), procedure (unless 0) and parameter count
// (unless negative) against the expected values.
int ZTInt_msg_Check(char** error, const ZTInt_msg_struct* msg, int32_t sequence,
                    int32_t procedure, int32_t count);

extern "C" {

// Data_Size within 0 to ZTInt_msg_Max_Data_Size: 0, else -1 and the text. Run it on
// every received header before allocating for its data.
int ZTInt_msg_Check_Size(char** error, const ZTInt_msg_struct* msg);

// Buffer pool.
void* ZTInt_msg_buffer_Get(int32_t size);
void ZTInt_msg_buffer_Alloc(ZTInt_msg_buffer_struct* slot, int32_t size);
void ZTInt_msg_buffer_Put(void* buffer);
// Introspection of the pool, for diagnostics and tests.
int ZTInt_msg_buffer_Open_Slots(void);                 // slots ever opened, 0 to 16
// Frees the buffers of free slots larger than largest_kept bytes (their slots stay open,
// empty); returns the bytes given back. A server calls it so that one huge message
// does not keep its memory for good.
int64_t ZTInt_msg_buffer_Trim(int32_t largest_kept);
int ZTInt_msg_buffer_Slot_Of(const void* buffer);      // slot holding buffer, or -1
const ZTInt_msg_buffer_struct* ZTInt_msg_buffer_Slot(int slot);  // NULL out of range

// Life of a message.
ZTInt_msg_struct* ZTInt_msg_New(int count, const ZTInt_rpc_type* types, const void* const* values);
// A buffer for a received header (whose Data_Size passed ZTInt_msg_Check_Size): the
// 32 header bytes copied, the first four data bytes 0.
ZTInt_msg_struct* ZTInt_msg_Alloc(const ZTInt_msg_struct* header);
void ZTInt_msg_Free(ZTInt_msg_struct* msg);  // NULL is allowed
void ZTInt_msg_Init(ZTInt_msg_struct* msg);
void ZTInt_msg_Init_Call(ZTInt_msg_struct* msg, int32_t pid, int32_t sequence, int32_t procedure);
void ZTInt_msg_Init_Reply(ZTInt_msg_struct* msg, const ZTInt_msg_struct* call);
void ZTInt_msg_Init_Error(ZTInt_msg_struct* msg, const ZTInt_msg_struct* call);

// Encoding and decoding of whole parameter lists.
// Allocates *msg (the caller's, also on failure) and encodes. Returns count; the
// index of the parameter that failed; or -count if the lengths were wrong.
int ZTInt_msg_Encode(ZTInt_msg_struct** msg, char** error, int count, const ZTInt_rpc_type* types,
                     const void* const* values);
// Returns count; the index k of the parameter that failed (parameter k then holds
// its nil form or a partial array that ZTInt_StringArray_Free releases); or -count
// on excess data.
int ZTInt_msg_Decode(ZTInt_msg_struct* msg, char** error, int count, const ZTInt_rpc_type* types,
                     void* const* values);
void ZTInt_msg_Decode_Nil(ZTInt_msg_struct* msg, int count, const ZTInt_rpc_type* types,
                          void* const* values);
int ZTInt_msg_Encode_Params(ZTInt_msg_struct** msg, char** error, int count,
                            const ZTInt_rpc_type* types, const void* const* values);

// Long texts of a call that stay where the caller keeps them: the message has room for
// them, but their bytes are not copied in; each piece says where its bytes belong
// (Offset from the message's start) and where they are. A sender writes the message
// with the pieces' bytes in their places; the bytes on the wire are those of a message
// encoded with ZTInt_msg_Encode_Params.
struct ZTInt_msg_gather {
    static constexpr int Max_Pieces = 16;
    struct Piece {
        int32_t Offset;
        const char* Bytes;
        int32_t Length;
    };
    Piece Pieces[Max_Pieces];
    int Count = 0;
};
// Texts shorter than this are copied: one more piece costs more than their copy.
constexpr int32_t ZTInt_msg_Gather_Min_Length = 4096;
// ZTInt_msg_Encode_Params, leaving texts of ZTInt_msg_Gather_Min_Length bytes or more
// to *gather (the texts must live until the message is sent).
[[nodiscard]] int ZTInt_msg_Encode_Params_Gather(ZTInt_msg_struct** msg, char** error, int count,
                                                 const ZTInt_rpc_type* types,
                                                 const void* const* values,
                                                 ZTInt_msg_gather* gather);
// Encodes a text of length bytes as a string value, leaving its bytes to *gather: 1, or
// 0 with info->Error set. For encoders of their own (the server's reply); *gather must
// have a free piece.
[[nodiscard]] int ZTInt_msg_Gather_Text(ZTInt_msg_info* info, ZTInt_msg_struct* msg, const char* text,
                                        int64_t length, ZTInt_msg_gather* gather);
// Copies the pieces' bytes into their places: the message is then whole.
void ZTInt_msg_Fill_Gather(ZTInt_msg_struct* msg, const ZTInt_msg_gather* gather);
int ZTInt_msg_Decode_Params(ZTInt_msg_struct* msg, char** error, int count,
                            const ZTInt_rpc_type* types, void* const* values);
// Encodes a reply to call into *reply: 1; or, if encoding fails, makes *reply an
// error message to call and returns 0.
int ZTInt_msg_Encode_Reply(const ZTInt_msg_struct* call, ZTInt_msg_struct** reply, char** error,
                           int count, const ZTInt_rpc_type* types, const void* const* values);
// 1 if every value was decoded. A failure at parameter k nil-fills k to count - 1.
int ZTInt_msg_Decode_Reply(ZTInt_msg_struct* reply, char** error, int count,
                           const ZTInt_rpc_type* types, void* const* values);
// An error message with no data that answers call.
void ZTInt_msg_Encode_Error(const ZTInt_msg_struct* call, ZTInt_msg_struct** reply);
// Stores status through values[0], which must be a status.
void ZTInt_msg_Set_Status(int32_t status, int count, const ZTInt_rpc_type* types,
                          void* const* values);

// Classes and opcodes.
ZTInt_rpc_type ZTInt_msg_Class_Rpc_Type(int32_t class_number);
const char* ZTInt_msg_Class_Name_Of(int32_t class_number);

// Sizes.
int32_t ZTInt_msg_Header_Size(void);
int32_t ZTInt_msg_Data_Size(const ZTInt_msg_struct* msg);
char* ZTInt_msg_Data_Addr(ZTInt_msg_struct* msg);
int32_t ZTInt_msg_Full_Size(const ZTInt_msg_struct* msg);
int32_t ZTInt_msg_Alloc_Size(const ZTInt_msg_struct* msg);

// Text image of a message for diagnostics, a new heap string.
char* ZTInt_msg_Image(const ZTInt_msg_struct* msg, int single_line);
// Prints the multi-line image to standard output.
void ZTInt_msg_Debug_Show(const ZTInt_msg_struct* msg);

}  // extern "C"
