// A fresh directory below /tmp for one test, removed with all it holds (made
// writable again first, so that a test may take its permissions away).
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <system_error>

class ZTInt_Temp_Dir {
public:
    ZTInt_Temp_Dir() {
        char name[] = "/tmp/zt_test_XXXXXX";
        EXPECT_NE(mkdtemp(name), nullptr);
        Path = name;
    }
    ~ZTInt_Temp_Dir() {
        std::error_code ignored;
        std::filesystem::permissions(Path, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        std::filesystem::remove_all(Path, ignored);
    }
    ZTInt_Temp_Dir(const ZTInt_Temp_Dir&) = delete;
    ZTInt_Temp_Dir& operator=(const ZTInt_Temp_Dir&) = delete;

    std::string Path;
};
