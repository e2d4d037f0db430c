// The server's trace: when ZT_SERVER_TRACE names a file, the server appends one line
// per event to it, each by a single write so that lines never mix:
//
//   start <server pid>
//   connect <client number> <client pid>         a client's startup call was accepted
//   call <client pid> <sequence> <call> <status> every call answered, by the call's name
//                                                ("procedure <n>" outside the table) and
//                                                the status answered ("error" for an
//                                                Error message)
//   refused <client pid>                         a startup beyond the client limit
//   disconnect <client number> <client pid>      a client has gone
//   end <reason>
//
// Values of calls are never traced: a logon carries a password. In the foreground
// (`ztintsvr run`) connects and disconnects are also reported on standard error.
#pragma once

#include <cstdint>
#include <string>

#include "ztint_utils/ztint_message.h"

class Svr_Trace {
public:
    // Opens the file ZT_SERVER_TRACE names, if any.
    static void Open_From_Environment();
    // Reports connects and disconnects on standard error as well.
    static void Report_Clients_On_Console(bool on);
    static bool Enabled();
    static void Line(const std::string& text);
    // A call and the answer the server gives it.
    static void Call(const ZTInt_msg_struct* call, const ZTInt_msg_struct* answer);
    static void Client_Event(const char* event, int number, int32_t pid);
};
