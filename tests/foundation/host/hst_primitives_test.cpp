// Checked narrowing, allocation, signal helpers, switches and the small host texts.
#include "foundation/host/hst_primitives.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "foundation/host/hst_safe_malloc.h"
#include "foundation/host/hst_switches.h"
#include "tests/foundation/base/message_test_support.h"

using namespace message_test;

namespace {

class Narrowing_Test : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Use_Catalogs(Shipped_Catalogs());
    }
};

void Ignore(int) {}

}  // namespace

// The one line a failed narrowing writes before it aborts.
std::string Exceeds(const char* Value, const char* Limit) {
    return std::string("^\\*\\*\\* internal error: the value ") + Value + " exceeds the limit " +
           Limit + "\n$";
}

TEST_F(Narrowing_Test, ToByteKeepsValuesBelow256AndToSizeTBelow2To31) {
    EXPECT_EQ(Hst_To_Byte(255), 255);
    EXPECT_EXIT(Hst_To_Byte(256), ::testing::KilledBySignal(SIGABRT), Exceeds("256", "255"));
    // Taken as unsigned, a negative value is far above the limit.
    EXPECT_EXIT(Hst_To_Byte(-1), ::testing::KilledBySignal(SIGABRT), Exceeds("-1", "255"));
    EXPECT_EQ(Hst_To_Size_T(0x7fffffff), 0x7fffffffu);
    EXPECT_EXIT(Hst_To_Size_T(0x80000000L), ::testing::KilledBySignal(SIGABRT),
                Exceeds("2147483648", "2147483647"));
    EXPECT_EXIT(Hst_To_Size_T(-1), ::testing::KilledBySignal(SIGABRT),
                Exceeds("-1", "2147483647"));
}

#if defined(__SANITIZE_ADDRESS__)
#define ZT_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZT_UNDER_ASAN 1
#endif
#endif

TEST(Hst_Allocation, ZeroIsNoFailureAndAFailedAllocationWritesOneLineAndAborts) {
    Hst_free(Hst_Safe_Malloc(0));
    void* some = Hst_realloc(Hst_Safe_Malloc(64), 128);
    ASSERT_NE(some, nullptr);
    Hst_free(some);
#ifdef ZT_UNDER_ASAN
    GTEST_SKIP() << "the sanitizer's allocator reports impossible sizes itself";
#else
    EXPECT_EXIT(Hst_Safe_Malloc(static_cast<std::size_t>(-1) / 2),
                ::testing::KilledBySignal(SIGABRT),
                "^\\*\\*\\* memory allocation failed; terminating process\n$");
#endif
}

TEST(Hst_Signals, HandleWithAFullMaskAndBackToTheDefault) {
    ASSERT_EQ(Hst_Handle_Signal(SIGUSR2, &Ignore), 0);
    struct sigaction now {};
    ASSERT_EQ(sigaction(SIGUSR2, nullptr, &now), 0);
    EXPECT_EQ(now.sa_handler, &Ignore);
    EXPECT_EQ(now.sa_flags & SA_RESTART, 0);
    EXPECT_EQ(sigismember(&now.sa_mask, SIGTERM), 1);
    EXPECT_EQ(sigismember(&now.sa_mask, SIGINT), 1);

    ASSERT_EQ(Hst_Default_Signal(SIGUSR2), 0);
    ASSERT_EQ(sigaction(SIGUSR2, nullptr, &now), 0);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
    EXPECT_EQ(sigismember(&now.sa_mask, SIGTERM), 0);
    EXPECT_EQ(Hst_Handle_Signal(SIGKILL, &Ignore), -1);
}

TEST(Hst_Texts, ErrnoTextsHostNamesAndThePlatformTable) {
    EXPECT_EQ(Narrow(Hst_strerror(EPIPE)), "Broken pipe");
    const Code_Unit lone_surrogate[] = {u'h', 0xDC00, 0};
    EXPECT_EQ(Hst_gethostbyname(lone_surrogate), nullptr);
    unsetenv("ZT_ARCH");
    Hst_Switches::Clear_Cache();
    EXPECT_EQ(Narrow(Hst_Switches::Architecture_Switch_Value()), "linux_x86_64");
    EXPECT_EQ(Hst_Switches::Is_Platform_Name(u"x86_64"), 1);
    // This platform's row replaces the last one of the table.
    EXPECT_EQ(Hst_Switches::Is_Platform_Name(u"sun4"), 0);
    EXPECT_EQ(Narrow(Fnd_String(Hst_Switches::This_Platform())), "x86_64");
    EXPECT_EQ(Narrow(Fnd_String(Hst_Product_Dir_Table[Hst_Product_Messages_Dir])), "messages");
}
