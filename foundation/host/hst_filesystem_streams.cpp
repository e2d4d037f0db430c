// Hst_Filesystem: the operations on C streams.
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_errors.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/host/hst_filesystem_calls.h"

using namespace hst_filesystem_detail;

namespace {

// fopen modes for read, write, read and write; "e" opens the descriptor close-on-exec.
const char* const Path_Modes[] = {nullptr, "re", "we", "r+e"};
const char* const Descriptor_Modes[] = {nullptr, "r", "w", "r+"};

void Stream_Fail(Fnd_Condition& Condition, long Number, int Error, long Count, long Result) {
    Condition.Set_Error(Hst_Sys_Call_Error(Number, Error, Count, Result), 1);
}

bool Valid_Mode(Hst_Filesystem::Hst_Open_Mode Mode) {
    return Mode >= Hst_Filesystem::Hst_Open_Read && Mode <= Hst_Filesystem::Hst_Open_Read_Write;
}

}  // namespace

void Hst_Filesystem::Open_File(const Fnd_String& Path, Hst_Open_Mode Mode,
                               Fnd_Condition& Condition, FILE*& Stream) {
    Condition.Clear();
    Stream = nullptr;
    if (Mode == Hst_Open_None) return;
    AdMbcsString path;
    if (!Valid_Mode(Mode)) {
        errno = EINVAL;
    } else if (Native(Path, path)) {
        do {
            Stream = std::fopen(path.getData(), Path_Modes[Mode]);
        } while (Stream == nullptr && errno == EINTR);
    }
    if (Stream == nullptr)
        Condition.Set_Error(Hst_Sys_Call_Error(3, errno, Path, Fnd_String(), Mode), 1);
}

void Hst_Filesystem::Open_File(int Fd, Hst_Open_Mode Mode, Fnd_Condition& Condition,
                               FILE*& Stream) {
    Condition.Clear();
    Stream = nullptr;
    if (Mode == Hst_Open_None) return;
    if (!Valid_Mode(Mode))
        errno = EINVAL;
    else
        Stream = ::fdopen(Fd, Descriptor_Modes[Mode]);
    if (Stream == nullptr)
        Condition.Set_Error(Hst_Sys_Call_Error(3, errno, Fnd_String_Library::To_String(long{Fd}),
                                               Fnd_String(), Mode),
                            1);
}

int Hst_Filesystem::File_Descriptor(FILE* Stream) {
    return Stream == nullptr ? -1 : ::fileno(Stream);
}

void Hst_Filesystem::Close_File(FILE* Stream, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Stream == nullptr) return;
    Trace(File_Descriptors_Diagnostic, 2, u"Stream Close fd",
          Fnd_String_Library::To_String(long{::fileno(Stream)}));
    // fclose releases the descriptor even when it fails (a final flush that did not
    // go through): closing it again could hit a descriptor opened meanwhile.
    if (std::fclose(Stream) != 0) Condition.Set_Error(Hst_Sys_Call_Error(6, errno), 1);
}

long Hst_Filesystem::Read(FILE* Stream, void* Buffer, long Count, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Count <= 0) return 0;
    clearerr(Stream);
    const size_t result = std::fread(Buffer, 1, static_cast<size_t>(Count), Stream);
    if (result < static_cast<size_t>(Count) && std::ferror(Stream))
        Stream_Fail(Condition, 142, errno, Count, static_cast<long>(result));
    return static_cast<long>(result);
}

long Hst_Filesystem::Write(FILE* Stream, const void* Buffer, long Count,
                           Fnd_Condition& Condition) {
    Condition.Clear();
    if (Count <= 0) return 0;
    const size_t result = std::fwrite(Buffer, 1, static_cast<size_t>(Count), Stream);
    if (result == 0) Stream_Fail(Condition, 144, errno, Count, 0);
    return static_cast<long>(result);
}

char* Hst_Filesystem::Read_String(FILE* Stream, char* Buffer, int Size,
                                  Fnd_Condition& Condition) {
    Condition.Clear();
    if (Buffer == nullptr || Size < 1) {
        Stream_Fail(Condition, 145, EINVAL, Size, 0);
        return nullptr;
    }
    clearerr(Stream);
    if (std::fgets(Buffer, Size, Stream) != nullptr) return Buffer;
    Buffer[0] = '\0';
    if (std::ferror(Stream)) Stream_Fail(Condition, 145, errno, Size, 0);
    return nullptr;
}

void Hst_Filesystem::Write_String(FILE* Stream, const char* Text, Fnd_Condition& Condition) {
    Condition.Clear();
    if (std::fputs(Text, Stream) == EOF) Stream_Fail(Condition, 147, errno, 0, 0);
}

void Hst_Filesystem::Flush_File(FILE* Stream, Fnd_Condition& Condition) {
    Condition.Clear();
    if (std::fflush(Stream) != 0) Stream_Fail(Condition, 149, errno, 0, 0);
}

long Hst_Filesystem::End_Of_File(FILE* Stream) {
    const int unit = std::getc(Stream);
    if (unit == EOF) return 1;
    std::ungetc(unit, Stream);
    return 0;
}

long Hst_Filesystem::Reposition_File(FILE* Stream, long Offset, Hst_File_Position Origin,
                                     Fnd_Condition& Condition) {
    Condition.Clear();
    long position = -1;
    if (std::fseek(Stream, Offset, static_cast<int>(Origin)) == 0) position = std::ftell(Stream);
    if (position < 0) Stream_Fail(Condition, 150, errno, Offset, 0);
    return position;
}
