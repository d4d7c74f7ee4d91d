#include "platform/CaptureAdapters.h"
#include "platform/linux/atspi/AtspiAccessibilityGrant.h"
#include "platform/linux/atspi/AtspiSelectionReader.h"
#include "platform/linux/atspi/AtspiWordReader.h"
#include "platform/linux/capture/X11FrontmostApplication.h"
#include "platform/linux/capture/X11WindowAtPoint.h"
#include "platform/linux/capture/XInputPointerEvents.h"
#include "platform/linux/capture/XTestKeySynthesizer.h"
#include "platform/linux/capture/XcbClipboardSnapshots.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbHotKeys.h"
#include "platform/linux/capture/XcbPointerSampler.h"
#include "platform/linux/capture/XcbPrimarySelection.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"
#include "platform/linux/screen/TesseractScreenText.h"
#include "platform/linux/screen/XcbScreenGrabber.h"
#include "platform/linux/session/LinuxPowerAssertions.h"
#include "platform/linux/session/LinuxSystemActivity.h"

#include <QGuiApplication>
#include <QStyleHints>

namespace {

// What the X adapters share: one connection of their own, and the selection transfers on it.
struct X11Shared {
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection};
    X11WindowAtPoint windowAtPoint{connection};
};

} // namespace

CaptureAdapters makeCaptureAdapters() {
    auto shared = std::make_shared<X11Shared>();
    X11Shared& x11 = *shared;
    CaptureAdapters adapters;
    adapters.shared = shared;
    const QStyleHints* hints = QGuiApplication::styleHints();
    // The program never clicks for the user, so synthetic clicks are someone's hand: xdotool,
    // or a dwell-click tool of the desktop's accessibility kit.
    adapters.pointer = std::make_unique<XInputPointerEvents>(
        x11.connection,
        XInputPointerEvents::Options{.doubleClickIntervalMs = hints->mouseDoubleClickInterval(),
                                     .doubleClickDistance = hints->mouseDoubleClickDistance(),
                                     .ignoreSyntheticDevices = false});
    adapters.hotKeys = std::make_unique<XcbHotKeys>(x11.connection);
    auto frontmost = std::make_unique<X11FrontmostApplication>(x11.connection);
    X11FrontmostApplication* front = frontmost.get();
    adapters.frontmost = std::move(frontmost);
    adapters.keys = std::make_unique<XTestKeySynthesizer>(x11.connection);
    adapters.primary = std::make_unique<XcbPrimarySelection>(x11.transfer);
    adapters.snapshots = std::make_unique<XcbClipboardSnapshots>(x11.transfer);
    adapters.accessible = std::make_unique<AtspiSelectionReader>([front] {
        const auto app = front->current();
        return app ? app->pid : qint64(0);
    });
    adapters.permissions = std::make_unique<AtspiAccessibilityGrant>();
    adapters.pointerSampler = std::make_unique<XcbPointerSampler>(x11.connection);
    // What the adapters share outlives them.
    adapters.words = std::make_unique<AtspiWordReader>(
        [windows = &x11.windowAtPoint](QPointF point) { return windows->processAt(point); });
    adapters.screenText = std::make_unique<TesseractScreenText>(XcbScreenGrabber::factory());
    adapters.activity = std::make_unique<LinuxSystemActivity>();
    adapters.powerAssertions = std::make_unique<LinuxPowerAssertions>(x11.connection);
    return adapters;
}
