#pragma once

#include <QCoroTask>
#include <QPointF>
#include <QString>
#include <chrono>
#include <variant>

// Reads the word under a screen point through the desktop's accessibility interface: the
// object with text at the point, the character offset there, and the word around it.
class AccessibleWordReader {
public:
    enum class Miss {
        noText,        // nothing with readable text there, or no answer within the limit
        passwordField, // the object at the point, or one of its three nearest ancestors, is one
        ownWindow,     // a window of this program
        unavailable,   // the accessibility bus is off or cannot be reached
    };
    struct Word {
        QString text; // as the application gave it, not trimmed
    };
    using Outcome = std::variant<Word, Miss>;

    virtual ~AccessibleWordReader() = default;

    // Each call to the application is bounded by `limit`. Never blocks the main thread.
    virtual QCoro::Task<Outcome> wordAt(QPointF point, std::chrono::milliseconds limit) = 0;
};
