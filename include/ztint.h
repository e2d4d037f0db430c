/* The C interface of libztint.
 *
 * Every remote call is a function ZT<Class>_<Method>(handle, result, parameters...) that
 * returns an int32_t status: 0 for success, -1 when no answer could be had (the reason is
 * then in ZTInt_GetError), any other value as the server sent it. A call with a result sets
 * *result to 0 (NULL) before it starts, so a caller sees 0 on any failure.
 *
 * What a call hands back belongs to the caller: free a string with ZTInt_String_Free, a
 * string array with ZTInt_StringArray_Free, and a handle with the ZTInt_<Class>_Free of its
 * class. A handle result may be NULL with status 0 when the server has no object to give.
 * Parameters that are strings, arrays or handles must not be NULL (a NULL handle is allowed
 * only in ZTInt_<Class>_Free, which then does nothing).
 *
 * Handles of different classes are distinct types. Calls share one process-wide connection
 * and are not safe to make from several threads at once. The type codes of each call's
 * parameters and results are exported as data: <call>_Types_In and <call>_Types_Out, each
 * ended by 0 (ztint_signatures.h). The declarations of the calls themselves, one for each
 * row of the interface's table, are generated into ztint_api.h, which this header includes. */
#ifndef ZTINT_H
#define ZTINT_H

#include <stdint.h>

#include "ztint_export.h"
#include "ztint_string.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The 32-bit integer and boolean of the wire. */
typedef int32_t ZTInt_LONG;
typedef int32_t ZTInt_BOOL;

/* The text of the last failure: the client's own if it has one (no traffic), else the
 * server's. *text is a new string, or NULL if there is none or the server can't be asked. */
ZTINT_EXPORT void ZTInt_GetError(char** text);
/* Sets the server's error text. Nothing reports whether that succeeded. */
ZTINT_EXPORT void ZTInt_SetError(const char* text);

/* Kept for programs built against earlier releases; they do nothing. */
ZTINT_EXPORT void ZTInt_Check_Booleans(void);
ZTINT_EXPORT void libztintsvr_print_verid(void);
ZTINT_EXPORT void libztintsvr_sprintf_verid(void);

#ifdef __cplusplus
}
#endif

#include "ztint_api.h"
#include "ztint_signatures.h"

#endif
