#pragma once

#include "capture/ClipboardChange.h"
#include "settings/TriggerSettings.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <optional>

class Pasteboard;

// Watches the clipboard's change counter and reports each new content that has text: at once
// where the system announces changes, and by polling everywhere (the only way where it does
// not, and a backstop where it does). Whatever is on the clipboard when watching starts is
// never reported. Main thread only.
class ClipboardMonitor : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds defaultInterval{400};

    explicit ClipboardMonitor(Pasteboard& pasteboard,
                              std::chrono::milliseconds interval = defaultInterval,
                              QObject* parent = nullptr);
    ~ClipboardMonitor() override;

    // Called on the main thread with each change; set before start().
    std::function<void(const ClipboardChange&)> onChange;

    // Starts polling afresh from the clipboard as it is now.
    void start();
    // Stops polling; nothing copied meanwhile is reported later.
    void pause();
    // Starts again, unless already running or copying is not how the user looks things up.
    void resume(TriggerSettings::Method method);
    bool isRunning() const { return m_timer.isActive(); }

    // One look at the counter while running; the timer calls it, tests call it directly.
    void poll();

    // Puts text on the clipboard for the program itself (the panel's copy action); that
    // change is never reported.
    void writeText(const QString& text);

private:
    // Our last write, until the clipboard has had time to announce it.
    struct OwnWrite {
        QString text;
        int quietPollsLeft;
    };

    void announced();
    void checkAnnounced();
    void takeChange(qint64 count);

    Pasteboard& m_pasteboard;
    QTimer m_timer;
    qint64 m_lastChangeCount = 0;
    std::optional<OwnWrite> m_ownWrite;
    bool m_checkQueued = false;
};
