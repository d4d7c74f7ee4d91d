#pragma once

// The command line and the agent are two programs: commands must not pay for loading the
// widget stack. `quillet` without a command becomes the agent, which lives beside it.
namespace AgentLauncher {

// Replaces this process with the agent, handing it the same arguments. Returns only when
// that fails, with the exit status to end with; the reason is on standard error.
int exec(int argc, char** argv);

} // namespace AgentLauncher
