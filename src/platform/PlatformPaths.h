#pragma once

#include <QString>
#include <optional>

// The per-user folders each OS sets aside for a program. Read afresh on every call, so a
// changed environment (tests point HOME and XDG_* at temporary folders) takes effect at once.
// Nothing when the OS gives no such folder (no home directory).
namespace PlatformPaths {

// Where the diagnostic log lives.
std::optional<QString> logDirectory();
// Where the settings file lives. Other programs' folders of the same kind are its siblings.
std::optional<QString> configDirectory();
// Where the program keeps its own data files. Other programs' folders are its siblings.
std::optional<QString> dataDirectory();
// Where files the user asked for are saved (the diagnostics export): the user's download
// folder, else the home folder.
std::optional<QString> downloadDirectory();
// Another of Quillet's programs, installed beside the running one; nothing when the running
// program cannot tell where it is.
std::optional<QString> siblingExecutable(const QString& name);

} // namespace PlatformPaths
