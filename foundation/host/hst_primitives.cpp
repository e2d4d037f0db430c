#include "foundation/host/hst_primitives.h"

#include <netdb.h>
#include <strings.h>

#include <cstdlib>
#include <cstring>

#include "foundation/base/fnd_array_errors.h"
#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_switches.h"
#include "ztcoreutil/admbcsstring.h"

std::size_t Hst_To_Size_T(long Value) {
    Fnd_Assert(static_cast<unsigned long>(Value) < 0x80000000UL,
               Fnd_Array_Constraint_Error(0x7fffffff, Value), Fnd_String::Null);
    return static_cast<std::size_t>(Value);
}

std::uint8_t Hst_To_Byte(long Value) {
    Fnd_Assert(static_cast<unsigned long>(Value) < 256UL, Fnd_Array_Constraint_Error(255, Value),
               Fnd_String::Null);
    return static_cast<std::uint8_t>(Value);
}

void Hst_bzero(void* Block, std::size_t Size) { std::memset(Block, 0, Size); }

int Hst_memcmp(const void* First, const void* Second, std::size_t Size) {
    return std::memcmp(First, Second, Size);
}

void* Hst_memcpy(void* Target, const void* Source, std::size_t Size) {
    return std::memcpy(Target, Source, Size);
}

void* Hst_memmove(void* Target, const void* Source, std::size_t Size) {
    return std::memmove(Target, Source, Size);
}

void* Hst_memset(void* Block, int Value, std::size_t Size) {
    return std::memset(Block, Value, Size);
}

void Hst_qsort(void* Base, std::size_t Count, std::size_t Size,
               int (*Compare)(const void*, const void*)) {
    std::qsort(Base, Count, Size, Compare);
}

Hst_Signal_Handler Hst_signal(int Signal, Hst_Signal_Handler Handler) {
    return std::signal(Signal, Handler);
}

int Hst_Default_Signal(int Signal) {
    struct sigaction action {};
    action.sa_handler = SIG_DFL;
    action.sa_flags = 0;
    sigemptyset(&action.sa_mask);
    return sigaction(Signal, &action, nullptr);
}

int Hst_Handle_Signal(int Signal, Hst_Signal_Handler Handler) {
    struct sigaction action {};
    action.sa_handler = Handler;
    action.sa_flags = 0;
    const int masked = sigfillset(&action.sa_mask);
    if (masked != 0) return masked;
    return sigaction(Signal, &action, nullptr);
}

struct hostent* Hst_gethostbyname(const Code_Unit* Name) {
    AdMbcsString name;
    if (!name.cvtFromTchar(AdCharset::getDefaultCharset(), Name, AdCharset::cvt_stop))
        return nullptr;
    return gethostbyname(name.getData());
}

struct hostent* Hst_gethostbyaddr(const void* Address, unsigned Length, int Type) {
    return gethostbyaddr(Address, Length, Type);
}

Fnd_String Hst_strerror(int Error_Number) { return Hst_Strerror(Error_Number); }
