#include "cli/CommandLine.h"

#include "cli/ResultRendering.h"
#include "core/CaptureFilter.h"
#include "core/LookupEngine.h"
#include "core/TextFilter.h"
#include "core/UnsupportedTranslationEngine.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/WordSourceCatalog.h"

#include <QCoreApplication>
#include <QStringList>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace CommandLine {
namespace {

struct Invocation {
    bool json = false;
    QString text; // the remaining arguments joined by single spaces
};

const QString kUsage = u"用法：quillet lookup [--json] 文本…\n"
                       "      quillet check [--json] 文本…"_s;

void writeLine(FILE* stream, const QByteArray& bytes) {
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
    std::fflush(stream);
}

void writeLine(FILE* stream, const QString& text) {
    writeLine(stream, text.toUtf8());
}

// Options come first; "--" ends them so a text may itself start with "--".
std::optional<Invocation> parse(const QStringList& arguments) {
    Invocation invocation;
    qsizetype i = 0;
    for (; i < arguments.size() && arguments[i].startsWith(u"--"_s); ++i) {
        if (arguments[i] == u"--"_s) {
            ++i;
            break;
        }
        if (arguments[i] != u"--json"_s)
            return std::nullopt;
        invocation.json = true;
    }
    invocation.text = arguments.sliced(i).join(u' ');
    return invocation;
}

std::optional<RejectReason> filterAsSelection(const QString& text) {
    // A one-shot process has no previous query, so the duplicate rule never fires here.
    return CaptureFilter::firstRejection(
        CaptureFilter::Capture{.text = text, .channel = CaptureFilter::Channel::onDemand},
        CaptureFilter::Settings{}, std::nullopt, QDateTime::currentDateTimeUtc());
}

int reportRejection(RejectReason reason, bool json) {
    if (json)
        writeLine(stdout, ResultRendering::json(reason));
    else
        writeLine(stdout, ResultRendering::plain(reason));
    return refused;
}

int check(const Invocation& invocation) {
    if (const auto reason = filterAsSelection(invocation.text))
        return reportRejection(*reason, invocation.json);
    const QueryKind kind = TextFilter::kind(invocation.text);
    if (invocation.json)
        writeLine(stdout, ResultRendering::json(kind));
    else
        writeLine(stdout, ResultRendering::plain(kind));
    return success;
}

int lookup(const Invocation& invocation) {
    if (const auto reason = filterAsSelection(invocation.text))
        return reportRejection(*reason, invocation.json);

    const BundledOnlyCatalog catalog;
    UnsupportedTranslationEngine translator;
    const LookupEngine engine({.bundled = BundledDictionary::shared(),
                               .catalog = catalog,
                               .translator = translator,
                               .logError = {}});
    const LookupOutcome outcome = QCoro::waitFor(engine.lookup(invocation.text));

    if (const auto* result = std::get_if<LookupResult>(&outcome)) {
        if (invocation.json)
            writeLine(stdout, ResultRendering::json(*result));
        else
            writeLine(stdout, ResultRendering::plain(*result));
        return success;
    }
    if (const auto* error = std::get_if<LookupError>(&outcome)) {
        if (invocation.json)
            writeLine(stdout, ResultRendering::json(*error));
        else
            writeLine(stderr, ResultRendering::plain(*error));
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
        writeLine(stdout, kUsage);
        return success;
    }
    if (command != u"lookup"_s && command != u"check"_s)
        return reportUsage();
    const std::optional<Invocation> invocation = parse(arguments);
    if (!invocation)
        return reportUsage();
    // QtCore only: the command line never loads the GUI stack.
    QCoreApplication application(argc, argv);
    return command == u"check"_s ? check(*invocation) : lookup(*invocation);
}

int reportUsage() {
    writeLine(stderr, kUsage);
    return usage;
}

} // namespace CommandLine
