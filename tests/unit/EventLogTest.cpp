#include "logs/EventLog.h"

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

} // namespace

TEST(EventLogSegments, WrapTextWithItsCharacterCount) {
    const QString forty = QString(40, u'a');
    const std::pair<QString, QString> cases[] = {
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
    for (const auto& [text, segment] : cases)
        EXPECT_EQ(EventLog::privateSegment(text), segment);
}

TEST(EventLogSegments, ShownAndRedactedForms) {
    const struct {
        QString content;
        QString shown;
        QString redacted;
    } cases[] = {
        {u"取到「"_s + EventLog::privateSegment(u"hello"_s) + u"」"_s, u"取到「hello」"_s,
         u"取到「‹5 字›」"_s},
        {EventLog::privateSegment(u"good morning"_s) + u" → "_s +
             EventLog::privateSegment(u"早上好"_s),
         u"good morning → 早上好"_s, u"‹12 字› → ‹3 字›"_s},
        {u"内置词库缺失"_s, u"内置词库缺失"_s, u"内置词库缺失"_s},
        // Malformed segments never leak their text where it is to be hidden.
        {u"前缀 \uE0005\uE001hello 后面"_s, u"前缀 ‹?›"_s, u"前缀 ‹?›"_s},
        {u"x\uE000five\uE001hello\uE002y"_s, u"xhelloy"_s, u"x‹? 字›y"_s},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(EventLog::rewriteContent(c.content, &EventLog::shown), c.shown);
        EXPECT_EQ(EventLog::rewriteContent(c.content, &EventLog::redacted), c.redacted);
    }
}

TEST_F(EventLogTest, TheDiskGetsEveryEntryRedactedAndMemoryTheNewestSixty) {
    QSignalSpy changed(&log, &EventLog::entriesChanged);
    log.append(EventLog::Kind::result, u"词典｜"_s + EventLog::privateSegment(u"one\ntwo"_s));
    ASSERT_EQ(disk.size(), 1);
    EXPECT_EQ(disk[0].line, u"[结果] 词典｜‹7 字›"_s);
    EXPECT_EQ(log.entries().first().text, u"词典｜one␍two"_s);

    for (int i = 2; i <= 61; ++i)
        log.append(EventLog::Kind::trigger, u"第 %1 条"_s.arg(i));
    ASSERT_EQ(log.entries().size(), 60);
    EXPECT_EQ(log.entries().first().text, u"第 61 条"_s);
    EXPECT_EQ(log.entries().last().text, u"第 2 条"_s);
    EXPECT_EQ(changed.count(), 61);
    EXPECT_EQ(disk.size(), 61) << "every entry reaches the disk, even those later dropped";
}
