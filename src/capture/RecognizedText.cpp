#include "capture/RecognizedText.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

constexpr double slack = 2.0;

bool cutByEdge(const QRectF& box, const QRect& area) {
    const QRectF inside = QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5);
    return box.left() < inside.left() || box.top() < inside.top() || box.right() > inside.right() ||
           box.bottom() > inside.bottom();
}

bool isWordCharacter(QChar c) {
    return c.isLetterOrNumber();
}

} // namespace

namespace RecognizedText {

QString bareWord(QStringView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && !isWordCharacter(text[begin]))
        ++begin;
    while (end > begin && !isWordCharacter(text[end - 1]))
        --end;
    QString word = text.mid(begin, end - begin).toString();
    word.replace(u'’', u'\'');
    for (QChar c : word)
        if (c.isLetter())
            return word;
    return {};
}

std::optional<QString> wordAt(const ScreenText::Recognition& recognition, QPointF point) {
    const ScreenText::Word* best = nullptr;
    double bestDistance = 0;
    for (const ScreenText::Word& word : recognition.words) {
        if (word.confidence < wordConfidenceFloor || cutByEdge(word.box, recognition.area))
            continue;
        const QRectF reach = word.box.adjusted(-slack, -slack, slack, slack);
        if (!reach.contains(point))
            continue;
        // Two boxes within reach (a point between two words): the nearer centre wins.
        const QPointF offset = word.box.center() - point;
        const double distance = offset.x() * offset.x() + offset.y() * offset.y();
        if (!best || distance < bestDistance) {
            best = &word;
            bestDistance = distance;
        }
    }
    if (!best)
        return std::nullopt;
    QString word = bareWord(best->text);
    if (word.isEmpty())
        return std::nullopt;
    return word;
}

QString regionText(const ScreenText::Recognition& recognition) {
    QStringList lines;
    int currentLine = -1;
    for (const ScreenText::Word& word : recognition.words) {
        if (word.confidence < regionConfidenceFloor || word.text.trimmed().isEmpty())
            continue;
        if (word.line != currentLine || lines.isEmpty()) {
            lines.append(word.text.trimmed());
            currentLine = word.line;
        } else {
            lines.last() += u' ' + word.text.trimmed();
        }
    }
    QString text;
    for (const QString& line : std::as_const(lines)) {
        if (text.isEmpty()) {
            text = line;
        } else if (text.endsWith(u'-') && text.size() > 1 && text[text.size() - 2].isLetter() &&
                   line.front().isLower()) {
            text.chop(1);
            text += line;
        } else {
            text += u' ' + line;
        }
    }
    return text;
}

} // namespace RecognizedText
