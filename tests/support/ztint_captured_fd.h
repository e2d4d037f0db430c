// Redirects a descriptor (1 or 2) into a temporary file for the life of the object;
// Bytes() flushes stdio and gives what was written so far.
#pragma once

#include <gtest/gtest.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

class ZTInt_Captured_Fd {
public:
    explicit ZTInt_Captured_Fd(int Fd) : Fd(Fd) {
        char name[] = "/tmp/zt_capture_XXXXXX";
        File = mkstemp(name);
        EXPECT_GE(File, 0);
        unlink(name);
        fflush(nullptr);
        Saved = dup(Fd);
        EXPECT_GE(dup2(File, Fd), 0);
    }
    ~ZTInt_Captured_Fd() {
        fflush(nullptr);
        dup2(Saved, Fd);
        close(Saved);
        close(File);
    }
    ZTInt_Captured_Fd(const ZTInt_Captured_Fd&) = delete;
    ZTInt_Captured_Fd& operator=(const ZTInt_Captured_Fd&) = delete;

    std::string Bytes() const {
        fflush(nullptr);
        std::string bytes;
        char block[4096];
        ssize_t got;
        for (off_t at = 0; (got = pread(File, block, sizeof block, at)) > 0; at += got)
            bytes.append(block, static_cast<size_t>(got));
        return bytes;
    }

private:
    int Fd;
    int File = -1;
    int Saved = -1;
};
