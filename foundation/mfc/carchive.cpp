#include "foundation/mfc/carchive.h"

#include <algorithm>
#include <cstring>

#include "foundation/base/fnd_assert.h"
#include "foundation/base/fnd_string.h"

namespace {

[[noreturn]] void Raise(int Cause) { throw new CArchiveException(Cause); }

constexpr int Default_Buffer_Size = 4096;
// Units read at a time into a string, so that a damaged length costs no more memory
// than the bytes that really arrive.
constexpr unsigned long String_Chunk = 32768;

}  // namespace

// ---- CArchiveException

const Code_Unit* CArchiveException::Cause_Text(int Cause) {
    switch (Cause) {
    case None: return u"";
    case Generic: return u"bad archive";
    case Read_Only: return u"archive is read-only";
    case End_Of_File: return u"end of archive";
    case Write_Only: return u"archive is write-only";
    case Bad_Index: return u"bad index";
    case Bad_Class: return u"bad class";
    case Bad_Schema: return u"bad schema";
    default: return u"unknown archive error";
    }
}

int CArchiveException::GetErrorMessage(Code_Unit* Buffer, unsigned Max,
                                       unsigned* pnHelpContext) {
    Fnd_Assert(pnHelpContext == nullptr,
               u"CArchiveException::GetErrorMessage pnHelpContext not null");
    if (m_cause == None) return 0;
    const Code_Unit* text = Cause_Text(m_cause);
    if (!Buffer) return 1;
    long length = 0;
    while (text[length]) ++length;
    if (length >= static_cast<long>(Max)) length = static_cast<long>(Max) - 1;
    if (length < 1) return 1;
    std::memcpy(Buffer, text, sizeof(Code_Unit) * static_cast<size_t>(length));
    Buffer[length] = 0;
    return 1;
}

// ---- CArchive

CArchive::CArchive(CFile* File, unsigned Mode, int Size, void* User)
    : File(File), Mode_Bits(Mode), Buffer_Size(Size < 1 ? Default_Buffer_Size : Size) {
    if (!File) Raise(CArchiveException::Generic);
    User_Buffer = User != nullptr;
    Buffer = User ? static_cast<unsigned char*>(User) : new unsigned char[Buffer_Size];
}

CArchive::~CArchive() {
    if (!(Mode_Bits & bNoFlushOnDelete)) {
        try {
            Close();
        } catch (CArchiveException* e) {
            e->Delete();
        } catch (...) {
        }
    }
    if (!User_Buffer) delete[] Buffer;
}

CFile* CArchive::Checked_File() {
    if (!File) Raise(CArchiveException::Generic);
    return File;
}

void CArchive::Close() {
    if (IsStoring() && Last_Byte && File) {
        const unsigned count = static_cast<unsigned>(Last_Byte - Buffer + 1);
        Last_Byte = nullptr;
        File->Write(Buffer, count);
    }
    Last_Byte = nullptr;
    File = nullptr;
}

void CArchive::Flush() {
    if (IsLoading()) Raise(CArchiveException::Read_Only);
    if (!Last_Byte) return;
    CFile* file = Checked_File();
    const unsigned count = static_cast<unsigned>(Last_Byte - Buffer + 1);
    Last_Byte = nullptr;
    file->Write(Buffer, count);
}

unsigned CArchive::Read(void* To, unsigned Count) {
    if (IsStoring()) Raise(CArchiveException::Write_Only);
    unsigned char* to = static_cast<unsigned char*>(To);
    unsigned got = 0;
    if (Last_Byte) {
        const unsigned at_hand = static_cast<unsigned>(Last_Byte - Read_Position + 1);
        const unsigned taken = std::min(at_hand, Count);
        if (taken) std::memcpy(to, Read_Position, taken);
        got = taken;
        if (taken == at_hand)
            Last_Byte = nullptr;
        else
            Read_Position += taken;
    }
    while (got < Count) {
        const unsigned filled = Checked_File()->Read(Buffer, static_cast<unsigned>(Buffer_Size));
        if (filled == 0) break;
        const unsigned taken = std::min(filled, Count - got);
        std::memcpy(to + got, Buffer, taken);
        got += taken;
        if (taken < filled) {
            Read_Position = Buffer + taken;
            Last_Byte = Buffer + filled - 1;
        }
    }
    return got;
}

void CArchive::Write(const void* From, unsigned Count) {
    if (IsLoading()) Raise(CArchiveException::Read_Only);
    if (Count == 0) return;
    for (;;) {
        if (Count > static_cast<unsigned>(Buffer_Size)) {
            Flush();
            Checked_File()->Write(From, Count);
            return;
        }
        if (!Last_Byte) {
            std::memcpy(Buffer, From, Count);
            Last_Byte = Buffer + Count - 1;
            return;
        }
        const long room = Buffer_Size - (Last_Byte - Buffer) - 1;
        if (static_cast<long>(Count) <= room) {
            std::memcpy(Last_Byte + 1, From, Count);
            Last_Byte += Count;
            return;
        }
        Flush();
    }
}

// ---- Numbers, little-endian on every host

void CArchive::Write_Little_Endian(uint64_t Value, unsigned Bytes) {
    unsigned char bytes[8];
    for (unsigned i = 0; i < Bytes; ++i) bytes[i] = static_cast<unsigned char>(Value >> (8 * i));
    Write(bytes, Bytes);
}

uint64_t CArchive::Read_Little_Endian(unsigned Bytes) {
    unsigned char bytes[8];
    if (Read(bytes, Bytes) != Bytes) Raise(CArchiveException::End_Of_File);
    uint64_t value = 0;
    for (unsigned i = 0; i < Bytes; ++i) value |= static_cast<uint64_t>(bytes[i]) << (8 * i);
    return value;
}

