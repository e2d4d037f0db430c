// ztintsvr: the server of libztint's clients. See svr_start.h for its commands.
#include <cstdio>
#include <cstring>
#include <string>

#include "server/svr_start.h"
#include "ztint_utils/ztint_private_files.h"

namespace {

const char kUsage[] =
    "usage: ztintsvr start | run | stop | status | init-store | --help\n"
    "\n"
    "  start    start a detached server for this user unless one runs\n"
    "  run      serve in the foreground, reporting on standard error\n"
    "  stop     ask the running server to end (exit 1 if none runs)\n"
    "  status   say whether a server runs, with its pid, pipe, clients and uptime\n"
    "           (exit 0 if one runs, 1 if none does)\n"
    "  init-store  make the tables and first users of the store ZT_SERVER_STORE\n"
    "           names (e.g. a shared PostgreSQL database); safe to run twice\n"
    "\n"
    "Settings from the environment: ZT_SERVER_IDLE_SECONDS (default 600),\n"
    "ZT_SERVER_MAX_CLIENTS (default 1000), ZT_SERVER_USERS, ZT_SERVER_TRACE,\n"
    "ZT_SERVER_STORE (the tracking store; default a private file per database set in\n"
    "$XDG_DATA_HOME/ztintsvr), and ZTT_USER, which gives a user's servers a name of\n"
    "their own.\n";

int Usage_Error()
{
    std::fputs(kUsage, stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return Usage_Error();
    const std::string command = argv[1];
    if (command == "--help" || command == "-h" || command == "help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (const std::string problem = ZTInt_Server_User_Problem(); !problem.empty()) {
        std::fprintf(stderr, "%s\n", problem.c_str());
        return 1;
    }
    if (command == "stop")
        return Svr_Stop_Command();
    if (command == "status")
        return Svr_Status_Command();
    if (command != "start" && command != "run" && command != "init-store")
        return Usage_Error();
    Svr_Options options;
    std::string error;
    if (!Svr_Read_Options(options, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    if (command == "init-store")
        return Svr_Init_Store_Command(options);
    return command == "start" ? Svr_Start_Command(options) : Svr_Run_Command(options);
}
