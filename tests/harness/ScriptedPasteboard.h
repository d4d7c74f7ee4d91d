#pragma once

#include "platform/Pasteboard.h"

#include <QList>
#include <functional>
#include <utility>

// A clipboard a test fills as other programs would: each copy replaces the whole content and
// moves the counter by one. Content is what an owner offers, types with their bytes; text is
// "text/plain" read as strict UTF-8, as the desktop adapter reads it. The contract suite
// keeps the two alike.
class ScriptedPasteboard final : public Pasteboard {
public:
    using Content = QList<std::pair<QString, QByteArray>>;

    // Without announcements the counter has to be polled, as where the system keeps quiet;
    // with them every move of the counter is announced as it happens, as on X11.
    explicit ScriptedPasteboard(bool announcesChanges = false)
        : m_announcesChanges(announcesChanges) {}

    void copy(Content content);
    // Plain text, with any further types (markers) its owner declares.
    void copyText(const QString& text, const Content& extra = {});
    void copyImage();

    // Own writes move the counter only at deliverLateNotices(), as on a system that
    // announces a new owner a turn of the event loop after the write.
    void setAnnouncesOwnWritesLate(bool late) { m_announcesLate = late; }
    void deliverLateNotices();

    // Reads of text, types or data: content is meant to be read only after a change.
    int contentReads() const { return m_contentReads; }
    // Reads since the last forgetLastRead(): what a real pasteboard may still hold copies of.
    int unforgottenReads() const { return m_contentReads - m_readsAtLastForget; }
    bool hasListener() const { return static_cast<bool>(m_listener); }

    qint64 changeCount() const override { return m_changeCount; }
    bool listenForChanges(std::function<void()> listener) override;
    std::optional<QString> plainText() const override;
    QStringList types() const override;
    QByteArray data(const QString& type) const override;
    void writeText(const QString& text) override;
    void forgetLastRead() override { m_readsAtLastForget = m_contentReads; }

private:
    void moveCounter(int by);

    Content m_content;
    qint64 m_changeCount = 0;
    bool m_announcesLate = false;
    int m_lateNotices = 0;
    mutable int m_contentReads = 0;
    int m_readsAtLastForget = 0;
    bool m_announcesChanges;
    std::function<void()> m_listener;
};
