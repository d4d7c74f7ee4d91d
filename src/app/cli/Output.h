#pragma once

#include "cli/TerminalText.h"

#include <QByteArray>
#include <QString>
#include <cstdio>

// Command-line output: UTF-8 lines, flushed at once.
namespace Output {

// Bytes as they are: JSON (which escapes its own controls) and data meant for files.
inline void line(FILE* stream, const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

// Text for people: whatever it quotes, it cannot drive the terminal.
inline void line(FILE* stream, const QString& text) {
    line(stream, TerminalText::safe(text).toUtf8());
}

} // namespace Output