CArchive& CArchive::operator<<(unsigned char Value) {
    Write_Little_Endian(Value, 1);
    return *this;
}

CArchive& CArchive::operator<<(char Value) {
    Write_Little_Endian(static_cast<unsigned char>(Value), 1);
    return *this;
}

CArchive& CArchive::operator<<(unsigned short Value) {
    Write_Little_Endian(Value, 2);
    return *this;
}

CArchive& CArchive::operator<<(short Value) {
    Write_Little_Endian(static_cast<uint16_t>(Value), 2);
    return *this;
}

CArchive& CArchive::operator<<(long Value) {
    Write_Little_Endian(static_cast<uint32_t>(Value), 4);  // the low 4 bytes
    return *this;
}

CArchive& CArchive::operator<<(unsigned long Value) {
    Write_Little_Endian(static_cast<uint32_t>(Value), 4);
    return *this;
}

CArchive& CArchive::operator<<(int Value) {
    Write_Little_Endian(static_cast<uint32_t>(Value), 4);
    return *this;
}

CArchive& CArchive::operator<<(unsigned int Value) {
    Write_Little_Endian(Value, 4);
    return *this;
}

CArchive& CArchive::operator<<(double Value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &Value, sizeof bits);
    Write_Little_Endian(bits, 8);
    return *this;
}

CArchive& CArchive::operator>>(unsigned char& Value) {
    Value = static_cast<unsigned char>(Read_Little_Endian(1));
    return *this;
}

CArchive& CArchive::operator>>(char& Value) {
    Value = static_cast<char>(Read_Little_Endian(1));
    return *this;
}

CArchive& CArchive::operator>>(unsigned short& Value) {
    Value = static_cast<unsigned short>(Read_Little_Endian(2));
    return *this;
}

CArchive& CArchive::operator>>(short& Value) {
    Value = static_cast<short>(static_cast<uint16_t>(Read_Little_Endian(2)));
    return *this;
}

CArchive& CArchive::operator>>(long& Value) {
    Value = static_cast<int32_t>(static_cast<uint32_t>(Read_Little_Endian(4)));
    return *this;
}

CArchive& CArchive::operator>>(unsigned long& Value) {
    Value = static_cast<uint32_t>(Read_Little_Endian(4));
    return *this;
}

CArchive& CArchive::operator>>(int& Value) {
    Value = static_cast<int32_t>(static_cast<uint32_t>(Read_Little_Endian(4)));
    return *this;
}

CArchive& CArchive::operator>>(unsigned int& Value) {
    Value = static_cast<uint32_t>(Read_Little_Endian(4));
    return *this;
}

CArchive& CArchive::operator>>(double& Value) {
    const uint64_t bits = Read_Little_Endian(8);
    std::memcpy(&Value, &bits, sizeof Value);
    return *this;
}

// ---- Strings and objects

CArchive& operator<<(CArchive& Archive, const Fnd_String& Text) {
    const unsigned long length = static_cast<unsigned long>(Text.Get_Length());
    if (length < 255) {
        Archive << static_cast<unsigned char>(length);
    } else if (length <= 65533) {
        Archive << static_cast<unsigned char>(255) << static_cast<unsigned short>(length);
    } else {
        Archive << static_cast<unsigned char>(255) << static_cast<unsigned short>(65535)
                << static_cast<unsigned int>(length);
    }
    // The units as they stand in memory, in the host's order.
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(Text.Data());
    unsigned long left = length * sizeof(Code_Unit);
    while (left > 0) {
        const unsigned part = static_cast<unsigned>(std::min<unsigned long>(left, 1UL << 30));
        Archive.Write(bytes, part);
        bytes += part;
        left -= part;
    }
    return Archive;
}

CArchive& operator>>(CArchive& Archive, Fnd_String& Text) {
    unsigned char first = 0;
    Archive >> first;
    unsigned long length = first;
    if (first == 255) {
        unsigned short middle = 0;
        Archive >> middle;
        length = middle;
        if (middle == 65535) {
            unsigned int full = 0;
            Archive >> full;
            length = full;
        }
    }
    Text.Make_Empty();
    if (length == 0) return Archive;
    // Chunk by chunk: the string grows only with bytes that arrived.
    Fnd_String read;
    read.Ensure_Storage(static_cast<long>(std::min(length, String_Chunk)));
    Code_Unit chunk[1024];
    unsigned long left = length;
    while (left > 0) {
        const unsigned units = static_cast<unsigned>(std::min<unsigned long>(left, 1024));
        const unsigned bytes = units * sizeof(Code_Unit);
        if (Archive.Read(chunk, bytes) != bytes) Raise(CArchiveException::End_Of_File);
        const long needed = read.Get_Length() + units;
        if (needed > read.GetAllocLength())
            read.Ensure_Storage(static_cast<long>(
                std::min<unsigned long>(length, std::max<unsigned long>(
                                                    2UL * static_cast<unsigned long>(needed),
                                                    String_Chunk))));
        read.Append_Data(chunk, units);
        left -= units;
    }
    read.Transfer(Text);
    return Archive;
}

CArchive& operator<<(CArchive& Archive, const CObject* Object) {
    const_cast<CObject*>(Object)->Serialize(Archive);
    return Archive;
}

CArchive& operator>>(CArchive& Archive, CObject*& Object) {
    Object->Serialize(Archive);
    return Archive;
}

CArchive& operator>>(CArchive& Archive, const CObject*& Object) {
    const_cast<CObject*>(Object)->Serialize(Archive);
    return Archive;
}
