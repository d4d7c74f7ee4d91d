#pragma once

// The CPU's vector registers hold the last bytes that copies, searches and conversions went
// through (glibc's memcpy, Qt's string code), and keep them until other work replaces them: a
// thread that goes idle right after handling a text keeps pieces of it there, and a core dump
// saves them with the thread. This clears them for the calling thread.
namespace VectorRegisters {

void clear();

} // namespace VectorRegisters
