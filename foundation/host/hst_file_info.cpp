#include "foundation/host/hst_file_info.h"

#include <sys/stat.h>

#include "foundation/base/fnd_string.h"

Fnd_String Hst_File_Info::Permissions_Image(unsigned long Mode) {
    static constexpr unsigned long Bits[9] = {S_IRUSR, S_IWUSR, S_IXUSR, S_IRGRP, S_IWGRP,
                                              S_IXGRP, S_IROTH, S_IWOTH, S_IXOTH};
    static constexpr Code_Unit Letters[] = u"rwxrwxrwx";
    Code_Unit image[9];
    for (int i = 0; i < 9; ++i) image[i] = (Mode & Bits[i]) ? Letters[i] : u'-';
    if (Mode & S_ISUID) image[2] = (Mode & S_IXUSR) ? u's' : u'S';
    if (Mode & S_ISGID) image[5] = (Mode & S_IXGRP) ? u's' : u'S';
    return Fnd_String(image, 9);
}
