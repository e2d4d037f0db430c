// The transport over socketpairs: whole-message and stepwise transfers, and every
// way a peer can fail them.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "foundation/base/fnd_message.h"
#include "foundation/host/hst_switches.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_transport.h"
#include "ztint_opcodes.h"

namespace {

class Transport : public ::testing::Test {
protected:
    void SetUp() override
    {
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        near = ends[0];
        far = ends[1];
        ZTInt_RPC_Handle_Initialize(&handle);
        handle.Read_File = near;
        handle.Write_File = near;
    }
    void TearDown() override
    {
        Close_Far();
        close(near);
        ZTInt_String_Free(error);
    }
    void Close_Far()
    {
        if (far >= 0) close(far);
        far = -1;
    }
    void Put(const void* bytes, std::size_t size)
    {
        ASSERT_EQ(write(far, bytes, size), static_cast<ssize_t>(size));
    }
    std::string Error() const { return error != nullptr ? error : "<null>"; }

    // A call carrying one string.
    static ZTInt_msg_struct* String_Call(const char* text)
    {
        const ZTInt_rpc_type types[] = {ZTInt_rpc_type_String};
        const void* const values[] = {&text};
        ZTInt_msg_struct* msg = nullptr;
        char* failure = nullptr;
        EXPECT_EQ(ZTInt_msg_Encode(&msg, &failure, 1, types, values), 1);
        ZTInt_msg_Init_Call(msg, 1234, 7, ZTInt_op_ZTZentrak_EchoString);
        return msg;
    }

    int near = -1;
    int far = -1;
    ZTInt_RPC_Handle handle;
    char* error = nullptr;
};

}  // namespace

TEST_F(Transport, SendAndReceiveAWholeMessageOrTheHeaderAlone)
{
    ZTInt_msg_struct* sent = String_Call("abc");
    ZTInt_RPC_Handle far_handle = handle;
    far_handle.Read_File = far_handle.Write_File = far;
    EXPECT_EQ(ZTInt_transport_Send(&handle, sent, &error), 0);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(handle.Length, 0);
    EXPECT_EQ(handle.Last_Count, ZTInt_msg_Full_Size(sent));

    ZTInt_msg_struct* received = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&far_handle, &received, &error), 0);
    ASSERT_NE(received, nullptr);
    EXPECT_EQ(std::memcmp(received, sent, ZTInt_msg_Full_Size(sent)), 0);
    ZTInt_msg_Free(received);

    EXPECT_EQ(ZTInt_transport_Send_Header(&handle, sent, &error), 0);
    EXPECT_EQ(handle.Last_Count, 32);
    char header[64];
    EXPECT_EQ(recv(far, header, sizeof header, MSG_DONTWAIT), 32);
    EXPECT_EQ(std::memcmp(header, sent, 32), 0);
    ZTInt_msg_Free(sent);

    // A message without data ends right after the header: no read of data is made.
    sent = ZTInt_msg_New(0, nullptr, nullptr);
    ZTInt_msg_Init_Call(sent, 1, 1, ZTInt_op_ZTInt_GetError);
    Put(sent, 32);
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error), 0);
    EXPECT_EQ(handle.Last_Count, -1);
    EXPECT_TRUE(ZTInt_transport_Data_Done(&handle));
    ZTInt_msg_Free(received);
    ZTInt_msg_Free(sent);
}

TEST_F(Transport, HeaderReadFailuresLeaveTheMessageAlone)
{
    ZTInt_msg_struct huge = {};
    ZTInt_msg_Init_Call(&huge, 1, 1, ZTInt_op_ZTInt_GetError);
    huge.Data_Size = 0x7fffffff;
    const char zeros[32] = {};
    const struct {
        const void* bytes;
        std::size_t size;
        int status;
        const char* text;
    } cases[] = {
        {zeros, 32, -1, "ztintsvr RPC message has invalid framing word (1): got 0, expected 0xdeadbeef"},
        {&huge, 32, -1, "ztintsvr RPC message data size 2147483647 is out of range (0 to 67108864 bytes)"},
        {zeros, 17, -1, "incomplete data"},  // then end of file
        {nullptr, 0, -10, "no data"},
    };
    // Reading ahead or not, the header is checked before anything is kept.
    for (const bool ahead : {false, true}) {
        if (ahead) {  // a fresh pair: the last case closed the far end
            TearDown();
            SetUp();
        }
        ZTInt_transport_Limits limits;
        limits.Read_Ahead = ahead;
        for (const auto& c : cases) {
            if (c.size > 0) Put(c.bytes, c.size);
            if (c.size == 17) Close_Far();
            ZTInt_msg_struct* const untouched = reinterpret_cast<ZTInt_msg_struct*>(0x10);
            ZTInt_msg_struct* out = untouched;
            EXPECT_EQ(ZTInt_transport_Recv(&handle, &out, &error, limits), c.status) << c.text;
            EXPECT_EQ(Error(), c.text);
            EXPECT_EQ(out, untouched) << c.text;
            ZTInt_String_Free(error);
            error = nullptr;
        }
    }
}

