#include "platform/linux/capture/XcbClipboardSnapshots.h"

#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"

#include <QSet>
#include <cstdlib>
#include <cstring>

namespace {

// All targets of one snapshot together; beyond it the rest are not kept.
constexpr qsizetype kMaxSnapshotBytes = 4 * XcbSelectionTransfer::maxBytes;

std::vector<xcb_atom_t> atomList(const SelectionData& data) {
    std::vector<xcb_atom_t> atoms;
    if (data.format != 32)
        return atoms;
    atoms.resize(std::size_t(data.bytes.size()) / sizeof(xcb_atom_t));
    std::memcpy(atoms.data(), data.bytes.constData(), atoms.size() * sizeof(xcb_atom_t));
    return atoms;
}

// After these the owner is not worth asking again: it hangs, or is gone.
bool ownerLost(SelectionTransferFailure failure) {
    return failure == SelectionTransferFailure::timedOut ||
           failure == SelectionTransferFailure::ownerGone ||
           failure == SelectionTransferFailure::closed;
}

} // namespace

XcbClipboardSnapshots::XcbClipboardSnapshots(XcbSelectionTransfer& transfer, TimerSource& timers)
    : m_transfer(transfer),
      m_owner(transfer.connection(), transfer.atoms(), transfer.atoms().clipboard, timers) {}

QCoro::Task<PasteboardSnapshot> XcbClipboardSnapshots::take(std::chrono::milliseconds limit) {
    PasteboardSnapshot snapshot;
    XcbSelectionAtoms& atoms = m_transfer.atoms();
    xcb_connection_t* connection = m_transfer.connection().connection();
    xcb_get_selection_owner_reply_t* owner = xcb_get_selection_owner_reply(
        connection, xcb_get_selection_owner(connection, atoms.clipboard), nullptr);
    const bool owned = owner && owner->owner != XCB_NONE;
    std::free(owner);
    if (!owned)
        co_return snapshot;

    const xcb_atom_t clipboard = atoms.clipboard;
    const xcb_atom_t targetsTarget = atoms.targets;
    const SelectionTransferOutcome listed =
        co_await m_transfer.fetch(clipboard, targetsTarget, limit);
    const auto* list = std::get_if<SelectionData>(&listed);
    if (!list) {
        snapshot.unreadable.append(QStringLiteral("TARGETS"));
        co_return snapshot;
    }
    const std::vector<xcb_atom_t> targets = atomList(*list);
    const QStringList names = atoms.names(targets);

    QMap<QString, QByteArray> item;
    QSet<QString> seen;
    qsizetype kept = 0;
    bool lost = false;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const QString& name = names.at(qsizetype(i));
        if (name.isEmpty() || XcbSelectionAtoms::isProtocolTarget(name) || seen.contains(name))
            continue;
        seen.insert(name);
        if (lost || kept >= kMaxSnapshotBytes) {
            snapshot.unreadable.append(name);
            continue;
        }
        const xcb_atom_t target = targets[i];
        const SelectionTransferOutcome fetched =
            co_await m_transfer.fetch(clipboard, target, limit);
        if (const auto* data = std::get_if<SelectionData>(&fetched)) {
            item.insert(name, data->bytes);
            m_typing.insert(name, {data->type, data->format});
            kept += data->bytes.size();
        } else {
            snapshot.unreadable.append(name);
            lost = ownerLost(std::get<SelectionTransferFailure>(fetched));
        }
    }
    if (!item.isEmpty())
        snapshot.items.append(std::move(item));
    co_return snapshot;
}

void XcbClipboardSnapshots::restore(const PasteboardSnapshot& snapshot) {
    XcbSelectionAtoms& atoms = m_transfer.atoms();
    XcbSelectionOwner::Targets targets;
    QSet<QString> seen;
    // X11 holds one item: the first one's types win.
    for (const auto& item : snapshot.items) {
        for (auto it = item.cbegin(); it != item.cend(); ++it) {
            if (XcbSelectionAtoms::isProtocolTarget(it.key()) || seen.contains(it.key()))
                continue;
            seen.insert(it.key());
            const xcb_atom_t target = atoms.atom(it.key());
            if (target == XCB_NONE)
                continue;
            // Content of unknown typing goes as 8-bit data typed by its own name, as most
            // owners type it.
            auto [type, format] = m_typing.value(it.key(), {target, std::uint8_t(8)});
            if (it.value().size() % (format / 8) != 0)
                format = 8;
            targets.append({target, SelectionData{it.value(), type, format}});
        }
    }
    if (targets.isEmpty())
        m_owner.clear();
    else
        m_owner.own(std::move(targets));
}
