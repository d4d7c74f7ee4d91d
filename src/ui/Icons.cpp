#include "ui/Icons.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace {

QPixmap render(QSvgRenderer& renderer, int size, qreal scale) {
    QPixmap pixmap(QSize(size, size) * scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

QIcon build(const QString& name, std::initializer_list<int> sizes) {
    QSvgRenderer renderer(u":/icons/%1.svg"_s.arg(name));
    QIcon icon;
    if (!renderer.isValid())
        return icon;
    // Both scales, so the glyphs stay sharp on high-density screens.
    for (int size : sizes) {
        icon.addPixmap(render(renderer, size, 1.0));
        icon.addPixmap(render(renderer, size, 2.0));
    }
    return icon;
}

} // namespace

// Built on each call and never kept in a static: pixmaps must not outlive the application
// object.
QIcon Icons::app() {
    return build(u"quillet"_s, {16, 22, 24, 32, 48, 64, 128, 256});
}

QIcon Icons::panel(const QString& name) {
    return build(name, {20});
}
