#pragma once

#include "platform/ClipboardSnapshots.h"
#include "platform/linux/capture/XcbSelectionOwner.h"

#include <QHash>
#include <utility>

class XcbSelectionTransfer;

// The X11 CLIPBOARD kept and put back byte for byte: taking reads every target its owner
// lists; restoring makes the program the owner of exactly those targets, typed as their owner
// typed them. Main thread only.
class XcbClipboardSnapshots final : public ClipboardSnapshots {
public:
    explicit XcbClipboardSnapshots(XcbSelectionTransfer& transfer,
                                   TimerSource& timers = TimerSource::system());

    QCoro::Task<PasteboardSnapshot> take(std::chrono::milliseconds limit) override;
    void restore(const PasteboardSnapshot& snapshot) override;

    // Whether the program owns the clipboard by a restore, and nobody has taken it since.
    bool ownsClipboard() const { return m_owner.owns(); }

private:
    XcbSelectionTransfer& m_transfer;
    XcbSelectionOwner m_owner;
    // The property type and format each target came with when last taken: restored content
    // goes out the same way.
    QHash<QString, std::pair<xcb_atom_t, std::uint8_t>> m_typing;
};
