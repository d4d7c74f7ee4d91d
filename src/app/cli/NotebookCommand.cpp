#include "cli/NotebookCommand.h"

#include "base/UnicodeText.h"
#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "cli/ResultRendering.h"
#include "cli/TerminalText.h"
#include "notebook/Vocabulary.h"
#include "platform/SafeFiles.h"
#include "settings/RenameMigration.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <variant>

using namespace Qt::StringLiterals;

namespace NotebookCommand {
namespace {

using Kind = Vocabulary::Kind;

int usageError(const QString& problem) {
    return CommandLine::usageError(problem, u"notebook"_s);
}

// The options of one call: flags, "--name value" pairs and the remaining words.
struct Options {
    QStringList flags;
    QHash<QString, QString> values;
    QStringList words;
};

// What an option that takes a value says when the value is missing.
QString needsValue(const QString& option) {
    if (option == u"--format"_s)
        return u"--format 需要 anki 或 plain"_s;
    if (option == u"--scope"_s)
        return u"--scope 需要 starred 或 all"_s;
    return option + u" 需要一个文件名"_s;
}

// The options, or the problem with them.
std::variant<Options, QString> parse(const QStringList& arguments, const QStringList& valueOptions,
                                     const QStringList& flagOptions) {
    Options options;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        if (valueOptions.contains(argument)) {
            if (i + 1 >= arguments.size() || arguments[i + 1].isEmpty())
                return needsValue(argument);
            options.values.insert(argument, arguments[++i]);
        } else if (flagOptions.contains(argument)) {
            options.flags.append(argument);
        } else if (argument.startsWith(u"-"_s) && argument.size() > 1 && options.words.isEmpty()) {
            // Inside a text, after its first word, a dash is part of the text.
            return u"未知选项："_s + argument;
        } else {
            options.words.append(argument);
        }
    }
    return options;
}

// A text quoted inside a message: on one line, long ones cut.
QString quoted(const QString& text) {
    constexpr qsizetype kShown = 40;
    const QStringView shown = UnicodeText::leadingCharacters(text, kShown);
    return u"「"_s + TerminalText::oneLine(shown) +
           (shown.size() < text.size() ? u"…」"_s : u"」"_s);
}

// Why the notebook would not keep `text` as a `kind`, or nothing when it would.
std::optional<QString> starRefusal(const QString& text, Kind kind) {
    const QString normalized = Vocabulary::normalize(text, kind);
    if (normalized.isEmpty())
        return u"没有可收藏的文本"_s;
    if (kind == Kind::sentence) {
        if (UnicodeText::characterCount(normalized) > CommandLine::lengthLimit())
            return ResultRendering::plain(RejectReason::tooLong, normalized);
        return std::nullopt;
    }
    if (Vocabulary::isRecordableWord(normalized))
        return std::nullopt;
    QString refusal =
        quoted(normalized) + u"不能作为单词收藏：单词只能由英文字母、连字符（-）和撇号（'）组成"_s;
    if (UnicodeText::containsWhiteSpace(normalized))
        refusal += u"；收藏句子请加 --sentence"_s;
    return refusal;
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
        Output::line(stdout, (entry.starred ? u"★ "_s : u"  "_s) +
                                 TerminalText::oneLine(entry.text) + u"\t查过 "_s +
                                 QString::number(entry.count) + u" 次\t"_s +
                                 dateText(entry.lastDate));
    }
    return CommandLine::success;
}

Kind kindOf(const Options& options) {
    return options.flags.contains(u"--sentence"_s) ? Kind::sentence : Kind::word;
}

int star(Vocabulary& vocabulary, const Options& options) {
    const Kind kind = kindOf(options);
    const QString text = options.words.join(u' ');
    if (const std::optional<QString> refusal = starRefusal(text, kind)) {
        Output::line(stderr, *refusal);
        return CommandLine::refused;
    }
    vocabulary.setStarred(text, kind, true);
    if (const std::optional<int> unsaved = CommandLine::unsavedChanges())
        return *unsaved;
    Output::line(stdout, u"已收藏："_s + Vocabulary::normalize(text, kind));
    return CommandLine::success;
}

