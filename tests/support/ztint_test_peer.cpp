#include "tests/support/ztint_test_peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_client.h"
#include "ztint_utils/ztint_transport.h"

namespace {

// Wire storage for one value, in the forms the codec takes.
struct Raw_Value {
    int32_t Word = 0;
    char* Text = nullptr;
    char** Texts = nullptr;
    ZTInt_obj_struct Object{};

    void* Address(ZTInt_rpc_type type)
    {
        if (type == ZTInt_rpc_type_String) return &Text;
        if (type == ZTInt_rpc_type_StringArray) return &Texts;
        if (ZTInt_rpc_type_Is_Object(type)) return &Object;
        return &Word;
    }
};

ZTInt_Test_Value From_Raw(ZTInt_rpc_type type, const Raw_Value& raw)
{
    ZTInt_Test_Value value = ZTInt_Test_Value::Nil(type);
    value.Word = raw.Word;
    if (raw.Text != nullptr) value.Text = raw.Text;
    for (char** element = raw.Texts; element != nullptr && *element != nullptr; ++element)
        value.Texts.emplace_back(*element);
    value.Object = raw.Object;
    return value;
}

void Release(std::vector<Raw_Value>& raws)
{
    for (Raw_Value& raw : raws) {
        ZTInt_String_Free(raw.Text);
        ZTInt_StringArray_Free(raw.Texts);
    }
}

// Walks the reply's values up to the last and turns its tag into another type.
void Break_Last_Tag(ZTInt_msg_struct* reply, const std::vector<ZTInt_Test_Value>& values)
{
    ZTInt_msg_info cursor;
    ZTInt_msg_info_Init(&cursor, reply);
    std::vector<Raw_Value> skipped(values.size());
    for (std::size_t i = 0; i + 1 < values.size(); ++i)
        ZTInt_rpc_Decode(&cursor, values[i].Type, skipped[i].Address(values[i].Type));
    Release(skipped);
    ZTInt_String_Free(cursor.Error);
    char* tag = cursor.Current;
    *tag = static_cast<char>(*tag == ZTInt_rpc_type_int ? ZTInt_rpc_type_String : ZTInt_rpc_type_int);
}

void Close(int& fd)
{
    if (fd >= 0) close(fd);
    fd = -1;
}

}  // namespace

ZTInt_Test_Value ZTInt_Test_Value::Of_Word(ZTInt_rpc_type type, int32_t word)
{
    ZTInt_Test_Value value;
    value.Type = type;
    value.Word = word;
    return value;
}

ZTInt_Test_Value ZTInt_Test_Value::Of_Text(const std::string& text)
{
    ZTInt_Test_Value value;
    value.Type = ZTInt_rpc_type_String;
    value.Text = text;
    return value;
}

ZTInt_Test_Value ZTInt_Test_Value::Of_Texts(const std::vector<std::string>& texts)
{
    ZTInt_Test_Value value;
    value.Type = ZTInt_rpc_type_StringArray;
    value.Texts = texts;
    return value;
}

ZTInt_Test_Value ZTInt_Test_Value::Of_Object(const ZTInt_obj_struct& object)
{
    ZTInt_Test_Value value;
    value.Type = object.Type;
    value.Object = object;
    return value;
}

ZTInt_Test_Value ZTInt_Test_Value::Nil(ZTInt_rpc_type type)
{
    ZTInt_Test_Value value;
    value.Type = type;
    return value;
}

bool ZTInt_Test_Decode(ZTInt_msg_struct* message, const ZTInt_rpc_type* types, int count,
                       std::vector<ZTInt_Test_Value>& values, std::string& error)
{
    std::vector<Raw_Value> raws(count);
    std::vector<void*> addresses;
    for (int i = 0; i < count; ++i) addresses.push_back(raws[i].Address(types[i]));
    char* text = nullptr;
    const int decoded = ZTInt_msg_Decode(message, &text, count, types, addresses.data());
    values.clear();
    for (int i = 0; i < count; ++i) values.push_back(From_Raw(types[i], raws[i]));
    Release(raws);
    error = text != nullptr ? text : "";
    ZTInt_String_Free(text);
    return decoded == count;
}

ZTInt_msg_struct* ZTInt_Test_Encode_Reply(const ZTInt_msg_struct* call,
                                          const std::vector<ZTInt_Test_Value>& values)
{
    const std::size_t count = values.size();
    std::vector<Raw_Value> raws(count);
    std::vector<ZTInt_rpc_type> types;
    std::vector<std::vector<char*>> arrays(count);
    std::vector<const void*> addresses;
    for (std::size_t i = 0; i < count; ++i) {
        const ZTInt_Test_Value& value = values[i];
        Raw_Value& raw = raws[i];
        raw.Word = value.Word;
        raw.Object = value.Object;
        raw.Text = const_cast<char*>(value.Text.c_str());
        for (const std::string& element : value.Texts)
            arrays[i].push_back(const_cast<char*>(element.c_str()));
        arrays[i].push_back(nullptr);
        raw.Texts = arrays[i].data();
        types.push_back(value.Type);
        addresses.push_back(raw.Address(value.Type));
    }
    ZTInt_msg_struct* reply = nullptr;
    char* error = nullptr;
    ZTInt_msg_Encode_Reply(call, &reply, &error, static_cast<int>(count), types.data(),
                           addresses.data());
    ZTInt_String_Free(error);
    return reply;
}

void ZTInt_Test_Peer::Echo(const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results)
{
    for (const ZTInt_Test_Value& param : call.Params) {
        if (param.Type != ZTInt_rpc_type_String) continue;
        for (ZTInt_Test_Value& result : results)
            if (result.Type == ZTInt_rpc_type_String) result.Text = param.Text;
        return;
    }
}

