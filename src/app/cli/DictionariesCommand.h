#pragma once

#include <QStringList>

// `quillet dictionaries [--json]`: the dictionaries a lookup walks, in the user's order, with
// their names and whether they gloss English in Chinese.
namespace DictionariesCommand {

// Exit status; `arguments` are what follows "dictionaries".
int run(const QStringList& arguments);

} // namespace DictionariesCommand
