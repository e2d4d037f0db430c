#include "foundation/utilities/utl_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string_library.h"
#include "foundation/host/hst_file_info.h"
#include "foundation/host/hst_filesystem.h"
#include "foundation/textio/tio_streams.h"
#include "foundation/utilities/utl_errors.h"
#include "ztcoreutil/admbcsstring.h"

namespace {

const AdCharset& Charset_Of(bool Use_UTF8) {
    return Use_UTF8 ? AdCharset::getUTF8Charset() : AdCharset::getDefaultCharset();
}

// The path in the default charset; false when it does not convert.
bool System_Path(const Fnd_String& Path, std::string& Out) {
    AdMbcsString bytes;
    if (!bytes.cvtFromTchar(AdCharset::getDefaultCharset(), Path, AdCharset::cvt_stop) ||
        bytes.getData() == nullptr)
        return false;
    Out = bytes.getString();
    return true;
}

// A descriptor closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int Fd) : Fd(Fd) {}
    ~Descriptor() {
        if (Fd >= 0) close(Fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return Fd; }
    // Closes now; the result of close(2).
    int Close() {
        const int result = close(Fd);
        Fd = -1;
        return result;
    }

private:
    int Fd;
};

bool Write_All(int Fd, const std::string& Bytes) {
    std::size_t done = 0;
    while (done < Bytes.size()) {
        const ssize_t count = write(Fd, Bytes.data() + done, Bytes.size() - done);
        if (count < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

int Sync(int Fd) {
    int result;
    do {
        result = fsync(Fd);
    } while (result != 0 && errno == EINTR);
    return result;
}

// "cannot save <file>: <step>: <system text>" into Condition.
bool Save_Failed(Fnd_Condition& Condition, const Fnd_String& Name, const Code_Unit* Step,
                 int Error) {
    Fnd_String text(u"cannot save ");
    text.Append(Name);
    text.Append(u": ");
    text.Append(Step);
    if (Error != 0) {
        text.Append(u": ");
        text.Append(Fnd_String_Library::Error_Message(Error));
    }
    Condition = Utl_Text_Error(text);
    return false;
}

}  // namespace

// ---- Utl_File

Utl_File::~Utl_File() {
    if (Stream != nullptr) std::fclose(Stream);
}

std::unique_ptr<Utl_File> Utl_File::Resolve(const Fnd_String& Name) {
    return std::make_unique<Utl_File>(Name);
}

void Utl_File::Fail(Fnd_Condition& Condition, const Code_Unit* Text, bool With_Name) const {
    Fnd_String text(Text);
    if (With_Name) text.Append(Name);
    Condition = Utl_Text_Error(text);
}

bool Utl_File::Open_Stream(const char* Stdio_Mode, Fnd_Condition& Condition) {
    std::string path;
    if (!System_Path(Name, path)) {
        Fail(Condition, u"encoding conversion failed", false);
        return false;
    }
    do {
        Stream = std::fopen(path.c_str(), Stdio_Mode);
    } while (Stream == nullptr && errno == EINTR);
    return Stream != nullptr;
}

void Utl_File::Open(Open_Mode Open_As, Fnd_Condition& Condition, bool Utf8) {
    Condition.Clear();
    if (Mode != Closed_Mode) {
        Fail(Condition, u"current utl file object has been used for file ", true);
        return;
    }
    // "e": close-on-exec, so that the file never leaks into a child.
    const char* stdio_mode = Open_As == Read_Mode         ? "re"
                             : Open_As == Write_Mode      ? "we"
                             : Open_As == Read_Write_Mode ? "r+e"
                                                          : nullptr;
    if (stdio_mode == nullptr) {
        Fail(Condition, u"invalid mode on utl file object open", false);
        return;
    }
    if (!Open_Stream(stdio_mode, Condition)) {
        if (!Condition.Failed()) Fail(Condition, u"error in opening file ", true);
        return;
    }
    Mode = Open_As;
    Use_UTF8 = Utf8;
}

void Utl_File::Read(Fnd_String& Text, Fnd_Condition& Condition) {
    Condition.Clear();
    if (Stream == nullptr || Mode == Write_Mode) {
        Fail(Condition, u"Unable to read file ", true);
        return;
    }
    Hst_File_Info info;
    Hst_Filesystem::Get_Info(fileno(Stream), info, Condition);
    if (Condition.Failed()) {
        Fail(Condition, u"Unable to read file ", true);
        return;
    }
    const int64_t length = info.Length();
    if (length <= 0) return;
    std::string bytes(static_cast<std::size_t>(length), '\0');
    const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), Stream);
    if (count == 0 && std::ferror(Stream)) {
        Fail(Condition, u"Unable to read file ", true);
        return;
    }
    bytes.resize(count);
    // Conversion stops at the first zero byte, as for any terminated text.
    Fnd_String converted;
    if (!AdMbcsString::cvtToTchar(Charset_Of(Use_UTF8), bytes.c_str(), -1, converted,
                                  AdCharset::cvt_stop)) {
        Fail(Condition, u"encoding conversion failed", false);
        return;
    }
    Text = converted;
}

bool Utl_File::Encode(const Fnd_String& Text, std::string& Bytes,
                      Fnd_Condition& Condition) const {
    AdMbcsString converted;
    if (!converted.cvtFromTchar(Charset_Of(Use_UTF8), Text, AdCharset::cvt_stop) ||
        converted.getData() == nullptr) {
        Fail(Condition, u"encoding conversion failed", false);
        return false;
    }
    Bytes = converted.getString();
    return true;
}

void Utl_File::Write(const Fnd_String& Text, Fnd_Condition& Condition) {
    Condition.Clear();
    std::string bytes;
    if (!Encode(Text, bytes, Condition)) return;
    // A stream that was read needs a seek before it may be written (C's rule for "r+").
    if (Stream == nullptr || Mode == Read_Mode || std::fseek(Stream, 0, SEEK_CUR) != 0 ||
        std::fwrite(bytes.data(), 1, bytes.size(), Stream) != bytes.size() ||
        std::fflush(Stream) != 0)
        Fail(Condition, u"error in writing to file ", true);
}

void Utl_File::Save(const Fnd_String& Text, Fnd_Condition& Condition) {
    Condition.Clear();
    std::string bytes;
    if (!Encode(Text, bytes, Condition)) return;
    Truncate(Condition);
    if (Condition.Failed()) return;
    Write(Text, Condition);
}

void Utl_File::Close(Fnd_Condition& Condition) {
    Condition.Clear();
    if (Mode == Closed_Mode || Stream == nullptr) {
        Fail(Condition, u"attempt to close utl file object before open", false);
        return;
    }
    std::FILE* stream = Stream;
    Stream = nullptr;
    // The stream is gone either way; a failure keeps the mode so that the caller sees
    // that the last data may not have reached the file.
    if (std::fclose(stream) != 0) {
        Fail(Condition, u"error in closing file ", true);
        return;
    }
    Mode = Closed_Mode;
}

void Utl_File::Delete(Fnd_Condition& Condition) { Hst_Filesystem::Delete_File(Name, Condition, 0); }

std::unique_ptr<Utl_File> Utl_File::Lock(const Fnd_String& Name, Fnd_Condition& Condition) {
    Condition.Clear();
    return Resolve(Name);
}

void Utl_File::Unlock(Fnd_Condition& Condition) { Condition.Clear(); }

void Utl_File::Truncate(Fnd_Condition& Condition) {
    Condition.Clear();
    if (Stream != nullptr) {
        std::fclose(Stream);
        Stream = nullptr;
    }
    if (!Open_Stream("we", Condition)) {
        if (!Condition.Failed()) Fail(Condition, u"error in truncate file ", true);
        Mode = Closed_Mode;
        return;
    }
    Mode = Write_Mode;
}

bool Utl_File::Replace_Contents(const Fnd_String& Name, const Fnd_String& Text,
                                const Utl_Replace_Options& Options, Fnd_Condition& Condition) {
    Condition.Clear();
    AdMbcsString converted;
    if (!converted.cvtFromTchar(Charset_Of(Options.Use_UTF8), Text, AdCharset::cvt_stop) ||
        converted.getData() == nullptr)
        return Save_Failed(Condition, Name, u"encoding conversion failed", 0);
    std::string path;
    if (!System_Path(Name, path) || path.empty())
        return Save_Failed(Condition, Name, u"the name does not convert to the default charset", 0);
    const std::size_t slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    if (base.empty()) return Save_Failed(Condition, Name, u"the name ends in \"/\"", 0);

    // A hidden name in the same directory: the rename stays within one file system,
    // and readers of the directory's settings pass hidden files over.
    std::string temp = dir + "/." + base + ".XXXXXX";
    Descriptor file(mkostemp(temp.data(), O_CLOEXEC));
    if (file.Get() < 0) return Save_Failed(Condition, Name, u"cannot make a temporary file", errno);
    auto give_up = [&](const Code_Unit* Step, int Error) {
        unlink(temp.c_str());
        return Save_Failed(Condition, Name, Step, Error);
    };
    if (fchmod(file.Get(), Options.Permissions) != 0) return give_up(u"chmod", errno);
    if (!Write_All(file.Get(), converted.getString())) return give_up(u"write", errno);
    if (Sync(file.Get()) != 0) return give_up(u"fsync", errno);
    if (file.Close() != 0) return give_up(u"close", errno);
    if (rename(temp.c_str(), path.c_str()) != 0) return give_up(u"rename", errno);
    Descriptor directory(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.Get() >= 0) Sync(directory.Get());  // the file is in place already
    return true;
}

// ---- Utl_Io_Interface

Utl_Io_Interface::Utl_Io_Interface() { Trace(u" constructor"); }

Utl_Io_Interface::~Utl_Io_Interface() { Trace(u" destructor"); }

void Utl_Io_Interface::Trace(const Code_Unit* What) const {
    if (trace == 0) return;
    Fnd_String line(u"=> Utl_Io_Interface: ");
    line.Append(Fnd_String_Library::To_String(static_cast<const void*>(this)));
    line.Append(What);
    Tio_Out.Put_Line(line);
}

const Fnd_String& Utl_Io_Interface::Get_Name() const {
    return File != nullptr ? File->Get_Name() : Fnd_String::Null;
}

void Utl_Io_Interface::Open(const Fnd_String& Name, Utl_File::Open_Mode Open_As,
                            Fnd_Condition& Condition, bool Use_UTF8) {
    Trace(u" Open ");
    if (File == nullptr) File = Utl_File::Resolve(Name);
    File->Open(Open_As, Condition, Use_UTF8);
    if (Condition.Failed()) return;
    Mode = Open_As;
    Write_Position = 0;
    Dirty = false;
    if (Open_As == Utl_File::Read_Mode || Open_As == Utl_File::Read_Write_Mode) {
        Buffer.Make_Empty();
        File->Read(Buffer, Condition);
        Cursor = Const_Fnd_String_Iterator(&Buffer, 0);
    }
}

void Utl_Io_Interface::Close(Fnd_Condition& Condition) {
    Trace(u" Close");
    Condition.Clear();
    if (File == nullptr) return;
    if (Dirty) {
        File->Save(Buffer, Condition);
        if (Condition.Failed()) return;
        Dirty = false;
    }
    File->Close(Condition);
    Buffer.Make_Empty();
    Cursor = Const_Fnd_String_Iterator(&Buffer, 0);
    Mode = Utl_File::Closed_Mode;
}

void Utl_Io_Interface::Truncate(Fnd_Condition& Condition) {
    Trace(u"Truncate");
    Condition.Clear();
    Buffer.Make_Empty();
    Cursor = Const_Fnd_String_Iterator(&Buffer, 0);
    Write_Position = 0;
    Dirty = false;
    if (File != nullptr) File->Truncate(Condition);
}

void Utl_Io_Interface::replace_buffer(Fnd_String& Buffer, const Fnd_String& Text, long Position) {
    if (Position < 0) Position = 0;
    if (Position > Buffer.Get_Length()) Position = Buffer.Get_Length();
    const long replaced = std::min(Text.Get_Length(), Buffer.Get_Length() - Position);
    if (replaced > 0) Buffer.Delete(Position, replaced);
    Buffer.Insert(Text, Position);
}

void Utl_Io_Interface::Write(const Fnd_String& Text, Fnd_Condition& Condition) {
    Trace(u" Write");
    Condition.Clear();
    if (File == nullptr) {
        Condition = Utl_Text_Error(Fnd_String(u"error in writing to file "));
        return;
    }
    if (Mode != Utl_File::Read_Write_Mode) {
        File->Write(Text, Condition);
        return;
    }
    replace_buffer(Buffer, Text, Write_Position);
    Dirty = true;
    Write_Position += Text.Get_Length();
    File->Write(Text, Condition);
}

void Utl_Io_Interface::Lock(const Fnd_String& Name, Fnd_Condition& Condition) {
    Trace(u" Lock ");
    File = Utl_File::Lock(Name, Condition);
}

void Utl_Io_Interface::Unlock(Fnd_Condition& Condition) {
    Trace(u" Unlock");
    Condition.Clear();
    if (File != nullptr) File->Unlock(Condition);
    File.reset();
}

Utl_Io_Interface& Utl_Io_Interface::operator>>(long& Value) {
    Trace(u" Read");
    Fnd_String token;
    if (Cursor.String == nullptr) Cursor = Const_Fnd_String_Iterator(&Buffer, 0);
    Fnd_String_Library::Get_Token(Cursor, token);
    // Leading zeros would make base 0 read the number as octal.
    long first = 0;
    while (first + 1 < token.Get_Length() && token[first] == u'0' && token[first + 1] != u'x' &&
           token[first + 1] != u'X')
        ++first;
    if (first > 0) token.Delete(0, first);
    Value = Fnd_String_Library::To_Long(Const_Fnd_String_Iterator(&token, 0), nullptr, 0);
    return *this;
}

Utl_Io_Interface& Utl_Io_Interface::operator>>(Code_Unit& Value) {
    Trace(u" Read");
    if (Cursor.String == nullptr) Cursor = Const_Fnd_String_Iterator(&Buffer, 0);
    if (Cursor.Position >= 0 && Cursor.Position < Buffer.Get_Length()) {
        Value = Buffer[Cursor.Position];
        ++Cursor.Position;
    }
    return *this;
}

Utl_Io_Interface& Utl_Io_Interface::operator<<(long Value) {
    Fnd_Condition ignored;
    Write(Fnd_String_Library::To_String(Value), ignored);
    return *this;
}

Utl_Io_Interface& Utl_Io_Interface::operator<<(Code_Unit Value) {
    Fnd_Condition ignored;
    Fnd_String text;
    text.Append(Value);
    Write(text, ignored);
    return *this;
}

Utl_Io_Interface& Utl_Io_Interface::operator<<(const Fnd_String& Value) {
    Fnd_Condition ignored;
    Write(Value, ignored);
    return *this;
}
