#pragma once

#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QWidget>
#include <optional>

// One screen's part of the box overlay: a frameless window above everything else on that
// screen, showing the screen as it was when the overlay opened, dimmed, with the box being
// drawn left clear inside a thin outline and its size beside it. The cursor is a cross.
//
// A left-button drag draws the box; releasing it ends the drawing. Esc, the right button or
// a click that moved less than `minimumDrag` pixels cancel.
class RegionOverlayWindow : public QWidget {
    Q_OBJECT
public:
    // Covers `area` (global coordinates) with `backdrop`, what the screen showed. Without a
    // backdrop the dimming is translucent, which only a compositing desktop shows as such.
    RegionOverlayWindow(QRect area, QPixmap backdrop);

    QRect area() const { return m_area; }
    // The box drawn so far, in global coordinates: normalised, within the area, and empty
    // until the pointer has moved far enough to make it a drag.
    QRect box() const;
    // Shows the box a drag from `from` to `to` (global) draws, as if the user were drawing it.
    void showDrag(QPoint from, QPoint to);

    static constexpr int minimumDrag = 4;

Q_SIGNALS:
    void drawn(QRect box);
    void cancelled();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QPoint globalPoint(const QMouseEvent* event) const;
    void dragTo(QPoint to);
    // What painting the box touches, in window coordinates: the outline and the size label.
    QRect decorationBounds() const;
    QRect sizeLabelRect(QRect localBox) const;
    QRect bannerRect() const;

    QRect m_area;
    QPixmap m_backdrop;
    std::optional<QPoint> m_from;
    QPoint m_to;
};
