#include "logs/EventLog.h"

#include "base/UnicodeText.h"
#include "logs/DiagnosticLog.h"

#include <QCoreApplication>
#include <QThread>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

constexpr QChar kSegmentStart = QChar(0xE000);
constexpr QChar kCountEnd = QChar(0xE001);
constexpr QChar kSegmentEnd = QChar(0xE002);
constexpr QChar kLineBreakSign = QChar(0x240D); // ␍

bool isMarker(QChar c) {
    return c == kSegmentStart || c == kCountEnd || c == kSegmentEnd;
}

// One line per text: each line break (CR LF counts once) becomes "␍"; stray markers from
// the user's own text become U+FFFD so a segment can never be closed early.
QString flattened(QStringView text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (UnicodeText::isLineBreak(c.unicode())) {
            out += kLineBreakSign;
            if (c == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
                ++i;
        } else {
            out += isMarker(c) ? QChar(QChar::ReplacementCharacter) : c;
        }
    }
    return out;
}

} // namespace

EventLog& EventLog::shared() {
    static EventLog log(&DiagnosticLog::write, qEnvironmentVariable("LF_LOG_STDOUT") == u"1"_s);
    return log;
}

void EventLog::appendToShared(Kind kind, const QString& content) {
    const auto append = [kind, content] {
        shared().append(kind, content);
    };
    QCoreApplication* application = QCoreApplication::instance();
    if (!application || QThread::currentThread() == application->thread())
        append();
    else
        QMetaObject::invokeMethod(application, append, Qt::QueuedConnection);
}

EventLog::EventLog(DiskWriter diskWriter, bool echoesToStdout, QObject* parent)
    : QObject(parent), m_diskWriter(std::move(diskWriter)), m_echoesToStdout(echoesToStdout) {}

namespace {

struct KindNames {
    EventLog::Kind kind;
    QStringView raw;
    QStringView label; // written to disk
};

constexpr KindNames kKindNames[] = {
    {EventLog::Kind::trigger, u"trigger", u"触发"},
    {EventLog::Kind::reject, u"reject", u"拦截"},
    {EventLog::Kind::result, u"result", u"结果"},
    {EventLog::Kind::error, u"error", u"错误"},
};

const KindNames& namesOf(EventLog::Kind kind) {
    return kKindNames[static_cast<int>(kind)];
}

} // namespace

QString EventLog::rawValue(Kind kind) {
    return namesOf(kind).raw.toString();
}

std::optional<EventLog::Kind> EventLog::kindFromRawValue(const QString& raw) {
    for (const KindNames& names : kKindNames) {
        if (names.raw == raw)
            return names.kind;
    }
    return std::nullopt;
}

QString EventLog::label(Kind kind) {
    return namesOf(kind).label.toString();
}

QString EventLog::privateSegment(QStringView text) {
    const QString flat = flattened(text);
    QString segment =
        kSegmentStart + QString::number(UnicodeText::characterCount(text)) + kCountEnd;
    if (UnicodeText::characterCount(flat) > segmentCharacters)
        segment += UnicodeText::leadingCharacters(flat, segmentCharacters).toString() + u'…';
    else
        segment += flat;
    return segment + kSegmentEnd;
}

QString EventLog::rewriteContent(QStringView content,
                                 const std::function<QString(const Segment&)>& rewrite) {
    qsizetype start = content.indexOf(kSegmentStart);
    if (start < 0)
        return content.toString();
    QString out;
    qsizetype copied = 0;
    while (start >= 0) {
        out += content.sliced(copied, start - copied);
        const qsizetype countEnd = content.indexOf(kCountEnd, start + 1);
        const qsizetype end = countEnd < 0 ? -1 : content.indexOf(kSegmentEnd, countEnd + 1);
        if (end < 0) {
            // A segment that never closes ends the scan; what follows stays unshown.
            out += u"‹?›"_s;
            return out;
        }
        bool isNumber = false;
        const qsizetype count =
            content.sliced(start + 1, countEnd - start - 1).toLongLong(&isNumber);
        out += rewrite(Segment{isNumber && count >= 0 ? std::optional(count) : std::nullopt,
                               content.sliced(countEnd + 1, end - countEnd - 1).toString()});
        copied = end + 1;
        start = content.indexOf(kSegmentStart, copied);
    }
    out += content.sliced(copied);
    return out;
}

QString EventLog::shown(const Segment& segment) {
    return segment.text;
}

QString EventLog::redacted(const Segment& segment) {
    return u"‹"_s + (segment.count ? QString::number(*segment.count) : u"?"_s) + u" 字›"_s;
}

EventLog::Entry EventLog::makeEntry(Kind kind, QStringView content, const QDateTime& date) {
    return Entry{QUuid::createUuid(), date, kind, rewriteContent(content, &EventLog::shown),
                 rewriteContent(content, &EventLog::redacted)};
}

void EventLog::append(Entry entry) {
    const QString diskLine = flattened(u"["_s + label(entry.kind) + u"] "_s + entry.diskText);
    if (m_diskWriter)
        m_diskWriter(diskLine, entry.date);
    if (m_echoesToStdout) {
        const QByteArray line =
            (u"["_s + label(entry.kind) + u"] "_s + entry.text + u'\n').toUtf8();
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
        std::fflush(stdout);
    }
    m_entries.prepend(std::move(entry));
    while (m_entries.size() > limit)
        m_entries.removeLast();
    Q_EMIT entriesChanged();
}
