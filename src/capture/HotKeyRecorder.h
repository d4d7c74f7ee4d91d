#pragma once

#include "keys/HotKeySpec.h"

#include <QString>
#include <functional>
#include <optional>

// What the settings window's key recorder does with each key press, without the widget.
// The availability check is the hot-key service's, with the edited slot ignored, so that
// re-recording the slot's own combination is accepted.
class HotKeyRecorder {
public:
    using IsAvailable = std::function<bool(const HotKeySpec&)>;

    enum class Outcome {
        ignored,   // not recording
        cancelled, // Escape: the old combination stays
        refused,   // no control, option or command held
        taken,     // in use elsewhere; still recording
        stored,    // recording ended with the new combination
    };

    // Shown beside a stored combination the system no longer grants.
    struct Warning {
        QString mark;
        QString help;
    };

    HotKeyRecorder(std::optional<HotKeySpec> combination, IsAvailable isAvailable);

    void startRecording();
    // Key code and modifiers as HotKeySpec numbers them. While recording, every press is
    // consumed.
    Outcome keyPress(quint32 keyCode, quint32 modifiers);

    bool isRecording() const { return m_recording; }
    const std::optional<HotKeySpec>& combination() const { return m_combination; }
    QString hint() const;
    // The reason the last press was refused; empty when there is none.
    const QString& message() const { return m_message; }
    // When idle with a combination that is not registered (`registered` from the hot-key
    // service), the warning to show.
    std::optional<Warning> warning(bool registered) const;

private:
    std::optional<HotKeySpec> m_combination;
    IsAvailable m_isAvailable;
    bool m_recording = false;
    QString m_message;
};
