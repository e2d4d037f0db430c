#include "server/svr_values.h"

#include "server/svr_transfer.h"

#include <cstdlib>
#include <cstring>

#include "ztint_base/ztint_assert.h"
#include "ztint_string.h"

namespace {

constexpr int32_t kHeaderSize = sizeof(ZTInt_msg_struct);
constexpr int64_t kTagSize = 1;
constexpr int64_t kWordSize = 4;

}  // namespace

Svr_Values::~Svr_Values()
{
    for (Cell& cell : Cells) {
        Release_Text(cell);
        ZTInt_String_Free(cell.Buffer);
        ZTInt_StringArray_Free(cell.Texts);
    }
}

// The cell holds no text; its buffer stays.
void Svr_Values::Release_Text(Cell& cell)
{
    if (cell.Text != nullptr && cell.Text != cell.Buffer && !cell.Borrowed)
        ZTInt_String_Free(cell.Text);
    cell.Text = nullptr;
    cell.Length = kUnknown;
    cell.Borrowed = false;
}

void Svr_Values::Reset(const ZTInt_rpc_type* types, int count)
{
    if (count < 0 || count > Max_Count)
        ZTInt_abort3("count >= 0 && count <= Svr_Values::Max_Count", __FILE__, __LINE__);
    // Every call starts over twice: only the cells the last values used are cleared,
    // and those that hold nothing cost no call.
    for (int i = 0; i < Touched; ++i) {
        Cell& cell = Cells[static_cast<std::size_t>(i)];
        cell.Number = 0;
        cell.Object = {0, 0, 0, 0};
        if (cell.Texts != nullptr) {
            ZTInt_StringArray_Free(cell.Texts);
            cell.Texts = nullptr;
        }
        if (cell.Text != nullptr)
            Release_Text(cell);
        cell.Length = kUnknown;
        cell.Borrowed = false;
        if (cell.Room > Svr_Largest_Kept_Buffer) [[unlikely]] {
            ZTInt_String_Free(cell.Buffer);
            cell.Buffer = nullptr;
            cell.Room = 0;
        }
    }
    Type_List = types;
    Value_Count = count;
    Touched = count;  // the decoder writes these
}

void* Svr_Values::Pointer_Of(int index)
{
    Cell& cell = Changing(index);
    const ZTInt_rpc_type type = Type_List[index];
    if (type == ZTInt_rpc_type_String)
        return &cell.Text;
    if (type == ZTInt_rpc_type_StringArray)
        return &cell.Texts;
    return ZTInt_rpc_type_Is_Object(type) ? static_cast<void*>(&cell.Object)
                                          : static_cast<void*>(&cell.Number);
}

void* const* Svr_Values::Pointers()
{
    for (int i = 0; i < Value_Count; ++i) {
        Cell& cell = Cells[i];
        if (Type_List[i] == ZTInt_rpc_type_String) {
            // A decoder may put a heap text of its own there, which the cell then owns:
            // a text left in a message becomes the cell's own first.
            if (cell.Borrowed && !Assign_Text(cell, cell.Text, Text_Length(cell)))
                ZTInt_abort3("memory allocation failed for a text of the server", __FILE__, __LINE__);
            cell.Length = kUnknown;
        }
        Value_Pointers[i] = Pointer_Of(i);
    }
    return Value_Pointers.data();
}

bool Svr_Values::Assign_Text(Cell& cell, const char* bytes, int64_t length)
{
    if (cell.Room < length + 1) {
        char* grown = ZTInt_String_Alloc(length);
        if (grown == nullptr)
            return false;
        if (length > 0)
            std::memcpy(grown, bytes, static_cast<size_t>(length));  // bytes may be in the old buffer
        Release_Text(cell);
        ZTInt_String_Free(cell.Buffer);
        cell.Buffer = grown;
        cell.Room = length + 1;
    } else {
        if (length > 0)
            std::memmove(cell.Buffer, bytes, static_cast<size_t>(length));
        if (cell.Text != cell.Buffer)
            Release_Text(cell);
    }
    cell.Buffer[length] = '\0';
    cell.Text = cell.Buffer;
    cell.Length = length;
    cell.Borrowed = false;
    return true;
}

bool Svr_Values::Decode_Text(ZTInt_msg_info& info, Cell& cell, Svr_Texts texts)
{
    ZTInt_rpc_type tag = 0;
    int32_t length = 0;
    if (!ZTInt_rpc_type_Decode(&info, &tag) || tag != ZTInt_rpc_type_String ||
        !ZTInt_rpc_int_Decode(&info, &length) || length < 0 || length > ZTInt_msg_Available(&info))
        return false;
    if (texts == Svr_Texts::Copied) {
        if (!Assign_Text(cell, info.Current, length))
            return false;
    } else {
        Release_Text(cell);
        cell.Text = info.Current;  // ended once the whole list has been read
        cell.Length = length;
        cell.Borrowed = true;
    }
    info.Current += length;
    return true;
}

