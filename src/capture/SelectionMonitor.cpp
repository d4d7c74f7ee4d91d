#include "capture/SelectionMonitor.h"

#include <QLineF>

using Kind = GlobalPointerEvents::Event::Kind;

SelectionMonitor::SelectionMonitor(GlobalPointerEvents& events, Callback onSelection)
    : m_events(events), m_onSelection(std::move(onSelection)) {}

SelectionMonitor::~SelectionMonitor() {
    stop();
}

bool SelectionMonitor::start() {
    if (m_running)
        return true;
    m_idle = true;
    m_dragged = false;
    m_running = m_events.start([this](const GlobalPointerEvents::Event& event) { handle(event); });
    return m_running;
}

void SelectionMonitor::stop() {
    if (!m_running)
        return;
    m_running = false;
    m_events.stop();
}

void SelectionMonitor::handle(const GlobalPointerEvents::Event& event) {
    switch (event.kind) {
    case Kind::press:
        m_pressPosition = event.position;
        m_pressTime = event.serverTime;
        m_dragged = false;
        m_idle = false;
        return;
    case Kind::drag:
        if (!m_idle && !m_dragged &&
            QLineF(m_pressPosition, event.position).length() > dragThreshold)
            m_dragged = true;
        return;
    case Kind::release: {
        const bool pressed = !m_idle;
        const bool dragged = std::exchange(m_dragged, false);
        m_pressPosition = {};
        m_idle = true;
        if (pressed && (event.clickCount >= 2 || dragged) && m_onSelection)
            m_onSelection(m_pressTime);
        return;
    }
    }
}
