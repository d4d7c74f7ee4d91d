#pragma once

#include <QString>
#include <variant>

// How a selection was read.
enum class SelectionCaptureMethod {
    axSelectedText,   // the accessibility interface's selected text
    axStringForRange, // the accessibility interface's text of the selected range
    simulatedCopy,    // a simulated copy, read from the clipboard
    primarySelection, // the desktop's own last selection (X11 PRIMARY)
};

// Why a selection could not be read; each carries the text shown to the user.
enum class SelectionCaptureFailure {
    notTrusted,
    sandboxed,
    noFocused,
    secureField,
    emptyFromAX,
    cancelled,
    copyNoChange,
    copyEmpty,
};

namespace SelectionCapture {

// "直接读取" for the reads that leave the clipboard alone, "模拟复制" for the copy.
QString methodWord(SelectionCaptureMethod method);
QString text(SelectionCaptureFailure failure);

} // namespace SelectionCapture

// A selection that was read.
struct SelectionCaptureOutcome {
    QString text; // trimmed
    SelectionCaptureMethod method = SelectionCaptureMethod::axSelectedText;
    QString appName = QStringLiteral("未知");
    QString appBundleID = QStringLiteral("unknown");
    // The copy's owner marked it secret (a password manager's concealed type).
    bool isConcealed = false;
};

using SelectionCaptureResult = std::variant<SelectionCaptureOutcome, SelectionCaptureFailure>;
