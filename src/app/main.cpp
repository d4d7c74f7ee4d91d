#include "cli/CommandLine.h"

int main(int argc, char** argv) {
    if (const std::optional<int> status = CommandLine::run(argc, argv))
        return *status;
    // The background agent is not part of this build yet.
    return CommandLine::reportUsage();
}
