// Feeds sequences of well-formed calls with arbitrary values to the server's
// dispatcher, and checks that every call gets exactly the answer its row promises:
// a Reply that decodes by the row's out-list, with the call's sequence and procedure.
//
// Input layout, repeated: two bytes choose a row of the table of calls; for each
// in-value, an int takes 4 bytes, a string the bytes up to the next 0 (or the end), a
// string array 1 byte of count and that many strings, a handle 1 byte naming one of
// the first few objects the dispatcher made, so that sequences reach live objects.
// Each input starts with a logged-on session as object 1 (on a store in a temporary
// directory, shared by all inputs), so that record calls reach the model: BuildEntity
// gives records, and the values set and committed are arbitrary.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz/fuzz_files.h"
#include "server/svr_dispatch.h"
#include "server/svr_objects.h"
#include "server/calls/svr_calls.h"
#include "server/model/mdl_session.h"
#include "server/svr_users.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

namespace {

constexpr int32_t kServerPid = 4242;
constexpr int kMaxCalls = 16;

class Input {
public:
    Input(const uint8_t* data, size_t size) : Data(data), Size(size) {}
    bool Empty() const { return Size == 0; }
    uint8_t Byte()
    {
        if (Size == 0)
            return 0;
        --Size;
        return *Data++;
    }
    std::string Text()
    {
        std::string text;
        while (Size > 0 && *Data != 0)
            text += static_cast<char>(Byte());
        Byte();  // the 0
        return text;
    }

private:
    const uint8_t* Data;
    size_t Size;
};

// The values of one call, kept alive until it is encoded.
struct Call_Values {
    std::vector<int32_t> Words;
    std::vector<std::string> Texts;
    std::vector<std::vector<std::string>> Lists;
    std::vector<std::vector<char*>> List_Pointers;
    std::vector<char*> Text_Pointers;
    std::vector<ZTInt_obj_struct> Handles;
    std::vector<const void*> Pointers;

    void Read(const ZTInt_call_entry& row, Input& input)
    {
        const int count = row.In_Count;
        Words.reserve(count), Texts.reserve(count), Lists.reserve(count);
        List_Pointers.reserve(count), Text_Pointers.reserve(count), Handles.reserve(count);
        for (int k = 0; k < count; ++k)
            Pointers.push_back(Read_One(row.Types_In[k], input));
    }

private:
    const void* Read_One(ZTInt_rpc_type type, Input& input)
    {
        if (type == ZTInt_rpc_type_String) {
            Texts.push_back(input.Text());
            Text_Pointers.push_back(Texts.back().data());
            return &Text_Pointers.back();
        }
        if (type == ZTInt_rpc_type_StringArray) {
            Lists.emplace_back();
            List_Pointers.emplace_back();
            for (int n = input.Byte() % 4; n > 0; --n)
                Lists.back().push_back(input.Text());
            for (std::string& text : Lists.back())
                List_Pointers.back().push_back(text.data());
            List_Pointers.back().push_back(nullptr);
            Text_Pointers.push_back(reinterpret_cast<char*>(List_Pointers.back().data()));
            return &Text_Pointers.back();
        }
        if (ZTInt_rpc_type_Is_Object(type)) {
            const uint8_t pick = input.Byte();
            Handles.push_back({static_cast<uint16_t>(type), 0, static_cast<uint32_t>(pick % 8),
                               pick < 8 ? kServerPid : -1});
            return &Handles.back();
        }
        int32_t word = 0;
        for (int i = 0; i < 4; ++i)
            word = (word << 8) | input.Byte();
        Words.push_back(word);
        return &Words.back();
    }
};

void Check_Answer(const ZTInt_call_entry& row, const ZTInt_msg_struct* call,
                  ZTInt_msg_struct* answer)
{
    if (answer == nullptr || answer->Type != ZTInt_msg_type_Reply ||
        answer->Sequence != call->Sequence || answer->Procedure != call->Procedure)
        std::abort();
    std::vector<std::vector<char>> cells(row.Out_Count, std::vector<char>(16, 0));
    std::vector<void*> pointers;
    for (auto& cell : cells)
        pointers.push_back(cell.data());
    char* error = nullptr;
    if (ZTInt_msg_Decode(answer, &error, row.Out_Count, row.Types_Out, pointers.data()) !=
        row.Out_Count)
        std::abort();
    ZTInt_String_Free(error);
    for (int k = 0; k < row.Out_Count; ++k) {
        void* value = nullptr;
        std::memcpy(&value, cells[k].data(), sizeof value);
        if (row.Types_Out[k] == ZTInt_rpc_type_String)
            ZTInt_String_Free(static_cast<char*>(value));
        else if (row.Types_Out[k] == ZTInt_rpc_type_StringArray)
            ZTInt_StringArray_Free(static_cast<char**>(value));
    }
}

// The model on a store of its own, and one session of the default user.
Mdl_Server& Model()
{
    static Mdl_Server* model = [] {
        const std::string& directory = Fuzz_Directory("/tmp/dispatch_fuzz_XXXXXX");
        setenv("ZT_SERVER_STORE", (directory + "/store.db").c_str(), 1);
        return new Mdl_Server({Svr_Users::Default_Store(), ZTINT_SOURCE_DIR "/server/schemas/sample.json"});
    }();
    return *model;
}

std::shared_ptr<Mdl_Session> Session()
{
    static std::shared_ptr<Mdl_Session> session = [] {
        std::string refusal;
        auto made = Model().Logon({"zentrak", "zentrak", "DEMO", "MASTER"}, refusal);
        if (made == nullptr)
            std::abort();
        return made;
    }();
    return session;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Svr_Objects objects(kServerPid);
    Svr_Dispatcher dispatcher(objects, Model(), "0.1.0");
    Svr_Client_State client;
    client.Number = 1;
    const ZTInt_rpc_type session_type = ZTInt_call_Find_Name("ZTZentrak_SessionLogon")->Types_Out[1];
    objects.Make(session_type, client.Number, "zentrak@DEMO", Svr_Session_Payload(Session()));
    Input input(data, size);
    for (int32_t sequence = 1; sequence <= kMaxCalls && !input.Empty(); ++sequence) {
        const int index = (input.Byte() << 8 | input.Byte()) % ZTInt_Call_Table_Size;
        const ZTInt_call_entry& row = ZTInt_Call_Table[index];
        if (row.Kind == ZTInt_call_Declared)
            continue;
        Call_Values values;
        values.Read(row, input);
        ZTInt_msg_struct* call = nullptr;
        char* error = nullptr;
        if (ZTInt_msg_Encode(&call, &error, row.In_Count, row.Types_In,
                             values.Pointers.data()) != row.In_Count) {
            ZTInt_String_Free(error);
            ZTInt_msg_Free(call);
            continue;
        }
        call->Type = ZTInt_msg_type_Call;
        call->Procedure = row.Opcode;
        call->Sequence = sequence;
        ZTInt_msg_struct* answer = dispatcher.Answer(client, call);
        Check_Answer(row, call, answer);
        ZTInt_msg_Free(answer);
        ZTInt_msg_Free(call);
    }
    dispatcher.Client_Gone(client);
    return 0;
}
