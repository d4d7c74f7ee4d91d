#include "lookup/LookupLogLines.h"

#include "logs/EventLog.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace LookupLogLines {
namespace {

// How many senses of an entry the summary names.
constexpr qsizetype kSummarySenses = 3;

// The headword and its first senses; all of it reveals what was looked up, so all of it is
// private.
QString entrySummary(const DictionaryEntry& entry) {
    const QStringList senses = entry.allSenses().mid(0, kSummarySenses);
    QString text = entry.displayHeadword();
    if (!senses.isEmpty())
        text += u' ' + senses.join(u"；"_s);
    else if (entry.rawFallback)
        text += u' ' + *entry.rawFallback;
    return EventLog::privateSegment(text);
}

} // namespace

QString summary(const LookupResult& result) {
    if (result.isTranslation()) {
        return u"翻译｜"_s + EventLog::privateSegment(result.term) + u' ' +
               EventLog::privateSegment(result.translation);
    }
    if (result.isGloss()) {
        return u"逐词释义｜"_s + EventLog::privateSegment(result.term) + u' ' +
               EventLog::privateSegment(result.translation);
    }
    QStringList entries;
    for (const DictionaryEntry& entry : result.source.entries)
        entries.append(entrySummary(entry));
    return u"词典｜"_s + entries.join(u" ‖ "_s);
}

QString failure(const LookupError& error) {
    if (error.kind() == LookupError::Kind::notFound)
        return u"词典和翻译里都没有 "_s + EventLog::privateSegment(error.payload());
    return error.localizedDescription();
}

} // namespace LookupLogLines
