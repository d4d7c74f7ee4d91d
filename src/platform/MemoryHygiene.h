#pragma once

#include <QString>
#include <optional>

// Keeps what the agent read and let go (a refused secret above all) from lingering in its
// memory: the allocator overwrites every block it takes back, and the stack and the registers
// a finished handler used are cleared on request. The allocator takes its setting only when a
// program starts, so it travels in the environment of the program being started.
namespace MemoryHygiene {

// For a process about to execute the agent: puts the allocator's setting into the
// environment it hands over, keeping whatever else the user set there.
void prepareEnvironmentForExec();

// First thing in the agent's main(): when it started without the allocator's setting, starts
// itself again with it, and this call does not return. Nothing when the setting is in effect;
// otherwise why not, and the agent runs on without it. Programs the agent starts later get
// the environment the user gave it.
std::optional<QString> ensureAtStart(char** argv);

// Overwrites what the functions the caller called left outside the heap: their locals in the
// stack below the caller's frame, and the last bytes they moved in the CPU's vector registers.
void clearScratch();
// Has the allocator give every large block back to the system when it is freed, so a
// megabyte-sized copy does not stay in a heap that never shrinks.
void returnLargeBlocks();

} // namespace MemoryHygiene
