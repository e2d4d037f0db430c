// A fresh directory below /tmp for one test, removed with all it holds (made
// accessible again first, so that a test may take permissions away anywhere in it).
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
        Open_Up(Path);
        std::error_code ignored;
        std::filesystem::remove_all(Path, ignored);
    }
    ZTInt_Temp_Dir(const ZTInt_Temp_Dir&) = delete;
    ZTInt_Temp_Dir& operator=(const ZTInt_Temp_Dir&) = delete;

    std::string Path;

private:
    // Gives the owner full rights on Dir and every directory below it, so that the
    // whole tree can be removed even where a test took them away.
    static void Open_Up(const std::filesystem::path& Dir) {
        std::error_code ignored;
        std::filesystem::permissions(Dir, std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
        for (std::filesystem::directory_iterator entry(Dir, ignored), end; entry != end;
             entry.increment(ignored))
            if (entry->is_directory(ignored) && !entry->is_symlink(ignored)) Open_Up(entry->path());
    }
};