TEST_F(Transport, ReadingAheadTakesAMessageThatIsThereWithOneRead)
{
    ZTInt_transport_Limits limits;
    limits.Read_Ahead = true;
    const std::string long_text(65536, 'q');
    // The first long message finds only small buffers and moves to a larger one; the
    // second finds that one free and comes with one read.
    const struct {
        const char* text;
        bool one_read;
    } cases[] = {{"short", true}, {long_text.c_str(), false}, {long_text.c_str(), true}, {"", true}};
    for (const auto& c : cases) {
        ZTInt_msg_struct* sent = String_Call(c.text);
        const int32_t size = ZTInt_msg_Full_Size(sent);
        Put(sent, size);
        ZTInt_msg_struct* received = nullptr;
        ASSERT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), 0) << Error();
        ASSERT_NE(received, nullptr);
        EXPECT_EQ(std::memcmp(received, sent, size), 0);
        if (c.one_read) {
            EXPECT_EQ(handle.Last_Count, size) << std::strlen(c.text);
        }
        EXPECT_TRUE(ZTInt_transport_Data_Done(&handle));
        ZTInt_msg_Free(received);
        ZTInt_msg_Free(sent);
    }
}

TEST_F(Transport, ReadingAheadWaitsForTheRestAndRefusesBytesBeyondTheMessage)
{
    ZTInt_transport_Limits limits;
    limits.Read_Ahead = true;
    limits.Stall_Ms = 5000;
    ZTInt_msg_struct* sent = String_Call("the rest comes later");
    const int32_t size = ZTInt_msg_Full_Size(sent);
    Put(sent, 40);
    std::thread rest([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        Put(reinterpret_cast<const char*>(sent) + 40, size - 40);
    });
    ZTInt_msg_struct* received = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), 0) << Error();
    rest.join();
    ASSERT_NE(received, nullptr);
    EXPECT_EQ(std::memcmp(received, sent, size), 0);
    ZTInt_msg_Free(received);

    // A second message behind the first is no answer to one call.
    std::string twice(reinterpret_cast<const char*>(sent), size);
    twice += twice;
    Put(twice.data(), twice.size());
    received = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), -1);
    EXPECT_EQ(Error(), std::to_string(size) + " bytes came beyond the " + std::to_string(size) +
                           " bytes of the message");
    EXPECT_NE(received, nullptr);
    ZTInt_msg_Free(received);
    ZTInt_msg_Free(sent);
}

// An answer whose long text is read into a string of its own, which decoding takes;
// the values after the text still decode from the message.
TEST_F(Transport, AnAnswersLongTextGoesStraightIntoTheDecodedString)
{
    const ZTInt_rpc_type types[] = {ZTInt_rpc_type_status, ZTInt_rpc_type_String,
                                    ZTInt_rpc_type_int};
    std::string text(100000, 't');
    text[7] = 'x';
    text.back() = 'y';
    const char* value = text.c_str();
    const int32_t status = 0, number = 77;
    const void* in[] = {&status, &value, &number};
    ZTInt_msg_struct* sent = nullptr;
    ASSERT_EQ(ZTInt_msg_Encode(&sent, &error, 3, types, in), 3);
    sent->Type = ZTInt_msg_type_Reply;
    const int32_t size = ZTInt_msg_Full_Size(sent);
    ZTInt_transport_Limits limits;
    limits.Read_Ahead = true;
    limits.Stall_Ms = 5000;
    limits.Reply_Count = 3;
    limits.Reply_Types = types;

    for (int round = 0; round < 2; ++round) {
        std::thread writer([&] { Put(sent, size); });
        ZTInt_msg_struct* received = nullptr;
        EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), 0) << Error();
        writer.join();
        ASSERT_NE(received, nullptr);
        if (round == 0) {
            int32_t got_status = -1, got_number = 0;
            char* got_text = nullptr;
            void* out[] = {&got_status, &got_text, &got_number};
            EXPECT_EQ(ZTInt_msg_Decode(received, &error, 3, types, out), 3) << Error();
            EXPECT_TRUE(got_text != nullptr && got_text == text);
            EXPECT_EQ(got_number, 77);
            ZTInt_String_Free(got_text);
        }
        // The second answer is not decoded: its text is freed when dropped.
        ZTInt_rpc_Drop_Detached_Text();
        ZTInt_msg_Free(received);
    }

    // A peer that stops inside the text fails the receive; nothing is left behind.
    std::thread writer([&] {
        Put(sent, 60000);
        Close_Far();
    });
    ZTInt_msg_struct* received = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), -1);
    writer.join();
    EXPECT_EQ(Error(), "incomplete data");
    ASSERT_NE(received, nullptr);
    EXPECT_EQ(handle.Length, size - 60000);
    EXPECT_EQ(handle.Data, reinterpret_cast<char*>(received) + 60000);
    ZTInt_msg_Free(received);
    ZTInt_msg_Free(sent);
}

