#include "tests/support/ztint_test_peer.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ztint_base/ztint_assert.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_client/ztint_client.h"

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

std::vector<char> ZTInt_Test_Encode_Reply(const ZTInt_msg_struct& call,
                                          const std::vector<ZTInt_Test_Value>& values)
{
    const std::size_t count = values.size();
    std::vector<Raw_Value> raws(count);
    std::vector<std::vector<char*>> arrays(count);
    std::vector<const void*> addresses;
    int64_t data_size = 0;
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
        addresses.push_back(raw.Address(value.Type));
        data_size += ZTInt_rpc_Get_Length(value.Type, addresses.back());
    }
    std::vector<char> bytes(sizeof(ZTInt_msg_struct) + static_cast<std::size_t>(data_size) + 4);
    auto* reply = reinterpret_cast<ZTInt_msg_struct*>(bytes.data());
    ZTInt_msg_Init_Reply(reply, &call);
    reply->Param_Count = static_cast<int32_t>(count);
    reply->Data_Size = static_cast<int32_t>(data_size);
    ZTInt_msg_info cursor;
    ZTInt_msg_info_Init(&cursor, reply);
    for (std::size_t i = 0; i < count; ++i)
        ZTInt_rpc_Encode(&cursor, values[i].Type, addresses[i]);
    ZTInt_String_Free(cursor.Error);
    bytes.resize(static_cast<std::size_t>(ZTInt_msg_Full_Size(reply)));
    return bytes;
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
    ZTInt_rpc_type_Name_Of(ZTInt_rpc_type_status);  // fills the codec's name table here, once
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

bool ZTInt_Test_Peer::Read_Call(std::vector<char>& message)
{
    message.resize(sizeof(ZTInt_msg_struct));
    auto read_exactly = [this](char* to, std::size_t size) {
        while (size > 0) {
            const ssize_t count = read(Far, to, size);
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) return false;
            to += count;
            size -= static_cast<std::size_t>(count);
        }
        return true;
    };
    if (!read_exactly(message.data(), message.size())) return false;
    auto* header = reinterpret_cast<ZTInt_msg_struct*>(message.data());
    char* error = nullptr;
    const bool sane = ZTInt_msg_Check(&error, header) == 0 && ZTInt_msg_Check_Size(&error, header) == 0;
    ZTInt_String_Free(error);
    if (!sane) return false;
    const std::size_t data_size = static_cast<std::size_t>(header->Data_Size);
    message.resize(sizeof(ZTInt_msg_struct) + data_size + 4);
    return read_exactly(message.data() + sizeof(ZTInt_msg_struct), data_size);
}

void ZTInt_Test_Peer::Serve()
{
    std::vector<char> message;
    while (Far >= 0 && Read_Call(message)) {
        auto* header = reinterpret_cast<ZTInt_msg_struct*>(message.data());
        ZTInt_Test_Call call;
        call.Header = *header;
        call.Entry = ZTInt_call_Find(header->Procedure);
        if (call.Entry != nullptr)
            ZTInt_Test_Decode(header, call.Entry->Types_In, call.Entry->In_Count, call.Params,
                              call.Decode_Error);
        {
            std::lock_guard<std::mutex> guard(Lock);
            Received.push_back(call);
        }
        Answer(header, call);
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

void ZTInt_Test_Peer::Answer(ZTInt_msg_struct* call_message, const ZTInt_Test_Call& call)
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
    std::vector<char> bytes;
    if (fault == ZTInt_Test_Fault::Error_Message || call.Entry == nullptr) {
        bytes.assign(sizeof(ZTInt_msg_struct), 0);
        auto* error = reinterpret_cast<ZTInt_msg_struct*>(bytes.data());
        ZTInt_msg_Init_Error(error, call_message);
    } else {
        std::vector<ZTInt_Test_Value> results;
        for (int i = 0; i < call.Entry->Out_Count; ++i)
            results.push_back(ZTInt_Test_Value::Nil(call.Entry->Types_Out[i]));
        if (respond) respond(call, results);
        if (fault == ZTInt_Test_Fault::Missing_Parameter && !results.empty()) results.pop_back();
        if (fault == ZTInt_Test_Fault::Extra_Parameter)
            results.push_back(ZTInt_Test_Value::Of_Word(ZTInt_rpc_type_int, 99));
        bytes = ZTInt_Test_Encode_Reply(*call_message, results);
        auto* reply = reinterpret_cast<ZTInt_msg_struct*>(bytes.data());
        if (fault == ZTInt_Test_Fault::Wrong_Sequence) reply->Sequence -= 1;
        if (fault == ZTInt_Test_Fault::Bad_Framing) reply->Framing_1 = 0x12345678;
        if (fault == ZTInt_Test_Fault::Wrong_Tag && !results.empty())
            Break_Last_Tag(reply, results);
    }
    const std::size_t size = bytes.size();
    if (fault == ZTInt_Test_Fault::Split_Header) {
        Write_All(bytes.data(), 16);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        Write_All(bytes.data() + 16, size - 16);
    } else if (fault == ZTInt_Test_Fault::Close_Mid_Message) {
        Write_All(bytes.data(), 32 + (size - 32) / 2);
        shutdown(Far, SHUT_RDWR);
        Close(Far);
    } else if (fault == ZTInt_Test_Fault::Stall_Mid_Message) {
        Write_All(bytes.data(), 32 + (size - 32) / 2);
    } else {
        Write_All(bytes.data(), size);
    }
}
