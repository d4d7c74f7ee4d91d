#pragma once

#include "base/TimerSource.h"
#include "platform/linux/capture/XcbHiddenWindow.h"
#include "platform/linux/capture/XcbSelectionAtoms.h"

#include <QByteArray>
#include <QCoroTask>
#include <QSet>
#include <chrono>
#include <cstdint>
#include <memory>
#include <variant>
#include <vector>

class XcbEventConnection;

// What a selection's owner handed over, typed the way it typed it.
struct SelectionData {
    QByteArray bytes;
    xcb_atom_t type = XCB_NONE;
    std::uint8_t format = 8;
};

enum class SelectionTransferFailure {
    refused,   // no owner, or the owner cannot give that target
    ownerGone, // the owner changed or went away before it had handed everything over
    timedOut,  // no answer, or no next increment, within the limit
    tooLarge,  // more than XcbSelectionTransfer::maxBytes
    closed,    // the transfer itself went away (the program is ending)
};

using SelectionTransferOutcome = std::variant<SelectionData, SelectionTransferFailure>;

// Reads selections as a requestor: asks the owner to convert a selection to a target onto a
// property of a hidden window of ours, waits for its answer without blocking the main loop,
// and reads the property, in increments when the owner sends it that way. Any number of
// reads may run at once. Main thread only.
class XcbSelectionTransfer {
public:
    // Larger content is refused as soon as its size is known, without reading it.
    static constexpr qsizetype maxBytes = 16 * 1024 * 1024;
    // A large transfer may take this many times the limit in all, each increment arriving
    // within the limit: slow but steady owners finish, trickling ones do not hold us forever.
    static constexpr int totalLimitFactor = 10;

    explicit XcbSelectionTransfer(XcbEventConnection& connection,
                                  TimerSource& timers = TimerSource::system());
    ~XcbSelectionTransfer();
    XcbSelectionTransfer(const XcbSelectionTransfer&) = delete;
    XcbSelectionTransfer& operator=(const XcbSelectionTransfer&) = delete;

    XcbSelectionAtoms& atoms() { return m_atoms; }
    XcbEventConnection& connection() { return m_connection; }

    // The content of `selection` as `target`. The first answer, and every increment after it,
    // must come within `limit`.
    QCoro::Task<SelectionTransferOutcome> fetch(xcb_atom_t selection, xcb_atom_t target,
                                                std::chrono::milliseconds limit);

private:
    struct Request;

    bool handle(const xcb_generic_event_t* event);
    void onAnswer(const xcb_selection_notify_event_t& event);
    void onNewValue(const xcb_property_notify_event_t& event);
    void onOwnerChange(xcb_atom_t selection, std::uint32_t sequence);
    void finish(const std::shared_ptr<Request>& request, SelectionTransferOutcome outcome);
    void restartStallTimer(const std::shared_ptr<Request>& request);
    xcb_atom_t takeProperty();
    void watch(xcb_atom_t selection);

    XcbEventConnection& m_connection;
    xcb_connection_t* m_xcb;
    TimerSource& m_timers;
    XcbSelectionAtoms m_atoms;
    XcbHiddenWindow m_window;
    int m_listener = -1;
    std::uint8_t m_ownerChangeType = 0;
    QSet<xcb_atom_t> m_watched;
    std::vector<std::shared_ptr<Request>> m_requests;
    // Properties free for the next request. One whose request ended without its answer is
    // never used again: a late answer onto it must not pass for another request's.
    std::vector<xcb_atom_t> m_freeProperties;
    int m_propertiesMade = 0;
};
