#pragma once

#include "platform/KeySynthesizer.h"

#include <QPointer>

class XcbEventConnection;

// Key presses through the XTEST extension on the program's own X connection; they reach
// the window with the keyboard focus as a person's would.
class XTestKeySynthesizer : public KeySynthesizer {
public:
    explicit XTestKeySynthesizer(XcbEventConnection& connection);

    bool modifiersHeld() const override;
    bool sendCopy() override;

private:
    QPointer<XcbEventConnection> m_connection;
};
