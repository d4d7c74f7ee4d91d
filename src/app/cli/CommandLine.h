#pragma once

#include <optional>

// The commands the `quillet` binary answers without starting the agent.
namespace CommandLine {

enum ExitStatus : int {
    success = 0,
    refused = 1, // the text filter turned the text down
    failed = 2,  // the lookup found nothing or could not run
    usage = 64,
};

// The exit status of the command named by argv, or nothing when argv names no command
// (then the caller starts the agent).
std::optional<int> run(int argc, char** argv);
// Prints how the commands are called to standard error and returns `usage`.
int reportUsage();

} // namespace CommandLine