bool Svr_Values::Decode(ZTInt_msg_struct* message, Svr_Texts texts)
{
    ZTInt_msg_info info;
    ZTInt_msg_info_Init(&info, message);
    bool decoded = true;
    for (int i = 0; i < Value_Count && decoded; ++i) {
        // Texts go into the kept buffers or stay; the other types decode without
        // allocating.
        decoded = Type_List[i] == ZTInt_rpc_type_String
                      ? Decode_Text(info, Cells[i], texts)
                      : ZTInt_rpc_Decode(&info, Type_List[i], Pointer_Of(i)) != 0;
    }
    ZTInt_String_Free(info.Error);
    decoded = decoded && ZTInt_msg_Available(&info) == 0;
    // A text left in the message ends where the next value's tag was, or just after the
    // data: only now that every value has been read can the bytes be overwritten.
    for (int i = 0; i < Value_Count; ++i) {
        Cell& cell = Cells[i];
        if (!decoded)
            Release_Text(cell);  // a list that failed holds no texts
        else if (cell.Borrowed)
            cell.Text[cell.Length] = '\0';
    }
    return decoded;
}

int64_t Svr_Values::Text_Length(const Cell& cell)
{
    if (cell.Text == nullptr)
        return 0;
    return cell.Length != kUnknown ? cell.Length : static_cast<int64_t>(std::strlen(cell.Text));
}

int64_t Svr_Values::Data_Size() const
{
    int64_t size = 0;
    for (int i = 0; i < Value_Count; ++i) {
        const ZTInt_rpc_type type = Type_List[i];
        if (type == ZTInt_rpc_type_String)
            size += kTagSize + kWordSize + Text_Length(Cells[i]);
        else if (type == ZTInt_rpc_type_StringArray)
            size += kTagSize + ZTInt_rpc_StringArray_sizeof(Cells[i].Texts);
        else
            size += ZTInt_rpc_Get_Length(type, nullptr);
    }
    return size;
}

bool Svr_Values::Encode_Value(ZTInt_msg_info& info, int index, ZTInt_msg_struct* reply,
                              ZTInt_msg_gather* gather)
{
    const ZTInt_rpc_type type = Type_List[index];
    if (type != ZTInt_rpc_type_String)
        return ZTInt_rpc_Encode(&info, type, Pointer_Of(index)) != 0;
    // The length is known: no second pass over the text to measure it.
    const Cell& cell = Cells[index];
    const int64_t length = Text_Length(cell);
    if (gather != nullptr && length >= ZTInt_msg_Gather_Min_Length &&
        gather->Count < ZTInt_msg_gather::Max_Pieces)
        return ZTInt_msg_Gather_Text(&info, reply, cell.Text, length, gather) != 0;
    return ZTInt_rpc_type_Encode(&info, type) &&
           ZTInt_rpc_String_Encode_Bytes(&info, cell.Text, Text_Length(cell));
}

ZTInt_msg_struct* Svr_Values::Encode_Reply(const ZTInt_msg_struct* call, ZTInt_msg_gather* gather)
{
    if (gather != nullptr)
        gather->Count = 0;
    const int64_t size = Data_Size();
    if (size > ZTInt_msg_Max_Data_Size)
        return nullptr;
    // The pool's buffers have room for a zeroed first data word even with no data.
    auto* reply = static_cast<ZTInt_msg_struct*>(
        ZTInt_msg_buffer_Get(static_cast<int32_t>(kHeaderSize + size + kWordSize)));
    ZTInt_msg_Init(reply);
    reply->Param_Count = Value_Count;
    reply->Data_Size = static_cast<int32_t>(size);
    std::memset(ZTInt_msg_Data_Addr(reply), 0, kWordSize);
    ZTInt_msg_info info;
    ZTInt_msg_info_Init(&info, reply);
    bool encoded = true;
    for (int i = 0; i < Value_Count && encoded; ++i)
        encoded = Encode_Value(info, i, reply, gather);
    ZTInt_String_Free(info.Error);
    if (!encoded || ZTInt_msg_Available(&info) != 0) {
        ZTInt_msg_Free(reply);
        return nullptr;
    }
    ZTInt_msg_Init_Reply(reply, call);
    return reply;
}

const char* Svr_Values::Text(int index) const
{
    const char* text = Cells[index].Text;
    return text != nullptr ? text : "";
}

void Svr_Values::Set_Text(int index, const char* text)
{
    if (text == nullptr)
        text = "";
    if (!Assign_Text(Changing(index), text, static_cast<int64_t>(std::strlen(text))))
        ZTInt_abort3("memory allocation failed for a text of the server's answer", __FILE__,
                     __LINE__);
}

void Svr_Values::Move_Text(int index, Svr_Values& from, int from_index)
{
    Cell& to = Changing(index);
    Cell& source = from.Changing(from_index);
    Release_Text(to);
    // The text goes with its buffer; the source keeps this cell's buffer for its next.
    std::swap(to.Text, source.Text);
    std::swap(to.Length, source.Length);
    std::swap(to.Borrowed, source.Borrowed);
    std::swap(to.Buffer, source.Buffer);
    std::swap(to.Room, source.Room);
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
    Cell& cell = Changing(index);
    ZTInt_StringArray_Free(cell.Texts);
    cell.Texts = ZTInt_StringArray_Alloc(static_cast<long>(texts.size()));
    for (std::size_t i = 0; i < texts.size(); ++i)
        ZTInt_StringArray_Set(cell.Texts, static_cast<long>(i), ZTInt_String_New(texts[i].c_str()));
}
