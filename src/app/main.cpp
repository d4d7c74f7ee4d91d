#include "AgentLauncher.h"
#include "cli/CommandLine.h"
#include "platform/Platform.h"

int main(int argc, char** argv) {
    Platform::install();
    if (const std::optional<int> status = CommandLine::run(argc, argv))
        return *status;
    return AgentLauncher::exec(argc, argv);
}
