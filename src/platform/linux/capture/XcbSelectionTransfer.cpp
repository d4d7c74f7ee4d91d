#include "platform/linux/capture/XcbSelectionTransfer.h"

#include "platform/linux/capture/QueuedWakeup.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbOwnerChanges.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <xcb/xfixes.h>

namespace {

// Whether the event was sent after the server had taken the request: an event carries the
// number of the last request of ours the server had processed.
bool cameAfter(std::uint32_t eventSequence, std::uint32_t requestSequence) {
    return std::int32_t(eventSequence - requestSequence) >= 0;
}

struct PropertyRead {
    bool present = false;
    bool tooLarge = false;
    xcb_atom_t type = XCB_NONE;
    std::uint8_t format = 8;
    QByteArray bytes;
};

// Reads and deletes a property of `window`, unless it holds more than `room` bytes (then it
// is only deleted). Asks its size first, so an oversized one is never read.
PropertyRead readAndDelete(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property,
                           qsizetype room) {
    PropertyRead read;
    xcb_get_property_reply_t* size = xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 0, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0),
        nullptr);
    if (!size)
        return read;
    read.type = size->type;
    read.format = size->format ? size->format : 8;
    const quint64 total = size->bytes_after;
    std::free(size);
    if (read.type == XCB_NONE)
        return read;
    read.present = true;
    if (total > quint64(room)) {
        read.tooLarge = true;
        xcb_delete_property(connection, window, property);
        return read;
    }
    xcb_get_property_reply_t* value = xcb_get_property_reply(
        connection,
        xcb_get_property(connection, 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0,
                         std::uint32_t((total + 3) / 4)),
        nullptr);
    if (value) {
        read.bytes = QByteArray(static_cast<const char*>(xcb_get_property_value(value)),
                                xcb_get_property_value_length(value));
        std::free(value);
    }
    return read;
}

} // namespace

struct XcbSelectionTransfer::Request {
    xcb_atom_t selection = XCB_NONE;
    xcb_atom_t target = XCB_NONE;
    xcb_atom_t property = XCB_NONE;
    std::uint32_t sequence = 0;
    std::chrono::milliseconds limit{0};
    bool incremental = false;
    SelectionData data;
    std::optional<SelectionTransferOutcome> outcome;
    std::unique_ptr<TimerSource::Timer> stallTimer;
    std::unique_ptr<TimerSource::Timer> totalTimer;
    QueuedWakeup wakeup;
};

XcbSelectionTransfer::XcbSelectionTransfer(XcbEventConnection& connection, TimerSource& timers)
    : m_connection(connection), m_xcb(connection.connection()), m_timers(timers), m_atoms(m_xcb),
      m_window(m_xcb, connection.root(), XCB_EVENT_MASK_PROPERTY_CHANGE) {
    m_listener = m_connection.addListener(
        [this](const xcb_generic_event_t* event) { return handle(event); });
}

XcbSelectionTransfer::~XcbSelectionTransfer() {
    m_connection.removeListener(m_listener);
    // Their coroutines go on from the event loop and touch nothing of ours.
    const auto requests = m_requests;
    for (const auto& request : requests)
        finish(request, SelectionTransferFailure::closed);
}

QCoro::Task<SelectionTransferOutcome> XcbSelectionTransfer::fetch(xcb_atom_t selection,
                                                                  xcb_atom_t target,
                                                                  std::chrono::milliseconds limit) {
    auto request = std::make_shared<Request>();
    request->selection = selection;
    request->target = target;
    request->limit = limit;
    request->property = takeProperty();
    if (request->property == XCB_NONE || selection == XCB_NONE || target == XCB_NONE)
        co_return SelectionTransferFailure::refused;
    watch(selection);
    // Whatever an earlier owner left there is not this answer.
    xcb_delete_property(m_xcb, m_window.id(), request->property);
    request->sequence = xcb_convert_selection(m_xcb, m_window.id(), selection, target,
                                              request->property, XCB_CURRENT_TIME)
                            .sequence;
    xcb_flush(m_xcb);
    m_requests.push_back(request);
    restartStallTimer(request);
    request->totalTimer =
        m_timers.start(limit * totalLimitFactor, [this, weak = std::weak_ptr(request)] {
            // An ended request touches nothing of ours: we may be gone.
            if (const auto request = weak.lock(); request && !request->outcome)
                finish(request, SelectionTransferFailure::timedOut);
        });

    while (!request->outcome)
        co_await request->wakeup;
    co_return std::move(*request->outcome);
}

void XcbSelectionTransfer::restartStallTimer(const std::shared_ptr<Request>& request) {
    request->stallTimer.reset();
    request->stallTimer = m_timers.start(request->limit, [this, weak = std::weak_ptr(request)] {
        if (const auto request = weak.lock(); request && !request->outcome)
            finish(request, SelectionTransferFailure::timedOut);
    });
}

