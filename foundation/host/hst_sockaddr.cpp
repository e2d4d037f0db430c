#include "foundation/host/hst_sockaddr.h"

#include <cerrno>
#include <cstring>

#include "ztcoreutil/admbcsstring.h"

static_assert(sizeof(sockaddr_in) == 16, "the internet record is 16 bytes");
static_assert(sizeof(sockaddr_un) == 110, "the Unix-domain record is 110 bytes");

// ---- Hst_Sockaddr

Hst_Sockaddr::Hst_Sockaddr() { std::memset(&Record, 0, sizeof Record); }

Hst_Sockaddr::Hst_Sockaddr(const Hst_Sockaddr& Other) : Fnd_Object(Other) {
    std::memcpy(&Record, &Other.Record, sizeof Record);
}

Hst_Sockaddr& Hst_Sockaddr::operator=(const Hst_Sockaddr& Other) {
    std::memcpy(&Record, &Other.Record, sizeof Record);
    return *this;
}

long Hst_Sockaddr::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Sockaddr* other = Convert(&Other);
    if (other == this) return 1;
    if (other == nullptr || other->Record.sin_family != Record.sin_family) return 0;
    const auto* mine = reinterpret_cast<const unsigned char*>(&Record);
    const auto* theirs = reinterpret_cast<const unsigned char*>(&other->Record);
    const std::size_t family = sizeof Record.sin_family;
    return std::memcmp(mine + family, theirs + family, sizeof Record - family) == 0;
}

// ---- Hst_Sockaddr_Un

Hst_Sockaddr_Un::Hst_Sockaddr_Un() { std::memset(&Record, 0, sizeof Record); }

Hst_Sockaddr_Un::Hst_Sockaddr_Un(const Hst_Sockaddr_Un& Other)
    : Fnd_Object(Other), Bad_Path(Other.Bad_Path) {
    std::memcpy(&Record, &Other.Record, sizeof Record);
}

Hst_Sockaddr_Un& Hst_Sockaddr_Un::operator=(const Hst_Sockaddr_Un& Other) {
    std::memcpy(&Record, &Other.Record, sizeof Record);
    Bad_Path = Other.Bad_Path;
    return *this;
}

long Hst_Sockaddr_Un::Is_Equal(const Fnd_Object& Other) const {
    const Hst_Sockaddr_Un* other = Convert(&Other);
    if (other == this) return 1;
    if (other == nullptr || other->Record.sun_family != Record.sun_family) return 0;
    return other->Bad_Path == Bad_Path &&
           std::memcmp(Record.sun_path, other->Record.sun_path, sizeof Record.sun_path) == 0;
}

Fnd_String Hst_Sockaddr_Un::Get_Sun_Addr() const {
    const int length = static_cast<int>(strnlen(Record.sun_path, sizeof Record.sun_path));
    Fnd_String path;
    if (!AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Record.sun_path, length, path,
                                  AdCharset::cvt_stop))
        path.Make_Empty();
    return path;
}

long Hst_Sockaddr_Un::Set_Sun_Addr(Fnd_String Path) {
    std::memset(Record.sun_path, 0, sizeof Record.sun_path);
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop)) {
        Bad_Path = EILSEQ;
        return 0;
    }
    if (bytes.getLength() > Max_Path_Bytes) {
        Bad_Path = ENAMETOOLONG;
        return 0;
    }
    std::memcpy(Record.sun_path, bytes.getData(), static_cast<std::size_t>(bytes.getLength()) + 1);
    Bad_Path = 0;
    return 1;
}
