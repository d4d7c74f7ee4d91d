#pragma once

#include <QStringList>

// `quillet settings list | get KEY | set KEY VALUE`: the user's settings through the same
// objects the program uses, so carry-forwards and type rules apply.
namespace SettingsCommand {

// Exit status; `arguments` are what follows "settings".
int run(const QStringList& arguments);

} // namespace SettingsCommand
