// Svr_Values: storage for the values of one type list (a call's in-list or out-list),
// in the pointer form the codec takes. Strings and string arrays decoded into it or set
// on it are owned by it and freed with it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ztint_base/ztint_protocol.h"
#include "ztint_utils/ztint_objects.h"

class Svr_Values {
public:
    // types has count entries; every value starts in its nil form.
    Svr_Values(const ZTInt_rpc_type* types, int count);
    ~Svr_Values();
    Svr_Values(const Svr_Values&) = delete;
    Svr_Values& operator=(const Svr_Values&) = delete;

    int Count() const { return static_cast<int>(Cells.size()); }
    const ZTInt_rpc_type* Types() const { return Type_List; }
    // The codec's view: values[i] points at cell i's storage for its type.
    void* const* Pointers() { return Value_Pointers.data(); }

    int32_t Number(int index) const { return Cells[index].Number; }
    // Never NULL: a missing string reads as "".
    const char* Text(int index) const;
    const ZTInt_obj_struct& Object(int index) const { return Cells[index].Object; }
    // A missing array reads as empty.
    std::vector<std::string> Texts(int index) const;

    void Set_Number(int index, int32_t value) { Cells[index].Number = value; }
    void Set_Text(int index, const char* text);  // copies text
    void Set_Texts(int index, const std::vector<std::string>& texts);  // copies texts
    void Set_Object(int index, const ZTInt_obj_struct& object) { Cells[index].Object = object; }

private:
    struct Cell {
        int32_t Number = 0;
        char* Text = nullptr;
        char** Texts = nullptr;
        ZTInt_obj_struct Object = {0, 0, 0, 0};
    };
    const ZTInt_rpc_type* Type_List;
    std::vector<Cell> Cells;
    std::vector<void*> Value_Pointers;
};
