#include "ui/NotchWindow.h"

#include "ui/PanelStyle.h"

#include <QCursor>
#include <QEnterEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QRegion>
#include <QScreen>
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
            [this](const QVariant& value) { applySize(value.toSize()); });
    connect(&m_animation, &QVariantAnimation::finished, this, [this] {
        if (!m_expanded)
            m_content->hide();
    });

    applySize({PanelStyle::collapsedWidth, PanelStyle::collapsedHeight});
}

QSize NotchWindow::windowSizeFor(QSize contentSize) {
    const int sides = 2 * (PanelStyle::shoulder + PanelStyle::horizontalPadding);
    return {contentSize.width() + sides,
            contentSize.height() + PanelStyle::topPadding + PanelStyle::bottomPadding};
}

void NotchWindow::expandTo(QSize contentSize, int durationMs) {
    if (!m_expanded)
        m_screen = targetScreen();
    m_expanded = true;
    m_content->resize(contentSize);
    m_content->show();
    if (!isVisible())
        show();
    if (hasRealWindowing())
        raise();
    animateTo(windowSizeFor(contentSize), durationMs);
}

void NotchWindow::collapse(int durationMs) {
    m_expanded = false;
    // Shrinking is quicker than growing: the user is done with the content.
    animateTo({PanelStyle::collapsedWidth, PanelStyle::collapsedHeight}, durationMs * 2 / 3);
}

void NotchWindow::animateTo(QSize size, int durationMs) {
    m_animation.stop();
    if (durationMs <= 0 || !isVisible()) {
        applySize(size);
        if (!m_expanded)
            m_content->hide();
        return;
    }
    m_animation.setDuration(durationMs);
    m_animation.setStartValue(this->size());
    m_animation.setEndValue(size);
    m_animation.start();
}

void NotchWindow::applySize(QSize size) {
    QScreen* screen = m_screen ? m_screen.data() : targetScreen();
    const QRect area = screen ? screen->geometry() : QRect(0, 0, size.width(), size.height());
    setGeometry(area.x() + (area.width() - size.width()) / 2, area.y(), size.width(),
                size.height());
    // Centred while the window grows or shrinks, so it is revealed and cut evenly.
    m_content->move((size.width() - m_content->width()) / 2, PanelStyle::topPadding);
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
}

void NotchWindow::resizeEvent(QResizeEvent* event) {
    // Without a compositor the transparent corners would show black; the mask also lets
    // clicks beside the shoulders through to the window underneath.
    if (hasRealWindowing())
        setMask(QRegion(outline(size()).toFillPolygon().toPolygon()));
    QWidget::resizeEvent(event);
}

void NotchWindow::enterEvent(QEnterEvent* event) {
    QWidget::enterEvent(event);
    Q_EMIT pointerEntered();
}

void NotchWindow::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    Q_EMIT pointerLeft();
}
