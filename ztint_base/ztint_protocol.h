// Wire types of the RPC protocol and the codec of single values.
//
// Every value on the wire is a one-byte type tag followed by its bytes, in host
// byte order, with no padding. A value to encode or decode is passed as an untyped
// pointer: to an int32_t for status, int, LONG and BOOL; to a char* for a string;
// to a char** for a string array; to the 12-byte ZTInt_obj_struct itself for an
// object. Encoders and decoders return 1 on success and 0 on failure, leaving a new
// heap text in the cursor's Error (the caller of the pass takes it over).
#pragma once

#include <cstdint>

#include "ztint_export.h"

struct ZTInt_msg_struct;
struct ZTInt_obj_struct;

typedef int32_t ZTInt_rpc_type;

constexpr ZTInt_rpc_type ZTInt_rpc_type_nil = 0;
constexpr ZTInt_rpc_type ZTInt_rpc_type_status = 1;
constexpr ZTInt_rpc_type ZTInt_rpc_type_int = 2;
constexpr ZTInt_rpc_type ZTInt_rpc_type_LONG = 3;
constexpr ZTInt_rpc_type ZTInt_rpc_type_BOOL = 4;
constexpr ZTInt_rpc_type ZTInt_rpc_type_String = 5;
constexpr ZTInt_rpc_type ZTInt_rpc_type_StringArray = 6;
constexpr ZTInt_rpc_type ZTInt_rpc_type_First_Object = 20;  // object code = class number + 20
constexpr ZTInt_rpc_type ZTInt_rpc_type_Last = 82;
constexpr int ZTInt_rpc_type_Count = 83;  // entries of the name table, codes 0 to 82

// Cursor of one encoding or decoding pass over a message's data area.
struct ZTInt_msg_info {
    ZTInt_msg_struct* Message;
    char* Current;  // next byte to read or write
    char* End;      // one past the last data byte
    char* Error;    // NULL, or the owned text of the failure
};

extern "C" {

ZTINT_EXPORT int ZTInt_rpc_type_Is_Valid(ZTInt_rpc_type code);   // 1 to 82
ZTINT_EXPORT int ZTInt_rpc_type_Is_Object(ZTInt_rpc_type code);  // 20 to 82
// The name of a valid code, else "unknown_rpc_type".
ZTINT_EXPORT const char* ZTInt_rpc_type_Name_Of(ZTInt_rpc_type code);

// Points the cursor at the data area of msg; Error := NULL.
void ZTInt_msg_info_Init(ZTInt_msg_info* info, ZTInt_msg_struct* msg);
// End - Current: the bytes left.
long ZTInt_msg_Available(const ZTInt_msg_info* info);

// Encoded length with tag. Object types need no value. A code that is neither
// basic nor object is a fatal assertion.
ZTINT_EXPORT int64_t ZTInt_rpc_Get_Length(ZTInt_rpc_type type, const void* value);
ZTINT_EXPORT int ZTInt_rpc_Encode(ZTInt_msg_info* info, ZTInt_rpc_type type, const void* value);
ZTINT_EXPORT int ZTInt_rpc_Decode(ZTInt_msg_info* info, ZTInt_rpc_type expected_type, void* value);
// Stores the nil form: a zero word for codes 1 to 6, twelve zero bytes for an
// object code. Any other code ends the process.
ZTINT_EXPORT void ZTInt_rpc_Nil(ZTInt_rpc_type type, void* value);

// Sizes of bare values (without tag).
ZTINT_EXPORT int ZTInt_rpc_type_sizeof(void);
ZTINT_EXPORT int ZTInt_rpc_int_sizeof(void);
ZTINT_EXPORT int ZTInt_rpc_LONG_sizeof(void);
ZTINT_EXPORT int ZTInt_rpc_BOOL_sizeof(void);
ZTINT_EXPORT int ZTInt_rpc_object_sizeof(void);
ZTINT_EXPORT int64_t ZTInt_rpc_String_sizeof(const char* s);
ZTINT_EXPORT int64_t ZTInt_rpc_StringArray_sizeof(char* const* a);

// Bare encoders and decoders. A NULL string encodes as the empty string, a NULL
// array as the empty array, a NULL object as the nil handle.
ZTINT_EXPORT int ZTInt_rpc_type_Encode(ZTInt_msg_info* info, ZTInt_rpc_type type);
ZTINT_EXPORT int ZTInt_rpc_type_Decode(ZTInt_msg_info* info, ZTInt_rpc_type* type);
ZTINT_EXPORT int ZTInt_rpc_int_Encode(ZTInt_msg_info* info, int32_t value);
ZTINT_EXPORT int ZTInt_rpc_int_Decode(ZTInt_msg_info* info, int32_t* value);
ZTINT_EXPORT int ZTInt_rpc_LONG_Encode(ZTInt_msg_info* info, int32_t value);
ZTINT_EXPORT int ZTInt_rpc_LONG_Decode(ZTInt_msg_info* info, int32_t* value);
ZTINT_EXPORT int ZTInt_rpc_BOOL_Encode(ZTInt_msg_info* info, int32_t value);
ZTINT_EXPORT int ZTInt_rpc_BOOL_Decode(ZTInt_msg_info* info, int32_t* value);
ZTINT_EXPORT int ZTInt_rpc_object_Encode(ZTInt_msg_info* info, const ZTInt_obj_struct* object);
ZTINT_EXPORT int ZTInt_rpc_object_Decode(ZTInt_msg_info* info, ZTInt_obj_struct* object);
ZTINT_EXPORT int ZTInt_rpc_String_Encode(ZTInt_msg_info* info, const char* s);
// The same for a string whose length in bytes the caller knows: s is not measured again.
int ZTInt_rpc_String_Encode_Bytes(ZTInt_msg_info* info, const char* s, int64_t length);
// Allocates; the caller owns *s. On failure *s is left alone.
ZTINT_EXPORT int ZTInt_rpc_String_Decode(ZTInt_msg_info* info, char** s);
// A long text of a received message whose bytes were read into a string of their own
// (ZTInt_String_Alloc) rather than into the message: at is where they would stand in
// it. The next decode of a string of that length there takes that string instead of
// copying, and owns it. One per thread; one not taken is freed by the next Detach or
// by Drop.
void ZTInt_rpc_Detach_Text(const char* at, int32_t length, char* text);
void ZTInt_rpc_Drop_Detached_Text();
ZTINT_EXPORT int ZTInt_rpc_StringArray_Encode(ZTInt_msg_info* info, char* const* a);
// Allocates; the caller owns *a. A failure inside the elements leaves a partial,
// NULL-terminated array in *a that ZTInt_StringArray_Free releases; a failure on
// the count leaves *a NULL.
ZTINT_EXPORT int ZTInt_rpc_StringArray_Decode(ZTInt_msg_info* info, char*** a);

}  // extern "C"
