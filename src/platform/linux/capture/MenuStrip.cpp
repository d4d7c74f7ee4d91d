#include "platform/linux/capture/MenuStrip.h"

#include <algorithm>

bool MenuStrip::contains(QPointF point) const {
    if (!workArea || point.y() < 0 || point.y() >= workArea->top())
        return false;
    if (struts.isEmpty())
        return true;
    return std::any_of(struts.begin(), struts.end(), [point](const TopStrut& strut) {
        return point.y() < strut.height && point.x() >= strut.startX && point.x() <= strut.endX;
    });
}
