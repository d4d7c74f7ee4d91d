// The notebook's texts: source captions, day titles and the export lines.

#include "base/UnicodeText.h"
#include "notebook/Vocabulary.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

QString Vocabulary::Source::clock(double seconds) {
    // Capped so that the conversion below stays defined for any input.
    const qint64 whole =
        std::isfinite(seconds) && seconds > 0 ? static_cast<qint64>(std::min(seconds, 1e12)) : 0;
    const qint64 secondsPart = whole % 60;
    if (whole < 3600)
        return u"%1:%2"_s.arg(whole / 60).arg(secondsPart, 2, 10, QChar(u'0'));
    return u"%1:%2:%3"_s.arg(whole / 3600)
        .arg(whole / 60 % 60, 2, 10, QChar(u'0'))
        .arg(secondsPart, 2, 10, QChar(u'0'));
}

QString Vocabulary::Source::caption() const {
    QStringList parts;
    if (!title.isEmpty())
        parts.append(title);
    if (episode && !episode->isEmpty())
        parts.append(*episode);
    if (time)
        parts.append(clock(*time));
    return parts.join(u" · "_s);
}

QString Vocabulary::dayTitle(const QDateTime& date, const QDateTime& now) {
    const QDate day = date.toLocalTime().date();
    const QDate today = now.toLocalTime().date();
    if (day == today)
        return u"今天"_s;
    if (day == today.addDays(-1))
        return u"昨天"_s;
    return day.toString(day.year() == today.year() ? u"M 月 d 日"_s : u"yyyy 年 M 月 d 日"_s);
}

QString Vocabulary::exportText(ExportFormat format, ExportScope scope) const {
    QString text;
    for (const Entry& entry : m_entries) {
        if (scope == ExportScope::starred && !entry.starred)
            continue;
        QString back = entry.translation ? *entry.translation
                       : m_deps.gloss    ? m_deps.gloss(entry.text).value_or(QString())
                                         : QString();
        text += entry.kind == Kind::word ? UnicodeText::lowercased(entry.text) : entry.text;
        text += u'\t';
        if (format == ExportFormat::anki) {
            text += back.replace(u"\n"_s, u"<br>"_s);
            if (entry.source)
                text += u"<br><small>"_s + entry.source->caption() + u"</small>"_s;
        } else {
            text += back.replace(u"\n"_s, u"；"_s) + u'\t';
            if (entry.lastDate)
                text += entry.lastDate->toLocalTime().toString(u"yyyy-MM-dd"_s);
            text += u"\t查过 "_s + QString::number(entry.count) + u" 次"_s;
            if (entry.source)
                text += u'\t' + entry.source->caption();
        }
        text += u'\n';
    }
    return text;
}
