#pragma once

#include "platform/GlobalHotKeys.h"

#include <QHash>
#include <QSet>
#include <utility>

// Global key combinations as a window system keeps them, with the combinations other programs
// hold marked by the test.
class ScriptedHotKeys final : public GlobalHotKeys {
public:
    struct Combination {
        quint32 keyCode = 0;
        quint32 modifiers = 0;
        bool operator==(const Combination&) const = default;
    };
    static constexpr int badAccess = 10;

    bool install(PressHandler handler, int& status) override {
        if (m_installStatus != 0) {
            status = m_installStatus;
            return false;
        }
        m_handler = std::move(handler);
        ++m_installs;
        return true;
    }
    int add(quint32 signature, quint32 id, quint32 keyCode, quint32 modifiers) override {
        const Combination combination{keyCode, modifiers};
        if (isHeldElsewhere(combination))
            return badAccess;
        for (auto it = m_registered.cbegin(); it != m_registered.cend(); ++it)
            if (it.key() != id && it->second == combination)
                return badAccess; // the system refuses a second grab of the same keys
        m_registered.insert(id, {signature, combination});
        ++m_adds;
        return 0;
    }
    void remove(quint32 id) override { m_registered.remove(id); }

    // Another program grabs (or lets go of) a combination.
    void holdElsewhere(quint32 keyCode, quint32 modifiers) {
        m_elsewhere.append({keyCode, modifiers});
    }
    void releaseElsewhere() { m_elsewhere.clear(); }
    void failInstall(int status) { m_installStatus = status; }

    // The user presses a combination: the handler hears it when one is registered.
    void press(quint32 keyCode, quint32 modifiers) {
        for (auto it = m_registered.cbegin(); it != m_registered.cend(); ++it)
            if (it->second == Combination{keyCode, modifiers} && m_handler)
                m_handler(it->first, it.key());
    }
    bool isRegistered(quint32 id) const { return m_registered.contains(id); }
    int registrations() const { return int(m_registered.size()); }
    int adds() const { return m_adds; }
    int installs() const { return m_installs; }

private:
    bool isHeldElsewhere(const Combination& combination) const {
        return m_elsewhere.contains(combination);
    }

    PressHandler m_handler;
    QHash<quint32, std::pair<quint32, Combination>> m_registered;
    QList<Combination> m_elsewhere;
    int m_installStatus = 0;
    int m_adds = 0;
    int m_installs = 0;
};
