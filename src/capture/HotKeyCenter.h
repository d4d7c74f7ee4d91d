#pragma once

#include "keys/HotKeySpec.h"

#include <QHash>
#include <functional>
#include <optional>

class EventLog;
class GlobalHotKeys;

// The program's global hot keys: registers a combination per slot with the window system,
// runs the slot's action when it is pressed (later on the main loop, never inside the event
// handling), and tells whether a combination is free. Main thread only.
class HotKeyCenter {
public:
    // "LFKY": the signature every registration carries; presses with another are not ours.
    static constexpr quint32 signature = 0x4C464B59;
    static constexpr quint32 probeId = 9999;
    // What the dispatch answers for a press that is not ours (Carbon's eventNotHandledErr).
    static constexpr int notHandled = -9874;

    HotKeyCenter(GlobalHotKeys& system, EventLog& log);
    ~HotKeyCenter();

    // Replaces whatever the slot had; no spec only unbinds. True when registered.
    bool bind(HotKeySlotID slot, const std::optional<HotKeySpec>& spec, bool logs,
              std::function<void()> action);
    bool isRegistered(HotKeySlotID slot, const HotKeySpec& spec) const;
    bool isAvailable(const HotKeySpec& spec, std::optional<HotKeySlotID> ignoring) const;
    // Whether any slot has been bound since start.
    bool wasConfigured() const { return m_configured; }

    // A press the window system reports: 0 when it is ours (its action is queued), else
    // notHandled.
    int dispatch(quint32 pressSignature, quint32 id);

    static QString slotName(HotKeySlotID slot);

private:
    bool installHandlerIfNeeded();

    GlobalHotKeys& m_system;
    EventLog& m_log;
    QHash<quint32, HotKeySpec> m_specs;
    QHash<quint32, std::function<void()>> m_actions;
    bool m_installed = false;
    bool m_configured = false;
    // Queued actions check that the center still exists.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
};
