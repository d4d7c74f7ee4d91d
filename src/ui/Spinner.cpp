#include "ui/Spinner.h"

#include "ui/PanelStyle.h"

#include <QPainter>

namespace {
constexpr int kSpokes = 12;
}

Spinner::Spinner(QWidget* parent) : QWidget(parent) {
    setFixedSize(sizeHint());
    m_tick.setInterval(1000 / kSpokes);
    connect(&m_tick, &QTimer::timeout, this, [this] {
        m_step = (m_step + 1) % kSpokes;
        update();
    });
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal radius = std::min(width(), height()) / 2.0;
    for (int i = 0; i < kSpokes; ++i) {
        // The spoke at the current step is brightest; the ones behind it fade out.
        const int age = (m_step - i + kSpokes) % kSpokes;
        QColor color = PanelStyle::primaryText();
        color.setAlphaF(1.0 - age * 0.8 / kSpokes);
        painter.setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(i * 360.0 / kSpokes);
        painter.drawLine(QPointF(0, -radius * 0.45), QPointF(0, -radius * 0.9));
        painter.restore();
    }
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_tick.start();
}

void Spinner::hideEvent(QHideEvent* event) {
    m_tick.stop();
    QWidget::hideEvent(event);
}
