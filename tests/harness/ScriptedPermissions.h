#pragma once

#include "platform/SystemPermissions.h"

#include <QList>
#include <QSet>

// Grants the test gives and withdraws, as the user would in the system settings.
class ScriptedPermissions final : public SystemPermissions {
public:
    bool isGranted(Kind kind) const override { return m_granted.contains(kind); }
    void refresh() override {}
    void request(Kind kind) override { requests.append(kind); }
    bool openSettingsPane(Kind) override { return false; }
    bool isSandboxed() const override { return sandboxed; }
    void setChangeHandler(std::function<void()> handler) override {
        m_handler = std::move(handler);
    }

    // Gives or withdraws a grant; the program hears of it as from the system.
    void set(Kind kind, bool granted) {
        if (granted == isGranted(kind))
            return;
        if (granted)
            m_granted.insert(kind);
        else
            m_granted.remove(kind);
        if (m_handler)
            m_handler();
    }

    QList<Kind> requests;
    bool sandboxed = false;

private:
    QSet<Kind> m_granted;
    std::function<void()> m_handler;
};
