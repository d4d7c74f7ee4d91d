#include "cli/NotebookCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "notebook/Vocabulary.h"
#include "settings/RenameMigration.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace NotebookCommand {
namespace {

using Kind = Vocabulary::Kind;

// The options of one call: flags, "--name value" pairs and the remaining words.
struct Options {
    QStringList flags;
    QHash<QString, QString> values;
    QStringList words;
};

std::optional<Options> parse(const QStringList& arguments, const QStringList& valueOptions,
                             const QStringList& flagOptions) {
    Options options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (valueOptions.contains(argument)) {
            if (i + 1 >= arguments.size())
                return std::nullopt;
            options.values.insert(argument, arguments[++i]);
        } else if (flagOptions.contains(argument)) {
            options.flags.append(argument);
        } else if (argument.startsWith(u"-"_s) && argument.size() > 1 && options.words.isEmpty()) {
            return std::nullopt;
        } else {
            options.words.append(argument);
        }
    }
    return options;
}

QString dateText(const std::optional<QDateTime>& date) {
    return date ? date->toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) : QString();
}

QJsonObject entryJson(const Vocabulary::Entry& entry) {
    QJsonObject object{
        {u"kind"_s, entry.kind == Kind::word ? u"word"_s : u"sentence"_s},
        {u"text"_s, entry.text},
        {u"count"_s, entry.count},
        {u"starred"_s, entry.starred},
        {u"translation"_s, entry.translation ? QJsonValue(*entry.translation) : QJsonValue()},
        {u"firstDate"_s,
         entry.firstDate ? QJsonValue(entry.firstDate->toString(Qt::ISODate)) : QJsonValue()},
        {u"lastDate"_s,
         entry.lastDate ? QJsonValue(entry.lastDate->toString(Qt::ISODate)) : QJsonValue()}};
    if (entry.source)
        object.insert(u"source"_s, entry.source->caption());
    return object;
}

int list(Vocabulary& vocabulary, const Options& options) {
    const bool starredOnly = options.flags.contains(u"--starred"_s);
    const QList<Vocabulary::Entry> entries =
        starredOnly ? vocabulary.starred() : vocabulary.entries();
    if (options.flags.contains(u"--json"_s)) {
        QJsonArray array;
        for (const Vocabulary::Entry& entry : entries)
            array.append(entryJson(entry));
        Output::line(stdout, QJsonDocument(array).toJson(QJsonDocument::Compact));
        return CommandLine::success;
    }
    if (entries.isEmpty()) {
        Output::line(stdout, starredOnly ? u"还没有收藏。"_s : u"生词本是空的。"_s);
        return CommandLine::success;
    }
    for (const Vocabulary::Entry& entry : entries) {
        Output::line(stdout, (entry.starred ? u"★ "_s : u"  "_s) + entry.text + u"\t查过 "_s +
                                 QString::number(entry.count) + u" 次\t"_s +
                                 dateText(entry.lastDate));
    }
    return CommandLine::success;
}

// star / unstar: bring the entry to the wanted state (toggling only when it differs).
int setStar(Vocabulary& vocabulary, const Options& options, bool wanted) {
    if (options.words.isEmpty())
        return CommandLine::reportUsage();
    const Kind kind = options.flags.contains(u"--sentence"_s) ? Kind::sentence : Kind::word;
    const QString text = options.words.join(u' ');
    if (Vocabulary::normalize(text, kind).isEmpty())
        return CommandLine::reportUsage();
    vocabulary.setStarred(text, kind, wanted);
    Output::line(stdout,
                 (wanted ? u"已收藏："_s : u"已取消收藏："_s) + Vocabulary::normalize(text, kind));
    return CommandLine::success;
}

int remove(Vocabulary& vocabulary, const Options& options) {
    if (options.words.isEmpty())
        return CommandLine::reportUsage();
    const Kind kind = options.flags.contains(u"--sentence"_s) ? Kind::sentence : Kind::word;
    const QString text = options.words.join(u' ');
    const QString normalized = Vocabulary::normalize(text, kind);
    if (!vocabulary.remove({.kind = kind, .text = normalized})) {
        Output::line(stderr, u"生词本里没有「%1」。"_s.arg(normalized));
        return CommandLine::refused;
    }
    Output::line(stdout, u"已删除：%1"_s.arg(normalized));
    return CommandLine::success;
}

int exportEntries(Vocabulary& vocabulary, const Options& options) {
    const QString format = options.values.value(u"--format"_s);
    const QString scope = options.values.value(u"--scope"_s, u"all"_s);
    if ((format != u"anki"_s && format != u"plain"_s) ||
        (scope != u"starred"_s && scope != u"all"_s) || !options.words.isEmpty())
        return CommandLine::reportUsage();
    const QString text = vocabulary.exportText(
        format == u"anki"_s ? Vocabulary::ExportFormat::anki : Vocabulary::ExportFormat::plain,
        scope == u"starred"_s ? Vocabulary::ExportScope::starred : Vocabulary::ExportScope::all);
    const QString path = options.values.value(u"-o"_s);
    if (path.isEmpty()) {
        const QByteArray bytes = text.toUtf8();
        std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
        std::fflush(stdout);
        return CommandLine::success;
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0 || !file.commit()) {
        Output::line(stderr, u"无法写入 %1：%2"_s.arg(path, file.errorString()));
        return CommandLine::failed;
    }
    Output::line(stdout, u"已导出到 %1"_s.arg(path));
    return CommandLine::success;
}

} // namespace

int run(const QStringList& arguments) {
    const QString action = arguments.value(0);
    const QStringList rest = arguments.mid(1);
    std::optional<Options> options;
    if (action == u"list"_s)
        options = parse(rest, {}, {u"--starred"_s, u"--json"_s});
    else if (action == u"star"_s || action == u"unstar"_s || action == u"remove"_s)
        options = parse(rest, {}, {u"--sentence"_s});
    else if (action == u"export"_s)
        options = parse(rest, {u"--format"_s, u"--scope"_s, u"-o"_s}, {});
    else if (action == u"clear"_s && rest.isEmpty())
        options = Options{};
    if (!options)
        return CommandLine::reportUsage();

    RenameMigration::runIfNeeded();
    Vocabulary& vocabulary = Vocabulary::shared();
    if (action == u"list"_s)
        return list(vocabulary, *options);
    if (action == u"star"_s || action == u"unstar"_s)
        return setStar(vocabulary, *options, action == u"star"_s);
    if (action == u"remove"_s)
        return remove(vocabulary, *options);
    if (action == u"export"_s)
        return exportEntries(vocabulary, *options);
    vocabulary.clearRecords();
    Output::line(stdout, u"查询记录已清空（收藏保留）"_s);
    return CommandLine::success;
}

} // namespace NotebookCommand
