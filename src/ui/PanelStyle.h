#pragma once

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QWidget;

// The panel's colours, type and metrics in one place, so every view agrees on them.
class PanelStyle {
public:
    // Chinese first: Latin letters from a CJK face match its Han glyphs in weight and height.
    static QFont textFont(int pixelSize, QFont::Weight weight = QFont::Normal);
    // Latin first, for headwords and phonetics: CJK faces lack most IPA letters, and mixing
    // faces inside one transcription looks broken.
    static QFont latinFont(int pixelSize, QFont::Weight weight = QFont::Normal);

    static QColor background() { return QColor(18, 18, 20, 244); }
    static QColor hairline() { return QColor(255, 255, 255, 22); }
    static QColor primaryText() { return QColor(245, 245, 247); }
    static QColor secondaryText() { return QColor(174, 174, 182); }
    static QColor tertiaryText() { return QColor(118, 118, 126); }
    static QColor accent() { return QColor(100, 178, 255); }
    static QColor star() { return QColor(255, 204, 77); }
    static QColor warning() { return QColor(255, 159, 10); }

    // "#rrggbb" or "rgba(…)" for style sheets and rich text.
    static QString css(const QColor& color);
    // Buttons, tabs, scroll bars and the progress bar of the whole panel.
    static QString styleSheet();

    enum class Tone { primary, secondary, tertiary };
    // A plain-text label in the panel's type and one of its three text colours.
    static QLabel* label(const QFont& font, Tone tone, QWidget* parent);

    static constexpr int collapsedWidth = 176;
    static constexpr int collapsedHeight = 26;
    // The concave curve joining the screen edge to the panel's sides.
    static constexpr int shoulder = 14;
    static constexpr int cornerRadius = 20;
    static constexpr int horizontalPadding = 18;
    static constexpr int topPadding = 12;
    static constexpr int bottomPadding = 14;
    // Window widths per layout: results read best at about 20 Chinese characters a line.
    static constexpr int resultWidth = 440;
    static constexpr int languagePackWidth = 400;
    static constexpr int compactWidth = 340;
    static constexpr int loadingWidth = 300;
    static constexpr int maxHeight = 500;
    // What an opening panel shows from its first frame: the top padding and a headline.
    static constexpr int firstRevealHeight = 60;
};
