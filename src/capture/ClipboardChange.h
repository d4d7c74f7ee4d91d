#pragma once

#include <QString>

// One new clipboard content with text, as the clipboard monitor reports it. The markers let
// the coordinator refuse what must not be looked up; the monitor itself never filters.
struct ClipboardChange {
    QString text; // exactly as copied, untrimmed
    // Its owner declared it secret or transient (password managers do).
    bool isConcealed = false;
    // It came from another device through a shared clipboard.
    bool isRemote = false;

    friend bool operator==(const ClipboardChange&, const ClipboardChange&) = default;
};
