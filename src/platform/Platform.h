#pragma once

// This OS's adapters for the interfaces the portable code reaches without being handed them
// (the installed dictionaries), installed once by each program's start-up before any other
// thread runs. Defined once per OS.
namespace Platform {
void install();
} // namespace Platform
