#pragma once

#include <QString>
#include <QStringView>
#include <cstdio>

// Text from dictionaries, the notebook or the settings file, made safe to print: a terminal
// obeys control characters, so an escape sequence inside a definition could recolour,
// retitle or rewrite the user's terminal. Controls are shown as "\x1B" instead.
namespace TerminalText {

// C0 and C1 controls and DEL escaped; line breaks and tabs kept, they lay out blocks.
QString safe(QStringView text);
// Every control escaped, line breaks and tabs too: for a value inside one line of a list.
QString oneLine(QStringView text);

bool isTerminal(FILE* stream);

} // namespace TerminalText
