#pragma once

#include "core/RegionPicker.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <chrono>

class QScreen;
class RegionOverlayWindow;

// Lets the user draw a box over any screen: one overlay window per screen, above everything,
// taking the keyboard so Esc works although the program never has the focus.
//
// pick() while a box is being drawn answers nothing at once and leaves the open overlay to
// the first caller. A screen that goes away while the overlay is open cancels it.
class RegionOverlay : public QObject, public RegionPicker {
    Q_OBJECT
public:
    // `repaintAllowance`: how long after the overlay is gone pick() still waits, so the
    // windows it covered have painted themselves again before the box is captured.
    explicit RegionOverlay(
        std::chrono::milliseconds repaintAllowance = std::chrono::milliseconds(50),
        QObject* parent = nullptr);
    ~RegionOverlay() override;

    QCoro::Task<std::optional<QRect>> pick() override;

    // Whether a pick is under way, from its start until it has returned.
    bool isPicking() const { return m_picking; }
    // The overlay's windows while they are open, one per screen; for tests.
    QList<RegionOverlayWindow*> windows() const;

Q_SIGNALS:
    // The windows are hidden; pick() returns once the window system has removed them.
    void closed();

private:
    bool open();
    void close(std::optional<QRect> box);
    void grabKeyboard(int attemptsLeft);
    void screenRemoved(QScreen* screen);

    std::chrono::milliseconds m_repaintAllowance;
    QList<QPointer<RegionOverlayWindow>> m_windows;
    QList<QPointer<QScreen>> m_screens;
    std::optional<QRect> m_result;
    bool m_picking = false;
};
