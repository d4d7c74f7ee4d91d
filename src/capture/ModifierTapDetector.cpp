#include "capture/ModifierTapDetector.h"

bool ModifierTapDetector::step(const Input& input) {
    if (!m_pressedAt) {
        if (input.keyAlone) {
            m_pressedAt = input.now;
            m_spoiled = input.mouseButtonDown;
        } else if (!input.noModifiers) {
            m_lastTapEndedAt.reset();
        }
        return false;
    }
    const double held = input.now - *m_pressedAt;
    if (input.keyDownAgo < held || input.mouseButtonDown) {
        m_spoiled = true;
        if (input.noModifiers) {
            m_pressedAt.reset();
            m_lastTapEndedAt.reset();
        }
        return false;
    }
    if (input.noModifiers) {
        const double pressedAt = *m_pressedAt;
        m_pressedAt.reset();
        if (held > tapSeconds || m_spoiled) {
            m_lastTapEndedAt.reset();
            return false;
        }
        if (m_lastTapEndedAt && pressedAt - *m_lastTapEndedAt <= pairSeconds) {
            m_lastTapEndedAt.reset();
            return true;
        }
        m_lastTapEndedAt = input.now;
        return false;
    }
    if (!input.keyAlone)
        m_spoiled = true;
    return false;
}

void ModifierTapDetector::reset() {
    m_pressedAt.reset();
    m_spoiled = false;
    m_lastTapEndedAt.reset();
}
