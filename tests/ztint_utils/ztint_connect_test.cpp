// The connection record and the small steps of a connection's life that this
// build has: closing, the change to a client connection, taking the server's
// connection, and the failure of waiting on no listener.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "tests/support/ztint_temp_dir.h"
#include "ztint_base/ztint_strings.h"
#include "ztint_utils/ztint_connect.h"

namespace {

bool Is_Open(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

}  // namespace

TEST(ConnectionRecord, InitializeAndCopy)
{
    ZTInt_Connection connection;
    std::memset(&connection, 0x5a, sizeof connection);
    ZTInt_Connection_Initialize(&connection);
    EXPECT_EQ(connection.Type, ZTInt_Connection_Type_Nil);
    EXPECT_EQ(connection.State, ZTInt_Connection_State_Nil);
    EXPECT_EQ(connection.Handle.Read_File, -1);
    EXPECT_EQ(connection.Handle.Write_File, -1);
    EXPECT_EQ(connection.Handle.Data, nullptr);
    EXPECT_EQ(connection.Handle.Length, 0);
    EXPECT_EQ(connection.Handle.Last_Count, 0);
    EXPECT_EQ(connection.Listen_File, -1);
    EXPECT_EQ(connection.USocket_Path, nullptr);
    EXPECT_EQ(connection.Client_Pid, -1);
    EXPECT_EQ(connection.Sequence, 0);
    EXPECT_EQ(connection.Reserved_1, 0);

    connection.Sequence = 41;
    connection.Reserved_1 = 7;
    connection.Reserved_2 = 8;
    connection.Handle.Read_File = 12;
    ZTInt_Connection copy;
    ZTInt_Connection_Copy(&connection, &copy);
    EXPECT_EQ(copy.Sequence, 41);
    EXPECT_EQ(copy.Handle.Read_File, 12);
    EXPECT_EQ(copy.Reserved_1, 0);
    EXPECT_EQ(copy.Reserved_2, 0);
    EXPECT_EQ(connection.Reserved_1, 7) << "the source keeps its fields";
}

TEST(ConnectionRecord, Images)
{
    const std::pair<int, const char16_t*> types[] = {
        {0, u"nil"}, {2, u"startup"}, {5, u"client"}, {6, u"unknown"}, {-1, u"unknown"}};
    for (const auto& [type, image] : types)
        EXPECT_EQ(std::u16string(ZTInt_Connection_Type_Image(type)), image) << type;
    const std::pair<int, const char16_t*> states[] = {
        {4, u"ready"}, {5, u"read_header"}, {10, u"write_done"}, {11, u"unknown"}, {-3, u"unknown"}};
    for (const auto& [state, image] : states)
        EXPECT_EQ(std::u16string(ZTInt_Connection_State_Image(state)), image) << state;
}

// A descriptor shared by all three fields is closed once; three distinct ones are all
// closed; every field forgets its descriptor, the state goes back to nil, the type stays.
TEST(ConnectionClose, ClosesEachDescriptorOnceAndForgetsThem)
{
    int ends[2], a[2], b[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    ASSERT_EQ(pipe(a), 0);
    ASSERT_EQ(pipe(b), 0);
    const int files[2][3] = {{ends[0], ends[0], ends[0]}, {a[0], a[1], b[0]}};
    for (const auto& f : files) {
        ZTInt_Connection connection;
        ZTInt_Connection_Initialize(&connection);
        connection.Type = ZTInt_Connection_Type_Client;
        connection.State = ZTInt_Connection_State_Ready;
        connection.Handle.Read_File = f[0];
        connection.Handle.Write_File = f[1];
        connection.Listen_File = f[2];
        ZTInt_Close_Connection(&connection);
        for (int fd : f) EXPECT_FALSE(Is_Open(fd)) << fd;
        EXPECT_EQ(connection.Handle.Read_File, -1);
        EXPECT_EQ(connection.Handle.Write_File, -1);
        EXPECT_EQ(connection.Listen_File, -1);
        EXPECT_EQ(connection.State, ZTInt_Connection_State_Nil);
        EXPECT_EQ(connection.Type, ZTInt_Connection_Type_Client);
    }
    EXPECT_TRUE(Is_Open(b[1]));
    close(ends[1]);
    close(b[1]);
}

// A started startup connection becomes a ready client; anything else ends the process.
TEST(ConnectionStartupDeathTest, ChangeToClientAssertsTypeThenState)
{
    ZTInt_Connection connection;
    ZTInt_Connection_Initialize(&connection);
    connection.State = ZTInt_Connection_State_Started;
    EXPECT_DEATH(ZTInt_Change_Startup_to_Client(&connection),
                 "^\\*\\*\\* ztintsvr assertion failure: Connection.Type == "
                 "ZTInt_Connection_Type_Startup in ztint_connect at line 1350\n$");
    connection.Type = ZTInt_Connection_Type_Startup;
    connection.State = ZTInt_Connection_State_Ready;
    EXPECT_DEATH(ZTInt_Change_Startup_to_Client(&connection),
                 "^\\*\\*\\* ztintsvr assertion failure: Connection.State == "
                 "ZTInt_Connection_State_Started in ztint_connect at line 1351\n$");
    connection.State = ZTInt_Connection_State_Started;
    ZTInt_Change_Startup_to_Client(&connection);
    EXPECT_EQ(connection.Type, ZTInt_Connection_Type_Client);
    EXPECT_EQ(connection.State, ZTInt_Connection_State_Ready);
}

TEST(ConnectionStartup, AcceptPutsTheServersSocketInPlaceOfThePipeAndListener)
{
    const ZTInt_Temp_Dir directory;
    const std::string path = directory.Path + "/s";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);

    ZTInt_Connection connection;
    ZTInt_Connection_Initialize(&connection);
    connection.Type = ZTInt_Connection_Type_Startup;
    connection.State = ZTInt_Connection_State_Started;
    connection.Handle.Read_File = listener;
    connection.Handle.Write_File = pipe_ends[1];
    connection.Listen_File = listener;

    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(connect(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    char* error = reinterpret_cast<char*>(0x1);
    ASSERT_EQ(ZTInt_Accept_Connections(&connection, &error), 0);
    EXPECT_EQ(error, nullptr);
    const int socket_fd = connection.Listen_File;
    EXPECT_EQ(connection.Handle.Read_File, socket_fd);
    EXPECT_EQ(connection.Handle.Write_File, socket_fd);
    EXPECT_EQ(connection.State, ZTInt_Connection_State_Started) << "the state is the caller's";
    EXPECT_FALSE(Is_Open(pipe_ends[1]));
    EXPECT_TRUE(Is_Open(socket_fd));
    EXPECT_EQ(fcntl(socket_fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    ASSERT_EQ(write(server, "x", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(socket_fd, &byte, 1), 1);
    EXPECT_EQ(byte, 'x');

    ZTInt_Close_Connection(&connection);
    close(server);
    close(pipe_ends[0]);
}

TEST(ConnectionStartup, AcceptWithoutAListenerFailsAtOnceAndClosesNothing)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ZTInt_Connection connection;
    ZTInt_Connection_Initialize(&connection);
    connection.Handle.Write_File = ends[1];
    char* error = nullptr;
    EXPECT_EQ(ZTInt_Accept_Connections(&connection, &error), -1);
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(error, "doing: socket interface \nsyscall: poll\nerrno: Bad file descriptor");
    EXPECT_TRUE(Is_Open(ends[1]));
    ZTInt_String_Free(error);
    close(ends[0]);
    close(ends[1]);
}
