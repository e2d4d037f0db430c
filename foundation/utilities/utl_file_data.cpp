#include "foundation/utilities/utl_file_data.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/textio/tio_streams.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

long Trace_Level = 0;

int Status_Of(const char* Path, struct stat& Status, bool Follow) {
    int result;
    do {
        result = Follow ? stat(Path, &Status) : lstat(Path, &Status);
    } while (result != 0 && errno == EINTR);
    return result;
}

}  // namespace

void Utl_File_Data::Set_Trace(long Level) { Trace_Level = Level; }

void Utl_File_Data::Initialize(const Fnd_String& Path, long Follow) {
    if (Trace_Level >= 2) {
        Fnd_String line(u"==> Utl_File_Data::Initialize ");
        line.Append(Path);
        if (!Follow) line.Append(u", stop_at_link");
        Tio_Out.Put_Line(line);
    }
    Make_Nil();
    AdMbcsString path;
    struct stat status {};
    if (!path.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop) ||
        Status_Of(path.getData(), status, false) != 0)
        return;
    Mode = status.st_mode;
    Owner = static_cast<long>(status.st_uid);
    Group = static_cast<long>(status.st_gid);
    Size = static_cast<int64_t>(status.st_size);
    Modified = static_cast<long>(status.st_mtime);
    if (!S_ISLNK(status.st_mode)) return;
    Is_Link = 1;
    if (!Follow) {
        Link_Mode = 0;
        Link_Is_Directory = 1;
        return;
    }
    struct stat target {};
    if (Status_Of(path.getData(), target, true) != 0) return;
    Link_Mode = target.st_mode;
    Link_Is_Directory = S_ISDIR(target.st_mode);
}

long Utl_File_Data::Is_Directory() const {
    return Is_Link ? Link_Is_Directory : S_ISDIR(Mode);
}

long Utl_File_Data::Check_Access(unsigned long Bits) const {
    if (static_cast<long>(geteuid()) != Owner)
        Bits >>= static_cast<long>(getgid()) == Group ? 3 : 6;
    const unsigned long mode = Is_Link ? Link_Mode : Mode;
    return (mode & Bits) == Bits;
}

void Utl_File_Data::Acl_Image(Fnd_String& Text, long Own) const {
    Text = Hst_File_Info::Permissions_Image(Chosen_Mode(Own));
}
