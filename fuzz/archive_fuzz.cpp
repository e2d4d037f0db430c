// Loads arbitrary bytes through CArchive, as a damaged file would present them.
//
// Input layout: byte 0 chooses the archive's buffer size (1 to 256 bytes, so that
// values straddle refills) and byte 1 what is read: a string array by its own stored
// form, or a run of keyed entries into the maps (a 16-bit count, then per entry a type
// byte and the key and value). The rest is the stream. Whatever is read must either
// come back whole or end in an archive exception; the strings that came back are also
// parsed as the utilities' serial form.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "foundation/base/fnd_string.h"
#include "foundation/mfc/carchive.h"
#include "foundation/mfc/ccollections.h"
#include "foundation/mfc/cmap.h"
#include "foundation/utilities/utl_string_array.h"
#include "foundation/utilities/utl_string_utilities.h"

namespace {

class Bytes_File : public CFile {
public:
    Bytes_File(const uint8_t* Data, size_t Size) : Data(Data), Size(Size) {}
    unsigned Read(void* Buffer, unsigned Count) override {
        const size_t n = Count < Size - At ? Count : Size - At;
        if (n) std::memcpy(Buffer, Data + At, n);
        At += n;
        return static_cast<unsigned>(n);
    }
    void Write(const void*, unsigned) override {}

private:
    const uint8_t* Data;
    size_t Size;
    size_t At = 0;
};

// Parses Text as the serial form: a count and strings, then numbers to the end.
void Parse_Serial(const Fnd_String& Text) {
    Utl_String_Array array(4, 0);
    long pos = 0;
    Utl_String_Utilities::Get(Text, pos, array);
    long number = 0;
    for (int i = 0; i < 64 && pos < Text.Get_Length(); ++i) {
        const long before = pos;
        Utl_String_Utilities::Get(Text, pos, number);
        if (pos == before) ++pos;
    }
}

void Read_Maps(CArchive& Archive) {
    CMapStringToString strings;
    CMapStringToLong numbers(7);
    CMapPtrToWord words(5);
    unsigned short count = 0;
    Archive >> count;
    Fnd_String key;
    Fnd_String value;
    for (unsigned i = 0; i < count; ++i) {
        unsigned char type = 0;
        Archive >> type >> key;
        switch (type % 3) {
        case 0:
            Archive >> value;
            strings[key] = value;
            Parse_Serial(value);
            break;
        case 1: {
            long number = 0;
            Archive >> number;
            numbers[key] += number;
            break;
        }
        default: {
            unsigned short word = 0;
            Archive >> word;
            words[reinterpret_cast<void*>(static_cast<uintptr_t>(key.Get_Length()) << 4)] = word;
            break;
        }
        }
    }
    // Walk what was read, as a caller would.
    for (POSITION at = strings.GetStartPosition(); at;) strings.GetNextAssoc(at, key, value);
    CStringArray domains;
    domains.Add_Members(strings);
    domains.Sort();
    for (long i = 0; i < domains.Get_Count(); ++i)
        if (!domains.Contains(*domains[i])) __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size < 2) return 0;
    const int buffer_size = 1 + Data[0];
    const bool maps = Data[1] & 1;
    Bytes_File file(Data + 2, Size - 2);
    try {
        CArchive archive(&file, CArchive::load, buffer_size);
        if (maps) {
            Read_Maps(archive);
        } else {
            CStringArray array;
            array.Serialize(archive);
            for (long i = 0; i < array.Get_Count(); ++i) Parse_Serial(array.Subscript(i));
        }
    } catch (CArchiveException* e) {
        if (e->m_cause != CArchiveException::End_Of_File) __builtin_trap();
        e->Delete();
    }
    return 0;
}
