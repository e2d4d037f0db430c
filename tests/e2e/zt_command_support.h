// Running the built zt command from a test: what it printed on each stream and how it ended.
#pragma once

#include <optional>
#include <string>
#include <vector>

struct Zt_Outcome {
    int Exit = -1;  // the exit status; -1 when zt did not end by exiting
    std::string Out, Err;
};

struct Zt_Run_Options {
    std::string Err_Path;              // the file standard error is captured in
    std::optional<std::string> Input = std::nullopt;  // piped to standard input; without it, inherited
};

// Runs zt with the arguments, each passed to it as one word, and waits for it to end.
[[nodiscard]] Zt_Outcome Zt_Run(const std::vector<std::string>& arguments, const Zt_Run_Options& options);
