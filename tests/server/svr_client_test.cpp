// One client of the server over a socket pair: calls of every size answered in
// order, several calls in one write, and a steady state that allocates nothing on the
// server's side. The C allocator of this program counts the allocations made by the
// serving thread while it is counting; sanitizer builds bring their own allocator, so
// the count is only taken in plain builds.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "server/svr_client.h"
#include "server/svr_dispatch.h"
#include "tests/support/ztint_alloc_count.h"
#include "tests/support/ztint_temp_dir.h"
#include "ztint_client/ztint_call_table.h"
#include "ztint_opcodes.h"
#include "ztint_string.h"

namespace {

constexpr int32_t kClientPid = 5151;
constexpr int32_t kServerPid = 808;

bool Transfer(int fd, char* bytes, std::size_t size, bool reading)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = reading ? read(fd, bytes + done, size - done)
                                      : write(fd, bytes + done, size - done);
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

// The bytes of one call of the row name, numbered sequence.
std::string Call_Bytes(const char* name, int32_t sequence, const void* const* in)
{
    const ZTInt_call_entry* entry = ZTInt_call_Find_Name(name);
    ZTInt_msg_struct* call = nullptr;
    char* error = nullptr;
    EXPECT_EQ(ZTInt_msg_Encode(&call, &error, entry->In_Count, entry->Types_In, in), entry->In_Count);
    ZTInt_String_Free(error);
    ZTInt_msg_Init_Call(call, kClientPid, sequence, entry->Opcode);
    std::string bytes(reinterpret_cast<const char*>(call), ZTInt_msg_Full_Size(call));
    ZTInt_msg_Free(call);
    return bytes;
}

// Reads one whole message from fd; empty if the peer closed.
std::vector<char> Read_Message(int fd)
{
    ZTInt_msg_struct header;
    if (!Transfer(fd, reinterpret_cast<char*>(&header), sizeof header, true))
        return {};
    std::vector<char> whole(sizeof header + static_cast<std::size_t>(header.Data_Size));
    std::memcpy(whole.data(), &header, sizeof header);
    if (!Transfer(fd, whole.data() + sizeof header, static_cast<std::size_t>(header.Data_Size), true))
        return {};
    return whole;
}

// Reads one answer from fd and decodes it by the row's out-list into out.
bool Read_Answer(int fd, const char* name, int32_t sequence, Svr_Values& out)
{
    std::vector<char> whole = Read_Message(fd);
    if (whole.empty())
        return false;
    auto* answer = reinterpret_cast<ZTInt_msg_struct*>(whole.data());
    EXPECT_EQ(answer->Type, ZTInt_msg_type_Reply) << name;
    EXPECT_EQ(answer->Sequence, sequence) << name;
    const ZTInt_call_entry* entry = ZTInt_call_Find_Name(name);
    out.Reset(entry->Types_Out, entry->Out_Count);
    return out.Decode(answer);
}

class Svr_Client_Test : public ::testing::Test {
protected:
    void SetUp() override
    {
        setenv("ZT_SERVER_STORE", (Store_Dir.Path + "/store.db").c_str(), 1);
        int pair[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
        Peer = pair[0];
        ASSERT_EQ(fcntl(pair[1], F_SETFL, O_NONBLOCK), 0);
        ZTInt_Connection connection;
        ZTInt_Connection_Initialize(&connection);
        connection.Type = ZTInt_Connection_Type_Server;
        connection.State = ZTInt_Connection_State_Ready;
        connection.Handle.Read_File = connection.Handle.Write_File = pair[1];
        ZTInt_msg_struct startup{};
        ZTInt_msg_Init_Call(&startup, kClientPid, 1, ZTInt_op_ZTInt_Special_Startup_Stub);
        Client = std::make_unique<Svr_Client>(1, connection, startup, 0);
        const std::vector<char> started = Read_Message(Peer);
        ASSERT_FALSE(started.empty());
        ASSERT_EQ(reinterpret_cast<const ZTInt_msg_struct*>(started.data())->Type, ZTInt_msg_type_Reply);

        Svr_Values out;

        const std::string build = Call_Bytes("ZTZentrak_Build", ++Sequence, nullptr);
        ASSERT_TRUE(Transfer(Peer, const_cast<char*>(build.data()), build.size(), false));
        ASSERT_TRUE(Client->On_Ready(Dispatcher));
        ASSERT_TRUE(Read_Answer(Peer, "ZTZentrak_Build", Sequence, out));
        Zentrak = out.Object(1);
    }
    void TearDown() override
    {
        Client.reset();
        close(Peer);
    }

    // Serves the client until done turns true, counting the allocations of its turns.
    void Serve_Until(const std::atomic<bool>& done)
    {
        while (!done.load()) {
            const short events = (Client->Events() & EPOLLOUT) != 0 ? POLLOUT : POLLIN;
            pollfd wanted = {Client->Fd(), events, 0};
            if (poll(&wanted, 1, 20) <= 0)
                continue;
            bool going = false;
            Served_Allocations += Ztint_Count_Allocations([&] { going = Client->On_Ready(Dispatcher); });
            ASSERT_TRUE(going);
        }
    }

    // The client's side: echoes of each text in turn, each checked; false on the first
    // that fails.
    bool Echo_All(const std::vector<std::string>& texts)
    {
        Svr_Values out;
        for (const std::string& text : texts) {
            const char* value = text.c_str();
            const void* in[] = {&Zentrak, &value};
            const std::string call = Call_Bytes("ZTZentrak_EchoString", ++Sequence, in);
            if (!Transfer(Peer, const_cast<char*>(call.data()), call.size(), false) ||
                !Read_Answer(Peer, "ZTZentrak_EchoString", Sequence, out) || out.Number(0) != 0 ||
                out.Text(1) != text)
                return false;
        }
        return true;
    }

    // Runs the echoes on a thread of their own while this thread serves; the count of
    // allocations made while serving.
    long Serve_Echoes(const std::vector<std::string>& texts)
    {
        std::atomic<bool> done{false};
        bool echoed = false;
        std::thread peer([&] {
            echoed = Echo_All(texts);
            done = true;
        });
        Served_Allocations = 0;
        Serve_Until(done);
        peer.join();
        EXPECT_TRUE(echoed);
        return Served_Allocations;
    }

    long Served_Allocations = 0;  // by Serve_Until
    ZTInt_Temp_Dir Store_Dir;
    Svr_Objects Objects{kServerPid};
    Mdl_Server Model{{Svr_Users::Default_Store(), ZTINT_SOURCE_DIR "/server/schemas/sample.json"}};
    Svr_Dispatcher Dispatcher{Objects, Model, "1.2.3"};
    std::unique_ptr<Svr_Client> Client;
    int Peer = -1;
    int32_t Sequence = 1;
    ZTInt_obj_struct Zentrak{};
};

TEST_F(Svr_Client_Test, EchoesOfEverySizeComeBackWholeAndInOrder)
{
    const std::vector<std::string> texts = {
        "", "short", std::string(4000, 'a'), std::string(4096, 'b'), std::string(65536, 'c'),
        std::string(1 << 20, 'd'), "after the long ones", std::string(3 << 20, 'e'), "x"};
    Serve_Echoes(texts);
}

// The answer's text is written from where the call was read, and the reader lets a
// buffer above its largest kept size go once the call is done: the answer must be out
// (or copied) by then.
TEST_F(Svr_Client_Test, AnEchoBeyondTheReadersKeptBufferComesBackWhole)
{
    Serve_Echoes({std::string((9 << 20) + 3, 'f'), "small after it", std::string(70000, 'g')});
}

TEST_F(Svr_Client_Test, InTheSteadyStateTheServerAllocatesNothing)
{
    if (!Ztint_Counts_Allocations) GTEST_SKIP() << "the sanitizer's allocator is not counted";
    const std::vector<std::string> sizes = {"a line of text to echo", std::string(65536, 'k'),
                                            std::string(1 << 20, 'm')};
    // The buffers grow to the largest; a text moves from the call's values to the
    // answer's, so two buffers of each size take turns.
    Serve_Echoes(sizes);
    Serve_Echoes(sizes);
    std::vector<std::string> calls;
    for (int round = 0; round < 50; ++round)
        calls.insert(calls.end(), sizes.begin(), sizes.end());
    EXPECT_EQ(Serve_Echoes(calls), 0);
}

TEST_F(Svr_Client_Test, CallsThatArriveTogetherAreAllAnsweredInOneTurn)
{
    // The second call straddles the first read, the third comes whole behind it.
    const std::vector<std::string> texts = {"first", std::string(10000, 's'), "third"};
    std::string calls;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const char* value = texts[i].c_str();
        const void* in[] = {&Zentrak, &value};
        calls += Call_Bytes("ZTZentrak_EchoString", Sequence + 1 + static_cast<int32_t>(i), in);
    }
    ASSERT_TRUE(Transfer(Peer, calls.data(), calls.size(), false));
    ASSERT_TRUE(Client->On_Ready(Dispatcher));
    Svr_Values out;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        ASSERT_TRUE(Read_Answer(Peer, "ZTZentrak_EchoString", Sequence + 1 + static_cast<int32_t>(i), out));
        EXPECT_EQ(out.Text(1), texts[i]);
    }
}

