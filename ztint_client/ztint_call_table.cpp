#include "ztint_client/ztint_call_table.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "ztint_utils/ztint_message.h"

namespace {

// Where each class's calls lie in the table, which is in opcode order: the server
// looks up every call it answers, and a class has a few dozen calls at most.
struct Class_Calls {
    int32_t First = 0;
    int32_t Count = 0;
};

std::vector<Class_Calls> Index_Classes()
{
    std::vector<Class_Calls> classes;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        const auto number = static_cast<std::size_t>(ZTInt_Call_Table[i].Opcode >> ZTInt_msg_Class_Shift);
        if (number >= classes.size())
            classes.resize(number + 1, Class_Calls{i, 0});
        ++classes[number].Count;
    }
    return classes;
}

}  // namespace

const ZTInt_call_entry* ZTInt_call_Find(int32_t opcode)
{
    static const std::vector<Class_Calls> classes = Index_Classes();
    const auto number = static_cast<std::size_t>(opcode >> ZTInt_msg_Class_Shift);
    if (opcode < 0 || number >= classes.size())
        return nullptr;
    const ZTInt_call_entry* begin = ZTInt_Call_Table + classes[number].First;
    const ZTInt_call_entry* end = begin + classes[number].Count;
    // A class's methods mostly follow one another without gaps: look there first.
    if (begin != end) {
        const int32_t guess = opcode - begin->Opcode;
        if (guess >= 0 && guess < end - begin && begin[guess].Opcode == opcode)
            return begin + guess;
    }
    const ZTInt_call_entry* found = std::lower_bound(
        begin, end, opcode, [](const ZTInt_call_entry& entry, int32_t key) { return entry.Opcode < key; });
    return found != end && found->Opcode == opcode ? found : nullptr;
}

const ZTInt_call_entry* ZTInt_call_Find_Name(const char* name)
{
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i)
        if (std::strcmp(ZTInt_Call_Table[i].Name, name) == 0) return &ZTInt_Call_Table[i];
    return nullptr;
}
