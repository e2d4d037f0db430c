// ztintsvr: the server of libztint's clients. See svr_start.h for its commands.
#include <cstdio>
#include <cstring>
#include <string>

#include "server/svr_start.h"

namespace {

int Usage()
{
    std::fputs("usage: ztintsvr start | run | stop\n", stderr);
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return Usage();
    const std::string command = argv[1];
    if (command == "stop")
        return Svr_Stop_Command();
    Svr_Options options;
    std::string error;
    if (!Svr_Read_Options(options, error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    if (command == "start")
        return Svr_Start_Command(options);
    if (command == "run")
        return Svr_Run_Command(options);
    return Usage();
}
