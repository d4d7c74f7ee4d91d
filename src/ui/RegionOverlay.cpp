#include "ui/RegionOverlay.h"

#include "platform/WindowRequests.h"
#include "ui/RegionOverlayWindow.h"

#include <QCoroSignal>
#include <QCoroTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <QWindow>

namespace {

// Another program may hold the keyboard for a moment (a menu closing); try a little longer.
constexpr int grabAttempts = 20;
constexpr std::chrono::milliseconds grabRetry(25);

} // namespace

RegionOverlay::RegionOverlay(std::chrono::milliseconds repaintAllowance, QObject* parent)
    : QObject(parent), m_repaintAllowance(repaintAllowance) {
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &RegionOverlay::screenRemoved);
}

RegionOverlay::~RegionOverlay() {
    // A pick still open never returns: its caller goes with the program.
    for (const QPointer<RegionOverlayWindow>& window : m_windows)
        delete window.data();
}

QList<RegionOverlayWindow*> RegionOverlay::windows() const {
    QList<RegionOverlayWindow*> open;
    for (const QPointer<RegionOverlayWindow>& window : m_windows)
        if (window)
            open.append(window.data());
    return open;
}

QCoro::Task<std::optional<QRect>> RegionOverlay::pick() {
    if (m_picking)
        co_return std::nullopt;
    m_picking = true;
    if (!open()) {
        m_picking = false;
        co_return std::nullopt;
    }
    QPointer<RegionOverlay> self(this);
    // Named awaiters: GCC 12 destroys temporaries in a co_await expression twice.
    auto closing = qCoro(this, &RegionOverlay::closed);
    co_await closing;
    const std::optional<QRect> box = std::exchange(m_result, std::nullopt);
    // The windows are hidden: once the server has unmapped them, the windows beneath get
    // their exposures and repaint; a capture before that would see the overlay's pixels.
    WindowRequests::sync();
    QTimer repaints;
    repaints.setSingleShot(true);
    repaints.start(m_repaintAllowance);
    co_await repaints;
    if (self)
        m_picking = false;
    co_return box;
}

bool RegionOverlay::open() {
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (screens.isEmpty())
        return false;
    m_result.reset();
    for (QScreen* screen : screens) {
        // What the screen shows now, as the backdrop: an uncomposited desktop cannot show a
        // translucent window, and the user draws over a still picture.
        auto* window = new RegionOverlayWindow(screen->geometry(), screen->grabWindow(0));
        window->setScreen(screen);
        connect(window, &RegionOverlayWindow::drawn, this, [this](QRect box) { close(box); });
        connect(window, &RegionOverlayWindow::cancelled, this, [this] { close(std::nullopt); });
        m_windows.append(window);
        m_screens.append(screen);
        window->show();
        window->raise();
    }
    grabKeyboard(grabAttempts);
    return true;
}

// The windows are never focused (that would take the focus from the program the user reads
// in); a grab sends the keys here instead, and Qt hands them to the grabbing widget.
void RegionOverlay::grabKeyboard(int attemptsLeft) {
    const QList<RegionOverlayWindow*> open = windows();
    if (open.isEmpty() || !m_picking)
        return;
    RegionOverlayWindow* window = open.first();
    window->grabKeyboard();
    QWindow* handle = window->windowHandle();
    const bool grabbed = handle && handle->setKeyboardGrabEnabled(true);
    if (!grabbed && attemptsLeft > 1)
        QTimer::singleShot(grabRetry, this,
                           [this, attemptsLeft] { grabKeyboard(attemptsLeft - 1); });
}

void RegionOverlay::close(std::optional<QRect> box) {
    if (m_windows.isEmpty())
        return; // a second signal from the same gesture
    m_result = box;
    for (const QPointer<RegionOverlayWindow>& window : m_windows) {
        if (!window)
            continue;
        window->releaseKeyboard();
        window->hide();
        window->deleteLater(); // closing may come from inside its own event handler
    }
    m_windows.clear();
    m_screens.clear();
    Q_EMIT closed();
}

void RegionOverlay::screenRemoved(QScreen* screen) {
    if (m_screens.contains(screen))
        close(std::nullopt);
}
