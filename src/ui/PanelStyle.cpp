#include "ui/PanelStyle.h"

#include <QLabel>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

const QStringList& cjkFamilies() {
    static const QStringList families{u"Noto Sans CJK SC"_s,    u"Source Han Sans SC"_s,
                                      u"PingFang SC"_s,         u"Microsoft YaHei"_s,
                                      u"WenQuanYi Micro Hei"_s, u"Droid Sans Fallback"_s};
    return families;
}

const QStringList& latinFamilies() {
    static const QStringList families{u"Inter"_s,    u"Noto Sans"_s,   u"Helvetica Neue"_s,
                                      u"Segoe UI"_s, u"DejaVu Sans"_s, u"Cantarell"_s};
    return families;
}

QFont makeFont(const QStringList& families, int pixelSize, QFont::Weight weight) {
    QFont font;
    font.setFamilies(families);
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    return font;
}

} // namespace

QFont PanelStyle::textFont(int pixelSize, QFont::Weight weight) {
    return makeFont(cjkFamilies() + latinFamilies(), pixelSize, weight);
}

QFont PanelStyle::latinFont(int pixelSize, QFont::Weight weight) {
    return makeFont(latinFamilies() + cjkFamilies(), pixelSize, weight);
}

QString PanelStyle::css(const QColor& color) {
    if (color.alpha() == 255)
        return color.name(QColor::HexRgb);
    return u"rgba(%1,%2,%3,%4)"_s.arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

QString PanelStyle::styleSheet() {
    // Colours only: fonts are set on the widgets, so sizes can be measured before the
    // panel is first shown.
    return uR"(
QLabel { color: %1; background: transparent; }
QLabel[tone="secondary"] { color: %2; }
QLabel[tone="tertiary"] { color: %4; }
QLabel[role="chip"] { color: %3; background: rgba(100,178,255,36); border-radius: 5px; padding: 1px 6px; margin-top: 2px; }
QLabel[role="label"] { color: %2; background: rgba(255,255,255,20); border-radius: 5px; padding: 1px 6px; margin-top: 2px; }
QToolButton[role="action"] { border: none; border-radius: 7px; padding: 4px; background: transparent; }
QToolButton[role="action"]:hover { background: rgba(255,255,255,24); }
QToolButton[role="action"]:pressed { background: rgba(255,255,255,40); }
QPushButton[role="tab"] { color: %2; border: none; border-radius: 11px; padding: 3px 10px; background: transparent; }
QPushButton[role="tab"]:hover { color: %1; background: rgba(255,255,255,16); }
QPushButton[role="tab"]:checked { color: %1; background: rgba(255,255,255,34); }
QPushButton[role="primary"] { color: #0b1a2a; border: none; border-radius: 8px; padding: 5px 18px; background: %3; }
QPushButton[role="primary"]:hover { background: #86c4ff; }
QPushButton[role="secondary"] { color: %1; border: none; border-radius: 8px; padding: 5px 14px; background: rgba(255,255,255,26); }
QPushButton[role="secondary"]:hover { background: rgba(255,255,255,40); }
QPushButton[role="link"] { color: %3; border: none; padding: 1px 0; background: transparent; }
QPushButton[role="link"]:hover { color: #86c4ff; text-decoration: underline; }
QScrollArea, QScrollArea > QWidget > QWidget { background: transparent; border: none; }
QScrollBar:vertical { background: transparent; width: 6px; margin: 2px 0; }
QScrollBar::handle:vertical { background: rgba(255,255,255,60); border-radius: 3px; min-height: 24px; }
QScrollBar::add-line, QScrollBar::sub-line, QScrollBar::add-page, QScrollBar::sub-page { background: none; height: 0; }
QProgressBar { border: none; border-radius: 3px; background: rgba(255,255,255,28); max-height: 6px; }
QProgressBar::chunk { border-radius: 3px; background: %3; }
)"_s.arg(css(primaryText()), css(secondaryText()), css(accent()), css(tertiaryText()));
}

QLabel* PanelStyle::label(const QFont& font, Tone tone, QWidget* parent) {
    auto* label = new QLabel(parent);
    label->setFont(font);
    label->setTextFormat(Qt::PlainText);
    if (tone == Tone::secondary)
        label->setProperty("tone", u"secondary"_s);
    else if (tone == Tone::tertiary)
        label->setProperty("tone", u"tertiary"_s);
    return label;
}
