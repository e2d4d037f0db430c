// Feeds arbitrary files to the settings file parser, and saves what it read.
//
// Input layout: bit 0 of byte 0 reads the file as UTF-8 (else the default charset);
// the rest is the file. The read must end with no file left open. When the map read
// can be saved (its names are all writable), the saved file must read back to the same
// fields: single-line values as they were stripped at both ends, multi-line values
// less one final newline, empty values left out.
#include <cstddef>
#include <cstdint>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_string.h"
#include "foundation/utilities/utl_file_string_map.h"
#include "fuzz/fuzz_files.h"

namespace {

Fnd_String Wide(const std::string& Text) { return Fnd_String(std::u16string(Text.begin(), Text.end()).c_str()); }

// Fnd_String::Find stops at a zero character, which a value may hold.
bool Has_Newline(const Fnd_String& Text) {
    for (long i = 0; i < Text.Get_Length(); ++i)
        if (Text[i] == u'\n') return true;
    return false;
}

// What a value of the map reads back as after a save.
Fnd_String Read_Back_Form(const Fnd_String& Value) {
    Fnd_String form(Value);
    if (!Has_Newline(Value)) {
        form.TrimLeft();
        form.TrimRight();
    } else if (form[form.Get_Length() - 1] == u'\n') {
        form = form.Get(0, form.Get_Length() - 1);
    }
    return form;
}

void Check_Round_Trip(const Utl_File_String_Map& Map, const std::string& Saved, bool Use_UTF8) {
    Utl_File_String_Map back(17, Utl_Case_Unchanged, Use_UTF8);
    Fnd_Condition condition;
    back.Read(condition, Wide(Saved));
    if (condition.Failed()) abort();
    long written = 0;
    for (utl_string_map_data* node = Map.first(); node != nullptr; Map.next(node)) {
        Fnd_String name, value;
        Utl_String_Map::get_data(node, name, value);
        if (value.Is_Empty()) {
            if (back.Is_Bound(name)) abort();  // an empty value isn't written
            continue;
        }
        ++written;
        Fnd_String again;
        if (!back.Get_Range(name, again) || !(again == Read_Back_Form(value))) abort();
    }
    if (back.Get_Count() != written) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size) {
    if (Size < 1) return 0;
    const std::string& dir = Fuzz_Directory("/tmp/zt_fuzz_settings_XXXXXX");
    const bool use_utf8 = Data[0] & 1;
    Fuzz_Write(dir + "/Login-fuzz", Data + 1, Size - 1);
    const long before = Fuzz_Open_Descriptors();
    {
        Utl_File_String_Map map(17, Utl_Case_Unchanged, use_utf8);
        Fnd_Condition condition;
        map.Read(condition, Wide(dir + "/Login-fuzz"));
        const std::string saved = dir + "/saved";
        map.Save(condition, Wide(saved));
        if (!condition.Failed()) Check_Round_Trip(map, saved, use_utf8);
    }
    if (Fuzz_Open_Descriptors() != before) abort();
    return 0;
}
