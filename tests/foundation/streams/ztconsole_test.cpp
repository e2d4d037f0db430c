// The console streams: lenient conversion to and from the standard descriptors, their
// wiring, and the flush at exit. The streams live as long as the process, so the tests
// that depend on how they were made run in a process of their own.
#include "foundation/streams/ztconsole.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/foundation/streams/zt_stream_test_support.h"
#include "tests/support/ztint_captured_fd.h"
#include "tests/support/ztint_fresh_process.h"
#include "tests/support/ztint_temp_dir.h"

using namespace stream_test;

namespace {

// Points descriptor Fd at File for the life of the object: standard input for reading.
class Redirect {
public:
    Redirect(int Fd, const std::string& File, int Flags) : Fd(Fd), Saved(dup(Fd)) {
        std::fflush(nullptr);  // what stdio holds so far belongs to the old file
        const int file = open(File.c_str(), Flags | O_CLOEXEC, 0600);
        EXPECT_GE(file, 0);
        EXPECT_EQ(dup2(file, Fd), Fd);
        close(file);
    }
    ~Redirect() {
        dup2(Saved, Fd);
        close(Saved);
    }

private:
    int Fd;
    int Saved;
};

TEST(ZtConsole, OutputIsInTheDefaultCharsetWithUnconvertibleCharactersEscaped) {
    ZTInt_In_Fresh_Process([] {
        AdCharset::overrideDefaultCharset(AdCharset::getASCIICharset());
        ZTInt_Captured_Fd captured(1);
        EXPECT_TRUE(get_ztcout().getcharset() == AdCharset::getASCIICharset());
        EXPECT_FALSE(get_ztcout().getstrict());
        get_ztcout() << u"caf\u00E9 \U0001F600\n" << std::flush;
        EXPECT_TRUE(get_ztcout().good());
        EXPECT_EQ(captured.Bytes(), "caf&#xE9; &#x1F600;\n");
    });
}

TEST(ZtConsole, InputIsReadLenientlyFromStandardInput) {
    ZTInt_In_Fresh_Process([] {
        ZTInt_Temp_Dir dir;
        const std::string path = dir.Path + "/stdin";
        std::ofstream(path, std::ios_base::binary) << "first \xC3\xA9\nbad \xFF";
        Redirect from_file(0, path, O_RDONLY);
        get_ztcin().setcharset(AdCharset::getUTF8Charset());
        Fnd_String line;
        EXPECT_TRUE(get_ztcin().getline(line));
        EXPECT_EQ(Text(line), u"first \u00E9");
        EXPECT_TRUE(get_ztcin().getline(line));
        EXPECT_EQ(Text(line), u"bad &#xFF;");
        EXPECT_FALSE(get_ztcin().getline(line));
        EXPECT_FALSE(get_ztcin().bad());
    });
}

TEST(ZtConsole, TheStreamsAreMadeOnceAndWired) {
    EXPECT_EQ(&get_ztcout(), &get_ztcout());
    EXPECT_EQ(get_ztcin().tie(), &get_ztcout());  // reading flushes the output first
    EXPECT_NE(get_ztcerr().flags() & std::ios_base::unitbuf, 0);
    EXPECT_EQ(get_ztclog().flags() & std::ios_base::unitbuf, 0);
}

TEST(ZtConsoleDeathTest, PendingOutputIsFlushedAtExit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            get_ztclog().setcharset(AdCharset::getASCIICharset());
            get_ztclog() << u"bye \u00E9";  // buffered: not sent before the exit
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "^bye &#xE9;$");
}

}  // namespace