void XcbSelectionTransfer::finish(const std::shared_ptr<Request>& request,
                                  SelectionTransferOutcome outcome) {
    if (request->outcome)
        return;
    const bool answered =
        std::holds_alternative<SelectionData>(outcome) ||
        std::get<SelectionTransferFailure>(outcome) == SelectionTransferFailure::refused;
    if (answered)
        m_freeProperties.push_back(request->property);
    request->outcome = std::move(outcome);
    // Dropping the timers from inside one's own callback is not allowed: leave that to the
    // request's end, and only make sure neither fires again.
    std::erase(m_requests, request);
    request->wakeup.wake();
}

xcb_atom_t XcbSelectionTransfer::takeProperty() {
    if (!m_freeProperties.empty()) {
        const xcb_atom_t property = m_freeProperties.back();
        m_freeProperties.pop_back();
        return property;
    }
    return m_atoms.atom(QStringLiteral("_QUILLET_SELECTION_%1").arg(m_propertiesMade++));
}

void XcbSelectionTransfer::watch(xcb_atom_t selection) {
    if (m_watched.contains(selection))
        return;
    m_watched.insert(selection);
    const std::uint8_t type = watchOwnerChanges(m_xcb, m_window.id(), selection);
    if (type)
        m_ownerChangeType = type;
}

bool XcbSelectionTransfer::handle(const xcb_generic_event_t* event) {
    const std::uint8_t type = event->response_type & 0x7f;
    if (type == XCB_SELECTION_NOTIFY) {
        const auto& answer = *reinterpret_cast<const xcb_selection_notify_event_t*>(event);
        if (answer.requestor != m_window.id())
            return false;
        onAnswer(answer);
        return true;
    }
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto& change = *reinterpret_cast<const xcb_property_notify_event_t*>(event);
        // Deletions are left to whoever serves us: an owner of our own sends its next piece
        // when one of its pieces is deleted.
        if (change.window != m_window.id() || change.state != XCB_PROPERTY_NEW_VALUE)
            return false;
        onNewValue(change);
        return true;
    }
    if (m_ownerChangeType && type == m_ownerChangeType) {
        const auto& change = *reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
        if (change.window != m_window.id())
            return false;
        onOwnerChange(change.selection, event->full_sequence);
        return true;
    }
    return false;
}

void XcbSelectionTransfer::onAnswer(const xcb_selection_notify_event_t& answer) {
    // A refusal names no property: it answers the oldest request for that conversion.
    const auto found = std::find_if(m_requests.begin(), m_requests.end(), [&](const auto& r) {
        return !r->incremental && (answer.property != XCB_NONE ? r->property == answer.property
                                                               : r->selection == answer.selection &&
                                                                     r->target == answer.target);
    });
    if (found == m_requests.end()) {
        // Late, for a request that has ended: the property is ours to clear.
        if (answer.property != XCB_NONE)
            xcb_delete_property(m_xcb, m_window.id(), answer.property);
        return;
    }
    const std::shared_ptr<Request> request = *found;
    if (answer.property == XCB_NONE) {
        finish(request, SelectionTransferFailure::refused);
        return;
    }
    PropertyRead read = readAndDelete(m_xcb, m_window.id(), request->property, maxBytes);
    if (read.tooLarge) {
        finish(request, SelectionTransferFailure::tooLarge);
    } else if (!read.present) {
        finish(request, SelectionTransferFailure::refused);
    } else if (read.type == m_atoms.incr) {
        // The owner sends it piece by piece, each once we have deleted the one before (the
        // read above deleted the announcement). It announces at least this many bytes.
        const quint32 announced =
            read.bytes.size() >= 4 ? *reinterpret_cast<const quint32*>(read.bytes.constData()) : 0;
        if (announced > quint64(maxBytes)) {
            finish(request, SelectionTransferFailure::tooLarge);
            return;
        }
        request->incremental = true;
        request->data.bytes.reserve(qsizetype(announced));
        restartStallTimer(request);
    } else {
        finish(request, SelectionData{std::move(read.bytes), read.type, read.format});
    }
}

void XcbSelectionTransfer::onNewValue(const xcb_property_notify_event_t& change) {
    const auto found = std::find_if(m_requests.begin(), m_requests.end(), [&](const auto& r) {
        return r->incremental && r->property == change.atom;
    });
    // New values of a property whose request is not incremental (yet) are the answer itself,
    // read once the owner says it is there.
    if (found == m_requests.end())
        return;
    const std::shared_ptr<Request> request = *found;
    PropertyRead read = readAndDelete(m_xcb, m_window.id(), request->property,
                                      maxBytes - request->data.bytes.size());
    xcb_flush(m_xcb);
    if (read.tooLarge) {
        finish(request, SelectionTransferFailure::tooLarge);
        return;
    }
    if (!read.present)
        return;
    if (read.bytes.isEmpty()) {
        // The empty piece ends it.
        request->data.type = read.type;
        request->data.format = read.format;
        finish(request, std::move(request->data));
        return;
    }
    request->data.bytes.append(read.bytes);
    request->data.type = read.type;
    request->data.format = read.format;
    restartStallTimer(request);
}

void XcbSelectionTransfer::onOwnerChange(xcb_atom_t selection, std::uint32_t sequence) {
    const auto requests = m_requests;
    for (const auto& request : requests) {
        if (request->selection == selection && cameAfter(sequence, request->sequence))
            finish(request, SelectionTransferFailure::ownerGone);
    }
}
