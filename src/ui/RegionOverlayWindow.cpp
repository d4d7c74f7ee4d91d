#include "ui/RegionOverlayWindow.h"

#include "ui/NotchWindow.h"
#include "ui/PanelStyle.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

// Slight: the text around the box stays readable, so the user can still aim.
QColor dimming() {
    return QColor(0, 0, 0, 72);
}

const QString& bannerText() {
    static const QString text = u"拖动鼠标框出要查的英文，按 Esc 取消"_s;
    return text;
}

QString sizeText(QRect box) {
    return u"%1 × %2"_s.arg(box.width()).arg(box.height());
}

QFont sizeFont() {
    return PanelStyle::latinFont(12, QFont::Medium);
}

QFont bannerFont() {
    return PanelStyle::textFont(13);
}

constexpr int labelGap = 6;
constexpr int labelPaddingX = 8;
constexpr int labelHeight = 22;

} // namespace

RegionOverlayWindow::RegionOverlayWindow(QRect area, QPixmap backdrop)
    : m_area(area), m_backdrop(std::move(backdrop)) {
    setObjectName(u"QuilletRegionOverlay"_s);
    setWindowTitle(u"Quillet 框选"_s);
    // Bypassing the window manager puts the overlay over panels and full-screen windows,
    // and keeps it out of task bars and focus handling.
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::X11BypassWindowManagerHint | Qt::NoDropShadowWindowHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    if (m_backdrop.isNull())
        setAttribute(Qt::WA_TranslucentBackground);
    else
        setAttribute(Qt::WA_OpaquePaintEvent); // the backdrop covers every pixel
    setCursor(Qt::CrossCursor);
    setGeometry(area);
}

QRect RegionOverlayWindow::box() const {
    if (!m_from)
        return {};
    const QPoint delta = m_to - *m_from;
    if (std::abs(delta.x()) < minimumDrag && std::abs(delta.y()) < minimumDrag)
        return {};
    return QRect::span(*m_from, m_to).intersected(m_area);
}

void RegionOverlayWindow::showDrag(QPoint from, QPoint to) {
    m_from = from;
    dragTo(to);
}

QPoint RegionOverlayWindow::globalPoint(const QMouseEvent* event) const {
    // The window covers the area exactly; positions past its edges (the pointer left the
    // screen during the drag) stay outside it and are clipped with the box.
    return m_area.topLeft() + event->position().toPoint();
}

void RegionOverlayWindow::dragTo(QPoint to) {
    const QRect before = decorationBounds();
    m_to = to;
    update(before.united(decorationBounds()));
}

void RegionOverlayWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        Q_EMIT cancelled();
        return;
    }
    const QRect bannerBefore = bannerRect();
    m_from = m_to = globalPoint(event);
    update(bannerBefore); // the banner goes once drawing starts
}

void RegionOverlayWindow::mouseMoveEvent(QMouseEvent* event) {
    if (m_from)
        dragTo(globalPoint(event));
}

void RegionOverlayWindow::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_from)
        return;
    m_to = globalPoint(event);
    const QRect drawnBox = box();
    m_from.reset();
    if (drawnBox.isEmpty())
        Q_EMIT cancelled();
    else
        Q_EMIT drawn(drawnBox);
}

void RegionOverlayWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape)
        Q_EMIT cancelled();
}

QRect RegionOverlayWindow::sizeLabelRect(QRect localBox) const {
    const int labelWidth =
        QFontMetrics(sizeFont()).horizontalAdvance(sizeText(localBox)) + 2 * labelPaddingX;
    QRect label(localBox.left(), localBox.bottom() + 1 + labelGap, labelWidth, labelHeight);
    if (label.bottom() > height())
        label.moveBottom(localBox.top() - 1 - labelGap); // above the box
    if (label.top() < 0)
        label.moveTopLeft(localBox.topLeft() + QPoint(labelGap, labelGap)); // inside it
    label.moveLeft(std::clamp(label.left(), 0, std::max(0, width() - label.width())));
    return label;
}

QRect RegionOverlayWindow::decorationBounds() const {
    const QRect local = box().translated(-m_area.topLeft());
    if (local.isEmpty())
        return {};
    return local.adjusted(-2, -2, 2, 2).united(sizeLabelRect(local));
}

QRect RegionOverlayWindow::bannerRect() const {
    if (m_from)
        return {};
    const QSize content(QFontMetrics(bannerFont()).horizontalAdvance(bannerText()), 20);
    const QSize size = NotchWindow::windowSizeFor(content);
    return {(width() - size.width()) / 2, 0, size.width(), size.height()};
}

void RegionOverlayWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QRect whole = rect();
    if (!m_backdrop.isNull())
        painter.drawPixmap(whole, m_backdrop);

    const QRect local = box().translated(-m_area.topLeft());
    QRegion dimmed(whole);
    if (!local.isEmpty())
        dimmed -= QRegion(local);
    painter.setClipRegion(dimmed);
    painter.fillRect(whole, dimming());
    painter.setClipping(false);

    if (!local.isEmpty()) {
        // Just outside the box, so everything inside it is the screen's own pixels.
        painter.setPen(QPen(PanelStyle::accent(), 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(local.adjusted(-1, -1, 0, 0));

        const QRect label = sizeLabelRect(local);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(PanelStyle::background());
        painter.drawRoundedRect(label, labelHeight / 2.0, labelHeight / 2.0);
        painter.setFont(sizeFont());
        painter.setPen(PanelStyle::primaryText());
        painter.drawText(label, Qt::AlignCenter, sizeText(local));
    }

    if (const QRect banner = bannerRect(); !banner.isEmpty()) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.fillPath(NotchWindow::outline(banner.size()).translated(banner.topLeft()),
                         PanelStyle::background());
        painter.setFont(bannerFont());
        painter.setPen(PanelStyle::secondaryText());
        painter.drawText(banner.adjusted(0, PanelStyle::topPadding, 0, -PanelStyle::bottomPadding),
                         Qt::AlignCenter, bannerText());
    }
}
