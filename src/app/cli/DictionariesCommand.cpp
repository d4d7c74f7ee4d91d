#include "cli/DictionariesCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaries.h"
#include "platform/SystemDictionaryBridge.h"
#include "settings/Preferences.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <optional>

using namespace Qt::StringLiterals;

namespace DictionariesCommand {
namespace {

struct Row {
    QString identifier;
    QString displayName;
    QString tabName;
    bool chineseGloss = false;
    std::optional<QString> problem; // why it cannot be used
};

// Columns in a terminal: CJK characters take two.
qsizetype displayWidth(const QString& text) {
    qsizetype width = 0;
    for (const char32_t codePoint : text.toUcs4()) {
        const bool wide = (codePoint >= 0x1100 && codePoint <= 0x115F) ||
                          (codePoint >= 0x2E80 && codePoint <= 0xA4CF) ||
                          (codePoint >= 0xAC00 && codePoint <= 0xD7A3) ||
                          (codePoint >= 0xF900 && codePoint <= 0xFAFF) ||
                          (codePoint >= 0xFE30 && codePoint <= 0xFE4F) ||
                          (codePoint >= 0xFF00 && codePoint <= 0xFF60) ||
                          (codePoint >= 0xFFE0 && codePoint <= 0xFFE6) ||
                          (codePoint >= 0x20000 && codePoint <= 0x3FFFD);
        width += wide ? 2 : 1;
    }
    return width;
}

QString table(const QList<QStringList>& rows) {
    QList<qsizetype> widths;
    for (const QStringList& row : rows) {
        for (qsizetype column = 0; column < row.size(); ++column) {
            if (widths.size() <= column)
                widths.append(0);
            widths[column] = std::max(widths[column], displayWidth(row[column]));
        }
    }
    QStringList lines;
    for (const QStringList& row : rows) {
        QString line;
        for (qsizetype column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column + 1 < row.size())
                line += QString(widths[column] - displayWidth(row[column]) + 2, u' ');
        }
        lines.append(line);
    }
    return lines.join(u'\n');
}

QList<Row> rows() {
    const QList<SystemDictionaryBridge::Handle> active =
        SystemDictionaryBridge::activeDictionaries();
    QList<Row> made;
    for (const QString& identifier : Preferences::shared().effectiveDictionaryOrder()) {
        Row row{identifier, SystemDictionaries::displayName(identifier, active), {}, false, {}};
        if (identifier == u"bundled"_s) {
            row.tabName = u"简明英汉"_s;
            row.chineseGloss = true; // the built-in database is English–Chinese
            // System dictionaries that cannot be read are not listed at all; the built-in
            // one always is, so it says when it is unusable.
            row.problem = BundledDictionary::shared().problem();
        } else {
            QString fullName;
            for (const SystemDictionaryBridge::Handle& handle : active) {
                if (handle.identifier == identifier)
                    fullName = handle.name;
            }
            row.tabName = SystemDictionaries::tabName(identifier, fullName);
            row.chineseGloss = SystemDictionaries::givesChineseGloss(identifier);
        }
        made.append(row);
    }
    return made;
}

} // namespace

int run(const QStringList& arguments) {
    if (arguments.size() > 1 || (arguments.size() == 1 && arguments[0] != u"--json"_s))
        return CommandLine::reportUsage();
    const QList<Row> found = rows();
    if (!arguments.isEmpty()) {
        QJsonArray array;
        for (const Row& row : found) {
            QJsonObject object{{u"identifier"_s, row.identifier},
                               {u"displayName"_s, row.displayName},
                               {u"tabName"_s, row.tabName},
                               {u"chineseGloss"_s, row.chineseGloss},
                               {u"usable"_s, !row.problem}};
            if (row.problem)
                object.insert(u"problem"_s, *row.problem);
            array.append(object);
        }
        Output::line(
            stdout,
            QJsonDocument(QJsonObject{{u"dictionaries"_s, array}}).toJson(QJsonDocument::Compact));
        return CommandLine::success;
    }
    QList<QStringList> cells{
        {u"顺序"_s, u"标识"_s, u"名称"_s, u"标签"_s, u"中文释义"_s, u"状态"_s}};
    QStringList problems;
    for (qsizetype i = 0; i < found.size(); ++i) {
        const Row& row = found[i];
        cells.append({QString::number(i + 1), row.identifier, row.displayName, row.tabName,
                      row.chineseGloss ? u"是"_s : u"否"_s,
                      row.problem ? u"无法读取"_s : u"可用"_s});
        if (row.problem)
            problems.append(u"内置词库无法读取："_s + *row.problem); // the only one with a problem
    }
    Output::line(stdout, table(cells));
    for (const QString& problem : problems)
        Output::line(stdout, problem);
    return CommandLine::success;
}

} // namespace DictionariesCommand
