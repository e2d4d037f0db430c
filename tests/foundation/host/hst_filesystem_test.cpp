// Reading and writing descriptors: counts, end of file, failures and retries.
#include "foundation/host/hst_filesystem.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "foundation/base/fnd_condition.h"
#include "foundation/host/hst_errors.h"
#include "tests/foundation/host/hst_process_test_support.h"

using namespace message_test;

namespace {

using Pipe = process_test::Test_Pipe;

// The text number, errno and length of the failure on Condition: "141 errno 9 length 8".
std::string Failure(const Fnd_Condition& Condition) {
    const auto* error = Hst_Sys_Call_Error::Convert(Condition.Get_Error());
    if (!error) return Condition.Failed() ? "other" : "ok";
    return std::to_string(error->Text_Number()) + " errno " + std::to_string(error->Errno) +
           " length " + std::to_string(error->Num);
}

std::atomic<int> Interruptions{0};
void Count_Interruption(int) { ++Interruptions; }

}  // namespace

TEST(Hst_Filesystem_Read_Write, BytesGoThroughAPipeAndEndOfFileIsACountOfZero) {
    Pipe pipe;
    Fnd_Condition condition(Hst_Sys_Call_Error(1, 2));
    EXPECT_EQ(Hst_Filesystem::Write(pipe.Write.Get(), "hello", 5, condition), 5);
    EXPECT_FALSE(condition.Failed());

    char buffer[16] = {};
    condition.Set_Error(Hst_Sys_Call_Error(1, 2), 1);
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, 3, condition), 3);
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(std::string(buffer, 3), "hel");
    // A short read is a success: only what is there comes back.
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, sizeof buffer, condition), 2);
    EXPECT_EQ(std::string(buffer, 2), "lo");

    EXPECT_EQ(Hst_Filesystem::Write(pipe.Write.Get(), "x", 0, condition), 0);
    EXPECT_FALSE(condition.Failed());

    pipe.Write.Reset();
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, sizeof buffer, condition), 0);
    EXPECT_FALSE(condition.Failed());
}

TEST(Hst_Filesystem_Read_Write, WritingToAClosedPeerFailsWithBrokenPipe) {
    // The library never lets SIGPIPE kill its host; callers that write to a pipe block it.
    sigset_t blocked, previous;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGPIPE);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &blocked, &previous), 0);
    Pipe pipe;
    pipe.Read.Reset();
    Fnd_Condition condition;
    EXPECT_EQ(Hst_Filesystem::Write(pipe.Write.Get(), "data", 4, condition), -1);
    EXPECT_EQ(Failure(condition), "143 errno " + std::to_string(EPIPE) + " length 4");
    EXPECT_EQ(Hst_Sys_Call_Error::Is_Errno(condition, EPIPE), 1);

    Pin_Language();
    Use_Catalogs(Shipped_Catalogs());
    EXPECT_EQ(Narrow(condition.Image(Fnd_Detail_Normal, 0, 1, 1, 1,
                                     Fnd_Message::Default_Message_Separator())),
              "writing 4 bytes failed: Broken pipe");
    // Drop the pending signal before unblocking it.
    const timespec no_wait = {0, 0};
    sigtimedwait(&blocked, nullptr, &no_wait);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

TEST(Hst_Filesystem_Read_Write, FailuresCarryTheCallNumberTheLengthAndErrno) {
    Fnd_Condition condition;
    char buffer[8];
    EXPECT_EQ(Hst_Filesystem::Read(-1, buffer, 8, condition), -1);
    EXPECT_EQ(Failure(condition), "141 errno " + std::to_string(EBADF) + " length 8");
    Pipe pipe;
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, -1, condition), -1);
    EXPECT_EQ(Failure(condition), "141 errno " + std::to_string(EINVAL) + " length -1");
    EXPECT_EQ(Hst_Filesystem::Write(pipe.Write.Get(), buffer, -5, condition), -1);
    EXPECT_EQ(Failure(condition), "143 errno " + std::to_string(EINVAL) + " length -5");
}

TEST(Hst_Filesystem_Read_Write, ANonBlockingReadWaitsForDataButAWriteReportsAFullPipe) {
    Pipe pipe;
    ASSERT_EQ(fcntl(pipe.Read.Get(), F_SETFL, O_NONBLOCK), 0);
    ASSERT_EQ(fcntl(pipe.Write.Get(), F_SETFL, O_NONBLOCK), 0);
    std::thread writer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(write(pipe.Write.Get(), "late", 4), 4);
    });
    Fnd_Condition condition;
    char buffer[8] = {};
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, sizeof buffer, condition), 4);
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(std::string(buffer, 4), "late");
    writer.join();

    // Fill the pipe; the write that finds it full fails with EAGAIN instead of spinning.
    char block[4096];
    std::memset(block, 'x', sizeof block);
    long result = 0;
    for (int i = 0; i < 1024 && result >= 0; ++i)
        result = Hst_Filesystem::Write(pipe.Write.Get(), block, sizeof block, condition);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(Failure(condition), "143 errno " + std::to_string(EAGAIN) + " length 4096");
}

TEST(Hst_Filesystem_Read_Write, AnInterruptedReadIsRepeated) {
    struct sigaction action {};
    action.sa_handler = &Count_Interruption;
    action.sa_flags = 0;  // no SA_RESTART: the read returns EINTR
    sigemptyset(&action.sa_mask);
    struct sigaction previous {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &previous), 0);

    Pipe pipe;
    const pthread_t reader = pthread_self();
    std::thread interrupter([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        pthread_kill(reader, SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_EQ(write(pipe.Write.Get(), "after", 5), 5);
    });
    Fnd_Condition condition;
    char buffer[8] = {};
    EXPECT_EQ(Hst_Filesystem::Read(pipe.Read.Get(), buffer, sizeof buffer, condition), 5);
    interrupter.join();
    EXPECT_FALSE(condition.Failed());
    EXPECT_EQ(std::string(buffer, 5), "after");
    EXPECT_EQ(Interruptions.load(), 1);
    sigaction(SIGUSR1, &previous, nullptr);
}
