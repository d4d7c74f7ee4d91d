#pragma once

// The background agent: one per user, a tray icon, the panel, and the coordinator that
// turns copies into lookups.
namespace QuilletApp {

int run(int argc, char** argv);

} // namespace QuilletApp