TEST_F(Transport, EndOfFileInTheDataFailsAndLeavesTheMessage)
{
    ZTInt_msg_struct* sent = String_Call("some text");
    Put(sent, ZTInt_msg_Full_Size(sent) - 3);
    Close_Far();
    ZTInt_msg_struct* out = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &out, &error), -1);
    EXPECT_EQ(Error(), "incomplete data");
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(handle.Length, 3);
    ZTInt_msg_Free(out);
    ZTInt_msg_Free(sent);
}

TEST_F(Transport, WaitingHeaderReadDropsShortReadsAndEndsAtEndOfFile)
{
    ZTInt_msg_struct* sent = ZTInt_msg_New(0, nullptr, nullptr);
    ZTInt_msg_Init_Call(sent, 1, 1, 1);
    std::thread writer([&] {
        Put(sent, 10);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Put(sent, 32);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        Put(sent, 5);
        Close_Far();
    });
    ZTInt_msg_struct* out = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv_Header(&handle, &out, &error, 1), 0);
    ASSERT_NE(out, nullptr);
    EXPECT_EQ(out->Procedure, 1);
    ZTInt_msg_Free(out);
    out = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv_Header(&handle, &out, &error, 1), -1);
    EXPECT_EQ(Error(), "incomplete data");
    EXPECT_EQ(out, nullptr);
    writer.join();
    ZTInt_msg_Free(sent);
}

// Writes to a closed peer fail with the system's text, also once no catalog is found.
TEST_F(Transport, FailuresCarryTheSystemTextAlsoWithoutACatalog)
{
    Close_Far();
    ZTInt_msg_struct* sent = String_Call("x");
    EXPECT_EQ(ZTInt_transport_Send(&handle, sent, &error), -1);
    EXPECT_NE(Error().find("Broken pipe"), std::string::npos) << Error();
    ZTInt_String_Free(error);

    setenv("ZT_MESSAGES", "/nonexistent/catalogs", 1);
    Hst_Switches::Clear_Cache();
    Fnd_Message::Refresh_Databases();
    EXPECT_EQ(ZTInt_transport_Send_Atomic(&handle, sent, &error), -1);
    EXPECT_NE(Error().find("Broken pipe"), std::string::npos) << Error();
    ZTInt_String_Free(error);
    error = nullptr;
    handle.Read_File = -1;  // a read of a descriptor that is not open
    ZTInt_msg_struct* out = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &out, &error), -1);
    EXPECT_NE(Error().find("Bad file descriptor"), std::string::npos) << Error();
    EXPECT_EQ(out, nullptr);
    ZTInt_msg_Free(sent);
}

