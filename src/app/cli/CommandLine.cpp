#include "cli/CommandLine.h"

#include "cli/DictionariesCommand.h"
#include "cli/LogCommand.h"
#include "cli/LookupAllCommand.h"
#include "cli/NotebookCommand.h"
#include "cli/Output.h"
#include "cli/ResultRendering.h"
#include "cli/SettingsCommand.h"
#include "cli/TranslateSetupCommand.h"
#include "core/CaptureFilter.h"
#include "core/LookupEngine.h"
#include "core/LookupLogLines.h"
#include "core/TextFilter.h"
#include "core/UnicodeText.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "platform/TranslationEngineFactory.h"
#include "settings/DiagnosticLog.h"
#include "settings/EventLog.h"
#include "settings/Preferences.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QScopeGuard>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace CommandLine {
namespace {

const QString kUsage =
    u"用法：quillet lookup [--json] 文本…\n"
    "      quillet lookup --all [--json] 单词\n"
    "      quillet check [--json] 文本…\n"
    "      quillet dictionaries [--json]\n"
    "      quillet log [--lines N]\n"
    "      quillet settings list | get 键 | set 键 值\n"
    "      quillet notebook list [--starred] [--json] | star 文本 [--sentence] |\n"
    "               unstar 文本 [--sentence] | remove 文本 [--sentence] | clear |\n"
    "               export --format anki|plain [--scope starred|all] [-o 文件]\n"
    "      quillet translate-setup"_s;

// The feature name of lookups asked for on the command line, in event-log lines.
const QString kFeature = u"命令行"_s;

template <typename Value> void print(const Value& value, bool json) {
    if (json)
        Output::line(stdout, ResultRendering::json(value));
    else
        Output::line(stdout, ResultRendering::plain(value));
}

int check(const TextInvocation& invocation) {
    if (const auto reason = firstRejection(invocation.text)) {
        print(*reason, invocation.json);
        return refused;
    }
    print(TextFilter::kind(invocation.text), invocation.json);
    return success;
}

int lookup(const TextInvocation& invocation) {
    EventLog& log = EventLog::shared();
    const QString& text = invocation.text;
    if (const auto reason = firstRejection(text)) {
        QString content = kFeature + u"｜"_s + RejectReasons::description(*reason);
        if (!RejectReasons::keepsNoCopy(*reason) && *reason != RejectReason::empty)
            content += u"｜"_s + EventLog::privateSegment(UnicodeText::trimmed(text));
        log.append(EventLog::Kind::reject, content);
        print(*reason, invocation.json);
        return refused;
    }
    const bool isWord = TextFilter::kind(text) == QueryKind::word;
    log.append(EventLog::Kind::trigger, kFeature + (isWord ? u"｜单词｜"_s : u"｜句子｜"_s) +
                                            EventLog::privateSegment(UnicodeText::trimmed(text)));

    const SystemDictionaryCatalog catalog(Preferences::shared());
    const std::unique_ptr<TranslationEngine> translator =
        TranslationEngineFactory::create(TranslationEngineFactory::Waiter::commandLine);
    // A first translation can take a while; say why before the answer comes.
    QObject::connect(translator.get(), &TranslationEngine::notice,
                     [](const QString& text) { Output::line(stderr, text); });
    const LookupEngine engine({.bundled = BundledDictionary::shared(),
                               .catalog = catalog,
                               .translator = *translator,
                               .logError = [&log](const QString& content) {
                                   log.append(EventLog::Kind::error, content);
                               }});
    const LookupOutcome outcome = QCoro::waitFor(engine.lookup(text));

    if (const auto* result = std::get_if<LookupResult>(&outcome)) {
        log.append(EventLog::Kind::result, LookupLogLines::summary(*result));
        print(*result, invocation.json);
        return success;
    }
    if (const auto* error = std::get_if<LookupError>(&outcome)) {
        log.append(EventLog::Kind::error, LookupLogLines::failure(*error));
        if (invocation.json)
            Output::line(stdout, ResultRendering::json(*error));
        else
            Output::line(stderr, ResultRendering::plain(*error));
    }
    return failed;
}

} // namespace

std::optional<int> run(int argc, char** argv) {
    if (argc < 2)
        return std::nullopt;
    // Decoded by hand: invalid UTF-8 becomes U+FFFD instead of depending on the locale.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromUtf8(argv[i]));
    const QString command = arguments.takeFirst();

    if (command == u"--help"_s || command == u"help"_s) {
        Output::line(stdout, kUsage);
        return success;
    }
    if (command == u"log"_s)
        return LogCommand::run(arguments);
    // QtCore only: the command line never loads the GUI stack. Log lines still queued are
    // written before the application object goes.
    QCoreApplication application(argc, argv);
    const auto finished = qScopeGuard([] { DiagnosticLog::flush(); });
    if (command == u"settings"_s)
        return SettingsCommand::run(arguments);
    if (command == u"notebook"_s)
        return NotebookCommand::run(arguments);
    if (command == u"dictionaries"_s)
        return DictionariesCommand::run(arguments);
    if (command == u"translate-setup"_s)
        return TranslateSetupCommand::run(arguments);
    if (command != u"lookup"_s && command != u"check"_s)
        return reportUsage();
    const std::optional<TextInvocation> invocation = parseText(arguments);
    if (!invocation || (invocation->all && command != u"lookup"_s))
        return reportUsage();
    if (invocation->all)
        return LookupAllCommand::run(*invocation);
    return command == u"check"_s ? check(*invocation) : lookup(*invocation);
}

int reportUsage() {
    Output::line(stderr, kUsage);
    return usage;
}

std::optional<TextInvocation> parseText(const QStringList& arguments) {
    TextInvocation invocation;
    qsizetype i = 0;
    for (; i < arguments.size() && arguments[i].startsWith(u"--"_s); ++i) {
        if (arguments[i] == u"--"_s) {
            ++i;
            break;
        }
        if (arguments[i] == u"--json"_s)
            invocation.json = true;
        else if (arguments[i] == u"--all"_s)
            invocation.all = true;
        else
            return std::nullopt;
    }
    invocation.text = arguments.sliced(i).join(u' ');
    return invocation;
}

std::optional<RejectReason> firstRejection(const QString& text) {
    // A one-shot process has no previous query, so the duplicate rule never fires here.
    return CaptureFilter::firstRejection(
        CaptureFilter::Capture{.text = text, .channel = CaptureFilter::Channel::onDemand},
        CaptureFilter::Settings{}, std::nullopt, QDateTime::currentDateTimeUtc());
}

} // namespace CommandLine
