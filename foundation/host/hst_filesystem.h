// Hst_Filesystem: the operating system's file calls in one shape. Every call reports
// through a Fnd_Condition (cleared on success, one error on failure), never by an
// exception, and is repeated by one fixed rule: EINTR at once and without limit,
// ETIMEDOUT at once up to 50 attempts in all; reads also repeat on EAGAIN.
#pragma once

#include <cstddef>

class Fnd_Condition;

class Hst_Filesystem {
public:
    enum Hst_Open_Mode {
        Hst_Open_None = 0,
        Hst_Open_Read = 1,
        Hst_Open_Write = 2,
        Hst_Open_Read_Write = 3
    };

    // Reads up to Length bytes. The count read, which may be less than Length, and 0
    // at the end of the file; -1 on failure (Hst_Sys_Call_Error 141 with Length). On a
    // non-blocking descriptor with nothing to read this spins until data arrives.
    // A negative Length fails with EINVAL before any call.
    static long Read(int Fd, void* Buffer, long Length, Fnd_Condition& Condition);
    // Writes up to Length bytes. The count written, which may be less than Length; -1
    // on failure (Hst_Sys_Call_Error 143 with Length). A count below Length is no
    // failure: the caller writes the rest. A reader that has gone gives EPIPE and
    // never raises SIGPIPE in the process.
    static long Write(int Fd, const void* Buffer, long Length, Fnd_Condition& Condition);
};
