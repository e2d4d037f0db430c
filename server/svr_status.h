// The server's status file, beside its pipe (<pipe>.status, mode 0600): the server's
// pid, when it started and how many clients it serves. The server rewrites it whole
// whenever a client comes or goes; `ztintsvr status` reads it.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <string>

struct Svr_Status {
    pid_t Pid = 0;
    std::time_t Started = 0;
    std::size_t Clients = 0;
};

std::string Svr_Status_Path(const std::string& pipe);
// Replaces the file by one holding status (a temporary file renamed over it, so a
// reader never sees half a file). A status that can't be written is no reason to
// stop serving: failures are ignored.
void Svr_Status_Write(const std::string& path, const Svr_Status& status);
// False if the file is missing, not a regular file of this user, or malformed.
[[nodiscard]] bool Svr_Status_Read(const std::string& path, Svr_Status& status);