// unstar and remove: an item that is not there is said so, exit 1.
int unstarOrRemove(Vocabulary& vocabulary, const Options& options, bool removes) {
    const Kind kind = kindOf(options);
    const QString text = options.words.join(u' ');
    const QString normalized = Vocabulary::normalize(text, kind);
    // One step each, so a change by another process in between cannot be undone here.
    const bool changed = removes ? vocabulary.remove({.kind = kind, .text = normalized})
                                 : vocabulary.setStarred(text, kind, false);
    if (const std::optional<int> unsaved = CommandLine::unsavedChanges())
        return *unsaved;
    if (!changed) {
        const auto existing = vocabulary.entry(text, kind);
        Output::line(stderr, existing ? u"%1没有收藏。"_s.arg(quoted(existing->text))
                                      : u"生词本里没有%1。"_s.arg(quoted(normalized)));
        return CommandLine::refused;
    }
    Output::line(stdout, (removes ? u"已删除："_s : u"已取消收藏："_s) + normalized);
    return CommandLine::success;
}

int exportEntries(Vocabulary& vocabulary, const Options& options) {
    const QString format = options.values.value(u"--format"_s);
    const QString scope = options.values.value(u"--scope"_s, u"all"_s);
    if (format != u"anki"_s && format != u"plain"_s) {
        return usageError(format.isEmpty()
                              ? needsValue(u"--format"_s)
                              : needsValue(u"--format"_s) + u"，收到「%1」"_s.arg(format));
    }
    if (scope != u"starred"_s && scope != u"all"_s)
        return usageError(needsValue(u"--scope"_s) + u"，收到「%1」"_s.arg(scope));
    if (!options.words.isEmpty())
        return usageError(u"多余的参数："_s + options.words.join(u' '));
    const QString text = vocabulary.exportText(
        format == u"anki"_s ? Vocabulary::ExportFormat::anki : Vocabulary::ExportFormat::plain,
        scope == u"starred"_s ? Vocabulary::ExportScope::starred : Vocabulary::ExportScope::all);
    if (!options.values.contains(u"-o"_s)) {
        // Data, exact in a pipe or a file; only a terminal gets its controls escaped.
        const QByteArray bytes =
            (TerminalText::isTerminal(stdout) ? TerminalText::safe(text) : text).toUtf8();
        std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
        std::fflush(stdout);
        return CommandLine::success;
    }
    const QString path = options.values.value(u"-o"_s);
    if (const std::optional<SafeFiles::Failure> failure =
            SafeFiles::writeAtomically(path, text.toUtf8())) {
        Output::line(stderr, u"无法写入 %1：%2"_s.arg(path, failure->reason));
        return CommandLine::refused;
    }
    Output::line(stdout, u"已导出到 %1"_s.arg(path));
    return CommandLine::success;
}

} // namespace

int run(const QStringList& arguments) {
    const QString action = arguments.value(0);
    const QStringList rest = arguments.mid(1);
    std::variant<Options, QString> parsed = Options{};
    if (action == u"list"_s)
        parsed = parse(rest, {}, {u"--starred"_s, u"--json"_s});
    else if (action == u"star"_s || action == u"unstar"_s || action == u"remove"_s)
        parsed = parse(rest, {}, {u"--sentence"_s});
    else if (action == u"export"_s)
        parsed = parse(rest, {u"--format"_s, u"--scope"_s, u"-o"_s}, {});
    else if (action.isEmpty())
        return usageError(u"缺少操作：list、star、unstar、remove、clear 或 export"_s);
    else if (action != u"clear"_s)
        return usageError(u"未知操作："_s + action);
    if (const auto* problem = std::get_if<QString>(&parsed))
        return usageError(*problem);
    const Options& options = std::get<Options>(parsed);
    const bool takesText = action == u"star"_s || action == u"unstar"_s || action == u"remove"_s;
    if (takesText && options.words.isEmpty())
        return usageError(u"缺少文本：%1 需要一个单词或句子"_s.arg(action));
    if ((action == u"list"_s && !options.words.isEmpty()) ||
        (action == u"clear"_s && !rest.isEmpty()))
        return usageError(u"多余的参数："_s +
                          (action == u"list"_s ? options.words : rest).join(u' '));

    RenameMigration::runIfNeeded();
    Vocabulary& vocabulary = Vocabulary::shared();
    if (action == u"list"_s)
        return list(vocabulary, options);
    if (action == u"star"_s)
        return star(vocabulary, options);
    if (action == u"unstar"_s || action == u"remove"_s)
        return unstarOrRemove(vocabulary, options, action == u"remove"_s);
    if (action == u"export"_s)
        return exportEntries(vocabulary, options);
    vocabulary.clearRecords();
    if (const std::optional<int> unsaved = CommandLine::unsavedChanges())
        return *unsaved;
    Output::line(stdout, u"查询记录已清空（收藏保留）"_s);
    return CommandLine::success;
}

} // namespace NotebookCommand
