#pragma once

#include "base/TimerSource.h"
#include "platform/linux/capture/XcbHiddenWindow.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"

#include <QList>
#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

class XcbEventConnection;
class XcbSelectionAtoms;

// Owns one selection for the program, through a hidden window of its own, and hands exactly
// the content it was given to every client that asks (plus the protocol's own TARGETS,
// TIMESTAMP and MULTIPLE), large content in increments, until another client takes the
// selection; then it forgets the content. Main thread only.
class XcbSelectionOwner {
public:
    // Each increment of a large transfer must be taken within this time, or the transfer is
    // dropped (the requestor went away without saying so).
    static constexpr std::chrono::milliseconds incrementLimit{5000};

    XcbSelectionOwner(XcbEventConnection& connection, XcbSelectionAtoms& atoms,
                      xcb_atom_t selection, TimerSource& timers = TimerSource::system());
    ~XcbSelectionOwner();
    XcbSelectionOwner(const XcbSelectionOwner&) = delete;
    XcbSelectionOwner& operator=(const XcbSelectionOwner&) = delete;

    using Targets = QList<std::pair<xcb_atom_t, SelectionData>>;

    // Becomes the owner, serving `targets` (announced in this order). False when the server
    // did not make us the owner.
    bool own(Targets targets);
    // Leaves the selection without any owner, whoever held it.
    void clear();
    bool owns() const { return m_owning; }
    // Content up to this size goes in one piece; larger in increments of it.
    qsizetype pieceSize() const { return m_pieceSize; }

private:
    struct Outgoing;

    bool handle(const xcb_generic_event_t* event);
    void onRequest(const xcb_selection_request_event_t& request);
    bool serve(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property, bool inPieces);
    bool serveMultiple(xcb_window_t requestor, xcb_atom_t property);
    void startPieces(xcb_window_t requestor, xcb_atom_t property, const SelectionData& data);
    bool onDeleted(const xcb_property_notify_event_t& change);
    void endPieces(const std::shared_ptr<Outgoing>& outgoing);
    bool isOurs(xcb_window_t window) const;
    void forget();

    XcbEventConnection& m_connection;
    xcb_connection_t* m_xcb;
    XcbSelectionAtoms& m_atoms;
    xcb_atom_t m_selection;
    TimerSource& m_timers;
    XcbHiddenWindow m_window;
    int m_listener = -1;
    std::uint8_t m_ownerChangeType = 0;
    qsizetype m_pieceSize = 0;

    bool m_owning = false;
    // The number of our last request to own it: a clear sent before it is about an earlier
    // ownership.
    std::uint32_t m_ownSequence = 0;
    xcb_timestamp_t m_ownedSince = XCB_CURRENT_TIME;
    Targets m_targets;
    std::vector<std::shared_ptr<Outgoing>> m_outgoing;
    std::vector<std::unique_ptr<TimerSource::Timer>> m_retiredTimers;
};
