#pragma once

#include "platform/GlobalPointerEvents.h"

// Left-button gestures a test performs by hand.
class ScriptedPointerEvents final : public GlobalPointerEvents {
public:
    bool start(Handler handler) override {
        ++m_starts;
        m_handler = std::move(handler);
        return m_available;
    }
    void stop() override { m_handler = nullptr; }

    bool isRunning() const { return static_cast<bool>(m_handler); }
    int starts() const { return m_starts; }
    // As on a display server without global events.
    void setAvailable(bool available) { m_available = available; }

    // Delivered only while running, as the real events are.
    void send(Event::Kind kind, QPointF at, int clickCount = 1) {
        if (m_handler)
            m_handler(Event{kind, at, clickCount, ++m_serverTime});
    }
    void press(QPointF at, int clickCount = 1) { send(Event::Kind::press, at, clickCount); }
    void drag(QPointF to) { send(Event::Kind::drag, to); }
    void release(QPointF at, int clickCount = 1) { send(Event::Kind::release, at, clickCount); }
    // A drag from one point to another, or a click (count 1, 2…) at one point.
    void dragAcross(QPointF from, QPointF to) {
        press(from);
        drag(to);
        release(to);
    }
    void click(QPointF at, int count = 1) {
        press(at, count);
        release(at, count);
    }
    quint64 serverTime() const { return m_serverTime; }

private:
    Handler m_handler;
    int m_starts = 0;
    bool m_available = true;
    quint64 m_serverTime = 1000;
};
