#include "platform/linux/capture/XcbSelectionOwner.h"

#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbOwnerChanges.h"
#include "platform/linux/capture/XcbSelectionAtoms.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <xcb/xfixes.h>

namespace {

bool cameAfter(std::uint32_t eventSequence, std::uint32_t requestSequence) {
    return std::int32_t(eventSequence - requestSequence) >= 0;
}

void writeProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                   xcb_atom_t type, std::uint8_t format, const char* bytes, qsizetype size) {
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, property, type, format,
                        std::uint32_t(size / (format / 8)), bytes);
}

} // namespace

// Content too large for one piece, on its way to one requestor.
struct XcbSelectionOwner::Outgoing {
    xcb_window_t requestor = XCB_NONE;
    xcb_atom_t property = XCB_NONE;
    SelectionData data;
    qsizetype sent = 0;
    std::unique_ptr<TimerSource::Timer> stallTimer;
};

XcbSelectionOwner::XcbSelectionOwner(XcbEventConnection& connection, XcbSelectionAtoms& atoms,
                                     xcb_atom_t selection, TimerSource& timers)
    : m_connection(connection), m_xcb(connection.connection()), m_atoms(atoms),
      m_selection(selection), m_timers(timers), m_window(m_xcb, connection.root(), 0) {
    // Well under what the server takes in one request, and a whole number of 32-bit items.
    const qsizetype largestRequest = qsizetype(xcb_get_maximum_request_length(m_xcb)) * 4;
    m_pieceSize = std::min<qsizetype>(256 * 1024, (largestRequest - 1024) & ~qsizetype(3));
    m_ownerChangeType = watchOwnerChanges(m_xcb, m_window.id(), m_selection);
    m_listener = m_connection.addListener(
        [this](const xcb_generic_event_t* event) { return handle(event); });
}

XcbSelectionOwner::~XcbSelectionOwner() {
    m_connection.removeListener(m_listener);
    // Our window goes with us, and the server leaves the selection without owner then.
    const auto outgoing = m_outgoing;
    for (const auto& transfer : outgoing)
        endPieces(transfer);
}

bool XcbSelectionOwner::own(Targets targets) {
    m_targets = std::move(targets);
    m_ownSequence =
        xcb_set_selection_owner(m_xcb, m_window.id(), m_selection, XCB_CURRENT_TIME).sequence;
    xcb_get_selection_owner_reply_t* owner =
        xcb_get_selection_owner_reply(m_xcb, xcb_get_selection_owner(m_xcb, m_selection), nullptr);
    m_owning = owner && owner->owner == m_window.id();
    std::free(owner);
    if (!m_owning)
        forget();
    return m_owning;
}

void XcbSelectionOwner::clear() {
    m_ownSequence =
        xcb_set_selection_owner(m_xcb, XCB_NONE, m_selection, XCB_CURRENT_TIME).sequence;
    xcb_flush(m_xcb);
    forget();
}

void XcbSelectionOwner::forget() {
    m_owning = false;
    m_targets.clear();
    m_ownedSince = XCB_CURRENT_TIME;
}

bool XcbSelectionOwner::isOurs(xcb_window_t window) const {
    const xcb_setup_t* setup = xcb_get_setup(m_xcb);
    return (window & ~setup->resource_id_mask) == setup->resource_id_base;
}

bool XcbSelectionOwner::handle(const xcb_generic_event_t* event) {
    const std::uint8_t type = event->response_type & 0x7f;
    if (type == XCB_SELECTION_REQUEST) {
        const auto& request = *reinterpret_cast<const xcb_selection_request_event_t*>(event);
        if (request.owner != m_window.id())
            return false;
        onRequest(request);
        return true;
    }
    if (type == XCB_SELECTION_CLEAR) {
        const auto& cleared = *reinterpret_cast<const xcb_selection_clear_event_t*>(event);
        if (cleared.owner != m_window.id())
            return false;
        if (cleared.selection == m_selection && cameAfter(event->full_sequence, m_ownSequence))
            forget();
        return true;
    }
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto& change = *reinterpret_cast<const xcb_property_notify_event_t*>(event);
        return change.state == XCB_PROPERTY_DELETE && onDeleted(change);
    }
    if (m_ownerChangeType && type == m_ownerChangeType) {
        const auto& change = *reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
        if (change.window != m_window.id())
            return false;
        // The server's time of our taking the selection, which TIMESTAMP answers with.
        if (change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER &&
            change.owner == m_window.id() && cameAfter(event->full_sequence, m_ownSequence))
            m_ownedSince = change.selection_timestamp;
        return true;
    }
    return false;
}

void XcbSelectionOwner::onRequest(const xcb_selection_request_event_t& request) {
    m_retiredTimers.clear();
    // Requestors from before ICCCM 2 name no property: they mean the target's own name.
    const xcb_atom_t property = request.property != XCB_NONE ? request.property : request.target;
    bool served = false;
    if (m_owning && request.selection == m_selection) {
        served = request.target == m_atoms.multiple && request.property != XCB_NONE
                     ? serveMultiple(request.requestor, property)
                     : serve(request.requestor, request.target, property, true);
    }
    xcb_selection_notify_event_t answer{};
    answer.response_type = XCB_SELECTION_NOTIFY;
    answer.time = request.time;
    answer.requestor = request.requestor;
    answer.selection = request.selection;
    answer.target = request.target;
    answer.property = served ? property : XCB_NONE;
    xcb_send_event(m_xcb, 0, request.requestor, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&answer));
    xcb_flush(m_xcb);
}

