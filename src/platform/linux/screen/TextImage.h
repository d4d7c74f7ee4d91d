#pragma once

#include <QImage>
#include <QPoint>

// A capture made ready for recognition: grey, dark text on a light ground, glyphs scaled to
// a height the recogniser reads well, and a blank margin around them.
struct TextImage {
    QImage gray;          // Format_Grayscale8
    QPoint origin;        // the capture pixel at the image's (margin, margin)
    double scale = 1;     // image pixels per capture pixel
    int margin = 0;       // blank pixels added around the scaled crop
    bool oneLine = false; // cut down to the text line through the capture's centre

    // Capture coordinates of an image point.
    QPointF toCapture(QPointF imagePoint) const {
        return QPointF(origin) + (imagePoint - QPointF(margin, margin)) / scale;
    }
};

// `aroundPoint` cuts the capture down to the line of text through its centre (the pointer)
// when there is one; otherwise the whole capture is kept.
TextImage prepareTextImage(const QImage& capture, bool aroundPoint);
