#pragma once

#include <QByteArray>
#include <QString>
#include <cstdio>

// Command-line output: UTF-8 lines, flushed at once.
namespace Output {

inline void line(FILE* stream, const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

inline void line(FILE* stream, const QString& text) {
    line(stream, text.toUtf8());
}

} // namespace Output
