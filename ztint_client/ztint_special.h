// The connection-level calls (class 0). They are not part of the C interface: the call
// frame sends the startup call on a new connection, and nothing in the library sends the
// shutdown call.
#pragma once

#include <cstdint>

// Tells the server the name of the connection just created. Status 0 means the server
// took it.
int32_t ZTInt_Special_Startup_Stub(const char* name);
int32_t ZTInt_Special_Shutdown_Stub();
