#pragma once

#include <QList>
#include <QPointF>
#include <QRect>
#include <optional>

// The strip above the desktop's work area: top panels and menu bars. The window manager
// publishes one work area for the whole desktop, which on several monitors takes a panel on
// one of them off the top of all; the panels' own top struts say which columns they really
// cover, so where they are known they narrow the strip to those columns.
struct MenuStrip {
    struct TopStrut {
        int height = 0; // from the top of the desktop
        int startX = 0;
        int endX = 0; // inclusive
    };

    std::optional<QRect> workArea; // none published: nothing is the menu bar
    QList<TopStrut> struts;

    bool contains(QPointF point) const;
};
