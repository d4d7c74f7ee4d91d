#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

// The system clipboard as the clipboard monitor sees it: a change counter that moves on
// every new content, the plain text if there is any, and the declared content types.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    virtual qint64 changeCount() const = 0;
    // Where the system announces each change as it happens, has `listener` called on the
    // main thread right after it (the counter has moved already; our own writes are
    // announced from inside writeText()) and returns true. Elsewhere returns false, and the
    // counter has to be polled. One listener at a time; an empty one stops the calls.
    virtual bool listenForChanges(std::function<void()> listener) {
        (void)listener;
        return false;
    }
    virtual std::optional<QString> plainText() const = 0;
    virtual QStringList types() const = 0;
    // The raw content of one declared type (e.g. a password manager's hint).
    virtual QByteArray data(const QString& type) const = 0;
    // Puts plain text on the clipboard (the panel's copy action).
    virtual void writeText(const QString& text) = 0;
    // Overwrites what the reads since the last call left in buffers the pasteboard keeps
    // (the callers' own copies are theirs to drop), so a content that was read and refused
    // does not linger there. The clipboard and the counter stay as they are.
    virtual void forgetLastRead() = 0;
};
