// Socket addresses as the system calls take them: Hst_Sockaddr holds a 16-byte internet
// address record, Hst_Sockaddr_Un a 110-byte Unix-domain one. Both start zeroed, copy
// their record on copy and assignment, and hand the record to the calls unchanged.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "foundation/base/fnd_object.h"
#include "foundation/base/fnd_string.h"

// The internet form. The port and address are stored as given: the class converts no
// byte order.
class Hst_Sockaddr : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_Sockaddr)
public:
    Hst_Sockaddr();
    Hst_Sockaddr(const Hst_Sockaddr& Other);
    Hst_Sockaddr& operator=(const Hst_Sockaddr& Other);

    // The same object; else false for different families, else the remaining 14 bytes.
    long Is_Equal(const Fnd_Object& Other) const override;

    short Get_Address_Family() const { return static_cast<short>(Record.sin_family); }
    short Get_Sin_Family() const { return Get_Address_Family(); }
    void Set_Address_Family(short Family) { Record.sin_family = static_cast<sa_family_t>(Family); }
    void Set_Sin_Family(short Family) { Set_Address_Family(Family); }
    unsigned short Get_Sin_Port() const { return Record.sin_port; }
    void Set_Sin_Port(unsigned short Port) { Record.sin_port = Port; }
    unsigned long Get_Sin_Addr() const { return Record.sin_addr.s_addr; }
    void Set_Sin_Addr(unsigned long Address) {
        Record.sin_addr.s_addr = static_cast<in_addr_t>(Address);
    }

    // The record for a system call, and its length (16).
    sockaddr* Get_Record() { return reinterpret_cast<sockaddr*>(&Record); }
    const sockaddr* Get_Record() const { return reinterpret_cast<const sockaddr*>(&Record); }
    static socklen_t Record_Length() { return sizeof(sockaddr_in); }

private:
    sockaddr_in Record;
};

// The Unix-domain form: a family and 108 bytes of NUL-terminated path.
class Hst_Sockaddr_Un : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Hst_Sockaddr_Un)
public:
    // The longest path in bytes of the default charset; one byte stays for the NUL.
    static constexpr long Max_Path_Bytes = sizeof(sockaddr_un::sun_path) - 1;

    Hst_Sockaddr_Un();
    Hst_Sockaddr_Un(const Hst_Sockaddr_Un& Other);
    Hst_Sockaddr_Un& operator=(const Hst_Sockaddr_Un& Other);

    // The same object; else false for different families, else the 108 path bytes and
    // the path's state.
    long Is_Equal(const Fnd_Object& Other) const override;

    short Get_Sun_Family() const { return static_cast<short>(Record.sun_family); }
    void Set_Sun_Family(short Family) { Record.sun_family = static_cast<sa_family_t>(Family); }

    // The path converted from the default charset; empty when it does not convert.
    Fnd_String Get_Sun_Addr() const;
    // Converts Path to the default charset and copies it in with its NUL. A path that
    // does not convert or is longer than Max_Path_Bytes leaves the path empty, marks
    // the address unusable (Path_Error: EILSEQ or ENAMETOOLONG) and gives 0; the
    // socket calls then fail with that errno without reaching the system. 1 otherwise.
    long Set_Sun_Addr(Fnd_String Path);
    // 0, or the errno of the last Set_Sun_Addr that failed.
    int Path_Error() const { return Bad_Path; }

    sockaddr* Get_Record() { return reinterpret_cast<sockaddr*>(&Record); }
    const sockaddr* Get_Record() const { return reinterpret_cast<const sockaddr*>(&Record); }
    static socklen_t Record_Length() { return sizeof(sockaddr_un); }

private:
    sockaddr_un Record;
    int Bad_Path = 0;
};
