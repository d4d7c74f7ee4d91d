#pragma once

#include "platform/Pasteboard.h"

#include <QList>
#include <utility>

// A clipboard a test fills as other programs would: each copy replaces the whole content and
// moves the counter by one. Content is what an owner offers, types with their bytes; text is
// "text/plain" read as strict UTF-8, as the desktop adapter reads it. The contract suite
// keeps the two alike.
class ScriptedPasteboard final : public Pasteboard {
public:
    using Content = QList<std::pair<QString, QByteArray>>;

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

    qint64 changeCount() const override { return m_changeCount; }
    std::optional<QString> plainText() const override;
    QStringList types() const override;
    QByteArray data(const QString& type) const override;
    void writeText(const QString& text) override;
    void forgetLastRead() override { m_readsAtLastForget = m_contentReads; }

private:
    Content m_content;
    qint64 m_changeCount = 0;
    bool m_announcesLate = false;
    int m_lateNotices = 0;
    mutable int m_contentReads = 0;
    int m_readsAtLastForget = 0;
};
