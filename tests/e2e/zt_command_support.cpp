#include "tests/e2e/zt_command_support.h"

#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace {

// The text as one single-quoted shell word, its own quotes included.
std::string Quoted(const std::string& text)
{
    std::string word = "'";
    for (char c : text)
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return word + "'";
}

}  // namespace

Zt_Outcome Zt_Run(const std::vector<std::string>& arguments, const Zt_Run_Options& options)
{
    std::string command = options.Input ? "printf '%s' " + Quoted(*options.Input) + " | " : "";
    command += ZTINT_BUILD_DIR "/home/bin/zt";
    for (const std::string& argument : arguments)
        command += " " + Quoted(argument);
    command += " 2>" + Quoted(options.Err_Path);
    Zt_Outcome outcome;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return outcome;
    char buffer[4096];
    for (std::size_t got; (got = fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        outcome.Out.append(buffer, got);
    const int status = pclose(pipe);
    outcome.Exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(options.Err_Path);
    outcome.Err.assign(std::istreambuf_iterator<char>(err), {});
    return outcome;
}
