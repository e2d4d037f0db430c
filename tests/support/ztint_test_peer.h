// A server for tests of the call frame and the stubs.
//
// The peer owns a socketpair. Install() puts the near end in place as the
// process's connection (type client, state ready), and a thread serves the far
// end: it reads each call, checks its header, decodes its parameters by the call
// table's in list with the library's codec, hands them to a responder, and
// answers with a reply of the row's out list, or misbehaves as told.
//
// The message pool of the library is process-wide and unlocked, as the library
// is single-threaded; the peer's thread therefore keeps its messages in its own
// buffers and never touches the pool.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ztint_base/ztint_protocol.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_utils/ztint_message.h"
#include "ztint_utils/ztint_objects.h"

// One value of a call or a reply, by type.
struct ZTInt_Test_Value {
    ZTInt_rpc_type Type = 0;
    int32_t Word = 0;                // status, int, LONG, BOOL
    std::string Text;                // string
    std::vector<std::string> Texts;  // string array
    ZTInt_obj_struct Object{};       // object

    static ZTInt_Test_Value Of_Word(ZTInt_rpc_type type, int32_t word);
    static ZTInt_Test_Value Of_Text(const std::string& text);
    static ZTInt_Test_Value Of_Texts(const std::vector<std::string>& texts);
    static ZTInt_Test_Value Of_Object(const ZTInt_obj_struct& object);
    // The nil form of a type: zero word, empty string and array, nil record.
    static ZTInt_Test_Value Nil(ZTInt_rpc_type type);
};

// A call as the peer received it.
struct ZTInt_Test_Call {
    ZTInt_msg_struct Header{};
    const ZTInt_call_entry* Entry = nullptr;  // NULL for an opcode the table lacks
    std::vector<ZTInt_Test_Value> Params;     // decoded by the entry's in list
    std::string Decode_Error;                 // why the parameters didn't decode, if so
};

// What the peer does instead of a well-formed reply.
enum class ZTInt_Test_Fault {
    None,
    Wrong_Sequence,     // the reply's Sequence is one below the call's
    Missing_Parameter,  // the last result is left out
    Extra_Parameter,    // an int is added behind the results
    Error_Message,      // an Error message with no data
    Wrong_Tag,          // the tag of the last result names another type
    Bad_Framing,        // the first framing word is broken
    Split_Header,       // the header goes out in two writes, 16 bytes first
    Close_Mid_Message,  // the header and half the data, then the peer closes
    Stall_Mid_Message,  // the header and half the data, then nothing; the peer stays open
    Close_Without_Reply,
    No_Reply,           // the call is read and never answered; the peer goes on reading
};

class ZTInt_Test_Peer {
public:
    // Fills the results (status first, one value per entry of the out list) from
    // the call. They start as the nil forms with status 0.
    using Responder =
        std::function<void(const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results)>;

    // Echoes: a status 0 reply whose string result, if the row has one, is the
    // call's first string parameter.
    static void Echo(const ZTInt_Test_Call& call, std::vector<ZTInt_Test_Value>& results);

    explicit ZTInt_Test_Peer(Responder responder = Echo);
    ~ZTInt_Test_Peer();
    ZTInt_Test_Peer(const ZTInt_Test_Peer&) = delete;
    ZTInt_Test_Peer& operator=(const ZTInt_Test_Peer&) = delete;

    // Makes the near end the process's ready connection and starts serving.
    void Install();
    // The fault for the next reply only.
    void Set_Fault(ZTInt_Test_Fault fault);
    void Set_Responder(Responder responder);

    // The calls received so far.
    std::vector<ZTInt_Test_Call> Calls() const;
    std::size_t Call_Count() const;
    int Near_File() const { return Near; }
    int Far_File() const { return Far; }

private:
    void Serve();
    bool Read_Call(std::vector<char>& message);
    void Answer(ZTInt_msg_struct* call_message, const ZTInt_Test_Call& call);
    bool Write_All(const void* data, std::size_t size);

    int Near = -1;
    int Far = -1;
    Responder Respond;
    ZTInt_Test_Fault Fault = ZTInt_Test_Fault::None;
    std::vector<ZTInt_Test_Call> Received;
    mutable std::mutex Lock;
    std::thread Server;
};

// Decodes the parameters of a received message by a type list.
bool ZTInt_Test_Decode(ZTInt_msg_struct* message, const ZTInt_rpc_type* types, int count,
                       std::vector<ZTInt_Test_Value>& values, std::string& error);
// Encodes values into a reply to call (status first), in a buffer of its own.
std::vector<char> ZTInt_Test_Encode_Reply(const ZTInt_msg_struct& call,
                                          const std::vector<ZTInt_Test_Value>& values);
