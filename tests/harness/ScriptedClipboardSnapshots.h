#pragma once

#include "harness/ScriptedPasteboard.h"
#include "platform/ClipboardSnapshots.h"

// Snapshots of a scripted clipboard: taking one reads every type, restoring copies them back
// (a change of the clipboard like any other). Types the test marks as refused by their owner
// are left out and listed as unreadable.
class ScriptedClipboardSnapshots final : public ClipboardSnapshots {
public:
    explicit ScriptedClipboardSnapshots(ScriptedPasteboard& pasteboard)
        : m_pasteboard(pasteboard) {}

    QStringList refusedTypes;

    QCoro::Task<PasteboardSnapshot> take(std::chrono::milliseconds) override {
        ++m_takes;
        PasteboardSnapshot snapshot;
        const QStringList types = m_pasteboard.types();
        if (types.isEmpty())
            co_return snapshot;
        QMap<QString, QByteArray> item;
        for (const QString& type : types) {
            if (refusedTypes.contains(type))
                snapshot.unreadable.append(type);
            else
                item.insert(type, m_pasteboard.data(type));
        }
        snapshot.items.append(item);
        co_return snapshot;
    }
    void restore(const PasteboardSnapshot& snapshot) override {
        ++m_restores;
        ScriptedPasteboard::Content content;
        for (const auto& item : snapshot.items)
            for (auto it = item.cbegin(); it != item.cend(); ++it)
                content.append({it.key(), it.value()});
        m_pasteboard.copy(content);
    }

    int takes() const { return m_takes; }
    int restores() const { return m_restores; }

private:
    ScriptedPasteboard& m_pasteboard;
    int m_takes = 0;
    int m_restores = 0;
};
