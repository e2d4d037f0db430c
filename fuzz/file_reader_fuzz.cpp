// Feeds arbitrary files to the file reader with its preprocessor.
//
// Input layout: byte 0 is the reader's options; the rest is the text of the file
// "main.cfg", which is also written as "inc.cfg", so that includes of either name (of
// itself, too) and deep or cyclic nesting are reached. The file is read to its end,
// by lines or (bit 0 of byte 1) by tokens across lines with comments dropped. The
// reader must end every time, with no file left open.
#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_reader.h"
#include "fuzz/fuzz_files.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size < 2) return 0;
    const std::string& dir = Fuzz_Directory("/tmp/zt_fuzz_reader_XXXXXX");
    Fuzz_Write(dir + "/main.cfg", Data + 2, Size - 2);
    Fuzz_Write(dir + "/inc.cfg", Data + 2, Size - 2);
    const long before = Fuzz_Open_Descriptors();
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
    if (Fuzz_Open_Descriptors() != before) abort();
    return 0;
}
