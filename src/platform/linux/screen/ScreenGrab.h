#pragma once

#include <QImage>
#include <QRect>
#include <functional>
#include <optional>

// Pixels of the screen: what was captured, and where it lies.
struct ScreenCapture {
    QRect area;   // screen coordinates, clipped to the screens
    QImage image; // area.size() pixels
};

// Captures an area of the screen, or nothing when it lies off every screen or the capture
// failed. Called on the recognition thread only; tests hand in rendered images instead.
using ScreenGrab = std::function<std::optional<ScreenCapture>(QRect area)>;
// Makes the grab on the thread that will call it (an X connection belongs to that thread).
using ScreenGrabFactory = std::function<ScreenGrab()>;
