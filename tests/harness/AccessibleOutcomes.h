#pragma once

#include "platform/AccessibleSelectionReader.h"

#include <QEventLoop>
#include <optional>
#include <ostream>

// Outcomes compare by text and miss alone: whether the text came through a range is the
// reader's own business.
inline bool operator==(const AccessibleSelectionReader::Read& a,
                       const AccessibleSelectionReader::Read& b) {
    return a.text == b.text;
}

inline void PrintTo(const AccessibleSelectionReader::Read& read, std::ostream* out) {
    const QString& text = read.text;
    *out << "read \"" << (text.size() > 60 ? text.left(60) + QChar(u'…') : text).toStdString()
         << "\" (" << text.size() << " characters)";
}

inline void PrintTo(AccessibleSelectionReader::Miss miss, std::ostream* out) {
    using Miss = AccessibleSelectionReader::Miss;
    switch (miss) {
    case Miss::noFocused:
        *out << "noFocused";
        break;
    case Miss::passwordField:
        *out << "passwordField";
        break;
    case Miss::noSelection:
        *out << "noSelection";
        break;
    }
}

// Runs a read to its end on a local event loop and hands back its outcome.
template <typename Outcome> Outcome outcomeOf(QCoro::Task<Outcome>&& task) {
    std::optional<Outcome> result;
    QEventLoop loop;
    [](QCoro::Task<Outcome> task, std::optional<Outcome>& result,
       QEventLoop& loop) -> QCoro::Task<> {
        result.emplace(co_await task);
        loop.quit();
    }(std::move(task), result, loop);
    if (!result)
        loop.exec();
    return std::move(*result);
}
