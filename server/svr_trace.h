// The server's trace: when ZT_SERVER_TRACE names a file, the server appends one line
// per event to it, each by a single write so that lines never mix:
//
//   start <server pid>
//   call <client pid> <sequence> <procedure>     every message received
//   refused <client pid>                         a startup beyond the client limit
//   end <reason>
//
// Values of calls are never traced: a logon carries a password.
#pragma once

#include <cstdint>
#include <string>

class Svr_Trace {
public:
    // Opens the file ZT_SERVER_TRACE names, if any.
    static void Open_From_Environment();
    static void Line(const std::string& text);
    static void Call(int32_t pid, int32_t sequence, int32_t procedure);
};