TEST_F(Svr_Client_Test, BytesThatAreNoMessageEndTheClient)
{
    const char garbage[64] = "not a message header at all, but long enough for one";
    ASSERT_TRUE(Transfer(Peer, const_cast<char*>(garbage), sizeof garbage, false));
    EXPECT_FALSE(Client->On_Ready(Dispatcher));
}

TEST_F(Svr_Client_Test, APeerThatClosesEndsTheClient)
{
    shutdown(Peer, SHUT_WR);
    EXPECT_FALSE(Client->On_Ready(Dispatcher));
}

// An answer that waits for room in the socket is written on from the stable bytes
// (the reader's call) where they are; a text elsewhere, which the next call may
// overwrite, is copied in before the first write returns.
TEST(Svr_Writer_Test, AnAnswerThatWaitsForRoomKeepsOnlyStableTextsInPlace)
{
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair), 0);
    ASSERT_EQ(fcntl(pair[1], F_SETFL, O_NONBLOCK), 0);
    const std::string first(700000, 's'), second(500000, 'v');
    std::string stable = first, passing = second;
    const char* texts[] = {stable.c_str(), passing.c_str()};
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_String, ZTInt_rpc_type_String};
    const void* values[] = {&texts[0], &texts[1]};
    ZTInt_msg_struct* message = nullptr;
    char* error = nullptr;
    ZTInt_msg_gather gather;
    ASSERT_TRUE(ZTInt_msg_Encode_Params_Gather(&message, &error, 2, types, values, &gather));
    ASSERT_EQ(gather.Count, 2);
    ZTInt_msg_Init_Call(message, kClientPid, 7, 3);

    Svr_Writer writer;
    writer.Start(message, &gather, {stable.data(), stable.data() + stable.size()});
    ASSERT_EQ(writer.Step(pair[1]), Svr_Step::Pending);  // 1.2 MB do not fit in the socket
    passing.assign(passing.size(), 'x');                  // the next call's text

    std::vector<char> received;
    std::thread reader([&] { received = Read_Message(pair[0]); });
    Svr_Step step = Svr_Step::Pending;
    while (step == Svr_Step::Pending) {
        pollfd room = {pair[1], POLLOUT, 0};
        ASSERT_EQ(poll(&room, 1, 5000), 1);
        step = writer.Step(pair[1]);
    }
    reader.join();
    EXPECT_EQ(step, Svr_Step::Complete);
    ASSERT_FALSE(received.empty());
    char* got[2] = {nullptr, nullptr};
    void* out[] = {&got[0], &got[1]};
    EXPECT_EQ(ZTInt_msg_Decode(reinterpret_cast<ZTInt_msg_struct*>(received.data()), &error, 2,
                               types, out),
              2);
    EXPECT_TRUE(got[0] != nullptr && got[0] == first);
    EXPECT_TRUE(got[1] != nullptr && got[1] == second);
    ZTInt_String_Free(got[0]);
    ZTInt_String_Free(got[1]);
    ZTInt_String_Free(error);
    close(pair[0]);
    close(pair[1]);
}

