#include "ui/Icons.h"

#include <QCoreApplication>
#include <QHash>
#include <QPainter>
#include <QPixmap>
#include <QPointer>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace {

QPixmap render(QSvgRenderer& renderer, int size, qreal scale, qreal opacity) {
    QPixmap pixmap(QSize(size, size) * scale);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(opacity);
    renderer.render(&painter);
    painter.end();
    pixmap.setDevicePixelRatio(scale);
    return pixmap;
}

QIcon build(const QString& name, std::initializer_list<int> sizes, qreal opacity = 1.0) {
    QSvgRenderer renderer(u":/icons/%1.svg"_s.arg(name));
    QIcon icon;
    if (!renderer.isValid())
        return icon;
    // Both scales, so the glyphs stay sharp on high-density screens.
    for (int size : sizes) {
        icon.addPixmap(render(renderer, size, 1.0, opacity));
        icon.addPixmap(render(renderer, size, 2.0, opacity));
    }
    return icon;
}

// Panel glyphs are set again on every answer. A fresh QIcon each time would be a fresh key
// in Qt's pixmap cache, which then fills towards its 10 MB limit; one icon per glyph is
// reused instead. The application owns the holder, so no pixmap outlives it.
class PanelIconHolder : public QObject {
public:
    using QObject::QObject;
    QHash<QString, QIcon> icons;
};

} // namespace

// The mark is wanted once per window; built on each call.
QIcon Icons::app() {
    return build(u"quillet"_s, {16, 22, 24, 32, 48, 64, 128, 256});
}

QIcon Icons::appPaused() {
    return build(u"quillet"_s, {16, 22, 24, 32, 48, 64}, 0.4);
}

QIcon Icons::panel(const QString& name) {
    static QPointer<PanelIconHolder> holder;
    if (!holder)
        holder = new PanelIconHolder(QCoreApplication::instance());
    auto found = holder->icons.constFind(name);
    if (found == holder->icons.cend())
        found = holder->icons.insert(name, build(name, {20}));
    return *found;
}
