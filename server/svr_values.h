// Svr_Values: storage for the values of one type list (a call's in-list or out-list).
// Strings and string arrays decoded into it or set on it are owned by it and freed
// with it. The storage is fixed (at most Max_Count values), and a text keeps its
// buffer when the list starts over or the text is set again, so that a server that
// keeps one Svr_Values for each list allocates nothing per call once its buffers
// have grown to the texts it meets.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "ztint_base/ztint_protocol.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

// Where decoded texts live: copied into the values' own buffers, or left in the
// message they came in.
enum class Svr_Texts { Copied, In_Place };

class Svr_Values {
public:
    // The longest list of the table of calls has 8 values.
    static constexpr int Max_Count = 8;

    Svr_Values() = default;
    // types has count entries, at most Max_Count; every value starts in its nil form.
    Svr_Values(const ZTInt_rpc_type* types, int count) { Reset(types, count); }
    ~Svr_Values();
    Svr_Values(const Svr_Values&) = delete;
    Svr_Values& operator=(const Svr_Values&) = delete;

    // Starts over with another list; every value nil, text buffers kept.
    void Reset(const ZTInt_rpc_type* types, int count);
    int Count() const { return Value_Count; }
    const ZTInt_rpc_type* Types() const { return Type_List; }
    // The codec's view: values[i] points at cell i's storage for its type. For a list
    // whose texts are unset (a decoder stores new ones there) or for encoding.
    void* const* Pointers();

    // Decodes the data of message by the list's types; true if every value decoded
    // and no byte was left over. Texts are copied into the kept buffers, or with
    // In_Place stay in message and are ended there: message's data change, the byte
    // after them must be writable, and the texts last until the list starts over.
    [[nodiscard]] bool Decode(ZTInt_msg_struct* message, Svr_Texts texts = Svr_Texts::Copied);
    // The list encoded as the reply to call, a new pool message; NULL if the values
    // exceed the largest message. With gather, long texts are left out and listed
    // there: the reply is whole only once they are sent or filled in, before the list
    // starts over.
    [[nodiscard]] ZTInt_msg_struct* Encode_Reply(const ZTInt_msg_struct* call,
                                                 ZTInt_msg_gather* gather = nullptr);

    int32_t Number(int index) const { return Cells[index].Number; }
    // Never NULL: a missing string reads as "".
    const char* Text(int index) const;
    const ZTInt_obj_struct& Object(int index) const { return Cells[index].Object; }
    // A missing array reads as empty.
    std::vector<std::string> Texts(int index) const;

    void Set_Number(int index, int32_t value) { Changing(index).Number = value; }
    void Set_Text(int index, const char* text);  // copies text
    // Hands the text of from's cell over to cell index, without copying it; from's
    // cell reads as "" afterwards.
    void Move_Text(int index, Svr_Values& from, int from_index);
    void Set_Texts(int index, const std::vector<std::string>& texts);  // copies texts
    void Set_Object(int index, const ZTInt_obj_struct& object) { Changing(index).Object = object; }

private:
    static constexpr int64_t kUnknown = -1;

    struct Cell {
        int32_t Number = 0;
        // The text: NULL, Buffer, a text left in a message (Borrowed), or a heap text
        // a decoder put there through Pointers().
        char* Text = nullptr;
        int64_t Length = kUnknown;  // of Text, when known
        bool Borrowed = false;
        char* Buffer = nullptr;     // the cell's own, kept for its next texts
        int64_t Room = 0;           // bytes of Buffer
        char** Texts = nullptr;
        ZTInt_obj_struct Object = {0, 0, 0, 0};
    };

    static void Release_Text(Cell& cell);
    [[nodiscard]] void* Pointer_Of(int index);
    [[nodiscard]] static bool Assign_Text(Cell& cell, const char* bytes, int64_t length);
    [[nodiscard]] static bool Decode_Text(ZTInt_msg_info& info, Cell& cell, Svr_Texts texts);
    [[nodiscard]] static int64_t Text_Length(const Cell& cell);
    [[nodiscard]] int64_t Data_Size() const;
    [[nodiscard]] bool Encode_Value(ZTInt_msg_info& info, int index, ZTInt_msg_struct* reply,
                                    ZTInt_msg_gather* gather);

    // The cell at index, which the next Reset starts over.
    Cell& Changing(int index)
    {
        if (index >= Touched)
            Touched = index + 1;
        return Cells[index];
    }

    const ZTInt_rpc_type* Type_List = nullptr;
    int Value_Count = 0;
    int Touched = 0;  // the cells before it may hold values; the others are nil
    std::array<Cell, Max_Count> Cells{};
    std::array<void*, Max_Count> Value_Pointers{};
};
