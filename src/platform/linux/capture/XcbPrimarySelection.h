#pragma once

#include "platform/PrimarySelection.h"
#include "platform/linux/capture/XcbHiddenWindow.h"

#include <cstdint>
#include <optional>
#include <xcb/xcb.h>

class XcbSelectionTransfer;

// X11's PRIMARY selection: XFixes tells when it gets a new owner (the server's time of the
// change is kept), and its text is read as UTF8_STRING, else as Latin-1 STRING. Main thread
// only.
class XcbPrimarySelection final : public PrimarySelection {
public:
    explicit XcbPrimarySelection(XcbSelectionTransfer& transfer);
    ~XcbPrimarySelection() override;
    XcbPrimarySelection(const XcbPrimarySelection&) = delete;
    XcbPrimarySelection& operator=(const XcbPrimarySelection&) = delete;

    bool ownerChangedSince(quint64 serverTime) const override;
    QCoro::Task<std::optional<QString>> read(std::chrono::milliseconds limit) override;

    // The server time of the last new owner seen since we started, if any.
    std::optional<quint64> lastOwnerChange() const;

private:
    bool handle(const xcb_generic_event_t* event);

    XcbSelectionTransfer& m_transfer;
    XcbHiddenWindow m_window;
    int m_listener = -1;
    std::uint8_t m_ownerChangeType = 0;
    std::optional<xcb_timestamp_t> m_changedAt;
};
