// What the zt commands share: the two ways a command fails, and taking over what the
// public C interface hands back (texts, text arrays, handles) so that nothing leaks.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "ztint.h"

namespace zt_common {

// A refusal by the server (or of a value): its text on standard error, exit 1.
class Refused : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A wrong command line found after parsing: exit 2.
class Usage : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The text of the last failed call, or a stand-in when the server gave none.
[[nodiscard]] std::string Server_Error();

// Throws Refused with the server's text when status is a failure.
void Check(int32_t status);

// The text, freed; "" for none.
[[nodiscard]] std::string Take(char* text);
// The texts of a string array, freed.
[[nodiscard]] std::vector<std::string> Take(char** array);

template <class T, int32_t (*Free)(T*)>
struct Freer {
    void operator()(T* handle) const { Free(handle); }
};
// A handle of the C interface, freed with its own free function.
template <class T, int32_t (*Free)(T*)>
using Owned = std::unique_ptr<T, Freer<T, Free>>;

// The environment variable's value, or otherwise when it is unset or empty.
[[nodiscard]] std::string Environment(const char* name, const char* otherwise);

// The logon of a command: ZT_USER and ZT_PASSWORD, else the default user and its password;
// ZT_DATABASE and ZT_MASTER, else the demonstration database and the master set.
struct Logon {
    Logon();
    std::string User, Password, Database, Set;
};

}  // namespace zt_common
