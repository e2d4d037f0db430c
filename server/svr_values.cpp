#include "server/svr_values.h"

#include "ztint_string.h"

Svr_Values::Svr_Values(const ZTInt_rpc_type* types, int count)
    : Type_List(types), Cells(count), Value_Pointers(count)
{
    for (int i = 0; i < count; ++i) {
        Cell& cell = Cells[i];
        switch (types[i]) {
        case ZTInt_rpc_type_String:
            Value_Pointers[i] = &cell.Text;
            break;
        case ZTInt_rpc_type_StringArray:
            Value_Pointers[i] = &cell.Texts;
            break;
        default:
            Value_Pointers[i] = ZTInt_rpc_type_Is_Object(types[i])
                                    ? static_cast<void*>(&cell.Object)
                                    : static_cast<void*>(&cell.Number);
        }
    }
}

Svr_Values::~Svr_Values()
{
    for (Cell& cell : Cells) {
        ZTInt_String_Free(cell.Text);
        ZTInt_StringArray_Free(cell.Texts);
    }
}

const char* Svr_Values::Text(int index) const
{
    const char* text = Cells[index].Text;
    return text != nullptr ? text : "";
}

void Svr_Values::Set_Text(int index, const char* text)
{
    Cell& cell = Cells[index];
    ZTInt_String_Free(cell.Text);
    cell.Text = ZTInt_String_New(text);
}

std::vector<std::string> Svr_Values::Texts(int index) const
{
    std::vector<std::string> texts;
    char* const* array = Cells[index].Texts;
    for (long i = 0, size = ZTInt_StringArray_Size(array); i < size; ++i) {
        const char* text = ZTInt_StringArray_At_Ref(array, i);
        texts.emplace_back(text != nullptr ? text : "");
    }
    return texts;
}

void Svr_Values::Set_Texts(int index, const std::vector<std::string>& texts)
{
    Cell& cell = Cells[index];
    ZTInt_StringArray_Free(cell.Texts);
    cell.Texts = ZTInt_StringArray_Alloc(static_cast<long>(texts.size()));
    for (std::size_t i = 0; i < texts.size(); ++i)
        ZTInt_StringArray_Set(cell.Texts, static_cast<long>(i), ZTInt_String_New(texts[i].c_str()));
}
