#include "settings/EventLog.h"

#include "harness/QtPrinters.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct DiskLine {
    QString line;
    QDateTime date;
};

class EventLogTest : public testing::Test {
protected:
    QList<DiskLine> disk;
    EventLog log{[this](const QString& line, const QDateTime& date) {
                     disk.append({line, date});
                 },
                 false};
};

QString shownOf(const QString& content) {
    return EventLog::rewriteContent(content, &EventLog::shown);
}

QString redactedOf(const QString& content) {
    return EventLog::rewriteContent(content, &EventLog::redacted);
}

} // namespace

TEST(EventLogSegments, WrapTextWithItsCharacterCount) {
    struct Case {
        QString text;
        QString segment;
    };
    const QString forty = QString(40, u'a');
    const Case cases[] = {
        {u"hello"_s, u"\uE0005\uE001hello\uE002"_s},
        {u""_s, u"\uE0000\uE001\uE002"_s},
        {forty, u"\uE00040\uE001"_s + forty + u"\uE002"_s},
        {forty + u"b"_s, u"\uE00041\uE001"_s + forty + u"…\uE002"_s},
        // Line breaks (CR LF once) become ␍; the count is of the original characters.
        {u"one\r\ntwo\nthree\u2029"_s, u"\uE00014\uE001one␍two␍three␍\uE002"_s},
        {u"e\u0301👍🏽"_s, u"\uE0002\uE001e\u0301👍🏽\uE002"_s},
        // Markers typed by the user cannot close the segment early.
        {u"a\uE002b"_s, u"\uE0003\uE001a\uFFFDb\uE002"_s},
    };
    for (const Case& c : cases)
        EXPECT_EQ(EventLog::privateSegment(c.text), c.segment);
}

TEST(EventLogSegments, ShownAndRedactedForms) {
    const QString content = u"悬停取词｜取到「"_s + EventLog::privateSegment(u"hello"_s) + u"」"_s;
    EXPECT_EQ(shownOf(content), u"悬停取词｜取到「hello」"_s);
    EXPECT_EQ(redactedOf(content), u"悬停取词｜取到「‹5 字›」"_s);

    const QString two = EventLog::privateSegment(u"good morning"_s) + u" → "_s +
                        EventLog::privateSegment(u"早上好"_s);
    EXPECT_EQ(shownOf(two), u"good morning → 早上好"_s);
    EXPECT_EQ(redactedOf(two), u"‹12 字› → ‹3 字›"_s);

    const QString plain = u"内置词库缺失｜单词只能走系统词典和翻译"_s;
    EXPECT_EQ(shownOf(plain), plain);
    EXPECT_EQ(redactedOf(plain), plain);
}

TEST(EventLogSegments, MalformedSegmentsNeverLeakText) {
    const QString unclosed = u"前缀 \uE0005\uE001hello 后面"_s;
    EXPECT_EQ(shownOf(unclosed), u"前缀 ‹?›"_s);
    EXPECT_EQ(redactedOf(unclosed), u"前缀 ‹?›"_s);
    const QString noCount = u"x\uE000five\uE001hello\uE002y"_s;
    EXPECT_EQ(shownOf(noCount), u"xhelloy"_s);
    EXPECT_EQ(redactedOf(noCount), u"x‹? 字›y"_s);
}

TEST_F(EventLogTest, KeepsTheNewestSixtyEntries) {
    QSignalSpy changed(&log, &EventLog::entriesChanged);
    for (int i = 1; i <= 61; ++i)
        log.append(EventLog::Kind::trigger, u"第 %1 条"_s.arg(i));
    ASSERT_EQ(log.entries().size(), 60);
    EXPECT_EQ(log.entries().first().text, u"第 61 条"_s);
    EXPECT_EQ(log.entries().last().text, u"第 2 条"_s);
    EXPECT_EQ(changed.count(), 61);
    EXPECT_EQ(disk.size(), 61) << "every entry reaches the disk, even those later dropped";
}

TEST(EventLogKinds, RawValuesAndLabels) {
    const std::tuple<EventLog::Kind, QString, QString> kinds[] = {
        {EventLog::Kind::trigger, u"trigger"_s, u"触发"_s},
        {EventLog::Kind::reject, u"reject"_s, u"拦截"_s},
        {EventLog::Kind::result, u"result"_s, u"结果"_s},
        {EventLog::Kind::error, u"error"_s, u"错误"_s},
    };
    for (const auto& [kind, raw, label] : kinds) {
        EXPECT_EQ(EventLog::kindFromRawValue(raw), kind);
        EXPECT_EQ(EventLog::label(kind), label);
    }
    EXPECT_EQ(EventLog::kindFromRawValue(u"warning"_s), std::nullopt);
}