TEST_F(Transport, StepwiseTransferAdvancesByEachCount)
{
    // A small send buffer on a non-blocking socket makes each write step short.
    const int small = 4096;
    ASSERT_EQ(setsockopt(near, SOL_SOCKET, SO_SNDBUF, &small, sizeof small), 0);
    ASSERT_EQ(fcntl(near, F_SETFL, O_NONBLOCK), 0);
    std::string big(200000, 'q');
    ZTInt_msg_struct* sent = String_Call(big.c_str());
    const int32_t full = ZTInt_msg_Full_Size(sent);

    std::vector<char> arrived;
    std::thread reader([&] {
        char chunk[8192];
        while (arrived.size() < static_cast<std::size_t>(full)) {
            const ssize_t count = read(far, chunk, sizeof chunk);
            if (count <= 0) break;
            arrived.insert(arrived.end(), chunk, chunk + count);
        }
    });
    ZTInt_transport_Start_Full(&handle, sent);
    EXPECT_EQ(handle.Last_Count, -1);
    int steps = 0;
    while (!ZTInt_transport_Data_Done(&handle)) {
        char* before = handle.Data;
        const int result = ZTInt_transport_Send_Data(&handle, sent, &error);
        if (result != 0) {
            // EAGAIN: the reader has not caught up yet.
            ZTInt_String_Free(error);
            error = nullptr;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            continue;
        }
        EXPECT_EQ(handle.Data, before + handle.Last_Count);
        ++steps;
    }
    reader.join();
    EXPECT_GT(steps, 1);
    ASSERT_EQ(arrived.size(), static_cast<std::size_t>(full));
    EXPECT_EQ(std::memcmp(arrived.data(), sent, full), 0);
    ZTInt_msg_Free(sent);
}

TEST_F(Transport, StepwiseReceiveOfHeaderThenData)
{
    ZTInt_msg_struct* sent = String_Call("stepwise");
    Put(sent, ZTInt_msg_Full_Size(sent));
    ZTInt_msg_struct* out = nullptr;
    ASSERT_EQ(ZTInt_transport_Recv_Header(&handle, &out, &error, 1), 0);
    ZTInt_transport_Start_Data(&handle, out);
    while (!ZTInt_transport_Data_Done(&handle))
        ASSERT_EQ(ZTInt_transport_Recv_Data(&handle, out, &error), 0);
    EXPECT_EQ(std::memcmp(out, sent, ZTInt_msg_Full_Size(sent)), 0);

    ZTInt_transport_Start_Data(&handle, out);
    Close_Far();
    EXPECT_EQ(ZTInt_transport_Recv_Data(&handle, out, &error), -1);
    EXPECT_EQ(Error(), "incomplete data");
    ZTInt_msg_Free(out);
    ZTInt_msg_Free(sent);
}

// The wait for the first bytes of a message can be bounded (the answer to a startup
// call comes at once from a server that works); without a bound it waits on.
TEST(TransportLimits, AHeaderThatNeverComesEndsTheWaitAtItsBound)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    ZTInt_RPC_Handle handle;
    ZTInt_RPC_Handle_Initialize(&handle);
    handle.Read_File = ends[0];
    ZTInt_transport_Limits limits;
    limits.Header_Ms = 100;
    ZTInt_msg_struct* received = nullptr;
    char* error = nullptr;
    EXPECT_EQ(ZTInt_transport_Recv(&handle, &received, &error, limits), -1);
    EXPECT_STREQ(error, "the server sent no answer within 100 ms");
    EXPECT_EQ(received, nullptr);
    ZTInt_String_Free(error);
    close(ends[0]);
    close(ends[1]);
}

