#pragma once

#include <QString>
#include <optional>

// The per-user folders each OS sets aside for a program. Read afresh on every call, so a
// changed environment (tests point HOME and XDG_* at temporary folders) takes effect at once.
// Nothing when the OS gives no such folder (no home directory).
namespace PlatformPaths {

// Where the diagnostic log lives.
std::optional<QString> logDirectory();

} // namespace PlatformPaths
