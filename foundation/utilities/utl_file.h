// Utl_File: a whole file as one text. It opens a file by name, reads all of it into a
// Fnd_String, or writes a string in place of its content, converting between the
// file's bytes (UTF-8 or the default charset) and 16-bit text. Utl_Io_Interface puts a
// buffer and a reading cursor on top of one.
//
// Failures go into the condition as Utl_Text_Error with a text that names the file;
// nothing throws. Lock and Unlock take no lock: they keep the calling shape only.
//
//   Utl_File file(u"/home/me/notes");
//   Fnd_Condition condition;
//   file.Open(Utl_File::Read_Mode, condition, true);
//   Fnd_String text;
//   if (!condition.Failed()) file.Read(text, condition);
//
// Replace_Contents is the crash-safe way to write a file: a temporary file in the same
// directory, written whole, synced and renamed over the old one, so that a reader (or
// a crash at any moment) sees either the old file or the new one, never a part.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>

#include "foundation/base/fnd_string.h"
#include "foundation/base/fnd_string_iterator.h"

class Fnd_Condition;

// How Replace_Contents writes.
struct Utl_Replace_Options {
    bool Use_UTF8 = false;     // else the default charset
    mode_t Permissions = 0600;  // of the new file, whatever the old one had
};

class Utl_File {
public:
    // A fixed underlying type: a mode passed in from outside may be any number.
    enum Open_Mode : int { Read_Mode = 0, Write_Mode = 1, Read_Write_Mode = 2, Closed_Mode = 3 };

    Utl_File() = default;
    explicit Utl_File(const Fnd_String& Name) : Name(Name) {}
    virtual ~Utl_File();
    Utl_File(const Utl_File&) = delete;
    Utl_File& operator=(const Utl_File&) = delete;

    // A new closed object for Name.
    [[nodiscard]] static std::unique_ptr<Utl_File> Resolve(const Fnd_String& Name);

    // Read: the file must exist. Write: made (0666 less the umask) or emptied. Read
    // and write: must exist; neither emptied nor moved.
    virtual void Open(Open_Mode Mode, Fnd_Condition& Condition, bool Use_UTF8);
    // The whole file into Text, converted up to the first zero byte. An empty file
    // leaves Text as it was.
    virtual void Read(Fnd_String& Text, Fnd_Condition& Condition);
    // Text, converted, at the stream's position.
    virtual void Write(const Fnd_String& Text, Fnd_Condition& Condition);
    // The file's content becomes Text.
    virtual void Save(const Fnd_String& Text, Fnd_Condition& Condition);
    // A failed close keeps the mode.
    virtual void Close(Fnd_Condition& Condition);
    virtual void Delete(Fnd_Condition& Condition);
    [[nodiscard]] static std::unique_ptr<Utl_File> Lock(const Fnd_String& Name,
                                                        Fnd_Condition& Condition);
    virtual void Unlock(Fnd_Condition& Condition);
    // Empties the file; it is open for writing after.
    virtual void Truncate(Fnd_Condition& Condition);

    // Replaces the file Name by one holding Text, atomically (see above). The
    // directory is synced too, so that the rename survives a crash of the machine.
    [[nodiscard]] static bool Replace_Contents(const Fnd_String& Name, const Fnd_String& Text,
                                               const Utl_Replace_Options& Options,
                                               Fnd_Condition& Condition);

    const Fnd_String& Get_Name() const { return Name; }
    Open_Mode Get_Mode() const { return Mode; }
    bool Is_UTF8() const { return Use_UTF8; }

private:
    Fnd_String Name;
    Open_Mode Mode = Closed_Mode;
    std::FILE* Stream = nullptr;
    bool Use_UTF8 = false;

    // The text's bytes; false with the failure in Condition.
    bool Encode(const Fnd_String& Text, std::string& Bytes, Fnd_Condition& Condition) const;
    bool Open_Stream(const char* Stdio_Mode, Fnd_Condition& Condition);
    void Fail(Fnd_Condition& Condition, const Code_Unit* Text, bool With_Name) const;
};

class Utl_Io_Interface {
public:
    // Non-zero: each operation prints a line on the output stream.
    static inline long trace = 0;

    Utl_Io_Interface();
    ~Utl_Io_Interface();
    Utl_Io_Interface(const Utl_Io_Interface&) = delete;
    Utl_Io_Interface& operator=(const Utl_Io_Interface&) = delete;

    // The file's name, or the empty string without a file.
    const Fnd_String& Get_Name() const;
    // Modes 0 and 2 read the whole file into the buffer and set the cursor to its start.
    void Open(const Fnd_String& Name, Utl_File::Open_Mode Mode, Fnd_Condition& Condition,
              bool Use_UTF8);
    // Saves a changed buffer, closes and empties the buffer.
    void Close(Fnd_Condition& Condition);
    void Truncate(Fnd_Condition& Condition);
    void Read(Fnd_String& Text) const { Text = Buffer; }
    // Mode 2: overwrites the buffer at the write position (growing it at its end),
    // writes through and moves the position on. Other modes: to the file.
    void Write(const Fnd_String& Text, Fnd_Condition& Condition);
    void Lock(const Fnd_String& Name, Fnd_Condition& Condition);
    void Unlock(Fnd_Condition& Condition);

    // The next token as a number (base 0: "0x" hexadecimal; leading zeros don't make
    // it octal); 0 when there is none.
    Utl_Io_Interface& operator>>(long& Value);
    // The next character; unchanged at the end of the buffer.
    Utl_Io_Interface& operator>>(Code_Unit& Value);
    // As Write, failures dropped.
    Utl_Io_Interface& operator<<(long Value);
    Utl_Io_Interface& operator<<(Code_Unit Value);
    Utl_Io_Interface& operator<<(const Fnd_String& Value);

    const Fnd_String& Get_Buffer() const { return Buffer; }
    long Get_Write_Position() const { return Write_Position; }
    bool Is_Dirty() const { return Dirty; }
    long Get_Mode() const { return Mode; }

    // Overwrites Buffer at Position with Text (as many characters as Text has, no more
    // than there are) and inserts what is left, so that the text grows at its end.
    static void replace_buffer(Fnd_String& Buffer, const Fnd_String& Text, long Position);

private:
    std::unique_ptr<Utl_File> File;
    long Mode = Utl_File::Closed_Mode;
    Fnd_String Buffer;
    Const_Fnd_String_Iterator Cursor;
    long Write_Position = 0;
    bool Dirty = false;

    void Trace(const Code_Unit* What) const;
};