namespace {

// The bytes of a whole message.
std::string Bytes_Of(const ZTInt_msg_struct* msg)
{
    return std::string(reinterpret_cast<const char*>(msg),
                       static_cast<std::size_t>(ZTInt_msg_Full_Size(msg)));
}

// Reads from fd until end of file.
std::string Read_All(int fd)
{
    std::string bytes;
    char block[65536];
    ssize_t count;
    while ((count = read(fd, block, sizeof block)) > 0)
        bytes.append(block, static_cast<std::size_t>(count));
    return bytes;
}

struct Gather_Case {
    const char* name;
    std::vector<std::size_t> lengths;  // one text parameter each, between two ints
    int pieces;                        // texts left in place
};

// The call of a gather case, and the same call encoded whole for comparison.
class Gathered_Call {
public:
    explicit Gathered_Call(const Gather_Case& c)
    {
        for (std::size_t i = 0; i < c.lengths.size(); ++i)
            Texts.push_back(std::string(c.lengths[i], static_cast<char>('a' + i % 26)));
        for (const std::string& text : Texts) {
            Pointers.push_back(text.c_str());
            Types.push_back(ZTInt_rpc_type_String);
        }
        Types.insert(Types.begin(), ZTInt_rpc_type_int);
        Types.push_back(ZTInt_rpc_type_int);
        Values.push_back(&First);
        for (const char*& pointer : Pointers)
            Values.push_back(&pointer);
        Values.push_back(&Last);
    }
    ZTInt_msg_struct* Encode(ZTInt_msg_gather* gather)
    {
        ZTInt_msg_struct* msg = nullptr;
        char* failure = nullptr;
        const int count = static_cast<int>(Types.size());
        const bool done = gather != nullptr
                              ? ZTInt_msg_Encode_Params_Gather(&msg, &failure, count, Types.data(),
                                                               Values.data(), gather)
                              : ZTInt_msg_Encode_Params(&msg, &failure, count, Types.data(),
                                                        Values.data());
        EXPECT_TRUE(done) << (failure != nullptr ? failure : "");
        ZTInt_String_Free(failure);
        ZTInt_msg_Init_Call(msg, 99, 5, ZTInt_op_ZTZentrak_EchoString);
        return msg;
    }

private:
    std::vector<std::string> Texts;
    std::vector<const char*> Pointers;
    std::vector<ZTInt_rpc_type> Types;
    std::vector<const void*> Values;
    int32_t First = 17;
    int32_t Last = -3;
};

const Gather_Case kGatherCases[] = {
    {"short texts are copied", {0, 40, 4095}, 0},
    {"one long text", {ZTInt_msg_Gather_Min_Length}, 1},
    {"long and short texts mixed", {65536, 3, 70000, 0}, 2},
    {"one MiB", {1 << 20}, 1},
    // Texts are measured ahead in the first 16 parameters only (the first is an int).
    {"long texts past the sixteenth parameter are copied", std::vector<std::size_t>(18, 5000), 15},
};

}  // namespace

// Whatever is left in place, the bytes sent are those of the message encoded whole,
// over a socket (gathered) and over a pipe (filled in first).
TEST(TransportGather, SendsTheBytesOfTheWholeMessage)
{
    for (const Gather_Case& c : kGatherCases) {
        SCOPED_TRACE(c.name);
        Gathered_Call call(c);
        ZTInt_msg_struct* whole = call.Encode(nullptr);
        const std::string expected = Bytes_Of(whole);
        ZTInt_msg_Free(whole);
        for (const bool socket : {true, false}) {
            int ends[2];
            ASSERT_EQ(socket ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends)
                             : pipe2(ends, O_CLOEXEC),
                      0);
            const int reader = socket ? ends[1] : ends[0];
            const int writer = socket ? ends[0] : ends[1];
            ZTInt_msg_gather gather;
            ZTInt_msg_struct* msg = call.Encode(&gather);
            EXPECT_EQ(gather.Count, c.pieces);
            ZTInt_RPC_Handle handle;
            ZTInt_RPC_Handle_Initialize(&handle);
            handle.Write_File = writer;
            std::string received;
            // The reader drains while the writer blocks on a full socket or pipe.
            std::thread drain([&] { received = Read_All(reader); });
            char* error = nullptr;
            EXPECT_EQ(ZTInt_transport_Send_Gather(&handle, msg, &gather, &error),
                      ZTInt_transport_Done);
            close(writer);
            drain.join();
            EXPECT_EQ(error, nullptr);
            EXPECT_TRUE(received == expected) << (socket ? "socket: " : "pipe: ") << received.size()
                                              << " bytes of " << expected.size();
            ZTInt_String_Free(error);
            ZTInt_msg_Free(msg);
            close(reader);
        }
    }
}

// A peer that has gone fails the send with the system's text, and the process lives.
TEST(TransportGather, APeerThatHasGoneFailsTheSend)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    close(ends[1]);
    Gathered_Call call(kGatherCases[2]);
    ZTInt_msg_gather gather;
    ZTInt_msg_struct* msg = call.Encode(&gather);
    ZTInt_RPC_Handle handle;
    ZTInt_RPC_Handle_Initialize(&handle);
    handle.Write_File = ends[0];
    char* error = nullptr;
    EXPECT_EQ(ZTInt_transport_Send_Gather(&handle, msg, &gather, &error), ZTInt_transport_Failed);
    const std::string text = error != nullptr ? error : "<null>";
    EXPECT_NE(text.find("Broken pipe"), std::string::npos) << text;
    ZTInt_String_Free(error);
    ZTInt_msg_Free(msg);
    close(ends[0]);
}
