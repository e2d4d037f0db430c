#include "ztcoreutil/adargvcvt.h"

#include <cstdlib>
#include <cstring>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_safe_malloc.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

template <class Unit>
size_t Count_Of(const Unit* const* Argv) {
    size_t count = 0;
    while (Argv[count]) ++count;
    return count;
}

template <class Unit>
Unit** New_Vector(size_t Count) {
    return static_cast<Unit**>(Hst_Safe_Malloc((Count + 1) * sizeof(Unit*)));
}

template <class Unit>
void Free_Vector(Unit** Vector) {
    if (!Vector) return;
    for (Unit** p = Vector; *p; ++p) std::free(*p);
    std::free(Vector);
}

// malloc copies; null when out of memory.
char* Bytes_Copy(const AdMbcsString& Bytes) {
    const size_t size = static_cast<size_t>(Bytes.getLength()) + 1;
    auto* copy = static_cast<char*>(std::malloc(size));
    if (copy) std::memcpy(copy, Bytes.getData(), size);
    return copy;
}

Code_Unit* Units_Copy(const Fnd_String& Text) {
    const size_t size = (static_cast<size_t>(Text.Get_Length()) + 1) * sizeof(Code_Unit);
    auto* copy = static_cast<Code_Unit*>(std::malloc(size));
    if (copy) std::memcpy(copy, Text.Data(), size);
    return copy;
}

}  // namespace

taargvcvt::taargvcvt(const Code_Unit* const* Argv) {
    const size_t count = Argv ? Count_Of(Argv) : 0;
    Vector = New_Vector<char>(count);
    Valid = Argv != nullptr;
    size_t done = 0;
    for (; done < count; ++done) {
        AdMbcsString bytes;
        if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Argv[done], AdCharset::cvt_stop) ||
            !(Vector[done] = Bytes_Copy(bytes))) {
            Valid = false;
            break;
        }
    }
    Vector[done] = nullptr;
}

taargvcvt::~taargvcvt() { Free_Vector(Vector); }

atargvcvt::atargvcvt(const char* const* Argv) {
    const size_t count = Argv ? Count_Of(Argv) : 0;
    Vector = New_Vector<Code_Unit>(count);
    Valid = Argv != nullptr;
    for (size_t i = 0; i < count; ++i) {
        Fnd_String text;
        if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Argv[i], text,
                                      AdCharset::cvt_stop))
            Valid = false;
        Vector[i] = Units_Copy(text);  // empty after a failure
        if (!Vector[i]) {  // out of memory: the vector ends here
            Valid = false;
            break;
        }
    }
    Vector[count] = nullptr;
}

atargvcvt::~atargvcvt() { Free_Vector(Vector); }

char* Hst_tastrdup(const Code_Unit* Text) {
    AdMbcsString bytes;
    if (!Text || !bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Text, AdCharset::cvt_stop))
        return nullptr;
    return Bytes_Copy(bytes);
}

Code_Unit* Hst_atstrdup(const char* Text) {
    Fnd_String text;
    if (!Text ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Text, text, AdCharset::cvt_stop))
        return nullptr;
    return Units_Copy(text);
}

void Hst_strfree(void* Text) { std::free(Text); }
