#pragma once

#include <QCoroTask>
#include <QRect>
#include <optional>

// Lets the user draw a box on the screen. The windows provide it; the coordinator awaits it.
class RegionPicker {
public:
    virtual ~RegionPicker() = default;

    // The box drawn, in screen coordinates, or nothing when the user cancelled (Esc, a click
    // without a drag). Returns only once the picker's own windows are off the screen, so the
    // box can be captured at once.
    virtual QCoro::Task<std::optional<QRect>> pick() = 0;
};
