#pragma once

#include <QStringList>

// `quillet log [--lines N]`: the newest lines of the diagnostic log, as stored (redacted).
namespace LogCommand {

// Exit status; `arguments` are what follows "log".
int run(const QStringList& arguments);

} // namespace LogCommand
