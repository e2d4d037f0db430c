// The calls that don't come from the table of stubs: the connection-level calls, the
// error calls, and the exports that work locally.
#include "ztint_client/ztint_special.h"
#include "ztint_client/ztint_stub.h"
#include "ztint_hand_calls.h"

int32_t ZTInt_Special_Startup_Stub(const char* name)
{
    int32_t status = -1;
    const void* const in[] = {&name};
    void* const out[] = {&status};
    ZTInt_stub_Run(ZTInt_op_ZTInt_Special_Startup_Stub, 1, ZTInt_Special_String_Types_In, in, 1,
                   ZTInt_Special_Status_Types_Out, out);
    return status;
}

int32_t ZTInt_Special_Shutdown_Stub()
{
    int32_t status = -1;
    void* const out[] = {&status};
    ZTInt_stub_Run(ZTInt_op_ZTInt_Special_Shutdown_Stub, 0, ZTInt_Special_Nil_Types_In, nullptr, 1,
                   ZTInt_Special_Status_Types_Out, out);
    return status;
}

extern "C" {

void ZTInt_GetError(char** text)
{
    if (text == nullptr) return;
    // The client's own text wins and costs no call.
    if (ZTInt_client_GetError(text)) return;
    *text = nullptr;
    int32_t status = -1;
    void* const out[] = {&status, text};
    ZTInt_stub_Run(ZTInt_op_ZTInt_GetError, 0, ZTInt_GetError_Types_In, nullptr, 2,
                   ZTInt_GetError_Types_Out, out);
}

void ZTInt_SetError(const char* text)
{
    int32_t status = -1;
    const void* const in[] = {&text};
    void* const out[] = {&status};
    ZTInt_stub_Run(ZTInt_op_ZTInt_SetError, 1, ZTInt_SetError_Types_In, in, 1,
                   ZTInt_SetError_Types_Out, out);
}

void ZTInt_Check_Booleans(void) {}
void libztintsvr_print_verid(void) {}
void libztintsvr_sprintf_verid(void) {}

}  // extern "C"
