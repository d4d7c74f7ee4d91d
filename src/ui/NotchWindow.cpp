#include "ui/NotchWindow.h"

#include "platform/WindowRequests.h"
#include "ui/PanelStyle.h"

#include <QCoreApplication>
#include <QCursor>
#include <QEnterEvent>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QPainter>
#include <QRegion>
#include <QScreen>
#include <QWindow>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The offscreen platform (previews, headless tests) has neither masks nor stacking, and
// warns on every attempt.
bool hasRealWindowing() {
    return QGuiApplication::platformName() != u"offscreen"_s;
}

} // namespace

NotchWindow::NotchWindow(QWidget* content) : m_content(content) {
    setObjectName(u"QuilletPanel"_s);
    setWindowTitle(u"Quillet"_s);
    // Bypassing the window manager keeps the notch above full-screen windows and out of
    // focus handling altogether; the other hints cover desktops that honour it anyway.
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus | Qt::BypassWindowManagerHint |
                   Qt::NoDropShadowWindowHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_X11DoNotAcceptFocus);
    setAttribute(Qt::WA_X11NetWmWindowTypeNotification);
    setAttribute(Qt::WA_MacAlwaysShowToolWindow);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::NoFocus);
    setStyleSheet(PanelStyle::styleSheet());

    m_content->setParent(this);
    m_content->hide();

    m_animation.setEasingCurve(QEasingCurve::OutCubic);
    connect(&m_animation, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { reveal(value.toSize()); });
    connect(&m_animation, &QVariantAnimation::finished, this, [this] {
        m_visible = m_target;
        place(m_target);
        settle();
    });

    m_target = m_visible = {PanelStyle::collapsedWidth, PanelStyle::collapsedHeight};
    place(m_target);
}

QSize NotchWindow::windowSizeFor(QSize contentSize) {
    const int sides = 2 * (PanelStyle::shoulder + PanelStyle::horizontalPadding);
    return {contentSize.width() + sides,
            contentSize.height() + PanelStyle::topPadding + PanelStyle::bottomPadding};
}

void NotchWindow::expandTo(QSize contentSize, int durationMs) {
    const QSize target = windowSizeFor(contentSize);
    if (m_expanded && target == m_target) {
        // Same size (more tabs, another one picked): a drop under way goes on as it was.
        m_content->resize(contentSize);
        return;
    }
    if (!m_expanded)
        m_screen = targetScreen();
    m_expanded = true;
    m_contentLeft = leftEdgeFor(target.width()) + (target.width() - contentSize.width()) / 2;
    m_content->resize(contentSize);
    m_content->show();
    if (!isVisible())
        show();
    if (hasRealWindowing())
        raise();
    // Full width at once, so every line that shows is whole; growing, at least the first line.
    const int firstHeight = std::min(target.height(), PanelStyle::firstRevealHeight);
    animateTo({target.width(), std::max(m_visible.height(), firstHeight)}, target, durationMs);
    // Laid out and painted now, ahead of whatever else this turn of the event loop holds, so
    // the first frame on screen is the content's and later frames only reveal more of it.
    if (isVisible() && hasRealWindowing()) {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        repaint();
        WindowRequests::send();
    }
}

void NotchWindow::collapse(int durationMs) {
    m_expanded = false;
    // Shrinking is quicker than growing: the user is done with the content.
    animateTo(m_visible, {PanelStyle::collapsedWidth, PanelStyle::collapsedHeight},
              durationMs * 2 / 3);
}

void NotchWindow::animateTo(QSize from, QSize to, int durationMs) {
    m_animation.stop();
    m_target = to;
    if (durationMs <= 0 || !isVisible() || from == to) {
        m_visible = to;
        place(to);
        settle();
        return;
    }
    // Large enough for every frame; the content is laid out and painted once, at its place.
    m_visible = from;
    place(from.expandedTo(to));
    m_animation.setDuration(durationMs);
    m_animation.setStartValue(from);
    m_animation.setEndValue(to);
    m_animation.start();
}

void NotchWindow::settle() {
    if (m_expanded)
        return;
    m_content->hide();
    if (!restsVisible())
        hide();
    else if (m_marked)
        update(); // the pill now shows the mark
}

void NotchWindow::setShowsWhenCollapsed(bool shows) {
    m_showsWhenCollapsed = shows;
    if (m_expanded || isMoving())
        return;
    if (restsVisible())
        show();
    else
        hide();
}

void NotchWindow::setMarked(bool marked) {
    if (m_marked == marked)
        return;
    m_marked = marked;
    if (m_expanded || isMoving())
        return; // settle() brings the pill in line
    if (marked && !isVisible()) {
        show();
        if (hasRealWindowing())
            raise();
    } else if (!restsVisible()) {
        hide();
    }
    update();
}

bool NotchWindow::restsVisible() const {
    return m_showsWhenCollapsed || m_marked;
}