// Svr_Values keeps its values in fixed storage: every list of the table must fit.
TEST(Svr_Values_Storage, EveryListOfTheTableFits)
{
    int longest = 0;
    for (int32_t i = 0; i < ZTInt_Call_Table_Size; ++i) {
        longest = std::max({longest, ZTInt_Call_Table[i].In_Count, ZTInt_Call_Table[i].Out_Count});
    }
    EXPECT_LE(longest, Svr_Values::Max_Count);
}

}  // namespace

namespace {

// The bytes of a message of the given data, with room behind them.
std::vector<char> Message_With(const std::string& data)
{
    std::vector<char> bytes(sizeof(ZTInt_msg_struct) + data.size() + 8, '#');
    auto* message = reinterpret_cast<ZTInt_msg_struct*>(bytes.data());
    ZTInt_msg_Init_Call(message, kClientPid, 1, 1);
    message->Param_Count = 2;
    message->Data_Size = static_cast<int32_t>(data.size());
    std::memcpy(ZTInt_msg_Data_Addr(message), data.data(), data.size());
    return bytes;
}

std::string Word(int32_t value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

}  // namespace

// The server's own decoding of a call refuses what the codec refuses, and reads the
// same values, whether its texts are copied or left in the message.
TEST(Svr_Values_Decode, BothWaysAgreeWithTheCodec)
{
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_String, ZTInt_rpc_type_LONG};
    const std::string tag_s(1, ZTInt_rpc_type_String), tag_l(1, ZTInt_rpc_type_LONG);
    const struct {
        const char* what;
        std::string data;
        bool decodes;
    } cases[] = {
        {"text and number", tag_s + Word(5) + "hello" + tag_l + Word(42), true},
        {"empty text", tag_s + Word(0) + tag_l + Word(7), true},
        {"text longer than the data", tag_s + Word(50) + "hello" + tag_l + Word(42), false},
        {"negative length", tag_s + Word(-1) + "hello" + tag_l + Word(42), false},
        {"a byte too many", tag_s + Word(5) + "hello" + tag_l + Word(42) + "x", false},
        {"number cut short", tag_s + Word(5) + "hello" + tag_l + "ab", false},
        {"wrong tag", tag_l + Word(5) + "hello" + tag_l + Word(42), false},
    };
    for (const auto& c : cases) {
        for (const Svr_Texts texts : {Svr_Texts::Copied, Svr_Texts::In_Place}) {
            std::vector<char> bytes = Message_With(c.data);
            auto* message = reinterpret_cast<ZTInt_msg_struct*>(bytes.data());
            char* text = nullptr;
            int32_t number = 0;
            void* const values[] = {&text, &number};
            char* error = nullptr;
            const bool codec = ZTInt_msg_Decode(message, &error, 2, types, values) == 2;
            ZTInt_String_Free(error);
            EXPECT_EQ(codec, c.decodes) << c.what;
            Svr_Values decoded(types, 2);
            ASSERT_EQ(decoded.Decode(message, texts), c.decodes) << c.what;
            if (c.decodes) {
                EXPECT_STREQ(decoded.Text(0), text) << c.what;
                EXPECT_EQ(decoded.Number(1), number) << c.what;
                // A text left in place stays good when handed on to another list.
                Svr_Values answer(types, 2);
                answer.Move_Text(0, decoded, 0);
                EXPECT_STREQ(answer.Text(0), text) << c.what;
                EXPECT_STREQ(decoded.Text(0), "") << c.what;
            } else {
                EXPECT_STREQ(decoded.Text(0), "") << c.what;  // never a text cut loose
            }
            ZTInt_String_Free(text);
        }
    }
}
