#pragma once

#include <QCoroTask>
#include <QString>
#include <chrono>
#include <variant>

// Reads the selected text of the focused control through the desktop's accessibility
// interface (AX on macOS, AT-SPI on Linux).
class AccessibleSelectionReader {
public:
    enum class Miss {
        noFocused,     // no focused object, or the application did not answer within the limit
        passwordField, // the focused control, or one of its three nearest ancestors, is one
        noSelection,   // the focused control answered but holds no selected text
    };
    struct Read {
        QString text; // as the application gave it, not trimmed
        // How it was read: the selected text itself, or the text of the selected range.
        bool throughRange = false;
    };
    using Outcome = std::variant<Read, Miss>;

    virtual ~AccessibleSelectionReader() = default;

    // Each call to the application is bounded by `limit`. Never blocks the main thread.
    virtual QCoro::Task<Outcome> read(std::chrono::milliseconds limit) = 0;
};
