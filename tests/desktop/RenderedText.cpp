#include "RenderedText.h"

#include <QFontMetricsF>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace RenderedText {

const QStringList& paragraphs() {
    static const QStringList text = {
        u"The river had risen during the night, and by morning the low road along the valley "
        "was under water. Farmers walked their cattle up to the church, where the ground was "
        "higher, and the children watched from the wall as boats drifted past the bakery."_s,
        u"She opened the letter slowly, read the first line twice, and then folded it again "
        "without a word. Her brother asked whether it was from the bank; she only shook her "
        "head and went back to the garden, where the beans needed water."_s,
        u"Nobody in the office could explain why the printer worked perfectly on Mondays and "
        "refused every job on Fridays. The engineer replaced the cable, cleaned the rollers "
        "and finally suggested, with a straight face, that it simply preferred the start of "
        "the week."_s,
        u"Before the bridge was built, travellers crossed the strait on a ferry that left "
        "twice a day, weather permitting. Merchants complained about the delays, but the "
        "ferryman's daughter kept a small market by the pier that sold bread, apples and "
        "warm tea."_s,
    };
    return text;
}

Page render(const Style& style, const QString& text, QSize size) {
    constexpr double margin = 20;
    Page page;
    page.image = QImage(size, QImage::Format_RGB32);
    page.image.fill(style.ground);
    QFont font(style.family);
    font.setPixelSize(style.pixelSize);
    font.setStyleStrategy(QFont::PreferAntialias);
    const QFontMetricsF metrics(font);
    QPainter painter(&page.image);
    painter.setFont(font);
    painter.setPen(style.ink);
    double x = margin;
    double baseline = margin + metrics.ascent();
    int line = 0;
    QStringList current;
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts)) {
        const double advance = metrics.horizontalAdvance(word);
        if (x > margin && x + advance > size.width() - margin) {
            page.lines.append(current.join(u' '));
            current.clear();
            x = margin;
            baseline += metrics.lineSpacing();
            ++line;
        }
        painter.drawText(QPointF(x, baseline), word);
        page.words.append(
            {word,
             QRectF(x, baseline - metrics.ascent(), advance, metrics.ascent() + metrics.descent()),
             line});
        current.append(word);
        x += advance + metrics.horizontalAdvance(u' ');
    }
    page.lines.append(current.join(u' '));
    return page;
}

ScreenGrabFactory screenShowing(const QImage& image) {
    return [image] {
        return ScreenGrab([image](QRect area) -> std::optional<ScreenCapture> {
            const QRect clipped = area.intersected(image.rect());
            if (clipped.isEmpty())
                return std::nullopt;
            return ScreenCapture{clipped, image.copy(clipped)};
        });
    };
}

QString bare(const QString& word) {
    qsizetype first = 0;
    qsizetype last = word.size();
    while (first < last && !word[first].isLetterOrNumber())
        ++first;
    while (last > first && !word[last - 1].isLetterOrNumber())
        --last;
    return word.mid(first, last - first);
}

QString wordAt(const ScreenText::Outcome& outcome, QPointF point) {
    const auto* recognition = std::get_if<ScreenText::Recognition>(&outcome);
    QString found;
    double nearest = 1e9;
    for (const ScreenText::Word& word :
         recognition ? recognition->words : QList<ScreenText::Word>()) {
        const QRectF box = word.box.adjusted(-2, -2, 2, 2);
        const double distance = (box.center() - point).manhattanLength();
        if (box.contains(point) && distance < nearest) {
            nearest = distance;
            found = word.text;
        }
    }
    return found;
}

QStringList linesOf(const ScreenText::Recognition& recognition) {
    QStringList lines;
    for (const ScreenText::Word& word : recognition.words) {
        if (lines.size() <= word.line)
            lines.resize(word.line + 1);
        lines[word.line] += (lines[word.line].isEmpty() ? u""_s : u" "_s) + word.text;
    }
    return lines;
}

} // namespace RenderedText
