#pragma once

#include <QString>
#include <optional>

// Whether the OS starts the program when the user logs in.
namespace LaunchAtLogin {

// What the OS would do at the next login.
bool isEnabled();
// Registers or unregisters the program; nothing on success, else the reason, for the user.
std::optional<QString> setEnabled(bool enabled);

} // namespace LaunchAtLogin
