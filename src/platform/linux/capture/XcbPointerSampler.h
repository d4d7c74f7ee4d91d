#pragma once

#include "platform/PointerSampler.h"
#include "platform/linux/capture/KeyDownRecord.h"
#include "platform/linux/capture/MenuStrip.h"

#include <QPointer>
#include <optional>
#include <xcb/xcb.h>

class XcbEventConnection;
class XcbKeyboardMap;
class XcbMenuStrip;

// The pointer and keyboard of the X desktop, on the capture adapters' own connection: one
// QueryPointer per sample, and the last key press from the XInput 2.2 raw key events of all
// master devices, selected on the root window only while started.
class XcbPointerSampler : public PointerSampler {
public:
    struct Options {
        // Whether keys sent through the XTEST extension are ignored: the program's own
        // simulated copy comes that way. The tests turn it off to type with xdotool.
        bool ignoreSyntheticKeys = true;
    };

    explicit XcbPointerSampler(XcbEventConnection& connection, Options options);
    explicit XcbPointerSampler(XcbEventConnection& connection);
    ~XcbPointerSampler() override;

    bool start() override;
    void stop() override;
    State sample() override;
    bool inMenuBar(QPointF point) const override;
    bool notifyModifierPresses(std::function<void()> handler) override;

private:
    bool handle(const xcb_generic_event_t* event);
    bool followKeys();
    void readDevices();

    QPointer<XcbEventConnection> m_connection;
    Options m_options;
    std::optional<int> m_listener;
    quint8 m_opcode = 0;
    bool m_keysFollowed = false;
    KeyDownRecord m_keys;
    std::shared_ptr<XcbKeyboardMap> m_keyboard;
    std::function<void()> m_modifierPressed;
    std::unique_ptr<XcbMenuStrip> m_stripReader;
    // Read once while started and again when the window manager changes it.
    mutable std::optional<MenuStrip> m_strip;
};
