#include "cli/CommandLine.h"

#include "app/wiring/SentenceTranslator.h"
#include "base/UnicodeText.h"
#include "cli/DictionariesCommand.h"
#include "cli/LogCommand.h"
#include "cli/LookupAllCommand.h"
#include "cli/NotebookCommand.h"
#include "cli/Output.h"
#include "cli/ResultRendering.h"
#include "cli/SettingsCommand.h"
#include "cli/TranslateSetupCommand.h"
#include "cli/Usage.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "filter/CaptureFilter.h"
#include "filter/TextFilter.h"
#include "logs/DiagnosticLog.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/LookupLogLines.h"
#include "lookup/TranslationEngine.h"
#include "platform/TranslationEngineFactory.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QScopeGuard>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace CommandLine {
namespace {

// The command being run, so a usage error without a command named shows its form.
QString& currentCommand() {
    static QString command;
    return command;
}

// The feature name of lookups asked for on the command line, in event-log lines.
const QString kFeature = u"命令行"_s;

template <typename Value> void print(const Value& value, bool json) {
    if (json)
        Output::line(stdout, ResultRendering::json(value));
    else
        Output::line(stdout, ResultRendering::plain(value));
}

void printRefusal(RejectReason reason, const TextInvocation& invocation) {
    if (invocation.json)
        Output::line(stdout, ResultRendering::json(reason, invocation.text));
    else
        Output::line(stdout, ResultRendering::plain(reason, invocation.text));
}

int check(const TextInvocation& invocation) {
    if (const auto refusal = firstRejection(invocation.text)) {
        printRefusal(refusal->reason, invocation);
        return refused;
    }
    print(TextFilter::kind(invocation.text), invocation.json);
    return success;
}

int lookup(const TextInvocation& invocation) {
    EventLog& log = EventLog::shared();
    const QString& text = invocation.text;
    if (const auto refusal = firstRejection(text)) {
        QString content = kFeature + u"｜"_s + RejectReasons::description(refusal->reason);
        if (!refusal->keepsNoCopy())
            content += u"｜"_s + EventLog::privateSegment(UnicodeText::trimmed(text));
        log.append(EventLog::Kind::reject, content);
        printRefusal(refusal->reason, invocation);
        return refused;
    }
    const bool isWord = TextFilter::kind(text) == QueryKind::word;
    log.append(EventLog::Kind::trigger, kFeature + (isWord ? u"｜单词｜"_s : u"｜句子｜"_s) +
                                            EventLog::privateSegment(UnicodeText::trimmed(text)));

    const SystemDictionaryCatalog catalog(Preferences::shared());
    const std::unique_ptr<TranslationEngine> translator =
        makeSentenceTranslator(TranslationEngineFactory::Waiter::commandLine);
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

// Only these change the user's data; every other command leaves the settings file as it
// found it (settings carried forward from older versions stay in memory).
bool changesData(const QString& command, const QStringList& arguments) {
    const QString action = arguments.value(0);
    if (command == u"settings"_s)
        return action == u"set"_s;
    return command == u"notebook"_s &&
           QStringList{u"star"_s, u"unstar"_s, u"remove"_s, u"clear"_s}.contains(action);
}

// `quillet help [COMMAND]`, `quillet --help`, `quillet --version`; nothing for a command.
std::optional<int> answerGeneral(const QString& command, const QStringList& arguments) {
    if (command == u"--version"_s && arguments.isEmpty()) {
        Output::line(stdout, u"quillet "_s + QStringLiteral(QUILLET_VERSION));
        return success;
    }
    const bool help = command == u"--help"_s || command == u"-h"_s || command == u"help"_s;
    if (!help)
        return std::nullopt;
    const QString topic = arguments.value(0);
    if (arguments.size() > 1 || (!topic.isEmpty() && !Usage::isCommand(topic)))
        return usageError(u"没有这个命令：%1"_s.arg(arguments.join(u' ')));
    Output::line(stdout, topic.isEmpty() ? Usage::full() : Usage::ofCommand(topic));
    return success;
}

// A text pasted whole (a PEM block starts with dashes) has white space in it; no option has.
// Taken for an unknown option, it would be echoed back in the usage error.
bool looksLikeOption(const QString& argument) {
    return argument.startsWith(u'-') && argument.size() > 1 &&
           !UnicodeText::containsWhiteSpace(argument);
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

    if (const std::optional<int> answered = answerGeneral(command, arguments))
        return answered;
    if (!Usage::isCommand(command)) {
        if (command.isEmpty())
            return usageError(u"命令是空的"_s);
        return usageError((command.startsWith(u'-') ? u"未知选项："_s : u"未知命令："_s) + command);
    }
    currentCommand() = command;
    // lookup and check read their own options: a text may be "-h" after "--".
    const bool takesText = command == u"lookup"_s || command == u"check"_s;
    if (!takesText && asksForHelp(arguments)) {
        Output::line(stdout, Usage::ofCommand(command));
        return success;
    }
    if (command == u"log"_s)
        return LogCommand::run(arguments);
    // QtCore only: the command line never loads the GUI stack. Log lines still queued are
    // written before the application object goes.
    QCoreApplication application(argc, argv);
    const auto finished = qScopeGuard([] { DiagnosticLog::flush(); });
    if (!changesData(command, arguments))
        DefaultsStore::shared().holdWrites();
    if (command == u"settings"_s)
        return SettingsCommand::run(arguments);
    if (command == u"notebook"_s)
        return NotebookCommand::run(arguments);
    if (command == u"dictionaries"_s)
        return DictionariesCommand::run(arguments);
    if (command == u"translate-setup"_s)
        return TranslateSetupCommand::run(arguments);

    const std::variant<TextInvocation, QString> parsed = parseText(arguments);
    if (const auto* problem = std::get_if<QString>(&parsed))
        return usageError(*problem, command);
    const TextInvocation& invocation = std::get<TextInvocation>(parsed);
    if (invocation.help) {
        Output::line(stdout, Usage::ofCommand(command));
        return success;
    }
    if (invocation.all && command != u"lookup"_s)
        return usageError(u"--all 只能用于 lookup"_s, command);
    if (invocation.all)
        return LookupAllCommand::run(invocation);
    return command == u"check"_s ? check(invocation) : lookup(invocation);
}

int usageError(const QString& problem, const QString& command) {
    Output::line(stderr, problem);
    Output::line(stderr, Usage::brief(command));
    return usage;
}

int reportUsage() {
    return usageError(u"参数不对"_s, currentCommand());
}

bool asksForHelp(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        if (argument == u"--"_s)
            return false;
        if (argument == u"-h"_s || argument == u"--help"_s)
            return true;
    }
    return false;
}

qsizetype lengthLimit() {
    return TranslationLimits::characterLimit(TranslationLimit::standard);
}

std::variant<TextInvocation, QString> parseText(const QStringList& arguments) {
    TextInvocation invocation;
    qsizetype i = 0;
    for (; i < arguments.size() && looksLikeOption(arguments[i]); ++i) {
        const QString& option = arguments[i];
        if (option == u"--"_s) {
            ++i;
            break;
        }
        if (option == u"--json"_s)
            invocation.json = true;
        else if (option == u"--all"_s)
            invocation.all = true;
        else if (option == u"-h"_s || option == u"--help"_s)
            invocation.help = true;
        else
            return u"未知选项："_s + option;
    }
    if (i == arguments.size() && !invocation.help)
        return u"缺少要查的文本"_s;
    invocation.text = arguments.sliced(i).join(u' ');
    return invocation;
}

std::optional<int> unsavedChanges() {
    const DefaultsStore& store = DefaultsStore::shared();
    const std::optional<SafeFiles::Failure>& failure = store.writeFailure();
    if (!failure || !store.hasUnsavedChanges())
        return std::nullopt;
    Output::line(stderr, u"无法保存改动：%1（%2）"_s.arg(failure->reason, store.filePath()));
    return refused;
}

std::optional<CaptureFilter::Refusal> firstRejection(const QString& text) {
    // A one-shot process has no previous query, so the duplicate rule never fires here.
    return CaptureFilter::firstRejection(
        CaptureFilter::Capture{.text = text, .channel = CaptureFilter::Channel::onDemand},
        CaptureFilter::Settings{.lengthLimit = TranslationLimit::standard}, std::nullopt,
        QDateTime::currentDateTimeUtc());
}

} // namespace CommandLine
