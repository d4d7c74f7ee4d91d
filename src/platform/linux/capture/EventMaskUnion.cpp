#include "platform/linux/capture/EventMaskUnion.h"

std::set<quint16> EventMaskUnion::set(const void* owner, const Masks& masks) {
    std::set<quint16> keys;
    if (const auto old = m_owners.find(owner); old != m_owners.end())
        for (const auto& [key, bits] : old->second)
            keys.insert(key);
    for (const auto& [key, bits] : masks)
        keys.insert(key);
    std::map<quint16, quint32> before;
    for (quint16 key : keys)
        before[key] = combined(key);
    if (masks.empty())
        m_owners.erase(owner);
    else
        m_owners[owner] = masks;
    std::set<quint16> changed;
    for (quint16 key : keys)
        if (combined(key) != before[key])
            changed.insert(key);
    return changed;
}

quint32 EventMaskUnion::combined(quint16 key) const {
    quint32 bits = 0;
    for (const auto& [owner, masks] : m_owners)
        if (const auto found = masks.find(key); found != masks.end())
            bits |= found->second;
    return bits;
}

EventMaskUnion::Masks EventMaskUnion::masksOf(const void* owner) const {
    const auto found = m_owners.find(owner);
    return found == m_owners.end() ? Masks() : found->second;
}
