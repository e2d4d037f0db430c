// Small checked primitives of the host layer: narrowing with a range check, the C
// library's memory and signal functions under host names, host look-up and errno texts.
#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

#include "foundation/base/fnd_code_unit.h"

class Fnd_String;
struct hostent;

// Value as a size. A value of 0x80000000 or more, taken as unsigned (so also any
// negative value), is a programming error (Fnd_Array_Constraint_Error(0x7fffffff, Value)).
std::size_t Hst_To_Size_T(long Value);
// The low byte. 256 or more, taken as unsigned, is a programming error
// (Fnd_Array_Constraint_Error(255, Value)).
std::uint8_t Hst_To_Byte(long Value);

void Hst_bzero(void* Block, std::size_t Size);
int Hst_memcmp(const void* First, const void* Second, std::size_t Size);
void* Hst_memcpy(void* Target, const void* Source, std::size_t Size);
void* Hst_memmove(void* Target, const void* Source, std::size_t Size);
void* Hst_memset(void* Block, int Value, std::size_t Size);
void Hst_qsort(void* Base, std::size_t Count, std::size_t Size,
               int (*Compare)(const void*, const void*));

typedef void (*Hst_Signal_Handler)(int);
Hst_Signal_Handler Hst_signal(int Signal, Hst_Signal_Handler Handler);
// The default action, with no flags and an empty mask. Result of sigaction.
int Hst_Default_Signal(int Signal);
// Handler with no flags and a full mask. Result of sigaction, or of the failed mask call.
int Hst_Handle_Signal(int Signal, Hst_Signal_Handler Handler);

// gethostbyname of a name in the default charset; null when the name does not convert.
struct hostent* Hst_gethostbyname(const Code_Unit* Name);
struct hostent* Hst_gethostbyaddr(const void* Address, unsigned Length, int Type);

// The system's text of an errno value.
Fnd_String Hst_strerror(int Error_Number);
