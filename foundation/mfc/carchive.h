// CArchive: a buffered binary stream over a CFile, in one direction. The stream is the
// bare sequence of what was written: numbers little-endian on every host (a long as its
// low 4 bytes), a string as a length field and its 16-bit units as they stand in memory.
//
//   Length n      Length field
//   below 255     1 byte n
//   255..65533    byte 255, then n in 2 bytes
//   65534 and up  byte 255, 2 bytes 65535, then n in 4 bytes
//
// Failures raise a heap CArchiveException* (end it with Delete): 1 a null file (or a
// closed archive), 2 writing to a loading archive, 3 the end of the stream inside a
// value, 4 reading from a storing archive. A length read from a damaged stream is never
// trusted for an allocation: a string grows only with the bytes that really arrive.
#pragma once

#include <cstdint>

#include "foundation/mfc/cexception.h"

class Fnd_String;

// The stream under an archive, given by the caller.
class CFile {
public:
    virtual ~CFile() = default;
    // The number of bytes got; 0 at the end.
    virtual unsigned Read(void* Buffer, unsigned Count) = 0;
    virtual void Write(const void* Buffer, unsigned Count) = 0;
};

class CArchiveException : public CException {
    FND_OBJECT_MEMBERS(CArchiveException, CException)
public:
    enum {
        None = 0,
        Generic = 1,          // "bad archive": raised for a null file
        Read_Only = 2,        // writing to a loading archive
        End_Of_File = 3,      // the stream ended inside a value
        Write_Only = 4,       // reading from a storing archive
        Bad_Index = 5,
        Bad_Class = 6,
        Bad_Schema = 7
    };

    int m_cause;

    explicit CArchiveException(int Cause = None) : m_cause(Cause) {}
    CArchiveException(const CArchiveException&) = default;

    // The cause's text ("end of archive", ...) as far as Max allows; 0 for cause 0.
    int GetErrorMessage(Code_Unit* Buffer, unsigned Max, unsigned* pnHelpContext) override;
    // The cause's text; empty for cause 0.
    static const Code_Unit* Cause_Text(int Cause);
};

class CArchive {
public:
    enum Mode { store = 0, load = 1, bNoFlushOnDelete = 2 };

    // A null file raises cause 1. A given buffer is used and stays the caller's; else
    // Size bytes are allocated (4096 for a Size below 1).
    CArchive(CFile* File, unsigned Mode, int Size = 4096, void* Buffer = nullptr);
    // Closes (unless the mode has bNoFlushOnDelete) and frees an own buffer. A failure
    // of the file there is swallowed: call Close to see it.
    ~CArchive();
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    bool IsLoading() const { return (Mode_Bits & load) != 0; }
    bool IsStoring() const { return !IsLoading(); }
    CFile* GetFile() const { return File; }

    // Writes what a storing archive holds; the file becomes null.
    void Close();
    // The bytes copied: Count, or fewer at the end of the file.
    unsigned Read(void* To, unsigned Count);
    void Write(const void* From, unsigned Count);
    void Flush();

    CArchive& operator<<(unsigned char Value);
    CArchive& operator<<(char Value);
    CArchive& operator<<(unsigned short Value);
    CArchive& operator<<(short Value);
    CArchive& operator<<(long Value);
    CArchive& operator<<(unsigned long Value);
    CArchive& operator<<(int Value);
    CArchive& operator<<(unsigned int Value);
    CArchive& operator<<(double Value);

    CArchive& operator>>(unsigned char& Value);
    CArchive& operator>>(char& Value);
    CArchive& operator>>(unsigned short& Value);
    CArchive& operator>>(short& Value);
    CArchive& operator>>(long& Value);
    CArchive& operator>>(unsigned long& Value);
    CArchive& operator>>(int& Value);
    CArchive& operator>>(unsigned int& Value);
    CArchive& operator>>(double& Value);

private:
    CFile* File;
    uint32_t Mode_Bits;
    int32_t Buffer_Size;
    unsigned char* Buffer;
    bool User_Buffer;
    unsigned char* Read_Position = nullptr;
    unsigned char* Last_Byte = nullptr;  // null while the buffer holds nothing

    void Write_Little_Endian(uint64_t Value, unsigned Bytes);
    uint64_t Read_Little_Endian(unsigned Bytes);
    CFile* Checked_File();
};

// The string form above.
CArchive& operator<<(CArchive& Archive, const Fnd_String& Text);
CArchive& operator>>(CArchive& Archive, Fnd_String& Text);
// Objects write and read themselves with Serialize; the pointer must already point to
// the object that is read. No class information is on the stream.
CArchive& operator<<(CArchive& Archive, const CObject* Object);
CArchive& operator>>(CArchive& Archive, CObject*& Object);
CArchive& operator>>(CArchive& Archive, const CObject*& Object);
