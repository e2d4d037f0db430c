// The small host functions that stand beside Hst_Switches.
#include <elf.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "foundation/base/fnd_string.h"
#include "foundation/host/hst_switches.h"
#include "foundation/streams/ztfstream.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

bool To_Bytes(const Fnd_String& Path, AdMbcsString& Bytes) {
    return Bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop);
}

bool From_Bytes(const char* Bytes, Fnd_String& Out) {
    return AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), Bytes, Out,
                                    AdCharset::cvt_stop);
}

// The header fields of an executable built for this platform.
constexpr unsigned char This_Class = ELFCLASS64;
constexpr unsigned char This_Data = ELFDATA2LSB;
constexpr uint16_t This_Machine = EM_X86_64;

bool Is_Native_Executable_Header(const unsigned char* Header, ssize_t Count) {
    if (Count < static_cast<ssize_t>(sizeof(Elf64_Ehdr))) return false;
    if (std::memcmp(Header, ELFMAG, SELFMAG) != 0) return false;
    if (Header[EI_CLASS] != This_Class || Header[EI_DATA] != This_Data) return false;
    uint16_t machine;
    std::memcpy(&machine, Header + offsetof(Elf64_Ehdr, e_machine), sizeof machine);
    return machine == This_Machine;
}

}  // namespace

Fnd_String Hst_Strerror(int Number) {
    Fnd_String text;
    char buffer[256];
    // The GNU strerror_r returns the text, which need not lie in the buffer.
    const char* bytes = strerror_r(Number, buffer, sizeof buffer);
    if (bytes == nullptr ||
        !AdMbcsString::cvtToTchar(AdCharset::getDefaultCharset(), bytes, text,
                                  AdCharset::cvt_substitute))
        text.Make_Empty();
    return text;
}

int Hst_Fsync(int Fd) { return fsync(Fd); }

time_t Hst_Mktime(struct tm* Time) { return mktime(Time); }

int Hst_Usleep(unsigned long Microseconds) { return usleep(static_cast<useconds_t>(Microseconds)); }

void* Hst_Memmove(void* Target, const void* Source, std::size_t Size) {
    return std::memmove(Target, Source, Size);
}

void* Hst_thr_getspecific(pthread_key_t Key) { return pthread_getspecific(Key); }

Code_Unit* Hst_Getcwd(Code_Unit* Buffer, std::size_t Size) {
    char bytes[1025];
    if (Buffer == nullptr || Size == 0 || getcwd(bytes, sizeof bytes) == nullptr) return nullptr;
    Fnd_String wide;
    if (!From_Bytes(bytes, wide)) return nullptr;
    const std::size_t length = static_cast<std::size_t>(wide.Get_Length());
    if (length + 1 > Size) return nullptr;
    std::memcpy(Buffer, wide.Data(), (length + 1) * sizeof(Code_Unit));
    return Buffer;
}

const Code_Unit* Hst_Realpath(const Fnd_String& Path, Fnd_String& Buffer) {
    AdMbcsString path;
    if (!To_Bytes(Path, path)) return nullptr;
    char* resolved = realpath(path.getData(), nullptr);
    if (resolved == nullptr) return nullptr;
    const bool converted = From_Bytes(resolved, Buffer);
    free(resolved);
    return converted ? Buffer.Data() : nullptr;
}

int Hst_Lchown(const Fnd_String& Path, uid_t Owner, gid_t Group) {
    AdMbcsString path;
    if (!To_Bytes(Path, path)) return -1;
    return lchown(path.getData(), Owner, Group);
}

long Hst_Process_Exists(pid_t Pid) {
    errno = 0;
    const int priority = getpriority(PRIO_PROCESS, static_cast<id_t>(Pid));
    // -1 is also a valid priority: only errno tells. A process we may not look at
    // exists all the same.
    return priority != -1 || errno != ESRCH;
}

int Hst_Ignore_Signal(int Number) {
    struct sigaction action {};
    action.sa_handler = SIG_IGN;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    return sigaction(Number, &action, nullptr);
}

long Hst_Ignore_Group(long) { return 0; }

long Hst_Max_Open_Files() {
    struct rlimit limit {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    if (limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur > static_cast<rlim_t>(LONG_MAX))
        return LONG_MAX;
    return static_cast<long>(limit.rlim_cur);
}

void Hst_Enable_Full_Core_Dumps() {}

long Hst_Is_Binary_Executable(const Fnd_String& Path, int Fd) {
    const bool own = Fd == -1;
    if (own) {
        AdMbcsString path;
        if (!To_Bytes(Path, path)) return 0;
        Fd = open(path.getData(), O_RDONLY | O_NDELAY | O_CLOEXEC);
        if (Fd < 0) return 0;
    }
    long result = 0;
    struct stat status {};
    if (fstat(Fd, &status) == 0 && S_ISREG(status.st_mode) && (status.st_mode & 0111) != 0) {
        unsigned char header[sizeof(Elf64_Ehdr)];
        // pread reads from the start and leaves a caller's descriptor where it was.
        ssize_t count;
        do {
            count = pread(Fd, header, sizeof header, 0);
        } while (count < 0 && errno == EINTR);
        result = Is_Native_Executable_Header(header, count);
    }
    if (own) close(Fd);
    return result;
}

void Hst_Free_File_Resources() {}

long Hst_Pre_Catalog_Open(const Fnd_String& Path, long& Too_Many) {
    Too_Many = 0;
    AdMbcsString path;
    if (!To_Bytes(Path, path)) return 0;
    int fd;
    do {
        fd = open(path.getData(), O_RDONLY | O_CLOEXEC);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
        Too_Many = errno == ENFILE || errno == EMFILE;
        return 0;
    }
    struct stat status {};
    const long result = fstat(fd, &status) == 0 && status.st_size > 0;
    close(fd);
    return result;
}

namespace {
int Descriptor_Of(std::basic_streambuf<char16_t>* Buffer) {
    const ztfilebuf* file = dynamic_cast<const ztfilebuf*>(Buffer);
    return file ? file->fd() : -1;
}
}  // namespace

int Hst_Get_File_Descriptor_From_IStream(std::basic_istream<char16_t>& Stream) {
    return Descriptor_Of(Stream.rdbuf());
}

int Hst_Get_File_Descriptor_From_OStream(std::basic_ostream<char16_t>& Stream) {
    return Descriptor_Of(Stream.rdbuf());
}
