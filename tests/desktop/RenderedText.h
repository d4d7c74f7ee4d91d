#pragma once

#include "platform/ScreenText.h"
#include "platform/linux/screen/ScreenGrab.h"

#include <QColor>
#include <QImage>
#include <QList>
#include <QRectF>
#include <QString>
#include <QStringList>

// Pages of English prose drawn by Qt, with where each word went: the screens that the
// recognition tests and benchmarks read.
namespace RenderedText {

struct Style {
    QString family;
    int pixelSize;
    QColor ground;
    QColor ink;
};

struct Word {
    QString text; // as drawn, with its punctuation
    QRectF box;   // its advance, ascent to descent
    int line;
};

struct Page {
    QImage image;
    QList<Word> words;
    QStringList lines;
};

// A few paragraphs of ordinary prose.
const QStringList& paragraphs();

// `text` wrapped into `size` with a 20-pixel margin, anti-aliased.
Page render(const Style& style, const QString& text, QSize size = {900, 400});

// A screen showing `image` at the origin: areas are clipped to it, and one off it fails.
ScreenGrabFactory screenShowing(const QImage& image);

// The word without the punctuation around it.
QString bare(const QString& word);

// What was read back: the word whose box holds the point (a pixel or two of slack around the
// ink), and each line's words joined by single spaces.
QString wordAt(const ScreenText::Outcome& outcome, QPointF point);
QStringList linesOf(const ScreenText::Recognition& recognition);

} // namespace RenderedText
