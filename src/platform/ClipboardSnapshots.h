#pragma once

#include <QByteArray>
#include <QCoroTask>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <chrono>

// The clipboard's whole content, kept so that a simulated copy can put it back: one map per
// item from content type (a UTI on macOS, an X11 target name on X11) to its bytes.
struct PasteboardSnapshot {
    QList<QMap<QString, QByteArray>> items;
    // Types the owner declared but did not hand over (refused, timed out, vanished).
    QStringList unreadable;
};

// Takes and restores clipboard snapshots, byte for byte.
class ClipboardSnapshots {
public:
    virtual ~ClipboardSnapshots() = default;

    // Every declared type with its bytes; each owner request bounded by `limit`. Never blocks
    // the main thread.
    virtual QCoro::Task<PasteboardSnapshot> take(std::chrono::milliseconds limit) = 0;
    // Puts the snapshot back as the clipboard's content (an empty snapshot leaves the
    // clipboard empty). On X11 the program becomes the owner and serves exactly the saved
    // types until another program takes the clipboard.
    virtual void restore(const PasteboardSnapshot& snapshot) = 0;
};
