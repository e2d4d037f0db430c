// Helpers of the socket and process tests: descriptors that close themselves, reading
// a pipe to its end, a temporary directory, and texts of conditions.
#pragma once

#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "foundation/base/fnd_condition.h"
#include "foundation/base/fnd_message.h"
#include "foundation/base/fnd_sequence.h"
#include "foundation/host/hst_errors.h"
#include "tests/foundation/base/message_test_support.h"
#include "tests/support/ztint_temp_dir.h"

namespace process_test {

using message_test::Narrow;

// A descriptor owned by the test.
struct Fd {
    Fd() = default;
    explicit Fd(int Value) : Value(Value) {}
    ~Fd() { Reset(); }
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;
    int Get() const { return Value; }
    void Reset(int Next = -1) {
        if (Value >= 0) ::close(Value);
        Value = Next;
    }
    int Value = -1;
};

// A pipe of the test; plain, not close-on-exec, unless asked.
struct Test_Pipe {
    Fd Read;
    Fd Write;
    explicit Test_Pipe(int Flags = 0) {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, Flags), 0);
        Read.Reset(ends[0]);
        Write.Reset(ends[1]);
    }
};

// Everything up to the end of Fd.
inline std::string Read_All(int Fd) {
    std::string text;
    char buffer[512];
    for (;;) {
        const ssize_t count = ::read(Fd, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return text;
        text.append(buffer, static_cast<size_t>(count));
    }
}

inline bool Close_On_Exec(int Fd) { return (::fcntl(Fd, F_GETFD) & FD_CLOEXEC) != 0; }

// The whole tree of a condition as text, one message a line.
inline std::string Text_Of(const Fnd_Condition& Condition) {
    return Narrow(Condition.Image(Fnd_Detail_Normal, 0, 0, 1, 1, Fnd_String(u"\n")));
}

// The system call failure in Condition, on top or first below it at each level.
inline const Hst_Sys_Call_Error* Sys_Call_Error_In(const Fnd_Condition& Condition) {
    if (const Hst_Sys_Call_Error* top = Hst_Sys_Call_Error::Convert(Condition.Get_Error()))
        return top;
    Fnd_Sequence* subordinates = Condition.Get_Subordinate();
    const auto* first = subordinates ? Fnd_Condition::Convert(subordinates->Get_First()) : nullptr;
    return first ? Sys_Call_Error_In(*first) : nullptr;
}

// Its text number and errno: "161 errno 2".
inline std::string Sys(int Text, int Error) {
    return std::to_string(Text) + " errno " + std::to_string(Error);
}
inline std::string Sys_Error(const Fnd_Condition& Condition) {
    const Hst_Sys_Call_Error* error = Sys_Call_Error_In(Condition);
    return error ? Sys(error->Text_Number(), error->Get_Errno()) : "none: " + Text_Of(Condition);
}

// A fresh directory, removed with all it holds at the end of the test.
using Temp_Dir = ZTInt_Temp_Dir;

// Catalogs of this build and a pinned language, so that failures print their texts.
class Host_Test : public ::testing::Test {
protected:
    void SetUp() override {
        message_test::Pin_Language();
        message_test::Use_Catalogs(message_test::Shipped_Catalogs());
    }
};

}  // namespace process_test
