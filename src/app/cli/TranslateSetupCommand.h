#pragma once

#include <QStringList>

// `quillet translate-setup`: says where sentences are translated and whether that works, and
// downloads the model when the server runs without it.
namespace TranslateSetupCommand {

// Exit status: success when sentences can be translated, failed otherwise.
int run(const QStringList& arguments);

} // namespace TranslateSetupCommand
