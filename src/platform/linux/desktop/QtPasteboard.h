#pragma once

#include "platform/Pasteboard.h"

#include <QObject>
#include <memory>

class QClipboard;
class XcbInputScrubber;

// The CLIPBOARD selection through Qt. X11 has no change counter, so this one keeps its own,
// moved by every change Qt reports (XFixes owner changes from other programs, and our own
// writes), and each such change is announced. Main thread only; needs the GUI application
// object.
class QtPasteboard final : public QObject, public Pasteboard {
    Q_OBJECT
public:
    explicit QtPasteboard(QObject* parent = nullptr);
    ~QtPasteboard() override;

    qint64 changeCount() const override { return m_changeCount; }
    bool listenForChanges(std::function<void()> listener) override;
    std::optional<QString> plainText() const override;
    QStringList types() const override;
    QByteArray data(const QString& type) const override;
    void writeText(const QString& text) override;
    void forgetLastRead() override;

private:
    QClipboard* m_clipboard = nullptr;
    // Only on X11; elsewhere nothing of a read stays behind in Qt's connection.
    std::unique_ptr<XcbInputScrubber> m_inputScrubber;
    qint64 m_changeCount = 0;
    std::function<void()> m_listener;
};