ZTInt_Test_Peer::ZTInt_Test_Peer(Responder responder) : Respond(std::move(responder))
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        ZTInt_abort3("socketpair", __FILE__, __LINE__);
    Near = ends[0];
    Far = ends[1];
}

ZTInt_Test_Peer::~ZTInt_Test_Peer()
{
    ZTInt_Connection* connection = ZTInt_client_Connection_Record();
    if (connection->Handle.Read_File == Near) {
        ZTInt_Close_Connection(connection);
        Near = -1;
    }
    if (Near >= 0) shutdown(Near, SHUT_RDWR);
    if (Far >= 0) shutdown(Far, SHUT_RDWR);
    if (Server.joinable()) Server.join();
    Close(Near);
    Close(Far);
}

void ZTInt_Test_Peer::Install()
{
    ZTInt_Connection* connection = ZTInt_client_Connection_Record();
    ZTInt_Connection_Initialize(connection);
    connection->Type = ZTInt_Connection_Type_Client;
    connection->State = ZTInt_Connection_State_Ready;
    connection->Handle.Read_File = Near;
    connection->Handle.Write_File = Near;
    connection->Listen_File = Near;
    Server = std::thread([this] { Serve(); });
}

void ZTInt_Test_Peer::Set_Fault(ZTInt_Test_Fault fault)
{
    std::lock_guard<std::mutex> guard(Lock);
    Fault = fault;
}

void ZTInt_Test_Peer::Set_Responder(Responder responder)
{
    std::lock_guard<std::mutex> guard(Lock);
    Respond = std::move(responder);
}

std::vector<ZTInt_Test_Call> ZTInt_Test_Peer::Calls() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return Received;
}

std::size_t ZTInt_Test_Peer::Call_Count() const
{
    std::lock_guard<std::mutex> guard(Lock);
    return Received.size();
}

void ZTInt_Test_Peer::Serve()
{
    ZTInt_RPC_Handle handle;
    ZTInt_RPC_Handle_Initialize(&handle);
    handle.Read_File = Far;
    handle.Write_File = Far;
    for (;;) {
        ZTInt_msg_struct* message = nullptr;
        char* error = nullptr;
        const int result = ZTInt_transport_Recv(&handle, &message, &error);
        ZTInt_String_Free(error);
        if (result != ZTInt_transport_Done) {
            ZTInt_msg_Free(message);
            return;
        }
        ZTInt_Test_Call call;
        call.Header = *message;
        call.Entry = ZTInt_call_Find(message->Procedure);
        if (call.Entry != nullptr)
            ZTInt_Test_Decode(message, call.Entry->Types_In, call.Entry->In_Count, call.Params,
                              call.Decode_Error);
        {
            std::lock_guard<std::mutex> guard(Lock);
            Received.push_back(call);
        }
        Answer(message, call);
        ZTInt_msg_Free(message);
        if (Far < 0) return;
    }
}

bool ZTInt_Test_Peer::Write_All(const void* data, std::size_t size)
{
    const char* bytes = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t count = send(Far, bytes, size, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

void ZTInt_Test_Peer::Answer(const ZTInt_msg_struct* call_message, const ZTInt_Test_Call& call)
{
    ZTInt_Test_Fault fault;
    Responder respond;
    {
        std::lock_guard<std::mutex> guard(Lock);
        fault = Fault;
        Fault = ZTInt_Test_Fault::None;
        respond = Respond;
    }
    if (fault == ZTInt_Test_Fault::No_Reply) return;
    if (fault == ZTInt_Test_Fault::Close_Without_Reply) {
        shutdown(Far, SHUT_RDWR);
        Close(Far);
        return;
    }
    ZTInt_msg_struct* reply = nullptr;
    if (fault == ZTInt_Test_Fault::Error_Message || call.Entry == nullptr) {
        ZTInt_msg_Encode_Error(call_message, &reply);
    } else {
        std::vector<ZTInt_Test_Value> results;
        for (int i = 0; i < call.Entry->Out_Count; ++i)
            results.push_back(ZTInt_Test_Value::Nil(call.Entry->Types_Out[i]));
        if (respond) respond(call, results);
        if (fault == ZTInt_Test_Fault::Missing_Parameter && !results.empty()) results.pop_back();
        if (fault == ZTInt_Test_Fault::Extra_Parameter)
            results.push_back(ZTInt_Test_Value::Of_Word(ZTInt_rpc_type_int, 99));
        reply = ZTInt_Test_Encode_Reply(call_message, results);
        if (fault == ZTInt_Test_Fault::Wrong_Sequence) reply->Sequence -= 1;
        if (fault == ZTInt_Test_Fault::Bad_Framing) reply->Framing_1 = 0x12345678;
        if (fault == ZTInt_Test_Fault::Wrong_Tag && !results.empty())
            Break_Last_Tag(reply, results);
    }
    const char* bytes = reinterpret_cast<const char*>(reply);
    const std::size_t size = static_cast<std::size_t>(ZTInt_msg_Full_Size(reply));
    if (fault == ZTInt_Test_Fault::Split_Header) {
        Write_All(bytes, 16);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Write_All(bytes + 16, size - 16);
    } else if (fault == ZTInt_Test_Fault::Close_Mid_Message) {
        Write_All(bytes, 32 + (size - 32) / 2);
        shutdown(Far, SHUT_RDWR);
        Close(Far);
    } else {
        Write_All(bytes, size);
    }
    ZTInt_msg_Free(reply);
}
