/* Compiled as C and as C++ by check_handle_types.py: with ZTINT_MIX_HANDLES it passes an
 * entity where a session is expected, which must not compile; without, it must. */
#include "ztint.h"

int32_t commit(ZTSession* session, ZTEntity* entity)
{
#ifdef ZTINT_MIX_HANDLES
    return ZTSession_BeginTransaction(entity);
#else
    return ZTSession_BeginTransaction(session) + ZTInt_Entity_Free(entity);
#endif
}