bool NotchWindow::showsMark() const {
    return m_marked && isVisible() && !m_expanded && !isMoving();
}

void NotchWindow::place(QSize size) {
    QScreen* screen = m_screen ? m_screen.data() : targetScreen();
    const int top = screen ? screen->geometry().y() : 0;
    const QRect geometry(leftEdgeFor(size.width()), top, size.width(), size.height());
    m_content->move(m_contentLeft - geometry.x(), PanelStyle::topPadding);
    if (this->geometry() != geometry)
        setGeometry(geometry);
    reveal(m_visible);
}

void NotchWindow::reveal(QSize visible) {
    m_visible = visible;
    if (!hasRealWindowing() || !windowHandle())
        return;
    // Without a compositor the transparent corners would show black; the shape also lets
    // clicks beside the shoulders through to the window underneath. The window's own shape,
    // not the widget's mask: a mask that grows makes Qt repaint what it uncovers, where the
    // X server only needs the pixels Qt already has.
    QRegion shape(outline(visible).toFillPolygon().toPolygon());
    shape.translate(leftEdgeFor(visible.width()) - x(), 0);
    if (shape == m_shape)
        return;
    m_shape = shape;
    windowHandle()->setMask(shape);
    // While the window is only reshaped, nothing else would send the request before the
    // next paint or incoming event.
    if (m_animation.state() == QAbstractAnimation::Running)
        WindowRequests::send();
}

int NotchWindow::leftEdgeFor(int width) const {
    QScreen* screen = m_screen ? m_screen.data() : targetScreen();
    const QRect area = screen ? screen->geometry() : QRect(0, 0, width, 0);
    return area.x() + (area.width() - width) / 2;
}

QScreen* NotchWindow::targetScreen() const {
    if (QScreen* underPointer = QGuiApplication::screenAt(QCursor::pos()))
        return underPointer;
    return QGuiApplication::primaryScreen();
}

QPainterPath NotchWindow::outline(QSizeF size) {
    const qreal w = size.width();
    const qreal h = size.height();
    const qreal s = std::min<qreal>(PanelStyle::shoulder, h * 0.3);
    const qreal r = std::clamp<qreal>(h * 0.45, 6.0, PanelStyle::cornerRadius);

    QPainterPath path;
    path.moveTo(0, 0);
    path.lineTo(w, 0);
    path.arcTo(QRectF(w - s, 0, 2 * s, 2 * s), 90, 90);
    path.lineTo(w - s, h - r);
    path.arcTo(QRectF(w - s - 2 * r, h - 2 * r, 2 * r, 2 * r), 0, -90);
    path.lineTo(s + r, h);
    path.arcTo(QRectF(s, h - 2 * r, 2 * r, 2 * r), 270, -90);
    path.lineTo(s, s);
    path.arcTo(QRectF(-s, 0, 2 * s, 2 * s), 0, 90);
    path.closeSubpath();
    return path;
}

void NotchWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPainterPath path = outline(size());
    painter.fillPath(path, PanelStyle::background());
    // A faint rim separates the notch from dark pages; none along the screen edge.
    painter.setClipRect(rect().adjusted(0, 2, 0, 0));
    painter.setPen(QPen(PanelStyle::hairline(), 1.0));
    painter.drawPath(outline(QSizeF(size()) - QSizeF(0, 0.5)));
    painter.setClipping(false);
    if (showsMark())
        paintMark(painter);
}

// A small dot and "取词" in the pill's middle: seen at a glance, never in the way.
void NotchWindow::paintMark(QPainter& painter) const {
    const QString text = u"取词"_s;
    const QFont font = PanelStyle::textFont(11, QFont::Medium);
    const int dot = 6;
    const int gap = 5;
    const int textWidth = QFontMetrics(font).horizontalAdvance(text);
    const int left = (width() - (dot + gap + textWidth)) / 2;
    const int middle = std::min(height(), PanelStyle::collapsedHeight) / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(PanelStyle::accent());
    painter.drawEllipse(QRectF(left, middle - dot / 2.0, dot, dot));
    painter.setFont(font);
    painter.setPen(PanelStyle::secondaryText());
    painter.drawText(QRect(left + dot + gap, 0, textWidth + 2, 2 * middle),
                     Qt::AlignVCenter | Qt::AlignLeft, text);
}

void NotchWindow::resizeEvent(QResizeEvent* event) {
    reveal(m_visible);
    QWidget::resizeEvent(event);
}

// The native window may be new: shaped before it is first seen.
void NotchWindow::showEvent(QShowEvent* event) {
    m_shape = QRegion();
    reveal(m_visible);
    QWidget::showEvent(event);
}

void NotchWindow::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    Q_EMIT pointerEntered();
}

void NotchWindow::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    Q_EMIT pointerLeft();
}
