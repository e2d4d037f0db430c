// Hst_Socket: the system's socket calls as static functions that report through a
// Fnd_Condition. Each clears the condition on success; a failing call leaves one
// Fnd_Sys_Call_Error with the call's name, errno and the context "socket interface".
// Nothing is retried here, EINTR included: that is for the callers.
//
// Every descriptor made here is close-on-exec, so no child inherits it, and a write
// never raises SIGPIPE: a gone peer shows as EPIPE.
#pragma once

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_sockaddr.h"

class Fnd_Condition;

class Hst_Socket {
public:
    Hst_Socket() = delete;

    // socket(2) with close-on-exec added to Type. The descriptor, or -1.
    static int Socket(int Family, int Type, int Protocol, Fnd_Condition& Condition);
    // Takes a connection and fills Address. The new descriptor (close-on-exec), or -1.
    static int Accept(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition);
    static int Accept(int Fd, Hst_Sockaddr_Un& Address, Fnd_Condition& Condition);
    // Whether Fd has input (a connection to take, for a listening socket) within
    // Milliseconds (negative: no limit). 1 when it has, 0 when the time ran out, -1
    // on failure ("poll"). An interrupted wait goes on for the time that is left.
    static long Wait_For_Input(int Fd, long Milliseconds, Fnd_Condition& Condition);

    // The boolean-style calls give 1 on success and 0 on failure.
    static long Bind(int Fd, const Hst_Sockaddr& Address, Fnd_Condition& Condition);
    static long Bind(int Fd, const Hst_Sockaddr_Un& Address, Fnd_Condition& Condition);
    static long Connect(int Fd, const Hst_Sockaddr& Address, Fnd_Condition& Condition);
    static long Connect(int Fd, const Hst_Sockaddr_Un& Address, Fnd_Condition& Condition);
    static long Listen(int Fd, int Backlog, Fnd_Condition& Condition);
    static long Close(int Fd, Fnd_Condition& Condition);
    // unlink(2) of Path in the default charset.
    static long Unlink(const Fnd_String& Path, Fnd_Condition& Condition);

    // The count, or -1. With Non_Blocking set, EAGAIN is no failure: the count is 0
    // and the condition clean.
    static long Read(int Fd, void* Buffer, long Length, long Non_Blocking,
                     Fnd_Condition& Condition);
    // As Read. Buffer is not moved.
    static long Write(int Fd, const void*& Buffer, long Length, long Non_Blocking,
                      Fnd_Condition& Condition);

    // Blocking non-zero clears O_NDELAY, 0 sets it (the opposite sense of the
    // filesystem's non-blocking switch). Failures "fcntl_getflags", "fcntl_blocking".
    static long Set_Blocking(int Fd, long Blocking, Fnd_Condition& Condition);
    // TCP_NODELAY to 1 when On is above 0, else 0.
    static long Set_No_Delay(int Fd, long On, Fnd_Condition& Condition);

    // The first address of Name (as stored in the record's address field) and its
    // length; both 0 on failure.
    static long Gethostbyname(const Fnd_String& Name, unsigned long& Address, int& Length,
                              Fnd_Condition& Condition);
    static long Getsockname(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition);
    static long Getsockname(int Fd, Hst_Sockaddr_Un& Address, Fnd_Condition& Condition);
    static long Getpeername(int Fd, Hst_Sockaddr& Address, Fnd_Condition& Condition);

    // "<address>:<port>" of the internet socket Fd: the address of this machine's name
    // and the port Fd is bound to, both in decimal. Empty on failure.
    static void Get_Image(Fnd_Condition& Condition, int Fd, Fnd_String& Image);

    // The host name of the address; empty when it cannot be looked up or converted.
    static void Get_Machine_Name(const Hst_Sockaddr& Address, Fnd_String& Name);
    static void Get_Machine_Name_Un(const Hst_Sockaddr_Un& Address, Fnd_String& Name);
};
