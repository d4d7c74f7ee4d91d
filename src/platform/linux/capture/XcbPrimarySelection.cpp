#include "platform/linux/capture/XcbPrimarySelection.h"

#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbOwnerChanges.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"
#include "platform/linux/desktop/StrictText.h"

#include <xcb/xfixes.h>

XcbPrimarySelection::XcbPrimarySelection(XcbSelectionTransfer& transfer)
    : m_transfer(transfer),
      m_window(transfer.connection().connection(), transfer.connection().root(), 0) {
    m_ownerChangeType =
        watchOwnerChanges(transfer.connection().connection(), m_window.id(), XCB_ATOM_PRIMARY);
    m_listener = transfer.connection().addListener(
        [this](const xcb_generic_event_t* event) { return handle(event); });
}

XcbPrimarySelection::~XcbPrimarySelection() {
    m_transfer.connection().removeListener(m_listener);
}

bool XcbPrimarySelection::handle(const xcb_generic_event_t* event) {
    if (!m_ownerChangeType || (event->response_type & 0x7f) != m_ownerChangeType)
        return false;
    const auto& change = *reinterpret_cast<const xcb_xfixes_selection_notify_event_t*>(event);
    if (change.window != m_window.id())
        return false;
    // Only a new owner holds a new selection; one that went away leaves none to read. The
    // event's own time is when the server made the change, whatever time the owner claimed.
    if (change.subtype == XCB_XFIXES_SELECTION_EVENT_SET_SELECTION_OWNER &&
        change.owner != XCB_NONE)
        m_changedAt = change.timestamp;
    return true;
}

bool XcbPrimarySelection::ownerChangedSince(quint64 serverTime) const {
    // Server times are 32-bit milliseconds that wrap every 49 days.
    return m_changedAt && std::int32_t(*m_changedAt - xcb_timestamp_t(serverTime)) >= 0;
}

std::optional<quint64> XcbPrimarySelection::lastOwnerChange() const {
    if (!m_changedAt)
        return std::nullopt;
    return *m_changedAt;
}

QCoro::Task<std::optional<QString>> XcbPrimarySelection::read(std::chrono::milliseconds limit) {
    const auto started = std::chrono::steady_clock::now();
    XcbSelectionAtoms& atoms = m_transfer.atoms();
    const xcb_atom_t primary = XCB_ATOM_PRIMARY;
    const xcb_atom_t utf8 = atoms.utf8String;
    const SelectionTransferOutcome asUtf8 = co_await m_transfer.fetch(primary, utf8, limit);
    // Some owners answer a request for UTF-8 with what they have, typed as Latin-1.
    if (const auto* data = std::get_if<SelectionData>(&asUtf8))
        co_return data->type == XCB_ATOM_STRING ? strictLatin1(data->bytes)
                                                : strictUtf8(data->bytes);
    // Only an owner that does not offer UTF-8 is asked for Latin-1, in what is left of the
    // time.
    if (std::get<SelectionTransferFailure>(asUtf8) != SelectionTransferFailure::refused)
        co_return std::nullopt;
    const auto left = limit - std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - started);
    if (left <= std::chrono::milliseconds(0))
        co_return std::nullopt;
    const xcb_atom_t latin1 = XCB_ATOM_STRING;
    const SelectionTransferOutcome asLatin1 = co_await m_transfer.fetch(primary, latin1, left);
    if (const auto* data = std::get_if<SelectionData>(&asLatin1))
        co_return strictLatin1(data->bytes);
    co_return std::nullopt;
}
