#pragma once

#include "platform/PointerSampler.h"

#include <QRectF>

// The keyboard and pointer as a test moves them. `keyDownAgo` is set by the test, which
// drives the clock itself.
class ScriptedPointerSampler final : public PointerSampler {
public:
    State state;
    // The strip treated as the menu bar (nothing by default).
    QRectF menuBar;

    bool start() override {
        m_running = true;
        return m_available;
    }
    void stop() override { m_running = false; }
    State sample() override {
        ++m_samples;
        return state;
    }
    bool inMenuBar(QPointF point) const override { return menuBar.contains(point); }
    bool notifyModifierPresses(std::function<void()> handler) override {
        m_modifierPressed = std::move(handler);
        return true;
    }

    // Holds these modifiers from now on; pressing one is announced as the system does.
    void setFlags(quint32 flags) {
        const bool pressed = (flags & ~state.flags) != 0;
        state.flags = flags;
        if (pressed && m_modifierPressed)
            m_modifierPressed();
    }

    bool isRunning() const { return m_running; }
    int samples() const { return m_samples; }
    void setAvailable(bool available) { m_available = available; }

private:
    bool m_running = false;
    bool m_available = true;
    int m_samples = 0;
    std::function<void()> m_modifierPressed;
};
