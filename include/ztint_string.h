/* 8-bit string and string-array helpers of the libztint C interface.
 *
 * Strings are NUL-terminated, in the process's default character set, and live on
 * the C heap. A string array is a block of n + 1 pointers whose last one is NULL;
 * every element is its own heap string owned by the array. Whatever a libztint call
 * hands back is the caller's: release it with ZTInt_String_Free or
 * ZTInt_StringArray_Free. */
#ifndef ZTINT_STRING_H
#define ZTINT_STRING_H

#include "ztint_export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A new heap copy of s; NULL for NULL. */
ZTINT_EXPORT char* ZTInt_String_New(const char* s);
ZTINT_EXPORT char* ZTInt_String_Duplicate(const char* s);
/* A heap block of n + 1 bytes, contents undefined; NULL for a negative n. */
ZTINT_EXPORT char* ZTInt_String_Alloc(long n);
/* Frees s; NULL is allowed. */
ZTINT_EXPORT void ZTInt_String_Free(char* s);
/* Nonzero if s is NULL or its first byte is 0. */
ZTINT_EXPORT int ZTInt_String_Is_Empty(const char* s);
/* strlen; 0 for NULL. */
ZTINT_EXPORT long ZTInt_String_Length(const char* s);
/* Replaces *s with a new heap string holding *s followed by t. */
ZTINT_EXPORT void ZTInt_String_Append(char** s, const char* t);

/* Number of elements before the terminating NULL; 0 for NULL. */
ZTINT_EXPORT long ZTInt_StringArray_Size(char* const* a);
/* A new heap copy of element i; NULL if i is out of range. */
ZTINT_EXPORT char* ZTInt_StringArray_At(char* const* a, long i);
/* Element i itself, still owned by the array; NULL if i is out of range. */
ZTINT_EXPORT char* ZTInt_StringArray_At_Ref(char* const* a, long i);
/* A block for n + 1 pointers with only the last one set (to NULL); NULL for a negative n. */
ZTINT_EXPORT char** ZTInt_StringArray_Alloc(long n);
/* Stores s at i and takes ownership of it; the old element is not freed. */
ZTINT_EXPORT void ZTInt_StringArray_Set(char** a, long i, char* s);
/* Frees every element and the block; NULL is allowed. */
ZTINT_EXPORT void ZTInt_StringArray_Free(char** a);
/* Deep copies; NULL for NULL. */
ZTINT_EXPORT char** ZTInt_StringArray_Duplicate(char* const* a);
ZTINT_EXPORT char** ZTInt_StringArray_New(char* const* a);

#ifdef __cplusplus
}
#endif

#endif
