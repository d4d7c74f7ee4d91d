#include "cli/LookupAllCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "cli/ResultRendering.h"
#include "core/CaptureFilter.h"
#include "core/LookupEngine.h"
#include "core/TextFilter.h"
#include "core/UnicodeText.h"
#include "core/UnsupportedTranslationEngine.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "settings/Preferences.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace LookupAllCommand {
namespace {

struct Invocation {
    bool json = false;
    QString text;
};

// Options come first; "--" ends them so a text may itself start with "--".
std::optional<Invocation> parse(const QStringList& arguments) {
    Invocation invocation;
    qsizetype i = 0;
    for (; i < arguments.size() && arguments[i].startsWith(u"--"_s); ++i) {
        if (arguments[i] == u"--"_s) {
            ++i;
            break;
        }
        if (arguments[i] == u"--json"_s)
            invocation.json = true;
        else if (arguments[i] != u"--all"_s)
            return std::nullopt;
    }
    invocation.text = arguments.sliced(i).join(u' ');
    return invocation;
}

} // namespace

bool isRequested(const QStringList& arguments) {
    for (const QString& argument : arguments) {
        if (argument == u"--all"_s)
            return true;
        if (argument == u"--"_s || !argument.startsWith(u"--"_s))
            return false;
    }
    return false;
}

int run(const QStringList& arguments) {
    const std::optional<Invocation> invocation = parse(arguments);
    if (!invocation)
        return CommandLine::reportUsage();

    // The same refusals as an ordinary lookup, so nothing is read that would not be.
    const auto rejection = CaptureFilter::firstRejection(
        CaptureFilter::Capture{.text = invocation->text,
                               .channel = CaptureFilter::Channel::onDemand},
        CaptureFilter::Settings{}, std::nullopt, QDateTime::currentDateTimeUtc());
    if (rejection) {
        Output::line(stdout, invocation->json ? ResultRendering::json(*rejection)
                                              : ResultRendering::plain(*rejection).toUtf8());
        return CommandLine::refused;
    }
    const QString term = UnicodeText::trimmed(invocation->text);
    if (TextFilter::kind(term) != QueryKind::word) {
        Output::line(stderr, u"只有单词才能逐本词典查询。"_s);
        return CommandLine::refused;
    }

    const SystemDictionaryCatalog catalog(Preferences::shared());
    UnsupportedTranslationEngine translator; // dictionaries only: nothing is translated
    const LookupEngine engine({.bundled = BundledDictionary::shared(),
                               .catalog = catalog,
                               .translator = translator,
                               .logError = {}});
    const QList<LookupResult::Source> sources = engine.wordSources(term);
    if (sources.isEmpty()) {
        const QString message = u"词典里没有「"_s + term + u"」。"_s;
        if (invocation->json)
            Output::line(stdout, ResultRendering::json(term, sources));
        else
            Output::line(stderr, message);
        return CommandLine::failed;
    }
    Output::line(stdout, invocation->json ? ResultRendering::json(term, sources)
                                          : ResultRendering::plain(term, sources).toUtf8());
    return CommandLine::success;
}

} // namespace LookupAllCommand
