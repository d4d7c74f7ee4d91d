#pragma once

#include <QCoroTask>
#include <QString>
#include <chrono>
#include <optional>

// The text selected last anywhere on the desktop, where the window system keeps one (X11's
// PRIMARY selection). Elsewhere `ownerChangedSince` is always false.
class PrimarySelection {
public:
    virtual ~PrimarySelection() = default;

    // Whether the selection got a new owner at or after `serverTime` (the window system's
    // time, as GlobalPointerEvents reports it).
    virtual bool ownerChangedSince(quint64 serverTime) const = 0;
    // Its text (UTF-8 or Latin-1 as offered), or nothing when there is none, it is no text,
    // or the owner did not answer within `limit`. Never blocks the main thread.
    virtual QCoro::Task<std::optional<QString>> read(std::chrono::milliseconds limit) = 0;
};
