#pragma once

#include "platform/ScreenText.h"

#include <QPointF>
#include <QString>
#include <optional>

// What recognised words mean to hover and box lookup: the word a point rests on, the text of
// a drawn box. Pure functions over a recognition.
namespace RecognizedText {

// Words recognised with less confidence than this are taken for noise.
inline constexpr double wordConfidenceFloor = 50;
inline constexpr double regionConfidenceFloor = 30;

// The word whose box holds `point` (a couple of pixels of slack, for a pointer resting on a
// glyph's edge). Boxes cut by the edge of the area read are dropped: their word is only part
// of the word on the screen.
std::optional<QString> wordAt(const ScreenText::Recognition& recognition, QPointF point);

// The lines of a box, in reading order, as one text: words joined by spaces, a word broken by
// a hyphen at the end of a line joined again.
QString regionText(const ScreenText::Recognition& recognition);

// A word as a reader means it: without the punctuation around it, keeping inner apostrophes
// and hyphens ("don't", "well-known"). Empty when no letter remains.
QString bareWord(QStringView text);

} // namespace RecognizedText
