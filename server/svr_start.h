// The commands of ztintsvr:
//
//   ztintsvr start   starts a detached server for this user (and ZTT_USER) unless
//                    one already reads the pipe; ends with 0 only once a server reads
//                    it. Two starts at once are kept apart by a lock file beside the
//                    pipe.
//   ztintsvr run     serves in the foreground, reporting on standard error.
//   ztintsvr stop    asks a running server to shut down and waits a little for it
//                    to end; 1 with a text when none runs.
//   ztintsvr status  whether a server runs, with its pid, pipe, clients and uptime;
//                    0 when one runs, 1 when none does.
//   ztintsvr init-store  makes the tables of the store ZT_SERVER_STORE names and
//                    fills in its database sets from the user store, as the first
//                    server on a new store would; a set already there is left
//                    alone, so running it twice is safe. 0 when done, 1 with a text.
//
// Settings, from the environment:
//   ZT_SERVER_IDLE_SECONDS  the server ends after this long without a client
//                           (default 600)
//   ZT_SERVER_USERS         the user store (default <product home>/etc/ztintsvr.users;
//                           see svr_users.h)
//   ZT_SERVER_MAX_CLIENTS   clients served at once; a startup beyond is refused with
//                           status -1 (default 1000)
//   ZT_SERVER_TRACE         a file to trace calls into (see svr_trace.h)
//   ZT_SERVER_STORE         the tracking store (see server/store/sto_location.h); a new
//                           one gets the users of ZT_SERVER_USERS and the schema
//                           <product home>/etc/schemas/sample.json
#pragma once

#include <string>

struct Svr_Options {
    int Idle_Seconds = 600;
    int Max_Clients = 1000;
    std::string Users_Path;
};

// The options from the environment; false with a text for a bad value.
bool Svr_Read_Options(Svr_Options& options, std::string& error);

int Svr_Start_Command(const Svr_Options& options);
int Svr_Run_Command(const Svr_Options& options);
int Svr_Stop_Command();
int Svr_Status_Command();
int Svr_Init_Store_Command(const Svr_Options& options);
