#include "server/store/sto_libpq.h"

#include <dlfcn.h>

#include <string>

#include "server/store/sto_engine.h"

namespace {

// The name under which the system installs the library; its major version has stayed
// 5 since PostgreSQL 8.
constexpr const char kLibpqName[] = "libpq.so.5";

template <typename Function>
void Bind(void* library, const char* name, Function& function, std::string& missing)
{
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr)
        missing += missing.empty() ? name : std::string(", ") + name;
}

// The functions, or the reason there are none.
struct Loaded {
    Sto_Libpq Functions;
    std::string Failure;
};

Loaded Load()
{
    Loaded loaded;
    // Never closed: connections and results of the library live until the server ends.
    void* library = dlopen(kLibpqName, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        loaded.Failure = std::string("PostgreSQL's client library can't be loaded: ") +
                         (reason != nullptr ? reason : kLibpqName);
        return loaded;
    }
    Sto_Libpq& functions = loaded.Functions;
    std::string missing;
#define STO_LIBPQ_BIND(name) Bind(library, #name, functions.name, missing);
    STO_LIBPQ_FUNCTIONS(STO_LIBPQ_BIND)
#undef STO_LIBPQ_BIND
    if (!missing.empty())
        loaded.Failure = std::string("PostgreSQL's client library ") + kLibpqName +
                         " lacks functions the store needs: " + missing;
    return loaded;
}

}  // namespace

const Sto_Libpq& Pq()
{
    static const Loaded loaded = Load();
    if (!loaded.Failure.empty())
        throw Sto_Error(loaded.Failure);
    return loaded.Functions;
}
