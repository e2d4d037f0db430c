// Every exported stub against the test peer, driven by the table of calls: arguments of
// the row's types with values that differ by call and position go out through the
// generated invoker; the test checks the wire, the decoded result, and that refused or
// unsent calls leave 0 or NULL. Object results go back through their class's Free verbatim.
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/ztint_test_peer.h"
#include "ztint.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_client/ztint_client.h"
#include "ztint_client/ztint_logon.h"
#include "ztint_stub_invokers.h"
#include "ztint_opcodes.h"

namespace {

constexpr int kResultIndex = 99;  // position used to derive a result value
constexpr int32_t kOwnerPid = 4242;
constexpr int32_t kSessionLogon = ZTInt_op_ZTZentrak_SessionLogon;

// Values that differ by opcode and position, so that a value sent by another call or in
// another place doesn't match. LONG values use all 32 bits and are negative; the second
// string and array are empty.
ZTInt_Test_Value Value_Of(ZTInt_rpc_type type, const std::string& name, int32_t opcode,
                          int index)
{
    switch (type) {
    case ZTInt_rpc_type_LONG:
        return ZTInt_Test_Value::Of_Word(type, static_cast<int32_t>(
            0x9E370000u ^ (static_cast<uint32_t>(opcode) << 4) ^ static_cast<uint32_t>(index)));
    case ZTInt_rpc_type_BOOL: return ZTInt_Test_Value::Of_Word(type, (opcode + index) % 2);
    case ZTInt_rpc_type_String:
        return ZTInt_Test_Value::Of_Text(index == 2 ? "" : name + " #" + std::to_string(index) + " \xc3\xa9");
    case ZTInt_rpc_type_StringArray:
        return ZTInt_Test_Value::Of_Texts(index == 2 ? std::vector<std::string>{}
                                                     : std::vector<std::string>{name, "", "#" + std::to_string(index)});
    default:
        return ZTInt_Test_Value::Of_Object(ZTInt_obj_struct{
            static_cast<uint16_t>(type), static_cast<uint16_t>(0xA500 + index),
            static_cast<uint32_t>(opcode * 128 + index), kOwnerPid + index});
    }
}

// Every field of a value, so that two values are the same if their images are.
std::string Image(const ZTInt_Test_Value& value)
{
    std::string image = "type " + std::to_string(value.Type) + ": ";
    if (value.Type == ZTInt_rpc_type_String) return image + '"' + value.Text + '"';
    if (value.Type == ZTInt_rpc_type_StringArray) {
        for (const std::string& text : value.Texts) image += '"' + text + "\" ";
        return image;
    }
    if (ZTInt_rpc_type_Is_Object(value.Type))
        return image + std::to_string(value.Object.Type) + "/" +
               std::to_string(value.Object.Reserved) + "/" + std::to_string(value.Object.Id) +
               "/" + std::to_string(value.Object.Owner_Pid);
    return image + std::to_string(value.Word);
}

bool Ends_With(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The peer's side: answers every call with the generated result of its row (or the nil
// handle when asked to), and keeps the last call for the test thread.
struct Server {
    Server()
    {
        peer.Set_Responder([this](const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results) {
            std::lock_guard<std::mutex> guard(lock);
            last = call;
            if (call.Entry == nullptr || results.size() < 2) return;
            const ZTInt_rpc_type type = results[1].Type;
            if (ZTInt_rpc_type_Is_Object(type) && nil_objects) return;  // nil record, status 0
            results[1] = Value_Of(type, call.Entry->Name, call.Entry->Opcode, kResultIndex);
        });
        peer.Install();
    }
    ZTInt_Test_Call Last()
    {
        std::lock_guard<std::mutex> guard(lock);
        return last;
    }
    size_t Count() const { return peer.Call_Count(); }

    std::mutex lock;
    ZTInt_Test_Call last;
    std::atomic<bool> nil_objects{false};
    ZTInt_Test_Peer peer;
};

// The caller's variable for any result type, filled with values that no call leaves.
struct Result_Variable {
    int32_t Word = 0x5A5A5A5A;
    char* Text = reinterpret_cast<char*>(&Word);
    char** Texts = reinterpret_cast<char**>(&Word);
    void* Object = &Word;

    void* Address(ZTInt_rpc_type type)
    {
        if (type == ZTInt_rpc_type_LONG || type == ZTInt_rpc_type_BOOL) return &Word;
        if (type == ZTInt_rpc_type_String) return &Text;
        if (type == ZTInt_rpc_type_StringArray) return &Texts;
        return &Object;
    }

    // True if the variable holds 0 or NULL.
    bool Is_Nil(ZTInt_rpc_type type) const
    {
        if (type == ZTInt_rpc_type_LONG || type == ZTInt_rpc_type_BOOL) return Word == 0;
        if (type == ZTInt_rpc_type_String) return Text == nullptr;
        if (type == ZTInt_rpc_type_StringArray) return Texts == nullptr;
        return Object == nullptr;
    }
};

// The arguments of one call of a stub, made from its row, with what the peer must see.
class Arguments {
public:
    Arguments(const ZTInt_call_entry& entry, ZTInt_rpc_type result_type)
    {
        const std::string name = entry.Name;
        const bool has_handle = !Ends_With(name, "_Build");
        for (int i = 0; i < entry.In_Count; ++i) {
            const ZTInt_rpc_type type = entry.Types_In[i];
            const ZTInt_Test_Value value = Value_Of(type, name, entry.Opcode, i);
            Sent.push_back(value);
            if (ZTInt_rpc_type_Is_Object(type)) {
                ZTInt_obj_struct* handle = ZTInt_obj_New(&value.Object);
                Handles.push_back(handle);
                if (i == 0 && has_handle)
                    Block.Handle = handle;
                else
                    Block.Params[i - has_handle].Object = handle;
                continue;
            }
            ZTInt_stub_arg& arg = Block.Params[i - has_handle];
            if (type == ZTInt_rpc_type_String) {
                arg.String = texts.emplace_back(value.Text).c_str();
            } else if (type == ZTInt_rpc_type_StringArray) {
                std::vector<char*>& array = arrays.emplace_back();
                for (const std::string& text : value.Texts)
                    array.push_back(const_cast<char*>(texts.emplace_back(text).c_str()));
                array.push_back(nullptr);
                arg.Array = array.data();
            } else {
                arg.Long = value.Word;
                // The client's logon hook sends a logon with the direct flags added.
                if (entry.Opcode == kSessionLogon) Sent.back().Word |= ZTInt_Logon_Direct_Flags;
            }
        }
        if (result_type != 0) Block.Result = result.Address(result_type);
    }

    ~Arguments()
    {
        for (ZTInt_obj_struct* handle : Handles)
            if (handle->Owner_Pid != -1) ZTInt_obj_Free(handle);
    }

    ZTInt_stub_args Block{};
    std::vector<ZTInt_Test_Value> Sent;
    std::vector<ZTInt_obj_struct*> Handles;
    Result_Variable result;

private:
    std::deque<std::string> texts;
    std::deque<std::vector<char*>> arrays;
};

std::map<std::string, const ZTInt_stub_invoker*> Invokers_By_Name()
{
    std::map<std::string, const ZTInt_stub_invoker*> invokers;
    for (int i = 0; i < ZTInt_Stub_Invokers_Size; ++i)
        invokers[ZTInt_Stub_Invokers[i].Name] = &ZTInt_Stub_Invokers[i];
    return invokers;
}

std::string Client_Error_Text()
{
    char* text = nullptr;
    ZTInt_GetError(&text);
    std::string copy = text != nullptr ? text : "<null>";
    ZTInt_String_Free(text);
    return copy;
}

class StubConformance : public ::testing::Test {
protected:
    // Checks the last call that reached the peer against the arguments.
    void Expect_Sent(const ZTInt_call_entry& entry, const Arguments& args)
    {
        const ZTInt_Test_Call call = server.Last();
        EXPECT_EQ(call.Header.Type, ZTInt_msg_type_Call) << entry.Name;
        EXPECT_EQ(call.Header.Procedure, entry.Opcode) << entry.Name;
        EXPECT_EQ(call.Header.Param_Count, entry.In_Count) << entry.Name;
        EXPECT_EQ(call.Header.Pid, static_cast<int32_t>(getpid())) << entry.Name;
        EXPECT_EQ(call.Decode_Error, "") << entry.Name;
        ASSERT_EQ(call.Params.size(), args.Sent.size()) << entry.Name;
        for (size_t i = 0; i < args.Sent.size(); ++i)
            EXPECT_EQ(Image(call.Params[i]), Image(args.Sent[i])) << entry.Name << " parameter " << i;
    }

    // Checks the decoded result and releases it; a handle goes back to the peer first.
    void Expect_Result(const ZTInt_call_entry& entry, ZTInt_rpc_type type, Result_Variable& result)
    {
        const ZTInt_Test_Value want = Value_Of(type, entry.Name, entry.Opcode, kResultIndex);
        if (type == ZTInt_rpc_type_LONG || type == ZTInt_rpc_type_BOOL) {
            EXPECT_EQ(result.Word, want.Word) << entry.Name;
        } else if (type == ZTInt_rpc_type_String) {
            ASSERT_NE(result.Text, nullptr) << entry.Name;
            EXPECT_EQ(std::string(result.Text), want.Text) << entry.Name;
            ZTInt_String_Free(result.Text);
        } else if (type == ZTInt_rpc_type_StringArray) {
            ASSERT_NE(result.Texts, nullptr) << entry.Name;
            std::vector<std::string> texts;
            for (char** text = result.Texts; *text != nullptr; ++text) texts.emplace_back(*text);
            EXPECT_EQ(texts, want.Texts) << entry.Name;
            ZTInt_StringArray_Free(result.Texts);
        } else {
            auto* handle = static_cast<ZTInt_obj_struct*>(result.Object);
            ASSERT_NE(handle, nullptr) << entry.Name;
            EXPECT_EQ(std::memcmp(handle, &want.Object, sizeof want.Object), 0) << entry.Name;
            Give_Back(handle, type);
        }
    }

    // Frees a result handle through its class's Free, which must send it verbatim; classes
    // without functions only free it locally.
    void Give_Back(ZTInt_obj_struct* handle, ZTInt_rpc_type type)
    {
        const ZTInt_obj_struct record = *handle;
        const int32_t cls = type - ZTInt_rpc_type_First_Object;
        if (cls > 53) {  // no function frees it
            ZTInt_obj_Free(handle);
            return;
        }
        const std::string free_name =
            "ZTInt_" + std::string(ZTInt_msg_Class_Name_Of(cls)).substr(2) + "_Free";
        ZTInt_stub_args block{};
        block.Handle = handle;
        ASSERT_EQ(invokers.at(free_name)->Invoke(block), 0) << free_name;
        const ZTInt_Test_Call call = server.Last();
        ASSERT_EQ(call.Params.size(), 1u) << free_name;
        EXPECT_EQ(std::memcmp(&call.Params[0].Object, &record, sizeof record), 0)
            << free_name << " sent " << Image(call.Params[0]);
        EXPECT_EQ(handle->Owner_Pid, -1) << free_name << " leaves the entry in use";
    }

    Server server;
    const std::map<std::string, const ZTInt_stub_invoker*> invokers = Invokers_By_Name();
};

TEST_F(StubConformance, EveryStubSendsItsRowAndDecodesItsResult)
{
    int wire_calls = 0;
    int local_calls = 0;
    for (int i = 0; i < ZTInt_Stub_Invokers_Size; ++i) {
        const ZTInt_stub_invoker& invoker = ZTInt_Stub_Invokers[i];
        const std::string name = invoker.Name;
        if (invoker.Opcode == 0) {
            // GetObject: local, fails, and says so.
            Result_Variable result;
            ZTInt_stub_args block{};
            block.Result = &result.Object;
            const size_t before = server.Count();
            EXPECT_EQ(invoker.Invoke(block), -1) << name;
            EXPECT_EQ(server.Count(), before) << name << " reached the wire";
            EXPECT_EQ(Client_Error_Text(), "unsupported operation: " + name);
            ++local_calls;
            continue;
        }
        const ZTInt_call_entry* entry = ZTInt_call_Find(invoker.Opcode);
        ASSERT_NE(entry, nullptr) << name;
        ASSERT_EQ(name, entry->Name);
        const ZTInt_rpc_type result_type = entry->Out_Count == 2 ? entry->Types_Out[1] : 0;
        const bool frees = Ends_With(name, "_Free");
        // A failed call leaves 0 or NULL in the result, and a Free keeps its handle.
        const auto expect_failed = [&](Arguments& args, const char* how) {
            EXPECT_EQ(invoker.Invoke(args.Block), -1) << name << how;
            if (result_type != 0) { EXPECT_TRUE(args.result.Is_Nil(result_type)) << name << how; }
            if (frees) { EXPECT_EQ(args.Handles[0]->Owner_Pid, kOwnerPid) << name << how; }
        };

        {
            Arguments args(*entry, result_type);
            const size_t before = server.Count();
            EXPECT_EQ(invoker.Invoke(args.Block), 0) << name;
            ASSERT_EQ(server.Count(), before + 1) << name << " made no single call";
            Expect_Sent(*entry, args);
            if (result_type != 0) Expect_Result(*entry, result_type, args.result);
            if (frees) { EXPECT_EQ(args.Handles[0]->Owner_Pid, -1) << name << " kept the handle"; }
            ++wire_calls;
        }
        {
            Arguments args(*entry, result_type);
            server.peer.Set_Fault(ZTInt_Test_Fault::Error_Message);
            expect_failed(args, " refused");
        }
        {  // No usable connection: nothing is sent.
            Arguments args(*entry, result_type);
            ZTInt_Connection* connection = ZTInt_client_Connection_Record();
            connection->State = ZTInt_Connection_State_Error;
            const size_t before = server.Count();
            expect_failed(args, " without a connection");
            connection->State = ZTInt_Connection_State_Ready;
            EXPECT_EQ(server.Count(), before) << name;
        }
        if (ZTInt_rpc_type_Is_Object(result_type)) {  // The nil handle with status 0.
            Arguments args(*entry, result_type);
            server.nil_objects = true;
            EXPECT_EQ(invoker.Invoke(args.Block), 0) << name;
            EXPECT_EQ(args.result.Object, nullptr) << name;
            server.nil_objects = false;
        }
    }
    EXPECT_EQ(wire_calls, 829 + 2 * 52);  // every row, Free and Duplicate of every class
    EXPECT_EQ(local_calls, 52);
}

}  // namespace
