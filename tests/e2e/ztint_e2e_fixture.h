// A fixture for tests against the real ztintsvr: each test gets its own product home
// (a temporary directory whose bin/ztintsvr is the built server, or a script of the
// test's, and whose linux_x86_64/messages are the built catalogs, found there
// without ZT_MESSAGES), its own ZTT_USER and so its own pipe and server, and a trace
// file the server writes its calls into, and its own tracking store (ZT_SERVER_STORE):
// a SQLite file, or with ZTT_E2E_STORE=postgresql a database of its own in the
// throwaway cluster named by ZTT_PG (scripts/pg-cluster.sh).
// HOME is a directory of the test's own too. Every server the test started is stopped
// at the end.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/ztint_temp_dir.h"

class ZTInt_Pg_Database;

// True when the e2e tests run on PostgreSQL (ZTT_E2E_STORE=postgresql).
bool Ztint_E2E_On_Postgres();

class Ztint_E2E : public ::testing::Test {
protected:
    Ztint_E2E();
    ~Ztint_E2E() override;
    void SetUp() override;
    void TearDown() override;

    // Replaces bin/ztintsvr by a shell script with this body.
    void Install_Script(const std::string& body);
    // The lines of the server's trace, and the number of calls of one procedure in it.
    std::vector<std::string> Trace_Lines() const;
    int Count_Calls(int procedure) const;
    // The pids of the servers that started, from the trace.
    std::vector<int> Server_Pids() const;
    // The server's last error text for this client (ZTInt_GetError).
    static std::string Server_Error();

    ZTInt_Temp_Dir Temp;
    std::string Dir;    // the test's directory
    std::string Home;   // the product home, below Dir
    std::string User;   // the value of ZTT_USER
    std::string Trace;  // the server's trace file
    std::string Pipe;   // the server's pipe
    std::string Store;  // the server's tracking store (ZT_SERVER_STORE)
    std::unique_ptr<ZTInt_Pg_Database> Pg;  // the store's database on PostgreSQL
    std::string UserHome;  // the value of HOME, below Dir
};

// The nth field (from 0) of a trace line, blank-separated.
std::string Ztint_Field(const std::string& line, int n);
// True while pid runs; a zombie waiting for a reaper has ended.
bool Ztint_Process_Runs(int pid);
// Waits up to ten seconds for pid to end; false if it still runs.
bool Ztint_Ends_Soon(int pid);
