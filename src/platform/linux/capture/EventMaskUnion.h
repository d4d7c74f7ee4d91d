#pragma once

#include <QtGlobal>
#include <map>
#include <set>

// The union of several owners' event masks, per key (an input device, a window). The X
// server keeps one mask per client and device or window, and each selection replaces the
// last, so adapters sharing a connection state their own bits here and the connection sends
// the union.
class EventMaskUnion {
public:
    using Masks = std::map<quint16, quint32>; // key → bits

    // Replaces `owner`'s bits (none: it wants nothing); returns the keys whose union changed.
    std::set<quint16> set(const void* owner, const Masks& masks);
    quint32 combined(quint16 key) const;
    Masks masksOf(const void* owner) const;

private:
    std::map<const void*, Masks> m_owners;
};
