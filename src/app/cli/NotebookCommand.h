#pragma once

#include <QStringList>

// `quillet notebook list [--starred] [--json] | star TEXT [--sentence] | unstar TEXT
// [--sentence] | remove TEXT [--sentence] | clear | export --format anki|plain
// --scope starred|all [-o FILE]`. Until the agent exists, the command changes the store itself.
namespace NotebookCommand {

// Exit status; `arguments` are what follows "notebook".
int run(const QStringList& arguments);

} // namespace NotebookCommand