bool XcbSelectionOwner::serve(xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property,
                              bool inPieces) {
    if (target == m_atoms.targets) {
        std::vector<xcb_atom_t> list = {m_atoms.targets, m_atoms.timestamp, m_atoms.multiple};
        for (const auto& [atom, data] : m_targets)
            list.push_back(atom);
        xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_ATOM, 32,
                            std::uint32_t(list.size()), list.data());
        return true;
    }
    if (target == m_atoms.timestamp) {
        if (m_ownedSince == XCB_CURRENT_TIME)
            return false;
        xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, requestor, property, XCB_ATOM_INTEGER, 32,
                            1, &m_ownedSince);
        return true;
    }
    const auto found = std::find_if(m_targets.cbegin(), m_targets.cend(),
                                    [target](const auto& entry) { return entry.first == target; });
    if (found == m_targets.cend())
        return false;
    const SelectionData& data = found->second;
    if (data.bytes.size() <= m_pieceSize) {
        writeProperty(m_xcb, requestor, property, data.type, data.format, data.bytes.constData(),
                      data.bytes.size());
        return true;
    }
    if (!inPieces)
        return false;
    startPieces(requestor, property, data);
    return true;
}

bool XcbSelectionOwner::serveMultiple(xcb_window_t requestor, xcb_atom_t property) {
    // The requestor lists pairs of a target and the property it wants it on.
    xcb_get_property_reply_t* reply = xcb_get_property_reply(
        m_xcb, xcb_get_property(m_xcb, 0, requestor, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 1024),
        nullptr);
    if (!reply)
        return false;
    std::vector<xcb_atom_t> pairs;
    if (reply->format == 32) {
        const auto* values = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply));
        // The length is in bytes.
        pairs.assign(values, values + xcb_get_property_value_length(reply) / 4);
    }
    const xcb_atom_t type = reply->type;
    std::free(reply);
    if (pairs.size() % 2 != 0 || pairs.empty())
        return false;
    // A pair that could not be served has its property replaced by None.
    for (std::size_t i = 0; i + 1 < pairs.size(); i += 2) {
        if (pairs[i + 1] == XCB_NONE || !serve(requestor, pairs[i], pairs[i + 1], false))
            pairs[i + 1] = XCB_NONE;
    }
    xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, requestor, property, type, 32,
                        std::uint32_t(pairs.size()), pairs.data());
    return true;
}

void XcbSelectionOwner::startPieces(xcb_window_t requestor, xcb_atom_t property,
                                    const SelectionData& data) {
    // A requestor may ask again onto the same property: the older transfer is over.
    const auto stale = std::find_if(m_outgoing.begin(), m_outgoing.end(), [&](const auto& o) {
        return o->requestor == requestor && o->property == property;
    });
    if (stale != m_outgoing.end())
        endPieces(*stale);

    auto outgoing = std::make_shared<Outgoing>();
    outgoing->requestor = requestor;
    outgoing->property = property;
    outgoing->data = data;
    m_outgoing.push_back(outgoing);
    // Each piece goes once the requestor has deleted the one before. Our own windows already
    // report their properties.
    if (!isOurs(requestor)) {
        const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_change_window_attributes(m_xcb, requestor, XCB_CW_EVENT_MASK, &mask);
    }
    const std::uint32_t announced = std::uint32_t(data.bytes.size());
    xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, requestor, property, m_atoms.incr, 32, 1,
                        &announced);
    outgoing->stallTimer = m_timers.start(incrementLimit, [this, weak = std::weak_ptr(outgoing)] {
        if (const auto outgoing = weak.lock())
            endPieces(outgoing);
    });
}

bool XcbSelectionOwner::onDeleted(const xcb_property_notify_event_t& change) {
    const auto found = std::find_if(m_outgoing.begin(), m_outgoing.end(), [&](const auto& o) {
        return o->requestor == change.window && o->property == change.atom;
    });
    if (found == m_outgoing.end())
        return false;
    const std::shared_ptr<Outgoing> outgoing = *found;
    const SelectionData& data = outgoing->data;
    const qsizetype left = data.bytes.size() - outgoing->sent;
    const qsizetype piece = std::min(left, m_pieceSize);
    // The last piece is an empty one.
    writeProperty(m_xcb, outgoing->requestor, outgoing->property, data.type, data.format,
                  data.bytes.constData() + outgoing->sent, piece);
    outgoing->sent += piece;
    if (piece == 0) {
        endPieces(outgoing);
    } else {
        outgoing->stallTimer.reset();
        outgoing->stallTimer =
            m_timers.start(incrementLimit, [this, weak = std::weak_ptr(outgoing)] {
                if (const auto outgoing = weak.lock())
                    endPieces(outgoing);
            });
    }
    xcb_flush(m_xcb);
    return true;
}

void XcbSelectionOwner::endPieces(const std::shared_ptr<Outgoing>& outgoing) {
    if (!std::erase(m_outgoing, outgoing))
        return;
    // We may be inside this timer's own callback, which must not drop it: it waits with the
    // others until the next request.
    m_retiredTimers.push_back(std::move(outgoing->stallTimer));
    const bool stillServed =
        std::any_of(m_outgoing.cbegin(), m_outgoing.cend(),
                    [&](const auto& o) { return o->requestor == outgoing->requestor; });
    if (!stillServed && !isOurs(outgoing->requestor)) {
        const std::uint32_t mask = XCB_EVENT_MASK_NO_EVENT;
        xcb_change_window_attributes(m_xcb, outgoing->requestor, XCB_CW_EVENT_MASK, &mask);
    }
    xcb_flush(m_xcb);
}
