// Feeds arbitrary files to the file reader with its preprocessor.
//
// Input layout: byte 0 is the reader's options; the rest is the text of the file
// "main.cfg", which is also written as "inc.cfg", so that includes of either name (of
// itself, too) and deep or cyclic nesting are reached. The file is read to its end,
// by lines or (bit 0 of byte 1) by tokens across lines with comments dropped. The
// reader must end every time, with no file left open.
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_reader.h"

namespace {

const std::string& Directory() {
    static const std::string dir = [] {
        char name[] = "/tmp/zt_fuzz_reader_XXXXXX";
        const char* made = mkdtemp(name);
        // The reader's messages go to the log, on standard output: keep the run quiet.
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null >= 0) dup2(null, 1);
        return std::string(made ? made : "/tmp");
    }();
    return dir;
}

void Write(const std::string& Path, const uint8_t* Data, size_t Size) {
    const int fd = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) abort();
    if (Size > 0 && write(fd, Data, Size) != static_cast<ssize_t>(Size)) abort();
    close(fd);
}

long Open_Descriptors() {
    long count = 0;
    for (int fd = 0; fd < 1024; ++fd) count += fcntl(fd, F_GETFD) >= 0;
    return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size < 2) return 0;
    const std::string& dir = Directory();
    Write(dir + "/main.cfg", Data + 2, Size - 2);
    Write(dir + "/inc.cfg", Data + 2, Size - 2);
    const long before = Open_Descriptors();
    {
        std::u16string path(dir.begin(), dir.end());
        path += u"/main.cfg";
        Utl_File_Reader reader(Fnd_String(path.c_str()), Data[0]);
        if (Data[1] & 1) {
            Fnd_String token;
            while (reader.Get_Token(token, 1, 1)) {
            }
        } else {
            while (reader.Getline()) {
                if (reader.Get_Include_Level() >= Utl_File_Reader::Max_Include_Depth) abort();
            }
        }
    }
    if (Open_Descriptors() != before) abort();
    return 0;
}
