#include "AgentLauncher.h"
#include "cli/CommandLine.h"

int main(int argc, char** argv) {
    if (const std::optional<int> status = CommandLine::run(argc, argv))
        return *status;
    return AgentLauncher::exec(argc, argv);
}
